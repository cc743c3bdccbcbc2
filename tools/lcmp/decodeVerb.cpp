// lcmp decode: explains frames.
#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <map>
#include <memory>

#include "datagram.h"
#include "frameOutput.h"
#include "hexText.h"
#include "modelOption.h"
#include "output.h"
#include "verbs.h"

namespace tool {
namespace {

struct DecodeOptions {
    std::string file = "-";
    std::optional<unsigned int> port;
    std::string format = "text";
    std::string model;
};

// What decode reads holds the input until all is printed: frames point into it.
constexpr std::size_t largestInput = std::size_t{1} << 30;

std::string nameOf(const DecodeOptions& options) {
    return options.file == "-" ? "standard input" : options.file;
}

[[noreturn]] void failToRead(const std::string& name, const std::string& problem) {
    throw Failure(ExitStatus::localFailure, name + ": " + problem);
}

std::string readAll(std::istream& in, const std::string& name) {
    std::string all;
    std::vector<char> piece(std::size_t{1} << 16);
    while (in.read(piece.data(), static_cast<std::streamsize>(piece.size())) || in.gcount() > 0) {
        all.append(piece.data(), static_cast<std::size_t>(in.gcount()));
        if (all.size() > largestInput)
            failToRead(name, "more than 1 GiB; cut it into smaller files");
    }
    if (in.bad())
        failToRead(name, std::strerror(errno));
    return all;
}

std::string readInput(const DecodeOptions& options) {
    if (options.file == "-")
        return readAll(std::cin, nameOf(options));
    errno = 0;
    std::ifstream file(options.file, std::ios::binary);
    if (!file)
        failToRead(options.file, std::strerror(errno));
    return readAll(file, options.file);
}

// The frames of an input, and what of it was no frame.
class Input {
public:
    explicit Input(const DecodeOptions& options) : m_options(options), m_data(readInput(options)) {
        if (m_data.compare(0, 2, "\x1F\x8B") == 0)
            failToRead(nameOf(options), "compressed; give what gunzip makes of it");
        if (isCapture(m_data))
            m_problem = readCapture(m_data, [this](const CapturedPacket& packet) { takePacket(packet); });
        else
            takeText();
    }

    const std::vector<FoundFrame>& frames() const { return m_frames; }

    /// "" or why the input could not be read to its end.
    const std::string& problem() const { return m_problem; }

    /// "left out 3 packets: 1 IPv6, 2 not UDP"; "" when nothing was.
    std::string leftOut() const {
        std::size_t count = 0;
        std::string kinds;
        for (const auto& [kind, number] : m_leftOut) {
            count += number;
            kinds += (kinds.empty() ? "" : ", ") + std::to_string(number) + ' ' + kind;
        }
        if (count == 0)
            return "";
        return "left out " + std::to_string(count) + (count == 1 ? " packet: " : " packets: ") + kinds;
    }

private:
    void takePacket(const CapturedPacket& packet) {
        Datagram datagram;
        const char* otherKind = findDatagram(packet.linkType, packet.bytes, datagram);
        if (otherKind == nullptr && !isMeant(datagram))
            otherKind = "of another protocol";
        if (otherKind != nullptr) {
            ++m_leftOut[otherKind];
            return;
        }
        m_frames.push_back({packet.number, packet.time, true, datagram.source, datagram.destination,
                            datagram.payload, datagram.sentSize});
    }

    bool isMeant(const Datagram& datagram) const {
        if (m_options.port)
            return datagram.source.port == *m_options.port || datagram.destination.port == *m_options.port;
        return datagram.payload.substr(0, frameMagic.size()) == frameMagic;
    }

    // The magic is no hexadecimal: what begins with it is the frame itself.
    void takeText() {
        if (m_options.port)
            throw Failure(ExitStatus::usage, "--port: " + nameOf(m_options) + " is no capture");
        if (m_data.compare(0, frameMagic.size(), frameMagic) == 0)
            m_texts = {m_data};
        else if (m_data.find('\0') != std::string::npos)
            failToRead(nameOf(m_options), "neither a pcap or pcapng capture nor text");
        else
            m_texts = readHexText(m_data, nameOf(m_options));
        for (const std::string& text : m_texts)
            m_frames.push_back({m_frames.size() + 1, std::nullopt, false, {}, {}, text, text.size()});
    }

    const DecodeOptions& m_options;
    std::string m_data;
    std::vector<std::string> m_texts;
    std::vector<FoundFrame> m_frames;
    std::map<std::string, std::size_t> m_leftOut;
    std::string m_problem;
};

std::vector<FrameLinks> linksOf(const std::vector<FoundFrame>& frames) {
    Conversations conversations;
    for (const FoundFrame& frame : frames)
        conversations.take(frame.source, frame.destination, readFrameHeader(frame.bytes));
    return conversations.links();
}

void tell(const DecodeOptions& options, const std::string& text) {
    if (!text.empty())
        std::cerr << "lcmp: " << nameOf(options) << ": " << text << '\n';
}

ExitStatus decode(const DecodeOptions& options) {
    const auto model = loadModel(options.model);
    const Input input(options);
    const bool allSound =
        printFrames(std::cout, options.format, input.frames(), linksOf(input.frames()), *model);
    std::cout.flush();
    tell(options, input.leftOut());
    tell(options, input.problem());
    if (!input.problem().empty())
        return ExitStatus::localFailure;
    if (input.frames().empty())
        tell(options, "there is no frame in it");
    return allSound && !input.frames().empty() ? ExitStatus::done : ExitStatus::badFrame;
}

}  // namespace

void addDecodeVerb(CLI::App& verb, ExitStatus& status) {
    const auto options = std::make_shared<DecodeOptions>();
    verb.add_option("FILE", options->file, "What to read; - or nothing is standard input")->type_name("");
    verb.add_option("--port", options->port,
                    "Of a capture: every datagram from or to this port, and no others; otherwise those that "
                    "begin like a frame")
        ->type_name("PORT")
        ->check(CLI::Range(0, 65535));
    addFormatOption(verb, options->format, {"text", "json", "jsonl", "csv", "value"});
    addModelOption(verb, options->model);
    verb.footer(
        "FILE is one of\n"
        "  a capture, pcap or pcapng: responses are shown with their requests and the time between them;\n"
        "  text: bytes in hexadecimal, '#' begins a comment, an empty line or a line that begins with the\n"
        "  magic 4f544e31 begins the next frame; or what xxd, hexdump -vC, tcpdump -x or tshark -x print;\n"
        "  the bytes of one frame.\n"
        "A broken frame is explained up to where it breaks; the status is then 6. In front of each element "
        "stands\n"
        "its offset in the frame.\n\n"
        "Examples: lcmp decode session.pcap\n"
        "          echo 4f544e31 01 02 0007 11800002 03 0001 03 | lcmp decode");
    verb.callback([options, &status] { status = decode(*options); });
}

}  // namespace tool
