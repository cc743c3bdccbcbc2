#include "stopSignals.h"

#include <poll.h>
#include <signal.h>

#include <array>

namespace tool {
namespace {

constexpr std::array<int, 2> signals = {SIGINT, SIGTERM};

volatile sig_atomic_t signalCame = 0;

extern "C" void onStopSignal(int /*signal*/) { signalCame = 1; }

sigset_t stopSet() {
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : signals)
        sigaddset(&set, signal);
    return set;
}

}  // namespace

StopSignals::StopSignals() {
    signalCame = 0;
    struct sigaction action = {};
    action.sa_handler = onStopSignal;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    for (const int signal : signals)
        sigaction(signal, &action, nullptr);
}

StopSignals::~StopSignals() {
    for (const int signal : signals)
        ::signal(signal, SIG_DFL);
}

bool StopSignals::stopped() const { return signalCame != 0; }

// The signals are held back from the look at the flag until the wait has begun, so that none slips in
// between.
void StopSignals::waitReadable(int fileDescriptor, std::chrono::milliseconds timeout) const {
    const sigset_t stop = stopSet();
    sigset_t before;
    sigprocmask(SIG_BLOCK, &stop, &before);
    sigset_t during = before;
    for (const int signal : signals)
        sigdelset(&during, signal);
    if (!stopped()) {
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(timeout);
        const timespec limit = {seconds.count(), std::chrono::nanoseconds(timeout - seconds).count()};
        pollfd readable = {fileDescriptor, POLLIN, 0};
        ppoll(&readable, 1, timeout.count() < 0 ? nullptr : &limit, &during);
    }
    sigprocmask(SIG_SETMASK, &before, nullptr);
}

}  // namespace tool
