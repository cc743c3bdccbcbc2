// One entry of `variables`.
#pragma once

#include <cstdint>

#include "detail/fields.h"

namespace lcmpdetail {

/// A variable; what could not be read keeps its default.
struct VariableRead {
    LcmpModelVariable variable;
    YamlPlace idPlace;
    YamlPlace namePlace;
    bool idKnown = false;
    bool nameKnown = false;
};

/// Reads a variable of `object`, whose kind and rows are known. `room` is how many bytes the texts of the
/// model may still have, all rows together; it becomes less.
VariableRead readVariable(const YamlNode& node, const LcmpModelObject& object, std::uint64_t& room,
                          Faults& faults);

}  // namespace lcmpdetail
