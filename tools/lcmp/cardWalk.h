// Reading whole objects of a card, in as few requests as their sizes allow.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "answerSizes.h"
#include "exchange.h"
#include "walkOrder.h"

namespace tool {

/// Variables that could not be read, and are told of together.
struct WalkProblem {
    std::string name;         ///< "voltage", "temperature.valid", "temperature[4]"
    unsigned int result = 0;  ///< The card's, or 0 where it gave none.
    std::string text;         ///< "192.0.2.1:17470 refused voltage: RESULT GENERAL ERROR"
};

/// Whoever wants what is read. It comes part by part, row by row, variable by variable.
class WalkSink {
public:
    virtual ~WalkSink() = default;

    /// Around each part that is come to.
    virtual void beginPart(const WalkPart& /*part*/) {}
    virtual void endPart() {}

    /// One variable, read or refused on its own; its outcome is there.
    virtual void take(const WalkCell& cell) = 0;

    /// Instead of the variables that it stands for.
    virtual void takeProblem(const WalkProblem& /*problem*/) {}

    /// Something is waited for now: what was taken is to be seen.
    virtual void flush() {}

    /// Nothing more comes.
    virtual void end() {}
};

/// Whoever waits for the walk.
class WalkWatcher {
public:
    virtual ~WalkWatcher() = default;

    /// Something went wrong: a line for people.
    virtual void failed(const std::string& problem) = 0;

    /// The sink is about to be given something.
    virtual void printing() = 0;

    /// Something is waited for; so many of all cells are dealt with.
    virtual void waiting(std::uint64_t cells) = 0;

    /// Whether to go no further. A walk that is stopped has not failed.
    virtual bool stopped() = 0;
};

/// One walk. What it holds does not grow with the rows of the card.
class CardWalk {
public:
    CardWalk(Exchange& exchange, std::vector<WalkPart> parts, WalkSink& sink, WalkWatcher& watcher)
        : m_exchange(exchange), m_order(std::move(parts)), m_sink(sink), m_watcher(watcher) {}

    /// Reads everything. `done` when all of it came, `partly` when some did, otherwise what the first failure
    /// says.
    ///
    /// What a table refuses is tried in the last row, too: where that is refused as well, the column ends
    /// there, and rows that the model does not have either are no failure. No answer, or a malformed one,
    /// ends the walk.
    ExitStatus run();

    /// What ended the walk too early; none: it came to its end, or was stopped.
    std::optional<ExitStatus> brokenBy() const { return m_brokenBy; }

private:
    using Batch = std::vector<WalkCell>;

    Batch takeBatch();
    void ask(Batch& batch);
    void askOnce(Batch& batch, const std::vector<std::size_t>& open);
    void settle(Batch& batch, const std::vector<std::size_t>& open, Attempt attempt);
    void halve(Batch& batch, const std::vector<std::size_t>& open);
    void refuse(Batch& batch, std::size_t position, unsigned int result);
    bool columnEnds(const WalkCell& cell, unsigned int result);
    void breakOff(const std::string& name, const Attempt& attempt);
    void emit(const Batch& batch);
    void emitCell(const WalkCell& cell);
    void comeTo(std::size_t part);
    void endPart(std::size_t position);
    void tellGap(const WalkPart& part, const std::string& column, const WalkGap& gap);
    void tell(ExitStatus status, const WalkProblem& problem);
    void fail(ExitStatus status, const std::string& text);

    Exchange& m_exchange;
    WalkOrder m_order;
    WalkSink& m_sink;
    WalkWatcher& m_watcher;
    AnswerSizes m_sizes;
    std::set<std::pair<std::size_t, std::size_t>> m_fullColumns;  // part and column: the last row is there
    std::size_t m_begun = 0;                                      // parts that the sink knows
    std::uint64_t m_before = 0;                                   // cells of those that have ended
    std::uint64_t m_dealtWith = 0;                                // cells, those left out included
    bool m_anyRead = false;
    bool m_over = false;
    std::optional<ExitStatus> m_brokenBy;
    ExitStatus m_failure = ExitStatus::done;  // the first
};

}  // namespace tool
