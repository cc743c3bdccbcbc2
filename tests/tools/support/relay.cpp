#include "relay.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <stdexcept>

namespace {

using Buffer = std::array<char, 65535>;

sockaddr_in loopback(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    return address;
}

}  // namespace

Relay::Relay(const std::string& card)
    : m_front(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)),
      m_back(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    const sockaddr_in cardAddress = loopback(std::stoi(card.substr(card.find(':') + 1)));
    sockaddr_in own = loopback(0);
    socklen_t size = sizeof own;
    auto* place = reinterpret_cast<sockaddr*>(&own);
    if (bind(m_front, place, size) != 0 || getsockname(m_front, place, &size) != 0 ||
        connect(m_back, reinterpret_cast<const sockaddr*>(&cardAddress), sizeof cardAddress) != 0 ||
        pipe(m_stop) != 0)
        throw std::runtime_error("no sockets for the relay");
    m_address = "127.0.0.1:" + std::to_string(ntohs(own.sin_port));
    m_thread = std::thread([this] { run(); });
}

Relay::~Relay() {
    close(m_stop[1]);
    m_thread.join();
    close(m_stop[0]);
    close(m_front);
    close(m_back);
}

void Relay::run() {
    sockaddr_in asker{};
    std::array<pollfd, 3> waits = {{{m_front, POLLIN, 0}, {m_back, POLLIN, 0}, {m_stop[0], POLLIN, 0}}};
    while (poll(waits.data(), waits.size(), -1) >= 0 && waits[2].revents == 0) {
        Buffer buffer;
        socklen_t size = sizeof asker;
        auto* place = reinterpret_cast<sockaddr*>(&asker);
        if (waits[0].revents != 0) {
            const ssize_t got = recvfrom(m_front, buffer.data(), buffer.size(), 0, place, &size);
            const std::string id(buffer.data() + 6, 2);
            ++m_sendings;
            m_requests += id == m_lastId ? 0 : 1;
            m_lastId = id;
            send(m_back, buffer.data(), static_cast<std::size_t>(got), 0);
        }
        if (waits[1].revents != 0) {
            const ssize_t got = recv(m_back, buffer.data(), buffer.size(), 0);
            sendto(m_front, buffer.data(), static_cast<std::size_t>(got), 0, place, sizeof asker);
        }
    }
}
