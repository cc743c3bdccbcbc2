#include "faults.h"

Faults::Faults(std::uint64_t seed, const FaultRates& rates, const FaultTimes& times)
    : m_chance(seed), m_rates(rates), m_times(times) {}

Fate Faults::next() {
    Fate fate;
    ++m_counts.datagrams;
    if (m_chance.hits(m_rates.lost)) {
        ++m_counts.lost;
        return fate;
    }
    const bool doubled = m_chance.hits(m_rates.doubled);
    m_counts.doubled += doubled ? 1 : 0;
    fate.copies = doubled ? 2 : 1;
    m_counts.copies += fate.copies;
    for (unsigned int copy = 0; copy < fate.copies; ++copy)
        fate.delays[copy] = delay();
    return fate;
}

FaultTimes::Duration Faults::delay() {
    const auto usual = m_times.usual / 10 + upTo(m_times.usual - m_times.usual / 10);
    if (m_chance.hits(m_rates.late)) {
        ++m_counts.late;
        return m_times.deadline + upTo(m_times.deadline) + usual;
    }
    if (m_chance.hits(m_rates.reordered)) {
        ++m_counts.reordered;
        return upTo(m_times.detour) + usual;
    }
    return usual;
}

FaultTimes::Duration Faults::upTo(FaultTimes::Duration longest) {
    return FaultTimes::Duration(static_cast<FaultTimes::Duration::rep>(
        m_chance.below(static_cast<std::uint64_t>(longest.count()) + 1)));
}
