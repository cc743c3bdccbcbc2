#include "duration.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/failureOf.h"

namespace {

using testing::StartsWith;

long long inMilliseconds(const std::string& text) { return tool::parseDuration("--timeout", text).count(); }

TEST(Duration, HasAUnitOrIsMilliseconds) {
    EXPECT_EQ(inMilliseconds("500"), 500);
    EXPECT_EQ(inMilliseconds("500ms"), 500);
    EXPECT_EQ(inMilliseconds("5s"), 5000);
    EXPECT_EQ(inMilliseconds("1.5s"), 1500);
    EXPECT_EQ(inMilliseconds("2min"), 120000);
    EXPECT_EQ(inMilliseconds("1h"), 3600000);
    EXPECT_EQ(inMilliseconds("0"), 0);
    EXPECT_EQ(inMilliseconds("1000h"), 3600000000LL);
}

TEST(Duration, AnythingElseIsRefusedByName) {
    for (const char* text : {"", "x", "-1", "5 s", "5m", "s", "1.2.3s", "1e3", "5sx", "0x10"}) {
        EXPECT_EQ(failureOf([&] { inMilliseconds(text); }),
                  "2: --timeout: '" + std::string(text) + "' is no time; write 500ms, 5s, 2min or 1h");
    }
    EXPECT_THAT(failureOf([] { inMilliseconds("1001h"); }), StartsWith("2: --timeout: '1001h' is more than"));
    EXPECT_THAT(failureOf([] { inMilliseconds(std::string(400, '9')); }), StartsWith("2: --timeout: '999"));
}

}  // namespace
