#include "duration.h"

#include "exitStatus.h"
#include "lcmpModelValue.h"

namespace tool {

std::chrono::milliseconds parseDuration(const std::string& what, const std::string& text) {
    std::chrono::milliseconds time{0};
    std::string problem;
    if (!lcmpModelParseDuration(text, time, problem))
        throw Failure(ExitStatus::usage, what + ": " + problem);
    return time;
}

}  // namespace tool
