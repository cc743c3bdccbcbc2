#include "commandLine.h"

#include <CLI/CLI.hpp>
#include <iostream>
#include <new>

#include "nearestName.h"
#include "output.h"
#include "verbs.h"

namespace {

using tool::ExitStatus;

ExitStatus report(ExitStatus status, const std::string& text) {
    tool::tellProblem(text);
    return status;
}

// A word that is no verb is not what the parser complains of: it misses a verb.
ExitStatus reportUsage(const CLI::App& program, const std::string& firstWord, const CLI::ParseError& error) {
    std::vector<std::string> verbs;
    for (const CLI::App* verb :
         program.get_subcommands([](const CLI::App* verb) { return !verb->get_group().empty(); }))
        verbs.push_back(verb->get_name());
    const bool noVerb = program.get_subcommands().empty() && !firstWord.empty() && firstWord[0] != '-';
    report(ExitStatus::usage, noVerb ? "there is no verb '" + firstWord + "'" +
                                           tool::suggestion(tool::nearestName(firstWord, verbs))
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
    addCardVerb(program, status);
    addGetVerb(program, status);
    addSetVerb(program, status);
    addWalkVerb(program, status);
    addRecordVerb(program, status);
    addDiffVerb(program, status);
    addWatchVerb(program, status);
    addPingVerb(program, status);
    addOidVerb(program, status);
    addModelVerb(program, status);
    addDecodeVerb(program, status);
    addCompleteVerb(program, status);
    program.footer(
        "Exit status: 0 done, 1 local failure, 2 usage, 3 no answer, 4 refused by the card, 5 partly done,\n"
        "6 malformed or unexpected frame, 7 a name or model that cannot be resolved.");

    ExitStatus end = run(program, argc, argv, status);
    if (!std::cout.flush() && end == ExitStatus::done)
        end = report(ExitStatus::localFailure, "standard output cannot be written");
    return static_cast<int>(end);
}

}  // namespace tool
