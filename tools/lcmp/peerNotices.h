// What a program that listens says about those who should not send, or send what is no frame.
#pragma once

#include "lcmpUdpEndpoint.h"
#include "limitedNotice.h"

namespace tool {

/// Holds the library's log lines to the limit where they are about a malformed frame, and tells of datagrams
/// that the allow-list kept out (at --trace 4 or more). Without --trace nothing is said here.
class PeerNotices {
public:
    /// `notices` outlives it.
    explicit PeerNotices(LimitedNotice& notices) : m_notices(notices) {}

    /// To be called from the endpoint's frameReceived: the lines about this frame are written, or not.
    void frameReceived(const char* frame, int size);

    /// To be called when the endpoint has handled what was there: lines are written again.
    void turnOver(const LcmpUdpCounters& counters);

private:
    LimitedNotice& m_notices;
    std::uint64_t m_notAllowed = 0;  // datagrams that were told of
};

}  // namespace tool
