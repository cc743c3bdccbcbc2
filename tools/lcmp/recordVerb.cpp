// lcmp record: writes what a card holds as a model.
#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>

#include "clientOptions.h"
#include "modelOption.h"
#include "recording.h"
#include "savedFile.h"
#include "target.h"
#include "verbs.h"
#include "watchedWalk.h"

namespace tool {
namespace {

struct RecordOptions {
    std::string target;
    std::string file;
    bool keepsMotion = false;
    std::string model;
    ClientOptions client;
};

void standStill(LcmpModel& model) {
    for (LcmpModelObject& object : model.objects) {
        for (LcmpModelVariable& variable : object.variables)
            variable.simulation.reset();
    }
}

void write(const std::string& file, const std::string& text) {
    if (file.empty())
        std::cout << text;
    else
        saveFile(file, text);
}

ExitStatus record(const RecordOptions& options) {
    const ClientSettings settings = applyClientOptions(options.client);
    LcmpModel model = *loadModel(options.model);
    if (!options.keepsMotion)
        standStill(model);
    const std::vector<WalkPart> parts = resolveParts(model, {});
    const LcmpUdpAddress card = parseTarget(options.target);
    Recording recording(model);
    const WalkEnd end = watchWalk(card, settings, model, parts, recording);
    // Defaults in the place of values that were never asked for would be taken for the card's.
    if (end.brokenBy || end.status == ExitStatus::refused)
        throw Failure(end.brokenBy.value_or(end.status), "nothing is written");
    write(options.file, "# Recorded from " + lcmpUdpToText(card) + "\n" + recording.yaml());
    for (const std::string& problem : recording.problems())
        std::cerr << "lcmp: " << problem << "; it keeps its default\n";
    return recording.problems().empty() ? end.status : ExitStatus::partly;
}

}  // namespace

void addRecordVerb(CLI::App& verb, ExitStatus& status) {
    const auto options = std::make_shared<RecordOptions>();
    verb.add_option("TARGET", options->target, "The card, HOST[:PORT]; the port is 17470 unless given")
        ->required()
        ->type_name("");
    verb.add_option("-O,--output-file", options->file,
                    "Where to; unless given, to standard output. A file that exists is replaced when all is "
                    "read")
        ->type_name("FILE");
    verb.add_flag("--keep-motion", options->keepsMotion,
                  "Keeps how the model's variables move; without it, those of the recording stand still");
    addModelOption(verb, options->model);
    addClientOptions(verb, options->client);
    verb.footer(
        "A card that serves the recording, lcmp card --model FILE --period 0, answers as the recorded one "
        "did.\n"
        "What the card refused has the model's default there, and is told; without any answer nothing is "
        "written.\n\n"
        "Example: lcmp record 192.0.2.1 -O slot3.yaml");
    verb.callback([options, &status] { status = record(*options); });
}

}  // namespace tool
