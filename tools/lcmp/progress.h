// A bar that shows how far a long piece of work has come, for people who watch a terminal.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <ostream>

namespace tool {

/// Shows itself only on a terminal and only when the work has taken half a second. It stands in the last line
/// of the terminal, which has to be cleared before anything else is printed there.
class Progress {
public:
    using Clock = std::chrono::steady_clock;

    /// Writes to `out`, if that is a terminal. `total` is the whole of the work, in whatever unit.
    Progress(std::ostream& out, bool isTerminal, std::uint64_t total,
             std::function<Clock::time_point()> now = Clock::now);

    /// Clears the line.
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// So much of the work is done by now. The line is written anew ten times a second at most, and cleared
    /// when all is done.
    void show(std::uint64_t done);

    /// Clears the line, until the next `show`, which writes it again at once.
    void clear();

private:
    std::ostream& m_out;
    bool m_isTerminal;
    std::uint64_t m_total;
    std::function<Clock::time_point()> m_now;
    Clock::time_point m_next;  // before that nothing is written
    std::size_t m_shown = 0;   // columns of the line that stands there
};

}  // namespace tool
