// Addresses as people type them.
#pragma once

#include <string>

#include "lcmpUdpAddress.h"

namespace tool {

/// "HOST[:PORT]", the port 17470 unless given; a host name is looked up. A Failure: of status `usage` for a
/// text that is none, of status `unresolved` for a name that nobody knows.
LcmpUdpAddress parseTarget(const std::string& text);

/// "ADDR[:PORT]" to listen at: the same without names, and port 0 stands for a free one. `what` begins the
/// text of the Failure, of status `usage`.
LcmpUdpAddress parseListenAddress(const std::string& what, const std::string& text);

}  // namespace tool
