#include "frames.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "bytes.h"

namespace {

const std::filesystem::path folder = LCMP_FRAMES_DIR;

std::vector<Frame> framesIn(const std::string& prefix) {
    std::vector<Frame> frames;
    for (const auto& entry : std::filesystem::directory_iterator(folder / prefix)) {
        if (entry.path().extension() == ".frame")
            frames.push_back(frame(prefix + entry.path().stem().string()));
    }
    std::sort(frames.begin(), frames.end(), [](const Frame& a, const Frame& b) { return a.name < b.name; });
    if (frames.empty())
        throw std::runtime_error("no frames in " + (folder / prefix).string());
    return frames;
}

}  // namespace

Frame frame(const std::string& name) {
    std::ifstream file(folder / (name + ".frame"));
    if (!file)
        throw std::runtime_error("no such frame: " + name);
    std::string hexText;
    for (std::string line; std::getline(file, line);)
        hexText += line.substr(0, line.find('#')) + " ";
    return {name, bytes(hexText)};
}

std::vector<Frame> goldenFrames() { return framesIn(""); }

std::vector<Frame> brokenFrames() { return framesIn("broken/"); }
