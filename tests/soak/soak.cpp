// Plays long, and prints what came of it as a table. Status 0 only if everything was as it must be.
#include <getopt.h>

#include <array>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <string>

#include "frames.h"
#include "hostileRun.h"
#include "memory.h"
#include "socketRun.h"
#include "virtualRun.h"

namespace {

constexpr std::uint64_t toleratedGrowth = std::uint64_t{64} * 1024;  // bytes of resident memory

struct Options {
    std::uint64_t seed = 1;
    std::uint64_t requests = 0;   // in virtual time
    std::uint64_t datagrams = 0;  // malformed
    std::uint64_t overSockets = 0;
    std::uint64_t warmUp = 0;  // requests, and datagrams, after which memory may not grow
};

// What is wrong, one line each.
class Verdict {
public:
    void require(bool holds, const std::string& what) {
        if (holds)
            return;
        std::fprintf(stderr, "soak: FAILED: %s\n", what.c_str());
        m_sound = false;
    }

    bool isSound() const { return m_sound; }

private:
    bool m_sound = true;
};

void printRow(const char* name, std::uint64_t value, const char* unit = "") {
    std::printf("  %-52s %12" PRIu64 "%s%s\n", name, value, *unit != '\0' ? " " : "", unit);
}

void printPercent(const char* name, std::uint64_t part, std::uint64_t whole) {
    const double percent = whole == 0 ? 0 : 100.0 * static_cast<double>(part) / static_cast<double>(whole);
    std::printf("  %-52s %12" PRIu64 "  %.1f %%\n", name, part, percent);
}

// A part of the soak: prints what it is and, in the end, how long it took.
class Part {
public:
    explicit Part(const char* title) { std::printf("\n%s\n", title); }
    ~Part() { printRow("seconds", static_cast<std::uint64_t>(std::time(nullptr) - m_begin)); }
    Part(const Part&) = delete;
    Part& operator=(const Part&) = delete;

private:
    std::time_t m_begin = std::time(nullptr);
};

void printFaults(const FaultCounts& counts) {
    printRow("datagrams sent", counts.datagrams);
    printPercent("  of them lost", counts.lost, counts.datagrams);
    printPercent("  doubled, of the others", counts.doubled, counts.datagrams - counts.lost);
    printPercent("  copies on a detour", counts.reordered, counts.copies);
    printPercent("  copies late beyond the deadline", counts.late, counts.copies);
}

void printTally(const Tally& tally) {
    printRow("requests", tally.requests);
    printRow("answered", tally.answered);
    printPercent("lost: ended in a reported time-out", tally.timedOut, tally.requests);
    printRow("sent again", tally.retries);
    printRow("responses too late for their request, passed over", tally.late);
    printRow("answered by another's reply", tally.others + tally.wrongValues);
    printRow("neither answered nor timed out", tally.unexplained);
    printRow("variables looked at in the end", tally.variables);
    printRow("  last write without an answer: old value or new", tally.uncertain);
    printRow("  other than the last answered write says", tally.wrongInTheEnd);
}

void judgeTally(const Tally& tally, std::uint64_t requests, const std::string& where, Verdict& verdict) {
    verdict.require(tally.requests == requests, where + ": not all requests were made");
    verdict.require(tally.answered > tally.requests / 2, where + ": hardly any request was answered");
    verdict.require(tally.others + tally.wrongValues == 0, where + ": answered by another's reply");
    verdict.require(tally.unexplained == 0 && tally.answered + tally.timedOut == tally.requests,
                    where + ": a request ended neither in its answer nor in a time-out");
    verdict.require(tally.variables > 0 && tally.wrongInTheEnd == 0,
                    where + ": a variable ended other than its last answered write says");
}

void reportMemory(const Memory& before, const Memory& after, const std::string& where, Verdict& verdict) {
    printRow("resident memory before", before.residentBytes / 1024, "KiB");
    printRow("resident memory after", after.residentBytes / 1024, "KiB");
    printRow("live allocations before", before.liveAllocations);
    printRow("live allocations after", after.liveAllocations);
    verdict.require(before.residentBytes > 0, where + ": resident memory is not to be read here");
    verdict.require(after.residentBytes <= before.residentBytes + toleratedGrowth,
                    where + ": resident memory has grown by more than 64 KiB");
    verdict.require(after.liveAllocations == before.liveAllocations,
                    where + ": live allocations have changed");
}

void soakRequests(const Options& options, Verdict& verdict) {
    const Part part("In virtual time: 5 controllers, 2 cards");
    VirtualRun run({options.seed});
    run.ask(options.warmUp);
    run.settle();
    const Memory before = memoryNow();
    run.ask(options.requests - options.warmUp);
    run.settle();
    const Memory after = memoryNow();
    run.verify();
    printTally(run.tally());
    printFaults(run.network().counts());
    printPercent("  copies that a later one has overtaken", run.network().overtaken(),
                 run.network().counts().copies);
    judgeTally(run.tally(), options.requests, "in virtual time", verdict);
    reportMemory(before, after, "in virtual time", verdict);
}

std::vector<std::string> originals() {
    std::vector<std::string> all;
    for (const auto& frames : {goldenFrames(), brokenFrames()}) {
        for (const Frame& frame : frames)
            all.push_back(frame.bytes);
    }
    return all;
}

void soakHostile(const Options& options, Verdict& verdict) {
    const Part part("Malformed datagrams: the golden frames, bent");
    HostileRun run(originals(), options.seed);
    run.send(options.warmUp);
    run.settle();
    const Memory before = memoryNow();
    run.send(options.datagrams - options.warmUp);
    run.settle();
    const Memory after = memoryNow();
    const HostileTally& tally = run.tally();
    printRow("malformed or refused", tally.malformed);
    printRow("  passed over in silence", tally.unanswered);
    printRow("left intact by bending, and served", tally.served);
    printRow("answered wrongly, too long or uncalled for", tally.wrongAnswers);
    verdict.require(tally.malformed == options.datagrams, "not all datagrams were sent");
    verdict.require(tally.wrongAnswers == 0, "a wrong answer to " + tally.firstWrong);
    reportMemory(before, after, "malformed datagrams", verdict);
}

void soakSockets(const Options& options, Verdict& verdict) {
    constexpr unsigned int controllers = 32;
    const Part part("Over sockets on loopback: 32 controllers and a card, each a process, and a proxy");
    const SocketRunResult result = playOverSockets({options.seed, options.overSockets, controllers, 1024});
    printTally(result.tally);
    printFaults(result.faults);
    judgeTally(result.tally, options.overSockets / controllers * controllers, "over sockets", verdict);
}

std::uint64_t number(const char* text) {
    char* end = nullptr;
    const std::uint64_t value = std::strtoull(text, &end, 10);
    if (*text < '0' || *text > '9' || *end != '\0') {
        std::fprintf(stderr, "soak: '%s' is no number\n", text);
        std::exit(2);
    }
    return value;
}

Options parse(int argc, char** argv) {
    static constexpr std::array<option, 6> known = {{{"seed", required_argument, nullptr, 's'},
                                                     {"requests", required_argument, nullptr, 'r'},
                                                     {"datagrams", required_argument, nullptr, 'd'},
                                                     {"sockets", required_argument, nullptr, 'n'},
                                                     {"warm-up", required_argument, nullptr, 'w'},
                                                     {nullptr, 0, nullptr, 0}}};
    Options options;
    for (int found = 0; (found = getopt_long(argc, argv, "", known.data(), nullptr)) != -1;) {
        if (found == '?')
            std::exit(2);
        std::uint64_t& place = found == 's'   ? options.seed
                               : found == 'r' ? options.requests
                               : found == 'd' ? options.datagrams
                               : found == 'n' ? options.overSockets
                                              : options.warmUp;
        place = number(optarg);
    }
    return options;
}

bool soak(const Options& options) {
    Verdict verdict;
    std::printf("seed %" PRIu64 "\n", options.seed);
    // First: its processes inherit what this one has heard of, and there is room for five peers.
    soakSockets(options, verdict);
    soakRequests(options, verdict);
    soakHostile(options, verdict);
    return verdict.isSound();
}

}  // namespace

int main(int argc, char** argv) {
    try {
        const Options options = parse(argc, argv);
        if (options.warmUp >= options.requests || options.warmUp >= options.datagrams) {
            std::fprintf(stderr, "soak: the warm-up is longer than what is to follow\n");
            return 2;
        }
        std::setvbuf(stdout, nullptr, _IOLBF, 0);
        const bool sound = soak(options);
        std::printf("\n%s\n", sound ? "everything was as it must be" : "FAILED");
        return sound ? 0 : 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "soak: %s\n", error.what());
        return 1;
    }
}
