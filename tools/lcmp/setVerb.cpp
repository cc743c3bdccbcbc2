// lcmp set: writes variables.
#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>

#include "clientOptions.h"
#include "exchange.h"
#include "modelOption.h"
#include "nearestName.h"
#include "output.h"
#include "target.h"
#include "verbs.h"

namespace tool {
namespace {

struct SetOptions {
    std::string target;
    std::vector<std::string> assignments;
    std::string format = "text";
    std::string model;
    ClientOptions client;
};

// "; did you mean manual?", or all the words that there are.
std::string wordsText(const std::string& text, const std::vector<LcmpModelWord>& words) {
    std::vector<std::string> all;
    std::string list;
    for (const LcmpModelWord& word : words) {
        all.push_back(word.word);
        list += (list.empty() ? "; or a word: " : ", ") + word.word;
    }
    const std::string nearest = nearestName(text, all);
    return nearest.empty() ? list : suggestion(nearest);
}

// A value may also be the word that the model has for it.
void parseNumberOrWord(const Variable& variable, const std::string& text, Element& element) {
    const bool isOfModel = variable.definition != nullptr && variable.type == variable.definition->type;
    const std::vector<LcmpModelWord> words =
        isOfModel ? variable.definition->words : std::vector<LcmpModelWord>();
    for (const LcmpModelWord& word : words) {
        if (word.word == text)
            return setValue(*variable.type, word.number, element);
    }
    try {
        parseValue(*variable.type, text, element);
    } catch (const Failure& failure) {
        throw Failure(failure.status(), failure.what() + wordsText(text, words));
    }
}

Assignment parseAssignment(const std::string& text, const LcmpModel& model) {
    const auto equals = text.find('=');
    if (equals == std::string::npos)
        throw Failure(ExitStatus::usage, "'" + text + "' gives no value; write NAME=VALUE");
    const Variable variable = resolveVariable(text.substr(0, equals), model);
    if (!variable.type)
        throw Failure(ExitStatus::usage, "the type of " + variable.name + " is not known; write it, like " +
                                             variable.name + ":UINT32=" + text.substr(equals + 1));
    Assignment assignment{variable, Element(variable.oid)};
    try {
        parseNumberOrWord(variable, text.substr(equals + 1), assignment.value);
    } catch (const Failure& failure) {
        throw Failure(failure.status(), variable.name + ": " + failure.what());
    }
    return assignment;
}

ExitStatus set(const SetOptions& options) {
    const ClientSettings settings = applyClientOptions(options.client);
    const auto model = loadModel(options.model);
    std::vector<Assignment> assignments;
    std::vector<Variable> variables;
    for (const std::string& text : options.assignments) {
        assignments.push_back(parseAssignment(text, *model));
        variables.push_back(assignments.back().variable);
    }
    const LcmpUdpAddress card = parseTarget(options.target);
    const std::vector<Outcome> outcomes = Exchange(card, settings, *model).write(assignments);
    printOutcomes(std::cout, options.format, card, variables, outcomes);
    printProblems(outcomes);
    return overallStatus(outcomes);
}

}  // namespace

void addSetVerb(CLI::App& program, ExitStatus& status) {
    const auto options = std::make_shared<SetOptions>();
    CLI::App* verb = program.add_subcommand("set", "Writes variables of a card");
    verb->add_option("TARGET", options->target, "The card, HOST[:PORT]; the port is 17470 unless given")
        ->required()
        ->type_name("");
    verb->add_option(
            "ASSIGNMENT", options->assignments,
            "NAME=VALUE, any number; those that fit into one request are written together or not at all")
        ->required()
        ->type_name("");
    addFormatOption(*verb, options->format, {"text", "json", "jsonl", "csv", "value"});
    addModelOption(*verb, options->model);
    addClientOptions(*verb, options->client);
    verb->footer(
        "A NAME is object.variable, object[row].variable, or an OID with the type of the value. A VALUE is a "
        "number\n"
        "in decimal or 0x, true or false, text, a dotted IPv4 address, a MAC address with colons, a time "
        "like\n"
        "2024-05-01T12:00:00Z or seconds since 1970, or bytes in hexadecimal, as the type asks,\n"
        "or the word that the card's model has for a number.\n\n"
        "Examples: lcmp set 192.0.2.1 control.bpClkRef=3\n"
        "          lcmp set 192.0.2.1 0x50c10005:UINT32=7");
    verb->callback([options, &status] { status = set(*options); });
}

}  // namespace tool
