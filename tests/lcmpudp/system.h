// Stands between an endpoint's socket and the system: counts the calls, refuses some of them, and lets time
// pass without waiting for it.
#pragma once

#include <chrono>
#include <deque>
#include <functional>
#include <vector>

#include "lcmpUdpEndpoint.h"

/// Watches the socket that the endpoint has now, as long as it lives; calls on other sockets go through. One
/// at a time, one thread. A send that may wait is a failure of the test.
class System {
public:
    explicit System(const LcmpUdpEndpoint& endpoint);
    ~System();
    System(const System&) = delete;
    System& operator=(const System&) = delete;

    // Calls so far, refused ones included. A call for several datagrams counts once for each, and once for
    // finding no more.
    int receives = 0;
    int sends = 0;
    int waits = 0;
    int patientReceives = 0;     // those of the receives that wait
    std::vector<int> waitTimes;  // milliseconds, of either

    // Errors of the next calls, first come first served; 0 lets one through.
    std::deque<int> receiveErrors;
    std::deque<int> sendErrors;
    std::deque<int> waitErrors;

    bool cutsNextDatagram = false;
    bool hidesAskedAddress = false;

    // What happens on the other side: before a wait or a receive begins (both before one that waits), and after
    // something was sent.
    std::function<void()> onWait = [] {};
    std::function<void()> onReceive = [] {};
    std::function<void()> onSent = [] {};

    /// From now on the clock stands, and a wait in which nothing comes moves it by its time-out.
    void freezeTime();
    void advance(std::chrono::nanoseconds time) { m_time += time; }

    bool watches(int fileDescriptor) const { return fileDescriptor == m_socket; }
    bool timeIsFrozen() const { return m_frozen; }
    std::chrono::nanoseconds time() const { return m_time; }

private:
    int m_socket;
    bool m_frozen = false;
    std::chrono::nanoseconds m_time{0};
};
