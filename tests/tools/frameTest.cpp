#include "frame.h"

#include <gtest/gtest.h>

#include <random>

#include "bytes.h"
#include "frames.h"

namespace {

tool::Frame explain(const std::string& frame, std::size_t cutOff = 0) {
    GuardedBytes guarded(frame);
    return tool::explainFrame({guarded.data(), frame.size()}, frame.size() + cutOff);
}

// "12: reason"; "none".
std::string faultOf(const tool::Frame& frame) {
    return frame.fault ? std::to_string(frame.fault->offset) + ": " + frame.fault->reason : "none";
}

TEST(Frame, GoldenFramesAreSoundAndBrokenOnesAreNot) {
    for (const Frame& golden : goldenFrames())
        EXPECT_TRUE(explain(golden.bytes).isSound()) << golden.name << ' ' << faultOf(explain(golden.bytes));
    for (const Frame& broken : brokenFrames())
        EXPECT_FALSE(explain(broken.bytes).isSound()) << broken.name;
}

TEST(Frame, ElementsAndHeaderAddUpToTheFrame) {
    for (const Frame& golden : goldenFrames()) {
        const tool::Frame frame = explain(golden.bytes);
        std::size_t offset = frame.header.size;
        for (const tool::FrameElement& element : frame.elements) {
            EXPECT_EQ(element.offset, offset) << golden.name;
            offset += 7 + element.element.length();
        }
        EXPECT_EQ(offset, golden.bytes.size()) << golden.name;
    }
}

TEST(Frame, EveryTruncationIsExplainedUpToItsEnd) {
    for (const Frame& golden : goldenFrames()) {
        std::size_t elements = 0;
        for (std::size_t size = 0; size < golden.bytes.size(); ++size) {
            const tool::Frame frame = explain(golden.bytes.substr(0, size));
            EXPECT_GE(frame.elements.size(), elements);
            elements = frame.elements.size();
            if (frame.fault) {
                EXPECT_LE(frame.fault->offset, size);
                EXPECT_TRUE(frame.fault->endsEarly);
            } else {
                EXPECT_GE(size, 8U);
            }
        }
    }
}

TEST(Frame, ACaptureThatKeptLessIsToldInsteadOfAFault) {
    const std::string write = bytes("4F544E31 01 02 0007 11800002 03 0001 03");
    EXPECT_EQ(faultOf(explain(write, 8)), "16: the capture kept 16 of 24 bytes");
    EXPECT_EQ(explain(write, 8).elements.size(), 1U);
    EXPECT_EQ(faultOf(explain(write.substr(0, 15), 1)), "15: the capture kept 15 of 16 bytes");
    EXPECT_EQ(faultOf(explain(write.substr(0, 5), 11)), "5: the capture kept 5 of 16 bytes");
    EXPECT_EQ(faultOf(explain(bytes("4F544E31 02 02 0007"), 8)), "4: the version is 2, not 1");
}

struct ValueCase {
    const char* type;
    const char* length;
    const char* value;
    const char* fault;
};

const ValueCase valueCases[] = {
    {"00", "0008", "0000000000000000", ""},
    {"00", "0002", "0000", "the length of a UINT64 is 8, not 2"},
    {"08", "0000", "", "the length of a BOOLEAN is 1, not 0"},
    {"0A", "0006", "000000000000", "the length of a IPv4ADDRESS is 4, not 6"},
    {"09", "0000", "", ""},
    {"09", "0002", "0000", ""},
    {"0C", "0001", "00", ""},
    {"0D", "0006", "000000000000", ""},
    {"0D", "0005", "0000000000", "the length of a MAC_ADDRESS is 6, not 5"},
    {"0E", "0001", "00", ""},
};

TEST(Frame, AValueOfTheWrongLengthIsAFaultOfItsElementAlone) {
    for (const ValueCase& value : valueCases) {
        const std::string element = std::string("11800002") + value.type + value.length + value.value;
        const tool::Frame frame = explain(bytes("4F544E31 01 02 0007" + element + element));
        ASSERT_EQ(frame.elements.size(), 2U);
        EXPECT_EQ(frame.elements[0].fault, value.fault);
        EXPECT_EQ(frame.elements[1].fault, value.fault);
        EXPECT_EQ(faultOf(frame), "none");
        EXPECT_EQ(frame.isSound(), *value.fault == '\0');
    }
}

TEST(Frame, WhatARequestToReadSaysOfAValueIsNotJudged) {
    for (const ValueCase& value : valueCases) {
        const tool::Frame frame = explain(
            bytes(std::string("4F544E31 01 01 0007 11800002") + value.type + value.length + value.value));
        EXPECT_TRUE(frame.isSound());
        EXPECT_EQ(tool::hasValue(frame.elements.at(0)), *value.fault == '\0');
    }
}

TEST(Frame, MutatedFramesAreNeverReadBehindTheirEnd) {
    std::mt19937 random(1);
    std::size_t sound = 0;
    for (const Frame& golden : goldenFrames()) {
        for (int round = 0; round < 100; ++round) {
            std::string mutated = golden.bytes;
            mutated[random() % mutated.size()] = static_cast<char>(random());
            sound += explain(mutated).isSound() ? 1 : 0;
        }
    }
    EXPECT_GT(sound, 100U);
    EXPECT_LT(sound, 8600U);
}

TEST(Frame, OnlyResultsThatJudgeElementsNameOne) {
    for (const unsigned int result : {5U, 6U, 7U, 8U, 9U, 10U, 18U, 255U})
        EXPECT_TRUE(tool::refusesElement(result)) << result;
    for (const unsigned int result : {0U, 1U, 2U, 3U, 4U, 11U, 12U, 13U, 14U, 15U, 16U, 17U})
        EXPECT_FALSE(tool::refusesElement(result)) << result;
}

}  // namespace
