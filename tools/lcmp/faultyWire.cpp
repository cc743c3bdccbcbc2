#include "faultyWire.h"

#include <algorithm>
#include <utility>

namespace tool {
namespace {

constexpr std::size_t maxWaiting = 10000;  // frames; more are lost, as on a wire with a queue

}  // namespace

FaultyWire::FaultyWire(const WireFaults& faults, unsigned int seed, Deliver deliver)
    : m_faults(faults), m_chance(seedOf(seed, 0, 1)), m_deliver(std::move(deliver)) {}

void FaultyWire::send(const LcmpUdpAddress& to, const std::string& frame, Time now) {
    // All of them are drawn for every frame, so that one fault does not change whom the others hit.
    const bool lost = happens(m_faults.loss);
    const bool twice = happens(m_faults.duplicate);
    const bool late = happens(m_faults.delay);
    const bool reordered = happens(m_faults.reorder);
    if (lost || ((late || reordered) && m_waiting.size() >= maxWaiting))
        return;
    if (late || reordered) {
        m_waiting.push_back({to, frame, now + m_faults.delayTime, reordered && !late});
        return;
    }
    for (int copies = twice ? 2 : 1; copies > 0; --copies)
        m_deliver(to, frame);
    const auto overtaken = std::stable_partition(m_waiting.begin(), m_waiting.end(),
                                                 [](const Packet& packet) { return !packet.waitsForNext; });
    std::vector<Packet> packets(std::make_move_iterator(overtaken), std::make_move_iterator(m_waiting.end()));
    m_waiting.erase(overtaken, m_waiting.end());
    release(std::move(packets));
}

void FaultyWire::flush(Time now) {
    const auto due = std::stable_partition(m_waiting.begin(), m_waiting.end(),
                                           [now](const Packet& packet) { return packet.due > now; });
    std::vector<Packet> packets(std::make_move_iterator(due), std::make_move_iterator(m_waiting.end()));
    m_waiting.erase(due, m_waiting.end());
    release(std::move(packets));
}

std::chrono::milliseconds FaultyWire::left(Time now) const {
    std::chrono::milliseconds least(-1);
    for (const Packet& packet : m_waiting) {
        const auto left = std::max(std::chrono::ceil<std::chrono::milliseconds>(packet.due - now),
                                   std::chrono::milliseconds(0));
        least = least.count() < 0 ? left : std::min(least, left);
    }
    return least;
}

bool FaultyWire::happens(double percent) { return m_chance.fraction() * 100 < percent; }

void FaultyWire::release(std::vector<Packet> packets) {
    for (const Packet& packet : packets)
        m_deliver(packet.to, packet.frame);
}

}  // namespace tool
