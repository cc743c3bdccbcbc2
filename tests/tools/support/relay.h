// A wire between a program and a card that counts what goes over it.
#pragma once

#include <atomic>
#include <string>
#include <thread>

class Relay {
public:
    /// To a card, "127.0.0.1:4711".
    explicit Relay(const std::string& card);
    ~Relay();
    Relay(const Relay&) = delete;
    Relay& operator=(const Relay&) = delete;

    /// Where the program finds it.
    std::string address() const { return m_address; }

    /// Requests, each counted once and each time it was sent.
    unsigned int requests() const { return m_requests; }
    unsigned int sendings() const { return m_sendings; }

private:
    void run();

    int m_front;  // the program asks here
    int m_back;   // connected to the card
    int m_stop[2];
    std::string m_address;
    std::atomic<unsigned int> m_requests{0};
    std::atomic<unsigned int> m_sendings{0};
    std::string m_lastId;
    std::thread m_thread;
};
