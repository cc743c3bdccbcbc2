// lcmp set: writes variables.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>

#include "askCards.h"
#include "assignment.h"
#include "clientOptions.h"
#include "exchange.h"
#include "modelOption.h"
#include "output.h"
#include "target.h"
#include "verbs.h"

namespace tool {
namespace {

struct SetOptions {
    std::string targets;
    std::vector<std::string> assignments;
    std::vector<std::string> olds;
    bool verify = false;
    bool dryRun = false;
    std::string format = "text";
    std::string model;
    ClientOptions client;
};

// What is done with each card.
struct Order {
    std::vector<Assignment> assignments;
    std::vector<Variable> variables;  // of the assignments
    std::vector<Element> olds;        // what they shall have before; none: anything
    bool verify;
};

std::string shown(const Element& value, const Element& other) {
    return displayText(value) +
           (value.type() == other.type() ? "" : std::string(" (") + lcmpTlvTypeName(value.type()) + ")");
}

void fail(Outcome& outcome, ExitStatus status, const std::string& problem) {
    outcome.status = status;
    outcome.problem = problem;
    outcome.value.reset();
}

// Nothing is written where one of them is not as expected; those that are fail with the first that is not.
void skipTheOthers(const Order& order, std::vector<Outcome>& outcomes) {
    const ExitStatus status = std::find_if(outcomes.begin(), outcomes.end(), [](const Outcome& outcome) {
                                  return outcome.status != ExitStatus::done;
                              })->status;
    for (std::size_t i = 0; i < outcomes.size(); ++i) {
        if (outcomes[i].status == ExitStatus::done)
            fail(outcomes[i], status, order.variables[i].name + " was not written");
    }
}

// The outcomes, all done when every variable has its old value.
std::vector<Outcome> compareWithOlds(const std::string& card, Exchange& exchange, const Order& order) {
    std::vector<Outcome> outcomes = exchange.read(order.variables);
    for (std::size_t i = 0; i < outcomes.size(); ++i) {
        const Element& old = order.olds[i];
        if (outcomes[i].status == ExitStatus::done && !isSameValue(*outcomes[i].value, old))
            fail(outcomes[i], ExitStatus::partly,
                 card + " has " + order.variables[i].name + " = " + shown(*outcomes[i].value, old) +
                     ", not " + displayText(old) + ": it was not written");
    }
    if (overallStatus(outcomes) != ExitStatus::done)
        skipTheOthers(order, outcomes);
    return outcomes;
}

void compareWithWritten(const std::string& card, const Variable& variable, const Outcome& read,
                        Outcome& outcome) {
    const Element written = *outcome.value;
    if (read.status != ExitStatus::done)
        fail(outcome, ExitStatus::partly,
             card + " was sent " + variable.name + ", which could not be read back: " + read.problem);
    else if (!isSameValue(*read.value, written))
        fail(outcome, ExitStatus::partly,
             card + " has " + variable.name + " = " + shown(*read.value, written) + " after " +
                 displayText(written) + " was written");
}

void verify(const std::string& card, Exchange& exchange, const Order& order, std::vector<Outcome>& outcomes) {
    std::vector<Variable> variables;
    std::vector<Outcome*> written;
    for (std::size_t i = 0; i < outcomes.size(); ++i) {
        if (outcomes[i].status != ExitStatus::done)
            continue;
        variables.push_back(order.variables[i]);
        written.push_back(&outcomes[i]);
    }
    const std::vector<Outcome> read = exchange.read(variables);
    for (std::size_t i = 0; i < read.size(); ++i)
        compareWithWritten(card, variables[i], read[i], *written[i]);
}

std::vector<Outcome> carryOut(const std::string& card, Exchange& exchange, const Order& order) {
    if (!order.olds.empty()) {
        std::vector<Outcome> outcomes = compareWithOlds(card, exchange, order);
        if (overallStatus(outcomes) != ExitStatus::done)
            return outcomes;
    }
    std::vector<Outcome> outcomes = exchange.write(order.assignments);
    if (order.verify)
        verify(card, exchange, order, outcomes);
    return outcomes;
}

Order orderOf(const SetOptions& options, const LcmpModel& model) {
    Order order;
    order.verify = options.verify;
    for (const std::string& text : options.assignments) {
        order.assignments.push_back(parseAssignment(text, model));
        order.variables.push_back(order.assignments.back().variable);
    }
    if (!options.olds.empty() && options.olds.size() != order.variables.size())
        throw Failure(ExitStatus::usage, "--if-equals: as many are needed as there are assignments, " +
                                             std::to_string(order.variables.size()) + ", in their order");
    for (std::size_t i = 0; i < options.olds.size(); ++i)
        order.olds.push_back(parseValueOf(order.variables[i], options.olds[i]));
    return order;
}

ExitStatus set(const SetOptions& options) {
    const ClientSettings settings = applyClientOptions(options.client);
    const auto model = loadModel(options.model);
    const Order order = orderOf(options, *model);
    const std::vector<LcmpUdpAddress> cards = parseTargets({options.targets});
    if (options.dryRun)
        return printForecast(order.assignments, *model, options.format);
    return askAndPrint(cards, order.variables, options.format, [&](const LcmpUdpAddress& card) {
        Exchange exchange(card, settings, *model);
        return carryOut(lcmpUdpToText(card), exchange, order);
    });
}

void addConditions(CLI::App& verb, SetOptions& options) {
    CLI::Option* olds =
        verb.add_option("--if-equals", options.olds,
                        "Read first, and write only where the value is this; once for each assignment");
    olds->type_name("OLD")->expected(1)->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    CLI::Option* verifies =
        verb.add_flag("--verify", options.verify, "Read back what was written, and tell differences");
    verb.add_flag("--dry-run", options.dryRun,
                  "Send nothing: show what would be sent, and what the card's model says to it")
        ->excludes(olds)
        ->excludes(verifies);
}

}  // namespace

void addSetVerb(CLI::App& verb, ExitStatus& status) {
    const auto options = std::make_shared<SetOptions>();
    verb.add_option("TARGET", options->targets, "The card, HOST[:PORT]; or several")
        ->required()
        ->type_name("");
    verb.add_option(
            "ASSIGNMENT", options->assignments,
            "NAME=VALUE, any number; those that fit into one request are written together or not at all")
        ->required()
        ->type_name("");
    addConditions(verb, *options);
    addFormatOption(verb, options->format, {"text", "json", "jsonl", "csv", "value"});
    addModelOption(verb, options->model);
    addClientOptions(verb, options->client);
    verb.footer(
        std::string("A TARGET is ") + targetsHelp +
        "\nSeveral are written at the same time.\n\n"
        "A NAME is object.variable, object[row].variable, or an OID with the type of the value. A VALUE is a "
        "number\n"
        "in decimal or 0x, true or false, text, a dotted IPv4 address, a MAC address with colons, a time "
        "like\n"
        "2024-05-01T12:00:00Z or seconds since 1970, or bytes in hexadecimal, as the type asks,\n"
        "or the word that the card's model has for a number.\n\n"
        "With --if-equals nothing is written to a card where one value is not the OLD one; the status is "
        "then "
        "5.\n"
        "It is no lock: between the reading and the writing another controller may write.\n"
        "With --verify the status is 5 when a value reads back otherwise, or cannot be read. What a card "
        "does\n"
        "with a value is its own affair: a command may read back as false.\n"
        "With --dry-run the status is 4 when the model refuses, 0 when it does not.\n\n"
        "Examples: lcmp set 192.0.2.1 control.bpClkRef=3\n"
        "          lcmp set 192.0.2.1 0x50c10005:UINT32=7\n"
        "          lcmp set 192.0.2.10-19 control.bpClkRef=3 --if-equals 128 --verify");
    verb.callback([options, &status] { status = set(*options); });
}

}  // namespace tool
