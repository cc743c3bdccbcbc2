#include "captureFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

#include "bytes.h"
#include "support/captures.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

const CaptureBytes big(true);
const CaptureBytes little(false);

// "1 link 101 abc 2023-11-14T22:13:20.000001Z", one a packet; a problem is the last line.
std::vector<std::string> packetsOf(const std::string& file) {
    std::vector<std::string> packets;
    GuardedBytes guarded(file);
    const std::string problem =
        tool::readCapture({guarded.data(), file.size()}, [&](const tool::CapturedPacket& packet) {
            std::string text = std::to_string(packet.number) + " link " + std::to_string(packet.linkType) +
                               ' ' + std::string(packet.bytes);
            if (packet.sentSize != packet.bytes.size())
                text += " of " + std::to_string(packet.sentSize);
            packets.push_back(text + (packet.time ? ' ' + tool::captureTimeText(*packet.time) : ""));
        });
    if (!problem.empty())
        packets.push_back(problem);
    return packets;
}

struct PcapKind {
    const char* name;
    const CaptureBytes& order;
    std::uint32_t magic;
    std::uint32_t ticks;
    const char* time;
};

const PcapKind pcapKinds[] = {
    {"big, microseconds", big, 0xA1B2C3D4, 250, "2023-11-14T22:13:20.000250Z"},
    {"little, microseconds", little, 0xA1B2C3D4, 250, "2023-11-14T22:13:20.000250Z"},
    {"big, nanoseconds", big, 0xA1B23C4D, 250, "2023-11-14T22:13:20.000000250Z"},
    {"little, nanoseconds", little, 0xA1B23C4D, 250000, "2023-11-14T22:13:20.000250Z"},
};

TEST(CaptureFile, PcapIsReadInBothByteOrdersAndBothResolutions) {
    for (const PcapKind& kind : pcapKinds) {
        SCOPED_TRACE(kind.name);
        const std::string file = kind.order.pcapHeader(kind.magic, 101) +
                                 kind.order.record(1700000000, kind.ticks, "abc") +
                                 kind.order.record(1700000001, 0, "defg", 3);
        EXPECT_TRUE(tool::isCapture(file));
        EXPECT_THAT(packetsOf(file), ElementsAre(std::string("1 link 101 abc ") + kind.time,
                                                 "2 link 101 defg of 7 2023-11-14T22:13:21.000000Z"));
    }
}

TEST(CaptureFile, WhatStandsAboveTheLinkTypeIsNoPartOfIt) {
    EXPECT_THAT(packetsOf(big.pcapHeader(0xA1B2C3D4, 0x50000001) + big.record(0, 0, "a")),
                ElementsAre("1 link 1 a 1970-01-01T00:00:00.000000Z"));
}

TEST(CaptureFile, TicksBeyondASecondCarryOver) {
    EXPECT_THAT(packetsOf(big.pcapHeader(0xA1B2C3D4, 1) + big.record(10, 4294967295, "a")),
                ElementsAre("1 link 1 a 1970-01-01T01:11:44.967295Z"));
}

TEST(CaptureFile, PcapngIsReadInBothByteOrders) {
    for (const CaptureBytes& order : {big, little}) {
        const std::string file = order.section() + order.interface(1) +
                                 order.packet(0, 1700000000000250, "abcde") + order.simplePacket("fg") +
                                 order.oldPacket(0, 1700000000000251, "h");
        EXPECT_TRUE(tool::isCapture(file));
        EXPECT_THAT(packetsOf(file), ElementsAre("1 link 1 abcde 2023-11-14T22:13:20.000250Z", "2 link 1 fg",
                                                 "3 link 1 h 2023-11-14T22:13:20.000251Z"));
    }
}

TEST(CaptureFile, EachInterfaceHasItsLinkTypeAndItsClock) {
    const std::string options = big.option(9, "\x09") + big.option(14, big.u64(100)) + big.option(0, "");
    const std::string file = big.section() + big.interface(1) + big.interface(101, options) +
                             big.packet(1, 1000000001, "a") + big.packet(0, 1000001, "b");
    EXPECT_THAT(packetsOf(file), ElementsAre("1 link 101 a 1970-01-01T00:01:41.000000001Z",
                                             "2 link 1 b 1970-01-01T00:00:01.000001Z"));
}

struct Resolution {
    std::uint8_t code;
    std::uint64_t ticks;
    const char* time;
};

const Resolution resolutions[] = {
    {0, 7, "1970-01-01T00:00:07.000000Z"},
    {3, 7001, "1970-01-01T00:00:07.001000Z"},
    {12, 7000000999999, "1970-01-01T00:00:07.000000999Z"},
    {19, 12000000000000000000U, "1970-01-01T00:00:01.200000Z"},
    {0x80, 7, "1970-01-01T00:00:07.000000Z"},
    {0x81, 15, "1970-01-01T00:00:07.500000Z"},
    {0xA0, (std::uint64_t{7} << 32) + (std::uint64_t{1} << 30), "1970-01-01T00:00:07.250000Z"},
    {0xBF, ~std::uint64_t{0}, "1970-01-01T00:00:01.999999999Z"},
};

TEST(CaptureFile, EveryResolutionIsAPartOfASecond) {
    for (const Resolution& resolution : resolutions) {
        const std::string option = big.option(9, std::string(1, static_cast<char>(resolution.code)));
        EXPECT_THAT(
            packetsOf(big.section() + big.interface(1, option) + big.packet(0, resolution.ticks, "a")),
            ElementsAre(std::string("1 link 1 a ") + resolution.time))
            << int{resolution.code};
    }
}

TEST(CaptureFile, ASectionBringsItsOwnByteOrderAndInterfaces) {
    const std::string file = big.section() + big.interface(1) + big.packet(0, 0, "a") + little.section() +
                             little.interface(101) + little.packet(0, 0, "b");
    EXPECT_THAT(packetsOf(file), ElementsAre("1 link 1 a 1970-01-01T00:00:00.000000Z",
                                             "2 link 101 b 1970-01-01T00:00:00.000000Z"));
}

TEST(CaptureFile, ASimplePacketEndsWhereItsInterfaceStopsCapturing) {
    EXPECT_THAT(packetsOf(big.section() + big.interface(1, "", 4) + big.simplePacket("abcd", 5)),
                ElementsAre("1 link 1 abcd of 9"));
}

TEST(CaptureFile, BlocksOfOtherKindsArePassedOver) {
    EXPECT_THAT(packetsOf(big.section() + big.block(0xBAD, "nothing") + big.interface(1) + big.block(5, "") +
                          big.packet(0, 0, "a")),
                ElementsAre("1 link 1 a 1970-01-01T00:00:00.000000Z"));
}

struct Broken {
    std::string file;
    const char* problem;
};

TEST(CaptureFile, WhatIsWrongIsToldWithItsPlace) {
    const std::string start = big.section() + big.interface(1);
    const Broken cases[] = {
        {big.u32(0xA1B2C3D4), "the capture ends in its header"},
        {big.pcapHeader(0xA1B2C3D4, 1) + "x", "the capture is cut off in packet 1 at byte 24"},
        {big.pcapHeader(0xA1B2C3D4, 1) + big.u64(0) + big.u32(0xFFFFFFFF) + big.u32(1),
         "the capture is cut off in packet 1 at byte 24"},
        {big.u32(0x0A0D0D0A) + big.u32(28) + big.u32(0), "unknown byte order at byte 0"},
        {big.section() + "xyz", "cut off in a block at byte 28"},
        {big.section() + big.u32(1) + big.u32(0xFFFFFFF0), "cut off in a block at byte 28"},
        {big.section() + big.u32(1) + big.u32(8) + big.u32(8), "the impossible length 8 at byte 28"},
        {big.section() + big.u32(1) + big.u32(13) + big.u64(0), "the impossible length 13 at byte 28"},
        {big.section() + big.u32(5) + big.u32(12) + big.u32(16), "a block with two lengths at byte 28"},
        {big.section() + big.block(1, "abc"), "an interface in too few bytes at byte 28"},
        {big.section() + big.interface(1, big.option(9, "\x14")), "too fine a clock at byte 28"},
        {big.section() + big.interface(1, big.option(9, "\xC0")), "too fine a clock at byte 28"},
        {start + big.packet(1, 0, "a"), "an interface that it does not describe at byte 48"},
        {big.section() + big.simplePacket("a"), "an interface that it does not describe at byte 28"},
        {start + big.block(6, big.u64(0) + big.u32(0) + big.u32(5) + big.u32(5) + "abcd"),
         "does not fit its block at byte 48"},
        {start + big.block(3, big.u32(5) + "abcd"), "does not fit its block at byte 48"},
        {start + big.block(3, ""), "does not fit its block at byte 48"},
    };
    for (const Broken& broken : cases) {
        const std::vector<std::string> packets = packetsOf(broken.file);
        ASSERT_EQ(packets.size(), 1U) << broken.problem;
        EXPECT_THAT(packets[0], HasSubstr(broken.problem));
    }
}

std::vector<std::string> wholeFiles() {
    const std::string option = little.option(9, "\x09") + little.option(2, "eth0") + little.option(0, "");
    return {big.pcapHeader(0xA1B2C3D4, 1) + big.record(1, 2, "abc") + big.record(3, 4, "defg"),
            little.section() + little.interface(1, option, 60) + little.packet(0, 5, "abc") +
                little.simplePacket("defg") + little.oldPacket(0, 6, "h")};
}

TEST(CaptureFile, EveryPieceOfAFileIsReadWithoutLookingBehindIt) {
    for (const std::string& file : wholeFiles()) {
        const std::size_t all = packetsOf(file).size();
        for (std::size_t size = 4; size < file.size(); ++size)
            EXPECT_LE(packetsOf(file.substr(0, size)).size(), all) << size;
    }
}

TEST(CaptureFile, MutatedFilesAreReadWithoutLookingBehindThem) {
    std::mt19937 random(1);
    std::size_t read = 0;
    for (const std::string& file : wholeFiles()) {
        for (unsigned int round = 0; round < 2000; ++round) {
            std::string mutated = file;
            for (unsigned int change = 0; change < 1 + round % 3; ++change)
                mutated[4 + random() % (mutated.size() - 4)] = static_cast<char>(random());
            read += packetsOf(mutated).size();
        }
    }
    EXPECT_GT(read, 4000U);
}

TEST(CaptureFile, TimesHaveAsManyDigitsAsTheyNeedInAnyYear) {
    EXPECT_EQ(tool::captureTimeText({0, 1000}), "1970-01-01T00:00:00.000001Z");
    EXPECT_EQ(tool::captureTimeText({-1, 999999999}), "1969-12-31T23:59:59.999999999Z");
    EXPECT_EQ(tool::captureTimeText({253402300800, 0}), "+10000-01-01T00:00:00.000000Z");
}

TEST(CaptureFile, DifferencesOfTimesNeverLeaveTheirRange) {
    EXPECT_EQ(tool::nanosecondsBetween({1, 999999999}, {2, 1}), 2);
    EXPECT_EQ(tool::nanosecondsBetween({2, 1}, {1, 999999999}), -2);
    EXPECT_GT(tool::nanosecondsBetween({0, 0}, {INT64_MAX, 999999999}), 0);
    EXPECT_LT(tool::nanosecondsBetween({INT64_MAX, 999999999}, {0, 0}), 0);
}

}  // namespace
