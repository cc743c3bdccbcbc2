// Times of several cases that take turns, so that what disturbs the machine disturbs all of them.
#pragma once

#include <time.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

namespace bench {

struct TimedCase {
    std::string name;
    std::function<void()> run;
    double nanoseconds = 0;  // of one run: the median of the rounds
};

class Timing {
public:
    explicit Timing(double secondsPerCase) : m_secondsPerRound(secondsPerCase / rounds) {}

    void measure(std::vector<TimedCase>& cases) const {
        std::vector<unsigned int> runs;
        std::vector<std::vector<double>> times(cases.size());
        for (const TimedCase& timed : cases)
            runs.push_back(runsIn(m_secondsPerRound, timed.run));
        for (int round = 0; round < rounds; ++round) {
            for (std::size_t i = 0; i < cases.size(); ++i)
                times[i].push_back(secondsFor(runs[i], cases[i].run) * 1e9 / runs[i]);
        }
        for (std::size_t i = 0; i < cases.size(); ++i) {
            std::nth_element(times[i].begin(), times[i].begin() + rounds / 2, times[i].end());
            cases[i].nanoseconds = times[i][rounds / 2];
        }
    }

private:
    static constexpr int rounds = 9;

    // Of this process alone: others may be at work.
    static double processorSeconds() {
        timespec now{};
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
        return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
    }

    static double secondsFor(unsigned int runs, const std::function<void()>& run) {
        const double start = processorSeconds();
        for (unsigned int i = 0; i < runs; ++i)
            run();
        return processorSeconds() - start;
    }

    static unsigned int runsIn(double seconds, const std::function<void()>& run) {
        for (unsigned int runs = 1;; runs *= 2) {
            const double taken = secondsFor(runs, run);
            if (taken > seconds / 2)
                return std::max(1U, static_cast<unsigned int>(runs * seconds / taken));
        }
    }

    double m_secondsPerRound;
};

}  // namespace bench
