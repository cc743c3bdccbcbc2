// What an application does while one of its frames is being handled.
#include <gtest/gtest.h>

#include <utility>

#include "capturedLog.h"
#include "station.h"
#include "system.h"

using Milliseconds = Station::Milliseconds;

TEST(UdpHooks, RequestSentWhileServingLeavesTheServedPeer) {
    Station station;
    Peer master;
    Peer card("127.0.0.5");
    station.asks(card);
    station.control.onUpdate = once([&] {
        card.send(writeResponse(1, 0, 0), station);
        EXPECT_TRUE(station.writeProperty(station.serial()));
    });
    master.send(readRequest(7, {clockIs(0)}), station);
    EXPECT_EQ(station.handleWaiting(), 1);
    EXPECT_EQ(master.receive(), hex(readResponse(7, 0, 0, {clockIs(128)})));
    EXPECT_EQ(card.receive(), hex(writeRequest(1, {Element::holding(serialOid, STRING, "serial")})));
    EXPECT_TRUE(card.hasNothing());
}

TEST(UdpHooks, RequestSentWhileServingLeavesTheFrameThatIsServed) {
    Station station;
    Peer master;
    Peer card;
    station.asks(card);
    station.control.onUpdate = once([&] {
        card.send(readResponse(1, 0, 0, {Element::holding(serialOid, STRING, std::string(1000, 'x'))}),
                  station);
        EXPECT_TRUE(station.readProperty(station.serial()));
    });
    master.send(writeRequest(7, {clockIs(2)}), station);
    EXPECT_EQ(station.handleWaiting(), 1);
    EXPECT_EQ(master.receive(), hex(writeResponse(7, 0, 0)));
    EXPECT_EQ(station.clockValue(), 2U);
    EXPECT_EQ(station.serial().length(), 1000U);
}

TEST(UdpHooks, WhatArrivesDuringARequestSentWhileServingKeepsItsPlace) {
    Station station;
    Peer master;
    Peer card;
    station.asks(card);
    station.control.onUpdate = once([&] {
        master.send(readRequest(2, {clockIs(0)}), station);
        card.send(writeResponse(1, 0, 0), station);
        master.send(readRequest(3, {clockIs(0)}), station);
        EXPECT_TRUE(station.writeProperty(station.serial()));
    });
    master.send(readRequest(1, {clockIs(0)}), station);
    EXPECT_EQ(station.handleWaiting(), 3);
    for (unsigned int id = 1; id <= 3; ++id)
        EXPECT_EQ(master.receive(), hex(readResponse(id, 0, 0, {clockIs(128)})));
    EXPECT_EQ(station.getCounters().kept, 1U);
}

TEST(UdpHooks, RequestSentWhileAKeptFrameIsHandledLeavesIt) {
    Station station;
    Peer master;
    Peer card;
    station.asks(card);
    master.send(writeRequest(7, {clockIs(3)}), station);
    card.send(writeResponse(1, 0, 0), station);
    EXPECT_TRUE(station.writeClock(1));
    station.control.onUpdate = once([&] {
        card.send(writeResponse(2, 0, 0), station);
        EXPECT_TRUE(station.writeProperty(station.serial()));
    });
    EXPECT_EQ(station.handleWaiting(), 1);
    EXPECT_EQ(master.receive(), hex(writeResponse(7, 0, 0)));
    EXPECT_EQ(station.clockValue(), 3U);
}

TEST(UdpHooks, UnansweredRequestSentWhileServingLeavesTheServedPeer) {
    Station station;
    Peer master;
    Peer card;
    station.asks(card);
    System system(station);
    system.freezeTime();
    station.control.onUpdate = once([&] { EXPECT_FALSE(station.writeProperty(station.serial())); });
    master.send(writeRequest(7, {clockIs(2)}), station);
    EXPECT_EQ(station.handleWaiting(), 1);
    EXPECT_EQ(master.receive(), hex(writeResponse(7, 0, 0)));
}

TEST(UdpHooks, RequestSentFromTheHookOfAReplyHasAReplyOfItsOwn) {
    Station controller;
    Peer card;
    controller.asks(card);
    controller.control.onUpdated = once([&] {
        card.send(readResponse(2, 0, 0, {Element::holding(serialOid, STRING, "second")}), controller);
        EXPECT_TRUE(controller.readProperty(controller.serial()));
    });
    card.send(readResponse(1, 0, 0, {clockIs(2), Element::holding(serialOid, STRING, "first")}), controller);
    EXPECT_TRUE(controller.readPropertys({&controller.clock(), &controller.serial()}));
    std::string serial;
    controller.serial().get(&serial);
    EXPECT_EQ(serial, "first") << "the rest of the first reply comes after the hook";
    EXPECT_EQ(controller.clockValue(), 2U);
}

TEST(UdpHooks, RequestSentWhenTheReplyIsSeenLeavesTheReply) {
    Station controller;
    Peer card;
    controller.asks(card);
    controller.onFrame = once([&] {
        card.send(writeResponse(2, 0, 0), controller);
        EXPECT_TRUE(controller.writeProperty(controller.serial()));
    });
    card.send(readResponse(1, 0, 0, {clockIs(2)}), controller);
    EXPECT_TRUE(controller.readClock());
    EXPECT_EQ(controller.clockValue(), 2U);
    EXPECT_EQ(controller.frames,
              (std::vector<std::string>{readResponse(1, 0, 0, {clockIs(2)}), writeResponse(2, 0, 0)}));
}

TEST(UdpHooks, PollFromAHookServesOthersAndLeavesTheServedPeerAndItsFrame) {
    Station station;
    Peer first;
    Peer second;
    station.control.onUpdate = once([&] { EXPECT_EQ(station.handleWaiting(), 1); });
    first.send(writeRequest(1, {clockIs(1)}), station);
    second.send(writeRequest(2, {Element::holding(serialOid, STRING, std::string(500, 'y'))}), station);
    EXPECT_EQ(station.handleWaiting(), 1);
    EXPECT_EQ(first.receive(), hex(writeResponse(1, 0, 0)));
    EXPECT_EQ(second.receive(), hex(writeResponse(2, 0, 0)));
    EXPECT_EQ(station.clockValue(), 1U);
    EXPECT_EQ(station.serial().length(), 500U);
    EXPECT_TRUE(first.hasNothing());
    EXPECT_TRUE(second.hasNothing());
}

TEST(UdpHooks, ClosingWhileServingEndsTheTurnWithoutAnAnswer) {
    Station station;
    Peer first;
    Peer second;
    station.control.onUpdate = [&] { station.close(); };
    first.send(writeRequest(1, {clockIs(1)}), station);
    second.send(writeRequest(2, {clockIs(2)}), station);
    EXPECT_EQ(station.poll(Milliseconds(10000)), 1);
    EXPECT_EQ(station.clockValue(), 1U);
    EXPECT_EQ(station.getLastError(), "response: the peer that asked is out of reach");
    EXPECT_TRUE(first.hasNothing());
    EXPECT_EQ(station.handleWaiting(), -1);
}

TEST(UdpHooks, ClosingWhenAFrameIsSeenEndsTheTurn) {
    Station station;
    Peer master;
    station.onFrame = [&] { station.close(); };
    master.send(readRequest(1, {clockIs(1)}), station);
    EXPECT_EQ(station.onReadable(), 1);
    EXPECT_TRUE(master.hasNothing());
}

TEST(UdpHooks, ClosingWhileKeptFramesAreHandledForgetsTheRest) {
    const std::function<int(Station&)> ways[] = {
        [](Station& station) { return station.onDeadline(); },
        [](Station& station) { return station.onReadable(); },
        [](Station& station) { return station.poll(Milliseconds(10000)); },
    };
    for (const auto& way : ways) {
        Station station;
        Peer master;
        Peer card;
        station.asks(card);
        master.send(writeRequest(1, {clockIs(3)}), station);
        master.send(writeRequest(2, {clockIs(0)}), station);
        card.send(writeResponse(1, 0, 0), station);
        EXPECT_TRUE(station.writeClock(1));
        station.control.onUpdate = [&] { station.close(); };
        EXPECT_EQ(way(station), 1);
        EXPECT_EQ(station.clockValue(), 3U);
        EXPECT_EQ(way(station), -1);
    }
}

TEST(UdpHooks, ClosedEndpointRunsNoEventsThatHaveComeDue) {
    const std::function<int(Station&)> ways[] = {
        [](Station& station) { return station.onDeadline(); },
        [](Station& station) { return station.poll(Milliseconds(10000)); },
    };
    for (const auto& way : ways) {
        Station station;
        Peer master;
        Peer card;
        station.asks(card);
        master.send(writeRequest(1, {clockIs(3)}), station);
        card.send(writeResponse(1, 0, 0), station);
        EXPECT_TRUE(station.writeClock(1));
        const CapturedLog log(levelDebug1);
        System system(station);
        system.freezeTime();
        station.setEventPeriod(Milliseconds(10));
        station.control.onUpdate = [&] {
            system.advance(Milliseconds(100));
            station.close();
        };
        EXPECT_EQ(way(station), 1);
        EXPECT_EQ(log.count("DEBUG1", "initDone=0") + log.count("DEBUG1", "initDone=1"), 0) << log.all();
    }
}

TEST(UdpHooks, AnswerDoesNotLeaveThroughASocketOpenedMeanwhile) {
    Station station;
    Peer master;
    station.control.onUpdate = once([&] {
        station.close();
        EXPECT_TRUE(station.open("127.0.0.1", 0));
    });
    master.send(writeRequest(1, {clockIs(1)}), station);
    EXPECT_EQ(station.handleWaiting(), 1);
    EXPECT_TRUE(master.hasNothing());
    master.send(readRequest(2, {clockIs(0)}), station);
    EXPECT_EQ(station.handleWaiting(), 1);
    EXPECT_EQ(master.receive(), hex(readResponse(2, 0, 0, {clockIs(1)})));
}

TEST(UdpHooks, ClosingWhenTheReplyIsSeenStillAppliesIt) {
    Station controller;
    Peer card;
    controller.asks(card);
    controller.onFrame = [&] { controller.close(); };
    card.send(readResponse(1, 0, 0, {clockIs(2)}), controller);
    EXPECT_TRUE(controller.readClock());
    EXPECT_EQ(controller.clockValue(), 2U);
}

namespace {

// A variable that does something at the moment when its value is written to a frame.
class Lively : public TypeProperty<unsigned char> {
public:
    explicit Lively(std::function<void()> action)
        : TypeProperty<unsigned char>(4, "lively", IFC_CARD_VAR_READ_ONLY, 9), m_action(std::move(action)) {}

    int serialize(char* buffer, int size) override {
        m_action();
        return TypeProperty<unsigned char>::serialize(buffer, size);
    }

private:
    std::function<void()> m_action;
};

constexpr unsigned int livelyOid = 0x11800004;

}  // namespace

TEST(UdpHooks, RequestSentWhileAResponseIsWrittenLeavesTheResponse) {
    Station station;
    Peer master;
    Peer card;
    station.asks(card);
    station.serial().set(std::string(3000, 'z'));
    auto* const lively = new Lively([&] {
        card.send(writeResponse(1, 0, 0), station);
        EXPECT_TRUE(station.writeProperty(station.serial()));
    });
    ASSERT_TRUE(station.control.addProp(lively, 0));
    master.send(readRequest(7, {clockIs(0), Element(livelyOid, UINT8, "00")}), station);
    EXPECT_EQ(station.handleWaiting(), 1);
    EXPECT_EQ(master.receive(), hex(readResponse(7, 0, 0, {clockIs(128), Element(livelyOid, UINT8, "09")})));
}

TEST(UdpHooks, ClosingWhileAResponseIsWrittenLosesIt) {
    for (const bool reopens : {false, true}) {
        Station station;
        Peer master;
        auto* const lively = new Lively([&] {
            station.close();
            EXPECT_TRUE(!reopens || station.open("127.0.0.1", 0));
        });
        ASSERT_TRUE(station.control.addProp(lively, 0));
        master.send(readRequest(7, {Element(livelyOid, UINT8, "00")}), station);
        EXPECT_EQ(station.handleWaiting(), 1);
        EXPECT_TRUE(master.hasNothing());
        EXPECT_EQ(station.getLastError(), "response: the peer that asked is out of reach");
        EXPECT_EQ(station.getCounters().sendFailures, 0U);
    }
}

TEST(UdpHooks, ClosingWhileARequestIsWrittenIsAFailedSend) {
    Station station;
    Peer card;
    station.asks(card);
    auto* const lively = new Lively([&] { station.close(); });
    ASSERT_TRUE(station.control.addProp(lively, 0));
    EXPECT_FALSE(station.readProperty(*lively));
    EXPECT_EQ(station.getLastError(), "send to " + lcmpUdpToText(card.address()) + ": Bad file descriptor");
    EXPECT_TRUE(card.hasNothing());
}
