#include "lcmpUdpAddress.h"

#include <arpa/inet.h>

#include <algorithm>

namespace {

constexpr unsigned int hostBits = 32;

// A shift by all 32 bits is undefined, so the empty prefix is a case of its own.
std::uint32_t maskOf(unsigned int prefixLength) {
    return prefixLength == 0 ? 0 : ~std::uint32_t{0} << (hostBits - prefixLength);
}

// "0" to "32", without sign, blanks or leading zeros.
bool parsePrefixLength(const std::string& digits, unsigned int& length) {
    if (digits.empty() || digits.size() > 2 || digits.find_first_not_of("0123456789") != std::string::npos)
        return false;
    if (digits.size() == 2 && digits[0] == '0')
        return false;
    unsigned int number = 0;
    for (const char digit : digits)
        number = number * 10 + static_cast<unsigned int>(digit - '0');
    if (number > hostBits)
        return false;
    length = number;
    return true;
}

char digit(unsigned int number) { return static_cast<char>('0' + number % 10); }

char* putOctet(char* p, unsigned int octet) {
    if (octet >= 100)
        *p++ = digit(octet / 100);
    if (octet >= 10)
        *p++ = digit(octet / 10);
    *p++ = digit(octet);
    return p;
}

}  // namespace

// Asked for every frame that arrives, so it is put together in one place.
std::string lcmpUdpHostToText(std::uint32_t host) {
    char text[sizeof "255.255.255.255"];
    char* p = putOctet(text, host >> 24);
    for (const unsigned int shift : {16U, 8U, 0U}) {
        *p++ = '.';
        p = putOctet(p, (host >> shift) & 0xFF);
    }
    return {text, p};
}

std::string lcmpUdpToText(const LcmpUdpAddress& address) {
    return lcmpUdpHostToText(address.host) + ':' + std::to_string(address.port);
}

bool lcmpUdpParseHost(const std::string& text, std::uint32_t& host) {
    in_addr parsed{};
    // What follows a NUL byte would not be seen by inet_pton.
    if (text.find('\0') != std::string::npos || inet_pton(AF_INET, text.c_str(), &parsed) != 1)
        return false;
    host = ntohl(parsed.s_addr);
    return true;
}

bool LcmpUdpAllowList::add(const std::string& cidr) {
    const std::size_t slash = cidr.find('/');
    unsigned int length = hostBits;
    if (slash != std::string::npos && !parsePrefixLength(cidr.substr(slash + 1), length))
        return false;
    Block block{0, maskOf(length)};
    if (!lcmpUdpParseHost(cidr.substr(0, slash), block.host) || (block.host & ~block.mask) != 0)
        return false;
    if (m_loopbackOnly)
        m_blocks.clear();
    m_loopbackOnly = false;
    m_blocks.push_back(block);
    return true;
}

bool LcmpUdpAllowList::contains(std::uint32_t host) const {
    return std::any_of(m_blocks.begin(), m_blocks.end(),
                       [host](const Block& block) { return (host & block.mask) == block.host; });
}
