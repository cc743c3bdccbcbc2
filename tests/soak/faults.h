// What a bad network does to a datagram, drawn from a seed: the same one for the network in virtual time and
// for the proxy between real sockets.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <random>

/// Random numbers that are the same on every machine, unlike those of the library's distributions.
class Chance {
public:
    explicit Chance(std::uint64_t seed) : m_engine(seed) {}

    /// From 0 to `end` - 1.
    template <typename Number>
    Number below(Number end) {
        return static_cast<Number>(m_engine() % static_cast<std::uint64_t>(end));
    }

    bool hits(unsigned int permille) { return below(1000U) < permille; }

private:
    std::mt19937_64 m_engine;
};

struct FaultRates {
    unsigned int lost = 200;       // permille of the datagrams, in either direction
    unsigned int doubled = 50;     // permille of those that are not lost
    unsigned int reordered = 250;  // permille of the copies: sent later ones may arrive before
    unsigned int late = 10;        // permille of the copies: arrive when nobody waits for them any more
};

/// How long copies are on their way.
struct FaultTimes {
    using Duration = std::chrono::nanoseconds;

    Duration usual;     // at most; at least a tenth of it
    Duration detour;    // at most, on top of it: a reordered copy
    Duration deadline;  // the longest that a request may take; a late copy takes that, at most twice

    /// When nothing of a datagram is on its way any more.
    Duration lifetime() const { return 2 * deadline + usual; }
};

/// What becomes of one datagram.
struct Fate {
    unsigned int copies = 0;
    std::array<FaultTimes::Duration, 2> delays{};
};

struct FaultCounts {
    std::uint64_t datagrams = 0;
    std::uint64_t lost = 0;
    std::uint64_t doubled = 0;
    std::uint64_t copies = 0;
    std::uint64_t reordered = 0;
    std::uint64_t late = 0;
};

class Faults {
public:
    Faults(std::uint64_t seed, const FaultRates& rates, const FaultTimes& times);

    Fate next();

    /// From now on every datagram arrives once, in the usual time.
    void cease() { m_rates = {0, 0, 0, 0}; }

    const FaultTimes& times() const { return m_times; }
    const FaultCounts& counts() const { return m_counts; }

private:
    FaultTimes::Duration upTo(FaultTimes::Duration longest);
    FaultTimes::Duration delay();

    Chance m_chance;
    FaultRates m_rates;
    FaultTimes m_times;
    FaultCounts m_counts;
};
