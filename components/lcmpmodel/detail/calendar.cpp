#include "detail/calendar.h"

#include <array>
#include <cstdio>

namespace lcmpdetail {
namespace {

constexpr long long secondsOfDay = 86400;
constexpr long long firstSecond = -62135596800;  // of the year 1
constexpr long long lastSecond = 253402300799;   // of the year 9999

struct Time {
    int year = 0;
    int month = 0;
    int day = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;
};

[[noreturn]] void malformed(const std::string& text, const std::string& problem) {
    throw Refused("'" + text + "' " + problem);
}

[[noreturn]] void notATime(const std::string& text) {
    malformed(text, "is no time; write 2024-05-01T12:00:00Z, or seconds since 1970");
}

// Reads a text from left to right; what does not fit is refused.
class TimeReader {
public:
    explicit TimeReader(const std::string& text) : m_text(text) {}

    int number(int digits) {
        int value = 0;
        for (int i = 0; i < digits; ++i) {
            if (!at("0123456789"))
                notATime(m_text);
            value = value * 10 + (next() - '0');
        }
        return value;
    }

    void expect(const char* anyOf) {
        if (!at(anyOf))
            notATime(m_text);
        ++m_position;
    }

    bool at(const char* anyOf) const {
        return !done() && std::string(anyOf).find(m_text[m_position]) != std::string::npos;
    }
    bool done() const { return m_position == m_text.size(); }
    char next() { return m_text[m_position++]; }

private:
    const std::string& m_text;
    std::size_t m_position = 0;
};

Time readFields(TimeReader& reader) {
    Time time;
    time.year = reader.number(4);
    reader.expect("-");
    time.month = reader.number(2);
    reader.expect("-");
    time.day = reader.number(2);
    reader.expect("Tt ");
    time.hour = reader.number(2);
    reader.expect(":");
    time.minute = reader.number(2);
    reader.expect(":");
    time.second = reader.number(2);
    return time;
}

// Seconds east of UTC.
long long readZone(TimeReader& reader, const std::string& text) {
    if (reader.done())
        malformed(text, "lacks its time zone; append Z or an offset like +02:00");
    if (reader.at("Zz")) {
        reader.next();
        return 0;
    }
    const bool west = reader.at("-");
    reader.expect("+-");
    const int hours = reader.number(2);
    reader.expect(":");
    const int minutes = reader.number(2);
    if (hours > 23 || minutes > 59)
        malformed(text, "has an offset beyond 23:59");
    const int seconds = (hours * 60 + minutes) * 60;
    return west ? -seconds : seconds;
}

bool isLeapYear(int year) { return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0); }

int daysOfMonth(int year, int month) {
    static constexpr std::array<int, 12> days = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && isLeapYear(year) ? 29 : days.at(static_cast<std::size_t>(month - 1));
}

bool exists(const Time& time) {
    return time.month >= 1 && time.month <= 12 && time.day >= 1 &&
           time.day <= daysOfMonth(time.year, time.month) && time.hour <= 23 && time.minute <= 59 &&
           time.second <= 59;
}

// Days since 1970-01-01 of the first of January.
long long daysBefore(int year) {
    const long long past = year - 1;  // years that are over, counted from the year 1
    return past * 365 + past / 4 - past / 100 + past / 400 - 719162;
}

long long secondsOf(const Time& time) {
    // The leap day of the year 0 lies before the year that daysBefore counts from.
    long long days = time.year == 0 ? daysBefore(1) - 366 : daysBefore(time.year);
    for (int month = 1; month < time.month; ++month)
        days += daysOfMonth(time.year, month);
    days += time.day - 1;
    return days * secondsOfDay + (time.hour * 60LL + time.minute) * 60 + time.second;
}

Time timeOf(long long seconds) {
    long long days = (seconds - firstSecond) / secondsOfDay;
    const auto left = static_cast<int>((seconds - firstSecond) % secondsOfDay);
    Time time;
    time.year = static_cast<int>(days / 366) + 1;  // at most that; the loop finds the rest
    days += daysBefore(1);
    while (daysBefore(time.year + 1) <= days)
        ++time.year;
    days -= daysBefore(time.year);
    for (time.month = 1; days >= daysOfMonth(time.year, time.month); ++time.month)
        days -= daysOfMonth(time.year, time.month);
    time.day = static_cast<int>(days) + 1;
    time.hour = left / 3600;
    time.minute = left / 60 % 60;
    time.second = left % 60;
    return time;
}

}  // namespace

long long parseTime(const std::string& text) {
    TimeReader reader(text);
    const Time time = readFields(reader);
    if (reader.at("."))
        malformed(text, "has a fraction of a second; the value holds whole seconds");
    const long long east = readZone(reader, text);
    if (!reader.done())
        notATime(text);
    if (!exists(time))
        malformed(text, "does not exist: a field is beyond its range");
    return secondsOf(time) - east;
}

std::string timeText(long long seconds) {
    if (seconds < firstSecond || seconds > lastSecond)
        return std::to_string(seconds);
    const Time time = timeOf(seconds);
    std::array<char, 80> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02d-%02dT%02d:%02d:%02dZ", time.year, time.month, time.day,
                  time.hour, time.minute, time.second);
    return text.data();
}

}  // namespace lcmpdetail
