// A frame taken apart: its header, its elements and where it is broken. It may be anything.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "value.h"

namespace tool {

constexpr std::string_view frameMagic = "OTN1";

/// Where a frame ceases to make sense.
struct FrameFault {
    std::size_t offset;  ///< Of the field that is wrong or not there.
    std::string reason;
    bool endsEarly = false;  ///< The bytes before it make sense, and there are no more.
};

/// The fields up to a fault; none where the frame has no such field or ends before it.
struct FrameHeader {
    std::optional<std::uint8_t> version;
    std::optional<std::uint8_t> action;
    std::optional<std::uint16_t> messageId;
    std::optional<std::uint8_t> result;         ///< Of a response.
    std::optional<std::uint16_t> errorIndex;    ///< Of a response.
    std::optional<std::uint32_t> seconds;       ///< Of an event.
    std::optional<std::uint32_t> microseconds;  ///< Of an event.
    std::size_t size = 0;                       ///< Bytes before the first element, where there is no fault.
    std::optional<FrameFault> fault;

    bool isRequest() const;  ///< Something that is answered: a read, a write, or an action that there is not.
    bool isResponse() const;
    bool isEvent() const;
};

struct FrameElement {
    std::size_t offset;
    Element element;
    std::string bytes;  ///< Of the value as it travelled; the element's own may be filled up or turned round.
    std::string fault;  ///< "" or why the value cannot be one of its type; the frame goes on behind it.
};

struct Frame {
    FrameHeader header;
    std::vector<FrameElement> elements;  ///< Those that are whole.
    std::optional<FrameFault> fault;     ///< The header's, or that of what lies behind the elements.

    bool isSound() const;  ///< No fault, of the frame or of an element.
};

FrameHeader readFrameHeader(std::string_view bytes);

/// `sentSize` is the size that the frame had on the network: a capture may have kept less.
Frame explainFrame(std::string_view bytes, std::size_t sentSize);

/// "read", "write", "read response", "write response", "event"; "" for an action that there is not.
const char* actionName(unsigned int action);

/// "UINT8"; "type 200" where a code has no name.
std::string typeText(unsigned int type);

/// Whether the value is what its type says: of the right length, and a type that there is.
bool hasValue(const FrameElement& element);

/// Whether a response with this result refuses one element of the request, which its error index names.
bool refusesElement(unsigned int result);

}  // namespace tool
