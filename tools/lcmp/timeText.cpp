#include "timeText.h"

#include <array>
#include <cstdio>
#include <ctime>

namespace tool {
std::string timeText(std::uint32_t seconds, std::uint32_t microseconds) {
    const auto time = static_cast<std::time_t>(std::int64_t{seconds} + microseconds / 1000000);
    std::tm fields{};
    gmtime_r(&time, &fields);
    std::array<char, 24> whole{};
    std::strftime(whole.data(), whole.size(), "%Y-%m-%dT%H:%M:%S", &fields);
    std::array<char, 12> fraction{};
    std::snprintf(fraction.data(), fraction.size(), ".%06uZ", microseconds % 1000000);
    return std::string(whole.data()) + fraction.data();
}

}  // namespace tool
