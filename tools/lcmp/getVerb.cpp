// lcmp get: reads variables.
#include <CLI/CLI.hpp>
#include <memory>

#include "askCards.h"
#include "clientOptions.h"
#include "exchange.h"
#include "modelOption.h"
#include "output.h"
#include "target.h"
#include "verbs.h"

namespace tool {
namespace {

struct GetOptions {
    std::string targets;
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
    return askAndPrint(
        parseTargets({options.targets}), variables, options.format,
        [&](const LcmpUdpAddress& card) { return Exchange(card, settings, *model).read(variables); });
}

}  // namespace

void addGetVerb(CLI::App& verb, ExitStatus& status) {
    const auto options = std::make_shared<GetOptions>();
    verb.add_option("TARGET", options->targets, "The card, HOST[:PORT]; or several")
        ->required()
        ->type_name("");
    verb.add_option("NAME", options->names, "Any number of variables; as many requests are sent as it takes")
        ->required()
        ->type_name("");
    addFormatOption(verb, options->format, {"text", "json", "jsonl", "csv", "value"});
    addModelOption(verb, options->model);
    addClientOptions(verb, options->client);
    verb.footer(
        std::string("A TARGET is ") + targetsHelp +
        "\nSeveral are asked at the same time.\n\n"
        "A NAME is object.variable, object[row].variable, or an OID in 0x or decimal. An OID that the "
        "card's\n"
        "model does not have may need its type, 0x50c10005:UINT32.\n\n"
        "The status is 5 when some variables of some cards were read and others were not.\n\n"
        "Examples: lcmp get 192.0.2.1 identity.cardType temperature[0].value\n"
        "          lcmp get 192.0.2.10-19 identity.ifcSlot -o csv");
    verb.callback([options, &status] { status = get(*options); });
}

}  // namespace tool
