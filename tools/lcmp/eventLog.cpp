#include "eventLog.h"

#include <vector>

#include "lcmpmsg.h"
#include "timeText.h"

namespace tool {
namespace {

// Whoever may send can invent cards and variables without end; what is remembered of them has one.
constexpr std::size_t maxCards = 1024;

constexpr int idRange = 65536;

bool isRequest(int action) { return action == LCMP_ACTION_READ || action == LCMP_ACTION_WRITE; }

// How many ids lie between; none where the numbering went back, as it does when a card starts again.
int missingIds(int expected, int received) {
    const int missing = (received - expected + idRange) % idRange;
    return missing < idRange / 2 ? missing : 0;
}

}  // namespace

EventLog::EventLog(std::ostream& out, std::ostream& diagnostics, Format format, unsigned long limit,
                   const LcmpModel& model)
    : m_lines(out, format), m_notices(diagnostics), m_limit(limit), m_model(model) {}

void EventLog::take(const LcmpUdpAddress& address, const char* frame, int size) {
    const std::string name = lcmpUdpToText(address);
    constexpr int shortestFrame = 8;
    LCMPMessage header;
    if (size < shortestFrame)
        return complain("frames that are too short", name, "a frame of " + std::to_string(size) + " bytes");
    const auto fault = static_cast<unsigned int>(header.deserialize(frame, size));
    if (fault != RESULT_OK)
        return complain("frames of another kind", name,
                        std::string("a frame of another kind: ") + lcmpResultName(fault));
    Card& card = cardAt(address);
    if (card.lastFrame.compare(0, std::string::npos, frame, static_cast<std::size_t>(size)) == 0)
        return complain("messages that came twice", name,
                        "message " + std::to_string(header.getMessageId()) + " twice");
    card.lastFrame.assign(frame, static_cast<std::size_t>(size));
    LCMPAmi event;
    if (isRequest(header.getAction()))
        followNumbering(timeTextNow(), name, card, header.getMessageId());
    else if (header.getAction() == LCMP_ACTION_AMI && event.deserialize(frame, size) == RESULT_OK)
        takeEvent(event, name, card, frame, size);
    else if (header.getAction() == LCMP_ACTION_AMI)
        complain("events that end in their header", name, "an event that ends in its header");
}

EventLog::Card& EventLog::cardAt(const LcmpUdpAddress& address) {
    const auto key = std::make_pair(address.host, address.port);
    if (m_cards.size() >= maxCards && m_cards.count(key) == 0)
        m_cards.clear();
    return m_cards[key];
}

void EventLog::followNumbering(const std::string& time, const std::string& name, Card& card, int id) {
    const int expected = (card.lastId + 1) % idRange;
    if (card.lastId >= 0 && id != expected && !full())
        m_lines.printGap({time, name}, expected, id, missingIds(expected, id));
    card.lastId = id;
}

void EventLog::takeEvent(const LCMPAmi& event, const std::string& name, Card& card, const char* frame,
                         int size) {
    const std::string time = timeText(event.getSeconds(), event.getMicroseconds());
    followNumbering(time, name, card, event.getMessageId());
    std::vector<Element> elements;
    if (!takeElements(frame, size, event.getHeaderSize(), elements))
        complain("elements that do not fit", name,
                 "an event whose element " + std::to_string(elements.size()) + " does not fit");
    for (const Element& element : elements) {
        if (!full())
            takeValue({time, name}, card, element);
    }
}

void EventLog::takeValue(const EventLines::Origin& origin, Card& card, const Element& element) {
    if (hasLengthOfType(element))
        return printValue(origin, card, element, false);
    complain("malformed values", origin.card,
             "a malformed value of " + variableOfOid(element.oid(), m_model).name + ": " +
                 lcmpTlvTypeName(element.type()) + " of " + std::to_string(element.length()) + " bytes");
}

void EventLog::takePolled(const LcmpUdpAddress& address, const Element& value, bool showsFirst) {
    Card& card = cardAt(address);
    const auto old = card.values.find(value.oid());
    const bool isKnown = old != card.values.end();
    if (!isKnown && !showsFirst)
        return remember(card, value);
    if (!full() && !(isKnown && isSameValue(old->second, value)))
        printValue({timeTextNow(), lcmpUdpToText(address)}, card, value, true);
}

void EventLog::tellAnswering(const LcmpUdpAddress& address, bool answers) {
    if (!full())
        m_lines.printAnswering({timeTextNow(), lcmpUdpToText(address)}, answers);
}

void EventLog::printValue(const EventLines::Origin& origin, Card& card, const Element& element,
                          bool isPolled) {
    const auto old = card.values.find(element.oid());
    m_lines.print(origin, {variableOfOid(element.oid(), m_model), element,
                           old == card.values.end() ? nullptr : &old->second, isPolled});
    ++m_printed;
    remember(card, element);
}

void EventLog::remember(Card& card, const Element& element) {
    if (card.values.size() >= maxValuesOfCard && card.values.count(element.oid()) == 0)
        card.values.clear();
    card.values[element.oid()] = element;
}

void EventLog::complain(const char* cause, const std::string& name, const std::string& problem) {
    m_notices.say(cause, name + " sent " + problem);
}

}  // namespace tool
