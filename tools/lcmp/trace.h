// The library's log lines on standard error.
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace tool {

/// Adds --trace LEVEL (or LCMP_TRACE) to a verb; `level` receives its text.
void addTraceOption(CLI::App& verb, std::string& level);

/// Lets the library write its log lines up to this level, to syslog and to standard error. A text that is no
/// level, 0 to 9, is a Failure of status `usage`.
void startTrace(const std::string& level);

/// Lets it write no line until further notice, or as many as before. Harmless where nothing is traced.
void muteTrace(bool muted);

/// Whether lines of this level are written: 3 errors, 4 warnings, 7 to 9 debugging.
bool traces(int level);

}  // namespace tool
