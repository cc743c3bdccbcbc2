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

/// The text in its colour when `out` is standard output or standard error and that has colours; otherwise
/// the text as it is. Which have, is settled when the first text is painted: as --color says; unless it says,
/// those that are terminals have, but not with TERM=dumb or without TERM, and not while NO_COLOR is set to
/// something.
std::string painted(const std::ostream& out, Paint paint, const std::string& text);

}  // namespace tool
