#include "hexText.h"

#include <gtest/gtest.h>

#include "bytes.h"
#include "frames.h"
#include "support/captures.h"
#include "support/failureOf.h"

namespace {

using Frames = std::vector<std::string>;

Frames read(const std::string& text) { return tool::readHexText(text, "frames.txt"); }

std::string complaintOf(const std::string& text) {
    return failureOf([&] { (void)read(text); });
}

const std::string one = bytes("4F544E31 01 02 0007 11800002 03 0001 03");
const std::string other = bytes("4F544E31 01 04 0007 00 0000");

TEST(HexText, BytesAreWrittenInManyWays) {
    for (const char* text : {
             "4F544E310102000711800002030001 03",
             "4f544e31 01 02 0007 11800002 03 0001 03\n",
             "4F 54 4E 31 | 01 | 02 | 00 07\r\n11 80 00 02 | 03 | 00 01 | 03\r\n",
             "4f:54:4e:31:01:02:00:07:11:80:00:02:03:00:01:03",
             "0x4F, 0x54, 0x4E, 0x31, 0x01, 0x02, 0x00, 0x07,\n0x11, 0x80, 0x00, 0x02, 0x03, 0x00, 0x01, "
             "0x03",
             "# a comment\n4F544E31  # magic\n01\t# version\n02 0007\n# another\n11800002 03 0001 03",
             "\n\n\n4F544E31 01 02 0007 11800002 03 0001 03\n\n\n",
         })
        EXPECT_EQ(read(text), Frames{one}) << text;
}

TEST(HexText, FramesEndAtAnEmptyLineAndBeforeTheMagic) {
    EXPECT_EQ(read("4F544E31 0102000711800002030001 03\n4F544E31010400070000 00"), (Frames{one, other}));
    EXPECT_EQ(read("4F544E31 0102000711800002030001 03\n \t\n4F544E31 01040007000000"), (Frames{one, other}));
    EXPECT_EQ(read("11 22\n\n33\n44"), (Frames{"\x11\x22", "\x33\x44"}));
}

TEST(HexText, TextWithoutBytesHoldsNoFrame) {
    EXPECT_EQ(read(""), Frames{});
    EXPECT_EQ(read("\n\n# nothing\n  \n"), Frames{});
}

TEST(HexText, GoldenFramesAreReadAsTheirTestsReadThem) {
    std::string all;
    Frames expected;
    for (const Frame& frame : goldenFrames()) {
        all += "# " + frame.name + "\n" + hex(frame.bytes) + "\n";
        expected.push_back(frame.bytes);
    }
    EXPECT_EQ(read(all), expected);
}

TEST(HexText, DumpsOfXxdAreRead) {
    EXPECT_EQ(read("00000000: 4f54 4e31 0102 0007 1180 0002 0300 0103  OTN1............\n"), Frames{one});
    EXPECT_EQ(read("00000000: 4f 54 4e 31 01 02 00 07  OTN1....\n"
                   "00000008: 11 80 00 02 03 00 01 03  ........\n"),
              Frames{one});
}

TEST(HexText, DumpsOfHexdumpAreRead) {
    EXPECT_EQ(
        read("00000000  4f 54 4e 31 01 02 00 07  11 80 00 02 03 00 01 03  |OTN1..#.........|\n00000010\n"),
        Frames{one});
    EXPECT_EQ(read("00000000  4f 54 4e 31 01 04 00 07  00 00 00  |OTN1.......|\n0000000b\n"
                   "00000000  4f 54 4e 31 01 04 00 07  00 00 00  |OTN1.......|\n0000000b\n"),
              (Frames{other, other}));
}

TEST(HexText, DumpsOfOdAreRead) {
    EXPECT_EQ(read("000000 4f 54 4e 31 01 02 00 07 11 80 00 02 03 00 01 03\n000010\n"), Frames{one});
}

TEST(HexText, DumpsOfTsharkAreUnpacked) {
    const std::string packet = hex(udpPacket(one));
    EXPECT_EQ(read("0000  " + packet.substr(0, 48) + "  E...|...#...\n0010  " + packet.substr(48, 48) +
                   "  .\n" + "0020  " + packet.substr(96) + "   ....\n"),
              Frames{one});
}

TEST(HexText, DumpsOfWordsAreRefusedBecauseTheirByteOrderIsUnknown) {
    EXPECT_EQ(complaintOf("0000000 544f 314e 0201 0700\n"),
              "1: frames.txt:1: \"0000000\" is not bytes of two hexadecimal digits each");
}

TEST(HexText, ZerosInsideAFrameBeginNoDump) {
    EXPECT_EQ(read("4F544E31 01 04 0007 00\n0000  03 04\n"),
              Frames{bytes("4F544E31 01 04 0007 00 0000 03 04")});
}

// Lines of sixteen bytes, as tcpdump -x prints them.
std::string tcpdumpOf(const std::string& packet) {
    std::string text = "22:13:20.000250 IP 10.0.0.1.1 > 10.0.0.2.2: UDP, length 16\n";
    for (std::size_t offset = 0; offset < packet.size(); offset += 16) {
        char start[32];
        std::snprintf(start, sizeof start, "\t0x%04zx:  ", offset);
        text += start + hex(packet.substr(offset, 16)) + "  E...#.....\n";
    }
    return text;
}

TEST(HexText, DumpsOfTcpdumpAreUnpacked) {
    const std::string ethernet = bytes("010203040506 020304050607 0800");
    EXPECT_EQ(read(tcpdumpOf(udpPacket(one)) + tcpdumpOf(udpPacket(other))), (Frames{one, other}));
    EXPECT_EQ(read(tcpdumpOf(ethernet + udpPacket(one))), Frames{one});
    EXPECT_EQ(read(tcpdumpOf(udpPacket("no frame"))), Frames{udpPacket("no frame")});
}

TEST(HexText, AWordOfZerosIsNoOffset) {
    EXPECT_EQ(read("00000000  # no magic\n0102"), Frames{bytes("00000000 0102")});
    EXPECT_EQ(read("4F544E31\n00000004  # offset or not\n"), Frames{bytes("4F544E31 00000004")});
}

struct Fault {
    const char* text;
    const char* complaint;
};

TEST(HexText, WhatIsNoHexadecimalIsToldWithItsLine) {
    const Fault cases[] = {
        {"4F54\n4E3", "1: frames.txt:2: \"4E3\" is not bytes of two hexadecimal digits each"},
        {"# fine\n\nhello", "1: frames.txt:3: \"hello\" is not bytes of two hexadecimal digits each"},
        {"4F544E31 // magic", "1: frames.txt:1: \"//\" is not bytes of two hexadecimal digits each"},
        {"\x1B[2J", "1: frames.txt:1: \"\\x1b[2J\" is not bytes of two hexadecimal digits each"},
        {"00000000: 4f54\n00000010: 4e31\n",
         "1: frames.txt:2: the offset is 16, but 2 bytes are before it; dumps must be whole (hexdump -vC)"},
        {"00000000: 4f54\n*\n",
         "1: frames.txt:2: this is no line of a dump; dumps must be whole (hexdump -vC)"},
    };
    for (const Fault& fault : cases)
        EXPECT_EQ(complaintOf(fault.text), fault.complaint) << fault.text;
}

}  // namespace
