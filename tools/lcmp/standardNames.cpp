#include "standardNames.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <cstdio>

#include "exitStatus.h"
#include "lcmpObjectId.h"
#include "lcmpResult.h"
#include "nearestName.h"
#include "value.h"

namespace tool {
namespace {

constexpr unsigned int maxRow = 0x3FFF;

using Words = std::vector<const char*>;

// What the catalogue does not say: words, and how many rows the built-in card has.
struct ObjectWords {
    const char* name;
    unsigned int rows;
    Words variables;  // by id
    Words units;      // by id; missing ones are ""
};

const std::vector<ObjectWords>& words() {
    static const std::vector<ObjectWords> all = {
        {"identity",
         1,
         {"cardType", "hardwareVersion", "loadware", "backupLoadware", "ifcSlot", "tempSensors",
          "voltageMonitors", "bootVersion", "hwErrors", "operAlarms", "swInterface", "cardCapability"},
         {}},
        {"alarms",
         1,
         {"power", "hwError", "operAlarm", "dpllActiveCtrlClkAlarm", "dpllRecoveredClkAlarm",
          "portRecoveringClkAlarm"},
         {}},
        {"control", 1, {"reboot", "utcTime", "bpClkRef", "guid"}, {}},
        {"download",
         1,
         {"filename", "start", "stop", "commit", "accept", "state", "progress", "name", "bspName",
          "clearErrors", "setCommitTimer"},
         {"", "", "", "", "", "", "%"}},
        {"temperature", 4, {"name", "value", "valid", "min", "max"}, {"", "°C", "", "°C", "°C"}},
        {"voltage", 4, {"name", "value", "nominal", "valid"}, {"", "mV", "mV"}},
        {"fileServer", 1, {"server", "port", "user", "password"}, {}},
        {"logRetrieval", 1, {"directory", "result", "state"}, {}},
        {"hardwareError", 8, {"id", "name", "active"}, {}},
        {"operationalAlarm", 8, {"id", "name", "active"}, {}},
        {"voltageMonitor", 1, {"present", "hwError", "version", "updateFailed"}, {}},
    };
    return all;
}

const char* wordAt(const Words& list, int id) {
    return id >= 0 && static_cast<std::size_t>(id) < list.size() ? list[static_cast<std::size_t>(id)]
                                                                 : nullptr;
}

const ObjectWords& wordsOf(const CardVariableGroup& group) { return words().at(group.number - 1); }

[[noreturn]] void unresolved(const std::string& text) { throw Failure(ExitStatus::unresolved, text); }

// "object", "[row]" and "variable" of a name.
struct NameParts {
    std::string object;
    std::string row;  // without the brackets
    bool hasRow = false;
    std::string variable;
};

std::string rowText(const NameParts& parts) { return parts.hasRow ? "[" + parts.row + "]" : ""; }

NameParts takeApart(const std::string& text) {
    NameParts parts;
    const auto dot = text.find('.');
    std::string head = text.substr(0, dot);
    parts.variable = dot == std::string::npos ? "" : text.substr(dot + 1);
    const auto bracket = head.find('[');
    if (bracket != std::string::npos) {
        if (head.back() != ']')
            unresolved("'" + text + "': the row is written object[row].variable");
        parts.hasRow = true;
        parts.row = head.substr(bracket + 1, head.size() - bracket - 2);
        head.resize(bracket);
    }
    parts.object = head;
    return parts;
}

std::vector<std::string> objectNames() {
    std::vector<std::string> names;
    for (const StandardObject& object : standardObjects())
        names.emplace_back(object.name);
    return names;
}

std::vector<std::string> variableNames(const StandardObject& object) {
    const Words& list = wordsOf(object.group).variables;
    return {list.begin(), list.end()};
}

// Someone who leaves the object out, or confuses it, is told where the variable is.
std::string anyObjectWith(const std::string& variable) {
    for (const StandardObject& object : standardObjects()) {
        for (const std::string& name : variableNames(object)) {
            if (name == variable)
                return std::string(object.name) + (object.isTable() ? "[0]." : ".") + name;
        }
    }
    return "";
}

const StandardObject& findObject(const std::string& text, const NameParts& parts) {
    for (const StandardObject& object : standardObjects()) {
        if (object.name == parts.object)
            return object;
    }
    std::string better = nearestName(parts.object, objectNames());
    if (!better.empty() && !parts.variable.empty())
        better += rowText(parts) + "." + parts.variable;
    else if (better.empty())
        better = anyObjectWith(parts.variable.empty() ? parts.object : parts.variable);
    unresolved("'" + text + "': there is no object '" + parts.object + "'" + suggestion(better));
}

unsigned int findRow(const std::string& text, const StandardObject& object, const NameParts& parts) {
    const std::string name = object.name;
    if (!object.isTable()) {
        if (parts.hasRow)
            unresolved("'" + text + "': " + name + " is a scalar and has no rows" +
                       suggestion(name + (parts.variable.empty() ? "" : "." + parts.variable)));
        return 0;
    }
    if (!parts.hasRow)
        unresolved("'" + text + "': " + name + " is a table, its variables are written " + name + "[row]." +
                   (parts.variable.empty() ? "variable" : parts.variable));
    unsigned int row = 0;
    const char* end = parts.row.data() + parts.row.size();
    const auto [rest, error] = std::from_chars(parts.row.data(), end, row);
    if (error == std::errc::invalid_argument || rest != end)
        unresolved("'" + text + "': the row '" + parts.row + "' is not a number");
    if (error != std::errc() || row > maxRow)
        unresolved("'" + text + "': row " + parts.row + " is beyond 0 to " + std::to_string(maxRow));
    return row;
}

int findVariable(const std::string& text, const StandardObject& object, const NameParts& parts) {
    const std::vector<std::string> names = variableNames(object);
    const auto found = std::find(names.begin(), names.end(), parts.variable);
    if (found != names.end())
        return static_cast<int>(found - names.begin());
    const std::string head = object.name + rowText(parts) + ".";
    if (parts.variable.empty())
        unresolved("'" + text + "' names an object; one of its variables is " + head + names.front());
    std::string better = nearestName(parts.variable, names);
    better = better.empty() ? anyObjectWith(parts.variable) : head + better;
    unresolved("'" + text + "': " + object.name + " has no variable '" + parts.variable + "'" +
               suggestion(better));
}

Variable describe(const StandardObject& object, int id, unsigned int row) {
    Variable variable;
    variable.oid = object.oid(id, row);
    variable.name = object.name;
    if (object.isTable())
        variable.name += "[" + std::to_string(row) + "]";
    variable.name += std::string(".") + object.variableName(id);
    variable.definition = &object.group.variables[static_cast<std::size_t>(id)];
    variable.type = static_cast<LcmpTlvType>(variable.definition->type);
    variable.unit = object.unit(id);
    return variable;
}

bool isObjectOf(const StandardObject& object, const LcmpObjectId& id) {
    return id.m_result == RESULT_OK && object.isTable() == id.m_is_table && object.group.number == id.m_id &&
           object.group.common == id.m_common;
}

Variable resolveName(const std::string& text) {
    unsigned int oid = 0;
    if (parseOid(text, oid))
        return variableOfOid(oid);
    const NameParts parts = takeApart(text);
    const StandardObject& object = findObject(text, parts);
    const unsigned int row = findRow(text, object, parts);
    return describe(object, findVariable(text, object, parts), row);
}

}  // namespace

const char* StandardObject::variableName(int id) const { return wordAt(wordsOf(group).variables, id); }

const char* StandardObject::unit(int id) const {
    const char* word = wordAt(wordsOf(group).units, id);
    return word == nullptr ? "" : word;
}

unsigned int StandardObject::oid(int id, unsigned int row) const {
    const auto subId = static_cast<unsigned int>(id);
    if (isTable())
        return LcmpTable(name, group.number, group.common, 0).getOID(subId, row);
    return LcmpScalar(name, group.number, group.common, 0).getOID(subId, row);
}

const std::vector<StandardObject>& standardObjects() {
    static const std::vector<StandardObject> objects = [] {
        std::vector<StandardObject> list;
        for (const CardVariableGroup& group : lcmpCardVariableGroups())
            list.push_back({group, wordsOf(group).name, wordsOf(group).rows});
        return list;
    }();
    return objects;
}

const StandardObject* standardObject(unsigned int group) {
    for (const StandardObject& object : standardObjects()) {
        if (object.group.number == group)
            return &object;
    }
    return nullptr;
}

Variable resolveVariable(const std::string& text) {
    const auto colon = text.find(':');
    Variable variable = resolveName(text.substr(0, colon));
    if (colon != std::string::npos)
        variable.type = parseType(text.substr(colon + 1));
    return variable;
}

Variable variableOfOid(unsigned int oid) {
    const LcmpObjectId id(oid);
    for (const StandardObject& object : standardObjects()) {
        if (isObjectOf(object, id) && id.m_sub_id < object.group.variables.size()) {
            Variable variable = describe(object, static_cast<int>(id.m_sub_id), id.m_row);
            variable.oid = oid;
            return variable;
        }
    }
    Variable variable;
    variable.oid = oid;
    variable.name = oidText(oid);
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
