#include <gtest/gtest.h>
#include <poll.h>

#include "passes.h"
#include "station.h"
#include "system.h"

using Milliseconds = Station::Milliseconds;

namespace {

// Without the 8 bytes of time, which are the clock's: header and elements of an event.
std::string withoutTime(const std::string& hexFrame) {
    constexpr std::size_t header = 8 * 3;
    constexpr std::size_t time = 8 * 3;
    return hexFrame.size() < header + time ? hexFrame
                                           : hexFrame.substr(0, header) + hexFrame.substr(header + time);
}

std::string eventOfClock(unsigned int id, unsigned int value) {
    return withoutTime(hex(amiFrame(id, 0, 0, {clockIs(value)})));
}

// A card whose first event pass, which only collects, is behind it.
class Reporter : public Station {
public:
    Reporter() { eventHandler(); }

    bool tells(const Peer& peer) { return addEventReceiver(peer.host(), peer.port()); }

    /// Changes the clock and runs the event pass.
    void reports(unsigned int value) {
        setClock(value);
        EXPECT_EQ(eventHandler(), 1);
    }
};

}  // namespace

// ---------------------------------------------------------------- out

TEST(UdpEvents, GoToEveryReceiver) {
    Reporter card;
    Peer first;
    Peer second("127.0.0.5");
    ASSERT_TRUE(card.tells(first));
    ASSERT_TRUE(card.tells(second));
    card.reports(3);
    EXPECT_EQ(withoutTime(first.receive()), eventOfClock(1, 3));
    EXPECT_EQ(withoutTime(second.receive()), eventOfClock(1, 3));
    EXPECT_EQ(first.sender(), card.getLocalAddress());
    EXPECT_EQ(card.getCounters().sent, 2U);
}

TEST(UdpEvents, GoOnceToAReceiverThatWasAddedTwice) {
    Reporter card;
    Peer receiver;
    ASSERT_TRUE(card.tells(receiver));
    ASSERT_TRUE(card.tells(receiver));
    card.reports(3);
    EXPECT_EQ(withoutTime(receiver.receive()), eventOfClock(1, 3));
    EXPECT_TRUE(receiver.hasNothing());
}

TEST(UdpBytes, GoAsTheyAre) {
    Station card;
    Peer peer;
    EXPECT_TRUE(card.sendBytes(peer.address(), "no frame", 8));
    EXPECT_EQ(peer.receive(), hex("no frame"));
    EXPECT_EQ(card.getCounters().sent, 1U);
}

TEST(UdpBytes, AreNotSentByAClosedEndpoint) {
    LcmpUdpEndpoint closed;
    const Peer peer;
    EXPECT_FALSE(closed.sendBytes(peer.address(), "x", 1));
    EXPECT_EQ(closed.getLastError(), "bytes: the endpoint is closed");
}

TEST(UdpEvents, DoNotGoToTheTargetOfRequests) {
    Reporter card;
    Peer receiver;
    Peer target;
    card.asks(target);
    ASSERT_TRUE(card.tells(receiver));
    card.reports(3);
    EXPECT_EQ(withoutTime(receiver.receive()), eventOfClock(1, 3));
    EXPECT_TRUE(target.hasNothing());
}

TEST(UdpEvents, WithoutAReceiverAreNotSent) {
    Station card;
    LCMPAmi event;
    event.addProperty(&card.clock());
    EXPECT_FALSE(card.sendMessage(&event));
    EXPECT_EQ(card.getLastError(), "event: no receiver was added");
}

TEST(UdpEvents, OneFailedSendMakesTheEventFailAndReachesTheOthers) {
    for (const std::size_t failing : {0U, 1U}) {
        Station card;
        Peer receivers[2];
        LCMPAmi event;
        event.addProperty(&card.clock());
        for (const Peer& receiver : receivers)
            ASSERT_TRUE(card.addEventReceiver(receiver.host(), receiver.port()));
        System system(card);
        system.sendErrors = failing == 0 ? std::deque<int>{EPERM} : std::deque<int>{0, EPERM};
        EXPECT_FALSE(card.sendMessage(&event));
        EXPECT_EQ(card.getLastError(),
                  "send to " + lcmpUdpToText(receivers[failing].address()) + ": Operation not permitted");
        EXPECT_EQ(withoutTime(receivers[1 - failing].receive()), eventOfClock(0, 128));
        EXPECT_TRUE(receivers[failing].hasNothing());
        EXPECT_EQ(card.getCounters().sendFailures, 1U);
        EXPECT_TRUE(card.sendMessage(&event));
    }
}

TEST(UdpEvents, EventThatNoDatagramHoldsIsNotSent) {
    Station card;
    Peer receiver;
    LCMPAmi event;
    card.serial().set(std::string(65507, 's'));
    event.addProperty(&card.serial());
    ASSERT_TRUE(card.addEventReceiver(receiver.host(), receiver.port()));
    EXPECT_FALSE(card.sendMessage(&event));
    EXPECT_EQ(card.getLastError(), "send: the message is too long for a datagram");
}

// ---------------------------------------------------------------- in

TEST(UdpEvents, ReceivedEventIsAppliedAndHandedOver) {
    Station controller;
    Peer card;
    card.send(amiFrame(7, 0, 0, {clockIs(3), Element::holding(serialOid, STRING, "new")}), controller);
    EXPECT_EQ(controller.handleWaiting(), 1);
    EXPECT_EQ(controller.clockValue(), 3U);
    EXPECT_EQ(controller.journal, (std::vector<std::string>{"event of 2"}));
    EXPECT_EQ(controller.senders, (std::vector<LcmpUdpAddress>{card.address()}));
    EXPECT_TRUE(card.hasNothing());
}

TEST(UdpEvents, EventOfAnUnlistedPeerIsNotApplied) {
    Station controller;
    Peer stranger("127.0.0.5");
    ASSERT_TRUE(controller.allow("127.0.0.1"));
    stranger.send(amiFrame(7, 0, 0, {clockIs(3)}), controller);
    EXPECT_EQ(controller.handleWaiting(), 0);
    EXPECT_EQ(controller.clockValue(), 128U);
    EXPECT_TRUE(controller.journal.empty());
}

// ---------------------------------------------------------------- in time

TEST(UdpEvents, PollEndsItsWaitWhenThePeriodIsOver) {
    Reporter card;
    Peer receiver;
    ASSERT_TRUE(card.tells(receiver));
    System system(card);
    system.freezeTime();
    card.setEventPeriod(Milliseconds(40));
    card.setClock(3);
    EXPECT_EQ(card.poll(Milliseconds(10000)), 0);
    EXPECT_EQ(system.waitTimes, (std::vector<int>{40}));
    EXPECT_EQ(withoutTime(receiver.receive()), eventOfClock(1, 3));
}

TEST(UdpEvents, PollThatWaitsForEverStillRunsThem) {
    Reporter card;
    Passes passes;
    System system(card);
    system.freezeTime();
    card.setEventPeriod(Milliseconds(40));
    EXPECT_EQ(card.poll(Milliseconds(-1)), 0);
    EXPECT_EQ(passes(), 1);
}

TEST(UdpEvents, RunInStepHoweverLongTheApplicationTakes) {
    Reporter card;
    Passes passes;
    System system(card);
    system.freezeTime();
    card.setEventPeriod(Milliseconds(100));
    for (int pass = 1; pass <= 5; ++pass) {
        EXPECT_EQ(card.poll(Milliseconds(-1)), 0);
        EXPECT_EQ(passes(), pass);
        system.advance(Milliseconds(30));
    }
    EXPECT_EQ(system.waitTimes, (std::vector<int>{100, 70, 70, 70, 70}));
}

TEST(UdpEvents, RunThatWasLateDoesNotDelayTheNext) {
    Reporter card;
    Passes passes;
    System system(card);
    system.freezeTime();
    card.setEventPeriod(Milliseconds(100));
    system.advance(Milliseconds(130));
    EXPECT_EQ(card.onDeadline(), 0);
    EXPECT_EQ(passes(), 1);
    EXPECT_EQ(card.millisecondsToDeadline(), 70);
}

TEST(UdpEvents, RunOnceWhenSeveralPeriodsWereMissed) {
    Reporter card;
    Passes passes;
    System system(card);
    system.freezeTime();
    card.setEventPeriod(Milliseconds(100));
    system.advance(Milliseconds(350));
    EXPECT_EQ(card.poll(Milliseconds(0)), 0);
    EXPECT_EQ(passes(), 1);
    EXPECT_EQ(card.millisecondsToDeadline(), 100);
    EXPECT_EQ(card.poll(Milliseconds(0)), 0);
    EXPECT_EQ(passes(), 1);
}

TEST(UdpEvents, DoNotRunBeforeTheirTime) {
    Reporter card;
    Passes passes;
    System system(card);
    system.freezeTime();
    card.setEventPeriod(Milliseconds(100));
    EXPECT_EQ(card.poll(Milliseconds(99)), 0);
    EXPECT_EQ(passes(), 0);
    EXPECT_EQ(card.poll(Milliseconds(1)), 0);
    EXPECT_EQ(passes(), 1);
    EXPECT_EQ(system.waitTimes, (std::vector<int>{99, 1}));
}

TEST(UdpEvents, RunAlsoWhenFramesNeverCease) {
    Reporter card;
    Peer controller;
    Passes passes;
    System system(card);
    system.freezeTime();
    card.setEventPeriod(Milliseconds(100));
    for (unsigned int id = 1; id <= 20; ++id) {
        controller.send(readRequest(id, {clockIs(0)}), card);
        system.advance(Milliseconds(10));
        EXPECT_EQ(card.poll(Milliseconds(10000)), 1);
    }
    EXPECT_EQ(passes(), 2);
    EXPECT_EQ(system.waits, 0);
}

TEST(UdpEvents, DoNotRunWithoutAPeriod) {
    Reporter card;
    Passes passes;
    System system(card);
    system.freezeTime();
    card.setEventPeriod(Milliseconds(100));
    card.setEventPeriod(Milliseconds(0));
    EXPECT_EQ(card.poll(Milliseconds(1000)), 0);
    EXPECT_EQ(card.onDeadline(), 0);
    EXPECT_EQ(passes(), 0);
    EXPECT_EQ(card.millisecondsToDeadline(), -1);
}

TEST(UdpEvents, NegativePeriodIsNone) {
    Reporter card;
    card.setEventPeriod(Milliseconds(-5));
    EXPECT_EQ(card.millisecondsToDeadline(), -1);
}

TEST(UdpEvents, PeriodBeyondMeasureDoesNotWrap) {
    Reporter card;
    Passes passes;
    card.setEventPeriod(Milliseconds::max());
    EXPECT_EQ(card.millisecondsToDeadline(), 2147483647);
    EXPECT_EQ(card.onDeadline(), 0);
    EXPECT_EQ(passes(), 0);
}

TEST(UdpEvents, DeadlineIsRoundedUpAndNeverNegative) {
    Reporter card;
    System system(card);
    system.freezeTime();
    EXPECT_EQ(card.millisecondsToDeadline(), -1);
    card.setEventPeriod(Milliseconds(100));
    EXPECT_EQ(card.millisecondsToDeadline(), 100);
    system.advance(Milliseconds(1));
    EXPECT_EQ(card.millisecondsToDeadline(), 99);
    system.advance(Milliseconds(99));
    EXPECT_EQ(card.millisecondsToDeadline(), 0);
    system.advance(Milliseconds(1000));
    EXPECT_EQ(card.millisecondsToDeadline(), 0);
}

TEST(UdpEvents, WaitIsRoundedUpSoThatItIsNotRepeated) {
    Reporter card;
    System system(card);
    system.freezeTime();
    card.setEventPeriod(Milliseconds(100));
    system.advance(std::chrono::microseconds(500));
    EXPECT_EQ(card.poll(Milliseconds(10000)), 0);
    EXPECT_EQ(system.waitTimes, (std::vector<int>{100})) << "99.5 ms are left";
}

// ---------------------------------------------------------------- another event loop

namespace {

// One turn of a loop that knows nothing but a file descriptor and a time.
int turn(LcmpUdpEndpoint& endpoint) {
    pollfd watched{endpoint.getFileDescriptor(), POLLIN, 0};
    const int ready = poll(&watched, 1, endpoint.millisecondsToDeadline());
    return ready > 0 ? endpoint.onReadable() : endpoint.onDeadline();
}

}  // namespace

TEST(UdpLoop, ServesRequestsAndRunsEventsFromOutside) {
    Reporter card;
    Peer controller;
    Peer receiver;
    ASSERT_TRUE(card.tells(receiver));
    System system(card);
    system.freezeTime();
    card.setEventPeriod(Milliseconds(50));
    card.setClock(1);
    controller.send(readRequest(1, {clockIs(0)}), card);
    EXPECT_EQ(turn(card), 1);
    EXPECT_EQ(controller.receive(), hex(readResponse(1, 0, 0, {clockIs(1)})));
    EXPECT_TRUE(receiver.hasNothing());
    EXPECT_EQ(turn(card), 0);
    EXPECT_EQ(withoutTime(receiver.receive()), eventOfClock(1, 1));
    card.setClock(2);
    EXPECT_EQ(turn(card), 0);
    EXPECT_EQ(withoutTime(receiver.receive()), eventOfClock(2, 2));
    EXPECT_EQ(system.waitTimes, (std::vector<int>{50, 50, 50}));
}

TEST(UdpLoop, DeadlineBringsUpWhatWasKept) {
    Reporter station;
    Peer card;
    Peer master;
    station.asks(card);
    master.send(readRequest(1, {clockIs(0)}), station);
    card.send(writeResponse(1, 0, 0), station);
    EXPECT_TRUE(station.writeClock(2));
    EXPECT_EQ(turn(station), 1);
    EXPECT_EQ(master.receive(), hex(readResponse(1, 0, 0, {clockIs(2)})));
}

TEST(UdpLoop, CallsThatComeTooOftenDoNothing) {
    Reporter card;
    Passes passes;
    card.setEventPeriod(std::chrono::hours(1));
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(card.onReadable(), 0);
        EXPECT_EQ(card.onDeadline(), 0);
    }
    EXPECT_EQ(passes(), 0);
    EXPECT_EQ(card.getCounters().receiveFailures, 0U);
}

TEST(UdpLoop, ReadableRunsNoEvents) {
    Reporter card;
    Passes passes;
    System system(card);
    system.freezeTime();
    card.setEventPeriod(Milliseconds(10));
    system.advance(Milliseconds(100));
    EXPECT_EQ(card.onReadable(), 0);
    EXPECT_EQ(passes(), 0);
    EXPECT_EQ(card.onDeadline(), 0);
    EXPECT_EQ(passes(), 1);
}
