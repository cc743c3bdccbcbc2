// The objects that hold the variables of variables.h.
#pragma once

#include <memory>

#include "lcmpObjects.h"
#include "lcmpProperty.h"
#include "variables.h"

namespace bench {

inline LcmpProperty* newVariable(unsigned int id, unsigned int number) {
    return new TypeProperty<unsigned int>(id, "value", IFC_CARD_VAR_WRITABLE, valueOf(number), true);
}

inline std::unique_ptr<LcmpObject> makeScalar() {
    auto scalar = std::make_unique<LcmpScalar>("scalar", scalarGroup, false);
    for (unsigned int number = 0; number < scalarVariables; ++number)
        scalar->addProp(newVariable(number, number), 0);
    return scalar;
}

inline std::unique_ptr<LcmpObject> makeTable() {
    auto table = std::make_unique<LcmpTable>("table", tableId, false, tableRows);
    for (unsigned int number = 0; number < tableVariables; ++number)
        table->addProp(newVariable(columnOf(number), number), rowOf(number));
    return table;
}

}  // namespace bench
