// lcmp model: verifies, lists and shows card models, and turns them into code.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>

#include "colour.h"
#include "lcmpModelGenerate.h"
#include "modelOption.h"
#include "output.h"
#include "savedFile.h"
#include "standardNames.h"
#include "value.h"
#include "verbs.h"
#include "wiresharkNames.h"

namespace tool {
namespace {

using Json = nlohmann::ordered_json;

struct ModelOptions {
    std::vector<std::string> files;
    std::string file;
    std::vector<std::string> names;
    std::string format = "text";
    std::string name;
    std::string folder = ".";
    bool wireshark = false;
};

std::string countText(std::size_t count, const char* what) {
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

std::size_t cellsOf(const LcmpModel& model) {
    std::size_t cells = 0;
    for (const LcmpModelObject& object : model.objects)
        cells += object.variables.size() * object.rows;
    return cells;
}

// ---------------------------------------------------------------- lint

bool lintOne(const std::string& file) {
    LcmpModel model;
    std::vector<LcmpModelError> errors;
    if (!lcmpModelLoadFile(file, model, errors)) {
        for (const LcmpModelError& error : errors)
            std::cerr << lcmpModelErrorText(error) << '\n';
        return false;
    }
    std::cout << file << ": card " << model.card << ", " << countText(model.objects.size(), "object") << ", "
              << countText(cellsOf(model), "variable") << '\n';
    return true;
}

ExitStatus lint(const ModelOptions& options) {
    const auto bad = std::count_if(options.files.begin(), options.files.end(),
                                   [](const std::string& file) { return !lintOne(file); });
    if (bad == 0)
        return ExitStatus::done;
    throw Failure(ExitStatus::unresolved, countText(static_cast<std::size_t>(bad), "file") +
                                              (bad == 1 ? " is" : " are") + " no card model");
}

// ---------------------------------------------------------------- list

Json objectJson(const LcmpModelObject& object) {
    Json json = {{"name", object.name}, {"kind", object.isTable() ? "table" : "scalar"},
                 {"id", object.id},     {"common", object.common},
                 {"rows", object.rows}, {"variables", object.variables.size()}};
    if (!object.description.empty())
        json["description"] = object.description;
    return json;
}

void listText(const LcmpModelObject& object, std::size_t width) {
    std::cout << painted(std::cout, Paint::name, object.name)
              << std::string(width + 2 - object.name.size(), ' ') << (object.isTable() ? "table " : "scalar")
              << "  id " << object.id << (object.common ? ", common, " : ", ")
              << countText(object.variables.size(), "variable");
    if (object.isTable())
        std::cout << ", " << countText(object.rows, "row");
    if (!object.description.empty())
        std::cout << "  # " << object.description;
    std::cout << '\n';
}

void listCsv(const LcmpModelObject& object) {
    std::cout << object.name << ',' << (object.isTable() ? "table" : "scalar") << ',' << object.id << ','
              << (object.common ? "true" : "false") << ',' << object.rows << ',' << object.variables.size()
              << ',' << csvField(object.description) << '\n';
}

ExitStatus list(const ModelOptions& options) {
    const auto model = loadModel(options.file);
    std::size_t width = 0;
    for (const LcmpModelObject& object : model->objects)
        width = std::max(width, object.name.size());
    Json all = Json::array();
    if (options.format == "csv")
        std::cout << "name,kind,id,common,rows,variables,description\n";
    for (const LcmpModelObject& object : model->objects) {
        if (options.format == "json")
            all.push_back(objectJson(object));
        else if (options.format == "csv")
            listCsv(object);
        else if (options.format == "value")
            std::cout << object.name << '\n';
        else if (options.format == "jsonl")
            std::cout << jsonLine(objectJson(object));
        else
            listText(object, width);
    }
    if (options.format == "json")
        std::cout << jsonText(all) << '\n';
    return ExitStatus::done;
}

// ---------------------------------------------------------------- show

std::string rulesText(const LcmpModelVariable& variable) {
    const auto text = [&variable](const LcmpModelValue& value) {
        return lcmpModelValueText(variable.type, value);
    };
    std::string rules;
    if (variable.min)
        rules += ", from " + text(*variable.min);
    if (variable.max)
        rules += ", up to " + text(*variable.max);
    for (const LcmpModelRange& range : variable.allow)
        rules += (&range == &variable.allow.front() ? ", one of " : " ") + text(range.low) +
                 (range.low == range.high ? "" : "-" + text(range.high));
    if (variable.maxLength)
        rules += ", at most " + countText(*variable.maxLength, "byte");
    if (variable.exactLength)
        rules += ", " + countText(*variable.exactLength, "byte");
    if (!variable.pattern.empty())
        rules += ", like " + variable.pattern;
    for (const LcmpModelWord& word : variable.words)
        rules += (&word == &variable.words.front() ? ", " : " ") + text(word.number) + "=" + word.word;
    return rules;
}

// The name with the row that is to be put in.
std::string nameText(const LcmpModelObject& object, const LcmpModelVariable& variable) {
    return object.name + (object.isTable() ? "[row]." : ".") + variable.name;
}

void showText(const LcmpModelObject& object, const LcmpModelVariable& variable) {
    Element element;
    setValue(variable.type, variable.defaultValue, element);
    std::cout << oidText(lcmpModelOid({&object, &variable, 0})) << "  "
              << painted(std::cout, Paint::name, nameText(object, variable)) << "  "
              << lcmpTlvTypeName(variable.type)
              << (variable.access == IFC_CARD_VAR_READ_ONLY ? ", read-only" : ", writable") << ", default "
              << displayText(element);
    if (!variable.unit.empty())
        std::cout << ' ' << variable.unit;
    std::cout << rulesText(variable) << (variable.eventable ? ", reports changes" : "");
    if (!variable.description.empty())
        std::cout << "  # " << variable.description;
    std::cout << '\n';
}

void showCsv(const LcmpModelObject& object, const LcmpModelVariable& variable) {
    const std::string rules = rulesText(variable);
    std::cout << oidText(lcmpModelOid({&object, &variable, 0})) << ',' << nameText(object, variable) << ','
              << lcmpTlvTypeName(variable.type) << ','
              << (variable.access == IFC_CARD_VAR_READ_ONLY ? "read-only" : "writable") << ','
              << csvField(lcmpModelValueText(variable.type, variable.defaultValue)) << ','
              << (variable.eventable ? "true" : "false") << ',' << csvField(variable.unit) << ','
              << csvField(rules.empty() ? "" : rules.substr(2)) << ',' << csvField(variable.description)
              << '\n';
}

Json variableJson(const LcmpModelObject& object, const LcmpModelVariable& variable) {
    const auto json = [&variable](const LcmpModelValue& value) {
        Element element;
        setValue(variable.type, value, element);
        return jsonValue(element);
    };
    Json all = {{"oid", oidText(lcmpModelOid({&object, &variable, 0}))},
                {"name", nameText(object, variable)},
                {"type", lcmpTlvTypeName(variable.type)},
                {"access", variable.access == IFC_CARD_VAR_READ_ONLY ? "read-only" : "writable"},
                {"default", json(variable.defaultValue)},
                {"eventable", variable.eventable}};
    if (variable.min)
        all["min"] = json(*variable.min);
    if (variable.max)
        all["max"] = json(*variable.max);
    for (const LcmpModelRange& range : variable.allow)
        all["allow"].push_back({json(range.low), json(range.high)});
    if (variable.maxLength)
        all["maxLength"] = *variable.maxLength;
    if (variable.exactLength)
        all["length"] = *variable.exactLength;
    if (!variable.pattern.empty())
        all["pattern"] = variable.pattern;
    for (const LcmpModelWord& word : variable.words)
        all["names"][lcmpModelValueText(variable.type, word.number)] = word.word;
    if (!variable.unit.empty())
        all["unit"] = variable.unit;
    if (!variable.description.empty())
        all["description"] = variable.description;
    return all;
}

std::vector<const LcmpModelObject*> chosenObjects(const LcmpModel& model,
                                                  const std::vector<std::string>& names) {
    std::vector<const LcmpModelObject*> chosen;
    std::vector<std::string> known;
    for (const LcmpModelObject& object : model.objects) {
        known.push_back(object.name);
        if (names.empty())
            chosen.push_back(&object);
    }
    for (const std::string& name : names) {
        chosen.push_back(lcmpModelFindObject(model, name));
        const std::string nearest = lcmpModelNearestName(name, known);
        if (chosen.back() == nullptr)
            throw Failure(ExitStatus::unresolved,
                          "there is no object '" + name + "'" +
                              (nearest.empty() ? "" : "; did you mean " + nearest + "?"));
    }
    return chosen;
}

ExitStatus show(const ModelOptions& options) {
    const auto model = loadModel(options.file);
    const auto objects = chosenObjects(*model, options.names);
    if (options.format == "yaml") {
        LcmpModel chosen = {model->card, model->description, {}};
        for (const LcmpModelObject* object : objects)
            chosen.objects.push_back(*object);
        std::cout << lcmpModelToYaml(chosen);
        return ExitStatus::done;
    }
    Json all = Json::array();
    if (options.format == "csv")
        std::cout << "oid,name,type,access,default,eventable,unit,rules,description\n";
    for (const LcmpModelObject* object : objects) {
        for (const LcmpModelVariable& variable : object->variables) {
            if (options.format == "json")
                all.push_back(variableJson(*object, variable));
            else if (options.format == "jsonl")
                std::cout << jsonLine(variableJson(*object, variable));
            else if (options.format == "csv")
                showCsv(*object, variable);
            else if (options.format == "value")
                std::cout << nameText(*object, variable) << '\n';
            else
                showText(*object, variable);
        }
    }
    if (options.format == "json")
        std::cout << jsonText(all) << '\n';
    return ExitStatus::done;
}

// ---------------------------------------------------------------- generate

void writeFile(const std::string& path, const std::string& text) {
    saveFile(path, text);
    std::cout << path << '\n';
}

ExitStatus generate(const ModelOptions& options) {
    const auto model = loadModel(options.file);
    const std::string name = options.name.empty() ? model->card : options.name;
    if (!lcmpModelIsIdentifier(name))
        throw Failure(ExitStatus::usage,
                      "'" + name + "' cannot name a namespace; give --name with letters, digits and _");
    if (options.wireshark) {
        writeFile(options.folder + "/lcmp_names_" + name + ".lua",
                  wiresharkNames(model->card, namedVariables(*model)));
        return ExitStatus::done;
    }
    const LcmpModelCode code = lcmpModelGenerate(*model, name);
    const std::string path = options.folder + "/" + name;
    writeFile(path + ".h", code.header);
    writeFile(path + ".cpp", code.source);
    return ExitStatus::done;
}

// ---------------------------------------------------------------- the command line

using Options = std::shared_ptr<ModelOptions>;

void addLint(CLI::App& verb, const Options& options, ExitStatus& status) {
    CLI::App* lintVerb = verb.add_subcommand("lint", "Says what is wrong with models, all of it");
    lintVerb->add_option("FILE", options->files, "Any number of models")->required()->type_name("");
    lintVerb->callback([options, &status] { status = lint(*options); });
}

void addList(CLI::App& verb, const Options& options, ExitStatus& status) {
    CLI::App* listVerb = verb.add_subcommand("list", "Lists the objects of a model");
    addModelOption(*listVerb, options->file);
    addFormatOption(*listVerb, options->format, {"text", "json", "jsonl", "csv", "value"});
    listVerb->callback([options, &status] { status = list(*options); });
}

void addShow(CLI::App& verb, const Options& options, ExitStatus& status) {
    CLI::App* showVerb =
        verb.add_subcommand("show", "Shows the variables of objects, with their OIDs and rules");
    showVerb->add_option("OBJECT", options->names, "Only these objects")->type_name("");
    addModelOption(*showVerb, options->file);
    addFormatOption(*showVerb, options->format, {"text", "json", "jsonl", "csv", "value", "yaml"});
    showVerb->callback([options, &status] { status = show(*options); });
}

void addGenerate(CLI::App& verb, const Options& options, ExitStatus& status) {
    CLI::App* generateVerb =
        verb.add_subcommand("generate", "Writes C++ that builds the same objects without the model");
    addModelOption(*generateVerb, options->file);
    generateVerb
        ->add_option("--name", options->name, "Namespace and name of the two files; unless given, the card's")
        ->type_name("WORD");
    generateVerb->add_option("--to", options->folder, "Folder of the two files")
        ->type_name("DIR")
        ->capture_default_str();
    generateVerb->add_flag("--wireshark", options->wireshark,
                           "Write the names for the Wireshark dissector instead, lcmp_names_NAME.lua");
    generateVerb->footer(
        "The code needs liblcmp and its header lcmpModelProperties.h, and no other library.");
    generateVerb->callback([options, &status] { status = generate(*options); });
}

}  // namespace

void addModelVerb(CLI::App& verb, ExitStatus& status) {
    const auto options = std::make_shared<ModelOptions>();
    verb.require_subcommand(1);
    addLint(verb, options, status);
    addList(verb, options, status);
    addShow(verb, options, status);
    addGenerate(verb, options, status);
    verb.footer(
        "Examples: lcmp model lint linecard48.yaml\n"
        "          lcmp model show --model linecard48.yaml port\n"
        "          lcmp model generate --model linecard48.yaml --to src");
}

}  // namespace tool
