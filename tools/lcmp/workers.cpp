#include "workers.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/epoll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <iostream>
#include <limits>

#include "exitStatus.h"

namespace tool {
namespace {

constexpr std::uint64_t included = std::numeric_limits<std::uint64_t>::max();
constexpr int endedWithoutResult = 1;

[[noreturn]] void fail(const char* attempt) {
    throw Failure(ExitStatus::localFailure, std::string(attempt) + ": " + std::strerror(errno));
}

void addTo(int epoll, int fileDescriptor, std::uint64_t number) {
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.u64 = number;
    if (epoll_ctl(epoll, EPOLL_CTL_ADD, fileDescriptor, &event) != 0)
        fail("wait for several");
}

// Both ends are on this machine and of this program: the length travels as it lies in memory.
void writeMessage(int pipe, const std::string& message) {
    const auto size = static_cast<std::uint32_t>(message.size());
    std::string bytes(sizeof size, '\0');
    std::memcpy(bytes.data(), &size, sizeof size);
    bytes += message;
    for (std::size_t written = 0; written < bytes.size();) {
        const ssize_t count = write(pipe, bytes.data() + written, bytes.size() - written);
        if (count < 0 && errno != EINTR)
            _exit(endedWithoutResult);
        written += count < 0 ? 0 : static_cast<std::size_t>(count);
    }
}

bool takeMessage(std::string& received, std::string& message) {
    std::uint32_t size = 0;
    if (received.size() < sizeof size)
        return false;
    std::memcpy(&size, received.data(), sizeof size);
    if (received.size() - sizeof size < size)
        return false;
    message = received.substr(sizeof size, size);
    received.erase(0, sizeof size + size);
    return true;
}

// Never comes back: what the starter has on its stack is the starter's to end.
[[noreturn]] void work(const Workers::Work& work, int pipe, pid_t starter) {
    // A terminal sends these to both. What becomes of them is for the starter to say, whose end is this
    // one's.
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        ::signal(signal, SIG_IGN);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != starter)
        _exit(endedWithoutResult);
    try {
        work([pipe](const std::string& message) { writeMessage(pipe, message); });
    } catch (...) {
        _exit(endedWithoutResult);
    }
    _exit(0);
}

}  // namespace

Workers::Workers() : m_epoll(epoll_create1(EPOLL_CLOEXEC)) {
    if (m_epoll < 0)
        fail("wait for several");
}

Workers::~Workers() {
    for (const auto& [number, worker] : m_workers)
        end(worker);
    close(m_epoll);
}

void Workers::start(std::size_t number, const Work& theWork) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0)
        fail("make a pipe");
    std::cout.flush();
    const pid_t starter = getpid();
    const pid_t process = fork();
    if (process == 0)
        work(theWork, ends[1], starter);
    const int error = errno;
    close(ends[1]);
    if (process < 0) {
        close(ends[0]);
        errno = error;
        fail("start a process");
    }
    m_workers[number] = {process, ends[0], ""};
    addTo(m_epoll, ends[0], number);
}

void Workers::include(int fileDescriptor) const { addTo(m_epoll, fileDescriptor, included); }

void Workers::take(int milliseconds, const Take& take) {
    std::array<epoll_event, 64> events{};
    const int count = epoll_wait(m_epoll, events.data(), static_cast<int>(events.size()), milliseconds);
    if (count < 0 && errno != EINTR)
        fail("wait for several");
    for (int i = 0; i < count; ++i) {
        const std::uint64_t number = events[static_cast<std::size_t>(i)].data.u64;
        if (number != included)
            takeFrom(static_cast<std::size_t>(number), take);
    }
}

void Workers::takeFrom(std::size_t number, const Take& take) {
    const auto found = m_workers.find(number);
    if (found == m_workers.end())
        return;
    std::array<char, 65536> buffer;
    const ssize_t count = read(found->second.pipe, buffer.data(), buffer.size());
    if (count < 0 && errno == EINTR)
        return;
    if (count <= 0) {
        end(found->second);
        m_workers.erase(found);
        return take(number, std::nullopt);
    }
    std::string& received = found->second.received;
    received.append(buffer.data(), static_cast<std::size_t>(count));
    for (std::string message; takeMessage(received, message);)
        take(number, message);
}

void Workers::end(const Worker& worker) {
    close(worker.pipe);
    kill(worker.process, SIGKILL);
    while (waitpid(worker.process, nullptr, 0) < 0 && errno == EINTR) {
    }
}

}  // namespace tool
