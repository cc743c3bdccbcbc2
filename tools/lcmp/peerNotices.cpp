#include "peerNotices.h"

#include <vector>

#include "lcmpmsg.h"
#include "trace.h"
#include "value.h"

namespace tool {
namespace {

constexpr int errorLevel = 3;
constexpr int warningLevel = 4;

// As many as are written about one malformed frame, errors and warnings together. Who traces every step gets
// those of as many frames.
constexpr std::size_t linesOfAFrame = 2;

int headerSizeOf(int action) {
    if (action == LCMP_ACTION_READ || action == LCMP_ACTION_WRITE)
        return LCMPRequest().getHeaderSize();
    return action == LCMP_ACTION_AMI ? LCMPAmi().getHeaderSize() : LCMPResponse().getHeaderSize();
}

// What is wrong with the bytes; null when they are a frame, whatever it says.
const char* malformation(const char* frame, int size) {
    LCMPMessage header;
    if (size < header.getHeaderSize())
        return "trace of frames that are too short";
    if (static_cast<unsigned int>(header.deserialize(frame, size)) != RESULT_OK)
        return "trace of frames of another kind";
    const int headerSize = headerSizeOf(header.getAction());
    if (size < headerSize)
        return "trace of frames that end in their header";
    std::vector<Element> elements;
    return takeElements(frame, size, headerSize, elements)
               ? nullptr
               : "trace of frames with an element that does not fit";
}

}  // namespace

void PeerNotices::frameReceived(const char* frame, int size) {
    muteTrace(false);
    if (!traces(errorLevel))
        return;
    muteTrace(true);  // to look is to decode, which would be traced
    const char* const cause = malformation(frame, size);
    if (cause == nullptr || m_notices.admit(cause, linesOfAFrame))
        muteTrace(false);
}

void PeerNotices::turnOver(const LcmpUdpCounters& counters) {
    muteTrace(false);
    const std::uint64_t strangers = counters.notAllowed - m_notAllowed;
    m_notAllowed = counters.notAllowed;
    if (strangers != 0 && traces(warningLevel))
        m_notices.say("datagrams from addresses that are not allowed",
                      "a datagram from an address that is not allowed was dropped; see --allow", strangers);
    m_notices.settle();
}

}  // namespace tool
