#include "duration.h"

#include <cctype>
#include <cmath>
#include <optional>
#include <sstream>

#include "exitStatus.h"

namespace tool {
namespace {

constexpr double maxMilliseconds = 1000.0 * 3600.0 * 1000.0;

std::optional<double> millisecondsOf(const std::string& unit) {
    if (unit.empty() || unit == "ms")
        return 1.0;
    if (unit == "s")
        return 1000.0;
    if (unit == "min")
        return 60.0 * 1000.0;
    if (unit == "h")
        return 3600.0 * 1000.0;
    return std::nullopt;
}

std::optional<double> millisecondsIn(const std::string& text) {
    if (text.empty() || std::isdigit(static_cast<unsigned char>(text[0])) == 0)
        return std::nullopt;
    const auto unitAt = text.find_first_not_of("0123456789.");
    const std::string number = text.substr(0, unitAt);
    const std::optional<double> unit = millisecondsOf(unitAt == std::string::npos ? "" : text.substr(unitAt));
    std::istringstream stream(number);
    stream.imbue(std::locale::classic());
    double value = 0;
    if (!unit || !(stream >> value) || !stream.eof())
        return std::nullopt;
    return value * *unit;
}

}  // namespace

std::chrono::milliseconds parseDuration(const std::string& what, const std::string& text) {
    const std::optional<double> value = millisecondsIn(text);
    if (!value)
        throw Failure(ExitStatus::usage, what + ": '" + text + "' is no time; write 500ms, 5s, 2min or 1h");
    if (*value > maxMilliseconds)
        throw Failure(ExitStatus::usage, what + ": '" + text + "' is more than 1000h");
    return std::chrono::milliseconds(std::llround(*value));
}

}  // namespace tool
