#include "peer.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>

#include <cstring>

#include "bytes.h"

namespace {

constexpr int patience = 20000;  // ms; only a test that fails waits as long

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

bool isReadable(int socket, int milliseconds) {
    pollfd waiting{socket, POLLIN, 0};
    return poll(&waiting, 1, milliseconds) == 1;
}

std::chrono::nanoseconds arrivalOf(msghdr& message) {
    for (cmsghdr* header = CMSG_FIRSTHDR(&message); header != nullptr;
         header = CMSG_NXTHDR(&message, header)) {
        if (header->cmsg_level != SOL_SOCKET || header->cmsg_type != SCM_TIMESTAMPNS)
            continue;
        timespec time{};
        std::memcpy(&time, CMSG_DATA(header), sizeof time);
        return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
    }
    ADD_FAILURE() << "the system did not say when the datagram came";
    return {};
}

}  // namespace

Peer::Peer(const std::string& host, std::uint16_t port)
    : m_socket(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    EXPECT_TRUE(lcmpUdpParseHost(host, m_address.host));
    m_address.port = port;
    sockaddr_in system = toSystem(m_address);
    socklen_t size = sizeof system;
    const int on = 1;
    EXPECT_EQ(setsockopt(m_socket, SOL_SOCKET, SO_TIMESTAMPNS, &on, sizeof on), 0);
    EXPECT_EQ(bind(m_socket, reinterpret_cast<const sockaddr*>(&system), size), 0) << std::strerror(errno);
    EXPECT_EQ(getsockname(m_socket, reinterpret_cast<sockaddr*>(&system), &size), 0);
    m_address = fromSystem(system);
}

Peer::~Peer() { close(m_socket); }

void Peer::send(const std::string& frame, const LcmpUdpAddress& to) const {
    const sockaddr_in system = toSystem(to);
    const ssize_t sent = sendto(m_socket, frame.data(), frame.size(), 0,
                                reinterpret_cast<const sockaddr*>(&system), sizeof system);
    EXPECT_EQ(sent, static_cast<ssize_t>(frame.size())) << std::strerror(errno);
}

void Peer::send(const std::string& frame, const LcmpUdpEndpoint& to) const {
    send(frame, to.getLocalAddress());
}

std::string Peer::receive() {
    if (!isReadable(m_socket, patience))
        return "nothing came";
    std::string frame(65535, '\0');
    alignas(cmsghdr) char control[256];
    sockaddr_in from{};
    iovec place{frame.data(), frame.size()};
    msghdr message{};
    message.msg_name = &from;
    message.msg_namelen = sizeof from;
    message.msg_iov = &place;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    const ssize_t size = recvmsg(m_socket, &message, 0);
    if (size < 0)
        return std::strerror(errno);
    m_sender = fromSystem(from);
    m_arrival = arrivalOf(message);
    frame.resize(static_cast<std::size_t>(size));
    return hex(frame);
}

bool Peer::hasNothing() const { return !isReadable(m_socket, 0); }
