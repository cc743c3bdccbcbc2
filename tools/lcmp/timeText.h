// Times in RFC 3339.
#pragma once

#include <cstdint>
#include <string>

namespace tool {

/// "2024-05-01T12:00:00Z", or with an offset, "2024-05-01T14:00:00+02:00": seconds since 1970-01-01 UTC.
/// Anything else is a Failure of status `usage` that says what is missing.
long long parseTime(const std::string& text);

/// "2024-05-01T12:00:00.000250Z". Microseconds beyond a second carry over.
std::string timeText(std::uint32_t seconds, std::uint32_t microseconds);

}  // namespace tool
