#include "hostileFrames.h"

#include <algorithm>
#include <array>
#include <utility>

namespace {

constexpr std::size_t requestHeader = 8;
constexpr std::size_t responseHeader = 11;
constexpr std::size_t elementHeader = 7;
constexpr std::size_t longestReadResponse = 1200;
constexpr std::size_t longestFrame = 2000;  // that bending leaves

unsigned int byteAt(const std::string& frame, std::size_t place) {
    return static_cast<unsigned char>(frame[place]);
}

bool elementsFit(const std::string& frame) {
    std::size_t place = requestHeader;
    while (place < frame.size()) {
        const std::size_t left = frame.size() - place;
        if (left < elementHeader)
            return false;
        const std::size_t length = byteAt(frame, place + 5) << 8 | byteAt(frame, place + 6);
        if (left - elementHeader < length)
            return false;
        place += elementHeader + length;
    }
    return true;
}

// Done or done with a remark about the message id.
bool isServed(unsigned int result) {
    return result == 0 || result == 2 || result == 3 || result == 16 || result == 17;
}

bool isHeaderOfAnswer(const std::string& answer, const std::string& frame) {
    const char action = frame[5] == 1 ? 3 : 4;
    return answer.size() >= responseHeader && answer.compare(0, 4, "OTN1") == 0 && answer[4] == 1 &&
           answer[5] == action && answer.compare(6, 2, frame, 6, 2) == 0;
}

bool mayBeOnlyAnswer(Fault fault, const std::string& answer) {
    const unsigned int result = byteAt(answer, requestHeader);
    switch (fault) {
        case Fault::ignored:
            return false;
        case Fault::version:
            return result == 1 && answer.size() == responseHeader;
        case Fault::action:
            return result == 4 && answer.size() == responseHeader;
        case Fault::misfit:
            return result == 8 && answer.size() == responseHeader;
        case Fault::none:
            break;
    }
    return isServed(result) ? answer.size() <= longestReadResponse : answer.size() == responseHeader;
}

}  // namespace

HostileFrames::HostileFrames(std::vector<std::string> originals, std::uint64_t seed)
    : m_originals(std::move(originals)), m_chance(seed) {
    m_frame.reserve(2 * longestFrame);
}

const std::string& HostileFrames::next() {
    m_frame = m_originals[m_chance.below(m_originals.size())];
    for (int changes = 1 + m_chance.below(4); changes > 0; --changes)
        bend();
    m_frame.resize(std::min(m_frame.size(), longestFrame));
    return m_frame;
}

void HostileFrames::bend() {
    static constexpr std::array<void (HostileFrames::*)(), 6> ways = {
        &HostileFrames::setByte, &HostileFrames::setLength, &HostileFrames::cut,
        &HostileFrames::append,  &HostileFrames::repeat,    &HostileFrames::splice};
    (this->*ways[m_chance.below(ways.size())])();
}

// 0 for an empty range.
std::size_t HostileFrames::place(std::size_t end) { return end == 0 ? 0 : m_chance.below(end); }

char HostileFrames::oddByte() {
    static constexpr std::array<unsigned char, 8> odd = {0x00, 0x01, 0x02, 0x05, 0x7F, 0x80, 0xFE, 0xFF};
    const auto any = static_cast<unsigned char>(m_chance.below(256));
    return static_cast<char>(m_chance.hits(500) ? odd[any % odd.size()] : any);
}

void HostileFrames::setByte() {
    if (m_frame.empty())
        return;
    char& byte = m_frame[place(m_frame.size())];
    byte = m_chance.hits(500) ? oddByte() : static_cast<char>(byte ^ (1 << m_chance.below(8)));
}

// The length of the first element, or of what would be one.
void HostileFrames::setLength() {
    if (m_frame.size() < requestHeader + elementHeader)
        return;
    m_frame[requestHeader + 5] = m_chance.hits(500) ? '\0' : oddByte();
    m_frame[requestHeader + 6] = oddByte();
}

void HostileFrames::cut() { m_frame.resize(place(m_frame.size() + 1)); }

void HostileFrames::append() { m_frame.append(static_cast<std::size_t>(1 + m_chance.below(16)), oddByte()); }

void HostileFrames::repeat() {
    const std::size_t begin = place(m_frame.size());
    const std::size_t count = place(m_frame.size() - begin + 1);
    if (m_frame.size() + count <= longestFrame)
        m_frame.insert(place(m_frame.size() + 1), m_frame.substr(begin, count));
}

void HostileFrames::splice() {
    const std::string& other = m_originals[m_chance.below(m_originals.size())];
    m_frame.resize(place(m_frame.size() + 1));
    m_frame.append(other, place(other.size() + 1), std::string::npos);
}

Fault faultOf(const std::string& frame) {
    if (frame.size() < requestHeader || frame.compare(0, 4, "OTN1") != 0)
        return Fault::ignored;
    const unsigned int action = byteAt(frame, 5);
    if (action >= 3 && action <= 5)
        return Fault::ignored;
    if (byteAt(frame, 4) != 1)
        return Fault::version;
    if (action != 1 && action != 2)
        return Fault::action;
    return elementsFit(frame) ? Fault::none : Fault::misfit;
}

bool mayAnswer(const std::string& frame, const std::vector<std::string>& answers) {
    const Fault fault = faultOf(frame);
    if (fault == Fault::ignored)
        return answers.empty();
    return answers.size() == 1 && isHeaderOfAnswer(answers[0], frame) && mayBeOnlyAnswer(fault, answers[0]);
}

bool isRefusal(const std::string& answer) {
    return answer.size() >= responseHeader && !isServed(byteAt(answer, requestHeader));
}
