#include "polling.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/failureOf.h"

namespace {

std::string namesOf(const std::vector<std::string>& wanted, const LcmpModel& model = lcmpModelStandard()) {
    std::string text;
    for (const tool::Variable& variable : tool::variablesToPoll(wanted, model))
        text += (text.empty() ? "" : " ") + variable.name;
    return text;
}

TEST(Polling, AnObjectMeansAllOfItsVariables) {
    EXPECT_EQ(namesOf({"control"}), "control.reboot control.utcTime control.bpClkRef control.guid");
    EXPECT_EQ(namesOf({"temperature[1].value", "0x50c10005", "logRetrieval"}),
              "temperature[1].value 0x50c10005 "
              "logRetrieval.directory logRetrieval.result logRetrieval.state");
}

TEST(Polling, NoNameMeansTheWholeModel) {
    std::size_t cells = 0;
    for (const LcmpModelObject& object : lcmpModelStandard().objects)
        cells += object.rows * object.variables.size();
    EXPECT_EQ(tool::variablesToPoll({}, lcmpModelStandard()).size(), cells);
}

TEST(Polling, ANameThatMeansNothingIsUnresolved) {
    EXPECT_EQ(failureOf([] { namesOf({"controll"}); }).substr(0, 14), "7: 'controll':");
}

TEST(Polling, MoreVariablesThanAreRememberedAreRefused) {
    LcmpModel model = lcmpModelStandard();
    for (LcmpModelObject& object : model.objects)
        object.rows = object.name == "temperature" ? 4000 : object.rows;
    EXPECT_THAT(failureOf([&] { namesOf({}, model); }),
                testing::MatchesRegex("2: 20[0-9]{3} variables are too many to poll; name at most 16384 by "
                                      "--variables"));
}

}  // namespace
