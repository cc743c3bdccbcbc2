#include "scriptedCard.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

#include "frameBuilder.h"
#include "patience.h"

namespace {

constexpr std::size_t elementHeader = 7;

sockaddr_in socketAddress(const std::string& host, unsigned short port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    if (inet_pton(AF_INET, host.c_str(), &address.sin_addr) != 1)
        throw std::invalid_argument("no address: " + host);
    return address;
}

void sendTo(int socket, const std::string& frame, const sockaddr_in& address) {
    const ssize_t sent = sendto(socket, frame.data(), frame.size(), 0,
                                reinterpret_cast<const sockaddr*>(&address), sizeof address);
    EXPECT_EQ(sent, static_cast<ssize_t>(frame.size())) << std::strerror(errno);
}

Request takeApart(const std::string& frame) {
    Request request;
    request.frame = frame;
    request.action = static_cast<unsigned int>(number(frame, 5, 1));
    request.id = static_cast<unsigned int>(number(frame, 6, 2));
    for (std::size_t at = requestHeader; at + elementHeader <= frame.size();) {
        const auto length = static_cast<std::size_t>(number(frame, at + 5, 2));
        request.variables.push_back({static_cast<unsigned int>(number(frame, at, 4)),
                                     static_cast<unsigned int>(number(frame, at + 4, 1)),
                                     frame.substr(at + elementHeader, length)});
        at += elementHeader + length;
    }
    return request;
}

}  // namespace

ScriptedCard::ScriptedCard(const std::string& host) : m_socket(socket(AF_INET, SOCK_DGRAM, 0)), m_host(host) {
    sockaddr_in address = socketAddress(host, 0);
    socklen_t size = sizeof address;
    auto* place = reinterpret_cast<sockaddr*>(&address);
    if (m_socket < 0 || bind(m_socket, place, size) != 0 || getsockname(m_socket, place, &size) != 0)
        throw std::runtime_error("no socket on " + host);
    m_port = ntohs(address.sin_port);
}

ScriptedCard::~ScriptedCard() { close(m_socket); }

std::string ScriptedCard::target() const { return m_host + ":" + std::to_string(m_port); }

Request ScriptedCard::request() {
    pollfd readable = {m_socket, POLLIN, 0};
    if (poll(&readable, 1, longestWait) != 1) {
        ADD_FAILURE() << "no request came";
        return {};
    }
    std::string frame(65535, '\0');
    sockaddr_in from{};
    socklen_t fromSize = sizeof from;
    const ssize_t size =
        recvfrom(m_socket, frame.data(), frame.size(), 0, reinterpret_cast<sockaddr*>(&from), &fromSize);
    frame.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
    m_asker = ntohs(from.sin_port);
    return takeApart(frame);
}

void ScriptedCard::answer(const std::string& frame) const {
    sendTo(m_socket, frame, socketAddress("127.0.0.1", m_asker));
}

void ScriptedCard::send(const std::string& frame, const std::string& address) const {
    const auto colon = address.find(':');
    sendTo(m_socket, frame,
           socketAddress(address.substr(0, colon),
                         static_cast<unsigned short>(std::stoi(address.substr(colon + 1)))));
}
