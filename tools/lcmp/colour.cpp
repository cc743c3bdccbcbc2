#include "colour.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <iostream>

namespace tool {
namespace {

std::string whenColoured = "auto";

std::string variableOfEnvironment(const char* name) {
    const char* const text = std::getenv(name);
    return text == nullptr ? "" : text;
}

bool isColourTerminal(int fileDescriptor) {
    const std::string terminal = variableOfEnvironment("TERM");
    return isatty(fileDescriptor) == 1 && !terminal.empty() && terminal != "dumb";
}

bool showsColours(int fileDescriptor) {
    if (whenColoured != "auto")
        return whenColoured == "always";
    return variableOfEnvironment("NO_COLOR").empty() && isColourTerminal(fileDescriptor);
}

// Asked once: a long output has a name on every line.
bool showsColours(const std::ostream& out) {
    static const bool standardOutput = showsColours(STDOUT_FILENO);
    static const bool standardError = showsColours(STDERR_FILENO);
    if (&out == &std::cout)
        return standardOutput;
    return &out == &std::cerr && standardError;
}

const char* codeOf(Paint paint) {
    switch (paint) {
        case Paint::name:
            return "36";
        case Paint::changed:
            return "1";
        default:
            return "31";
    }
}

}  // namespace

void addColourOption(CLI::App& verb) {
    verb.add_option_function<std::string>(
            "--color", [](const std::string& when) { whenColoured = when; },
            "Colours in text: auto is on a terminal, and not with NO_COLOR")
        ->type_name("WHEN")
        ->check(CLI::IsMember({"auto", "always", "never"}))
        ->default_str("auto");
}

std::string painted(const std::ostream& out, Paint paint, const std::string& text) {
    if (!showsColours(out))
        return text;
    return std::string("\x1B[") + codeOf(paint) + "m" + text + "\x1B[0m";
}

}  // namespace tool
