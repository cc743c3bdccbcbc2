// What every property does the same way, whatever its type.
#include <cstring>
#include <memory>
#include <type_traits>

#include "bytes.h"
#include "lcmpObjects.h"
#include "propertyTesting.h"

namespace {

constexpr const char* baseFile = "lcmpPropertyBase.cpp";

// The least that a kind of property has to bring along.
class BareProperty : public LcmpProperty {
public:
    explicit BareProperty(unsigned int id = 5, const char* name = "bare",
                          IfcCardVarAccessType access = IFC_CARD_VAR_WRITABLE, bool eventable = false)
        : LcmpProperty(id, name, access, eventable) {}

    bool isDefault() override { return false; }
    int serialize(char*, int) override { return 7; }
    int deserialize(const char*) override { return 7; }
    unsigned int length() override { return 0; }
    int getType() override { return BYTE_ARRAY; }
    std::string str() const override { return "bare\n"; }

    void change() { markEvent(); }
};

// A property inside an object, which deletes it.
template <typename Object, typename Property>
class Owned {
public:
    Owned(Object* object, Property* newProperty, unsigned int row)
        : m_object(object), property(*newProperty) {
        EXPECT_TRUE(m_object->addProp(newProperty, row));
    }

private:
    std::unique_ptr<Object> m_object;

public:
    Property& property;
};

using UInt32 = TypeProperty<unsigned int>;

class CellProperty : public Owned<LcmpTable, UInt32> {
public:
    CellProperty()
        : Owned(new LcmpTable("cells", 3, true, 6), new UInt32(4, "cell", IFC_CARD_VAR_WRITABLE, 0), 5) {}
};

constexpr unsigned int cellOid = 0x50C10005;

}  // namespace

// ---------------------------------------------------------------- copies

template <typename T>
constexpr bool isUnique = !std::is_copy_constructible_v<T> && !std::is_move_constructible_v<T> &&
                          !std::is_copy_assignable_v<T> && !std::is_move_assignable_v<T>;

static_assert(isUnique<LcmpProperty>, "a property is one variable");
static_assert(isUnique<TypeProperty<unsigned long long>> && isUnique<TypeProperty<unsigned int>> &&
                  isUnique<TypeProperty<unsigned short>> && isUnique<TypeProperty<unsigned char>> &&
                  isUnique<TypeProperty<long long>> && isUnique<TypeProperty<int>> &&
                  isUnique<TypeProperty<short>> && isUnique<TypeProperty<signed char>> &&
                  isUnique<TypeProperty<bool>>,
              "a copy would own the check of its source");
static_assert(isUnique<StringProperty> && isUnique<ArrayProperty>, "a copy would own what its source owns");
static_assert(isUnique<MacAddressProperty> && isUnique<IpAddressProperty> && isUnique<UnixTimeProperty>,
              "a property is one variable");
static_assert(std::is_copy_constructible_v<OldStyleProperty>, "the one kind that is copied");
static_assert(!std::is_copy_assignable_v<OldStyleProperty> && !std::is_move_assignable_v<OldStyleProperty>,
              "copied, yet never assigned");
static_assert(isUnique<TypeProperty<int>::TypeValueCheck> && isUnique<StringProperty::StringValueCheck> &&
                  isUnique<RangeCheckValue<int>>,
              "a check belongs to one property");

static_assert(std::is_abstract_v<LcmpProperty> && std::has_virtual_destructor_v<LcmpProperty>,
              "the base of all kinds");
static_assert(std::is_abstract_v<TypeProperty<int>::TypeValueCheck> &&
                  std::has_virtual_destructor_v<TypeProperty<int>::TypeValueCheck>,
              "supplied by applications, deleted by properties");
static_assert(std::is_abstract_v<StringProperty::StringValueCheck> &&
                  std::has_virtual_destructor_v<StringProperty::StringValueCheck>,
              "supplied by applications, deleted by properties");
static_assert(std::is_base_of_v<TypeProperty<int>::TypeValueCheck, RangeCheckValue<int>>,
              "a range is a check");

static_assert(IFC_CARD_VAR_WRITABLE == 0 && IFC_CARD_VAR_READ_ONLY == 1, "values that card models store");
static_assert(std::is_same_v<std::underlying_type_t<IfcCardVarAccessType>, std::uint32_t>,
              "32 bits everywhere");

TEST(PropertyCopy, AnApplicationsOwnKindIsNotCopiedUnlessItSaysHow) { EXPECT_TRUE(isUnique<BareProperty>); }

// ---------------------------------------------------------------- virtual slots

// Where member function pointers carry the offset in the table of virtual operations, itself or plus one.
#if defined(__GNUC__) && !defined(__arm__) && !defined(__aarch64__)

namespace {

// The number of an operation among the virtual ones; the destructor has the first two.
template <typename Operation>
std::size_t slotOf(Operation operation) {
    std::ptrdiff_t offset;
    std::memcpy(&offset, &operation, sizeof offset);
    EXPECT_EQ(offset % 2, 1) << "not a virtual operation";
    return static_cast<std::size_t>(offset - 1) / sizeof(void*);
}

using P = LcmpProperty;

template <typename T>
std::size_t getSlot() {
    return slotOf(static_cast<void (P::*)(T*)>(&P::get));
}

template <typename T>
std::size_t setSlot() {
    return slotOf(static_cast<void (P::*)(T)>(&P::set));
}

}  // namespace

TEST(PropertySlots, ValueOperationsFollowTheDestructor) {
    EXPECT_EQ(slotOf(&P::setToDefault), 2U);
    EXPECT_EQ(slotOf(&P::isDefault), 3U);
    EXPECT_EQ(slotOf(&P::serialize), 4U);
    EXPECT_EQ(slotOf(&P::deserialize), 5U);
    EXPECT_EQ(slotOf(&P::length), 6U);
    EXPECT_EQ(slotOf(&P::getType), 7U);
    EXPECT_EQ(slotOf(&P::validValue), 8U);
    EXPECT_EQ(slotOf(&P::str), 31U);
}

TEST(PropertySlots, GettersStandInTheOrderOfTheTypes) {
    EXPECT_EQ(getSlot<unsigned long long>(), 9U);
    EXPECT_EQ(getSlot<unsigned int>(), 10U);
    EXPECT_EQ(getSlot<unsigned short>(), 11U);
    EXPECT_EQ(getSlot<unsigned char>(), 12U);
    EXPECT_EQ(getSlot<long long>(), 13U);
    EXPECT_EQ(getSlot<int>(), 14U);
    EXPECT_EQ(getSlot<short>(), 15U);
    EXPECT_EQ(getSlot<signed char>(), 16U);
    EXPECT_EQ(getSlot<bool>(), 17U);
    EXPECT_EQ(getSlot<std::string>(), 18U);
    EXPECT_EQ(slotOf(static_cast<void (P::*)(unsigned char*, unsigned int*)>(&P::get)), 19U);
}

TEST(PropertySlots, SettersFollowInTheSameOrder) {
    EXPECT_EQ(setSlot<unsigned long long>(), 20U);
    EXPECT_EQ(setSlot<unsigned int>(), 21U);
    EXPECT_EQ(setSlot<unsigned short>(), 22U);
    EXPECT_EQ(setSlot<unsigned char>(), 23U);
    EXPECT_EQ(setSlot<long long>(), 24U);
    EXPECT_EQ(setSlot<int>(), 25U);
    EXPECT_EQ(setSlot<short>(), 26U);
    EXPECT_EQ(setSlot<signed char>(), 27U);
    EXPECT_EQ(setSlot<bool>(), 28U);
    EXPECT_EQ(setSlot<std::string>(), 29U);
    EXPECT_EQ(slotOf(static_cast<void (P::*)(unsigned char*, unsigned int)>(&P::set)), 30U);
}

TEST(PropertySlots, ChecksHaveOneOperationBehindTheirDestructor) {
    EXPECT_EQ(slotOf(&TypeProperty<int>::TypeValueCheck::checkValue), 2U);
    EXPECT_EQ(slotOf(&StringProperty::StringValueCheck::checkValue), 2U);
}

#endif

// ---------------------------------------------------------------- what the base holds

TEST(PropertyBase, KeepsWhatItIsConstructedWith) {
    const BareProperty property(77, "voltage", IFC_CARD_VAR_READ_ONLY, true);
    EXPECT_EQ(property.getId(), 77U);
    EXPECT_EQ(property.getName(), "voltage");
    EXPECT_EQ(property.getAccess(), IFC_CARD_VAR_READ_ONLY);
    EXPECT_TRUE(property.isEventable());
}

TEST(PropertyBase, StartsInRowZeroWithoutOwnerAndWithoutAnEvent) {
    BareProperty property(77, "voltage", IFC_CARD_VAR_WRITABLE, true);
    EXPECT_EQ(property.getRow(), 0U);
    EXPECT_EQ(property.getOwner(), nullptr);
    EXPECT_FALSE(property.sendEvent());
}

TEST(PropertyBase, CopiesTheName) {
    char name[] = "before";
    const BareProperty property(1, name);
    std::memcpy(name, "beyond", sizeof name);
    EXPECT_EQ(property.getName(), "before");
}

TEST(PropertyBase, TakesANullNameAsTheEmptyName) {
    UInt32 property(7, nullptr, IFC_CARD_VAR_WRITABLE, 3);
    EXPECT_EQ(property.getName(), "");
    EXPECT_EQ(property.str(), lineHead("  7", "") + "                   3  (def = 3)\n");
    EXPECT_LOGS("ERROR", "[] serializing buffer has not enough space left",
                [&] { property.serialize(nullptr, 0); });
}

TEST(PropertyBase, HasNoDefaultAndAcceptsEveryValueUnlessAKindSaysOtherwise) {
    BareProperty property;
    property.setToDefault();
    EXPECT_FALSE(property.isDefault());
    EXPECT_TRUE(property.validValue("\xFF\xFF", 2));
    EXPECT_TRUE(property.validValue("", 0));
    EXPECT_TRUE(property.validValue(nullptr, 0));
}

TEST(PropertyBase, RefusesAValueOfNegativeLength) {
    BareProperty property;
    EXPECT_FALSE(property.validValue("", -1));
}

TEST(PropertyBase, NamesWithFormatSignsAreOnlyText) {
    UInt32 property(1, "100%s%n%d", IFC_CARD_VAR_WRITABLE, 0);
    EXPECT_LOGS("ERROR", "[100%s%n%d] serializing buffer has not enough space left",
                [&] { property.serialize(nullptr, 0); });
}

// ---------------------------------------------------------------- OID

TEST(PropertyOid, IsTheIdWithoutAnOwner) {
    EXPECT_EQ(BareProperty(0x01000007).getOid(), 0x01000007U);
    EXPECT_EQ(BareProperty(0xFFFFFFFF).getOid(), 0xFFFFFFFFU);
}

TEST(PropertyOid, IsComposedByTheOwnerFromIdAndRow) {
    CellProperty cell;
    EXPECT_EQ(cell.property.getRow(), 5U);
    EXPECT_EQ(cell.property.getOid(), cellOid);
}

TEST(PropertyOid, OfAScalarsVariableKnowsNoRow) {
    const Owned<LcmpScalar, UInt32> variable(new LcmpScalar("control", 3, true),
                                             new UInt32(2, "bpClkRef", IFC_CARD_VAR_WRITABLE, 0), 0);
    EXPECT_EQ(variable.property.getOid(), 0x11800002U);
}

TEST(PropertyOid, LeadsTheSerialisedElement) {
    UInt32 alone(0x01000007, "alone", IFC_CARD_VAR_WRITABLE, 0x01020304);
    EXPECT_EQ(hex(wire(alone)), "01 00 00 07 01 00 04 01 02 03 04");
    CellProperty cell;
    EXPECT_EQ(hex(wire(cell.property)), "50 C1 00 05 01 00 04 00 00 00 00");
}

// ---------------------------------------------------------------- events

TEST(PropertyEvent, IsToldOnce) {
    BareProperty property(1, "eventable", IFC_CARD_VAR_WRITABLE, true);
    property.change();
    EXPECT_TRUE(property.sendEvent());
    EXPECT_FALSE(property.sendEvent());
}

TEST(PropertyEvent, SeveralChangesAreOneEvent) {
    BareProperty property(1, "eventable", IFC_CARD_VAR_WRITABLE, true);
    property.change();
    property.change();
    EXPECT_TRUE(property.sendEvent());
    EXPECT_FALSE(property.sendEvent());
}

TEST(PropertyEvent, IsNeverRaisedWhereNobodyWantsIt) {
    BareProperty property(1, "quiet", IFC_CARD_VAR_WRITABLE, false);
    property.change();
    EXPECT_FALSE(property.sendEvent());
}

// ---------------------------------------------------------------- refused access

TEST(PropertyTypedAccess, IsRefusedForEveryTypeThatAKindDoesNotAnswer) {
    BareProperty property(5, "bare");
    expectAnswersOnly(property, {}, {});
}

TEST(PropertyTypedAccess, IsRefusedThroughTheBaseClassAsWell) {
    BareProperty property(5, "bare");
    expectAnswersOnly<LcmpProperty>(property, {}, {});
}

TEST(PropertyTypedAccess, RefusalTellsIdAndRow) {
    CellProperty cell;
    EXPECT_LOGS_FROM(baseFile, "get", "ERROR", "[cell] Not implemented for int16_t (property 4, row 5)", [&] {
        short value = 0;
        cell.property.get(&value);
    });
    EXPECT_LOGS_FROM(baseFile, "set", "ERROR", "[cell] Not implemented for int16_t (property 4, row 5)",
                     [&] { cell.property.set(static_cast<short>(1)); });
}

TEST(PropertyTypedAccess, RefusalShowsTheIdAsASignedNumber) {
    BareProperty property(0xFFFFFFFF, "far");
    EXPECT_LOGS("ERROR", "[far] Not implemented for bool (property -1, row 0)", [&] { property.set(true); });
}

TEST(PropertyTypedAccess, RefusesNullTargetsWithoutTouchingThem) {
    BareProperty property(5, "bare");
    EXPECT_LOGS("ERROR", "[bare] Not implemented for int32_t (property 5, row 0)",
                [&] { property.get(static_cast<int*>(nullptr)); });
    EXPECT_LOGS("ERROR", "[bare] Not implemented for array of uint8_t (property 5, row 0)",
                [&] { property.get(nullptr, nullptr); });
}

TEST(PropertyTypedAccess, ATextLiteralIsText) {
    BareProperty property(5, "bare");
    EXPECT_LOGS_FROM(baseFile, "set", "ERROR", "[bare] Not implemented for std::string (property 5, row 0)",
                     [&] { property.set("text"); });
}

TEST(PropertyTypedAccess, ANullLiteralDoesNothing) {
    BareProperty property(5, "bare");
    const CapturedLog log;
    property.set(static_cast<const char*>(nullptr));
    EXPECT_EQ(log.all(), "");
}

// ---------------------------------------------------------------- room to serialise

TEST(PropertySerialize, TenBytesAreTooFewForFourAndElevenAreEnough) {
    UInt32 property(1, "four", IFC_CARD_VAR_WRITABLE, 1);
    expectNeeds(property, 11);
}

TEST(PropertySerialize, TellsThatThereIsNoRoom) {
    UInt32 property(1, "four", IFC_CARD_VAR_WRITABLE, 1);
    char buffer[11];
    EXPECT_LOGS_FROM(baseFile, "serialize", "ERROR", "[four] serializing buffer has not enough space left",
                     [&] { property.serialize(buffer, 10); });
    EXPECT_LOGS_FROM(baseFile, "serialize", "ERROR", "[four] serializing buffer has not enough space left",
                     [&] { property.serialize(buffer, -1); });
}

TEST(PropertySerialize, IsSilentWhereThereIsRoom) {
    UInt32 property(1, "four", IFC_CARD_VAR_WRITABLE, 1);
    const CapturedLog log;
    wire(property);
    EXPECT_EQ(log.all(), "");
}

// ---------------------------------------------------------------- verification

namespace {

// Judges every text "bad" or not, as told.
class Verdict : public StringProperty::StringValueCheck {
public:
    explicit Verdict(bool accepts) : m_accepts(accepts) {}
    bool checkValue(std::string) override { return m_accepts; }

private:
    bool m_accepts;
};

// What may be wrong with an element and the property it is meant for.
struct Faults {
    explicit Faults(unsigned int bits)
        : oid((bits & 1U) != 0),
          type((bits & 2U) != 0),
          size((bits & 4U) != 0),
          readOnly((bits & 8U) != 0),
          value((bits & 16U) != 0),
          checkValue((bits & 32U) != 0) {}

    IfcCardVarAccessType access() const { return readOnly ? IFC_CARD_VAR_READ_ONLY : IFC_CARD_VAR_WRITABLE; }

    std::string describe() const {
        return std::string(oid ? "oid " : "") + (type ? "type " : "") + (size ? "size " : "") +
               (readOnly ? "read-only " : "") + (value ? "value " : "") +
               (checkValue ? "checked" : "unchecked");
    }

    bool oid, type, size, readOnly, value, checkValue;
};

constexpr unsigned int allFaults = 64;

// The first column that applies decides; the size of a text is never wrong.
int expectedResult(const Faults& faults, bool isText) {
    const struct {
        bool applies;
        int result;
    } order[] = {
        {faults.oid, 7},
        {faults.type, 6},
        {faults.size && !isText, 8},
        {faults.checkValue && faults.readOnly, 10},
        {faults.checkValue && faults.value, 9},
    };
    for (const auto& step : order) {
        if (step.applies)
            return step.result;
    }
    return 0;
}

int errorLines(int result) { return result == 0 || result == 10 ? 0 : result == 8 ? 2 : 1; }

std::string faultyElement(const Faults& faults, unsigned int type, const std::string& value) {
    return element(varOid + (faults.oid ? 1 : 0), type + (faults.type ? 1 : 0),
                   value + (faults.size ? "+" : ""));
}

void expectJudgement(LcmpProperty& property, const Faults& faults, const std::string& bytesOfElement,
                     int expected) {
    SCOPED_TRACE(faults.describe());
    const std::string before = wire(property);
    CapturedLog log(levelError);
    EXPECT_EQ(check(property, bytesOfElement, faults.checkValue), expected);
    EXPECT_EQ(log.count("ERROR"), errorLines(expected)) << log.all();
    EXPECT_EQ(wire(property), before);
    EXPECT_FALSE(property.sendEvent());
}

}  // namespace

TEST(PropertyCheckBuffer, JudgesIdentityThenTypeThenSizeThenAccessThenValue) {
    for (unsigned int bits = 0; bits < allFaults; ++bits) {
        const Faults faults(bits);
        UInt32 number(varOid, "number", faults.access(), 1, new RangeCheckValue<unsigned int>(0, 9), true);
        const std::string value = faults.value ? bytes("0000000A") : bytes("00000009");
        expectJudgement(number, faults, faultyElement(faults, UINT32, value), expectedResult(faults, false));
    }
}

TEST(PropertyCheckBuffer, JudgesTextInTheSameOrderButNeverItsSize) {
    for (unsigned int bits = 0; bits < allFaults; ++bits) {
        const Faults faults(bits);
        StringProperty text(varOid, "text", faults.access(), "abc", new Verdict(!faults.value), true);
        expectJudgement(text, faults, faultyElement(faults, STRING, "xyz"), expectedResult(faults, true));
    }
}

TEST(PropertyCheckBuffer, JudgesAnOwnedPropertyInTheSameOrder) {
    for (unsigned int bits = 0; bits < allFaults; ++bits) {
        const Faults faults(bits);
        const Owned<LcmpScalar, UInt32> owned(
            new LcmpScalar("group", 2, false),
            new UInt32(7, "number", faults.access(), 1, new RangeCheckValue<unsigned int>(0, 9), true), 0);
        ASSERT_EQ(owned.property.getOid(), varOid);
        const std::string value = faults.value ? bytes("0000000A") : bytes("00000009");
        expectJudgement(owned.property, faults, faultyElement(faults, UINT32, value),
                        expectedResult(faults, false));
    }
}

TEST(PropertyCheckBuffer, WithoutOwnerTheOidIsTheId) {
    UInt32 property(varOid, "alone", IFC_CARD_VAR_WRITABLE, 0);
    EXPECT_EQ(check(property, element(varOid, UINT32, bytes("00000001"))), 0);
    for (const unsigned int other : {varOid + 1, varOid - 1, 7U, 0U, 0x11000007U, 0x21000007U, 0xFFFFFFFFU}) {
        EXPECT_EQ(check(property, element(other, UINT32, bytes("00000001"))), 7);
        EXPECT_LOGS_FROM(baseFile, "checkBuffer", "ERROR",
                         "[alone] trying to deserialize to a property with wrong id",
                         [&] { check(property, element(other, UINT32, bytes("00000001"))); });
    }
}

TEST(PropertyCheckBuffer, WithAnOwnerTheOidIsTheOneItComposes) {
    CellProperty cell;
    EXPECT_EQ(check(cell.property, element(cellOid, UINT32, bytes("00000001"))), 0);
    EXPECT_EQ(check(cell.property, element(4, UINT32, bytes("00000001"))), 7);
    EXPECT_LOGS_FROM(
        baseFile, "checkBuffer", "ERROR",
        "[cell] trying to deserialize to a property with wrong oid, is 1354825734 , should be 1354825733",
        [&] { check(cell.property, element(cellOid + 1, UINT32, bytes("00000001"))); });
    EXPECT_LOGS_FROM(
        baseFile, "checkBuffer", "ERROR",
        "[cell] trying to deserialize to a property with wrong oid, is -1 , should be 1354825733",
        [&] { check(cell.property, element(0xFFFFFFFF, UINT32, bytes("00000001"))); });
}

TEST(PropertyCheckBuffer, TellsBothTypesOfAMismatch) {
    UInt32 property(varOid, "number", IFC_CARD_VAR_WRITABLE, 0);
    EXPECT_EQ(check(property, element(varOid, INT32, bytes("00000001"))), 6);
    EXPECT_LOGS_FROM(baseFile, "checkBuffer", "ERROR",
                     "[number] trying to deserialize to a property of wrong type this 1, buf 5",
                     [&] { check(property, element(varOid, INT32, bytes("00000001"))); });
}

TEST(PropertyCheckBuffer, ShowsAReceivedTypeUnsigned) {
    UInt32 property(varOid, "number", IFC_CARD_VAR_WRITABLE, 0);
    EXPECT_EQ(check(property, element(varOid, 255, bytes("00000001"))), 6);
    EXPECT_LOGS("ERROR", "[number] trying to deserialize to a property of wrong type this 1, buf 255",
                [&] { check(property, element(varOid, 255, bytes("00000001"))); });
}

TEST(PropertyCheckBuffer, TextForANumberFailsBeforeItsSizeIsLookedAt) {
    UInt32 property(varOid, "number", IFC_CARD_VAR_WRITABLE, 0);
    CapturedLog log;
    EXPECT_EQ(check(property, element(varOid, STRING, "much too long")), 6);
    EXPECT_EQ(log.lines().size(), 1U) << log.all();
}

TEST(PropertyCheckBuffer, TellsBothSizesOfAMismatch) {
    UInt32 property(varOid, "number", IFC_CARD_VAR_WRITABLE, 0);
    const std::string tooShort = element(varOid, UINT32, bytes("0001"));
    const std::string endless = element(varOid, UINT32, bytes("00000001"), 65535);
    EXPECT_EQ(check(property, tooShort), 8);
    EXPECT_EQ(check(property, endless), 8);
    EXPECT_LOGS_FROM(baseFile, "checkBuffer", "ERROR",
                     "[number] trying to deserialize a property but tlv has incorrect size parameter",
                     [&] { check(property, tooShort); });
    EXPECT_LOGS_FROM(baseFile, "checkBuffer", "ERROR", "[number] it should be 4 but it is 2",
                     [&] { check(property, tooShort); });
    EXPECT_LOGS_FROM(baseFile, "checkBuffer", "ERROR", "[number] it should be 4 but it is 65535",
                     [&] { check(property, endless); });
}

TEST(PropertyCheckBuffer, TakesTextOfAnyDeclaredLength) {
    StringProperty property(varOid, "text", IFC_CARD_VAR_WRITABLE, "four");
    for (const std::size_t size : {0U, 1U, 4U, 5U, 1000U, 65535U})
        EXPECT_EQ(check(property, element(varOid, STRING, std::string(size, 'x'))), 0) << size;
}

TEST(PropertyCheckBuffer, SaysThatTheSizeOfTextIsNotKnown) {
    StringProperty property(varOid, "text", IFC_CARD_VAR_WRITABLE, "four");
    EXPECT_LOGS_FROM(baseFile, "checkBuffer", "DEBUG3",
                     "[text] we cannot know the size of a string when receiving, it is 5",
                     [&] { check(property, element(varOid, STRING, "fives")); });
}

TEST(PropertyCheckBuffer, AcceptsSilentlyWhereThereIsNothingToSay) {
    UInt32 property(varOid, "number", IFC_CARD_VAR_WRITABLE, 0);
    const CapturedLog log;
    EXPECT_EQ(check(property, element(varOid, UINT32, bytes("00000001"))), 0);
    EXPECT_EQ(log.all(), "");
}

TEST(PropertyCheckBuffer, RefusesReadOnlySilentlyAndOnlyAWrite) {
    UInt32 property(varOid, "number", IFC_CARD_VAR_READ_ONLY, 0);
    const CapturedLog log;
    EXPECT_EQ(check(property, element(varOid, UINT32, bytes("00000001")), true), 10);
    EXPECT_EQ(check(property, element(varOid, UINT32, bytes("00000001")), false), 0);
    EXPECT_EQ(log.all(), "");
}

TEST(PropertyCheckBuffer, WrongTypeOnReadOnlyAnswersWrongType) {
    UInt32 property(varOid, "number", IFC_CARD_VAR_READ_ONLY, 0);
    EXPECT_EQ(check(property, element(varOid, INT32, bytes("00000001"))), 6);
}

TEST(PropertyCheckBuffer, OnlyTheAccessValueOneIsReadOnly) {
    for (const unsigned int access : {0U, 2U, 3U, 0x80000001U, 0xFFFFFFFFU}) {
        UInt32 property(varOid, "number", static_cast<IfcCardVarAccessType>(access), 0);
        EXPECT_EQ(check(property, element(varOid, UINT32, bytes("00000001"))), 0) << access;
    }
}

TEST(PropertyCheckBuffer, TellsTheLengthOfARefusedValue) {
    StringProperty property(varOid, "text", IFC_CARD_VAR_WRITABLE, "", new Verdict(false));
    EXPECT_EQ(check(property, element(varOid, STRING, "seventy")), 9);
    EXPECT_LOGS_FROM(baseFile, "checkBuffer", "ERROR",
                     "[text] checkbuffer invalid value detected, value has len 7",
                     [&] { check(property, element(varOid, STRING, "seventy")); });
}

TEST(PropertyCheckBuffer, JudgesTheDeclaredLengthOfAByteArrayByItsOwn) {
    ArrayProperty property(varOid, "array", IFC_CARD_VAR_WRITABLE, false);
    EXPECT_EQ(check(property, element(varOid, BYTE_ARRAY, "")), 0);
    EXPECT_EQ(check(property, element(varOid, BYTE_ARRAY, "four")), 8);
    deserializeFrom(property, element(varOid, BYTE_ARRAY, "four"));
    EXPECT_EQ(check(property, element(varOid, BYTE_ARRAY, "four")), 0);
    EXPECT_EQ(check(property, element(varOid, BYTE_ARRAY, "")), 8);
}
