// lcmp oid: composes OIDs and takes them apart.
#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>

#include "colour.h"
#include "lcmpObjectId.h"
#include "lcmpPropertyBase.h"
#include "modelOption.h"
#include "output.h"
#include "standardNames.h"
#include "verbs.h"

namespace tool {
namespace {

using Json = nlohmann::ordered_json;

struct OidOptions {
    std::vector<std::string> names;
    std::optional<unsigned int> table;
    unsigned int column = 0;
    unsigned int row = 0;
    std::optional<unsigned int> group;
    unsigned int variable = 0;
    bool common = false;
    std::string format = "text";
    std::string model;
};

// The OID that the fields make. Some combinations are none; parseOid says which and why.
unsigned int compose(const OidOptions& options, const LcmpModel& model) {
    const unsigned int oid =
        options.table ? LcmpTable("", *options.table, options.common, 0).getOID(options.column, options.row)
                      : LcmpScalar("", *options.group, options.common, 0).getOID(options.variable, 0);
    return resolveVariable(oidText(oid), model).oid;
}

std::vector<unsigned int> oidsOf(const OidOptions& options, const LcmpModel& model) {
    if (options.table || options.group)
        return {compose(options, model)};
    std::vector<unsigned int> oids;
    for (const std::string& name : options.names)
        oids.push_back(resolveVariable(name, model).oid);
    return oids;
}

const char* accessText(IfcCardVarAccessType access) {
    return access == IFC_CARD_VAR_READ_ONLY ? "read-only" : "writable";
}

Json oidJson(unsigned int oid, const LcmpModel& model) {
    const LcmpObjectId id(oid);
    const Variable variable = variableOfOid(oid, model);
    Json object = {{"oid", oidText(oid)},
                   {"number", oid},
                   {"kind", id.m_is_table ? "table" : "scalar"},
                   {"common", id.m_common},
                   {"id", id.m_id}};
    if (id.m_is_table) {
        object["column"] = id.m_sub_id;
        object["row"] = id.m_row;
    } else {
        object["variable"] = id.m_sub_id;
    }
    if (variable.definition != nullptr) {
        object["name"] = variable.name;
        object["type"] = lcmpTlvTypeName(variable.definition->type);
        object["access"] = accessText(variable.definition->access);
    }
    return object;
}

void printText(std::ostream& out, unsigned int oid, const LcmpModel& model) {
    const Variable variable = variableOfOid(oid, model);
    out << oidText(oid) << "  " << LcmpObjectId(oid).str();
    if (variable.definition != nullptr)
        out << "  " << painted(out, Paint::name, variable.name);
    out << '\n';
}

void printCsv(std::ostream& out, unsigned int oid, const LcmpModel& model) {
    const LcmpObjectId id(oid);
    const LcmpModelVariable* const definition = variableOfOid(oid, model).definition;
    out << oidText(oid) << ',' << (id.m_is_table ? "table" : "scalar") << ','
        << (id.m_common ? "true" : "false") << ',' << id.m_id << ',' << id.m_sub_id << ','
        << (id.m_is_table ? std::to_string(id.m_row) : "") << ',';
    if (definition != nullptr)
        out << variableOfOid(oid, model).name << ',' << lcmpTlvTypeName(definition->type) << ','
            << accessText(definition->access) << '\n';
    else
        out << ",,\n";
}

void print(std::ostream& out, const std::string& format, const std::vector<unsigned int>& oids,
           const LcmpModel& model) {
    Json all = Json::array();
    if (format == "csv")
        out << "oid,kind,common,id,variable,row,name,type,access\n";
    for (const unsigned int oid : oids) {
        if (format == "json")
            all.push_back(oidJson(oid, model));
        else if (format == "jsonl")
            out << jsonLine(oidJson(oid, model));
        else if (format == "csv")
            printCsv(out, oid, model);
        else if (format == "value")
            out << oidText(oid) << '\n';
        else
            printText(out, oid, model);
    }
    if (format == "json")
        out << jsonText(all) << '\n';
}

ExitStatus explain(const OidOptions& options) {
    if (options.names.empty() && !options.table && !options.group)
        throw Failure(ExitStatus::usage,
                      "oid: give a NAME, an OID, or the fields of one; see lcmp oid --help");
    const auto model = loadModel(options.model);
    print(std::cout, options.format, oidsOf(options, *model), *model);
    return ExitStatus::done;
}

void addFields(CLI::App& verb, OidOptions& options, CLI::Option* names) {
    CLI::Option* table = verb.add_option("--table", options.table, "Compose: table id");
    CLI::Option* group = verb.add_option("--group", options.group, "Compose: group id of a scalar");
    table->type_name("ID")->check(CLI::Range(0, 63))->excludes(group)->excludes(names);
    group->type_name("ID")->check(CLI::Range(0, 31))->excludes(names);
    verb.add_option("--column", options.column, "Column of the table")
        ->type_name("ID")
        ->check(CLI::Range(0, 255))
        ->needs(table);
    verb.add_option("--row", options.row, "Row of the table")
        ->type_name("N")
        ->check(CLI::Range(0, 16383))
        ->needs(table);
    verb.add_option("--variable", options.variable, "Variable id of the scalar")
        ->type_name("ID")
        ->check(CLI::Range(0, 8388607))
        ->needs(group);
    verb.add_flag("--common", options.common, "Set the common flag")->excludes(names);
}

}  // namespace

void addOidVerb(CLI::App& verb, ExitStatus& status) {
    const auto options = std::make_shared<OidOptions>();
    CLI::Option* names =
        verb.add_option("NAME", options->names, "Names of variables, or OIDs in 0x or decimal");
    names->type_name("");
    addFields(verb, *options, names);
    addFormatOption(verb, options->format, {"text", "json", "jsonl", "csv", "value"});
    addModelOption(verb, options->model);
    verb.footer(
        "Examples: lcmp oid control.bpClkRef 0x50c10005\n"
        "          lcmp oid --table 3 --column 4 --row 5 --common\n"
        "          lcmp oid --group 2 --variable 7");
    verb.callback([options, &status] { status = explain(*options); });
}

}  // namespace tool
