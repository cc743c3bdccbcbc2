#include <gtest/gtest.h>

#include "capturedLog.h"
#include "frameBuilder.h"
#include "frames.h"
#include "network.h"
#include "variables.h"

namespace {

// Notices everything that could be done with a frame.
class WatchfulCard : public LcmpUdpEndpoint {
public:
    WatchfulCard() {
        table.addProp(new TypeProperty<Value>(0, "value", IFC_CARD_VAR_WRITABLE, 0ULL), 0);
        registerObject(&table);
    }

    void frameReceived(const LcmpUdpAddress&, const char*, int) override { ++frames; }

    std::uint8_t checkTlvOld(OldStyleProperty*, bool) const override {
        ++elements;
        return RESULT_OK;
    }

    struct Table : LcmpTable {
        Table() : LcmpTable("table", 1, false, 1) {}
        bool update(LcmpProperty*, unsigned int) override {
            ++elements;
            return true;
        }
        int elements = 0;
    } table;

    int frames = 0;
    mutable int elements = 0;
};

std::vector<std::string> knownFrames() {
    std::vector<std::string> all = {writeRequest(7, {Element{0x40400000, 0, "0000000000000001"}})};
    for (const Frame& frame : goldenFrames())
        all.push_back(frame.bytes);
    return all;
}

// A socket at an address of its own for each datagram would be too slow, so the datagrams come from one whose
// address changes.
class Crowd {
public:
    explicit Crowd(Network& network) : m_network(network), m_socket(network.open()) {}
    ~Crowd() { m_network.close(m_socket); }
    Crowd(const Crowd&) = delete;
    Crowd& operator=(const Crowd&) = delete;

    void send(std::uint32_t host, const std::string& frame, const LcmpUdpAddress& to) {
        m_network.bind(m_socket, {host, 17470});
        m_network.send(m_socket, frame.data(), frame.size(), to);
        m_network.settle();
    }

    bool hasAnswer() { return m_network.wait(m_socket, 0); }

private:
    Network& m_network;
    int m_socket;
};

constexpr FaultTimes immediately = {};

}  // namespace

TEST(Strangers, AMillionDatagramsOfThemAreNeitherDecodedNorAnswered) {
    constexpr int datagrams = 1000000;
    const std::vector<std::string> frames = knownFrames();
    Network network(Faults(1, {0, 0, 0, 0}, immediately));
    WatchfulCard card;
    ASSERT_TRUE(card.allow("127.64.0.0/10"));
    ASSERT_TRUE(card.open("127.0.0.1", 0));
    network.serve(card);
    Crowd crowd(network);
    const CapturedLog log(levelDebug3);
    Chance chance(1);
    for (int i = 0; i < datagrams; ++i) {
        const auto host = static_cast<std::uint32_t>(0x7F800000 | chance.below(0x800000));  // 127.128.0.0/9
        crowd.send(host, frames[chance.below(frames.size())], card.getLocalAddress());
    }
    EXPECT_FALSE(crowd.hasAnswer());
    EXPECT_EQ(card.getCounters().received, static_cast<std::uint64_t>(datagrams));
    EXPECT_EQ(card.getCounters().notAllowed, static_cast<std::uint64_t>(datagrams));
    EXPECT_EQ(card.getCounters().handled, 0U);
    EXPECT_EQ(card.getCounters().sent, 0U);
    EXPECT_EQ(card.frames, 0);
    EXPECT_EQ(card.elements, 0);
    EXPECT_EQ(card.table.elements, 0);
    EXPECT_TRUE(log.lines().empty()) << "the library was given a frame:\n" << log.all();

    // What was found quiet until here is not deaf.
    crowd.send(0x7F400001, frames[0], card.getLocalAddress());
    EXPECT_TRUE(crowd.hasAnswer());
    EXPECT_EQ(card.table.elements, 1);
    EXPECT_FALSE(log.lines().empty());
}
