// The kinds that hold an address or a time.
#include <algorithm>
#include <limits>

#include "bytes.h"
#include "propertyTesting.h"

namespace {

constexpr const char* addressFile = "lcmpAddressProperty.cpp";
constexpr const char* zeros = "00 00 00 00 00 00";

// ---------------------------------------------------------------- MAC address

MacAddressProperty mac(const std::string& address, bool eventable = false) {
    return {varOid, "mac", IFC_CARD_VAR_WRITABLE, address, eventable};
}

std::string valueOf(MacAddressProperty& property) {
    GuardedBytes value(6);
    property.get(reinterpret_cast<unsigned char*>(value.data()));
    return hex(value.str());
}

std::string defaultOf(MacAddressProperty& property) {
    property.setToDefault();
    return valueOf(property);
}

// From a buffer that ends with the last byte given.
void set(MacAddressProperty& property, const std::string& hexBytes) {
    GuardedBytes data(bytes(hexBytes));
    property.set(reinterpret_cast<unsigned char*>(data.data()), static_cast<unsigned int>(data.size()));
}

}  // namespace

TEST(MacAddressProperty, IsBuiltFromSixBytes) {
    unsigned char octets[] = {0x00, 0x1B, 0x02, 0x03, 0x04, 0xFF};
    MacAddressProperty property(3, "mac", IFC_CARD_VAR_READ_ONLY, octets, true);
    EXPECT_EQ(valueOf(property), "00 1B 02 03 04 FF");
    EXPECT_TRUE(property.isDefault());
    EXPECT_EQ(property.getId(), 3U);
    EXPECT_EQ(property.getAccess(), IFC_CARD_VAR_READ_ONLY);
    EXPECT_TRUE(property.isEventable());
    EXPECT_FALSE(property.sendEvent());
}

TEST(MacAddressProperty, KeepsItsOwnCopyOfTheSixBytes) {
    unsigned char octets[] = {1, 2, 3, 4, 5, 6};
    MacAddressProperty property(3, "mac", IFC_CARD_VAR_WRITABLE, octets, false);
    octets[0] = 9;
    EXPECT_EQ(valueOf(property), "01 02 03 04 05 06");
    EXPECT_EQ(defaultOf(property), "01 02 03 04 05 06");
}

TEST(MacAddressProperty, IsZeroFromNullAndFromTheEmptyTextWithoutALogLine) {
    const CapturedLog log;
    MacAddressProperty fromNull(3, "mac", IFC_CARD_VAR_WRITABLE, static_cast<unsigned char*>(nullptr), false);
    EXPECT_EQ(valueOf(fromNull), zeros);
    EXPECT_EQ(defaultOf(fromNull), zeros);
    MacAddressProperty fromNothing = mac("");
    EXPECT_EQ(valueOf(fromNothing), zeros);
    EXPECT_EQ(defaultOf(fromNothing), zeros);
    EXPECT_EQ(log.all(), "");
}

TEST(MacAddressProperty, ReadsSixHexadecimalFields) {
    const struct {
        const char* text;
        const char* octets;
    } rows[] = {
        {"00:1b:02:03:04:05", "00 1B 02 03 04 05"},
        {"0:1b:2:3:4:5", "00 1B 02 03 04 05"},
        {"AA:bB:Cc:dd:EE:ff", "AA BB CC DD EE FF"},
        {"1ff:100:fffff01:2:3:4", "FF 00 01 02 03 04"},  // only the low 8 bits of a field count
        {"00:11:22:33:44:55:66", "00 11 22 33 44 55"},   // six fields are read; nobody asks what follows
        {"00:11:22:33:44:55 eth0", "00 11 22 33 44 55"},
    };
    const CapturedLog log;
    for (const auto& row : rows) {
        MacAddressProperty property = mac(row.text);
        EXPECT_EQ(valueOf(property), row.octets) << row.text;
        EXPECT_TRUE(property.isDefault()) << row.text;
        EXPECT_EQ(defaultOf(property), row.octets) << row.text;
    }
    EXPECT_EQ(log.all(), "");
}

TEST(MacAddressProperty, IsZeroFromAnyOtherTextAndSaysSo) {
    for (const char* text : {"00:11:22:33:44", "00:11:22:33:44:", "00-11-22-33-44-55", "001122334455", "mac",
                             "00:11:22:33:44:xx", " "}) {
        MacAddressProperty property = mac(text);
        EXPECT_EQ(valueOf(property), zeros) << text;
        EXPECT_EQ(defaultOf(property), zeros) << text;
        EXPECT_LOGS_FROM(addressFile, "MacAddressProperty", "ERROR",
                         std::string("[mac] Invalid default value (") + text + "). Default set to 0.\n",
                         [&] { mac(text); });
    }
}

TEST(MacAddressProperty, SendsItsSixOctetsInOrder) {
    MacAddressProperty property = mac("00:1b:02:03:04:05");
    EXPECT_EQ(property.getType(), 13);
    EXPECT_EQ(property.length(), 6U);
    EXPECT_EQ(hex(wire(property)), "01 00 00 07 0D 00 06 00 1B 02 03 04 05");
}

TEST(MacAddressProperty, NeedsThirteenBytes) {
    MacAddressProperty property = mac("00:1b:02:03:04:05");
    expectNeeds(property, 13);
}

TEST(MacAddressProperty, TellsThatThereIsNoRoom) {
    MacAddressProperty property = mac("");
    char buffer[16];
    EXPECT_LOGS("ERROR", "[mac] serializing buffer has not enough space left",
                [&] { property.serialize(buffer, 12); });
}

TEST(MacAddressProperty, TakesSixBytesWhateverLengthIsDeclared) {
    for (const unsigned int declared : {0U, 1U, 5U, 6U, 7U, 65535U}) {
        MacAddressProperty property = mac("00:11:22:33:44:55", true);
        EXPECT_EQ(deserializeFrom(property, element(varOid, MAC_ADDRESS, bytes("0A0B0C0D0E0F"), declared)),
                  static_cast<int>(7 + declared));
        EXPECT_EQ(valueOf(property), "0A 0B 0C 0D 0E 0F");
        EXPECT_EQ(defaultOf(property), "00 11 22 33 44 55");
        EXPECT_FALSE(property.sendEvent());
    }
}

TEST(MacAddressProperty, IsAtItsDefaultOnlyWithAllSixBytesEqual) {
    const std::string address = bytes("001122334455");
    for (std::size_t i = 0; i < 6; ++i) {
        MacAddressProperty property = mac("00:11:22:33:44:55");
        std::string other = address;
        other[i] = '\x77';
        set(property, hex(other));
        EXPECT_FALSE(property.isDefault()) << i;
        property.setToDefault();
        EXPECT_TRUE(property.isDefault()) << i;
        EXPECT_EQ(valueOf(property), hex(address)) << i;
    }
}

TEST(MacAddressProperty, RaisesTheEventForTheSameAddressOnly) {
    MacAddressProperty property = mac("00:11:22:33:44:55", true);
    set(property, "00 11 22 33 44 55");
    EXPECT_TRUE(property.sendEvent());
    set(property, "00 11 22 33 44 56");
    EXPECT_FALSE(property.sendEvent());
    EXPECT_EQ(valueOf(property), "00 11 22 33 44 56");
    set(property, "00 11 22 33 44 56");
    EXPECT_TRUE(property.sendEvent());
}

TEST(MacAddressProperty, RaisesNoEventWhereItIsQuiet) {
    MacAddressProperty property = mac("00:11:22:33:44:55", false);
    set(property, "00 11 22 33 44 55");
    EXPECT_FALSE(property.sendEvent());
}

TEST(MacAddressProperty, GoesBackToItsDefaultAndLeavesTheEventAsItWas) {
    MacAddressProperty property = mac("00:11:22:33:44:55", true);
    property.setToDefault();
    EXPECT_FALSE(property.sendEvent());
    set(property, "00 11 22 33 44 55");
    property.setToDefault();
    EXPECT_TRUE(property.sendEvent());
}

TEST(MacAddressProperty, TakesAsManyBytesAsGivenBeyondTheSixthIntoItsDefault) {
    const std::string given = bytes("A0A1A2A3A4A5A6A7A8A9AAABACADAEAF");
    const std::string before = bytes("001122334455001122334455");
    for (std::size_t count = 0; count <= given.size(); ++count) {
        const std::size_t taken = std::min<std::size_t>(count, 12);
        const std::string after = given.substr(0, taken) + before.substr(taken);
        MacAddressProperty property = mac("00:11:22:33:44:55", true);
        set(property, hex(given.substr(0, count)));
        EXPECT_EQ(valueOf(property), hex(after.substr(0, 6))) << count;
        EXPECT_EQ(defaultOf(property), hex(after.substr(6))) << count;
        EXPECT_FALSE(property.sendEvent()) << count;
    }
}

TEST(MacAddressProperty, StaysWithinItselfForAnyCount) {
    MacAddressProperty property = mac("00:11:22:33:44:55");
    GuardedBytes data(bytes("A0A1A2A3A4A5A6A7A8A9AAAB"));
    property.set(reinterpret_cast<unsigned char*>(data.data()), 0xFFFFFFFF);
    EXPECT_EQ(valueOf(property), "A0 A1 A2 A3 A4 A5");
    EXPECT_EQ(defaultOf(property), "A6 A7 A8 A9 AA AB");
    EXPECT_EQ(property.getName(), "mac");
}

TEST(MacAddressProperty, RaisesNoEventForFewerThanSixBytes) {
    for (const char* start : {"00", "00 11", "00 11 22 33 44"}) {
        MacAddressProperty property = mac("00:11:22:33:44:55", true);
        set(property, start);
        EXPECT_FALSE(property.sendEvent()) << start;
        EXPECT_TRUE(property.isDefault()) << start;
    }
    MacAddressProperty property = mac("00:11:22:33:44:55", true);
    set(property, "");
    EXPECT_FALSE(property.sendEvent());
}

TEST(MacAddressProperty, RaisesTheEventForTheSameAddressWithMoreBehindIt) {
    MacAddressProperty property = mac("00:11:22:33:44:55", true);
    set(property, "00 11 22 33 44 55 66");
    EXPECT_TRUE(property.sendEvent());
    EXPECT_EQ(defaultOf(property), "66 11 22 33 44 55");
}

TEST(MacAddressProperty, StaysAsItIsWithoutData) {
    MacAddressProperty property = mac("00:11:22:33:44:55", true);
    for (const unsigned int length : {0U, 6U, 12U}) {
        property.set(nullptr, length);
        EXPECT_EQ(valueOf(property), "00 11 22 33 44 55");
        EXPECT_FALSE(property.sendEvent());
    }
}

TEST(MacAddressProperty, IsReadThroughTheByteGetterAndWrittenThroughTheArraySetter) {
    MacAddressProperty property = mac("00:11:22:33:44:55", true);
    expectAnswersOnly(property, {"uint8_t"}, {"array of uint8_t"});
    expectAnswersOnly<LcmpProperty>(property, {"uint8_t"}, {"array of uint8_t"});
}

TEST(MacAddressProperty, AcceptsEveryAddress) {
    MacAddressProperty property = mac("");
    EXPECT_TRUE(property.validValue("\xFF\xFF\xFF\xFF\xFF\xFF", 6));
    EXPECT_EQ(check(property, element(varOid, MAC_ADDRESS, bytes("FFFFFFFFFFFF"))), 0);
    EXPECT_EQ(check(property, element(varOid, MAC_ADDRESS, bytes("FFFFFFFFFF"))), 8);
}

TEST(MacAddressProperty, PrintsOctetsWithABlankBehindEach) {
    MacAddressProperty property(7, "mac", IFC_CARD_VAR_WRITABLE, std::string("0:1b:2:3:4:FF"), true);
    EXPECT_EQ(property.str(),
              "  7 |                                      mac :    00 1b 02 03 04 ff  (def = 00 1b 02 03 04 "
              "ff )\n");
    set(property, "A0 A1 A2 A3 A4 A5");
    EXPECT_EQ(property.str(), lineHead("  7", "mac") + "   a0 a1 a2 a3 a4 a5  (def = 00 1b 02 03 04 ff )\n");
}

// ---------------------------------------------------------------- IPv4 address

namespace {

IpAddressProperty ip(const std::string& address, bool eventable = false) {
    return {varOid, "ip", IFC_CARD_VAR_WRITABLE, address, eventable};
}

unsigned int valueOf(IpAddressProperty& property) {
    unsigned int value = 0x5A5A5A5A;
    property.get(&value);
    return value;
}

unsigned int defaultOf(IpAddressProperty& property) {
    property.setToDefault();
    return valueOf(property);
}

}  // namespace

TEST(IpAddressProperty, IsBuiltFromANumber) {
    IpAddressProperty property(3, "ip", IFC_CARD_VAR_READ_ONLY, 0xC0A80001, true);
    EXPECT_EQ(valueOf(property), 0xC0A80001);
    EXPECT_TRUE(property.isDefault());
    EXPECT_EQ(property.getId(), 3U);
    EXPECT_EQ(property.getAccess(), IFC_CARD_VAR_READ_ONLY);
    EXPECT_TRUE(property.isEventable());
    EXPECT_FALSE(property.sendEvent());
}

TEST(IpAddressProperty, IsBuiltFromDottedTextFirstOctetMostSignificant) {
    const struct {
        const char* text;
        unsigned int number;
    } rows[] = {{"192.168.0.1", 0xC0A80001},
                {"1.2.3.4", 0x01020304},
                {"255.255.255.255", 0xFFFFFFFF},
                {"0.0.0.0", 0},
                {"127.0.0.1", 0x7F000001}};
    const CapturedLog log;
    for (const auto& row : rows) {
        IpAddressProperty property = ip(row.text);
        EXPECT_EQ(valueOf(property), row.number) << row.text;
        EXPECT_EQ(defaultOf(property), row.number) << row.text;
    }
    EXPECT_EQ(log.all(), "");
}

TEST(IpAddressProperty, IsZeroFromAnyOtherTextAndSaysSo) {
    for (const char* text :
         {"300.1.1.1", "1.2.3", "1.2.3.4.5", "", " 1.2.3.4", "1.2.3.4 ", "::1", "localhost"}) {
        IpAddressProperty property = ip(text);
        EXPECT_EQ(valueOf(property), 0U) << text;
        EXPECT_EQ(defaultOf(property), 0U) << text;
        EXPECT_LOGS_FROM(addressFile, "IpAddressProperty", "ERROR",
                         std::string("[ip] Invalid default value (") + text + "). Default set to 0.\n",
                         [&] { ip(text); });
    }
}

TEST(IpAddressProperty, SendsItsFourOctetsInDottedOrder) {
    IpAddressProperty property = ip("192.168.0.1");
    EXPECT_EQ(property.getType(), 10);
    EXPECT_EQ(property.length(), 4U);
    EXPECT_EQ(hex(wire(property)), "01 00 00 07 0A 00 04 C0 A8 00 01");
}

TEST(IpAddressProperty, NeedsElevenBytes) {
    IpAddressProperty property = ip("192.168.0.1");
    expectNeeds(property, 11);
}

TEST(IpAddressProperty, TellsThatThereIsNoRoom) {
    IpAddressProperty property = ip("192.168.0.1");
    char buffer[16];
    EXPECT_LOGS("ERROR", "[ip] serializing buffer has not enough space left",
                [&] { property.serialize(buffer, 10); });
}

TEST(IpAddressProperty, TakesFourBytesWhateverLengthIsDeclared) {
    for (const unsigned int declared : {0U, 1U, 3U, 4U, 16U, 65535U}) {
        IpAddressProperty property = ip("192.168.0.1", true);
        EXPECT_EQ(deserializeFrom(property, element(varOid, IPv4ADDRESS, bytes("FE020304"), declared)),
                  static_cast<int>(7 + declared));
        EXPECT_EQ(valueOf(property), 0xFE020304);
        EXPECT_FALSE(property.isDefault());
        EXPECT_FALSE(property.sendEvent());
    }
}

TEST(IpAddressProperty, RaisesTheEventForADifferentAddressOnly) {
    IpAddressProperty property = ip("192.168.0.1", true);
    property.set(0xC0A80001U);
    EXPECT_FALSE(property.sendEvent());
    property.set(0xC0A80002U);
    EXPECT_TRUE(property.sendEvent());
    EXPECT_EQ(valueOf(property), 0xC0A80002);
    IpAddressProperty quiet = ip("192.168.0.1", false);
    quiet.set(0xC0A80002U);
    EXPECT_FALSE(quiet.sendEvent());
}

TEST(IpAddressProperty, GoesBackToItsDefaultAndLeavesTheEventAsItWas) {
    IpAddressProperty property = ip("192.168.0.1", true);
    property.set(1U);
    EXPECT_FALSE(property.isDefault());
    property.setToDefault();
    EXPECT_TRUE(property.isDefault());
    EXPECT_EQ(valueOf(property), 0xC0A80001);
    EXPECT_TRUE(property.sendEvent());
    property.setToDefault();
    EXPECT_FALSE(property.sendEvent());
}

TEST(IpAddressProperty, AnswersOnlyUnsignedNumbersOf32Bits) {
    IpAddressProperty property = ip("192.168.0.1", true);
    expectAnswersOnly(property, {"uint32_t"}, {"uint32_t"});
    expectAnswersOnly<LcmpProperty>(property, {"uint32_t"}, {"uint32_t"});
}

TEST(IpAddressProperty, AcceptsEveryAddress) {
    IpAddressProperty property = ip("192.168.0.1");
    EXPECT_TRUE(property.validValue("\xFF\xFF\xFF\xFF", 4));
    EXPECT_EQ(check(property, element(varOid, IPv4ADDRESS, bytes("FFFFFFFF"))), 0);
    EXPECT_EQ(check(property, element(varOid, UINT32, bytes("FFFFFFFF"))), 6);
}

TEST(IpAddressProperty, PrintsOneHexadecimalNumber) {
    IpAddressProperty property(7, "ip", IFC_CARD_VAR_WRITABLE, std::string("192.168.0.1"), true);
    EXPECT_EQ(property.str(),
              "  7 |                                       ip :   c0a80001(def = c0a80001)\n");
    property.set(0xAU);
    EXPECT_EQ(property.str(), lineHead("  7", "ip") + "         a(def = c0a80001)\n");
}

TEST(IpAddressProperty, PrintsItsIdInDecimal) {
    EXPECT_EQ(IpAddressProperty(255, "ip", IFC_CARD_VAR_WRITABLE, 0xFFU, false).str(),
              lineHead("255", "ip") + "        ff(def = ff)\n");
}

TEST(IpAddressProperty, PrintsTheSameInEveryLocale) {
    const IpAddressProperty property(1234567, "ip", IFC_CARD_VAR_WRITABLE, 0xC0A80001U, false);
    const std::string line = property.str();
    const GroupedDigits locale;
    EXPECT_EQ(property.str(), line);
}

// ---------------------------------------------------------------- time

namespace {

UnixTimeProperty timeOf(long long seconds, bool eventable = false) {
    return {varOid, "time", IFC_CARD_VAR_WRITABLE, seconds, eventable};
}

long long valueOf(UnixTimeProperty& property) {
    long long value = 0x5A5A;
    property.get(&value);
    return value;
}

constexpr long long earliest = std::numeric_limits<long long>::min();
constexpr long long latest = std::numeric_limits<long long>::max();

const struct {
    long long seconds;
    const char* wire;
} times[] = {{0, "00 00 00 00 00 00 00 00"},      {1700000000, "00 00 00 00 65 53 F1 00"},
             {-1, "FF FF FF FF FF FF FF FF"},     {0x0102030405060708, "01 02 03 04 05 06 07 08"},
             {latest, "7F FF FF FF FF FF FF FF"}, {earliest, "80 00 00 00 00 00 00 00"}};

}  // namespace

TEST(UnixTimeProperty, IsBuiltFromSeconds) {
    UnixTimeProperty property(3, "time", IFC_CARD_VAR_READ_ONLY, -5, true);
    EXPECT_EQ(valueOf(property), -5);
    EXPECT_TRUE(property.isDefault());
    EXPECT_EQ(property.getId(), 3U);
    EXPECT_EQ(property.getAccess(), IFC_CARD_VAR_READ_ONLY);
    EXPECT_TRUE(property.isEventable());
    EXPECT_FALSE(property.sendEvent());
    EXPECT_EQ(property.getType(), 11);
    EXPECT_EQ(property.length(), 8U);
}

TEST(UnixTimeProperty, SendsAndTakesSecondsMostSignificantByteFirst) {
    for (const auto& row : times) {
        UnixTimeProperty sender = timeOf(row.seconds);
        EXPECT_EQ(hex(wire(sender)), std::string("01 00 00 07 0B 00 08 ") + row.wire);
        UnixTimeProperty receiver = timeOf(5, true);
        EXPECT_EQ(deserializeFrom(receiver, element(varOid, UNIX_TIME, bytes(row.wire))), 15);
        EXPECT_EQ(valueOf(receiver), row.seconds);
        EXPECT_FALSE(receiver.sendEvent());
    }
}

TEST(UnixTimeProperty, TakesEightBytesWhateverLengthIsDeclared) {
    for (const unsigned int declared : {0U, 4U, 7U, 8U, 9U, 65535U}) {
        UnixTimeProperty property = timeOf(0);
        EXPECT_EQ(deserializeFrom(property, element(varOid, UNIX_TIME, bytes("FFFFFFFFFFFFFFFF"), declared)),
                  static_cast<int>(7 + declared));
        EXPECT_EQ(valueOf(property), -1);
    }
}

TEST(UnixTimeProperty, NeedsFifteenBytes) {
    UnixTimeProperty property = timeOf(1700000000);
    expectNeeds(property, 15);
}

TEST(UnixTimeProperty, TellsThatThereIsNoRoom) {
    UnixTimeProperty property = timeOf(0);
    char buffer[16];
    EXPECT_LOGS("ERROR", "[time] serializing buffer has not enough space left",
                [&] { property.serialize(buffer, 14); });
}

TEST(UnixTimeProperty, RaisesTheEventForADifferentTimeOnly) {
    UnixTimeProperty property = timeOf(5, true);
    property.set(5LL);
    EXPECT_FALSE(property.sendEvent());
    property.set(5LL + (1LL << 32));
    EXPECT_TRUE(property.sendEvent());
    EXPECT_EQ(valueOf(property), 5LL + (1LL << 32));
    UnixTimeProperty quiet = timeOf(5, false);
    quiet.set(6LL);
    EXPECT_FALSE(quiet.sendEvent());
}

TEST(UnixTimeProperty, GoesBackToItsDefaultAndLeavesTheEventAsItWas) {
    UnixTimeProperty property = timeOf(5, true);
    property.set(5LL + (1LL << 32));
    EXPECT_FALSE(property.isDefault());
    property.setToDefault();
    EXPECT_TRUE(property.isDefault());
    EXPECT_EQ(valueOf(property), 5);
    EXPECT_TRUE(property.sendEvent());
    property.setToDefault();
    EXPECT_FALSE(property.sendEvent());
}

TEST(UnixTimeProperty, AnswersOnlySignedNumbersOf64Bits) {
    UnixTimeProperty property = timeOf(5, true);
    expectAnswersOnly(property, {"int64_t"}, {"int64_t"});
    expectAnswersOnly<LcmpProperty>(property, {"int64_t"}, {"int64_t"});
}

TEST(UnixTimeProperty, AcceptsEveryTime) {
    UnixTimeProperty property = timeOf(5);
    EXPECT_TRUE(property.validValue("\x80\0\0\0\0\0\0\0", 8));
    EXPECT_EQ(check(property, element(varOid, UNIX_TIME, bytes("8000000000000000"))), 0);
    EXPECT_EQ(check(property, element(varOid, INT64, bytes("8000000000000000"))), 6);
}

TEST(UnixTimeProperty, PrintsSecondsInDecimal) {
    UnixTimeProperty property(7, "time", IFC_CARD_VAR_WRITABLE, 1700000000, true);
    EXPECT_EQ(property.str(),
              "  7 |                                     time :           1700000000(def = 1700000000)\n");
    property.set(earliest);
    EXPECT_EQ(property.str(), lineHead("  7", "time") + "-9223372036854775808(def = 1700000000)\n");
}

TEST(UnixTimeProperty, PrintsTheSameInEveryLocale) {
    const UnixTimeProperty property(1234567, "time", IFC_CARD_VAR_WRITABLE, 1700000000, true);
    const std::string line = property.str();
    const GroupedDigits locale;
    EXPECT_EQ(property.str(), line);
}
