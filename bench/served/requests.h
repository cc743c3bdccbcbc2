// The requests of each protocol, built before anything is measured, and how to tell a right answer.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace bench {

/// What answers at the other end.
enum class Peer { echo, card, snmp, coap };

/// False: there is no peer of that name.
bool peerNamed(std::string_view name, Peer& peer);

/// Which variables a request asks for, by number, and where they are.
struct Question {
    bool ofTable = false;
    std::vector<unsigned int> variables;
};

/// The first `count` variables of the scalar.
Question fixedQuestion(unsigned int count);

/// So many questions for `count` variables each, drawn from the whole table, a variable at most once in a
/// question. The same questions every time.
std::vector<Question> variedQuestions(unsigned int questions, unsigned int count);

/// A frame with its number still open.
class Request {
public:
    /// The net-snmp agent and the libcoap server know the scalar only.
    Request(Peer peer, const Question& question);

    /// The frame with this number in it: message id, request id. Its low 16 bits count.
    const std::string& numbered(std::uint32_t number) {
        const auto low = static_cast<char>(number);
        const auto high = static_cast<char>(number >> 8);
        m_bytes[m_numberOffset] = high;
        m_bytes[m_numberOffset + 1] = low;
        return m_bytes;
    }

    /// Whether the reply has this number and the values of the variables that were asked for.
    bool isAnsweredBy(std::string_view reply, std::uint32_t number) const;

private:
    Peer m_peer;
    Question m_question;
    std::string m_bytes;
    std::size_t m_numberOffset;
};

}  // namespace bench
