// The names of the standard card's objects and variables, "control.bpClkRef", "temperature[2].value", and
// their OIDs. Types, access, defaults and rules are the library's catalogue's; only words are added here.
// Read-only after the program has started.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "lcmpCardVariables.h"
#include "lcmpTlv.h"

namespace tool {

/// One object of the standard card.
struct StandardObject {
    const CardVariableGroup& group;  ///< Number, kind, common flag and variables.
    const char* name;                ///< "temperature".
    unsigned int rows;               ///< Of the built-in card; 1 for a scalar.

    bool isTable() const { return group.kind == ifcCard::IFC_CARD_OBJECT_TABLE; }

    /// "value"; null where the group has no variable of this id.
    const char* variableName(int id) const;

    /// "°C"; "" where the variable has none or is unknown.
    const char* unit(int id) const;

    /// The OID of a variable; the row counts for tables only.
    unsigned int oid(int id, unsigned int row) const;
};

/// All eleven, in the order of their groups.
const std::vector<StandardObject>& standardObjects();

/// The object of a group, 1 to 11; null for any other number.
const StandardObject* standardObject(unsigned int group);

/// A variable as a person names it.
struct Variable {
    unsigned int oid = 0;
    std::string name;                             ///< "temperature[2].value", or "0x50c10005".
    const CardVariableDef* definition = nullptr;  ///< Null for an OID that the standard card does not have.
    std::optional<LcmpTlvType> type;              ///< The definition's, or as the person wrote it.
    const char* unit = "";
};

/// "control.bpClkRef", "temperature[2].value", or an OID, "0x50c10005" or decimal; each may be followed by a
/// type, "0x50c10005:UINT32". Throws a Failure of status `unresolved` that says what is wrong and which name
/// is nearest; of status `usage` for a type that there is not.
Variable resolveVariable(const std::string& text);

/// The variable with this OID; its name is the OID where the standard card does not have it, valid or not.
Variable variableOfOid(unsigned int oid);

/// "0x50c10005".
std::string oidText(unsigned int oid);

/// Whether the text is meant as an OID (it begins with a digit); if so its number, checked for 32 bits and
/// for being a valid OID, which a Failure tells.
bool parseOid(const std::string& text, unsigned int& oid);

}  // namespace tool
