// How variables move by themselves.
#include "motion.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <numeric>

#include "lcmpModelObjects.h"

using namespace testing;
using std::chrono::milliseconds;

namespace {

// One column of three rows, which moves as the text says.
class Moving {
public:
    explicit Moving(const std::string& simulation, const std::string& type = "INT32", unsigned int seed = 1,
                    const std::string& more = "")
        : m_model(modelWith(simulation, type, more)), m_objects(m_model) {
        for (unsigned int row = 0; row < 3; ++row)
            m_motions.emplace_back(m_model.objects.at(0).variables.at(0), property(row), seed);
    }

    LcmpModelValue after(milliseconds passed, unsigned int row = 0) {
        m_motions[row].move(passed);
        return lcmpModelGet(property(row));
    }

    long long number(milliseconds passed, unsigned int row = 0) {
        const LcmpModelValue value = after(passed, row);
        const auto* whole = std::get_if<unsigned long long>(&value);
        return whole != nullptr ? static_cast<long long>(*whole) : std::get<long long>(value);
    }

    std::vector<long long> numbers(int count, milliseconds each, unsigned int row = 0) {
        std::vector<long long> all;
        for (int i = 0; i < count; ++i)
            all.push_back(number(each, row));
        return all;
    }

    LcmpProperty& property(unsigned int row = 0) {
        return *m_objects.find("t[" + std::to_string(row) + "].a");
    }
    void restart() { m_motions[0].restart(); }

private:
    static LcmpModel modelWith(const std::string& simulation, const std::string& type,
                               const std::string& more) {
        LcmpModel model;
        std::vector<LcmpModelError> errors;
        EXPECT_TRUE(
            lcmpModelLoadText("card: c\nobjects: [{name: t, kind: table, id: 4, rows: 3, variables: [{id: 0, "
                              "name: a, access: writable, type: " +
                                  type + ", simulate: " + simulation + more + "}]}]",
                              "f", model, errors));
        for (const LcmpModelError& error : errors)
            ADD_FAILURE() << lcmpModelErrorText(error);
        return model;
    }

    LcmpModel m_model;
    LcmpModelObjects m_objects;
    std::vector<tool::Motion> m_motions;
};

long long lowest(const std::vector<long long>& all) { return *std::min_element(all.begin(), all.end()); }
long long highest(const std::vector<long long>& all) { return *std::max_element(all.begin(), all.end()); }

TEST(Motion, ASineGoesUpAndDownBetweenItsBoundsInItsPeriod) {
    Moving moving("{shape: sine, low: -100, high: 300, period: 40s}");
    const std::vector<long long> round = moving.numbers(40, milliseconds(1000));
    EXPECT_THAT(round, Each(AllOf(Ge(-100), Le(300))));
    EXPECT_LE(lowest(round), -98);
    EXPECT_GE(highest(round), 298);
    EXPECT_EQ(moving.numbers(40, milliseconds(1000)), round);
    EXPECT_NEAR(static_cast<double>(std::accumulate(round.begin(), round.end(), 0LL)) / 40, 100, 1);
}

TEST(Motion, ARampRisesAndFallsBackAtOnce) {
    Moving moving("{shape: ramp, low: 0, high: 1000, period: 10s}");
    const std::vector<long long> all = moving.numbers(100, milliseconds(100));
    int falls = 0;
    for (std::size_t i = 1; i < all.size(); ++i) {
        if (all[i] < all[i - 1])
            ++falls;
        else
            EXPECT_NEAR(static_cast<double>(all[i] - all[i - 1]), 10, 1);
    }
    EXPECT_EQ(falls, 1);
}

TEST(Motion, AWalkGoesAtMostAStepAndStaysWithinItsBounds) {
    Moving moving("{shape: walk, low: 10, high: 40, step: 3}");
    const std::vector<long long> all = moving.numbers(1000, milliseconds(100));
    EXPECT_NEAR(static_cast<double>(all[0]), 25, 3) << "begins in the middle";
    for (std::size_t i = 1; i < all.size(); ++i)
        EXPECT_LE(std::abs(all[i] - all[i - 1]), 3);
    EXPECT_EQ(lowest(all), 10);
    EXPECT_EQ(highest(all), 40);
}

TEST(Motion, AWalkBeginsWhereTheVariableIsAndMayTakeSmallSteps) {
    Moving moving("{shape: walk, low: 0, high: 1000, step: 0.25}", "INT32", 1, ", value: 700");
    const std::vector<long long> all = moving.numbers(400, milliseconds(100));
    EXPECT_EQ(all[0], 700);
    EXPECT_THAT(all, Each(AllOf(Ge(600), Le(800))));
    EXPECT_NE(lowest(all), highest(all));
}

TEST(Motion, StepsComeOneAfterAnother) {
    Moving moving("{shape: steps, period: 2s, values: [a, b, '']}", "STRING");
    std::string all;
    for (int i = 0; i < 8; ++i)
        all += std::get<std::string>(moving.after(milliseconds(1000))) + ".";
    EXPECT_EQ(all, "a.b.b...a.a.b.");
}

TEST(Motion, ACounterGrowsByItsRateFromWhateverItHolds) {
    Moving moving("{shape: counter, rate: 2.5}", "UINT32");
    EXPECT_THAT(moving.numbers(4, milliseconds(1000)), ElementsAre(2, 5, 7, 10));
    moving.property().set(1000U);
    EXPECT_EQ(moving.number(milliseconds(1000)), 1002);
    for (int i = 0; i < 3600 * 10; ++i)
        moving.after(milliseconds(100));
    EXPECT_EQ(moving.number(milliseconds(1000)), 1002 + 9000 + 3) << "no rounding adds up";
}

TEST(Motion, ACounterBeginsAgainBeyondItsType) {
    Moving byte("{shape: counter, rate: 100}", "UINT8");
    EXPECT_THAT(byte.numbers(3, milliseconds(1000)), ElementsAre(100, 200, 44));
    Moving down("{shape: counter, rate: -100}", "INT8");
    EXPECT_THAT(down.numbers(2, milliseconds(1000)), ElementsAre(-100, 56));
    Moving wide("{shape: counter, rate: 1}", "UINT64", 1, ", value: 0xFFFFFFFFFFFFFFFF");
    EXPECT_EQ(wide.number(milliseconds(1000)), 0);
    Moving time("{shape: counter}", "UNIX_TIME", 1, ", value: 1970-01-01T00:01:00Z");
    EXPECT_EQ(time.number(milliseconds(1500)), 61);
}

TEST(Motion, ReachesTheBoundsOfItsType) {
    Moving moving("{shape: ramp, low: 0, high: 18446744073709551615, period: 1000s}", "UINT64");
    for (int i = 0; i < 1000; ++i)
        moving.after(milliseconds(1000));
    Moving edge("{shape: walk, low: 18446744073709551615, high: 18446744073709551615}", "UINT64");
    EXPECT_EQ(edge.after(milliseconds(1)), LcmpModelValue(~0ULL));
    Moving low("{shape: walk, low: -9223372036854775808, high: -9223372036854775808}", "INT64");
    EXPECT_EQ(low.after(milliseconds(1)), LcmpModelValue(-9223372036854775807LL - 1));
}

TEST(Motion, EachRowHasItsOwnBounds) {
    Moving moving("{shape: walk, low: [0, 100, 200], high: [9, 109, 209]}");
    for (unsigned int row = 0; row < 3; ++row)
        EXPECT_THAT(moving.numbers(100, milliseconds(100), row),
                    Each(AllOf(Ge(100 * row), Le(100 * row + 9))));
}

TEST(Motion, TheSameSeedMovesInTheSameWayAndOthersDoNot) {
    const auto lifeOf = [](unsigned int card, const char* variable, unsigned int row) {
        Moving moving(std::string("{shape: walk, low: 0, high: 1000, step: 50, seed: ") + variable + "}",
                      "INT32", card);
        return moving.numbers(50, milliseconds(100), row);
    };
    EXPECT_EQ(lifeOf(7, "0", 0), lifeOf(7, "0", 0));
    EXPECT_NE(lifeOf(7, "0", 0), lifeOf(8, "0", 0));
    EXPECT_NE(lifeOf(7, "0", 0), lifeOf(7, "1", 0));
    EXPECT_NE(lifeOf(7, "0", 0), lifeOf(7, "0", 1));
}

TEST(Motion, BeginsAnewWhenItRestarts) {
    Moving moving("{shape: walk, low: 0, high: 1000, step: 50}");
    const std::vector<long long> before = moving.numbers(50, milliseconds(100));
    moving.property().set(0);
    moving.restart();
    moving.property().set(-1);  // not within the bounds: begins in the middle, as at first
    EXPECT_NE(moving.numbers(50, milliseconds(100)), std::vector<long long>(50, 0));
    Moving another("{shape: walk, low: 0, high: 1000, step: 50}", "INT32", 1, ", value: 0");
    Moving same("{shape: walk, low: 0, high: 1000, step: 50}", "INT32", 1, ", value: 0");
    same.numbers(20, milliseconds(100));
    same.property().set(0);
    same.restart();
    EXPECT_EQ(same.numbers(50, milliseconds(100)), another.numbers(50, milliseconds(100)));
}

TEST(Motion, ChanceIsTheSameEverywhere) {
    tool::Chance chance(1);
    EXPECT_EQ(chance.next(), 10451216379200822465ULL);
    EXPECT_EQ(chance.next(), 13757245211066428519ULL);
    for (int i = 0; i < 1000; ++i) {
        EXPECT_THAT(chance.whole(-3, 3), AllOf(Ge(-3), Le(3)));
        EXPECT_THAT(chance.fraction(), AllOf(Ge(0.0), Lt(1.0)));
    }
    EXPECT_THAT(chance.whole(-2147483647 - 1, 2147483647), An<int>());
}

}  // namespace
