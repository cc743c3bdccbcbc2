// lcmp get: reads variables.
#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>

#include "clientOptions.h"
#include "exchange.h"
#include "modelOption.h"
#include "output.h"
#include "target.h"
#include "verbs.h"

namespace tool {
namespace {

struct GetOptions {
    std::string target;
    std::vector<std::string> names;
    std::string format = "text";
    std::string model;
    ClientOptions client;
};

ExitStatus get(const GetOptions& options) {
    const ClientSettings settings = applyClientOptions(options.client);
    const auto model = loadModel(options.model);
    std::vector<Variable> variables;
    for (const std::string& name : options.names)
        variables.push_back(resolveVariable(name, *model));
    const LcmpUdpAddress card = parseTarget(options.target);
    const std::vector<Outcome> outcomes = Exchange(card, settings, *model).read(variables);
    printOutcomes(std::cout, options.format, card, variables, outcomes);
    printProblems(outcomes);
    return overallStatus(outcomes);
}

}  // namespace

void addGetVerb(CLI::App& program, ExitStatus& status) {
    const auto options = std::make_shared<GetOptions>();
    CLI::App* verb = program.add_subcommand("get", "Reads variables of a card");
    verb->add_option("TARGET", options->target, "The card, HOST[:PORT]; the port is 17470 unless given")
        ->required()
        ->type_name("");
    verb->add_option("NAME", options->names, "Any number of variables; as many requests are sent as it takes")
        ->required()
        ->type_name("");
    addFormatOption(*verb, options->format, {"text", "json", "jsonl", "csv", "value"});
    addModelOption(*verb, options->model);
    addClientOptions(*verb, options->client);
    verb->footer(
        "A NAME is object.variable, object[row].variable, or an OID in 0x or decimal. An OID that the "
        "card's\n"
        "model does not have may need its type, 0x50c10005:UINT32.\n\n"
        "Example: lcmp get 192.0.2.1 identity.cardType temperature[0].value");
    verb->callback([options, &status] { status = get(*options); });
}

}  // namespace tool
