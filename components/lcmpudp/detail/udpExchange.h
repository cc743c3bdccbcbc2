// What the endpoint's two source files share: whose frame is being handled, and which reply is awaited.
#pragma once

#include <cstdint>

#include "lcmpUdpEndpoint.h"

struct LcmpUdpEndpoint::Served {
    LcmpUdpAddress peer;
    std::uint32_t asked;  // the address of ours that the frame was sent to
    bool answerless;      // the frame is itself a response or an event
    unsigned int closings;
};

struct LcmpUdpEndpoint::ReplyMatch {
    std::uint8_t action;
    std::uint16_t messageId;
};
