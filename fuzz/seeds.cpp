// Makes the first inputs of every target from the golden frames, the models and the examples of the command
// line.
//
// usage: fuzz_seeds FOLDER      writes FOLDER/TARGET/NAME
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "captures.h"
#include "frameBuilder.h"
#include "frames.h"

namespace {

std::filesystem::path folder;

void write(const std::string& target, std::string name, const std::string& input) {
    for (char& c : name) {
        if (c == '/')
            c = '-';
    }
    std::filesystem::create_directories(folder / target);
    std::ofstream file(folder / target / name, std::ios::binary);
    file << input;
    if (!file.flush())
        std::fprintf(stderr, "%s: cannot be written\n", (folder / target / name).c_str());
}

std::string record(const std::string& data) { return bigEndian(data.size(), 2) + data; }

std::string byte(unsigned int value) { return bigEndian(value, 1); }

// The elements of a frame, as bytes; broken ones as far as they go.
std::vector<std::string> elementsOf(const std::string& frame) {
    std::vector<std::string> elements;
    if (frame.size() < requestHeader)
        return elements;
    const char action = frame[5];
    std::size_t position = action < 3 ? requestHeader : action == 5 ? amiHeader : responseHeader;
    while (position + 7 <= frame.size()) {
        const std::size_t size = 7 + static_cast<std::size_t>(number(frame, position + 5, 2));
        elements.push_back(frame.substr(position, size));
        position += size;
    }
    return elements;
}

// mode, first a quiet card, then one with all its hooks at work and the log at its most.
constexpr unsigned int quiet = 0x00;
constexpr unsigned int eager = 0x4D;

void writeFrame(const Frame& golden) {
    for (const unsigned int mode : {quiet, eager}) {
        const std::string name = golden.name + (mode == quiet ? "" : "-eager");
        write("frame", name, byte(mode) + bigEndian(9, 2) + golden.bytes);
        write("serving", name, byte(mode) + byte(0) + record(golden.bytes) + byte(1) + record(golden.bytes));
        write("requesting", name,
              byte(mode) + byte(0) + byte(2) + byte(1) + record(golden.bytes) + byte(0xE0) +
                  record(golden.bytes));
    }
    const std::size_t first = golden.bytes.size() > responseHeader ? requestHeader : 0;
    write("values", golden.name, byte(4) + golden.bytes.substr(first));
    write("values", golden.name + "-events", byte(0x0E) + byte(0) + record(golden.bytes));
}

void writeElements(const Frame& golden) {
    int index = 0;
    for (const std::string& element : elementsOf(golden.bytes)) {
        const std::string name = golden.name + "-" + std::to_string(index++);
        const std::string oid = element.substr(0, 4);
        const std::string type = element.substr(4, 1);
        const std::string value = record(element.substr(7));
        write("tlv", name, byte(1) + byte(0) + type + oid + value + byte(5) + type);
        write("legacy", name, byte(1) + byte(9) + type + oid + value + byte(5) + byte(1) + bigEndian(7, 8));
        write("names", name, byte(0) + oid);
    }
}

void writeTexts() {
    int index = 0;
    for (const char* text :
         {"control.bpClkRef", "temperature[2].value", "0x50c10005:UINT32", "1073741825", "contrl.bpClkRef",
          "voltage.value", "0xC0000000", "control[1].guid", "temperature[99999].min", "download"})
        write("names", "variable-" + std::to_string(index++), byte(2) + text);
    write("names", "limit-last-row", byte(2) + "temperature[16383].value");
    write("names", "limit-row-too-many", byte(2) + "temperature[16384].value");
    for (const char* text : {"192.0.2.1:17470", "localhost", "card.example:161", "10.0.0.1:0", ":1", "a:b:c"})
        write("names", "address-" + std::to_string(index++), byte(4) + text);
    for (const char* text : {"192.0.2.0/24", "0.0.0.0/0", "192.0.2.1", "192.0.2.1/24", "1.2.3.4/33"})
        write("names", "allow-" + std::to_string(index++), byte(6) + text);
    for (const char* text : {"500ms", "1.5s", "2min", "1000h", "1001h", "2024-05-01T12:00:00Z",
                             "2024-02-30T00:00:00+02:00", "1970-01-01 00:00:00-23:59"})
        write("names", "time-" + std::to_string(index++), byte(8) + text);
}

void writeValues() {
    struct Typed {
        unsigned int type;
        const char* text;
    };
    int index = 0;
    for (const Typed& typed : std::vector<Typed>{{0, "18446744073709551615"},
                                                 {1, "0xffffffff"},
                                                 {2, "65536"},
                                                 {3, "-1"},
                                                 {4, "-9223372036854775808"},
                                                 {5, "-2147483648"},
                                                 {6, "-32769"},
                                                 {7, "0x7f"},
                                                 {7, "-128"},
                                                 {7, "-129"},
                                                 {7, "128"},
                                                 {8, "on"},
                                                 {8, "FALSE"},
                                                 {9, "text"},
                                                 {10, "192.0.2.1"},
                                                 {11, "2024-05-01T12:00:00Z"},
                                                 {11, "-1"},
                                                 {12, "0x001bff"},
                                                 {12, "00:1b ff"},
                                                 {13, "00:1b:21:3c:4d:5e"}})
        write("values", "typed-" + std::to_string(index++), byte(typed.type * 8) + typed.text);
    for (const char* name : {"UINT8", "IPv4ADDRESS", "uint8"})
        write("values", "type-" + std::to_string(index++), byte(2) + name);
}

// What one frame cannot show, and no line that is reached tells: numbering, several peers, events that go out
// by themselves, long requests.
void writeSessions() {
    const std::string read = readRequest(7, {{0x11800002, 3}});
    const std::string next = readRequest(8, {{0x51404001, 5}});
    std::string peers = byte(1);
    for (unsigned int peer = 0; peer < 10; ++peer)
        peers += byte(peer) + record(read) + byte(peer) + record(next);
    write("serving", "session-peers", peers);
    write("serving", "session-wrap",
          byte(1) + byte(0) + record(readRequest(65535)) + byte(0) + record(readRequest(0)) + byte(0) +
              record(readRequest(9)) + byte(0) + record(readRequest(10)));
    write("serving", "session-own-dispatch",
          byte(0) + byte(0x10) + record(writeRequest(1, {{0x11800002, 3, "01"}})) + byte(0x10) +
              record(next) + byte(0x10) + record(next.substr(0, next.size() - 1)) + byte(0x10) +
              record("OTN1"));
    std::string cut = writeRequest(1, {{0x11800002, 3, "01"}, {0x11800002, 3, "02"}});
    cut.pop_back();
    write("serving", "limit-one-byte-short", byte(0) + byte(0) + record(cut));
    write("serving", "session-events",
          byte(1) + byte(0xC2) + byte(3) + byte(60) + byte(0xC0) + byte(7) + bigEndian(9, 4) + byte(0xC1) +
              byte(0xC3));
    // An OID with the bit that lookups ignore, and a legacy element that its application does not serve.
    write("serving", "session-ignored-bit",
          byte(1) + byte(0) + record(writeRequest(1, {{0x31800002, 3, "01"}})) + byte(0) +
              record(readRequest(2, {{0x31800002, 3}})));
    write("serving", "session-unserved",
          byte(0x19) + byte(0) + record(readRequest(1, {{0x03800002, 9}, {0x03800004, 9}})) + byte(0) +
              record(writeRequest(2, {{0x03800004, 9}})));
    write("requesting", "session-asking-hook",
          byte(0x44) + byte(0) + byte(0) + byte(0) +
              record(readResponse(1, 0, 0, {{0x11800002, 3, "01"}, {0x11800001, 0, "0102030405060708"}})));
    for (const unsigned int count : {0U, 1U, 150U, 151U})
        write("requesting", "session-count-" + std::to_string(count),
              byte(1) + byte(2) + byte(0) + byte(count) + record(writeResponse(1, 0, 0)));
    write("serving", "session-legacy",
          byte(0x08) + byte(0) + record(readRequest(1, {{0x03800002, 9, "6162"}})) + byte(0) +
              record(writeRequest(2, {{0x03800002, 1, "01020304"}, {0x03800001, 1}})));
    const std::string longText(1190, 'x');
    write("serving", "session-long",
          byte(0) + byte(0) + record(writeRequest(1, {Element::holding(0x04800009, 9, longText)})) + byte(0) +
              record(readRequest(2, {{0x04800009, 9}})));
}

// Captures of a frame in both file formats and both byte orders, packets of other link layers, and its text.
void writeCaptures(const Frame& golden) {
    const std::string packet = udpPacket({1, 17470}, {2, 40000}, golden.bytes);
    const std::string ethernet = std::string(12, 'e') + bigEndian(0x0800, 2) + packet;
    for (const bool isBig : {true, false}) {
        const CaptureBytes order(isBig);
        const std::string name = golden.name + (isBig ? "-big" : "-little");
        const std::string options =
            order.option(9, "\x09") + order.option(14, order.u64(100)) + order.option(0, "");
        write("capture", name + "-pcap",
              byte(0) + order.pcapHeader(0xA1B2C3D4, 101) + order.record(1, 2, packet) +
                  order.record(3, 4, packet, 9));
        write("capture", name + "-pcapng",
              byte(0) + order.section() + order.interface(1, options) +
                  order.packet(0, 1000000001, ethernet) + order.oldPacket(0, 5, ethernet) +
                  order.simplePacket(ethernet));
    }
    write("capture", golden.name + "-vlan",
          byte(4) + bigEndian(1, 2) + std::string(12, 'e') + bigEndian(0x81000001, 4) + bigEndian(0x0800, 2) +
              packet);
    write("capture", golden.name + "-cooked",
          byte(4) + bigEndian(113, 2) + std::string(14, 'c') + bigEndian(0x0800, 2) + packet);
    write("capture", golden.name + "-cooked2",
          byte(4) + bigEndian(276, 2) + bigEndian(0x0800, 2) + std::string(18, 'c') + packet);
    write("capture", golden.name + "-frame", byte(6) + golden.bytes);
    write("capture", golden.name + "-kept", byte(0x2E) + golden.bytes);
    write("capture", golden.name + "-text",
          byte(2) + hex(golden.bytes) + " # " + golden.name + "\n\n4f544e31");
    write("capture", golden.name + "-dump", byte(2) + "0000  " + hex(golden.bytes));
}

std::string fileText(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// Every object of a model as a model of its own.
void writeModel(const std::filesystem::path& path) {
    const std::string begin = "\n  - name:";
    const std::string text = fileText(path);
    std::size_t at = text.find(begin);
    const std::string head = "card: c\nobjects:";
    for (int index = 0; at != std::string::npos; ++index) {
        const std::size_t next = text.find(begin, at + 1);
        write("model", path.stem().string() + "-" + std::to_string(index),
              byte(0) + head + text.substr(at, next == std::string::npos ? next : next - at) + "\n");
        at = next;
    }
}

void writeModels() {
    for (const auto& entry : std::filesystem::directory_iterator(LCMP_MODELS_DIR)) {
        if (entry.path().extension() == ".yaml")
            writeModel(entry.path());
    }
    const std::string scalar =
        "card: c\nobjects:\n  - {name: s, kind: scalar, id: 4, common: false, variables: [\n    {id: 0, "
        "name: a, "
        "access: writable, ";
    int index = 0;
    for (const char* variable :
         {"type: UINT8, default: 3, allow: [0-3, 128], names: {0: off, 1: on}",
          "type: INT16, min: -5, max: 100, default: 100",
          "type: UINT64, max: 18446744073709551615, default: 18446744073709551615",
          "type: STRING, pattern: '[A-Za-z]{1,3}', default: ab",
          "type: STRING, maxLength: 31, description: \"a\\tb\\n#\"",
          "type: BYTE_ARRAY, length: 2, default: 00ff", "type: IPv4ADDRESS, default: 192.0.2.1",
          "type: UNIX_TIME, default: 2024-05-01T12:00:00Z", "type: MAC_ADDRESS, default: '00:1b:21:3c:4d:5e'",
          "type: BOOLEAN, default: on, eventable: true",
          "type: INT32, simulate: {shape: walk, low: 20, high: 60, step: 3, seed: 1}",
          "type: UINT8, simulate: {shape: steps, values: [1, 2], period: 30s}", "type: UINT8, defalt: 1",
          "type: UINT8, default: 256", "type: STRING, pattern: '('"})
        write("model", "variable-" + std::to_string(index++), byte(0) + scalar + variable + "}]}\n");
    for (const char* text : {"", "card: c", "card: c\nobjects: []", "[1, 2", "a: &b 1\nc: *b", "--- a\n--- b",
                             "[[[[[[[[[[[[[[[[[[[[", "? {a: b}\n: c", "card: c\ncard: d"})
        write("model", "text-" + std::to_string(index++), byte(0) + text);
    for (const char* name : {"control.bpClkRef", "temperature[16383].value", "temperature.value", "contrl.x"})
        write("model", "name-" + std::to_string(index++), byte(2) + name);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: fuzz_seeds FOLDER\n");
        return 2;
    }
    folder = argv[1];
    std::vector<Frame> frames = goldenFrames();
    const std::vector<Frame> broken = brokenFrames();
    frames.insert(frames.end(), broken.begin(), broken.end());
    for (const Frame& each : frames) {
        writeFrame(each);
        writeElements(each);
        writeCaptures(each);
    }
    writeModels();
    writeTexts();
    writeValues();
    writeSessions();
    return 0;
}
