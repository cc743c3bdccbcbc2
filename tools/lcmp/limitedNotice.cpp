#include "limitedNotice.h"

#include <algorithm>
#include <utility>

namespace tool {
namespace {

constexpr auto second = std::chrono::seconds(1);

}  // namespace

LimitedNotice::LimitedNotice(std::ostream& out, Clock clock) : m_out(out), m_clock(std::move(clock)) {}

LimitedNotice::~LimitedNotice() {
    for (auto& [name, cause] : m_causes) {
        if (cause.leftOut != 0)
            tell(name, cause);
    }
}

void LimitedNotice::say(const std::string& name, const std::string& line, std::uint64_t times) {
    const Time now = m_clock();
    Cause& cause = causeOf(name, now);
    if (admit(name, cause, 1, now))
        m_out << "lcmp: " << line << std::endl;
    if (times > 1)
        leaveOut(cause, times - 1, now);
}

bool LimitedNotice::admit(const std::string& name, std::size_t lines) {
    const Time now = m_clock();
    return admit(name, causeOf(name, now), lines, now);
}

void LimitedNotice::settle() {
    const Time now = m_clock();
    for (auto& [name, cause] : m_causes) {
        if (cause.leftOut == 0 || tellingAt(cause) > now)
            continue;
        tell(name, cause);
        passes(cause, now);
    }
}

std::chrono::milliseconds LimitedNotice::left() const {
    Time next = Time::max();
    for (const auto& [name, cause] : m_causes) {
        if (cause.leftOut != 0)
            next = std::min(next, tellingAt(cause));
    }
    if (next == Time::max())
        return std::chrono::milliseconds(-1);
    return std::max(std::chrono::ceil<std::chrono::milliseconds>(next - m_clock()),
                    std::chrono::milliseconds(0));
}

LimitedNotice::Cause& LimitedNotice::causeOf(const std::string& name, Time now) {
    const auto [place, isNew] = m_causes.try_emplace(name);
    if (isNew)
        place->second.lines.fill(now - second);
    return place->second;
}

bool LimitedNotice::admit(const std::string& name, Cause& cause, std::size_t lines, Time now) {
    if (cause.leftOut != 0 && tellingAt(cause) <= now) {
        tell(name, cause);
        passes(cause, now);
    }
    if (roomAt(cause, lines) > now) {
        leaveOut(cause, 1, now);
        return false;
    }
    for (; lines > 0; --lines)
        passes(cause, now);
    return true;
}

LimitedNotice::Time LimitedNotice::roomAt(const Cause& cause, std::size_t lines) {
    return cause.lines.at((cause.oldest + lines - 1) % linesPerSecond) + second;
}

LimitedNotice::Time LimitedNotice::tellingAt(const Cause& cause) {
    return std::max(cause.since + second, roomAt(cause, 1));
}

void LimitedNotice::passes(Cause& cause, Time now) {
    cause.lines.at(cause.oldest) = now;
    cause.oldest = (cause.oldest + 1) % linesPerSecond;
}

void LimitedNotice::leaveOut(Cause& cause, std::uint64_t times, Time now) {
    if (cause.leftOut == 0)
        cause.since = now;
    cause.leftOut += times;
}

void LimitedNotice::tell(const std::string& name, Cause& cause) {
    m_out << "lcmp: " << cause.leftOut << " more left out: " << name << std::endl;
    cause.leftOut = 0;
}

}  // namespace tool
