// lcmp card: serves a simulated card.
#include <CLI/CLI.hpp>
#include <chrono>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "duration.h"
#include "lcmpUdpEndpoint.h"
#include "peerNotices.h"
#include "simulatedCard.h"
#include "stopSignals.h"
#include "target.h"
#include "trace.h"
#include "verbs.h"

namespace tool {
namespace {

using Clock = LcmpUdpEndpoint::Clock;
using std::chrono::milliseconds;

struct CardOptions {
    std::string listen = "127.0.0.1:" + std::to_string(LcmpUdpEndpoint::defaultPort);
    std::vector<std::string> receivers;
    std::vector<std::string> allowed;
    std::string period = "1s";
    unsigned int seed = 1;
    std::string trace = "0";
};

// When the card lives its next period.
class Pace {
public:
    explicit Pace(milliseconds period) : m_period(period), m_last(Clock::now()) {}

    /// Until the next period is over; negative where the card stands still.
    milliseconds left() const {
        if (m_period.count() == 0)
            return milliseconds(-1);
        return std::max(std::chrono::ceil<milliseconds>(m_last + m_period - Clock::now()), milliseconds(0));
    }

    /// The time since the period before, if the next one is over: that is then the new one.
    milliseconds take() {
        if (left().count() != 0)
            return milliseconds(0);
        const auto passed = std::chrono::floor<milliseconds>(Clock::now() - m_last);
        m_last += passed;
        return passed;
    }

private:
    milliseconds m_period;
    Clock::time_point m_last;
};

// A card's endpoint that says no more than it may about what is broken.
class CardEndpoint : public LcmpUdpEndpoint {
public:
    void frameReceived(const LcmpUdpAddress& /*from*/, const char* data, int size) override {
        m_notices.frameReceived(data, size);
    }

    /// Handles what is there; false when the socket failed.
    bool takeTurn() {
        const bool works = onReadable() >= 0;
        m_notices.turnOver(getCounters());
        return works;
    }

    /// Until there is something to say; negative: nothing.
    milliseconds untilNotice() const { return m_limit.left(); }

private:
    LimitedNotice m_limit{std::cerr};
    PeerNotices m_notices{m_limit};
};

void addReceivers(const std::vector<std::string>& receivers, LcmpUdpEndpoint& endpoint) {
    for (const std::string& text : receivers) {
        const LcmpUdpAddress receiver = parseListenAddress("--events-to", text);
        if (!endpoint.addEventReceiver(lcmpUdpHostToText(receiver.host), receiver.port))
            throw Failure(ExitStatus::usage,
                          "--events-to: '" + text + "' has port 0, at which nobody can be reached");
    }
}

void addAllowed(const std::vector<std::string>& blocks, LcmpUdpEndpoint& endpoint) {
    for (const std::string& block : blocks) {
        if (!endpoint.allow(block))
            throw Failure(ExitStatus::usage,
                          "--allow: '" + block + "' is no block of addresses; write 192.0.2.0/24");
    }
}

void open(const LcmpUdpAddress& address, LcmpUdpEndpoint& endpoint) {
    if (!endpoint.open(lcmpUdpHostToText(address.host), address.port))
        throw Failure(ExitStatus::localFailure, endpoint.getLastError());
}

void announce(const LcmpUdpEndpoint& endpoint) {
    std::cout << "listening on " << lcmpUdpToText(endpoint.getLocalAddress()) << std::endl;
    if (!std::cout)
        throw Failure(ExitStatus::localFailure, "standard output cannot be written");
}

void serve(CardEndpoint& endpoint, SimulatedCard& card, milliseconds period, const StopSignals& stop) {
    Pace pace(period);
    while (!stop.stopped()) {
        stop.waitReadable(endpoint.getFileDescriptor(), sooner(pace.left(), endpoint.untilNotice()));
        if (!endpoint.takeTurn())
            throw Failure(ExitStatus::localFailure, endpoint.getLastError());
        const milliseconds passed = pace.take();
        if (passed.count() > 0) {
            card.live(passed);
            endpoint.eventHandler();
        }
    }
}

void runCard(const CardOptions& options) {
    startTrace(options.trace);
    const LcmpUdpAddress address = parseListenAddress("--listen", options.listen);
    const milliseconds period = parseDuration("--period", options.period);
    SimulatedCard card(options.seed);
    CardEndpoint endpoint;
    card.registerWith(endpoint);
    addReceivers(options.receivers, endpoint);
    addAllowed(options.allowed, endpoint);
    open(address, endpoint);
    // The first pass of a process reports nothing; from here on the first change is reported.
    endpoint.eventHandler();
    const StopSignals stop;
    announce(endpoint);
    serve(endpoint, card, period, stop);
}

}  // namespace

void addCardVerb(CLI::App& program, ExitStatus& status) {
    const auto options = std::make_shared<CardOptions>();
    CLI::App* verb = program.add_subcommand("card", "Serves a simulated card");
    verb->add_option("--listen", options->listen, "Where to listen; port 0 takes a free one")
        ->type_name("ADDR[:PORT]")
        ->capture_default_str();
    verb->add_option("--events-to", options->receivers, "Sends events there; may be given several times")
        ->type_name("ADDR[:PORT]")
        ->allow_extra_args(false);
    verb->add_option("--allow", options->allowed,
                     "Answers these addresses only, instead of 127.0.0.0/8; may be given several times")
        ->type_name("CIDR")
        ->allow_extra_args(false);
    verb->add_option("--period", options->period,
                     "How often values change and are reported; 0 lets them stand still")
        ->type_name("TIME")
        ->capture_default_str();
    verb->add_option("--seed", options->seed, "The same seed makes values change in the same way")
        ->type_name("N")
        ->capture_default_str();
    addTraceOption(*verb, options->trace);
    verb->footer(
        "Prints one line, \"listening on ADDR:PORT\", when it can be asked; SIGINT or SIGTERM ends it.\n\n"
        "The card is the standard card. Every period its temperatures and voltages move, an alarm is raised "
        "or\n"
        "cleared now and then, and control.utcTime counts on. download.start=true lets download.progress run "
        "from\n"
        "0 to 100, download.stop=true ends that early; download.state is 0 idle, 1 downloading, 2 done,\n"
        "3 stopped. control.reboot=true puts everything back to what it was at the start.\n\n"
        "Example: lcmp card --listen 127.0.0.1:0 --events-to 127.0.0.1:17471 --period 500ms");
    verb->callback([options, &status] {
        runCard(*options);
        status = ExitStatus::done;
    });
}

}  // namespace tool
