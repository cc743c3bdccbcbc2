// lcmp watch: prints events as they arrive.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <iostream>
#include <memory>
#include <optional>

#include "duration.h"
#include "eventLog.h"
#include "lcmpUdpEndpoint.h"
#include "modelOption.h"
#include "output.h"
#include "peerNotices.h"
#include "stopSignals.h"
#include "target.h"
#include "trace.h"
#include "verbs.h"

namespace tool {
namespace {

struct WatchOptions {
    std::string listen;
    std::vector<std::string> allowed;
    unsigned long count = 0;
    std::string duration;
    std::string format = "text";
    std::string model;
    std::string trace = "0";
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

ExitStatus watch(const WatchOptions& options) {
    startTrace(options.trace);
    const Deadline deadline(options.duration);
    const auto format = options.format == "jsonl" ? EventLog::Format::jsonl : EventLog::Format::text;
    const auto model = loadModel(options.model);
    EventLog log(std::cout, std::cerr, format, options.count, *model);
    EventReceiver receiver(log);
    const StopSignals signals;
    listen(receiver, options);
    while (!log.full() && !signals.stopped() && !deadline.passed() && std::cout) {
        signals.waitReadable(receiver.getFileDescriptor(), sooner(deadline.left(), log.notices().left()));
        if (!receiver.takeTurn())
            throw Failure(ExitStatus::localFailure, receiver.getLastError());
    }
    return ExitStatus::done;
}

}  // namespace

void addWatchVerb(CLI::App& program, ExitStatus& status) {
    const auto options = std::make_shared<WatchOptions>();
    CLI::App* verb = program.add_subcommand("watch", "Prints the events of cards as they arrive");
    verb->add_option("--listen", options->listen, "Where events arrive; port 0 takes a free one")
        ->required()
        ->type_name("ADDR[:PORT]");
    verb->add_option("--allow", options->allowed, "Whose events are shown; repeatable; loopback unless given")
        ->type_name("CIDR")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    verb->add_option("--count", options->count, "End after so many values")
        ->type_name("N")
        ->check(CLI::Range(1UL, 4294967295UL));
    verb->add_option("--duration", options->duration, "End after this time, like 5s")->type_name("TIME");
    addFormatOption(*verb, options->format, {"text", "jsonl"}, "jsonl");
    addModelOption(*verb, options->model);
    addTraceOption(*verb, options->trace);
    verb->footer(
        "Prints 'listening on ADDR:PORT' on standard error, then one line for each value: time, card, "
        "variable, value\n"
        "and, where it is known, the value before. Messages that are missing from a card's numbering are a "
        "line of\n"
        "their own. Ends with status 0 at --count, --duration, or Ctrl-C.\n\n"
        "Example: lcmp watch --listen 192.0.2.9:17470 --allow 192.0.2.0/24");
    verb->callback([options, &status] { status = watch(*options); });
}

}  // namespace tool
