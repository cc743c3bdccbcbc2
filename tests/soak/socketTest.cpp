#include <gtest/gtest.h>

#include "socketRun.h"

namespace {

TEST(SocketSoak, EveryRequestEndsInItsOwnAnswerOrAReportedTimeOut) {
    constexpr std::uint64_t requests = 2000;
    const SocketRunResult result = playOverSockets({1, requests, 8, 256});
    const Tally& tally = result.tally;
    EXPECT_EQ(tally.requests, requests);
    EXPECT_EQ(tally.answered + tally.timedOut, requests);
    EXPECT_EQ(tally.unexplained, 0U);
    EXPECT_EQ(tally.wrongValues, 0U);
    EXPECT_EQ(tally.variables, 8U * 256U);
    EXPECT_EQ(tally.wrongInTheEnd, 0U);
    EXPECT_GT(tally.retries, requests / 10);
    EXPECT_GT(tally.answered, requests / 2);
    EXPECT_GT(result.faults.lost, result.faults.datagrams / 8);
    EXPECT_GT(result.faults.late, 0U);
}

}  // namespace
