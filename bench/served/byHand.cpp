// What serving costs at least: the bytes of a request looked at by hand, each variable found in a map, the
// answer written behind one another. No objects, no message ids, no log, no allow-list, no events.
//
// usage: bench_by_hand PORT scalar|table
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cstring>
#include <map>

#include "serving.h"
#include "variables.h"

namespace {

constexpr int requestHeader = 8;    // bytes
constexpr int responseHeader = 11;  // bytes
constexpr int elementHeader = 7;    // bytes
constexpr int largestFrame = 65535;

using Variables = std::map<std::uint32_t, std::uint32_t>;

Variables variables(bool isTable) {
    Variables all;
    for (unsigned int number = 0; number < (isTable ? bench::tableVariables : bench::scalarVariables);
         ++number)
        all[isTable ? bench::tableOidOf(number) : bench::scalarOidOf(number)] = bench::valueOf(number);
    return all;
}

std::uint32_t take16(const unsigned char* p) { return (std::uint32_t{p[0]} << 8) | p[1]; }
std::uint32_t take32(const unsigned char* p) { return (take16(p) << 16) | take16(p + 2); }

void put32(unsigned char* p, std::uint32_t value) {
    for (int i = 3; i >= 0; --i, value >>= 8)
        p[i] = static_cast<unsigned char>(value);
}

// The size of the answer; 0 for what is not a read of known variables.
int answer(const Variables& all, const unsigned char* request, int size, unsigned char* response) {
    constexpr unsigned char head[] = {'O', 'T', 'N', '1', 1};
    if (size < requestHeader || std::memcmp(request, head, sizeof head) != 0 || request[5] != 1)
        return 0;
    std::memcpy(response, request, requestHeader);
    response[5] = 3;
    std::memset(response + requestHeader, 0, responseHeader - requestHeader);
    unsigned char* to = response + responseHeader;
    for (int at = requestHeader; at < size;) {
        const int left = size - at - elementHeader;
        const auto length = left >= 0 ? static_cast<int>(take16(request + at + 5)) : 1;
        const auto found = left >= length ? all.find(take32(request + at)) : all.end();
        if (found == all.end())
            return 0;
        put32(to, found->first);
        constexpr unsigned char unsigned32OfFour[] = {1, 0, 4};
        std::memcpy(to + 4, unsigned32OfFour, sizeof unsigned32OfFour);
        put32(to + elementHeader, found->second);
        to += elementHeader + 4;
        at += elementHeader + length;
    }
    return static_cast<int>(to - response);
}

}  // namespace

int main(int argc, char** argv) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(bench::portIn(argc, argv));
    const Variables all = variables(bench::isFirstWord(argc, argv, 2, "table", "scalar"));

    const int server = socket(AF_INET, SOCK_DGRAM, 0);
    if (server < 0 || bind(server, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
        bench::stop("the port cannot be had");
    bench::sayListening();

    static unsigned char request[largestFrame];
    static unsigned char response[2 * largestFrame];
    for (;;) {
        sockaddr_in from{};
        socklen_t fromSize = sizeof from;
        auto* const peer = reinterpret_cast<sockaddr*>(&from);
        const ssize_t received = recvfrom(server, request, sizeof request, 0, peer, &fromSize);
        if (received < 0)
            bench::stop("receiving failed");
        const int size = answer(all, request, static_cast<int>(received), response);
        if (size > 0 && sendto(server, response, static_cast<std::size_t>(size), 0, peer, fromSize) < 0)
            bench::stop("sending failed");
    }
}
