// A bad network between real sockets: stands between controllers and a card, and does to their datagrams what
// a seed says. Linux only: it waits with epoll.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "faults.h"
#include "lcmpUdpEndpoint.h"

/// One way for each controller: a port that the controller takes for the card, and a socket that the card
/// takes for the controller. Everything happens in the calls; one thread.
class Proxy {
public:
    /// Throws when a socket cannot be had.
    Proxy(const Faults& faults, unsigned int ways, const LcmpUdpAddress& card);
    ~Proxy();
    Proxy(const Proxy&) = delete;
    Proxy& operator=(const Proxy&) = delete;

    /// Where the controller of this way sends to.
    LcmpUdpAddress front(unsigned int way) const { return m_ways[way].front; }

    /// Readable when something has come; belongs to the proxy.
    int getFileDescriptor() const { return m_epoll; }

    /// Takes what has come, and sends on what is due.
    void run();

    /// Until something is due: 0 for now, -1 when nothing is on its way.
    int millisecondsToDue() const;

    const FaultCounts& counts() const { return m_faults.counts(); }

private:
    using Clock = std::chrono::steady_clock;

    struct Way {
        int frontSocket = -1;
        int backSocket = -1;
        LcmpUdpAddress front;
        LcmpUdpAddress controller;  // who sent to the front last
    };

    struct Copy {
        Clock::time_point due;
        std::uint64_t number;
        std::size_t way;
        bool toCard;
        std::string bytes;
        bool operator<(const Copy& other) const {
            return due != other.due ? due > other.due : number > other.number;
        }
    };

    void addWay(const LcmpUdpAddress& card);
    void watch(int socket, std::size_t way, bool front) const;
    void receive(std::size_t way, bool front);
    void accept(std::size_t way, bool toCard, const char* bytes, std::size_t size);
    void send(const Copy& copy) const;

    Faults m_faults;
    int m_epoll;
    std::vector<Way> m_ways;
    std::vector<Copy> m_copies;  // a heap: the next on top
    std::uint64_t m_number = 0;
};
