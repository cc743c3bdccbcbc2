// Colours, for people: in text on a terminal, and few of them.
#pragma once

#include <iosfwd>
#include <string>

namespace CLI {
class App;
}

namespace tool {

/// What is told from the rest.
enum class Paint {
    name,     ///< Of a variable.
    changed,  ///< A value that differs from the one before.
    problem   ///< What failed or was refused, or who says so.
};

/// Adds --color auto|always|never to a verb. The choice is the process's.
void addColourOption(CLI::App& verb);

/// Whether text to this file descriptor has colours: as --color says; unless it says, on a terminal, but not
/// on one of TERM=dumb or without TERM, and never while NO_COLOR is set to something.
bool showsColours(int fileDescriptor);

/// The text in its colour when `out` is standard output or standard error and that has colours; otherwise
/// the text as it is.
std::string painted(const std::ostream& out, Paint paint, const std::string& text);

}  // namespace tool
