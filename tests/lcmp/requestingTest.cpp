// A controller asks, and applies the answers to its own objects.
#include <gmock/gmock.h>

#include "card.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// The card's objects on the other side of the wire, and a peer that gives a prepared reply.
class Controller : public Card {
public:
    Controller() {
        peer = [this](const std::string& request) {
            asked = request;
            return reply;
        };
    }

    /// Reads a variable of its own; the peer replies with these bytes.
    bool getting(const std::string& replyFrame) {
        reply = replyFrame;
        return readProperty(property(bpClkRef));
    }

    bool setting(const std::string& replyFrame) {
        reply = replyFrame;
        return writeProperty(property(bpClkRef));
    }

    std::string asked;
    std::string reply;
};

/// What the objects of a fresh controller hold, as elements.
const Element bpClkRefElement = {bpClkRef, UINT8, "80"};
const Elements controlElements = {
    {reboot, BOOLEAN, "00"}, {utcTime, UINT64, "0000000000000000"}, bpClkRefElement};
const Elements identityElements = {{cardType, STRING, "787878"}, {hardwareVersion, UINT8, "00"}};
const Elements temperatureElements = {{temperatureOf(0), INT32, "00000014"},
                                      {temperatureOf(1), INT32, "00000014"},
                                      {temperatureOf(2), INT32, "00000014"},
                                      {temperatureOf(3), INT32, "00000014"}};

Elements operator+(Elements left, const Elements& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

/// A reply with good header and these elements.
std::string giving(const Elements& elements, unsigned int result = RESULT_OK) {
    return readResponse(1, result, 0, elements);
}

}  // namespace

// ---------------------------------------------------------------- what goes out

TEST(Request, ReadsAProperty) {
    Controller controller;
    controller.readProperty(controller.property(bpClkRef));
    EXPECT_EQ(hex(controller.asked), hex(readRequest(1, {bpClkRefElement})));
    EXPECT_EQ(hex(controller.asked), "4F 54 4E 31 01 01 00 01 11 80 00 02 03 00 01 80");
}

TEST(Request, WritesAProperty) {
    Controller controller;
    controller.writeProperty(controller.property(bpClkRef));
    EXPECT_EQ(hex(controller.asked), hex(writeRequest(1, {bpClkRefElement})));
}

TEST(Request, ReadsAListOfPropertiesInItsOrder) {
    Controller controller;
    controller.readPropertys({&controller.property(cardType), &controller.property(bpClkRef)});
    EXPECT_EQ(hex(controller.asked), hex(readRequest(1, {identityElements[0], bpClkRefElement})));
}

TEST(Request, WritesAListOfPropertiesInItsOrder) {
    Controller controller;
    controller.writePropertys({&controller.property(cardType), &controller.property(bpClkRef)});
    EXPECT_EQ(hex(controller.asked), hex(writeRequest(1, {identityElements[0], bpClkRefElement})));
}

TEST(Request, ReadsAnObjectInItsOrder) {
    Controller controller;
    controller.readObject(controller.control);
    EXPECT_EQ(hex(controller.asked), hex(readRequest(1, controlElements)));
    controller.readObject(controller.temperature);
    EXPECT_EQ(hex(controller.asked), hex(readRequest(2, temperatureElements)));
}

TEST(Request, WritesAnObjectInItsOrder) {
    Controller controller;
    controller.writeObject(controller.control);
    EXPECT_EQ(hex(controller.asked), hex(writeRequest(1, controlElements)));
}

TEST(Request, ReadsObjectsInTheirOrder) {
    Controller controller;
    controller.readObjects({&controller.temperature, &controller.identity});
    EXPECT_EQ(hex(controller.asked), hex(readRequest(1, temperatureElements + identityElements)));
}

TEST(Request, WritesObjectsInTheirOrder) {
    Controller controller;
    controller.writeObjects({&controller.temperature, &controller.identity});
    EXPECT_EQ(hex(controller.asked), hex(writeRequest(1, temperatureElements + identityElements)));
}

TEST(Request, PassesOverNullInLists) {
    Controller controller;
    controller.readPropertys({nullptr, &controller.property(bpClkRef), nullptr});
    EXPECT_EQ(hex(controller.asked), hex(readRequest(1, {bpClkRefElement})));
    controller.writeObjects({nullptr, &controller.control});
    EXPECT_EQ(hex(controller.asked), hex(writeRequest(2, controlElements)));
}

TEST(Request, TakesActionAndPropertiesFromItsCaller) {
    Controller controller;
    LCMPRequest request;
    request.addProperty(&controller.property(reboot));
    controller.sendRequest(LCMP_ACTION_READ, request);
    EXPECT_EQ(hex(controller.asked), hex(readRequest(1, {controlElements[0]})));
    controller.sendRequest(LCMP_ACTION_WRITE, request);
    EXPECT_EQ(hex(controller.asked), hex(writeRequest(2, {controlElements[0]})));
    EXPECT_EQ(request.getAction(), 2);
    EXPECT_EQ(request.getMessageId(), 2);
}

TEST(Request, HasNoPeerAddress) {
    Controller controller;
    controller.readObject(controller.control);
    EXPECT_THAT(controller.sentTo, ElementsAre(""));
}

TEST(Request, UpsAnEndpointsMessageIdEachTime) {
    Controller controller;
    controller.lastMessageId = 65534;
    for (const unsigned int id : {65535U, 0U, 1U}) {
        controller.readProperty(controller.property(bpClkRef));
        EXPECT_EQ(hex(controller.asked), hex(readRequest(id, {bpClkRefElement})));
    }
}

TEST(Request, TakesItsMessageIdFromASubclassThatGivesOne) {
    class Numbering : public Controller {
    public:
        std::uint16_t getNewMessageId() override { return 0xABCD; }
    };
    Numbering controller;
    controller.readProperty(controller.property(bpClkRef));
    EXPECT_EQ(hex(controller.asked), hex(readRequest(0xABCD, {bpClkRefElement})));
}

// ---------------------------------------------------------------- how many fit

class RequestSize : public testing::Test {
protected:
    std::vector<LcmpProperty*> properties(std::size_t count) {
        return std::vector<LcmpProperty*>(count, &controller.property(bpClkRef));
    }

    Controller controller;
};

TEST_F(RequestSize, IsAtLeastOneProperty) {
    LcmpScalar empty("empty", 9, false);
    LCMPRequest request;
    EXPECT_FALSE(controller.readPropertys({}));
    EXPECT_FALSE(controller.writePropertys({}));
    EXPECT_FALSE(controller.readObject(empty));
    EXPECT_FALSE(controller.writeObject(empty));
    EXPECT_FALSE(controller.readObjects({}));
    EXPECT_FALSE(controller.writeObjects({&empty}));
    EXPECT_FALSE(controller.sendRequest(LCMP_ACTION_READ, request));
    EXPECT_THAT(controller.sent, IsEmpty());
    EXPECT_EQ(controller.lastMessageId, 0);
}

TEST_F(RequestSize, IsAtMost150Properties) {
    controller.reply = writeResponse(1, RESULT_OK, 0);
    EXPECT_TRUE(controller.writePropertys(properties(150)));
    EXPECT_EQ(hex(controller.asked), hex(writeRequest(1, Elements(150, bpClkRefElement))));
    EXPECT_FALSE(controller.writePropertys(properties(151)));
    EXPECT_FALSE(controller.readPropertys(properties(151)));
    EXPECT_EQ(controller.sent.size(), 1U);
    EXPECT_EQ(controller.lastMessageId, 1);
}

TEST_F(RequestSize, IsTheSumOverObjects) {
    LcmpTable big("big", 1, false, 75);
    for (unsigned int row = 0; row < 75; ++row)
        big.addProp(
            new TypeProperty<unsigned char>(0, "cell", IFC_CARD_VAR_WRITABLE, static_cast<unsigned char>(0)),
            row);
    controller.readObjects({&big, &big});
    EXPECT_EQ(controller.sent.size(), 1U);
    controller.readObjects({&big, &big, &controller.identity});
    EXPECT_EQ(controller.sent.size(), 1U);
}

// ---------------------------------------------------------------- sending

TEST(Exchange, FailsWhenTheRequestIsNotSent) {
    Controller controller;
    controller.sends = false;
    controller.replyBuffer = giving({{bpClkRef, UINT8, "01"}});
    EXPECT_FALSE(controller.readProperty(controller.property(bpClkRef)));
    EXPECT_EQ(controller.value<unsigned char>(bpClkRef), 128);
    EXPECT_EQ(controller.lastMessageId, 1);
}

TEST(Exchange, FailsWithoutAReply) {
    for (const char* tooShort : {"", "4F", "4F544E31 01 03 00"}) {
        Controller controller;
        EXPECT_FALSE(controller.getting(bytes(tooShort))) << tooShort;
    }
}

TEST(Exchange, TakesAForeignMagicForHandled) {
    Controller controller;
    EXPECT_TRUE(controller.getting("XXXX" + giving({{bpClkRef, UINT8, "01"}}).substr(4)));
    EXPECT_EQ(controller.value<unsigned char>(bpClkRef), 128);
    EXPECT_EQ(controller.sent.size(), 1U);
}

TEST(Exchange, AnswersAReplyWithAWrongHeaderLikeAnyFrame) {
    Controller controller;
    std::string otherVersion = giving({});
    otherVersion[4] = 2;
    EXPECT_TRUE(controller.getting(otherVersion));
    EXPECT_EQ(hex(controller.sent.back()), hex(writeResponse(1, RESULT_PROTOCOL_VERSION_MISMATCH, 0)));
    EXPECT_TRUE(controller.getting(header(6, 9)));
    EXPECT_EQ(hex(controller.sent.back()), hex(writeResponse(9, RESULT_INVALID_ACTION, 0)));
    controller.sendErrorReplies = false;
    EXPECT_FALSE(controller.getting(otherVersion));
    EXPECT_FALSE(controller.getting(header(6, 9)));
}

TEST(Exchange, MatchesNeitherMessageIdsNorActions) {
    Controller controller;
    EXPECT_TRUE(controller.getting(readResponse(4711, RESULT_OK, 0, {{bpClkRef, UINT8, "01"}})));
    EXPECT_EQ(controller.value<unsigned char>(bpClkRef), 1);
    EXPECT_TRUE(controller.setting(giving({{bpClkRef, UINT8, "02"}})));
    EXPECT_EQ(controller.value<unsigned char>(bpClkRef), 2);
}

TEST(Exchange, MayBeFollowedByAnother) {
    Controller controller;
    EXPECT_TRUE(controller.getting(giving({{bpClkRef, UINT8, "01"}})));
    EXPECT_TRUE(controller.setting(writeResponse(2, RESULT_OK, 0)));
    EXPECT_EQ(hex(controller.asked), hex(writeRequest(2, {{bpClkRef, UINT8, "01"}})));
}

// ---------------------------------------------------------------- read responses

TEST(ReadResponse, PutsTheValuesIntoTheRegisteredObjects) {
    Controller controller;
    EXPECT_TRUE(controller.getting(giving(
        {{bpClkRef, UINT8, "01"}, {temperatureOf(2), INT32, "FFFFFFFF"}, {cardType, STRING, "6162"}})));
    EXPECT_EQ(controller.value<unsigned char>(bpClkRef), 1);
    EXPECT_EQ(controller.value<int>(temperatureOf(2)), -1);
    EXPECT_EQ(controller.value<std::string>(cardType), "ab");
    EXPECT_THAT(controller.journal, ElementsAre("updated control.bpClkRef", "updated temperature[2].value",
                                                "updated identity.cardType"));
}

TEST(ReadResponse, TellsEachObjectBeforeTheNextValueIsStored) {
    Controller controller;
    controller.control.onUpdated = [&](LcmpProperty&) {
        EXPECT_EQ(controller.value<unsigned char>(bpClkRef), 1);
        EXPECT_EQ(controller.value<int>(commitTimer), 0);
    };
    EXPECT_TRUE(controller.getting(giving({{bpClkRef, UINT8, "01"}, {commitTimer, INT32, "00000005"}})));
    EXPECT_EQ(controller.value<int>(commitTimer), 5);
}

TEST(ReadResponse, GivesValuesThatAPeerMayNotWrite) {
    Controller controller;
    EXPECT_TRUE(controller.getting(giving({{hardwareVersion, UINT8, "07"}, {bpClkRef, UINT8, "63"}})));
    EXPECT_EQ(controller.value<unsigned char>(hardwareVersion), 7);
    EXPECT_EQ(controller.value<unsigned char>(bpClkRef), 99);
}

TEST(ReadResponse, MarksNoEvent) {
    Controller controller;
    EXPECT_TRUE(controller.getting(giving({{bpClkRef, UINT8, "01"}})));
    EXPECT_FALSE(controller.property(bpClkRef).sendEvent());
}

TEST(ReadResponse, WithoutElementsIsGood) {
    Controller controller;
    EXPECT_TRUE(controller.getting(giving({})));
}

TEST(ReadResponse, IsGoodWhenAnObjectCannotUseAValue) {
    Controller controller;
    controller.control.updatedSucceeds = false;
    EXPECT_TRUE(controller.getting(giving({{bpClkRef, UINT8, "01"}})));
    EXPECT_EQ(controller.value<unsigned char>(bpClkRef), 1);
}

TEST(ReadResponse, IsAppliedToTheObjectThatWasRegisteredFirst) {
    Controller controller;
    Journaled<LcmpScalar> second(controller.journal, "second", 3U, true);
    second.addProp(
        new TypeProperty<unsigned char>(2, "other", IFC_CARD_VAR_WRITABLE, static_cast<unsigned char>(0)), 0);
    controller.registerObject(&second);
    EXPECT_TRUE(controller.getting(giving({{bpClkRef, UINT8, "01"}})));
    EXPECT_THAT(controller.journal, ElementsAre("updated control.bpClkRef"));
}

TEST(ReadResponse, PassesOverNullObjects) {
    Controller controller;
    controller.lcmpObjects.insert(controller.lcmpObjects.begin(), nullptr);
    EXPECT_TRUE(controller.getting(giving({{bpClkRef, UINT8, "01"}})));
    EXPECT_FALSE(controller.getting(giving({{unknownOid, UINT8, "01"}})));
}

TEST(ReadResponse, IsNotAppliedToThePropertiesOfTheRequest) {
    Controller controller;
    TypeProperty<unsigned char> loose(unknownOid, "loose", IFC_CARD_VAR_WRITABLE,
                                      static_cast<unsigned char>(5));
    controller.reply = giving({{unknownOid, UINT8, "01"}});
    EXPECT_FALSE(controller.readProperty(loose));
    EXPECT_EQ(hex(controller.asked), hex(readRequest(1, {{unknownOid, UINT8, "05"}})));
    unsigned char value = 0;
    loose.get(&value);
    EXPECT_EQ(value, 5);
}

TEST(ReadResponse, AppliesWhatIsGoodAroundWhatIsNot) {
    const Elements faults = {{unknownOid, UINT8, "01"},
                             {0xC0000000, UINT8, "01"},
                             {commitTimer, UINT32, "00000005"},
                             {commitTimer, INT32, "0005"},
                             {commitTimer, INT32}};
    for (const Element& fault : faults) {
        Controller controller;
        EXPECT_FALSE(controller.getting(giving({{bpClkRef, UINT8, "01"}, fault, {reboot, BOOLEAN, "01"}})));
        EXPECT_EQ(controller.value<unsigned char>(bpClkRef), 1);
        EXPECT_TRUE(controller.value<bool>(reboot));
        EXPECT_EQ(controller.value<int>(commitTimer), 0);
        EXPECT_THAT(controller.journal, ElementsAre("updated control.bpClkRef", "updated control.reboot"));
    }
}

TEST(ReadResponse, EndsWithAnElementThatDoesNotFit) {
    for (const std::string& tail :
         {std::string("x"), std::string(6, 'x'), Element{reboot, BOOLEAN, "01"}.declaring(2).bytes(),
          Element{reboot, BOOLEAN}.declaring(65535).bytes()}) {
        Controller controller;
        controller.reply = giving({{bpClkRef, UINT8, "01"}}) + tail;
        CapturedLog log(levelError);
        EXPECT_FALSE(controller.readObject(controller.control));
        EXPECT_EQ(log.lines().size(), 1U) << log.all();
        EXPECT_EQ(controller.value<unsigned char>(bpClkRef), 1);
        EXPECT_FALSE(controller.value<bool>(reboot));
        EXPECT_THAT(controller.journal, ElementsAre("updated control.bpClkRef"));
    }
}

TEST(ReadResponse, SkipsAFixedWidthVariableWhoseElementEndsTheFrameTooEarly) {
    Controller controller;
    EXPECT_FALSE(controller.receive(giving({{commitTimer, INT32, "0005"}})));
    EXPECT_EQ(controller.value<int>(commitTimer), 0);
    EXPECT_THAT(controller.journal, IsEmpty());
}

TEST(ReadResponse, IsSafeFromHooksThatTakeTheReplyAway) {
    const std::function<void(std::string&)> takings[] = {
        [](std::string& reply) { reply.assign(reply.size(), 'x'); },
        [](std::string& reply) { std::string().swap(reply); },
    };
    for (const auto& takeAway : takings) {
        Controller controller;
        controller.control.onUpdated = [&](LcmpProperty&) { takeAway(controller.replyBuffer); };
        EXPECT_TRUE(controller.getting(giving({{bpClkRef, UINT8, "01"}, {commitTimer, INT32, "00000005"}})));
        EXPECT_EQ(controller.value<int>(commitTimer), 5);
    }
}

// ---------------------------------------------------------------- results

TEST(WriteResponse, IsGoodWithResultOkAndAppliesNothing) {
    Controller controller;
    EXPECT_TRUE(controller.setting(writeResponse(1, RESULT_OK, 0) + joined({{bpClkRef, UINT8, "01"}})));
    EXPECT_EQ(controller.value<unsigned char>(bpClkRef), 128);
    EXPECT_THAT(controller.journal, IsEmpty());
}

TEST(WriteResponse, IsGoodWhateverFollowsItsHeader) {
    Controller controller;
    EXPECT_TRUE(controller.setting(writeResponse(1, RESULT_OK, 0) + "xxx"));
}

TEST(Response, ReportingADuplicateOrAGapIsApplied) {
    for (const unsigned int result : {RESULT_DUPLICATE_MSG, RESULT_LOST_MSG}) {
        Controller controller;
        EXPECT_TRUE(controller.getting(giving({{bpClkRef, UINT8, "01"}}, result)));
        EXPECT_EQ(controller.value<unsigned char>(bpClkRef), 1);
        EXPECT_TRUE(controller.setting(writeResponse(2, result, 0)));
        EXPECT_FALSE(controller.getting(giving({{unknownOid, UINT8, "01"}}, result)));
    }
}

TEST(Response, WithAnyOtherResultIsAFailureAndNotApplied) {
    for (unsigned int result = 1; result < 256; ++result) {
        if (result == RESULT_DUPLICATE_MSG || result == RESULT_LOST_MSG)
            continue;
        Controller controller;
        EXPECT_FALSE(controller.getting(giving({{bpClkRef, UINT8, "01"}}, result))) << result;
        EXPECT_FALSE(controller.setting(writeResponse(2, result, 0))) << result;
        EXPECT_EQ(controller.value<unsigned char>(bpClkRef), 128) << result;
    }
}

TEST(Response, ThatIsTooShortForItsHeaderFailsWithOneErrorLine) {
    for (std::size_t size = requestHeader; size < responseHeader; ++size) {
        for (const std::string& whole : {readResponse(1, 0, 0), writeResponse(1, 0, 0)}) {
            Controller controller;
            CapturedLog log(levelError);
            EXPECT_FALSE(controller.getting(whole.substr(0, size)));
            EXPECT_EQ(log.lines().size(), 1U) << log.all();
            EXPECT_EQ(controller.sent.size(), 1U);
        }
    }
}

TEST(Response, HandledDirectlyIsOneOfTheTwoActions) {
    Card card;
    const auto handle = [&card](const std::string& frameBytes) {
        GuardedBytes guarded(frameBytes);
        return card.handleResponse(guarded.size(), guarded.data());
    };
    const std::string body = bytes("00 0000");
    EXPECT_TRUE(handle(header(3, 1) + body));
    EXPECT_TRUE(handle(header(4, 1) + body));
    for (const unsigned int action : {0U, 1U, 2U, 5U, 6U, 255U})
        EXPECT_FALSE(handle(header(action, 1) + body + joined({{bpClkRef, UINT8, "01"}}))) << action;
    EXPECT_EQ(card.value<unsigned char>(bpClkRef), 128);
}

TEST(Response, IsJudgedWithoutLookingAtWhoSentIt) {
    Card card;
    EXPECT_TRUE(card.receive(giving({{bpClkRef, UINT8, "01"}}), "nobody"));
    EXPECT_TRUE(card.receive(giving({{bpClkRef, UINT8, "02"}}), nullptr));
    EXPECT_EQ(card.value<unsigned char>(bpClkRef), 2);
}

// ---------------------------------------------------------------- log lines of requests

namespace {

struct LoggedRequest {
    const char* operation;
    const char* text;
    std::function<void(Controller&)> issue;
};

void PrintTo(const LoggedRequest& request, std::ostream* out) { *out << request.text; }

LcmpProperty* bpClkRefOf(Controller& controller) { return &controller.property(bpClkRef); }
LcmpProperty* rebootOf(Controller& controller) { return &controller.property(reboot); }

}  // namespace

class RequestLog : public testing::TestWithParam<LoggedRequest> {};

TEST_P(RequestLog, TellsWhatIsAskedFor) {
    const LoggedRequest& request = GetParam();
    EXPECT_LOGS_FROM("lcmpRequesting.cpp", request.operation, "DEBUG3", request.text, [&] {
        Controller controller;
        request.issue(controller);
    });
}

INSTANTIATE_TEST_SUITE_P(
    Operations, RequestLog,
    testing::Values(
        LoggedRequest{"readObject", "read object control", [](Controller& c) { c.readObject(c.control); }},
        LoggedRequest{"readProperty", "reading property bpClkRef",
                      [](Controller& c) { c.readProperty(*bpClkRefOf(c)); }},
        LoggedRequest{"readPropertys", "reading list of propertys with length 2",
                      [](Controller& c) {
                          c.readPropertys({bpClkRefOf(c), rebootOf(c)});
                      }},
        LoggedRequest{"readPropertys", "reading list of propertys with length 0",
                      [](Controller& c) { c.readPropertys({}); }},
        LoggedRequest{"readPropertys", "reading list of propertys adding bpClkRef",
                      [](Controller& c) {
                          c.readPropertys({bpClkRefOf(c), rebootOf(c)});
                      }},
        LoggedRequest{"readPropertys", "reading list of propertys adding reboot",
                      [](Controller& c) {
                          c.readPropertys({bpClkRefOf(c), rebootOf(c)});
                      }},
        LoggedRequest{"writeObject", "writing object control",
                      [](Controller& c) { c.writeObject(c.control); }},
        LoggedRequest{"writeObjects", "writing list of objects with length 2",
                      [](Controller& c) {
                          c.writeObjects({&c.control, &c.identity});
                      }},
        LoggedRequest{"writeProperty", "writing property bpClkRef",
                      [](Controller& c) { c.writeProperty(*bpClkRefOf(c)); }},
        LoggedRequest{"writePropertys", "writing list of propertys with length 2",
                      [](Controller& c) {
                          c.writePropertys({bpClkRefOf(c), rebootOf(c)});
                      }},
        LoggedRequest{"writePropertys", "writing list of propertys adding bpClkRef",
                      [](Controller& c) {
                          c.writePropertys({bpClkRefOf(c), rebootOf(c)});
                      }},
        LoggedRequest{"writePropertys", "writing list of propertys adding reboot",
                      [](Controller& c) {
                          c.writePropertys({bpClkRefOf(c), rebootOf(c)});
                      }},
        LoggedRequest{"sendRequest", "Number of tlvs = 3", [](Controller& c) { c.readObject(c.control); }}));

TEST(RequestLog, SaysNothingOfItsOwnForAReadOfObjects) {
    CapturedLog log;
    Controller controller;
    controller.sends = false;
    log.clear();
    controller.readObjects({&controller.control});
    ASSERT_EQ(log.lines().size(), 1U) << log.all();
    EXPECT_EQ(log.lines()[0].text, "Number of tlvs = 3");
}

TEST(RequestLog, TellsThatNoneOrTooManyPropertiesAreDropped) {
    const std::pair<std::size_t, const char*> counts[] = {
        {0, "invalid nr of tlvs [0] should be lower then 150"},
        {151, "invalid nr of tlvs [151] should be lower then 150"}};
    for (const auto& [count, text] : counts) {
        const auto issue = [size = count] {
            Controller controller;
            controller.readPropertys(std::vector<LcmpProperty*>(size, &controller.property(bpClkRef)));
        };
        EXPECT_LOGS_FROM("lcmpRequesting.cpp", "sendRequest", "ERROR", text, issue);
        EXPECT_LOGS_FROM("lcmpRequesting.cpp", "sendRequest", "ERROR",
                         "Message is dropped, enable debug lvl 1 to see objects dropped !!!", issue);
    }
}

// ---------------------------------------------------------------- log lines of responses

namespace {

void get(const std::string& reply) { Controller().getting(reply); }

}  // namespace

TEST(ResponseLog, WarnsOfADuplicate) {
    EXPECT_LOGS_FROM("lcmpRequesting.cpp", "handleResponse", "WARNING",
                     "duplicate message reported by the receiver!",
                     [] { get(giving({}, RESULT_DUPLICATE_MSG)); });
}

TEST(ResponseLog, WarnsOfAGap) {
    EXPECT_LOGS_FROM("lcmpRequesting.cpp", "handleResponse", "WARNING",
                     "message where lost reported by the receiver!",
                     [] { get(giving({}, RESULT_LOST_MSG)); });
}

TEST(ResponseLog, NamesTheError) {
    const std::pair<unsigned int, const char*> results[] = {
        {1, "the response has an error 1 : RESULT PROTOCOL VERSION_MISMATCH"},
        {4, "the response has an error 4 : RESULT INVALID ACTION"},
        {5, "the response has an error 5 : RESULT GENERAL ERROR"},
        {6, "the response has an error 6 : RESULT WRONG TYPE"},
        {7, "the response has an error 7 : RESULT WRONG OID"},
        {8, "the response has an error 8 : RESULT WRONG LEN"},
        {9, "the response has an error 9 : RESULT WRONG VALUE"},
        {10, "the response has an error 10 : RESULT READ ONLY"},
        {11, "the response has an error 11 : RESULT TOO LONG"},
        {12, "the response has an error 12 : RESULT CANNOT EXEC"},
        {13, "the response has an error 13 : RESULT WRONG MAGIC"},
        {14, "the response has an error 14 : RESULT NOT RECEIVED"},
        {15, "the response has an error 15 : RESULT NOT SEND"},
        {16, "the response has an error 16 : "},
        {17, "the response has an error 17 : "},
        {18, "the response has an error 18 : unknown"},
        {255, "the response has an error 255 : unknown"}};
    for (const auto& [result, text] : results) {
        EXPECT_LOGS_FROM("lcmpRequesting.cpp", "handleResponse", "ERROR", text,
                         [code = result] { get(giving({}, code)); });
    }
}

TEST(ResponseLog, TellsWhichVariableIsFound) {
    EXPECT_LOGS_FROM("lcmpRequesting.cpp", "handleResponse", "DEBUG3",
                     "prop found to update: type 3, oid 11800002", [] {
                         get(giving({{bpClkRef, UINT8, "01"}}));
                     });
}

TEST(ResponseLog, TellsWhichOidIsUnknown) {
    const auto action = [] { get(giving({{unknownOid, UINT8, "01"}})); };
    EXPECT_LOGS_FROM("lcmpRequesting.cpp", "handleResponse", "ERROR",
                     "the following oid is not found in the registered objects, skipping!", action);
    EXPECT_LOGS_FROM("lcmpRequesting.cpp", "handleResponse", "ERROR",
                     "prop NOT found to update: oid 0x3800001", action);
}

TEST(ResponseLog, TellsWhichVariableIsSkipped) {
    const auto action = [] { get(giving({{bpClkRef, INT8, "01"}})); };
    EXPECT_LOGS_FROM("lcmpRequesting.cpp", "handleResponse", "ERROR",
                     "response received has incorrect property with id 0x11800002 and error 6", action);
    EXPECT_LOGS_FROM("lcmpRequesting.cpp", "handleResponse", "ERROR", "skipping this property!", action);
    EXPECT_LOGS("ERROR", "response received has incorrect property with id 0x11800002 and error 8", [] {
        get(giving({{bpClkRef, UINT8, "0001"}}));
    });
}

TEST(ResponseLog, TellsWhetherTheObjectCouldUseTheValue) {
    const auto text = [] {
        Card card;
        card.property(temperatureOf(2)).set(5);
        return card.property(temperatureOf(2)).str();
    }();
    for (const bool succeeds : {true, false}) {
        EXPECT_LOGS_FROM("lcmpRequesting.cpp", "handleResponse", "DEBUG2",
                         std::string("updated() call ") + (succeeds ? "succeeded" : "failed\n") + " for " +
                             text + ", row 2",
                         [&] {
                             Controller controller;
                             controller.temperature.updatedSucceeds = succeeds;
                             controller.getting(giving({{temperatureOf(2), INT32, "00000005"}}));
                         });
    }
}
