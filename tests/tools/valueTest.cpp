#include "value.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "bytes.h"
#include "support/failureOf.h"

namespace {

using testing::HasSubstr;
using tool::Element;

Element valueOf(LcmpTlvType type, const std::string& text) {
    Element element(0x11800002);
    tool::parseValue(type, text, element);
    return element;
}

std::string failureOfValue(LcmpTlvType type, const std::string& text) {
    return failureOf([&] { valueOf(type, text); });
}

// The element of these wire bytes, "03 00 01 | 80": type, length and value.
Element received(const std::string& typeLengthValue) {
    const std::string frame = bytes("11800002" + typeLengthValue);
    std::vector<Element> elements;
    EXPECT_TRUE(tool::takeElements(frame.data(), static_cast<int>(frame.size()), 0, elements));
    return elements.at(0);
}

struct Rendering {
    LcmpTlvType type;
    const char* typed;
    const char* wire;  // type, length, value
    const char* display;
    const char* plain;
    const char* json;
};

const std::vector<Rendering>& renderings() {
    static const std::vector<Rendering> all = {
        {UINT64, "18446744073709551615", "00 0008 FFFFFFFFFFFFFFFF", "18446744073709551615",
         "18446744073709551615", "18446744073709551615"},
        {UINT64, "0x0102030405060708", "00 0008 0102030405060708", "72623859790382856", "72623859790382856",
         "72623859790382856"},
        {UINT32, "4294967295", "01 0004 FFFFFFFF", "4294967295", "4294967295", "4294967295"},
        {UINT32, "0xdeadBEEF", "01 0004 DEADBEEF", "3735928559", "3735928559", "3735928559"},
        {UINT16, "65535", "02 0002 FFFF", "65535", "65535", "65535"},
        {UINT8, "255", "03 0001 FF", "255", "255", "255"},
        {UINT8, "007", "03 0001 07", "7", "7", "7"},
        {INT64, "-9223372036854775808", "04 0008 8000000000000000", "-9223372036854775808",
         "-9223372036854775808", "-9223372036854775808"},
        {INT64, "9223372036854775807", "04 0008 7FFFFFFFFFFFFFFF", "9223372036854775807",
         "9223372036854775807", "9223372036854775807"},
        {INT32, "-2147483648", "05 0004 80000000", "-2147483648", "-2147483648", "-2147483648"},
        {INT16, "-2", "06 0002 FFFE", "-2", "-2", "-2"},
        {INT8, "-128", "07 0001 80", "-128", "-128", "-128"},
        {INT8, "-0x10", "07 0001 F0", "-16", "-16", "-16"},
        {BOOLEAN, "true", "08 0001 01", "true", "true", "true"},
        {BOOLEAN, "Off", "08 0001 00", "false", "false", "false"},
        {STRING, "brd \"1\"", "09 0007 6272642022 31 22", "\"brd \\\"1\\\"\"", "brd \"1\"",
         "\"brd \\\"1\\\"\""},
        {STRING, "", "09 0000", "\"\"", "", "\"\""},
        {IPv4ADDRESS, "192.0.2.1", "0A 0004 C0000201", "192.0.2.1", "192.0.2.1", "\"192.0.2.1\""},
        {UNIX_TIME, "2024-05-01T14:00:00+02:00", "0B 0008 0000000066322EC0", "2024-05-01T12:00:00Z",
         "2024-05-01T12:00:00Z", "\"2024-05-01T12:00:00Z\""},
        {UNIX_TIME, "-1", "0B 0008 FFFFFFFFFFFFFFFF", "1969-12-31T23:59:59Z", "1969-12-31T23:59:59Z",
         "\"1969-12-31T23:59:59Z\""},
        {BYTE_ARRAY, "00 1b:fF", "0C 0003 001BFF", "00 1B FF", "001bff", "\"001bff\""},
        {BYTE_ARRAY, "0x001bff", "0C 0003 001BFF", "00 1B FF", "001bff", "\"001bff\""},
        {BYTE_ARRAY, "", "0C 0000", "", "", "\"\""},
        {MAC_ADDRESS, "00:1B:21:3c:4d:5e", "0D 0006 001B213C4D5E", "00:1b:21:3c:4d:5e", "00:1b:21:3c:4d:5e",
         "\"00:1b:21:3c:4d:5e\""},
    };
    return all;
}

TEST(Value, OfEveryTypeIsTypedAndBecomesItsBytes) {
    for (const Rendering& value : renderings())
        EXPECT_EQ(hex(valueOf(value.type, value.typed).wireForm()),
                  hex(bytes(std::string("11800002") + value.wire)))
            << lcmpTlvTypeName(value.type) << ' ' << value.typed;
}

TEST(Value, OfEveryTypeIsReceivedAndBecomesText) {
    for (const Rendering& value : renderings()) {
        const Element element = received(value.wire);
        EXPECT_EQ(element.oid(), 0x11800002U);
        EXPECT_EQ(element.type(), static_cast<unsigned int>(value.type));
        EXPECT_EQ(displayText(element), value.display);
        EXPECT_EQ(plainText(element), value.plain);
        EXPECT_EQ(jsonValue(element).dump(), value.json);
    }
}

TEST(Value, AsPlainTextCanBeTypedAgain) {
    for (const Rendering& value : renderings())
        EXPECT_EQ(hex(valueOf(value.type, value.plain).wireForm()), hex(received(value.wire).wireForm()))
            << value.plain;
}

TEST(Value, OfIntegersIsRefusedBeyondItsBounds) {
    struct Case {
        LcmpTlvType type;
        const char* text;
        const char* bounds;
    };
    const std::vector<Case> cases = {
        {UINT64, "18446744073709551616", "0 to 18446744073709551615"},
        {UINT64, "-1", "0 to 18446744073709551615"},
        {UINT32, "4294967296", "0 to 4294967295"},
        {UINT16, "65536", "0 to 65535"},
        {UINT8, "256", "0 to 255"},
        {UINT8, "-1", "0 to 255"},
        {UINT8, "0x100", "0 to 255"},
        {INT64, "9223372036854775808", "-9223372036854775808 to 9223372036854775807"},
        {INT64, "-9223372036854775809", "-9223372036854775808 to 9223372036854775807"},
        {INT32, "2147483648", "-2147483648 to 2147483647"},
        {INT16, "-32769", "-32768 to 32767"},
        {INT8, "128", "-128 to 127"},
        {INT8, "-129", "-128 to 127"},
        {UNIX_TIME, "9223372036854775808", "-9223372036854775808 to 9223372036854775807"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(failureOfValue(c.type, c.text), std::string("2: ") + c.text + " does not fit " +
                                                      lcmpTlvTypeName(c.type) + ", which holds " + c.bounds);
}

TEST(Value, ThatIsNoNumberIsRefused) {
    for (const char* text : {"", "x", "1.5", "1 ", " 1", "+1", "-", "0x", "1e3", "--1"})
        EXPECT_EQ(failureOfValue(UINT8, text),
                  "2: '" + std::string(text) + "' is no UINT8: a whole number from 0 to 255, decimal or 0x");
}

TEST(Value, OfOtherTypesIsRefusedByTheNameOfTheType) {
    EXPECT_EQ(failureOfValue(BOOLEAN, "maybe"), "2: 'maybe' is no BOOLEAN: true or false, on or off, 1 or 0");
    EXPECT_THAT(failureOfValue(BOOLEAN, "2"), HasSubstr("is no BOOLEAN"));
    for (const char* text : {"192.0.2", "192.0.2.256", "host", ""})
        EXPECT_THAT(failureOfValue(IPv4ADDRESS, text), HasSubstr("is no IPv4ADDRESS"));
    for (const char* text : {"00:1b:21:3c:4d", "00:1b:21:3c:4d:5e:6f", "00:1b:21:3c:4d:5e:", "001b213c4d5e",
                             "0:1b:21:3c:4d:5e", "00:1b:21:3c:4d:5g", "00:1b:21:3c:4d:5e "})
        EXPECT_THAT(failureOfValue(MAC_ADDRESS, text), HasSubstr("is no MAC_ADDRESS")) << text;
    for (const char* text : {"0", "001", "0g", "00:", "00  11", "x"})
        EXPECT_THAT(failureOfValue(BYTE_ARRAY, text), HasSubstr("is no BYTE_ARRAY")) << text;
    EXPECT_THAT(failureOfValue(UNIX_TIME, "yesterday"), HasSubstr("is no time"));
}

TEST(Value, OfTextEndsAtWhatALengthCanTell) {
    EXPECT_EQ(valueOf(STRING, std::string(65535, 'x')).length(), 65535U);
    EXPECT_EQ(failureOfValue(STRING, std::string(65536, 'x')),
              "2: 65536 bytes do not fit STRING, which holds 65535");
}

TEST(Value, ThatStandsInAReadRequestIsZeroInItsWidth) {
    Element number(1);
    tool::setPlaceholder(UINT32, number);
    EXPECT_EQ(hex(number.wireForm()), hex(bytes("00000001 01 0004 00000000")));
    Element text(1);
    tool::setPlaceholder(STRING, text);
    EXPECT_EQ(hex(text.wireForm()), hex(bytes("00000001 09 0000")));
}

TEST(Value, OfAnUnknownTypeIsShownInHexadecimal) {
    const Element element = received("2A 0002 1BFF");
    EXPECT_EQ(displayText(element), "1B FF");
    EXPECT_EQ(plainText(element), "1bff");
    EXPECT_EQ(jsonValue(element), "1bff");
}

TEST(Value, KeepsItsOwnCopy) {
    const Element original = valueOf(STRING, "one");
    Element copy = original;
    copy = valueOf(STRING, "two");
    EXPECT_EQ(plainText(original), "one");
    EXPECT_EQ(plainText(copy), "two");
    const Element moved = std::move(copy);
    EXPECT_EQ(plainText(moved), "two");
}

TEST(Value, OfAFixedTypeHasItsLength) {
    EXPECT_TRUE(hasLengthOfType(received("01 0004 00000001")));
    EXPECT_FALSE(hasLengthOfType(received("01 0002 0001")));
    EXPECT_FALSE(hasLengthOfType(received("01 0000")));
    EXPECT_FALSE(hasLengthOfType(received("03 0002 0001")));
    EXPECT_TRUE(hasLengthOfType(received("09 0000")));
    EXPECT_TRUE(hasLengthOfType(received("0D 0003 010203")));
    EXPECT_TRUE(hasLengthOfType(received("2A 0001 01")));
}

TEST(Elements, AreTakenAsLongAsTheyFit) {
    const std::string frame = bytes("FFFF | 11800002 03 0001 80 | 10800000 09 0003 787878");
    for (std::size_t size = 2; size <= frame.size(); ++size) {
        GuardedBytes guarded(frame.substr(0, size));
        std::vector<Element> elements;
        const bool whole = tool::takeElements(guarded.data(), guarded.size(), 2, elements);
        EXPECT_EQ(whole, size == 2 || size == 10 || size == frame.size()) << size;
        EXPECT_EQ(elements.size(), size < 10 ? 0U : size < frame.size() ? 1U : 2U) << size;
    }
}

TEST(Types, AreKnownByTheirNames) {
    EXPECT_EQ(tool::parseType("UINT64"), UINT64);
    EXPECT_EQ(tool::parseType("MAC_ADDRESS"), MAC_ADDRESS);
    EXPECT_THAT(failureOf([] { tool::parseType("uint8"); }),
                HasSubstr("2: 'uint8' is no type; there are UINT64"));
}

}  // namespace
