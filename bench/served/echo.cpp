// The measure 1.0: a datagram comes in, a datagram goes out, nothing is looked at.
//
// usage: bench_echo PORT EXTRA      answers with what came and EXTRA bytes more
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include "serving.h"

int main(int argc, char** argv) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(bench::portIn(argc, argv));
    const unsigned int extra = bench::numberIn(argc, argv, 2, 0, 1000);

    const int server = socket(AF_INET, SOCK_DGRAM, 0);
    if (server < 0 || bind(server, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
        bench::stop("the port cannot be had");
    bench::sayListening();

    static char buffer[65535 + 1000];
    for (;;) {
        sockaddr_in from{};
        socklen_t size = sizeof from;
        auto* const peer = reinterpret_cast<sockaddr*>(&from);
        const ssize_t received = recvfrom(server, buffer, 65535, 0, peer, &size);
        if (received < 0)
            bench::stop("receiving failed");
        if (sendto(server, buffer, static_cast<std::size_t>(received) + extra, 0, peer, size) < 0)
            bench::stop("sending failed");
    }
}
