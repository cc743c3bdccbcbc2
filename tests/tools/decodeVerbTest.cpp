#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>

#include "bytes.h"
#include "captures.h"
#include "frames.h"
#include "program.h"

namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::StartsWith;

const std::filesystem::path framesFolder = LCMP_FRAMES_DIR;

std::string contentOf(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw std::runtime_error("no file " + path.string());
    return {std::istreambuf_iterator<char>(file), {}};
}

// A file that is gone with the object.
class File {
public:
    explicit File(const std::string& content) {
        std::string path = testing::TempDir() + "decodeXXXXXX";
        close(mkstemp(path.data()));
        m_path = path;
        std::ofstream(m_path, std::ios::binary) << content;
    }
    ~File() { std::filesystem::remove(m_path); }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    const std::string& path() const { return m_path; }

private:
    std::string m_path;
};

Ended decode(const std::string& content, std::vector<std::string> options = {}) {
    const File file(content);
    options.insert(options.begin(), {"decode", file.path()});
    Ended ended = run(options);
    for (auto at = ended.err.find(file.path()); at != std::string::npos; at = ended.err.find(file.path()))
        ended.err.replace(at, file.path().size(), "FILE");
    return ended;
}

json decodeJson(const std::string& content, std::vector<std::string> options = {}) {
    options.emplace_back("--json");
    return json::parse(decode(content, std::move(options)).out);
}

const std::string writeOfFour = "4F544E31 01 02 0007 11800002 03 0001 04\n";
const std::string refusal = "4F544E31 01 04 0007 09 0000\n";

const End controllerEnd{1, 40001};
const End cardEnd{2, 17470};

// A write, and the refusal 126 us later; something else between them.
std::string capture() {
    const CaptureBytes order(false);
    return order.pcapHeader(0xA1B2C3D4, 101) +
           order.record(1700000000, 250, udpPacket(controllerEnd, cardEnd, bytes(writeOfFour))) +
           order.record(1700000000, 300, udpPacket(controllerEnd, {9, 53}, "a question")) +
           order.record(1700000000, 376, udpPacket(cardEnd, controllerEnd, bytes(refusal)));
}

// Each in a process of its own: one that breaks makes the status of all of them.
TEST(DecodeVerb, ExplainsEveryBrokenFrameAsItsTextSays) {
    for (const Frame& frame : brokenFrames()) {
        const Ended ended = run({"decode", (framesFolder / (frame.name + ".frame")).string()});
        EXPECT_EQ(ended.out, contentOf(framesFolder / (frame.name + ".txt"))) << frame.name;
        EXPECT_EQ(ended.status, 6) << frame.name;
    }
}

std::string without(const std::string& words, std::string text) {
    for (auto at = text.find(words); at != std::string::npos; at = text.find(words, at))
        text.erase(at, words.size());
    return text;
}

// All in one capture. Each has a sender of its own: none answers or repeats another.
TEST(DecodeVerb, ExplainsEveryGoldenFrameAsItsTextSays) {
    const CaptureBytes order(false);
    std::string capture = order.pcapHeader(0xA1B2C3D4, 101);
    std::string texts;
    unsigned short number = 0;
    for (const Frame& frame : goldenFrames()) {
        ++number;
        capture += order.record(0, 0, udpPacket({1, number}, cardEnd, frame.bytes));
        const std::string text = contentOf(framesFolder / (frame.name + ".txt"));
        ASSERT_THAT(text, StartsWith("#1  ")) << frame.name;
        texts += (number == 1 ? "#" : "\n#") + std::to_string(number) +
                 "  1970-01-01T00:00:00.000000Z  10.0.0.1:" + std::to_string(number) + " > 10.0.0.2:17470" +
                 text.substr(2);
    }
    const Ended ended = decode(capture, {"--port", "17470"});
    EXPECT_EQ(without(", no answer", ended.out), texts);
    EXPECT_EQ(ended.err, "");
    EXPECT_EQ(ended.status, 0);
}

TEST(DecodeVerb, EveryTextHasItsFrame) {
    for (const auto& entry : std::filesystem::recursive_directory_iterator(framesFolder)) {
        std::filesystem::path frame = entry.path();
        if (frame.extension() != ".txt")
            continue;
        EXPECT_TRUE(std::filesystem::exists(frame.replace_extension(".frame"))) << entry.path();
    }
}

TEST(DecodeVerb, ACaptureShowsPairsAndTheTimeBetweenThem) {
    const Ended ended = decode(capture());
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.out,
              "#1  2023-11-14T22:13:20.000250Z  10.0.0.1:40001 > 10.0.0.2:17470  "
              "write, message 7, answered by #3\n"
              "      8  0x11800002  control.bpClkRef  UINT8  4\n"
              "\n"
              "#3  2023-11-14T22:13:20.000376Z  10.0.0.2:17470 > 10.0.0.1:40001  "
              "write response, message 7: RESULT WRONG VALUE (9) at element 0, control.bpClkRef, "
              "to #1 after 0.126 ms\n");
    EXPECT_EQ(ended.err, "lcmp: FILE: left out 1 packet: 1 of another protocol\n");
}

TEST(DecodeVerb, AsJsonHasEveryFieldAndBothDirections) {
    const json frames = decodeJson(capture());
    ASSERT_EQ(frames.size(), 2U);
    EXPECT_EQ(frames[0], json({{"frame", 1},
                               {"time", "2023-11-14T22:13:20.000250Z"},
                               {"source", "10.0.0.1:40001"},
                               {"destination", "10.0.0.2:17470"},
                               {"size", 16},
                               {"version", 1},
                               {"action", 2},
                               {"actionName", "write"},
                               {"messageId", 7},
                               {"response", 3},
                               {"elements", json::array({{{"offset", 8},
                                                          {"oid", "0x11800002"},
                                                          {"name", "control.bpClkRef"},
                                                          {"type", "UINT8"},
                                                          {"typeCode", 3},
                                                          {"length", 1},
                                                          {"value", 4}}})}}));
    EXPECT_EQ(frames[1], json({{"frame", 3},
                               {"time", "2023-11-14T22:13:20.000376Z"},
                               {"source", "10.0.0.2:17470"},
                               {"destination", "10.0.0.1:40001"},
                               {"size", 11},
                               {"version", 1},
                               {"action", 4},
                               {"actionName", "write response"},
                               {"messageId", 7},
                               {"result", 9},
                               {"resultName", "RESULT WRONG VALUE"},
                               {"errorIndex", 0},
                               {"errorOid", "0x11800002"},
                               {"errorName", "control.bpClkRef"},
                               {"request", 1},
                               {"roundTrip", 0.000126},
                               {"elements", json::array()}}));
}

TEST(DecodeVerb, AFaultStandsBehindWhatIsWhole) {
    const json frame = decodeJson("4F544E31 01 05 0003 6553F100 000F423F 51404001 05 0004 00000032 5140")[0];
    EXPECT_EQ(frame["sent"], "2023-11-14T22:13:20.999999Z");
    EXPECT_EQ(frame["seconds"], 1700000000);
    EXPECT_EQ(frame["microseconds"], 999999);
    EXPECT_EQ(frame["elements"][0]["value"], 50);
    EXPECT_EQ(frame["elements"][0]["unit"], "°C");
    EXPECT_EQ(frame["fault"],
              json({{"offset", 27}, {"reason", "element 1 ends in its header: it has 2 of 7 bytes"}}));
}

TEST(DecodeVerb, AValueThatIsNoneIsBytes) {
    const Ended ended = decode("4F544E31 01 02 0007 11800001 00 0002 00FF", {"-o", "jsonl"});
    EXPECT_EQ(ended.status, 6);
    const json element = json::parse(ended.out)["elements"][0];
    EXPECT_EQ(element["bytes"], "00ff");
    EXPECT_EQ(element["fault"], "the length of a UINT64 is 8, not 2");
    EXPECT_FALSE(element.contains("value"));
}

TEST(DecodeVerb, IntegersAreExactAndTextsThatAreNoneKeepTheirBytes) {
    const Ended ended = decode("4F544E31 01 02 0007 11800001 00 0008 FFFFFFFFFFFFFFFF 02000000 09 0002 61FF",
                               {"-o", "jsonl"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_THAT(ended.out, HasSubstr("\"value\":18446744073709551615"));
    EXPECT_EQ(json::parse(ended.out)["elements"][1]["bytes"], "61ff");
}

TEST(DecodeVerb, JsonlIsALineAFrameAndJsonAnArray) {
    const std::string text = writeOfFour + "\n" + refusal;
    const Ended lines = decode(text, {"-o", "jsonl"});
    const auto end = lines.out.find('\n');
    EXPECT_EQ(json::array({json::parse(lines.out.substr(0, end)), json::parse(lines.out.substr(end + 1))}),
              decodeJson(text));
    EXPECT_EQ(decode("# no frame", {"--json"}).out, "[]\n");
}

TEST(DecodeVerb, AsCsvHasALineForEachElementAndFault) {
    EXPECT_EQ(
        decode(writeOfFour + refusal + "\n4F544E31 01 02 0008 02000000 09 0003 612C62 11", {"-o", "csv"}).out,
        "frame,time,source,destination,action,messageId,result,errorIndex,request,roundTrip,offset,oid,"
        "name,type,value,fault\n"
        "1,,,,2,7,,,,,8,0x11800002,control.bpClkRef,UINT8,4,\n"
        "2,,,,4,7,9,0,1,,,,,,,\n"
        "3,,,,2,8,,,,,8,0x02000000,download.filename,STRING,\"a,b\",\n"
        "3,,,,2,8,,,,,18,,,,,element 1 ends in its header: it has 1 of 7 bytes\n");
}

TEST(DecodeVerb, AsCsvHasTheEndsAndTheRoundTripOfCapturedFrames) {
    EXPECT_THAT(
        decode(capture(), {"-o", "csv"}).out,
        HasSubstr(
            "\n3,2023-11-14T22:13:20.000376Z,10.0.0.2:17470,10.0.0.1:40001,4,7,9,0,1,0.000126000,,,,,,\n"));
}

TEST(DecodeVerb, AsValueIsTheBareValues) {
    EXPECT_EQ(decode("4F544E31 01 02 0007 11800002 03 0001 04 02000000 09 0001 61 02000000 0C 0002 00ff",
                     {"-o", "value"})
                  .out,
              "4\na\n00ff\n");
}

TEST(DecodeVerb, ARequestWithoutAnAnswerAndARepeatedOneAreMarked) {
    const CaptureBytes order(true);
    const std::string write = udpPacket(controllerEnd, cardEnd, bytes(writeOfFour));
    const std::string out =
        decode(order.section() + order.interface(101) + order.packet(0, 0, write) + order.packet(0, 1, write))
            .out;
    EXPECT_THAT(out, HasSubstr("write, message 7, no answer\n"));
    EXPECT_THAT(out, HasSubstr("write, message 7, repeats #1, no answer\n"));
}

TEST(DecodeVerb, APortsDatagramsAreExplainedWhateverTheyBeginWith) {
    const CaptureBytes order(true);
    const std::string file = order.pcapHeader(0xA1B2C3D4, 101) +
                             order.record(1, 0, udpPacket(controllerEnd, cardEnd, "nonsense")) +
                             order.record(1, 0, udpPacket(controllerEnd, {2, 1}, bytes(writeOfFour)));
    const Ended ended = decode(file, {"--port", "17470", "-o", "jsonl"});
    EXPECT_EQ(ended.status, 6);
    EXPECT_EQ(json::parse(ended.out)["fault"]["reason"], "the magic is 6e6f6e73, not 4f544e31 \"OTN1\"");
    EXPECT_EQ(decode(file).status, 0);
}

TEST(DecodeVerb, AFragmentedOrShortenedFrameIsToldSo) {
    const CaptureBytes order(true);
    std::string fragment = udpPacket(controllerEnd, cardEnd, bytes(writeOfFour));
    const std::string shortened = fragment.substr(0, fragment.size() - 2);
    fragment[6] = 0x20;
    const Ended ended = decode(
        order.pcapHeader(0xA1B2C3D4, 101) + order.record(1, 0, fragment) + order.record(1, 0, shortened, 2),
        {"-o", "jsonl"});
    EXPECT_EQ(ended.err, "lcmp: FILE: left out 1 packet: 1 IP fragments\n");
    EXPECT_EQ(json::parse(ended.out)["fault"]["reason"], "the capture kept 14 of 16 bytes");
}

TEST(DecodeVerb, ACaptureThatIsCutOffIsExplainedAsFarAsItGoes) {
    const std::string whole = capture();
    const Ended ended = decode(whole.substr(0, whole.size() - 1));
    EXPECT_EQ(ended.status, 1);
    EXPECT_THAT(ended.out, StartsWith("#1  2023-11-14T22:13:20.000250Z"));
    EXPECT_THAT(ended.err, HasSubstr("lcmp: FILE: the capture is cut off in packet 3 at byte "));
}

TEST(DecodeVerb, AFrameMayComeAsItIs) { EXPECT_EQ(decode(bytes(writeOfFour), {"-o", "value"}).out, "4\n"); }

TEST(DecodeVerb, WhatCannotBeReadIsNamed) {
    const Ended missing = run({"decode", "/nonexistent/file"});
    EXPECT_EQ(missing.status, 1);
    EXPECT_EQ(missing.err, "lcmp: /nonexistent/file: No such file or directory\n");
    const Ended directory = run({"decode", "/"});
    EXPECT_EQ(directory.status, 1);
    EXPECT_EQ(directory.err, "lcmp: /: Is a directory\n");
    const Ended text = decode("4F544E31\nhello\n");
    EXPECT_EQ(text.status, 1);
    EXPECT_EQ(text.out, "");
    EXPECT_EQ(text.err, "lcmp: FILE:2: \"hello\" is not bytes of two hexadecimal digits each\n");
    EXPECT_EQ(decode(std::string("\x7F"
                                 "ELF\0\0",
                                 6))
                  .err,
              "lcmp: FILE: neither a pcap or pcapng capture nor text\n");
    const Ended packed = decode("\x1F\x8B\x08");
    EXPECT_EQ(packed.status, 1);
    EXPECT_EQ(packed.err, "lcmp: FILE: compressed; give what gunzip makes of it\n");
}

TEST(DecodeVerb, NothingIsNoFrame) {
    for (const std::string& content : {std::string(), CaptureBytes(true).pcapHeader(0xA1B2C3D4, 1)}) {
        const Ended ended = decode(content);
        EXPECT_EQ(ended.status, 6);
        EXPECT_EQ(ended.out, "");
        EXPECT_EQ(ended.err, "lcmp: FILE: there is no frame in it\n");
    }
}

TEST(DecodeVerb, WithoutAFileReadsStandardInput) {
    const File file(writeOfFour);
    for (const std::string operand : {"", " -"}) {
        const std::string command =
            std::string(LCMP_PROGRAM) + " decode -o value" + operand + " < " + file.path();
        FILE* pipe = popen(command.c_str(), "r");
        ASSERT_NE(pipe, nullptr);
        char line[16] = "";
        EXPECT_NE(std::fgets(line, sizeof line, pipe), nullptr);
        EXPECT_EQ(pclose(pipe), 0);
        EXPECT_STREQ(line, "4\n");
    }
}

TEST(DecodeVerb, AnUnknownFormatOrPortIsUsage) {
    EXPECT_EQ(run({"decode", "-o", "xml"}).status, 2);
    EXPECT_EQ(run({"decode", "--port", "65536"}).status, 2);
    const Ended ended = decode(writeOfFour, {"--port", "17470"});
    EXPECT_EQ(ended.status, 2);
    EXPECT_EQ(ended.err, "lcmp: --port: FILE is no capture\n");
}

const std::string portIsDown = "4F544E31 01 05 0001 00000000 00000000 OID 03 0001 02\n";

TEST(DecodeVerb, SpeaksTheNamesOfAModel) {
    const std::string model = std::string(LCMP_MODELS_DIR) + "/linecard48.yaml";
    const Ended oid = run({"oid", "port[3].link", "--model", model, "-o", "value"});
    std::string frame = portIsDown;
    frame.replace(frame.find("OID"), 3, oid.out.substr(2, 8));
    const std::string line = "     16  " + oid.out.substr(0, 10) + "  port[3].link  UINT8  2 (down)\n";
    EXPECT_THAT(decode(frame, {"--model", model}).out, HasSubstr(line));
    EXPECT_EQ(decodeJson(frame, {"--model", model})[0]["elements"][0]["word"], "down");
    const File file(frame);
    EXPECT_THAT(run({"decode", file.path()}, {"LCMP_MODEL=" + model}).out, HasSubstr(line));
    EXPECT_THAT(decode(frame).out, testing::Not(HasSubstr("port[3]")));
}

TEST(DecodeVerb, NamesTheRefusedVariableAsTheModelDoes) {
    const File model(
        "card: mine\nobjects:\n  - name: lamp\n    kind: scalar\n    id: 3\n    common: true\n    "
        "variables:\n"
        "      - {id: 2, name: light, type: UINT8, access: writable}\n");
    EXPECT_THAT(decode(writeOfFour + refusal, {"--model", model.path()}).out, HasSubstr("lamp.light"));
}

TEST(DecodeVerb, ABadModelIsUnresolvedAndNothingIsExplained) {
    const Ended ended = decode(writeOfFour, {"--model", "/nowhere.yaml"});
    EXPECT_EQ(ended.status, 7);
    EXPECT_EQ(ended.out, "");
    EXPECT_THAT(ended.err, HasSubstr("/nowhere.yaml is no card model"));
}

}  // namespace
