// The catalogue of the standard card, held row by row against a table of its own.
#include "lcmpCardVariables.h"

#include <gtest/gtest.h>

#include <boost/any.hpp>
#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <set>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <vector>

#include "lcmpProperty.h"
#include "lcmpTlv.h"

namespace {

// ---------------------------------------------------------------- the table

enum class Length { eight, four, oneBoolean, oneByte, most31Type, most31, most127, any, exactly36, none };
enum class Value { none, bpClkRef, guid };

struct Row {
    unsigned int group;
    int id;
    const char* name;
    int type;
    int access;
    boost::any byDefault;
    Length length;
    Value value = Value::none;
    bool marked = false;
};

static_assert(std::is_same_v<std::underlying_type_t<IfcCardVarAccessType>, std::uint32_t>);

constexpr int readOnly = 1;
constexpr int writable = 0;

const boost::any no = false;
const boost::any u8 = static_cast<unsigned char>(0);
const boost::any u32 = 0U;
const boost::any u64 = 0ULL;
const boost::any i32 = 0;
const boost::any empty = std::string();

boost::any text(const char* value) { return std::string(value); }

// clang-format off
const std::vector<Row>& table() {
    static const std::vector<Row> rows = {
        {1, 0, "Card Type       ", STRING, readOnly, text("xxx"), Length::most31Type},
        {1, 1, "Hardware Version", UINT8, readOnly, u8, Length::oneByte},
        {1, 2, "Loadware        ", UINT32, readOnly, u32, Length::four},
        {1, 3, "Backup loadware ", UINT32, readOnly, u32, Length::four},
        {1, 4, "Ifc Slot        ", UINT8, readOnly, u8, Length::oneByte},
        {1, 5, "Temp Sensors    ", UINT8, readOnly, u8, Length::oneByte},
        {1, 6, "Voltage monitors", UINT8, readOnly, u8, Length::oneByte},
        {1, 7, "Boot version    ", UINT32, readOnly, u32, Length::four},
        {1, 8, "HW errors       ", UINT8, readOnly, u8, Length::oneByte},
        {1, 9, "Oper. alarms    ", UINT8, readOnly, u8, Length::oneByte},
        {1, 10, "SW Interface    ", UINT32, readOnly, u32, Length::four},
        {1, 11, "Card Capability ", UINT32, readOnly, u32, Length::four},

        {2, 0, "Power                     ", UINT32, readOnly, u32, Length::four},
        {2, 1, "HW Error                  ", BOOLEAN, readOnly, no, Length::oneBoolean},
        {2, 2, "Oper. Alarm               ", BOOLEAN, readOnly, no, Length::oneBoolean},
        {2, 3, "DPLL Active CTRL CLK Alarm", BOOLEAN, readOnly, no, Length::oneBoolean, Value::none, true},
        {2, 4, "DPLL Recovered CLK Alarm  ", BOOLEAN, readOnly, no, Length::oneBoolean},
        {2, 5, "Port recovering CLK Alarm", BOOLEAN, readOnly, no, Length::oneBoolean},

        {3, 0, "Reboot", BOOLEAN, writable, no, Length::oneBoolean},
        {3, 1, "UtcTime", UINT64, writable, u64, Length::eight},
        {3, 2, "BpClkRef", UINT8, writable, static_cast<unsigned char>(128), Length::oneByte, Value::bpClkRef},
        {3, 3, "GUID", STRING, writable, empty, Length::exactly36, Value::guid},

        {4, 0, "Dld Filename      ", STRING, writable, text("xxx"), Length::most127},
        {4, 1, "Dld Start Download", BOOLEAN, writable, no, Length::oneBoolean},
        {4, 2, "Dld Stop Download ", BOOLEAN, writable, no, Length::oneBoolean},
        {4, 3, "Dld commit load   ", BOOLEAN, writable, no, Length::oneBoolean},
        {4, 4, "Dld accept load   ", BOOLEAN, writable, no, Length::oneBoolean},
        {4, 5, "Dld state         ", UINT8, readOnly, u8, Length::oneByte},
        {4, 6, "Dld progress      ", UINT8, readOnly, u8, Length::oneByte},
        {4, 7, "Dld name          ", STRING, readOnly, text("brd"), Length::any},
        {4, 8, "Dld BSP name      ", STRING, readOnly, text("BSP"), Length::any},
        {4, 9, "Dld Clear Errors  ", BOOLEAN, writable, text("BSP"), Length::oneBoolean},  // a text for a boolean
        {4, 10, "Dld Set Commit timer  ", INT32, writable, i32, Length::four},

        {5, 0, "Temp Name       ", STRING, readOnly, empty, Length::most31},
        {5, 1, "Temp Value      ", INT32, readOnly, i32, Length::four},
        {5, 2, "Temp Valid      ", BOOLEAN, readOnly, no, Length::oneBoolean},
        {5, 3, "Min Sensor Value", INT32, readOnly, i32, Length::four},
        {5, 4, "Max Sensor Value", INT32, readOnly, i32, Length::four},

        {6, 0, "Voltage Name    ", STRING, readOnly, empty, Length::most31},
        {6, 1, "Voltage Value   ", INT32, readOnly, i32, Length::four},
        {6, 2, "Voltage Nominal ", INT32, readOnly, i32, Length::four},
        {6, 3, "Voltage Valid   ", BOOLEAN, readOnly, no, Length::oneBoolean},

        {7, 0, "FTP Server   ", STRING, writable, empty, Length::most31},
        {7, 1, "FTP Port     ", UINT32, writable, 21U, Length::four},
        {7, 2, "FTP User     ", STRING, writable, empty, Length::most31},
        {7, 3, "FTP Password ", STRING, writable, empty, Length::most31},

        {8, 0, "GETLOG directory ", STRING, writable, empty, Length::most31},
        {8, 1, "GETLOG result    ", UINT32, readOnly, u32, Length::four},
        {8, 2, "GETLOG state     ", UINT32, writable, u32, Length::four},

        {9, 0, "HW error ID      ", UINT32, readOnly, u32, Length::four},
        {9, 1, "HW error name    ", STRING, readOnly, empty, Length::most31},
        {9, 2, "HW error active  ", BOOLEAN, readOnly, no, Length::oneBoolean},

        {10, 0, "Oper. alarm ID    ", UINT32, readOnly, u32, Length::four},
        {10, 1, "Oper. alarm name  ", STRING, readOnly, empty, Length::most31},
        {10, 2, "Oper. alarm active", BOOLEAN, readOnly, no, Length::oneBoolean},

        {11, 0, "VoltageMonitorPresent", BOOLEAN, readOnly, no, Length::none},
        {11, 1, "VoltageMonitorHwError", BOOLEAN, readOnly, no, Length::none},
        {11, 2, "VoltageMonitorVersion", STRING, readOnly, empty, Length::none},
        {11, 3, "VoltageMonitorUpdateFailed", BOOLEAN, readOnly, no, Length::none},
    };
    return rows;
}
// clang-format on

const CardVariableDef& entry(const Row& row) {
    return lcmpCardVariableGroups()[row.group - 1].variables[static_cast<std::size_t>(row.id)];
}

std::vector<Row> rowsOfGroup(unsigned int group) {
    std::vector<Row> rows;
    for (const Row& row : table()) {
        if (row.group == group)
            rows.push_back(row);
    }
    return rows;
}

template <typename T>
bool bothHold(const boost::any& one, const boost::any& other) {
    const T* a = boost::any_cast<T>(&one);
    const T* b = boost::any_cast<T>(&other);
    return a != nullptr && b != nullptr && *a == *b;
}

bool same(const boost::any& one, const boost::any& other) {
    return bothHold<std::string>(one, other) || bothHold<unsigned char>(one, other) ||
           bothHold<unsigned int>(one, other) || bothHold<int>(one, other) || bothHold<bool>(one, other) ||
           bothHold<unsigned long long>(one, other);
}

// ---------------------------------------------------------------- shape

// Read before main: what uses the catalogue in its own statics must find it built.
const std::size_t groupsAtStart = lcmpCardVariableGroups().size();
const boost::any clockReferenceAtStart = lcmpControlVariables()[2].defaultValue;

TEST(CardVariables, AreBuiltWhenTheLibraryIsLoaded) {
    EXPECT_EQ(groupsAtStart, 11U);
    EXPECT_TRUE(same(clockReferenceAtStart, static_cast<unsigned char>(128)));
}

TEST(CardVariables, AreFiftyNineInElevenGroups) {
    const std::vector<std::size_t> sizes = {12, 6, 4, 11, 5, 4, 4, 3, 3, 3, 4};
    const CardVariableGroupView groups = lcmpCardVariableGroups();
    ASSERT_EQ(groups.size(), sizes.size());
    std::size_t all = 0;
    for (std::size_t i = 0; i < sizes.size(); ++i) {
        EXPECT_EQ(groups[i].number, i + 1);
        EXPECT_EQ(groups[i].variables.size(), sizes[i]) << "group " << i + 1;
        all += groups[i].variables.size();
    }
    EXPECT_EQ(all, 59U);
    EXPECT_EQ(table().size(), 59U);
}

TEST(CardVariables, HaveOneViewForEachGroup) {
    const std::vector<CardVariableView> views = {
        lcmpIdentityVariables(),         lcmpAlarmVariables(),         lcmpControlVariables(),
        lcmpDownloadVariables(),         lcmpTemperatureVariables(),   lcmpVoltageVariables(),
        lcmpFileServerVariables(),       lcmpLogRetrievalVariables(),  lcmpHardwareErrorVariables(),
        lcmpOperationalAlarmVariables(), lcmpVoltageMonitorVariables()};
    std::size_t index = 0;
    for (const CardVariableGroup& group : lcmpCardVariableGroups()) {
        EXPECT_EQ(group.variables.first, views[index].first) << group.number;
        EXPECT_EQ(group.variables.count, views[index].count) << group.number;
        EXPECT_EQ(static_cast<std::size_t>(group.variables.end() - group.variables.begin()),
                  group.variables.size());
        ++index;
    }
    EXPECT_EQ(index, views.size());
}

TEST(CardVariables, LieInOrderOfTheirGroups) {
    const CardVariableGroupView groups = lcmpCardVariableGroups();
    for (std::size_t i = 1; i < groups.size(); ++i)
        EXPECT_LE(groups[i - 1].variables.end(), groups[i].variables.begin()) << "group " << i + 1;
}

TEST(CardVariables, CountTheirIdsFromZero) {
    for (const CardVariableGroup& group : lcmpCardVariableGroups()) {
        int id = 0;
        for (const CardVariableDef& variable : group.variables)
            EXPECT_EQ(variable.id, id++) << variable.name;
    }
}

TEST(CardVariables, BelongToTheObjectsOfTheStandardCard) {
    const std::set<unsigned int> tables = {5, 6, 9, 10};
    const std::set<unsigned int> common = {1, 2, 3, 5, 6, 9, 10};
    for (const CardVariableGroup& group : lcmpCardVariableGroups()) {
        EXPECT_EQ(group.kind == ifcCard::IFC_CARD_OBJECT_TABLE, tables.count(group.number) == 1)
            << group.number;
        EXPECT_EQ(group.common, common.count(group.number) == 1) << group.number;
    }
}

TEST(CardVariables, HaveTheirMembersInOrder) {
    const CardVariableDef& variable = lcmpIdentityVariables()[0];
    const std::vector<const void*> members = {
        &variable.id,           &variable.name,         &variable.type,
        &variable.access,       &variable.defaultValue, &variable.lengthInvalid,
        &variable.valueInvalid, &variable.marked,       &variable.reserved};
    for (std::size_t i = 1; i < members.size(); ++i)
        EXPECT_TRUE(std::less<>()(members[i - 1], members[i])) << "member " << i + 1;
}

// ---------------------------------------------------------------- row by row

class CardVariableRow : public testing::TestWithParam<unsigned int> {};

TEST_P(CardVariableRow, IsAsTheTableSays) {
    const std::vector<Row> rows = rowsOfGroup(GetParam());
    ASSERT_EQ(rows.size(), lcmpCardVariableGroups()[GetParam() - 1].variables.size());
    for (const Row& row : rows) {
        const CardVariableDef& variable = entry(row);
        EXPECT_EQ(variable.id, row.id) << row.name;
        EXPECT_STREQ(variable.name, row.name);
        EXPECT_EQ(variable.type, row.type) << row.name;
        EXPECT_EQ(variable.access, row.access) << row.name;
        EXPECT_TRUE(same(variable.defaultValue, row.byDefault))
            << row.name << " holds " << variable.defaultValue.type().name();
        EXPECT_EQ(variable.lengthInvalid == nullptr, row.length == Length::none) << row.name;
        EXPECT_EQ(variable.valueInvalid == nullptr, row.value == Value::none) << row.name;
        EXPECT_EQ(variable.marked, row.marked) << row.name;
        EXPECT_EQ(variable.reserved, 0) << row.name;
    }
}

INSTANTIATE_TEST_SUITE_P(OfGroup, CardVariableRow, testing::Range(1U, 12U));

TEST(CardVariables, HaveDefaultsOfTheirTypesButForOne) {
    const std::map<int, const std::type_info*> hostTypes = {{UINT64, &typeid(unsigned long long)},
                                                            {UINT32, &typeid(unsigned int)},
                                                            {UINT8, &typeid(unsigned char)},
                                                            {INT32, &typeid(int)},
                                                            {BOOLEAN, &typeid(bool)},
                                                            {STRING, &typeid(std::string)}};
    std::vector<std::string> odd;
    for (const CardVariableGroup& group : lcmpCardVariableGroups()) {
        for (const CardVariableDef& variable : group.variables) {
            ASSERT_EQ(hostTypes.count(variable.type), 1U) << variable.name;
            if (variable.defaultValue.type() != *hostTypes.at(variable.type))
                odd.emplace_back(variable.name);
        }
    }
    EXPECT_EQ(odd, std::vector<std::string>{"Dld Clear Errors  "});
}

TEST(CardVariables, AreReadOnlyOrWritableInTheWordsOfProperties) {
    EXPECT_EQ(readOnly, static_cast<int>(IFC_CARD_VAR_READ_ONLY));
    EXPECT_EQ(writable, static_cast<int>(IFC_CARD_VAR_WRITABLE));
}

// ---------------------------------------------------------------- length rules

bool refuses(Length rule, unsigned int length) {
    switch (rule) {
        case Length::eight:
            return length != 8;
        case Length::four:
            return length != 4;
        case Length::oneBoolean:
        case Length::oneByte:
            return length != 1;
        case Length::most31Type:
        case Length::most31:
            return length > 31;
        case Length::most127:
            return length > 127;
        case Length::exactly36:
            return length != 36;
        default:
            return false;
    }
}

TEST(CardVariableLength, IsJudgedByTheVariablesRule) {
    for (const Row& row : table()) {
        if (row.length == Length::none)
            continue;
        const auto judge = entry(row).lengthInvalid;
        ASSERT_NE(judge, nullptr) << row.name;
        for (unsigned int length = 0; length <= 300; ++length)
            EXPECT_EQ(judge(length), refuses(row.length, length)) << row.name << ", " << length;
        for (const unsigned int length : {65535U, 0x7FFFFFFFU, 0x80000000U, 0x80000001U, 0xFFFFFFFFU})
            EXPECT_EQ(judge(length), refuses(row.length, length)) << row.name << ", " << length;
    }
}

TEST(CardVariableLength, OfAGuidIs36) {
    const auto judge = lcmpControlVariables()[3].lengthInvalid;
    EXPECT_TRUE(judge(35));
    EXPECT_FALSE(judge(36));
    EXPECT_TRUE(judge(37));
}

TEST(CardVariableLength, OfANameIsAtMost31) {
    const auto judge = lcmpTemperatureVariables()[0].lengthInvalid;
    EXPECT_FALSE(judge(0));
    EXPECT_FALSE(judge(31));
    EXPECT_TRUE(judge(32));
}

TEST(CardVariableLength, OfADownloadNameIsAny) {
    for (const std::size_t id : {std::size_t{7}, std::size_t{8}}) {
        const auto judge = lcmpDownloadVariables()[id].lengthInvalid;
        for (const unsigned int length : {0U, 1U, 31U, 128U, 65535U, 0xFFFFFFFFU})
            EXPECT_FALSE(judge(length));
    }
}

TEST(CardVariableLength, OfAVoltageMonitorHasNoRule) {
    for (const CardVariableDef& variable : lcmpVoltageMonitorVariables())
        EXPECT_EQ(variable.lengthInvalid, nullptr) << variable.name;
}

// A rule is one function wherever it stands; the two rules of one byte and the two of 31 bytes are two each.
TEST(CardVariableLength, HasOneFunctionForEachRule) {
    std::map<Length, std::set<bool (*)(unsigned int)>> functions;
    std::set<bool (*)(unsigned int)> all;
    for (const Row& row : table()) {
        if (row.length == Length::none)
            continue;
        functions[row.length].insert(entry(row).lengthInvalid);
        all.insert(entry(row).lengthInvalid);
    }
    for (const auto& [rule, used] : functions)
        EXPECT_EQ(used.size(), 1U) << "rule " << static_cast<int>(rule);
    EXPECT_EQ(functions.size(), 9U);
    EXPECT_EQ(all.size(), 9U);
}

// ---------------------------------------------------------------- value rules

bool clockRefused(const boost::any& value) { return lcmpControlVariables()[2].valueInvalid(value); }

TEST(ClockReferenceRule, AcceptsZeroToThreeAnd128) {
    for (int byte = 0; byte < 256; ++byte) {
        const bool good = byte <= 3 || byte == 128;
        EXPECT_EQ(clockRefused(static_cast<unsigned char>(byte)), !good) << byte;
        EXPECT_EQ(clockRefused(static_cast<unsigned short>(byte)), !good) << byte;
        EXPECT_EQ(clockRefused(static_cast<unsigned int>(byte)), !good) << byte;
    }
}

TEST(ClockReferenceRule, LooksAtTheWholeOfAWiderNumber) {
    for (const unsigned int value : {0x100U, 0x103U, 0x180U, 0x8000U, 0xFFFFU}) {
        EXPECT_TRUE(clockRefused(static_cast<unsigned short>(value))) << value;
        EXPECT_TRUE(clockRefused(value)) << value;
    }
    for (const unsigned int value : {0x10000U, 0x10080U, 0x80000000U, 0x80000080U, 0xFFFFFFFFU})
        EXPECT_TRUE(clockRefused(value)) << value;
}

TEST(ClockReferenceRule, RefusesEveryOtherType) {
    EXPECT_TRUE(clockRefused(boost::any()));
    EXPECT_TRUE(clockRefused(1));
    EXPECT_TRUE(clockRefused(static_cast<short>(1)));
    EXPECT_TRUE(clockRefused(static_cast<signed char>(1)));
    EXPECT_TRUE(clockRefused('\x01'));
    EXPECT_TRUE(clockRefused(1ULL));
    EXPECT_TRUE(clockRefused(1LL));
    EXPECT_TRUE(clockRefused(true));
    EXPECT_TRUE(clockRefused(std::string("1")));
}

TEST(ClockReferenceRule, AcceptsItsDefault) {
    EXPECT_FALSE(clockRefused(lcmpControlVariables()[2].defaultValue));
}

bool guidRefused(const boost::any& value) { return lcmpControlVariables()[3].valueInvalid(value); }

TEST(GuidRule, Accepts36LettersDigitsAndDashes) {
    EXPECT_FALSE(guidRefused(std::string("6ba7b810-9dad-11d1-80b4-00c04fd430c8")));
    EXPECT_FALSE(guidRefused(std::string("6BA7B810-9DAD-11D1-80B4-00C04FD430C8")));
    EXPECT_FALSE(guidRefused(std::string("zzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzz")));
}

TEST(GuidRule, DoesNotLookAtThePlaceOfDashes) {
    EXPECT_FALSE(guidRefused(std::string(36, '-')));
    EXPECT_FALSE(guidRefused(std::string(36, 'a')));
}

TEST(GuidRule, RefusesEveryOtherLength) {
    for (std::size_t length = 0; length <= 80; ++length)
        EXPECT_EQ(guidRefused(std::string(length, 'a')), length != 36) << length;
}

TEST(GuidRule, RefusesEveryOtherByteAnywhere) {
    for (int byte = 0; byte < 256; ++byte) {
        const bool good = (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') ||
                          (byte >= 'a' && byte <= 'z') || byte == '-';
        for (const std::size_t place : {std::size_t{0}, std::size_t{17}, std::size_t{35}}) {
            std::string guid(36, 'a');
            guid[place] = static_cast<char>(static_cast<unsigned char>(byte));
            EXPECT_EQ(guidRefused(guid), !good) << byte << " at " << place;
        }
    }
}

TEST(GuidRule, RefusesEveryOtherType) {
    EXPECT_TRUE(guidRefused(boost::any()));
    EXPECT_TRUE(guidRefused(36));
    EXPECT_TRUE(guidRefused(static_cast<const char*>("6ba7b810-9dad-11d1-80b4-00c04fd430c8")));
    EXPECT_TRUE(guidRefused(std::vector<char>(36, 'a')));
}

// ---------------------------------------------------------------- names by OID

unsigned int oidOf(const CardVariableGroup& group, int id, unsigned int row) {
    const auto variable = static_cast<unsigned int>(id);
    const unsigned int common = group.common ? 0x10000000U : 0U;
    if (group.kind == ifcCard::IFC_CARD_OBJECT_TABLE)
        return 0x40000000U | common | group.number << 22 | variable << 14 | row;
    return common | group.number << 23 | variable;
}

TEST(CardVariableName, BelongsToTheOid) {
    EXPECT_STREQ(lcmpCardVariableName(0x10800000), "Card Type       ");
    EXPECT_STREQ(lcmpCardVariableName(0x11800002), "BpClkRef");
    EXPECT_STREQ(lcmpCardVariableName(0x02000006), "Dld progress      ");
    EXPECT_STREQ(lcmpCardVariableName(0x51404002), "Temp Value      ");
    EXPECT_STREQ(lcmpCardVariableName(0x05800003), "VoltageMonitorUpdateFailed");
}

TEST(CardVariableName, IsThatOfEveryRow) {
    for (const CardVariableGroup& group : lcmpCardVariableGroups()) {
        for (const CardVariableDef& variable : group.variables) {
            for (const unsigned int row : {0U, 1U, 7U, 16383U})
                EXPECT_STREQ(lcmpCardVariableName(oidOf(group, variable.id, row)), variable.name);
        }
    }
}

TEST(CardVariableName, IsNullForAVariableThatTheGroupDoesNotHave) {
    for (const CardVariableGroup& group : lcmpCardVariableGroups()) {
        const int behindLast = static_cast<int>(group.variables.size());
        for (const int id : {behindLast, behindLast + 1, 200})
            EXPECT_EQ(lcmpCardVariableName(oidOf(group, id, 0)), nullptr) << group.number << ", " << id;
    }
    EXPECT_EQ(lcmpCardVariableName(0x117FFFFF), nullptr);
}

TEST(CardVariableName, IsNullForTheOtherCommonFlagAndTheOtherKind) {
    for (const CardVariableGroup& group : lcmpCardVariableGroups()) {
        const unsigned int oid = oidOf(group, 0, 0);
        EXPECT_EQ(lcmpCardVariableName(oid ^ 0x10000000U), nullptr) << group.number;
        EXPECT_EQ(lcmpCardVariableName(oid ^ 0x80000000U), nullptr) << group.number;
    }
    EXPECT_EQ(lcmpCardVariableName(0x50C00000), nullptr) << "a table with the number of a scalar's group";
    EXPECT_EQ(lcmpCardVariableName(0x02800000), nullptr) << "a scalar with the number of a table's group";
}

TEST(CardVariableName, IsNullForAnotherObject) {
    for (const unsigned int oid :
         {0x00000000U, 0x10000000U, 0x06000000U, 0x40000000U, 0x52C00000U, 0xFFFFFFFFU})
        EXPECT_EQ(lcmpCardVariableName(oid), nullptr) << std::hex << oid;
}

}  // namespace
