#include "cardWalk.h"

#include <algorithm>
#include <iterator>

#include "lcmpProtocolBase.h"
#include "lcmpResult.h"

namespace tool {
namespace {

std::vector<std::size_t> openCells(const std::vector<WalkCell>& batch) {
    std::vector<std::size_t> open;
    for (std::size_t i = 0; i < batch.size(); ++i) {
        if (!batch[i].outcome)
            open.push_back(i);
    }
    return open;
}

// "temperature[2]", "temperature[2].valid", "identity", "identity.cardType".
std::string nameAt(const LcmpModelObject& object, unsigned int row, const std::string& column) {
    const std::string where = object.isTable() ? "[" + std::to_string(row) + "]" : "";
    return object.name + where + column;
}

// Whether these are all columns of the object, missing from the same row on for the same reason.
bool isWholeObject(const LcmpModelObject& object, const std::vector<WalkGap>& gaps) {
    return gaps.size() == object.variables.size() &&
           std::all_of(gaps.begin(), gaps.end(), [&](const WalkGap& gap) {
               return gap.from == gaps[0].from && gap.result == gaps[0].result;
           });
}

// Whether the table ends there, and was not known to go on.
bool isBeyondModel(const WalkPart& part, const WalkGap& gap) {
    return part.object->isTable() && gap.from >= part.object->rows && gap.from > part.first;
}

}  // namespace

ExitStatus CardWalk::run() {
    m_watcher.waiting(0);
    while (!m_over) {
        Batch batch = takeBatch();
        if (batch.empty())
            break;
        ask(batch);
        m_watcher.printing();
        emit(batch);
        m_sink.flush();
        m_watcher.waiting(m_dealtWith);
    }
    m_watcher.printing();
    if (!m_over)
        comeTo(m_order.parts().size());
    else if (m_begun > 0)
        endPart(m_begun - 1);
    m_sink.end();
    return m_failure != ExitStatus::done && m_anyRead ? ExitStatus::partly : m_failure;
}

// ---------------------------------------------------------------- asking

CardWalk::Batch CardWalk::takeBatch() {
    Batch batch;
    AnswerRoom room(m_sizes);
    for (WalkCell* cell = m_order.front(); cell != nullptr; cell = m_order.front()) {
        if (!cell->outcome && !room.take(cell->variable))
            break;
        batch.push_back(std::move(*cell));
        m_order.pop();
    }
    return batch;
}

void CardWalk::ask(Batch& batch) {
    for (auto open = openCells(batch); !open.empty() && !m_over; open = openCells(batch))
        askOnce(batch, open);
}

void CardWalk::askOnce(Batch& batch, const std::vector<std::size_t>& open) {
    std::vector<Variable> variables;
    std::transform(open.begin(), open.end(), std::back_inserter(variables),
                   [&batch](std::size_t position) { return batch[position].variable; });
    Attempt attempt = m_exchange.readOnce(variables);
    switch (attempt.kind) {
        case Attempt::Kind::served:
            return settle(batch, open, std::move(attempt));
        case Attempt::Kind::refused:
            return refuse(batch, open[attempt.position], attempt.result);
        case Attempt::Kind::tooMuch:
            return halve(batch, open);
        case Attempt::Kind::over:
            return breakOff(variables[0].name, attempt);
    }
}

void CardWalk::settle(Batch& batch, const std::vector<std::size_t>& open, Attempt attempt) {
    for (std::size_t i = 0; i < open.size(); ++i) {
        WalkCell& cell = batch[open[i]];
        cell.outcome = std::move(attempt.outcomes[i]);
        if (cell.outcome->value)
            m_sizes.learn(cell.variable, cell.outcome->value->length());
    }
}

// The second half waits for its turn: by then more is known of what fits.
void CardWalk::halve(Batch& batch, const std::vector<std::size_t>& open) {
    const auto middle = batch.begin() + static_cast<Batch::difference_type>(open[open.size() / 2]);
    m_order.putBack({std::make_move_iterator(middle), std::make_move_iterator(batch.end())});
    batch.erase(middle, batch.end());
}

void CardWalk::refuse(Batch& batch, std::size_t position, unsigned int result) {
    WalkCell& cell = batch[position];
    const bool ends = columnEnds(cell, result);
    if (m_over)
        return;
    if (result == RESULT_TOO_LONG)
        m_sizes.learn(cell.variable, LcmpProtocolBase::maxReadResponse);
    if (!ends) {
        cell.outcome.emplace();
        cell.outcome->status = ExitStatus::refused;
        cell.outcome->result = result;
        cell.outcome->problem = m_exchange.refusal(cell.variable.name, result);
        return;
    }
    m_order.leaveOut(cell.part, {cell.column, cell.row, m_order.parts()[cell.part].last, result});
    const auto isGone = [this](const WalkCell& other) {
        return m_order.isLeftOut(other.part, other.row, other.column);
    };
    batch.erase(std::remove_if(batch.begin(), batch.end(), isGone), batch.end());
}

// One request tells thousands of rows apart from one. That a value is too long says nothing of others.
bool CardWalk::columnEnds(const WalkCell& cell, unsigned int result) {
    const unsigned int last = m_order.parts()[cell.part].last;
    if (cell.row == last)
        return true;
    const std::pair<std::size_t, std::size_t> column(cell.part, cell.column);
    if (result == RESULT_TOO_LONG || m_fullColumns.count(column) != 0)
        return false;
    const Attempt attempt = m_exchange.readOnce({m_order.cellAt(cell.part, last, cell.column).variable});
    if (attempt.kind == Attempt::Kind::over)
        breakOff(cell.variable.name, attempt);
    else if (attempt.kind == Attempt::Kind::served)
        m_fullColumns.insert(column);
    return attempt.kind == Attempt::Kind::refused;
}

void CardWalk::breakOff(const std::string& name, const Attempt& attempt) {
    m_over = true;
    if (m_watcher.stopped())
        return;
    m_brokenBy = attempt.status;
    tell(attempt.status, {name, 0, attempt.problem + "; " + name + " and what follows was not read"});
}

// ---------------------------------------------------------------- telling

void CardWalk::emit(const Batch& batch) {
    for (const WalkCell& cell : batch) {
        if (cell.outcome)
            emitCell(cell);
    }
    m_over = m_over || m_watcher.stopped();
}

void CardWalk::emitCell(const WalkCell& cell) {
    comeTo(cell.part);
    if (cell.outcome->status == ExitStatus::done)
        m_anyRead = true;
    else
        fail(cell.outcome->status, cell.outcome->problem);
    m_sink.take(cell);
    const WalkPart& part = m_order.parts()[cell.part];
    m_dealtWith =
        m_before + std::uint64_t{cell.row - part.first} * part.object->variables.size() + cell.column + 1;
}

// Ends the parts before this one, of which some may have brought nothing, and begins it.
void CardWalk::comeTo(std::size_t part) {
    for (; m_begun <= part; ++m_begun) {
        if (m_begun > 0)
            endPart(m_begun - 1);
        if (m_begun < m_order.parts().size())
            m_sink.beginPart(m_order.parts()[m_begun]);
    }
}

void CardWalk::endPart(std::size_t position) {
    const WalkPart& part = m_order.parts()[position];
    const std::vector<WalkGap> gaps = m_order.gapsOf(position);
    if (isWholeObject(*part.object, gaps))
        tellGap(part, "", gaps[0]);
    for (const WalkGap& gap : gaps) {
        if (!isWholeObject(*part.object, gaps))
            tellGap(part, "." + part.object->variables[gap.column].name, gap);
    }
    m_sink.endPart();
    m_before += part.cells();
}

void CardWalk::tellGap(const WalkPart& part, const std::string& column, const WalkGap& gap) {
    if (isBeyondModel(part, gap))
        return;
    const LcmpModelObject& object = *part.object;
    const std::string first = nameAt(object, gap.from, column);
    const std::string last = nameAt(object, gap.last, column);
    WalkProblem problem{first, gap.result, m_exchange.refusal(first, gap.result)};
    if (gap.from < gap.last && gap.from == part.first) {
        problem.name = object.name + column;
        problem.text = m_exchange.refusal(problem.name + " (rows " + std::to_string(gap.from) + " and " +
                                              std::to_string(gap.last) + " were tried)",
                                          gap.result);
    } else if (gap.from < gap.last) {
        problem.text = m_exchange.refusal(first + " and " + last, gap.result);
        if (gap.from + 1 < gap.last)
            problem.text += "; the rows between were not asked for";
    }
    tell(ExitStatus::refused, problem);
}

void CardWalk::tell(ExitStatus status, const WalkProblem& problem) {
    fail(status, problem.text);
    m_sink.takeProblem(problem);
}

void CardWalk::fail(ExitStatus status, const std::string& text) {
    if (m_failure == ExitStatus::done)
        m_failure = status;
    m_watcher.failed(text);
}

}  // namespace tool
