// lcmp watch: prints events as they arrive.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <iostream>
#include <memory>
#include <optional>

#include "clientOptions.h"
#include "duration.h"
#include "eventLog.h"
#include "lcmpUdpEndpoint.h"
#include "modelOption.h"
#include "output.h"
#include "peerNotices.h"
#include "polling.h"
#include "stopSignals.h"
#include "target.h"
#include "trace.h"
#include "verbs.h"
#include "workers.h"

namespace tool {
namespace {

struct WatchOptions {
    std::vector<std::string> targets;
    std::string poll = "1s";
    std::vector<std::string> variables;
    bool showsFirst = false;
    std::string listen;
    std::vector<std::string> allowed;
    unsigned long count = 0;
    std::string duration;
    std::string format = "text";
    std::string model;
    ClientOptions client;
};

// An endpoint that has no objects: it only shows what it receives.
class EventReceiver : public LcmpUdpEndpoint {
public:
    explicit EventReceiver(EventLog& log) : LcmpUdpEndpoint(false), m_log(log), m_notices(log.notices()) {}

    void frameReceived(const LcmpUdpAddress& from, const char* data, int size) override {
        muteTrace(true);  // the log says for itself what is wrong
        m_log.take(from, data, size);
        m_notices.frameReceived(data, size);
    }

    /// Handles what is there; false when the socket failed.
    bool takeTurn() {
        const bool works = onReadable() >= 0;
        m_notices.turnOver(getCounters());
        return works;
    }

    bool amiMessageHandler(std::vector<LcmpProperty*> /*props*/) override { return true; }

private:
    EventLog& m_log;
    PeerNotices m_notices;
};

// When --duration is over.
class Deadline {
public:
    explicit Deadline(const std::string& duration) {
        if (!duration.empty())
            m_end = Clock::now() + parseDuration("--duration", duration);
    }

    bool passed() const { return m_end && Clock::now() >= *m_end; }

    /// Negative without --duration.
    std::chrono::milliseconds left() const {
        if (!m_end)
            return std::chrono::milliseconds(-1);
        return std::max(std::chrono::ceil<std::chrono::milliseconds>(*m_end - Clock::now()),
                        std::chrono::milliseconds(0));
    }

private:
    using Clock = std::chrono::steady_clock;
    std::optional<Clock::time_point> m_end;
};

void listen(EventReceiver& receiver, const WatchOptions& options) {
    const LcmpUdpAddress address = parseListenAddress("--listen", options.listen);
    for (const std::string& block : options.allowed) {
        if (!receiver.allow(block))
            throw Failure(ExitStatus::usage, "--allow: '" + block + "' is no block like 192.0.2.0/24");
    }
    if (!receiver.open(lcmpUdpHostToText(address.host), address.port))
        throw Failure(ExitStatus::localFailure, receiver.getLastError());
    std::cerr << "listening on " << lcmpUdpToText(receiver.getLocalAddress()) << std::endl;
}

EventLog::Format formatOf(const std::string& text) {
    if (text == "csv")
        return EventLog::Format::csv;
    if (text == "value")
        return EventLog::Format::value;
    return text == "text" ? EventLog::Format::text : EventLog::Format::jsonl;
}

PollSettings pollSettingsOf(const WatchOptions& options, const LcmpModel& model) {
    PollSettings settings;
    settings.client = applyClientOptions(options.client);
    settings.cards = parseTargets(options.targets, maxOfTheirOwnProcess);
    settings.period = parseDuration("--poll", options.poll);
    if (settings.period.count() < 1)
        throw Failure(ExitStatus::usage, "--poll: '" + options.poll + "' is less than 1ms");
    settings.showsFirst = options.showsFirst;
    if (!settings.cards.empty())
        settings.variables = variablesToPoll(options.variables, model);
    return settings;
}

// Before the receiver is open there is nothing to receive.
void takeTurn(EventReceiver& receiver) {
    if (receiver.getFileDescriptor() >= 0 && !receiver.takeTurn())
        throw Failure(ExitStatus::localFailure, receiver.getLastError());
}

ExitStatus watch(const WatchOptions& options) {
    if (options.listen.empty() && options.targets.empty())
        throw Failure(ExitStatus::usage, "watch: give --listen ADDR[:PORT] for events, or a TARGET to poll");
    const Deadline deadline(options.duration);
    const auto model = loadModel(options.model);
    const PollSettings settings = pollSettingsOf(options, *model);
    const StopSignals signals;
    EventLog log(std::cout, std::cerr, formatOf(options.format), options.count, *model);
    Workers workers;
    Polling polling(settings, *model, workers, log);
    EventReceiver receiver(log);
    if (!options.listen.empty()) {
        listen(receiver, options);
        workers.include(receiver.getFileDescriptor());
    }
    while (!log.full() && !signals.stopped() && !deadline.passed() && std::cout) {
        signals.waitReadable(workers.fileDescriptor(), sooner(deadline.left(), log.notices().left()));
        polling.takeTurn();  // first: what was read is older than an event that has come meanwhile
        takeTurn(receiver);
    }
    return ExitStatus::done;
}

void addPolling(CLI::App& verb, WatchOptions& options) {
    CLI::Option* targets =
        verb.add_option("TARGET", options.targets, "Cards that are polled, HOST[:PORT]")->type_name("");
    verb.add_option("--poll", options.poll, "How often their variables are read")
        ->type_name("TIME")
        ->capture_default_str()
        ->needs(targets);
    verb.add_option("--variables", options.variables,
                    "What is read of them: variables, or objects for all of theirs; unless given, all that "
                    "the model has")
        ->type_name("NAME")
        ->delimiter(',')
        ->needs(targets);
    verb.add_flag("--first", options.showsFirst, "Print what is read first, too")->needs(targets);
}

}  // namespace

void addWatchVerb(CLI::App& verb, ExitStatus& status) {
    const auto options = std::make_shared<WatchOptions>();
    addPolling(verb, *options);
    verb.add_option("--listen", options->listen, "Where events arrive; port 0 takes a free one")
        ->type_name("ADDR[:PORT]");
    verb.add_option("--allow", options->allowed, "Whose events are shown; repeatable; loopback unless given")
        ->type_name("CIDR")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    verb.add_option("--count", options->count, "End after so many values")
        ->type_name("N")
        ->check(CLI::Range(1UL, 4294967295UL));
    verb.add_option("--duration", options->duration, "End after this time, like 5s")->type_name("TIME");
    addFormatOption(verb, options->format, {"text", "json", "jsonl", "csv", "value"}, "jsonl");
    addModelOption(verb, options->model);
    addClientOptions(verb, options->client);
    verb.footer(
        std::string("A TARGET is ") + targetsHelp +
        "\n\n"
        "With --listen prints 'listening on ADDR:PORT' on standard error. Then one line for each value: "
        "time, "
        "card,\n"
        "variable, value and, where it is known, the value before. Messages that are missing from a card's "
        "numbering\n"
        "are a line of their own. Ends with status 0 at --count, --duration, or Ctrl-C. As the output has no "
        "end, json\n"
        "is jsonl.\n\n"
        "A change of a TARGET that no event has told is marked as polled; its time is when it was seen. What "
        "is read\n"
        "first is no change. A TARGET that stops answering is a line, and its coming back another.\n\n"
        "Examples: lcmp watch --listen 192.0.2.9:17470 --allow 192.0.2.0/24\n"
        "          lcmp watch 192.0.2.10-19 --poll 5s --variables alarms,temperature[0].value");
    verb.callback([options, &status] { status = watch(*options); });
}

}  // namespace tool
