// Generated code builds the objects that the model builds.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fantray.h"
#include "lcmpModelGenerate.h"
#include "lcmpModelObjects.h"
#include "linecard48.h"
#include "modelText.h"
#include "standard.h"

using namespace testing;

namespace {

using Objects = std::vector<std::unique_ptr<LcmpObject>>;

LcmpModel fileModel(const std::string& name) {
    LcmpModel model;
    std::vector<LcmpModelError> errors;
    EXPECT_TRUE(lcmpModelLoadFile(LCMP_MODELS_DIR "/" + name + ".yaml", model, errors)) << name;
    return model;
}

std::string element(LcmpProperty& property) {
    std::string bytes(7 + property.length(), '\0');
    EXPECT_EQ(property.serialize(bytes.data(), static_cast<int>(bytes.size())),
              static_cast<int>(bytes.size()));
    return bytes;
}

// Values at, below and above the bounds of what the model says, and some words.
std::vector<std::string> writesFor(const LcmpModelVariable& variable) {
    std::vector<std::string> writes;
    const unsigned int width = lcmpTlvFixedWidth(variable.type);
    for (unsigned int number = 0; width != 0 && number < 66000; number += number < 300 ? 1 : 97) {
        std::string bytes;
        for (unsigned int i = width; i-- > 0;)
            bytes += static_cast<char>(i >= 4 ? 0 : number >> (8 * i));
        writes.push_back(bytes);
    }
    for (std::size_t length = 0; variable.type == STRING && length < 140; ++length) {
        for (const char* letter : {"a", "Z", "-", "_", "\n"})
            writes.push_back(std::string(length, letter[0]));
    }
    return writes;
}

std::size_t g_refused = 0;  // proves that there is something to compare

void expectSameRules(LcmpProperty& generated, LcmpProperty& expected, const LcmpModelVariable& variable) {
    for (const std::string& bytes : writesFor(variable)) {
        const int length = static_cast<int>(bytes.size());
        const bool valid = expected.validValue(bytes.data(), length);
        ASSERT_EQ(generated.validValue(bytes.data(), length), valid) << generated.getName();
        g_refused += valid ? 0 : 1;
    }
}

void expectSame(LcmpProperty& generated, LcmpProperty& expected) {
    EXPECT_EQ(generated.getName(), expected.getName());
    EXPECT_EQ(generated.getOid(), expected.getOid());
    EXPECT_EQ(generated.getType(), expected.getType());
    EXPECT_EQ(generated.getAccess(), expected.getAccess());
    EXPECT_EQ(generated.isEventable(), expected.isEventable());
    EXPECT_EQ(element(generated), element(expected)) << expected.getName();
    EXPECT_FALSE(generated.sendEvent());
    generated.setToDefault();
    expected.setToDefault();
    EXPECT_EQ(element(generated), element(expected)) << expected.getName();
}

void expectSameObjects(const std::string& name, const Objects& generated) {
    const LcmpModel model = fileModel(name);
    LcmpModelObjects loaded(model);
    const std::vector<LcmpObject*> expected = loaded.objects();
    ASSERT_EQ(generated.size(), expected.size());
    std::size_t compared = 0;
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(generated[i]->getName(), expected[i]->getName());
        EXPECT_EQ(generated[i]->getObjectType(), expected[i]->getObjectType());
        EXPECT_EQ(generated[i]->getId(), expected[i]->getId());
        EXPECT_EQ(generated[i]->isCommon(), expected[i]->isCommon());
        ASSERT_EQ(generated[i]->getRowCount(), expected[i]->getRowCount());
        const std::vector<LcmpProperty*> ours = generated[i]->getProperties();
        const std::vector<LcmpProperty*> theirs = expected[i]->getProperties();
        ASSERT_EQ(ours.size(), theirs.size());
        for (std::size_t p = 0; p < ours.size(); ++p, ++compared) {
            expectSame(*ours[p], *theirs[p]);
            LcmpModelCell cell;
            ASSERT_TRUE(lcmpModelFindOid(model, ours[p]->getOid(), cell));
            if (cell.row == 0)
                expectSameRules(*ours[p], *theirs[p], *cell.variable);
        }
    }
    EXPECT_GT(compared, 30U);
    EXPECT_GT(g_refused, 100U);
}

TEST(GeneratedCode, BuildsTheObjectsOfTheStandardCard) {
    expectSameObjects("standard", standard::makeObjects());
}

TEST(GeneratedCode, BuildsTheObjectsOfALineCard) {
    expectSameObjects("linecard48", linecard48::makeObjects());
}

TEST(GeneratedCode, BuildsTheObjectsOfAFanTray) { expectSameObjects("fantray", fantray::makeObjects()); }

TEST(GeneratedCode, KnowsTheOids) {
    EXPECT_EQ(standard::oid::control::bpClkRef, 0x11800002U);
    EXPECT_EQ(standard::oid::temperature::value(2), 0x51404002U);
    EXPECT_EQ(linecard48::oid::port::mtu(47), 0x4501002FU);
}

TEST(GeneratedCode, FillsObjectsOfAnotherClass) {
    class Control : public LcmpScalar {
    public:
        Control() : LcmpScalar("control", 3, true) { standard::fill_control(*this); }
    };
    Control control;
    EXPECT_THAT(control.getProperties(), SizeIs(4));
}

TEST(GeneratedCode, AKeywordGetsAnUnderscore) {
    const LcmpModelCode code =
        lcmpModelGenerate(loaded(scalarWith({"id: 0, name: default, type: UINT8, access: writable",
                                             "id: 1, name: default_, type: UINT8, access: writable"})),
                          "card");
    EXPECT_THAT(code.header, HasSubstr("constexpr unsigned int default__ = 0x02000000;"));
    EXPECT_THAT(code.header, HasSubstr("constexpr unsigned int default_ = 0x02000001;"));
}

TEST(GeneratedCode, TextsCannotLeaveTheirLiterals) {
    const LcmpModelCode code = lcmpModelGenerate(
        loaded("card: \"x\\\"\\n#error\"\nobjects:\n  - {name: s, kind: scalar, id: 4, variables: [{id: 0, "
               "name: a, "
               "type: STRING, access: writable, default: \"\\\"); abort(); (\\\"\\n1\"}]}\n"),
        "card");
    EXPECT_THAT(code.source, HasSubstr(R"(std::string("\"); abort(); (\"\0121", 17))"));
    EXPECT_THAT(code.source, HasSubstr(R"(of the card model "x\"\012#error".)"));
}

TEST(GeneratedCode, IsNamedByAnIdentifier) {
    for (const char* name : {"card", "_x9", "Card48"})
        EXPECT_TRUE(lcmpModelIsIdentifier(name)) << name;
    for (const char* name : {"", "9x", "a-b", "a b", "class", "a.b"})
        EXPECT_FALSE(lcmpModelIsIdentifier(name)) << name;
}

}  // namespace
