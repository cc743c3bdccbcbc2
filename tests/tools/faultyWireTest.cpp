// What a bad wire does to frames, with a clock that the test moves.
#include "faultyWire.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

using namespace testing;
using std::chrono::milliseconds;
using tool::WireFaults;

namespace {

class Wire {
public:
    explicit Wire(const WireFaults& faults, unsigned int seed = 1)
        : m_wire(faults, seed, [this](const LcmpUdpAddress& to, const std::string& frame) {
              EXPECT_EQ(to.port, 4711);
              m_delivered.push_back(frame);
          }) {}

    void send(const std::string& frame) { m_wire.send({0x7F000001, 4711}, frame, m_now); }
    void send(int from, int count) {
        for (int i = from; i < from + count; ++i)
            send(std::to_string(i));
    }

    /// What has arrived since the last call.
    std::vector<std::string> delivered() { return std::exchange(m_delivered, {}); }

    std::vector<std::string> after(milliseconds passed) {
        m_now += passed;
        m_wire.flush(m_now);
        return delivered();
    }

    milliseconds left() const { return m_wire.left(m_now); }

private:
    tool::FaultyWire::Time m_now;
    std::vector<std::string> m_delivered;
    tool::FaultyWire m_wire;
};

WireFaults percent(double WireFaults::*fault, double value) {
    WireFaults faults;
    faults.*fault = value;
    return faults;
}

TEST(FaultyWire, WithoutFaultsDeliversEverythingInOrder) {
    Wire wire({});
    wire.send(0, 3);
    EXPECT_THAT(wire.delivered(), ElementsAre("0", "1", "2"));
    EXPECT_LT(wire.left().count(), 0);
}

TEST(FaultyWire, LosesAsManyAsItIsTold) {
    Wire none(percent(&WireFaults::loss, 100));
    none.send(0, 100);
    EXPECT_THAT(none.after(milliseconds(10000)), IsEmpty());
    Wire some(percent(&WireFaults::loss, 20));
    some.send(0, 10000);
    EXPECT_THAT(some.delivered(), SizeIs(AllOf(Gt(7800U), Lt(8200U))));
}

TEST(FaultyWire, DoublesAsManyAsItIsTold) {
    Wire all(percent(&WireFaults::duplicate, 100));
    all.send(0, 2);
    EXPECT_THAT(all.delivered(), ElementsAre("0", "0", "1", "1"));
    Wire some(percent(&WireFaults::duplicate, 30));
    some.send(0, 10000);
    EXPECT_THAT(some.delivered(), SizeIs(AllOf(Gt(12700U), Lt(13300U))));
}

TEST(FaultyWire, DelaysByTheTimeThatItIsTold) {
    Wire wire(percent(&WireFaults::delay, 100));
    wire.send("a");
    EXPECT_THAT(wire.delivered(), IsEmpty());
    EXPECT_EQ(wire.left(), milliseconds(200));
    EXPECT_THAT(wire.after(milliseconds(150)), IsEmpty());
    wire.send("b");
    EXPECT_EQ(wire.left(), milliseconds(50));
    EXPECT_THAT(wire.after(milliseconds(50)), ElementsAre("a"));
    EXPECT_THAT(wire.after(milliseconds(150)), ElementsAre("b"));
    EXPECT_LT(wire.left().count(), 0);
}

TEST(FaultyWire, ReordersBehindTheNextOne) {
    Wire wire(percent(&WireFaults::reorder, 50));
    wire.send(0, 1000);
    std::vector<std::string> all = wire.delivered();
    for (const std::string& late : wire.after(milliseconds(200)))
        all.push_back(late);
    ASSERT_THAT(all, SizeIs(1000));
    int behind = 0;
    for (std::size_t i = 1; i < all.size(); ++i)
        behind += std::stoi(all[i]) < std::stoi(all[i - 1]) ? 1 : 0;
    EXPECT_THAT(behind, AllOf(Gt(150), Lt(400)));
    std::sort(all.begin(), all.end());
    EXPECT_EQ(std::unique(all.begin(), all.end()), all.end()) << "each came once";
}

TEST(FaultyWire, TheLastOneIsNotHeldBackForEver) {
    Wire wire(percent(&WireFaults::reorder, 100));
    wire.send("a");
    EXPECT_EQ(wire.left(), milliseconds(200));
    EXPECT_THAT(wire.after(milliseconds(200)), ElementsAre("a"));
}

TEST(FaultyWire, TheSameSeedDoesTheSame) {
    const auto fateOf = [](unsigned int seed) {
        WireFaults faults;
        faults.loss = faults.duplicate = faults.delay = faults.reorder = 25;
        Wire wire(faults, seed);
        wire.send(0, 100);
        std::vector<std::string> all = wire.delivered();
        const std::vector<std::string> late = wire.after(milliseconds(200));
        all.insert(all.end(), late.begin(), late.end());
        return all;
    };
    EXPECT_EQ(fateOf(3), fateOf(3));
    EXPECT_NE(fateOf(3), fateOf(4));
}

TEST(FaultyWire, HoldsABoundedNumberOfFrames) {
    Wire wire(percent(&WireFaults::delay, 100));
    wire.send(0, 10001);
    EXPECT_THAT(wire.after(milliseconds(200)), SizeIs(10000));
}

}  // namespace
