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

std::string octet(std::uint32_t host, unsigned int shift) { return std::to_string((host >> shift) & 0xFFU); }

}  // namespace

std::string lcmpUdpHostToText(std::uint32_t host) {
    return octet(host, 24) + '.' + octet(host, 16) + '.' + octet(host, 8) + '.' + octet(host, 0);
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
