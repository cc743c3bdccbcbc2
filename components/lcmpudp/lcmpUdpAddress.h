// An IPv4 address and UDP port, and the list of addresses that may talk to an endpoint. Value types: any
// thread.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "lcmpExport.h"

/// Where a datagram comes from or goes to. Both parts in host order, the first octet the most significant.
struct LcmpUdpAddress {
    std::uint32_t host = 0;  ///< 192.0.2.1 is 0xC0000201.
    std::uint16_t port = 0;  ///< 0: none.

    // Whether host and port are the same.
    bool operator==(const LcmpUdpAddress& other) const { return host == other.host && port == other.port; }
    bool operator!=(const LcmpUdpAddress& other) const { return !(*this == other); }
};

/// "192.0.2.1:17470".
LCMP_API std::string lcmpUdpToText(const LcmpUdpAddress& address);

/// The dotted text alone, "192.0.2.1".
LCMP_API std::string lcmpUdpHostToText(std::uint32_t host);

/// Reads a dotted IPv4 address. False, with `host` as it was: anything else. Names are not looked up.
LCMP_API bool lcmpUdpParseHost(const std::string& text, std::uint32_t& host);

/// The IPv4 blocks whose datagrams are looked at. Holds 127.0.0.0/8 until told otherwise.
class LCMP_API LcmpUdpAllowList {
public:
    /// Adds a block, "192.0.2.0/24", or one address, "192.0.2.1". The first addition replaces the loopback
    /// block. False, with the list as it was: not a block, a mask above 32, or address bits below the mask.
    bool add(const std::string& cidr);

    /// Whether a block has the address.
    bool contains(std::uint32_t host) const;

private:
    struct Block {
        std::uint32_t host;
        std::uint32_t mask;
    };

    std::vector<Block> m_blocks = {{0x7F000000, 0xFF000000}};
    bool m_loopbackOnly = true;
};
