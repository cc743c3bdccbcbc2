// Capture files and packets as a test writes them down, in either byte order.
#pragma once

#include <cstdint>
#include <string>

/// Writes numbers in its byte order.
class CaptureBytes {
public:
    explicit CaptureBytes(bool isBig) : m_isBig(isBig) {}

    std::string u16(std::uint64_t value) const { return number(value, 2); }
    std::string u32(std::uint64_t value) const { return number(value, 4); }
    std::string u64(std::uint64_t value) const { return number(value, 8); }

    // pcap

    std::string pcapHeader(std::uint32_t magic, std::uint32_t linkType) const {
        return u32(magic) + u16(2) + u16(4) + u32(0) + u32(0) + u32(65535) + u32(linkType);
    }
    std::string record(std::uint32_t seconds, std::uint32_t ticks, const std::string& packet,
                       std::size_t cutOff = 0) const {
        return u32(seconds) + u32(ticks) + u32(packet.size()) + u32(packet.size() + cutOff) + packet;
    }

    // pcapng

    std::string block(std::uint32_t type, const std::string& body) const {
        const std::string whole = padded(body);
        return u32(type) + u32(whole.size() + 12) + whole + u32(whole.size() + 12);
    }
    std::string section() const {
        return block(0x0A0D0D0A, u32(0x1A2B3C4D) + u16(1) + u16(0) + u64(~std::uint64_t{0}));
    }
    std::string interface(std::uint16_t linkType, const std::string& options = "",
                          std::uint32_t longest = 0) const {
        return block(1, u16(linkType) + u16(0) + u32(longest) + options);
    }
    std::string option(std::uint16_t code, const std::string& value) const {
        return u16(code) + u16(value.size()) + padded(value);
    }
    std::string packet(std::uint32_t interface, std::uint64_t ticks, const std::string& bytes) const {
        return block(6, u32(interface) + u32(ticks >> 32) + u32(ticks & 0xFFFFFFFF) + u32(bytes.size()) +
                            u32(bytes.size()) + bytes);
    }
    std::string oldPacket(std::uint16_t interface, std::uint64_t ticks, const std::string& bytes) const {
        return block(2, u16(interface) + u16(0) + u32(ticks >> 32) + u32(ticks & 0xFFFFFFFF) +
                            u32(bytes.size()) + u32(bytes.size()) + bytes);
    }
    std::string simplePacket(const std::string& bytes, std::size_t cutOff = 0) const {
        return block(3, u32(bytes.size() + cutOff) + bytes);
    }

private:
    std::string number(std::uint64_t value, int size) const {
        std::string text;
        for (int i = 0; i < size; ++i)
            text += static_cast<char>(value >> 8 * (m_isBig ? size - 1 - i : i));
        return text;
    }
    static std::string padded(const std::string& text) {
        return text + std::string((4 - text.size() % 4) % 4, '\0');
    }

    bool m_isBig;
};

/// One side of a datagram: 10.0.0.HOST and a port.
struct End {
    std::uint32_t host;
    std::uint16_t port;
};

/// An IPv4 packet with this UDP payload.
inline std::string udpPacket(const End& from, const End& to, const std::string& payload) {
    const CaptureBytes net(true);
    const std::string udp =
        net.u16(from.port) + net.u16(to.port) + net.u16(payload.size() + 8) + net.u16(0) + payload;
    return net.u16(0x4500) + net.u16(udp.size() + 20) + net.u16(1) + net.u16(0x4000) + net.u16(0x4011) +
           net.u16(0) + net.u32(0x0A000000 + from.host) + net.u32(0x0A000000 + to.host) + udp;
}

/// The same from 10.0.0.1:1 to 10.0.0.2:2.
inline std::string udpPacket(const std::string& payload) { return udpPacket({1, 1}, {2, 2}, payload); }
