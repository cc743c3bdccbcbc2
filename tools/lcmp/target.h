// Addresses as people type them.
#pragma once

#include <string>
#include <vector>

#include "lcmpUdpAddress.h"

namespace tool {

/// "HOST[:PORT]", the port 17470 unless given; a host name is looked up. A Failure: of status `usage` for a
/// text that is none, of status `unresolved` for a name that nobody knows.
LcmpUdpAddress parseTarget(const std::string& text);

constexpr std::size_t maxTargets = 4096;

/// Several of them, "192.0.2.1,192.0.2.10-19,card7:17470-17479": commas between targets, a range of last
/// numbers of a dotted address, a range of ports. Each once, in the order written. More than `most` are a
/// Failure of status `usage`.
std::vector<LcmpUdpAddress> parseTargets(const std::vector<std::string>& texts,
                                         std::size_t most = maxTargets);

/// What help says of such a TARGET, but for what it is.
extern const char* const targetsHelp;

/// "ADDR[:PORT]" to listen at: the same without names, and port 0 stands for a free one. `what` begins the
/// text of the Failure, of status `usage`.
LcmpUdpAddress parseListenAddress(const std::string& what, const std::string& text);

}  // namespace tool
