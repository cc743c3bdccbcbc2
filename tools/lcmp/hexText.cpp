#include "hexText.h"

#include <algorithm>
#include <charconv>
#include <optional>

#include "datagram.h"
#include "exitStatus.h"
#include "frame.h"
#include "value.h"

namespace tool {
namespace {

constexpr std::string_view blanks = " \t\r";
constexpr std::string_view separators = " \t\r|,:";

std::string_view trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(blanks);
    return first == std::string_view::npos ? std::string_view() : text.substr(first);
}

// Takes the text up to one of the separators off the front, and those behind it.
std::string_view takeWord(std::string_view& text, std::string_view endings) {
    const std::string_view word = text.substr(0, text.find_first_of(endings));
    text.remove_prefix(word.size());
    const auto next = text.find_first_not_of(endings);
    text = next == std::string_view::npos ? std::string_view() : text.substr(next);
    return word;
}

std::optional<std::size_t> parseOffset(std::string_view digits) {
    if (digits.substr(0, 2) == "0x")
        digits.remove_prefix(2);
    constexpr std::size_t fewest = 4;
    constexpr std::size_t most = 8;
    std::size_t offset = 0;
    const char* end = digits.data() + digits.size();
    const auto [rest, error] = std::from_chars(digits.data(), end, offset, 16);
    if (digits.size() < fewest || digits.size() > most || error != std::errc() || rest != end)
        return std::nullopt;
    return offset;
}

// One line of a dump: "00000010: 4f54 4e31  OTN1", "0x0010:  4f54", "00000010  4f 54  |OT|", "0010  4f 54
// OT", "000010 4f 54".
struct DumpLine {
    std::size_t offset;
    std::string_view bytes;
};

// Words of two bytes may be of either byte order there, so only single bytes are taken.
bool isBehindOffset(std::string_view rest) {
    return rest.empty() || rest.substr(0, 2) == "  " ||
           (rest.size() > 2 && (rest.size() == 3 || blanks.find(rest[3]) != std::string_view::npos));
}

std::size_t endOfBytes(std::string_view line) { return std::min(line.find('|'), line.find("   ")); }

std::optional<DumpLine> parseDumpLine(std::string_view line) {
    line = trimmed(line);
    const auto end = line.find_first_of(": \t\r");
    const std::optional<std::size_t> offset = parseOffset(line.substr(0, end));
    if (!offset)
        return std::nullopt;
    line.remove_prefix(end == std::string_view::npos ? line.size() : end);
    const bool withColon = !line.empty() && line[0] == ':';
    if (!withColon && !isBehindOffset(line))
        return std::nullopt;
    line = trimmed(withColon ? line.substr(1) : line);
    return DumpLine{*offset, line.substr(0, withColon ? line.find("  ") : endOfBytes(line))};
}

// A word of the text, which may be anything, with its control bytes escaped.
std::string shown(const std::string& word) {
    constexpr std::size_t longest = 40;
    Element text;
    text.tlv().setValue(word.substr(0, longest));
    return displayText(text);
}

// A word of zeros may also stand alone before a comment: then it is bytes.
bool beginsDump(const DumpLine& line) {
    return line.offset == 0 && !line.bytes.empty() && line.bytes[0] != '#';
}

// tcpdump's line above the bytes of a packet.
bool isCaption(std::string_view line) {
    return line.find(" IP ") != std::string_view::npos && line.find(" > ") != std::string_view::npos;
}

bool isFrame(std::string_view bytes) { return bytes.substr(0, frameMagic.size()) == frameMagic; }

// The frame in a dumped packet, or the bytes as they are.
std::string unpacked(const std::string& bytes) {
    constexpr std::uint32_t ethernet = 1;
    constexpr std::uint32_t rawIp = 101;
    for (const std::uint32_t linkType : {rawIp, ethernet}) {
        Datagram datagram;
        if (!isFrame(bytes) && findDatagram(linkType, bytes, datagram) == nullptr &&
            isFrame(datagram.payload))
            return std::string(datagram.payload);
    }
    return bytes;
}

class HexText {
public:
    explicit HexText(const std::string& file) : m_file(file) {}

    std::vector<std::string> read(std::string_view text) {
        while (!text.empty()) {
            ++m_line;
            const std::string_view line = text.substr(0, text.find('\n'));
            text.remove_prefix(line.size() == text.size() ? line.size() : line.size() + 1);
            readLine(line);
        }
        endFrame();
        return std::move(m_frames);
    }

private:
    void readLine(std::string_view line) {
        if (trimmed(line).empty() || isCaption(line))
            return endFrame();
        const std::optional<DumpLine> dump = parseDumpLine(line);
        if (dump && (m_isDump || (m_bytes.empty() && beginsDump(*dump))))
            return readDumpLine(*dump);
        if (m_isDump)
            fail("this is no line of a dump; dumps must be whole (hexdump -vC)");
        readBytes(line.substr(0, line.find('#')));
    }

    void readDumpLine(const DumpLine& dump) {
        if (dump.offset == 0 && !m_bytes.empty())
            endFrame();
        m_isDump = true;
        if (dump.offset != m_bytes.size())
            fail("the offset is " + std::to_string(dump.offset) + ", but " + std::to_string(m_bytes.size()) +
                 " bytes are before it; dumps must be whole (hexdump -vC)");
        m_bytes += bytesOf(dump.bytes);
    }

    void readBytes(std::string_view line) {
        const std::string bytes = bytesOf(line);
        if (isFrame(bytes))
            endFrame();
        m_bytes += bytes;
    }

    std::string bytesOf(std::string_view line) const {
        std::string all;
        while (!line.empty()) {
            const std::string word(takeWord(line, separators));
            const std::optional<std::string> bytes = parseHex(word);
            if (!bytes)
                fail(shown(word) + " is not bytes of two hexadecimal digits each");
            all += *bytes;
        }
        return all;
    }

    void endFrame() {
        if (!m_bytes.empty())
            m_frames.push_back(m_isDump ? unpacked(m_bytes) : m_bytes);
        m_bytes.clear();
        m_isDump = false;
    }

    [[noreturn]] void fail(const std::string& problem) const {
        throw Failure(ExitStatus::localFailure, m_file + ":" + std::to_string(m_line) + ": " + problem);
    }

    const std::string& m_file;
    std::size_t m_line = 0;
    bool m_isDump = false;  // the frame that is being read comes as one
    std::string m_bytes;    // of it
    std::vector<std::string> m_frames;
};

}  // namespace

std::vector<std::string> readHexText(std::string_view text, const std::string& file) {
    return HexText(file).read(text);
}

}  // namespace tool
