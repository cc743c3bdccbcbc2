#include "standardNames.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

#include "lcmpCardVariables.h"
#include "support/failureOf.h"

namespace {

using testing::HasSubstr;
using testing::StartsWith;
using tool::resolveVariable;
using tool::Variable;
using tool::variableOfOid;

std::string failureOfName(const std::string& name) {
    return failureOf([&] { resolveVariable(name); });
}

TEST(StandardNames, EveryVariableOfTheCatalogueHasANameAndItsOidLeadsBack) {
    std::set<std::string> names;
    for (const CardVariableGroup& group : lcmpCardVariableGroups()) {
        const bool isTable = group.kind == ifcCard::IFC_CARD_OBJECT_TABLE;
        for (const CardVariableDef& definition : group.variables) {
            const auto id = static_cast<unsigned int>(definition.id);
            const unsigned int oid = isTable ? LcmpTable("", group.number, group.common, 0).getOID(id, 16383)
                                             : LcmpScalar("", group.number, group.common).getOID(id, 0);
            const Variable byOid = variableOfOid(oid);
            ASSERT_NE(byOid.definition, nullptr) << group.number << ' ' << id;
            EXPECT_EQ(resolveVariable(byOid.name).oid, oid);
            EXPECT_EQ(resolveVariable(byOid.name).type, static_cast<LcmpTlvType>(definition.type));
            EXPECT_TRUE(names.insert(byOid.name).second) << byOid.name << " twice";
        }
    }
    EXPECT_EQ(names.size(), 59U);
}

TEST(StandardNames, ObjectsHaveTheirKindsAndRows) {
    const std::vector<std::pair<const char*, unsigned int>> expected = {
        {"identity", 1},      {"alarms", 1},           {"control", 1},        {"download", 1},
        {"temperature", 4},   {"voltage", 4},          {"fileServer", 1},     {"logRetrieval", 1},
        {"hardwareError", 8}, {"operationalAlarm", 8}, {"voltageMonitor", 1},
    };
    ASSERT_EQ(lcmpModelStandard().objects.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        const LcmpModelObject& object = lcmpModelStandard().objects[i];
        EXPECT_EQ(object.name, expected[i].first);
        EXPECT_EQ(object.rows, expected[i].second) << object.name;
        EXPECT_EQ(object.isTable(), object.rows > 1) << object.name;
    }
}

TEST(StandardNames, AreThoseOfTheModelThatIsGiven) {
    LcmpModel model;
    std::vector<LcmpModelError> errors;
    ASSERT_TRUE(lcmpModelLoadText(
        "card: c\nobjects: [{name: fan, kind: table, id: 5, common: true, rows: 2, variables: "
        "[{id: 1, name: speed, type: UINT16, access: read-only, unit: 1/min}]}]",
        "f", model, errors));
    EXPECT_EQ(resolveVariable("fan[1].speed", model).oid, 0x51404001U);
    EXPECT_EQ(variableOfOid(0x51404001, model).name, "fan[1].speed");
    EXPECT_STREQ(variableOfOid(0x51404001, model).unit, "1/min");
    EXPECT_EQ(variableOfOid(0x51404001).name, "temperature[1].value");
    EXPECT_EQ(failureOf([&] { resolveVariable("control.bpClkRef", model); }),
              "7: 'control.bpClkRef': there is no object 'control'");
}

TEST(StandardNames, NamesMeanTheirOids) {
    const std::vector<std::pair<const char*, unsigned int>> expected = {
        {"identity.cardType", 0x10800000},
        {"identity.cardCapability", 0x1080000B},
        {"alarms.dpllActiveCtrlClkAlarm", 0x11000003},
        {"control.bpClkRef", 0x11800002},
        {"control.guid", 0x11800003},
        {"download.clearErrors", 0x02000009},
        {"temperature[2].value", 0x51404002},
        {"voltage[3].nominal", 0x51808003},
        {"fileServer.password", 0x03800003},
        {"logRetrieval.state", 0x04000002},
        {"hardwareError[7].active", 0x52408007},
        {"operationalAlarm[0].id", 0x52800000},
        {"voltageMonitor.updateFailed", 0x05800003},
        {"temperature[16383].max", 0x51413FFF},
    };
    for (const auto& [name, oid] : expected) {
        EXPECT_EQ(resolveVariable(name).oid, oid) << name;
        EXPECT_EQ(resolveVariable(name).name, name);
        EXPECT_EQ(variableOfOid(oid).name, name);
    }
}

TEST(StandardNames, AnOidOfTheStandardCardIsTheSameVariable) {
    EXPECT_EQ(resolveVariable("0x11800002").name, "control.bpClkRef");
    EXPECT_EQ(resolveVariable("0X11800002").name, "control.bpClkRef");
    EXPECT_EQ(resolveVariable("293601282").name, "control.bpClkRef");
    EXPECT_EQ(resolveVariable("0x11800002").type, UINT8);
}

TEST(StandardNames, AnOidOfAnotherCardKeepsItsNumberAndHasNoType) {
    const Variable variable = resolveVariable("0x50C10005");
    EXPECT_EQ(variable.oid, 0x50C10005U);
    EXPECT_EQ(variable.name, "0x50c10005");
    EXPECT_EQ(variable.definition, nullptr);
    EXPECT_FALSE(variable.type.has_value());
    EXPECT_STREQ(variable.unit, "");
}

TEST(StandardNames, ObjectsThatOnlyResembleStandardOnesHaveNoName) {
    EXPECT_EQ(variableOfOid(0x01800002).name, "0x01800002") << "control, but not common";
    EXPECT_EQ(variableOfOid(0x41404002).name, "0x41404002") << "temperature, but not common";
    EXPECT_EQ(variableOfOid(0x02800000).name, "0x02800000") << "a scalar of the group id of a table";
    EXPECT_EQ(variableOfOid(0x10800000 + 12).name, "0x1080000c") << "behind the last variable";
    EXPECT_EQ(variableOfOid(0x80000000).name, "0x80000000") << "no valid OID";
}

TEST(StandardNames, TheUnusedBitOfAnOidDoesNotHideItsName) {
    EXPECT_EQ(variableOfOid(0x31800002).name, "control.bpClkRef");
    EXPECT_EQ(variableOfOid(0x31800002).oid, 0x31800002U);
}

TEST(StandardNames, ATypeMayFollowAName) {
    EXPECT_EQ(resolveVariable("0x50c10005:UINT32").type, UINT32);
    EXPECT_EQ(resolveVariable("control.bpClkRef:INT64").type, INT64);
    EXPECT_EQ(resolveVariable("control.bpClkRef:INT64").oid, 0x11800002U);
    EXPECT_THAT(failureOfName("0x50c10005:UINT33"),
                StartsWith("2: 'UINT33' is no type; there are UINT64, UINT32"));
    EXPECT_THAT(failureOfName("0x50c10005:"), StartsWith("2: '' is no type"));
}

TEST(StandardNames, UnitsAreKnownForTheSensors) {
    EXPECT_STREQ(resolveVariable("temperature[0].value").unit, "°C");
    EXPECT_STREQ(resolveVariable("voltage[0].value").unit, "mV");
    EXPECT_STREQ(resolveVariable("download.progress").unit, "%");
    EXPECT_STREQ(resolveVariable("temperature[0].valid").unit, "");
    EXPECT_STREQ(resolveVariable("identity.cardType").unit, "");
}

TEST(StandardNames, WhatIsWrongWithANameIsSaid) {
    const std::vector<std::pair<const char*, const char*>> expected = {
        {"contrl.bpClkRef",
         "7: 'contrl.bpClkRef': there is no object 'contrl'; did you mean control.bpClkRef?"},
        {"temprature[2].value",
         "7: 'temprature[2].value': there is no object 'temprature'; did you mean temperature[2].value?"},
        {"control.bpClkRf",
         "7: 'control.bpClkRf': control has no variable 'bpClkRf'; did you mean control.bpClkRef?"},
        {"control.BPCLKREF",
         "7: 'control.BPCLKREF': control has no variable 'BPCLKREF'; did you mean control.bpClkRef?"},
        {"temperature[1].valeu",
         "7: 'temperature[1].valeu': temperature has no variable 'valeu'; did you mean "
         "temperature[1].value?"},
        {"bpClkRef", "7: 'bpClkRef': there is no object 'bpClkRef'; did you mean control.bpClkRef?"},
        {"identity.progress",
         "7: 'identity.progress': identity has no variable 'progress'; did you mean download.progress?"},
        {"zzzzzzzz.q", "7: 'zzzzzzzz.q': there is no object 'zzzzzzzz'"},
        {"control", "7: 'control' names an object; one of its variables is control.reboot"},
        {"temperature[1]",
         "7: 'temperature[1]' names an object; one of its variables is temperature[1].name"},
        {"temperature.value",
         "7: 'temperature.value': temperature is a table, its variables are written temperature[row].value"},
        {"control[0].guid",
         "7: 'control[0].guid': control is a scalar and has no rows; did you mean control.guid?"},
        {"temperature[x].value", "7: 'temperature[x].value': the row 'x' is not a number"},
        {"temperature[].value", "7: 'temperature[].value': the row '' is not a number"},
        {"temperature[-1].value", "7: 'temperature[-1].value': the row '-1' is not a number"},
        {"temperature[16384].value", "7: 'temperature[16384].value': row 16384 is beyond 0 to 16383"},
        {"temperature[99999999999].value",
         "7: 'temperature[99999999999].value': row 99999999999 is beyond 0 to 16383"},
        {"temperature[2.value", "7: 'temperature[2.value': the row is written object[row].variable"},
        {"", "7: '': there is no object ''"},
    };
    for (const auto& [name, text] : expected)
        EXPECT_EQ(failureOfName(name), text);
}

TEST(StandardNames, WhatIsWrongWithAnOidIsSaid) {
    EXPECT_THAT(failureOfName("0x80000000"),
                HasSubstr("7: '0x80000000' is no valid OID: its kind, bits 31 and 30"));
    EXPECT_THAT(failureOfName("0xC0000000"), HasSubstr("is no valid OID: its kind"));
    EXPECT_EQ(failureOfName("0x12000001"),
              "7: '0x12000001' is no valid OID: a common scalar has a group id of 0 to 3, not 4");
    EXPECT_EQ(failureOfName("0x100000000"), "7: '0x100000000': an OID has 32 bits");
    EXPECT_EQ(failureOfName("4294967296"), "7: '4294967296': an OID has 32 bits");
    for (const char* text : {"0x", "0x5g", "12abc", "1.5", "0x-1"})
        EXPECT_THAT(failureOfName(text),
                    StartsWith("7: '" + std::string(text) + "' is neither a name nor an OID"));
}

}  // namespace
