// How the variables of a simulated card move by themselves, as their model says. Knows no clock: whoever
// drives it says how much time has passed. The same seed moves in the same way on every machine.
#pragma once

#include <chrono>
#include <cstdint>

#include "lcmpModel.h"

namespace tool {

/// Chance that is the same everywhere. A value type.
class Chance {
public:
    explicit Chance(std::uint64_t seed) : m_state(seed) {}

    std::uint64_t next();

    /// From low to high, both included.
    int whole(int low, int high);

    /// From 0 up to, but not including, 1.
    double fraction();

private:
    std::uint64_t m_state;
};

/// A seed that differs where one of the three differs.
std::uint64_t seedOf(unsigned int card, unsigned int oid, unsigned int variable);

/// One variable in one row.
class Motion {
public:
    /// The variable has a simulation. It and the property outlive the motion.
    Motion(const LcmpModelVariable& variable, LcmpProperty& property, unsigned int cardSeed);

    /// Lets so much time pass and gives the property its value.
    void move(std::chrono::milliseconds passed);

    /// As if no time had passed yet.
    void restart();

private:
    using Milliseconds = std::chrono::milliseconds;

    double at(const std::vector<double>& numbers) const;
    double phase() const;
    double walk();
    LcmpModelValue counted();
    void set(double value);

    const LcmpModelVariable& m_variable;
    const LcmpModelSimulation& m_simulation;
    LcmpProperty& m_property;
    std::uint64_t m_seed;
    Chance m_chance;
    double m_offset = 0;  // of a period: rows do not move in step
    Milliseconds m_elapsed{0};
    double m_position = 0;  // of a walk, which may take less than whole steps
    bool m_walking = false;
    long long m_counted = 0;  // what a counter has grown by
};

}  // namespace tool
