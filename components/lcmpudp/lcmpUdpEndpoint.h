// A ready transport: a protocol endpoint on one IPv4 UDP socket. Derive from it as from the protocol endpoint, or
// use it as it is; call poll() in a loop, or drive it from any event loop by its file descriptor.
//
// Everything runs on the thread that calls; nothing here locks. Nothing throws but a failing `new`.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "lcmpProtocolBase.h"
#include "lcmpUdpAddress.h"

/// What has happened since the endpoint was made. Plain numbers that only grow; read them whenever you like.
struct LcmpUdpCounters {
    std::uint64_t received = 0;        ///< Datagrams taken from the socket, of every kind below.
    std::uint64_t handled = 0;         ///< Frames given to handleLcmpMsg, replies to own requests included.
    std::uint64_t sent = 0;            ///< Datagrams that the socket took.
    std::uint64_t notAllowed = 0;      ///< Dropped: the sender is not on the allow-list.
    std::uint64_t empty = 0;           ///< Dropped: no bytes.
    std::uint64_t truncated = 0;       ///< Dropped: longer than the receive buffer.
    std::uint64_t late = 0;            ///< Dropped: a response of the target that nobody waits for (any more).
    std::uint64_t foreign = 0;         ///< Dropped: a response from somebody else than the target.
    std::uint64_t kept = 0;            ///< Requests and events that came while a reply was awaited.
    std::uint64_t notKept = 0;         ///< Dropped: the same, when the queue was full.
    std::uint64_t requests = 0;        ///< Own requests.
    std::uint64_t retries = 0;         ///< Own requests sent again.
    std::uint64_t timeouts = 0;        ///< Own requests that ended without a reply.
    std::uint64_t notAnswered = 0;     ///< Error replies withheld: the broken frame was itself a response or event.
    std::uint64_t sendFailures = 0;    ///< Datagrams that the socket refused.
    std::uint64_t receiveFailures = 0; ///< Errors on receiving, passing ones (EINTR aside) included.
};

class LCMP_API LcmpUdpEndpoint : public LcmpProtocolBase {
public:
    using Clock = std::chrono::steady_clock;
    using Milliseconds = std::chrono::milliseconds;

    static constexpr std::uint16_t defaultPort = 17470;
    static constexpr std::size_t maxKept = 64;       // datagrams kept while a reply is awaited
    static constexpr int maxFramesPerTurn = 256;     // handled by one onReadable, so that timers get their turn

    LcmpUdpEndpoint();
    explicit LcmpUdpEndpoint(bool errorReplies);

    /// Closes the socket.
    ~LcmpUdpEndpoint() override;

    /// Opens and binds the socket. `address` is dotted ("0.0.0.0": all), port 0 takes a free one. False: what
    /// failed is in getLastError(), and the endpoint stays closed. An open one is closed first.
    bool open(const std::string& address, std::uint16_t port);

    /// Closes the socket and forgets datagrams that were kept. Harmless when it is closed.
    void close();

    /// The address and port the socket is bound to; zeros when closed.
    LcmpUdpAddress getLocalAddress() const { return m_local; }

    /// What the last call that failed ran into, in words: "bind 127.0.0.1:80: Permission denied".
    const std::string& getLastError() const { return m_lastError; }

    const LcmpUdpCounters& getCounters() const { return m_counters; }

    /// Who may send to this endpoint; see LcmpUdpAllowList::add. Looked at before a byte is decoded: nobody
    /// else gets an answer. The target's replies are taken whether it is listed or not.
    bool allow(const std::string& cidr);

    /// Where requests go. False: not a dotted address, or port 0.
    bool setTarget(const std::string& address, std::uint16_t port);

    /// How long the first try of a request waits for its reply (default 500 ms), and how often a request is
    /// sent at most (default 4). Each further try waits twice as long as the one before, give or take a
    /// quarter by chance, so that many controllers do not repeat in step. A time-out below 1 ms or less than
    /// one try counts as 1.
    void setTimeout(Milliseconds firstTry);
    void setTries(int tries);

    /// Also send events there. False: not a dotted address, or port 0. Events go to every receiver added.
    bool addEventReceiver(const std::string& address, std::uint16_t port);

    /// Runs eventHandler every `period` from now on, from poll and onDeadline; 0 (the default) does not.
    void setEventPeriod(Milliseconds period);

    /// Handles what has arrived and runs what is due; when there is nothing, waits until there is, at most
    /// `timeout` (negative: for ever). Returns the number of frames handled, or -1 when the socket failed
    /// (getLastError()). A signal ends the wait early, with 0.
    int poll(Milliseconds timeout);

    // For an event loop of another kind: wait until the file descriptor is readable or millisecondsToDeadline
    // have passed, then call onReadable or onDeadline. Calling either too often does no harm.

    /// Of the socket, or -1. Belongs to the endpoint; do not read, write or close it.
    int getFileDescriptor() const { return m_socket; }

    /// Handles the datagrams that are there, at most maxFramesPerTurn of them, without waiting. As poll.
    int onReadable();

    /// Runs eventHandler if its time has come, and handles what was kept while a reply was awaited. As poll.
    int onDeadline();

    /// Time until onDeadline has something to do, rounded up: 0 for now, -1 for never.
    int millisecondsToDeadline() const;

    /// The transport. A request waits for its reply as setTimeout and setTries say; what else arrives is
    /// kept and handled later, never inside the wait. A response goes to the peer whose frame is being
    /// handled. An event goes to every receiver; false if there is none or one send failed.
    bool sendMessage(LCMPMessage* msg) override;

private:
    // (transport's author: complete)
    int m_socket = -1;
    LcmpUdpAddress m_local;
    std::string m_lastError;
    LcmpUdpCounters m_counters;
};
