#include <gtest/gtest.h>
#include <sys/socket.h>

#include "capturedLog.h"
#include "station.h"
#include "system.h"

using Counters = LcmpUdpCounters;

// ---------------------------------------------------------------- answers

TEST(UdpServing, AnswersAWriteByteForByte) {
    Station card;
    Peer controller;
    controller.send(bytes("4F544E31 01 02 0007 11800002 03 0001 80"), card);
    EXPECT_EQ(card.handleWaiting(), 1);
    EXPECT_EQ(controller.receive(), "4F 54 4E 31 01 04 00 07 00 00 00");
    controller.send(bytes("4F544E31 01 02 0008 11800002 03 0001 04"), card);
    EXPECT_EQ(card.handleWaiting(), 1);
    EXPECT_EQ(controller.receive(), "4F 54 4E 31 01 04 00 08 09 00 00");
    controller.send(bytes("4F544E31 01 02 0008 11800002 03 0001 03"), card);
    EXPECT_EQ(card.handleWaiting(), 1);
    EXPECT_EQ(controller.receive(), "4F 54 4E 31 01 04 00 08 02 00 00");
    EXPECT_EQ(card.clockValue(), 3U);
}

TEST(UdpServing, AnswersAReadWithExactlyItsBytes) {
    Station card;
    Peer controller;
    const Element serial = Element::holding(serialOid, STRING, "serial");
    controller.send(readRequest(7, {clockIs(0), serial}), card);
    EXPECT_EQ(card.handleWaiting(), 1);
    EXPECT_EQ(controller.receive(), hex(readResponse(7, 0, 0, {clockIs(128), serial})));
}

TEST(UdpServing, ShorterAnswerAfterALongerOneHasNothingOfIt) {
    Station card;
    Peer controller;
    card.serial().set(std::string(900, 's'));
    controller.send(readRequest(1, {Element(serialOid, STRING)}), card);
    controller.send(readRequest(2, {clockIs(0)}), card);
    controller.send(readRequest(3, {Element(serialOid, STRING)}), card);
    EXPECT_EQ(card.handleWaiting(), 3);
    const std::string longAnswer = hex(joined({Element::holding(serialOid, STRING, std::string(900, 's'))}));
    EXPECT_EQ(controller.receive(), hex(readResponse(1, 0, 0)) + " " + longAnswer);
    EXPECT_EQ(controller.receive(), hex(readResponse(2, 0, 0, {clockIs(128)})));
    EXPECT_EQ(controller.receive(), hex(readResponse(3, 0, 0)) + " " + longAnswer);
}

TEST(UdpServing, AnswersThePortThatAsked) {
    Station card;
    Peer first;
    Peer second;
    first.send(readRequest(1, {clockIs(0)}), card);
    second.send(readRequest(2, {clockIs(0)}), card);
    EXPECT_EQ(card.handleWaiting(), 2);
    EXPECT_EQ(first.receive(), hex(readResponse(1, 0, 0, {clockIs(128)})));
    EXPECT_EQ(second.receive(), hex(readResponse(2, 0, 0, {clockIs(128)})));
    EXPECT_TRUE(first.hasNothing());
    EXPECT_TRUE(second.hasNothing());
}

TEST(UdpServing, AnswersFromTheAddressThatWasAskedWhenBoundToAll) {
    Station card("0.0.0.0");
    Peer controller;
    unsigned int id = 0;
    for (const std::uint32_t asked : {0x7F000001U, 0x7F000002U, 0x7F01FF09U}) {
        const LcmpUdpAddress address{asked, card.getLocalAddress().port};
        controller.send(readRequest(++id, {clockIs(0)}), address);
        EXPECT_EQ(card.handleWaiting(), 1);
        EXPECT_EQ(controller.receive(), hex(readResponse(id, 0, 0, {clockIs(128)})));
        EXPECT_EQ(lcmpUdpToText(controller.sender()), lcmpUdpToText(address));
    }
}

TEST(UdpServing, AnswersErrorRepliesFromTheAddressThatWasAsked) {
    Station card("0.0.0.0");
    Peer controller;
    const LcmpUdpAddress address{0x7F000002, card.getLocalAddress().port};
    controller.send(bytes("4F544E31 02 01 0007"), address);
    EXPECT_EQ(card.handleWaiting(), 1);
    EXPECT_EQ(controller.receive(), "4F 54 4E 31 01 03 00 07 01 00 00");
    EXPECT_EQ(lcmpUdpToText(controller.sender()), lcmpUdpToText(address));
}

TEST(UdpServing, AnswersFromWhereTheSystemChoosesIfItDoesNotSayWhoWasAsked) {
    Station card("0.0.0.0");
    Peer controller;
    System system(card);
    system.hidesAskedAddress = true;
    controller.send(readRequest(1, {clockIs(0)}), {0x7F000002, card.getLocalAddress().port});
    EXPECT_EQ(card.handleWaiting(), 1);
    EXPECT_EQ(controller.receive(), hex(readResponse(1, 0, 0, {clockIs(128)})));
    EXPECT_EQ(controller.sender().port, card.getLocalAddress().port);
}

TEST(UdpServing, TakesTheLargestDatagramThereIs) {
    Station card;
    Peer controller;
    const Element filler = Element::holding(serialOid, STRING, std::string(65507 - 8 - 7, 'x'));
    controller.send(writeRequest(1, {filler}), card);
    EXPECT_EQ(card.handleWaiting(), 1);
    EXPECT_EQ(controller.receive(), hex(writeResponse(1, 0, 0)));
    ASSERT_EQ(card.frames.size(), 1U);
    EXPECT_EQ(card.frames[0], writeRequest(1, {filler}));
    EXPECT_EQ(card.serial().length(), 65492U);
}

TEST(UdpServing, HookSeesEachFrameAndItsSenderBeforeItIsHandled) {
    Station card;
    Peer controller;
    Peer other("127.0.0.5");
    card.onFrame = [&] { card.journal.push_back("frame at clock " + std::to_string(card.clockValue())); };
    controller.send(writeRequest(1, {clockIs(2)}), card);
    other.send("not a frame of this protocol", card);
    EXPECT_EQ(card.handleWaiting(), 2);
    EXPECT_EQ(card.senders, (std::vector<LcmpUdpAddress>{controller.address(), other.address()}));
    EXPECT_EQ(card.frames,
              (std::vector<std::string>{writeRequest(1, {clockIs(2)}), "not a frame of this protocol"}));
    EXPECT_EQ(card.journal, (std::vector<std::string>{"frame at clock 128", "frame at clock 2"}));
}

TEST(UdpServing, ResponseWithoutAPeerThatAskedIsNotSent) {
    Station card;
    LCMPResponse response;
    EXPECT_FALSE(card.sendMessage(&response));
    EXPECT_EQ(card.getLastError(), "response: the peer that asked is out of reach");
    EXPECT_FALSE(card.handleLcmpMsg(15, readRequest(1, {Element(serialOid, STRING)}).data(), "127.0.0.1"));
    EXPECT_EQ(card.getCounters().sent, 0U);
}

TEST(UdpServing, ServedPeerIsForgottenAfterwards) {
    Station card;
    Peer controller;
    controller.send(readRequest(1, {clockIs(0)}), card);
    EXPECT_EQ(card.handleWaiting(), 1);
    EXPECT_NE(controller.receive(), "nothing came");
    LCMPResponse response;
    EXPECT_FALSE(card.sendMessage(&response));
    EXPECT_TRUE(controller.hasNothing());
}

TEST(UdpServing, MessageOfNoKindIsNotSent) {
    Station card;
    LCMPMessage message;
    EXPECT_FALSE(card.sendMessage(&message));
    EXPECT_EQ(card.getLastError(), "send: neither a request nor a response nor an event");
    EXPECT_FALSE(card.sendMessage(nullptr));
}

// ---------------------------------------------------------------- cost

TEST(UdpServing, WaitingRequestCostsOneReceiveAndOneSend) {
    constexpr int requests = 50;
    Station card;
    Peer controller;
    System system(card);
    for (unsigned int id = 1; id <= requests; ++id)
        controller.send(readRequest(id, {clockIs(0)}), card);
    EXPECT_EQ(card.poll(Station::Milliseconds(10000)), requests);
    EXPECT_EQ(system.sends, requests);
    EXPECT_LE(system.receives, requests + 1);
    EXPECT_EQ(system.waits, 0);
}

TEST(UdpServing, RequestThatComesDuringTheWaitIsHandledWithinTheCall) {
    Station card;
    Peer controller;
    System system(card);
    system.onWait = once([&] { controller.send(readRequest(1, {clockIs(0)}), card); });
    EXPECT_EQ(card.poll(Station::Milliseconds(10000)), 1);
    EXPECT_EQ(system.waits, 1);
    EXPECT_EQ(controller.receive(), hex(readResponse(1, 0, 0, {clockIs(128)})));
}

TEST(UdpServing, FirstRequestThatIsWaitedForCostsNoReceiveButTheTwoAroundTheWait) {
    Station card;
    Peer controller;
    System system(card);
    system.onWait = once([&] { controller.send(readRequest(1, {clockIs(0)}), card); });
    EXPECT_EQ(card.poll(Station::Milliseconds(10000)), 1);
    EXPECT_EQ(system.receives, 2);
    EXPECT_EQ(system.waits, 1);
    EXPECT_EQ(system.sends, 1);
}

TEST(UdpServing, TurnTakesAtMost256Datagrams) {
    constexpr int requests = 300;
    Station card;
    Peer controller;
    const int room = 212992;
    ASSERT_EQ(setsockopt(card.getFileDescriptor(), SOL_SOCKET, SO_RCVBUF, &room, sizeof room), 0);
    System system(card);
    for (unsigned int id = 1; id <= requests; ++id)
        controller.send(id == 3 ? std::string() : readRequest(id, {clockIs(0)}), card);
    EXPECT_EQ(card.onReadable(), 255) << "one of the 256 was empty";
    EXPECT_EQ(system.receives, 256);
    EXPECT_EQ(card.onReadable(), 44);
    EXPECT_EQ(card.getCounters().handled, 299U);
}

TEST(UdpServing, FloodOfUnlistedDatagramsDoesNotHoldAPollBeyondItsTime) {
    Station card;
    Peer stranger("127.0.0.5");
    ASSERT_TRUE(card.allow("127.0.0.1"));
    System system(card);
    system.freezeTime();
    system.onWait = [&] {
        system.advance(Station::Milliseconds(10));
        stranger.send(readRequest(1, {clockIs(0)}), card);
    };
    EXPECT_EQ(card.poll(Station::Milliseconds(100)), 0);
    EXPECT_EQ(system.waits, 10);
    EXPECT_EQ(card.getCounters().notAllowed, 10U);
}

// ---------------------------------------------------------------- what is dropped

TEST(UdpServing, UnlistedPeerGetsNoAnswerAtAll) {
    Station card;
    Peer listed;
    Peer stranger("127.0.0.5");
    ASSERT_TRUE(card.allow("127.0.0.1/32"));
    for (const std::string& frame :
         {readRequest(1, {clockIs(0)}), writeRequest(2, {clockIs(2)}), bytes("4F544E31 02 01 0007"),
          bytes("4F544E31 01 09 0007"), amiFrame(3, 0, 0, {clockIs(1)}), readResponse(4, 0, 0, {clockIs(1)}),
          std::string("?"), std::string()})
        stranger.send(frame, card);
    listed.send(readRequest(1, {clockIs(0)}), card);
    EXPECT_EQ(card.handleWaiting(), 1);
    EXPECT_EQ(listed.receive(), hex(readResponse(1, 0, 0, {clockIs(128)})));
    EXPECT_TRUE(stranger.hasNothing());
    EXPECT_EQ(card.getCounters().notAllowed, 8U);
    EXPECT_EQ(card.getCounters().handled, 1U);
    EXPECT_EQ(card.frames.size(), 1U);
}

TEST(UdpServing, UnlistedPeerIsRefusedBeforeAByteIsDecoded) {
    Station card;
    Peer stranger("127.0.0.5");
    ASSERT_TRUE(card.allow("127.0.0.1/32"));
    const CapturedLog log;
    stranger.send(bytes("4F544E31 02 01 0007"), card);
    EXPECT_EQ(card.handleWaiting(), 0);
    EXPECT_TRUE(log.lines().empty()) << log.all();
}

TEST(UdpServing, EveryListedBlockIsServed) {
    Station card;
    Peer first;
    Peer second("127.0.0.5");
    ASSERT_TRUE(card.allow("127.0.0.1"));
    ASSERT_TRUE(card.allow("127.0.0.4/30"));
    first.send(readRequest(1, {clockIs(0)}), card);
    second.send(readRequest(1, {clockIs(0)}), card);
    EXPECT_EQ(card.handleWaiting(), 2);
    EXPECT_EQ(first.receive(), hex(readResponse(1, 0, 0, {clockIs(128)})));
    EXPECT_EQ(second.receive(), hex(readResponse(1, 0, 0, {clockIs(128)})));
}

TEST(UdpServing, EmptyDatagramIsDroppedAndCounted) {
    Station card;
    Peer controller;
    controller.send("", card);
    controller.send(readRequest(1, {clockIs(0)}), card);
    EXPECT_EQ(card.handleWaiting(), 1);
    EXPECT_EQ(card.getCounters().empty, 1U);
    EXPECT_EQ(card.getCounters().received, 2U);
    EXPECT_EQ(controller.receive(), hex(readResponse(1, 0, 0, {clockIs(128)})));
    EXPECT_TRUE(controller.hasNothing());
}

// No datagram of IPv4 is longer than the buffer, so the system is made to say that this one was.
TEST(UdpServing, TruncatedDatagramIsDroppedAndCounted) {
    for (const char* bound : {"127.0.0.1", "0.0.0.0"}) {
        Station card(bound);
        Peer controller;
        System system(card);
        system.cutsNextDatagram = true;
        controller.send(writeRequest(1, {clockIs(2)}), {0x7F000001, card.getLocalAddress().port});
        EXPECT_EQ(card.handleWaiting(), 0);
        EXPECT_EQ(card.getCounters().truncated, 1U);
        EXPECT_EQ(card.getCounters().handled, 0U);
        EXPECT_EQ(card.clockValue(), 128U);
        EXPECT_TRUE(controller.hasNothing());
    }
}

TEST(UdpServing, ResponsesThatNobodyWaitsForDoNotReachTheObjects) {
    Station station;
    Peer target;
    Peer other;
    station.asks(target);
    target.send(readResponse(1, 0, 0, {clockIs(1)}), station);
    other.send(readResponse(1, 0, 0, {clockIs(1)}), station);
    other.send(writeResponse(1, 0, 0), station);
    EXPECT_EQ(station.handleWaiting(), 0);
    EXPECT_EQ(station.clockValue(), 128U);
    EXPECT_EQ(station.getCounters().late, 1U);
    EXPECT_EQ(station.getCounters().foreign, 2U);
    EXPECT_EQ(station.getCounters().handled, 0U);
}

TEST(UdpServing, ResponsesAreForeignWhileThereIsNoTarget) {
    Station card;
    Peer peer;
    peer.send(readResponse(1, 0, 0, {clockIs(1)}), card);
    EXPECT_EQ(card.handleWaiting(), 0);
    EXPECT_EQ(card.getCounters().foreign, 1U);
}

TEST(UdpServing, FramesThatAreNoneAreHandledInSilence) {
    Station card;
    Peer controller;
    controller.send(bytes("4F544E31 01 01 00"), card);
    controller.send(bytes("4F544E32 01 01 0007"), card);
    controller.send(bytes("4F544E32 01 03 0007 00 0000"), card);
    controller.send(bytes("03"), card);
    EXPECT_EQ(card.handleWaiting(), 4);
    EXPECT_TRUE(controller.hasNothing());
}

// ---------------------------------------------------------------- error replies

TEST(UdpServing, WrongVersionOfARequestIsAnswered) {
    Station card;
    Peer controller;
    controller.send(bytes("4F544E31 02 01 0007"), card);
    controller.send(bytes("4F544E31 02 02 0008"), card);
    EXPECT_EQ(card.handleWaiting(), 2);
    EXPECT_EQ(controller.receive(), "4F 54 4E 31 01 03 00 07 01 00 00");
    EXPECT_EQ(controller.receive(), "4F 54 4E 31 01 04 00 08 01 00 00");
}

TEST(UdpServing, UnknownActionIsAnswered) {
    Station card;
    Peer controller;
    controller.send(bytes("4F544E31 01 06 0007"), card);
    controller.send(bytes("4F544E31 01 00 0008"), card);
    EXPECT_EQ(card.handleWaiting(), 2);
    EXPECT_EQ(controller.receive(), "4F 54 4E 31 01 04 00 07 04 00 00");
    EXPECT_EQ(controller.receive(), "4F 54 4E 31 01 04 00 08 04 00 00");
}

TEST(UdpServing, WrongVersionOfAResponseOrEventIsNotAnswered) {
    Station card;
    Peer controller;
    controller.send(bytes("4F544E31 02 03 0001 00 0000"), card);
    controller.send(bytes("4F544E31 02 04 0002 00 0000"), card);
    controller.send(bytes("4F544E31 02 05 0003 00000000 00000000"), card);
    controller.send(bytes("4F544E31 02 03 0004"), card);
    controller.send(readRequest(5, {clockIs(0)}), card);
    EXPECT_EQ(card.handleWaiting(), 5);
    EXPECT_EQ(controller.receive(), hex(readResponse(5, 0, 0, {clockIs(128)})));
    EXPECT_TRUE(controller.hasNothing());
    EXPECT_EQ(card.getCounters().notAnswered, 4U);
    EXPECT_EQ(card.getCounters().sent, 1U);
}

TEST(UdpServing, WithheldErrorReplySaysWhy) {
    Station card;
    Peer controller;
    controller.send(bytes("4F544E31 02 05 0003"), card);
    EXPECT_EQ(card.handleWaiting(), 1);
    EXPECT_EQ(card.getLastError(), "response to " + lcmpUdpToText(controller.address()) +
                                       ": responses and events are not answered");
}

TEST(UdpServing, ErrorRepliesCanBeSwitchedOff) {
    Station card("127.0.0.1", false);
    Peer controller;
    controller.send(bytes("4F544E31 02 01 0007"), card);
    controller.send(bytes("4F544E31 02 05 0007"), card);
    EXPECT_EQ(card.handleWaiting(), 2);
    EXPECT_TRUE(controller.hasNothing());
    EXPECT_EQ(card.getCounters().notAnswered, 0U);
}
