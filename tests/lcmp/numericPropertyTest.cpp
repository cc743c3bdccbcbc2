// The nine fixed-width kinds, and the range check of eight of them.
#include <cstdint>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include "bytes.h"
#include "propertyTesting.h"

namespace {

constexpr const char* numericFile = "lcmpNumericProperty.cpp";

// One value as a number, as bytes on the wire, and as people read it.
template <typename T>
struct Row {
    T value;
    const char* wire;
    const char* text;
};

// What the protocol says about each type: code, width in bytes, word in refusals, values.
template <typename T>
struct Wire;

template <>
struct Wire<unsigned long long> {
    static constexpr int code = 0;
    static constexpr unsigned int width = 8;
    static constexpr const char* word = "uint64_t";
    static std::vector<Row<unsigned long long>> rows() {
        return {{0, "00 00 00 00 00 00 00 00", "0"},
                {1, "00 00 00 00 00 00 00 01", "1"},
                {0x0102030405060708, "01 02 03 04 05 06 07 08", "72623859790382856"},
                {0x7FFFFFFFFFFFFFFF, "7F FF FF FF FF FF FF FF", "9223372036854775807"},
                {0x8000000000000000, "80 00 00 00 00 00 00 00", "9223372036854775808"},
                {0xFFFFFFFFFFFFFFFF, "FF FF FF FF FF FF FF FF", "18446744073709551615"}};
    }
};

template <>
struct Wire<unsigned int> {
    static constexpr int code = 1;
    static constexpr unsigned int width = 4;
    static constexpr const char* word = "uint32_t";
    static std::vector<Row<unsigned int>> rows() {
        return {{0, "00 00 00 00", "0"},
                {1, "00 00 00 01", "1"},
                {0x01020304, "01 02 03 04", "16909060"},
                {0x7FFFFFFF, "7F FF FF FF", "2147483647"},
                {0x80000000, "80 00 00 00", "2147483648"},
                {0xFFFFFFFF, "FF FF FF FF", "4294967295"}};
    }
};

template <>
struct Wire<unsigned short> {
    static constexpr int code = 2;
    static constexpr unsigned int width = 2;
    static constexpr const char* word = "uint16_t";
    static std::vector<Row<unsigned short>> rows() {
        return {{0, "00 00", "0"},          {1, "00 01", "1"},          {0x0102, "01 02", "258"},
                {0x7FFF, "7F FF", "32767"}, {0x8000, "80 00", "32768"}, {0xFFFF, "FF FF", "65535"}};
    }
};

template <>
struct Wire<unsigned char> {
    static constexpr int code = 3;
    static constexpr unsigned int width = 1;
    static constexpr const char* word = "uint8_t";
    static std::vector<Row<unsigned char>> rows() {
        return {{0, "00", "0"},      {1, "01", "1"},      {0x41, "41", "65"},
                {0x7F, "7F", "127"}, {0x80, "80", "128"}, {0xFF, "FF", "255"}};
    }
};

template <>
struct Wire<long long> {
    static constexpr int code = 4;
    static constexpr unsigned int width = 8;
    static constexpr const char* word = "int64_t";
    static std::vector<Row<long long>> rows() {
        return {{0, "00 00 00 00 00 00 00 00", "0"},
                {1, "00 00 00 00 00 00 00 01", "1"},
                {0x0102030405060708, "01 02 03 04 05 06 07 08", "72623859790382856"},
                {std::numeric_limits<long long>::max(), "7F FF FF FF FF FF FF FF", "9223372036854775807"},
                {std::numeric_limits<long long>::min(), "80 00 00 00 00 00 00 00", "-9223372036854775808"},
                {-2, "FF FF FF FF FF FF FF FE", "-2"}};
    }
};

template <>
struct Wire<int> {
    static constexpr int code = 5;
    static constexpr unsigned int width = 4;
    static constexpr const char* word = "int32_t";
    static std::vector<Row<int>> rows() {
        return {{0, "00 00 00 00", "0"},
                {1, "00 00 00 01", "1"},
                {0x01020304, "01 02 03 04", "16909060"},
                {std::numeric_limits<int>::max(), "7F FF FF FF", "2147483647"},
                {std::numeric_limits<int>::min(), "80 00 00 00", "-2147483648"},
                {-2, "FF FF FF FE", "-2"}};
    }
};

template <>
struct Wire<short> {
    static constexpr int code = 6;
    static constexpr unsigned int width = 2;
    static constexpr const char* word = "int16_t";
    static std::vector<Row<short>> rows() {
        return {{0, "00 00", "0"},         {1, "00 01", "1"},           {0x0102, "01 02", "258"},
                {32767, "7F FF", "32767"}, {-32768, "80 00", "-32768"}, {-2, "FF FE", "-2"}};
    }
};

template <>
struct Wire<signed char> {
    static constexpr int code = 7;
    static constexpr unsigned int width = 1;
    static constexpr const char* word = "int8_t";
    static std::vector<Row<signed char>> rows() {
        return {{0, "00", "0"},     {1, "01", "1"},       {65, "41", "65"},
                {127, "7F", "127"}, {-128, "80", "-128"}, {-2, "FE", "-2"}};
    }
};

template <>
struct Wire<bool> {
    static constexpr int code = 8;
    static constexpr unsigned int width = 1;
    static constexpr const char* word = "bool";
    static std::vector<Row<bool>> rows() { return {{false, "00", "0"}, {true, "01", "1"}}; }
};

// What a check was asked and how often, and whether it still exists.
struct CheckBook {
    int asked = 0;
    int deleted = 0;
};

template <typename T>
class CountingCheck : public TypeProperty<T>::TypeValueCheck {
public:
    CountingCheck(CheckBook& book, bool accepts) : m_book(book), m_accepts(accepts) {}
    ~CountingCheck() override { ++m_book.deleted; }
    bool checkValue(T) override {
        ++m_book.asked;
        return m_accepts;
    }

private:
    CheckBook& m_book;
    bool m_accepts;
};

// Accepts one value only, so that a verdict shows what was asked.
template <typename T>
class OnlyCheck : public TypeProperty<T>::TypeValueCheck {
public:
    explicit OnlyCheck(T only) : m_only(only) {}
    bool checkValue(T value) override { return value == m_only; }

private:
    T m_only;
};

template <typename T>
bool accepts(TypeProperty<T>& property, const std::string& valueBytes, int length) {
    GuardedBytes value(valueBytes);
    return property.validValue(value.data(), length);
}

template <typename T>
T valueOf(TypeProperty<T>& property) {
    T value{};
    property.get(&value);
    return value;
}

std::string inColumnsOf20(const std::string& text) { return std::string(20 - text.size(), ' ') + text; }

}  // namespace

// ---------------------------------------------------------------- all nine

template <typename T>
class NumericProperty : public testing::Test {
protected:
    using Property = TypeProperty<T>;

    static Property eventable(T def) { return {varOid, "number", IFC_CARD_VAR_WRITABLE, def, true}; }
    static Property quiet(T def) { return {varOid, "number", IFC_CARD_VAR_WRITABLE, def}; }
    static std::string elementOf(const Row<T>& row) {
        return element(varOid, Wire<T>::code, bytes(row.wire));
    }
};

using AllNine = testing::Types<unsigned long long, unsigned int, unsigned short, unsigned char, long long,
                               int, short, signed char, bool>;
TYPED_TEST_SUITE(NumericProperty, AllNine, );

TYPED_TEST(NumericProperty, HasTheCodeAndWidthOfItsType) {
    auto property = this->quiet(TypeParam{1});
    EXPECT_EQ(property.getType(), Wire<TypeParam>::code);
    EXPECT_EQ(property.length(), Wire<TypeParam>::width);
}

TYPED_TEST(NumericProperty, SendsEveryValueMostSignificantByteFirst) {
    for (const auto& row : Wire<TypeParam>::rows()) {
        auto property = this->quiet(row.value);
        EXPECT_EQ(hex(wire(property)), hex(this->elementOf(row))) << row.text;
    }
}

TYPED_TEST(NumericProperty, TakesEveryValueMostSignificantByteFirst) {
    for (const auto& row : Wire<TypeParam>::rows()) {
        auto property = this->quiet(TypeParam{1});
        EXPECT_EQ(deserializeFrom(property, this->elementOf(row)),
                  static_cast<int>(7 + Wire<TypeParam>::width));
        EXPECT_EQ(valueOf(property), row.value);
    }
}

TYPED_TEST(NumericProperty, NeedsItsWidthAndSevenBytes) {
    auto property = this->quiet(TypeParam{1});
    expectNeeds(property, static_cast<int>(7 + sizeof(TypeParam)));
}

TYPED_TEST(NumericProperty, TellsThatThereIsNoRoom) {
    auto property = this->quiet(TypeParam{1});
    char buffer[32];
    EXPECT_LOGS_FROM("lcmpPropertyBase.cpp", "serialize", "ERROR",
                     "[number] serializing buffer has not enough space left",
                     [&] { property.serialize(buffer, static_cast<int>(6 + sizeof(TypeParam))); });
}

TYPED_TEST(NumericProperty, AnswersOnlyItsOwnType) {
    auto property = this->eventable(TypeParam{1});
    expectAnswersOnly(property, {Wire<TypeParam>::word}, {Wire<TypeParam>::word});
}

TYPED_TEST(NumericProperty, AnswersOnlyItsOwnTypeThroughTheBaseClassToo) {
    auto property = this->eventable(TypeParam{1});
    expectAnswersOnly<LcmpProperty>(property, {Wire<TypeParam>::word}, {Wire<TypeParam>::word});
}

TYPED_TEST(NumericProperty, AnswersItsOwnTypeWithoutALogLine) {
    auto property = this->quiet(TypeParam{0});
    const CapturedLog log;
    property.set(TypeParam{1});
    EXPECT_EQ(valueOf(property), TypeParam{1});
    EXPECT_EQ(log.all(), "");
}

TYPED_TEST(NumericProperty, KeepsEveryValueThatIsSet) {
    auto property = this->quiet(TypeParam{1});
    for (const auto& row : Wire<TypeParam>::rows()) {
        property.set(row.value);
        EXPECT_EQ(valueOf(property), row.value);
        EXPECT_EQ(wireValue(property), row.wire);
    }
}

TYPED_TEST(NumericProperty, RefusesTextLiterals) {
    auto property = this->eventable(TypeParam{1});
    EXPECT_LOGS("ERROR", notImplemented(property, "std::string"), [&] { property.set("1"); });
    EXPECT_EQ(valueOf(property), TypeParam{1});
}

// ---------------------------------------------------------------- construction

TYPED_TEST(NumericProperty, ConstructorTakesACheckAndWhetherItIsEventable) {
    CheckBook book;
    TypeProperty<TypeParam> property(3, "number", IFC_CARD_VAR_READ_ONLY, TypeParam{1},
                                     new CountingCheck<TypeParam>(book, false), true);
    EXPECT_EQ(property.getId(), 3U);
    EXPECT_EQ(property.getName(), "number");
    EXPECT_EQ(property.getAccess(), IFC_CARD_VAR_READ_ONLY);
    EXPECT_TRUE(property.isEventable());
    EXPECT_FALSE(accepts(property, bytes(Wire<TypeParam>::rows()[0].wire), Wire<TypeParam>::width));
    EXPECT_EQ(book.asked, 1);
}

TYPED_TEST(NumericProperty, ConstructorTakesACheckAlone) {
    CheckBook book;
    TypeProperty<TypeParam> property(3, "number", IFC_CARD_VAR_WRITABLE, TypeParam{1},
                                     new CountingCheck<TypeParam>(book, false));
    EXPECT_FALSE(property.isEventable());
    EXPECT_FALSE(accepts(property, bytes(Wire<TypeParam>::rows()[0].wire), Wire<TypeParam>::width));
    EXPECT_EQ(book.asked, 1);
}

TYPED_TEST(NumericProperty, ConstructorTakesWhetherItIsEventableAlone) {
    auto loud = this->eventable(TypeParam{1});
    EXPECT_TRUE(loud.isEventable());
    EXPECT_TRUE(accepts(loud, bytes(Wire<TypeParam>::rows()[0].wire), Wire<TypeParam>::width));
    const TypeProperty<TypeParam> silent(3, "number", IFC_CARD_VAR_WRITABLE, TypeParam{1}, false);
    EXPECT_FALSE(silent.isEventable());
}

TYPED_TEST(NumericProperty, ConstructorNeedsNeither) {
    auto property = this->quiet(TypeParam{1});
    EXPECT_FALSE(property.isEventable());
    EXPECT_TRUE(accepts(property, bytes(Wire<TypeParam>::rows()[0].wire), Wire<TypeParam>::width));
}

TYPED_TEST(NumericProperty, ANullCheckIsNone) {
    typename TypeProperty<TypeParam>::TypeValueCheck* none = nullptr;
    TypeProperty<TypeParam> property(3, "number", IFC_CARD_VAR_WRITABLE, TypeParam{1}, none, true);
    EXPECT_TRUE(accepts(property, bytes(Wire<TypeParam>::rows()[0].wire), Wire<TypeParam>::width));
}

TYPED_TEST(NumericProperty, StartsAtItsDefaultWithoutAnEvent) {
    for (const auto& row : Wire<TypeParam>::rows()) {
        auto property = this->eventable(row.value);
        EXPECT_EQ(valueOf(property), row.value);
        EXPECT_TRUE(property.isDefault());
        EXPECT_FALSE(property.sendEvent());
        EXPECT_EQ(property.getRow(), 0U);
        EXPECT_EQ(property.getOwner(), nullptr);
    }
}

TYPED_TEST(NumericProperty, DoesNotCheckItsDefault) {
    CheckBook book;
    TypeProperty<TypeParam> property(3, "number", IFC_CARD_VAR_WRITABLE, TypeParam{1},
                                     new CountingCheck<TypeParam>(book, false), true);
    EXPECT_EQ(book.asked, 0);
    EXPECT_EQ(valueOf(property), TypeParam{1});
}

TYPED_TEST(NumericProperty, DeletesItsCheckAndNotBeforeItsEnd) {
    CheckBook book;
    {
        TypeProperty<TypeParam> property(3, "number", IFC_CARD_VAR_WRITABLE, TypeParam{1},
                                         new CountingCheck<TypeParam>(book, true));
        property.set(TypeParam{0});
        property.setToDefault();
        EXPECT_EQ(book.deleted, 0);
    }
    EXPECT_EQ(book.deleted, 1);
}

// ---------------------------------------------------------------- value and default

TYPED_TEST(NumericProperty, IsNoDefaultAsSoonAsOneBitDiffers) {
    auto property = this->quiet(TypeParam{0});
    const unsigned int bits = std::is_same_v<TypeParam, bool> ? 1 : 8 * sizeof(TypeParam);
    for (unsigned int bit = 0; bit < bits; ++bit) {
        property.set(static_cast<TypeParam>(std::uint64_t{1} << bit));
        EXPECT_FALSE(property.isDefault()) << "bit " << bit;
        property.set(TypeParam{0});
        EXPECT_TRUE(property.isDefault()) << "bit " << bit;
    }
}

TYPED_TEST(NumericProperty, GoesBackToItsDefaultAndLeavesTheEventAsItWas) {
    auto property = this->eventable(TypeParam{1});
    property.set(TypeParam{0});
    EXPECT_FALSE(property.isDefault());
    property.setToDefault();
    EXPECT_TRUE(property.isDefault());
    EXPECT_EQ(valueOf(property), TypeParam{1});
    EXPECT_TRUE(property.sendEvent());

    deserializeFrom(property, element(varOid, Wire<TypeParam>::code, std::string(sizeof(TypeParam), '\0')));
    property.setToDefault();
    EXPECT_TRUE(property.isDefault());
    EXPECT_FALSE(property.sendEvent());
}

TYPED_TEST(NumericProperty, ANewValueIsAnEvent) {
    auto property = this->eventable(TypeParam{1});
    property.set(TypeParam{0});
    EXPECT_TRUE(property.sendEvent());
    EXPECT_FALSE(property.sendEvent());
}

TYPED_TEST(NumericProperty, TheSameValueIsNoEventAndTakesNoneBack) {
    auto property = this->eventable(TypeParam{1});
    property.set(TypeParam{1});
    EXPECT_FALSE(property.sendEvent());
    property.set(TypeParam{0});
    property.set(TypeParam{0});
    EXPECT_TRUE(property.sendEvent());
}

TYPED_TEST(NumericProperty, ANewValueOfAQuietPropertyIsNoEvent) {
    auto property = this->quiet(TypeParam{1});
    property.set(TypeParam{0});
    EXPECT_FALSE(property.sendEvent());
}

TYPED_TEST(NumericProperty, EveryBitCountsAsAChange) {
    auto property = this->eventable(TypeParam{0});
    const unsigned int bits = std::is_same_v<TypeParam, bool> ? 1 : 8 * sizeof(TypeParam);
    for (unsigned int bit = 0; bit < bits; ++bit) {
        property.set(static_cast<TypeParam>(std::uint64_t{1} << bit));
        EXPECT_TRUE(property.sendEvent()) << "bit " << bit;
        property.set(TypeParam{0});
        EXPECT_TRUE(property.sendEvent()) << "bit " << bit;
    }
}

TYPED_TEST(NumericProperty, SetDoesNotAskTheCheck) {
    CheckBook book;
    TypeProperty<TypeParam> property(3, "number", IFC_CARD_VAR_WRITABLE, TypeParam{1},
                                     new CountingCheck<TypeParam>(book, false), true);
    property.set(TypeParam{0});
    EXPECT_EQ(valueOf(property), TypeParam{0});
    EXPECT_EQ(book.asked, 0);
}

TYPED_TEST(NumericProperty, SetIsForTheCardItselfAndSoNotStoppedByReadOnly) {
    TypeProperty<TypeParam> property(3, "number", IFC_CARD_VAR_READ_ONLY, TypeParam{1});
    property.set(TypeParam{0});
    EXPECT_EQ(valueOf(property), TypeParam{0});
}

// ---------------------------------------------------------------- receiving

TYPED_TEST(NumericProperty, TakesItsWidthWhateverLengthIsDeclared) {
    const auto row = Wire<TypeParam>::rows().back();
    for (const unsigned int declared : {0U, 1U, 2U, 4U, 8U, 300U, 65535U}) {
        auto property = this->quiet(TypeParam{0});
        EXPECT_EQ(
            deserializeFrom(property, element(varOid, Wire<TypeParam>::code, bytes(row.wire), declared)),
            static_cast<int>(7 + declared));
        EXPECT_EQ(valueOf(property), row.value) << declared;
    }
}

TYPED_TEST(NumericProperty, TakesAnElementOfAnyOidAndType) {
    const auto row = Wire<TypeParam>::rows().back();
    for (const unsigned int type : {0U, 5U, 8U, 9U, 13U, 14U, 255U}) {
        auto property = this->quiet(TypeParam{0});
        deserializeFrom(property, element(0xDEADBEEF, type, bytes(row.wire)));
        EXPECT_EQ(valueOf(property), row.value) << type;
        EXPECT_EQ(property.getType(), Wire<TypeParam>::code);
        EXPECT_EQ(property.getOid(), varOid);
    }
}

TYPED_TEST(NumericProperty, ReceivingIsNoEventAndAsksNoCheck) {
    CheckBook book;
    TypeProperty<TypeParam> property(varOid, "number", IFC_CARD_VAR_READ_ONLY, TypeParam{0},
                                     new CountingCheck<TypeParam>(book, false), true);
    const CapturedLog log;
    deserializeFrom(property, this->elementOf(Wire<TypeParam>::rows().back()));
    EXPECT_EQ(valueOf(property), Wire<TypeParam>::rows().back().value);
    EXPECT_FALSE(property.sendEvent());
    EXPECT_EQ(book.asked, 0);
    EXPECT_EQ(log.all(), "");
}

TYPED_TEST(NumericProperty, ReceivingTakesNoEventBack) {
    auto property = this->eventable(TypeParam{1});
    property.set(TypeParam{0});
    deserializeFrom(property, this->elementOf(Wire<TypeParam>::rows()[1]));
    EXPECT_TRUE(property.sendEvent());
}

// ---------------------------------------------------------------- value check

TYPED_TEST(NumericProperty, ShowsItsCheckTheValueMostSignificantByteFirst) {
    for (const auto& row : Wire<TypeParam>::rows()) {
        TypeProperty<TypeParam> property(varOid, "number", IFC_CARD_VAR_WRITABLE, TypeParam{1},
                                         new OnlyCheck<TypeParam>(row.value));
        for (const auto& candidate : Wire<TypeParam>::rows()) {
            EXPECT_EQ(accepts(property, bytes(candidate.wire), Wire<TypeParam>::width),
                      candidate.value == row.value)
                << candidate.text << " for " << row.text;
        }
    }
}

TYPED_TEST(NumericProperty, ChecksItsWidthWhateverLengthIsTold) {
    const auto row = Wire<TypeParam>::rows().back();
    TypeProperty<TypeParam> property(varOid, "number", IFC_CARD_VAR_WRITABLE, TypeParam{0},
                                     new OnlyCheck<TypeParam>(row.value));
    for (const int told : {0, 1, 2, 4, 8, 300, 65535})
        EXPECT_TRUE(accepts(property, bytes(row.wire), told)) << told;
}

TYPED_TEST(NumericProperty, RefusesAValueOfNegativeLength) {
    auto unchecked = this->quiet(TypeParam{1});
    EXPECT_FALSE(accepts(unchecked, bytes(Wire<TypeParam>::rows()[1].wire), -1));
    CheckBook book;
    TypeProperty<TypeParam> checked(varOid, "number", IFC_CARD_VAR_WRITABLE, TypeParam{1},
                                    new CountingCheck<TypeParam>(book, true));
    EXPECT_FALSE(accepts(checked, bytes(Wire<TypeParam>::rows()[1].wire), -1));
    EXPECT_EQ(book.asked, 0);
}

TYPED_TEST(NumericProperty, AcceptsEverythingWithoutACheckAndWithoutALogLine) {
    auto property = this->quiet(TypeParam{1});
    const CapturedLog log;
    for (const auto& row : Wire<TypeParam>::rows())
        EXPECT_TRUE(accepts(property, bytes(row.wire), Wire<TypeParam>::width)) << row.text;
    EXPECT_EQ(log.all(), "");
}

TYPED_TEST(NumericProperty, CheckingChangesNothing) {
    CheckBook book;
    TypeProperty<TypeParam> property(varOid, "number", IFC_CARD_VAR_WRITABLE, TypeParam{1},
                                     new CountingCheck<TypeParam>(book, true), true);
    EXPECT_TRUE(accepts(property, bytes(Wire<TypeParam>::rows()[0].wire), Wire<TypeParam>::width));
    EXPECT_EQ(valueOf(property), TypeParam{1});
    EXPECT_FALSE(property.sendEvent());
}

TYPED_TEST(NumericProperty, TellsItsWholeLineBeforeACheck) {
    CheckBook book;
    TypeProperty<TypeParam> property(7, "number", IFC_CARD_VAR_WRITABLE, TypeParam{1},
                                     new CountingCheck<TypeParam>(book, true));
    const std::string line = lineHead("  7", "number") + inColumnsOf20("1") + "  (def = 1)\n";
    EXPECT_LOGS_FROM(
        numericFile, "validValue", "DEBUG2", "[" + line + "] will be checked for valid value",
        [&] { accepts(property, bytes(Wire<TypeParam>::rows()[0].wire), Wire<TypeParam>::width); });
    EXPECT_EQ(book.asked, 2);
}

namespace {

template <typename T>
class CountsItsLines : public TypeProperty<T> {
public:
    using TypeProperty<T>::TypeProperty;
    std::string str() const override {
        ++lines;
        return "own line";
    }
    mutable int lines = 0;
};

}  // namespace

TYPED_TEST(NumericProperty, ComposesThatLineOnlyWhenItIsWritten) {
    CheckBook book;
    CountsItsLines<TypeParam> property(7, "number", IFC_CARD_VAR_WRITABLE, TypeParam{1},
                                       new CountingCheck<TypeParam>(book, true));
    const std::string value = bytes(Wire<TypeParam>::rows()[0].wire);
    accepts(property, value, Wire<TypeParam>::width);
    CapturedLog log(levelDebug1);
    accepts(property, value, Wire<TypeParam>::width);
    EXPECT_EQ(property.lines, 0);
    log.setLevel(levelDebug2);
    accepts(property, value, Wire<TypeParam>::width);
    EXPECT_EQ(property.lines, 1);
    EXPECT_TRUE(log.has("DEBUG2", "[own line] will be checked for valid value")) << log.all();
}

// ---------------------------------------------------------------- text

TYPED_TEST(NumericProperty, PrintsValueAndDefaultInDecimal) {
    for (const auto& row : Wire<TypeParam>::rows()) {
        TypeProperty<TypeParam> property(7, "number", IFC_CARD_VAR_WRITABLE, TypeParam{1});
        property.set(row.value);
        EXPECT_EQ(property.str(), lineHead("  7", "number") + inColumnsOf20(row.text) + "  (def = 1)\n");
        const TypeProperty<TypeParam> fresh(7, "number", IFC_CARD_VAR_WRITABLE, row.value);
        EXPECT_EQ(fresh.str(),
                  lineHead("  7", "number") + inColumnsOf20(row.text) + "  (def = " + row.text + ")\n");
    }
}

TYPED_TEST(NumericProperty, PrintsThatItIsEventable) {
    EXPECT_EQ(this->eventable(TypeParam{1}).str(),
              lineHead("16777223", "number") + inColumnsOf20("1") + "  (def = 1, eventable)\n");
}

TEST(NumericPropertyText, IsOneLineInColumns) {
    EXPECT_EQ(
        TypeProperty<int>(7, "offset", IFC_CARD_VAR_WRITABLE, -12, true).str(),
        "  7 |                                   offset :                  -12  (def = -12, eventable)\n");
}

TEST(NumericPropertyText, CutsNeitherALongIdNorALongName) {
    const std::string name(45, 'n');
    EXPECT_EQ(TypeProperty<int>(4294967295U, name.c_str(), IFC_CARD_VAR_WRITABLE, 3).str(),
              "4294967295 | " + name + " : " + inColumnsOf20("3") + "  (def = 3)\n");
}

TEST(NumericPropertyText, IsTheSameInEveryLocale) {
    const TypeProperty<unsigned int> property(1234567, "number", IFC_CARD_VAR_WRITABLE, 7654321);
    const std::string line = property.str();
    const GroupedDigits locale;
    EXPECT_EQ(property.str(), line);
}

// ---------------------------------------------------------------- kinds with a type code of their own

namespace {

class OwnCode : public TypeProperty<unsigned int> {
public:
    explicit OwnCode(int code, TypeValueCheck* check = nullptr)
        : TypeProperty<unsigned int>(varOid, "own", IFC_CARD_VAR_WRITABLE, 1, check), m_code(code) {}
    int getType() override { return m_code; }

private:
    int m_code;
};

constexpr int numericCodes[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 10};
constexpr int otherCodes[] = {9, 11, 12, 13, 14, 255, -1};
constexpr const char* notHandled = "[own] type deserializing is not handled ok!";

}  // namespace

TEST(NumericPropertyOwnCode, IsSent) {
    OwnCode property(IPv4ADDRESS);
    EXPECT_EQ(hex(wire(property)), "01 00 00 07 0A 00 04 00 00 00 01");
}

TEST(NumericPropertyOwnLength, OfZeroSendsNoValueAndStillNeedsRoomForIt) {
    class Empty : public TypeProperty<unsigned int> {
    public:
        Empty() : TypeProperty<unsigned int>(varOid, "empty", IFC_CARD_VAR_WRITABLE, 0x01020304) {}
        unsigned int length() override { return 0; }
    } property;
    GuardedBytes buffer(11, '?');
    EXPECT_EQ(property.serialize(buffer.data(), 10), -1);
    EXPECT_EQ(buffer.str(), std::string(11, '?'));
    EXPECT_EQ(property.serialize(buffer.data(), 11), 7);
    EXPECT_EQ(buffer.str(), element(varOid, UINT32, "") + "????");
}

TEST(NumericPropertyOwnCode, OfANumberOrAnAddressIsReceivedAndChecked) {
    for (const int code : numericCodes) {
        OwnCode property(code, new OnlyCheck<unsigned int>(0x01020304));
        EXPECT_EQ(deserializeFrom(property, element(varOid, 0, bytes("05060708"))), 11);
        EXPECT_EQ(valueOf(property), 0x05060708U) << code;
        EXPECT_TRUE(accepts(property, bytes("01020304"), 4)) << code;
        EXPECT_FALSE(accepts(property, bytes("05060708"), 4)) << code;
    }
}

TEST(NumericPropertyOwnCode, OfAnyOtherTypeIsNotReceived) {
    for (const int code : otherCodes) {
        OwnCode property(code);
        for (const unsigned int declared : {0U, 4U, 300U})
            EXPECT_EQ(deserializeFrom(property, element(varOid, 0, bytes("05060708"), declared)),
                      static_cast<int>(7 + declared));
        EXPECT_EQ(valueOf(property), 1U) << code;
        EXPECT_LOGS_FROM(numericFile, "deserialize", "ERROR", notHandled,
                         [&] { deserializeFrom(property, element(varOid, 0, bytes("05060708"))); });
    }
}

TEST(NumericPropertyOwnCode, OfAnyOtherTypeIsNotAcceptedByACheck) {
    for (const int code : otherCodes) {
        CheckBook book;
        OwnCode property(code, new CountingCheck<unsigned int>(book, true));
        EXPECT_FALSE(accepts(property, bytes("05060708"), 4)) << code;
        EXPECT_EQ(book.asked, 0) << code;
        EXPECT_LOGS_FROM(numericFile, "validValue", "ERROR", notHandled,
                         [&] { accepts(property, bytes("05060708"), 4); });
    }
}

TEST(NumericPropertyOwnCode, OfAnyOtherTypeIsAcceptedWithoutACheck) {
    for (const int code : otherCodes) {
        OwnCode property(code);
        const CapturedLog log;
        EXPECT_TRUE(accepts(property, bytes("05060708"), 4)) << code;
        EXPECT_EQ(log.all(), "");
    }
}

// ---------------------------------------------------------------- booleans

namespace {

class Boolean {
public:
    explicit Boolean(bool def, TypeProperty<bool>::TypeValueCheck* check = nullptr)
        : property(varOid, "flag", IFC_CARD_VAR_WRITABLE, def, check, true) {}

    void receive(const char* byte) { deserializeFrom(property, element(varOid, BOOLEAN, bytes(byte))); }
    bool value() { return valueOf(property); }

    TypeProperty<bool> property;
};

}  // namespace

TEST(BooleanProperty, KeepsAReceivedByteAndSendsItBack) {
    for (const char* byte : {"00", "01", "02", "7F", "80", "FF"}) {
        Boolean flag(false);
        flag.receive(byte);
        EXPECT_EQ(wireValue(flag.property), byte);
    }
}

TEST(BooleanProperty, IsTrueForEveryByteButZero) {
    for (const char* byte : {"01", "02", "7F", "80", "FF"}) {
        Boolean flag(false);
        flag.receive(byte);
        EXPECT_TRUE(flag.value()) << byte;
    }
    Boolean flag(true);
    flag.receive("00");
    EXPECT_FALSE(flag.value());
}

TEST(BooleanProperty, PrintsZeroOrOne) {
    Boolean flag(false);
    flag.receive("02");
    EXPECT_EQ(flag.property.str(),
              lineHead("16777223", "flag") + inColumnsOf20("1") + "  (def = 0, eventable)\n");
}

TEST(BooleanProperty, IsAtItsDefaultByTruth) {
    Boolean flag(true);
    flag.receive("02");
    EXPECT_TRUE(flag.property.isDefault());
    flag.receive("00");
    EXPECT_FALSE(flag.property.isDefault());
}

TEST(BooleanProperty, ComparesByTruthWhenItIsSet) {
    Boolean flag(false);
    flag.receive("02");
    flag.property.set(true);
    EXPECT_FALSE(flag.property.sendEvent());
    flag.property.set(false);
    EXPECT_TRUE(flag.property.sendEvent());
}

TEST(BooleanProperty, ASetValueTakesThePlaceOfTheReceivedByte) {
    Boolean flag(false);
    flag.receive("02");
    flag.property.set(true);
    EXPECT_EQ(wireValue(flag.property), "01");
}

TEST(BooleanProperty, GoesBackFromAReceivedByteToItsDefault) {
    Boolean flag(true);
    flag.receive("02");
    flag.property.setToDefault();
    EXPECT_EQ(wireValue(flag.property), "01");
}

TEST(BooleanProperty, ShowsItsCheckATrueBool) {
    Boolean flag(false, new OnlyCheck<bool>(true));
    EXPECT_TRUE(accepts(flag.property, bytes("01"), 1));
    EXPECT_TRUE(accepts(flag.property, bytes("02"), 1));
    EXPECT_TRUE(accepts(flag.property, bytes("FF"), 1));
    EXPECT_FALSE(accepts(flag.property, bytes("00"), 1));
}

TEST(NumericPropertyElement, OfLengthTwoStillGivesFourBytesAndConsumesNine) {
    TypeProperty<int> property(varOid, "number", IFC_CARD_VAR_WRITABLE, 0);
    EXPECT_EQ(deserializeFrom(property, element(varOid, INT32, bytes("FFFFFFFE"), 2)), 9);
    EXPECT_EQ(valueOf(property), -2);
}

// ---------------------------------------------------------------- ranges

template <typename T>
class RangeCheck : public testing::Test {};

using AllButBool = testing::Types<unsigned long long, unsigned int, unsigned short, unsigned char, long long,
                                  int, short, signed char>;
TYPED_TEST_SUITE(RangeCheck, AllButBool, );

TYPED_TEST(RangeCheck, IncludesBothBounds) {
    RangeCheckValue<TypeParam> range(10, 20);
    EXPECT_FALSE(range.checkValue(9));
    EXPECT_TRUE(range.checkValue(10));
    EXPECT_TRUE(range.checkValue(15));
    EXPECT_TRUE(range.checkValue(20));
    EXPECT_FALSE(range.checkValue(21));
}

TYPED_TEST(RangeCheck, AcceptsEverythingBetweenTheExtremes) {
    using Limits = std::numeric_limits<TypeParam>;
    RangeCheckValue<TypeParam> range(Limits::min(), Limits::max());
    for (const auto& row : Wire<TypeParam>::rows())
        EXPECT_TRUE(range.checkValue(row.value)) << row.text;
}

TYPED_TEST(RangeCheck, AcceptsExactlyOneValueWhereTheBoundsMeet) {
    for (const auto& only : Wire<TypeParam>::rows()) {
        RangeCheckValue<TypeParam> range(only.value, only.value);
        for (const auto& row : Wire<TypeParam>::rows())
            EXPECT_EQ(range.checkValue(row.value), row.value == only.value)
                << row.text << " for " << only.text;
    }
}

TYPED_TEST(RangeCheck, RejectsEverythingWhenTheBoundsAreTheWrongWayRound) {
    RangeCheckValue<TypeParam> range(20, 10);
    for (const int value : {0, 9, 10, 15, 20, 21, 127})
        EXPECT_FALSE(range.checkValue(static_cast<TypeParam>(value))) << value;
}

TYPED_TEST(RangeCheck, ComparesInTheSignednessOfItsType) {
    const auto top = static_cast<TypeParam>(std::uint64_t{1} << (8 * sizeof(TypeParam) - 1));
    RangeCheckValue<TypeParam> fromOne(1, std::numeric_limits<TypeParam>::max());
    EXPECT_EQ(fromOne.checkValue(top), std::is_unsigned_v<TypeParam>);
    RangeCheckValue<TypeParam> upToOne(std::numeric_limits<TypeParam>::min(), 1);
    EXPECT_EQ(upToOne.checkValue(top), std::is_signed_v<TypeParam>);
}

TYPED_TEST(RangeCheck, JudgesWhatAPeerWantsToWrite) {
    TypeProperty<TypeParam> property(varOid, "number", IFC_CARD_VAR_WRITABLE, 99,
                                     new RangeCheckValue<TypeParam>(0, 1));
    for (const auto& row : Wire<TypeParam>::rows()) {
        const bool inRange = row.value == TypeParam{0} || row.value == TypeParam{1};
        EXPECT_EQ(check(property, element(varOid, Wire<TypeParam>::code, bytes(row.wire))), inRange ? 0 : 9);
        EXPECT_EQ(check(property, element(varOid, Wire<TypeParam>::code, bytes(row.wire)), false), 0);
    }
    EXPECT_TRUE(property.isDefault());
}

namespace {

template <typename T>
void expectRangeLine(T min, T max, T value, const std::string& text) {
    EXPECT_LOGS_FROM(numericFile, "checkValue", "DEBUG1", text, [&] {
        RangeCheckValue<T> range(min, max);
        EXPECT_EQ(range.checkValue(value), min <= value && value <= max);
    });
}

}  // namespace

TEST(RangeCheckLine, ShowsWideNumbersInDecimal) {
    expectRangeLine<unsigned long long>(
        1, 18446744073709551615ULL, 9223372036854775808ULL,
        "checking value is valid with min:1 and max:18446744073709551615 and value 9223372036854775808");
    expectRangeLine<unsigned int>(
        0, 4294967295, 2147483648,
        "checking value is valid with min:0 and max:4294967295 and value 2147483648");
    expectRangeLine<unsigned short>(0, 65535, 32768,
                                    "checking value is valid with min:0 and max:65535 and value 32768");
    expectRangeLine<long long>(
        std::numeric_limits<long long>::min(), -1, 5,
        "checking value is valid with min:-9223372036854775808 and max:-1 and value 5");
    expectRangeLine<int>(-40, 125, -41, "checking value is valid with min:-40 and max:125 and value -41");
    expectRangeLine<short>(-1, 1, -32768, "checking value is valid with min:-1 and max:1 and value -32768");
}

TEST(RangeCheckLine, ShowsBytesAsCharacters) {
    expectRangeLine<unsigned char>(48, 57, 53, "checking value is valid with min:0 and max:9 and value 5");
    expectRangeLine<signed char>(48, 57, 65, "checking value is valid with min:0 and max:9 and value A");
    expectRangeLine<unsigned char>(1, 255, 10,
                                   "checking value is valid with min:\x01 and max:\xFF and value \n");
}

TEST(RangeCheckLine, EndsAtTheCharacterOfZero) {
    expectRangeLine<unsigned char>(0, 57, 53, "checking value is valid with min:");
    expectRangeLine<signed char>(48, 57, 0, "checking value is valid with min:0 and max:9 and value ");
}

TEST(RangeCheckLine, IsOnlyTextEvenWithAFormatSign) {
    expectRangeLine<unsigned char>('%', 's', 'n', "checking value is valid with min:% and max:s and value n");
}

TEST(RangeCheckLine, IsTheSameInEveryLocale) {
    const GroupedDigits locale;
    expectRangeLine<int>(-1234567, 7654321, 1000000,
                         "checking value is valid with min:-1234567 and max:7654321 and value 1000000");
}
