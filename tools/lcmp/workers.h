// Work in processes of its own. A request waits for its answer, and the library's state belongs to one thread
// of one process: what shall be asked at the same time is asked by several processes.
#pragma once

#include <sys/types.h>

#include <functional>
#include <map>
#include <optional>
#include <string>

namespace tool {

/// How many cards a program may talk to that keeps a process for each of them.
constexpr std::size_t maxOfTheirOwnProcess = 256;

/// The processes that work for this one. They end with it, and by no signal that a terminal sends. One
/// thread.
class Workers {
public:
    /// Hands a message to the process that started the worker.
    using Send = std::function<void(const std::string&)>;

    /// Runs in the new process, which ends after it, or when it throws.
    using Work = std::function<void(const Send&)>;

    /// Receives a message of the worker with this number, or none: that worker has ended.
    using Take = std::function<void(std::size_t number, const std::optional<std::string>& message)>;

    /// A Failure of status `localFailure` when the system does not let it.
    Workers();

    /// Ends the processes that still work.
    ~Workers();

    Workers(const Workers&) = delete;
    Workers& operator=(const Workers&) = delete;

    /// Starts a process. `number` is nobody else's. What is in the buffer of standard output is written
    /// before. A Failure of status `localFailure` when there is no process to be had.
    void start(std::size_t number, const Work& work);

    std::size_t running() const { return m_workers.size(); }

    /// Is readable when there is something to take, or when an included file descriptor is readable.
    int fileDescriptor() const { return m_epoll; }
    void include(int fileDescriptor) const;

    /// Takes what is there, after a wait for it of at most so long (negative: for ever).
    void take(int milliseconds, const Take& take);

private:
    struct Worker {
        pid_t process;
        int pipe;
        std::string received;  // of a message that is not whole
    };

    void takeFrom(std::size_t number, const Take& take);
    static void end(const Worker& worker);

    int m_epoll;
    std::map<std::size_t, Worker> m_workers;
};

}  // namespace tool
