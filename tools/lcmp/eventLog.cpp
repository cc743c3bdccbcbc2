#include "eventLog.h"

#include <nlohmann/json.hpp>
#include <vector>

#include "lcmpmsg.h"
#include "output.h"
#include "timeText.h"

namespace tool {
namespace {

using Json = nlohmann::ordered_json;

// Whoever may send can invent cards and variables without end; what is remembered of them has one.
constexpr std::size_t maxCards = 1024;
constexpr std::size_t maxValuesOfCard = 16384;

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
    : m_out(out), m_notices(diagnostics), m_format(format), m_limit(limit), m_model(model) {}

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
        printGap(time, name, expected, id);
    card.lastId = id;
}

void EventLog::printGap(const std::string& time, const std::string& name, int expected, int received) {
    const int missing = missingIds(expected, received);
    if (m_format == Format::jsonl) {
        Json gap = {{"expected", expected}, {"received", received}};
        if (missing != 0)
            gap["missing"] = missing;
        m_out << jsonLine({{"time", time}, {"card", name}, {"gap", gap}}) << std::flush;
        return;
    }
    m_out << time << ' ' << name << " gap: message " << received << " instead of " << expected << ", ";
    if (missing != 0)
        m_out << missing << " missing" << std::endl;
    else
        m_out << "the numbering went back" << std::endl;
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
            printValue(time, name, card, element);
    }
}

void EventLog::printValue(const std::string& time, const std::string& name, Card& card,
                          const Element& element) {
    const Variable variable = variableOfOid(element.oid(), m_model);
    if (!hasLengthOfType(element))
        return complain("malformed values", name,
                        "a malformed value of " + variable.name + ": " + lcmpTlvTypeName(element.type()) +
                            " of " + std::to_string(element.length()) + " bytes");
    const auto old = card.values.find(element.oid());
    const bool known = old != card.values.end();
    if (m_format == Format::jsonl) {
        Json line = {
            {"time", time}, {"card", name}, {"oid", oidText(element.oid())}, {"name", variable.name}};
        addJsonValue(variable, element, line);
        if (known)
            line["old"] = jsonValue(old->second);
        if (*variable.unit != '\0')
            line["unit"] = variable.unit;
        m_out << jsonLine(line) << std::flush;
    } else {
        m_out << time << ' ' << name << ' ' << variable.name << ' ' << displayText(variable, element);
        if (*variable.unit != '\0')
            m_out << ' ' << variable.unit;
        if (known)
            m_out << " (was " << displayText(old->second) << ')';
        m_out << std::endl;
    }
    ++m_printed;
    if (!known && card.values.size() >= maxValuesOfCard)
        card.values.clear();
    card.values[element.oid()] = element;
}

void EventLog::complain(const char* cause, const std::string& name, const std::string& problem) {
    m_notices.say(cause, name + " sent " + problem);
}

}  // namespace tool
