#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "station.h"
#include "system.h"

using Milliseconds = Station::Milliseconds;

namespace {

std::string clockRead(unsigned int id) { return hex(readRequest(id, {clockIs(128)})); }

// A property that cannot be written to a frame.
class Unwritable : public TypeProperty<unsigned char> {
public:
    Unwritable() : TypeProperty<unsigned char>(9, "unwritable", IFC_CARD_VAR_WRITABLE, 0) {}
    int serialize(char*, int) override { return -1; }
};

}  // namespace

// ---------------------------------------------------------------- the reply

TEST(UdpRequesting, ReplyIsAppliedToTheObjects) {
    Station controller;
    Peer card;
    controller.asks(card);
    card.send(readResponse(1, 0, 0, {clockIs(2)}), controller);
    EXPECT_TRUE(controller.readClock());
    EXPECT_EQ(card.receive(), clockRead(1));
    EXPECT_EQ(card.sender(), controller.getLocalAddress());
    EXPECT_EQ(controller.clockValue(), 2U);
    EXPECT_EQ(controller.getCounters().requests, 1U);
    EXPECT_EQ(controller.getCounters().handled, 1U);
    EXPECT_EQ(controller.getCounters().retries, 0U);
}

TEST(UdpRequesting, ReplyThatComesDuringTheWaitEndsIt) {
    Station controller;
    Peer card;
    controller.asks(card);
    System system(controller);
    system.onWait = once([&] { card.send(writeResponse(1, 0, 0), controller); });
    EXPECT_TRUE(controller.writeClock(2));
    EXPECT_EQ(system.sends, 1);
    EXPECT_EQ(system.waits, 1);
    EXPECT_EQ(system.receives, 2);
}

TEST(UdpRequesting, ReplyThatIsThereCostsNoWait) {
    Station controller;
    Peer card;
    controller.asks(card);
    System system(controller);
    card.send(writeResponse(1, 0, 0), controller);
    EXPECT_TRUE(controller.writeClock(2));
    EXPECT_EQ(system.sends, 1);
    EXPECT_EQ(system.receives, 1);
    EXPECT_EQ(system.waits, 0);
}

TEST(UdpRequesting, RefusalIsAReplyAndNoTimeOut) {
    Station controller;
    Peer card;
    controller.asks(card);
    card.send(writeResponse(1, RESULT_WRONG_VALUE, 0), controller);
    EXPECT_FALSE(controller.writeClock(2));
    EXPECT_EQ(controller.getCounters().timeouts, 0U);
    EXPECT_EQ(controller.getCounters().handled, 1U);
}

TEST(UdpRequesting, UnknownActionIsAnsweredAsAWriteIs) {
    Station controller;
    Peer card;
    controller.asks(card);
    card.send(writeResponse(1, RESULT_INVALID_ACTION, 0), controller);
    LCMPRequest request;
    request.addProperty(&controller.clock());
    EXPECT_FALSE(controller.sendRequest(7, request));
    EXPECT_EQ(controller.getCounters().timeouts, 0U);
}

TEST(UdpRequesting, TargetIsAskedFromTheBoundPortWhenBoundToAll) {
    Station controller("0.0.0.0");
    Peer card("127.0.0.2");
    controller.asks(card);
    card.send(writeResponse(1, 0, 0), {0x7F000001, controller.getLocalAddress().port});
    EXPECT_TRUE(controller.writeClock(2));
    EXPECT_EQ(card.receive(), hex(writeRequest(1, {clockIs(2)})));
    EXPECT_EQ(card.sender().port, controller.getLocalAddress().port);
}

TEST(UdpRequesting, HookSeesTheReplyAfterTheWait) {
    Station controller;
    Peer card;
    controller.asks(card);
    card.send(readResponse(1, 0, 0, {clockIs(2)}), controller);
    controller.onFrame = [&] {
        controller.journal.push_back("at clock " + std::to_string(controller.clockValue()));
    };
    EXPECT_TRUE(controller.readClock());
    EXPECT_EQ(controller.frames, (std::vector<std::string>{readResponse(1, 0, 0, {clockIs(2)})}));
    EXPECT_EQ(controller.senders, (std::vector<LcmpUdpAddress>{card.address()}));
    EXPECT_EQ(controller.journal, (std::vector<std::string>{"at clock 128"}));
}

TEST(UdpRequesting, WithoutATargetNothingIsSent) {
    Station controller;
    EXPECT_FALSE(controller.readClock());
    EXPECT_EQ(controller.getLastError(), "request: no target was set");
    EXPECT_EQ(controller.getCounters().requests, 0U);
    EXPECT_EQ(controller.getCounters().sent, 0U);
}

TEST(UdpRequesting, RequestThatNoDatagramHoldsIsNotSent) {
    Station controller;
    Peer card;
    controller.asks(card);
    controller.serial().set(std::string(65507 - 8 - 7 + 1, 's'));
    EXPECT_FALSE(controller.writeProperty(controller.serial()));
    EXPECT_EQ(controller.getLastError(), "send: the message is too long for a datagram");
    EXPECT_EQ(controller.getCounters().requests, 0U);
    EXPECT_TRUE(card.hasNothing());
}

TEST(UdpRequesting, LongestRequestIsSent) {
    Station controller;
    Peer card;
    controller.asks(card);
    const std::string text(65507 - 8 - 7, 's');
    controller.serial().set(text);
    card.send(writeResponse(1, 0, 0), controller);
    EXPECT_TRUE(controller.writeProperty(controller.serial())) << controller.getLastError();
    EXPECT_EQ(card.receive(), hex(writeRequest(1, {Element::holding(serialOid, STRING, text)})));
}

TEST(UdpRequesting, RequestThatCannotBeWrittenIsNotSent) {
    Station controller;
    Peer card;
    Unwritable property;
    controller.asks(card);
    EXPECT_FALSE(controller.writeProperty(property));
    EXPECT_EQ(controller.getLastError(), "send: the message cannot be serialised");
    EXPECT_TRUE(card.hasNothing());
}

// ---------------------------------------------------------------- what is no reply

TEST(UdpRequesting, LateReplyIsCountedAndTheWaitGoesOn) {
    Station controller;
    Peer card;
    controller.asks(card);
    System system(controller);
    system.freezeTime();
    EXPECT_FALSE(controller.readClock());
    card.send(readResponse(1, 0, 0, {clockIs(1)}), controller);
    card.send(readResponse(2, 0, 0, {clockIs(2)}), controller);
    EXPECT_TRUE(controller.readClock());
    EXPECT_EQ(controller.clockValue(), 2U);
    EXPECT_EQ(controller.getCounters().late, 1U);
}

TEST(UdpRequesting, DoubledReplyIsTakenOnce) {
    Station controller;
    Peer card;
    controller.asks(card);
    card.send(readResponse(1, 0, 0, {clockIs(1)}), controller);
    card.send(readResponse(1, 0, 0, {clockIs(3)}), controller);
    card.send(readResponse(1, 0, 0, {clockIs(3)}), controller);
    EXPECT_TRUE(controller.readClock());
    EXPECT_EQ(controller.handleWaiting(), 0);
    EXPECT_EQ(controller.clockValue(), 1U);
    EXPECT_EQ(controller.getCounters().late, 2U);
    EXPECT_EQ(controller.getCounters().handled, 1U);
}

TEST(UdpRequesting, RepliesInTheWrongOrderAreNotTakenForEachOther) {
    Station controller;
    Peer card;
    controller.asks(card);
    System system(controller);
    system.freezeTime();
    card.send(readResponse(2, 0, 0, {clockIs(2)}), controller);
    card.send(readResponse(1, 0, 0, {clockIs(1)}), controller);
    EXPECT_TRUE(controller.readClock());
    EXPECT_EQ(controller.clockValue(), 1U);
    EXPECT_FALSE(controller.readClock()) << "its reply came too early and is gone";
    EXPECT_EQ(controller.clockValue(), 1U);
    EXPECT_EQ(controller.getCounters().late, 1U);
}

TEST(UdpRequesting, ReplyFromAnotherPortIsForeign) {
    Station controller;
    Peer card;
    Peer other;
    controller.asks(card);
    other.send(readResponse(1, 0, 0, {clockIs(3)}), controller);
    card.send(readResponse(1, 0, 0, {clockIs(1)}), controller);
    EXPECT_TRUE(controller.readClock());
    EXPECT_EQ(controller.clockValue(), 1U);
    EXPECT_EQ(controller.getCounters().foreign, 1U);
    EXPECT_EQ(controller.getCounters().late, 0U);
}

TEST(UdpRequesting, ReplyFromAnotherAddressIsForeign) {
    Station controller;
    Peer card;
    Peer other("127.0.0.5", card.port());
    controller.asks(card);
    other.send(readResponse(1, 0, 0, {clockIs(3)}), controller);
    card.send(readResponse(1, 0, 0, {clockIs(1)}), controller);
    EXPECT_TRUE(controller.readClock());
    EXPECT_EQ(controller.clockValue(), 1U);
    EXPECT_EQ(controller.getCounters().foreign, 1U);
}

TEST(UdpRequesting, WhatDoesNotMatchTheRequestIsNoReply) {
    const std::string lookalikes[] = {
        bytes("4F544E31 01 04 0001 00 0000"),  // reply to a write
        bytes("4F544E31 01 03 0002 00 0000"),  // another message
        bytes("4F544E31 01 03 0100 00 0000"),  // the id's bytes swapped
        bytes("4F544E31 02 03 0001 00 0000"),  // another version
        bytes("4F544E32 01 03 0001 00 0000"),  // another protocol
    };
    for (const std::string& lookalike : lookalikes) {
        Station controller;
        Peer card;
        controller.asks(card);
        card.send(lookalike, controller);
        card.send(readResponse(1, 0, 0, {clockIs(1)}), controller);
        EXPECT_TRUE(controller.readClock()) << hex(lookalike);
        EXPECT_EQ(controller.clockValue(), 1U) << hex(lookalike);
        EXPECT_EQ(controller.getCounters().late, 1U) << hex(lookalike);
        EXPECT_EQ(controller.getCounters().kept, 0U) << hex(lookalike);
    }
}

TEST(UdpRequesting, DatagramTooShortForAFrameIsNotReadAsWhatCameBefore) {
    Station controller;
    Peer card;
    controller.asks(card);
    card.send(readResponse(9, 0, 0, {clockIs(3)}), controller);
    card.send("OTN1", controller);
    card.send(readResponse(1, 0, 0, {clockIs(1)}), controller);
    EXPECT_TRUE(controller.readClock());
    EXPECT_EQ(controller.getCounters().late, 1U);
    EXPECT_EQ(controller.getCounters().kept, 1U);
    EXPECT_EQ(controller.handleWaiting(), 1);
    EXPECT_EQ(controller.frames.back(), "OTN1");
}

TEST(UdpRequesting, EmptyAndTruncatedDatagramsDoNotEndTheWait) {
    Station controller;
    Peer card;
    controller.asks(card);
    System system(controller);
    system.cutsNextDatagram = true;
    card.send(readResponse(1, 0, 0, {clockIs(3)}), controller);
    card.send("", controller);
    card.send(readResponse(1, 0, 0, {clockIs(1)}), controller);
    EXPECT_TRUE(controller.readClock());
    EXPECT_EQ(controller.clockValue(), 1U);
    EXPECT_EQ(controller.getCounters().truncated, 1U);
    EXPECT_EQ(controller.getCounters().empty, 1U);
}

TEST(UdpRequesting, UnlistedTargetIsHeardOnlyInItsResponses) {
    Station controller;
    Peer card("127.0.0.5");
    ASSERT_TRUE(controller.allow("127.0.0.1/32"));
    controller.asks(card);
    card.send(readRequest(1, {clockIs(0)}), controller);
    card.send("x", controller);
    card.send(readResponse(1, 0, 0, {clockIs(1)}), controller);
    card.send(readResponse(1, 0, 0, {clockIs(2)}), controller);
    card.send(amiFrame(2, 0, 0, {clockIs(3)}), controller);
    EXPECT_TRUE(controller.readClock());
    EXPECT_EQ(controller.handleWaiting(), 0);
    EXPECT_EQ(controller.clockValue(), 1U);
    EXPECT_EQ(controller.getCounters().notAllowed, 3U);
    EXPECT_EQ(controller.getCounters().late, 1U);
    EXPECT_EQ(controller.getCounters().kept, 0U);
    EXPECT_EQ(card.receive(), clockRead(1));
    EXPECT_TRUE(card.hasNothing());
}

TEST(UdpRequesting, UnlistedStrangersAreNotKept) {
    Station controller;
    Peer card;
    Peer stranger("127.0.0.5");
    ASSERT_TRUE(controller.allow("127.0.0.1/32"));
    controller.asks(card);
    stranger.send(readRequest(1, {clockIs(0)}), controller);
    stranger.send(readResponse(1, 0, 0, {clockIs(3)}), controller);
    card.send(readResponse(1, 0, 0, {clockIs(1)}), controller);
    EXPECT_TRUE(controller.readClock());
    EXPECT_EQ(controller.clockValue(), 1U);
    EXPECT_EQ(controller.getCounters().notAllowed, 2U);
    EXPECT_EQ(controller.getCounters().kept, 0U);
    EXPECT_EQ(controller.getCounters().foreign, 0U);
}

// ---------------------------------------------------------------- tries

TEST(UdpRequesting, UnansweredRequestIsRepeatedWithTheSameBytesUpToTheSetNumber) {
    Station controller;
    Peer card;
    controller.asks(card);
    controller.setTries(4);
    System system(controller);
    system.freezeTime();
    EXPECT_FALSE(controller.readClock());
    for (int attempt = 0; attempt < 4; ++attempt)
        EXPECT_EQ(card.receive(), clockRead(1));
    EXPECT_TRUE(card.hasNothing());
    EXPECT_EQ(controller.getLastError(),
              "request to " + lcmpUdpToText(card.address()) + ": no reply in time");
    EXPECT_EQ(controller.getCounters().requests, 1U);
    EXPECT_EQ(controller.getCounters().retries, 3U);
    EXPECT_EQ(controller.getCounters().timeouts, 1U);
    EXPECT_EQ(controller.getCounters().sent, 4U);
}

TEST(UdpRequesting, LostRequestIsAnsweredAfterItsRepetition) {
    Station controller;
    Peer card;
    controller.asks(card);
    controller.setTries(4);
    System system(controller);
    system.freezeTime();
    system.onSent = [&] {
        if (system.sends == 3)
            card.send(readResponse(1, 0, 0, {clockIs(2)}), controller);
    };
    EXPECT_TRUE(controller.readClock());
    EXPECT_EQ(controller.clockValue(), 2U);
    EXPECT_EQ(controller.getCounters().retries, 2U);
    EXPECT_EQ(controller.getCounters().timeouts, 0U);
    EXPECT_EQ(system.sends, 3);
}

TEST(UdpRequesting, NextRequestHasTheNextMessageId) {
    Station controller;
    Peer card;
    controller.asks(card);
    controller.setTries(2);
    System system(controller);
    system.freezeTime();
    EXPECT_FALSE(controller.readClock());
    card.send(readResponse(2, 0, 0, {clockIs(2)}), controller);
    EXPECT_TRUE(controller.readClock());
    EXPECT_EQ(card.receive(), clockRead(1));
    EXPECT_EQ(card.receive(), clockRead(1));
    EXPECT_EQ(card.receive(), clockRead(2));
}

TEST(UdpRequesting, ReplyOfTheRequestBeforeIsGoneWhenTheNextFails) {
    Station controller;
    Peer card;
    controller.asks(card);
    System system(controller);
    system.freezeTime();
    card.send(readResponse(1, 0, 0, {clockIs(2)}), controller);
    EXPECT_TRUE(controller.readClock());
    EXPECT_EQ(controller.replyBuffer, readResponse(1, 0, 0, {clockIs(2)}));
    EXPECT_FALSE(controller.readClock());
    EXPECT_EQ(controller.replyBuffer, "");
}

TEST(UdpRequesting, ReplyIsGoneWhenTheNextRequestCannotBeSent) {
    Station controller;
    Peer card;
    controller.asks(card);
    card.send(readResponse(1, 0, 0, {clockIs(2)}), controller);
    EXPECT_TRUE(controller.readClock());
    controller.close();
    EXPECT_FALSE(controller.readClock());
    EXPECT_EQ(controller.replyBuffer, "");
}

TEST(UdpRequesting, EachTryWaitsTwiceAsLongGiveOrTakeAQuarter) {
    Station controller;
    Peer card;
    controller.asks(card);
    controller.setTries(5);
    controller.setTimeout(Milliseconds(1000));
    System system(controller);
    system.freezeTime();
    EXPECT_FALSE(controller.readClock());
    ASSERT_EQ(system.waitTimes.size(), 5U);
    int nominal = 1000;
    for (std::size_t i = 0; i < 4; ++i, nominal *= 2) {
        EXPECT_GE(system.waitTimes[i], nominal * 3 / 4) << i;
        EXPECT_LE(system.waitTimes[i], nominal * 5 / 4) << i;
    }
    EXPECT_EQ(system.waitTimes[4], 16000) << "nothing follows it, so chance has no say";
}

TEST(UdpRequesting, ChanceMakesWaitsShorterAndLongerAndDifferentInEachEndpoint) {
    std::set<int> firstWaits;
    int shorter = 0;
    int longer = 0;
    for (int i = 0; i < 60; ++i) {
        Station controller;
        Peer card;
        controller.asks(card);
        controller.setTries(2);
        System system(controller);
        system.freezeTime();
        EXPECT_FALSE(controller.readClock());
        const int wait = system.waitTimes.at(0);
        shorter += wait < 9000 ? 1 : 0;
        longer += wait > 11000 ? 1 : 0;
        firstWaits.insert(wait);
    }
    EXPECT_GT(shorter, 0);
    EXPECT_GT(longer, 0);
    EXPECT_GT(firstWaits.size(), 30U);
}

TEST(UdpRequesting, SameEndpointDoesNotRepeatItsWaits) {
    Station controller;
    Peer card;
    controller.asks(card);
    controller.setTries(2);
    System system(controller);
    system.freezeTime();
    std::set<int> firstWaits;
    for (int i = 0; i < 20; ++i) {
        system.waitTimes.clear();
        EXPECT_FALSE(controller.readClock());
        firstWaits.insert(system.waitTimes.at(0));
    }
    EXPECT_GT(firstWaits.size(), 10U);
}

// With the real clock, by the times at which the peer has the datagrams in its hands.
TEST(UdpRequesting, RepetitionsArriveFurtherAndFurtherApart) {
    Station controller;
    Peer card;
    controller.asks(card);
    controller.setTries(4);
    controller.setTimeout(Milliseconds(30));
    System system(controller);
    std::vector<Station::Clock::time_point> arrivals;
    system.onSent = [&] {
        EXPECT_EQ(card.receive(), clockRead(1));
        arrivals.push_back(Station::Clock::now());
    };
    EXPECT_FALSE(controller.readClock());
    ASSERT_EQ(arrivals.size(), 4U);
    std::chrono::microseconds shortest(22500);
    for (std::size_t i = 0; i < 3; ++i, shortest *= 2) {
        const auto gap = std::chrono::duration_cast<std::chrono::microseconds>(arrivals[i + 1] - arrivals[i]);
        EXPECT_GE(gap.count(), shortest.count()) << i;
        EXPECT_LT(gap.count(), std::chrono::microseconds(std::chrono::seconds(20)).count()) << i;
    }
}

TEST(UdpRequesting, SensibleValuesReplaceSenselessOnes) {
    Station controller;
    Peer card;
    controller.asks(card);
    controller.setTries(-3);
    controller.setTimeout(Milliseconds(-1));
    System system(controller);
    system.freezeTime();
    EXPECT_FALSE(controller.readClock());
    EXPECT_EQ(system.sends, 1);
    EXPECT_EQ(system.waitTimes, (std::vector<int>{1}));
}

TEST(UdpRequesting, EndlessTimeOutDoesNotWrap) {
    Station controller;
    Peer card;
    controller.asks(card);
    controller.setTimeout(Milliseconds::max());
    controller.setTries(3);
    System system(controller);
    system.onWait = once([&] { card.send(writeResponse(1, 0, 0), controller); });
    EXPECT_TRUE(controller.writeClock(2));
    EXPECT_EQ(system.waitTimes, (std::vector<int>{2147483647}));
}

TEST(UdpRequesting, DoublingStopsAtAYear) {
    constexpr Milliseconds year = std::chrono::hours(24 * 365);
    Station controller;
    Peer card;
    controller.asks(card);
    controller.setTries(40);  // a clock of 32-bit seconds holds 68 years
    controller.setTimeout(std::chrono::hours(24 * 200));
    System system(controller);
    system.freezeTime();
    const auto begin = system.time();
    EXPECT_FALSE(controller.readClock());
    EXPECT_EQ(system.sends, 40);
    EXPECT_GT(system.time() - begin, 39 * year * 3 / 4);
    EXPECT_LT(system.time() - begin, 40 * year * 5 / 4);
}

TEST(UdpRequesting, FloodDoesNotHoldARequestBeyondItsTime) {
    Station controller;
    Peer card;
    Peer other;
    controller.asks(card);
    controller.setTimeout(Milliseconds(100));
    System system(controller);
    system.freezeTime();
    system.onReceive = [&] {
        system.advance(Milliseconds(10));
        if (system.receives < 1000)
            other.send(readResponse(1, 0, 0, {clockIs(3)}), controller);
    };
    EXPECT_FALSE(controller.readClock());
    EXPECT_EQ(system.receives, 10);
    EXPECT_EQ(system.waits, 0);
    EXPECT_EQ(controller.getCounters().foreign, 10U);
}

// ---------------------------------------------------------------- what else arrives

TEST(UdpRequesting, RequestsAndEventsThatArriveAreHandledAfterTheWait) {
    Station controller;
    Peer card;
    Peer master;
    controller.asks(card);
    controller.onFrame = [&] { controller.journal.push_back("frame"); };
    master.send(writeRequest(1, {clockIs(3)}), controller);
    card.send(amiFrame(9, 0, 0, {Element::holding(serialOid, STRING, "event")}), controller);
    card.send(writeResponse(1, 0, 0), controller);
    EXPECT_TRUE(controller.writeClock(2));
    EXPECT_EQ(controller.clockValue(), 2U) << "the write of the master waits";
    EXPECT_EQ(controller.journal, (std::vector<std::string>{"frame"})) << "the reply alone";
    EXPECT_TRUE(master.hasNothing());
    EXPECT_EQ(controller.getCounters().kept, 2U);
    EXPECT_EQ(controller.millisecondsToDeadline(), 0);

    EXPECT_EQ(controller.handleWaiting(), 2);
    EXPECT_EQ(controller.clockValue(), 3U);
    EXPECT_EQ(controller.journal, (std::vector<std::string>{"frame", "frame", "frame", "event of 1"}));
    EXPECT_EQ(master.receive(), hex(writeResponse(1, 0, 0)));
    EXPECT_EQ(controller.millisecondsToDeadline(), -1);
    EXPECT_EQ(controller.getCounters().handled, 3U);
}

TEST(UdpRequesting, WhatWasKeptIsHandledBeforeNewerDatagrams) {
    Station controller;
    Peer card;
    Peer master;
    controller.asks(card);
    master.send(readRequest(1, {clockIs(0)}), controller);
    master.send(readRequest(2, {clockIs(0)}), controller);
    card.send(writeResponse(1, 0, 0), controller);
    EXPECT_TRUE(controller.writeClock(2));
    master.send(readRequest(3, {clockIs(0)}), controller);
    EXPECT_EQ(controller.onReadable(), 3);
    for (unsigned int id = 1; id <= 3; ++id)
        EXPECT_EQ(master.receive(), hex(readResponse(id, 0, 0, {clockIs(2)})));
}

TEST(UdpRequesting, DeadlineHandlesWhatWasKeptAndNothingElse) {
    Station controller;
    Peer card;
    Peer master;
    controller.asks(card);
    master.send(readRequest(1, {clockIs(0)}), controller);
    card.send(writeResponse(1, 0, 0), controller);
    EXPECT_TRUE(controller.writeClock(2));
    master.send(readRequest(2, {clockIs(0)}), controller);
    EXPECT_EQ(controller.onDeadline(), 1);
    EXPECT_EQ(master.receive(), hex(readResponse(1, 0, 0, {clockIs(2)})));
    EXPECT_TRUE(master.hasNothing());
    EXPECT_EQ(controller.onDeadline(), 0);
}

TEST(UdpRequesting, KeptRequestIsAnsweredFromTheAddressThatWasAsked) {
    Station controller("0.0.0.0");
    Peer card;
    Peer master;
    controller.asks(card);
    const LcmpUdpAddress asked{0x7F000002, controller.getLocalAddress().port};
    master.send(readRequest(1, {clockIs(0)}), asked);
    card.send(writeResponse(1, 0, 0), {0x7F000001, asked.port});
    EXPECT_TRUE(controller.writeClock(2));
    EXPECT_EQ(controller.handleWaiting(), 1);
    EXPECT_EQ(master.receive(), hex(readResponse(1, 0, 0, {clockIs(2)})));
    EXPECT_EQ(lcmpUdpToText(master.sender()), lcmpUdpToText(asked));
}

TEST(UdpRequesting, KeptBrokenEventIsNotAnswered) {
    Station controller;
    Peer card;
    controller.asks(card);
    card.send(bytes("4F544E31 02 05 0007"), controller);
    card.send(writeResponse(1, 0, 0), controller);
    EXPECT_TRUE(controller.writeClock(2));
    EXPECT_EQ(controller.handleWaiting(), 1);
    EXPECT_EQ(controller.getCounters().notAnswered, 1U);
    EXPECT_EQ(card.receive(), hex(writeRequest(1, {clockIs(2)})));
    EXPECT_TRUE(card.hasNothing());
}

TEST(UdpRequesting, FullQueueDropsAndCounts) {
    constexpr unsigned int sent = Station::maxKept + 6;
    Station controller;
    Peer card;
    Peer master;
    controller.asks(card);
    for (unsigned int id = 1; id <= sent; ++id)
        master.send(readRequest(id, {clockIs(0)}), controller);
    card.send(writeResponse(1, 0, 0), controller);
    EXPECT_TRUE(controller.writeClock(2));
    EXPECT_EQ(controller.getCounters().kept, Station::maxKept);
    EXPECT_EQ(controller.getCounters().notKept, 6U);
    EXPECT_EQ(controller.handleWaiting(), static_cast<int>(Station::maxKept));
    for (unsigned int id = 1; id <= Station::maxKept; ++id)
        EXPECT_EQ(master.receive(), hex(readResponse(id, 0, 0, {clockIs(2)})));
    EXPECT_TRUE(master.hasNothing());
}

TEST(UdpRequesting, QueueThatWasEmptiedKeepsAgain) {
    Station controller;
    Peer card;
    Peer master;
    controller.asks(card);
    for (unsigned int round = 1; round <= 2; ++round) {
        for (unsigned int i = 0; i < Station::maxKept; ++i)
            master.send(readRequest(round, {clockIs(0)}), controller);
        card.send(writeResponse(round, 0, 0), controller);
        EXPECT_TRUE(controller.writeClock(2));
        EXPECT_EQ(controller.handleWaiting(), static_cast<int>(Station::maxKept));
    }
    EXPECT_EQ(controller.getCounters().notKept, 0U);
}

TEST(UdpRequesting, KeptDatagramsLiveThroughFurtherRequests) {
    Station controller;
    Peer card;
    Peer master;
    controller.asks(card);
    controller.setTries(2);
    System system(controller);
    system.freezeTime();
    master.send(readRequest(1, {clockIs(0)}), controller);
    EXPECT_FALSE(controller.writeClock(1));
    card.send(writeResponse(2, 0, 0), controller);
    EXPECT_TRUE(controller.writeClock(2));
    EXPECT_EQ(controller.handleWaiting(), 1);
    EXPECT_EQ(master.receive(), hex(readResponse(1, 0, 0, {clockIs(2)})));
}
