// The round trips to one card, counted and averaged.
#pragma once

#include <chrono>
#include <optional>

namespace tool {

class RoundTrips {
public:
    using Time = std::chrono::nanoseconds;

    void answered(Time time);
    void lost() { ++m_lost; }

    /// What came of those that were answered.
    struct Summary {
        Time min;
        Time avg;
        Time max;
        Time jitter;  ///< Mean difference between a round trip and the answered one before; 0 for a single
                      ///< one.
    };

    unsigned long long sentCount() const { return m_answered + m_lost; }
    unsigned long long answeredCount() const { return m_answered; }

    /// Of those that were sent, in percent; 0 where none was.
    double loss() const;

    /// None where none was answered.
    std::optional<Summary> summary() const;

private:
    unsigned long long m_answered = 0;
    unsigned long long m_lost = 0;
    Time m_min{0};
    Time m_max{0};
    Time m_sum{0};
    Time m_last{0};
    Time m_differences{0};
};

}  // namespace tool
