// The way out: responses, events, and requests with the wait for their reply.
#include <algorithm>
#include <typeinfo>
#include <utility>

#include "detail/datagramBatch.h"
#include "detail/frameHeader.h"
#include "detail/udpExchange.h"
#include "detail/udpSocket.h"
#include "lcmpUdpEndpoint.h"

namespace {

constexpr int maxFrame = 65507;  // bytes of a datagram, after the headers of IP and UDP

std::uint8_t replyActionOf(std::uint8_t action) {
    return action == LCMP_ACTION_READ ? LCMP_ACTION_READ_RESPONSE : LCMP_ACTION_WRITE_RESPONSE;
}

// A cast to what a message is would find out by a search; nearly always it is exactly that.
template <typename Kind>
bool isA(LCMPMessage* msg) {
    return msg != nullptr && (typeid(*msg) == typeid(Kind) || dynamic_cast<Kind*>(msg) != nullptr);
}

}  // namespace

bool LcmpUdpEndpoint::sendMessage(LCMPMessage* msg) {
    // Out of the endpoint while it is filled and sent: a property asked for its value may send, too.
    Frame frame{std::move(m_sendBuffer), 0};
    const bool sent = sendAny(msg, frame);
    m_sendBuffer = std::move(frame.bytes);
    return sent;
}

bool LcmpUdpEndpoint::sendAny(LCMPMessage* msg, Frame& frame) {
    if (isA<LCMPResponse>(msg))
        return sendResponseFrame(*msg, frame);
    if (isA<LCMPRequest>(msg))
        return sendRequestFrame(*msg, frame);
    if (isA<LCMPAmi>(msg))
        return sendEventFrame(*msg, frame);
    return fail("send", "neither a request nor a response nor an event");
}

// Into all the room there is: what a frame will need is not asked of its properties first.
bool LcmpUdpEndpoint::encode(const LCMPMessage& msg, Frame& frame) {
    if (frame.bytes == nullptr)
        frame.bytes.reset(new char[maxFrame]);
    const int size = msg.serializeFrame(frame.bytes.get(), maxFrame);
    frame.size = static_cast<std::size_t>(size);
    if (size != 0)
        return true;
    return msg.sizeOfTlvs() > maxFrame - msg.getHeaderSize()
               ? fail("send", "the message is too long for a datagram")
               : fail("send", "the message cannot be serialised");
}

bool LcmpUdpEndpoint::sendResponseFrame(const LCMPMessage& msg, Frame& frame) {
    if (m_served != nullptr && m_served->answerless) {
        ++m_counters.notAnswered;
        return fail("response to " + lcmpUdpToText(m_served->peer), "responses and events are not answered");
    }
    if (!encode(msg, frame))
        return false;
    // Asked last: until here a hook may have closed the socket, and opened another that nobody asked.
    if (m_served == nullptr || m_served->closings != m_closings)
        return fail("response", "the peer that asked is out of reach");
    // With more frames at hand their responses go out together.
    if (m_inbox->empty() && m_outbox->empty())
        return transmit(frame, m_served->peer, m_served->asked) == 0;
    m_outbox->add(frame.bytes.get(), frame.size, m_served->peer, m_served->asked);
    if (m_inbox->empty() || m_outbox->full())
        sendOutbox();
    return true;
}

bool LcmpUdpEndpoint::sendEventFrame(const LCMPMessage& msg, Frame& frame) {
    if (m_socket < 0)
        return fail("event", "the endpoint is closed");
    if (m_receivers.empty())
        return fail("event", "no receiver was added");
    if (!encode(msg, frame))
        return false;
    bool sentToAll = true;
    for (const LcmpUdpAddress& receiver : m_receivers)
        sentToAll = transmit(frame, receiver, 0) == 0 && sentToAll;
    return sentToAll;
}

bool LcmpUdpEndpoint::sendRequestFrame(const LCMPMessage& msg, Frame& frame) {
    replyBuffer.clear();
    if (m_socket < 0)
        return fail("request", "the endpoint is closed");
    if (m_target.port == 0)
        return fail("request", "no target was set");
    if (!encode(msg, frame))
        return false;
    ++m_counters.requests;
    return exchange({replyActionOf(msg.getAction()), msg.getMessageId()}, frame);
}

bool LcmpUdpEndpoint::exchange(const ReplyMatch& match, const Frame& frame) {
    Milliseconds wait = m_firstTry;
    for (int left = m_tries; left > 0; --left) {
        m_counters.retries += left == m_tries ? 0 : 1;
        const int error = transmit(frame, m_target, 0);
        if (error != 0 && !lcmpudpdetail::isPassing(error))
            return false;
        const Clock::duration awaited = left == 1 ? wait : withJitter(wait);
        const Waited waited = awaitReply(match, Clock::now() + awaited);
        if (waited != Waited::timedOut)
            return waited == Waited::replied && takeReply();
        wait = std::min(wait * 2, longestWait);
    }
    ++m_counters.timeouts;
    return fail("request to " + lcmpUdpToText(m_target), "no reply in time");
}

// Nothing is handled in here but the counters and the queue: whoever sends the request finds its objects,
// after the wait, as they were before.
LcmpUdpEndpoint::Waited LcmpUdpEndpoint::awaitReply(const ReplyMatch& match, Clock::time_point deadline) {
    for (;;) {
        Datagram datagram;
        const Taken taken = receive(datagram);
        if (taken == Taken::failed)
            return Waited::failed;
        if (taken == Taken::datagram && isReply(match, datagram)) {
            replyBuffer.assign(m_receiveBuffer.get(), datagram.size);
            return Waited::replied;
        }
        if (taken == Taken::datagram)
            sortAside(datagram);
        const auto now = Clock::now();
        if (now >= deadline)
            return Waited::timedOut;
        if (taken != Taken::nothing)
            continue;
        if (waitUntil(deadline, now) == Slept::failed)
            return Waited::failed;
    }
}

bool LcmpUdpEndpoint::isReply(const ReplyMatch& match, const Datagram& datagram) const {
    const auto header = lcmpudpdetail::readFrameHeader(m_receiveBuffer.get(), datagram.size);
    return isTarget(datagram.peer) && header.spoken && header.action == match.action &&
           header.messageId == match.messageId;
}

void LcmpUdpEndpoint::sortAside(const Datagram& datagram) {
    if (lcmpudpdetail::readFrameHeader(m_receiveBuffer.get(), datagram.size).isResponse())
        countStray(datagram.peer);
    else
        keep(datagram);
}

bool LcmpUdpEndpoint::takeReply() {
    ++m_counters.handled;
    // Out of the endpoint while the hook runs: a request of its own would overwrite it.
    std::string reply = std::move(replyBuffer);
    const LcmpUdpAddress from = m_target;
    frameReceived(from, reply.data(), static_cast<int>(reply.size()));
    replyBuffer = std::move(reply);
    return true;
}

LcmpUdpEndpoint::Clock::duration LcmpUdpEndpoint::withJitter(Milliseconds wait) {
    std::uniform_int_distribution<int> permille(750, 1250);
    return Clock::duration(wait) / 1000 * permille(m_random);
}

bool LcmpUdpEndpoint::sendBytes(const LcmpUdpAddress& to, const char* data, std::size_t size) {
    if (m_socket < 0)
        return fail("bytes", "the endpoint is closed");
    return transmit(data, size, to, 0) == 0;
}

int LcmpUdpEndpoint::transmit(const Frame& frame, const LcmpUdpAddress& to, std::uint32_t from) {
    return transmit(frame.bytes.get(), frame.size, to, from);
}

int LcmpUdpEndpoint::transmit(const char* data, std::size_t size, const LcmpUdpAddress& to,
                              std::uint32_t from) {
    sendOutbox();
    const int error = lcmpudpdetail::sendDatagram(m_socket, data, size, to, from);
    if (error == 0)
        ++m_counters.sent;
    else
        countUnsent(to, error);
    return error;
}

// Nearly always there is nothing.
void LcmpUdpEndpoint::sendOutbox() {
    if (!m_outbox->empty())
        emptyOutbox();
}

void LcmpUdpEndpoint::emptyOutbox() {
    const int sent =
        m_outbox->send(m_socket, [this](const LcmpUdpAddress& to, int error) { countUnsent(to, error); });
    m_counters.sent += static_cast<unsigned int>(sent);
}

void LcmpUdpEndpoint::countUnsent(const LcmpUdpAddress& to, int error) {
    ++m_counters.sendFailures;
    fail("send to " + lcmpUdpToText(to), error);
}
