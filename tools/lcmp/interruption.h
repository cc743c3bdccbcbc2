// Ctrl-C while a card is asked: the wait for its answer ends at once, and what was read can still be printed.
#pragma once

namespace tool {

/// While it lives, the first SIGINT or SIGTERM takes the socket out of use, so that whatever waits on it
/// fails; the second one ends the process as usual. One at a time in a process.
class Interruption {
public:
    /// The descriptor stays open for as long as this lives.
    explicit Interruption(int socket);
    ~Interruption();
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;

    /// Whether a signal has come.
    bool came() const;

    /// Ends the process by the signal that came, so that the shell that started it sees what happened;
    /// nothing where none did. Output that is to be seen has been flushed.
    void endProcess() const;
};

}  // namespace tool
