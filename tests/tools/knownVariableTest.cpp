#include "knownVariable.h"

#include <gtest/gtest.h>

#include "wiresharkNames.h"

namespace {

tool::Element element(LcmpTlvType type, const std::string& text) {
    tool::Element made;
    tool::parseValue(type, text, made);
    return made;
}

TEST(KnownVariable, IsNamedWithItsRowAndItsUnit) {
    const tool::KnownVariable known = tool::knownVariable(0x51404002);
    EXPECT_EQ(known.name, "temperature[2].value");
    EXPECT_EQ(known.unit, "°C");
}

TEST(KnownVariable, AnOidThatNobodyHasIsNamedNothing) {
    for (const unsigned int oid : {0x04800000U, 0xC0000001U, 0x12000001U})
        EXPECT_EQ(tool::knownVariable(oid).name, "") << oid;
}

TEST(KnownVariable, AWordStandsForAnIntegerOfAnyTypeAndForABoolean) {
    tool::KnownVariable known;
    known.words = {{-1, "off"}, {1, "on"}, {2, "dim"}};
    EXPECT_EQ(known.wordFor(element(UINT8, "2")), "dim");
    EXPECT_EQ(known.wordFor(element(INT64, "-1")), "off");
    EXPECT_EQ(known.wordFor(element(UINT64, "18446744073709551615")), "");
    EXPECT_EQ(known.wordFor(element(UINT8, "3")), "");
    EXPECT_EQ(known.wordFor(element(BOOLEAN, "true")), "on");
    EXPECT_EQ(known.wordFor(element(STRING, "2")), "");
    EXPECT_EQ(known.wordFor(element(UNIX_TIME, "2")), "");
    EXPECT_EQ(known.wordFor(element(IPv4ADDRESS, "2.0.0.0")), "");
}

TEST(KnownVariable, AValueThatIsNoneHasNoWord) {
    tool::KnownVariable known;
    known.words = {{0, "off"}};
    tool::Element value = element(UINT32, "0");
    value.tlv().len = 2;
    EXPECT_EQ(known.wordFor(value), "");
    EXPECT_EQ(known.wordFor(tool::Element()), "");
}

// The dissector knows what stands in its names file, and nothing else.
TEST(KnownVariable, IsCalledAsInTheDissectorsNamesOfEveryModel) {
    for (const char* file : {"standard", "linecard48", "fantray"}) {
        LcmpModel model;
        std::vector<LcmpModelError> errors;
        ASSERT_TRUE(lcmpModelLoadFile(std::string(LCMP_MODELS_DIR) + "/" + file + ".yaml", model, errors));
        const std::vector<tool::NamedVariable> named = tool::namedVariables(model);
        ASSERT_FALSE(named.empty());
        for (const tool::NamedVariable& variable : named) {
            const bool isTable = lcmpModelFindObject(model, variable.object)->isTable();
            const tool::KnownVariable known = tool::knownVariable(variable.oid, model);
            EXPECT_EQ(known.name, variable.object + (isTable ? "[0]." : ".") + variable.variable);
            EXPECT_EQ(known.unit, variable.unit);
            EXPECT_EQ(known.words, variable.words);
        }
    }
}

TEST(KnownVariable, OfAnotherModelIsNotTheStandardCards) {
    const LcmpModel empty;
    EXPECT_EQ(tool::knownVariable(0x11800002, empty).name, "");
}

}  // namespace
