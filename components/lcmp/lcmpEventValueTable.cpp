#include "lcmpEventValueTable.h"

#include <algorithm>

EventValueTable::EventValueTable(bool common, int size, unsigned int tableNbr)
    : m_common(common),
      m_size(size),
      m_tableNbr(tableNbr),
      m_values(new unsigned long long[static_cast<unsigned int>(std::max(size, 0))]) {
    for (int index = 0; index < m_size; ++index)
        setValue(index, 0);
}

EventValueTable::~EventValueTable() { delete[] m_values; }

unsigned long long* EventValueTable::getValuePtr(int index) {
    return hasSlot(index) ? m_values + index : nullptr;
}

bool EventValueTable::setValue(int index, unsigned long long value) {
    if (!hasSlot(index))
        return false;
    m_values[index] = value;
    return true;
}

unsigned long long EventValueTable::getValue(int index) const { return hasSlot(index) ? m_values[index] : 0; }
