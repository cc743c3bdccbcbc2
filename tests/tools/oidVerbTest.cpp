#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "program.h"

namespace {

using nlohmann::json;
using testing::HasSubstr;

Ended oid(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "oid");
    return run(arguments);
}

TEST(OidVerb, ComposesFromANameAndTakesApart) {
    EXPECT_EQ(oid({"control.bpClkRef"}).out,
              "0x11800002  scalar object: common = 1, group id = 3, variable id = 2  control.bpClkRef\n");
    EXPECT_EQ(
        oid({"0x50c10005", "temperature[2].value"}).out,
        "0x50c10005  table object: common = 1, table id = 3, column = 4, row = 5\n"
        "0x51404002  table object: common = 1, table id = 5, column = 1, row = 2  temperature[2].value\n");
    EXPECT_EQ(oid({"293601282", "-o", "value"}).out, "0x11800002\n");
}

TEST(OidVerb, ComposesFromFields) {
    EXPECT_EQ(oid({"--table", "3", "--column", "4", "--row", "5", "--common", "-o", "value"}).out,
              "0x50c10005\n");
    EXPECT_EQ(oid({"--table", "63", "--column", "255", "--row", "16383", "-o", "value"}).out, "0x4fffffff\n");
    EXPECT_EQ(oid({"--group", "2", "--variable", "7", "-o", "value"}).out, "0x01000007\n");
    EXPECT_EQ(oid({"--group", "31", "--variable", "8388607", "-o", "value"}).out, "0x0fffffff\n");
    EXPECT_EQ(oid({"--group", "3", "--common", "--variable", "3", "-o", "text"}).out,
              "0x11800003  scalar object: common = 1, group id = 3, variable id = 3  control.guid\n");
    EXPECT_EQ(oid({"--group", "0", "-o", "value"}).out, "0x00000000\n");
}

TEST(OidVerb, AsCsvIsATable) {
    EXPECT_EQ(oid({"0x50c10005", "control.bpClkRef", "-o", "csv"}).out,
              "oid,kind,common,id,variable,row,name,type,access\n"
              "0x50c10005,table,true,3,4,5,,,\n"
              "0x11800002,scalar,true,3,2,,control.bpClkRef,UINT8,writable\n");
}

TEST(OidVerb, AsJsonHasAFieldForEveryBitField) {
    const json all = json::parse(oid({"0x50c10005", "control.bpClkRef", "--json"}).out);
    ASSERT_EQ(all.size(), 2U);
    EXPECT_EQ(all[0], json({{"oid", "0x50c10005"},
                            {"number", 0x50C10005U},
                            {"kind", "table"},
                            {"common", true},
                            {"id", 3},
                            {"column", 4},
                            {"row", 5}}));
    EXPECT_EQ(all[1], json({{"oid", "0x11800002"},
                            {"number", 0x11800002U},
                            {"kind", "scalar"},
                            {"common", true},
                            {"id", 3},
                            {"variable", 2},
                            {"name", "control.bpClkRef"},
                            {"type", "UINT8"},
                            {"access", "writable"}}));
    EXPECT_EQ(json::parse(oid({"identity.ifcSlot", "-o", "jsonl"}).out)["access"], "read-only");
}

TEST(OidVerb, AnInvalidOidIsUnresolvedAndSaysWhy) {
    for (const char* text :
         {"0x80000000", "0xC0000000", "0x1FFFFFFF", "0x12000001", "0x100000000", "12abc"}) {
        const Ended ended = oid({text});
        EXPECT_EQ(ended.status, 7) << text;
        EXPECT_EQ(ended.out, "");
        EXPECT_THAT(ended.err, HasSubstr("'" + std::string(text) + "'"));
    }
    const Ended ended = oid({"--group", "4", "--common"});
    EXPECT_EQ(ended.status, 7);
    EXPECT_THAT(ended.err, HasSubstr("a common scalar has a group id of 0 to 3, not 4"));
}

}  // namespace
