// Names of variables and OIDs, both ways.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

#include "lcmpModel.h"

using namespace testing;

namespace {

const LcmpModel& model() { return lcmpModelStandard(); }

std::string problemOf(const std::string& name) {
    LcmpModelCell cell;
    std::string problem;
    return lcmpModelFindName(model(), name, cell, problem) ? "" : problem;
}

unsigned int oidOf(const std::string& name) {
    LcmpModelCell cell;
    std::string problem;
    EXPECT_TRUE(lcmpModelFindName(model(), name, cell, problem)) << problem;
    return cell.object == nullptr ? 0 : lcmpModelOid(cell);
}

std::string nameOf(unsigned int oid) {
    LcmpModelCell cell;
    return lcmpModelFindOid(model(), oid, cell) ? lcmpModelName(cell) : "";
}

TEST(ModelNames, EveryVariableIsFoundByItsNameAndItsOid) {
    std::set<unsigned int> oids;
    for (const LcmpModelObject& object : model().objects) {
        for (const LcmpModelVariable& variable : object.variables) {
            const LcmpModelCell cell = {&object, &variable, object.isTable() ? 16383U : 0U};
            const unsigned int oid = lcmpModelOid(cell);
            EXPECT_TRUE(oids.insert(oid).second);
            EXPECT_EQ(nameOf(oid), lcmpModelName(cell));
            EXPECT_EQ(oidOf(lcmpModelName(cell)), oid);
        }
    }
    EXPECT_EQ(oids.size(), 59U);
}

TEST(ModelNames, MeanTheirOids) {
    const std::vector<std::pair<const char*, unsigned int>> expected = {
        {"identity.cardType", 0x10800000},    {"control.bpClkRef", 0x11800002},
        {"download.clearErrors", 0x02000009}, {"temperature[2].value", 0x51404002},
        {"fileServer.password", 0x03800003},  {"operationalAlarm[0].id", 0x52800000},
    };
    for (const auto& [name, oid] : expected) {
        EXPECT_EQ(oidOf(name), oid) << name;
        EXPECT_EQ(nameOf(oid), name);
    }
}

TEST(ModelNames, AnOidThatTheModelDoesNotHaveHasNoName) {
    for (const unsigned int oid :
         {0x01800002U, 0x41404002U, 0x02800000U, 0x1080000CU, 0x80000000U, 0xFFFFFFFFU})
        EXPECT_EQ(nameOf(oid), "") << oid;
    EXPECT_EQ(nameOf(0x31800002), "control.bpClkRef") << "bit 29 is ignored";
}

TEST(ModelNames, AnUnknownNameSuggestsTheNearest) {
    EXPECT_EQ(problemOf("contrl.bpClkRef"),
              "'contrl.bpClkRef': there is no object 'contrl'; did you mean control.bpClkRef?");
    EXPECT_EQ(
        problemOf("temperature[1].valeu"),
        "'temperature[1].valeu': temperature has no variable 'valeu'; did you mean temperature[1].value?");
    EXPECT_EQ(problemOf("progress"),
              "'progress': there is no object 'progress'; did you mean download.progress?");
    EXPECT_EQ(problemOf("temperature[16384].value"),
              "'temperature[16384].value': row 16384 is beyond 0 to 16383");
}

TEST(ModelNames, TheNearestNameIsNotAnyName) {
    EXPECT_EQ(lcmpModelNearestName("defalt", {"id", "default", "length"}), "default");
    EXPECT_EQ(lcmpModelNearestName("MIN", {"max", "min"}), "min");
    EXPECT_EQ(lcmpModelNearestName("frobnicate", {"max", "min"}), "");
    EXPECT_EQ(lcmpModelNearestName("", {}), "");
}

TEST(ModelNames, NumbersHaveWords) {
    const LcmpModelObject* download = lcmpModelFindObject(model(), "download");
    ASSERT_NE(download, nullptr);
    const LcmpModelVariable* state = lcmpModelFindVariable(*download, "state");
    ASSERT_NE(state, nullptr);
    EXPECT_STREQ(lcmpModelWordOf(*state, 2ULL), "done");
    EXPECT_EQ(lcmpModelWordOf(*state, 4ULL), nullptr);
}

}  // namespace
