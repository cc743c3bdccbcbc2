// How whole objects are printed, in the formats that -o offers.
#pragma once

#include <memory>
#include <ostream>
#include <string>

#include "cardWalk.h"
#include "lcmpUdpAddress.h"

namespace tool {

/// Prints what it takes. text: a scalar as lines "name = value unit", a table with aligned columns when it is
/// at its end. json, jsonl, csv and value: variable by variable as `lcmp get` prints them, and flushed before
/// each wait; what was refused as a whole is one element of JSON, or one line of CSV.
std::unique_ptr<WalkSink> makeWalkOutput(std::ostream& out, const std::string& format,
                                         const LcmpUdpAddress& card);

}  // namespace tool
