// Where one request follows the other, the wait for the next and its receive are one call of the system.
// Nobody sees a difference but in what it costs.
#include <gtest/gtest.h>
#include <sys/time.h>

#include <cerrno>
#include <csignal>

#include "callFaults.h"
#include "passes.h"
#include "station.h"
#include "system.h"

using Milliseconds = Station::Milliseconds;

namespace {

/// A card that has just waited for a request and served it.
class UdpWaiting : public testing::Test {
protected:
    UdpWaiting() {
        for (int count = 0; count < 3; ++count)
            EXPECT_EQ(serveOne(), 1);
        system.receives = system.sends = system.waits = system.patientReceives = 0;
        system.waitTimes.clear();
    }

    void ask() { controller.send(readRequest(++m_id, {clockIs(0)}), card); }

    /// Polls; the request comes during the wait.
    int serveOne(Milliseconds timeout = Milliseconds(10000)) {
        system.onWait = once([this] { ask(); });
        const int handled = card.poll(timeout);
        EXPECT_EQ(controller.receive(), hex(readResponse(m_id, 0, 0, {clockIs(128)})));
        return handled;
    }

    Station card;
    Peer controller;
    System system{card};

private:
    unsigned int m_id = 0;
};

int total(const std::vector<int>& times) {
    int sum = 0;
    for (const int time : times)
        sum += time;
    return sum;
}

}  // namespace

TEST_F(UdpWaiting, NextRequestCostsOneReceiveAndOneSend) {
    for (int count = 1; count <= 10; ++count) {
        EXPECT_EQ(serveOne(), 1);
        EXPECT_EQ(system.patientReceives, count);
        EXPECT_EQ(system.receives, count);
        EXPECT_EQ(system.sends, count);
    }
    EXPECT_EQ(system.waits, 0);
}

TEST_F(UdpWaiting, RequestsThatComeTogetherAreServedInTheirOrder) {
    system.onWait = once([this] {
        for (int count = 0; count < 40; ++count)
            ask();
    });
    int handled = 0;
    while (handled < 40)
        handled += card.poll(Milliseconds(1000));
    EXPECT_EQ(handled, 40);
    for (unsigned int id = 4; id <= 43; ++id)
        EXPECT_EQ(controller.receive(), hex(readResponse(id, 0, 0, {clockIs(128)})));
    EXPECT_EQ(system.waits, 0);
}

TEST_F(UdpWaiting, NeverTakesLongerThanItMay) {
    system.freezeTime();
    for (const int timeout : {1, 2, 19, 20, 21, 50, 1000, 3599, 86400000}) {
        EXPECT_EQ(serveOne(), 1);
        system.waitTimes.clear();
        const auto before = system.time();
        EXPECT_EQ(card.poll(Milliseconds(timeout)), 0);
        EXPECT_EQ(system.time() - before, Milliseconds(timeout));
        EXPECT_EQ(total(system.waitTimes), timeout);
        // The system rounds up what a receive may wait: it is never the whole.
        if (system.waitTimes.size() > 1) {
            EXPECT_LE(system.waitTimes.front(), timeout / 2);
        }
    }
}

TEST_F(UdpWaiting, ShortOneIsLeftToAnExactCall) {
    EXPECT_EQ(serveOne(Milliseconds(19)), 1);
    EXPECT_EQ(system.patientReceives, 0);
    EXPECT_EQ(system.waits, 1);
}

TEST_F(UdpWaiting, WithoutTimeIsNone) {
    EXPECT_EQ(card.poll(Milliseconds(0)), 0);
    EXPECT_EQ(system.patientReceives, 0);
    EXPECT_EQ(system.waits, 0);
    ask();
    EXPECT_EQ(card.poll(Milliseconds(0)), 1);
}

TEST_F(UdpWaiting, OneInVainIsFollowedByAnExactOne) {
    system.freezeTime();
    EXPECT_EQ(card.poll(Milliseconds(1000)), 0);
    EXPECT_EQ(system.patientReceives, 1);
    EXPECT_EQ(system.waits, 1);
    EXPECT_EQ(card.poll(Milliseconds(1000)), 0);
    EXPECT_EQ(system.patientReceives, 1) << "a card that nobody asks is not woken for nothing";
    EXPECT_EQ(system.waits, 2);
}

TEST_F(UdpWaiting, EventsRunInTheirTimeWhileRequestsFollowOneTheOther) {
    const Passes passes;
    system.freezeTime();
    card.setEventPeriod(Milliseconds(100));
    for (int milliseconds = 5; milliseconds <= 250; milliseconds += 5) {
        system.advance(Milliseconds(5));
        system.onWait = once([this] { ask(); });
        while (card.poll(Milliseconds(10000)) == 0) {
        }
        EXPECT_EQ(passes(), milliseconds / 100) << milliseconds;
    }
    EXPECT_GT(system.patientReceives, 30);
}

TEST_F(UdpWaiting, EventThatIsDueEndsIt) {
    const Passes passes;
    system.freezeTime();
    card.setEventPeriod(Milliseconds(100));
    const auto start = system.time();
    EXPECT_EQ(card.poll(Milliseconds(-1)), 0);
    EXPECT_EQ(system.time() - start, Milliseconds(100));
    EXPECT_EQ(passes(), 1);
}

TEST_F(UdpWaiting, LimitOfReceivesIsSetOnceForManyOfThem) {
    CallFault fault("setsockopt", EPERM);  // the first that comes
    for (int count = 0; count < 10; ++count)
        EXPECT_EQ(serveOne(), 1);
    EXPECT_FALSE(fault.happened());
}

TEST_F(UdpWaiting, WhereASystemCannotLimitReceivesIsLeftToAnExactCall) {
    CallFault fault("setsockopt", ENOPROTOOPT);
    EXPECT_EQ(serveOne(Milliseconds(100)), 1);
    EXPECT_TRUE(fault.happened());
    EXPECT_EQ(system.patientReceives, 0);
    EXPECT_EQ(system.waits, 1);
}

namespace {

/// Lets signals come every 20 ms whose handler asks the system to go on with what it interrupts.
class Signals {
public:
    Signals() {
        struct sigaction action {};
        action.sa_handler = [](int) {};
        action.sa_flags = SA_RESTART;
        EXPECT_EQ(sigaction(SIGALRM, &action, &m_before), 0);
        every(20000);
    }
    ~Signals() {
        every(0);
        sigaction(SIGALRM, &m_before, nullptr);
    }
    Signals(const Signals&) = delete;
    Signals& operator=(const Signals&) = delete;

private:
    static void every(suseconds_t microseconds) {
        const itimerval timer{{0, microseconds}, {0, microseconds}};
        EXPECT_EQ(setitimer(ITIMER_REAL, &timer, nullptr), 0);
    }

    struct sigaction m_before {};
};

}  // namespace

TEST_F(UdpWaiting, SignalEndsItHoweverItIsHandled) {
    const auto start = LcmpUdpEndpoint::Clock::now();
    {
        const Signals signals;
        EXPECT_EQ(card.poll(Milliseconds(60000)), 0);
    }
    EXPECT_EQ(system.patientReceives, 1);
    EXPECT_EQ(system.waits, 0);
    EXPECT_LT(LcmpUdpEndpoint::Clock::now() - start, Milliseconds(10000));
}

TEST_F(UdpWaiting, InterruptionIsNoFailure) {
    system.receiveErrors = {EINTR};
    EXPECT_EQ(card.poll(Milliseconds(10000)), 0);
    EXPECT_EQ(card.getCounters().receiveFailures, 0U);
    EXPECT_EQ(card.getLastError(), "");
    EXPECT_EQ(serveOne(), 1);
}

TEST_F(UdpWaiting, PassingErrorIsCountedAndHidesNoRequest) {
    for (const int error : {ENOBUFS, ECONNREFUSED}) {
        EXPECT_EQ(serveOne(), 1);
        const auto before = card.getCounters().receiveFailures;
        system.receiveErrors = {error};
        EXPECT_EQ(serveOne(), 1);
        EXPECT_EQ(card.getCounters().receiveFailures, before + 1);
    }
}

TEST_F(UdpWaiting, AnyOtherErrorIsReturnedInWords) {
    system.receiveErrors = {EIO};
    EXPECT_EQ(card.poll(Milliseconds(10000)), -1);
    EXPECT_EQ(card.getLastError(),
              "receive on " + lcmpUdpToText(card.getLocalAddress()) + ": Input/output error");
    EXPECT_EQ(serveOne(), 1);
}

TEST_F(UdpWaiting, DatagramOfAnUnlistedPeerDoesNotEndIt) {
    Peer stranger("127.0.0.9");
    ASSERT_TRUE(card.allow("127.0.0.1/32"));
    system.onWait = once([&] {
        stranger.send(readRequest(99, {clockIs(0)}), card);
        system.onWait = once([this] { ask(); });
    });
    EXPECT_EQ(card.poll(Milliseconds(10000)), 1);
    EXPECT_EQ(card.getCounters().notAllowed, 1U);
    EXPECT_TRUE(stranger.hasNothing());
}

TEST_F(UdpWaiting, ReopenedSocketIsLimitedAnew) {
    ASSERT_TRUE(card.open("127.0.0.1", 0));
    System again(card);
    again.onWait = once([this] { ask(); });
    EXPECT_EQ(card.poll(Milliseconds(10000)), 1);
    EXPECT_EQ(again.patientReceives, 0);
    again.freezeTime();
    again.waitTimes.clear();
    EXPECT_EQ(card.poll(Milliseconds(10000)), 0);
    EXPECT_EQ(again.patientReceives, 1);
    EXPECT_EQ(total(again.waitTimes), 10000);
}
