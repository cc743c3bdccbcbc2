// The values last reported to the peer, one unsigned 64-bit slot each, for a group of values that an
// application polls itself. The endpoint compares current values with the slots. One thread at a time.
#pragma once

#include "lcmpExport.h"

/// Slots for the values last reported.
class LCMP_API EventValueTable {
public:
    /// `size` slots, all 0; none for a negative size. `common` and `tableNbr` are kept for the application.
    EventValueTable(bool common, int size, unsigned int tableNbr);
    ~EventValueTable();

    EventValueTable(const EventValueTable&) = delete;
    EventValueTable& operator=(const EventValueTable&) = delete;

    /// The slot, valid as long as the table; null when there is no such slot.
    unsigned long long* getValuePtr(int index);

    /// False, with nothing stored, when there is no such slot.
    bool setValue(int index, unsigned long long value);

    /// The slot's value; 0 when there is no such slot.
    unsigned long long getValue(int index) const;

    // What the table was made with; the size is 0 where a negative one was asked for.
    int getSize() const { return m_size; }
    bool getCommon() const { return m_common; }
    unsigned int getTableNbr() const { return m_tableNbr; }

private:
    bool hasSlot(int index) const { return index >= 0 && index < m_size; }

    bool m_common;
    int m_size;
    unsigned int m_tableNbr;
    unsigned long long* m_values;
};
