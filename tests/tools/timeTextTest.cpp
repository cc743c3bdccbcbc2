#include "timeText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/failureOf.h"

namespace {

using testing::HasSubstr;
using tool::parseTime;
using tool::timeText;

std::string failureOfTime(const std::string& text) {
    return failureOf([&] { parseTime(text); });
}

TEST(TimeText, IsReadInUtc) {
    EXPECT_EQ(parseTime("1970-01-01T00:00:00Z"), 0);
    EXPECT_EQ(parseTime("2024-05-01T12:00:00Z"), 1714564800);
    EXPECT_EQ(parseTime("2024-02-29T23:59:59z"), 1709251199);
    EXPECT_EQ(parseTime("2024-05-01 12:00:00Z"), 1714564800);
    EXPECT_EQ(parseTime("1969-12-31T23:59:59Z"), -1);
    EXPECT_EQ(parseTime("2106-02-07T06:28:16Z"), 4294967296LL);
    EXPECT_EQ(parseTime("0001-01-01T00:00:00Z"), -62135596800LL);
    EXPECT_EQ(parseTime("9999-12-31T23:59:59Z"), 253402300799LL);
}

TEST(TimeText, IsReadWithAnOffset) {
    EXPECT_EQ(parseTime("2024-05-01T14:00:00+02:00"), 1714564800);
    EXPECT_EQ(parseTime("2024-05-01T06:30:00-05:30"), 1714564800);
    EXPECT_EQ(parseTime("1970-01-01T00:00:00+00:01"), -60);
}

TEST(TimeText, WhatIsWrongIsSaid) {
    EXPECT_EQ(failureOfTime("2024-05-01T12:00:00"),
              "2: '2024-05-01T12:00:00' lacks its time zone; append Z or an offset like +02:00");
    EXPECT_THAT(failureOfTime("2024-05-01T12:00:00.5Z"), HasSubstr("whole seconds"));
    EXPECT_THAT(failureOfTime("2024-05-01T12:00:00+24:00"), HasSubstr("beyond 23:59"));
    EXPECT_THAT(failureOfTime("2024-05-01T12:00:00+02:60"), HasSubstr("beyond 23:59"));
    for (const char* text :
         {"2023-02-29T00:00:00Z", "2024-13-01T00:00:00Z", "2024-00-01T00:00:00Z", "2024-05-32T00:00:00Z",
          "2024-05-00T00:00:00Z", "2024-05-01T24:00:00Z", "2024-05-01T00:60:00Z", "2016-12-31T23:59:60Z"})
        EXPECT_THAT(failureOfTime(text), HasSubstr("does not exist")) << text;
    for (const char* text :
         {"", "now", "2024-05-01", "2024-5-1T12:00:00Z", "2024-05-01T12:00Z", "2024-05-01T12:00:00Zx",
          "2024-05-01T12:00:00+0200", "2024-05-01T12:00:00+02", "24-05-01T12:00:00Z"})
        EXPECT_THAT(failureOfTime(text), HasSubstr("is no time; write")) << text;
}

TEST(TimeText, OfAMessageHasMicroseconds) {
    EXPECT_EQ(timeText(0, 0), "1970-01-01T00:00:00.000000Z");
    EXPECT_EQ(timeText(1714564800, 250), "2024-05-01T12:00:00.000250Z");
    EXPECT_EQ(timeText(0xFFFFFFFF, 999999), "2106-02-07T06:28:15.999999Z");
    EXPECT_EQ(timeText(1714564799, 1000001), "2024-05-01T12:00:00.000001Z");
    EXPECT_EQ(timeText(0xFFFFFFFF, 0xFFFFFFFF), "2106-02-07T07:39:49.967295Z");
}

}  // namespace
