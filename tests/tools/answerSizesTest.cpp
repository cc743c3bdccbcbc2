#include "answerSizes.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "exitStatus.h"

namespace {

using tool::AnswerRoom;
using tool::AnswerSizes;
using tool::resolveVariable;
using tool::Variable;

constexpr unsigned int room = 1200 - 11;  // bytes of the elements of an answer
constexpr unsigned int elementHeader = 7;

// Texts of a table's column, and how many of them one request asks for.
class Column {
public:
    void came(unsigned int length) { m_sizes.learn(variable(), length); }

    unsigned int fits() const {
        AnswerRoom answer(m_sizes);
        unsigned int count = 0;
        while (answer.take(variable()))
            ++count;
        return count;
    }

private:
    static Variable variable() { return resolveVariable("0x40000000:STRING"); }

    AnswerSizes m_sizes;
};

unsigned int fitting(const std::string& name) {
    const AnswerSizes sizes;
    AnswerRoom answer(sizes);
    const Variable variable = resolveVariable(name);
    unsigned int count = 0;
    while (answer.take(variable))
        ++count;
    return count;
}

TEST(AnswerRoom, HasTheWidthOfTheTypeForEachValue) {
    EXPECT_EQ(fitting("0x40000000:UINT64"), room / (elementHeader + 8));
    EXPECT_EQ(fitting("0x40000000:INT32"), room / (elementHeader + 4));
    EXPECT_EQ(fitting("0x40000000:UINT8"), room / (elementHeader + 1));
}

TEST(AnswerRoom, HoldsOneHundredAndFiftyAtMost) {
    AnswerSizes sizes;
    const Variable empty = resolveVariable("0x40000000:STRING");
    sizes.learn(empty, 0);
    AnswerRoom answer(sizes);
    for (int i = 0; i < 150; ++i)
        EXPECT_TRUE(answer.take(empty)) << i;
    EXPECT_FALSE(answer.take(empty));
}

TEST(AnswerRoom, TakesAtLeastOneHoweverLong) {
    Column column;
    column.came(5000);
    EXPECT_EQ(column.fits(), 1U);
}

TEST(AnswerSizes, ATextIsTakenFor32BytesUntilOneHasCome) {
    EXPECT_EQ(Column().fits(), room / (elementHeader + 32));
}

TEST(AnswerSizes, ATextIsTakenForNoMoreThanTheModelAllows) {
    EXPECT_EQ(fitting("temperature[0].name"), room / (elementHeader + 31));
}

TEST(AnswerSizes, ALengthThatDoesNotVaryIsKnownToTheByteFromTheFirstOn) {
    for (const unsigned int length : {0U, 5U, 31U, 200U, 594U}) {
        Column column;
        column.came(length);
        EXPECT_EQ(column.fits(), std::min(150U, room / (elementHeader + length)));
        for (int i = 0; i < 1000; ++i)
            column.came(length);
        EXPECT_EQ(column.fits(), std::min(150U, room / (elementHeader + length)));
    }
}

TEST(AnswerSizes, FollowsAColumnThatGrowsAndShrinks) {
    Column column;
    for (int i = 0; i < 200; ++i)
        column.came(10);
    const unsigned int ofShort = column.fits();
    for (int i = 0; i < 200; ++i)
        column.came(100);
    const unsigned int ofLong = column.fits();
    EXPECT_GE(ofLong, 10U);
    EXPECT_LE(ofLong, room / (elementHeader + 100));
    for (int i = 0; i < 200; ++i)
        column.came(10);
    EXPECT_GE(column.fits(), ofShort * 9 / 10);
    EXPECT_LE(column.fits(), ofShort);
}

TEST(AnswerSizes, LeavesRoomForLengthsThatVary) {
    Column even;
    Column varied;
    for (int i = 0; i < 100; ++i) {
        even.came(30);
        varied.came(i % 2 == 0 ? 0 : 60);
    }
    EXPECT_LT(varied.fits(), even.fits());
    EXPECT_GT(varied.fits(), even.fits() / 2);
}

TEST(AnswerSizes, LearnsEachColumnOnItsOwnAndAllItsRowsTogether) {
    AnswerSizes sizes;
    sizes.learn(resolveVariable("temperature[0].name"), 9);
    EXPECT_EQ(sizes.expected(resolveVariable("temperature[3].name")).mean, 9);
    EXPECT_EQ(sizes.expected(resolveVariable("voltage[0].name")).mean, 31);
    sizes.learn(resolveVariable("identity.cardType"), 4);
    EXPECT_EQ(sizes.expected(resolveVariable("identity.cardType")).mean, 4);
    EXPECT_EQ(sizes.expected(resolveVariable("control.guid")).mean, 32);
}

// Lengths by chance from 1 to 60: the answers that come out too long, and the room that is used.
TEST(AnswerSizes, MostAnswersFitAndFewAreHalfEmpty) {
    AnswerSizes sizes;
    const Variable variable = resolveVariable("0x40000000:STRING");
    unsigned int chance = 1;
    int tooLong = 0;
    unsigned long long used = 0;
    constexpr int answers = 500;
    for (int i = 0; i < answers; ++i) {
        AnswerRoom answer(sizes);
        unsigned int bytes = 0;
        std::vector<unsigned int> lengths;
        while (answer.take(variable)) {
            chance = chance * 1664525U + 1013904223U;
            lengths.push_back(1 + (chance >> 16) % 60);
            bytes += elementHeader + lengths.back();
        }
        tooLong += bytes > room ? 1 : 0;
        used += bytes;
        for (const unsigned int length : lengths)
            sizes.learn(variable, length);
    }
    EXPECT_LT(tooLong, answers / 10);
    EXPECT_GT(used, std::uint64_t{room} * answers * 8 / 10);
}

}  // namespace
