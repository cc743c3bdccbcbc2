// Message ids are followed peer by peer, in one table of the process. Tests here name the last id themselves
// and keep to five peers, so that they do not depend on one another.
#include <gtest/gtest.h>

#include "capturedLog.h"
#include "frameBuilder.h"
#include "testEndpoint.h"

namespace {

constexpr const char* peer = "192.0.2.1";
constexpr const char* peers[] = {"192.0.2.1", "192.0.2.2", "192.0.2.3", "192.0.2.4", "192.0.2.5"};
constexpr const char* sixth = "192.0.2.6";

unsigned int check(unsigned int id, const std::string& from = peer) {
    TestEndpoint endpoint;
    LCMPRequest request;
    request.setMessageId(static_cast<std::uint16_t>(id));
    return endpoint.checkMsgId(&request, from);
}

/// The last request of the peer had this id; how that one was judged is of no interest.
void lastWas(unsigned int id, const std::string& from = peer) {
    TraceObject* trace = g_traceObject;
    g_traceObject = nullptr;
    check(id, from);
    g_traceObject = trace;
}

void meetAllPeers() {
    for (const char* known : peers)
        lastWas(0, known);
}

}  // namespace

// ---------------------------------------------------------------- one peer

TEST(MessageId, ThatFollowsIsOk) {
    lastWas(5);
    EXPECT_EQ(check(6), RESULT_OK);
    EXPECT_EQ(check(7), RESULT_OK);
}

TEST(MessageId, WrapsAfter65535) {
    lastWas(65534);
    EXPECT_EQ(check(65535), RESULT_OK);
    EXPECT_EQ(check(0), RESULT_OK);
    EXPECT_EQ(check(1), RESULT_OK);
}

TEST(MessageId, ThatRepeatsIsADuplicateHoweverOften) {
    lastWas(5);
    EXPECT_EQ(check(5), RESULT_DUPLICATE_MSG);
    EXPECT_EQ(check(5), RESULT_DUPLICATE_MSG);
    EXPECT_EQ(check(6), RESULT_OK);
}

TEST(MessageId, AfterAGapIsTheNewLastOne) {
    lastWas(5);
    EXPECT_EQ(check(9), RESULT_LOST_MSG);
    EXPECT_EQ(check(10), RESULT_OK);
}

TEST(MessageId, ThatGoesBackIsAGapToo) {
    lastWas(5);
    EXPECT_EQ(check(4), RESULT_LOST_MSG);
    EXPECT_EQ(check(5), RESULT_OK);
}

TEST(MessageId, OfOtherKindsOfMessagesIsJudgedAlike) {
    TestEndpoint endpoint;
    lastWas(5);
    LCMPAmi ami;
    ami.setMessageId(6);
    EXPECT_EQ(endpoint.checkMsgId(&ami, peer), RESULT_OK);
    EXPECT_EQ(endpoint.checkMsgId(&ami, peer), RESULT_DUPLICATE_MSG);
}

// ---------------------------------------------------------------- many peers

TEST(MessageIds, AreFollowedPeerByPeer) {
    lastWas(5, peers[0]);
    lastWas(100, peers[1]);
    EXPECT_EQ(check(6, peers[0]), RESULT_OK);
    EXPECT_EQ(check(101, peers[1]), RESULT_OK);
    EXPECT_EQ(check(6, peers[0]), RESULT_DUPLICATE_MSG);
    EXPECT_EQ(check(101, peers[1]), RESULT_DUPLICATE_MSG);
}

TEST(MessageIds, AreSharedByAllEndpointsOfTheProcess) {
    lastWas(6);
    TestEndpoint first;
    TestEndpoint second;
    EXPECT_TRUE(first.receive(readRequest(7), peer));
    EXPECT_EQ(hex(first.sent.back()), hex(readResponse(7, RESULT_OK, 0)));
    EXPECT_TRUE(second.receive(readRequest(7), peer));
    EXPECT_EQ(hex(second.sent.back()), hex(readResponse(7, RESULT_DUPLICATE_MSG, 0)));
}

TEST(MessageIds, OfASixthPeerAreNotFollowed) {
    meetAllPeers();
    EXPECT_EQ(check(1, sixth), 16U);
    EXPECT_EQ(check(2, sixth), 16U);
    for (const char* known : peers)
        EXPECT_EQ(check(1, known), RESULT_OK) << known;
}

TEST(MessageIds, OfASixthPeerAreServedAndReported) {
    meetAllPeers();
    TestEndpoint endpoint;
    EXPECT_TRUE(endpoint.receive(readRequest(7), sixth));
    EXPECT_EQ(hex(endpoint.sent.back()), hex(readResponse(7, 16, 0)));
}

TEST(MessageIds, NeedAPeerWithADottedIpv4Address) {
    meetAllPeers();
    for (const char* text : {"localhost", "192.0.2", "192.0.2.256", "192.0.2.1.1", " 192.0.2.1", "192.0.2.1 ",
                             "::1", "0xC0000201", "192.0.2.1:17470"})
        EXPECT_EQ(check(1, text), 17U) << text;
}

TEST(MessageIds, OfAPeerWithoutAnAddressNeedAFreePlace) {
    meetAllPeers();
    EXPECT_EQ(check(1, ""), 16U);
    TestEndpoint endpoint;
    EXPECT_TRUE(endpoint.receive(readRequest(7), nullptr));
    EXPECT_EQ(hex(endpoint.sent.back()), hex(readResponse(7, 16, 0)));
    EXPECT_EQ(endpoint.sentTo.back(), "");
}

// ---------------------------------------------------------------- a process that has met nobody

TEST(FirstRequestOfAPeer, IsOkWhateverItsId) {
    unsigned int id = 65535;
    for (const char* newcomer : peers)
        EXPECT_EQ(check(id -= 1000, newcomer), RESULT_OK) << newcomer;
}

TEST(FreePlaces, AreNotTakenByWhatIsNoIpv4Address) {
    for (const char* text : {"a", "b", "c", "d", "e", "f"})
        EXPECT_EQ(check(1, text), 17U);
    for (const char* newcomer : peers)
        EXPECT_EQ(check(1, newcomer), RESULT_OK) << newcomer;
    EXPECT_EQ(check(1, sixth), 16U);
}

// A peer without an address counts in the first place that is free, and does not take it: who takes that
// place next continues its numbers.
TEST(PeerWithoutAnAddress, CountsInTheFirstFreePlace) {
    EXPECT_EQ(check(5, ""), RESULT_OK);
    EXPECT_EQ(check(5, ""), RESULT_DUPLICATE_MSG);
    EXPECT_EQ(check(6, ""), RESULT_OK);
    EXPECT_EQ(check(7, peers[0]), RESULT_OK);
    EXPECT_EQ(check(40, ""), RESULT_OK);
    EXPECT_EQ(check(40, peers[1]), RESULT_DUPLICATE_MSG);
    EXPECT_EQ(check(8, peers[0]), RESULT_OK);
    for (const char* newcomer : {peers[2], peers[3], peers[4]})
        EXPECT_EQ(check(70, newcomer), RESULT_OK) << newcomer;
    EXPECT_EQ(check(70, ""), 16U);
}

// ---------------------------------------------------------------- log lines

TEST(MessageIdLog, TellsWhoIsVerified) {
    EXPECT_LOGS_FROM("lcmpProtocolBase.cpp", "checkMsgId", "DEBUG3", "IpAdress being verified : 192.0.2.1\n",
                     [] { check(1); });
    EXPECT_LOGS("DEBUG3", "IpAdress being verified : nobody\n", [] { check(1, "nobody"); });
    EXPECT_LOGS("DEBUG3", "IpAdress being verified : \n", [] { check(1, ""); });
}

TEST(MessageIdLog, WarnsOfAPeerWithoutAnAddress) {
    EXPECT_LOGS_FROM("lcmpProtocolBase.cpp", "checkMsgId", "WARNING", "IP Address received is NULL",
                     [] { check(1, ""); });
}

TEST(MessageIdLog, WarnsOfTooManyPeers) {
    EXPECT_LOGS_FROM("lcmpProtocolBase.cpp", "checkMsgId", "WARNING",
                     "Total IP contexts that can be verified is 5", [] {
                         meetAllPeers();
                         check(1, sixth);
                     });
}

TEST(MessageIdLog, WarnsOfADuplicate) {
    EXPECT_LOGS_FROM("lcmpProtocolBase.cpp", "checkMsgId", "WARNING", "Duplicate message msgId=65535", [] {
        lastWas(65535);
        check(65535);
    });
}

TEST(MessageIdLog, WarnsOfAGap) {
    EXPECT_LOGS_FROM("lcmpProtocolBase.cpp", "checkMsgId", "WARNING",
                     "Messages with msgId in range 6 -> 9 were lost", [] {
                         lastWas(5);
                         check(9);
                     });
}

TEST(MessageIdLog, CountsTheBeginningOfAGapBeyond65535) {
    EXPECT_LOGS("WARNING", "Messages with msgId in range 65536 -> 3 were lost", [] {
        lastWas(65535);
        check(3);
    });
}

TEST(MessageIdLog, IsSilentAboutPeersThatAreNoIpv4Address) {
    CapturedLog log(levelWarning);
    check(1, "nobody");
    EXPECT_TRUE(log.lines().empty()) << log.all();
}
