// lcmp diff: compares what two cards hold, or a card and a recording of it.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <iostream>
#include <memory>
#include <set>

#include "clientOptions.h"
#include "differenceOutput.h"
#include "modelOption.h"
#include "nearestName.h"
#include "output.h"
#include "target.h"
#include "verbs.h"
#include "watchedWalk.h"

namespace tool {
namespace {

struct DiffOptions {
    std::string left;
    std::string right;
    std::vector<std::string> ignored;
    bool showsMoving = false;
    bool failsOnDifference = false;
    std::string format = "text";
    std::string model;
    ClientOptions client;
};

using Model = std::shared_ptr<const LcmpModel>;

// A card, or a file in its place.
struct Side {
    bool isFile = false;
    Model model;
    Snapshot snapshot;
    ExitStatus status = ExitStatus::done;
};

bool endsWith(const std::string& text, const std::string& end) {
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

bool isFile(const std::string& text) {
    std::error_code error;
    const auto status = std::filesystem::status(text, error);
    const bool isThere = std::filesystem::exists(status) && !std::filesystem::is_directory(status);
    return isThere || endsWith(text, ".yaml") || endsWith(text, ".yml");
}

// A recording tells what the card has that it is compared with.
Model modelOfCards(const DiffOptions& options, const Side& left, const Side& right) {
    if (options.model.empty() && left.isFile)
        return left.model;
    if (options.model.empty() && right.isFile)
        return right.model;
    return loadModel(options.model);
}

Side openSide(const std::string& text) {
    Side side;
    side.isFile = isFile(text);
    if (side.isFile)
        side.model = loadModel(text);
    return side;
}

void readCard(const std::string& target, const ClientSettings& settings, Side& side) {
    SnapshotSink sink;
    const WalkEnd end =
        watchWalk(parseTarget(target), settings, *side.model, resolveParts(*side.model, {}), sink);
    if (end.brokenBy || end.status == ExitStatus::refused)
        throw Failure(end.brokenBy.value_or(end.status), target + " cannot be compared");
    side.snapshot = sink.takeSnapshot();
    side.status = end.status;
}

void fill(const std::string& text, const ClientSettings& settings, const Model& modelOfCards, Side& side) {
    if (side.isFile) {
        side.snapshot = snapshotOf(*side.model);
        return;
    }
    side.model = modelOfCards;
    readCard(text, settings, side);
}

// ---------------------------------------------------------------- what is left out

std::set<std::string> namesOf(const LcmpModel& model) {
    std::set<std::string> names;
    for (const LcmpModelObject& object : model.objects) {
        names.insert(object.name);
        for (const LcmpModelVariable& variable : object.variables)
            names.insert(object.name + "." + variable.name);
    }
    return names;
}

// A name that is misspelt would leave nothing out, and nobody would notice.
void requireNames(const std::vector<std::string>& ignored, const LcmpModel& left, const LcmpModel& right) {
    std::set<std::string> names = namesOf(left);
    names.merge(namesOf(right));
    for (const std::string& name : ignored) {
        if (names.count(name) == 0)
            throw Failure(ExitStatus::unresolved,
                          "--ignore: there is no object or variable '" + name + "'" +
                              suggestion(nearestName(name, {names.begin(), names.end()})));
    }
}

void leaveOutMoving(std::vector<Difference>& all) {
    const auto moves = [](const Difference& difference) { return difference.moves(); };
    const auto kept = std::remove_if(all.begin(), all.end(), moves);
    const auto count = std::distance(kept, all.end());
    all.erase(kept, all.end());
    if (count > 0)
        std::cerr << "lcmp: left out: " << count
                  << (count == 1 ? " variable that moves" : " variables that move") << " by "
                  << (count == 1 ? "itself" : "themselves") << "; --moving shows them\n";
}

ExitStatus diff(const DiffOptions& options) {
    const ClientSettings settings = applyClientOptions(options.client);
    Side left = openSide(options.left);
    Side right = openSide(options.right);
    const Model cards = modelOfCards(options, left, right);
    requireNames(options.ignored, left.isFile ? *left.model : *cards, right.isFile ? *right.model : *cards);
    fill(options.left, settings, cards, left);
    fill(options.right, settings, cards, right);
    std::vector<Difference> all =
        differences(left.snapshot, right.snapshot, {options.ignored.begin(), options.ignored.end()});
    if (!options.showsMoving)
        leaveOutMoving(all);
    printDifferences(std::cout, options.format, all, options.left, options.right);
    const bool failed = options.failsOnDifference && !all.empty();
    return failed || left.status != ExitStatus::done || right.status != ExitStatus::done ? ExitStatus::partly
                                                                                         : ExitStatus::done;
}

}  // namespace

void addDiffVerb(CLI::App& verb, ExitStatus& status) {
    const auto options = std::make_shared<DiffOptions>();
    verb.add_option("A", options->left, "A card, HOST[:PORT], or a recording or model, FILE")
        ->required()
        ->type_name("");
    verb.add_option("B", options->right, "What it is compared with")->required()->type_name("");
    verb.add_option("--ignore", options->ignored,
                    "Leaves an object, or a variable in all rows, out; may be given several times")
        ->type_name("OBJECT[.VARIABLE]")
        ->allow_extra_args(false);
    verb.add_flag("--moving", options->showsMoving,
                  "Shows variables, too, of which a model says that they move by themselves");
    verb.add_flag("--fail-on-difference", options->failsOnDifference,
                  "Exit status 5 where there are differences, instead of 0");
    addFormatOption(verb, options->format, {"text", "json", "jsonl", "csv"});
    addModelOption(verb, options->model);
    addClientOptions(verb, options->client);
    verb.footer(
        "What is the name of a file, or ends in .yaml or .yml, is a FILE: it holds what a card of this "
        "model\n"
        "holds when it starts. A card that is compared with a FILE has its model, unless --model gives\n"
        "another one.\n\n"
        "Variables that have `simulate` in either model move by themselves and would differ in every\n"
        "comparison: they are counted and left out. A recording knows of them if it was made with\n"
        "--keep-motion; otherwise --model tells. What one card refuses is only in the other; it is told,\n"
        "and the status is 5.\n\n"
        "Examples: lcmp diff 192.0.2.1 192.0.2.2 --ignore identity.ifcSlot --ignore control.guid\n"
        "          lcmp diff slot3.yaml 192.0.2.1 --fail-on-difference");
    verb.callback([options, &status] { status = diff(*options); });
}

}  // namespace tool
