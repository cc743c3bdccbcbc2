// The property that wraps one raw element.
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

#include "bytes.h"
#include "lcmpObjects.h"
#include "propertyTesting.h"

namespace {

constexpr const char* oldStyleFile = "lcmpOldStyleProperty.cpp";
constexpr unsigned int typeCount = 14;

using Legacy = std::unique_ptr<OldStyleProperty>;

// Built from bytes that end before an unmapped page and are gone afterwards.
Legacy legacyFrom(const std::string& elementBytes, bool flag = false) {
    GuardedBytes buffer(elementBytes);
    return std::make_unique<OldStyleProperty>(reinterpret_cast<lcmp_tlv*>(buffer.data()), flag);
}

Legacy legacy(unsigned int type, const std::string& hexValue) {
    return legacyFrom(element(varOid, type, bytes(hexValue)));
}

template <typename T>
T numberOf(OldStyleProperty& property) {
    T value = static_cast<T>(0x5A);
    property.get(&value);
    return value;
}

bool boolOf(OldStyleProperty& property) {
    bool value = false;
    property.get(&value);
    return value;
}

std::string textOf(OldStyleProperty& property) {
    std::string value = "as it was";
    property.get(&value);
    return value;
}

// What get puts into a buffer of exactly `count` bytes.
std::string bytesOf(OldStyleProperty& property, unsigned int count) {
    GuardedBytes data(count, '?');
    property.get(reinterpret_cast<unsigned char*>(data.data()), &count);
    EXPECT_EQ(static_cast<int>(count), data.size()) << "the caller's count is not told anything";
    return data.str();
}

void setBytes(OldStyleProperty& property, const std::string& value) {
    GuardedBytes data(value);
    property.set(reinterpret_cast<unsigned char*>(data.data()), static_cast<unsigned int>(value.size()));
}

int counterOf(const OldStyleProperty& property) {
    const std::string prefix = "OldStyleProperty_";
    EXPECT_EQ(property.getName().substr(0, prefix.size()), prefix);
    return std::atoi(property.getName().c_str() + prefix.size());
}

// The types whose element each access answers, by the access's place among the eleven.
struct Accepted {
    const char* word;
    std::vector<unsigned int> get;
    std::vector<unsigned int> set;
};

const Accepted acceptedTypes[] = {
    {"uint64_t", {UINT64}, {UINT64}},
    {"uint32_t", {UINT32}, {UINT32}},
    {"uint16_t", {UINT16}, {UINT16}},
    {"uint8_t", {UINT8}, {UINT8}},
    {"int64_t", {INT64}, {}},  // set refuses every type
    {"int32_t", {INT32, IPv4ADDRESS}, {INT32, IPv4ADDRESS}},
    {"int16_t", {INT16}, {INT16}},
    {"int8_t", {INT8}, {INT8}},
    {"bool", {BOOLEAN}, {BOOLEAN}},
    {"std::string", {STRING}, {STRING}},
    {"array of uint8_t", {BYTE_ARRAY, MAC_ADDRESS}, {BYTE_ARRAY, MAC_ADDRESS}},
};

bool contains(const std::vector<unsigned int>& types, unsigned int type) {
    for (const unsigned int each : types) {
        if (each == type)
            return true;
    }
    return false;
}

std::vector<unsigned int> allTypesAndSomeUnknownOnes() {
    std::vector<unsigned int> types;
    for (unsigned int type = 0; type < typeCount; ++type)
        types.push_back(type);
    types.insert(types.end(), {14, 15, 128, 255});
    return types;
}

constexpr const char* eightBytes = "F1 F2 F3 F4 F5 F6 F7 F8";

}  // namespace

// ---------------------------------------------------------------- construction

TEST(OldStyleProperty, TakesTypeAndBytesOfItsElement) {
    for (const unsigned int type : allTypesAndSomeUnknownOnes()) {
        const std::string bytesOfElement = element(varOid, type, bytes("01 02 03 04 05"));
        const Legacy property = legacyFrom(bytesOfElement);
        EXPECT_EQ(property->getType(), static_cast<int>(type));
        EXPECT_EQ(property->length(), 5U);
        EXPECT_EQ(hex(wire(*property)), hex(bytesOfElement));
    }
}

TEST(OldStyleProperty, IsWritableQuietAndWithoutOwner) {
    const Legacy property = legacy(UINT8, "01");
    EXPECT_EQ(property->getId(), varOid);
    EXPECT_EQ(property->getOid(), varOid);
    EXPECT_EQ(property->getAccess(), IFC_CARD_VAR_WRITABLE);
    EXPECT_FALSE(property->isEventable());
    EXPECT_FALSE(property->sendEvent());
    EXPECT_EQ(property->getOwner(), nullptr);
}

TEST(OldStyleProperty, TakesItsRowFromTheOid) {
    EXPECT_EQ(legacyFrom(element(0x50C10005, UINT8, "x"))->getRow(), 5U);
    EXPECT_EQ(legacyFrom(element(0x7FFFFFFF, UINT8, "x"))->getRow(), 16383U);
    EXPECT_EQ(legacyFrom(element(0x11800005, UINT8, "x"))->getRow(), 0U);
    EXPECT_EQ(legacyFrom(element(0x80000005, UINT8, "x"))->getRow(), 0U);
    EXPECT_EQ(legacyFrom(element(0x12000001, UINT8, "x"))->getRow(), 0U);
}

TEST(OldStyleProperty, KeepsTheFullOidWhereItIsInvalid) {
    EXPECT_EQ(legacyFrom(element(0xFFFFFFFF, UINT8, "x"))->getOid(), 0xFFFFFFFF);
}

TEST(OldStyleProperty, FlagChangesNothing) {
    for (unsigned int type = 0; type < typeCount; ++type) {
        const std::string bytesOfElement = element(varOid, type, bytes("01 02 03 04"));
        const Legacy with = legacyFrom(bytesOfElement, true);
        const Legacy without = legacyFrom(bytesOfElement, false);
        EXPECT_EQ(wire(*with), wire(*without));
        EXPECT_EQ(wire(*with), bytesOfElement);
    }
}

TEST(OldStyleProperty, HoldsNoBytesOfAnElementOfLengthZero) {
    const Legacy property = legacy(STRING, "");
    EXPECT_EQ(property->length(), 0U);
    EXPECT_FALSE(property->isPointerValid());
    EXPECT_EQ(hex(wire(*property)), "01 00 00 07 09 00 00");
    EXPECT_EQ(textOf(*property), "as it was");
}

TEST(OldStyleProperty, TakesTheLargestElement) {
    const std::string largest = element(varOid, BYTE_ARRAY, std::string(65535, 'x'));
    EXPECT_EQ(wire(*legacyFrom(largest)), largest);
}

TEST(OldStyleProperty, IsBuiltWithoutALogLine) {
    const CapturedLog log;
    const Legacy property = legacy(UINT8, "01");
    EXPECT_EQ(log.all(), "");
}

// ---------------------------------------------------------------- names

TEST(OldStylePropertyName, CountsThoseMadeFromElements) {
    const Legacy first = legacy(UINT8, "01");
    const Legacy second = legacy(UINT8, "01");
    EXPECT_GE(counterOf(*first), 1);
    EXPECT_EQ(counterOf(*second), counterOf(*first) + 1);
}

TEST(OldStylePropertyName, DoesNotCountCopies) {
    const Legacy first = legacy(UINT8, "01");
    const OldStyleProperty copy(*first);
    EXPECT_EQ(copy.getName(), first->getName());
    EXPECT_EQ(counterOf(*legacy(UINT8, "01")), counterOf(*first) + 1);
}

TEST(OldStylePropertyName, IsNotGivenOutAgain) {
    const int gone = counterOf(*legacy(UINT8, "01"));
    EXPECT_EQ(counterOf(*legacy(UINT8, "01")), gone + 1);
}

// In its own process, which ctest gives to each test: no other one has counted there. Forked and not started
// again, which a program under emulation cannot do by itself.
TEST(OldStylePropertyNameDeathTest, StartsAtOne) {
    testing::FLAGS_gtest_death_test_style = "fast";
    EXPECT_EXIT(
        {
            const Legacy first = legacy(UINT8, "01");
            const Legacy second = legacy(UINT8, "01");
            std::fprintf(stderr, "%s %s", first->getName().c_str(), second->getName().c_str());
            std::_Exit(0);
        },
        testing::ExitedWithCode(0), "^OldStyleProperty_1 OldStyleProperty_2$");
}

// ---------------------------------------------------------------- typed access

TEST(OldStylePropertyAccess, ReadsNumbersMostSignificantByteFirst) {
    EXPECT_EQ(numberOf<unsigned long long>(*legacy(UINT64, "81 02 03 04 05 06 07 08")), 0x8102030405060708U);
    EXPECT_EQ(numberOf<unsigned int>(*legacy(UINT32, "81 02 03 04")), 0x81020304U);
    EXPECT_EQ(numberOf<unsigned short>(*legacy(UINT16, "81 02")), 0x8102);
    EXPECT_EQ(numberOf<unsigned char>(*legacy(UINT8, "81")), 0x81);
    EXPECT_EQ(numberOf<long long>(*legacy(INT64, "FF FF FF FF FF FF FF FE")), -2);
    EXPECT_EQ(numberOf<int>(*legacy(INT32, "FF FF FF FE")), -2);
    EXPECT_EQ(numberOf<short>(*legacy(INT16, "FF FE")), -2);
    EXPECT_EQ(numberOf<signed char>(*legacy(INT8, "FE")), -2);
}

TEST(OldStylePropertyAccess, ReadsAnIpv4AddressAsOneNumber) {
    EXPECT_EQ(numberOf<int>(*legacy(IPv4ADDRESS, "01 02 03 04")), 0x01020304);
    EXPECT_EQ(numberOf<int>(*legacy(IPv4ADDRESS, "C0 A8 00 01")), static_cast<int>(0xC0A80001));
}

TEST(OldStylePropertyAccess, ReadsEveryByteButZeroAsTrue) {
    EXPECT_FALSE(boolOf(*legacy(BOOLEAN, "00")));
    for (const char* byte : {"01", "02", "80", "FF"})
        EXPECT_TRUE(boolOf(*legacy(BOOLEAN, byte))) << byte;
}

TEST(OldStylePropertyAccess, SendsABooleanByteBackAsItCame) {
    EXPECT_EQ(wireValue(*legacy(BOOLEAN, "02")), "02");
}

TEST(OldStylePropertyAccess, ReadsTextWithItsNuls) {
    EXPECT_EQ(textOf(*legacy(STRING, "61 00 62")), std::string("a\0b", 3));
}

TEST(OldStylePropertyAccess, ReadsAsManyBytesAsTheCallerCounts) {
    for (const unsigned int type : {BYTE_ARRAY, MAC_ADDRESS}) {
        const Legacy property = legacy(type, "01 02 03 04 05 06");
        EXPECT_EQ(hex(bytesOf(*property, 0)), "");
        EXPECT_EQ(hex(bytesOf(*property, 2)), "01 02");
        EXPECT_EQ(hex(bytesOf(*property, 6)), "01 02 03 04 05 06");
        EXPECT_EQ(hex(bytesOf(*property, 9)), "01 02 03 04 05 06 00 00 00");
    }
}

TEST(OldStylePropertyAccess, ReadsZerosFarBeyondItsBytes) {
    const Legacy property = legacy(BYTE_ARRAY, "01 02");
    EXPECT_EQ(bytesOf(*property, 100000), bytes("01 02") + std::string(99998, '\0'));
}

TEST(OldStylePropertyAccess, ReadsTheFirstBytesOfALongValue) {
    EXPECT_EQ(numberOf<unsigned short>(*legacy(UINT16, "01 02 03 04")), 0x0102);
    EXPECT_EQ(numberOf<unsigned char>(*legacy(UINT8, "01 02 03 04")), 0x01);
    EXPECT_EQ(numberOf<unsigned int>(*legacy(UINT32, "01 02 03 04 05 06 07 08 09")), 0x01020304U);
}

TEST(OldStylePropertyAccess, ReadsAShortValueAsIfZerosFollowed) {
    EXPECT_EQ(numberOf<unsigned long long>(*legacy(UINT64, "01 02")), 0x0102000000000000U);
    EXPECT_EQ(numberOf<unsigned int>(*legacy(UINT32, "AA")), 0xAA000000U);
    EXPECT_EQ(numberOf<unsigned short>(*legacy(UINT16, "AA")), 0xAA00);
    EXPECT_EQ(numberOf<long long>(*legacy(INT64, "FF")), static_cast<long long>(0xFF00000000000000));
    EXPECT_EQ(numberOf<int>(*legacy(INT32, "01 02 03")), 0x01020300);
    EXPECT_EQ(numberOf<short>(*legacy(INT16, "01")), 0x0100);
}

TEST(OldStylePropertyAccess, RefusesToReadEveryTypeButItsOwn) {
    const auto accesses = typedAccesses<OldStyleProperty>();
    for (const unsigned int type : allTypesAndSomeUnknownOnes()) {
        const Legacy property = legacy(type, eightBytes);
        const std::string text =
            "[" + property->getName() + "] Trying to get the wrong type from oldStyleProperty";
        for (std::size_t i = 0; i < accesses.size(); ++i) {
            SCOPED_TRACE(accesses[i].word + " of type " + std::to_string(type));
            ASSERT_EQ(accesses[i].word, acceptedTypes[i].word);
            if (!contains(acceptedTypes[i].get, type))
                expectGetRefused(*property, accesses[i], oldStyleFile, text);
        }
    }
}

TEST(OldStylePropertyAccess, RefusesToWriteEveryTypeButItsOwn) {
    const auto accesses = typedAccesses<OldStyleProperty>();
    for (const unsigned int type : allTypesAndSomeUnknownOnes()) {
        const Legacy property = legacy(type, eightBytes);
        const std::string text =
            "[" + property->getName() + "] Trying to set the wrong type for oldStyleProperty";
        for (std::size_t i = 0; i < accesses.size(); ++i) {
            SCOPED_TRACE(accesses[i].word + " of type " + std::to_string(type));
            ASSERT_EQ(accesses[i].word, acceptedTypes[i].word);
            if (!contains(acceptedTypes[i].set, type))
                expectSetRefused(*property, accesses[i], oldStyleFile, text);
        }
    }
}

TEST(OldStylePropertyAccess, AnswersItsOwnTypeWithoutALogLine) {
    const auto accesses = typedAccesses<OldStyleProperty>();
    for (const unsigned int type : allTypesAndSomeUnknownOnes()) {
        const Legacy property = legacy(type, eightBytes);
        for (std::size_t i = 0; i < accesses.size(); ++i) {
            const CapturedLog log;
            if (contains(acceptedTypes[i].get, type)) {
                EXPECT_FALSE(accesses[i].getLeavesAlone(*property))
                    << accesses[i].word << " of type " << type;
            }
            if (contains(acceptedTypes[i].set, type))
                accesses[i].set(*property);
            EXPECT_EQ(log.all(), "");
        }
    }
}

TEST(OldStylePropertyAccess, NoAccessAnswersATime) {
    for (const Accepted& accepted : acceptedTypes) {
        EXPECT_FALSE(contains(accepted.get, UNIX_TIME)) << accepted.word;
        EXPECT_FALSE(contains(accepted.set, UNIX_TIME)) << accepted.word;
    }
    const Legacy time = legacy(UNIX_TIME, eightBytes);
    EXPECT_EQ(numberOf<long long>(*time), 0x5A);
    EXPECT_EQ(wireValue(*time), eightBytes);
}

TEST(OldStylePropertyAccess, RefusesToWriteSigned64BitNumbersThoughItReadsThem) {
    const Legacy property = legacy(INT64, "00 00 00 00 00 00 00 05");
    EXPECT_LOGS_FROM(oldStyleFile, "set", "ERROR",
                     "[" + property->getName() + "] Trying to set the wrong type for oldStyleProperty",
                     [&] { property->set(9LL); });
    EXPECT_EQ(numberOf<long long>(*property), 5);
}

TEST(OldStylePropertyAccess, DoesNothingWithoutAPlaceForTheValue) {
    const CapturedLog log;
    legacy(UINT64, eightBytes)->get(static_cast<unsigned long long*>(nullptr));
    legacy(UINT32, eightBytes)->get(static_cast<unsigned int*>(nullptr));
    legacy(UINT16, eightBytes)->get(static_cast<unsigned short*>(nullptr));
    legacy(UINT8, eightBytes)->get(static_cast<unsigned char*>(nullptr));
    legacy(INT64, eightBytes)->get(static_cast<long long*>(nullptr));
    legacy(INT32, eightBytes)->get(static_cast<int*>(nullptr));
    legacy(INT16, eightBytes)->get(static_cast<short*>(nullptr));
    legacy(INT8, eightBytes)->get(static_cast<signed char*>(nullptr));
    legacy(BOOLEAN, eightBytes)->get(static_cast<bool*>(nullptr));
    legacy(STRING, eightBytes)->get(static_cast<std::string*>(nullptr));
    EXPECT_EQ(log.all(), "");
}

TEST(OldStylePropertyAccess, NeedsBothPlacesForBytes) {
    const Legacy property = legacy(BYTE_ARRAY, "01 02 03");
    unsigned char data[] = "as it was";
    unsigned int length = 3;
    const CapturedLog log;
    property->get(data, nullptr);
    property->get(nullptr, &length);
    property->get(nullptr, nullptr);
    EXPECT_STREQ(reinterpret_cast<char*>(data), "as it was");
    EXPECT_EQ(length, 3U);
    EXPECT_EQ(log.all(), "");
}

TEST(OldStylePropertyAccess, WritesNumbersMostSignificantByteFirst) {
    const Legacy u64 = legacy(UINT64, eightBytes);
    u64->set(0x8102030405060708ULL);
    EXPECT_EQ(wireValue(*u64), "81 02 03 04 05 06 07 08");
    const Legacy u32 = legacy(UINT32, "F1 F2 F3 F4");
    u32->set(0x81020304U);
    EXPECT_EQ(wireValue(*u32), "81 02 03 04");
    const Legacy u16 = legacy(UINT16, "F1 F2");
    u16->set(static_cast<unsigned short>(0x8102));
    EXPECT_EQ(wireValue(*u16), "81 02");
    const Legacy u8 = legacy(UINT8, "F1");
    u8->set(static_cast<unsigned char>(0x81));
    EXPECT_EQ(wireValue(*u8), "81");
    const Legacy i32 = legacy(INT32, "F1 F2 F3 F4");
    i32->set(-2);
    EXPECT_EQ(wireValue(*i32), "FF FF FF FE");
    const Legacy address = legacy(IPv4ADDRESS, "F1 F2 F3 F4");
    address->set(0x01020304);
    EXPECT_EQ(wireValue(*address), "01 02 03 04");
    const Legacy i16 = legacy(INT16, "F1 F2");
    i16->set(static_cast<short>(-2));
    EXPECT_EQ(wireValue(*i16), "FF FE");
    const Legacy i8 = legacy(INT8, "F1");
    i8->set(static_cast<signed char>(-2));
    EXPECT_EQ(wireValue(*i8), "FE");
    const Legacy flag = legacy(BOOLEAN, "02");
    flag->set(true);
    EXPECT_EQ(wireValue(*flag), "01");
    flag->set(false);
    EXPECT_EQ(wireValue(*flag), "00");
}

TEST(OldStylePropertyAccess, WritesANumberInPlaceAndKeepsTheLength) {
    const Legacy longer = legacy(UINT16, "F1 F2 F3 F4");
    longer->set(static_cast<unsigned short>(0x0102));
    EXPECT_EQ(longer->length(), 4U);
    EXPECT_EQ(longer->getType(), UINT16);
    EXPECT_EQ(wireValue(*longer), "01 02 F3 F4");
}

TEST(OldStylePropertyAccess, WritesTheWholeNumberIntoAShorterElement) {
    const Legacy shorter = legacy(UINT64, "F1 F2");
    shorter->set(0x0102030405060708ULL);
    EXPECT_EQ(shorter->length(), 2U);
    EXPECT_EQ(wireValue(*shorter), "01 02");
    EXPECT_EQ(numberOf<unsigned long long>(*shorter), 0x0102030405060708U);
}

TEST(OldStylePropertyAccess, WritesANumberWhereThereWasNoValue) {
    const Legacy property = legacy(UINT32, "");
    EXPECT_FALSE(property->isPointerValid());
    property->set(0x01020304U);
    EXPECT_TRUE(property->isPointerValid());
    EXPECT_EQ(property->length(), 0U);
    EXPECT_EQ(numberOf<unsigned int>(*property), 0x01020304U);
    EXPECT_EQ(hex(wire(*property)), "01 00 00 07 01 00 00");
}

TEST(OldStylePropertyAccess, WritesTextOfAnyLength) {
    const Legacy property = legacy(STRING, "61 62 63");
    for (const std::string& value : {std::string("longer than before"), std::string("s"),
                                     std::string("a\0b", 3), std::string(1000, 'x')}) {
        property->set(value);
        EXPECT_EQ(property->length(), value.size());
        EXPECT_EQ(textOf(*property), value);
        EXPECT_EQ(wire(*property), element(varOid, STRING, value));
    }
}

TEST(OldStylePropertyAccess, TakesATextLiteralAsText) {
    const Legacy property = legacy(STRING, "61");
    property->set("literal");
    EXPECT_EQ(textOf(*property), "literal");
    LcmpProperty& base = *property;
    base.set("through the base");
    EXPECT_EQ(textOf(*property), "through the base");
    property->set(static_cast<const char*>(nullptr));
    EXPECT_EQ(textOf(*property), "through the base");
}

TEST(OldStylePropertyAccess, HoldsNothingAfterAnEmptyText) {
    const Legacy property = legacy(STRING, "61 62 63");
    property->set(std::string());
    EXPECT_EQ(property->length(), 0U);
    EXPECT_FALSE(property->isPointerValid());
    EXPECT_EQ(hex(wire(*property)), "01 00 00 07 09 00 00");
}

TEST(OldStylePropertyAccess, WritesBytesOfAnyLength) {
    for (const unsigned int type : {BYTE_ARRAY, MAC_ADDRESS}) {
        const Legacy property = legacy(type, "01 02 03");
        for (const std::string& value : {bytes("0A0B0C0D0E0F"), bytes("FF"), std::string(1000, 'x')}) {
            setBytes(*property, value);
            EXPECT_EQ(wire(*property), element(varOid, type, value));
        }
    }
}

TEST(OldStylePropertyAccess, HoldsNothingAfterZeroBytes) {
    const Legacy property = legacy(BYTE_ARRAY, "01 02 03");
    setBytes(*property, "");
    EXPECT_EQ(property->length(), 0U);
    EXPECT_FALSE(property->isPointerValid());
}

TEST(OldStylePropertyAccess, StaysAsItIsWithoutData) {
    const Legacy property = legacy(BYTE_ARRAY, "01 02 03");
    for (const unsigned int length : {0U, 3U, 100U}) {
        property->set(nullptr, length);
        EXPECT_EQ(wireValue(*property), "01 02 03") << length;
    }
}

TEST(OldStylePropertyAccess, AnnouncesALengthBeyondTheFieldByItsLow16Bits) {
    const Legacy property = legacy(STRING, "61");
    property->set(std::string(0x10002, 'x'));
    EXPECT_EQ(property->length(), 0x10002U);
    const std::string sent = wire(*property);
    EXPECT_EQ(sent.size(), 7U + 0x10002U);
    EXPECT_EQ(hex(sent.substr(4, 3)), "09 00 02");
}

TEST(OldStylePropertyAccess, WritingIsNeverAnEvent) {
    const Legacy number = legacy(UINT32, "F1 F2 F3 F4");
    number->set(1U);
    EXPECT_FALSE(number->sendEvent());
    const Legacy text = legacy(STRING, "61");
    text->set("b");
    EXPECT_FALSE(text->sendEvent());
}

TEST(OldStylePropertyAccess, ReadsNothingFromAnElementOfLengthZeroAndSaysSo) {
    const auto accesses = typedAccesses<OldStyleProperty>();
    for (unsigned int type = 0; type < typeCount; ++type) {
        const Legacy property = legacy(type, "");
        for (std::size_t i = 0; i < accesses.size(); ++i) {
            if (!contains(acceptedTypes[i].get, type))
                continue;
            SCOPED_TRACE(accesses[i].word);
            EXPECT_LOGS_FROM(oldStyleFile, "isPointerValid", "ERROR",
                             "Pointer val in OldStyleProperty is invalid!",
                             [&] { EXPECT_TRUE(accesses[i].getLeavesAlone(*property)); });
        }
    }
}

TEST(OldStyleProperty, TellsThatThereIsNoValue) {
    const Legacy property = legacy(UINT32, "");
    EXPECT_LOGS_FROM(oldStyleFile, "isPointerValid", "ERROR", "Pointer val in OldStyleProperty is invalid!",
                     [&] { EXPECT_FALSE(property->isPointerValid()); });
    const CapturedLog log;
    EXPECT_TRUE(legacy(UINT32, "01")->isPointerValid());
    EXPECT_EQ(log.all(), "");
}

// ---------------------------------------------------------------- wire

TEST(OldStyleProperty, NeedsItsLengthAndSevenBytes) {
    for (const char* value : {"", "01", "01 02 03 04", "01 02 03 04 05 06 07 08 09 0A"}) {
        const Legacy property = legacy(BYTE_ARRAY, value);
        expectNeeds(*property, static_cast<int>(7 + bytes(value).size()));
    }
}

TEST(OldStyleProperty, TellsThatThereIsNoRoom) {
    const Legacy property = legacy(UINT32, "01 02 03 04");
    char buffer[16];
    EXPECT_LOGS_FROM("lcmpPropertyBase.cpp", "serialize", "ERROR",
                     "[" + property->getName() + "] serializing buffer has not enough space left",
                     [&] { property->serialize(buffer, 10); });
}

TEST(OldStyleProperty, BecomesTheElementItReceives) {
    const Legacy property = legacy(UINT32, "01 02 03 04");
    const std::string received = element(0x50C10009, STRING, "text");
    EXPECT_EQ(deserializeFrom(*property, received), 11);
    EXPECT_EQ(property->getId(), 0x50C10009U);
    EXPECT_EQ(property->getOid(), 0x50C10009U);
    EXPECT_EQ(property->getType(), STRING);
    EXPECT_EQ(property->length(), 4U);
    EXPECT_EQ(textOf(*property), "text");
    EXPECT_EQ(wire(*property), received);
}

TEST(OldStyleProperty, KeepsNameAndRowOfItsFirstElement) {
    const Legacy property = legacyFrom(element(0x50C10005, UINT8, "x"));
    const std::string name = property->getName();
    deserializeFrom(*property, element(0x50C10009, UINT8, "y"));
    EXPECT_EQ(property->getRow(), 5U);
    EXPECT_EQ(property->getName(), name);
}

TEST(OldStyleProperty, TakesElementsOfAnyLengthOneAfterAnother) {
    const Legacy property = legacy(UINT32, "01 02 03 04");
    for (const std::size_t size : {100U, 1U, 65535U, 8U, 9U, 0U, 3U}) {
        const std::string received = element(varOid, BYTE_ARRAY, std::string(size, 'x'));
        EXPECT_EQ(deserializeFrom(*property, received), static_cast<int>(7 + size));
        EXPECT_EQ(wire(*property), received);
    }
}

TEST(OldStyleProperty, HoldsAnEmptyValueAfterReceivingOne) {
    const Legacy property = legacy(STRING, "61 62 63");
    EXPECT_EQ(deserializeFrom(*property, element(varOid, STRING, "")), 7);
    EXPECT_EQ(property->length(), 0U);
    EXPECT_TRUE(property->isPointerValid());
    EXPECT_EQ(textOf(*property), "");
}

TEST(OldStyleProperty, ReadsAShortReceivedValueAsIfZerosFollowed) {
    const Legacy property = legacy(UINT64, eightBytes);
    deserializeFrom(*property, element(varOid, UINT64, bytes("01 02")));
    EXPECT_EQ(numberOf<unsigned long long>(*property), 0x0102000000000000U);
    deserializeFrom(*property, element(varOid, UINT64, ""));
    EXPECT_EQ(numberOf<unsigned long long>(*property), 0U);
}

TEST(OldStyleProperty, ReceivesWithoutALogLineOrAnEvent) {
    const Legacy property = legacy(UINT32, "01 02 03 04");
    const CapturedLog log;
    deserializeFrom(*property, element(varOid, UINT32, bytes("05060708")));
    EXPECT_FALSE(property->sendEvent());
    EXPECT_EQ(log.all(), "");
}

// A peer chooses type and length; an application may ask for any type.
TEST(OldStyleProperty, StaysInsideItsBytesWhateverItIsAsked) {
    const auto accesses = typedAccesses<OldStyleProperty>();
    for (unsigned int type = 0; type < 256; ++type) {
        for (std::size_t size = 0; size <= 9; ++size) {
            const std::string value(size, '\x5C');
            const Legacy property = legacyFrom(element(varOid, type, value));
            for (const auto& access : accesses)
                access.getLeavesAlone(*property);
            EXPECT_EQ(wire(*property), element(varOid, type, value));
            for (const auto& access : accesses)
                access.set(*property);
            EXPECT_EQ(property->getType(), static_cast<int>(type));
        }
    }
}

TEST(OldStyleProperty, IsCheckedLikeAnyOtherProperty) {
    const Legacy property = legacy(UINT32, "01 02 03 04");
    EXPECT_EQ(check(*property, element(varOid, UINT32, "abcd")), 0);
    EXPECT_EQ(check(*property, element(varOid + 1, UINT32, "abcd")), 7);
    EXPECT_EQ(check(*property, element(varOid, INT32, "abcd")), 6);
    EXPECT_EQ(check(*property, element(varOid, UINT32, "ab")), 8);
    EXPECT_EQ(check(*legacy(STRING, "61"), element(varOid, STRING, "any length")), 0);
}

TEST(OldStyleProperty, HasNoDefaultAndAcceptsEveryValue) {
    const Legacy property = legacy(UINT8, "05");
    property->setToDefault();
    EXPECT_EQ(wireValue(*property), "05");
    EXPECT_FALSE(property->isDefault());
    EXPECT_TRUE(property->validValue("\xFF", 1));
}

TEST(OldStyleProperty, PrintsItsNameAlone) {
    const Legacy property = legacy(UINT8, "05");
    EXPECT_EQ(property->str(), property->getName() + ":\n\n");
}

TEST(OldStyleProperty, FreesEveryValueItReplacesAndItsLast) {
    const std::string large = element(varOid, STRING, std::string(1000, 'x'));
    const std::string text(1000, 'y');
    expectKeepsNoMemory([&] {
        const Legacy property = legacyFrom(large);
        deserializeFrom(*property, large);
        property->set(text);
        const OldStyleProperty copy(*property);
    });
}

// ---------------------------------------------------------------- copies

TEST(OldStylePropertyCopy, IsTheSameElementUnderTheSameName) {
    const Legacy property = legacyFrom(element(0x50C10005, MAC_ADDRESS, bytes("0A0B0C0D0E0F")));
    OldStyleProperty copy(*property);
    EXPECT_EQ(copy.getName(), property->getName());
    EXPECT_EQ(copy.getId(), 0x50C10005U);
    EXPECT_EQ(copy.getRow(), 5U);
    EXPECT_EQ(copy.getAccess(), IFC_CARD_VAR_WRITABLE);
    EXPECT_FALSE(copy.isEventable());
    EXPECT_FALSE(copy.sendEvent());
    EXPECT_EQ(copy.getType(), MAC_ADDRESS);
    EXPECT_EQ(copy.length(), 6U);
    EXPECT_EQ(wire(copy), wire(*property));
}

TEST(OldStylePropertyCopy, HasBytesOfItsOwn) {
    const Legacy property = legacy(UINT32, "01 02 03 04");
    OldStyleProperty copy(*property);
    property->set(9U);
    EXPECT_EQ(wireValue(copy), "01 02 03 04");
    copy.set(8U);
    EXPECT_EQ(wireValue(*property), "00 00 00 09");
}

TEST(OldStylePropertyCopy, OutlivesItsSource) {
    Legacy property = legacy(STRING, "61 62 63");
    OldStyleProperty copy(*property);
    property.reset();
    EXPECT_EQ(textOf(copy), "abc");
}

TEST(OldStylePropertyCopy, HasNoOwner) {
    LcmpTable table("table", 3, true, 6);
    Legacy property = legacyFrom(element(0x50C10005, UINT8, "x"));
    ASSERT_TRUE(table.addProp(property.get(), 2));
    OldStyleProperty copy(*property.release());
    EXPECT_EQ(copy.getOwner(), nullptr);
    EXPECT_EQ(copy.getOid(), 0x50C10005U);
    EXPECT_EQ(copy.getRow(), 2U);
}

TEST(OldStylePropertyCopy, OfNoValueHasNone) {
    const Legacy property = legacy(UINT32, "");
    const CapturedLog log(levelError);
    OldStyleProperty copy(*property);
    EXPECT_EQ(log.all(), "");
    EXPECT_EQ(copy.length(), 0U);
    EXPECT_FALSE(copy.isPointerValid());
}

TEST(OldStylePropertyCopy, OfAnEmptyValueHasAnEmptyValue) {
    const Legacy property = legacy(STRING, "61");
    deserializeFrom(*property, element(varOid, STRING, ""));
    ASSERT_TRUE(property->isPointerValid());
    OldStyleProperty copy(*property);
    EXPECT_TRUE(copy.isPointerValid());
    EXPECT_EQ(textOf(copy), "");
}

TEST(OldStylePropertyCopy, ReadsAShortValueAsIfZerosFollowed) {
    const Legacy property = legacy(UINT64, "01 02");
    OldStyleProperty copy(*property);
    EXPECT_EQ(numberOf<unsigned long long>(copy), 0x0102000000000000U);
}
