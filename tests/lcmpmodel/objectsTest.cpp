// The objects of a model, as an endpoint serves them.
#include "lcmpModelObjects.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "frameBuilder.h"
#include "lcmpResult.h"
#include "modelText.h"
#include "testEndpoint.h"

using namespace testing;

namespace {

// A card of one scalar `s`, or of one table `t`.
class Card {
public:
    explicit Card(const std::string& text, LcmpModelObjects::Written written = nullptr)
        : m_model(loaded(text)), m_objects(m_model, std::move(written)) {
        m_objects.registerWith(m_endpoint);
        m_endpoint.eventHandler();
        m_endpoint.sent.clear();
    }

    LcmpModelObjects& objects() { return m_objects; }

    /// The result of writing these bytes.
    unsigned int write(const std::string& name, const std::string& value) {
        const LcmpProperty* property = m_objects.find(name);
        EXPECT_NE(property, nullptr) << name;
        const auto type = static_cast<unsigned int>(const_cast<LcmpProperty*>(property)->getType());
        m_endpoint.receive(writeRequest(nextId(), {Element::holding(property->getOid(), type, value)}));
        return static_cast<unsigned int>(number(m_endpoint.sent.back(), 8, 1));
    }

    /// The bytes that a read gives.
    std::string read(const std::string& name) {
        LcmpProperty* property = m_objects.find(name);
        EXPECT_NE(property, nullptr) << name;
        const auto type = static_cast<unsigned int>(property->getType());
        m_endpoint.receive(readRequest(nextId(), {Element(property->getOid(), type)}));
        const std::string& frame = m_endpoint.sent.back();
        return frame.size() < responseHeader + 7 ? "no answer" : frame.substr(responseHeader + 7);
    }

    /// How many events there are now.
    std::size_t events() {
        m_endpoint.sent.clear();
        m_endpoint.eventHandler();
        return m_endpoint.sent.size();
    }

private:
    static unsigned int nextId() {
        static unsigned int id = 0;
        return ++id & 0xFFFF;
    }

    LcmpModel m_model;
    LcmpModelObjects m_objects;
    TestEndpoint m_endpoint;
};

std::string variable(int id, const std::string& name, const std::string& rest) {
    return "id: " + std::to_string(id) + ", name: " + name + ", access: writable, " + rest;
}

TEST(ModelObjects, HaveTheirDefaultsOfEveryType) {
    Card card(scalarWith(
        {variable(0, "a", "type: UINT64, default: 0x0102030405060708"),
         variable(1, "b", "type: UINT32, default: 0x01020304"),
         variable(2, "c", "type: UINT16, default: 258"), variable(3, "d", "type: UINT8, default: 7"),
         variable(4, "e", "type: INT64, default: -2"), variable(5, "f", "type: INT32, default: -2"),
         variable(6, "g", "type: INT16, default: -2"), variable(7, "h", "type: INT8, default: -2"),
         variable(8, "i", "type: BOOLEAN, default: true"), variable(9, "j", "type: STRING, default: xyz"),
         variable(10, "k", "type: IPv4ADDRESS, default: 192.0.2.1"),
         variable(11, "l", "type: UNIX_TIME, default: 1970-01-01T00:01:00Z"),
         variable(12, "m", "type: BYTE_ARRAY, default: 00ff"),
         variable(13, "n", "type: MAC_ADDRESS, default: \"00:1b:21:3c:4d:5e\"")}));
    const std::vector<std::pair<const char*, const char*>> expected = {{"a", "0102030405060708"},
                                                                       {"b", "01020304"},
                                                                       {"c", "0102"},
                                                                       {"d", "07"},
                                                                       {"e", "FFFFFFFFFFFFFFFE"},
                                                                       {"f", "FFFFFFFE"},
                                                                       {"g", "FFFE"},
                                                                       {"h", "FE"},
                                                                       {"i", "01"},
                                                                       {"j", "78797A"},
                                                                       {"k", "C0000201"},
                                                                       {"l", "000000000000003C"},
                                                                       {"m", "00FF"},
                                                                       {"n", "001B213C4D5E"}};
    for (const auto& [name, value] : expected)
        EXPECT_EQ(hex(card.read(std::string("s.") + name)), hex(bytes(value))) << name;
    EXPECT_THAT(card.events(), 0U);
}

TEST(ModelObjects, AreServedUnderTheirNamesAndOids) {
    Card card(tableWith({variable(7, "x", "type: UINT8")}));
    LcmpProperty* property = card.objects().find("t[3].x");
    ASSERT_NE(property, nullptr);
    EXPECT_EQ(property->getName(), "t[3].x");
    EXPECT_EQ(property->getOid(), 0x5101C003U);
    EXPECT_EQ(card.objects().find("t[4].x"), nullptr);
    EXPECT_EQ(card.objects().find("t.x"), nullptr);
    EXPECT_THAT(card.objects().objects(), SizeIs(1));
}

TEST(ModelObjects, TakeWhatTheirRulesAllow) {
    Card card(
        scalarWith({variable(0, "range", "type: INT8, min: -2, max: 2"),
                    variable(1, "set", "type: UINT8, allow: [0-3, 128]"),
                    variable(2, "both", "type: UINT16, max: 100, allow: [0-3, 90-200]"),
                    variable(3, "free", "type: UINT8"), variable(4, "longest", "type: STRING, maxLength: 3"),
                    variable(5, "exact", "type: STRING, length: 3"),
                    variable(6, "word", "type: STRING, pattern: 'ab|c'"),
                    variable(7, "bytes", "type: BYTE_ARRAY, length: 2")}));
    struct Write {
        const char* name;
        std::string value;
        unsigned int result;
    };
    const std::vector<Write> writes = {
        {"range", "\xFE", RESULT_OK},
        {"range", "\xFD", RESULT_WRONG_VALUE},
        {"range", "\x03", RESULT_WRONG_VALUE},
        {"set", "\x80", RESULT_OK},
        {"set", "\x04", RESULT_WRONG_VALUE},
        {"both", bytes("0064"), RESULT_OK},
        {"both", bytes("0065"), RESULT_WRONG_VALUE},
        {"both", bytes("0004"), RESULT_WRONG_VALUE},
        {"free", "\xFF", RESULT_OK},
        {"longest", "abc", RESULT_OK},
        {"longest", "", RESULT_OK},
        {"longest", "abcd", RESULT_WRONG_VALUE},
        {"exact", "abc", RESULT_OK},
        {"exact", "ab", RESULT_WRONG_VALUE},
        {"exact", "", RESULT_WRONG_VALUE},  // although it is the default
        {"word", "ab", RESULT_OK},
        {"word", "c", RESULT_OK},
        {"word", "abc", RESULT_WRONG_VALUE},
        {"word", std::string("ab\0", 3), RESULT_WRONG_VALUE},
        {"word", "ab\n", RESULT_WRONG_VALUE},
        {"bytes", bytes("1234"), RESULT_OK},
        {"bytes", bytes("123456"), RESULT_WRONG_LEN},
    };
    for (const Write& c : writes) {
        const std::string name = std::string("s.") + c.name;
        const std::string before = card.read(name);
        EXPECT_EQ(card.write(name, c.value), c.result) << name << ' ' << hex(c.value);
        EXPECT_EQ(hex(card.read(name)), hex(c.result == RESULT_OK ? c.value : before)) << name;
    }
}

TEST(ModelObjects, ALongTextAgainstAPatternIsJudgedWithoutMuchStackOrTime) {
    Card card(scalarWith({variable(0, "word", "type: STRING, pattern: '(a|b|ab)*c'")}));
    std::string text;
    while (text.size() < 60000)
        text += "ab";
    EXPECT_EQ(card.write("s.word", text), RESULT_WRONG_VALUE);
    EXPECT_EQ(card.write("s.word", text + "c"), RESULT_OK);
}

TEST(ModelObjects, StartWithTheValuesOfTheModelAndGoBackToThem) {
    Card card(tableWith({variable(0, "a", "type: UINT8, default: 9, values: {2: 5}, eventable: true"),
                         variable(1, "b", "type: STRING, value: x"),
                         variable(2, "c",
                                  "type: MAC_ADDRESS, eventable: true, "
                                  "value: \"00:00:00:00:00:01\"")}));
    EXPECT_EQ(hex(card.read("t[1].a")), "09");
    EXPECT_EQ(hex(card.read("t[2].a")), "05");
    EXPECT_EQ(card.read("t[3].b"), "x");
    EXPECT_EQ(hex(card.read("t[0].c")), "00 00 00 00 00 01");
    EXPECT_EQ(card.events(), 0U) << "what a card starts with is no change";

    EXPECT_EQ(card.write("t[2].a", "\x01"), RESULT_OK);
    EXPECT_EQ(card.write("t[3].b", "y"), RESULT_OK);
    EXPECT_EQ(card.events(), 0U);
    card.objects().restart();
    EXPECT_EQ(hex(card.read("t[2].a")), "05");
    EXPECT_EQ(card.read("t[3].b"), "x");
    EXPECT_EQ(card.events(), 1U) << "going back is a change";
}

TEST(ModelObjects, TellWhatPeersWrite) {
    std::vector<std::string> told;
    Card card(tableWith({variable(0, "a", "type: UINT8, max: 5")}), [&told](LcmpProperty& property) {
        told.push_back(property.getName());
        return property.getRow() != 3;
    });
    EXPECT_EQ(card.write("t[1].a", "\x05"), RESULT_OK);
    EXPECT_EQ(card.write("t[1].a", "\x06"), RESULT_WRONG_VALUE);
    EXPECT_EQ(card.write("t[3].a", "\x05"), RESULT_CANNOT_EXEC);
    EXPECT_THAT(told, ElementsAre("t[1].a", "t[3].a"));
}

TEST(ModelObjects, GiveAndTakeTheValueOfAnyProperty) {
    Card card(scalarWith(
        {variable(0, "a", "type: UINT16, default: 65535"), variable(1, "b", "type: INT8, default: -1"),
         variable(2, "c", "type: BOOLEAN"), variable(3, "d", "type: STRING"),
         variable(4, "e", "type: BYTE_ARRAY, default: 0102"), variable(5, "f", "type: MAC_ADDRESS"),
         variable(6, "g", "type: IPv4ADDRESS"), variable(7, "h", "type: UNIX_TIME")}));
    const std::vector<std::pair<const char*, LcmpModelValue>> values = {{"a", 1ULL},
                                                                        {"b", -128LL},
                                                                        {"c", true},
                                                                        {"d", std::string("x\0y", 3)},
                                                                        {"e", std::string("abc")},
                                                                        {"f", std::string("abcdef")},
                                                                        {"g", 0xC0000201ULL},
                                                                        {"h", -1LL}};
    for (const auto& [name, value] : values) {
        LcmpProperty* property = card.objects().find(std::string("s.") + name);
        ASSERT_NE(property, nullptr);
        EXPECT_NE(lcmpModelGet(*property), value);
        lcmpModelSet(*property, value);
        EXPECT_EQ(lcmpModelGet(*property), value) << name;
    }
}

// ---------------------------------------------------------------- byte arrays

TEST(ModelBytes, ReportAChangeAndOnlyAChange) {
    Card card(scalarWith({variable(0, "a", "type: BYTE_ARRAY, default: 0102, eventable: true")}));
    LcmpProperty* property = card.objects().find("s.a");
    lcmpModelSet(*property, std::string("\x01\x02"));
    EXPECT_EQ(card.events(), 0U);
    lcmpModelSet(*property, std::string("\x01\x03"));
    EXPECT_EQ(card.events(), 1U);
    EXPECT_FALSE(property->isDefault());
    property->setToDefault();
    EXPECT_TRUE(property->isDefault());
    EXPECT_EQ(hex(card.read("s.a")), "01 02");
}

TEST(ModelBytes, NeedRoomForAllOfThem) {
    Card card(scalarWith({variable(0, "a", "type: BYTE_ARRAY, default: 010203")}));
    LcmpProperty* property = card.objects().find("s.a");
    for (int size = -1; size < 10; ++size) {
        std::string buffer(12, '#');
        EXPECT_EQ(property->serialize(buffer.data(), size), -1) << size;
        EXPECT_EQ(buffer, std::string(12, '#'));
    }
    std::string buffer(11, '#');
    EXPECT_EQ(property->serialize(buffer.data(), 10), 10);
    EXPECT_EQ(hex(buffer), hex(bytes("02000000 0C 0003 010203") + "#"));
}

}  // namespace
