#include "datagram.h"

#include "byteReader.h"

namespace tool {
namespace {

constexpr const char* cutOff = "cut off in a header";
constexpr const char* notIp = "not IP";
constexpr const char* otherIp = "IPv6";

enum LinkType : std::uint32_t {
    linkNull = 0,
    linkEthernet = 1,
    linkRawBsd = 12,
    linkRawOpenBsd = 14,
    linkRaw = 101,
    linkLoop = 108,
    linkLinuxCooked = 113,
    linkIpv4 = 228,
    linkLinuxCooked2 = 276
};

const char* takeUdp(std::string_view datagramBytes, std::size_t sentSize, Datagram& datagram) {
    constexpr std::size_t headerSize = 8;
    ByteReader reader(datagramBytes);
    std::uint16_t size = 0;
    if (!reader.take(datagram.source.port) || !reader.take(datagram.destination.port) || !reader.take(size) ||
        !reader.skip(2))
        return cutOff;
    if (size < headerSize || size > sentSize)
        return "UDP of an impossible length";
    datagram.sentSize = size - headerSize;
    datagram.payload = reader.rest().substr(0, datagram.sentSize);
    return nullptr;
}

// Link layers pad short packets: what lies behind the IP packet's own length is not its.
const char* takeIpv4(std::string_view packet, Datagram& datagram) {
    constexpr std::uint8_t udp = 17;
    constexpr std::uint16_t moreFragmentsAndOffset = 0x3FFF;
    ByteReader reader(packet);
    std::uint8_t versionAndSize = 0;
    std::uint8_t protocol = 0;
    std::uint16_t size = 0;
    std::uint16_t fragment = 0;
    if (!reader.take(versionAndSize) || !reader.skip(1) || !reader.take(size) || !reader.skip(2) ||
        !reader.take(fragment) || !reader.skip(1) || !reader.take(protocol) || !reader.skip(2) ||
        !reader.take(datagram.source.host) || !reader.take(datagram.destination.host))
        return cutOff;
    const std::size_t headerSize = std::size_t{versionAndSize & 0x0FU} * 4;
    if (headerSize < 20 || size < headerSize)
        return "IP of an impossible length";
    if ((fragment & moreFragmentsAndOffset) != 0)
        return "IP fragments";
    if (protocol != udp)
        return "not UDP";
    if (packet.size() < headerSize)
        return cutOff;
    return takeUdp(packet.substr(0, size).substr(headerSize), size - headerSize, datagram);
}

const char* takeIp(std::string_view packet, Datagram& datagram) {
    if (packet.empty())
        return cutOff;
    const int version = static_cast<unsigned char>(packet[0]) >> 4;
    if (version == 6)
        return otherIp;
    return version == 4 ? takeIpv4(packet, datagram) : notIp;
}

bool isVlanTag(std::uint16_t type) { return type == 0x8100 || type == 0x88A8 || type == 0x9100; }

const char* takeEtherType(std::uint16_t type, ByteReader reader, Datagram& datagram) {
    while (isVlanTag(type)) {
        if (!reader.skip(2) || !reader.take(type))
            return cutOff;
    }
    return type == 0x0800 || type == 0x86DD ? takeIp(reader.rest(), datagram) : notIp;
}

// The type stands behind `before` bytes, the packet behind `after` more.
const char* takeTyped(std::string_view packet, std::size_t before, std::size_t after, Datagram& datagram) {
    ByteReader reader(packet);
    std::uint16_t type = 0;
    if (!reader.skip(before) || !reader.take(type) || !reader.skip(after))
        return cutOff;
    return takeEtherType(type, reader, datagram);
}

// The family is a number of the capturing system, in its byte order; the packet tells its version itself.
const char* takeBehindFamily(std::string_view packet, Datagram& datagram) {
    constexpr std::size_t familySize = 4;
    return packet.size() < familySize ? cutOff : takeIp(packet.substr(familySize), datagram);
}

}  // namespace

const char* findDatagram(std::uint32_t linkType, std::string_view packet, Datagram& datagram) {
    switch (linkType) {
        case linkEthernet:
            return takeTyped(packet, 12, 0, datagram);
        case linkLinuxCooked:
            return takeTyped(packet, 14, 0, datagram);
        case linkLinuxCooked2:
            return takeTyped(packet, 0, 18, datagram);
        case linkNull:
        case linkLoop:
            return takeBehindFamily(packet, datagram);
        case linkRaw:
        case linkRawBsd:
        case linkRawOpenBsd:
        case linkIpv4:
            return takeIp(packet, datagram);
        default:
            return "of a link layer that is not known here";
    }
}

}  // namespace tool
