#include "udpSocket.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace lcmpudpdetail {

namespace {

// Room for the one control message that goes with a datagram, aligned as the system reads it.
struct Control {
    alignas(cmsghdr) char bytes[CMSG_SPACE(sizeof(in_pktinfo))];
};

sockaddr_in toSystem(const LcmpUdpAddress& address) {
    sockaddr_in system{};
    system.sin_family = AF_INET;
    system.sin_addr.s_addr = htonl(address.host);
    system.sin_port = htons(address.port);
    return system;
}

LcmpUdpAddress fromSystem(const sockaddr_in& system) {
    return {ntohl(system.sin_addr.s_addr), ntohs(system.sin_port)};
}

std::uint32_t askedAddress(msghdr& message) {
    for (cmsghdr* header = CMSG_FIRSTHDR(&message); header != nullptr;
         header = CMSG_NXTHDR(&message, header)) {
        if (header->cmsg_level != IPPROTO_IP || header->cmsg_type != IP_PKTINFO)
            continue;
        in_pktinfo info{};
        std::memcpy(&info, CMSG_DATA(header), sizeof info);
        // Not ipi_addr: a datagram sent to all hosts of a network cannot be answered from that address.
        return ntohl(info.ipi_spec_dst.s_addr);
    }
    return 0;
}

void setSource(msghdr& message, Control& control, std::uint32_t host) {
    in_pktinfo info{};
    info.ipi_spec_dst.s_addr = htonl(host);
    message.msg_control = control.bytes;
    message.msg_controllen = sizeof control.bytes;
    cmsghdr* const header = CMSG_FIRSTHDR(&message);
    header->cmsg_level = IPPROTO_IP;
    header->cmsg_type = IP_PKTINFO;
    header->cmsg_len = CMSG_LEN(sizeof info);
    std::memcpy(CMSG_DATA(header), &info, sizeof info);
}

// The step that fails, or null with `bound` filled.
const char* prepare(int fileDescriptor, const LcmpUdpAddress& address, LcmpUdpAddress& bound) {
    // Bound to one address, answers leave from that; only a socket on all of them must be told which was
    // asked.
    const int on = 1;
    if (address.host == 0 && setsockopt(fileDescriptor, IPPROTO_IP, IP_PKTINFO, &on, sizeof on) != 0)
        return "setsockopt";
    sockaddr_in system = toSystem(address);
    socklen_t size = sizeof system;
    if (bind(fileDescriptor, reinterpret_cast<const sockaddr*>(&system), size) != 0)
        return "bind";
    if (getsockname(fileDescriptor, reinterpret_cast<sockaddr*>(&system), &size) != 0)
        return "getsockname";
    bound = fromSystem(system);
    return nullptr;
}

}  // namespace

Opening openSocket(const LcmpUdpAddress& address) {
    Opening opening;
    opening.fileDescriptor = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (opening.fileDescriptor < 0) {
        opening.error = errno;
        opening.attempt = "socket";
        return opening;
    }
    const char* const failed = prepare(opening.fileDescriptor, address, opening.bound);
    if (failed != nullptr) {
        opening.error = errno;
        opening.attempt = failed;
        closeSocket(opening.fileDescriptor);
        opening.fileDescriptor = -1;
    }
    return opening;
}

// Not repeated when a signal interrupts it: the number is free then already, and might be somebody else's.
void closeSocket(int fileDescriptor) { ::close(fileDescriptor); }

namespace {

// Calls a system call again when a signal has interrupted it.
template <typename Call>
ssize_t uninterrupted(Call call) {
    ssize_t result = 0;
    do {
        result = call();
    } while (result < 0 && errno == EINTR);
    return result;
}

Receipt failedReceipt(int error) {
    Receipt receipt;
    receipt.error = error;
    return receipt;
}

// The system tells the length that a datagram has, so that a cut one shows.
Receipt receivePlainly(int fileDescriptor, char* buffer, std::size_t size, int flags) {
    sockaddr_in from{};
    socklen_t fromSize = sizeof from;
    const ssize_t received = recvfrom(fileDescriptor, buffer, size, flags | MSG_TRUNC,
                                      reinterpret_cast<sockaddr*>(&from), &fromSize);
    if (received < 0)
        return failedReceipt(errno);
    Receipt receipt;
    receipt.truncated = static_cast<std::size_t>(received) > size;
    receipt.size = receipt.truncated ? size : static_cast<std::size_t>(received);
    receipt.from = fromSystem(from);
    return receipt;
}

// A message to the system with all that it points at.
struct Envelope {
    sockaddr_in peer;
    iovec place;
    Control control;

    void address(msghdr& message, void* data, std::size_t size) {
        place = {data, size};
        message = {};
        message.msg_name = &peer;
        message.msg_namelen = sizeof peer;
        message.msg_iov = &place;
        message.msg_iovlen = 1;
    }

    void addressReceive(msghdr& message, char* buffer, std::size_t size, bool manyAddresses) {
        address(message, buffer, size);
        if (!manyAddresses)
            return;
        message.msg_control = control.bytes;
        message.msg_controllen = sizeof control.bytes;
    }

    void addressSend(msghdr& message, const Shipment& shipment) {
        // The interface is shared with receiving; nothing is written.
        address(message, const_cast<char*>(shipment.data), shipment.size);
        peer = toSystem(shipment.to);
        if (shipment.from == 0)
            return;
        control = {};
        setSource(message, control, shipment.from);
    }
};

Receipt receiptOf(msghdr& message, std::size_t size, bool manyAddresses) {
    Receipt receipt;
    receipt.truncated = (message.msg_flags & MSG_TRUNC) != 0;
    receipt.size = size;
    receipt.from = fromSystem(*static_cast<const sockaddr_in*>(message.msg_name));
    receipt.asked = manyAddresses ? askedAddress(message) : 0;
    return receipt;
}

Receipt receiveWithAskedAddress(int fileDescriptor, char* buffer, std::size_t size, int flags) {
    Envelope envelope;
    msghdr message;
    envelope.addressReceive(message, buffer, size, true);
    const ssize_t received = recvmsg(fileDescriptor, &message, flags);
    if (received < 0)
        return failedReceipt(errno);
    return receiptOf(message, static_cast<std::size_t>(received), true);
}

// Control messages cost as much as the rest of the call, so they are left out where they tell nothing.
Receipt receiveOnce(int fileDescriptor, char* buffer, std::size_t size, bool manyAddresses, int flags) {
    return manyAddresses ? receiveWithAskedAddress(fileDescriptor, buffer, size, flags)
                         : receivePlainly(fileDescriptor, buffer, size, flags);
}

}  // namespace

Receipt receiveDatagram(int fileDescriptor, char* buffer, std::size_t size, bool manyAddresses,
                        Patience patience) {
    if (patience == Patience::some)
        return receiveOnce(fileDescriptor, buffer, size, manyAddresses, 0);
    Receipt receipt;
    do {
        receipt = receiveOnce(fileDescriptor, buffer, size, manyAddresses, MSG_DONTWAIT);
    } while (receipt.error == EINTR);
    return receipt;
}

int limitReceive(int fileDescriptor, int milliseconds) {
    timeval limit{};
    limit.tv_sec = milliseconds / 1000;
    limit.tv_usec = static_cast<suseconds_t>(milliseconds % 1000) * 1000;
    return setsockopt(fileDescriptor, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit) < 0 ? errno : 0;
}

int sendDatagram(int fileDescriptor, const char* data, std::size_t size, const LcmpUdpAddress& to,
                 std::uint32_t from) {
    ssize_t sent = 0;
    if (from == 0) {
        const sockaddr_in receiver = toSystem(to);
        sent = uninterrupted([&] {
            return sendto(fileDescriptor, data, size, MSG_DONTWAIT,
                          reinterpret_cast<const sockaddr*>(&receiver), sizeof receiver);
        });
    } else {
        Envelope envelope;
        msghdr message;
        envelope.addressSend(message, {data, size, to, from});
        sent = uninterrupted([&] { return sendmsg(fileDescriptor, &message, MSG_DONTWAIT); });
    }
    return sent < 0 ? errno : 0;
}

#ifdef __linux__

namespace {

// Only the first is waited for.
ssize_t receiveMany(int fileDescriptor, mmsghdr* messages, std::size_t count, Patience patience) {
    const auto most = static_cast<unsigned int>(count);
    if (patience == Patience::some)
        return recvmmsg(fileDescriptor, messages, most, MSG_WAITFORONE, nullptr);
    return uninterrupted([&] { return recvmmsg(fileDescriptor, messages, most, MSG_DONTWAIT, nullptr); });
}

}  // namespace

std::size_t receiveDatagrams(int fileDescriptor, char* const* buffers, std::size_t size, std::size_t count,
                             bool manyAddresses, Receipt* receipts, Patience patience) {
    Envelope envelopes[batchSize];
    mmsghdr messages[batchSize];
    for (std::size_t i = 0; i < count; ++i)
        envelopes[i].addressReceive(messages[i].msg_hdr, buffers[i], size, manyAddresses);
    const ssize_t received = receiveMany(fileDescriptor, messages, count, patience);
    if (received < 0) {
        receipts[0] = failedReceipt(errno);
        return isNothingThere(receipts[0].error) ? 0 : 1;
    }
    for (std::size_t i = 0; i < static_cast<std::size_t>(received); ++i)
        receipts[i] = receiptOf(messages[i].msg_hdr, messages[i].msg_len, manyAddresses);
    return static_cast<std::size_t>(received);
}

int sendDatagrams(int fileDescriptor, const Shipment* shipments, std::size_t count, int& error) {
    Envelope envelopes[batchSize];
    mmsghdr messages[batchSize];
    for (std::size_t i = 0; i < count; ++i)
        envelopes[i].addressSend(messages[i].msg_hdr, shipments[i]);
    const ssize_t sent = uninterrupted(
        [&] { return sendmmsg(fileDescriptor, messages, static_cast<unsigned int>(count), MSG_DONTWAIT); });
    error = sent < 0 ? errno : 0;
    return std::max(static_cast<int>(sent), 0);
}

#else

std::size_t receiveDatagrams(int fileDescriptor, char* const* buffers, std::size_t size, std::size_t count,
                             bool manyAddresses, Receipt* receipts, Patience patience) {
    for (std::size_t i = 0; i < count; ++i) {
        receipts[i] = receiveDatagram(fileDescriptor, buffers[i], size, manyAddresses,
                                      i == 0 ? patience : Patience::none);
        if (receipts[i].error != 0)
            return isNothingThere(receipts[i].error) ? i : i + 1;
    }
    return count;
}

int sendDatagrams(int fileDescriptor, const Shipment* shipments, std::size_t count, int& error) {
    error = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const Shipment& next = shipments[i];
        error = sendDatagram(fileDescriptor, next.data, next.size, next.to, next.from);
        if (error != 0)
            return static_cast<int>(i);
    }
    return static_cast<int>(count);
}

#endif

int awaitReadable(int fileDescriptor, int milliseconds) {
    pollfd waiting{fileDescriptor, POLLIN, 0};
    return ::poll(&waiting, 1, milliseconds) < 0 ? errno : 0;
}

bool isNothingThere(int error) { return error == EAGAIN || error == EWOULDBLOCK; }

bool isPassing(int error) {
    return error == EINTR || isNothingThere(error) || error == ENOBUFS || error == ECONNREFUSED;
}

}  // namespace lcmpudpdetail
