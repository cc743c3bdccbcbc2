// Controllers and a card on real sockets, each a process of its own, with a proxy between them.
#pragma once

#include <cstdint>

#include "faults.h"
#include "requester.h"

struct SocketRunSettings {
    std::uint64_t seed = 1;
    std::uint64_t requests = 1000;  // of all controllers together
    unsigned int controllers = 4;
    unsigned int rows = 256;  // variables of each
};

struct SocketRunResult {
    Tally tally;
    FaultCounts faults;
};

/// Plays until every request has ended and every variable was looked at. Throws when a process fails. The
/// seed decides what is asked and what becomes of the n-th datagram; which one that is, the machine decides.
SocketRunResult playOverSockets(const SocketRunSettings& settings);
