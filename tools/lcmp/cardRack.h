// Simulated cards in one process, each on a port of its own, and what goes wrong with them on demand.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "faultyWire.h"
#include "lcmpModel.h"
#include "lcmpUdpAddress.h"
#include "limitedNotice.h"

namespace tool {

/// What all cards of a rack have in common.
struct RackSettings {
    LcmpUdpAddress address;  ///< Of the first; further ones follow, unless the port is 0.
    unsigned int cards = 1;
    unsigned int seed = 1;
    std::vector<LcmpUdpAddress> receivers;  ///< Of events.
    std::vector<std::string> allowed;       ///< Blocks of addresses; none: loopback.
    WireFaults faults;
    bool mute = false;                    ///< Nothing is ever sent.
    std::optional<unsigned char> answer;  ///< The result of every response, whatever was asked.
};

class CardRack {
public:
    /// Opens all sockets. A Failure of status `usage` or `localFailure` says what is wrong.
    CardRack(RackSettings settings, const LcmpModel& model);
    ~CardRack();
    CardRack(const CardRack&) = delete;
    CardRack& operator=(const CardRack&) = delete;

    /// Where the cards listen, in order.
    std::vector<LcmpUdpAddress> addresses() const;

    /// Puts new cards of this model in the place of all; peers see them start.
    void replace(const LcmpModel& model);

    /// Is readable when a card has something to answer.
    int fileDescriptor() const { return m_epoll; }

    /// Answers what has arrived. A Failure of status `localFailure` when a socket has failed.
    void answer();

    /// Lets all cards live for so long, and report.
    void live(std::chrono::milliseconds passed);

    /// Until there is something to say of what peers have sent; negative: nothing.
    std::chrono::milliseconds untilNotice() const { return m_notices.left(); }

    /// Sends what was delayed and is due, and the time until there is more; negative: never.
    std::chrono::milliseconds sendDelayed();

private:
    class Card;

    LcmpModel modelOf(const LcmpModel& model, unsigned int number) const;
    void watch(unsigned int number);

    RackSettings m_settings;
    LimitedNotice m_notices;  // all cards share the limit
    int m_epoll;
    std::vector<std::unique_ptr<Card>> m_cards;
};

}  // namespace tool
