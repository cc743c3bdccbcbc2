// How explained frames are printed.
#pragma once

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "captureFile.h"
#include "conversations.h"
#include "lcmpModel.h"

namespace tool {

/// A frame as it was found; its bytes outlive it.
struct FoundFrame {
    std::size_t number;               ///< Of the packet in its capture, or of the frame in its text; from 1.
    std::optional<CaptureTime> time;  ///< When it was captured.
    bool isCaptured = false;          ///< Whether it has the addresses.
    LcmpUdpAddress source;
    LcmpUdpAddress destination;
    std::string_view bytes;
    std::size_t sentSize;  ///< Bytes on the network; a capture may have kept less.
};

/// Prints the frames, which are linked by position, as text, json, jsonl, csv or value; variables are called
/// as the model does. Returns whether all of them are sound.
bool printFrames(std::ostream& out, const std::string& format, const std::vector<FoundFrame>& frames,
                 const std::vector<FrameLinks>& links, const LcmpModel& model = lcmpModelStandard());

}  // namespace tool
