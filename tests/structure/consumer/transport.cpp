// Opens an endpoint on a free port, finds nothing to do, and closes it.
#include <lcmpUdpEndpoint.h>

#include <cstdio>

int main() {
    LcmpUdpEndpoint endpoint;
    if (!endpoint.open("127.0.0.1", 0)) {
        std::printf("%s\n", endpoint.getLastError().c_str());
        return 1;
    }
    const LcmpUdpAddress local = endpoint.getLocalAddress();
    const bool idle = endpoint.poll(LcmpUdpEndpoint::Milliseconds(0)) == 0;
    endpoint.close();
    return idle && local.host == 0x7F000001 && local.port != 0 ? 0 : 1;
}
