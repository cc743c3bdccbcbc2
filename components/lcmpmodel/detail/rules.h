// What peers may write to a variable, worked out of its rules in one place: for judging values, for the
// checks of properties, for generated code.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "lcmpModel.h"

namespace lcmpdetail {

bool isUnsignedType(LcmpTlvType type);

/// Signed and unsigned integers; not times and addresses.
bool isIntegerType(LcmpTlvType type);

/// The smallest or largest number of an integer type or of UNIX_TIME.
LcmpModelValue smallestOf(LcmpTlvType type);
LcmpModelValue largestOf(LcmpTlvType type);

/// The numbers that may be written: `allow` as far as it lies between min and max. None at all: any number.
std::optional<std::vector<LcmpModelRange>> allowedRanges(const LcmpModelVariable& variable);

/// The bytes that a text may have, and whether there is any rule for it.
struct TextRule {
    std::size_t shortest;
    std::size_t longest;
    bool exists;
};

TextRule textRuleOf(const LcmpModelVariable& variable);

/// "" when the value may be written, otherwise what it breaks: "4 is not allowed: 0 to 3, 128".
std::string whyRefused(const LcmpModelVariable& variable, const LcmpModelValue& value);

/// "" when the text is a pattern that can be used, otherwise what is wrong with it. Back-references, and
/// counts that multiply to more than a thousand, are refused: matching has to stay cheap.
std::string patternProblem(const std::string& pattern);

}  // namespace lcmpdetail
