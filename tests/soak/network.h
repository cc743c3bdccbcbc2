// A network without a system: sockets of this process, datagrams in virtual time, and faults from a seed. The
// endpoints above it are the real ones; what they ask the system for, sockets, waits and the clock, ends
// here.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "faults.h"
#include "lcmpUdpEndpoint.h"

/// One at a time, one thread. Every socket that is opened while it lives is one of its own, and the monotonic
/// clock is its clock: it moves only when somebody waits. Sockets are closed before it ends.
class Network {
public:
    using Duration = std::chrono::nanoseconds;

    explicit Network(const Faults& faults);
    ~Network();
    Network(const Network&) = delete;
    Network& operator=(const Network&) = delete;

    /// From now on the endpoint handles a datagram in the moment it arrives, inside of whoever waits.
    void serve(LcmpUdpEndpoint& endpoint);

    /// A request that the endpoint is going to send, by a number of its own: the datagrams that carry it, and
    /// the answers to them, are known by it.
    void asks(const LcmpUdpEndpoint& endpoint, std::uint64_t request);

    /// Which request the datagram belongs to that the endpoint received last.
    std::uint64_t answered(const LcmpUdpEndpoint& endpoint) const;

    /// Delivers all that is on its way.
    void settle();

    /// No more faults.
    void cease() { m_faults.cease(); }

    /// What somebody on the way does to a datagram, just before it arrives.
    std::function<void(const LcmpUdpAddress& to, std::string& bytes)> onArrival;

    Duration time() const { return m_time; }
    const FaultCounts& counts() const { return m_faults.counts(); }

    /// Copies that arrived at a socket after one that was sent to it later.
    std::uint64_t overtaken() const { return m_overtaken; }

    // ------------------------------------------------------------ what the system does for a socket

    bool owns(int fileDescriptor) const;
    int open();
    int bind(int fileDescriptor, const LcmpUdpAddress& address);
    LcmpUdpAddress address(int fileDescriptor) const;
    void close(int fileDescriptor);
    void send(int fileDescriptor, const char* bytes, std::size_t size, const LcmpUdpAddress& to);

    /// The size, or -1 when nothing is there.
    int receive(int fileDescriptor, char* buffer, std::size_t size, LcmpUdpAddress& from);

    /// Whether something is there, at the latest after so much time; negative: for ever, as long as anything
    /// is on its way.
    bool wait(int fileDescriptor, int milliseconds);

private:
    struct Datagram {
        LcmpUdpAddress from;
        LcmpUdpAddress to;
        std::uint64_t number;   // in the order of sending
        std::uint64_t request;  // which it carries or answers
        std::string bytes;
    };

    struct Socket {
        int fileDescriptor = -1;
        LcmpUdpAddress address;
        LcmpUdpEndpoint* server = nullptr;
        std::uint64_t asked = 0;     // the request that it sends
        std::uint64_t received = 0;  // the request of the datagram that it received last
        std::uint64_t latest = 0;    // the number of the datagram that was sent last, of those that arrived
        std::vector<std::size_t> inbox;  // places in m_datagrams
    };

    // A copy on its way.
    struct Arrival {
        Duration due;
        std::uint64_t number;
        std::size_t place;
        bool operator<(const Arrival& other) const {
            return due != other.due ? due > other.due : number > other.number;
        }
    };

    Socket& socketOf(int fileDescriptor);
    const Socket& socketOf(int fileDescriptor) const;
    Socket* socketAt(const LcmpUdpAddress& address);
    std::size_t freePlace();
    void deliver();
    void noteOrder(Socket& receiver, const Datagram& datagram);

    Faults m_faults;
    Duration m_time{std::chrono::hours(1)};
    std::vector<Socket> m_sockets;
    std::vector<Datagram> m_datagrams;  // places are used again, with their memory
    std::vector<std::size_t> m_free;
    std::vector<Arrival> m_arrivals;  // a heap: the next on top
    std::uint64_t m_arrivalNumber = 0;
    std::uint64_t m_sent = 0;
    std::uint64_t m_overtaken = 0;
};
