#include "system.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <time.h>

#include <cerrno>

namespace {

System* current = nullptr;

System* watching(int fileDescriptor) {
    return current != nullptr && current->watches(fileDescriptor) ? current : nullptr;
}

template <typename Function>
Function* next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

int takeError(std::deque<int>& errors) {
    if (errors.empty())
        return 0;
    const int error = errors.front();
    errors.pop_front();
    return error;
}

int realPoll(pollfd* sockets, nfds_t count, int milliseconds) {
    static const auto real = next<int(pollfd*, nfds_t, int)>("poll");
    return real(sockets, count, milliseconds);
}

int waitFrozen(System& system, pollfd* sockets, nfds_t count, int milliseconds) {
    const int ready = realPoll(sockets, count, 0);
    if (ready != 0)
        return ready;
    if (milliseconds < 0) {
        ADD_FAILURE() << "waits for ever, and nothing comes";
        errno = EINTR;
        return -1;
    }
    system.advance(LcmpUdpEndpoint::Milliseconds(milliseconds));
    return 0;
}

int limitOf(int fileDescriptor) {
    timeval limit{};
    socklen_t size = sizeof limit;
    EXPECT_EQ(getsockopt(fileDescriptor, SOL_SOCKET, SO_RCVTIMEO, &limit, &size), 0);
    return static_cast<int>(limit.tv_sec * 1000 + limit.tv_usec / 1000);
}

// A receive that waits, `receive(flags)`: what happens on the other side happens first, and frozen time
// passes.
template <typename Receive>
ssize_t receivePatiently(System& system, int fileDescriptor, int flags, Receive receive) {
    if ((flags & MSG_DONTWAIT) != 0)
        return receive(flags);
    const int limit = limitOf(fileDescriptor);
    ++system.patientReceives;
    system.waitTimes.push_back(limit);
    system.onWait();
    if (!system.timeIsFrozen())
        return receive(flags);
    const ssize_t received = receive(flags | MSG_DONTWAIT);
    if (received < 0 && errno == EAGAIN)
        system.advance(LcmpUdpEndpoint::Milliseconds(limit));
    return received;
}

// What goes wrong before a receive is tried; 0: nothing.
int beforeReceive(System& system) {
    ++system.receives;
    system.onReceive();
    return takeError(system.receiveErrors);
}

}  // namespace

// The endpoint's calls end here: a definition in the program comes before the C library's.
#define INTERPOSED extern "C" __attribute__((visibility("default")))

INTERPOSED ssize_t recvmsg(int fileDescriptor, msghdr* message, int flags) {
    static const auto real = next<ssize_t(int, msghdr*, int)>("recvmsg");
    System* const system = watching(fileDescriptor);
    if (system == nullptr)
        return real(fileDescriptor, message, flags);
    const int error = beforeReceive(*system);
    if (error != 0) {
        errno = error;
        return -1;
    }
    const ssize_t received = receivePatiently(*system, fileDescriptor, flags, [&](int withFlags) {
        return real(fileDescriptor, message, withFlags);
    });
    if (received >= 0 && system->cutsNextDatagram) {
        message->msg_flags |= MSG_TRUNC;
        system->cutsNextDatagram = false;
    }
    if (received >= 0 && system->hidesAskedAddress)
        message->msg_controllen = 0;
    return received;
}

INTERPOSED ssize_t recvfrom(int fileDescriptor, void* buffer, std::size_t size, int flags, sockaddr* from,
                            socklen_t* fromSize) {
    static const auto real = next<ssize_t(int, void*, std::size_t, int, sockaddr*, socklen_t*)>("recvfrom");
    System* const system = watching(fileDescriptor);
    if (system == nullptr)
        return real(fileDescriptor, buffer, size, flags, from, fromSize);
    const int error = beforeReceive(*system);
    if (error != 0) {
        errno = error;
        return -1;
    }
    const ssize_t received = receivePatiently(*system, fileDescriptor, flags, [&](int withFlags) {
        return real(fileDescriptor, buffer, size, withFlags, from, fromSize);
    });
    if (received < 0 || !system->cutsNextDatagram)
        return received;
    system->cutsNextDatagram = false;
    return (flags & MSG_TRUNC) != 0 ? static_cast<ssize_t>(size) + 1 : static_cast<ssize_t>(size);
}

INTERPOSED ssize_t sendto(int fileDescriptor, const void* data, std::size_t size, int flags,
                          const sockaddr* to, socklen_t toSize) {
    static const auto real =
        next<ssize_t(int, const void*, std::size_t, int, const sockaddr*, socklen_t)>("sendto");
    System* const system = watching(fileDescriptor);
    if (system == nullptr)
        return real(fileDescriptor, data, size, flags, to, toSize);
    ++system->sends;
    EXPECT_NE(flags & MSG_DONTWAIT, 0) << "a send may wait";
    const int error = takeError(system->sendErrors);
    if (error != 0) {
        errno = error;
        return -1;
    }
    const ssize_t sent = real(fileDescriptor, data, size, flags, to, toSize);
    const int sendError = errno;
    system->onSent();
    errno = sendError;
    return sent;
}

INTERPOSED ssize_t sendmsg(int fileDescriptor, const msghdr* message, int flags) {
    static const auto real = next<ssize_t(int, const msghdr*, int)>("sendmsg");
    System* const system = watching(fileDescriptor);
    if (system == nullptr)
        return real(fileDescriptor, message, flags);
    ++system->sends;
    EXPECT_NE(flags & MSG_DONTWAIT, 0) << "a send may wait";
    const int error = takeError(system->sendErrors);
    if (error != 0) {
        errno = error;
        return -1;
    }
    const ssize_t sent = real(fileDescriptor, message, flags);
    const int sendError = errno;
    system->onSent();
    errno = sendError;
    return sent;
}

// The calls for several datagrams: one after the other, each of them counted, up to the first that fails. Its
// error is told by the next call, when it is the first there.

namespace {

bool failsNext(const std::deque<int>& errors) { return !errors.empty() && errors.front() != 0; }

template <typename Call>
int oneByOne(mmsghdr* messages, unsigned int count, const std::deque<int>* errors, Call call) {
    for (unsigned int i = 0; i < count; ++i) {
        const bool toldLater = i > 0 && errors != nullptr && failsNext(*errors);
        const ssize_t length = toldLater ? -1 : call(&messages[i].msg_hdr);
        if (length < 0)
            return i > 0 ? static_cast<int>(i) : -1;
        messages[i].msg_len = static_cast<unsigned int>(length);
    }
    return static_cast<int>(count);
}

}  // namespace

INTERPOSED int recvmmsg(int fileDescriptor, mmsghdr* messages, unsigned int count, int flags,
                        timespec* /*timeout*/) {
    const System* const system = watching(fileDescriptor);
    return oneByOne(messages, count, system != nullptr ? &system->receiveErrors : nullptr,
                    [&](msghdr* message) {
                        const bool waits = (flags & MSG_WAITFORONE) != 0 && message == &messages->msg_hdr;
                        return recvmsg(fileDescriptor, message, waits ? 0 : MSG_DONTWAIT);
                    });
}

INTERPOSED int sendmmsg(int fileDescriptor, mmsghdr* messages, unsigned int count, int flags) {
    const System* const system = watching(fileDescriptor);
    return oneByOne(messages, count, system != nullptr ? &system->sendErrors : nullptr,
                    [&](msghdr* message) { return sendmsg(fileDescriptor, message, flags); });
}

// Under a name of its own here: the system's declaration says that nothing of the array is read.
INTERPOSED int pollOfTheTests(pollfd* sockets, nfds_t count, int milliseconds) __asm__("poll");

int pollOfTheTests(pollfd* sockets, nfds_t count, int milliseconds) {
    System* const system = count == 1 ? watching(sockets->fd) : nullptr;
    if (system == nullptr)
        return realPoll(sockets, count, milliseconds);
    ++system->waits;
    system->waitTimes.push_back(milliseconds);
    const int error = takeError(system->waitErrors);
    if (error != 0) {
        errno = error;
        return -1;
    }
    system->onWait();
    return system->timeIsFrozen() ? waitFrozen(*system, sockets, count, milliseconds)
                                  : realPoll(sockets, count, milliseconds);
}

INTERPOSED int clock_gettime(clockid_t clock, timespec* time) noexcept {
    static const auto real = next<int(clockid_t, timespec*)>("clock_gettime");
    if (current == nullptr || !current->timeIsFrozen() || clock != CLOCK_MONOTONIC)
        return real(clock, time);
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(current->time());
    time->tv_sec = static_cast<time_t>(seconds.count());
    time->tv_nsec = static_cast<long>((current->time() - seconds).count());
    return 0;
}

System::System(const LcmpUdpEndpoint& endpoint) : m_socket(endpoint.getFileDescriptor()) { current = this; }

System::~System() { current = nullptr; }

void System::freezeTime() {
    m_time = LcmpUdpEndpoint::Clock::now().time_since_epoch();
    m_frozen = true;
}
