// Variables of a card as people name them: by the words of its model, "control.bpClkRef",
// "temperature[2].value", or by OID. Unless told of another model, cards are standard cards.
#pragma once

#include <optional>
#include <string>

#include "lcmpModel.h"

namespace tool {

/// A variable as a person names it. Lives no longer than the model.
struct Variable {
    unsigned int oid = 0;
    std::string name;                               ///< "temperature[2].value", or "0x50c10005".
    const LcmpModelVariable* definition = nullptr;  ///< Null for an OID that the model does not have.
    std::optional<LcmpTlvType> type;                ///< The definition's, or as the person wrote it.
    const char* unit = "";
};

/// "control.bpClkRef", "temperature[2].value", or an OID, "0x50c10005" or decimal; each may be followed by a
/// type, "0x50c10005:UINT32". Throws a Failure of status `unresolved` that says what is wrong and which name
/// is nearest; of status `usage` for a type that there is not.
Variable resolveVariable(const std::string& text, const LcmpModel& model = lcmpModelStandard());

/// The variable of a cell of a model, which may lie beyond the model's rows.
Variable variableOfCell(const LcmpModelCell& cell);

/// The variable with this OID; its name is the OID where the model does not have it, valid or not.
Variable variableOfOid(unsigned int oid, const LcmpModel& model = lcmpModelStandard());

/// "0x50c10005".
std::string oidText(unsigned int oid);

/// Whether the text is meant as an OID (it begins with a digit); if so its number, checked for 32 bits and
/// for being a valid OID, which a Failure tells.
bool parseOid(const std::string& text, unsigned int& oid);

}  // namespace tool
