// The other side of an endpoint: a socket, and nothing that knows the protocol.
#pragma once

#include <string>

#include "lcmpUdpEndpoint.h"

class Peer {
public:
    /// On a free port of this address.
    explicit Peer(const std::string& host = "127.0.0.1", std::uint16_t port = 0);
    ~Peer();
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    LcmpUdpAddress address() const { return m_address; }
    std::string host() const { return lcmpUdpHostToText(m_address.host); }
    std::uint16_t port() const { return m_address.port; }

    /// On loopback the datagram has arrived when this returns.
    void send(const std::string& frame, const LcmpUdpAddress& to) const;
    void send(const std::string& frame, const LcmpUdpEndpoint& to) const;

    /// The next datagram, as "4F 54 4E 31 ..."; waits for it. "nothing came" after some seconds.
    std::string receive();

    /// Whether no datagram is there.
    bool hasNothing() const;

    /// Of the datagram that receive returned last.
    LcmpUdpAddress sender() const { return m_sender; }

private:
    int m_socket;
    LcmpUdpAddress m_address;
    LcmpUdpAddress m_sender;
};
