// Lengths of time as people type them.
#pragma once

#include <chrono>
#include <string>

namespace tool {

/// "500", "500ms", "1.5s", "2min", "1h": a number without a unit is milliseconds. At most a thousand hours,
/// rounded to milliseconds. Anything else is a Failure of status `usage` that begins with `what`,
/// "--timeout".
std::chrono::milliseconds parseDuration(const std::string& what, const std::string& text);

}  // namespace tool
