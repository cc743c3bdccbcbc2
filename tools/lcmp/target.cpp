#include "target.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <memory>
#include <set>
#include <utility>

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

namespace {

// Cuts "10-19" at its '-' and returns what stood behind; "" where there is none.
std::string cutRange(std::string& text) {
    const auto dash = text.rfind('-');
    if (dash == std::string::npos)
        return "";
    std::string last = text.substr(dash + 1);
    text.resize(dash);
    return last;
}

// The numbers from `first` to the one in the text: how many there are behind `first`.
unsigned int rangeBehind(unsigned int first, const std::string& last, unsigned int most,
                         const std::string& target) {
    if (last.empty())
        return 0;
    unsigned int number = 0;
    const char* end = last.data() + last.size();
    const auto [rest, error] = std::from_chars(last.data(), end, number);
    if (error != std::errc() || rest != end || number < first || number > most)
        malformed("target", target,
                  "has a range that ends in '" + last + "', not in " + std::to_string(first) + " to " +
                      std::to_string(most));
    return number - first;
}

// A '-' is also a part of names: only behind a dotted address it makes a range.
std::string cutHostRange(std::string& host) {
    std::string dotted = host;
    std::string last = cutRange(dotted);
    std::uint32_t address = 0;
    if (last.empty() || !lcmpUdpParseHost(dotted, address))
        return "";
    host = dotted;
    return last;
}

class Targets {
public:
    explicit Targets(std::size_t most) : m_most(most) {}

    void addList(const std::string& text) {
        std::size_t begin = 0;
        for (auto comma = text.find(','); comma != std::string::npos; comma = text.find(',', begin)) {
            addRange(text.substr(begin, comma - begin));
            begin = comma + 1;
        }
        addRange(text.substr(begin));
    }

    const std::vector<LcmpUdpAddress>& all() const { return m_all; }

private:
    void addRange(const std::string& text) {
        const auto colon = text.find(':');
        std::string host = text.substr(0, colon);
        std::string port = colon == std::string::npos ? "" : text.substr(colon);
        const std::string lastHost = cutHostRange(host);
        const std::string lastPort = cutRange(port);
        const LcmpUdpAddress first = parseTarget(host + port);
        const unsigned int hosts = rangeBehind(first.host & 0xFF, lastHost, 0xFF, text);
        const unsigned int ports = rangeBehind(first.port, lastPort, 0xFFFF, text);
        for (unsigned int i = 0; i <= hosts; ++i) {
            for (unsigned int j = 0; j <= ports; ++j)
                add({first.host + i, static_cast<std::uint16_t>(first.port + j)});
        }
    }

    void add(const LcmpUdpAddress& address) {
        if (!m_known.insert({address.host, address.port}).second)
            return;
        if (m_all.size() == m_most)
            throw Failure(ExitStatus::usage,
                          "target: more than " + std::to_string(m_most) + " cards; name fewer at a time");
        m_all.push_back(address);
    }

    std::size_t m_most;
    std::vector<LcmpUdpAddress> m_all;
    std::set<std::pair<std::uint32_t, std::uint16_t>> m_known;
};

}  // namespace

std::vector<LcmpUdpAddress> parseTargets(const std::vector<std::string>& texts, std::size_t most) {
    Targets targets(most);
    for (const std::string& text : texts)
        targets.addList(text);
    return targets.all();
}

const char* const targetsHelp =
    "HOST[:PORT], the port 17470 unless given. Several with commas between them, or ranges like\n"
    "192.0.2.10-19 and 192.0.2.1:17470-17479.";

LcmpUdpAddress parseListenAddress(const std::string& what, const std::string& text) {
    const HostAndPort parts = takeApart(what, text);
    std::uint32_t host = 0;
    if (!lcmpUdpParseHost(parts.host, host))
        malformed(what, text, "is not ADDR[:PORT] with a dotted IPv4 address");
    return {host, parts.port};
}

}  // namespace tool
