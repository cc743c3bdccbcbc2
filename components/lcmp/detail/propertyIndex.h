// Finds a property by id and row in two loads, beside the maps that keep the properties in order.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

class LcmpProperty;

namespace lcmpdetail {

/// A grid of rows and the ids in use. An object whose grid would be too large, and ids that are too large,
/// are left to the maps.
class PropertyIndex {
public:
    explicit PropertyIndex(unsigned int rows) : m_rowCount(rows) {}

    /// Before an id is added for the first time. What was added stays as it was, also when memory is lacking.
    void makeRoom(unsigned int id);

    /// The row exists, and there is room for the id unless it is left to the maps.
    void add(LcmpProperty* property, unsigned int id, unsigned int row);

    /// The property with this id in this row, or null. A null is final only where knowsAll() is true.
    LcmpProperty* find(unsigned int id, unsigned int row) const {
        if (id >= m_idCount || row >= m_rowCount)
            return nullptr;
        return m_cells[std::size_t{row} * m_columns + m_columnOfId[id]];
    }

    bool knowsAll() const { return m_knowsAll; }

private:
    static constexpr unsigned int maxIds = 4096;
    static constexpr std::size_t maxCells = 1U << 20;

    bool hasColumn(unsigned int id) const { return id < m_idCount && m_columnOfId[id] != 0; }
    bool makeColumn(unsigned int id);

    unsigned int m_rowCount;
    unsigned int m_idCount = 0;
    unsigned int m_columns = 0;  // with room for more ids; the first stays empty, for unknown ids
    std::vector<std::uint16_t> m_columnOfId;
    std::vector<LcmpProperty*> m_cells;
    std::uint16_t m_usedColumns = 1;
    bool m_knowsAll = true;
};

}  // namespace lcmpdetail
