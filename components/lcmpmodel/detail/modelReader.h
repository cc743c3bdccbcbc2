// A whole model out of a YAML tree.
#pragma once

#include "detail/fields.h"

namespace lcmpdetail {

/// The model is of use only if no fault was noted.
LcmpModel readModel(const YamlNode& root, Faults& faults);

}  // namespace lcmpdetail
