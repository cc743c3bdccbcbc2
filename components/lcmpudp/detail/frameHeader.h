// The few bytes of a received frame that decide where it goes.
#pragma once

#include <cstddef>
#include <cstdint>

#include "lcmpmsg.h"

namespace lcmpudpdetail {

/// All zeros for what is too short to be a frame.
struct FrameHeader {
    bool spoken = false;  // magic and version are ours
    std::uint8_t action = 0;
    std::uint16_t messageId = 0;

    bool isResponse() const {
        return action == LCMP_ACTION_READ_RESPONSE || action == LCMP_ACTION_WRITE_RESPONSE;
    }

    /// Whether an answer to it could be answered in turn, and so on for ever.
    bool isAnswerless() const { return isResponse() || action == LCMP_ACTION_AMI; }
};

inline FrameHeader readFrameHeader(const char* bytes, std::size_t size) {
    constexpr std::size_t headerSize = 8;
    if (size < headerSize)
        return {};
    const auto at = [bytes](std::size_t offset) {
        return std::uint32_t{static_cast<unsigned char>(bytes[offset])};
    };
    const std::uint32_t magic = (at(0) << 24) | (at(1) << 16) | (at(2) << 8) | at(3);
    FrameHeader header;
    header.spoken = magic == LCMPMessage::magicNumber && at(4) == LCMPMessage::protocolVersion;
    header.action = static_cast<std::uint8_t>(at(5));
    header.messageId = static_cast<std::uint16_t>((at(6) << 8) | at(7));
    return header;
}

}  // namespace lcmpudpdetail
