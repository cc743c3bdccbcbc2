#include "udpSocket.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace lcmpudpdetail {

namespace {

// Room for the one control message that goes with a datagram, aligned as the system reads it.
union Control {
    cmsghdr alignment;
    char bytes[CMSG_SPACE(sizeof(in_pktinfo))];
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
    opening.fileDescriptor = socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
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

// The system tells the length that a datagram has, so that a cut one shows.
Receipt receivePlainly(int fileDescriptor, char* buffer, std::size_t size) {
    sockaddr_in from{};
    socklen_t fromSize = sizeof from;
    ssize_t received = 0;
    do {
        received =
            recvfrom(fileDescriptor, buffer, size, MSG_TRUNC, reinterpret_cast<sockaddr*>(&from), &fromSize);
    } while (received < 0 && errno == EINTR);

    Receipt receipt;
    if (received < 0) {
        receipt.error = errno;
        return receipt;
    }
    receipt.truncated = static_cast<std::size_t>(received) > size;
    receipt.size = receipt.truncated ? size : static_cast<std::size_t>(received);
    receipt.from = fromSystem(from);
    return receipt;
}

// NOLINTNEXTLINE(readability-non-const-parameter): recvmsg writes to it
Receipt receiveWithAskedAddress(int fileDescriptor, char* buffer, std::size_t size) {
    sockaddr_in from{};
    Control control;
    iovec place{buffer, size};
    msghdr message{};
    message.msg_name = &from;
    message.msg_namelen = sizeof from;
    message.msg_iov = &place;
    message.msg_iovlen = 1;
    message.msg_control = control.bytes;
    message.msg_controllen = sizeof control.bytes;

    ssize_t received = 0;
    do {
        received = recvmsg(fileDescriptor, &message, 0);
    } while (received < 0 && errno == EINTR);

    Receipt receipt;
    if (received < 0) {
        receipt.error = errno;
        return receipt;
    }
    receipt.truncated = (message.msg_flags & MSG_TRUNC) != 0;
    receipt.size = static_cast<std::size_t>(received);
    receipt.from = fromSystem(from);
    receipt.asked = askedAddress(message);
    return receipt;
}

ssize_t sendPlainly(int fileDescriptor, const char* data, std::size_t size, const LcmpUdpAddress& to) {
    const sockaddr_in receiver = toSystem(to);
    return sendto(fileDescriptor, data, size, 0, reinterpret_cast<const sockaddr*>(&receiver),
                  sizeof receiver);
}

ssize_t sendFrom(int fileDescriptor, const char* data, std::size_t size, const LcmpUdpAddress& to,
                 std::uint32_t from) {
    sockaddr_in receiver = toSystem(to);
    Control control{};
    iovec place{const_cast<char*>(data), size};  // the interface is shared with receiving; nothing is written
    msghdr message{};
    message.msg_name = &receiver;
    message.msg_namelen = sizeof receiver;
    message.msg_iov = &place;
    message.msg_iovlen = 1;
    setSource(message, control, from);
    return sendmsg(fileDescriptor, &message, 0);
}

}  // namespace

// Control messages cost as much as the rest of the call, so they are left out where they tell nothing.
Receipt receiveDatagram(int fileDescriptor, char* buffer, std::size_t size, bool manyAddresses) {
    return manyAddresses ? receiveWithAskedAddress(fileDescriptor, buffer, size)
                         : receivePlainly(fileDescriptor, buffer, size);
}

int sendDatagram(int fileDescriptor, const char* data, std::size_t size, const LcmpUdpAddress& to,
                 std::uint32_t from) {
    ssize_t sent = 0;
    do {
        sent = from == 0 ? sendPlainly(fileDescriptor, data, size, to)
                         : sendFrom(fileDescriptor, data, size, to, from);
    } while (sent < 0 && errno == EINTR);
    return sent < 0 ? errno : 0;
}

int awaitReadable(int fileDescriptor, int milliseconds) {
    pollfd waiting{fileDescriptor, POLLIN, 0};
    return ::poll(&waiting, 1, milliseconds) < 0 ? errno : 0;
}

bool isNothingThere(int error) { return error == EAGAIN || error == EWOULDBLOCK; }

bool isPassing(int error) {
    return error == EINTR || isNothingThere(error) || error == ENOBUFS || error == ECONNREFUSED;
}

}  // namespace lcmpudpdetail
