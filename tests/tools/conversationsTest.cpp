#include "conversations.h"

#include <gtest/gtest.h>

#include "bytes.h"

namespace {

// Frames between a controller and a card, in the order of the calls.
class Talk {
public:
    void asked(const std::string& frame, std::uint16_t from = 1) { take({1, from}, card, frame); }
    void answered(const std::string& frame, std::uint16_t to = 1) { take(card, {1, to}, frame); }

    const tool::FrameLinks& at(std::size_t position) const { return m_conversations.links().at(position); }

private:
    void take(const LcmpUdpAddress& source, const LcmpUdpAddress& destination, const std::string& frame) {
        m_conversations.take(source, destination, tool::readFrameHeader(frame));
    }

    const LcmpUdpAddress card{2, 17470};
    tool::Conversations m_conversations;
};

std::string frame(unsigned int action, unsigned int id, const char* rest = "") {
    std::string all = bytes("4F544E31 01");
    for (const unsigned int byte : {action, id >> 8, id})
        all += static_cast<char>(byte);
    return all + bytes(rest);
}

std::string response(unsigned int action, unsigned int id) { return frame(action, id, "00 0000"); }

using Position = std::optional<std::size_t>;

TEST(Conversations, AResponseBelongsToTheRequestOfItsIdAndKind) {
    Talk talk;
    talk.asked(frame(1, 7));
    talk.asked(frame(2, 7));
    talk.asked(frame(1, 8));
    talk.answered(response(4, 7));
    talk.answered(response(3, 7));
    EXPECT_EQ(talk.at(3).request, Position(1));
    EXPECT_EQ(talk.at(4).request, Position(0));
    EXPECT_EQ(talk.at(0).response, Position(4));
    EXPECT_EQ(talk.at(1).response, Position(3));
    EXPECT_EQ(talk.at(2).response, Position());
}

TEST(Conversations, PortsAreDifferentPeers) {
    Talk talk;
    talk.asked(frame(1, 7), 1);
    talk.asked(frame(1, 7), 2);
    talk.answered(response(3, 7), 2);
    EXPECT_EQ(talk.at(2).request, Position(1));
    EXPECT_EQ(talk.at(1).repeated, Position());
    EXPECT_EQ(talk.at(0).response, Position());
}

TEST(Conversations, ARepeatedRequestTakesTheResponsesAfterIt) {
    Talk talk;
    talk.asked(frame(2, 7));
    talk.asked(frame(2, 7));
    talk.answered(response(4, 7));
    talk.answered(response(4, 7));
    EXPECT_EQ(talk.at(1).repeated, Position(0));
    EXPECT_EQ(talk.at(2).request, Position(1));
    EXPECT_EQ(talk.at(3).request, Position(1));
    EXPECT_EQ(talk.at(1).response, Position(2));
}

TEST(Conversations, AnIdThatComesAroundIsNoRepetition) {
    Talk talk;
    talk.asked(frame(2, 7));
    talk.answered(response(4, 7));
    talk.asked(frame(2, 8));
    talk.asked(frame(2, 7));
    talk.answered(response(4, 7));
    EXPECT_EQ(talk.at(3).repeated, Position());
    EXPECT_EQ(talk.at(4).request, Position(3));
    EXPECT_EQ(talk.at(0).response, Position(1));
}

TEST(Conversations, WhatIsAnsweredWithAFaultIsARequest) {
    Talk talk;
    talk.asked(frame(99, 7));
    talk.answered(frame(4, 7, "04 0000"));
    EXPECT_EQ(talk.at(1).request, Position(0));
}

TEST(Conversations, EventsFragmentsAndForeignFramesBelongToNothing) {
    Talk talk;
    talk.asked(frame(5, 7));
    talk.asked("OTN1");
    talk.asked("anything else");
    talk.answered(response(4, 7));
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(talk.at(i).request, Position());
        EXPECT_EQ(talk.at(i).response, Position());
    }
}

}  // namespace
