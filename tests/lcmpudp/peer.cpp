#include "peer.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
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

}  // namespace

Peer::Peer(const std::string& host, std::uint16_t port)
    : m_socket(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    EXPECT_TRUE(lcmpUdpParseHost(host, m_address.host));
    m_address.port = port;
    sockaddr_in system = toSystem(m_address);
    socklen_t size = sizeof system;
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
    sockaddr_in from{};
    socklen_t fromSize = sizeof from;
    const ssize_t size =
        recvfrom(m_socket, frame.data(), frame.size(), 0, reinterpret_cast<sockaddr*>(&from), &fromSize);
    if (size < 0)
        return std::strerror(errno);
    m_sender = fromSystem(from);
    frame.resize(static_cast<std::size_t>(size));
    return hex(frame);
}

bool Peer::hasNothing() const { return !isReadable(m_socket, 0); }
