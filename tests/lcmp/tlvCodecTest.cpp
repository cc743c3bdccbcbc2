// The element on the wire, both ways.
#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "capturedLog.h"
#include "heldTlv.h"
#include "lengths.h"

namespace {

/// Bytes that the codec moves as one word; 0 for types it copies byte by byte.
int wordWidth(int type) {
    switch (type) {
        case UINT64:
        case INT64:
        case UNIX_TIME:
            return 8;
        case UINT32:
        case INT32:
        case IPv4ADDRESS:
            return 4;
        case UINT16:
        case INT16:
            return 2;
        default:
            return 0;
    }
}

std::string header(unsigned int oid, int type, int length) {
    std::string text;
    for (const unsigned int byte :
         {oid >> 24, oid >> 16, oid >> 8, oid, static_cast<unsigned int>(type),
          static_cast<unsigned int>(length) >> 8, static_cast<unsigned int>(length)})
        text += static_cast<char>(static_cast<unsigned char>(byte));
    return text;
}

// ---------------------------------------------------------------- golden bytes

TEST(TlvWire, OfAnUnsignedNumberIsBigEndian) {
    HeldTlv element;
    element.id = 0x11800002;
    element.setValue(0x01020304U);
    EXPECT_EQ(hex(element.wire()), "11 80 00 02 01 00 04 01 02 03 04");
}

TEST(TlvWire, OfEveryNumberIsBigEndianBothWays) {
    HeldTlv element;
    element.id = 0x50C10005;
    element.setValue(0x0102030405060708ULL);
    EXPECT_EQ(hex(element.wire()), "50 C1 00 05 00 00 08 01 02 03 04 05 06 07 08");
    element.setValue(0xFFFEFDFCU);
    EXPECT_EQ(hex(element.wire()), "50 C1 00 05 01 00 04 FF FE FD FC");
    element.setValue(static_cast<unsigned short>(0x0A0B));
    EXPECT_EQ(hex(element.wire()), "50 C1 00 05 02 00 02 0A 0B");
    element.setValue(static_cast<unsigned char>(0x80));
    EXPECT_EQ(hex(element.wire()), "50 C1 00 05 03 00 01 80");
    element.setValue(-2LL);
    EXPECT_EQ(hex(element.wire()), "50 C1 00 05 04 00 08 FF FF FF FF FF FF FF FE");
    element.setValue(-0x01020304);
    EXPECT_EQ(hex(element.wire()), "50 C1 00 05 05 00 04 FE FD FC FC");
    element.setValue(static_cast<short>(-2));
    EXPECT_EQ(hex(element.wire()), "50 C1 00 05 06 00 02 FF FE");
    element.setValue(static_cast<signed char>(-2));
    EXPECT_EQ(hex(element.wire()), "50 C1 00 05 07 00 01 FE");
    element.setValue(true);
    EXPECT_EQ(hex(element.wire()), "50 C1 00 05 08 00 01 01");
    element.setValue(static_cast<int>(0xC0000201), static_cast<unsigned char>(IPv4ADDRESS));
    EXPECT_EQ(hex(element.wire()), "50 C1 00 05 0A 00 04 C0 00 02 01");
}

struct GoldenElement {
    const char* wire;
    int type;
    int length;
    unsigned long long bits;  // of a value that is a word on the wire
};

class TlvWord : public testing::TestWithParam<GoldenElement> {};

TEST_P(TlvWord, IsKeptInHostOrderAndGoesOutAsItCame) {
    const GoldenElement& golden = GetParam();
    const HeldTlv element(bytes(golden.wire));
    EXPECT_EQ(element.oid(), 0x50C10005U);
    EXPECT_EQ(element.typeCode(), golden.type);
    EXPECT_EQ(element.length(), golden.length);
    switch (golden.length) {
        case 8:
            EXPECT_EQ(element.getValueAsUInt64(), golden.bits);
            break;
        case 4:
            EXPECT_EQ(element.getValueAsUInt32(), golden.bits);
            break;
        case 2:
            EXPECT_EQ(element.getValueAsUInt16(), golden.bits);
            break;
        default:
            EXPECT_EQ(element.getValueAsUInt8(), golden.bits);
    }
    EXPECT_EQ(element.wire(), bytes(golden.wire));
}

INSTANTIATE_TEST_SUITE_P(
    OfEachType, TlvWord,
    testing::Values(GoldenElement{"50C10005 00 0008 0102030405060708", UINT64, 8, 0x0102030405060708},
                    GoldenElement{"50C10005 01 0004 01020304", UINT32, 4, 0x01020304},
                    GoldenElement{"50C10005 02 0002 0102", UINT16, 2, 0x0102},
                    GoldenElement{"50C10005 03 0001 80", UINT8, 1, 0x80},
                    GoldenElement{"50C10005 04 0008 8000000000000001", INT64, 8, 0x8000000000000001},
                    GoldenElement{"50C10005 05 0004 80000001", INT32, 4, 0x80000001},
                    GoldenElement{"50C10005 06 0002 8001", INT16, 2, 0x8001},
                    GoldenElement{"50C10005 07 0001 81", INT8, 1, 0x81},
                    GoldenElement{"50C10005 08 0001 07", BOOLEAN, 1, 0x07},
                    GoldenElement{"50C10005 0A 0004 C0000201", IPv4ADDRESS, 4, 0xC0000201},
                    GoldenElement{"50C10005 0B 0008 0000000065A0B1C2", UNIX_TIME, 8, 0x65A0B1C2}));

TEST(TlvWire, OfTextBytesAndUnknownTypesIsCopied) {
    for (const int type : {STRING + 0, BYTE_ARRAY + 0, MAC_ADDRESS + 0, 14, 200, 255}) {
        const std::string wire = header(0x01000007, type, 6) + bytes("00 1B 02 03 04 FF");
        const HeldTlv element(wire);
        EXPECT_EQ(element.typeCode(), type);
        EXPECT_EQ(hex(element.getValueAsString()), "00 1B 02 03 04 FF");
        EXPECT_EQ(element.wire(), wire);
    }
}

// ---------------------------------------------------------------- length 0 and no value

TEST(TlvWire, OfLengthZeroIsTheHeaderAlone) {
    CapturedLog log;
    HeldTlv element;
    element.id = 0x01020304;
    element.setValue("");
    EXPECT_EQ(hex(element.wire()), "01 02 03 04 09 00 00");
    EXPECT_EQ(log.all(), "");
}

TEST(TlvWire, OfLengthZeroIsReadWithoutABuffer) {
    CapturedLog log;
    for (int type = 0; type < 256; ++type) {
        const HeldTlv element(header(0x01020304, type, 0));
        EXPECT_EQ(element.oid(), 0x01020304U);
        EXPECT_EQ(element.typeCode(), type);
        EXPECT_EQ(element.length(), 0);
        EXPECT_TRUE(element.isEmpty());
        EXPECT_EQ(element.wire(), header(0x01020304, type, 0));
    }
    EXPECT_EQ(log.all(), "");
}

TEST(TlvWire, IsReadWhateverLengthStandsInAnElementWithoutABuffer) {
    for (const std::uint16_t length : std::vector<std::uint16_t>{1, 4, 65535}) {
        HeldTlv element;
        element.len = length;
        element.receive(bytes("11800002 05 0004 00000102"));
        EXPECT_EQ(element.getValueAsInt32(), 0x102) << length;
    }
}

TEST(TlvWire, IsReadInPlaceOfTheValueBefore) {
    for (int type = 0; type <= 20; ++type) {
        for (const int length : {1, 2, 4, 6, 8}) {
            SCOPED_TRACE(std::to_string(type) + " with " + std::to_string(length) + " bytes");
            const std::string wire =
                header(7, type, length) + std::string("ABCDEFGH", static_cast<std::size_t>(length));
            const HeldTlv fresh(wire);
            for (const int roomOf : {length, length + 1, 30}) {
                HeldTlv element(header(1, STRING, roomOf) +
                                std::string(static_cast<std::size_t>(roomOf), 'x'));
                const unsigned char* const buffer = element.buffer();
                element.receive(wire);
                EXPECT_EQ(element.buffer(), buffer);
                EXPECT_EQ(element.oid(), 7U);
                EXPECT_EQ(element.typeCode(), type);
                EXPECT_EQ(element.length(), length);
                EXPECT_EQ(element.memory(8), fresh.memory(8));
            }
        }
    }
}

TEST(TlvWire, ThatIsLongerThanTheValueBeforeGetsARoomOfItsOwn) {
    const std::string text(4000, 'y');
    for (const int before : {1, 8, 9, 3999}) {
        HeldTlv element(header(1, STRING, before) + std::string(static_cast<std::size_t>(before), 'x'));
        element.receive(header(7, STRING, 4000) + text);
        EXPECT_GE(malloc_usable_size(const_cast<unsigned char*>(element.buffer())), text.size());
        EXPECT_EQ(element.getValueAsString(), text);
    }
}

TEST(TlvWire, OfLengthZeroLeavesTheBufferOfTheValueBefore) {
    HeldTlv element;
    element.setValue(5U);
    const unsigned char* before = element.buffer();
    element.receive(header(1, UINT32, 0));
    EXPECT_EQ(element.length(), 0);
    EXPECT_EQ(element.buffer(), before);
}

TEST(TlvWire, WithoutAValueIsTheHeaderAndAGapLeftAsItWas) {
    EXPECT_LOGS_FROM("lcmpTlv.cpp", "isPointerValid", "ERROR", "Pointer val in LCMPTlv is invalid!", [] {
        HeldTlv element;
        element.id = 0x01020304;
        element.type = UINT32;
        element.len = 4;
        GuardedBytes out(11, '\x55');
        EXPECT_EQ(element.serialize(out.data()), 11);
        EXPECT_EQ(hex(out.str()), "01 02 03 04 01 00 04 55 55 55 55");
    });
}

// ---------------------------------------------------------------- declared lengths that are not the type's

TEST(TlvDeclaredLength, ShorterThanTheNumberGivesItsFirstBytes) {
    EXPECT_EQ(HeldTlv(bytes("00000001 00 0002 0102")).getValueAsUInt64(), 0x0102000000000000ULL);
    EXPECT_EQ(HeldTlv(bytes("00000001 01 0001 7F")).getValueAsUInt32(), 0x7F000000U);
    EXPECT_EQ(HeldTlv(bytes("00000001 02 0001 7F")).getValueAsUInt16(), 0x7F00U);
    EXPECT_EQ(HeldTlv(bytes("00000001 04 0001 80")).getValueAsInt64(), std::numeric_limits<long long>::min());
    EXPECT_EQ(HeldTlv(bytes("00000001 05 0003 FFFFFF")).getValueAsInt32(), -256);
    EXPECT_EQ(HeldTlv(bytes("00000001 06 0001 FF")).getValueAsInt16(), -256);
    EXPECT_EQ(HeldTlv(bytes("00000001 0A 0003 C00002")).getValueAsUInt32(), 0xC0000200U);
    EXPECT_EQ(HeldTlv(bytes("00000001 0B 0004 00000001")).getValueAsInt64(), 0x0000000100000000LL);
}

TEST(TlvDeclaredLength, ShorterThanTheNumberStillGoesOutWithItsFullWidth) {
    const HeldTlv element(bytes("00000001 01 0002 0102"));
    GuardedBytes out(11, '\x55');
    EXPECT_EQ(element.serialize(out.data()), 9);
    EXPECT_EQ(hex(out.str()), "00 00 00 01 01 00 02 01 02 00 00");
}

TEST(TlvDeclaredLength, LongerThanTheNumberReadsItsWidthAndConsumesTheRest) {
    const HeldTlv element(bytes("00000001 02 0005 0102 AABBCC"));
    EXPECT_EQ(element.length(), 5);
    EXPECT_EQ(element.getValueAsUInt16(), 0x0102);
    EXPECT_EQ(element.memory(8), asHostKeeps<unsigned short>(0x0102) + std::string(6, '\0'));
}

TEST(TlvDeclaredLength, LongerThanTheNumberLeavesAGapOnTheWayOut) {
    const HeldTlv element(bytes("00000001 02 0005 0102 AABBCC"));
    GuardedBytes out(12, '\x55');
    EXPECT_EQ(element.serialize(out.data()), 12);
    EXPECT_EQ(hex(out.str()), "00 00 00 01 02 00 05 01 02 55 55 55");
}

TEST(TlvDeclaredLength, LongerThanOneByteIsKeptWhole) {
    for (const int type : {UINT8 + 0, INT8 + 0, BOOLEAN + 0}) {
        const std::string wire = header(1, type, 3) + bytes("010203");
        const HeldTlv element(wire);
        EXPECT_EQ(element.getValueAsUInt8(), 1U);
        EXPECT_EQ(element.wire(), wire);
    }
}

TEST(TlvDeclaredLength, ABooleanByteGoesOutAsItCame) {
    EXPECT_EQ(hex(HeldTlv(bytes("00000001 08 0001 C8")).wire()), "00 00 00 01 08 00 01 C8");
}

TEST(TlvDeclaredLength, OfEveryTypeAndShortLengthIsWrittenWithoutAByteTooMany) {
    for (int type = 0; type < 256; ++type) {
        for (int length = 1; length <= 20; ++length) {
            std::string wire = header(0x01000007, type, length);
            for (int i = 0; i < length; ++i)
                wire += static_cast<char>(0xA0 + i);
            const HeldTlv element(wire);
            const int width = wordWidth(type);
            GuardedBytes out(static_cast<std::size_t>(7 + std::max(length, width)), '\x55');
            EXPECT_EQ(element.serialize(out.data()), 7 + length);
            const auto kept = static_cast<std::size_t>(width == 0 ? length : std::min(width, length));
            EXPECT_EQ(out.str().substr(0, 7 + kept), wire.substr(0, 7 + kept)) << type << ", " << length;
            const char filling = length < width ? '\0' : '\x55';
            EXPECT_EQ(out.str().substr(7 + kept), std::string(out.str().size() - 7 - kept, filling))
                << type << ", " << length;
        }
    }
}

// ---------------------------------------------------------------- every type with every length

/// Elements of any length at the end of one mapping, so that the byte behind each is the unmapped page's.
class ElementsAtTheGuard {
public:
    ElementsAtTheGuard() : m_memory(7 + longest) {
        for (std::size_t i = 0; i < 7 + longest; ++i)
            m_memory.data()[i] = patternAt(i);
    }

    /// An element of this type that declares the last `length` bytes of the mapping.
    const char* element(int type, int length) {
        forget();
        m_header = m_memory.data() + longest - length;
        std::memcpy(m_header, header(0x11800002, type, length).data(), 7);
        return m_header;
    }

private:
    static constexpr int longest = 65535;

    static char patternAt(std::size_t i) {
        return static_cast<char>(static_cast<unsigned char>(i * 7 + i / 251));
    }

    void forget() {
        if (m_header == nullptr)
            return;
        const auto at = static_cast<std::size_t>(m_header - m_memory.data());
        for (std::size_t i = 0; i < 7; ++i)
            m_memory.data()[at + i] = patternAt(at + i);
    }

    GuardedBytes m_memory;
    char* m_header = nullptr;
};

unsigned long long firstBytes(const char* value, int count, int width) {
    unsigned long long bits = 0;
    for (int i = 0; i < width; ++i)
        bits = bits << 8 | (i < count ? static_cast<unsigned char>(value[i]) : 0U);
    return bits;
}

unsigned long long wordOf(const HeldTlv& element, int width) {
    switch (width) {
        case 8:
            return element.getValueAsUInt64();
        case 4:
            return element.getValueAsUInt32();
        default:
            return element.getValueAsUInt16();
    }
}

bool holdsWhatWasDeclared(const HeldTlv& element, const char* wire, int length) {
    if (length == 0)
        return element.isEmpty();
    const int width = wordWidth(element.typeCode());
    if (width != 0)
        return wordOf(element, width) == firstBytes(wire + 7, length, width);
    return std::memcmp(element.buffer(), wire + 7, static_cast<std::size_t>(length)) == 0;
}

class TlvOfType : public testing::TestWithParam<int> {};

TEST_P(TlvOfType, ReadsExactlyItsDeclaredBytesForEveryLength) {
    const int type = GetParam();
    ElementsAtTheGuard elements;
    for (int length = 0; length <= 65535;
         length += static_cast<int>(strideAt(static_cast<unsigned int>(length)))) {
        const char* wire = elements.element(type, length);
        HeldTlv element;
        ASSERT_EQ(element.deserialize(wire), 7 + length);
        ASSERT_EQ(element.oid(), 0x11800002U);
        ASSERT_EQ(element.typeCode(), type);
        ASSERT_EQ(element.length(), length);
        ASSERT_TRUE(holdsWhatWasDeclared(element, wire, length)) << "length " << length;
    }
}

INSTANTIATE_TEST_SUITE_P(KnownAndNot, TlvOfType, testing::Range(0, 21));
INSTANTIATE_TEST_SUITE_P(Highest, TlvOfType, testing::Values(255));

}  // namespace
