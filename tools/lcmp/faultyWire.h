// A wire that loses, doubles, delays and reorders what is sent over it, by chance that is the same for the
// same seed. Knows no clock: whoever drives it says what time it is.
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "lcmpUdpAddress.h"
#include "motion.h"

namespace tool {

/// Percent of what is sent, each decided on its own.
struct WireFaults {
    double loss = 0;
    double duplicate = 0;
    double delay = 0;
    double reorder = 0;
    std::chrono::milliseconds delayTime{200};  ///< How long the delayed ones take.

    bool any() const { return loss > 0 || duplicate > 0 || delay > 0 || reorder > 0; }
};

class FaultyWire {
public:
    using Time = std::chrono::steady_clock::time_point;
    using Deliver = std::function<void(const LcmpUdpAddress& to, const std::string& frame)>;

    FaultyWire(const WireFaults& faults, unsigned int seed, Deliver deliver);

    /// Delivers the frame now, later, twice, behind the next one, or never.
    void send(const LcmpUdpAddress& to, const std::string& frame, Time now);

    /// Delivers what is due.
    void flush(Time now);

    /// Until flush has something to do, rounded up; negative: never.
    std::chrono::milliseconds left(Time now) const;

private:
    struct Packet {
        LcmpUdpAddress to;
        std::string frame;
        Time due;
        bool waitsForNext;  // leaves as soon as another one has left, and when it is due
    };

    bool happens(double percent);
    void release(std::vector<Packet> packets);

    WireFaults m_faults;
    Chance m_chance;
    Deliver m_deliver;
    std::vector<Packet> m_waiting;  // in the order of sending
};

}  // namespace tool
