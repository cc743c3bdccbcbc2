#include "requester.h"

#include <algorithm>

namespace {

constexpr Value neverWritten = ~0ULL;
constexpr std::size_t rowsInAReading = 64;  // their values fit into a response

// Values tell who wrote them.
Value firstValueOf(unsigned int controller) { return Value{controller} << 48; }

}  // namespace

Tally& operator+=(Tally& sum, const Tally& tally) {
    sum.requests += tally.requests;
    sum.answered += tally.answered;
    sum.timedOut += tally.timedOut;
    sum.unexplained += tally.unexplained;
    sum.retries += tally.retries;
    sum.late += tally.late;
    sum.others += tally.others;
    sum.wrongValues += tally.wrongValues;
    sum.variables += tally.variables;
    sum.uncertain += tally.uncertain;
    sum.wrongInTheEnd += tally.wrongInTheEnd;
    return sum;
}

Requester::Requester(unsigned int controller, unsigned int rows, std::uint64_t seed, Clock::duration spacing)
    : m_mirror(controller, rows),
      m_ledger(rows),
      m_chance(seed + controller),
      m_spacing(spacing),
      m_controller(controller),
      m_lastValue(firstValueOf(controller)) {
    registerObject(&m_mirror);
}

void Requester::request() {
    if (m_chance.hits(500) && write())
        return;
    chooseRowsToRead();
    read(m_rows);
}

// False: no variable can be written yet.
bool Requester::write() {
    if (!chooseRowsToWrite())
        return false;
    const Clock::time_point begin = Clock::now();
    for (const std::size_t row : m_rows)
        m_mirror.at(row).set(++m_lastValue);
    const Outcome outcome = ask(true);
    for (const std::size_t row : m_rows) {
        if (outcome == Outcome::answered)
            m_ledger.answered(row, m_mirror.value(row), begin);
        else
            m_ledger.unanswered(row, m_mirror.value(row), begin);
    }
    return true;
}

void Requester::read(const std::vector<std::size_t>& rows) {
    for (const std::size_t row : rows)
        m_mirror.at(row).set(neverWritten);
    collectProperties(rows);
    if (ask(false) == Outcome::answered && !hasTheirValues(rows))
        ++m_tally.wrongValues;
}

bool Requester::hasTheirValues(const std::vector<std::size_t>& rows) {
    return std::all_of(rows.begin(), rows.end(),
                       [&](std::size_t row) { return m_ledger.admits(row, m_mirror.value(row)); });
}

bool Requester::chooseRowsToWrite() {
    const std::size_t wanted = 1 + m_chance.below(std::size_t{3});
    m_rows.clear();
    while (m_rows.size() < wanted && (m_ledger.lastWrite(m_nextRow) == Ledger::Time::min() ||
                                      Clock::now() - m_ledger.lastWrite(m_nextRow) >= m_spacing)) {
        m_rows.push_back(m_nextRow);
        m_nextRow = (m_nextRow + 1) % m_ledger.size();
    }
    collectProperties(m_rows);
    return !m_rows.empty();
}

void Requester::chooseRowsToRead() {
    const std::size_t wanted = 1 + m_chance.below(std::size_t{3});
    m_rows.clear();
    while (m_rows.size() < wanted)
        m_rows.push_back(m_chance.below(m_ledger.size()));
}

void Requester::collectProperties(const std::vector<std::size_t>& rows) {
    m_properties.clear();
    for (const std::size_t row : rows)
        m_properties.push_back(&m_mirror.at(row));
}

Requester::Outcome Requester::ask(bool written) {
    const std::uint64_t timeouts = getCounters().timeouts;
    const std::uint64_t number = m_controller << 48 | ++m_lastNumber;
    ++m_tally.requests;
    onAsking(number);
    const bool answered = written ? writePropertys(m_properties) : readPropertys(m_properties);
    const bool timedOut = getCounters().timeouts == timeouts + 1;
    if (answered == timedOut) {
        ++m_tally.unexplained;
        return Outcome::unexplained;
    }
    if (timedOut) {
        ++m_tally.timedOut;
        return Outcome::timedOut;
    }
    ++m_tally.answered;
    if (!isOwnAnswer(number))
        ++m_tally.others;
    return Outcome::answered;
}

void Requester::verify() {
    for (std::size_t first = 0; first < m_ledger.size(); first += rowsInAReading) {
        m_rows.clear();
        for (std::size_t row = first; row < std::min(first + rowsInAReading, m_ledger.size()); ++row) {
            m_rows.push_back(row);
            m_mirror.at(row).set(neverWritten);
        }
        collectProperties(m_rows);
        readPropertys(m_properties);
        for (const std::size_t row : m_rows) {
            ++m_tally.variables;
            m_tally.uncertain += m_ledger.isCertain(row) ? 0 : 1;
            m_tally.wrongInTheEnd += m_ledger.admits(row, m_mirror.value(row)) ? 0 : 1;
        }
    }
}

Tally Requester::tally() const {
    Tally tally = m_tally;
    tally.retries = getCounters().retries;
    tally.late = getCounters().late;
    return tally;
}
