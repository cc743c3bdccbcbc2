#include "snapshot.h"

#include <gtest/gtest.h>

#include "difference.h"

namespace {

using tool::Element;
using tool::heldValue;
using tool::Snapshot;

Element element(LcmpTlvType type, const std::string& text) {
    Element made(0x01000000);
    tool::parseValue(type, text, made);
    return made;
}

LcmpModel loaded(const std::string& text) {
    LcmpModel model;
    std::vector<LcmpModelError> errors;
    EXPECT_TRUE(lcmpModelLoadText(text, "test", model, errors));
    return model;
}

TEST(HeldValue, IsWhatTheModelHoldsForEveryType) {
    struct Case {
        LcmpTlvType type;
        const char* text;
    };
    const Case cases[] = {{UINT64, "18446744073709551615"},
                          {UINT32, "4294967295"},
                          {UINT16, "65535"},
                          {UINT8, "255"},
                          {INT64, "-5"},
                          {INT32, "-2147483648"},
                          {INT16, "-1"},
                          {INT8, "-128"},
                          {BOOLEAN, "true"},
                          {STRING, "abc"},
                          {STRING, ""},
                          {IPv4ADDRESS, "192.0.2.200"},
                          {UNIX_TIME, "-1"},
                          {BYTE_ARRAY, "00ff"},
                          {MAC_ADDRESS, "02:aa:bb:cc:dd:ee"}};
    for (const Case& one : cases) {
        LcmpModelValue expected;
        std::string problem;
        ASSERT_TRUE(lcmpModelParseValue(one.type, one.text, expected, problem)) << problem;
        EXPECT_EQ(heldValue(element(one.type, one.text)), expected) << one.text;
    }
}

TEST(HeldValue, IsNoneOfAWrongLength) {
    Element cut = element(STRING, "abc");
    for (const LcmpTlvType type : {UINT32, IPv4ADDRESS, UNIX_TIME, MAC_ADDRESS, BOOLEAN}) {
        cut.tlv().type = static_cast<std::uint8_t>(type);
        EXPECT_FALSE(heldValue(cut)) << type;
    }
    cut.tlv().type = 99;
    EXPECT_FALSE(heldValue(cut));
}

TEST(Snapshot, OfAModelHasTheFirstValueOfEveryVariable) {
    const LcmpModel model = loaded(
        "card: c\nobjects:\n  - name: t\n    kind: table\n    id: 1\n    rows: 3\n    variables:\n"
        "      - {id: 0, name: v, type: UINT8, access: read-only, default: 7, values: {1: 9}}\n");
    std::string text;
    for (const tool::Held& held : tool::snapshotOf(model))
        text += held.variable.name + "=" + tool::plainText(held.value) + " ";
    EXPECT_EQ(text, "t[0].v=7 t[1].v=9 t[2].v=7 ");
}

TEST(Snapshot, OfAnEmptyModelIsEmpty) {
    EXPECT_TRUE(tool::snapshotOf(loaded("card: c\nobjects: []\n")).empty());
}

TEST(Differences, AreNoneOfASnapshotAndItself) {
    const Snapshot snapshot = tool::snapshotOf(lcmpModelStandard());
    EXPECT_TRUE(tool::differences(snapshot, snapshot, {}).empty());
}

TEST(Differences, AreToldInTheOrderOfTheLeftThenOfTheRight) {
    Snapshot left = tool::snapshotOf(lcmpModelStandard());
    Snapshot right = left;
    right.erase(right.begin());
    left.erase(left.begin() + 1);
    std::string text;
    for (const tool::Difference& one : tool::differences(left, right, {}))
        text += one.any().variable.name + (one.left != nullptr ? " left " : " right ");
    EXPECT_EQ(text, "identity.cardType left identity.hardwareVersion right ");
}

}  // namespace
