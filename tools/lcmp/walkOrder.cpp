#include "walkOrder.h"

#include <algorithm>
#include <iterator>

namespace tool {

WalkCell* WalkOrder::front() {
    while (!m_cells.empty() && isLeftOut(m_cells.front().part, m_cells.front().row, m_cells.front().column))
        m_cells.pop_front();
    if (m_cells.empty() && !generate())
        return nullptr;
    return &m_cells.front();
}

void WalkOrder::putBack(std::vector<WalkCell> cells) {
    m_cells.insert(m_cells.begin(), std::make_move_iterator(cells.begin()),
                   std::make_move_iterator(cells.end()));
}

WalkCell WalkOrder::cellAt(std::size_t part, unsigned int row, std::size_t column) const {
    const LcmpModelObject& object = *m_parts[part].object;
    return {part, row, column, variableOfCell({&object, &object.variables[column], row}), std::nullopt};
}

bool WalkOrder::isLeftOut(std::size_t part, unsigned int row, std::size_t column) const {
    const auto gaps = m_gaps.find(part);
    return gaps != m_gaps.end() &&
           std::any_of(gaps->second.begin(), gaps->second.end(),
                       [&](const WalkGap& gap) { return gap.column == column && row >= gap.from; });
}

std::vector<WalkGap> WalkOrder::gapsOf(std::size_t part) const {
    const auto gaps = m_gaps.find(part);
    return gaps == m_gaps.end() ? std::vector<WalkGap>() : gaps->second;
}

bool WalkOrder::generate() {
    while (m_part < m_parts.size()) {
        const std::size_t part = m_part;
        const unsigned int row = m_parts[part].first + m_rowOfPart;
        const std::size_t column = m_column;
        advance();
        if (isLeftOut(part, row, column))
            continue;
        m_cells.push_back(cellAt(part, row, column));
        return true;
    }
    return false;
}

void WalkOrder::advance() {
    const WalkPart& part = m_parts[m_part];
    if (++m_column < part.object->variables.size())
        return;
    m_column = 0;
    if (++m_rowOfPart <= part.last - part.first)
        return;
    m_rowOfPart = 0;
    ++m_part;
}

}  // namespace tool
