#include "proxy.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>

namespace {

// A copy that could not be sent within this time after it was due is lost: nothing stays on its way for ever,
// however busy the machine.
constexpr auto patience = std::chrono::milliseconds(500);

constexpr std::size_t longestDatagram = 65536;
constexpr int datagramsInATurn = 64;

[[noreturn]] void fail(const char* what) { throw std::system_error(errno, std::generic_category(), what); }

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

int socketOnLoopback() {
    const int made = socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    const sockaddr_in any = toSystem({INADDR_LOOPBACK, 0});
    if (made < 0 || bind(made, reinterpret_cast<const sockaddr*>(&any), sizeof any) != 0)
        fail("socket of the proxy");
    return made;
}

LcmpUdpAddress addressOf(int socket) {
    sockaddr_in system{};
    socklen_t size = sizeof system;
    if (getsockname(socket, reinterpret_cast<sockaddr*>(&system), &size) != 0)
        fail("address of the proxy");
    return fromSystem(system);
}

}  // namespace

Proxy::Proxy(const Faults& faults, unsigned int ways, const LcmpUdpAddress& card)
    : m_faults(faults), m_epoll(epoll_create1(EPOLL_CLOEXEC)) {
    if (m_epoll < 0)
        fail("epoll");
    for (unsigned int way = 0; way < ways; ++way)
        addWay(card);
}

Proxy::~Proxy() {
    for (const Way& way : m_ways) {
        ::close(way.frontSocket);
        ::close(way.backSocket);
    }
    ::close(m_epoll);
}

void Proxy::addWay(const LcmpUdpAddress& card) {
    Way way;
    way.frontSocket = socketOnLoopback();
    way.backSocket = socketOnLoopback();
    way.front = addressOf(way.frontSocket);
    const sockaddr_in system = toSystem(card);
    if (connect(way.backSocket, reinterpret_cast<const sockaddr*>(&system), sizeof system) != 0)
        fail("connection of the proxy");
    watch(way.frontSocket, m_ways.size(), true);
    watch(way.backSocket, m_ways.size(), false);
    m_ways.push_back(way);
}

void Proxy::watch(int socket, std::size_t way, bool front) const {
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.u64 = way << 1 | (front ? 1U : 0U);
    if (epoll_ctl(m_epoll, EPOLL_CTL_ADD, socket, &event) != 0)
        fail("epoll");
}

void Proxy::run() {
    std::array<epoll_event, 16> events;
    const int ready = epoll_wait(m_epoll, events.data(), events.size(), 0);
    for (int i = 0; i < ready; ++i) {
        const std::uint64_t data = events.at(static_cast<std::size_t>(i)).data.u64;
        receive(static_cast<std::size_t>(data >> 1), (data & 1) != 0);
    }
    while (!m_copies.empty() && m_copies.front().due <= Clock::now()) {
        std::pop_heap(m_copies.begin(), m_copies.end());
        send(m_copies.back());
        m_copies.pop_back();
    }
}

int Proxy::millisecondsToDue() const {
    if (m_copies.empty())
        return -1;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(m_copies.front().due - Clock::now());
    return static_cast<int>(std::max<std::int64_t>(left.count(), 0));
}

void Proxy::receive(std::size_t way, bool front) {
    static std::array<char, longestDatagram> buffer;
    const int socket = front ? m_ways[way].frontSocket : m_ways[way].backSocket;
    for (int turn = 0; turn < datagramsInATurn; ++turn) {
        sockaddr_in from{};
        socklen_t fromSize = sizeof from;
        const ssize_t size =
            recvfrom(socket, buffer.data(), buffer.size(), 0, reinterpret_cast<sockaddr*>(&from), &fromSize);
        if (size < 0)
            return;
        if (front)
            m_ways[way].controller = fromSystem(from);
        accept(way, front, buffer.data(), static_cast<std::size_t>(size));
    }
}

void Proxy::accept(std::size_t way, bool toCard, const char* bytes, std::size_t size) {
    const Fate fate = m_faults.next();
    const Clock::time_point now = Clock::now();
    for (unsigned int copy = 0; copy < fate.copies; ++copy) {
        m_copies.push_back({now + fate.delays[copy], ++m_number, way, toCard, std::string(bytes, size)});
        std::push_heap(m_copies.begin(), m_copies.end());
    }
}

// What the system does not take is lost, as on any network.
void Proxy::send(const Copy& copy) const {
    if (Clock::now() - copy.due > patience)
        return;
    const Way& way = m_ways[copy.way];
    if (copy.toCard) {
        ::send(way.backSocket, copy.bytes.data(), copy.bytes.size(), MSG_DONTWAIT);
        return;
    }
    const sockaddr_in to = toSystem(way.controller);
    ::sendto(way.frontSocket, copy.bytes.data(), copy.bytes.size(), MSG_DONTWAIT,
             reinterpret_cast<const sockaddr*>(&to), sizeof to);
}
