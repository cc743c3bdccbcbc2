// lcmp walk: reads whole objects.
#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>

#include "clientOptions.h"
#include "modelOption.h"
#include "output.h"
#include "target.h"
#include "verbs.h"
#include "walkOutput.h"
#include "watchedWalk.h"

namespace tool {
namespace {

struct WalkOptions {
    std::string target;
    std::vector<std::string> objects;
    WantedRows rows;
    std::string format = "text";
    std::string model;
    ClientOptions client;
};

ExitStatus walk(const WalkOptions& options) {
    const ClientSettings settings = applyClientOptions(options.client);
    const auto model = loadModel(options.model);
    const std::vector<WalkPart> parts = resolveParts(*model, options.objects, options.rows);
    const LcmpUdpAddress card = parseTarget(options.target);
    const std::unique_ptr<WalkSink> output = makeWalkOutput(std::cout, options.format, card);
    return watchWalk(card, settings, *model, parts, *output).status;
}

}  // namespace

void addWalkVerb(CLI::App& verb, ExitStatus& status) {
    constexpr unsigned int lastRow = 16383;
    const auto options = std::make_shared<WalkOptions>();
    verb.add_option("TARGET", options->target, "The card, HOST[:PORT]; the port is 17470 unless given")
        ->required()
        ->type_name("");
    verb.add_option("OBJECT", options->objects,
                    "Objects by name, or one row as object[row]; unless given, all of the model")
        ->type_name("");
    verb.add_option("--from", options->rows.from, "The first row of tables")
        ->type_name("ROW")
        ->check(CLI::Range(0U, lastRow));
    verb.add_option("--to", options->rows.to,
                    "The last row of tables; of those that are named it may lie beyond the model's")
        ->type_name("ROW")
        ->check(CLI::Range(0U, lastRow));
    addFormatOption(verb, options->format, {"text", "json", "jsonl", "csv", "value"});
    addModelOption(verb, options->model);
    addClientOptions(verb, options->client);
    verb.footer(
        "As many requests are sent as it takes; jsonl, csv and value print what has come after each.\n"
        "A table ends where the card refuses a row and the last row as well. That is told, unless the model\n"
        "ends there, too. Ctrl-C prints what was read until then.\n\n"
        "Examples: lcmp walk 192.0.2.1\n"
        "          lcmp walk 192.0.2.1 identity temperature[2]\n"
        "          lcmp walk 192.0.2.1 port --model linecard48.yaml --from 40 -o csv");
    verb.callback([options, &status] { status = walk(*options); });
}

}  // namespace tool
