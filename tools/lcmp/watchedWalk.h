// A walk as a person at a terminal meets it: problems on standard error, a bar when it takes long, Ctrl-C.
#pragma once

#include <optional>
#include <vector>

#include "cardWalk.h"
#include "clientOptions.h"
#include "lcmpUdpAddress.h"

namespace tool {

struct WalkEnd {
    ExitStatus status = ExitStatus::done;
    std::optional<ExitStatus> brokenBy;  ///< No answer, or a malformed one: not everything was asked for.
};

/// Reads the parts of the card into the sink. Where the person interrupts that, what was read is in the sink,
/// standard output has been flushed, and the process ends.
WalkEnd watchWalk(const LcmpUdpAddress& card, const ClientSettings& settings, const LcmpModel& model,
                  const std::vector<WalkPart>& parts, WalkSink& sink);

}  // namespace tool
