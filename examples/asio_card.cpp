// A card that lives in Boost.Asio's loop: its socket and its deadlines are two of the things the loop waits
// for.
//
//     asio_card [ADDRESS]
//
// Serves ADDRESS, 127.0.0.1 unless given, at port 17470, and sends its events to port 17471 there. It has one
// object, a clock of group id 12, whose variable 0 counts seconds and reports each. Ctrl-C ends it with
// status 0.
#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <csignal>
#include <exception>
#include <iostream>
#include <string>

#include "lcmpUdpEndpoint.h"

namespace {

namespace asio = boost::asio;

// Drives an endpoint from a loop: onReadable when its socket is readable, onDeadline when its time has come.
// The endpoint is open, and stays so for as long as this lives.
class Driver {
public:
    Driver(asio::io_context& loop, LcmpUdpEndpoint& endpoint)
        : m_loop(loop), m_endpoint(endpoint), m_socket(loop, endpoint.getFileDescriptor()), m_timer(loop) {
        waitForDatagrams();
        waitForDeadline();
    }

    // The descriptor belongs to the endpoint: Asio must not close it.
    ~Driver() { m_socket.release(); }
    Driver(const Driver&) = delete;
    Driver& operator=(const Driver&) = delete;

private:
    void waitForDatagrams() {
        m_socket.async_wait(asio::posix::stream_descriptor::wait_read,
                            [this](const boost::system::error_code& error) {
                                if (error)
                                    return;
                                goOn(m_endpoint.onReadable());
                                waitForDatagrams();
                            });
    }

    void waitForDeadline() {
        const int left = m_endpoint.millisecondsToDeadline();
        if (left < 0)
            return;  // nothing will ever be due
        m_timer.expires_after(std::chrono::milliseconds(left));
        m_timer.async_wait([this](const boost::system::error_code& error) {
            if (error)
                return;  // cancelled: another wait has begun
            goOn(m_endpoint.onDeadline());
            waitForDeadline();
        });
    }

    void goOn(int handled) {
        if (handled >= 0)
            return;
        std::cerr << "asio_card: " << m_endpoint.getLastError() << '\n';
        m_loop.stop();
    }

    asio::io_context& m_loop;
    LcmpUdpEndpoint& m_endpoint;
    asio::posix::stream_descriptor m_socket;
    asio::steady_timer m_timer;
};

// Something else that the loop does: a clock that ticks.
class Ticker {
public:
    Ticker(asio::io_context& loop, LcmpProperty& seconds) : m_timer(loop), m_seconds(seconds) { tick(); }

private:
    void tick() {
        m_seconds.set(m_count++);
        m_timer.expires_after(std::chrono::seconds(1));
        m_timer.async_wait([this](const boost::system::error_code& error) {
            if (!error)
                tick();
        });
    }

    asio::steady_timer m_timer;
    LcmpProperty& m_seconds;
    unsigned int m_count = 0;
};

int serve(const std::string& address) {
    LcmpScalar clock("clock", 12, false);
    auto* const seconds = new TypeProperty<unsigned int>(0, "seconds", IFC_CARD_VAR_READ_ONLY, 0, true);
    clock.addProp(seconds, 0);  // the object owns it from here on

    LcmpUdpEndpoint card;
    card.registerObject(&clock);
    if (!card.open(address, LcmpUdpEndpoint::defaultPort) || !card.addEventReceiver(address, 17471)) {
        std::cerr << "asio_card: " << card.getLastError() << '\n';
        return 1;
    }
    card.eventHandler();  // the first call in a process only collects
    card.setEventPeriod(std::chrono::milliseconds(200));

    asio::io_context loop(1);  // one thread: the library has no locks
    const Driver driver(loop, card);
    const Ticker ticker(loop, *seconds);
    asio::signal_set signals(loop, SIGINT, SIGTERM);
    signals.async_wait([&loop](const boost::system::error_code&, int) { loop.stop(); });
    std::cout << "listening on " << lcmpUdpToText(card.getLocalAddress()) << std::endl;
    loop.run();
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return serve(argc > 1 ? argv[1] : "127.0.0.1");
    } catch (const std::exception& error) {  // Asio throws where the library does not
        std::cerr << "asio_card: " << error.what() << '\n';
        return 1;
    }
}
