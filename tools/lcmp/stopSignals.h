// Ending a program that runs until it is told to stop.
#pragma once

#include <chrono>

namespace tool {

/// The shorter of two waits, of which a negative one is for ever.
std::chrono::milliseconds sooner(std::chrono::milliseconds one, std::chrono::milliseconds other);

/// While it lives, SIGINT and SIGTERM are a wish to stop instead of the end of the process; the second one
/// ends it as usual. One at a time in a process.
class StopSignals {
public:
    /// What SIGHUP is: the end of the process, or a wish to load again what was loaded.
    enum class Hangup { ends, reloads };

    explicit StopSignals(Hangup hangup = Hangup::ends);
    ~StopSignals();
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

    /// Whether a signal to stop has come.
    bool stopped() const;

    /// Whether SIGHUP has come since the last call.
    bool takeReload() const;

    /// Waits until the file descriptor is readable, a signal comes, or the time is over (negative: never). A
    /// signal that came before ends the wait at once. A Failure when the system cannot wait.
    void waitReadable(int fileDescriptor, std::chrono::milliseconds timeout) const;

private:
    Hangup m_hangup;
};

}  // namespace tool
