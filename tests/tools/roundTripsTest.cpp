#include "roundTrips.h"

#include <gtest/gtest.h>

namespace {

using std::chrono::microseconds;
using tool::RoundTrips;

RoundTrips after(const std::vector<int>& answered) {
    RoundTrips trips;
    for (const int time : answered)
        trips.answered(microseconds(time));
    return trips;
}

TEST(RoundTrips, HaveNoSummaryWithoutAnAnswer) {
    RoundTrips trips;
    EXPECT_EQ(trips.loss(), 0);
    EXPECT_FALSE(trips.summary());
    trips.lost();
    EXPECT_EQ(trips.loss(), 100);
    EXPECT_FALSE(trips.summary());
}

TEST(RoundTrips, OneIsShortestMeanAndLongestWithoutJitter) {
    const auto summary = after({250}).summary();
    ASSERT_TRUE(summary);
    EXPECT_EQ(summary->min, microseconds(250));
    EXPECT_EQ(summary->avg, microseconds(250));
    EXPECT_EQ(summary->max, microseconds(250));
    EXPECT_EQ(summary->jitter, microseconds(0));
}

TEST(RoundTrips, JitterIsTheMeanDifferenceFromTheOneBefore) {
    const auto summary = after({100, 400, 300, 300}).summary();
    ASSERT_TRUE(summary);
    EXPECT_EQ(summary->min, microseconds(100));
    EXPECT_EQ(summary->avg, microseconds(275));
    EXPECT_EQ(summary->max, microseconds(400));
    EXPECT_EQ(summary->jitter, std::chrono::nanoseconds(133333)) << "(300 + 100 + 0) / 3";
}

TEST(RoundTrips, LossIsOfAllThatWereSent) {
    RoundTrips trips = after({100, 100, 100});
    trips.lost();
    EXPECT_EQ(trips.sentCount(), 4U);
    EXPECT_EQ(trips.answeredCount(), 3U);
    EXPECT_EQ(trips.loss(), 25);
}

TEST(RoundTrips, SumsOfDaysAreExact) {
    RoundTrips trips;
    for (int i = 0; i < 1000; ++i)
        trips.answered(std::chrono::hours(1));
    EXPECT_EQ(trips.summary()->avg, std::chrono::hours(1));
}

}  // namespace
