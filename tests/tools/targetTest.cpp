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

std::string listOf(const std::vector<std::string>& texts, std::size_t most = tool::maxTargets) {
    std::string list;
    for (const LcmpUdpAddress& address : tool::parseTargets(texts, most))
        list += (list.empty() ? "" : " ") + lcmpUdpToText(address);
    return list;
}

TEST(Targets, AreListsAndRanges) {
    struct Case {
        const char* text;
        const char* targets;
    };
    const std::vector<Case> cases = {
        {"192.0.2.1", "192.0.2.1:17470"},
        {"192.0.2.1,192.0.2.2:4711", "192.0.2.1:17470 192.0.2.2:4711"},
        {"192.0.2.1:1-3", "192.0.2.1:1 192.0.2.1:2 192.0.2.1:3"},
        {"192.0.2.9-11", "192.0.2.9:17470 192.0.2.10:17470 192.0.2.11:17470"},
        {"192.0.2.1-2:8-9", "192.0.2.1:8 192.0.2.1:9 192.0.2.2:8 192.0.2.2:9"},
        {"192.0.2.254-255:65535-65535", "192.0.2.254:65535 192.0.2.255:65535"},
        {"192.0.2.7-7", "192.0.2.7:17470"},
        {"localhost:4711-4712", "127.0.0.1:4711 127.0.0.1:4712"},
        {"192.0.2.1,192.0.2.1:17470,192.0.2.1-2", "192.0.2.1:17470 192.0.2.2:17470"},  // each once
    };
    for (const Case& c : cases)
        EXPECT_EQ(listOf({c.text}), c.targets);
    EXPECT_EQ(listOf({"192.0.2.1", "192.0.2.3,192.0.2.2"}),
              "192.0.2.1:17470 192.0.2.3:17470 192.0.2.2:17470");
    EXPECT_EQ(listOf({}), "");
}

TEST(Targets, ThatAreNoneAreRefused) {
    const auto failure = [](const std::string& text) { return failureOf([&] { listOf({text}); }); };
    for (const char* text : {"", ",", "192.0.2.1,", ",192.0.2.1", "192.0.2.1,,192.0.2.2"})
        EXPECT_EQ(failure(text), "2: target: '' lacks an address; write HOST[:PORT]") << text;
    for (const char* text :
         {"192.0.2.1:9-8", "192.0.2.1:9-x", "192.0.2.1:9-65536", "192.0.2.1:9-99999999999"})
        EXPECT_THAT(failure(text), HasSubstr("has a range that ends in")) << text;
    EXPECT_EQ(failure("192.0.2.9-8"),
              "2: target: '192.0.2.9-8' has a range that ends in '8', not in 9 to 255");
    EXPECT_THAT(failure("192.0.2.9-256"), HasSubstr("not in 9 to 255"));
    EXPECT_THAT(failure("192.0.2.9:0-3"), HasSubstr("has port 0"));
    EXPECT_THAT(failure("192.0.2.9:-3"), StartsWith("2: "));
}

TEST(Targets, AreNotMoreThanAreWanted) {
    EXPECT_EQ(listOf({"192.0.2.1:1-3"}, 3), "192.0.2.1:1 192.0.2.1:2 192.0.2.1:3");
    EXPECT_EQ(failureOf([] { listOf({"192.0.2.1:1-3"}, 2); }),
              "2: target: more than 2 cards; name fewer at a time");
    EXPECT_THAT(failureOf([] { listOf({"192.0.2.0-255:1-65535"}); }), HasSubstr("more than 4096 cards"));
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
