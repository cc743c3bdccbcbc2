// The variables of the soak: for each controller a table of its own, 64-bit values in rows.
#pragma once

#include "lcmpNumericProperty.h"
#include "lcmpObjects.h"

using Value = unsigned long long;

class SoakTable : public LcmpTable {
public:
    SoakTable(unsigned int controller, unsigned int rows) : LcmpTable("soak", controller, false, rows) {
        for (unsigned int row = 0; row < rows; ++row)
            addProp(new TypeProperty<Value>(0, "value", IFC_CARD_VAR_WRITABLE, 0ULL), row);
    }

    LcmpProperty& at(std::size_t row) { return *getProp(0, static_cast<unsigned int>(row)); }

    Value value(std::size_t row) {
        Value value = 0;
        at(row).get(&value);
        return value;
    }
};
