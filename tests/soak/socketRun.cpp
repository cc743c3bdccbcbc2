#include "socketRun.h"

#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <functional>
#include <memory>
#include <stdexcept>
#include <system_error>
#include <vector>

#include "proxy.h"

namespace {

using namespace std::chrono_literals;

constexpr LcmpUdpEndpoint::Milliseconds firstTry = 4ms;
constexpr int tries = 4;

// Four tries take 4, 8, 16 and 32 ms, the first three up to a quarter more.
constexpr FaultTimes times = {500us, 20ms, 70ms};

// Far beyond a copy's lifetime, and long enough for a machine that has other things to do.
constexpr auto spacing = 5s;

// A process of the run, and the socket to talk to it.
class Child {
public:
    explicit Child(const std::function<void(int channel)>& body) {
        std::array<int, 2> ends{};
        if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0)
            throw std::system_error(errno, std::generic_category(), "socketpair");
        m_process = fork();
        if (m_process == 0) {
            ::close(ends[0]);
            live(body, ends[1]);
        }
        ::close(ends[1]);
        m_channel = ends[0];
        if (m_process < 0)
            throw std::system_error(errno, std::generic_category(), "fork");
    }

    ~Child() {
        ::close(m_channel);
        if (m_process > 0) {
            kill(m_process, SIGKILL);
            waitpid(m_process, nullptr, 0);
        }
    }

    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    int channel() const { return m_channel; }

    /// The next message; throws when the process has ended without one.
    template <typename Message>
    Message receive() const {
        Message message{};
        if (recv(m_channel, &message, sizeof message, 0) != static_cast<ssize_t>(sizeof message))
            throw std::runtime_error("a process of the run has failed");
        return message;
    }

    template <typename Message>
    void send(const Message& message) const {
        if (::send(m_channel, &message, sizeof message, MSG_NOSIGNAL) < 0)
            throw std::runtime_error("a process of the run is gone");
    }

private:
    [[noreturn]] static void live(const std::function<void(int)>& body, int channel) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);  // a run that is ended from outside leaves nothing behind
        try {
            body(channel);
        } catch (const std::exception&) {
            _exit(1);
        }
        _exit(0);
    }

    pid_t m_process = -1;
    int m_channel = -1;
};

using Children = std::vector<std::unique_ptr<Child>>;

void tell(int channel, const void* message, std::size_t size) {
    if (::send(channel, message, size, MSG_NOSIGNAL) < 0)
        throw std::runtime_error("nobody listens");
}

// Waits for the word to go on.
void waitForWord(int channel) {
    char word = 0;
    if (recv(channel, &word, sizeof word, 0) != 1)
        throw std::runtime_error("nobody speaks");
}

void openOnLoopback(LcmpUdpEndpoint& endpoint) {
    if (!endpoint.open("127.0.0.1", 0))
        throw std::runtime_error(endpoint.getLastError());
}

void aimAt(LcmpUdpEndpoint& endpoint, const LcmpUdpAddress& address) {
    if (!endpoint.setTarget(lcmpUdpHostToText(address.host), address.port))
        throw std::runtime_error(endpoint.getLastError());
}

// Serves until it is killed.
void liveAsCard(const SocketRunSettings& settings, int channel) {
    LcmpUdpEndpoint card;
    std::vector<std::unique_ptr<SoakTable>> tables;
    for (unsigned int number = 1; number <= settings.controllers; ++number) {
        tables.push_back(std::make_unique<SoakTable>(number, settings.rows));
        card.registerObject(tables.back().get());
    }
    openOnLoopback(card);
    const LcmpUdpAddress address = card.getLocalAddress();
    tell(channel, &address, sizeof address);
    while (card.poll(-1ms) >= 0) {
    }
    throw std::runtime_error(card.getLastError());
}

void liveAsController(const SocketRunSettings& settings, unsigned int number, const LcmpUdpAddress& front,
                      const LcmpUdpAddress& card, int channel) {
    Requester controller(number, settings.rows, settings.seed, spacing);
    openOnLoopback(controller);
    aimAt(controller, front);
    controller.setTimeout(firstTry);
    controller.setTries(tries);
    for (std::uint64_t left = settings.requests / settings.controllers; left > 0; --left)
        controller.request();
    const Tally asked = controller.tally();
    tell(channel, &asked, sizeof asked);

    // With nothing in between, and nothing on its way any more.
    waitForWord(channel);
    aimAt(controller, card);
    controller.setTimeout(10s);
    controller.verify();
    Tally verified = controller.tally();
    verified.retries = asked.retries;
    verified.late = asked.late;
    tell(channel, &verified, sizeof verified);
}

// Sends on until every controller has said that it is done, and nothing is on its way.
void serveUntilDone(Proxy& proxy, const Children& controllers) {
    std::vector<pollfd> watched = {{proxy.getFileDescriptor(), POLLIN, 0}};
    for (const auto& controller : controllers)
        watched.push_back({controller->channel(), POLLIN, 0});
    while (watched.size() > 1 || proxy.millisecondsToDue() >= 0) {
        if (poll(watched.data(), watched.size(), proxy.millisecondsToDue()) < 0 && errno != EINTR)
            throw std::system_error(errno, std::generic_category(), "poll");
        proxy.run();
        for (std::size_t i = watched.size(); --i > 0;) {
            if (watched[i].revents != 0)
                watched.erase(watched.begin() + static_cast<std::ptrdiff_t>(i));
        }
    }
}

}  // namespace

SocketRunResult playOverSockets(const SocketRunSettings& settings) {
    const Child card([&](int channel) { liveAsCard(settings, channel); });
    const auto address = card.receive<LcmpUdpAddress>();
    Proxy proxy(Faults(settings.seed, {}, times), settings.controllers, address);
    Children controllers;
    for (unsigned int number = 1; number <= settings.controllers; ++number)
        controllers.push_back(std::make_unique<Child>([&, number](int channel) {
            liveAsController(settings, number, proxy.front(number - 1), address, channel);
        }));
    serveUntilDone(proxy, controllers);
    SocketRunResult result;
    for (const auto& controller : controllers)
        controller->receive<Tally>();
    for (const auto& controller : controllers)
        controller->send('v');
    for (const auto& controller : controllers)
        result.tally += controller->receive<Tally>();
    result.faults = proxy.counts();
    return result;
}
