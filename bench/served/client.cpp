// The one client. It asks two servers in turns, the same number of requests each time, and prints what each
// of them answered in a second.
//
// usage: bench_client A B VARIABLES fixed|varied IN_FLIGHT PAIRS SECONDS
//
// A, B: echo:PORT, card:PORT, snmp:PORT or coap:PORT. IN_FLIGHT 1 waits for each reply before the next
// request. SECONDS is about how long all the pairs take together. Prints one line a pair: requests per second
// of A and of B. Before it measures it asks every question once and compares the answer with the right one.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <memory>

#include "requests.h"
#include "serving.h"

namespace {

using bench::stop;
using Clock = std::chrono::steady_clock;

constexpr unsigned int variedRequests = 1024;
constexpr unsigned int longestMeasurement =
    60;  // seconds; a reply that is lost would be waited for without end

double secondsOf(Clock::duration duration) { return std::chrono::duration<double>(duration).count(); }

int connectTo(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    const int connection = socket(AF_INET, SOCK_DGRAM, 0);
    if (connection < 0 || connect(connection, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
        stop("no connection");
    return connection;
}

// A server and the requests it is asked.
class Contender {
public:
    Contender(const std::string& name, const std::vector<bench::Question>& questions) {
        const std::size_t colon = name.find(':');
        bench::Peer peer{};
        if (colon == std::string::npos || !bench::peerNamed(name.substr(0, colon), peer))
            stop("there is no such server");
        m_connection = connectTo(static_cast<std::uint16_t>(std::stoul(name.substr(colon + 1))));
        for (const bench::Question& question : questions)
            m_requests.emplace_back(peer, question);
        checkAnswers();
    }

    ~Contender() { close(m_connection); }
    Contender(const Contender&) = delete;
    Contender& operator=(const Contender&) = delete;

    double secondsFor(unsigned int requests, unsigned int inFlight) {
        alarm(longestMeasurement);
        const auto start = Clock::now();
        unsigned int sent = 0;
        for (; sent < std::min(inFlight, requests); ++sent)
            send();
        for (unsigned int received = 0; received < requests; ++received) {
            receive();
            if (sent < requests) {
                send();
                ++sent;
            }
        }
        const auto end = Clock::now();
        alarm(0);
        return secondsOf(end - start);
    }

private:
    void checkAnswers() {
        alarm(longestMeasurement);
        introduce();
        for (const bench::Request& request : m_requests) {
            send();
            const std::string_view reply = receive();
            if (!request.isAnsweredBy(reply, m_number - 1))
                stop("an answer is wrong");
            if (m_replySize != 0 && m_replySize != reply.size())
                stop("answers to requests of one kind differ in size");
            m_replySize = reply.size();
        }
        alarm(0);
    }

    // The card has seen other message ids from this address; it reports a gap to the first request, and no
    // other.
    void introduce() {
        send();
        receive();
        m_next = 0;
    }

    void send() {
        const std::string& frame = m_requests[m_next].numbered(m_number++);
        m_next = m_next + 1 == m_requests.size() ? 0 : m_next + 1;
        if (::send(m_connection, frame.data(), frame.size(), 0) != static_cast<ssize_t>(frame.size()))
            stop("sending failed");
    }

    // Valid until the next one.
    std::string_view receive() {
        const ssize_t received = recv(m_connection, m_buffer, sizeof m_buffer, 0);
        if (received <= 0 || (m_replySize != 0 && static_cast<std::size_t>(received) != m_replySize))
            stop("a reply is missing or has the wrong size");
        return {m_buffer, static_cast<std::size_t>(received)};
    }

    int m_connection = -1;
    std::vector<bench::Request> m_requests;
    std::size_t m_next = 0;
    std::uint32_t m_number = 1;
    std::size_t m_replySize = 0;  // of every reply; 0 while it is not known
    char m_buffer[65535];
};

// So many requests that both servers together need about this time for them.
unsigned int requestsFor(double seconds, Contender& a, Contender& b, unsigned int inFlight) {
    unsigned int requests = 256;
    for (;;) {
        const double taken = a.secondsFor(requests, inFlight) + b.secondsFor(requests, inFlight);
        if (taken > seconds / 4)
            return std::max(static_cast<unsigned int>(requests * seconds / taken), 1U);
        requests *= 2;
    }
}

}  // namespace

int main(int argc, char** argv) {
    const unsigned int variables = bench::numberIn(argc, argv, 3, 1, 100);
    const bool varied = bench::isFirstWord(argc, argv, 4, "varied", "fixed");
    const unsigned int inFlight = bench::numberIn(argc, argv, 5, 1, 64);
    const unsigned int pairs = bench::numberIn(argc, argv, 6, 1, 1000);
    const unsigned int seconds = bench::numberIn(argc, argv, 7, 1, 1000);
    std::signal(SIGALRM, [](int) {
        constexpr char reason[] = "a reply did not come\n";
        if (write(STDERR_FILENO, reason, sizeof reason - 1) < 0)
            _exit(2);
        _exit(1);
    });

    const auto questions = varied ? bench::variedQuestions(variedRequests, variables)
                                  : std::vector<bench::Question>{bench::fixedQuestion(variables)};
    const auto a = std::make_unique<Contender>(argv[1], questions);
    const auto b = std::make_unique<Contender>(argv[2], questions);
    const unsigned int requests = requestsFor(static_cast<double>(seconds) / pairs, *a, *b, inFlight);
    for (unsigned int pair = 0; pair < pairs; ++pair) {
        const double ofA = a->secondsFor(requests, inFlight);
        const double ofB = b->secondsFor(requests, inFlight);
        std::printf("%.1f %.1f\n", requests / ofA, requests / ofB);
    }
    return 0;
}
