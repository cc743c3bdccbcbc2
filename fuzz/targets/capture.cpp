// What lcmp decode is given: captures, packets, frames and text in hexadecimal. All of it is explained or
// refused by name, and what is told of it lies in it.
#include <nlohmann/json.hpp>
#include <sstream>

#include "captureFile.h"
#include "conversations.h"
#include "datagram.h"
#include "exactBuffer.h"
#include "exitStatus.h"
#include "frameOutput.h"
#include "fuzzTarget.h"
#include "hexText.h"
#include "invariants.h"
#include "lcmpModel.h"
#include "wire.h"

namespace {

using fuzz::ExactBuffer;
using fuzz::Input;
using tool::FoundFrame;

bool isControl(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || byte == 0x7F;
}

void requireText(const std::string& text) {
    for (const char c : text)
        FUZZ_REQUIRE(logIsText, c == '\n' || !isControl(c), "a control byte is shown: " + hex(text));
}

bool liesIn(std::string_view part, std::string_view whole) {
    return part.empty() ||
           (part.data() >= whole.data() && part.size() <= whole.size() &&
            static_cast<std::size_t>(part.data() - whole.data()) <= whole.size() - part.size());
}

/// A frame against a walk of its own; what is told of it lies in it.
void tryFrame(std::string_view bytes, std::size_t sentSize) {
    const tool::Frame frame = tool::explainFrame(bytes, sentSize);
    for (const auto& fault : {frame.fault, frame.header.fault})
        FUZZ_REQUIRE(insideBuffers, !fault || fault->offset <= bytes.size(), "a fault behind the frame");
    if (frame.header.fault) {
        FUZZ_REQUIRE(textRefused, frame.fault && frame.elements.empty(), "elements behind a broken header");
        return;
    }
    const fuzz::WireWalk walked = fuzz::walk(std::string(bytes), frame.header.size);
    FUZZ_REQUIRE(roundTrip, frame.elements.size() == walked.elements.size(),
                 "other elements than the frame has");
    const bool isWhole = walked.whole && bytes.size() >= sentSize;
    FUZZ_REQUIRE(textRefused, isWhole == !frame.fault,
                 isWhole ? "a fault in a whole frame" : "no fault is told");
    for (std::size_t i = 0; i < walked.elements.size(); ++i) {
        const fuzz::WireElement& element = walked.elements[i];
        const tool::FrameElement& told = frame.elements[i];
        FUZZ_REQUIRE(roundTrip,
                     told.element.oid() == element.oid && told.element.type() == element.type &&
                         told.bytes == element.value,
                     "another element");
        FUZZ_REQUIRE(insideBuffers, told.offset + fuzz::elementHeader + element.space == bytes.size(),
                     "an element at another place");
    }
}

void tryPrinting(const std::vector<FoundFrame>& frames) {
    tool::Conversations conversations;
    for (const FoundFrame& frame : frames) {
        tryFrame(frame.bytes, frame.sentSize);
        conversations.take(frame.source, frame.destination, tool::readFrameHeader(frame.bytes));
    }
    for (const char* format : {"text", "json", "jsonl", "csv", "value"}) {
        std::ostringstream out;
        tool::printFrames(out, format, frames, conversations.links());
        const std::string text = out.str();
        if (*format == 't' || *format == 'j')
            requireText(text);
        if (std::string(format) == "json")
            FUZZ_REQUIRE(logIsText, nlohmann::json::accept(text), "no JSON: " + text);
    }
}

void tryPacket(const tool::CapturedPacket& packet, std::vector<FoundFrame>& frames) {
    tool::Datagram datagram;
    const char* other = tool::findDatagram(packet.linkType, packet.bytes, datagram);
    if (other != nullptr) {
        FUZZ_REQUIRE(textRefused, *other != '\0', "left out without a word");
        return;
    }
    FUZZ_REQUIRE(insideBuffers, liesIn(datagram.payload, packet.bytes), "a payload outside its packet");
    FUZZ_REQUIRE(textRefused, datagram.payload.size() <= datagram.sentSize, "more was captured than sent");
    frames.push_back({packet.number, packet.time, true, datagram.source, datagram.destination,
                      datagram.payload, datagram.sentSize});
}

void tryCapture(const std::string& bytes) {
    ExactBuffer buffer(bytes);
    const std::string_view file(buffer.data(), bytes.size());
    if (!tool::isCapture(file))
        return;
    std::vector<FoundFrame> frames;
    std::size_t count = 0;
    const std::string problem = tool::readCapture(file, [&](const tool::CapturedPacket& packet) {
        FUZZ_REQUIRE(insideBuffers, liesIn(packet.bytes, file), "a packet outside its capture");
        FUZZ_REQUIRE(textRefused, packet.number == ++count, "packets are counted otherwise");
        FUZZ_REQUIRE(textRefused, !packet.time || packet.time->nanoseconds < 1000000000,
                     "more than a second");
        tryPacket(packet, frames);
    });
    requireText(problem);
    tryPrinting(frames);
}

void tryOnePacket(std::uint32_t linkType, const std::string& bytes) {
    ExactBuffer buffer(bytes);
    std::vector<FoundFrame> frames;
    tryPacket({1, std::nullopt, linkType, {buffer.data(), bytes.size()}, bytes.size()}, frames);
    tryPrinting(frames);
}

void tryText(const std::string& bytes) {
    ExactBuffer buffer(bytes);
    try {
        const std::vector<std::string> texts = tool::readHexText({buffer.data(), bytes.size()}, "f");
        std::vector<FoundFrame> frames;
        for (const std::string& text : texts) {
            FUZZ_REQUIRE(textRefused, !text.empty() && text.size() <= bytes.size(),
                         "more bytes than there are");
            frames.push_back({frames.size() + 1, std::nullopt, false, {}, {}, text, text.size()});
        }
        tryPrinting(frames);
    } catch (const tool::Failure& failure) {
        const std::string words = failure.what();
        FUZZ_REQUIRE(textRefused,
                     failure.status() == tool::ExitStatus::localFailure && words.rfind("f:", 0) == 0,
                     "refused with another status, or without a line: " + words);
        requireText(words);
    }
}

void tryOneFrame(std::size_t missing, const std::string& bytes) {
    ExactBuffer buffer(bytes);
    tryPrinting({{1, std::nullopt, false, {}, {}, {buffer.data(), bytes.size()}, bytes.size() + missing}});
}

}  // namespace

void fuzz::prepare() { lcmpModelStandard(); }

void fuzz::run(unsigned int mode, Input& input) {
    switch (mode / 2 % 4) {
        case 0:
            return tryCapture(input.rest());
        case 1:
            return tryText(input.rest());
        case 2: {
            const unsigned int linkType = input.u16();
            return tryOnePacket(linkType, input.rest());
        }
        default:
            return tryOneFrame(mode / 8, input.rest());
    }
}
