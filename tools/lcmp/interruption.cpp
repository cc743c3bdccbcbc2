#include "interruption.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "exitStatus.h"

namespace tool {
namespace {

constexpr std::array<int, 2> signals = {SIGINT, SIGTERM};

volatile sig_atomic_t signalCame = 0;
volatile sig_atomic_t waitedOn = -1;
volatile sig_atomic_t nothing = -1;  // /dev/null

// A flag alone would be seen only when the wait, which may begin after it was set, is over.
extern "C" void onInterruption(int signal) {
    const int before = errno;
    signalCame = signal;
    dup2(nothing, waitedOn);
    errno = before;
}

}  // namespace

Interruption::Interruption(int socket) {
    signalCame = 0;
    waitedOn = socket;
    nothing = open("/dev/null", O_RDWR | O_CLOEXEC);
    if (nothing < 0)
        throw Failure(ExitStatus::localFailure, std::string("open /dev/null: ") + std::strerror(errno));
    struct sigaction action = {};
    action.sa_handler = onInterruption;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    for (const int signal : signals)
        sigaction(signal, &action, nullptr);
}

Interruption::~Interruption() {
    for (const int signal : signals)
        ::signal(signal, SIG_DFL);
    close(nothing);
}

bool Interruption::came() const { return signalCame != 0; }

void Interruption::endProcess() const {
    if (!came())
        return;
    ::signal(signalCame, SIG_DFL);
    raise(signalCame);
}

}  // namespace tool
