#include "motion.h"

#include <algorithm>
#include <cmath>

namespace tool {
namespace {

using Shape = LcmpModelSimulation::Shape;

constexpr double pi = 3.14159265358979323846;

// Spreads the bits of a number over all of its bits.
std::uint64_t mixed(std::uint64_t bits) {
    bits = (bits ^ (bits >> 30)) * 0xBF58476D1CE4E5B9U;
    bits = (bits ^ (bits >> 27)) * 0x94D049BB133111EBU;
    return bits ^ (bits >> 31);
}

bool isUnsigned(LcmpTlvType type) { return std::holds_alternative<unsigned long long>(lcmpModelZero(type)); }

// A whole number as a variable of `bits` bits holds it: what does not fit begins again at the other end.
LcmpModelValue wrapped(LcmpTlvType type, unsigned long long bits) {
    const unsigned int unused = 64 - 8 * lcmpTlvFixedWidth(type);
    if (isUnsigned(type))
        return bits << unused >> unused;
    return static_cast<long long>(bits << unused) >> unused;
}

unsigned long long bitsOf(const LcmpModelValue& value) {
    if (const auto* number = std::get_if<unsigned long long>(&value))
        return *number;
    return static_cast<unsigned long long>(std::get<long long>(value));
}

// From 0 up to 1 and back, as (1 - cos(2 pi turn)) / 2 does for a turn from 0 to 1. By a series of its own:
// the mathematics of C libraries differ from machine to machine, and cards of one seed move alike on all.
double wave(double turn) {
    const double x = pi * (turn < 0.5 ? turn : 1 - turn);  // sin(x) squared is the same, and x at most pi / 2
    double term = x;
    double sine = x;
    for (int factor = 2; factor <= 18; factor += 2) {
        term *= -x * x / (factor * (factor + 1));
        sine += term;
    }
    return sine * sine;
}

// Beyond what 64 bits hold a conversion means nothing.
LcmpModelValue rounded(LcmpTlvType type, double value) {
    constexpr double two63 = 9223372036854775808.0;
    const double whole = std::round(value);
    if (isUnsigned(type))
        return whole >= 2 * two63 ? ~0ULL : static_cast<unsigned long long>(std::max(whole, 0.0));
    if (whole >= two63)
        return 0x7FFFFFFFFFFFFFFFLL;
    return static_cast<long long>(std::max(whole, -two63));
}

}  // namespace

std::uint64_t Chance::next() {
    m_state += 0x9E3779B97F4A7C15U;
    return mixed(m_state);
}

int Chance::whole(int low, int high) {
    const std::uint64_t width = static_cast<std::uint64_t>(static_cast<std::int64_t>(high) - low) + 1;
    return static_cast<int>(low + static_cast<std::int64_t>(next() % width));
}

double Chance::fraction() { return static_cast<double>(next() >> 11) / 9007199254740992.0; }

std::uint64_t seedOf(unsigned int card, unsigned int oid, unsigned int variable) {
    return mixed(mixed(std::uint64_t{card} << 32 | oid) + variable);
}

Motion::Motion(const LcmpModelVariable& variable, LcmpProperty& property, unsigned int cardSeed)
    : m_variable(variable),
      m_simulation(*variable.simulation),
      m_property(property),
      m_seed(seedOf(cardSeed, property.getOid(), m_simulation.seed)),
      m_chance(m_seed) {
    restart();
}

void Motion::restart() {
    m_chance = Chance(m_seed);
    m_offset = m_chance.fraction();
    m_elapsed = Milliseconds(0);
    m_walking = false;
    m_counted = 0;
}

void Motion::move(Milliseconds passed) {
    m_elapsed += passed;
    const double low = at(m_simulation.low);
    const double width = at(m_simulation.high) - low;
    switch (m_simulation.shape) {
        case Shape::sine:
            return set(low + width * wave(phase()));
        case Shape::ramp:
            return set(low + width * phase());
        case Shape::walk:
            return set(walk());
        case Shape::counter:
            return lcmpModelSet(m_property, counted());
        case Shape::steps: {
            const auto step = static_cast<std::size_t>(m_elapsed / m_simulation.period);
            return lcmpModelSet(m_property, m_simulation.values[step % m_simulation.values.size()]);
        }
    }
}

double Motion::at(const std::vector<double>& numbers) const {
    const std::size_t row = m_property.getRow();
    return numbers.empty() ? 0 : numbers[row < numbers.size() ? row : 0];
}

// How far in its period, from 0 to 1.
double Motion::phase() const {
    const auto elapsed = static_cast<double>((m_elapsed % m_simulation.period).count());
    const double part = elapsed / static_cast<double>(m_simulation.period.count()) + m_offset;
    return part - std::floor(part);
}

// Begins where the variable is, if that is where it may be, and else in the middle.
double Motion::walk() {
    const double low = at(m_simulation.low);
    const double high = at(m_simulation.high);
    const double step = at(m_simulation.step);
    if (!m_walking) {
        const double held = std::visit(
            [](const auto& value) {
                if constexpr (std::is_arithmetic_v<std::decay_t<decltype(value)>>)
                    return static_cast<double>(value);
                else
                    return 0.0;
            },
            lcmpModelGet(m_property));
        m_position = held >= low && held <= high ? held : (low + high) / 2;
        m_walking = true;
    }
    // Whole steps stay whole: what moves by one degree never seems to move by two.
    const double wholeStep = std::floor(std::min(step, 1e9));
    m_position += step >= 1 ? m_chance.whole(-static_cast<int>(wholeStep), static_cast<int>(wholeStep))
                            : (2 * m_chance.fraction() - 1) * step;
    m_position = std::clamp(m_position, low, high);
    return m_position;
}

// Counted from the beginning each time, so that no rounding adds up.
LcmpModelValue Motion::counted() {
    const double total = m_simulation.rate * static_cast<double>(m_elapsed.count()) / 1000.0;
    const auto sum = static_cast<long long>(std::clamp(std::trunc(total), -9e18, 9e18));
    const auto growth = static_cast<unsigned long long>(sum) - static_cast<unsigned long long>(m_counted);
    m_counted = sum;
    return wrapped(m_variable.type, bitsOf(lcmpModelGet(m_property)) + growth);
}

void Motion::set(double value) { lcmpModelSet(m_property, rounded(m_variable.type, value)); }

}  // namespace tool
