// Frames that wait together are received together, and their responses leave together. Nobody sees a
// difference.
#include <gtest/gtest.h>

#include <cerrno>

#include "station.h"
#include "system.h"

using Milliseconds = Station::Milliseconds;

namespace {

void sendReads(const Peer& controller, const Station& card, unsigned int count) {
    for (unsigned int id = 1; id <= count; ++id)
        controller.send(readRequest(id, {clockIs(0)}), card);
}

std::string answerTo(unsigned int id) { return hex(readResponse(id, 0, 0, {clockIs(128)})); }

unsigned int idOf(const std::string& answer) {
    return static_cast<unsigned int>(std::stoul(answer.substr(21, 2), nullptr, 16));
}

/// The numbers of the requests whose answers have come, in their order.
std::vector<unsigned int> answersAt(Peer& controller) {
    std::vector<unsigned int> ids;
    while (!controller.hasNothing()) {
        const std::string answer = controller.receive();
        ids.push_back(idOf(answer));
        EXPECT_EQ(answer, answerTo(ids.back()));
    }
    return ids;
}

std::vector<unsigned int> upTo(unsigned int count) {
    std::vector<unsigned int> ids;
    for (unsigned int id = 1; id <= count; ++id)
        ids.push_back(id);
    return ids;
}

}  // namespace

TEST(UdpBatch, AnswersComeInTheOrderOfTheRequestsHoweverManyWait) {
    for (const unsigned int count : {1U, 2U, 16U, 17U, 18U, 33U, 100U}) {
        Station card;
        Peer controller;
        sendReads(controller, card, count);
        EXPECT_EQ(card.handleWaiting(), static_cast<int>(count));
        EXPECT_EQ(answersAt(controller), upTo(count));
        EXPECT_EQ(card.getCounters().sent, count);
        EXPECT_EQ(card.getCounters().received, count);
    }
}

TEST(UdpBatch, EachAnswerGoesToWhoAsked) {
    Station card;
    Peer first;
    Peer second("127.0.0.2");
    for (unsigned int id = 1; id <= 5; ++id) {
        first.send(readRequest(id, {clockIs(0)}), card);
        second.send(readRequest(id + 100, {clockIs(0)}), card);
    }
    EXPECT_EQ(card.handleWaiting(), 10);
    EXPECT_EQ(answersAt(first), upTo(5));
    EXPECT_EQ(answersAt(second), (std::vector<unsigned int>{101, 102, 103, 104, 105}));
}

TEST(UdpBatch, OnAllAddressesEachAnswerLeavesFromTheOneAsked) {
    Station card("0.0.0.0");
    Peer controller;
    const std::uint16_t port = card.getLocalAddress().port;
    for (unsigned int id = 1; id <= 6; ++id)
        controller.send(readRequest(id, {clockIs(0)}), {0x7F000000 + id, port});
    EXPECT_EQ(card.handleWaiting(), 6);
    for (unsigned int id = 1; id <= 6; ++id) {
        EXPECT_EQ(controller.receive(), answerTo(id));
        EXPECT_EQ(controller.sender(), (LcmpUdpAddress{0x7F000000 + id, port}));
    }
}

TEST(UdpBatch, AnswerThatCannotBeSentIsCountedAndHoldsNoOtherBack) {
    for (std::size_t failing = 0; failing < 6; ++failing) {
        Station card;
        Peer controller;
        System system(card);
        system.sendErrors = std::deque<int>(failing, 0);
        system.sendErrors.push_back(EPERM);
        sendReads(controller, card, 6);
        EXPECT_EQ(card.handleWaiting(), 6);
        std::vector<unsigned int> others = upTo(6);
        others.erase(others.begin() + static_cast<std::ptrdiff_t>(failing));
        EXPECT_EQ(answersAt(controller), others) << failing;
        EXPECT_EQ(card.getCounters().sendFailures, 1U);
        EXPECT_EQ(card.getCounters().sent, 5U);
        EXPECT_EQ(card.getLastError(),
                  "send to " + lcmpUdpToText(controller.address()) + ": Operation not permitted");
    }
}

TEST(UdpBatch, EveryAnswerMayFail) {
    Station card;
    Peer controller;
    System system(card);
    system.sendErrors = std::deque<int>(20, ENOBUFS);
    sendReads(controller, card, 20);
    EXPECT_EQ(card.handleWaiting(), 20);
    EXPECT_EQ(card.getCounters().sendFailures, 20U);
    EXPECT_EQ(card.getCounters().sent, 0U);
    EXPECT_TRUE(controller.hasNothing());
}

TEST(UdpBatch, ErrorBetweenTwoDatagramsLosesNeither) {
    for (std::size_t failing = 0; failing < 5; ++failing) {
        Station card;
        Peer controller;
        System system(card);
        system.receiveErrors = std::deque<int>(failing, 0);
        system.receiveErrors.push_back(ECONNREFUSED);
        sendReads(controller, card, 4);
        // It may end a turn; what is behind it comes with the next.
        EXPECT_EQ(card.handleWaiting() + card.handleWaiting(), 4) << failing;
        EXPECT_EQ(answersAt(controller), upTo(4));
        EXPECT_EQ(card.getCounters().receiveFailures, 1U);
    }
}

TEST(UdpBatch, EventThatAFrameCausesLeavesAfterTheAnswersBefore) {
    Station card;
    Peer controller;
    ASSERT_TRUE(card.addEventReceiver(controller.host(), controller.port()));
    int frames = 0;
    card.onFrame = [&] {
        if (++frames != 3)
            return;
        card.addToAmi(&card.clock(), false);
        card.addToAmi(nullptr, true);
    };
    sendReads(controller, card, 4);
    EXPECT_EQ(card.handleWaiting(), 4);
    EXPECT_EQ(controller.receive(), answerTo(1));
    EXPECT_EQ(controller.receive(), answerTo(2));
    EXPECT_EQ(controller.receive().substr(0, 17), "4F 54 4E 31 01 05");
    EXPECT_EQ(controller.receive(), answerTo(3));
    EXPECT_EQ(controller.receive(), answerTo(4));
}

TEST(UdpBatch, RequestSentByAFrameFindsTheOthersStillInTheirOrder) {
    Station station;
    Peer master;
    Peer card;
    station.asks(card);
    station.control.onUpdate = once([&] {
        card.send(writeResponse(1, 0, 0), station);
        EXPECT_TRUE(station.writeProperty(station.serial()));
    });
    sendReads(master, station, 20);
    EXPECT_EQ(station.handleWaiting(), 20);
    EXPECT_EQ(answersAt(master), upTo(20));
}

TEST(UdpBatch, PollInsideAHookGoesOnWithTheNext) {
    Station station;
    Peer master;
    int inside = 0;
    station.onFrame = once([&] { inside = station.poll(Milliseconds(0)); });
    sendReads(master, station, 20);
    EXPECT_EQ(station.handleWaiting(), 1);
    EXPECT_EQ(inside, 19);
    for (unsigned int id = 2; id <= 20; ++id)
        EXPECT_EQ(idOf(master.receive()), id);
    EXPECT_EQ(idOf(master.receive()), 1U) << "its hook had to end before it was answered";
}

TEST(UdpBatch, ClosingSendsTheAnswersThatWereReadyAndForgetsTheFramesBehind) {
    Station station;
    Peer master;
    int frames = 0;
    station.onFrame = [&] {
        if (++frames == 3)
            station.close();
    };
    sendReads(master, station, 6);
    EXPECT_EQ(station.handleWaiting(), 3);
    EXPECT_EQ(answersAt(master), upTo(2));
    EXPECT_EQ(station.millisecondsToDeadline(), -1);
    ASSERT_TRUE(station.open("127.0.0.1", 0));
    EXPECT_EQ(station.handleWaiting(), 0);
}

TEST(UdpBatch, LongAnswersDoNotWaitForMoreThanTheirTurn) {
    Station card;
    Peer controller;
    const std::string text(1100, 'x');
    card.serial().set(text);
    for (unsigned int id = 1; id <= 40; ++id)
        controller.send(readRequest(id, {Element(serialOid, STRING)}), card);
    EXPECT_EQ(card.handleWaiting(), 40);
    for (unsigned int id = 1; id <= 40; ++id) {
        EXPECT_EQ(controller.receive(),
                  hex(readResponse(id, 0, 0, {Element::holding(serialOid, STRING, text)})));
    }
}
