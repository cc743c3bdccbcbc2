#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "lcmpmsg.h"
#include "virtualRun.h"

namespace {

constexpr std::uint64_t requests = 20000;

// Within a tenth of what was asked for.
void expectRate(std::uint64_t number, std::uint64_t of, unsigned int permille) {
    const double rate = 1000.0 * static_cast<double>(number) / static_cast<double>(of);
    EXPECT_NEAR(rate, permille, 0.1 * permille);
}

TEST(Soak, EveryRequestEndsInItsOwnAnswerOrAReportedTimeOut) {
    VirtualRun run({1});
    run.ask(requests);
    run.verify();
    const Tally tally = run.tally();
    EXPECT_EQ(tally.requests, requests);
    EXPECT_EQ(tally.answered + tally.timedOut, requests);
    EXPECT_EQ(tally.unexplained, 0U);
    EXPECT_EQ(tally.others, 0U);
    EXPECT_GT(tally.timedOut, requests / 200) << "the network is too good";
    EXPECT_LT(tally.timedOut, requests / 20) << "hardly any request was answered";
}

TEST(Soak, VariablesEndAsTheLastAnsweredWritesSay) {
    VirtualRun run({2});
    run.ask(requests);
    run.verify();
    const Tally tally = run.tally();
    EXPECT_EQ(tally.variables, 5U * 512U);
    EXPECT_EQ(tally.wrongInTheEnd, 0U);
    EXPECT_LT(tally.uncertain, tally.variables / 10);
}

TEST(Soak, TheNetworkIsAsBadAsItSays) {
    VirtualRun run({3});
    run.ask(requests);
    const FaultCounts& counts = run.network().counts();
    expectRate(counts.lost, counts.datagrams, 200);
    expectRate(counts.doubled, counts.datagrams - counts.lost, 50);
    expectRate(counts.late, counts.copies, 10);
    expectRate(counts.reordered, counts.copies - counts.late, 250);
    EXPECT_GT(run.network().overtaken(), counts.copies / 20);
    EXPECT_GT(run.tally().late, 0U);
}

TEST(Soak, TheSameSeedPlaysTheSameRun) {
    const auto play = [](std::uint64_t seed) {
        VirtualRun run({seed});
        run.ask(2000);
        return std::make_pair(run.network().time(), run.tally().retries);
    };
    const auto first = play(4);
    EXPECT_EQ(play(4), first);
    EXPECT_NE(play(5), first);
}

TEST(Soak, WithoutFaultsNothingIsRepeated) {
    VirtualRun run({6, {0, 0, 0, 0}});
    run.ask(requests);
    run.verify();
    const Tally tally = run.tally();
    EXPECT_EQ(tally.answered, requests);
    EXPECT_EQ(tally.retries, 0U);
    EXPECT_EQ(tally.uncertain, 0U);
    EXPECT_TRUE(tally.isSound());
}

// A card carries out whatever arrives. Where a variable is written again while an older write of it is still
// on its way, that one may have the last word.
TEST(Soak, AVariableThatIsWrittenAgainTooSoonFallsBackToAnOlderValue) {
    VirtualRun run({7, {}, 3, false});
    run.ask(requests);
    const Tally tally = run.tally();
    EXPECT_EQ(tally.answered + tally.timedOut, requests);
    EXPECT_EQ(tally.others, 0U) << "every answer is still the request's own";
    EXPECT_GT(tally.wrongValues, 0U);
    EXPECT_FALSE(tally.isSound());
}

// Somebody who gives responses the message id that is awaited: a late one passes for the answer.
TEST(Soak, AnswersOfOtherRequestsAreNoticed) {
    VirtualRun run({8});
    std::string awaited;
    run.network().onArrival = [&awaited](const LcmpUdpAddress&, std::string& frame) {
        const bool request = frame[5] == LCMP_ACTION_READ || frame[5] == LCMP_ACTION_WRITE;
        if (request)
            awaited = frame.substr(6, 2);
        else
            frame.replace(6, 2, awaited);
    };
    run.ask(requests);
    EXPECT_GT(run.tally().others, 0U);
    EXPECT_GT(run.tally().wrongValues, 0U);
}

}  // namespace
