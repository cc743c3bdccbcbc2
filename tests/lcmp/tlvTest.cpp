// One element in memory: its record, setters, getters, copies, and the buffer that it keeps.
#include "lcmpTlv.h"

#include <gtest/gtest.h>

#include <boost/any.hpp>
#include <cstddef>
#include <limits>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "capturedLog.h"
#include "heldTlv.h"
#include "lcmpObjectId.h"
#include "lcmpObjects.h"
#include "lcmpProperty.h"
#include "lcmpProtocolBase.h"
#include "lcmpmsg.h"

// The type codes are enumerators, so no header of the library may bring macros of these names.
#if defined(UINT64) || defined(UINT32) || defined(UINT16) || defined(UINT8) || defined(INT64) || \
    defined(INT32) || defined(INT16) || defined(INT8) || defined(BOOLEAN) || defined(STRING) ||  \
    defined(IPv4ADDRESS) || defined(UNIX_TIME) || defined(BYTE_ARRAY) || defined(MAC_ADDRESS)
#error "a public header defines the name of a type code as a macro"
#endif

namespace {

// ---------------------------------------------------------------- the record

static_assert(UINT64 == 0 && UINT32 == 1 && UINT16 == 2 && UINT8 == 3);
static_assert(INT64 == 4 && INT32 == 5 && INT16 == 6 && INT8 == 7 && BOOLEAN == 8);
static_assert(STRING == 9 && IPv4ADDRESS == 10 && UNIX_TIME == 11 && BYTE_ARRAY == 12 && MAC_ADDRESS == 13);

static_assert(offsetof(lcmp_tlv, id) == 0 && offsetof(lcmp_tlv, type) == 4);
static_assert(offsetof(lcmp_tlv, len) == 5 && offsetof(lcmp_tlv, val) == 7);
static_assert(sizeof(lcmp_tlv) == 7 + sizeof(unsigned char*));

static_assert(std::is_base_of_v<lcmp_tlv, LCMPTlv> && sizeof(LCMPTlv) == sizeof(lcmp_tlv));
static_assert(!std::is_polymorphic_v<LCMPTlv> && std::is_trivially_destructible_v<LCMPTlv>);
static_assert(std::is_copy_constructible_v<LCMPTlv>);
static_assert(!std::is_copy_assignable_v<LCMPTlv> && !std::is_move_assignable_v<LCMPTlv>);

template <typename T, typename = void>
struct CanBeSet : std::false_type {};
template <typename T>
struct CanBeSet<T, std::void_t<decltype(std::declval<LCMPTlv&>().setValue(std::declval<T>()))>>
    : std::true_type {};

// A long has another width on another host, so it does not silently pick one of the integer types.
static_assert(CanBeSet<long long>::value && CanBeSet<unsigned long long>::value);
static_assert(!CanBeSet<long>::value && !CanBeSet<unsigned long>::value);

TEST(TlvRecord, ARecordAndItsElementAreTheSameBytes) {
    HeldTlv element;
    element.setValue(7U);
    const lcmp_tlv* record = &element;
    EXPECT_EQ(static_cast<const void*>(record), static_cast<const void*>(&element));
    const unsigned int length = record->len;
    EXPECT_EQ(length, 4U);
}

TEST(TlvRecord, ANewElementIsAllZero) {
    const HeldTlv element;
    EXPECT_EQ(element.oid(), 0U);
    EXPECT_EQ(element.typeCode(), 0);
    EXPECT_EQ(element.length(), 0);
    EXPECT_TRUE(element.isEmpty());
}

TEST(TlvTypeName, IsTheEnumeratorAsItIsSpelled) {
    const std::vector<std::string> names = {"UINT64",      "UINT32",    "UINT16",     "UINT8",      "INT64",
                                            "INT32",       "INT16",     "INT8",       "BOOLEAN",    "STRING",
                                            "IPv4ADDRESS", "UNIX_TIME", "BYTE_ARRAY", "MAC_ADDRESS"};
    for (unsigned int type = 0; type < names.size(); ++type)
        EXPECT_EQ(lcmpTlvTypeName(type), names[type]);
}

TEST(TlvTypeName, IsUnknownAboveTheLastCode) {
    for (const unsigned int type : {14U, 15U, 255U, 256U, 0x80000000U, 0xFFFFFFFFU})
        EXPECT_STREQ(lcmpTlvTypeName(type), "unknown") << type;
}

// ---------------------------------------------------------------- the nine numeric kinds

unsigned long long valueAs(const LCMPTlv& element, unsigned long long) { return element.getValueAsUInt64(); }
unsigned int valueAs(const LCMPTlv& element, unsigned int) { return element.getValueAsUInt32(); }
unsigned short valueAs(const LCMPTlv& element, unsigned short) { return element.getValueAsUInt16(); }
unsigned char valueAs(const LCMPTlv& element, unsigned char) { return element.getValueAsUInt8(); }
long long valueAs(const LCMPTlv& element, long long) { return element.getValueAsInt64(); }
int valueAs(const LCMPTlv& element, int) { return element.getValueAsInt32(); }
short valueAs(const LCMPTlv& element, short) { return element.getValueAsInt16(); }
signed char valueAs(const LCMPTlv& element, signed char) { return element.getValueAsInt8(); }
bool valueAs(const LCMPTlv& element, bool) { return element.getValueAsBool(); }

template <typename T>
std::vector<T> sampleValues() {
    using Limits = std::numeric_limits<T>;
    return {T{0}, T{1}, Limits::min(), Limits::max(), static_cast<T>(Limits::max() / 3)};
}

template <>
std::vector<bool> sampleValues<bool>() {
    return {false, true};
}

template <typename T, int code>
struct Kind {
    using Value = T;
    static constexpr int typeCode = code;
};

using Kinds =
    testing::Types<Kind<unsigned long long, UINT64>, Kind<unsigned int, UINT32>, Kind<unsigned short, UINT16>,
                   Kind<unsigned char, UINT8>, Kind<long long, INT64>, Kind<int, INT32>, Kind<short, INT16>,
                   Kind<signed char, INT8>, Kind<bool, BOOLEAN>>;

template <typename K>
class TlvNumber : public testing::Test {};

struct KindName {
    template <typename K>
    static std::string GetName(int /*index*/) {
        return lcmpTlvTypeName(K::typeCode);
    }
};

TYPED_TEST_SUITE(TlvNumber, Kinds, KindName);

TYPED_TEST(TlvNumber, IsSetWithItsTypeAndWidth) {
    for (const typename TypeParam::Value value : sampleValues<typename TypeParam::Value>()) {
        HeldTlv element;
        element.setValue(value);
        EXPECT_EQ(element.typeCode(), TypeParam::typeCode);
        EXPECT_EQ(element.length(), static_cast<int>(sizeof value));
        ASSERT_FALSE(element.isEmpty());
        EXPECT_EQ(element.memory(sizeof value), asHostKeeps(value));
    }
}

TYPED_TEST(TlvNumber, IsReadBackByEveryGetter) {
    using T = typename TypeParam::Value;
    for (const T value : sampleValues<T>()) {
        HeldTlv element;
        element.setValue(value);

        T byReference{};
        element.getValue(byReference);
        EXPECT_EQ(byReference, value);

        T byPointer{};
        EXPECT_TRUE(element.getValue(&byPointer));
        EXPECT_EQ(byPointer, value);

        EXPECT_EQ(valueAs(element, T{}), value);

        boost::any any;
        EXPECT_TRUE(element.getValue(&any));
        ASSERT_TRUE(any.type() == typeid(T));
        EXPECT_EQ(boost::any_cast<T>(any), value);
    }
}

TYPED_TEST(TlvNumber, IsSetAgainInTheSameBuffer) {
    HeldTlv element;
    element.setValue(typename TypeParam::Value{1});
    const unsigned char* before = element.buffer();
    element.setValue(typename TypeParam::Value{0});
    EXPECT_EQ(element.buffer(), before);
}

TYPED_TEST(TlvNumber, WithoutAValueTheGetterByReferenceIsSilentAndLeavesTheArgument) {
    using T = typename TypeParam::Value;
    CapturedLog log;
    const HeldTlv element;
    T out{1};
    element.getValue(out);
    EXPECT_EQ(out, T{1});
    EXPECT_EQ(log.all(), "");
}

TYPED_TEST(TlvNumber, WithoutAValueTheGetterByPointerIsFalseAndLeavesTheTarget) {
    using T = typename TypeParam::Value;
    EXPECT_LOGS_FROM("lcmpTlv.cpp", "isPointerValid", "ERROR", "Pointer val in LCMPTlv is invalid!", [] {
        const HeldTlv element;
        T out{1};
        EXPECT_FALSE(element.getValue(&out));
        EXPECT_EQ(out, T{1});
    });
}

TYPED_TEST(TlvNumber, WithoutAValueTheGetterByValueIsZero) {
    EXPECT_LOGS_FROM("lcmpTlv.cpp", "isPointerValid", "ERROR", "Pointer val in LCMPTlv is invalid!", [] {
        const HeldTlv element;
        EXPECT_EQ(valueAs(element, typename TypeParam::Value{}), typename TypeParam::Value{0});
    });
}

// ---------------------------------------------------------------- getters that do not look at the type

TEST(TlvGetters, DoNotConvertBetweenTypes) {
    HeldTlv element;
    element.setValue(0x0102030405060708ULL);
    const std::string memory = asHostKeeps(0x0102030405060708ULL);
    EXPECT_EQ(element.getValueAsUInt32(), asHostReads<unsigned int>(memory));
    EXPECT_EQ(element.getValueAsUInt16(), asHostReads<unsigned short>(memory));
    EXPECT_EQ(element.getValueAsUInt8(), asHostReads<unsigned char>(memory));
    EXPECT_EQ(element.getValueAsInt64(), 0x0102030405060708LL);
}

TEST(TlvGetters, ReadZerosBeyondANarrowerValue) {
    HeldTlv element;
    element.setValue(static_cast<unsigned char>(0xC8));
    const std::string memory = bytes("C8 00 00 00 00 00 00 00");
    EXPECT_EQ(element.getValueAsUInt64(), asHostReads<unsigned long long>(memory));
    EXPECT_EQ(element.getValueAsUInt32(), asHostReads<unsigned int>(memory));
    EXPECT_EQ(element.getValueAsUInt16(), asHostReads<unsigned short>(memory));
}

TEST(TlvGetters, ReadZerosBeyondAShortText) {
    HeldTlv element;
    element.setValue("xyz", 3);
    EXPECT_EQ(element.getValueAsUInt64(), asHostReads<unsigned long long>(bytes("78 79 7A 00 00 00 00 00")));
}

TEST(TlvGetters, ExtendTheSign) {
    HeldTlv element;
    element.setValue(static_cast<signed char>(-2));
    EXPECT_EQ(static_cast<int>(element.getValueAsInt8()), -2);
    element.setValue(static_cast<short>(-300));
    EXPECT_EQ(static_cast<int>(element.getValueAsInt16()), -300);
}

TEST(TlvGetters, TakeAnyByteButZeroForTrue) {
    for (int byte = 0; byte < 256; ++byte) {
        HeldTlv element;
        element.setValue(static_cast<unsigned char>(byte));
        bool byReference = byte == 0;
        bool byPointer = byte == 0;
        element.getValue(byReference);
        EXPECT_TRUE(element.getValue(&byPointer));
        EXPECT_EQ(byReference, byte != 0) << byte;
        EXPECT_EQ(byPointer, byte != 0) << byte;
        EXPECT_EQ(element.getValueAsBool(), byte != 0) << byte;
    }
}

TEST(TlvGetters, SeeThatThereIsAValueWithoutALine) {
    CapturedLog log;
    HeldTlv element;
    element.setValue(true);
    EXPECT_TRUE(element.isPointerValid());
    EXPECT_EQ(log.all(), "");
}

TEST(TlvGetters, SeeThatThereIsNoValue) {
    EXPECT_LOGS_FROM("lcmpTlv.cpp", "isPointerValid", "ERROR", "Pointer val in LCMPTlv is invalid!",
                     [] { EXPECT_FALSE(HeldTlv().isPointerValid()); });
}

// Whatever a peer declared and whatever the application asks for: the sanitizers watch the bounds.
TEST(TlvGetters, StayInsideTheBufferForEveryTypeAndShortLength) {
    for (int type = 0; type < 256; ++type) {
        for (int length = 1; length <= 16; ++length) {
            const std::string value(static_cast<std::size_t>(length), '\x81');
            HeldTlv element(bytes("01000001") + static_cast<char>(type) + '\0' + static_cast<char>(length) +
                            value);
            const auto memory = element.memory(8);
            EXPECT_EQ(element.getValueAsUInt64(), asHostReads<unsigned long long>(memory));
            EXPECT_EQ(element.getValueAsInt64(), asHostReads<long long>(memory));
            EXPECT_EQ(element.getValueAsUInt32(), asHostReads<unsigned int>(memory));
            EXPECT_EQ(element.getValueAsUInt16(), asHostReads<unsigned short>(memory));
            EXPECT_EQ(element.getValueAsString().size(), value.size());
            boost::any any;
            const bool mapped = type <= STRING || type == UNIX_TIME;
            EXPECT_EQ(element.getValue(&any), mapped) << type;
            EXPECT_EQ(any.empty(), !mapped) << type;
            EXPECT_FALSE(element.valToString().empty()) << type;
        }
    }
}

// ---------------------------------------------------------------- setValue(int, type)

TEST(TlvTypedInt, MakesAnIpv4AddressOrAnInt32) {
    HeldTlv element;
    element.setValue(0x7F000001, static_cast<unsigned char>(IPv4ADDRESS));
    EXPECT_EQ(element.typeCode(), IPv4ADDRESS);
    EXPECT_EQ(element.length(), 4);
    EXPECT_EQ(element.getValueAsUInt32(), 0x7F000001U);

    element.setValue(-5, static_cast<unsigned char>(INT32));
    EXPECT_EQ(element.typeCode(), INT32);
    EXPECT_EQ(element.length(), 4);
    EXPECT_EQ(element.getValueAsInt32(), -5);
}

TEST(TlvTypedInt, RefusesEveryOtherTypeAndChangesNothing) {
    for (int type = 0; type < 256; ++type) {
        if (type == INT32 || type == IPv4ADDRESS)
            continue;
        HeldTlv element;
        element.setValue("abc", 3);
        const unsigned char* before = element.buffer();
        CapturedLog log;
        element.setValue(7, static_cast<unsigned char>(type));
        EXPECT_EQ(
            log.count("ERROR", "setValue with a newtype that is not supported, val could be null pointer!!!"),
            1)
            << type;
        EXPECT_EQ(element.typeCode(), STRING);
        EXPECT_EQ(element.length(), 3);
        EXPECT_EQ(element.buffer(), before);
        EXPECT_EQ(element.getValueAsString(), "abc");
    }
}

TEST(TlvTypedInt, LogsTheRefusal) {
    EXPECT_LOGS_FROM("lcmpTlv.cpp", "setValue", "ERROR",
                     "setValue with a newtype that is not supported, val could be null pointer!!!", [] {
                         HeldTlv element;
                         element.setValue(7, static_cast<unsigned char>(INT16));
                         EXPECT_TRUE(element.isEmpty());
                     });
}

// ---------------------------------------------------------------- text and bytes in

TEST(TlvText, HasItsBytesAndNoNul) {
    HeldTlv element;
    element.setValue("xyz", 3);
    EXPECT_EQ(element.typeCode(), STRING);
    EXPECT_EQ(element.length(), 3);
    EXPECT_EQ(element.getValueAsString(), "xyz");
    EXPECT_EQ(hex(element.wire()), "00 00 00 00 09 00 03 78 79 7A");
}

TEST(TlvText, ComesFromAString) {
    HeldTlv element;
    element.setValue(std::string("a\0b", 3));
    EXPECT_EQ(element.typeCode(), STRING);
    EXPECT_EQ(element.length(), 3);
    EXPECT_EQ(element.getValueAsString(), std::string("a\0b", 3));
}

TEST(TlvText, ALiteralIsTextAndNoBoolean) {
    HeldTlv element;
    element.setValue("true");
    EXPECT_EQ(element.typeCode(), STRING);
    EXPECT_EQ(element.getValueAsString(), "true");
}

TEST(TlvText, ANullTextStoresNothing) {
    CapturedLog log;
    HeldTlv element;
    element.setValue(9U);
    element.setValue(static_cast<const char*>(nullptr));
    EXPECT_EQ(element.typeCode(), UINT32);
    EXPECT_EQ(element.getValueAsUInt32(), 9U);
    EXPECT_EQ(log.all(), "");
}

TEST(TlvText, TakesNoByteBehindTheGivenOnes) {
    GuardedBytes source(std::string("first"));
    HeldTlv element;
    element.setValue(source.data(), 5);
    EXPECT_EQ(element.getValueAsString(), "first");
    element.setValue(source.data() + 3, 2);
    EXPECT_EQ(element.getValueAsString(), "st");
}

TEST(TlvText, MayBeAsLongAsTheLengthFieldAllows) {
    const std::string longest(65535, 'q');
    HeldTlv element;
    element.setValue(longest);
    EXPECT_EQ(element.length(), 65535);
    EXPECT_EQ(element.getValueAsString(), longest);
    EXPECT_EQ(element.wire().substr(7), longest);
}

TEST(TlvText, ALongerOneKeepsWhatTheLengthFieldSays) {
    std::string text = "abcdefgh";
    text.resize(65536 + 5, 'z');
    HeldTlv fromString;
    fromString.setValue(text);
    EXPECT_EQ(fromString.length(), 5);
    EXPECT_EQ(fromString.getValueAsString(), "abcde");

    HeldTlv fromBytes;
    fromBytes.setValue(text.data(), static_cast<int>(text.size()));
    EXPECT_EQ(fromBytes.length(), 5);
    EXPECT_EQ(fromBytes.getValueAsString(), "abcde");

    HeldTlv fromLiteral;
    fromLiteral.setValue(text.c_str());
    EXPECT_EQ(fromLiteral.length(), 5);
    EXPECT_EQ(fromLiteral.getValueAsString(), "abcde");
}

TEST(TlvText, OfLengthZeroNeedsNoBuffer) {
    CapturedLog log;
    HeldTlv element;
    element.setValue(std::string());
    EXPECT_EQ(element.typeCode(), STRING);
    EXPECT_EQ(element.length(), 0);
    EXPECT_TRUE(element.isEmpty());
    element.setValue("", 0);
    EXPECT_TRUE(element.isEmpty());
    element.setValue(static_cast<const char*>(nullptr), 0, static_cast<unsigned char>(MAC_ADDRESS));
    EXPECT_EQ(element.typeCode(), MAC_ADDRESS);
    EXPECT_TRUE(element.isEmpty());
    EXPECT_EQ(log.all(), "");
}

TEST(TlvText, OfLengthZeroLeavesNothingOfTheValueBefore) {
    HeldTlv element;
    element.setValue(0xFFFFFFFFFFFFFFFFULL);
    element.setValue(std::string());
    EXPECT_EQ(element.length(), 0);
    EXPECT_EQ(element.getValueAsString(), "");
    ASSERT_FALSE(element.isEmpty());
    EXPECT_EQ(element.getValueAsUInt64(), 0U);
}

TEST(TlvText, ANegativeLengthStoresNothing) {
    CapturedLog log;
    for (const int length : {-1, -65535, std::numeric_limits<int>::min()}) {
        HeldTlv element;
        element.setValue(9U);
        element.setValue("abc", length);
        element.setValue("abc", length, static_cast<unsigned char>(MAC_ADDRESS));
        EXPECT_EQ(element.typeCode(), UINT32);
        EXPECT_EQ(element.length(), 4);
        EXPECT_EQ(element.getValueAsUInt32(), 9U);
    }
    EXPECT_EQ(log.all(), "");
}

TEST(TlvText, NullDataWithALengthStoresNothing) {
    CapturedLog log;
    HeldTlv element;
    element.setValue(9U);
    element.setValue(nullptr, 4);
    element.setValue(static_cast<const char*>(nullptr), 6, static_cast<unsigned char>(MAC_ADDRESS));
    EXPECT_EQ(element.typeCode(), UINT32);
    EXPECT_EQ(element.getValueAsUInt32(), 9U);
    EXPECT_EQ(log.all(), "");
}

TEST(TlvTypedBytes, MakeAMacAddressOrAString) {
    const std::string mac = bytes("00 1B 02 03 04 05");
    HeldTlv element;
    element.setValue(mac.data(), 6, static_cast<unsigned char>(MAC_ADDRESS));
    EXPECT_EQ(element.typeCode(), MAC_ADDRESS);
    EXPECT_EQ(element.length(), 6);
    EXPECT_EQ(element.getValueAsString(), mac);

    element.setValue("ab", 2, static_cast<unsigned char>(STRING));
    EXPECT_EQ(element.typeCode(), STRING);
    EXPECT_EQ(element.getValueAsString(), "ab");
}

TEST(TlvTypedBytes, AreSilentlyLeftOutForEveryOtherType) {
    CapturedLog log;
    for (int type = 0; type < 256; ++type) {
        if (type == STRING || type == MAC_ADDRESS)
            continue;
        HeldTlv element;
        element.setValue("abc", 3);
        element.setValue("123456", 6, static_cast<unsigned char>(type));
        EXPECT_EQ(element.typeCode(), STRING) << type;
        EXPECT_EQ(element.length(), 3) << type;
        EXPECT_EQ(element.getValueAsString(), "abc") << type;

        HeldTlv fresh;
        fresh.setValue("123456", 6, static_cast<unsigned char>(type));
        EXPECT_TRUE(fresh.isEmpty()) << type;
    }
    EXPECT_EQ(log.all(), "");
}

// ---------------------------------------------------------------- text and bytes out

TEST(TlvBytesOut, AreFilledUpWithZeros) {
    HeldTlv element;
    element.setValue("abc", 3);
    for (int size = 0; size <= 12; ++size) {
        GuardedBytes out(static_cast<std::size_t>(size), '\x55');
        element.getValue(out.data(), size);
        std::string wanted = "abc";
        wanted.resize(static_cast<std::size_t>(size), '\0');
        EXPECT_EQ(out.str(), wanted);
    }
}

TEST(TlvBytesOut, AreNoneForANegativeCount) {
    HeldTlv element;
    element.setValue("abc", 3);
    char untouched[] = "untouched";
    for (const int size : {0, -1, std::numeric_limits<int>::min()}) {
        element.getValue(untouched, size);
        EXPECT_STREQ(untouched, "untouched");
    }
}

TEST(TlvBytesOut, AreAllZeroWithoutAValue) {
    CapturedLog log;
    GuardedBytes out(4, '\x55');
    HeldTlv().getValue(out.data(), 4);
    EXPECT_EQ(hex(out.str()), "00 00 00 00");
    EXPECT_EQ(log.all(), "");
}

TEST(TlvBytesOut, IntoNullAreNone) {
    HeldTlv element;
    element.setValue("abc", 3);
    element.getValue(static_cast<char*>(nullptr), 3);
    element.getValue(static_cast<char*>(nullptr), 0);
    EXPECT_EQ(element.getValueAsString(), "abc");
}

TEST(TlvArrayOut, CopiesTheSmallerOfValueAndLimit) {
    const std::string value = "012345";
    HeldTlv element;
    element.setValue(value);
    GuardedBytes roomy(100, '\x55');
    EXPECT_EQ(element.getValueArray(roomy.data(), 100), 6);
    EXPECT_EQ(roomy.str(), value + std::string(94, '\x55'));
    for (int limit = 0; limit <= 6; ++limit) {
        GuardedBytes tight(static_cast<std::size_t>(limit), '\x55');
        EXPECT_EQ(element.getValueArray(tight.data(), limit), limit);
        EXPECT_EQ(tight.str(), value.substr(0, static_cast<std::size_t>(limit)));
    }
}

TEST(TlvArrayOut, WithoutAValueCopiesNothingAndStillTellsTheNumber) {
    EXPECT_LOGS_FROM("lcmpTlv.cpp", "isPointerValid", "ERROR", "Pointer val in LCMPTlv is invalid!", [] {
        HeldTlv element;
        element.len = 6;
        GuardedBytes out(100, '\x55');
        EXPECT_EQ(element.getValueArray(out.data(), 100), 6);
        EXPECT_EQ(out.str(), std::string(100, '\x55'));
    });
}

TEST(TlvArrayOut, ANegativeLimitCopiesNothingAndIsReturned) {
    HeldTlv element;
    element.setValue("012345");
    char untouched[] = "untouched";
    EXPECT_EQ(element.getValueArray(untouched, -3), -3);
    EXPECT_STREQ(untouched, "untouched");
}

TEST(TlvTextOut, AsStringHasEveryByte) {
    HeldTlv element;
    element.setValue(std::string("a\0b", 3));
    EXPECT_EQ(element.getValueAsString(), std::string("a\0b", 3));
    std::string out = "before";
    element.getValue(out);
    EXPECT_EQ(out, std::string("a\0b", 3));
}

TEST(TlvTextOut, WithALimitEndsAtTheFirstNul) {
    HeldTlv element;
    element.setValue(std::string("a\0b", 3));
    std::string out = "before";
    element.getValue(&out, 3);
    EXPECT_EQ(out, "a");
    boost::any any;
    EXPECT_TRUE(element.getValue(&any));
    EXPECT_EQ(boost::any_cast<std::string>(any), "a");
}

TEST(TlvTextOut, WithALimitHasAtMostThatManyBytes) {
    HeldTlv element;
    element.setValue("xyz", 3);
    const std::vector<std::pair<int, std::string>> limits = {
        {0, ""},    {1, "x"},
        {2, "xy"},  {3, "xyz"},
        {4, "xyz"}, {std::numeric_limits<int>::max(), "xyz"},
        {-1, ""},   {std::numeric_limits<int>::min(), ""}};
    for (const auto& [limit, wanted] : limits) {
        std::string out = "before";
        element.getValue(&out, limit);
        EXPECT_EQ(out, wanted) << limit;
    }
}

TEST(TlvTextOut, IntoNullDoesNothing) {
    HeldTlv element;
    element.setValue("xyz", 3);
    CapturedLog log;
    element.getValue(static_cast<std::string*>(nullptr), 3);
    EXPECT_EQ(log.all(), "");
    EXPECT_EQ(element.getValueAsString(), "xyz");
}

TEST(TlvTextOut, WithoutAValueIsEmpty) {
    EXPECT_LOGS("ERROR", "Pointer val in LCMPTlv is invalid!",
                [] { EXPECT_EQ(HeldTlv().getValueAsString(), ""); });
    EXPECT_LOGS("ERROR", "Pointer val in LCMPTlv is invalid!", [] {
        std::string out = "before";
        HeldTlv().getValue(&out, 10);
        EXPECT_EQ(out, "");
    });
    EXPECT_LOGS("ERROR", "Pointer val in LCMPTlv is invalid!",
                [] { HeldTlv().getValue(static_cast<std::string*>(nullptr), 10); });
}

TEST(TlvTextOut, WithoutAValueLeavesAStringGivenByReference) {
    EXPECT_LOGS("ERROR", "Pointer val in LCMPTlv is invalid!", [] {
        std::string out = "before";
        HeldTlv().getValue(out);
        EXPECT_EQ(out, "before");
    });
}

// ---------------------------------------------------------------- boost::any

TEST(TlvAny, ATimeIsASigned64BitNumber) {
    const HeldTlv element(bytes("00000001 0B 0008 FFFFFFFF FFFFFFFE"));
    boost::any any;
    ASSERT_TRUE(element.getValue(&any));
    ASSERT_TRUE(any.type() == typeid(long long));
    EXPECT_EQ(boost::any_cast<long long>(any), -2);
}

TEST(TlvAny, ABooleanByteIsTrueUnlessZero) {
    const HeldTlv element(bytes("00000001 08 0001 02"));
    boost::any any;
    ASSERT_TRUE(element.getValue(&any));
    EXPECT_TRUE(boost::any_cast<bool>(any));
}

TEST(TlvAny, AddressesByteArraysAndUnknownTypesHaveNone) {
    for (int type = 0; type < 256; ++type) {
        if (type <= STRING || type == UNIX_TIME)
            continue;
        HeldTlv element;
        element.setValue("1234", 4);
        element.type = static_cast<std::uint8_t>(type);
        boost::any any = std::string("before");
        EXPECT_FALSE(element.getValue(&any)) << type;
        EXPECT_EQ(boost::any_cast<std::string>(any), "before") << type;
    }
}

TEST(TlvPointerGetters, IntoNullAreFalse) {
    HeldTlv element;
    element.setValue(1ULL);
    EXPECT_FALSE(element.getValue(static_cast<unsigned long long*>(nullptr)));
    EXPECT_FALSE(element.getValue(static_cast<unsigned int*>(nullptr)));
    EXPECT_FALSE(element.getValue(static_cast<unsigned short*>(nullptr)));
    EXPECT_FALSE(element.getValue(static_cast<unsigned char*>(nullptr)));
    EXPECT_FALSE(element.getValue(static_cast<long long*>(nullptr)));
    EXPECT_FALSE(element.getValue(static_cast<int*>(nullptr)));
    EXPECT_FALSE(element.getValue(static_cast<short*>(nullptr)));
    EXPECT_FALSE(element.getValue(static_cast<signed char*>(nullptr)));
    EXPECT_FALSE(element.getValue(static_cast<bool*>(nullptr)));
}

TEST(TlvAny, IntoNullIsFalse) {
    HeldTlv element;
    element.setValue(1U);
    EXPECT_FALSE(element.getValue(static_cast<boost::any*>(nullptr)));
}

TEST(TlvAny, WithoutAValueIsFalseAndLeavesTheTarget) {
    EXPECT_LOGS("ERROR", "Pointer val in LCMPTlv is invalid!", [] {
        boost::any any = 5;
        EXPECT_FALSE(HeldTlv().getValue(&any));
        EXPECT_EQ(boost::any_cast<int>(any), 5);
    });
}

// ---------------------------------------------------------------- the buffer

TEST(TlvBuffer, IsKeptForEqualAndSmallerValues) {
    HeldTlv element;
    element.setValue(std::string(20, 'x'));
    const unsigned char* before = element.buffer();
    element.setValue(std::string(20, 'y'));
    EXPECT_EQ(element.buffer(), before);
    element.setValue(0x1122334455667788ULL);
    EXPECT_EQ(element.buffer(), before);
    element.setValue(true);
    EXPECT_EQ(element.buffer(), before);
    element.receive(bytes("00000001 08 0001 01"));
    EXPECT_EQ(element.buffer(), before);
}

TEST(TlvBuffer, KeepsNothingOfAWiderValueInItsFirstEightBytes) {
    HeldTlv element;
    element.setValue(0xFFFFFFFFFFFFFFFFULL);
    element.setValue(static_cast<unsigned short>(0x0102));
    EXPECT_EQ(element.memory(8), asHostKeeps<unsigned short>(0x0102) + std::string(6, '\0'));

    element.setValue(0xFFFFFFFFFFFFFFFFULL);
    element.setValue("ab", 2);
    EXPECT_EQ(hex(element.memory(8)), "61 62 00 00 00 00 00 00");

    element.setValue(0xFFFFFFFFFFFFFFFFULL);
    element.receive(bytes("00000001 0C 0003 010203"));
    EXPECT_EQ(hex(element.memory(8)), "01 02 03 00 00 00 00 00");

    element.setValue(0xFFFFFFFFFFFFFFFFULL);
    element.receive(bytes("00000001 02 0002 0102"));
    EXPECT_EQ(element.memory(8), asHostKeeps<unsigned short>(0x0102) + std::string(6, '\0'));
}

TEST(TlvBuffer, GrowsWithTheValue) {
    HeldTlv element;
    for (int length = 1; length <= 300; ++length) {
        const std::string value(static_cast<std::size_t>(length), static_cast<char>('a' + length % 26));
        element.setValue(value);
        EXPECT_EQ(element.getValueAsString(), value);
    }
    element.setValue(false);
    element.setValue(std::string(65535, 'z'));
    EXPECT_EQ(element.getValueAsString(), std::string(65535, 'z'));
}

TEST(TlvBuffer, GrowsAfterALengthOfZero) {
    HeldTlv element;
    element.setValue("some text");
    element.setValue("");
    element.setValue(std::string(500, 't'));
    EXPECT_EQ(element.getValueAsString(), std::string(500, 't'));
}

// ---------------------------------------------------------------- copies

TEST(TlvCopy, HasABufferOfItsOwn) {
    HeldTlv original;
    original.setValue("hello", 5);
    original.id = 0x11800002;
    HeldTlv copy(original);
    EXPECT_EQ(copy.oid(), 0x11800002U);
    EXPECT_EQ(copy.typeCode(), STRING);
    EXPECT_EQ(copy.length(), 5);
    ASSERT_NE(copy.buffer(), original.buffer());
    EXPECT_EQ(copy.getValueAsString(), "hello");

    original.setValue("HELLO", 5);
    EXPECT_EQ(copy.getValueAsString(), "hello");
    copy.setValue("howdy", 5);
    EXPECT_EQ(original.getValueAsString(), "HELLO");
}

TEST(TlvCopy, OfLengthZeroHasNoBuffer) {
    HeldTlv original;
    original.setValue("some");
    original.setValue("");
    const HeldTlv copy(original);
    EXPECT_EQ(copy.length(), 0);
    EXPECT_EQ(copy.typeCode(), STRING);
    EXPECT_TRUE(copy.isEmpty());
}

TEST(TlvCopy, OfNoValueHasNone) {
    CapturedLog log;
    HeldTlv original;
    original.id = 5;
    original.type = UINT32;
    original.len = 4;
    const HeldTlv copy(original);
    EXPECT_EQ(copy.oid(), 5U);
    EXPECT_EQ(copy.typeCode(), UINT32);
    EXPECT_EQ(copy.length(), 4);
    EXPECT_TRUE(copy.isEmpty());
    EXPECT_EQ(log.all(), "");
}

TEST(TlvCopy, HasRoomForTheWidestNumber) {
    HeldTlv original;
    original.setValue(static_cast<unsigned char>(0xAB));
    const HeldTlv copy(original);
    EXPECT_EQ(hex(copy.memory(8)), "AB 00 00 00 00 00 00 00");
}

TEST(TlvCopy, OfAShortlyDeclaredNumberHasTheWholeOfIt) {
    const HeldTlv original(bytes("00000001 00 0002 0102"));
    const HeldTlv copy(original);
    EXPECT_EQ(copy.length(), 2);
    EXPECT_EQ(copy.getValueAsUInt64(), 0x0102000000000000ULL);
}

}  // namespace
