#include "askCards.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "support/failureOf.h"

namespace {

using tool::ExitStatus;
using tool::Outcome;

Outcome valued(LcmpTlvType type, const std::string& text) {
    tool::Element element(0x01000007);
    tool::parseValue(type, text, element);
    Outcome outcome;
    outcome.value = element;
    return outcome;
}

Outcome refused(unsigned int result, const std::string& problem) {
    Outcome outcome;
    outcome.status = ExitStatus::refused;
    outcome.result = result;
    outcome.problem = problem;
    return outcome;
}

void expectSame(const std::vector<Outcome>& left, const std::vector<Outcome>& right) {
    ASSERT_EQ(left.size(), right.size());
    for (std::size_t i = 0; i < left.size(); ++i) {
        EXPECT_EQ(left[i].status, right[i].status);
        EXPECT_EQ(left[i].result, right[i].result);
        EXPECT_EQ(left[i].problem, right[i].problem);
        ASSERT_EQ(left[i].value.has_value(), right[i].value.has_value());
        EXPECT_EQ(left[i].value ? left[i].value->wireForm() : "",
                  right[i].value ? right[i].value->wireForm() : "");
    }
}

std::vector<Outcome> ofEveryKind() {
    return {valued(UINT64, "18446744073709551615"),
            valued(INT8, "-1"),
            valued(BOOLEAN, "true"),
            valued(STRING, "a text with \xFF"),
            valued(STRING, ""),
            valued(IPv4ADDRESS, "192.0.2.1"),
            valued(UNIX_TIME, "2024-05-01T12:00:00Z"),
            valued(BYTE_ARRAY, "00ff"),
            valued(MAC_ADDRESS, "00:1b:21:3c:4d:5e"),
            refused(9, "refused, \"x\""),
            Outcome()};
}

TEST(AskCards, OutcomesSurviveTheWayBetweenProcesses) {
    expectSame(tool::unpackOutcomes(tool::packOutcomes(ofEveryKind())), ofEveryKind());
    expectSame(tool::unpackOutcomes(tool::packOutcomes({})), {});
}

TEST(AskCards, EveryTruncationOfOutcomesIsTold) {
    const std::string whole = tool::packOutcomes(ofEveryKind());
    for (std::size_t size = 0; size < whole.size(); ++size)
        EXPECT_EQ(failureOf([&] { tool::unpackOutcomes(whole.substr(0, size)); }),
                  "1: a process that asked a card left no outcome")
            << size;
    EXPECT_EQ(failureOf([&] { tool::unpackOutcomes(whole + "x"); }),
              "1: a process that asked a card left no outcome");
}

// Some cards that are asked for one variable.
class Cards {
public:
    explicit Cards(std::size_t count) {
        for (std::size_t i = 0; i < count; ++i)
            m_cards.push_back({0xC0000201, static_cast<std::uint16_t>(1000 + i)});
    }

    /// "1000: done", "1001: 3 silent" and so on, in the order in which the outcomes came.
    std::vector<std::string> ask(const tool::AskCard& askCard) {
        std::vector<std::string> came;
        tool::askCards(m_cards, 1, askCard,
                       [&](const LcmpUdpAddress& card, const std::vector<Outcome>& outcomes) {
                           came.push_back(std::to_string(card.port) + ": " +
                                          std::to_string(static_cast<int>(outcomes.at(0).status)) +
                                          outcomes.at(0).problem);
                       });
        return came;
    }

private:
    std::vector<LcmpUdpAddress> m_cards;
};

TEST(AskCards, OutcomesComeInTheOrderOfTheCardsAndNoneIsLeftOut) {
    constexpr std::size_t count = 150;  // more than are asked at the same time
    std::vector<std::string> expected;
    for (std::size_t i = 0; i < count; ++i)
        expected.push_back(std::to_string(1000 + i) + ": 0");
    EXPECT_EQ(Cards(count).ask([](const LcmpUdpAddress& card) {
        return std::vector<Outcome>{valued(UINT16, std::to_string(card.port))};
    }),
              expected);
}

TEST(AskCards, WhatStopsOneIsItsOutcomeAndTheOthersAreAsked) {
    const auto ask = [](const LcmpUdpAddress& card) -> std::vector<Outcome> {
        if (card.port == 1001)
            throw tool::Failure(ExitStatus::localFailure, " no socket");
        if (card.port == 1002)
            throw std::bad_alloc();
        if (card.port == 1003)
            _exit(0);
        return {Outcome()};
    };
    EXPECT_THAT(Cards(5).ask(ask),
                testing::ElementsAre("1000: 0", "1001: 1 no socket", "1002: 1out of memory",
                                     "1003: 1a process that asked a card left no outcome", "1004: 0"));
}

TEST(AskCards, OneAloneIsAskedFromThisProcess) {
    const pid_t here = getpid();
    pid_t asker = 0;
    Cards(1).ask([&](const LcmpUdpAddress&) {
        asker = getpid();
        return std::vector<Outcome>(1);
    });
    EXPECT_EQ(asker, here);
    EXPECT_THAT(Cards(1).ask([](const LcmpUdpAddress&) -> std::vector<Outcome> {
        throw tool::Failure(ExitStatus::localFailure, " no socket");
    }),
                testing::ElementsAre("1000: 1 no socket"));
}

}  // namespace
