// lcmp card: serves a simulated card.
#include <CLI/CLI.hpp>
#include <chrono>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cardRack.h"
#include "duration.h"
#include "lcmpUdpEndpoint.h"
#include "modelOption.h"
#include "stopSignals.h"
#include "target.h"
#include "trace.h"
#include "verbs.h"

namespace tool {
namespace {

using Clock = LcmpUdpEndpoint::Clock;
using std::chrono::milliseconds;

struct CardOptions {
    std::string model;
    std::string listen = "127.0.0.1:" + std::to_string(LcmpUdpEndpoint::defaultPort);
    std::vector<std::string> receivers;
    std::vector<std::string> allowed;
    std::string period = "1s";
    unsigned int cards = 1;
    unsigned int seed = 1;
    WireFaults faults;
    std::string delayTime = "200ms";
    bool mute = false;
    std::optional<unsigned int> answer;
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

LcmpUdpAddress receiverOf(const std::string& text) {
    const LcmpUdpAddress receiver = parseListenAddress("--events-to", text);
    if (receiver.port == 0)
        throw Failure(ExitStatus::usage,
                      "--events-to: '" + text + "' has port 0, at which nobody can be reached");
    return receiver;
}

RackSettings settingsOf(const CardOptions& options) {
    RackSettings settings;
    settings.address = parseListenAddress("--listen", options.listen);
    settings.cards = options.cards;
    settings.seed = options.seed;
    for (const std::string& text : options.receivers)
        settings.receivers.push_back(receiverOf(text));
    settings.allowed = options.allowed;
    settings.faults = options.faults;
    settings.faults.delayTime = parseDuration("--delay-time", options.delayTime);
    settings.mute = options.mute;
    if (options.answer)
        settings.answer = static_cast<unsigned char>(*options.answer);
    return settings;
}

void announce(const CardRack& rack) {
    for (const LcmpUdpAddress& address : rack.addresses())
        std::cout << "listening on " << lcmpUdpToText(address) << '\n';
    if (!std::cout.flush())
        throw Failure(ExitStatus::localFailure, "standard output cannot be written");
}

// A bad model changes nothing: the cards go on as they are.
void reload(const std::string& file, CardRack& rack) {
    try {
        rack.replace(*loadModel(file));
        std::cerr << "lcmp: " << (file.empty() ? "the standard card" : file) << " is loaded again"
                  << std::endl;
    } catch (const Failure& failure) {
        std::cerr << "lcmp: " << failure.what() << "; the cards stay as they are" << std::endl;
    }
}

void serve(const CardOptions& options, CardRack& rack, milliseconds period, const StopSignals& signals) {
    Pace pace(period);
    while (!signals.stopped()) {
        signals.waitReadable(rack.fileDescriptor(),
                             sooner(pace.left(), sooner(rack.untilNotice(), rack.sendDelayed())));
        if (signals.takeReload())
            reload(options.model, rack);
        rack.answer();
        const milliseconds passed = pace.take();
        if (passed.count() > 0)
            rack.live(passed);
    }
}

void runCard(const CardOptions& options) {
    startTrace(options.trace);
    const RackSettings settings = settingsOf(options);
    const milliseconds period = parseDuration("--period", options.period);
    CardRack rack(settings, *loadModel(options.model));
    const StopSignals signals(StopSignals::Hangup::reloads);
    announce(rack);
    serve(options, rack, period, signals);
}

void addFaults(CLI::App& verb, CardOptions& options) {
    const auto addPercent = [&verb](const char* name, double& percent, const char* text) {
        verb.add_option(name, percent, text)
            ->type_name("PERCENT")
            ->check(CLI::Range(0.0, 100.0))
            ->group("Faults");
    };
    addPercent("--loss", options.faults.loss, "So many of its answers and events are lost");
    addPercent("--duplicate", options.faults.duplicate, "So many come twice");
    addPercent("--delay", options.faults.delay, "So many come later, after --delay-time");
    addPercent("--reorder", options.faults.reorder, "So many come behind the one that was sent next");
    verb.add_option("--delay-time", options.delayTime, "How long a delay is")
        ->type_name("TIME")
        ->capture_default_str()
        ->group("Faults");
    verb.add_flag("--mute", options.mute, "Does what it is asked for and never says a word")->group("Faults");
    verb.add_option("--answer-error", options.answer,
                    "Answers every request with this result, though it carries it out")
        ->type_name("RESULT")
        ->check(CLI::Range(1, 255))
        ->group("Faults");
}

}  // namespace

void addCardVerb(CLI::App& verb, ExitStatus& status) {
    const auto options = std::make_shared<CardOptions>();
    addModelOption(verb, options->model);
    verb.add_option("--listen", options->listen, "Where to listen; port 0 takes a free one")
        ->type_name("ADDR[:PORT]")
        ->capture_default_str();
    verb.add_option("--events-to", options->receivers, "Sends events there; may be given several times")
        ->type_name("ADDR[:PORT]")
        ->allow_extra_args(false);
    verb.add_option("--allow", options->allowed,
                    "Answers these addresses only, instead of 127.0.0.0/8; may be given several times")
        ->type_name("CIDR")
        ->allow_extra_args(false);
    verb.add_option("--period", options->period,
                    "How often values change and are reported; 0 lets them stand still")
        ->type_name("TIME")
        ->capture_default_str();
    verb.add_option("--cards", options->cards, "So many cards, on ports one after another")
        ->type_name("N")
        ->check(CLI::Range(1U, 10000U))
        ->capture_default_str();
    verb.add_option("--seed", options->seed,
                    "The same seed makes values change, and faults happen, in the same way")
        ->type_name("N")
        ->capture_default_str();
    addFaults(verb, *options);
    addTraceOption(verb, options->trace);
    verb.footer(
        "Prints a line \"listening on ADDR:PORT\" for each card when it can be asked; SIGINT or SIGTERM ends "
        "it.\n"
        "SIGHUP loads the model again and starts the cards anew, unless the model is bad.\n\n"
        "Variables move as the model says. What the standard card does, a card of any model does that has "
        "the\n"
        "variables for it: an alarm is raised or cleared now and then; download.start=true lets "
        "download.progress\n"
        "run from 0 to 100, download.stop=true ends that early, download.state is 0 idle, 1 downloading, 2 "
        "done,\n"
        "3 stopped; control.reboot=true puts everything back to what it was at the start. Of many cards each "
        "has\n"
        "its own identity.ifcSlot, control.guid and MAC addresses.\n\n"
        "Examples: lcmp card --listen 127.0.0.1:0 --events-to 127.0.0.1:17471 --period 500ms\n"
        "          lcmp card --model linecard48.yaml --cards 500 --loss 1 --seed 7");
    verb.callback([options, &status] {
        runCard(*options);
        status = ExitStatus::done;
    });
}

}  // namespace tool
