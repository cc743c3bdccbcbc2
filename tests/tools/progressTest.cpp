#include "progress.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <sstream>

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using tool::Progress;

// A bar, and a clock that the test moves.
class Bar {
public:
    explicit Bar(bool isTerminal = true, std::uint64_t total = 200) {
        m_progress.emplace(m_out, isTerminal, total, [this] { return m_now; });
    }

    std::string showAfter(int milliseconds, std::uint64_t done) {
        m_now += std::chrono::milliseconds(milliseconds);
        return written([&] { m_progress->show(done); });
    }

    std::string clear() {
        return written([&] { m_progress->clear(); });
    }

    std::string end() {
        return written([&] { m_progress.reset(); });
    }

private:
    template <typename Action>
    std::string written(Action action) {
        m_out.str("");
        action();
        return m_out.str();
    }

    std::ostringstream m_out;
    Progress::Clock::time_point m_now{};
    std::optional<Progress> m_progress;
};

TEST(Progress, AppearsWhenTheWorkHasTakenHalfASecond) {
    Bar bar;
    EXPECT_EQ(bar.showAfter(0, 0), "");
    EXPECT_EQ(bar.showAfter(499, 20), "");
    EXPECT_EQ(bar.showAfter(1, 50), "\r[#######.......................] 25% of 200 values");
}

TEST(Progress, NeverAppearsWhereNobodyLooks) {
    Bar bar(false);
    EXPECT_EQ(bar.showAfter(5000, 100), "");
    EXPECT_EQ(bar.clear(), "");
    EXPECT_EQ(bar.end(), "");
}

TEST(Progress, IsWrittenTenTimesASecondAtMost) {
    Bar bar;
    EXPECT_NE(bar.showAfter(500, 50), "");
    EXPECT_EQ(bar.showAfter(99, 60), "");
    EXPECT_THAT(bar.showAfter(1, 100), HasSubstr("] 50% of"));
}

TEST(Progress, LeavesAnEmptyLine) {
    Bar bar;
    const std::string line = bar.showAfter(500, 50);
    EXPECT_EQ(bar.end(), "\r" + std::string(line.size() - 1, ' ') + "\r");
}

TEST(Progress, LeavesNothingWhereItNeverAppeared) {
    Bar bar;
    bar.showAfter(100, 50);
    EXPECT_EQ(bar.end(), "");
}

TEST(Progress, ComesBackAtOnceAfterItWasCleared) {
    Bar bar;
    bar.showAfter(500, 50);
    EXPECT_THAT(bar.clear(), EndsWith(" \r"));
    EXPECT_EQ(bar.clear(), "");
    EXPECT_THAT(bar.showAfter(1, 100), HasSubstr("] 50% of"));
}

TEST(Progress, IsFullAtTheEndAndNoFuller) {
    Bar bar;
    EXPECT_THAT(bar.showAfter(500, 200), HasSubstr("[##############################] 100% of"));
    EXPECT_THAT(bar.showAfter(500, 999), HasSubstr("[##############################] 100% of"));
}

TEST(Progress, OfNoWorkDividesByNothing) {
    Bar bar(true, 0);
    EXPECT_THAT(bar.showAfter(500, 0), HasSubstr("0% of"));
}

TEST(Progress, CountsWorkThatNeedsMoreThan32Bits) {
    Bar bar(true, 0x800000000ULL);
    EXPECT_THAT(bar.showAfter(500, 0x400000000ULL), HasSubstr("] 50% of 34359738368 values"));
}

}  // namespace
