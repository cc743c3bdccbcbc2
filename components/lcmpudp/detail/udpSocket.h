// The system calls of the transport, each in one place. Errors come back as numbers of errno, 0 when all went
// well; EINTR is seen by awaitReadable's caller only. Nothing here waits but awaitReadable.
#pragma once

#include <cstddef>
#include <cstdint>

#include "lcmpUdpAddress.h"

namespace lcmpudpdetail {

/// A socket, or what kept it from being one: `attempt` names the step that failed with `error`.
struct Opening {
    int error = 0;
    const char* attempt = "";
    int fileDescriptor = -1;
    LcmpUdpAddress bound;
};

/// A non-blocking socket on this address. On all addresses it hears from each datagram which was meant.
Opening openSocket(const LcmpUdpAddress& address);

void closeSocket(int fileDescriptor);

/// What a receive has brought.
struct Receipt {
    int error = 0;
    bool truncated = false;
    std::size_t size = 0;
    LcmpUdpAddress from;
    std::uint32_t asked = 0;  // the address of this host that the sender meant; 0 where there is one only
};

/// `manyAddresses`: the socket is bound to all addresses, and learns which was meant.
Receipt receiveDatagram(int fileDescriptor, char* buffer, std::size_t size, bool manyAddresses);

/// Sends from the address `from`; 0 leaves the choice to the system.
int sendDatagram(int fileDescriptor, const char* data, std::size_t size, const LcmpUdpAddress& to,
                 std::uint32_t from);

/// Waits until something is there to receive or the time is over; negative: for ever.
int awaitReadable(int fileDescriptor, int milliseconds);

/// Whether a receive found nothing.
bool isNothingThere(int error);

/// Whether an error says nothing about the next datagram.
bool isPassing(int error);

}  // namespace lcmpudpdetail
