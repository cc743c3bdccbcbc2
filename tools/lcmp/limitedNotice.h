// Lines about what peers send, of which a hostile or broken one could cause any number.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <ostream>
#include <string>

namespace tool {

/// Of each cause at most ten lines in any second get through. How many were left out is told a second later,
/// by a line that counts as one of the ten. A cause is a phrase of the program's own, never a peer's bytes:
/// "frames that are too short".
class LimitedNotice {
public:
    using Time = std::chrono::steady_clock::time_point;
    using Clock = std::function<Time()>;

    static constexpr std::size_t linesPerSecond = 10;

    /// The stream outlives the notice.
    explicit LimitedNotice(std::ostream& out, Clock clock = std::chrono::steady_clock::now);

    /// Tells of what was left out and not yet told, whatever the time.
    ~LimitedNotice();
    LimitedNotice(const LimitedNotice&) = delete;
    LimitedNotice& operator=(const LimitedNotice&) = delete;

    /// Prints "lcmp: " and the line, flushed, or counts it. What has happened several times is printed once,
    /// and counted for the rest.
    void say(const std::string& name, const std::string& line, std::uint64_t times = 1);

    /// The same for what somebody else prints, in `lines` lines, at most ten: whether it may.
    bool admit(const std::string& name, std::size_t lines = 1);

    /// Tells of what was left out, where it is time to.
    void settle();

    /// Until settle has something to tell; negative when nothing was left out.
    std::chrono::milliseconds left() const;

private:
    struct Cause {
        std::array<Time, linesPerSecond> lines;  // when the last ones got through, in a ring
        std::size_t oldest = 0;
        std::uint64_t leftOut = 0;
        Time since;  // when the first of them was
    };

    static Time roomAt(const Cause& cause, std::size_t lines);
    static Time tellingAt(const Cause& cause);
    static void passes(Cause& cause, Time now);
    static void leaveOut(Cause& cause, std::uint64_t times, Time now);
    Cause& causeOf(const std::string& name, Time now);
    bool admit(const std::string& name, Cause& cause, std::size_t lines, Time now);
    void tell(const std::string& name, Cause& cause);

    std::ostream& m_out;
    Clock m_clock;
    std::map<std::string, Cause> m_causes;
};

}  // namespace tool
