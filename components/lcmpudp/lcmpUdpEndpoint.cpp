#include "lcmpUdpEndpoint.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <utility>

#include "detail/datagramBatch.h"
#include "detail/frameHeader.h"
#include "detail/udpExchange.h"
#include "detail/udpSocket.h"

namespace {

// As long as the longest datagram there is, so that none is ever cut.
constexpr std::size_t receiveBufferSize = 65535;

constexpr auto never = LcmpUdpEndpoint::Clock::time_point::max();

// Different for endpoints of one process, of one moment and of one program started twice.
std::minstd_rand::result_type seedOf(const void* endpoint) {
    const auto ticks = static_cast<std::uint64_t>(LcmpUdpEndpoint::Clock::now().time_since_epoch().count());
    const std::uint64_t process = static_cast<std::uint64_t>(getpid()) << 16;
    const auto place = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(endpoint));
    return static_cast<std::minstd_rand::result_type>(ticks ^ (ticks >> 32) ^ process ^ (place >> 4));
}

// -1 for never, else rounded up: a wait that ends too early would only be repeated.
int millisecondsUntil(LcmpUdpEndpoint::Clock::time_point time, LcmpUdpEndpoint::Clock::time_point now) {
    if (time == never)
        return -1;
    const auto left = std::chrono::ceil<LcmpUdpEndpoint::Milliseconds>(time - now);
    return static_cast<int>(std::clamp<std::int64_t>(left.count(), 0, INT_MAX));
}

// Puts a pointer back to what it was when the block ends, however it ends.
template <typename T>
class Restored {
public:
    explicit Restored(T& place) : m_place(place), m_before(place) {}
    ~Restored() { m_place = m_before; }
    Restored(const Restored&) = delete;
    Restored& operator=(const Restored&) = delete;

private:
    T& m_place;
    T m_before;
};

}  // namespace

LcmpUdpEndpoint::LcmpUdpEndpoint() : LcmpUdpEndpoint(true) {}

LcmpUdpEndpoint::LcmpUdpEndpoint(bool errorReplies)
    : LcmpProtocolBase(errorReplies),
      m_random(seedOf(this)),
      m_inbox(std::make_unique<lcmpudpdetail::Inbox>(receiveBufferSize)),
      m_outbox(std::make_unique<lcmpudpdetail::Outbox>()) {}

LcmpUdpEndpoint::~LcmpUdpEndpoint() { close(); }

bool LcmpUdpEndpoint::open(const std::string& address, std::uint16_t port) {
    close();
    LcmpUdpAddress wanted{0, port};
    if (!lcmpUdpParseHost(address, wanted.host))
        return fail("open " + address, "not an IPv4 address");
    const lcmpudpdetail::Opening opening = lcmpudpdetail::openSocket(wanted);
    if (opening.error != 0)
        return fail(opening.attempt + (' ' + lcmpUdpToText(wanted)), opening.error);
    m_socket = opening.fileDescriptor;
    m_local = opening.bound;
    return true;
}

void LcmpUdpEndpoint::close() {
    if (m_socket < 0)
        return;
    sendOutbox();
    lcmpudpdetail::closeSocket(m_socket);
    m_socket = -1;
    m_local = {};
    m_kept.clear();
    m_inbox->clear();
    ++m_closings;
}

bool LcmpUdpEndpoint::allow(const std::string& cidr) {
    return m_allowed.add(cidr) || fail("allow " + cidr, "not a block of IPv4 addresses");
}

bool LcmpUdpEndpoint::setTarget(const std::string& address, std::uint16_t port) {
    return parsePeer("target ", address, port, m_target);
}

void LcmpUdpEndpoint::setTimeout(Milliseconds firstTry) {
    m_firstTry = std::clamp(firstTry, Milliseconds(1), longestWait);
}

void LcmpUdpEndpoint::setTries(int tries) { m_tries = std::max(tries, 1); }

bool LcmpUdpEndpoint::addEventReceiver(const std::string& address, std::uint16_t port) {
    LcmpUdpAddress receiver;
    if (!parsePeer("event receiver ", address, port, receiver))
        return false;
    if (std::find(m_receivers.begin(), m_receivers.end(), receiver) == m_receivers.end())
        m_receivers.push_back(receiver);
    return true;
}

void LcmpUdpEndpoint::setEventPeriod(Milliseconds period) {
    m_eventPeriod = std::clamp(period, Milliseconds(0), longestWait);
    m_nextEvent = Clock::now() + m_eventPeriod;
}

int LcmpUdpEndpoint::poll(Milliseconds timeout) {
    auto now = Clock::now();
    const auto end = timeout.count() < 0 ? never : now + std::min(timeout, longestWait);
    const auto due = std::min(end, nextEvent());
    // Where requests come one after the other, a look before the wait would nearly always be for nothing.
    const bool waitsAtOnce = m_inbox->expectsMore() && now < due && m_socket >= 0 && !holdsDatagrams();
    int handled = waitsAtOnce ? 0 : takeTurn(maxFramesPerTurn);
    bool ran = !waitsAtOnce && runEventHandlerIfDue(now);
    while (handled == 0 && !ran && m_socket >= 0 && now < end) {
        const Slept slept = waitForMore(due, now);
        if (slept != Slept::through)
            return slept == Slept::interrupted ? 0 : -1;
        // One datagram is known to be there; asking for a second would nearly always be for nothing.
        handled = takeTurn(std::max(m_inbox->size(), 1));
        m_inbox->expectMore(handled > 0);
        if (handled != 0)
            break;
        now = Clock::now();
        ran = runEventHandlerIfDue(now);
    }
    return handled;
}

int LcmpUdpEndpoint::onReadable() { return takeTurn(maxFramesPerTurn); }

int LcmpUdpEndpoint::takeTurn(int most) {
    if (m_socket < 0) {
        fail("poll", "the endpoint is closed");
        return -1;
    }
    const int handled = takeDatagrams(most);
    sendOutbox();
    return handled;
}

int LcmpUdpEndpoint::takeDatagrams(int most) {
    int handled = 0;
    bool drained = false;
    for (int turn = 0; turn < most && m_socket >= 0; ++turn) {
        if (turn > 0 && !holdsDatagrams()) {
            if (drained)
                break;
            if (m_inbox->isWorthFilling()) {
                drained = !m_inbox->fill(m_socket, most - turn, m_local.host == 0);
                if (m_inbox->empty())
                    break;
            }
        }
        const Taken taken = takeNext();
        if (taken == Taken::failed)
            return -1;
        if (taken == Taken::nothing)
            break;
        if (taken == Taken::datagram)
            ++handled;
    }
    return handled;
}

bool LcmpUdpEndpoint::holdsDatagrams() const { return !m_kept.empty() || !m_inbox->empty(); }

// Handles the oldest of those at hand, or one from the socket.
LcmpUdpEndpoint::Taken LcmpUdpEndpoint::takeNext() {
    if (!m_kept.empty()) {
        handleKept();
        return Taken::datagram;
    }
    Datagram datagram;
    const Taken taken = receive(datagram);
    return taken == Taken::datagram && !handleReceived(datagram) ? Taken::dropped : taken;
}

int LcmpUdpEndpoint::onDeadline() {
    if (m_socket < 0) {
        fail("poll", "the endpoint is closed");
        return -1;
    }
    int handled = 0;
    for (int turn = 0; turn < maxFramesPerTurn && holdsDatagrams(); ++turn)
        handled += takeNext() == Taken::datagram ? 1 : 0;
    sendOutbox();
    runEventHandlerIfDue(Clock::now());
    return handled;
}

int LcmpUdpEndpoint::millisecondsToDeadline() const {
    if (m_socket < 0)
        return -1;
    return holdsDatagrams() ? 0 : millisecondsUntil(nextEvent(), Clock::now());
}

void LcmpUdpEndpoint::frameReceived(const LcmpUdpAddress& /*from*/, const char* /*data*/, int /*size*/) {}

LcmpUdpEndpoint::Taken LcmpUdpEndpoint::receive(Datagram& datagram) {
    if (m_receiveBuffer == nullptr)
        m_receiveBuffer.reset(new char[receiveBufferSize]);
    const lcmpudpdetail::Receipt receipt =
        m_inbox->empty() ? lcmpudpdetail::receiveDatagram(m_socket, m_receiveBuffer.get(), receiveBufferSize,
                                                          m_local.host == 0)
                         : m_inbox->take(m_receiveBuffer);
    if (receipt.error != 0)
        return receiveFailed(receipt.error);
    ++m_counters.received;
    datagram = {receipt.from, receipt.asked, receipt.size};
    if (!isAllowed(datagram)) {
        ++m_counters.notAllowed;
        return Taken::dropped;
    }
    if (receipt.truncated) {
        ++m_counters.truncated;
        return Taken::dropped;
    }
    if (receipt.size == 0) {
        ++m_counters.empty;
        return Taken::dropped;
    }
    return Taken::datagram;
}

LcmpUdpEndpoint::Taken LcmpUdpEndpoint::receiveFailed(int error) {
    if (lcmpudpdetail::isNothingThere(error))
        return Taken::nothing;
    ++m_counters.receiveFailures;
    if (lcmpudpdetail::isPassing(error))
        return Taken::dropped;
    fail("receive on " + lcmpUdpToText(m_local), error);
    return Taken::failed;
}

bool LcmpUdpEndpoint::isTarget(const LcmpUdpAddress& peer) const {
    return m_target.port != 0 && peer == m_target;
}

bool LcmpUdpEndpoint::isAllowed(const Datagram& datagram) const {
    if (m_allowed.contains(datagram.peer.host))
        return true;
    return isTarget(datagram.peer) &&
           lcmpudpdetail::readFrameHeader(m_receiveBuffer.get(), datagram.size).isResponse();
}

// False: a response that nobody waits for. It must not come to handleLcmpMsg, which would take its values.
bool LcmpUdpEndpoint::handleReceived(const Datagram& datagram) {
    const auto header = lcmpudpdetail::readFrameHeader(m_receiveBuffer.get(), datagram.size);
    if (header.spoken && header.isResponse()) {
        countStray(datagram.peer);
        return false;
    }
    // Out of the endpoint while the frame is handled: a hook may receive, too.
    Buffer buffer = std::move(m_receiveBuffer);
    handleFrame(datagram, buffer.get());
    m_receiveBuffer = std::move(buffer);
    return true;
}

void LcmpUdpEndpoint::handleKept() {
    const Kept kept = std::move(m_kept.front());
    m_kept.pop_front();
    handleFrame(kept.datagram, kept.bytes.data());
}

void LcmpUdpEndpoint::handleFrame(const Datagram& datagram, const char* bytes) {
    const bool answerless = lcmpudpdetail::readFrameHeader(bytes, datagram.size).isAnswerless();
    const Served served{datagram.peer, datagram.asked, answerless, m_closings};
    const Restored<const Served*> restored(m_served);
    m_served = &served;
    ++m_counters.handled;
    const int size = static_cast<int>(datagram.size);
    frameReceived(datagram.peer, bytes, size);
    if (m_peerText.empty() || m_peerTextHost != datagram.peer.host) {
        m_peerText = lcmpUdpHostToText(datagram.peer.host);
        m_peerTextHost = datagram.peer.host;
    }
    handleLcmpMsg(size, bytes, m_peerText.c_str());
}

void LcmpUdpEndpoint::countStray(const LcmpUdpAddress& peer) {
    ++(isTarget(peer) ? m_counters.late : m_counters.foreign);
}

void LcmpUdpEndpoint::keep(const Datagram& datagram) {
    if (m_kept.size() >= maxKept) {
        ++m_counters.notKept;
        return;
    }
    m_kept.push_back({datagram, std::string(m_receiveBuffer.get(), datagram.size)});
    ++m_counters.kept;
}

bool LcmpUdpEndpoint::runEventHandlerIfDue(Clock::time_point now) {
    if (m_eventPeriod.count() == 0 || m_socket < 0 || now < m_nextEvent)
        return false;
    // In step with the first run, unless a whole period was missed.
    m_nextEvent += m_eventPeriod;
    if (m_nextEvent <= now)
        m_nextEvent = now + m_eventPeriod;
    eventHandler();
    return true;
}

LcmpUdpEndpoint::Clock::time_point LcmpUdpEndpoint::nextEvent() const {
    return m_eventPeriod.count() == 0 ? never : m_nextEvent;
}

// As waitUntil; what came may be in the inbox already.
LcmpUdpEndpoint::Slept LcmpUdpEndpoint::waitForMore(Clock::time_point time, Clock::time_point now) {
    if (!m_inbox->expectsMore())
        return waitUntil(time, now);
    const int error = m_inbox->await(m_socket, millisecondsUntil(time, now), m_local.host == 0);
    if (error == 0)
        return Slept::through;
    return error == EINTR ? Slept::interrupted : waitUntil(time, Clock::now());
}

LcmpUdpEndpoint::Slept LcmpUdpEndpoint::waitUntil(Clock::time_point time, Clock::time_point now) {
    const int error = lcmpudpdetail::awaitReadable(m_socket, millisecondsUntil(time, now));
    if (error == EINTR)
        return Slept::interrupted;
    if (error == 0 || lcmpudpdetail::isPassing(error))
        return Slept::through;
    fail("wait on " + lcmpUdpToText(m_local), error);
    return Slept::failed;
}

bool LcmpUdpEndpoint::parsePeer(const char* what, const std::string& address, std::uint16_t port,
                                LcmpUdpAddress& peer) {
    std::uint32_t host = 0;
    if (!lcmpUdpParseHost(address, host))
        return fail(what + address, "not an IPv4 address");
    if (port == 0)
        return fail(what + address, "nothing can be sent to port 0");
    peer = {host, port};
    return true;
}

bool LcmpUdpEndpoint::fail(const std::string& attempt, const char* reason) {
    m_lastError = attempt + ": " + reason;
    return false;
}

bool LcmpUdpEndpoint::fail(const std::string& attempt, int error) {
    return fail(attempt, std::strerror(error));
}
