// What is wrong with a model is said, all of it, with its place.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

#include "modelText.h"

using namespace testing;

namespace {

const char* const good = "id: 0, name: a, type: UINT8, access: writable";

TEST(ModelLoading, TellsEverythingAtOnceByLineAndColumn) {
    const std::string text =
        "card: c\n"
        "objects:\n"
        "  - name: control\n"
        "    kind: scalar\n"
        "    id: 32\n"
        "    variables:\n"
        "      - {id: 2, name: a, type: UINT9, access: writable}\n"
        "      - {id: 2, name: b, type: UINT8, access: sometimes, defalt: 3}\n"
        "  - name: control\n"
        "    kind: tabel\n"
        "    id: 99\n"
        "    rows: 3\n"
        "    variables:\n"
        "      - {id: 0, name: a, type: UINT8, access: writable, values: [1, 2, x]}\n"
        "  - name: other\n"
        "    kind: skalar\n";
    EXPECT_THAT(
        faultsOf(text),
        ElementsAre(
            "5:9: group id 32 is beyond 0 to 31", "7:32: there is no type 'UINT9'; did you mean UINT8?",
            "8:14: the id 2 is taken since line 7", "8:47: access is writable or read-only, not 'sometimes'",
            "8:58: a variable has no key 'defalt'; did you mean default?",
            "9:11: the name 'control' is taken since line 3", "10:11: kind is scalar or table, not 'tabel'",
            "14:72: values: 'x' is no UINT8: a whole number from 0 to 255, decimal or 0x",
            "15:5: an object needs the key 'id'", "15:5: an object needs the key 'variables'",
            "16:11: kind is scalar or table, not 'skalar'"));
}

struct Case {
    const char* entries;  // of a variable; the first one stands in column 8
    std::vector<std::string> faults;
};

TEST(ModelLoading, SaysWhatIsWrongWithAVariable) {
    const std::vector<Case> cases = {
        {good, {}},
        {"id: 0, name: a, type: UINT8", {"7:7: a variable needs the key 'access'"}},
        {"id: x, name: a, type: UINT8, access: writable",
         {"7:12: id is a number from 0 to 8388607, not 'x'"}},
        {"id: 8388608, name: a, type: UINT8, access: writable", {"7:12: id 8388608 is beyond 0 to 8388607"}},
        {"id: -1, name: a, type: UINT8, access: writable", {"7:12: id -1 is beyond 0 to 8388607"}},
        {"id: 0, name: 1a, type: UINT8, access: writable",
         {"7:21: the name '1a' is none: letters, digits and _, not a digit first, at most 63 of them"}},
        {"id: 0, name: [a], type: UINT8, access: writable",
         {"7:21: name is a single value, and here is a list"}},
        {"id: 0, name: a, name: b, type: UINT8, access: writable", {"7:24: the key 'name' a second time"}},
        {"id: 0, name: a, type: UINT8, access: writable, zzzzzzzzzzzz: 1",
         {"7:55: a variable has no key 'zzzzzzzzzzzz'; it has id, name, type, access, default, min, max, "
          "allow, "
          "maxLength, length, pattern, eventable, unit, description, names, simulate, value, values"}},
        {"id: 0, name: a, type: UINT8, access: writable, eventable: yes",
         {"7:66: eventable is true or false, not 'yes'"}},
        // values
        {"id: 0, name: a, type: UINT8, access: writable, default: 256",
         {"7:64: default: 256 does not fit UINT8, which holds 0 to 255"}},
        {"id: 0, name: a, type: UINT8, access: writable, default:",
         {"7:63: default is a single value, and here is nothing"}},
        {"id: 0, name: a, type: UINT8, access: writable, value: x",
         {"7:62: value: 'x' is no UINT8: a whole number from 0 to 255, decimal or 0x"}},
        {"id: 0, name: a, type: UINT8, access: writable, values: [1]",
         {"7:63: a scalar has no rows; write value instead of values"}},
        {"id: 0, name: a, type: MAC_ADDRESS, access: writable, default: 1",
         {"7:70: default: '1' is no MAC_ADDRESS: six bytes like 00:1b:21:3c:4d:5e"}},
        // rules
        {"id: 0, name: a, type: UINT8, access: writable, default: 4, allow: [0-3, 128]",
         {"7:64: default: 4 is not allowed: 0 to 3, 128"}},
        {"id: 0, name: a, type: UINT8, access: writable, allow: [1-3]",
         {"7:7: a default is needed: 0 is not allowed: 1 to 3"}},
        {"id: 0, name: a, type: UINT8, access: writable, allow: [3-1, 300, 0-x]",
         {"7:63: the range 3-1 ends below its beginning",
          "7:68: allow: 300 does not fit UINT8, which holds 0 to 255",
          "7:73: allow: 'x' is no UINT8: a whole number from 0 to 255, decimal or 0x"}},
        {"id: 0, name: a, type: UINT8, access: writable, allow: 3",
         {"7:62: allow is a list of numbers and ranges, like [0-3, 128]"}},
        {"id: 0, name: a, type: INT8, access: writable, min: 5, max: -5",
         {"7:7: a default is needed: 0 is not allowed: nothing is", "7:67: max is below min"}},
        {"id: 0, name: a, type: UINT8, access: writable, min: 5, default: 5, allow: [0-4]",
         {"7:72: default: 5 is not allowed: nothing is", "7:82: min and max leave nothing of allow"}},
        {"id: 0, name: a, type: BOOLEAN, access: writable, min: 0", {"7:62: a BOOLEAN takes no 'min'"}},
        {"id: 0, name: a, type: UINT8, access: writable, length: 1", {"7:63: a UINT8 takes no 'length'"}},
        {"id: 0, name: a, type: STRING, access: writable, length: 3, maxLength: 3",
         {"7:64: length and maxLength exclude each other"}},
        {"id: 0, name: a, type: STRING, access: writable, default: abcd, maxLength: 3",
         {"7:65: default: 4 bytes are too long: at most 3"}},
        {"id: 0, name: a, type: STRING, access: writable, default: ab, length: 3",
         {"7:65: default: 2 bytes are too short: at least 3"}},
        {"id: 0, name: a, type: STRING, access: writable, length: 36", {}},  // nothing is known yet
        {"id: 0, name: a, type: STRING, access: writable, default: x1, pattern: '[a-z]*'",
         {"7:65: default: 'x1' does not match the pattern [a-z]*"}},
        {"id: 0, name: a, type: STRING, access: writable, pattern: '[a-z'",
         {"7:65: pattern: it is no POSIX extended regular expression"}},
        {"id: 0, name: a, type: STRING, access: writable, pattern: 'a)|(b'",
         {"7:65: pattern: a ) closes nothing"}},
        {"id: 0, name: a, type: STRING, access: writable, pattern: '(a'",
         {"7:65: pattern: a ( is not closed"}},
        {"id: 0, name: a, type: STRING, access: writable, pattern: '(a)\\1'",
         {"7:65: pattern: it refers back to a group, which is not supported"}},
        {"id: 0, name: a, type: STRING, access: writable, pattern: '((a{200}){200}){200}'",
         {"7:65: pattern: its counts multiply to more than 1000"}},
        {"id: 0, name: a, type: STRING, access: writable, pattern: '[](){9}]*[[:alpha:])]*'", {}},
        {"id: 0, name: a, type: BYTE_ARRAY, access: writable, length: 2, default: 00",
         {"7:80: default has 1 bytes, and length says 2"}},
        // words
        {"id: 0, name: a, type: UINT8, access: writable, names: {1: x, 0x1: y, 2: x}",
         {"7:69: the number 0x1 has a word already", "7:80: the word 'x' is that of another number already"}},
        {"id: 0, name: a, type: STRING, access: writable, names: {1: x}",
         {"7:63: a STRING takes no 'names'"}},
    };
    for (const Case& c : cases)
        EXPECT_THAT(faultsOfVariable(c.entries), ElementsAreArray(c.faults)) << c.entries;
}

TEST(ModelLoading, SaysWhatIsWrongWithASimulation) {
    const std::string head = "id: 0, name: a, type: UINT8, access: writable, simulate: ";
    const std::vector<Case> cases = {
        {"{shape: sine, low: 1, high: 2}", {}},
        {"{low: 1}", {"7:65: simulate needs the key 'shape'"}},
        {"{shape: sinus, low: 1}", {"7:73: there is no shape 'sinus'; did you mean sine?"}},
        {"{shape: ramp, low: 1}", {"7:65: simulate needs the key 'high'"}},
        {"{shape: ramp, low: 3, high: 2}", {"7:93: high is below low"}},
        {"{shape: ramp, low: 0, high: 256}", {"7:93: high 256 does not fit UINT8"}},
        {"{shape: ramp, low: -0.5, high: 2}", {"7:84: low -0.5 does not fit UINT8"}},
        {"{shape: ramp, low: x, high: 2}", {"7:84: low is a number, not 'x'"}},
        {"{shape: ramp, low: 1, high: inf}", {"7:93: high is a number, not 'inf'"}},
        {"{shape: ramp, low: [1, 2], high: 3}", {"7:84: low has 2 numbers, and the object has 1 rows"}},
        {"{shape: walk, low: 1, high: 2, step: -1}", {"7:102: step is below 0"}},
        {"{shape: ramp, low: 1, high: 2, period: 0}", {"7:104: period is 0"}},
        {"{shape: ramp, low: 1, high: 2, period: soon}",
         {"7:104: period: 'soon' is no time; write 500ms, 5s, 2min or 1h"}},
        {"{shape: counter, low: 1}", {"7:87: the shape counter does not take 'low'"}},
        {"{shape: steps, values: []}", {"7:88: values is a list of values, and here is none"}},
        {"{shape: steps, values: [1, 256]}", {"7:92: values: 256 does not fit UINT8, which holds 0 to 255"}},
        {"ramp", {"7:65: simulate is a map, and here is a single value"}},
    };
    for (const Case& c : cases)
        EXPECT_THAT(faultsOfVariable(head + c.entries), ElementsAreArray(c.faults)) << c.entries;
    EXPECT_THAT(
        faultsOfVariable(
            "id: 0, name: a, type: STRING, access: writable, simulate: {shape: sine, low: 1, high: 2}"),
        ElementsAre("7:74: a STRING cannot move as sine; steps suits every type"));
}

TEST(ModelLoading, SaysWhatIsWrongWithATable) {
    const std::string head = "id: 0, name: a, type: UINT8, access: writable, ";
    EXPECT_THAT(faultsOf(tableWith({head + "values: [1, 2, 3, 4]"})), IsEmpty());
    EXPECT_THAT(faultsOf(tableWith({head + "values: [1, 2, 3, 4, 5]"})),
                ElementsAre("7:61: 5 values, and the table has 4 rows"));
    EXPECT_THAT(faultsOf(tableWith({head + "values: {4: 1, 0: 2, 0x0: 3}"})),
                ElementsAre("7:62: the row 4 is beyond 0 to 3", "7:74: the row 0x0 a second time"));
    EXPECT_THAT(faultsOf(tableWith({"id: 256, name: a, type: UINT8, access: writable"})),
                ElementsAre("7:10: id 256 is beyond 0 to 255"));
    EXPECT_THAT(
        faultsOf("card: c\nobjects:\n - {name: t, kind: table, id: 64, rows: 16385, variables: []}\n"),
        ElementsAre("3:31: table id 64 is beyond 0 to 63", "3:41: rows 16385 is beyond 1 to 16384"));
    EXPECT_THAT(
        faultsOf(
            "card: c\nobjects:\n - {name: s, kind: scalar, id: 4, common: true, rows: 2, variables: []}\n"),
        ElementsAre("3:32: group id of a common scalar 4 is beyond 0 to 3", "3:55: a scalar has no rows"));
}

TEST(ModelLoading, ObjectsMayShareAnIdOnlyWhereTheirOidsDiffer) {
    const auto object = [](const char* name, const char* rest) {
        return std::string(" - {name: ") + name + ", id: 2, variables: [], " + rest + "}\n";
    };
    const std::string head = "card: c\nobjects:\n";
    EXPECT_THAT(
        faultsOf(head + object("a", "kind: scalar") + object("b", "kind: scalar, common: true") +
                 object("c", "kind: table, rows: 1") + object("d", "kind: table, rows: 1, common: true")),
        IsEmpty());
    EXPECT_THAT(faultsOf(head + object("a", "kind: scalar") + object("b", "kind: scalar")),
                ElementsAre("4:18: the group id 2 is taken since line 3"));
}

TEST(ModelLoading, RefusesWhatIsNoModel) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"", "a model is a map, and here is nothing"},
        {"x", "1:1: a model is a map, and here is a single value"},
        {"[1]", "1:1: a model is a map, and here is a list"},
        {"card: c\nobjects: 3\n", "2:10: objects is a list, and here is a single value"},
        {"card: c\nobjects: [3]\n", "2:11: an object is a map, and here is a single value"},
        {"card: c\n", "1:1: a model needs the key 'objects'"},
        {"card: c\nobjects: []\n---\ncard: d\n", "3:1: a second document begins; a model is one document"},
        {"card: c\ndescription: gr\xfcn\nobjects: []\n",
         "2:14: bytes that are no UTF-8; save the file as UTF-8"},
        {"card: &x c\nobjects: [*x]\n", "2:11: aliases are not supported; write out what is meant"},
        {"card: c\nobjects: []\n[a]: b\n", "3:1: a key is a word, and here is a list"},
    };
    for (const auto& [text, fault] : cases)
        EXPECT_THAT(faultsOf(text), Contains(HasSubstr(fault))) << text;
    EXPECT_THAT(faultsOf("card: [c\nobjects: []\n"), ElementsAre(HasSubstr(": no YAML: ")));
}

TEST(ModelLoading, LeavesTheModelAloneWhenItFails) {
    LcmpModel model = loaded(scalarWith({good}));
    std::vector<LcmpModelError> errors;
    EXPECT_FALSE(lcmpModelLoadText("card: other", "f", model, errors));
    EXPECT_EQ(model.card, "c");
    EXPECT_TRUE(lcmpModelLoadText("card: other\nobjects: []", "f", model, errors));
    EXPECT_EQ(model.card, "other");
    EXPECT_THAT(errors, IsEmpty());
}

TEST(ModelLoading, AFileThatIsNotThereIsNamed) {
    LcmpModel model;
    std::vector<LcmpModelError> errors;
    EXPECT_FALSE(lcmpModelLoadFile("/nowhere/x.yaml", model, errors));
    ASSERT_THAT(errors, SizeIs(1));
    EXPECT_EQ(lcmpModelErrorText(errors[0]), "/nowhere/x.yaml: cannot be read: No such file or directory");
    EXPECT_FALSE(lcmpModelLoadFile("/", model, errors));
    EXPECT_THAT(lcmpModelErrorText(errors.at(0)), HasSubstr("/: cannot be read: "));
}

// ---------------------------------------------------------------- limits

std::string nested(unsigned int depth) { return std::string(depth, '[') + std::string(depth, ']'); }

TEST(ModelLoading, StopsAtTheDeepestNesting) {
    EXPECT_THAT(faultsOf("card: c\nobjects: []\nx: " + nested(lcmpModelMaxDepth - 1)),
                ElementsAre(StartsWith("3:1: a model has no key 'x'")));
    const char* tooDeep = "more than 16 lists and maps inside each other";
    EXPECT_THAT(faultsOf("x: " + nested(lcmpModelMaxDepth)), ElementsAre(HasSubstr(tooDeep)));
    EXPECT_THAT(faultsOf("x: " + nested(100000)), ElementsAre(HasSubstr(tooDeep)));
    std::string block;
    for (unsigned int depth = 0; depth < 2000; ++depth)
        block += "- ";
    EXPECT_THAT(faultsOf(block + "x"), ElementsAre(HasSubstr(tooDeep)));
    std::string maps;
    for (unsigned int depth = 0; depth < 1000; ++depth)
        maps += std::string(depth, ' ') + "a:\n";
    EXPECT_THAT(faultsOf(maps), ElementsAre(HasSubstr(tooDeep)));
}

TEST(ModelLoading, StopsAtTheLargestFile) {
    const std::string text = "card: c\nobjects: []\n#";
    const std::string filling(lcmpModelMaxBytes - text.size(), 'x');
    EXPECT_THAT(faultsOf(text + filling), IsEmpty());
    EXPECT_THAT(faultsOf(text + filling + "x"), ElementsAre(" more than 4194304 bytes"));
}

TEST(ModelLoading, StopsAtTheMostValues) {
    std::string text = "x: [";
    for (unsigned int i = 0; i < lcmpModelMaxNodes; ++i)
        text += "1,";
    EXPECT_THAT(faultsOf(text + "]"), ElementsAre(HasSubstr("more than 500000 values")));
}

TEST(ModelLoading, StopsAtTheMostVariables) {
    const auto tableOf = [](unsigned int columns) {
        std::string text = "card: c\nobjects:\n - {name: t, kind: table, id: 1, rows: 16384, variables: [\n";
        for (unsigned int id = 0; id < columns; ++id)
            text += "{id: " + std::to_string(id) + ", name: a" + std::to_string(id) +
                    ", type: UINT8, access: read-only},\n";
        return text + "]}\n";
    };
    EXPECT_THAT(faultsOf(tableOf(16)), IsEmpty());
    EXPECT_THAT(faultsOf(tableOf(17)),
                ElementsAre(HasSubstr("more than 262144 variables, each counted once for each row")));
}

TEST(ModelLoading, StopsAtTheMostBytesOfTexts) {
    const auto tableOf = [](std::size_t bytes) {
        return "card: c\nobjects:\n - {name: t, kind: table, id: 1, rows: 16384, variables: [\n"
               "{id: 0, name: a, type: STRING, access: read-only, default: " +
               std::string(bytes, 'x') + "}]}\n";
    };
    EXPECT_THAT(faultsOf(tableOf(1024)), IsEmpty());
    EXPECT_THAT(faultsOf(tableOf(1025)),
                ElementsAre(HasSubstr("the texts of all rows have more than 16777216 bytes")));
    EXPECT_THAT(faultsOf("card: c\nobjects:\n - {name: t, kind: table, id: 1, rows: 16384, variables: [\n"
                         "{id: 0, name: a, type: BYTE_ARRAY, access: read-only, length: 65535}]}\n"),
                ElementsAre(HasSubstr("the texts of all rows")));
}

TEST(ModelLoading, TellsAHundredErrorsAndHowManyMoreThereAre) {
    std::vector<std::string> variables(150, "id: x, name: y1, type: UINT8, access: writable");
    for (std::size_t i = 0; i < variables.size(); ++i)
        variables[i] = "id: x, name: y" + std::to_string(i) + ", type: UINT8, access: writable";
    const std::vector<std::string> faults = faultsOf(scalarWith(variables));
    ASSERT_THAT(faults, SizeIs(101));
    EXPECT_EQ(faults.back(), " and 50 more errors");
}

TEST(ModelLoading, ManyUnknownKeysTakeNoLongTime) {
    std::string text = "card: c\nobjects: []\n";
    for (int i = 0; i < 100000; ++i)
        text += "k" + std::to_string(i) + ": 1\n";
    EXPECT_THAT(faultsOf(text), SizeIs(101));
}

}  // namespace
