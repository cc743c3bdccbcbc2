// The `simulate` entry of a variable.
#pragma once

#include "detail/fields.h"

namespace lcmpdetail {

/// Reads it into `variable`, whose type is known. `rows` is how many the object has.
void readSimulation(const YamlNode& node, unsigned int rows, LcmpModelVariable& variable, Faults& faults);

}  // namespace lcmpdetail
