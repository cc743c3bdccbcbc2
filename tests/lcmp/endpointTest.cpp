// The endpoint itself: construction, hooks, tables, and what becomes of a received frame's header.
#include <gmock/gmock.h>

#include <cstddef>
#include <cstring>
#include <type_traits>

#include "card.h"

namespace {

using testing::Each;
using testing::IsEmpty;
using testing::IsNull;

constexpr const char* endpointFile = "lcmpProtocolBase.cpp";

}  // namespace

// ---------------------------------------------------------------- construction

TEST(Endpoint, StartsEmpty) {
    TestEndpoint endpoint;
    EXPECT_TRUE(endpoint.sendErrorReplies);
    EXPECT_THAT(endpoint.lcmpObjects, IsEmpty());
    EXPECT_THAT(endpoint.tempProperties, IsEmpty());
    EXPECT_THAT(endpoint.eventTables, Each(IsNull()));
    EXPECT_EQ(std::size(endpoint.eventTables), 20U);
    EXPECT_EQ(endpoint.reserved, 0U);
    EXPECT_EQ(endpoint.replyBuffer, "");
    EXPECT_EQ(endpoint.lastMessageId, 0);
}

TEST(Endpoint, SendsErrorRepliesAsItIsTold) {
    EXPECT_TRUE(TestEndpoint(true).sendErrorReplies);
    EXPECT_FALSE(TestEndpoint(false).sendErrorReplies);
}

TEST(Endpoint, StartsEmptyInMemoryThatWasUsedBefore) {
    alignas(TestEndpoint) unsigned char memory[sizeof(TestEndpoint)];
    for (const bool errorReplies : {true, false}) {
        std::memset(memory, 0xA5, sizeof memory);
        auto* endpoint = new (memory) TestEndpoint(errorReplies);
        EXPECT_EQ(endpoint->sendErrorReplies, errorReplies);
        EXPECT_THAT(endpoint->eventTables, Each(IsNull()));
        EXPECT_EQ(endpoint->reserved, 0U);
        EXPECT_EQ(endpoint->lastMessageId, 0);
        endpoint->~TestEndpoint();
    }
}

TEST(Endpoint, CannotBeCopied) {
    static_assert(!std::is_copy_constructible_v<TestEndpoint> && !std::is_copy_assignable_v<TestEndpoint>);
    static_assert(!std::is_copy_constructible_v<EventValueTable> &&
                  !std::is_copy_assignable_v<EventValueTable>);
}

TEST(Endpoint, KeepsItsMembersInOrder) {
    TestEndpoint endpoint;
    const void* members[] = {&endpoint.sendErrorReplies, &endpoint.lcmpObjects, &endpoint.tempProperties,
                             &endpoint.eventTables,      &endpoint.reserved,    &endpoint.replyBuffer,
                             &endpoint.lastMessageId};
    for (std::size_t i = 1; i < std::size(members); ++i)
        EXPECT_LT(members[i - 1], members[i]) << i;
    static_assert(std::is_same_v<decltype(endpoint.reserved), std::uint32_t>);
    static_assert(std::is_same_v<decltype(endpoint.lastMessageId), std::uint16_t>);
}

TEST(Endpoint, LeavesObjectsAndTemporaryPropertiesToTheirOwners) {
    LcmpScalar object("object", 1, false);
    TypeProperty<int> temporary(1, "temporary", IFC_CARD_VAR_WRITABLE, 5);
    {
        TestEndpoint endpoint;
        endpoint.registerObject(&object);
        endpoint.tempProperties.push_back(&temporary);
    }
    EXPECT_EQ(object.getName(), "object");
    EXPECT_TRUE(temporary.isDefault());
}

TEST(Endpoint, KeepsObjectsInTheOrderOfTheirRegistration) {
    LcmpScalar first("first", 1, false);
    LcmpScalar second("second", 2, false);
    TestEndpoint endpoint;
    for (LcmpObject* object : std::vector<LcmpObject*>{&second, &first, nullptr, &second})
        endpoint.registerObject(object);
    EXPECT_THAT(endpoint.lcmpObjects, testing::ElementsAre(&second, &first, nullptr, &second));
}

// ---------------------------------------------------------------- hooks

TEST(Endpoint, HasHooksThatRefuseUnlessOverridden) {
    TestEndpoint endpoint;
    std::string wire = Element{unknownOid, UINT8, "01"}.bytes();
    OldStyleProperty legacy(reinterpret_cast<lcmp_tlv*>(wire.data()), false);
    for (const bool write : {false, true}) {
        EXPECT_FALSE(endpoint.handleLcmpMsgOld(&legacy, write));
        EXPECT_EQ(endpoint.checkTlvOld(&legacy, write), RESULT_GENERAL_ERROR);
        EXPECT_FALSE(endpoint.eventHandlerOld(nullptr, nullptr, write));
    }
    EXPECT_FALSE(endpoint.amiMessageHandler({}));
    EXPECT_TRUE(endpoint.initEventsCore());
}

#if defined(__x86_64__) || defined(__i386__) || defined(__powerpc__)

namespace {

/// The place of a virtual operation in its class's table, as the ABI of these processors keeps it in a
/// pointer to member. The two places of the destructor come first.
template <typename Operation>
std::size_t slotOf(Operation operation) {
    std::ptrdiff_t offset = 0;
    static_assert(sizeof operation == 2 * sizeof offset);
    std::memcpy(&offset, &operation, sizeof offset);
    return static_cast<std::size_t>(offset - 1) / sizeof(void*);
}

}  // namespace

TEST(Endpoint, KeepsItsVirtualOperationsInOrder) {
    EXPECT_EQ(slotOf(&LcmpProtocolBase::initEventsCore), 2U);
    EXPECT_EQ(slotOf(&LcmpProtocolBase::handleLcmpMsgOld), 3U);
    EXPECT_EQ(slotOf(&LcmpProtocolBase::checkTlvOld), 4U);
    EXPECT_EQ(slotOf(&LcmpProtocolBase::eventHandlerOld), 5U);
    EXPECT_EQ(slotOf(&LcmpProtocolBase::sendMessage), 6U);
    EXPECT_EQ(slotOf(&LcmpProtocolBase::getNewMessageId), 7U);
    EXPECT_EQ(slotOf(&LcmpProtocolBase::amiMessageHandler), 8U);
}

TEST(Message, KeepsItsVirtualOperationsInOrder) {
    EXPECT_EQ(slotOf(&LCMPMessage::serializeSpecific), 2U);
    EXPECT_EQ(slotOf(&LCMPMessage::deserializeSpecific), 3U);
}

#endif

TEST(MessageIdsGiven, StartAt1AndGoOnWith0After65535) {
    TestEndpoint endpoint;
    EXPECT_EQ(endpoint.getNewMessageId(), 1);
    EXPECT_EQ(endpoint.getNewMessageId(), 2);
    endpoint.lastMessageId = 65534;
    EXPECT_EQ(endpoint.getNewMessageId(), 65535);
    EXPECT_EQ(endpoint.getNewMessageId(), 0);
    EXPECT_EQ(endpoint.getNewMessageId(), 1);
    EXPECT_EQ(endpoint.lastMessageId, 1);
}

// ---------------------------------------------------------------- event tables

namespace {

class Watcher : public TestEndpoint {
public:
    explicit Watcher(bool succeeds) : m_succeeds(succeeds) {}

    bool initEventsCore() override {
        for (const int slot : {0, 7, 19})
            eventTables[slot] = new EventValueTable(true, slot, 1);
        return m_succeeds;
    }

private:
    bool m_succeeds;
};

}  // namespace

TEST(EventTables, AreCreatedByASubclassThatAsksOnceItIsConstructed) {
    Watcher watcher(true);
    EXPECT_THAT(watcher.eventTables, Each(IsNull()));
    EXPECT_TRUE(watcher.initEvents());
    ASSERT_NE(watcher.eventTables[7], nullptr);
    EXPECT_EQ(watcher.eventTables[7]->getSize(), 7);
    EXPECT_EQ(watcher.eventTables[19]->getSize(), 19);
    EXPECT_EQ(watcher.eventTables[1], nullptr);
}

TEST(EventTables, AreAllDestroyedWhenTheirCreationFails) {
    Watcher watcher(false);
    watcher.eventTables[3] = new EventValueTable(false, 1, 1);
    EXPECT_FALSE(watcher.initEvents());
    EXPECT_THAT(watcher.eventTables, Each(IsNull()));
    EXPECT_FALSE(watcher.initEvents());
    EXPECT_THAT(watcher.eventTables, Each(IsNull()));
}

TEST(EventTables, AreKeptByTheBase) {
    TestEndpoint endpoint;
    auto* table = new EventValueTable(true, 1, 1);
    endpoint.eventTables[19] = table;
    EXPECT_TRUE(endpoint.initEvents());
    EXPECT_EQ(endpoint.eventTables[19], table);
}

TEST(EventTablesLog, TellsThatTheSubclassCreatesNone) {
    const char* text = "created no event tables because subclass did not provided method";
    EXPECT_LOGS_FROM(endpointFile, "initEventsCore", "DEBUG1", text, [] { TestEndpoint endpoint; });
    EXPECT_LOGS("DEBUG1", text, [] { TestEndpoint endpoint(false); });
    // Overridden or not: the constructor of the base cannot reach it.
    EXPECT_LOGS("DEBUG1", text, [] { Watcher(true).initEvents(); });
}

// ---------------------------------------------------------------- frames and their headers

class ReceivedFrame : public testing::Test {
protected:
    static std::string withVersion(std::string frameBytes, unsigned int version) {
        frameBytes.replace(4, 1, bigEndian(version, 1));
        return frameBytes;
    }

    Card card;
};

TEST_F(ReceivedFrame, NeedsAMessageHeader) {
    for (std::size_t size = 0; size < 8; ++size)
        EXPECT_FALSE(card.receive(readRequest(7).substr(0, size))) << size;
    EXPECT_FALSE(card.handleLcmpMsg(-1, nullptr, nullptr));
    EXPECT_FALSE(card.handleLcmpMsg(-2147483647 - 1, nullptr, "192.0.2.1"));
    EXPECT_FALSE(card.handleLcmpMsg(0, nullptr, nullptr));
    EXPECT_THAT(card.sent, IsEmpty());
}

TEST_F(ReceivedFrame, OfEightBytesIsAMessage) {
    EXPECT_TRUE(card.receive(readRequest(7), Card::controller));
    EXPECT_EQ(hex(card.sent.back()), hex(readResponse(7, RESULT_OK, 0)));
}

TEST_F(ReceivedFrame, WithAForeignMagicIsHandledByDoingNothing) {
    for (const char* magic : {"4F544E32", "00000000", "314E544F", "6F746E31"}) {
        std::string frameBytes = writeRequest(7, {{bpClkRef, UINT8, "01"}});
        frameBytes.replace(0, 4, bytes(magic));
        EXPECT_TRUE(card.receive(frameBytes));
        EXPECT_TRUE(card.receive(frameBytes.substr(0, 8)));
    }
    EXPECT_THAT(card.sent, IsEmpty());
    EXPECT_THAT(card.journal, IsEmpty());
    EXPECT_EQ(card.value<unsigned char>(bpClkRef), 128);
}

TEST_F(ReceivedFrame, OfAnotherVersionIsAnswered) {
    const std::pair<unsigned int, unsigned int> answers[] = {{1, 3}, {2, 4}, {3, 4}, {4, 4},
                                                             {5, 4}, {0, 4}, {9, 4}};
    for (const unsigned int version : {0U, 2U, 255U}) {
        for (const auto& [action, answer] : answers) {
            EXPECT_TRUE(card.receive(withVersion(header(action, 0xABCD) + "more", version)));
            EXPECT_EQ(hex(card.sent.back()), hex(header(answer, 0xABCD) + bytes("01 0000"))) << action;
        }
    }
    EXPECT_EQ(card.sent.size(), 21U);
    EXPECT_THAT(card.journal, IsEmpty());
}

TEST_F(ReceivedFrame, WithAnInvalidActionIsAnswered) {
    for (const unsigned int action : {0U, 6U, 7U, 128U, 255U}) {
        EXPECT_TRUE(card.receive(header(action, 65535)));
        EXPECT_EQ(hex(card.sent.back()), hex(writeResponse(65535, RESULT_INVALID_ACTION, 0)));
    }
}

TEST_F(ReceivedFrame, IsAnsweredToItsSender) {
    card.receive(header(0, 7), "192.0.2.77");
    card.receive(header(0, 7), nullptr);
    card.receive(header(0, 7), "no address");
    EXPECT_THAT(card.sentTo, testing::ElementsAre("192.0.2.77", "", "no address"));
}

TEST_F(ReceivedFrame, IsAFailureWhenItsErrorReplyIsNotSent) {
    card.sends = false;
    EXPECT_FALSE(card.receive(header(6, 7)));
    EXPECT_FALSE(card.receive(withVersion(readRequest(7), 2)));
}

TEST_F(ReceivedFrame, IsNotAnsweredWithoutErrorReplies) {
    Card quiet(false);
    EXPECT_FALSE(quiet.receive(header(0, 7)));
    EXPECT_FALSE(quiet.receive(header(6, 7)));
    EXPECT_FALSE(quiet.receive(withVersion(readRequest(7), 2)));
    EXPECT_TRUE(quiet.receive("XXXX" + readRequest(7).substr(4)));
    EXPECT_THAT(quiet.sent, IsEmpty());
    EXPECT_TRUE(quiet.read({}));
    EXPECT_EQ(quiet.answer(), done());
}

TEST_F(ReceivedFrame, WithAWrongHeaderIsNoRequestOfItsPeer) {
    card.receive(header(6, 100), Card::controller);
    card.receive(withVersion(readRequest(101), 2), Card::controller);
    card.receive("XXXX" + readRequest(102).substr(4), Card::controller);
    card.read({});
    EXPECT_EQ(card.answer(), done());
}

TEST_F(ReceivedFrame, GoesToTheHandlerOfItsAction) {
    card.takesLegacy();
    const Elements element = {{unknownOid, UINT8, "01"}};
    const Elements known = {{bpClkRef, UINT8, "02"}};
    card.receive(readRequest(7, element));
    card.receive(writeRequest(8, element));
    card.receive(readResponse(9, RESULT_OK, 0, known));
    card.receive(writeResponse(10, RESULT_OK, 0));
    card.receive(amiFrame(11, 0, 0, known));
    EXPECT_THAT(card.journal, testing::ElementsAre("judge read of 03 80 00 01", "serve read of 03 80 00 01",
                                                   "judge write of 03 80 00 01", "serve write of 03 80 00 01",
                                                   "updated control.bpClkRef",  //
                                                   "updated control.bpClkRef", "events: control.bpClkRef"));
    EXPECT_EQ(card.sent.size(), 2U);
}

// ---------------------------------------------------------------- handlers, called directly

TEST(Handlers, DoNothingWithAMessageThatIsTooShort) {
    Card card;
    card.takesLegacy();
    card.acceptsEvents = true;
    LCMPResponse response;
    const auto expectFailure = [&](const std::string& frameBytes, const auto& handle) {
        GuardedBytes guarded(frameBytes);
        CapturedLog log(levelError);
        EXPECT_FALSE(handle(guarded)) << hex(frameBytes);
        EXPECT_EQ(log.lines().size(), 1U) << log.all();
    };
    for (std::size_t size = 0; size < requestHeader; ++size) {
        expectFailure(readRequest(7).substr(0, size), [&](GuardedBytes& data) {
            return card.handleRequest(data.size(), data.data(), response);
        });
    }
    for (std::size_t size = 0; size < responseHeader; ++size) {
        expectFailure(readResponse(7, 0, 0).substr(0, size),
                      [&](GuardedBytes& data) { return card.handleResponse(data.size(), data.data()); });
    }
    for (std::size_t size = 0; size < amiHeader; ++size) {
        expectFailure(amiFrame(7, 0, 0).substr(0, size),
                      [&](GuardedBytes& data) { return card.handleAmi(data.size(), data.data()); });
    }
    EXPECT_FALSE(card.handleRequest(-1, nullptr, response));
    EXPECT_FALSE(card.handleResponse(-1, nullptr));
    EXPECT_FALSE(card.handleAmi(-1, nullptr));
    EXPECT_THAT(card.sent, IsEmpty());
    EXPECT_THAT(card.journal, IsEmpty());
}

// ---------------------------------------------------------------- log lines

TEST(ReceiveLog, TellsTheLength) {
    EXPECT_LOGS_FROM(endpointFile, "handleLcmpMsg", "DEBUG2", "handling lcmp msg of length 8",
                     [] { Card().receive(readRequest(7)); });
    EXPECT_LOGS("DEBUG2", "handling lcmp msg of length -5",
                [] { Card().handleLcmpMsg(-5, nullptr, nullptr); });
}

TEST(ReceiveLog, TellsThatAFrameIsTooSmall) {
    EXPECT_LOGS_FROM(endpointFile, "handleLcmpMsg", "ERROR",
                     "received message is to small for even a message header!",
                     [] { Card().receive(readRequest(7).substr(0, 7)); });
    CapturedLog log(levelDebug1);
    Card card;
    log.clear();
    card.receive(readRequest(7).substr(0, 7));
    EXPECT_EQ(log.lines().size(), 1U) << log.all();
}

TEST(ReceiveLog, TellsTheHeader) {
    EXPECT_LOGS_FROM(endpointFile, "handleLcmpMsg", "DEBUG2", "LCMP message: id 65535, action 1, length 8",
                     [] { Card().receive(readRequest(65535)); });
    EXPECT_LOGS("DEBUG2", "LCMP message: id 7, action 255, length 11",
                [] { Card().receive(header(255, 7) + "xyz"); });
}

TEST(ReceiveLog, TellsThatTheActionIsInvalid) {
    for (const bool errorReplies : {true, false}) {
        EXPECT_LOGS_FROM(endpointFile, "handleLcmpMsg", "ERROR", "invalid action received!",
                         [&] { Card(errorReplies).receive(header(6, 7)); });
    }
}

TEST(ReceiveLog, TellsThatTheVersionDiffers) {
    for (const bool errorReplies : {true, false}) {
        EXPECT_LOGS_FROM(endpointFile, "handleLcmpMsg", "ERROR", "protocol mismatch!",
                         [&] { Card(errorReplies).receive(bytes("4F544E31 02 01 0007")); });
    }
}

TEST(ReceiveLog, TellsThatTheMagicIsForeign) {
    EXPECT_LOGS_FROM(endpointFile, "handleLcmpMsg", "DEBUG1", "magic number is incorrect!, returning true",
                     [] { Card().receive(bytes("4F544E32 01 01 0007")); });
}

namespace {

/// Counts how often its text was asked for.
class CountingProperty : public TypeProperty<unsigned char> {
public:
    CountingProperty()
        : TypeProperty(9, "counting", IFC_CARD_VAR_WRITABLE, std::uint8_t{0},
                       new RangeCheckValue<unsigned char>(0, 9)) {}

    std::string str() const override {
        ++asked;
        return TypeProperty::str();
    }

    mutable int asked = 0;
};

}  // namespace

// A property's text is dear.
TEST(ReceiveLog, HasTextsOnlyInLinesThatAreWritten) {
    Card card;
    card.acceptsEvents = true;
    auto* counting = new CountingProperty;
    card.control.addProp(counting, 0);
    const auto receiveEverything = [&card] {
        const Element element = {0x11800009, UINT8, "05"};
        EXPECT_TRUE(card.receive(readRequest(7, {element})));
        EXPECT_TRUE(card.receive(writeRequest(8, {element})));
        EXPECT_TRUE(card.receive(readResponse(9, RESULT_OK, 0, {element})));
        EXPECT_TRUE(card.receive(amiFrame(10, 0, 0, {element})));
    };
    receiveEverything();
    {
        CapturedLog log(levelDebug1);
        receiveEverything();
    }
    EXPECT_EQ(counting->asked, 0);
    CapturedLog log(levelDebug2);
    receiveEverything();
    EXPECT_EQ(counting->asked, 5);  // the write asks for it once more, before the check of its value
}

// ---------------------------------------------------------------- hex dump

namespace {

std::string dump(const std::string& data) {
    TestEndpoint endpoint;
    testing::internal::CaptureStdout();
    GuardedBytes guarded(data);
    endpoint.dump_hex(reinterpret_cast<const unsigned char*>(guarded.data()),
                      static_cast<unsigned int>(data.size()));
    return testing::internal::GetCapturedStdout();
}

}  // namespace

TEST(HexDump, OfNothingIsItsHeader) { EXPECT_EQ(dump(""), "\n hex dump\n"); }

TEST(HexDump, HasEightBytesALine) {
    EXPECT_EQ(dump("ABCDEFGH" + bytes("4142 0043 4445 4647")),
              "\n hex dump\n"
              "0000: 41 42 43 44 45 46 47 48 | ABCDEFGH\n"
              "0008: 41 42 00 43 44 45 46 47 | AB.CDEFG\n");
}

TEST(HexDump, PadsItsLastLine) {
    EXPECT_EQ(dump("ABCDEFGHIJ"),
              "\n hex dump\n"
              "0000: 41 42 43 44 45 46 47 48 | ABCDEFGH\n"
              "0008: 49 4A                   | IJ\n");
    EXPECT_EQ(dump("A"),
              "\n hex dump\n"
              "0000: 41                      | A\n");
    EXPECT_EQ(dump("ABCDEFG"),
              "\n hex dump\n"
              "0000: 41 42 43 44 45 46 47    | ABCDEFG\n");
}

TEST(HexDump, ShowsAsciiAsItselfAndTheRestAsDots) {
    EXPECT_EQ(dump(bytes("1F 20 7E 7F 80 FF 0A 25")),
              "\n hex dump\n"
              "0000: 1F 20 7E 7F 80 FF 0A 25 | . ~....%\n");
}

TEST(HexDump, CountsOnBeyondFourDigits) {
    const std::string text = dump(std::string(10008, '\xAB'));
    EXPECT_NE(text.find("\n9992: AB"), std::string::npos);
    EXPECT_NE(text.find("\n10000: AB AB AB AB AB AB AB AB | ........\n"), std::string::npos);
}
