// A model written as YAML is the same model again.
#include <gtest/gtest.h>

#include "modelText.h"

namespace {

LcmpModel fileModel(const std::string& name) {
    LcmpModel model;
    std::vector<LcmpModelError> errors;
    EXPECT_TRUE(lcmpModelLoadFile(LCMP_MODELS_DIR "/" + name + ".yaml", model, errors));
    for (const LcmpModelError& error : errors)
        ADD_FAILURE() << lcmpModelErrorText(error);
    return model;
}

// Every kind of everything.
const char* const everything = R"(
card: every "thing"
description: "line one\nline two"
objects:
  - name: s
    kind: scalar
    id: 31
    variables:
      - {id: 8388607, name: u64, type: UINT64, access: writable, default: 0xFFFFFFFFFFFFFFFF, min: 1}
      - {id: 1, name: i64, type: INT64, access: writable, default: -9223372036854775808, max: 5}
      - {id: 2, name: i8, type: INT8, access: writable, default: -5, allow: [-128--100, -5-3, 7]}
      - {id: 3, name: truth, type: BOOLEAN, access: read-only, default: on, names: {1: yes, 0: no}}
      - {id: 4, name: text, type: STRING, access: writable, default: "a\0\x01\"\\ß", maxLength: 9, unit: "°"}
      - {id: 5, name: ip, type: IPv4ADDRESS, access: writable, default: 255.0.2.1, value: 0.0.0.1}
      - {id: 6, name: time, type: UNIX_TIME, access: writable, default: 2024-05-01T14:00:00+02:00}
      - {id: 7, name: bytes, type: BYTE_ARRAY, access: writable, length: 3, value: 00 1b ff}
      - {id: 8, name: mac, type: MAC_ADDRESS, access: writable, default: 00:1B:21:3c:4d:5e}
      - {id: 9, name: u16, type: UINT16, access: read-only, simulate: {shape: ramp, low: 1, high: 9, period: 1.5s}}
      - {id: 10, name: i32, type: INT32, access: read-only, eventable: true, description: "~",
         simulate: {shape: walk, low: -1e3, high: 0.5, step: 0.25, seed: 4294967295}}
      - {id: 11, name: i16, type: INT16, access: read-only, simulate: {shape: counter, rate: -0.125}}
  - name: t
    kind: table
    id: 63
    common: true
    rows: 3
    description: A table
    variables:
      - {id: 255, name: word, type: STRING, access: read-only, values: {2: two, 0: zero},
         simulate: {shape: steps, period: 2s, values: [a, "", "~"]}}
      - {id: 0, name: n, type: UINT8, access: read-only, value: 7, values: [1],
         simulate: {shape: sine, low: [1, 2, 3], high: 200}}
)";

TEST(ModelYaml, WrittenAndReadAgainIsTheSame) {
    for (const LcmpModel& model :
         {loaded(everything), fileModel("standard"), fileModel("linecard48"), fileModel("fantray")}) {
        const std::string text = lcmpModelToYaml(model);
        EXPECT_EQ(lcmpModelToYaml(loaded(text)), text);
    }
}

TEST(ModelYaml, KeepsEveryValue) {
    const LcmpModel model = loaded(lcmpModelToYaml(loaded(everything)));
    EXPECT_EQ(model.card, "every \"thing\"");
    EXPECT_EQ(model.description, "line one\nline two");
    ASSERT_EQ(model.objects.size(), 2U);
    const auto variable = [&](const char* name) {
        const LcmpModelVariable* found = lcmpModelFindVariable(model.objects[0], name);
        return found == nullptr ? LcmpModelVariable() : *found;
    };
    EXPECT_EQ(variable("u64").id, 8388607U);
    EXPECT_EQ(variable("u64").defaultValue, LcmpModelValue(0xFFFFFFFFFFFFFFFFULL));
    EXPECT_EQ(variable("i64").defaultValue, LcmpModelValue(-9223372036854775807LL - 1));
    EXPECT_EQ(variable("i64").max, LcmpModelValue(5LL));
    ASSERT_EQ(variable("i8").allow.size(), 3U);
    EXPECT_EQ(variable("i8").allow[0].high, LcmpModelValue(-100LL));
    EXPECT_EQ(variable("truth").defaultValue, LcmpModelValue(true));
    EXPECT_STREQ(lcmpModelWordOf(variable("truth"), true), "yes");
    EXPECT_EQ(variable("text").defaultValue, LcmpModelValue(std::string("a\0\x01\"\\ß", 7)));
    EXPECT_EQ(variable("text").unit, "°");
    EXPECT_EQ(variable("ip").defaultValue, LcmpModelValue(0xFF000201ULL));
    EXPECT_EQ(variable("ip").values.at(0), LcmpModelValue(1ULL));
    EXPECT_EQ(variable("time").defaultValue, LcmpModelValue(1714564800LL));
    EXPECT_EQ(variable("bytes").defaultValue, LcmpModelValue(std::string(3, '\0')));
    EXPECT_EQ(variable("bytes").values.at(0), LcmpModelValue(std::string("\x00\x1b\xff", 3)));
    EXPECT_EQ(variable("mac").defaultValue, LcmpModelValue(std::string("\x00\x1b\x21\x3c\x4d\x5e", 6)));
    EXPECT_EQ(variable("u16").simulation->period.count(), 1500);
    EXPECT_EQ(variable("i32").simulation->low, std::vector<double>{-1000});
    EXPECT_EQ(variable("i32").simulation->step, std::vector<double>{0.25});
    EXPECT_EQ(variable("i32").simulation->seed, 4294967295U);
    EXPECT_EQ(variable("i16").simulation->rate, -0.125);
    const LcmpModelObject& table = model.objects[1];
    EXPECT_EQ(table.rows, 3U);
    EXPECT_EQ(table.variables[0].values.size(), 2U);
    EXPECT_EQ(table.variables[0].simulation->values[2], LcmpModelValue(std::string("~")));
    EXPECT_EQ(table.variables[1].values.at(0), LcmpModelValue(1ULL));
    EXPECT_EQ(table.variables[1].values.at(2), LcmpModelValue(7ULL));
    EXPECT_EQ(table.variables[1].simulation->low, (std::vector<double>{1, 2, 3}));
    EXPECT_EQ(table.variables[1].simulation->high, std::vector<double>{200});
}

// YAML has no way to write such a byte in a text.
TEST(ModelYaml, WritesBytesThatAreNoUtf8AsTheReplacementCharacter) {
    LcmpModel model = loaded(scalarWith({"id: 0, name: a, type: STRING, access: writable"}));
    model.objects[0].variables[0].values[0] = std::string("x\xff\xc0\x80y");
    const LcmpModel again = loaded(lcmpModelToYaml(model));
    EXPECT_EQ(again.objects[0].variables[0].values.at(0),
              LcmpModelValue(std::string("x\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBDy")));
}

}  // namespace
