#include "walkParts.h"

#include <gtest/gtest.h>

#include "support/failureOf.h"
#include "walkOrder.h"

namespace {

using tool::WalkPart;
using tool::WantedRows;

// "identity temperature[1-3]"
std::string partsText(const std::vector<std::string>& names, const WantedRows& rows = {}) {
    std::string text;
    for (const WalkPart& part : tool::resolveParts(lcmpModelStandard(), names, rows)) {
        text += (text.empty() ? "" : " ") + part.object->name;
        if (part.object->isTable())
            text += "[" + std::to_string(part.first) + "-" + std::to_string(part.last) + "]";
    }
    return text;
}

std::string problemOf(const std::vector<std::string>& names, const WantedRows& rows = {}) {
    return failureOf([&] { partsText(names, rows); });
}

TEST(WalkParts, WithoutANameAreAllOfTheModel) {
    EXPECT_EQ(partsText({}),
              "identity alarms control download temperature[0-3] voltage[0-3] fileServer logRetrieval "
              "hardwareError[0-7] operationalAlarm[0-7] voltageMonitor");
}

TEST(WalkParts, AreObjectsAndRowsInTheOrderOfTheirNames) {
    EXPECT_EQ(partsText({"voltage", "identity", "temperature[2]"}), "voltage[0-3] identity temperature[2-2]");
}

TEST(WalkParts, ARowMayLieBeyondThoseOfTheModel) {
    EXPECT_EQ(partsText({"temperature[16383]"}), "temperature[16383-16383]");
}

TEST(WalkParts, TakeTheWantedRowsOfTables) {
    EXPECT_EQ(partsText({"identity", "voltage"}, {2, 3}), "identity voltage[2-3]");
    EXPECT_EQ(partsText({"voltage"}, {1, {}}), "voltage[1-3]");
    EXPECT_EQ(partsText({"voltage"}, {{}, 9}), "voltage[0-9]");
    EXPECT_EQ(partsText({"identity", "temperature", "hardwareError"}, {6, {}}),
              "identity hardwareError[6-7]");
}

TEST(WalkParts, GoBeyondTheModelOnlyInTablesThatAreNamed) {
    EXPECT_EQ(partsText({}, {6, 9}),
              "identity alarms control download fileServer logRetrieval "
              "hardwareError[6-7] operationalAlarm[6-7] voltageMonitor");
    EXPECT_EQ(partsText({"hardwareError"}, {6, 9}), "hardwareError[6-9]");
}

TEST(WalkParts, ANameThatMeansNothingIsToldWithTheNearestOrAll) {
    EXPECT_EQ(problemOf({"temprature"}), "7: there is no object 'temprature'; did you mean temperature?");
    EXPECT_EQ(problemOf({"q"}),
              "7: there is no object 'q'; there are identity, alarms, control, download, temperature, "
              "voltage, fileServer, logRetrieval, hardwareError, operationalAlarm, voltageMonitor");
    EXPECT_EQ(problemOf({"control.guid"}),
              "7: 'control.guid' is one variable, and here objects are read; lcmp get reads variables");
    EXPECT_EQ(problemOf({"voltage[1].valid"}),
              "7: 'voltage[1].valid' is one variable, and here objects are read; lcmp get reads variables");
}

TEST(WalkParts, ARowThatCannotBeIsTold) {
    EXPECT_EQ(problemOf({"control[0]"}), "7: 'control[0]': control is a scalar and has no rows");
    for (const char* name : {"voltage[16384]", "voltage[x]", "voltage[]", "voltage[-1]", "voltage[1 ]"})
        EXPECT_EQ(problemOf({name}), std::string("7: '") + name + "': a row is a number from 0 to 16383");
}

TEST(WalkParts, RowsThatExcludeEachOtherAreAUsageError) {
    EXPECT_EQ(problemOf({}, {3, 2}), "2: --from 3 lies behind --to 2");
    EXPECT_EQ(problemOf({"voltage"}, {4, {}}), "2: --from 4: nothing that is asked for has so many rows");
}

TEST(WalkOrder, GoesRowByRowAndLeavesOutWhatItIsTold) {
    tool::WalkOrder order(tool::resolveParts(lcmpModelStandard(), {"voltage[2]", "hardwareError"}, {6, {}}));
    order.leaveOut(0, {2, 2, 2, 5});
    std::string names;
    while (const tool::WalkCell* cell = order.front()) {
        names += cell->variable.name + "\n";
        order.pop();
        if (names.find("hardwareError[6].name") != std::string::npos)
            order.leaveOut(1, {1, 7, 7, 5});
    }
    EXPECT_EQ(names,
              "voltage[2].name\nvoltage[2].value\nvoltage[2].valid\n"
              "hardwareError[6].id\nhardwareError[6].name\nhardwareError[6].active\n"
              "hardwareError[7].id\nhardwareError[7].active\n");
}

TEST(WalkOrder, GivesBackWhatWasPutBackFirst) {
    tool::WalkOrder order(tool::resolveParts(lcmpModelStandard(), {"logRetrieval"}));
    std::vector<tool::WalkCell> taken;
    for (int i = 0; i < 2; ++i) {
        taken.push_back(*order.front());
        order.pop();
    }
    order.putBack(taken);
    std::string names;
    for (; order.front() != nullptr; order.pop())
        names += order.front()->variable.name + " ";
    EXPECT_EQ(names, "logRetrieval.directory logRetrieval.result logRetrieval.state ");
}

}  // namespace
