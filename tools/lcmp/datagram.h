// The UDP datagram in a captured packet. Functions over a buffer, without I/O: any thread.
#pragma once

#include <string_view>

#include "lcmpUdpAddress.h"

namespace tool {

struct Datagram {
    LcmpUdpAddress source;
    LcmpUdpAddress destination;
    std::string_view payload;  ///< As much as was captured. It lies in the packet.
    std::size_t sentSize = 0;  ///< Of the payload on the network.
};

/// Finds the datagram in a packet of this LINKTYPE_: Ethernet with any VLAN tags, Linux cooked 1 and 2, raw
/// IP, null and loopback. Null when it was found; otherwise what the packet is instead, "IPv6", which lives
/// for ever.
const char* findDatagram(std::uint32_t linkType, std::string_view packet, Datagram& datagram);

}  // namespace tool
