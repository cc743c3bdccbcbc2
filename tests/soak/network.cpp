#include "network.h"

#include <arpa/inet.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace {

Network* current = nullptr;

constexpr std::uint16_t firstFreePort = 40000;

// More than are ever on their way at once, and longer than most.
constexpr std::size_t usualPlaces = 512;
constexpr std::size_t usualSize = 256;

Network* owning(int fileDescriptor) {
    return current != nullptr && current->owns(fileDescriptor) ? current : nullptr;
}

template <typename Function>
Function* next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

LcmpUdpAddress fromSystem(const void* address) {
    sockaddr_in system{};
    std::memcpy(&system, address, sizeof system);
    return {ntohl(system.sin_addr.s_addr), ntohs(system.sin_port)};
}

void toSystem(const LcmpUdpAddress& address, void* place, socklen_t* size) {
    sockaddr_in system{};
    system.sin_family = AF_INET;
    system.sin_addr.s_addr = htonl(address.host);
    system.sin_port = htons(address.port);
    std::memcpy(place, &system, std::min<std::size_t>(*size, sizeof system));
    *size = sizeof system;
}

}  // namespace

Network::Network(const Faults& faults) : m_faults(faults) {
    if (current != nullptr)
        throw std::logic_error("there is a network already");
    // All there will be, and touched: who watches the process's memory shall not see the network's.
    m_datagrams.resize(usualPlaces);
    for (std::size_t place = 0; place < usualPlaces; ++place) {
        m_datagrams[place].bytes.assign(usualSize, '\0');
        m_free.push_back(place);
    }
    m_arrivals.reserve(usualPlaces);
    current = this;
}

Network::~Network() { current = nullptr; }

void Network::serve(LcmpUdpEndpoint& endpoint) { socketOf(endpoint.getFileDescriptor()).server = &endpoint; }

void Network::asks(const LcmpUdpEndpoint& endpoint, std::uint64_t request) {
    socketOf(endpoint.getFileDescriptor()).asked = request;
}

std::uint64_t Network::answered(const LcmpUdpEndpoint& endpoint) const {
    return socketOf(endpoint.getFileDescriptor()).received;
}

void Network::settle() {
    while (!m_arrivals.empty())
        deliver();
}

bool Network::owns(int fileDescriptor) const {
    return std::any_of(m_sockets.begin(), m_sockets.end(), [fileDescriptor](const Socket& socket) {
        return socket.fileDescriptor == fileDescriptor;
    });
}

// A number that nothing else in the process has.
int Network::open() {
    Socket socket;
    socket.fileDescriptor = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    socket.inbox.reserve(usualPlaces);
    if (socket.fileDescriptor >= 0)
        m_sockets.push_back(socket);
    return socket.fileDescriptor;
}

int Network::bind(int fileDescriptor, const LcmpUdpAddress& wanted) {
    LcmpUdpAddress address = wanted;
    if (address.port == 0)
        address.port = static_cast<std::uint16_t>(firstFreePort + m_sockets.size());
    if (socketAt(address) != nullptr)
        return EADDRINUSE;
    socketOf(fileDescriptor).address = address;
    return 0;
}

LcmpUdpAddress Network::address(int fileDescriptor) const { return socketOf(fileDescriptor).address; }

void Network::close(int fileDescriptor) {
    Socket& socket = socketOf(fileDescriptor);
    m_free.insert(m_free.end(), socket.inbox.begin(), socket.inbox.end());
    m_sockets.erase(m_sockets.begin() + (&socket - m_sockets.data()));
}

void Network::send(int fileDescriptor, const char* bytes, std::size_t size, const LcmpUdpAddress& to) {
    const Socket& sender = socketOf(fileDescriptor);
    const Fate fate = m_faults.next();
    ++m_sent;
    for (unsigned int copy = 0; copy < fate.copies; ++copy) {
        const std::size_t place = freePlace();
        Datagram& datagram = m_datagrams[place];
        datagram.from = sender.address;
        datagram.to = to;
        datagram.number = m_sent;
        datagram.request = sender.server != nullptr ? sender.received : sender.asked;
        datagram.bytes.assign(bytes, size);
        m_arrivals.push_back({m_time + fate.delays[copy], ++m_arrivalNumber, place});
        std::push_heap(m_arrivals.begin(), m_arrivals.end());
    }
}

int Network::receive(int fileDescriptor, char* buffer, std::size_t size, LcmpUdpAddress& from) {
    Socket& socket = socketOf(fileDescriptor);
    if (socket.inbox.empty())
        return -1;
    const std::size_t place = socket.inbox.front();
    socket.inbox.erase(socket.inbox.begin());
    m_free.push_back(place);
    const Datagram& datagram = m_datagrams[place];
    std::memcpy(buffer, datagram.bytes.data(), std::min(size, datagram.bytes.size()));
    from = datagram.from;
    socket.received = datagram.request;
    return static_cast<int>(datagram.bytes.size());
}

// Delivering may run endpoints that send, but none that opens or closes a socket.
bool Network::wait(int fileDescriptor, int milliseconds) {
    const Duration end = m_time + std::chrono::milliseconds(milliseconds);
    const Socket& socket = socketOf(fileDescriptor);
    while (socket.inbox.empty()) {
        if (m_arrivals.empty() || (milliseconds >= 0 && m_arrivals.front().due > end)) {
            m_time = milliseconds >= 0 ? end : m_time;
            return false;
        }
        deliver();
    }
    return true;
}

Network::Socket& Network::socketOf(int fileDescriptor) {
    return const_cast<Socket&>(static_cast<const Network*>(this)->socketOf(fileDescriptor));
}

const Network::Socket& Network::socketOf(int fileDescriptor) const {
    for (const Socket& socket : m_sockets) {
        if (socket.fileDescriptor == fileDescriptor)
            return socket;
    }
    throw std::logic_error("not a socket of the network");
}

Network::Socket* Network::socketAt(const LcmpUdpAddress& address) {
    for (Socket& socket : m_sockets) {
        if (socket.address == address)
            return &socket;
    }
    return nullptr;
}

std::size_t Network::freePlace() {
    if (m_free.empty()) {
        m_datagrams.emplace_back();
        return m_datagrams.size() - 1;
    }
    const std::size_t place = m_free.back();
    m_free.pop_back();
    return place;
}

void Network::deliver() {
    std::pop_heap(m_arrivals.begin(), m_arrivals.end());
    const Arrival arrival = m_arrivals.back();
    m_arrivals.pop_back();
    m_time = std::max(m_time, arrival.due);
    Socket* const receiver = socketAt(m_datagrams[arrival.place].to);
    if (receiver == nullptr) {
        m_free.push_back(arrival.place);
        return;
    }
    noteOrder(*receiver, m_datagrams[arrival.place]);
    if (onArrival)
        onArrival(receiver->address, m_datagrams[arrival.place].bytes);
    receiver->inbox.push_back(arrival.place);
    if (receiver->server != nullptr)
        receiver->server->onReadable();
}

void Network::noteOrder(Socket& receiver, const Datagram& datagram) {
    if (datagram.number < receiver.latest)
        ++m_overtaken;
    receiver.latest = std::max(receiver.latest, datagram.number);
}

// The endpoints' calls end here: a definition in the program comes before the C library's.
#define INTERPOSED extern "C" __attribute__((visibility("default")))

INTERPOSED int socket(int domain, int type, int protocol) noexcept {
    static const auto real = next<int(int, int, int)>("socket");
    return current != nullptr ? current->open() : real(domain, type, protocol);
}

INTERPOSED int bind(int fileDescriptor, const sockaddr* address, socklen_t size) noexcept {
    static const auto real = next<int(int, const sockaddr*, socklen_t)>("bind");
    Network* const network = owning(fileDescriptor);
    if (network == nullptr)
        return real(fileDescriptor, address, size);
    errno = network->bind(fileDescriptor, fromSystem(address));
    return errno == 0 ? 0 : -1;
}

INTERPOSED int getsockname(int fileDescriptor, sockaddr* address, socklen_t* size) noexcept {
    static const auto real = next<int(int, sockaddr*, socklen_t*)>("getsockname");
    Network* const network = owning(fileDescriptor);
    if (network == nullptr)
        return real(fileDescriptor, address, size);
    toSystem(network->address(fileDescriptor), address, size);
    return 0;
}

INTERPOSED int close(int fileDescriptor) {
    static const auto real = next<int(int)>("close");
    Network* const network = owning(fileDescriptor);
    if (network != nullptr)
        network->close(fileDescriptor);
    return real(fileDescriptor);
}

INTERPOSED ssize_t recvfrom(int fileDescriptor, void* buffer, std::size_t size, int flags, sockaddr* from,
                            socklen_t* fromSize) {
    static const auto real = next<ssize_t(int, void*, std::size_t, int, sockaddr*, socklen_t*)>("recvfrom");
    Network* const network = owning(fileDescriptor);
    if (network == nullptr)
        return real(fileDescriptor, buffer, size, flags, from, fromSize);
    LcmpUdpAddress sender;
    const int received = network->receive(fileDescriptor, static_cast<char*>(buffer), size, sender);
    if (received < 0) {
        errno = EAGAIN;
        return -1;
    }
    toSystem(sender, from, fromSize);
    return received;
}

INTERPOSED ssize_t sendto(int fileDescriptor, const void* data, std::size_t size, int flags,
                          const sockaddr* to, socklen_t toSize) {
    static const auto real =
        next<ssize_t(int, const void*, std::size_t, int, const sockaddr*, socklen_t)>("sendto");
    Network* const network = owning(fileDescriptor);
    if (network == nullptr)
        return real(fileDescriptor, data, size, flags, to, toSize);
    network->send(fileDescriptor, static_cast<const char*>(data), size, fromSystem(to));
    return static_cast<ssize_t>(size);
}

// The calls for several datagrams: one after the other, up to the first that fails.

namespace {

template <typename Call>
int oneByOne(mmsghdr* messages, unsigned int count, Call call) {
    for (unsigned int i = 0; i < count; ++i) {
        const ssize_t length = call(messages[i].msg_hdr);
        if (length < 0)
            return i > 0 ? static_cast<int>(i) : -1;
        messages[i].msg_len = static_cast<unsigned int>(length);
    }
    return static_cast<int>(count);
}

}  // namespace

INTERPOSED int recvmmsg(int fileDescriptor, mmsghdr* messages, unsigned int count, int flags,
                        timespec* timeout) {
    static const auto real = next<int(int, mmsghdr*, unsigned int, int, timespec*)>("recvmmsg");
    if (owning(fileDescriptor) == nullptr)
        return real(fileDescriptor, messages, count, flags, timeout);
    return oneByOne(messages, count, [&](msghdr& message) {
        const iovec& place = *message.msg_iov;
        message.msg_flags = 0;
        return recvfrom(fileDescriptor, place.iov_base, place.iov_len, flags,
                        static_cast<sockaddr*>(message.msg_name), &message.msg_namelen);
    });
}

INTERPOSED int sendmmsg(int fileDescriptor, mmsghdr* messages, unsigned int count, int flags) {
    static const auto real = next<int(int, mmsghdr*, unsigned int, int)>("sendmmsg");
    if (owning(fileDescriptor) == nullptr)
        return real(fileDescriptor, messages, count, flags);
    return oneByOne(messages, count, [&](const msghdr& message) {
        const iovec& place = *message.msg_iov;
        return sendto(fileDescriptor, place.iov_base, place.iov_len, flags,
                      static_cast<const sockaddr*>(message.msg_name), message.msg_namelen);
    });
}

// Under a name of its own here: the system's declaration says that nothing of the array is read.
INTERPOSED int pollOfTheNetwork(pollfd* sockets, nfds_t count, int milliseconds) __asm__("poll");

int pollOfTheNetwork(pollfd* sockets, nfds_t count, int milliseconds) {
    static const auto real = next<int(pollfd*, nfds_t, int)>("poll");
    Network* const network = count == 1 ? owning(sockets->fd) : nullptr;
    if (network == nullptr)
        return real(sockets, count, milliseconds);
    return network->wait(sockets->fd, milliseconds) ? 1 : 0;
}

INTERPOSED int clock_gettime(clockid_t clock, timespec* time) noexcept {
    static const auto real = next<int(clockid_t, timespec*)>("clock_gettime");
    if (current == nullptr || clock != CLOCK_MONOTONIC)
        return real(clock, time);
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(current->time());
    time->tv_sec = static_cast<time_t>(seconds.count());
    time->tv_nsec = static_cast<long>((current->time() - seconds).count());
    return 0;
}

// An endpoint's chance depends on the process; that of a network in virtual time does not.
INTERPOSED pid_t getpid() noexcept {
    static const auto real = next<pid_t()>("getpid");
    return current != nullptr ? 1 : real();
}
