#include "progress.h"

#include <string>
#include <utility>

namespace tool {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds patience(500);
constexpr milliseconds betweenLines(100);
constexpr std::uint64_t barWidth = 30;

std::string lineOf(std::uint64_t done, std::uint64_t total) {
    const auto filled = static_cast<std::size_t>(barWidth * done / total);
    return "[" + std::string(filled, '#') + std::string(barWidth - filled, '.') + "] " +
           std::to_string(100 * done / total) + "% of " + std::to_string(total) + " values";
}

}  // namespace

Progress::Progress(std::ostream& out, bool isTerminal, std::uint64_t total,
                   std::function<Clock::time_point()> now)
    : m_out(out),
      m_isTerminal(isTerminal),
      m_total(total),
      m_now(std::move(now)),
      m_next(m_now() + patience) {}

Progress::~Progress() { clear(); }

void Progress::show(std::uint64_t done) {
    if (done >= m_total)
        return clear();
    if (!m_isTerminal || m_now() < m_next)
        return;
    m_next = m_now() + betweenLines;
    const std::string line = lineOf(done, m_total);
    const std::size_t rest = m_shown > line.size() ? m_shown - line.size() : 0;
    m_out << '\r' << line << std::string(rest, ' ') << std::flush;
    m_shown = line.size();
}

// By blanks, which every terminal knows.
void Progress::clear() {
    if (m_shown == 0)
        return;
    m_out << '\r' << std::string(m_shown, ' ') << '\r' << std::flush;
    m_shown = 0;
    m_next = m_now();
}

}  // namespace tool
