// What is known of a variable beyond its OID, for those who explain frames. They ask here and nowhere else.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "lcmpModel.h"
#include "value.h"

namespace tool {

struct KnownVariable {
    std::string name;                        ///< "temperature[2].value"; "" where the OID is not known.
    std::string unit;                        ///< "°C"; "" where there is none.
    std::map<long long, std::string> words;  ///< By number, of an enumerated value.

    /// The word for this value, an integer or a boolean as 0 or 1; "" where there is none.
    std::string wordFor(const Element& value) const;
};

/// The words of a variable's numbers.
std::map<long long, std::string> wordsOf(const LcmpModelVariable& variable);

/// What the model says of the variable with this OID.
KnownVariable knownVariable(unsigned int oid, const LcmpModel& model = lcmpModelStandard());

}  // namespace tool
