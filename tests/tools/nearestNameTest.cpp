#include "nearestName.h"

#include <gtest/gtest.h>

namespace {

using tool::nearestName;

TEST(NearestName, IsTheOneWithTheFewestLettersWrong) {
    const std::vector<std::string> verbs = {"card", "get", "set", "watch", "oid"};
    EXPECT_EQ(nearestName("wach", verbs), "watch");
    EXPECT_EQ(nearestName("cards", verbs), "card");
    EXPECT_EQ(nearestName("gte", verbs), "get");
    EXPECT_EQ(nearestName("set", verbs), "set");
}

TEST(NearestName, IgnoresCase) { EXPECT_EQ(nearestName("BPCLKREF", {"reboot", "bpClkRef"}), "bpClkRef"); }

TEST(NearestName, IsNoneWhereMostLettersAreWrong) {
    EXPECT_EQ(nearestName("frobnicate", {"card", "get", "watch"}), "");
    EXPECT_EQ(nearestName("anything", {}), "");
}

TEST(NearestName, BecomesAQuestionOrNothing) {
    EXPECT_EQ(tool::suggestion("get"), "; did you mean get?");
    EXPECT_EQ(tool::suggestion(""), "");
}

}  // namespace
