#include "datagram.h"

#include <gtest/gtest.h>

#include <random>

#include "bytes.h"
#include "support/captures.h"

namespace {

// "10.0.0.1:1 > 10.0.0.2:2 payload", or what the packet is instead.
std::string datagramOf(std::uint32_t linkType, const std::string& packet) {
    GuardedBytes guarded(packet);
    tool::Datagram datagram;
    const char* otherKind = tool::findDatagram(linkType, {guarded.data(), packet.size()}, datagram);
    if (otherKind != nullptr)
        return otherKind;
    std::string text = lcmpUdpToText(datagram.source) + " > " + lcmpUdpToText(datagram.destination) + ' ' +
                       std::string(datagram.payload);
    return datagram.sentSize == datagram.payload.size() ? text
                                                        : text + " of " + std::to_string(datagram.sentSize);
}

std::string hexBytes(const char* hex) { return bytes(hex); }

const std::string udp = udpPacket("abc");
const std::string found = "10.0.0.1:1 > 10.0.0.2:2 abc";
const std::string macs = hexBytes("010203040506 020304050607");

struct Link {
    const char* name;
    std::uint32_t type;
    std::string header;
};

const Link links[] = {
    {"Ethernet", 1, macs + hexBytes("0800")},
    {"with a VLAN tag", 1, macs + hexBytes("8100 0005 0800")},
    {"with two", 1, macs + hexBytes("88A8 0005 8100 0006 0800")},
    {"Linux cooked", 113, hexBytes("0000 0304 0006 000000000000 0000 0800")},
    {"Linux cooked, second form", 276, hexBytes("0800 0000 00000001 0304 00 06 0000000000000000")},
    {"raw IP", 101, ""},
    {"raw IP, BSD", 12, ""},
    {"raw IP, OpenBSD", 14, ""},
    {"IPv4", 228, ""},
    {"null, little-endian", 0, hexBytes("02000000")},
    {"null, big-endian", 0, hexBytes("00000002")},
    {"loopback", 108, hexBytes("00000002")},
};

TEST(Datagram, IsFoundBehindEveryLinkLayer) {
    for (const Link& link : links)
        EXPECT_EQ(datagramOf(link.type, link.header + udp), found) << link.name;
}

TEST(Datagram, PaddingOfShortPacketsIsNoPayload) {
    EXPECT_EQ(datagramOf(1, macs + hexBytes("0800") + udp + std::string(15, '\0')), found);
}

TEST(Datagram, OptionsOfTheHeaderArePassedOver) {
    std::string packet = udp.substr(0, 20) + hexBytes("01010100") + udp.substr(20);
    packet[0] = 0x46;
    packet[3] = static_cast<char>(packet.size());
    EXPECT_EQ(datagramOf(101, packet), found);
}

TEST(Datagram, WhatWasNotCapturedIsTold) {
    EXPECT_EQ(datagramOf(101, udp.substr(0, udp.size() - 2)), "10.0.0.1:1 > 10.0.0.2:2 a of 3");
    for (std::size_t size = 0; size < 28; ++size)
        EXPECT_EQ(datagramOf(101, udp.substr(0, size)), "cut off in a header") << size;
    for (const Link& link : links) {
        for (std::size_t size = 0; size < link.header.size(); ++size)
            EXPECT_EQ(datagramOf(link.type, link.header.substr(0, size)), "cut off in a header")
                << link.name << size;
    }
}

std::string withByte(std::size_t position, int value) {
    std::string packet = udp;
    packet[position] = static_cast<char>(value);
    return packet;
}

TEST(Datagram, OtherPacketsAreNamed) {
    EXPECT_EQ(datagramOf(101, withByte(0, 0x60)), "IPv6");
    EXPECT_EQ(datagramOf(1, macs + hexBytes("86DD") + withByte(0, 0x60)), "IPv6");
    EXPECT_EQ(datagramOf(1, macs + hexBytes("0806") + udp), "not IP");
    EXPECT_EQ(datagramOf(101, withByte(0, 0x35)), "not IP");
    EXPECT_EQ(datagramOf(101, withByte(9, 6)), "not UDP");
    EXPECT_EQ(datagramOf(101, withByte(6, 0x20)), "IP fragments");
    EXPECT_EQ(datagramOf(101, withByte(7, 1)), "IP fragments");
    EXPECT_EQ(datagramOf(101, withByte(0, 0x44)), "IP of an impossible length");
    EXPECT_EQ(datagramOf(101, withByte(3, 19)), "IP of an impossible length");
    EXPECT_EQ(datagramOf(101, withByte(25, 7)), "UDP of an impossible length");
    EXPECT_EQ(datagramOf(101, withByte(25, 12)), "UDP of an impossible length");
    EXPECT_EQ(datagramOf(105, udp), "of a link layer that is not known here");
}

TEST(Datagram, MutatedPacketsAreNeverReadBehindTheirEnd) {
    std::mt19937 random(1);
    int intact = 0;
    for (const Link& link : links) {
        for (int round = 0; round < 1000; ++round) {
            std::string packet = link.header + udp;
            packet[random() % packet.size()] = static_cast<char>(random());
            packet.resize(random() % 4 == 0 ? random() % packet.size() : packet.size());
            intact += datagramOf(link.type, packet).find("10.0.0.2:2 abc") != std::string::npos ? 1 : 0;
        }
    }
    EXPECT_GT(intact, 1000);
}

}  // namespace
