// The order in which a walk asks for variables, and what it leaves out on the way.
#pragma once

#include <deque>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "exchange.h"
#include "walkParts.h"

namespace tool {

/// One variable of a walk.
struct WalkCell {
    std::size_t part = 0;  ///< Position among the parts.
    unsigned int row = 0;
    std::size_t column = 0;  ///< Position among the object's variables.
    Variable variable;
    std::optional<Outcome> outcome;  ///< None: not asked for yet.
};

/// A column from a row on: the card refused it there and in the last row.
struct WalkGap {
    std::size_t column = 0;
    unsigned int from = 0;
    unsigned int last = 0;
    unsigned int result = 0;
};

/// Part by part, row by row, variable by variable. What it holds does not grow with the rows.
class WalkOrder {
public:
    explicit WalkOrder(std::vector<WalkPart> parts) : m_parts(std::move(parts)) {}

    const std::vector<WalkPart>& parts() const { return m_parts; }

    /// The next one, which stays the next one until `pop`; null at the end. Lives until either is called.
    WalkCell* front();
    void pop() { m_cells.pop_front(); }

    /// These come next, in this order.
    void putBack(std::vector<WalkCell> cells);

    WalkCell cellAt(std::size_t part, unsigned int row, std::size_t column) const;

    /// The column is left out from that row on.
    void leaveOut(std::size_t part, const WalkGap& gap) { m_gaps[part].push_back(gap); }
    bool isLeftOut(std::size_t part, unsigned int row, std::size_t column) const;

    /// What was left out of a part.
    std::vector<WalkGap> gapsOf(std::size_t part) const;

private:
    bool generate();
    void advance();

    std::vector<WalkPart> m_parts;
    std::deque<WalkCell> m_cells;  // those put back, or the next one
    std::map<std::size_t, std::vector<WalkGap>> m_gaps;

    // What is generated next.
    std::size_t m_part = 0;
    std::size_t m_column = 0;
    unsigned int m_rowOfPart = 0;  // counted from the part's first
};

}  // namespace tool
