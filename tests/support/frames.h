// Golden frames: tests/frames/NAME.frame is text, hexadecimal bytes with comments behind '#'.
#pragma once

#include <string>
#include <vector>

struct Frame {
    std::string name;  // file name without ".frame"; "broken/short-header" for those in broken/
    std::string bytes;
};

/// The frame of this name; throws if there is none or it is not well written.
Frame frame(const std::string& name);

/// All frames of tests/frames/, sorted by name; and all of tests/frames/broken/.
std::vector<Frame> goldenFrames();
std::vector<Frame> brokenFrames();
