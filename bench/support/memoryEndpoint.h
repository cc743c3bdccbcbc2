// An endpoint without a socket: what it sends ends in a buffer.
#pragma once

#include <string>
#include <vector>

#include "draw.h"
#include "lcmpProtocolBase.h"

namespace bench {

class MemoryEndpoint : public LcmpProtocolBase {
public:
    bool sendMessage(LCMPMessage* msg) override {
        m_sent = msg->serializeFrame(m_frame, static_cast<int>(sizeof m_frame));
        return m_sent != 0;
    }

    /// Serves a request under the next message id. Whether it was served without a fault.
    bool serve(std::string& request) {
        ++m_number;
        request[6] = static_cast<char>(m_number >> 8);
        request[7] = static_cast<char>(m_number);
        return handleLcmpMsg(static_cast<int>(request.size()), request.data(), "127.0.0.1") &&
               m_frame[8] == 0;
    }

    /// Bytes of the frame that was sent last; 0 if that failed.
    int sentSize() const { return m_sent; }

private:
    char m_frame[65507];
    int m_sent = 0;
    // Of the process, as the message ids of a peer are: endpoints that take turns do not make gaps.
    static inline std::uint16_t m_number = 0;
};

/// A request for these properties, built by the library as a controller's would be. Message id 0.
inline std::string requestFor(LcmpAction action, const std::vector<LcmpProperty*>& properties) {
    LCMPRequest request;
    request.setAction(action);
    for (LcmpProperty* const property : properties)
        request.addProperty(property);
    std::string frame(static_cast<std::size_t>(request.getHeaderSize() + request.sizeOfTlvs()), '\0');
    if (request.serialize(frame.data(), static_cast<int>(frame.size())) == 0)
        frame.clear();
    return frame;
}

/// Read requests for `count` of these properties each, drawn at random.
inline std::vector<std::string> variedReads(const std::vector<LcmpProperty*>& properties,
                                            unsigned int requests, unsigned int count) {
    std::vector<std::string> frames;
    for (const auto& numbers : draw(requests, count, static_cast<unsigned int>(properties.size()))) {
        std::vector<LcmpProperty*> drawn;
        for (const unsigned int number : numbers)
            drawn.push_back(properties[number]);
        frames.push_back(requestFor(LCMP_ACTION_READ, drawn));
    }
    return frames;
}

}  // namespace bench
