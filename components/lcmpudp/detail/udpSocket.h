// The system calls of the transport, each in one place. Errors come back as numbers of errno, 0 when all went
// well; EINTR is seen by those alone who wait. Nothing here waits but awaitReadable and what is told to.
#pragma once

#include <cstddef>
#include <cstdint>

#include "lcmpUdpAddress.h"

namespace lcmpudpdetail {

constexpr int batchSize = 16;  // datagrams of one call

/// A socket, or what kept it from being one: `attempt` names the step that failed with `error`.
struct Opening {
    int error = 0;
    const char* attempt = "";
    int fileDescriptor = -1;
    LcmpUdpAddress bound;
};

/// A socket on this address. On all addresses it hears from each datagram which was meant.
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

/// Whether a receive waits until something is there, or until the time is over that limitReceive has set.
enum class Patience { none, some };

/// `manyAddresses`: the socket is bound to all addresses, and learns which was meant.
Receipt receiveDatagram(int fileDescriptor, char* buffer, std::size_t size, bool manyAddresses,
                        Patience patience = Patience::none);

/// Receives what is there into `count` buffers of `size` bytes each, at most batchSize, and returns how many
/// receipts it has written. The last may tell an error; nothing there is none.
std::size_t receiveDatagrams(int fileDescriptor, char* const* buffers, std::size_t size, std::size_t count,
                             bool manyAddresses, Receipt* receipts, Patience patience = Patience::none);

/// How long a receive with patience waits; the socket keeps it. At least 1.
int limitReceive(int fileDescriptor, int milliseconds);

/// Sends from the address `from`; 0 leaves the choice to the system.
int sendDatagram(int fileDescriptor, const char* data, std::size_t size, const LcmpUdpAddress& to,
                 std::uint32_t from);

/// What sendDatagram takes.
struct Shipment {
    const char* data;
    std::size_t size;
    LcmpUdpAddress to;
    std::uint32_t from;
};

/// Sends some of the first, at most batchSize, and returns how many; with an error, the next was not sent.
int sendDatagrams(int fileDescriptor, const Shipment* shipments, std::size_t count, int& error);

/// Waits until something is there to receive or the time is over; negative: for ever.
int awaitReadable(int fileDescriptor, int milliseconds);

/// Whether a receive found nothing.
bool isNothingThere(int error);

/// Whether an error says nothing about the next datagram.
bool isPassing(int error);

}  // namespace lcmpudpdetail
