#include "roundTrips.h"

#include <algorithm>

namespace tool {

void RoundTrips::answered(Time time) {
    const bool isFirst = m_answered == 0;
    m_min = isFirst ? time : std::min(m_min, time);
    m_max = std::max(m_max, time);
    m_sum += time;
    if (!isFirst)
        m_differences += time > m_last ? time - m_last : m_last - time;
    m_last = time;
    ++m_answered;
}

double RoundTrips::loss() const {
    return m_lost == 0 ? 0 : 100.0 * static_cast<double>(m_lost) / static_cast<double>(sentCount());
}

std::optional<RoundTrips::Summary> RoundTrips::summary() const {
    if (m_answered == 0)
        return std::nullopt;
    const auto count = static_cast<Time::rep>(m_answered);
    const Time jitter = count == 1 ? Time(0) : m_differences / (count - 1);
    return Summary{m_min, m_sum / count, m_max, jitter};
}

}  // namespace tool
