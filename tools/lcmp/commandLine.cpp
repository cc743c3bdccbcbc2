#include "commandLine.h"

#include <CLI/CLI.hpp>
#include <iostream>
#include <new>
#include <set>
#include <string>
#include <vector>

#include "nearestName.h"
#include "output.h"
#include "verbs.h"

namespace {

using tool::ExitStatus;

struct Verb {
    const char* name;
    const char* description;
    void (*addTo)(CLI::App& verb, ExitStatus& status);
};

// Asked by the scripts of shells, about all the others.
constexpr const char* completeWord = "complete";

// In the order of the help.
const Verb verbs[] = {
    {"card", "Serves a simulated card", tool::addCardVerb},
    {"get", "Reads variables of a card", tool::addGetVerb},
    {"set", "Writes variables of a card", tool::addSetVerb},
    {"walk", "Reads whole objects of a card", tool::addWalkVerb},
    {"record", "Writes what a card holds as a model with values", tool::addRecordVerb},
    {"diff", "Compares two cards, or a card and a recording", tool::addDiffVerb},
    {"watch", "Prints the events of cards as they arrive, and changes it polls", tool::addWatchVerb},
    {"ping", "Tells whether cards answer, and how soon", tool::addPingVerb},
    {"oid", "Composes OIDs and takes them apart", tool::addOidVerb},
    {"model", "Verifies, lists and shows card models", tool::addModelVerb},
    {"decode", "Explains frames, written in hexadecimal or captured", tool::addDecodeVerb},
    {completeWord, "Says how a command line may go on", tool::addCompleteVerb},
};

// Composing a verb takes far longer than reading its few arguments: only what was typed is composed.
void addVerbs(CLI::App& program, const std::set<std::string>& words, ExitStatus& status) {
    const bool all = words.count(completeWord) != 0;
    for (const Verb& verb : verbs) {
        CLI::App* const added = program.add_subcommand(verb.name, verb.description);
        if (all || words.count(verb.name) != 0)
            verb.addTo(*added, status);
    }
    program.get_subcommand(completeWord)->group("");
}

ExitStatus report(ExitStatus status, const std::string& text) {
    tool::tellProblem(text);
    return status;
}

// A word that is no verb is not what the parser complains of: it misses a verb.
ExitStatus reportUsage(const CLI::App& program, const std::string& firstWord, const CLI::ParseError& error) {
    std::vector<std::string> words;
    for (const Verb& verb : verbs) {
        if (verb.name != completeWord)
            words.emplace_back(verb.name);
    }
    const bool noVerb = program.get_subcommands().empty() && !firstWord.empty() && firstWord[0] != '-';
    report(ExitStatus::usage, noVerb ? "there is no verb '" + firstWord + "'" +
                                           tool::suggestion(tool::nearestName(firstWord, words))
                                     : std::string(error.what()));
    std::cerr << "Run lcmp --help, or lcmp VERB --help, for what there is.\n";
    return ExitStatus::usage;
}

ExitStatus run(CLI::App& program, int argc, char** argv, const ExitStatus& status) {
    try {
        program.parse(argc, argv);
        return status;
    } catch (const tool::Failure& failure) {
        return report(failure.status(), failure.what());
    } catch (const CLI::Success& success) {
        program.exit(success);
        return ExitStatus::done;
    } catch (const CLI::ParseError& error) {
        return reportUsage(program, argc > 1 ? argv[1] : "", error);
    } catch (const std::bad_alloc&) {
        return report(ExitStatus::localFailure, "out of memory");
    } catch (const std::exception& error) {
        return report(ExitStatus::localFailure, error.what());
    }
}

}  // namespace

namespace tool {

int runCommandLine(int argc, char** argv) {
    CLI::App program("Reads, writes, watches and simulates cards over LCMP.", "lcmp");
    ExitStatus status = ExitStatus::done;
    program.set_version_flag("--version", "lcmp " LCMP_VERSION, "Print the version");
    program.require_subcommand(1);
    addVerbs(program, {argv, argv + argc}, status);
    program.footer(
        "Exit status: 0 done, 1 local failure, 2 usage, 3 no answer, 4 refused by the card, 5 partly done,\n"
        "6 malformed or unexpected frame, 7 a name or model that cannot be resolved.");

    ExitStatus end = run(program, argc, argv, status);
    if (!std::cout.flush() && end == ExitStatus::done)
        end = report(ExitStatus::localFailure, "standard output cannot be written");
    return static_cast<int>(end);
}

}  // namespace tool
