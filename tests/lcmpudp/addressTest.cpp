#include <gtest/gtest.h>

#include "lcmpUdpAddress.h"

namespace {

using namespace std::string_literals;

constexpr std::uint32_t host(unsigned int a, unsigned int b, unsigned int c, unsigned int d) {
    return a << 24 | b << 16 | c << 8 | d;
}

}  // namespace

TEST(UdpAddress, IsWrittenDottedWithItsPort) {
    EXPECT_EQ(lcmpUdpHostToText(host(192, 0, 2, 1)), "192.0.2.1");
    EXPECT_EQ(lcmpUdpHostToText(0), "0.0.0.0");
    EXPECT_EQ(lcmpUdpHostToText(0xFFFFFFFF), "255.255.255.255");
    EXPECT_EQ(lcmpUdpToText({host(192, 0, 2, 1), 17470}), "192.0.2.1:17470");
}

TEST(UdpAddress, IsEqualOnlyInHostAndPort) {
    const LcmpUdpAddress address{host(192, 0, 2, 1), 17470};
    EXPECT_EQ(address, (LcmpUdpAddress{host(192, 0, 2, 1), 17470}));
    EXPECT_NE(address, (LcmpUdpAddress{host(192, 0, 2, 2), 17470}));
    EXPECT_NE(address, (LcmpUdpAddress{host(192, 0, 2, 1), 17471}));
}

TEST(UdpAddress, IsReadFromDottedText) {
    std::uint32_t read = 0;
    EXPECT_TRUE(lcmpUdpParseHost("192.0.2.1", read));
    EXPECT_EQ(read, host(192, 0, 2, 1));
    EXPECT_TRUE(lcmpUdpParseHost("255.255.255.255", read));
    EXPECT_EQ(read, 0xFFFFFFFF);
    EXPECT_TRUE(lcmpUdpParseHost("0.0.0.0", read));
    EXPECT_EQ(read, 0U);
}

TEST(UdpAddress, IsNotReadFromAnythingElse) {
    for (const std::string& text :
         {""s, "localhost"s, "192.0.2"s, "192.0.2.256"s, "192.0.2.1.1"s, " 192.0.2.1"s, "192.0.2.1 "s,
          "192.0.2.01"s, "192.0.2.1:80"s, "0x7f000001"s, "2130706433"s, "::1"s, "192.0.2.-1"s, "192.0.2.1\0"s,
          "192.0.2.1\0.evil"s}) {
        std::uint32_t read = 7;
        EXPECT_FALSE(lcmpUdpParseHost(text, read)) << text;
        EXPECT_EQ(read, 7U) << text;
    }
}

TEST(UdpAllowList, HoldsLoopbackUntilToldOtherwise) {
    const LcmpUdpAllowList list;
    EXPECT_TRUE(list.contains(host(127, 0, 0, 0)));
    EXPECT_TRUE(list.contains(host(127, 255, 255, 255)));
    EXPECT_FALSE(list.contains(host(126, 255, 255, 255)));
    EXPECT_FALSE(list.contains(host(128, 0, 0, 0)));
    EXPECT_FALSE(list.contains(0));
}

TEST(UdpAllowList, FirstAdditionReplacesLoopbackAndFurtherOnesAdd) {
    LcmpUdpAllowList list;
    EXPECT_TRUE(list.add("192.0.2.0/24"));
    EXPECT_FALSE(list.contains(host(127, 0, 0, 1)));
    EXPECT_TRUE(list.add("127.0.0.1"));
    EXPECT_TRUE(list.contains(host(127, 0, 0, 1)));
    EXPECT_TRUE(list.contains(host(192, 0, 2, 7)));
}

TEST(UdpAllowList, LoopbackThatWasAddedStays) {
    LcmpUdpAllowList list;
    EXPECT_TRUE(list.add("127.0.0.0/8"));
    EXPECT_TRUE(list.add("192.0.2.0/24"));
    EXPECT_TRUE(list.contains(host(127, 0, 0, 1)));
}

TEST(UdpAllowList, BlockReachesFromItsFirstToItsLastAddress) {
    struct Row {
        const char* block;
        std::uint32_t first;
        std::uint32_t last;
    };
    const Row rows[] = {
        {"192.0.2.0/24", host(192, 0, 2, 0), host(192, 0, 2, 255)},
        {"192.0.2.128/25", host(192, 0, 2, 128), host(192, 0, 2, 255)},
        {"192.0.2.6/31", host(192, 0, 2, 6), host(192, 0, 2, 7)},
        {"192.0.2.7/32", host(192, 0, 2, 7), host(192, 0, 2, 7)},
        {"192.0.2.7", host(192, 0, 2, 7), host(192, 0, 2, 7)},
        {"10.0.0.0/8", host(10, 0, 0, 0), host(10, 255, 255, 255)},
        {"128.0.0.0/1", host(128, 0, 0, 0), host(255, 255, 255, 255)},
        {"0.0.0.0/1", host(0, 0, 0, 0), host(127, 255, 255, 255)},
    };
    for (const Row& row : rows) {
        LcmpUdpAllowList list;
        ASSERT_TRUE(list.add(row.block)) << row.block;
        EXPECT_TRUE(list.contains(row.first)) << row.block;
        EXPECT_TRUE(list.contains(row.last)) << row.block;
        // What wraps at an end of the addresses is the other end, and as much outside.
        EXPECT_FALSE(list.contains(row.first - 1)) << row.block;
        EXPECT_FALSE(list.contains(row.last + 1)) << row.block;
    }
}

TEST(UdpAllowList, EveryAddressIsInTheBlockOfLengthZero) {
    LcmpUdpAllowList list;
    ASSERT_TRUE(list.add("0.0.0.0/0"));
    EXPECT_TRUE(list.contains(0));
    EXPECT_TRUE(list.contains(host(192, 0, 2, 1)));
    EXPECT_TRUE(list.contains(0xFFFFFFFF));
}

TEST(UdpAllowList, WhatIsNoBlockIsRefusedAndChangesNothing) {
    LcmpUdpAllowList list;
    for (const std::string& text : {""s,
                                    "/"s,
                                    "/8"s,
                                    "192.0.2.0/"s,
                                    "192.0.2.0/33"s,
                                    "192.0.2.0/99"s,
                                    "192.0.2.0/100"s,
                                    "192.0.2.0/-1"s,
                                    "192.0.2.0/+8"s,
                                    "192.0.2.0/ 8"s,
                                    "192.0.2.0/8 "s,
                                    "192.0.2.0/024"s,
                                    "192.0.2.0/08"s,
                                    "192.0.2.0/00"s,
                                    "192.0.2.0/24/24"s,
                                    "192.0.2.1/24"s,
                                    "0.0.0.1/0"s,
                                    "192.0.2/24"s,
                                    "localhost"s,
                                    "192.0.2.0/0x18"s,
                                    "192.0.2.0/24\0"s,
                                    "192.0.2.0/255.255.255.0"s}) {
        EXPECT_FALSE(list.add(text)) << text;
        EXPECT_TRUE(list.contains(host(127, 0, 0, 1))) << text;
        EXPECT_FALSE(list.contains(host(192, 0, 2, 0))) << text;
    }
}
