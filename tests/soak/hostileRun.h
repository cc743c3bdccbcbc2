// A card that receives hostile frames, and every one of its answers.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "hostileFrames.h"
#include "network.h"

struct HostileTally {
    std::uint64_t malformed = 0;   // datagrams that are no frames, or none that is answered, or were refused
    std::uint64_t served = 0;      // those that bending left intact
    std::uint64_t unanswered = 0;  // of the malformed
    std::uint64_t wrongAnswers = 0;  // too long, too many, too few, or to what is never answered
    std::string firstWrong;          // the frame of the first of them, in hexadecimal
};

class HostileRun {
public:
    HostileRun(std::vector<std::string> originals, std::uint64_t seed);
    ~HostileRun();
    HostileRun(const HostileRun&) = delete;
    HostileRun& operator=(const HostileRun&) = delete;

    /// Sends hostile frames until so many more of them were malformed.
    void send(std::uint64_t malformed);

    /// A request that leaves the card as it always does, whatever was sent before: it keeps the unknown
    /// variables of a refused request until the next one is refused.
    void settle();

    const HostileTally& tally() const { return m_tally; }

private:
    struct Card;
    class Sender;

    void judge(const std::string& frame, const std::vector<std::string>& answers);

    Network m_network;
    HostileFrames m_frames;
    std::unique_ptr<Card> m_card;
    std::unique_ptr<Sender> m_sender;
    HostileTally m_tally;
};
