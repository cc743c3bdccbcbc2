#include "stopSignals.h"

#include <poll.h>
#include <signal.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <limits>
#include <string>

#include "exitStatus.h"

namespace tool {
namespace {

constexpr std::array<int, 2> signals = {SIGINT, SIGTERM};

volatile sig_atomic_t signalCame = 0;
volatile sig_atomic_t hangupCame = 0;

extern "C" void onStopSignal(int /*signal*/) { signalCame = 1; }

extern "C" void onHangup(int /*signal*/) { hangupCame = 1; }

sigset_t allSignals() {
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : signals)
        sigaddset(&set, signal);
    sigaddset(&set, SIGHUP);
    return set;
}

// Where time_t has four bytes, a wait of more than 68 years ends early.
timespec timespecOf(std::chrono::milliseconds duration) {
    constexpr long long longest = std::numeric_limits<time_t>::max();
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(duration);
    const std::chrono::nanoseconds rest = duration - seconds;
    timespec split{};
    split.tv_sec = static_cast<time_t>(std::min<long long>(seconds.count(), longest));
    split.tv_nsec = static_cast<long>(rest.count());
    return split;
}

[[noreturn]] void fail(const std::string& attempt, int error) {
    throw Failure(ExitStatus::localFailure, attempt + ": " + std::strerror(error));
}

// The error, or 0 also when a signal ended the wait.
int waitWith(const sigset_t& mask, int fileDescriptor, std::chrono::milliseconds timeout) {
    const timespec limit = timespecOf(timeout);
    pollfd readable = {fileDescriptor, POLLIN, 0};
    const bool failed = ppoll(&readable, 1, timeout.count() < 0 ? nullptr : &limit, &mask) < 0;
    return failed && errno != EINTR ? errno : 0;
}

}  // namespace

std::chrono::milliseconds sooner(std::chrono::milliseconds one, std::chrono::milliseconds other) {
    if (one.count() < 0 || other.count() < 0)
        return std::max(one, other);
    return std::min(one, other);
}

StopSignals::StopSignals(Hangup hangup) : m_hangup(hangup) {
    signalCame = 0;
    hangupCame = 0;
    struct sigaction action = {};
    action.sa_handler = onStopSignal;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    for (const int signal : signals) {
        if (sigaction(signal, &action, nullptr) != 0)
            fail("catch signals", errno);
    }
    if (m_hangup == Hangup::ends)
        return;
    action.sa_handler = onHangup;
    action.sa_flags = 0;
    if (sigaction(SIGHUP, &action, nullptr) != 0)
        fail("catch SIGHUP", errno);
}

StopSignals::~StopSignals() {
    for (const int signal : signals)
        ::signal(signal, SIG_DFL);
    if (m_hangup == Hangup::reloads)
        ::signal(SIGHUP, SIG_DFL);
}

bool StopSignals::stopped() const { return signalCame != 0; }

bool StopSignals::takeReload() const {
    const bool came = hangupCame != 0;
    hangupCame = 0;
    return came;
}

// The signals are held back from the look at the flags until the wait has begun, so that none slips in
// between.
void StopSignals::waitReadable(int fileDescriptor, std::chrono::milliseconds timeout) const {
    const sigset_t all = allSignals();
    sigset_t before;
    sigprocmask(SIG_BLOCK, &all, &before);
    sigset_t during = before;
    for (const int signal : signals)
        sigdelset(&during, signal);
    sigdelset(&during, SIGHUP);
    const bool waits = !stopped() && hangupCame == 0;
    const int error = waits ? waitWith(during, fileDescriptor, timeout) : 0;
    sigprocmask(SIG_SETMASK, &before, nullptr);
    if (error != 0)
        fail("wait for datagrams", error);
}

}  // namespace tool
