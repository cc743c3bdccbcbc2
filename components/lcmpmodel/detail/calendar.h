// Times in RFC 3339 and seconds since 1970, whatever the width of time_t.
#pragma once

#include <stdexcept>
#include <string>

namespace lcmpdetail {

/// What is wrong with a text that a person wrote.
class Refused : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// "2024-05-01T12:00:00Z", or with an offset, "2024-05-01T14:00:00+02:00". Throws Refused.
long long parseTime(const std::string& text);

/// The same text in UTC; the number alone before the year 1 and after 9999.
std::string timeText(long long seconds);

}  // namespace lcmpdetail
