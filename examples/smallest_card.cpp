// The smallest card: one object with two variables, on a UDP socket of its own.
//
//     smallest_card [PORT]
//
// Without a port, or with port 0, it takes a free one. The line it prints tells which:
//
//     listening on 127.0.0.1:40001
//
// Then read and write it with smallest_controller, or by OID with the command line:
//
//     lcmp get 127.0.0.1:40001 0x05000000:BOOLEAN 0x05000001:UINT8
//
// Ctrl-C ends it.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <vector>

#include "lcmpProtocolBase.h"

namespace {

// An endpoint does the protocol; how frames come and go is its application's business. This is all of it: one
// operation that hands over what has arrived, and one that the library calls to send.
class Card : public LcmpProtocolBase {
public:
    explicit Card(int udpSocket) : m_socket(udpSocket) {}

    // Waits for a datagram and hands it to the library, which calls sendMessage with the answer before it
    // returns.
    void serveOne() {
        std::array<char, 65535> frame;
        socklen_t peerSize = sizeof m_peer;
        const ssize_t size = recvfrom(m_socket, frame.data(), frame.size(), 0, peer(), &peerSize);
        if (size >= 0)
            handleLcmpMsg(static_cast<int>(size), frame.data(), inet_ntoa(m_peer.sin_addr));
    }

    bool sendMessage(LCMPMessage* msg) override {
        std::vector<char> frame(static_cast<std::size_t>(msg->getHeaderSize() + msg->sizeOfTlvs()));
        if (msg->serialize(frame.data(), static_cast<int>(frame.size())) == 0)
            return false;
        return sendto(m_socket, frame.data(), frame.size(), 0, peer(), sizeof m_peer) >= 0;
    }

private:
    sockaddr* peer() { return reinterpret_cast<sockaddr*>(&m_peer); }

    int m_socket;
    sockaddr_in m_peer{};  // who sent the frame that is being handled
};

// A socket on the loopback address; tells its port. Ends the program when there is none to be had.
int openSocket(long port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    socklen_t size = sizeof address;
    auto* const raw = reinterpret_cast<sockaddr*>(&address);
    const int udpSocket = socket(AF_INET, SOCK_DGRAM, 0);
    if (udpSocket < 0 || bind(udpSocket, raw, size) != 0 || getsockname(udpSocket, raw, &size) != 0) {
        std::perror("smallest_card");
        std::exit(1);
    }
    std::cout << "listening on 127.0.0.1:" << ntohs(address.sin_port) << std::endl;
    return udpSocket;
}

}  // namespace

int main(int argc, char** argv) {
    // A scalar is a group of single variables. This one has group id 10; its two variables have ids 0 and 1
    // in it. The object owns its properties, and a property owns its check: that is what the `new`s are for.
    LcmpScalar lamp("lamp", 10, false);
    lamp.addProp(new TypeProperty<bool>(0, "on", IFC_CARD_VAR_READ_ONLY, true), 0);
    lamp.addProp(new TypeProperty<unsigned char>(1, "brightness", IFC_CARD_VAR_WRITABLE, 50,
                                                 new RangeCheckValue<unsigned char>(0, 100)),
                 0);

    Card card(openSocket(argc > 1 ? std::strtol(argv[1], nullptr, 10) : 0));
    card.registerObject(&lamp);  // not owned: the object lives as long as the card serves it
    for (;;)
        card.serveOne();
}
