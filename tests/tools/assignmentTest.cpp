#include "assignment.h"

#include <gtest/gtest.h>

#include "lcmpResult.h"
#include "support/failureOf.h"

namespace {

const LcmpModel& lamps() {
    static const LcmpModel model = [] {
        LcmpModel loaded;
        std::vector<LcmpModelError> errors;
        const char* const text =
            "card: lamps\n"
            "objects:\n"
            "  - name: lamp\n"
            "    kind: table\n"
            "    id: 3\n"
            "    common: false\n"
            "    rows: 2\n"
            "    variables:\n"
            "      - {id: 0, name: state, type: UINT8, access: writable, allow: [0-2], names: {0: off, 1: "
            "on}}\n"
            "      - {id: 1, name: name, type: STRING, access: writable, maxLength: 3}\n"
            "      - {id: 2, name: key, type: STRING, access: writable, length: 2, default: ab}\n"
            "      - {id: 3, name: code, type: STRING, access: writable, pattern: '[a-z]*'}\n"
            "      - {id: 4, name: hours, type: INT32, access: read-only}\n"
            "      - {id: 5, name: level, type: INT16, access: writable, min: -5, max: 5}\n";
        EXPECT_TRUE(lcmpModelLoadText(text, "lamps", loaded, errors))
            << (errors.empty() ? "" : lcmpModelErrorText(errors[0]));
        return loaded;
    }();
    return model;
}

// "0", "9 why", or "0 unknown".
std::string forecastOf(const std::string& assignment) {
    const tool::Forecast forecast = tool::forecast(tool::parseAssignment(assignment, lamps()), lamps());
    return std::to_string(forecast.result) + (forecast.reason.empty() ? "" : " " + forecast.reason) +
           (forecast.isKnown ? "" : " unknown");
}

TEST(Assignment, IsJudgedAsACardOfTheModelWould) {
    struct Case {
        const char* assignment;
        const char* forecast;
    };
    const std::vector<Case> cases = {
        {"lamp[0].state=2", "0"},
        {"lamp[0].state=on", "0"},
        {"lamp[1].state=3", "9 3 is not allowed: 0 to 2"},
        {"lamp[0].name=abc", "0"},
        {"lamp[0].name=abcd", "9 4 bytes are too long: at most 3"},
        {"lamp[0].key=xy", "0"},
        {"lamp[0].key=x", "9 1 bytes are too short: at least 2"},
        {"lamp[0].code=abc", "0"},
        {"lamp[0].code=ABC", "9 'ABC' does not match the pattern [a-z]*"},
        {"lamp[0].level=-5", "0"},
        {"lamp[0].level=-6", "9 -6 is not allowed: -5 to 5"},
        {"lamp[0].hours=1", "10 it is read-only"},
        {"lamp[0].hours:UINT8=1", "6 its type is INT32"},  // type comes before access
        {"lamp[2].state=1", "0 unknown"},                  // a real card may have more rows
        {"0x01000007:UINT8=1", "0 unknown"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(forecastOf(c.assignment), c.forecast) << c.assignment;
}

TEST(Assignment, ThatMakesNoSenseNamesWhatIsWrong) {
    const auto failure = [](const std::string& text) {
        return failureOf([&] { tool::parseAssignment(text, lamps()); });
    };
    EXPECT_EQ(failure("lamp[0].state"), "2: 'lamp[0].state' gives no value; write NAME=VALUE");
    EXPECT_EQ(failure("lamp[0].state=onn").substr(0, 17), "2: lamp[0].state:");
    EXPECT_NE(failure("lamp[0].state=onn").find("did you mean on?"), std::string::npos);
    EXPECT_EQ(failure("0x01000007=1"),
              "2: the type of 0x01000007 is not known; write it, like 0x01000007:UINT32=1");
    EXPECT_EQ(failure("lamp[0].stat=1").substr(0, 2), "7:");
}

}  // namespace
