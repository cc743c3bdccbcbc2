// lcmp complete: what the completions of shells ask. Not in the help, and stable all the same: scripts of
// another version may stand in the shell.
//
//   lcmp complete -- WORD...
//
// The words are those behind "lcmp", the last one as far as it is typed, even if that is empty. Prints a line
// for each way to go on, the word and behind a tab what it is, and last, where it fits, ":files", ":folders"
// or ":hosts" for what the shell knows better. No word begins with a colon.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <memory>

#include "completion.h"
#include "verbs.h"

namespace tool {
namespace {

// Of a model's texts, what would be no line with a tab, or no text at all.
std::string printable(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7F'; },
        ' ');
    return text;
}

void print(std::ostream& out, const Completion& completion) {
    for (const Candidate& candidate : completion.candidates) {
        if (printable(candidate.text) == candidate.text)
            out << candidate.text << '\t' << printable(candidate.description) << '\n';
    }
    if (!completion.kind.empty())
        out << ':' << completion.kind << '\n';
}

}  // namespace

void addCompleteVerb(CLI::App& verb, ExitStatus& status) {
    const auto words = std::make_shared<std::vector<std::string>>();
    verb.add_option("WORD", *words, "The words behind lcmp, the last one as far as it is typed")
        ->type_name("");
    verb.callback([&verb, words, &status] {
        print(std::cout, complete(*verb.get_parent(), *words));
        status = ExitStatus::done;
    });
}

}  // namespace tool
