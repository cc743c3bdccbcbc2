#include "target.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <memory>

#include "exitStatus.h"
#include "lcmpUdpEndpoint.h"

namespace tool {
namespace {

struct HostAndPort {
    std::string host;
    std::uint16_t port;
};

[[noreturn]] void malformed(const std::string& what, const std::string& text, const std::string& problem) {
    throw Failure(ExitStatus::usage, what + ": '" + text + "' " + problem);
}

HostAndPort takeApart(const std::string& what, const std::string& text) {
    if (std::count(text.begin(), text.end(), ':') > 1)
        malformed(what, text, "is not HOST[:PORT]; addresses are IPv4");
    const auto colon = text.find(':');
    HostAndPort parts{text.substr(0, colon), LcmpUdpEndpoint::defaultPort};
    if (parts.host.empty())
        malformed(what, text, "lacks an address; write HOST[:PORT]");
    if (colon == std::string::npos)
        return parts;
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data() + colon + 1, end, parts.port);
    if (error != std::errc() || rest != end)
        malformed(what, text, "has a port that is not 0 to 65535");
    return parts;
}

std::uint32_t lookUp(const std::string& host) {
    addrinfo wanted{};
    wanted.ai_family = AF_INET;
    wanted.ai_socktype = SOCK_DGRAM;
    addrinfo* found = nullptr;
    const int error = getaddrinfo(host.c_str(), nullptr, &wanted, &found);
    if (error != 0)
        throw Failure(ExitStatus::unresolved, "host '" + host + "': " + gai_strerror(error));
    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> holder(found, &freeaddrinfo);
    sockaddr_in address{};
    std::memcpy(&address, found->ai_addr, sizeof address);
    return ntohl(address.sin_addr.s_addr);
}

}  // namespace

LcmpUdpAddress parseTarget(const std::string& text) {
    const HostAndPort parts = takeApart("target", text);
    if (parts.port == 0)
        malformed("target", text, "has port 0, at which nobody can be reached");
    std::uint32_t host = 0;
    if (!lcmpUdpParseHost(parts.host, host))
        host = lookUp(parts.host);
    return {host, parts.port};
}

LcmpUdpAddress parseListenAddress(const std::string& what, const std::string& text) {
    const HostAndPort parts = takeApart(what, text);
    std::uint32_t host = 0;
    if (!lcmpUdpParseHost(parts.host, host))
        malformed(what, text, "is not ADDR[:PORT] with a dotted IPv4 address");
    return {host, parts.port};
}

}  // namespace tool
