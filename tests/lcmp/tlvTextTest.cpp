// Values and elements as text for logs and people.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <random>
#include <string>

#include "heldTlv.h"
#include "util.h"

namespace {

template <typename... Arguments>
std::string textOf(Arguments... arguments) {
    HeldTlv element;
    element.setValue(arguments...);
    return element.valToString();
}

std::string received(const std::string& wireHex) { return HeldTlv(bytes(wireHex)).valToString(); }

// ---------------------------------------------------------------- numbers and booleans

TEST(ValueText, OfANumberIsDecimal) {
    EXPECT_EQ(textOf(std::numeric_limits<unsigned long long>::max()), "18446744073709551615");
    EXPECT_EQ(textOf(std::numeric_limits<unsigned int>::max()), "4294967295");
    EXPECT_EQ(textOf(std::numeric_limits<unsigned short>::max()), "65535");
    EXPECT_EQ(textOf(static_cast<unsigned char>(200)), "200");
    EXPECT_EQ(textOf(static_cast<unsigned char>('A')), "65");
    EXPECT_EQ(textOf(std::numeric_limits<long long>::min()), "-9223372036854775808");
    EXPECT_EQ(textOf(std::numeric_limits<int>::min()), "-2147483648");
    EXPECT_EQ(textOf(static_cast<short>(-32768)), "-32768");
    EXPECT_EQ(textOf(static_cast<signed char>(-128)), "-128");
    EXPECT_EQ(textOf(0), "0");
}

TEST(ValueText, OfABooleanIsAWord) {
    EXPECT_EQ(textOf(true), "true");
    EXPECT_EQ(textOf(false), "false");
    EXPECT_EQ(received("00000001 08 0001 C8"), "true");
}

TEST(ValueText, OfANumberIgnoresTheDeclaredLength) {
    EXPECT_EQ(received("00000001 00 0001 01"), "72057594037927936");
    EXPECT_EQ(received("00000001 01 0006 00000102 FFFF"), "258");
    EXPECT_EQ(received("00000001 02 0001 01"), "256");
    EXPECT_EQ(received("00000001 03 0003 07FFFF"), "7");
    EXPECT_EQ(received("00000001 05 0002 FFFF"), "-65536");
    EXPECT_EQ(received("00000001 07 0002 FEFF"), "-2");
    EXPECT_EQ(received("00000001 08 0005 0001010101"), "false");
    EXPECT_EQ(received("00000001 0A 0002 C0A8"), "192.168.0.0");
    EXPECT_EQ(received("00000001 0B 0009 0000000000000001 FF"), "1970-01-01T00:00:01Z");
}

// ---------------------------------------------------------------- text

TEST(ValueText, OfTextIsQuoted) {
    EXPECT_EQ(textOf("brd"), "\"brd\"");
    EXPECT_EQ(textOf(" two words "), "\" two words \"");
}

TEST(ValueText, OfTextEscapesControlBytes) {
    EXPECT_EQ(textOf("a\nb\rc\td"), R"("a\nb\rc\td")");
    EXPECT_EQ(textOf(R"(say "no" \ yes)"), R"("say \"no\" \\ yes")");
    EXPECT_EQ(textOf(std::string("a\0b", 3)), R"("a\x00b")");
    EXPECT_EQ(textOf(std::string("\x01\x1b\x1f\x7f")), R"("\x01\x1b\x1f\x7f")");
}

TEST(ValueText, OfTextShowsEveryByteOnce) {
    for (int byte = 0; byte < 256; ++byte) {
        const std::string text(1, static_cast<char>(static_cast<unsigned char>(byte)));
        const bool named = text.find_first_of("\n\r\t\"\\") == 0;
        const bool plain = !named && byte >= 0x20 && byte != 0x7F;
        char escaped[8];
        std::snprintf(escaped, sizeof escaped, "\\x%02x", static_cast<unsigned int>(byte));
        const std::string shown = textOf(text);
        if (plain) {
            EXPECT_EQ(shown, '"' + text + '"') << byte;
        } else if (named) {
            EXPECT_EQ(shown.substr(0, 2) + shown.substr(3), R"("\")") << byte;
        } else {
            EXPECT_EQ(shown, '"' + std::string(escaped) + '"') << byte;
        }
    }
}

TEST(ValueText, OfTextKeepsUtf8) {
    EXPECT_EQ(textOf("23 \xC2\xB0"
                     "C"),
              "\"23 \xC2\xB0"
              "C\"");
}

// ---------------------------------------------------------------- addresses

TEST(ValueText, OfAnIpv4AddressIsDotted) {
    const auto type = static_cast<unsigned char>(IPv4ADDRESS);
    EXPECT_EQ(textOf(static_cast<int>(0xC0000201), type), "192.0.2.1");
    EXPECT_EQ(textOf(0, type), "0.0.0.0");
    EXPECT_EQ(textOf(-1, type), "255.255.255.255");
    EXPECT_EQ(textOf(0x01020304, type), "1.2.3.4");
}

TEST(ValueText, OfAMacAddressHasColons) {
    EXPECT_EQ(received("00000001 0D 0006 001B02030405"), "00:1b:02:03:04:05");
    EXPECT_EQ(received("00000001 0D 0006 FFFFFFFFFFFF"), "ff:ff:ff:ff:ff:ff");
}

TEST(ValueText, OfAMacAddressShowsAsManyBytesAsThereAre) {
    EXPECT_EQ(received("00000001 0D 0001 0A"), "0a");
    EXPECT_EQ(received("00000001 0D 0008 0001020304050607"), "00:01:02:03:04:05:06:07");
}

// ---------------------------------------------------------------- byte arrays and unknown types

TEST(ValueText, OfBytesIsThePlatformsRendering) {
    const std::string value = bytes("00 1B FF 41");
    const std::string rendered = util::buf2str(value.data(), value.size());
    ASSERT_FALSE(rendered.empty());
    EXPECT_EQ(received("00000001 0C 0004 001BFF41"), rendered);
    EXPECT_EQ(received("00000001 0E 0004 001BFF41"), rendered);
    EXPECT_EQ(received("00000001 FF 0004 001BFF41"), rendered);
}

TEST(ValueText, OfNoValueIsEmpty) {
    for (int type = 0; type < 256; ++type) {
        HeldTlv element;
        element.type = static_cast<std::uint8_t>(type);
        EXPECT_EQ(element.valToString(), "") << type;
        element.len = 6;
        EXPECT_EQ(element.valToString(), "") << type;
    }
}

// ---------------------------------------------------------------- times

std::string timeText(long long seconds) {
    HeldTlv element;
    element.setValue(seconds);
    element.type = UNIX_TIME;
    return element.valToString();
}

TEST(TimeText, IsIso8601InUtc) {
    EXPECT_EQ(timeText(0), "1970-01-01T00:00:00Z");
    EXPECT_EQ(timeText(1), "1970-01-01T00:00:01Z");
    EXPECT_EQ(timeText(86399), "1970-01-01T23:59:59Z");
    EXPECT_EQ(timeText(951782400), "2000-02-29T00:00:00Z");
    EXPECT_EQ(timeText(1LL << 31), "2038-01-19T03:14:08Z");
    EXPECT_EQ(timeText(4107542400), "2100-03-01T00:00:00Z");
}

TEST(TimeText, GoesBackBehindTheEpoch) {
    EXPECT_EQ(timeText(-1), "1969-12-31T23:59:59Z");
    EXPECT_EQ(timeText(-86400), "1969-12-31T00:00:00Z");
    EXPECT_EQ(timeText(-86401), "1969-12-30T23:59:59Z");
    EXPECT_EQ(timeText(-2203891200), "1900-03-01T00:00:00Z");
    EXPECT_EQ(timeText(-2203891201), "1900-02-28T23:59:59Z");
    EXPECT_EQ(timeText(-62167219200), "0000-01-01T00:00:00Z");
}

TEST(TimeText, HasASignBeyondFourDigitYears) {
    EXPECT_EQ(timeText(253402300799), "9999-12-31T23:59:59Z");
    EXPECT_EQ(timeText(253402300800), "+10000-01-01T00:00:00Z");
    EXPECT_EQ(timeText(-62167219201), "-0001-12-31T23:59:59Z");
}

TEST(TimeText, ReachesBothEndsOfItsRange) {
    EXPECT_EQ(timeText(std::numeric_limits<long long>::max()), "+292277026596-12-04T15:30:07Z");
    EXPECT_EQ(timeText(std::numeric_limits<long long>::min()), "-292277022657-01-27T08:29:52Z");
}

TEST(TimeText, DoesNotDependOnTheTimeZone) {
    ASSERT_EQ(setenv("TZ", "EST5EDT", 1), 0);
    tzset();
    EXPECT_EQ(timeText(0), "1970-01-01T00:00:00Z");
    EXPECT_EQ(timeText(1700000000), "2023-11-14T22:13:20Z");
    unsetenv("TZ");
    tzset();
}

std::string asTheCLibrarySays(long long seconds) {
    const auto time = static_cast<std::time_t>(seconds);
    std::tm parts{};
    if (gmtime_r(&time, &parts) == nullptr)
        return "gmtime_r cannot";
    const long long year = 1900LL + parts.tm_year;
    char text[64];
    std::snprintf(text, sizeof text,
                  year < 0      ? "-%04lld"
                  : year > 9999 ? "+%lld"
                                : "%04lld",
                  year < 0 ? -year : year);
    char rest[64];
    std::strftime(rest, sizeof rest, "-%m-%dT%H:%M:%SZ", &parts);
    return std::string(text) + rest;
}

TEST(TimeText, AgreesWithTheCLibraryOnEveryDayOfTwoThousandYears) {
    if (sizeof(std::time_t) < sizeof(long long))
        GTEST_SKIP() << "the C library's time is too narrow to compare with";
    constexpr long long day = 86400;
    for (long long at = -1000 * 365 * day; at < 1000 * 365 * day; at += day)
        ASSERT_EQ(timeText(at), asTheCLibrarySays(at)) << at;
}

TEST(TimeText, AgreesWithTheCLibraryOnAnySecondOfItsYears) {
    if (sizeof(std::time_t) < sizeof(long long))
        GTEST_SKIP() << "the C library's time is too narrow to compare with";
    constexpr long long secondsOfTwoBillionYears = 63113904000000000;
    std::mt19937_64 random(20240229);
    std::uniform_int_distribution<long long> anySecond(-secondsOfTwoBillionYears, secondsOfTwoBillionYears);
    for (int i = 0; i < 20000; ++i) {
        const long long at = anySecond(random);
        ASSERT_EQ(timeText(at), asTheCLibrarySays(at)) << at;
    }
}

// ---------------------------------------------------------------- whole elements

TEST(ElementText, NamesIdTypeLengthAndValue) {
    HeldTlv element;
    element.id = 0x50C10005;
    element.setValue(0x01020304U);
    EXPECT_EQ(element.toString(), "id=0x50c10005 type=UINT32 len=4 val=16909060");
    element.setValue("brd");
    EXPECT_EQ(element.toString(), "id=0x50c10005 type=STRING len=3 val=\"brd\"");
}

TEST(ElementText, HasTheIdInLowerCaseWithoutPadding) {
    EXPECT_EQ(HeldTlv(bytes("0000000A 08 0001 01")).toString(), "id=0xa type=BOOLEAN len=1 val=true");
    EXPECT_EQ(HeldTlv(bytes("FFFFFFFF 08 0001 00")).toString(), "id=0xffffffff type=BOOLEAN len=1 val=false");
}

TEST(ElementText, OfLengthZeroEndsAfterTheId) {
    EXPECT_EQ(HeldTlv(bytes("11800002 09 0000")).toString(), "id=0x11800002 ");
    EXPECT_EQ(HeldTlv().toString(), "id=0x0 ");
}

TEST(ElementText, NamesEveryType) {
    for (int type = 0; type < 256; ++type) {
        const std::string wire = bytes("00000001") + static_cast<char>(type) + bytes("0008 0001020304050607");
        const HeldTlv element(wire);
        const std::string name =
            type <= MAC_ADDRESS ? lcmpTlvTypeName(static_cast<unsigned int>(type)) : "unknown";
        EXPECT_EQ(element.toString(), "id=0x1 type=" + name + " len=8 val=" + element.valToString());
    }
}

TEST(ElementText, WithoutAValueHasNothingBehindVal) {
    HeldTlv element;
    element.id = 1;
    element.type = UINT32;
    element.len = 4;
    EXPECT_EQ(element.toString(), "id=0x1 type=UINT32 len=4 val=");
}

TEST(ElementText, ShowsALengthAboveAByteInDecimal) {
    HeldTlv element;
    element.setValue(std::string(300, 'x'));
    EXPECT_EQ(element.toString().substr(0, 31), "id=0x0 type=STRING len=300 val=");
}

}  // namespace
