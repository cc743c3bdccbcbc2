// Times in RFC 3339.
#pragma once

#include <cstdint>
#include <string>

namespace tool {

/// "2024-05-01T12:00:00.000250Z". Microseconds beyond a second carry over.
std::string timeText(std::uint32_t seconds, std::uint32_t microseconds);

/// The time of this machine's clock.
std::string timeTextNow();

}  // namespace tool
