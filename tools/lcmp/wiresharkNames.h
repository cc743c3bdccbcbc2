// The names of a card, as the Wireshark dissector (tools/wireshark/lcmp.lua) reads them.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "lcmpModel.h"

namespace tool {

struct NamedVariable {
    unsigned int oid;  ///< Of row 0 where the object is a table; bit 29 is not set.
    std::string object;
    std::string variable;
    std::string unit;                        ///< "" where there is none.
    std::map<long long, std::string> words;  ///< By number, of an enumerated value.
};

/// The text of a names file: one Lua table, data and nothing else. Whatever bytes the names hold, they stay
/// inside their quotes.
std::string wiresharkNames(const std::string& card, const std::vector<NamedVariable>& variables);

/// The variables of a model, by OID.
std::vector<NamedVariable> namedVariables(const LcmpModel& model);

}  // namespace tool
