#include <gtest/gtest.h>

#include <cerrno>

#include "station.h"
#include "system.h"

using Milliseconds = Station::Milliseconds;

namespace {

const std::vector<int> passing = {EAGAIN, ENOBUFS, ECONNREFUSED};

std::string textOf(const LcmpUdpEndpoint& endpoint) { return lcmpUdpToText(endpoint.getLocalAddress()); }

}  // namespace

// ---------------------------------------------------------------- receiving

TEST(UdpSocketErrors, PassingOneOnReceivingHidesNothing) {
    for (const int error : {ENOBUFS, ECONNREFUSED}) {
        Station card;
        Peer controller;
        System system(card);
        controller.send(readRequest(1, {clockIs(0)}), card);
        system.receiveErrors = {error, error};
        EXPECT_EQ(card.poll(Milliseconds(10000)), 1) << error;
        EXPECT_EQ(system.waits, 0) << error;
        EXPECT_EQ(card.getCounters().receiveFailures, 2U) << error;
        EXPECT_NE(controller.receive(), "nothing came");
    }
}

TEST(UdpSocketErrors, InterruptedReceiveIsRepeatedUncounted) {
    for (const char* bound : {"127.0.0.1", "0.0.0.0"}) {
        Station card(bound);
        Peer controller;
        System system(card);
        controller.send(readRequest(1, {clockIs(0)}), {0x7F000001, card.getLocalAddress().port});
        system.receiveErrors = {EINTR, EINTR, EINTR};
        EXPECT_EQ(card.handleWaiting(), 1) << bound;
        EXPECT_EQ(card.getCounters().receiveFailures, 0U) << bound;
    }
}

TEST(UdpSocketErrors, NothingThereIsNoFailure) {
    Station card;
    EXPECT_EQ(card.handleWaiting(), 0);
    EXPECT_EQ(card.getCounters().receiveFailures, 0U);
    EXPECT_EQ(card.getLastError(), "");
}

TEST(UdpSocketErrors, PassingOneOnReceivingDoesNotEndARequest) {
    for (const int error : passing) {
        Station controller;
        Peer card;
        controller.asks(card);
        System system(controller);
        card.send(writeResponse(1, 0, 0), controller);
        system.receiveErrors = {error, EINTR, error};
        EXPECT_TRUE(controller.writeClock(2)) << error;
        EXPECT_EQ(system.sends, 1) << error;
    }
}

TEST(UdpSocketErrors, ErrorThatNeverPassesDoesNotHoldARequestBeyondItsTime) {
    Station controller;
    Peer card;
    controller.asks(card);
    controller.setTimeout(Milliseconds(100));
    System system(controller);
    system.freezeTime();
    system.onReceive = [&] { system.advance(Milliseconds(10)); };
    system.receiveErrors = std::deque<int>(1000, ENOBUFS);
    EXPECT_FALSE(controller.writeClock(2));
    EXPECT_EQ(system.receives, 10);
    EXPECT_EQ(controller.getCounters().timeouts, 1U);
}

TEST(UdpSocketErrors, AnyOtherOnReceivingIsReturnedInWords) {
    Station card;
    System system(card);
    system.receiveErrors = {EIO, EIO};
    EXPECT_EQ(card.poll(Milliseconds(10000)), -1);
    EXPECT_EQ(card.getLastError(), "receive on " + textOf(card) + ": Input/output error");
    EXPECT_EQ(card.onReadable(), -1);
    EXPECT_EQ(card.getCounters().receiveFailures, 2U);
    EXPECT_EQ(card.onReadable(), 0) << "the endpoint is still open";
}

TEST(UdpSocketErrors, AnyOtherOnReceivingEndsARequest) {
    Station controller;
    Peer card;
    controller.asks(card);
    controller.setTries(4);
    System system(controller);
    system.receiveErrors = {EIO};
    EXPECT_FALSE(controller.writeClock(2));
    EXPECT_EQ(controller.getLastError(), "receive on " + textOf(controller) + ": Input/output error");
    EXPECT_EQ(system.sends, 1);
    EXPECT_EQ(controller.getCounters().timeouts, 0U);
}

// ---------------------------------------------------------------- sending

TEST(UdpSocketErrors, PassingOneOnSendingCostsARequestOneTry) {
    for (const int error : passing) {
        Station controller;
        Peer card;
        controller.asks(card);
        controller.setTries(3);
        System system(controller);
        system.freezeTime();
        system.sendErrors = {error, error};
        system.onSent = [&] { card.send(writeResponse(1, 0, 0), controller); };
        EXPECT_TRUE(controller.writeClock(2)) << error;
        EXPECT_EQ(controller.getCounters().sendFailures, 2U) << error;
        EXPECT_EQ(controller.getCounters().sent, 1U) << error;
        EXPECT_EQ(controller.getCounters().retries, 2U) << error;
    }
}

TEST(UdpSocketErrors, PassingOneOnEverySendEndsInATimeOut) {
    Station controller;
    Peer card;
    controller.asks(card);
    controller.setTries(2);
    System system(controller);
    system.freezeTime();
    system.sendErrors = {ENOBUFS, ENOBUFS};
    EXPECT_FALSE(controller.writeClock(2));
    EXPECT_EQ(controller.getLastError(),
              "request to " + lcmpUdpToText(card.address()) + ": no reply in time");
    EXPECT_EQ(controller.getCounters().timeouts, 1U);
}

TEST(UdpSocketErrors, InterruptedSendIsRepeatedUncounted) {
    Station card;
    Peer controller;
    System system(card);
    controller.send(readRequest(1, {clockIs(0)}), card);
    system.sendErrors = {EINTR, EINTR};
    EXPECT_EQ(card.handleWaiting(), 1);
    EXPECT_EQ(controller.receive(), hex(readResponse(1, 0, 0, {clockIs(128)})));
    EXPECT_EQ(card.getCounters().sendFailures, 0U);
}

TEST(UdpSocketErrors, AnyOtherOnSendingEndsARequestInWords) {
    Station controller;
    Peer card;
    controller.asks(card);
    controller.setTries(4);
    System system(controller);
    system.sendErrors = {ENETUNREACH};
    EXPECT_FALSE(controller.writeClock(2));
    EXPECT_EQ(controller.getLastError(),
              "send to " + lcmpUdpToText(card.address()) + ": Network is unreachable");
    EXPECT_EQ(system.sends, 1);
    EXPECT_EQ(controller.getCounters().sendFailures, 1U);
    EXPECT_EQ(controller.getCounters().timeouts, 0U);
}

TEST(UdpSocketErrors, AnyOtherOnARepetitionEndsTheRequest) {
    Station controller;
    Peer card;
    controller.asks(card);
    controller.setTries(4);
    System system(controller);
    system.freezeTime();
    system.sendErrors = {0, EPERM};
    EXPECT_FALSE(controller.writeClock(2));
    EXPECT_EQ(controller.getLastError(),
              "send to " + lcmpUdpToText(card.address()) + ": Operation not permitted");
    EXPECT_EQ(system.sends, 2);
}

TEST(UdpSocketErrors, ResponseThatCannotBeSentDoesNotStopServing) {
    for (const int error : {EPERM, ENOBUFS, EAGAIN, EINVAL}) {
        Station card;
        Peer controller;
        System system(card);
        controller.send(readRequest(1, {clockIs(0)}), card);
        controller.send(readRequest(2, {clockIs(0)}), card);
        system.sendErrors = {error};
        EXPECT_EQ(card.handleWaiting(), 2) << error;
        EXPECT_EQ(controller.receive().substr(18, 5), "00 02") << error;
        EXPECT_TRUE(controller.hasNothing()) << error;
        EXPECT_EQ(card.getCounters().sendFailures, 1U) << error;
        EXPECT_EQ(card.getCounters().sent, 1U) << error;
    }
}

TEST(UdpSocketErrors, PortWhereNobodyListensEndsInATimeOut) {
    Station controller;
    LcmpUdpAddress gone;
    {
        const Peer card;
        gone = card.address();
    }
    ASSERT_TRUE(controller.setTarget("127.0.0.1", gone.port));
    controller.setTimeout(Milliseconds(2));
    controller.setTries(3);
    EXPECT_FALSE(controller.writeClock(2));
    EXPECT_EQ(controller.getLastError(), "request to " + lcmpUdpToText(gone) + ": no reply in time");
    EXPECT_EQ(controller.getCounters().retries, 2U);
}

// ---------------------------------------------------------------- waiting

TEST(UdpSocketErrors, SignalEndsThePollEarly) {
    Station card;
    System system(card);
    system.waitErrors = {EINTR};
    EXPECT_EQ(card.poll(Milliseconds(-1)), 0);
    EXPECT_EQ(system.waits, 1);
}

TEST(UdpSocketErrors, SignalDoesNotEndARequest) {
    Station controller;
    Peer card;
    controller.asks(card);
    System system(controller);
    system.waitErrors = {EINTR, EINTR};
    system.onWait = once([&] { card.send(writeResponse(1, 0, 0), controller); });
    EXPECT_TRUE(controller.writeClock(2));
    EXPECT_EQ(system.waits, 3);
    EXPECT_EQ(system.sends, 1);
}

TEST(UdpSocketErrors, AnyOtherOnWaitingIsReturnedInWords) {
    Station card;
    System system(card);
    system.waitErrors = {ENOMEM};
    EXPECT_EQ(card.poll(Milliseconds(10000)), -1);
    EXPECT_EQ(card.getLastError(), "wait on " + textOf(card) + ": Cannot allocate memory");
}

TEST(UdpSocketErrors, AnyOtherOnWaitingEndsARequest) {
    Station controller;
    Peer card;
    controller.asks(card);
    System system(controller);
    system.waitErrors = {ENOMEM};
    EXPECT_FALSE(controller.writeClock(2));
    EXPECT_EQ(controller.getLastError(), "wait on " + textOf(controller) + ": Cannot allocate memory");
}

TEST(UdpSocketErrors, PollThatHasNoTimeDoesNotWait) {
    Station card;
    System system(card);
    EXPECT_EQ(card.poll(Milliseconds(0)), 0);
    EXPECT_EQ(system.waits, 0);
    EXPECT_EQ(system.receives, 1);
}

TEST(UdpSocketErrors, PollWaitsAsLongAsItIsTold) {
    Station card;
    System system(card);
    system.freezeTime();
    EXPECT_EQ(card.poll(Milliseconds(1234)), 0);
    EXPECT_EQ(system.waitTimes, (std::vector<int>{1234}));
}

TEST(UdpSocketErrors, PollBeyondMeasureDoesNotWrap) {
    Station card;
    System system(card);
    system.waitErrors = {EINTR};
    EXPECT_EQ(card.poll(Milliseconds::max()), 0);
    EXPECT_EQ(system.waitTimes, (std::vector<int>{2147483647}));
}
