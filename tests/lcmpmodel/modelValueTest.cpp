// Values as text.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lcmpModelValue.h"

using namespace testing;

namespace {

std::string textOf(LcmpTlvType type, const std::string& text) {
    LcmpModelValue value;
    std::string problem;
    return lcmpModelParseValue(type, text, value, problem) ? lcmpModelValueText(type, value) : problem;
}

std::string problemOf(LcmpTlvType type, const std::string& text) {
    LcmpModelValue value = std::string("before");
    std::string problem;
    EXPECT_FALSE(lcmpModelParseValue(type, text, value, problem)) << text;
    EXPECT_EQ(value, LcmpModelValue(std::string("before")));
    return problem;
}

long long secondsOf(const std::string& text) {
    LcmpModelValue value;
    std::string problem;
    EXPECT_TRUE(lcmpModelParseValue(UNIX_TIME, text, value, problem)) << problem;
    return std::get<long long>(value);
}

TEST(ModelValue, OfEveryTypeIsReadAndWritten) {
    EXPECT_EQ(textOf(UINT64, "0xFFFFFFFFFFFFFFFF"), "18446744073709551615");
    EXPECT_EQ(textOf(UINT8, "255"), "255");
    EXPECT_EQ(textOf(INT64, "-9223372036854775808"), "-9223372036854775808");
    EXPECT_EQ(textOf(INT8, "-0x80"), "-128");
    EXPECT_EQ(textOf(BOOLEAN, "On"), "true");
    EXPECT_EQ(textOf(STRING, "a b"), "a b");
    EXPECT_EQ(textOf(IPv4ADDRESS, "192.0.2.1"), "192.0.2.1");
    EXPECT_EQ(textOf(UNIX_TIME, "2024-05-01T14:00:00+02:00"), "2024-05-01T12:00:00Z");
    EXPECT_EQ(textOf(BYTE_ARRAY, "00 1b:fF"), "001bff");
    EXPECT_EQ(textOf(MAC_ADDRESS, "00:1B:21:3c:4d:5e"), "00:1b:21:3c:4d:5e");
}

TEST(ModelValue, ThatDoesNotFitIsRefusedAndStaysAsItWas) {
    EXPECT_EQ(problemOf(UINT8, "256"), "256 does not fit UINT8, which holds 0 to 255");
    EXPECT_EQ(problemOf(BOOLEAN, "2"), "'2' is no BOOLEAN: true or false, on or off, 1 or 0");
    EXPECT_EQ(problemOf(STRING, std::string(65536, 'x')), "65536 bytes do not fit STRING, which holds 65535");
    EXPECT_THAT(problemOf(IPv4ADDRESS, "192.0.2.256"), HasSubstr("is no IPv4ADDRESS"));
}

TEST(ModelValue, TimesAreReadInUtc) {
    EXPECT_EQ(secondsOf("1970-01-01T00:00:00Z"), 0);
    EXPECT_EQ(secondsOf("2024-02-29T23:59:59z"), 1709251199);
    EXPECT_EQ(secondsOf("2024-05-01 12:00:00Z"), 1714564800);
    EXPECT_EQ(secondsOf("1969-12-31T23:59:59Z"), -1);
    EXPECT_EQ(secondsOf("2106-02-07T06:28:16Z"), 4294967296LL);
    EXPECT_EQ(secondsOf("0001-01-01T00:00:00Z"), -62135596800LL);
    EXPECT_EQ(secondsOf("0000-02-29T00:00:00Z"), -62162121600LL);
    EXPECT_EQ(secondsOf("9999-12-31T23:59:59Z"), 253402300799LL);
    EXPECT_EQ(secondsOf("2024-05-01T06:30:00-05:30"), 1714564800);
    EXPECT_EQ(secondsOf("-17"), -17);
}

TEST(ModelValue, TimesAreWrittenAsTheyAreRead) {
    for (const char* text : {"1970-01-01T00:00:00Z", "2024-02-29T23:59:59Z", "1969-12-31T23:59:59Z",
                             "2106-02-07T06:28:16Z", "0001-01-01T00:00:00Z", "9999-12-31T23:59:59Z",
                             "2000-12-31T00:00:00Z", "1900-03-01T00:00:00Z", "0004-12-31T23:59:59Z"})
        EXPECT_EQ(textOf(UNIX_TIME, text), text);
    EXPECT_EQ(textOf(UNIX_TIME, "253402300800"), "253402300800");
    EXPECT_EQ(textOf(UNIX_TIME, "-62135596801"), "-62135596801");
}

TEST(ModelValue, WhatIsWrongWithATimeIsSaid) {
    EXPECT_EQ(problemOf(UNIX_TIME, "2024-05-01T12:00:00"),
              "'2024-05-01T12:00:00' lacks its time zone; append Z or an offset like +02:00");
    EXPECT_THAT(problemOf(UNIX_TIME, "2024-05-01T12:00:00.5Z"), HasSubstr("whole seconds"));
    EXPECT_THAT(problemOf(UNIX_TIME, "2024-05-01T12:00:00+24:00"), HasSubstr("beyond 23:59"));
    for (const char* text :
         {"2023-02-29T00:00:00Z", "2024-13-01T00:00:00Z", "2024-00-01T00:00:00Z", "2024-05-32T00:00:00Z",
          "2024-05-00T00:00:00Z", "2024-05-01T24:00:00Z", "2024-05-01T00:60:00Z", "2016-12-31T23:59:60Z"})
        EXPECT_THAT(problemOf(UNIX_TIME, text), HasSubstr("does not exist")) << text;
    for (const char* text :
         {"", "now", "2024-05-01", "2024-5-1T12:00:00Z", "2024-05-01T12:00Z", "2024-05-01T12:00:00Zx",
          "2024-05-01T12:00:00+0200", "2024-05-01T12:00:00+02", "24-05-01T12:00:00Z"})
        EXPECT_THAT(problemOf(UNIX_TIME, text), HasSubstr("is no time; write")) << text;
}

}  // namespace
