// Values on the command line: what a person types becomes the element it names or is refused, and what a card
// sends is printed, read back and followed, whatever bytes it has.
#include <nlohmann/json.hpp>
#include <sstream>

#include "eventLog.h"
#include "exactBuffer.h"
#include "exitStatus.h"
#include "fuzzTarget.h"
#include "invariants.h"
#include "output.h"
#include "value.h"
#include "wire.h"

namespace {

using fuzz::ExactBuffer;
using fuzz::Input;
using fuzz::WireWalk;
using tool::ExitStatus;

bool isControl(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || byte == 0x7F;
}

bool parses(LcmpTlvType type, const std::string& text, tool::Element& element) {
    try {
        tool::parseValue(type, text, element);
        return true;
    } catch (const tool::Failure& failure) {
        FUZZ_REQUIRE(textRefused, failure.status() == ExitStatus::usage && *failure.what() != '\0',
                     std::string("refused with another status: ") + failure.what());
        return false;
    }
}

/// A value printed for people and for programs; read back it is the same.
void tryPrinting(const tool::Element& element) {
    for (const char c : tool::displayText(element))
        FUZZ_REQUIRE(logIsText, !isControl(c), "a control byte is shown: " + hex(tool::displayText(element)));
    const std::string line = tool::jsonLine({{"value", tool::jsonValue(element)}});
    FUZZ_REQUIRE(logIsText, nlohmann::ordered_json::accept(line), "no JSON: " + line);
    FUZZ_REQUIRE(logIsText, line.find('\n') == line.size() - 1, "more than a line: " + line);
}

// Times print in years of any number of digits and are read in four; a boolean's byte becomes 1.
bool readsBack(const tool::Element& element) {
    if (element.type() > MAC_ADDRESS || !tool::hasLengthOfType(element))
        return false;
    if (element.type() == MAC_ADDRESS)
        return element.length() == 6;
    constexpr long long year0 = -62167219200;
    constexpr long long year10000 = 253402300800;
    const long long seconds = element.tlv().getValueAsInt64();
    return element.type() != UNIX_TIME || (seconds >= year0 && seconds < year10000);
}

void tryReadingBack(const tool::Element& element) {
    if (!readsBack(element))
        return;
    const std::string text = tool::plainText(element);
    tool::Element again(element.oid());
    FUZZ_REQUIRE(roundTrip, parses(static_cast<LcmpTlvType>(element.type()), text, again),
                 "its own text is refused: " + text);
    const bool same = element.type() == BOOLEAN
                          ? again.tlv().getValueAsBool() == element.tlv().getValueAsBool()
                          : again.wireForm() == element.wireForm();
    FUZZ_REQUIRE(roundTrip, same, "read back it is another: " + text);
}

bool isPlainNumber(const std::string& text) {
    const std::size_t sign = text[0] == '-' ? 1 : 0;
    return text.size() > sign && text[sign] != '0' &&
           text.find_first_not_of("0123456789", sign) == std::string::npos;
}

bool isNumber(unsigned int type) { return type <= INT8; }

void tryTyping(unsigned int type, const std::string& text) {
    tool::Element element(1);
    if (!parses(static_cast<LcmpTlvType>(type % (MAC_ADDRESS + 1)), text, element))
        return;
    FUZZ_REQUIRE(textRefused, tool::hasLengthOfType(element), "a value of another length");
    if (isNumber(element.type()) && isPlainNumber(text))
        FUZZ_REQUIRE(roundTrip, tool::plainText(element) == text, "another number than " + text);
    tryPrinting(element);
    tryReadingBack(element);
}

void tryTypeName(const std::string& name) {
    try {
        FUZZ_REQUIRE(textRefused, name == lcmpTlvTypeName(tool::parseType(name)), "another type");
    } catch (const tool::Failure& failure) {
        FUZZ_REQUIRE(textRefused, failure.status() == ExitStatus::usage, "refused with another status");
    }
}

// A fixed-width element of another length than its type has is filled up or cut: its header says so.
bool keepsItsBytes(const fuzz::WireElement& element) {
    const unsigned int width = fuzz::widthOf(element.type);
    return width <= 1 || width == element.value.size();
}

void tryReply(const std::string& frame) {
    const WireWalk walked = fuzz::walk(frame, 0);
    ExactBuffer buffer(frame);
    std::vector<tool::Element> elements;
    const bool whole = tool::takeElements(buffer.data(), buffer.size(), 0, elements);
    FUZZ_REQUIRE(repliesFit, whole == walked.whole && elements.size() == walked.elements.size(),
                 "other elements than the frame has");
    for (std::size_t i = 0; i < elements.size(); ++i) {
        const fuzz::WireElement& element = walked.elements[i];
        if (keepsItsBytes(element))
            FUZZ_REQUIRE(
                roundTrip,
                elements[i].wireForm() == fuzz::elementBytes(element.oid, element.type, element.value),
                "encoded again it is " + hex(elements[i].wireForm()));
        const tool::Element copy = elements[i];
        FUZZ_REQUIRE(roundTrip, copy.wireForm() == elements[i].wireForm(), "a copy is another");
        tryPrinting(copy);
        tryReadingBack(copy);
    }
}

void tryEvents(unsigned int how, Input& input) {
    std::ostringstream out;
    std::ostringstream diagnostics;
    const auto format = (how & 1U) != 0 ? tool::EventLog::Format::jsonl : tool::EventLog::Format::text;
    tool::EventLog log(out, diagnostics, format, how / 2 % 8);
    constexpr int mostFrames = 16;
    for (int i = 0; i < mostFrames && !input.empty(); ++i) {
        const LcmpUdpAddress card{0xC0000200U + input.u8() % 4, 17470};
        ExactBuffer frame(input.record());
        log.take(card, frame.data(), frame.size());
    }
    for (const char c : out.str() + diagnostics.str())
        FUZZ_REQUIRE(logIsText, c == '\n' || !isControl(c), "a control byte is printed");
}

}  // namespace

void fuzz::prepare() {}

void fuzz::run(unsigned int mode, Input& input) {
    switch (mode / 2 % 4) {
        case 0:
            return tryTyping(mode / 8, input.rest());
        case 1:
            return tryTypeName(input.rest());
        case 2:
            return tryReply(input.rest());
        default:
            return tryEvents(mode / 8, input);
    }
}
