// Every golden frame, both ways: the values written down here become its bytes, and its bytes become the
// values.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <utility>

#include "frameBuilder.h"
#include "frameOf.h"
#include "frames.h"
#include "lcmpProperty.h"
#include "lcmpmsg.h"

namespace {

constexpr unsigned int reboot = 0x11800000;
constexpr unsigned int utcTime = 0x11800001;
constexpr unsigned int bpClkRef = 0x11800002;
constexpr unsigned int cardType = 0x10800000;
constexpr unsigned int hwError = 0x11000001;
constexpr unsigned int filename = 0x02000000;
constexpr unsigned int commitTimer = 0x0200000A;
constexpr unsigned int specimen = 0x04800000;  // and the type code: a variable of each type
constexpr unsigned int temperatureOf(unsigned int row) { return 0x51404000 + row; }

std::unique_ptr<LcmpProperty> legacyOf(const Element& element) {
    std::string wire = element.bytes();
    return std::make_unique<OldStyleProperty>(reinterpret_cast<lcmp_tlv*>(wire.data()), false);
}

/// A message with the properties it refers to: `write(7).has(oid, -2).text(oid, "abc")`.
class Built {
public:
    explicit Built(std::unique_ptr<LCMPMessage> message) : m_message(std::move(message)) {}

    template <typename T>
    Built has(unsigned int oid, T value) && {
        return add<TypeProperty<T>>(oid, value);
    }
    Built byte(unsigned int oid, int value) && {
        return add<TypeProperty<unsigned char>>(oid, toByte(value));
    }
    Built text(unsigned int oid, const std::string& value) && { return add<StringProperty>(oid, value); }
    Built address(unsigned int oid, const std::string& dotted) && {
        return add<IpAddressProperty>(oid, dotted, false);
    }
    Built time(unsigned int oid, long long seconds) && { return add<UnixTimeProperty>(oid, seconds, false); }
    Built mac(unsigned int oid, const std::string& octets) && {
        return add<MacAddressProperty>(oid, octets, false);
    }

    /// What only a legacy property holds as it is.
    Built raw(const Element& element) && {
        take(legacyOf(element));
        return std::move(*this);
    }

    LCMPMessage& message() const { return *m_message; }

private:
    static unsigned char toByte(int value) { return static_cast<unsigned char>(value); }

    template <typename Property, typename... Arguments>
    Built add(unsigned int oid, Arguments... arguments) {
        take(std::make_unique<Property>(oid, "value", IFC_CARD_VAR_WRITABLE, arguments...));
        return std::move(*this);
    }

    void take(std::unique_ptr<LcmpProperty> property) {
        m_message->addProperty(property.get());
        m_properties.push_back(std::move(property));
    }

    std::unique_ptr<LCMPMessage> m_message;
    std::vector<std::unique_ptr<LcmpProperty>> m_properties;
};

template <typename Message>
std::unique_ptr<Message> message(unsigned int action, unsigned int id) {
    auto made = std::make_unique<Message>();
    made->setAction(static_cast<std::uint8_t>(action));
    made->setMessageId(static_cast<std::uint16_t>(id));
    return made;
}

Built response(unsigned int action, unsigned int id, unsigned int result, unsigned int index) {
    auto made = message<LCMPResponse>(action, id);
    made->setResult(result);
    made->setErrorIndex(static_cast<std::uint16_t>(index));
    return Built(std::move(made));
}

Built read(unsigned int id) { return Built(message<LCMPRequest>(1, id)); }
Built write(unsigned int id) { return Built(message<LCMPRequest>(2, id)); }
Built values(unsigned int id = 7, unsigned int result = RESULT_OK) { return response(3, id, result, 0); }
Built readRefused(unsigned int result, unsigned int index) { return response(3, 7, result, index); }
Built written(unsigned int result, unsigned int index = 0) { return response(4, 7, result, index); }

Built ami(unsigned int id = 7, unsigned int seconds = 1700000000, unsigned int microseconds = 250000) {
    auto made = message<LCMPAmi>(5, id);
    made->setTimestamp(seconds, microseconds);
    return Built(std::move(made));
}

Built withValuesOfSeveralTypes(Built built) {
    return std::move(built)
        .byte(bpClkRef, 128)
        .has(temperatureOf(0), 20)
        .has(temperatureOf(3), -10)
        .has(commitTimer, 0)
        .text(cardType, "xxx");
}

using U64 = unsigned long long;
using U16 = unsigned short;
using I64 = long long;
using I16 = short;
using I8 = signed char;

const std::map<std::string, std::function<Built()>> meanings = {
    // ------------------------------------------------------------ read requests
    {"read-one", [] { return read(7).byte(bpClkRef, 128); }},
    {"read-one-without-value",
     [] {
         return read(7).raw({bpClkRef, UINT8});
     }},
    {"read-many", [] { return withValuesOfSeveralTypes(read(8)); }},
    {"read-nothing", [] { return read(7); }},
    {"read-message-id-0", [] { return read(0).byte(bpClkRef, 128); }},
    {"read-message-id-65535", [] { return read(65535).byte(bpClkRef, 128); }},
    {"read-invalid-oid", [] { return read(7).byte(0xC0000001, 1); }},

    // ------------------------------------------------------------ write requests
    {"write-one", [] { return write(7).byte(bpClkRef, 3); }},
    {"write-many",
     [] {
         return write(9)
             .has(reboot, true)
             .has(utcTime, U64{1700000000000})
             .text(filename, "load.bin")
             .has(commitTimer, -1)
             .byte(bpClkRef, 0);
     }},
    {"write-nothing", [] { return write(7); }},
    {"write-message-id-0", [] { return write(0).byte(bpClkRef, 1); }},
    {"write-message-id-65535", [] { return write(65535).byte(bpClkRef, 1); }},
    {"write-boolean-2",
     [] {
         return write(7).raw({reboot, BOOLEAN, "02"});
     }},
    {"write-text-empty-last", [] { return write(7).byte(bpClkRef, 1).text(filename, ""); }},
    {"write-unknown-type",
     [] {
         return write(7).raw({0x03800001, 200, "010203"});
     }},

    {"write-uint64", [] { return write(7).has(specimen + UINT64, U64{72623859790382856}); }},
    {"write-uint32", [] { return write(7).has(specimen + UINT32, 3735928559U); }},
    {"write-uint16", [] { return write(7).has(specimen + UINT16, U16{4660}); }},
    {"write-uint8", [] { return write(7).byte(specimen + UINT8, 42); }},
    {"write-int64", [] { return write(7).has(specimen + INT64, I64{-9223372036854775807 - 1}); }},
    {"write-int32", [] { return write(7).has(specimen + INT32, -2); }},
    {"write-int16", [] { return write(7).has(specimen + INT16, I16{-32767}); }},
    {"write-int8", [] { return write(7).has(specimen + INT8, I8{-128}); }},
    {"write-boolean", [] { return write(7).has(specimen + BOOLEAN, true); }},
    {"write-string", [] { return write(7).text(specimen + STRING, "card 7"); }},
    {"write-ipv4-address", [] { return write(7).address(specimen + IPv4ADDRESS, "192.168.0.1"); }},
    {"write-unix-time", [] { return write(7).time(specimen + UNIX_TIME, 1700000000); }},
    {"write-byte-array",
     [] {
         return write(7).raw({specimen + BYTE_ARRAY, BYTE_ARRAY, "00FF8001"});
     }},
    {"write-mac-address", [] { return write(7).mac(specimen + MAC_ADDRESS, "0:1b:2:3:4:5"); }},

    // ------------------------------------------------------------ responses
    {"read-response-many", [] { return withValuesOfSeveralTypes(values(8)); }},
    {"read-response-nothing", [] { return values(); }},
    {"read-response-text-empty-last", [] { return values().byte(bpClkRef, 128).text(filename, ""); }},
    {"read-response-byte-array-empty",
     [] {
         return values().raw({specimen + BYTE_ARRAY, BYTE_ARRAY});
     }},
    {"read-response-duplicate", [] { return values(7, RESULT_DUPLICATE_MSG).byte(bpClkRef, 128); }},
    {"read-response-lost", [] { return values(9, RESULT_LOST_MSG).byte(bpClkRef, 128); }},
    {"read-response-message-id-0", [] { return values(0).byte(bpClkRef, 128); }},
    {"write-response-ok", [] { return written(RESULT_OK); }},
    {"write-response-message-id-65535", [] { return response(4, 65535, RESULT_OK, 0); }},
    {"write-response-16", [] { return written(16); }},
    {"write-response-17", [] { return written(17); }},
    {"result-01-version-mismatch", [] { return written(RESULT_PROTOCOL_VERSION_MISMATCH); }},
    {"result-02-duplicate", [] { return written(RESULT_DUPLICATE_MSG); }},
    {"result-03-lost", [] { return written(RESULT_LOST_MSG); }},
    {"result-04-invalid-action", [] { return written(RESULT_INVALID_ACTION); }},
    {"result-05-general-error", [] { return readRefused(RESULT_GENERAL_ERROR, 1); }},
    {"result-06-wrong-type", [] { return written(RESULT_WRONG_TYPE); }},
    {"result-07-wrong-oid", [] { return readRefused(RESULT_WRONG_OID, 2); }},
    {"result-08-wrong-len", [] { return written(RESULT_WRONG_LEN, 149); }},
    {"result-09-wrong-value", [] { return written(RESULT_WRONG_VALUE); }},
    {"result-09-largest-error-index", [] { return written(RESULT_WRONG_VALUE, 65535); }},
    {"result-10-read-only", [] { return written(RESULT_READ_ONLY, 3); }},
    {"result-11-too-long", [] { return readRefused(RESULT_TOO_LONG, 0); }},
    {"result-12-cannot-exec", [] { return readRefused(RESULT_CANNOT_EXEC, 1); }},

    {"read-response-uint64", [] { return values().has(specimen + UINT64, ~U64{0}); }},
    {"read-response-uint32", [] { return values().has(specimen + UINT32, 4294967295U); }},
    {"read-response-uint16", [] { return values().has(specimen + UINT16, U16{65535}); }},
    {"read-response-uint8", [] { return values().byte(specimen + UINT8, 255); }},
    {"read-response-int64", [] { return values().has(specimen + INT64, I64{9223372036854775807}); }},
    {"read-response-int32", [] { return values().has(specimen + INT32, 2147483647); }},
    {"read-response-int16", [] { return values().has(specimen + INT16, I16{32767}); }},
    {"read-response-int8", [] { return values().has(specimen + INT8, I8{127}); }},
    {"read-response-boolean", [] { return values().has(specimen + BOOLEAN, false); }},
    {"read-response-string", [] { return values().text(specimen + STRING, std::string("a\0b", 3)); }},
    {"read-response-ipv4-address",
     [] { return values().address(specimen + IPv4ADDRESS, "255.255.255.255"); }},
    {"read-response-unix-time", [] { return values().time(specimen + UNIX_TIME, -1); }},
    {"read-response-byte-array",
     [] {
         return values().raw({specimen + BYTE_ARRAY, BYTE_ARRAY, "00"});
     }},
    {"read-response-mac-address", [] { return values().mac(specimen + MAC_ADDRESS, "ff:ff:ff:ff:ff:ff"); }},

    // ------------------------------------------------------------ autonomous messages
    {"ami-many",
     [] {
         return ami(3, 1700000000, 999999)
             .has(temperatureOf(1), 50)
             .has(temperatureOf(2), 51)
             .has(hwError, true)
             .text(filename, "a");
     }},
    {"ami-nothing", [] { return ami(3, 0, 0); }},
    {"ami-message-id-0", [] { return ami(0, 4294967295, 999999).byte(bpClkRef, 2); }},
    {"ami-message-id-65535", [] { return ami(65535, 1, 0).byte(bpClkRef, 2); }},

    {"ami-uint64", [] { return ami().has(specimen + UINT64, U64{1}); }},
    {"ami-uint32", [] { return ami().has(specimen + UINT32, 1U); }},
    {"ami-uint16", [] { return ami().has(specimen + UINT16, U16{1}); }},
    {"ami-uint8", [] { return ami().byte(specimen + UINT8, 1); }},
    {"ami-int64", [] { return ami().has(specimen + INT64, I64{-1}); }},
    {"ami-int32", [] { return ami().has(specimen + INT32, -1); }},
    {"ami-int16", [] { return ami().has(specimen + INT16, I16{-1}); }},
    {"ami-int8", [] { return ami().has(specimen + INT8, I8{-1}); }},
    {"ami-boolean", [] { return ami().has(specimen + BOOLEAN, true); }},
    {"ami-string", [] { return ami().text(specimen + STRING, "\xC3\xA4"); }},
    {"ami-ipv4-address", [] { return ami().address(specimen + IPv4ADDRESS, "127.0.0.1"); }},
    {"ami-unix-time", [] { return ami().time(specimen + UNIX_TIME, 4294967295); }},
    {"ami-byte-array",
     [] {
         return ami().raw({specimen + BYTE_ARRAY, BYTE_ARRAY, "010203"});
     }},
    {"ami-mac-address", [] { return ami().mac(specimen + MAC_ADDRESS, "2:0:0:0:0:1"); }},
};

// ---------------------------------------------------------------- frames taken apart

std::unique_ptr<LCMPMessage> messageOfAction(unsigned int action) {
    switch (action) {
        case LCMP_ACTION_READ:
        case LCMP_ACTION_WRITE:
            return std::make_unique<LCMPRequest>();
        case LCMP_ACTION_AMI:
            return std::make_unique<LCMPAmi>();
        default:
            return std::make_unique<LCMPResponse>();
    }
}

/// The elements of a frame, walked without the library.
Elements elementsOf(const std::string& frameBytes, std::size_t position) {
    Elements elements;
    while (position < frameBytes.size()) {
        const auto length = static_cast<std::size_t>(number(frameBytes, position + 5, 2));
        EXPECT_LE(position + 7 + length, frameBytes.size());
        elements.push_back(Element::holding(static_cast<unsigned int>(number(frameBytes, position, 4)),
                                            static_cast<unsigned int>(number(frameBytes, position + 4, 1)),
                                            frameBytes.substr(position + 7, length)));
        position += 7 + length;
    }
    return elements;
}

/// An element of the same shape whose value differs, for booleans too.
Element other(const Element& element) {
    Element different = element;
    for (char& c : different.value)
        c = c == '\0' ? '\1' : '\0';
    return different;
}

void deserialize(LcmpProperty& property, const Element& element) {
    GuardedBytes guarded(element.bytes());
    EXPECT_EQ(property.deserialize(guarded.data()), guarded.size());
}

/// A property of the kind that an application has for this type.
std::unique_ptr<LcmpProperty> propertyFor(unsigned int type, unsigned int oid) {
    constexpr auto access = IFC_CARD_VAR_WRITABLE;
    const auto numeric = [&](auto zero) -> std::unique_ptr<LcmpProperty> {
        return std::make_unique<TypeProperty<decltype(zero)>>(oid, "value", access, zero);
    };
    switch (type) {
        case UINT64:
            return numeric(U64{0});
        case UINT32:
            return numeric(0U);
        case UINT16:
            return numeric(U16{0});
        case UINT8:
            return numeric(static_cast<unsigned char>(0));
        case INT64:
            return numeric(I64{0});
        case INT32:
            return numeric(0);
        case INT16:
            return numeric(I16{0});
        case INT8:
            return numeric(I8{0});
        case BOOLEAN:
            return numeric(false);
        case STRING:
            return std::make_unique<StringProperty>(oid, "value", access, "");
        case IPv4ADDRESS:
            return std::make_unique<IpAddressProperty>(oid, "value", access, 0U, false);
        case UNIX_TIME:
            return std::make_unique<UnixTimeProperty>(oid, "value", access, 0, false);
        case MAC_ADDRESS:
            return std::make_unique<MacAddressProperty>(oid, "value", access, "", false);
        default:
            return nullptr;
    }
}

/// The property that takes this element as it is: one of its type, or a legacy one.
std::unique_ptr<LcmpProperty> propertyFor(const Element& element) {
    auto property = propertyFor(element.type, element.oid);
    const bool fits =
        property != nullptr && (element.type == STRING || property->length() == element.value.size());
    return fits ? std::move(property) : legacyOf(other(element));
}

Built meaningOf(const Frame& golden) {
    const auto found = meanings.find(golden.name);
    if (found == meanings.end())
        throw std::runtime_error("nothing is written down for this frame");
    return found->second();
}

/// A golden frame as the library decoded it.
class Decoded {
public:
    explicit Decoded(const Frame& golden)
        : m_guarded(golden.bytes),
          message(messageOfAction(static_cast<unsigned int>(number(golden.bytes, 5, 1)))),
          elements(elementsOf(golden.bytes, static_cast<std::size_t>(message->getHeaderSize()))) {
        EXPECT_EQ(message->deserialize(m_guarded.data(), m_guarded.size()), 0);
    }

    /// The message again, each element through the property that is made for it.
    std::string writtenAgain(const std::function<std::unique_ptr<LcmpProperty>(const Element&)>& make) {
        std::vector<std::unique_ptr<LcmpProperty>> properties;
        for (const Element& element : elements) {
            properties.push_back(make(element));
            message->addProperty(properties.back().get());
        }
        const std::string frameBytes = frameOf(*message);
        message->clearProperties();
        return frameBytes;
    }

private:
    GuardedBytes m_guarded;

public:
    const std::unique_ptr<LCMPMessage> message;
    const Elements elements;
};

void forEachGoldenFrame(const std::function<void(const Frame&)>& expectations) {
    for (const Frame& golden : goldenFrames()) {
        SCOPED_TRACE(golden.name);
        expectations(golden);
    }
}

}  // namespace

TEST(GoldenFrames, AreThereForEverythingWrittenDown) {
    for (const auto& meaning : meanings)
        EXPECT_NO_THROW(frame(meaning.first)) << meaning.first;
}

TEST(GoldenFrames, AreTheBytesOfTheirValues) {
    forEachGoldenFrame(
        [](const Frame& golden) { EXPECT_EQ(hex(frameOf(meaningOf(golden).message())), hex(golden.bytes)); });
}

TEST(GoldenFrames, HaveTheHeaderOfTheirMessage) {
    forEachGoldenFrame([](const Frame& golden) {
        const Built expected = meaningOf(golden);
        const Decoded decoded(golden);
        EXPECT_EQ(decoded.message->getAction(), expected.message().getAction());
        EXPECT_EQ(decoded.message->getMessageId(), expected.message().getMessageId());
    });
}

TEST(GoldenFrames, OfResponsesHaveTheirResultAndErrorIndex) {
    forEachGoldenFrame([](const Frame& golden) {
        const Decoded decoded(golden);
        const auto* response = dynamic_cast<LCMPResponse*>(decoded.message.get());
        if (response == nullptr)
            return;
        const Built expected = meaningOf(golden);
        const auto& expectedResponse = dynamic_cast<LCMPResponse&>(expected.message());
        EXPECT_EQ(response->getResult(), expectedResponse.getResult());
        EXPECT_EQ(response->getErrorIndex(), expectedResponse.getErrorIndex());
    });
}

TEST(GoldenFrames, OfAmisHaveTheirTime) {
    forEachGoldenFrame([](const Frame& golden) {
        const Decoded decoded(golden);
        const auto* ami = dynamic_cast<LCMPAmi*>(decoded.message.get());
        if (ami == nullptr)
            return;
        const Built expected = meaningOf(golden);
        const auto& expectedAmi = dynamic_cast<LCMPAmi&>(expected.message());
        EXPECT_EQ(ami->getSeconds(), expectedAmi.getSeconds());
        EXPECT_EQ(ami->getMicroseconds(), expectedAmi.getMicroseconds());
    });
}

// The default of each property is the value that is written down; another value is received before the
// frame's.
TEST(GoldenFrames, BecomeTheValuesTheyMean) {
    forEachGoldenFrame([](const Frame& golden) {
        const Built expected = meaningOf(golden);
        const auto& properties = expected.message().getProperties();
        const Elements elements = Decoded(golden).elements;
        ASSERT_EQ(elements.size(), properties.size());
        for (std::size_t i = 0; i < elements.size(); ++i) {
            LcmpProperty& property = *properties[i];
            EXPECT_EQ(property.getOid(), elements[i].oid);
            EXPECT_EQ(property.getType(), static_cast<int>(elements[i].type));
            if (dynamic_cast<OldStyleProperty*>(&property) != nullptr)
                continue;  // has no default, only bytes
            deserialize(property, other(elements[i]));
            EXPECT_EQ(property.isDefault(), elements[i].value.empty());
            deserialize(property, elements[i]);
            EXPECT_TRUE(property.isDefault());
        }
    });
}

TEST(GoldenFrames, AreWrittenAgainAsTheyWereRead) {
    forEachGoldenFrame([](const Frame& golden) {
        const auto received = [](const Element& element) {
            auto property = propertyFor(element);
            deserialize(*property, element);
            return property;
        };
        EXPECT_EQ(hex(Decoded(golden).writtenAgain(received)), hex(golden.bytes));
    });
}

TEST(GoldenFrames, AreWrittenAgainThroughLegacyProperties) {
    forEachGoldenFrame([](const Frame& golden) {
        EXPECT_EQ(hex(Decoded(golden).writtenAgain(legacyOf)), hex(golden.bytes));
    });
}

TEST(GoldenFrames, HaveElementsThatAreWrittenAgainAsTheyWereRead) {
    forEachGoldenFrame([](const Frame& golden) {
        for (const Element& element : Decoded(golden).elements) {
            GuardedBytes received(element.bytes());
            // The fixed width of a type is written whatever length is declared.
            GuardedBytes written(std::max(element.bytes().size(), std::size_t{15}));
            LCMPTlv tlv;
            EXPECT_EQ(tlv.deserialize(received.data()), received.size());
            EXPECT_EQ(tlv.serialize(written.data()), received.size());
            EXPECT_EQ(hex(written.str().substr(0, element.bytes().size())), hex(element.bytes()));
            std::free(tlv.val);
        }
    });
}
