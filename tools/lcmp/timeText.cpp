#include "timeText.h"

#include <array>
#include <cctype>
#include <cstdio>

#include "exitStatus.h"

namespace tool {
namespace {

[[noreturn]] void malformed(const std::string& text, const std::string& problem) {
    throw Failure(ExitStatus::usage, "'" + text + "' " + problem);
}

[[noreturn]] void notATime(const std::string& text) {
    malformed(text, "is no time; write 2024-05-01T12:00:00Z, or seconds since 1970");
}

// Reads a text from left to right; what does not fit ends in a Failure.
class TimeReader {
public:
    explicit TimeReader(const std::string& text) : m_text(text) {}

    int number(int digits) {
        int value = 0;
        for (int i = 0; i < digits; ++i) {
            if (std::isdigit(static_cast<unsigned char>(peek())) == 0)
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
        return !done() && std::string(anyOf).find(peek()) != std::string::npos;
    }
    bool done() const { return m_position == m_text.size(); }
    char next() { return m_text[m_position++]; }

private:
    char peek() const { return done() ? '\0' : m_text[m_position]; }

    const std::string& m_text;
    std::size_t m_position = 0;
};

// A date of the Gregorian calendar, and the time of its day. Not the C library's, which ends in 2038 where
// time_t has four bytes.
struct Moment {
    int year = 0;
    int month = 0;  // 1 to 12
    int day = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;
};

Moment readMoment(TimeReader& reader) {
    Moment moment;
    moment.year = reader.number(4);
    reader.expect("-");
    moment.month = reader.number(2);
    reader.expect("-");
    moment.day = reader.number(2);
    reader.expect("Tt ");
    moment.hour = reader.number(2);
    reader.expect(":");
    moment.minute = reader.number(2);
    reader.expect(":");
    moment.second = reader.number(2);
    return moment;
}

constexpr long long secondsOfDay = 86400;

bool isLeap(int year) { return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0); }

int daysIn(int year, int month) {
    static constexpr std::array<int, 12> days = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return days.at(static_cast<std::size_t>(month - 1)) + (month == 2 && isLeap(year) ? 1 : 0);
}

// Days from 1970-01-01 to the first day of a year from 1 on.
long long daysBefore(int year) {
    const long long past = year - 1;
    return past * 365 + past / 4 - past / 100 + past / 400 - 719162;
}

bool exists(const Moment& moment) {
    return moment.year >= 1 && moment.month >= 1 && moment.month <= 12 && moment.day >= 1 &&
           moment.day <= daysIn(moment.year, moment.month) && moment.hour < 24 && moment.minute < 60 &&
           moment.second < 60;
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

long long secondsOf(const Moment& moment, const std::string& text) {
    if (!exists(moment))
        malformed(text, "does not exist: a field is beyond its range");
    long long days = daysBefore(moment.year) + moment.day - 1;
    for (int month = 1; month < moment.month; ++month)
        days += daysIn(moment.year, month);
    return days * secondsOfDay + (moment.hour * 60LL + moment.minute) * 60 + moment.second;
}

// Of seconds since 1970, which are not negative.
Moment momentOf(long long seconds) {
    Moment moment;
    long long days = seconds / secondsOfDay;
    moment.year = static_cast<int>(1970 + days / 366);
    while (daysBefore(moment.year + 1) <= days)
        ++moment.year;
    days -= daysBefore(moment.year);
    moment.month = 1;
    for (; days >= daysIn(moment.year, moment.month); ++moment.month)
        days -= daysIn(moment.year, moment.month);
    moment.day = static_cast<int>(days) + 1;
    const auto rest = static_cast<int>(seconds % secondsOfDay);
    moment.hour = rest / 3600;
    moment.minute = rest / 60 % 60;
    moment.second = rest % 60;
    return moment;
}

}  // namespace

long long parseTime(const std::string& text) {
    TimeReader reader(text);
    const Moment moment = readMoment(reader);
    if (reader.at("."))
        malformed(text, "has a fraction of a second; the value holds whole seconds");
    const long long east = readZone(reader, text);
    if (!reader.done())
        notATime(text);
    return secondsOf(moment, text) - east;
}

std::string timeText(std::uint32_t seconds, std::uint32_t microseconds) {
    const Moment moment = momentOf(std::int64_t{seconds} + microseconds / 1000000);
    std::array<char, 96> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02d-%02dT%02d:%02d:%02d.%06uZ", moment.year, moment.month,
                  moment.day, moment.hour, moment.minute, moment.second, microseconds % 1000000);
    return text.data();
}

}  // namespace tool
