#include "standardNames.h"

#include <array>
#include <cctype>
#include <charconv>
#include <cstdio>

#include "exitStatus.h"
#include "lcmpObjectId.h"
#include "lcmpResult.h"
#include "value.h"

namespace tool {
namespace {

[[noreturn]] void unresolved(const std::string& text) { throw Failure(ExitStatus::unresolved, text); }

Variable resolveName(const std::string& text, const LcmpModel& model) {
    unsigned int oid = 0;
    if (parseOid(text, oid))
        return variableOfOid(oid, model);
    LcmpModelCell cell;
    std::string problem;
    if (!lcmpModelFindName(model, text, cell, problem))
        unresolved(problem);
    return variableOfCell(cell);
}

}  // namespace

Variable variableOfCell(const LcmpModelCell& cell) {
    Variable variable;
    variable.oid = lcmpModelOid(cell);
    variable.name = lcmpModelName(cell);
    variable.definition = cell.variable;
    variable.type = cell.variable->type;
    variable.unit = cell.variable->unit.c_str();
    return variable;
}

Variable resolveVariable(const std::string& text, const LcmpModel& model) {
    const auto colon = text.find(':');
    Variable variable = resolveName(text.substr(0, colon), model);
    if (colon != std::string::npos)
        variable.type = parseType(text.substr(colon + 1));
    return variable;
}

Variable variableOfOid(unsigned int oid, const LcmpModel& model) {
    Variable variable;
    LcmpModelCell cell;
    if (lcmpModelFindOid(model, oid, cell))
        variable = variableOfCell(cell);
    else
        variable.name = oidText(oid);
    variable.oid = oid;
    return variable;
}

std::string oidText(unsigned int oid) {
    std::array<char, 11> text{};
    std::snprintf(text.data(), text.size(), "0x%08x", oid);
    return text.data();
}

bool parseOid(const std::string& text, unsigned int& oid) {
    if (text.empty() || std::isdigit(static_cast<unsigned char>(text[0])) == 0)
        return false;
    const bool isHex = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    const char* begin = text.data() + (isHex ? 2 : 0);
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(begin, end, oid, isHex ? 16 : 10);
    if (error == std::errc::result_out_of_range)
        unresolved("'" + text + "': an OID has 32 bits");
    if (error != std::errc() || rest != end)
        unresolved("'" + text + "' is neither a name nor an OID, which is written 0x50c10005 or in decimal");
    const LcmpObjectId id(oid);
    if (id.m_result == RESULT_OK)
        return true;
    if (oid >> 31 != 0)
        unresolved("'" + text +
                   "' is no valid OID: its kind, bits 31 and 30, is neither 0 (scalar) nor 1 (table)");
    unresolved("'" + text + "' is no valid OID: a common scalar has a group id of 0 to 3, not " +
               std::to_string(id.m_id));
}

}  // namespace tool
