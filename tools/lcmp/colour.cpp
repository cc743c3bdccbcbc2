#include "colour.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <iostream>

namespace tool {
namespace {

std::string choice = "auto";

std::string variableOfEnvironment(const char* name) {
    const char* const text = std::getenv(name);
    return text == nullptr ? "" : text;
}

bool isColourTerminal(int fileDescriptor) {
    const std::string terminal = variableOfEnvironment("TERM");
    return isatty(fileDescriptor) == 1 && !terminal.empty() && terminal != "dumb";
}

int fileDescriptorOf(const std::ostream& out) {
    if (&out == &std::cout)
        return STDOUT_FILENO;
    return &out == &std::cerr ? STDERR_FILENO : -1;
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
            "--color", [](const std::string& when) { choice = when; },
            "Colours in text: auto is on a terminal, and not with NO_COLOR")
        ->type_name("WHEN")
        ->check(CLI::IsMember({"auto", "always", "never"}))
        ->default_str("auto");
}

bool showsColours(int fileDescriptor) {
    if (choice != "auto")
        return choice == "always";
    return variableOfEnvironment("NO_COLOR").empty() && isColourTerminal(fileDescriptor);
}

std::string painted(const std::ostream& out, Paint paint, const std::string& text) {
    const int fileDescriptor = fileDescriptorOf(out);
    if (fileDescriptor < 0 || !showsColours(fileDescriptor))
        return text;
    return std::string("\x1B[") + codeOf(paint) + "m" + text + "\x1B[0m";
}

}  // namespace tool
