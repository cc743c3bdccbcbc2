#include "target.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/failureOf.h"

namespace {

using testing::HasSubstr;
using testing::StartsWith;
using tool::parseListenAddress;
using tool::parseTarget;

std::string failureOfTarget(const std::string& text) {
    return failureOf([&] { parseTarget(text); });
}

std::string failureOfListening(const std::string& text) {
    return failureOf([&] { parseListenAddress("--listen", text); });
}

TEST(Target, IsAnAddressWithAPort) {
    EXPECT_EQ(lcmpUdpToText(parseTarget("192.0.2.1:4711")), "192.0.2.1:4711");
}

TEST(Target, HasTheUsualPortUnlessItSaysAnother) {
    EXPECT_EQ(lcmpUdpToText(parseTarget("192.0.2.1")), "192.0.2.1:17470");
}

TEST(Target, IsLookedUpByName) { EXPECT_EQ(lcmpUdpToText(parseTarget("localhost:4711")), "127.0.0.1:4711"); }

TEST(Target, ThatNobodyKnowsIsUnresolved) {
    // Empty and overlong labels are refused before anybody is asked.
    EXPECT_THAT(failureOfTarget("a..b"), StartsWith("7: host 'a..b': "));
    EXPECT_THAT(failureOfTarget(std::string(64, 'a') + ".b:1"), StartsWith("7: host 'aaa"));
}

TEST(Target, ThatIsNoneIsRefused) {
    EXPECT_EQ(failureOfTarget("192.0.2.1:0"),
              "2: target: '192.0.2.1:0' has port 0, at which nobody can be reached");
    for (const char* text : {"192.0.2.1:", "192.0.2.1:65536", "192.0.2.1:-1", "192.0.2.1:1x", "192.0.2.1: 1"})
        EXPECT_THAT(failureOfTarget(text), HasSubstr("has a port that is not 0 to 65535"));
    EXPECT_THAT(failureOfTarget(""), HasSubstr("lacks an address"));
    EXPECT_THAT(failureOfTarget(":17470"), HasSubstr("lacks an address"));
    EXPECT_THAT(failureOfTarget("::1"), HasSubstr("addresses are IPv4"));
    EXPECT_THAT(failureOfTarget("[::1]:17470"), HasSubstr("addresses are IPv4"));
}

TEST(ListenAddress, MayAskForAFreePort) {
    EXPECT_EQ(lcmpUdpToText(parseListenAddress("--listen", "0.0.0.0:0")), "0.0.0.0:0");
    EXPECT_EQ(lcmpUdpToText(parseListenAddress("--listen", "127.0.0.1")), "127.0.0.1:17470");
}

TEST(ListenAddress, IsNoName) {
    EXPECT_EQ(failureOfListening("localhost:1"),
              "2: --listen: 'localhost:1' is not ADDR[:PORT] with a dotted IPv4 address");
    EXPECT_THAT(failureOfListening("127.0.0.1:99999"),
                StartsWith("2: --listen: '127.0.0.1:99999' has a port"));
}

}  // namespace
