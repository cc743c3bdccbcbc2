// lcmp ping: asks whether cards answer, and how soon.
#include <CLI/CLI.hpp>
#include <chrono>
#include <iostream>
#include <memory>
#include <random>
#include <thread>

#include "byteReader.h"
#include "duration.h"
#include "lcmpUdpEndpoint.h"
#include "output.h"
#include "pingOutput.h"
#include "standardNames.h"
#include "stopSignals.h"
#include "target.h"
#include "trace.h"
#include "value.h"
#include "verbs.h"
#include "workers.h"

namespace tool {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

struct PingOptions {
    std::vector<std::string> targets;
    unsigned long count = 0;
    std::string interval = "1s";
    std::string timeout = "1s";
    std::string format = "text";
    std::string trace = "0";
};

struct PingSettings {
    unsigned long count;  // 0: without end
    milliseconds interval;
    milliseconds timeout;
};

milliseconds positiveDuration(const std::string& option, const std::string& text) {
    const milliseconds time = parseDuration(option, text);
    if (time.count() < 1)
        throw Failure(ExitStatus::usage, option + ": '" + text + "' is less than 1ms");
    return time;
}

// Asks one card for one small variable, and once each time. What a card answers does not matter: one that
// lacks the variable says so, and lives.
class Pinger : private LcmpUdpEndpoint {
public:
    Pinger(const LcmpUdpAddress& card, milliseconds timeout)
        : LcmpUdpEndpoint(false), m_wire(requestedElement()) {
        if (!open("0.0.0.0", 0) || !setTarget(lcmpUdpHostToText(card.host), card.port))
            throw Failure(ExitStatus::localFailure, getLastError());
        setTimeout(timeout);
        setTries(1);
        lastMessageId = static_cast<std::uint16_t>(std::random_device()());
    }

    Ping ping() {
        OldStyleProperty property(reinterpret_cast<lcmp_tlv*>(m_wire.data()), false);
        LCMPRequest request(lcmpUdpHostToText(getLocalAddress().host));
        request.setAction(LCMP_ACTION_READ);
        request.setMessageId(getNewMessageId());
        request.addProperty(&property);
        Ping ping;
        ping.id = static_cast<std::uint16_t>(request.getMessageId());
        const std::uint64_t timeouts = getCounters().timeouts;
        const Clock::time_point start = Clock::now();
        if (sendMessage(&request))
            ping.roundTrip = Clock::now() - start;
        else
            ping.problem = getCounters().timeouts != timeouts ? "no answer" : getLastError();
        return ping;
    }

private:
    static std::string requestedElement() {
        Element element(resolveVariable("identity.ifcSlot").oid);
        setPlaceholder(UINT8, element);
        return element.wireForm();
    }

    std::string m_wire;
};

// A ping on its way between processes: the id, the nanoseconds or none, and the problem.
constexpr std::uint64_t noRoundTrip = ~std::uint64_t{0};

std::string packed(const Ping& ping) {
    const std::uint64_t time =
        ping.roundTrip ? static_cast<std::uint64_t>(ping.roundTrip->count()) : noRoundTrip;
    std::string bytes;
    for (int shift = 8; shift >= 0; shift -= 8)
        bytes += static_cast<char>(ping.id >> shift);
    for (int shift = 56; shift >= 0; shift -= 8)
        bytes += static_cast<char>(time >> shift);
    return bytes + ping.problem;
}

Ping unpacked(const std::string& bytes) {
    ByteReader reader(bytes);
    Ping ping;
    std::uint64_t time = noRoundTrip;
    if (!reader.take(ping.id) || !reader.take(time))
        throw Failure(ExitStatus::localFailure, "a process that pinged left no result");
    if (time != noRoundTrip)
        ping.roundTrip = std::chrono::nanoseconds(static_cast<std::int64_t>(time));
    ping.problem = reader.rest();
    return ping;
}

void pingOn(Pinger& pinger, const PingSettings& settings, const Workers::Send& send) {
    Clock::time_point next = Clock::now();
    for (unsigned long i = 0; settings.count == 0 || i < settings.count; ++i) {
        std::this_thread::sleep_until(next);
        next = std::max(next + settings.interval, Clock::now());
        send(packed(pinger.ping()));
    }
}

void startPinging(const LcmpUdpAddress& card, std::size_t number, const PingSettings& settings,
                  Workers& workers) {
    Pinger pinger(card, settings.timeout);  // here, so that a socket that cannot be had ends it all
    workers.start(number, [&](const Workers::Send& send) { pingOn(pinger, settings, send); });
}

ExitStatus statusOf(const std::vector<PingPrinter::Card>& cards) {
    const auto answers = [](const PingPrinter::Card& card) { return card.trips.answeredCount() != 0; };
    const auto answering = std::count_if(cards.begin(), cards.end(), answers);
    if (answering == 0)
        return ExitStatus::noAnswer;
    return static_cast<std::size_t>(answering) == cards.size() ? ExitStatus::done : ExitStatus::partly;
}

// The answer that counts, and the line.
void take(const Ping& ping, PingPrinter::Card& card, PingPrinter& printer) {
    if (ping.roundTrip)
        card.trips.answered(*ping.roundTrip);
    else
        card.trips.lost();
    printer.print(card.name, ping);
}

ExitStatus ping(const PingOptions& options) {
    startTrace(options.trace);
    const PingSettings settings = {options.count, positiveDuration("--interval", options.interval),
                                   positiveDuration("--timeout", options.timeout)};
    const std::vector<LcmpUdpAddress> targets = parseTargets(options.targets, maxOfTheirOwnProcess);
    PingPrinter printer(std::cout, options.format);
    std::vector<PingPrinter::Card> cards;
    const StopSignals signals;
    Workers workers;
    for (const LcmpUdpAddress& target : targets) {
        startPinging(target, cards.size(), settings, workers);
        cards.push_back({lcmpUdpToText(target), {}});
    }
    while (workers.running() != 0 && !signals.stopped() && std::cout) {
        signals.waitReadable(workers.fileDescriptor(), milliseconds(-1));
        workers.take(0, [&](std::size_t number, const std::optional<std::string>& message) {
            if (message)
                take(unpacked(*message), cards[number], printer);
        });
    }
    printer.printEnd(cards);
    return statusOf(cards);
}

}  // namespace

void addPingVerb(CLI::App& verb, ExitStatus& status) {
    const auto options = std::make_shared<PingOptions>();
    verb.add_option("TARGET", options->targets, "The cards, HOST[:PORT]; all are asked at the same time")
        ->required()
        ->type_name("");
    verb.add_option("--count", options->count, "End after so many requests to each card; else at Ctrl-C")
        ->type_name("N")
        ->check(CLI::Range(1UL, 4294967295UL));
    verb.add_option("--interval", options->interval, "From one request to the next")
        ->type_name("TIME")
        ->capture_default_str();
    verb.add_option("--timeout", options->timeout, "How long an answer is waited for; nothing is sent again")
        ->type_name("TIME")
        ->envname("LCMP_TIMEOUT")
        ->capture_default_str();
    addFormatOption(verb, options->format, {"text", "json", "jsonl", "csv", "value"}, "jsonl");
    addTraceOption(verb, options->trace);
    verb.footer(
        std::string("A TARGET is ") + targetsHelp +
        "\n\nEach request reads identity.ifcSlot, one byte that every card should have. Any response is an\n"
        "answer, also one that refuses. The id is the message's, as in a capture. At the end: how many were\n"
        "sent and answered, and the shortest, mean and longest round trip; jitter is the mean difference\n"
        "between one round trip and the one before. In json, which comes at the end, jsonl, csv and value\n"
        "times are in seconds.\n\n"
        "The status is 0 when every card has answered at least once, 5 when some have, 3 when none has.\n\n"
        "Example: lcmp ping 192.0.2.10-19 --count 5");
    verb.callback([options, &status] { status = ping(*options); });
}

}  // namespace tool
