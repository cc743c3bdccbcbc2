// The kinds of variable length: text, and byte arrays.
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "bytes.h"
#include "propertyTesting.h"

namespace {

StringProperty text(const std::string& def, bool eventable = false) {
    return {varOid, "text", IFC_CARD_VAR_WRITABLE, def, eventable};
}

std::string valueOf(StringProperty& property) {
    std::string value = "as it was";
    property.get(&value);
    return value;
}

// Refuses one text and remembers what it was asked.
class Refuses : public StringProperty::StringValueCheck {
public:
    Refuses(std::string refused, std::vector<std::string>& asked, int& deleted)
        : m_refused(std::move(refused)), m_asked(asked), m_deleted(deleted) {}
    ~Refuses() override { ++m_deleted; }
    bool checkValue(std::string value) override {
        m_asked.push_back(value);
        return value != m_refused;
    }

private:
    std::string m_refused;
    std::vector<std::string>& m_asked;
    int& m_deleted;
};

// A text property with a check that refuses "x".
class CheckedText : public testing::Test {
protected:
    std::vector<std::string> asked;
    int deleted = 0;
    std::unique_ptr<StringProperty> property = std::make_unique<StringProperty>(
        varOid, "text", IFC_CARD_VAR_WRITABLE, "default", new Refuses("x", asked, deleted));
};

const std::string withNul("a\0b", 3);

}  // namespace

// ---------------------------------------------------------------- text: construction

TEST(StringProperty, ConstructorsTakeACheckAndWhetherItIsEventableOrNeither) {
    std::vector<std::string> asked;
    int deleted = 0;
    StringProperty both(1, "n", IFC_CARD_VAR_READ_ONLY, "def", new Refuses("x", asked, deleted), true);
    EXPECT_TRUE(both.isEventable());
    EXPECT_FALSE(both.validValue("x", 1));
    EXPECT_EQ(both.getAccess(), IFC_CARD_VAR_READ_ONLY);

    StringProperty check(1, "n", IFC_CARD_VAR_WRITABLE, "def", new Refuses("x", asked, deleted));
    EXPECT_FALSE(check.isEventable());
    EXPECT_FALSE(check.validValue("x", 1));

    StringProperty eventable(1, "n", IFC_CARD_VAR_WRITABLE, "def", true);
    EXPECT_TRUE(eventable.isEventable());
    EXPECT_TRUE(eventable.validValue("x", 1));

    StringProperty neither(1, "n", IFC_CARD_VAR_WRITABLE, "def");
    EXPECT_FALSE(neither.isEventable());
    EXPECT_TRUE(neither.validValue("x", 1));

    StringProperty nullCheck(1, "n", IFC_CARD_VAR_WRITABLE, "def", nullptr, true);
    EXPECT_TRUE(nullCheck.validValue("x", 1));
}

TEST(StringProperty, StartsAtItsDefaultWithoutAnEvent) {
    StringProperty property = text("label", true);
    EXPECT_EQ(valueOf(property), "label");
    EXPECT_TRUE(property.isDefault());
    EXPECT_FALSE(property.sendEvent());
    EXPECT_EQ(property.getType(), 9);
    EXPECT_EQ(property.length(), 5U);
}

TEST_F(CheckedText, AsksNobodyAboutItsDefault) { EXPECT_TRUE(asked.empty()); }

TEST_F(CheckedText, DeletesItsCheckAtItsEnd) {
    EXPECT_EQ(deleted, 0);
    property.reset();
    EXPECT_EQ(deleted, 1);
}

// ---------------------------------------------------------------- text: value and default

TEST(StringProperty, KeepsWhatIsSet) {
    StringProperty property = text("label");
    for (const std::string& value : {std::string("new"), std::string(), withNul, std::string(1000, 'x')}) {
        property.set(value);
        EXPECT_EQ(valueOf(property), value);
        EXPECT_EQ(property.length(), value.size());
    }
}

TEST(StringProperty, TakesATextLiteralAsText) {
    StringProperty property = text("label");
    property.set("literal");
    EXPECT_EQ(valueOf(property), "literal");
    LcmpProperty& base = property;
    base.set("through the base");
    EXPECT_EQ(valueOf(property), "through the base");
}

TEST(StringProperty, StaysAsItIsWithANullLiteral) {
    StringProperty property = text("label");
    property.set(static_cast<const char*>(nullptr));
    EXPECT_EQ(valueOf(property), "label");
}

TEST(StringProperty, IsAtItsDefaultWithTheSameLengthAndBytesOnly) {
    StringProperty property = text(withNul);
    for (const std::string& other :
         {std::string("a"), std::string("a\0c", 3), std::string("a\0b\0", 4), std::string()}) {
        property.set(other);
        EXPECT_FALSE(property.isDefault()) << hex(other);
    }
    property.set(withNul);
    EXPECT_TRUE(property.isDefault());
}

TEST(StringProperty, GoesBackToItsDefault) {
    StringProperty property = text("label");
    property.set("other");
    EXPECT_FALSE(property.isDefault());
    property.setToDefault();
    EXPECT_TRUE(property.isDefault());
    EXPECT_EQ(valueOf(property), "label");
}

TEST(StringProperty, NeverMarksAnEvent) {
    StringProperty property = text("label", true);
    property.set("new");
    EXPECT_FALSE(property.sendEvent());
    property.setToDefault();
    EXPECT_FALSE(property.sendEvent());
    deserializeFrom(property, element(varOid, STRING, "received"));
    EXPECT_FALSE(property.sendEvent());
}

TEST_F(CheckedText, SetDoesNotAskTheCheck) {
    property->set("x");
    EXPECT_EQ(valueOf(*property), "x");
    EXPECT_TRUE(asked.empty());
}

TEST(StringProperty, AnswersOnlyText) {
    StringProperty property = text("label", true);
    expectAnswersOnly(property, {"std::string"}, {"std::string"});
    expectAnswersOnly<LcmpProperty>(property, {"std::string"}, {"std::string"});
}

// ---------------------------------------------------------------- text: wire

TEST(StringProperty, SendsItsBytesWithoutATerminator) {
    StringProperty property = text(withNul);
    EXPECT_EQ(hex(wire(property)), "01 00 00 07 09 00 03 61 00 62");
    property.set("");
    EXPECT_EQ(hex(wire(property)), "01 00 00 07 09 00 00");
}

TEST(StringProperty, NeedsItsSizeAndSevenBytes) {
    for (const std::size_t size : {0U, 1U, 5U, 40U}) {
        StringProperty property = text(std::string(size, 'x'));
        expectNeeds(property, static_cast<int>(7 + size));
    }
}

TEST(StringProperty, TellsThatThereIsNoRoom) {
    StringProperty property = text("abc");
    char buffer[16];
    EXPECT_LOGS("ERROR", "[text] serializing buffer has not enough space left",
                [&] { property.serialize(buffer, 9); });
}

TEST(StringProperty, AnnouncesALengthBeyondTheFieldByItsLow16Bits) {
    StringProperty property = text(std::string(65535, 'x'));
    EXPECT_EQ(hex(wire(property).substr(4, 3)), "09 FF FF");
    property.set(std::string(0x10002, 'x'));
    const std::string sent = wire(property);
    EXPECT_EQ(sent.size(), 7U + 0x10002U);
    EXPECT_EQ(hex(sent.substr(4, 3)), "09 00 02");
    EXPECT_EQ(sent.substr(7), std::string(0x10002, 'x'));
}

TEST(StringProperty, RefusesATooSmallBufferForALengthBeyondTheField) {
    StringProperty property = text(std::string(0x10002, 'x'));
    GuardedBytes buffer(9);
    EXPECT_EQ(property.serialize(buffer.data(), 9), -1);
    GuardedBytes almost(0x10002 + 6);
    EXPECT_EQ(property.serialize(almost.data(), almost.size()), -1);
}

TEST(StringProperty, TakesTheDeclaredBytes) {
    StringProperty property = text("label");
    EXPECT_EQ(deserializeFrom(property, element(varOid, STRING, withNul)), 10);
    EXPECT_EQ(valueOf(property), withNul);
    EXPECT_EQ(deserializeFrom(property, element(varOid, STRING, "abcdef", 2)), 9);
    EXPECT_EQ(valueOf(property), "ab");
    EXPECT_EQ(deserializeFrom(property, element(varOid, STRING, std::string(65535, 'y'))), 65542);
    EXPECT_EQ(valueOf(property), std::string(65535, 'y'));
}

TEST(StringProperty, BecomesEmptyWithAnElementOfLengthZero) {
    StringProperty property = text("label");
    EXPECT_EQ(deserializeFrom(property, element(varOid, STRING, "")), 7);
    EXPECT_EQ(valueOf(property), "");
}

TEST(StringProperty, TakesAnElementOfAnyOidAndType) {
    StringProperty property = text("label");
    deserializeFrom(property, element(0xDEADBEEF, 255, "abc"));
    EXPECT_EQ(valueOf(property), "abc");
    EXPECT_EQ(property.getOid(), varOid);
    EXPECT_EQ(property.getType(), 9);
}

// ---------------------------------------------------------------- text: check

TEST_F(CheckedText, ShowsItsCheckExactlyTheGivenBytes) {
    GuardedBytes value(withNul);
    EXPECT_TRUE(property->validValue(value.data(), 3));
    EXPECT_TRUE(property->validValue(value.data(), 1));
    EXPECT_TRUE(property->validValue(value.data(), 0));
    EXPECT_EQ(asked, (std::vector<std::string>{withNul, "a", ""}));
}

TEST_F(CheckedText, GivesTheVerdictOfItsCheck) {
    EXPECT_FALSE(property->validValue("x", 1));
    EXPECT_TRUE(property->validValue("xx", 2));
    EXPECT_EQ(valueOf(*property), "default");
}

TEST_F(CheckedText, RefusesAValueOfNegativeLength) {
    EXPECT_FALSE(property->validValue("x", -1));
    EXPECT_TRUE(asked.empty());
}

TEST(StringProperty, RefusesAValueOfNegativeLengthWithoutACheckToo) {
    EXPECT_FALSE(text("label").validValue("x", -1));
}

TEST_F(CheckedText, RefusesAWriteOfWhatTheCheckRefuses) {
    EXPECT_EQ(check(*property, element(varOid, STRING, "x")), 9);
    EXPECT_EQ(check(*property, element(varOid, STRING, "x"), false), 0);
    EXPECT_EQ(check(*property, element(varOid, STRING, "y")), 0);
    EXPECT_EQ(check(*property, element(varOid, STRING, "")), 0);
    EXPECT_EQ(asked, (std::vector<std::string>{"x", "y", ""}));
}

TEST(StringProperty, AcceptsEveryTextWithoutACheckAndWithoutALogLine) {
    StringProperty property = text("label");
    const CapturedLog log;
    EXPECT_TRUE(property.validValue("x", 1));
    EXPECT_TRUE(property.validValue("", 0));
    EXPECT_EQ(log.all(), "");
}

// ---------------------------------------------------------------- text: line

TEST(StringProperty, PrintsValueAndDefault) {
    StringProperty property(7, "label", IFC_CARD_VAR_WRITABLE, "", true);
    property.set("abc");
    EXPECT_EQ(property.str(), "  7 |                                    label : abc  (def = , eventable)\n");
}

TEST(StringProperty, PrintsItsDefaultWithoutAMarkWhereItIsQuiet) {
    EXPECT_EQ(StringProperty(1234, "label", IFC_CARD_VAR_WRITABLE, "abc").str(),
              lineHead("1234", "label") + "abc  (def = abc)\n");
}

TEST(StringProperty, PrintsItsBytesAsTheyAre) {
    EXPECT_EQ(StringProperty(7, "label", IFC_CARD_VAR_WRITABLE, withNul).str(),
              lineHead("  7", "label") + withNul + "  (def = " + withNul + ")\n");
}

// ---------------------------------------------------------------- byte array without a buffer

namespace {

ArrayProperty array(bool eventable = false) { return {varOid, "array", IFC_CARD_VAR_WRITABLE, eventable}; }

struct Got {
    std::string data;
    unsigned int length;
};

Got get(ArrayProperty& property, const std::string& before) {
    GuardedBytes data(before);
    unsigned int length = 77;
    property.get(reinterpret_cast<unsigned char*>(data.data()), &length);
    return {data.str(), length};
}

unsigned int lengthFromGet(ArrayProperty& property) {
    unsigned int length = 77;
    property.get(nullptr, &length);
    return length;
}

void set(ArrayProperty& property, const std::string& value) {
    GuardedBytes data(value);
    property.set(reinterpret_cast<unsigned char*>(data.data()), static_cast<unsigned int>(value.size()));
}

}  // namespace

TEST(ArrayProperty, HoldsNothingAtFirst) {
    ArrayProperty property = array(true);
    EXPECT_EQ(property.length(), 0U);
    EXPECT_EQ(property.getType(), 12);
    EXPECT_TRUE(property.isEventable());
    EXPECT_FALSE(property.isDefault());
    EXPECT_EQ(hex(wire(property)), "01 00 00 07 0C 00 00");
}

TEST(ArrayProperty, StoresNothingThatIsSetNotEvenItsLength) {
    ArrayProperty property = array(true);
    set(property, "four");
    EXPECT_EQ(property.length(), 0U);
    set(property, std::string(4, '\0'));
    EXPECT_FALSE(property.sendEvent());
    EXPECT_EQ(get(property, "as it was").data, "as it was");
}

TEST(ArrayProperty, RecordsOnlyTheLengthOfWhatItReceives) {
    ArrayProperty property = array(true);
    EXPECT_EQ(deserializeFrom(property, element(varOid, BYTE_ARRAY, "four")), 11);
    EXPECT_EQ(property.length(), 4U);
    const Got got = get(property, "as it was");
    EXPECT_EQ(got.length, 4U);
    EXPECT_EQ(got.data, "as it was");
    EXPECT_FALSE(property.isDefault());
    EXPECT_FALSE(property.sendEvent());
}

TEST(ArrayProperty, LooksAtNoByteOfWhatItDoesNotStore) {
    ArrayProperty property = array();
    EXPECT_EQ(deserializeFrom(property, element(varOid, BYTE_ARRAY, "", 65535)), 65542);
    EXPECT_EQ(property.length(), 65535U);
    EXPECT_EQ(deserializeFrom(property, element(varOid, BYTE_ARRAY, "")), 7);
    EXPECT_EQ(property.length(), 0U);
}

TEST(ArrayProperty, HasNoDefaultToGoBackTo) {
    ArrayProperty property = array();
    deserializeFrom(property, element(varOid, BYTE_ARRAY, "four"));
    property.setToDefault();
    EXPECT_EQ(property.length(), 4U);
    EXPECT_FALSE(property.isDefault());
}

TEST(ArrayProperty, AcceptsEveryValue) {
    ArrayProperty property = array();
    EXPECT_TRUE(property.validValue("anything", 8));
}

TEST(ArrayProperty, GivesItsLengthWithoutData) {
    ArrayProperty property = array();
    EXPECT_EQ(lengthFromGet(property), 0U);
    deserializeFrom(property, element(varOid, BYTE_ARRAY, "four"));
    EXPECT_EQ(lengthFromGet(property), 4U);
}

TEST(ArrayProperty, GivesNothingWithoutAPlaceForTheLength) {
    ArrayProperty property = array();
    deserializeFrom(property, element(varOid, BYTE_ARRAY, "four"));
    unsigned char data[] = "as it was";
    const CapturedLog log;
    property.get(data, nullptr);
    property.get(nullptr, nullptr);
    EXPECT_STREQ(reinterpret_cast<char*>(data), "as it was");
    EXPECT_EQ(log.all(), "");
}

TEST(ArrayProperty, AnswersOnlyByteArrays) {
    ArrayProperty property = array(true);
    expectAnswersOnly(property, {"array of uint8_t"}, {"array of uint8_t"});
    expectAnswersOnly<LcmpProperty>(property, {"array of uint8_t"}, {"array of uint8_t"});
}

TEST(ArrayProperty, AnswersByteArraysWithoutALogLine) {
    ArrayProperty property = array();
    const CapturedLog log;
    set(property, "four");
    get(property, "as it was");
    EXPECT_EQ(log.all(), "");
}

// What such a property sends: a null pointer, the length, then zeros, cut to the length.
TEST(ArrayProperty, SendsItsMembersAndZerosBehindThem) {
    const std::string members = std::string(sizeof(void*), '\0');
    for (const unsigned int length : {0U, 1U, 4U, 7U, 8U, 9U, 10U, 11U, 12U, 13U, 16U, 300U, 65535U}) {
        ArrayProperty property = array();
        deserializeFrom(property, element(varOid, BYTE_ARRAY, "", length));
        const std::string lengthField{'\0', '\0', static_cast<char>(length >> 8), static_cast<char>(length)};
        const std::string value = (members + lengthField + std::string(65535, '\0')).substr(0, length);
        EXPECT_EQ(wire(property), element(varOid, BYTE_ARRAY, value)) << length;
    }
}

TEST(ArrayProperty, NeedsItsLengthAndSevenBytes) {
    for (const unsigned int length : {0U, 1U, 8U, 13U, 30U}) {
        ArrayProperty property = array();
        deserializeFrom(property, element(varOid, BYTE_ARRAY, "", length));
        expectNeeds(property, static_cast<int>(7 + length));
    }
}

TEST(ArrayProperty, TellsThatThereIsNoRoom) {
    ArrayProperty property = array();
    char buffer[8];
    EXPECT_LOGS("ERROR", "[array] serializing buffer has not enough space left",
                [&] { property.serialize(buffer, 6); });
}

TEST(ArrayProperty, PrintsNothingButLineEndsWithoutABuffer) {
    ArrayProperty property(7, "array", IFC_CARD_VAR_WRITABLE, true);
    EXPECT_EQ(property.str(), lineHead("  7", "array") + "\n  \n");
    deserializeFrom(property, element(7, BYTE_ARRAY, "four"));
    EXPECT_EQ(property.str(), lineHead("  7", "array") + "\n  \n");
}

// ---------------------------------------------------------------- byte array with a buffer

namespace {

// The way to an array that holds bytes: a subclass installs the first buffer.
class HoldingArray : public ArrayProperty {
public:
    explicit HoldingArray(const std::string& value, bool eventable = true)
        : ArrayProperty(varOid, "array", IFC_CARD_VAR_WRITABLE, eventable) {
        m_buffer = static_cast<unsigned char*>(std::calloc(value.size() + 1, 1));
        m_length = static_cast<unsigned int>(value.size());
        std::memcpy(m_buffer, value.data(), value.size());
    }

    bool holdsABuffer() const { return m_buffer != nullptr; }
    std::string held() const { return {reinterpret_cast<const char*>(m_buffer), m_length}; }
    std::string pointerBytes() const {
        char storage[sizeof m_buffer];
        std::memcpy(storage, &m_buffer, sizeof m_buffer);
        return {storage, sizeof storage};
    }
};

}  // namespace

TEST(HoldingArrayProperty, GivesItsBytesAndTheirNumber) {
    HoldingArray property(withNul);
    const Got got = get(property, "abcde");
    EXPECT_EQ(got.length, 3U);
    EXPECT_EQ(got.data, withNul + "de");
}

TEST(HoldingArrayProperty, LosesNoMemoryWhenOnlyItsLengthIsAsked) {
    HoldingArray property(std::string(1000, 'x'));
    EXPECT_EQ(lengthFromGet(property), 1000U);
    expectKeepsNoMemory([&] { lengthFromGet(property); });
    EXPECT_EQ(property.held(), std::string(1000, 'x'));
}

TEST(HoldingArrayProperty, TakesTheBytesThatAreSet) {
    HoldingArray property("four");
    for (const std::string& value :
         {std::string("six666"), std::string("1"), withNul, std::string(70000, 'x')}) {
        set(property, value);
        EXPECT_EQ(property.held(), value);
        EXPECT_EQ(property.length(), value.size());
        EXPECT_EQ(get(property, std::string(value.size(), '?')).data, value);
    }
}

TEST(HoldingArrayProperty, LosesItsBufferWithLengthZeroAndHoldsNothingFromThenOn) {
    HoldingArray property("four");
    unsigned char nothing = 0;
    property.set(&nothing, 0);
    EXPECT_FALSE(property.holdsABuffer());
    EXPECT_EQ(property.length(), 0U);
    set(property, "four");
    EXPECT_FALSE(property.holdsABuffer());
    EXPECT_EQ(property.length(), 0U);
}

TEST(HoldingArrayProperty, HoldsZerosAfterAWriteWithoutData) {
    HoldingArray property("four");
    property.set(nullptr, 6);
    EXPECT_EQ(property.held(), std::string(6, '\0'));
    EXPECT_FALSE(property.sendEvent());
}

TEST(HoldingArrayProperty, MarksAnEventExactlyForANewValueOfZeros) {
    HoldingArray property("four");
    set(property, "five5");
    EXPECT_FALSE(property.sendEvent());
    set(property, std::string("\0\0\0\1", 4));
    EXPECT_FALSE(property.sendEvent());
    set(property, std::string(4, '\0'));
    EXPECT_TRUE(property.sendEvent());
    set(property, std::string(4, '\0'));
    EXPECT_TRUE(property.sendEvent());
    set(property, "");
    EXPECT_FALSE(property.sendEvent());
}

TEST(HoldingArrayProperty, MarksNoEventWhereItIsQuiet) {
    HoldingArray property("four", false);
    set(property, std::string(4, '\0'));
    EXPECT_EQ(property.held(), std::string(4, '\0'));
    EXPECT_FALSE(property.sendEvent());
}

TEST(HoldingArrayProperty, TakesTheBytesItReceives) {
    HoldingArray property("four");
    EXPECT_EQ(deserializeFrom(property, element(varOid, BYTE_ARRAY, "longer than four")), 23);
    EXPECT_EQ(property.held(), "longer than four");
    EXPECT_EQ(deserializeFrom(property, element(varOid, BYTE_ARRAY, "abcdef", 2)), 9);
    EXPECT_EQ(property.held(), "ab");
    EXPECT_EQ(deserializeFrom(property, element(varOid, BYTE_ARRAY, std::string(3, '\0'))), 10);
    EXPECT_FALSE(property.sendEvent());
}

TEST(HoldingArrayProperty, LosesItsBufferWithAnElementOfLengthZero) {
    HoldingArray property("four");
    EXPECT_EQ(deserializeFrom(property, element(varOid, BYTE_ARRAY, "")), 7);
    EXPECT_FALSE(property.holdsABuffer());
    EXPECT_EQ(property.length(), 0U);
    EXPECT_EQ(deserializeFrom(property, element(varOid, BYTE_ARRAY, "four")), 11);
    EXPECT_FALSE(property.holdsABuffer());
    EXPECT_EQ(property.length(), 4U);
}

TEST(HoldingArrayProperty, SendsItsMembersNotItsBytes) {
    HoldingArray property(std::string(20, 'x'));
    EXPECT_EQ(hex(wire(property).substr(7)),
              hex(property.pointerBytes() + bytes("00000014") + std::string(20 - sizeof(void*) - 4, '\0')));
    HoldingArray cut("four");
    EXPECT_EQ(hex(wire(cut).substr(7)), hex(cut.pointerBytes().substr(0, 4)));
}

TEST(HoldingArrayProperty, AnnouncesALengthBeyondTheFieldByItsLow16Bits) {
    HoldingArray property(std::string(0x10002, 'x'));
    const std::string sent = wire(property);
    EXPECT_EQ(sent.size(), 7U + 0x10002U);
    EXPECT_EQ(hex(sent.substr(4, 3)), "0C 00 02");
    EXPECT_EQ(sent.substr(7, sizeof(void*) + 4), property.pointerBytes() + bytes("00010002"));
    EXPECT_EQ(sent.find_first_not_of('\0', 7 + sizeof(void*) + 4), std::string::npos);
}

TEST(HoldingArrayProperty, PrintsItsBytesAsCharacters) {
    EXPECT_EQ(HoldingArray("abc").str(), lineHead("16777223", "array") + "\n  a b c \n");
    EXPECT_EQ(HoldingArray(withNul).str(),
              lineHead("16777223", "array") + "\n  " + std::string("a \0 b ", 6) + "\n");
    EXPECT_EQ(HoldingArray("").str(), lineHead("16777223", "array") + "\n  \n");
}

TEST(HoldingArrayProperty, FreesItsBufferAtItsEnd) {
    const std::string value(1000, 'x');
    expectKeepsNoMemory([&] { HoldingArray property(value); });
}

TEST(HoldingArrayProperty, FreesEveryBufferItReplaces) {
    HoldingArray property(std::string(1000, 'x'));
    const std::string value(1000, 'y');
    const std::string received = element(varOid, BYTE_ARRAY, std::string(1000, 'z'));
    expectKeepsNoMemory([&] {
        set(property, value);
        deserializeFrom(property, received);
    });
}
