// What arrives from cards, as lines: every value that an event reports, and every gap in a card's numbering.
#pragma once

#include <map>
#include <ostream>
#include <string>
#include <utility>

#include "eventLines.h"
#include "lcmpUdpAddress.h"
#include "limitedNotice.h"
#include "standardNames.h"
#include "value.h"

class LCMPAmi;

namespace tool {

/// Takes the frames of any number of cards, told apart by address and port, and prints each line as it comes,
/// flushed. Values are named after the model; others show their OID. Requests of a card are not
/// shown, but they share the numbering of its events. What is malformed is told to `diagnostics`,
/// within the limit.
class EventLog {
public:
    using Format = EventLines::Format;

    /// So many last values are remembered of a card; beyond that it begins anew.
    static constexpr std::size_t maxValuesOfCard = 16384;

    /// Prints at most `limit` values; 0: any number. The streams and the model outlive the log.
    EventLog(std::ostream& out, std::ostream& diagnostics, Format format, unsigned long limit,
             const LcmpModel& model = lcmpModelStandard());

    /// A received datagram. The same datagram twice in a row is shown once.
    void take(const LcmpUdpAddress& address, const char* frame, int size);

    /// A value that the card was asked for. Shown when it is not the last one that is known of the variable,
    /// whether by an event or by asking; a first one where `showsFirst`.
    void takePolled(const LcmpUdpAddress& address, const Element& value, bool showsFirst);

    /// A card that is asked has fallen silent, or answers again.
    void tellAnswering(const LcmpUdpAddress& address, bool answers);

    /// What is said on `diagnostics`.
    LimitedNotice& notices() { return m_notices; }

    /// Whether the limit is reached.
    bool full() const { return m_limit != 0 && m_printed >= m_limit; }

private:
    struct Card {
        std::string lastFrame;
        int lastId = -1;                         // none yet
        std::map<unsigned int, Element> values;  // the last of each, by OID
    };

    Card& cardAt(const LcmpUdpAddress& address);
    void followNumbering(const std::string& time, const std::string& name, Card& card, int id);
    void takeEvent(const LCMPAmi& event, const std::string& name, Card& card, const char* frame, int size);
    void takeValue(const EventLines::Origin& origin, Card& card, const Element& element);
    void printValue(const EventLines::Origin& origin, Card& card, const Element& element, bool isPolled);
    static void remember(Card& card, const Element& element);
    void complain(const char* cause, const std::string& name, const std::string& problem);

    EventLines m_lines;
    LimitedNotice m_notices;
    unsigned long m_limit;
    const LcmpModel& m_model;
    unsigned long m_printed = 0;
    std::map<std::pair<std::uint32_t, std::uint16_t>, Card> m_cards;
};

}  // namespace tool
