// The frame: headers, and the elements of a message held against its properties.
#include <gmock/gmock.h>

#include <type_traits>

#include "card.h"
#include "frameOf.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* messageFile = "lcmpmsg.cpp";

/// What a message makes of a frame.
template <typename Message>
unsigned int received(const std::string& frameBytes) {
    GuardedBytes guarded(frameBytes);
    return static_cast<unsigned int>(Message().deserialize(guarded.data(), guarded.size()));
}

/// A property that answers whatever it is told to.
class OddProperty : public LcmpProperty {
public:
    OddProperty(unsigned int announced, int written)
        : LcmpProperty(1, "odd", IFC_CARD_VAR_WRITABLE, false), m_announced(announced), m_written(written) {}

    bool isDefault() override { return false; }
    int serialize(char*, int) override { return m_written; }
    int deserialize(const char*) override { return m_written; }
    unsigned int length() override { return m_announced; }
    int getType() override { return BYTE_ARRAY; }
    std::string str() const override { return "odd\n"; }

private:
    unsigned int m_announced;
    int m_written;
};

using Byte = TypeProperty<unsigned char>;

}  // namespace

// ---------------------------------------------------------------- result codes

TEST(ResultCode, IsAnUnsignedNumber) {
    static_assert(std::is_same_v<std::underlying_type_t<LcmpResult>, unsigned int>);
    static_assert(std::is_convertible_v<LcmpResult, unsigned int>);
    static_assert(RESULT_OK == 0 && RESULT_CANNOT_EXEC == 12 && RESULT_NOT_SEND == 15);
    LCMPResponse response;
    response.setResult(4711);
    EXPECT_EQ(response.getResult(), 4711U);
}

// ---------------------------------------------------------------- a new message

TEST(NewMessage, HasTheHeaderOfItsKind) {
    EXPECT_EQ(LCMPMessage().getHeaderSize(), 8);
    EXPECT_EQ(LCMPRequest().getHeaderSize(), 8);
    EXPECT_EQ(LCMPResponse().getHeaderSize(), 11);
    EXPECT_EQ(LCMPAmi().getHeaderSize(), 16);
}

TEST(NewMessage, IsEmpty) {
    EXPECT_EQ(hex(frameOf(LCMPMessage())), "4F 54 4E 31 01 00 00 00");
    EXPECT_EQ(hex(frameOf(LCMPRequest())), "4F 54 4E 31 01 00 00 00");
    EXPECT_EQ(hex(frameOf(LCMPResponse())), "4F 54 4E 31 01 00 00 00 00 00 00");
    EXPECT_EQ(hex(frameOf(LCMPAmi())), "4F 54 4E 31 01 05 00 00 00 00 00 00 00 00 00 00");
    EXPECT_EQ(LCMPResponse().getResult(), 0U);
    EXPECT_EQ(LCMPResponse().getErrorIndex(), 0);
    EXPECT_EQ(LCMPAmi().getSeconds(), 0U);
    EXPECT_EQ(LCMPAmi().getMicroseconds(), 0U);
}

TEST(NewMessage, KnowsItsPeerIfItIsTold) {
    EXPECT_EQ(LCMPMessage().getPeerAddress(), "");
    EXPECT_EQ(LCMPMessage("192.0.2.1").getPeerAddress(), "192.0.2.1");
    EXPECT_EQ(LCMPRequest("192.0.2.2").getPeerAddress(), "192.0.2.2");
    EXPECT_EQ(LCMPResponse("192.0.2.3").getPeerAddress(), "192.0.2.3");
    EXPECT_EQ(LCMPAmi("192.0.2.4").getPeerAddress(), "192.0.2.4");
}

TEST(NewMessage, HasAHeaderThatPassesItsChecksOnceItHasAnAction) {
    CapturedLog log;
    LCMPRequest request;
    EXPECT_TRUE(request.checkMagicNbr());
    EXPECT_TRUE(request.checkProtVersion());
    for (unsigned int action = 0; action < 256; ++action) {
        request.setAction(static_cast<std::uint8_t>(action));
        EXPECT_EQ(request.checkAction(), action >= 1 && action <= 5) << action;
    }
    EXPECT_TRUE(log.lines().empty()) << log.all();
}

TEST(NewMessage, HasNothingToAssertAtRunTime) {
    CapturedLog log;
    doLcmpMsgCompileTimeAssertions();
    EXPECT_TRUE(log.lines().empty()) << log.all();
}

// ---------------------------------------------------------------- the property list

TEST(PropertyList, RefersToPropertiesInTheirOrder) {
    Byte first(1, "first", IFC_CARD_VAR_WRITABLE, std::uint8_t{1});
    StringProperty second(2, "second", IFC_CARD_VAR_WRITABLE, "abc");
    {
        LCMPRequest request;
        EXPECT_TRUE(request.addProperty(&first));
        EXPECT_TRUE(request.addProperty(&second));
        EXPECT_TRUE(request.addProperty(&first));
        EXPECT_THAT(request.getProperties(), ElementsAre(&first, &second, &first));
    }
    EXPECT_EQ(first.getName(), "first");
}

TEST(PropertyList, IsCountedAndMeasured) {
    Byte first(1, "first", IFC_CARD_VAR_WRITABLE, std::uint8_t{1});
    StringProperty second(2, "second", IFC_CARD_VAR_WRITABLE, "abc");
    LCMPResponse response;
    EXPECT_EQ(response.countTlvs(0), 0);
    EXPECT_EQ(response.sizeOfTlvs(), 0);
    response.addProperty(&first);
    response.addProperty(&second);
    for (const int ignored : {0, 1, -1, 99})
        EXPECT_EQ(response.countTlvs(ignored), 2);
    EXPECT_EQ(response.sizeOfTlvs(), 8 + 10);
    second.set(std::string());
    EXPECT_EQ(response.sizeOfTlvs(), 8 + 7);
    response.clearProperties();
    EXPECT_EQ(response.countTlvs(0), 0);
}

TEST(PropertyList, TakesNullForNothing) {
    LCMPRequest request;
    EXPECT_TRUE(request.addProperty(nullptr));
    EXPECT_EQ(request.countTlvs(0), 0);
}

TEST(PropertyList, LosesEveryOccurrenceOfAProperty) {
    Byte first(1, "first", IFC_CARD_VAR_WRITABLE, std::uint8_t{1});
    Byte second(2, "second", IFC_CARD_VAR_WRITABLE, std::uint8_t{1});
    LCMPRequest request;
    for (LcmpProperty* property : {&first, &second, &first, &first})
        request.addProperty(property);
    request.removeProperty(&first);
    EXPECT_THAT(request.getProperties(), ElementsAre(&second));
    request.removeProperty(&first);
    request.removeProperty(nullptr);
    EXPECT_THAT(request.getProperties(), ElementsAre(&second));
}

// ---------------------------------------------------------------- serialising

TEST(Serialising, WritesARequest) {
    Byte property(0x11800002, "bpClkRef", IFC_CARD_VAR_WRITABLE, std::uint8_t{4});
    LCMPRequest request;
    request.setAction(LCMP_ACTION_WRITE);
    request.setMessageId(0xABCD);
    request.addProperty(&property);
    EXPECT_EQ(hex(frameOf(request)), "4F 54 4E 31 01 02 AB CD 11 80 00 02 03 00 01 04");
}

TEST(Serialising, WritesARequestWithoutPropertiesInEightBytes) {
    LCMPRequest request;
    request.setAction(LCMP_ACTION_READ);
    request.setMessageId(1);
    EXPECT_EQ(hex(frameOf(request)), "4F 54 4E 31 01 01 00 01");
}

TEST(Serialising, WritesAResponseWithItsResultInOneByte) {
    LCMPResponse response;
    response.setAction(LCMP_ACTION_WRITE_RESPONSE);
    response.setResult(0x1234560A);
    response.setErrorIndex(0x0102);
    EXPECT_EQ(hex(frameOf(response)), "4F 54 4E 31 01 04 00 00 0A 01 02");
}

TEST(Serialising, WritesAnAmiWithItsTime) {
    Byte property(1, "one", IFC_CARD_VAR_WRITABLE, std::uint8_t{5});
    LCMPAmi ami;
    ami.setTimestamp(0x01020304, 0xF5F6F7F8);
    ami.addProperty(&property);
    EXPECT_EQ(hex(frameOf(ami)), "4F 54 4E 31 01 05 00 00 01 02 03 04 F5 F6 F7 F8 00 00 00 01 03 00 01 05");
}

TEST(Serialising, NeedsRoomForTheWholeFrame) {
    Byte first(1, "first", IFC_CARD_VAR_WRITABLE, std::uint8_t{1});
    StringProperty second(2, "second", IFC_CARD_VAR_WRITABLE, "abc");
    LCMPRequest request;
    LCMPResponse response;
    LCMPAmi ami;
    for (LCMPMessage* message : std::vector<LCMPMessage*>{&request, &response, &ami}) {
        message->addProperty(&first);
        message->addProperty(&second);
        const int need = message->getHeaderSize() + 18;
        for (int size = 0; size < need; ++size) {
            GuardedBytes guarded(static_cast<std::size_t>(size), '\x55');
            EXPECT_EQ(message->serialize(guarded.data(), size), 0) << size;
        }
        EXPECT_EQ(message->serialize(nullptr, -1), 0);
        EXPECT_EQ(message->serialize(nullptr, -2147483647 - 1), 0);
        GuardedBytes roomy(static_cast<std::size_t>(need) + 3, '\x55');
        EXPECT_NE(message->serialize(roomy.data(), roomy.size()), 0);
        EXPECT_EQ(roomy.str().substr(static_cast<std::size_t>(need)), "UUU");
    }
}

TEST(Serialising, RefusesSizesThatNoFrameCanHave) {
    OddProperty huge(0xFFFFFFFF, 6);
    OddProperty large(0x7FFFFFFF, 6);
    for (LcmpProperty* property : {&huge, &large}) {
        LCMPRequest request;
        for (int i = 0; i < 3; ++i) {
            request.addProperty(property);
            GuardedBytes guarded(100);
            EXPECT_EQ(request.serialize(guarded.data(), guarded.size()), 0);
        }
    }
}

TEST(Serialising, FailsWhenAPropertyDoes) {
    for (const int written : {-1, -2, 0, 8, 10, 7 + 65536}) {
        OddProperty odd(2, written);
        LCMPRequest request;
        request.addProperty(&odd);
        GuardedBytes guarded(17);
        EXPECT_EQ(request.serialize(guarded.data(), guarded.size()), 0) << written;
    }
}

// What serializeFrame returns at every size: nothing below the size of the frame, and that size from there
// on.
TEST(SerialisingFrame, TellsItsSizeOrThatThereIsNoRoom) {
    LcmpScalar control("control", 3, true);
    auto* number = new TypeProperty<unsigned short>(2, "number", IFC_CARD_VAR_WRITABLE, 0x0102);
    control.addProp(number, 0);
    LCMPResponse response;
    response.addProperty(number);
    const int need = response.getHeaderSize() + response.sizeOfTlvs();
    for (int size = 0; size <= need + 1; ++size) {
        GuardedBytes guarded(static_cast<std::size_t>(size));
        CapturedLog log(levelError);
        EXPECT_EQ(response.serializeFrame(guarded.data(), size), size < need ? 0 : need) << size;
        EXPECT_EQ(log.lines().empty(), size >= need) << size;
    }
}

TEST(SerialisingLog, TellsThatTheBufferIsTooSmall) {
    EXPECT_LOGS_FROM(messageFile, "serialize", "ERROR", "trying to serialize in a too small buffer!", [] {
        GuardedBytes guarded(7);
        LCMPRequest().serialize(guarded.data(), guarded.size());
    });
}

TEST(SerialisingLog, TellsThatAPropertyGotNoRoom) {
    EXPECT_LOGS_FROM(messageFile, "serialize", "ERROR", "buffer got to small!", [] {
        OddProperty odd(2, -1);
        LCMPRequest request;
        request.addProperty(&odd);
        GuardedBytes guarded(17);
        request.serialize(guarded.data(), guarded.size());
    });
}

TEST(SerialisingLog, TellsThatAPropertyWroteAnotherLength) {
    for (const int written : {-2, 0, 8, 10}) {
        EXPECT_LOGS_FROM(messageFile, "serialize", "ERROR", "serialize return wrong length!", [written] {
            OddProperty odd(2, written);
            LCMPRequest request;
            request.addProperty(&odd);
            GuardedBytes guarded(17);
            request.serialize(guarded.data(), guarded.size());
        });
    }
}

TEST(HeaderExtension, OfRequestsIsNothing) {
    LCMPRequest request;
    EXPECT_EQ(request.serializeSpecific(nullptr, 0), 1);
    EXPECT_EQ(request.deserializeSpecific(nullptr, 0), 0);
}

TEST(HeaderExtension, OfResponsesIsResultAndErrorIndex) {
    LCMPResponse response;
    response.setResult(9);
    response.setErrorIndex(0xABCD);
    GuardedBytes guarded(11, '\x55');
    EXPECT_EQ(response.serializeSpecific(guarded.data(), guarded.size()), 1);
    EXPECT_EQ(guarded.str(), "UUUUUUUU" + bytes("09 ABCD"));
    LCMPResponse other;
    EXPECT_EQ(other.deserializeSpecific(guarded.data(), guarded.size()), 0);
    EXPECT_EQ(other.getResult(), 9U);
    EXPECT_EQ(other.getErrorIndex(), 0xABCD);
}

TEST(HeaderExtension, OfAmisIsTheTime) {
    LCMPAmi ami;
    ami.setTimestamp(0xFFFFFFFF, 999999);
    GuardedBytes guarded(16, '\x55');
    EXPECT_EQ(ami.serializeSpecific(guarded.data(), guarded.size()), 1);
    EXPECT_EQ(guarded.str(), "UUUUUUUU" + bytes("FFFFFFFF 000F423F"));
    LCMPAmi other;
    EXPECT_EQ(other.deserializeSpecific(guarded.data(), guarded.size()), 0);
    EXPECT_EQ(other.getSeconds(), 0xFFFFFFFFU);
    EXPECT_EQ(other.getMicroseconds(), 999999U);
}

// ---------------------------------------------------------------- deserialising

TEST(Deserialising, TakesTheHeaderAndLeavesTheList) {
    Byte property(1, "one", IFC_CARD_VAR_WRITABLE, std::uint8_t{5});
    GuardedBytes guarded(readResponse(0xABCD, 200, 0x0102, {{1, UINT8, "09"}}));
    LCMPResponse response("192.0.2.1");
    response.addProperty(&property);
    EXPECT_EQ(response.deserialize(guarded.data(), guarded.size()), 0);
    EXPECT_EQ(response.getAction(), 3);
    EXPECT_EQ(response.getMessageId(), 0xABCD);
    EXPECT_EQ(response.getResult(), 200U);
    EXPECT_EQ(response.getErrorIndex(), 0x0102);
    EXPECT_EQ(response.getPeerAddress(), "192.0.2.1");
    EXPECT_THAT(response.getProperties(), ElementsAre(&property));
    unsigned char value = 0;
    property.get(&value);
    EXPECT_EQ(value, 5);
}

TEST(Deserialising, TakesAnAmi) {
    GuardedBytes guarded(amiFrame(7, 0xF1F2F3F4, 0x01020304));
    LCMPAmi ami;
    EXPECT_EQ(ami.deserialize(guarded.data(), guarded.size()), 0);
    EXPECT_EQ(ami.getSeconds(), 0xF1F2F3F4U);
    EXPECT_EQ(ami.getMicroseconds(), 0x01020304U);
}

TEST(Deserialising, AcceptsEveryActionInEveryKind) {
    for (const unsigned int action : {1U, 2U, 3U, 4U, 5U}) {
        const std::string longEnough = header(action, 7) + std::string(8, '\0');
        EXPECT_EQ(received<LCMPMessage>(longEnough), 0U);
        EXPECT_EQ(received<LCMPRequest>(longEnough), 0U);
        EXPECT_EQ(received<LCMPResponse>(longEnough), 0U);
        EXPECT_EQ(received<LCMPAmi>(longEnough), 0U);
    }
}

struct BadHeader {
    const char* bytesInHex;
    unsigned int result;
    const char* tag;
    const char* text;
};

void PrintTo(const BadHeader& bad, std::ostream* out) { *out << bad.bytesInHex; }

class BadHeaders : public testing::TestWithParam<BadHeader> {};

TEST_P(BadHeaders, AreRefusedWithOneLine) {
    const auto& [bytesInHex, result, tag, text] = GetParam();
    const std::string frameBytes = bytes(bytesInHex) + std::string(8, '\0');
    EXPECT_EQ(received<LCMPMessage>(frameBytes), result);
    EXPECT_EQ(received<LCMPRequest>(frameBytes), result);
    EXPECT_EQ(received<LCMPResponse>(frameBytes), result);
    EXPECT_EQ(received<LCMPAmi>(frameBytes), result);
    EXPECT_LOGS_FROM(messageFile, "deserialize", tag, text, [&] { received<LCMPRequest>(frameBytes); });
    CapturedLog log;
    received<LCMPAmi>(frameBytes);
    EXPECT_EQ(log.lines().size(), 1U) << log.all();
}

INSTANTIATE_TEST_SUITE_P(
    Deserialising, BadHeaders,
    testing::Values(
        BadHeader{"4F544E32 01 01 0007", 13, "WARNING",
                  "Invalid magic nbr 0x4f544e32 (should be 0x4f544e31)"},
        BadHeader{"00000000 01 01 0007", 13, "WARNING", "Invalid magic nbr 0 (should be 0x4f544e31)"},
        BadHeader{"FFFFFFFF 01 01 0007", 13, "WARNING",
                  "Invalid magic nbr 0xffffffff (should be 0x4f544e31)"},
        BadHeader{"4F544E31 02 01 0007", 1, "ERROR", "Invalid protocol version 0x2 (should be 0x1)"},
        BadHeader{"4F544E31 00 01 0007", 1, "ERROR", "Invalid protocol version 0 (should be 0x1)"},
        BadHeader{"4F544E31 FF 01 0007", 1, "ERROR", "Invalid protocol version 0xff (should be 0x1)"},
        BadHeader{"4F544E31 01 00 0007", 4, "ERROR", "Invalid value 0 for action field"},
        BadHeader{"4F544E31 01 06 0007", 4, "ERROR", "Invalid value 6 for action field"},
        BadHeader{"4F544E31 01 FF 0007", 4, "ERROR", "Invalid value 255 for action field"},
        // The magic comes before the version, the version before the action.
        BadHeader{"4F544E30 02 06 0007", 13, "WARNING",
                  "Invalid magic nbr 0x4f544e30 (should be 0x4f544e31)"},
        BadHeader{"4F544E31 02 06 0007", 1, "ERROR", "Invalid protocol version 0x2 (should be 0x1)"}));

TEST(Deserialising, TakesTheFieldsOfAHeaderThatItRefuses) {
    for (const char* refusedHeader : {"4F544E32 01 09 ABCD", "4F544E31 07 09 ABCD", "4F544E31 01 09 ABCD"}) {
        GuardedBytes guarded(bytes(refusedHeader));
        LCMPMessage message;
        EXPECT_NE(message.deserialize(guarded.data(), guarded.size()), 0);
        EXPECT_EQ(message.getAction(), 9);
        EXPECT_EQ(message.getMessageId(), 0xABCD);
    }
}

TEST(Deserialising, TellsThroughItsChecksWhatIsWrong) {
    const auto checks = [](const char* headerHex) {
        GuardedBytes guarded(bytes(headerHex));
        LCMPMessage message;
        message.deserialize(guarded.data(), guarded.size());
        return std::vector<bool>{message.checkMagicNbr(), message.checkProtVersion(), message.checkAction()};
    };
    EXPECT_THAT(checks("4F544E31 01 05 0007"), ElementsAre(true, true, true));
    EXPECT_THAT(checks("4F544E32 01 05 0007"), ElementsAre(false, true, true));
    EXPECT_THAT(checks("4F544E31 02 05 0007"), ElementsAre(true, false, true));
    EXPECT_THAT(checks("4F544E31 01 06 0007"), ElementsAre(true, true, false));
}

class ShortHeaders : public testing::Test {
protected:
    template <typename Message>
    void expectTooShort(const std::string& frameBytes) {
        CapturedLog log;
        EXPECT_EQ(received<Message>(frameBytes), RESULT_WRONG_LEN) << hex(frameBytes);
        EXPECT_EQ(log.count("ERROR"), 1) << log.all();
        EXPECT_EQ(log.lines().size(), 1U) << log.all();
    }
};

TEST_F(ShortHeaders, AnswerWrongLengthWithOneErrorLine) {
    const std::string frameBytes = amiFrame(7, 1, 2);
    for (std::size_t size = 0; size < requestHeader; ++size) {
        expectTooShort<LCMPMessage>(frameBytes.substr(0, size));
        expectTooShort<LCMPRequest>(frameBytes.substr(0, size));
    }
    for (std::size_t size = 0; size < responseHeader; ++size)
        expectTooShort<LCMPResponse>(frameBytes.substr(0, size));
    for (std::size_t size = 0; size < amiHeader; ++size)
        expectTooShort<LCMPAmi>(frameBytes.substr(0, size));
}

TEST_F(ShortHeaders, OfUnderEightBytesAreNotLookedInto) { expectTooShort<LCMPAmi>("XXXXXXX"); }

TEST_F(ShortHeaders, MayHaveANegativeLengthAndNoBytes) {
    LCMPResponse response;
    EXPECT_EQ(response.deserialize(nullptr, 0), static_cast<int>(RESULT_WRONG_LEN));
    EXPECT_EQ(response.deserialize(nullptr, -1), static_cast<int>(RESULT_WRONG_LEN));
    EXPECT_EQ(response.deserialize(nullptr, -2147483647 - 1), static_cast<int>(RESULT_WRONG_LEN));
}

TEST_F(ShortHeaders, AreJudgedByMagicVersionAndActionFirst) {
    EXPECT_EQ(received<LCMPResponse>(bytes("4F544E32 01 03 0007 00")), RESULT_WRONG_MAGIC);
    EXPECT_EQ(received<LCMPResponse>(bytes("4F544E31 02 03 0007 00")), RESULT_PROTOCOL_VERSION_MISMATCH);
    EXPECT_EQ(received<LCMPAmi>(bytes("4F544E31 01 06 0007 00000000")), RESULT_INVALID_ACTION);
}

TEST_F(ShortHeaders, LeaveResultAndTimeAsTheyWere) {
    GuardedBytes guarded(bytes("4F544E31 01 03 0007 FF FF"));
    LCMPResponse response;
    response.deserialize(guarded.data(), guarded.size());
    EXPECT_EQ(response.getResult(), 0U);
    EXPECT_EQ(response.getErrorIndex(), 0);
    EXPECT_EQ(response.getMessageId(), 7);
    LCMPAmi ami;
    ami.deserialize(guarded.data(), guarded.size());
    EXPECT_EQ(ami.getSeconds(), 0U);
}

// ---------------------------------------------------------------- received elements against properties

namespace {

/// A received message with the card's properties in its list: what the receiver of a frame builds.
class Received {
public:
    Received(const std::string& frameBytes, const std::vector<LcmpProperty*>& properties)
        : m_guarded(frameBytes) {
        m_request.deserialize(m_guarded.data(), m_guarded.size());
        for (LcmpProperty* property : properties)
            m_request.addProperty(property);
    }

    /// "OK", or the result and its position: "9 at 1".
    std::string check(LcmpProtocolBase* endpoint = nullptr) {
        int index = -7;
        const unsigned int result = m_request.checkTlvs(index, endpoint);
        if (result != RESULT_OK)
            return std::to_string(result) + " at " + std::to_string(index);
        EXPECT_EQ(index, -7);
        return "OK";
    }

    bool store(LcmpProtocolBase* endpoint = nullptr) { return m_request.deserializeTlvs(endpoint); }

private:
    GuardedBytes m_guarded;
    LCMPRequest m_request;
};

/// A legacy property over the element it came from.
class Legacy {
public:
    explicit Legacy(const Element& element)
        : m_wire(element.bytes()), property(reinterpret_cast<lcmp_tlv*>(m_wire.data()), false) {}

private:
    std::string m_wire;

public:
    OldStyleProperty property;
};

class ReceivedElements : public testing::Test {
protected:
    std::vector<LcmpProperty*> of(const std::vector<unsigned int>& oids) {
        std::vector<LcmpProperty*> properties;
        for (const unsigned int oid : oids)
            properties.push_back(&card.property(oid));
        return properties;
    }

    Card card;
};

using CheckedElements = ReceivedElements;
using StoredElements = ReceivedElements;

const Element goodClk = {bpClkRef, UINT8, "03"};
const Element goodReboot = {reboot, BOOLEAN, "01"};
const Element goodTimer = {commitTimer, INT32, "00000005"};

}  // namespace

TEST_F(CheckedElements, AreGoodWhenThereAreNone) {
    EXPECT_EQ(Received(writeRequest(7), {}).check(&card), "OK");
    EXPECT_EQ(Received(writeRequest(7, {goodClk}) + "xxx", {}).check(&card), "OK");
    EXPECT_EQ(Received("", {}).check(&card), "OK");
}

TEST_F(CheckedElements, OfAWriteAreJudgedByTheirProperties) {
    const std::pair<Element, const char*> cases[] = {
        {goodClk, "OK"},
        {{bpClkRef, INT8, "03"}, "6 at 1"},
        {{reboot, UINT8, "03"}, "7 at 1"},
        {{bpClkRef, UINT8, "0003"}, "8 at 1"},
        {{bpClkRef, UINT8, "04"}, "9 at 1"},
    };
    for (const auto& [element, verdict] : cases) {
        EXPECT_EQ(
            Received(writeRequest(7, {goodReboot, element, goodTimer}), of({reboot, bpClkRef, commitTimer}))
                .check(),
            verdict);
    }
    EXPECT_EQ(
        Received(writeRequest(7, {goodReboot, {hardwareVersion, UINT8, "03"}}), of({reboot, hardwareVersion}))
            .check(),
        "10 at 1");
    EXPECT_EQ(card.value<unsigned char>(bpClkRef), 128);
    EXPECT_FALSE(card.value<bool>(reboot));
    EXPECT_THAT(card.journal, IsEmpty());
}

TEST_F(CheckedElements, OfOtherActionsAreJudgedByTheirOidAlone) {
    const Elements elements = {{bpClkRef, INT8, "030303"}, {reboot, 99}};
    for (const unsigned int action : {1U, 3U, 4U, 5U})
        EXPECT_EQ(Received(header(action, 7) + joined(elements), of({bpClkRef, reboot})).check(), "OK")
            << action;
    EXPECT_EQ(
        Received(readRequest(7, {{bpClkRef, UINT8}, {0x80000000, UINT8}}), of({bpClkRef, reboot})).check(),
        "7 at 1");
    EXPECT_EQ(Received(readRequest(7, {{0x12000001, UINT8}}), of({bpClkRef})).check(), "7 at 0");
}

TEST_F(CheckedElements, OfAnInvalidOidAreRefusedBeforeTheirPropertyIsAsked) {
    CapturedLog log(levelError);
    EXPECT_EQ(Received(writeRequest(7, {{0xC0000001, INT8, "03"}}), of({bpClkRef})).check(), "7 at 0");
    EXPECT_EQ(log.count("ERROR", "Invalid oid 0xc0000001"), 1) << log.all();
    EXPECT_EQ(log.count("ERROR", "RESULT WRONG OID in OID 0xc0000001"), 1) << log.all();
    EXPECT_EQ(log.lines().size(), 2U) << log.all();
}

TEST_F(CheckedElements, AreRefusedAtTheFirstFault) {
    EXPECT_EQ(
        Received(writeRequest(7, {{bpClkRef, UINT8, "04"}, {reboot, INT8, "01"}}), of({bpClkRef, reboot}))
            .check(),
        "9 at 0");
    // An element that does not fit is no exception when it comes later.
    EXPECT_EQ(Received(writeRequest(7, {{bpClkRef, UINT8, "04"}}) + "x", of({bpClkRef, reboot})).check(),
              "9 at 0");
}

TEST_F(CheckedElements, HaveToFitIntoTheFrame) {
    const std::string whole = writeRequest(7, {goodClk, goodTimer});
    for (std::size_t size = requestHeader; size < whole.size(); ++size) {
        CapturedLog log(levelError);
        EXPECT_EQ(Received(whole.substr(0, size), of({bpClkRef, commitTimer})).check(),
                  size < requestHeader + 8 ? "8 at 0" : "8 at 1");
        EXPECT_EQ(log.lines().size(), 1U) << log.all();
    }
}

TEST_F(CheckedElements, OfAMessageThatReceivedNothingDoNotFit) {
    LCMPRequest request;
    request.setAction(LCMP_ACTION_WRITE);
    request.addProperty(&card.property(bpClkRef));
    int index = -7;
    EXPECT_EQ(request.checkTlvs(index, &card), RESULT_WRONG_LEN);
    EXPECT_EQ(index, 0);
    EXPECT_FALSE(request.deserializeTlvs(&card));
    EXPECT_EQ(Received("", of({bpClkRef})).check(), "8 at 0");
    EXPECT_EQ(Received("OTN", of({bpClkRef})).check(), "8 at 0");
}

TEST_F(CheckedElements, MayBeMoreThanTheList) {
    EXPECT_EQ(Received(writeRequest(7, {goodClk, {reboot, INT8, "01"}}), of({bpClkRef})).check(), "OK");
    EXPECT_EQ(Received(writeRequest(7, {goodClk}) + "xxx", of({bpClkRef})).check(), "OK");
}

TEST_F(CheckedElements, OfLegacyPropertiesAreJudgedByTheEndpoint) {
    Legacy legacy({0xC0000001, 99, "01"});
    card.judgesLegacy = [](OldStyleProperty&, bool write) {
        return static_cast<std::uint8_t>(write ? 100 : 200);
    };
    EXPECT_EQ(Received(readRequest(7, {{0xC0000001, 99, "01"}}), {&legacy.property}).check(&card),
              "200 at 0");
    EXPECT_EQ(Received(writeRequest(7, {{0xC0000001, 99, "01"}}), {&legacy.property}).check(&card),
              "100 at 0");
    card.takesLegacy();
    EXPECT_EQ(Received(writeRequest(7, {{0xC0000001, 99, "01"}}), {&legacy.property}).check(&card), "OK");
    EXPECT_THAT(card.journal, ElementsAre("judge read of C0 00 00 01", "judge write of C0 00 00 01",
                                          "judge write of C0 00 00 01"));
}

TEST_F(CheckedElements, OfLegacyPropertiesAreJudgedLikeOthersWithoutAnEndpoint) {
    Legacy legacy({unknownOid, UINT8, "01"});
    EXPECT_EQ(Received(writeRequest(7, {{unknownOid, UINT8, "01"}}), {&legacy.property}).check(), "OK");
    EXPECT_EQ(Received(writeRequest(7, {{unknownOid, INT8, "01"}}), {&legacy.property}).check(), "6 at 0");
    EXPECT_EQ(Received(readRequest(7, {{unknownOid, INT8, "01"}}), {&legacy.property}).check(), "OK");
    EXPECT_EQ(Received(readRequest(7, {{0xC0000001, UINT8, "01"}}), {&legacy.property}).check(), "7 at 0");
}

TEST_F(CheckedElements, AreLegacyByTheirClassAndNotForWantOfAnOwner) {
    Byte loose(unknownOid, "loose", IFC_CARD_VAR_WRITABLE, std::uint8_t{1});
    EXPECT_EQ(Received(writeRequest(7, {{unknownOid, UINT8, "01"}}), {&loose}).check(&card), "OK");
    EXPECT_EQ(Received(writeRequest(7, {{unknownOid, INT8, "01"}}), {&loose}).check(&card), "6 at 0");
    EXPECT_THAT(card.journal, IsEmpty());
}

TEST_F(CheckedElements, AreWalkedByTheFrameWhateverAHookMakesOfAProperty) {
    Legacy legacy({unknownOid, STRING, "61"});
    card.judgesLegacy = [](OldStyleProperty& property, bool) {
        property.set(std::string("much longer than it was"));
        return std::uint8_t{RESULT_OK};
    };
    EXPECT_EQ(Received(writeRequest(7, {{unknownOid, STRING, "61"}, {bpClkRef, UINT8, "04"}}),
                       {&legacy.property, &card.property(bpClkRef)})
                  .check(&card),
              "9 at 1");
}

TEST(CheckedElementsLog, NameTheFault) {
    const std::pair<Element, const char*> faults[] = {
        {{bpClkRef, INT8, "03"}, "RESULT WRONG TYPE in OID 0x11800002"},
        {{reboot, UINT8, "03"}, "RESULT WRONG OID in OID 0x11800000"},
        {{bpClkRef, UINT8}, "RESULT WRONG LEN in OID 0x11800002"},
        {{bpClkRef, UINT8, "04"}, "RESULT WRONG VALUE in OID 0x11800002"}};
    for (const auto& fault : faults) {
        EXPECT_LOGS_FROM(messageFile, "checkTlvs", "ERROR", fault.second, [&] {
            Card card;
            Received(writeRequest(7, {fault.first}), {&card.property(bpClkRef)}).check();
        });
    }
    EXPECT_LOGS_FROM(messageFile, "checkTlvs", "ERROR", "RESULT READ ONLY in OID 0x10800001", [] {
        Card card;
        Received(writeRequest(7, {{hardwareVersion, UINT8, "03"}}), {&card.property(hardwareVersion)})
            .check();
    });
}

TEST(CheckedElementsLog, NameTheCodesOfAnApplication) {
    const std::pair<unsigned int, const char*> codes[] = {{5, "RESULT GENERAL ERROR in OID 0x3800001"},
                                                          {16, " in OID 0x3800001"},
                                                          {17, " in OID 0x3800001"},
                                                          {18, "unknown in OID 0x3800001"},
                                                          {255, "unknown in OID 0x3800001"}};
    for (const auto& [code, text] : codes) {
        EXPECT_LOGS_FROM(messageFile, "checkTlvs", "ERROR", text, [verdict = code] {
            Card card;
            card.judgesLegacy = [verdict](OldStyleProperty&, bool) {
                return static_cast<std::uint8_t>(verdict);
            };
            Legacy legacy({unknownOid, UINT8, "01"});
            Received(readRequest(7, {{unknownOid, UINT8, "01"}}), {&legacy.property}).check(&card);
        });
    }
}

// ---------------------------------------------------------------- storing

TEST_F(StoredElements, AreAllStoredBeforeAnyObjectIsTold) {
    card.control.onUpdated = [&](LcmpProperty&) { EXPECT_EQ(card.value<int>(commitTimer), 5); };
    EXPECT_TRUE(
        Received(writeRequest(7, {goodClk, goodReboot, goodTimer}), of({bpClkRef, reboot, commitTimer}))
            .store());
    EXPECT_EQ(card.value<unsigned char>(bpClkRef), 3);
    EXPECT_TRUE(card.value<bool>(reboot));
    EXPECT_THAT(card.journal, ElementsAre("updated control.bpClkRef", "updated control.reboot",
                                          "updated download.setCommitTimer"));
}

TEST_F(StoredElements, AreStoredWhateverTheActionIs) {
    EXPECT_TRUE(Received(header(1, 7) + joined({goodClk}), of({bpClkRef})).store());
    EXPECT_EQ(card.value<unsigned char>(bpClkRef), 3);
}

TEST_F(StoredElements, OfAnEmptyListAreStored) {
    EXPECT_TRUE(Received(writeRequest(7), {}).store());
    EXPECT_TRUE(Received(writeRequest(7) + "xxx", {}).store(&card));
    EXPECT_TRUE(Received("", {}).store());
    EXPECT_THAT(card.journal, IsEmpty());
}

TEST_F(StoredElements, AreAllToldThoughOneObjectRefuses) {
    card.control.updatedSucceeds = false;
    EXPECT_FALSE(Received(writeRequest(7, {goodClk, goodTimer}), of({bpClkRef, commitTimer})).store());
    EXPECT_EQ(card.value<int>(commitTimer), 5);
    EXPECT_THAT(card.journal, ElementsAre("updated control.bpClkRef", "updated download.setCommitTimer"));
}

TEST_F(StoredElements, OfLegacyPropertiesAreHandedToTheEndpoint) {
    Legacy legacy({unknownOid, STRING, "616263"});
    card.takesLegacy();
    EXPECT_TRUE(Received(writeRequest(7, {goodClk, {unknownOid, STRING, "616263"}, goodTimer}),
                         {&card.property(bpClkRef), &legacy.property, &card.property(commitTimer)})
                    .store(&card));
    EXPECT_EQ(card.value<int>(commitTimer), 5);
    EXPECT_THAT(card.journal, ElementsAre("serve write of 03 80 00 01", "updated control.bpClkRef",
                                          "updated download.setCommitTimer"));
}

TEST_F(StoredElements, EndWithALegacyElementThatIsRefused) {
    Legacy legacy({unknownOid, UINT8, "01"});
    EXPECT_FALSE(Received(writeRequest(7, {goodClk, {unknownOid, UINT8, "01"}, goodTimer}),
                          {&card.property(bpClkRef), &legacy.property, &card.property(commitTimer)})
                     .store(&card));
    EXPECT_EQ(card.value<unsigned char>(bpClkRef), 3);
    EXPECT_EQ(card.value<int>(commitTimer), 0);
    EXPECT_THAT(card.journal, ElementsAre("serve write of 03 80 00 01"));
}

TEST_F(StoredElements, AreWalkedByTheFrameWhateverAHookMakesOfAProperty) {
    Legacy legacy({unknownOid, STRING, "61"});
    card.servesLegacy = [](OldStyleProperty& property, bool) {
        property.set(std::string());
        return true;
    };
    EXPECT_TRUE(Received(writeRequest(7, {{unknownOid, STRING, "61"}, goodTimer}),
                         {&legacy.property, &card.property(commitTimer)})
                    .store(&card));
    EXPECT_EQ(card.value<int>(commitTimer), 5);
}

TEST_F(StoredElements, NeedAnOwnerOrALegacyPropertyWithAnEndpoint) {
    Byte loose(unknownOid, "loose", IFC_CARD_VAR_WRITABLE, std::uint8_t{1});
    Legacy legacy({unknownOid, UINT8, "09"});
    const std::string frameBytes = writeRequest(7, {{unknownOid, UINT8, "09"}});
    card.takesLegacy();
    CapturedLog log(levelError);
    EXPECT_FALSE(Received(frameBytes, {&loose}).store(&card));
    EXPECT_EQ(log.lines().size(), 1U) << log.all();
    EXPECT_FALSE(Received(frameBytes, {&legacy.property}).store(nullptr));
    EXPECT_EQ(log.lines().size(), 2U) << log.all();
    unsigned char value = 0;
    loose.get(&value);
    EXPECT_EQ(value, 1);
    EXPECT_THAT(card.journal, IsEmpty());
}

TEST_F(StoredElements, AreAllLeftWhenOneDoesNotFit) {
    Legacy legacy({unknownOid, UINT8, "01"});
    card.takesLegacy();
    const std::string whole = writeRequest(7, {goodClk, {unknownOid, UINT8, "01"}, goodTimer});
    for (std::size_t size = requestHeader; size < whole.size(); ++size) {
        CapturedLog log(levelError);
        EXPECT_FALSE(Received(whole.substr(0, size),
                              {&card.property(bpClkRef), &legacy.property, &card.property(commitTimer)})
                         .store(&card));
        EXPECT_EQ(log.lines().size(), 1U) << log.all();
        EXPECT_EQ(card.value<unsigned char>(bpClkRef), 128);
        EXPECT_THAT(card.journal, IsEmpty());
    }
}

TEST_F(StoredElements, AreReadAsFarAsTheList) {
    EXPECT_TRUE(Received(writeRequest(7, {goodClk, goodTimer}), of({bpClkRef})).store());
    EXPECT_TRUE(Received(writeRequest(7, {goodClk}) + "xxx", of({bpClkRef})).store());
    EXPECT_EQ(card.value<unsigned char>(bpClkRef), 3);
    EXPECT_EQ(card.value<int>(commitTimer), 0);
}

// A fixed-width property takes its width whatever the element declares: inside the frame that is its affair,
// past the end it is not.
TEST_F(StoredElements, AreLeftWhenAFixedWidthPropertyWouldReadPastTheEnd) {
    EXPECT_FALSE(
        Received(writeRequest(7, {goodClk, {commitTimer, INT32, "0005"}}), of({bpClkRef, commitTimer}))
            .store());
    EXPECT_EQ(card.value<unsigned char>(bpClkRef), 128);
    EXPECT_FALSE(Received(writeRequest(7, {{utcTime, UINT64}}), of({utcTime})).store());
    EXPECT_FALSE(Received(writeRequest(7, {{reboot, BOOLEAN}}), of({reboot})).store());
    EXPECT_THAT(card.journal, IsEmpty());

    EXPECT_TRUE(
        Received(writeRequest(7, {{commitTimer, INT32, "0005"}, goodReboot}), of({commitTimer, reboot}))
            .store());
    EXPECT_EQ(card.value<int>(commitTimer), 0x00051180);
    EXPECT_TRUE(card.value<bool>(reboot));
}

TEST_F(StoredElements, OfEveryFixedWidthStopAtTheEndOfTheFrame) {
    LcmpScalar wide("wide", 9, false);
    unsigned char mac[6] = {1, 2, 3, 4, 5, 6};
    wide.addProp(new MacAddressProperty(1, "mac", IFC_CARD_VAR_WRITABLE, mac, false), 0);
    wide.addProp(new IpAddressProperty(2, "ip", IFC_CARD_VAR_WRITABLE, 1U, false), 0);
    wide.addProp(new UnixTimeProperty(3, "time", IFC_CARD_VAR_WRITABLE, 1, false), 0);
    wide.addProp(new TypeProperty<short>(4, "short", IFC_CARD_VAR_WRITABLE, static_cast<short>(1)), 0);
    for (LcmpProperty* property : wide.getProperties()) {
        const auto oid = property->getOid();
        const auto type = static_cast<unsigned int>(property->getType());
        const auto width = property->length();
        for (unsigned int size = 0; size < width; ++size) {
            const auto cut = Element::holding(oid, type, std::string(size, '\x7F'));
            EXPECT_FALSE(Received(writeRequest(7, {cut}), {property}).store()) << property->getName() << size;
            EXPECT_TRUE(property->isDefault());
        }
        const auto whole = Element::holding(oid, type, std::string(width, '\x7F'));
        EXPECT_TRUE(Received(writeRequest(7, {whole}), {property}).store()) << property->getName();
        EXPECT_FALSE(property->isDefault());
    }
}

TEST(StoredElementsLog, TellsWhichElementDoesNotFit) {
    const std::string whole = writeRequest(7, {goodClk, goodReboot, goodTimer});
    EXPECT_LOGS_FROM(messageFile, "deserializeTlvs", "ERROR", "element 2 does not fit into the message", [&] {
        Card card;
        Received(whole.substr(0, whole.size() - 1),
                 {&card.property(bpClkRef), &card.property(reboot), &card.property(commitTimer)})
            .store();
    });
}

TEST(StoredElementsLog, TellsWhetherEachObjectCouldUseItsValue) {
    const auto store = [](bool used) {
        Card card;
        card.temperature.updatedSucceeds = used;
        Received(writeRequest(7, {{temperatureOf(1), INT32, "00000005"}}), {&card.property(temperatureOf(1))})
            .store();
    };
    EXPECT_LOGS_FROM(messageFile, "deserializeTlvs", "ERROR",
                     "temperature: Property value updated call failed", [&] { store(false); });
    EXPECT_LOGS_FROM(messageFile, "deserializeTlvs", "DEBUG2", "temperature: Property value updated",
                     [&] { store(true); });
}
