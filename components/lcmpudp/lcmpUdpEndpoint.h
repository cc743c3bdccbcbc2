// A ready transport: a protocol endpoint on one IPv4 UDP socket. Derive from it as from the protocol
// endpoint, or use it as it is; call poll() in a loop, or drive it from any event loop by its file
// descriptor.
//
// Everything runs on the thread that calls; nothing here locks. Nothing throws but a failing `new`. What runs
// inside a call (the endpoint's and the objects' hooks) may itself send requests, poll or close the endpoint.
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
    std::uint64_t received = 0;      ///< Datagrams taken from the socket, of every kind below.
    std::uint64_t handled = 0;       ///< Frames given to handleLcmpMsg, replies to own requests included.
    std::uint64_t sent = 0;          ///< Datagrams that the socket took.
    std::uint64_t notAllowed = 0;    ///< Dropped, before all else: the sender is not on the allow-list.
    std::uint64_t empty = 0;         ///< Dropped: no bytes.
    std::uint64_t truncated = 0;     ///< Dropped: longer than the receive buffer.
    std::uint64_t late = 0;          ///< Dropped: a response of the target that nobody waits for (any more).
    std::uint64_t foreign = 0;       ///< Dropped: a response from somebody else than the target.
    std::uint64_t kept = 0;          ///< Requests and events that came while a reply was awaited.
    std::uint64_t notKept = 0;       ///< Dropped: the same, when the queue was full.
    std::uint64_t requests = 0;      ///< Own requests.
    std::uint64_t retries = 0;       ///< Own requests sent again.
    std::uint64_t timeouts = 0;      ///< Own requests whose last try, too, had no reply in time.
    std::uint64_t notAnswered = 0;   ///< Error replies withheld: the broken frame was a response or event.
    std::uint64_t sendFailures = 0;  ///< Datagrams that the socket refused, for whatever reason.
    std::uint64_t receiveFailures = 0;  ///< Errors on receiving, passing ones (EINTR aside) included.
};

namespace lcmpudpdetail {
class Inbox;
class Outbox;
}  // namespace lcmpudpdetail

/// An endpoint on a UDP socket, closed until open.
class LCMP_API LcmpUdpEndpoint : public LcmpProtocolBase {
public:
    using Clock = std::chrono::steady_clock;         ///< Of all waits and deadlines.
    using Milliseconds = std::chrono::milliseconds;  ///< Unit of all durations here.

    static constexpr std::uint16_t defaultPort = 17470;  // where cards listen unless told otherwise
    static constexpr std::size_t maxKept = 64;           // datagrams kept while a reply is awaited
    static constexpr int maxFramesPerTurn = 256;  // datagrams taken by one onReadable: timers get their turn

    // Closed. The first one answers broken frames; see LcmpProtocolBase.
    LcmpUdpEndpoint();
    explicit LcmpUdpEndpoint(bool errorReplies);

    /// Closes the socket.
    ~LcmpUdpEndpoint() override;

    /// Opens and binds the socket. `address` is dotted ("0.0.0.0": all), port 0 takes a free one. False: what
    /// failed is in getLastError(), and the endpoint stays closed. An open one is closed first.
    bool open(const std::string& address, std::uint16_t port);

    /// Closes the socket and forgets datagrams that were kept. Harmless when it is closed. What the system
    /// says against closing is not told: the socket is gone all the same.
    void close();

    /// The address and port the socket is bound to; zeros when closed.
    LcmpUdpAddress getLocalAddress() const { return m_local; }

    /// What the last call that failed ran into, in words: "bind 127.0.0.1:80: Permission denied".
    const std::string& getLastError() const { return m_lastError; }

    /// What has happened since the endpoint was made.
    const LcmpUdpCounters& getCounters() const { return m_counters; }

    /// Who may send to this endpoint; see LcmpUdpAllowList::add. Looked at before a byte is decoded: nobody
    /// else gets an answer. The target's responses are taken whether it is listed or not.
    bool allow(const std::string& cidr);

    /// Where requests go. False: not a dotted address, or port 0.
    bool setTarget(const std::string& address, std::uint16_t port);

    // How long the first try of a request waits for its reply (default 500 ms), and how often a request is
    // sent at most (default 4). Each further try waits twice as long as the one before. A wait that another
    // try will follow is longer or shorter by up to a quarter, by chance, so that many controllers do not
    // repeat in step. A time-out below 1 ms or less than one try counts as 1. Here and below, a duration
    // beyond a year counts as a year.
    void setTimeout(Milliseconds firstTry);
    void setTries(int tries);

    /// Also send events there. False: not a dotted address, or port 0. Events go to every receiver added,
    /// once to each.
    bool addEventReceiver(const std::string& address, std::uint16_t port);

    /// Runs eventHandler every `period` from now on, from poll and onDeadline; 0 (the default) does not. Runs
    /// that came too late are not made up for.
    void setEventPeriod(Milliseconds period);

    /// Handles what has arrived and runs what is due; when there is nothing, waits until there is, at most
    /// `timeout` (negative: for ever), and handles what came first. Returns the number of frames handled, 0
    /// when the time is over or eventHandler was all there was to do, or -1 when the socket failed or is
    /// closed (getLastError()). A signal ends the wait early, with 0. A response that could not be sent is
    /// counted, and is no failure of the socket.
    int poll(Milliseconds timeout);

    // For an event loop of another kind: wait until the file descriptor is readable (by level, not by edge: a
    // turn may leave datagrams behind) or millisecondsToDeadline have passed, then call onReadable or
    // onDeadline. Calling either too often does no harm.

    /// Of the socket, or -1. Belongs to the endpoint; do not read, write or close it.
    int getFileDescriptor() const { return m_socket; }

    /// Handles the datagrams that are there, those first that were kept while a reply was awaited, at most
    /// maxFramesPerTurn of them, without waiting. Returns as poll.
    int onReadable();

    /// Handles what was kept while a reply was awaited, and runs eventHandler if its time has come. Returns
    /// as poll.
    int onDeadline();

    /// Time until onDeadline has something to do, rounded up: 0 for now, -1 for never (or closed).
    int millisecondsToDeadline() const;

    /// The transport. A request waits for its reply as setTimeout and setTries say; what else arrives is
    /// kept and handled later, never inside the wait. A response goes to the peer whose frame is being
    /// handled, from the address that the peer asked; false when there is none, and when the frame is itself
    /// a response or event, which are never answered. An event goes to every receiver; false if there is
    /// none or one send failed. Every false leaves its reason in getLastError().
    /// Responses to frames that were received together leave together: one that the socket refuses then is
    /// counted and told by getLastError(), and true was returned.
    bool sendMessage(LCMPMessage* msg) override;

    /// Sends bytes as they are, past the protocol: for tools that try what peers make of them. False: closed,
    /// or the socket did not take them (getLastError()).
    bool sendBytes(const LcmpUdpAddress& to, const char* data, std::size_t size);

    /// Hook: runs before each frame is handled, whatever it holds and whoever is served by it. `data` is
    /// valid during the call. The reply to an own request comes by here too, when its wait is over. Base:
    /// nothing.
    virtual void frameReceived(const LcmpUdpAddress& from, const char* data, int size);

private:
    static constexpr Milliseconds longestWait = std::chrono::hours(24 * 365);

    using Buffer = std::unique_ptr<char[]>;

    // A datagram without its bytes, which are in the receive buffer or in the queue.
    struct Datagram {
        LcmpUdpAddress peer;
        std::uint32_t asked = 0;  // the address of ours that it was sent to
        std::size_t size = 0;
    };

    struct Kept {
        Datagram datagram;
        std::string bytes;
    };

    // A message as it is sent.
    struct Frame {
        Buffer bytes;
        std::size_t size;
    };

    struct Served;      // whose frame is being handled
    struct ReplyMatch;  // which reply is awaited

    enum class Taken { nothing, dropped, datagram, failed };
    enum class Waited { replied, timedOut, failed };
    enum class Slept { through, interrupted, failed };

    int takeTurn(int most);
    int takeDatagrams(int most);
    bool holdsDatagrams() const;
    Taken takeNext();
    Taken receive(Datagram& datagram);
    bool isTarget(const LcmpUdpAddress& peer) const;
    bool isAllowed(const Datagram& datagram) const;
    Taken receiveFailed(int error);
    bool handleReceived(const Datagram& datagram);
    void handleKept();
    void handleFrame(const Datagram& datagram, const char* bytes);
    void countStray(const LcmpUdpAddress& peer);
    void keep(const Datagram& datagram);

    bool runEventHandlerIfDue(Clock::time_point now);
    Clock::time_point nextEvent() const;
    Slept waitForMore(Clock::time_point time, Clock::time_point now);
    Slept waitUntil(Clock::time_point time, Clock::time_point now);

    bool sendAny(LCMPMessage* msg, Frame& frame);
    bool encode(const LCMPMessage& msg, Frame& frame);
    bool sendRequestFrame(const LCMPMessage& msg, Frame& frame);
    bool exchange(const ReplyMatch& match, const Frame& frame);
    Waited awaitReply(const ReplyMatch& match, Clock::time_point deadline);
    bool isReply(const ReplyMatch& match, const Datagram& datagram) const;
    void sortAside(const Datagram& datagram);
    bool takeReply();
    Clock::duration withJitter(Milliseconds wait);
    bool sendResponseFrame(const LCMPMessage& msg, Frame& frame);
    bool sendEventFrame(const LCMPMessage& msg, Frame& frame);
    int transmit(const Frame& frame, const LcmpUdpAddress& to, std::uint32_t from);
    int transmit(const char* data, std::size_t size, const LcmpUdpAddress& to, std::uint32_t from);
    void sendOutbox();
    void emptyOutbox();
    void countUnsent(const LcmpUdpAddress& to, int error);

    bool parsePeer(const char* what, const std::string& address, std::uint16_t port, LcmpUdpAddress& peer);
    bool fail(const std::string& attempt, const char* reason);
    bool fail(const std::string& attempt, int error);

    int m_socket = -1;
    LcmpUdpAddress m_local;
    std::string m_lastError;
    LcmpUdpCounters m_counters;
    LcmpUdpAllowList m_allowed;
    LcmpUdpAddress m_target;  // port 0: none
    std::vector<LcmpUdpAddress> m_receivers;
    Milliseconds m_firstTry{500};
    int m_tries = 4;
    Milliseconds m_eventPeriod{0};
    Clock::time_point m_nextEvent;
    std::deque<Kept> m_kept;
    const Served* m_served = nullptr;
    unsigned int m_closings = 0;  // tells a response to a frame of an earlier opening
    Buffer m_receiveBuffer;       // lent to the frame that is being handled
    Buffer m_sendBuffer;          // lent to the message that is being sent
    std::minstd_rand m_random;
    std::unique_ptr<lcmpudpdetail::Inbox> m_inbox;    // received together, not yet handled
    std::unique_ptr<lcmpudpdetail::Outbox> m_outbox;  // responses to such, not yet sent
    std::string m_peerText;  // of the peer whose frame was handled last: it comes again
    std::uint32_t m_peerTextHost = 0;
};
