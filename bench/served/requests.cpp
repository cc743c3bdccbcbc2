#include "requests.h"

#include <algorithm>
#include <utility>

#include "draw.h"
#include "variables.h"

namespace bench {

namespace {

// ---------------------------------------------------------------- bytes

std::string big(std::uint32_t value, int bytes) {
    std::string text;
    for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8)
        text += static_cast<char>(value >> shift);
    return text;
}

bool takePrefix(std::string_view& rest, std::string_view prefix) {
    if (rest.substr(0, prefix.size()) != prefix)
        return false;
    rest.remove_prefix(prefix.size());
    return true;
}

// ---------------------------------------------------------------- the card, and the echo of its frames

constexpr std::size_t cardNumberOffset = 6;

std::string cardElements(const Question& question) {
    std::string elements;
    for (const unsigned int variable : question.variables) {
        constexpr std::uint32_t unsigned32 = 1;
        elements += big(question.ofTable ? tableOidOf(variable) : scalarOidOf(variable), 4);
        elements += big(unsigned32, 1) + big(4, 2) + big(valueOf(variable), 4);
    }
    return elements;
}

std::string cardHeader(std::uint32_t action, std::uint32_t number) {
    return "OTN1" + big(1, 1) + big(action, 1) + big(number, 2);
}

std::string cardRequest(const Question& question) { return cardHeader(1, 0) + cardElements(question); }

bool isCardReply(std::string_view reply, std::uint32_t number, const Question& question) {
    return reply == cardHeader(3, number) + std::string(3, '\0') + cardElements(question);
}

// ---------------------------------------------------------------- SNMP version 2c

constexpr char berInteger = 0x02;
constexpr char berText = 0x04;
constexpr char berNull = 0x05;
constexpr char berName = 0x06;
constexpr char berSequence = 0x30;
constexpr char snmpGet = static_cast<char>(0xA0);
constexpr char snmpResponse = static_cast<char>(0xA2);

std::string ber(char tag, const std::string& content) {
    const auto size = static_cast<std::uint32_t>(content.size());
    std::string length = big(size, 1);
    if (size > 0xFF)
        length = big(0x82, 1) + big(size, 2);
    else if (size > 0x7F)
        length = big(0x81, 1) + big(size, 1);
    return tag + length + content;
}

std::string snmpName(unsigned int variable) {
    return ber(berName, std::string("\x2B\x06\x01\x03", 4) + big(variable + 1, 1) + big(0, 1));
}

// The first byte keeps the number positive and four bytes long, whatever its low half is.
std::string snmpNumber(std::uint32_t number) {
    return ber(berInteger, big(0x40000000U | (number & 0xFFFF), 4));
}

std::string snmpRequest(const Question& question) {
    std::string bindings;
    for (const unsigned int variable : question.variables)
        bindings += ber(berSequence, snmpName(variable) + ber(berNull, ""));
    const std::string zero = ber(berInteger, big(0, 1));
    const std::string version = ber(berInteger, big(1, 1));
    const std::string get = ber(snmpGet, snmpNumber(0) + zero + zero + ber(berSequence, bindings));
    return ber(berSequence, version + ber(berText, "public") + get);
}

// Opens an element of this tag: what is left is its content. Agents may write lengths longer than they need
// to be.
bool enter(std::string_view& rest, char tag) {
    if (rest.size() < 2 || rest[0] != tag)
        return false;
    auto length = static_cast<std::size_t>(static_cast<unsigned char>(rest[1]));
    rest.remove_prefix(2);
    if (length > 0x7F) {
        std::size_t bytes = length & 0x7F;
        for (length = 0; bytes > 0 && !rest.empty(); --bytes, rest.remove_prefix(1))
            length = (length << 8) | static_cast<unsigned char>(rest[0]);
    }
    return length <= rest.size();
}

bool isSnmpReply(std::string_view reply, std::uint32_t number, const Question& question) {
    const std::string zero = ber(berInteger, big(0, 1));
    const std::string start = ber(berInteger, big(1, 1)) + ber(berText, "public");
    if (!enter(reply, berSequence) || !takePrefix(reply, start) || !enter(reply, snmpResponse) ||
        !takePrefix(reply, snmpNumber(number) + zero + zero) || !enter(reply, berSequence))
        return false;
    for (const unsigned int variable : question.variables) {
        const std::string binding = snmpName(variable) + ber(berInteger, big(valueOf(variable), 4));
        if (!enter(reply, berSequence) || !takePrefix(reply, binding))
            return false;
    }
    return reply.empty();
}

// ---------------------------------------------------------------- CoAP

constexpr std::size_t coapNumberOffset = 2;

// A confirmable GET without a token, for the resource that is named after the number of variables.
std::string coapRequest(const Question& question) {
    const std::string path = std::to_string(question.variables.size());
    const std::string pathOption = big(static_cast<std::uint32_t>(0xB0 + path.size()), 1) + path;
    return big(0x40, 1) + big(0x01, 1) + big(0, 2) + pathOption;
}

// An acknowledgement that carries the content.
bool isCoapReply(std::string_view reply, std::uint32_t number, const Question& question) {
    std::string content = big(0xFF, 1);
    for (const unsigned int variable : question.variables)
        content += big(valueOf(variable), 4);
    return reply == big(0x60, 1) + big(0x45, 1) + big(number, 2) + content;
}

// ---------------------------------------------------------------- all of them

std::string build(Peer peer, const Question& question) {
    switch (peer) {
        case Peer::snmp:
            return snmpRequest(question);
        case Peer::coap:
            return coapRequest(question);
        default:
            return cardRequest(question);
    }
}

std::size_t numberOffset(Peer peer, const std::string& request) {
    switch (peer) {
        case Peer::snmp:
            return request.find(snmpNumber(0)) + 4;  // behind tag, length and the high half
        case Peer::coap:
            return coapNumberOffset;
        default:
            return cardNumberOffset;
    }
}

}  // namespace

bool peerNamed(std::string_view name, Peer& peer) {
    constexpr std::string_view names[] = {"echo", "card", "snmp", "coap"};
    const auto* const found = std::find(std::begin(names), std::end(names), name);
    peer = static_cast<Peer>(found - std::begin(names));
    return found != std::end(names);
}

Question fixedQuestion(unsigned int count) {
    Question question;
    for (unsigned int variable = 0; variable < count; ++variable)
        question.variables.push_back(variable);
    return question;
}

std::vector<Question> variedQuestions(unsigned int questions, unsigned int count) {
    std::vector<Question> varied;
    for (auto& variables : draw(questions, count, tableVariables))
        varied.push_back({true, std::move(variables)});
    return varied;
}

Request::Request(Peer peer, const Question& question)
    : m_peer(peer),
      m_question(question),
      m_bytes(build(peer, question)),
      m_numberOffset(numberOffset(peer, m_bytes)) {}

bool Request::isAnsweredBy(std::string_view reply, std::uint32_t number) const {
    switch (m_peer) {
        case Peer::snmp:
            return isSnmpReply(reply, number, m_question);
        case Peer::coap:
            return isCoapReply(reply, number, m_question);
        case Peer::card:
            return isCardReply(reply, number, m_question);
        default:
            return reply.substr(0, m_bytes.size()) == m_bytes;
    }
}

}  // namespace bench
