#include "timeText.h"

#include <array>
#include <cstdio>
#include <ctime>

#include "lcmpModelValue.h"

namespace tool {

std::string timeText(std::uint32_t seconds, std::uint32_t microseconds) {
    const long long whole = std::int64_t{seconds} + microseconds / 1000000;
    std::string text = lcmpModelValueText(UNIX_TIME, whole);
    text.pop_back();  // the Z
    std::array<char, 12> fraction{};
    std::snprintf(fraction.data(), fraction.size(), ".%06uZ", microseconds % 1000000);
    return text + fraction.data();
}

std::string timeTextNow() {
    timespec time{};
    clock_gettime(CLOCK_REALTIME, &time);
    return timeText(static_cast<std::uint32_t>(time.tv_sec), static_cast<std::uint32_t>(time.tv_nsec / 1000));
}

}  // namespace tool
