// How differences are printed, in the formats that -o offers.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "difference.h"

namespace tool {

/// text: a line each, "name: left -> right unit" or "only in LEFT: name = value unit", with what the two are
/// called. json and jsonl: "left" and "right", of which one may be missing. csv: the same with a heading.
void printDifferences(std::ostream& out, const std::string& format, const std::vector<Difference>& all,
                      const std::string& left, const std::string& right);

}  // namespace tool
