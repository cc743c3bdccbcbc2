#include "limitedNotice.h"

#include <gtest/gtest.h>

#include <deque>
#include <sstream>

namespace {

using std::chrono::milliseconds;
using tool::LimitedNotice;
using namespace std::chrono_literals;

// A notice under a clock that stands until the test moves it.
class Noticing {
public:
    void say(const std::string& cause, int times = 1) {
        for (int i = 0; i < times; ++i)
            notice.say(cause, "something about " + cause);
    }

    void pass(milliseconds time) { m_now += time; }
    LimitedNotice::Time now() const { return m_now; }

    /// How many lines were printed since the last call, and the last of them.
    int lines() {
        const std::string text = out.str();
        out.str("");
        last = text.empty() ? "" : text.substr(text.rfind('\n', text.size() - 2) + 1);
        return static_cast<int>(std::count(text.begin(), text.end(), '\n'));
    }

    std::string last;

private:
    LimitedNotice::Time m_now{1000s};

public:
    std::ostringstream out;
    LimitedNotice notice{out, [this] { return m_now; }};
};

}  // namespace

TEST(LimitedNotice, PrintsTenLinesOfACauseASecond) {
    Noticing noticing;
    noticing.say("a", 10);
    EXPECT_EQ(noticing.lines(), 10);
    EXPECT_EQ(noticing.last, "lcmp: something about a\n");
    noticing.say("a", 1000);
    noticing.pass(999ms);
    noticing.say("a");
    noticing.notice.settle();
    EXPECT_EQ(noticing.lines(), 0);
}

TEST(LimitedNotice, TellsASecondLaterHowManyWereLeftOut) {
    Noticing noticing;
    noticing.say("a", 1010);
    noticing.lines();
    noticing.pass(1s);
    noticing.notice.settle();
    EXPECT_EQ(noticing.lines(), 1);
    EXPECT_EQ(noticing.last, "lcmp: 1000 more left out: a\n");
    noticing.pass(1h);
    noticing.notice.settle();
    EXPECT_EQ(noticing.lines(), 0) << "told once";
}

TEST(LimitedNotice, TheCountIsOneOfTheTenLines) {
    Noticing noticing;
    noticing.say("a", 11);
    noticing.lines();
    noticing.pass(1s);
    noticing.say("a", 100);
    EXPECT_EQ(noticing.lines(), 10);
    noticing.pass(1s);
    noticing.notice.settle();
    EXPECT_EQ(noticing.lines(), 1);
    EXPECT_EQ(noticing.last, "lcmp: 91 more left out: a\n");
}

TEST(LimitedNotice, ACauseThatIsQuietHidesNoOther) {
    Noticing noticing;
    noticing.say("a", 100);
    EXPECT_EQ(noticing.lines(), 10);
    noticing.say("b", 100);
    EXPECT_EQ(noticing.lines(), 10);
    EXPECT_EQ(noticing.last, "lcmp: something about b\n");
}

TEST(LimitedNotice, AFewLinesASecondAreAllPrinted) {
    Noticing noticing;
    for (int i = 0; i < 100; ++i) {
        noticing.say("a");
        noticing.pass(100ms);
    }
    EXPECT_EQ(noticing.lines(), 100);
    EXPECT_EQ(noticing.notice.left(), milliseconds(-1));
}

TEST(LimitedNotice, NoSecondWhereverItBeginsHasMoreThanTenLines) {
    for (const milliseconds pause : {1ms, 7ms, 33ms, 90ms, 99ms, 130ms, 499ms}) {
        Noticing noticing;
        std::deque<LimitedNotice::Time> printed;
        for (; noticing.now() < LimitedNotice::Time(1010s); noticing.pass(pause)) {
            noticing.notice.settle();
            noticing.say("a", 3);
            for (int lines = noticing.lines(); lines > 0; --lines)
                printed.push_back(noticing.now());
            while (!printed.empty() && printed.front() + 1s <= noticing.now())
                printed.pop_front();
            ASSERT_LE(printed.size(), 10U) << "every " << pause.count() << " ms";
        }
    }
}

TEST(LimitedNotice, EveryLineIsPrintedOrCounted) {
    std::ostringstream out;
    LimitedNotice::Time now{1000s};
    {
        LimitedNotice notice(out, [&now] { return now; });
        for (int i = 0; i < 5000; ++i) {
            notice.say("a", "x");
            now += milliseconds(i % 13);
        }
    }
    std::istringstream lines(out.str());
    int counted = 0;
    for (std::string line; std::getline(lines, line);)
        counted += line == "lcmp: x" ? 1 : std::stoi(line.substr(line.find(' ')));
    EXPECT_EQ(counted, 5000);
}

TEST(LimitedNotice, TellsInTheEndWhatWasLeftOut) {
    std::ostringstream out;
    {
        LimitedNotice notice(out, [] { return LimitedNotice::Time(1000s); });
        notice.say("a", "a stranger", 500);
        EXPECT_EQ(out.str(), "lcmp: a stranger\n");
    }
    EXPECT_EQ(out.str(), "lcmp: a stranger\nlcmp: 499 more left out: a\n");
}

TEST(LimitedNotice, LinesOfOthersCountAsItsOwn) {
    Noticing noticing;
    for (int i = 0; i < 10; ++i)
        EXPECT_TRUE(noticing.notice.admit("a"));
    EXPECT_FALSE(noticing.notice.admit("a"));
    EXPECT_EQ(noticing.lines(), 0) << "they print their lines themselves";
    noticing.say("a");
    EXPECT_EQ(noticing.lines(), 0);
    noticing.pass(1s);
    EXPECT_TRUE(noticing.notice.admit("a"));
    EXPECT_EQ(noticing.lines(), 1);
    EXPECT_EQ(noticing.last, "lcmp: 2 more left out: a\n");
}

TEST(LimitedNotice, WhatTakesSeveralLinesNeedsRoomForAll) {
    Noticing noticing;
    EXPECT_TRUE(noticing.notice.admit("a", 4));
    noticing.pass(500ms);
    EXPECT_TRUE(noticing.notice.admit("a", 4));
    EXPECT_FALSE(noticing.notice.admit("a", 4)) << "two are left";
    EXPECT_TRUE(noticing.notice.admit("a", 2));
    noticing.pass(500ms);
    EXPECT_FALSE(noticing.notice.admit("a", 5)) << "four are old enough";
    EXPECT_TRUE(noticing.notice.admit("a", 3)) << "the count was one";
}

TEST(LimitedNotice, AClockThatGoesOnMeanwhileCostsNoLine) {
    std::ostringstream out;
    LimitedNotice::Time now{1000s};
    LimitedNotice notice(out, [&now] { return now += std::chrono::microseconds(1); });
    notice.say("a", "x");
    EXPECT_EQ(out.str(), "lcmp: x\n");
}

TEST(LimitedNotice, SaysHowLongUntilItHasSomethingToTell) {
    Noticing noticing;
    EXPECT_EQ(noticing.notice.left(), milliseconds(-1));
    noticing.say("a", 10);
    EXPECT_EQ(noticing.notice.left(), milliseconds(-1));
    noticing.pass(300ms);
    noticing.say("a");
    EXPECT_EQ(noticing.notice.left(), milliseconds(1000));
    noticing.pass(400ms);
    EXPECT_EQ(noticing.notice.left(), milliseconds(600));
    noticing.pass(5s);
    EXPECT_EQ(noticing.notice.left(), milliseconds(0));
}
