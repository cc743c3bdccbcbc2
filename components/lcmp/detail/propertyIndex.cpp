#include "propertyIndex.h"

#include <algorithm>

namespace lcmpdetail {

void PropertyIndex::makeRoom(unsigned int id) {
    if (!hasColumn(id) && !makeColumn(id))
        m_knowsAll = false;
}

void PropertyIndex::add(LcmpProperty* property, unsigned int id, unsigned int row) {
    if (hasColumn(id))
        m_cells[std::size_t{row} * m_columns + m_columnOfId[id]] = property;
}

// Ids get columns in the order of their first appearance.
bool PropertyIndex::makeColumn(unsigned int id) {
    if (id >= maxIds)
        return false;
    if (m_usedColumns >= m_columns) {
        const unsigned int columns = std::max(2U, 2 * m_columns);
        if (columns > maxCells / m_rowCount)
            return false;
        std::vector<LcmpProperty*> cells(std::size_t{m_rowCount} * columns);
        for (std::size_t row = 0; row < m_rowCount; ++row)
            std::copy_n(m_cells.data() + row * m_columns, m_columns, cells.data() + row * columns);
        m_cells.swap(cells);
        m_columns = columns;
    }
    if (id >= m_idCount) {
        m_columnOfId.resize(id + 1);
        m_idCount = id + 1;
    }
    m_columnOfId[id] = m_usedColumns++;
    return true;
}

}  // namespace lcmpdetail
