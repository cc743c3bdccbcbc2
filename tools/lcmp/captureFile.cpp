#include "captureFile.h"

#include <array>
#include <cstdio>
#include <limits>
#include <vector>

#include "byteReader.h"
#include "value.h"

namespace tool {
namespace {

using Take = std::function<void(const CapturedPacket&)>;
using Order = ByteReader::Order;

constexpr std::uint32_t nanosecondsASecond = 1000000000;
constexpr std::string_view ngMagic("\x0A\x0D\x0D\x0A", 4);

std::string at(std::string_view file, const ByteReader& reader, const std::string& problem) {
    return problem + " at byte " + std::to_string(file.size() - reader.left());
}

// pcap: a header, then records.

struct PcapKind {
    std::string_view magic;
    Order order;
    std::uint32_t ticksASecond;
};

constexpr std::array<PcapKind, 4> pcapKinds = {{
    {std::string_view("\xA1\xB2\xC3\xD4", 4), Order::big, 1000000},
    {std::string_view("\xD4\xC3\xB2\xA1", 4), Order::little, 1000000},
    {std::string_view("\xA1\xB2\x3C\x4D", 4), Order::big, nanosecondsASecond},
    {std::string_view("\x4D\x3C\xB2\xA1", 4), Order::little, nanosecondsASecond},
}};

const PcapKind* pcapKind(std::string_view file) {
    for (const PcapKind& kind : pcapKinds) {
        if (file.substr(0, 4) == kind.magic)
            return &kind;
    }
    return nullptr;
}

bool takeRecord(ByteReader& reader, const PcapKind& kind, CapturedPacket& packet) {
    std::uint32_t seconds = 0;
    std::uint32_t ticks = 0;
    std::uint32_t captured = 0;
    std::uint32_t sent = 0;
    ByteReader record = reader;
    if (!record.take(seconds) || !record.take(ticks) || !record.take(captured) || !record.take(sent) ||
        !record.take(captured, packet.bytes))
        return false;
    const std::uint32_t nanoseconds = nanosecondsASecond / kind.ticksASecond * (ticks % kind.ticksASecond);
    packet.time = CaptureTime{std::int64_t{seconds} + ticks / kind.ticksASecond, nanoseconds};
    packet.sentSize = sent;
    reader = record;
    return true;
}

std::string readPcap(std::string_view file, const PcapKind& kind, const Take& take) {
    constexpr std::size_t beforeLinkType = 20;
    constexpr std::uint32_t linkTypeBits = 0xFFFF;  // above them stands what is no part of the type
    ByteReader reader(file, kind.order);
    std::uint32_t linkType = 0;
    if (!reader.skip(beforeLinkType) || !reader.take(linkType))
        return "the capture ends in its header";
    CapturedPacket packet{0, std::nullopt, linkType & linkTypeBits, {}, 0};
    while (reader.left() != 0) {
        ++packet.number;
        if (!takeRecord(reader, kind, packet))
            return at(file, reader, "the capture is cut off in packet " + std::to_string(packet.number));
        take(packet);
    }
    return "";
}

// pcapng: blocks, among them sections, interfaces and packets.

struct Interface {
    std::uint16_t linkType = 0;
    std::uint32_t longestCapture = 0;  // 0: any
    std::uint8_t resolution = 6;       // digits behind the point; with the top bit set, bits behind it
    std::int64_t secondsAdded = 0;
};

std::uint64_t power(std::uint64_t base, unsigned int exponent) {
    std::uint64_t result = 1;
    for (unsigned int i = 0; i < exponent; ++i)
        result *= base;
    return result;
}

// The largest powers of 10 and 2 that 64 bits hold.
bool isKnownResolution(std::uint8_t resolution) {
    return (resolution & 0x80) != 0 ? (resolution & 0x7F) <= 63 : resolution <= 19;
}

// Of ticks finer than a nanosecond the fine part is dropped first, so that nothing overflows.
std::uint32_t nanosecondsOf(std::uint64_t ticks, std::uint8_t resolution) {
    const bool isBinary = (resolution & 0x80) != 0;
    const unsigned int digits = resolution & 0x7FU;
    const unsigned int enough = isBinary ? 30 : 9;
    const unsigned int base = isBinary ? 2 : 10;
    if (digits > enough)
        ticks /= power(base, digits - enough);
    const std::uint64_t aSecond = power(base, digits > enough ? enough : digits);
    return static_cast<std::uint32_t>(ticks * nanosecondsASecond / aSecond);
}

CaptureTime timeOf(std::uint64_t ticks, const Interface& interface) {
    const bool isBinary = (interface.resolution & 0x80) != 0;
    const std::uint64_t aSecond = power(isBinary ? 2 : 10, interface.resolution & 0x7FU);
    // Unsigned, where a sum that leaves the range is defined.
    const std::uint64_t seconds = ticks / aSecond + static_cast<std::uint64_t>(interface.secondsAdded);
    return {static_cast<std::int64_t>(seconds), nanosecondsOf(ticks % aSecond, interface.resolution)};
}

class PcapNg {
public:
    PcapNg(std::string_view file, const Take& take) : m_file(file), m_reader(file), m_take(take) {}

    std::string read() {
        while (m_reader.left() != 0) {
            const ByteReader block = m_reader;
            const std::string problem = readBlock();
            if (!problem.empty())
                return at(m_file, block, problem);
        }
        return "";
    }

private:
    enum BlockType : std::uint32_t {
        interfaceBlock = 1,
        oldPacketBlock = 2,
        simplePacketBlock = 3,
        packetBlock = 6,
        sectionBlock = 0x0A0D0D0A
    };

    // The order of a section is told behind the type and the length of its first block, in either order.
    bool takeOrder() {
        ByteReader ahead = m_reader;
        std::string_view magic;
        if (!ahead.skip(8) || !ahead.take(4, magic))
            return false;
        if (magic == std::string_view("\x1A\x2B\x3C\x4D", 4))
            m_reader.setOrder(Order::big);
        else if (magic == std::string_view("\x4D\x3C\x2B\x1A", 4))
            m_reader.setOrder(Order::little);
        else
            return false;
        return true;
    }

    std::string readBlock() {
        constexpr std::uint32_t frameSize = 12;  // type, length, and the length again
        const bool isSection = m_reader.rest().substr(0, 4) == ngMagic;
        if (isSection && !takeOrder())
            return "the capture has a section of unknown byte order";
        std::uint32_t type = 0;
        std::uint32_t size = 0;
        std::uint32_t sizeAgain = 0;
        std::string_view body;
        if (!m_reader.take(type) || !m_reader.take(size))
            return "the capture is cut off in a block";
        if (size < frameSize || size % 4 != 0)
            return "the capture has a block of the impossible length " + std::to_string(size);
        if (!m_reader.take(size - frameSize, body) || !m_reader.take(sizeAgain))
            return "the capture is cut off in a block";
        if (sizeAgain != size)
            return "the capture has a block with two lengths";
        return takeBlock(type, ByteReader(body, m_reader.order()));
    }

    std::string takeBlock(std::uint32_t type, const ByteReader& body) {
        switch (type) {
            case sectionBlock:
                m_interfaces.clear();
                return "";
            case interfaceBlock:
                return takeInterface(body);
            case packetBlock:
            case oldPacketBlock:
                return takePacket(body, type == oldPacketBlock);
            case simplePacketBlock:
                return takeSimplePacket(body);
            default:
                return "";  // statistics, names and what else there is
        }
    }

    std::string takeInterface(ByteReader body) {
        Interface interface;
        if (!body.take(interface.linkType) || !body.skip(2) || !body.take(interface.longestCapture))
            return "the capture describes an interface in too few bytes";
        takeOptions(body, interface);
        if (!isKnownResolution(interface.resolution))
            return "the capture has an interface with too fine a clock";
        m_interfaces.push_back(interface);
        return "";
    }

    static void takeOptions(ByteReader& body, Interface& interface) {
        constexpr std::uint16_t end = 0;
        constexpr std::uint16_t resolution = 9;
        constexpr std::uint16_t secondsAdded = 14;
        std::uint16_t code = 0;
        std::uint16_t size = 0;
        std::string_view bytes;
        while (body.take(code) && body.take(size) && code != end && body.take(size, bytes)) {
            ByteReader value(bytes, body.order());
            std::uint64_t seconds = 0;
            if (code == resolution)
                value.take(interface.resolution);
            else if (code == secondsAdded && value.take(seconds))
                interface.secondsAdded = static_cast<std::int64_t>(seconds);
            body.skip((4 - size % 4U) % 4U);
        }
    }

    std::string takePacket(ByteReader body, bool isOld) {
        std::uint32_t index = 0;
        std::uint32_t high = 0;
        std::uint32_t low = 0;
        std::uint32_t captured = 0;
        std::uint32_t sent = 0;
        std::uint16_t oldIndex = 0;
        std::uint16_t drops = 0;
        const bool hasIndex = isOld ? body.take(oldIndex) && body.take(drops) : body.take(index);
        std::string_view bytes;
        if (!hasIndex || !body.take(high) || !body.take(low) || !body.take(captured) || !body.take(sent) ||
            !body.take(captured, bytes))
            return "the capture has a packet that does not fit its block";
        const Interface* interface = interfaceAt(isOld ? oldIndex : index);
        if (interface == nullptr)
            return "the capture has a packet of an interface that it does not describe";
        const CaptureTime time = timeOf(std::uint64_t{high} << 32 | low, *interface);
        m_take({++m_packets, time, interface->linkType, bytes, sent});
        return "";
    }

    std::string takeSimplePacket(ByteReader body) {
        std::uint32_t sent = 0;
        const Interface* interface = interfaceAt(0);
        if (interface == nullptr)
            return "the capture has a packet of an interface that it does not describe";
        if (!body.take(sent))
            return "the capture has a packet that does not fit its block";
        const std::uint32_t limit = interface->longestCapture == 0 ? sent : interface->longestCapture;
        std::string_view bytes;
        if (!body.take(limit < sent ? limit : sent, bytes))
            return "the capture has a packet that does not fit its block";
        m_take({++m_packets, std::nullopt, interface->linkType, bytes, sent});
        return "";
    }

    const Interface* interfaceAt(std::size_t index) const {
        return index < m_interfaces.size() ? &m_interfaces[index] : nullptr;
    }

    std::string_view m_file;
    ByteReader m_reader;
    const Take& m_take;
    std::vector<Interface> m_interfaces;
    std::size_t m_packets = 0;
};

}  // namespace

std::string captureTimeText(const CaptureTime& time) {
    Element seconds;
    seconds.tlv().setValue(static_cast<long long>(time.seconds));
    seconds.tlv().type = UNIX_TIME;
    std::string text = displayText(seconds);
    text.pop_back();  // the Z
    std::array<char, 16> fraction{};
    if (time.nanoseconds % 1000 == 0)
        (void)std::snprintf(fraction.data(), fraction.size(), ".%06uZ", time.nanoseconds / 1000);
    else
        (void)std::snprintf(fraction.data(), fraction.size(), ".%09uZ", time.nanoseconds);
    return text + fraction.data();
}

std::int64_t nanosecondsBetween(const CaptureTime& a, const CaptureTime& b) {
    constexpr std::int64_t limit = std::numeric_limits<std::int64_t>::max() / nanosecondsASecond - 1;
    const auto difference = static_cast<std::int64_t>(static_cast<std::uint64_t>(b.seconds) -
                                                      static_cast<std::uint64_t>(a.seconds));
    const std::int64_t seconds = difference > limit ? limit : difference < -limit ? -limit : difference;
    return seconds * nanosecondsASecond + b.nanoseconds - a.nanoseconds;
}

bool isCapture(std::string_view file) { return pcapKind(file) != nullptr || file.substr(0, 4) == ngMagic; }

std::string readCapture(std::string_view file, const Take& take) {
    const PcapKind* kind = pcapKind(file);
    return kind != nullptr ? readPcap(file, *kind, take) : PcapNg(file, take).read();
}

}  // namespace tool
