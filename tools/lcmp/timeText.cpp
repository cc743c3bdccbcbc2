#include "timeText.h"

#include <array>
#include <cctype>
#include <cstdio>
#include <ctime>

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

std::tm readFields(TimeReader& reader) {
    std::tm fields{};
    fields.tm_year = reader.number(4) - 1900;
    reader.expect("-");
    fields.tm_mon = reader.number(2) - 1;
    reader.expect("-");
    fields.tm_mday = reader.number(2);
    reader.expect("Tt ");
    fields.tm_hour = reader.number(2);
    reader.expect(":");
    fields.tm_min = reader.number(2);
    reader.expect(":");
    fields.tm_sec = reader.number(2);
    return fields;
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

// timegm carries what lies beyond a field over into the next; a date that changes so does not exist.
long long secondsOf(const std::tm& fields, const std::string& text) {
    std::tm normal = fields;
    const std::time_t seconds = timegm(&normal);
    if (normal.tm_year != fields.tm_year || normal.tm_mon != fields.tm_mon ||
        normal.tm_mday != fields.tm_mday || normal.tm_hour != fields.tm_hour ||
        normal.tm_min != fields.tm_min || normal.tm_sec != fields.tm_sec)
        malformed(text, "does not exist: a field is beyond its range");
    return seconds;
}

}  // namespace

long long parseTime(const std::string& text) {
    TimeReader reader(text);
    const std::tm fields = readFields(reader);
    if (reader.at("."))
        malformed(text, "has a fraction of a second; the value holds whole seconds");
    const long long east = readZone(reader, text);
    if (!reader.done())
        notATime(text);
    return secondsOf(fields, text) - east;
}

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
