// What the property of a raw element does when there is no memory for its value.
#include <memory>

#include "bytes.h"
#include "capturedLog.h"
#include "failingMalloc.h"
#include "gtest/gtest.h"
#include "lcmpOldStyleProperty.h"

namespace {

constexpr const char* oldStyleFile = "lcmpOldStyleProperty.cpp";
constexpr const char* numberElement = "01 00 00 07 | 01 | 00 04 | 01 02 03 04";
constexpr const char* textElement = "01 00 00 08 | 09 | 00 03 | 61 62 63";
constexpr const char* macElement = "01 00 00 09 | 0D | 00 06 | 01 02 03 04 05 06";

using Legacy = std::unique_ptr<OldStyleProperty>;

// No memory while this lives.
class WithoutMemory {
public:
    WithoutMemory() { failMallocAfter(0); }
    ~WithoutMemory() { mallocWorks(); }
    WithoutMemory(const WithoutMemory&) = delete;
    WithoutMemory& operator=(const WithoutMemory&) = delete;
};

Legacy legacy(const char* elementHex) {
    GuardedBytes buffer(bytes(elementHex));
    return std::make_unique<OldStyleProperty>(reinterpret_cast<lcmp_tlv*>(buffer.data()), false);
}

Legacy legacyWithoutMemory(const char* elementHex) {
    GuardedBytes buffer(bytes(elementHex));
    const WithoutMemory none;
    return std::make_unique<OldStyleProperty>(reinterpret_cast<lcmp_tlv*>(buffer.data()), false);
}

int deserializeWithoutMemory(OldStyleProperty& property, const char* elementHex) {
    GuardedBytes buffer(bytes(elementHex));
    const WithoutMemory none;
    return property.deserialize(buffer.data());
}

void setTextWithoutMemory(OldStyleProperty& property) {
    const std::string value = "longer than any text that fits into the string object itself";
    const WithoutMemory none;
    property.set(value);
}

void setMacWithoutMemory(OldStyleProperty& property) {
    unsigned char data[] = {9, 9, 9, 9, 9};
    const WithoutMemory none;
    property.set(data, 5);
}

void expectNoValue(OldStyleProperty& property, unsigned int length) {
    EXPECT_FALSE(property.isPointerValid());
    EXPECT_EQ(property.length(), length);
}

std::string sent(OldStyleProperty& property) {
    GuardedBytes buffer(7 + std::size_t{property.length()});
    EXPECT_EQ(property.serialize(buffer.data(), buffer.size()), buffer.size());
    return hex(buffer.str());
}

}  // namespace

TEST(OldStyleAllocation, ANewPropertyKeepsEverythingButItsValue) {
    const Legacy property = legacyWithoutMemory(numberElement);
    expectNoValue(*property, 4);
    EXPECT_EQ(property->getType(), UINT32);
    EXPECT_EQ(property->getOid(), 0x01000007U);
    EXPECT_LOGS_FROM(oldStyleFile, "OldStyleProperty", "ERROR", "malloc failed!",
                     [] { legacyWithoutMemory(numberElement); });
}

// Numbers are read in full width whatever length an element declares.
TEST(OldStyleAllocation, EveryValueHasRoomForTheWidestNumber) {
    constexpr const char* shortElement = "01 00 00 07 | 00 | 00 01 | 05";
    GuardedBytes buffer(bytes(shortElement));
    GuardedBytes empty(bytes("01 00 00 07 | 00 | 00 00"));

    failMallocAfter(alwaysWorks);
    const Legacy property = legacy(shortElement);
    EXPECT_GE(lastMallocSize(), 8U);

    failMallocAfter(alwaysWorks);
    const OldStyleProperty copy(*property);
    EXPECT_GE(lastMallocSize(), 8U);

    failMallocAfter(alwaysWorks);
    property->deserialize(buffer.data());
    EXPECT_GE(lastMallocSize(), 8U);

    failMallocAfter(alwaysWorks);
    property->deserialize(empty.data());
    EXPECT_GE(lastMallocSize(), 8U);

    const Legacy lost = legacyWithoutMemory(shortElement);
    failMallocAfter(alwaysWorks);
    lost->set(5ULL);
    EXPECT_GE(lastMallocSize(), 8U);
    mallocWorks();
}

TEST(OldStyleAllocation, ANewPropertyOfLengthZeroNeedsNoMemory) {
    const CapturedLog log(levelError);
    const Legacy property = legacyWithoutMemory("01 00 00 07 | 09 | 00 00");
    EXPECT_EQ(log.all(), "");
    EXPECT_EQ(property->length(), 0U);
}

TEST(OldStyleAllocation, ACopyKeepsEverythingButItsValue) {
    const Legacy property = legacy(macElement);
    EXPECT_LOGS_FROM(oldStyleFile, "OldStyleProperty", "ERROR", "malloc failed!", [&] {
        const WithoutMemory none;
        OldStyleProperty copy(*property);
        expectNoValue(copy, 6);
        EXPECT_EQ(copy.getType(), MAC_ADDRESS);
        EXPECT_EQ(copy.getName(), property->getName());
    });
    EXPECT_EQ(sent(*property), "01 00 00 09 0D 00 06 01 02 03 04 05 06");
}

TEST(OldStyleAllocation, ACopyOfALostValueHasNoneEither) {
    const Legacy property = legacyWithoutMemory(numberElement);
    OldStyleProperty copy(*property);
    EXPECT_EQ(copy.length(), 4U);
    EXPECT_EQ(copy.getType(), UINT32);
}

TEST(OldStyleAllocation, AReceivedElementLosesItsValueOnly) {
    const Legacy property = legacy(numberElement);
    EXPECT_EQ(deserializeWithoutMemory(*property, macElement), 13);
    expectNoValue(*property, 6);
    EXPECT_EQ(property->getType(), MAC_ADDRESS);
    EXPECT_EQ(property->getOid(), 0x01000009U);
    EXPECT_LOGS_FROM(oldStyleFile, "deserialize", "ERROR", "malloc failed!",
                     [&] { deserializeWithoutMemory(*property, macElement); });
}

TEST(OldStyleAllocation, ATextIsLostAndSoIsTheOldOne) {
    const Legacy property = legacy(textElement);
    setTextWithoutMemory(*property);
    expectNoValue(*property, 60);
    EXPECT_LOGS_FROM(oldStyleFile, "set", "ERROR", "malloc failed in set!",
                     [&] { setTextWithoutMemory(*property); });
}

TEST(OldStyleAllocation, BytesAreLostAndSoAreTheOldOnes) {
    const Legacy property = legacy(macElement);
    setMacWithoutMemory(*property);
    expectNoValue(*property, 5);
    EXPECT_LOGS_FROM(oldStyleFile, "set", "ERROR", "malloc failed in set!",
                     [&] { setMacWithoutMemory(*property); });
}

TEST(OldStyleAllocation, AnEmptyTextNeedsNoMemory) {
    const Legacy property = legacy(textElement);
    const CapturedLog log(levelError);
    {
        const WithoutMemory none;
        property->set(std::string());
    }
    EXPECT_EQ(log.all(), "");
    EXPECT_EQ(property->length(), 0U);
}

TEST(OldStyleAllocation, ANumberInPlaceNeedsNoMemory) {
    const Legacy property = legacy(numberElement);
    {
        const WithoutMemory none;
        property->set(0x05060708U);
    }
    EXPECT_EQ(sent(*property), "01 00 00 07 01 00 04 05 06 07 08");
}

TEST(OldStyleAllocation, ANumberWithoutAPlaceNeedsMemory) {
    const Legacy property = legacyWithoutMemory(numberElement);
    EXPECT_LOGS_FROM(oldStyleFile, "set", "ERROR", "malloc failed in set!", [&] {
        const WithoutMemory none;
        property->set(0x05060708U);
    });
    expectNoValue(*property, 4);
}

TEST(OldStyleAllocation, ALostValueIsNotRead) {
    const Legacy number = legacyWithoutMemory(numberElement);
    unsigned int value = 77;
    EXPECT_LOGS_FROM(oldStyleFile, "isPointerValid", "ERROR", "Pointer val in OldStyleProperty is invalid!",
                     [&] { number->get(&value); });
    EXPECT_EQ(value, 77U);

    const Legacy text = legacyWithoutMemory(textElement);
    std::string textValue = "as it was";
    EXPECT_LOGS("ERROR", "Pointer val in OldStyleProperty is invalid!", [&] { text->get(&textValue); });
    EXPECT_EQ(textValue, "as it was");

    const Legacy mac = legacyWithoutMemory(macElement);
    unsigned char data[] = "as it was";
    unsigned int length = 6;
    EXPECT_LOGS("ERROR", "Pointer val in OldStyleProperty is invalid!", [&] { mac->get(data, &length); });
    EXPECT_STREQ(reinterpret_cast<char*>(data), "as it was");
    EXPECT_EQ(length, 6U);
}

TEST(OldStyleAllocation, ALostValueIsNotSent) {
    const Legacy property = legacyWithoutMemory(numberElement);
    GuardedBytes buffer(11);
    EXPECT_EQ(property->serialize(buffer.data(), 11), 0);
    EXPECT_LOGS_FROM(
        oldStyleFile, "serialize", "ERROR",
        "[" + property->getName() + "] m_value_pointer is nullpointer but length set is not 0!!!",
        [&] { property->serialize(buffer.data(), 11); });
}

TEST(OldStyleAllocation, RoomIsJudgedBeforeALostValue) {
    const Legacy property = legacyWithoutMemory(numberElement);
    GuardedBytes buffer(10, '?');
    EXPECT_EQ(property->serialize(buffer.data(), 10), -1);
    EXPECT_EQ(buffer.str(), std::string(10, '?'));
}

TEST(OldStyleAllocation, EveryLostValueCanBeSetAgain) {
    const Legacy number = legacyWithoutMemory(numberElement);
    number->set(0x05060708U);
    EXPECT_EQ(sent(*number), "01 00 00 07 01 00 04 05 06 07 08");

    const Legacy text = legacyWithoutMemory(textElement);
    text->set("xyz");
    EXPECT_EQ(sent(*text), "01 00 00 08 09 00 03 78 79 7A");

    const Legacy received = legacyWithoutMemory(numberElement);
    GuardedBytes buffer(bytes(macElement));
    EXPECT_EQ(received->deserialize(buffer.data()), 13);
    EXPECT_EQ(sent(*received), "01 00 00 09 0D 00 06 01 02 03 04 05 06");
}

TEST(OldStyleAllocation, ALostValueSetInPlaceIsZeroBehindTheNumber) {
    const Legacy property = legacyWithoutMemory("01 00 00 07 | 02 | 00 06 | 01 02 03 04 05 06");
    property->set(static_cast<unsigned short>(0x0708));
    EXPECT_EQ(sent(*property), "01 00 00 07 02 00 06 07 08 00 00 00 00");
}
