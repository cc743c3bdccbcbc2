#include "stopSignals.h"

#include <poll.h>
#include <signal.h>

#include <array>

namespace tool {
namespace {

constexpr std::array<int, 2> signals = {SIGINT, SIGTERM};

volatile sig_atomic_t signalCame = 0;
volatile sig_atomic_t hangupCame = 0;

extern "C" void onStopSignal(int) { signalCame = 1; }

extern "C" void onHangup(int) { hangupCame = 1; }

sigset_t allSignals() {
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : signals)
        sigaddset(&set, signal);
    sigaddset(&set, SIGHUP);
    return set;
}

}  // namespace

StopSignals::StopSignals(Hangup hangup) : m_hangup(hangup) {
    signalCame = 0;
    hangupCame = 0;
    struct sigaction action = {};
    action.sa_handler = onStopSignal;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    for (const int signal : signals)
        sigaction(signal, &action, nullptr);
    if (m_hangup == Hangup::ends)
        return;
    action.sa_handler = onHangup;
    action.sa_flags = 0;
    sigaction(SIGHUP, &action, nullptr);
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
    if (!stopped() && hangupCame == 0) {
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(timeout);
        const timespec limit = {seconds.count(), std::chrono::nanoseconds(timeout - seconds).count()};
        pollfd readable = {fileDescriptor, POLLIN, 0};
        ppoll(&readable, 1, timeout.count() < 0 ? nullptr : &limit, &during);
    }
    sigprocmask(SIG_SETMASK, &before, nullptr);
}

}  // namespace tool
