// lcmp diff as a process: cards, recordings and models against each other.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "playedCard.h"
#include "runningCard.h"

namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using testing::HasSubstr;

using Arguments = std::vector<std::string>;

Ended diff(const std::string& left, const std::string& right, const Arguments& options = {}) {
    Arguments all = {"diff", left, right};
    all.insert(all.end(), options.begin(), options.end());
    return run(all);
}

// A folder, and small models in it: one scalar "a", some variables.
class DiffVerb : public testing::Test {
protected:
    DiffVerb() {
        std::string pattern = testing::TempDir() + "lcmp-diff-XXXXXX";
        m_folder = mkdtemp(pattern.data());
    }
    ~DiffVerb() override { fs::remove_all(m_folder); }

    std::string path(const std::string& name) const { return (m_folder / name).string(); }

    std::string model(const std::string& name, const Arguments& variables) const {
        std::ofstream file(path(name));
        file << "card: small\nobjects:\n  - name: a\n    kind: scalar\n    id: 20\n    variables:\n";
        for (std::size_t i = 0; i < variables.size(); ++i)
            file << "      - {id: " << i << ", access: read-only, " << variables[i] << "}\n";
        return path(name);
    }

    std::string recordingOf(const RunningCard& card) const {
        EXPECT_EQ(run({"record", card.address(), "-O", path("recording.yaml")}).status, 0);
        return path("recording.yaml");
    }

private:
    fs::path m_folder;
};

TEST_F(DiffVerb, SaysNothingOfCardsThatAreAlike) {
    const RunningCard left;
    const RunningCard right;
    const Ended ended = diff(left.address(), right.address(), {"--fail-on-difference"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.out, "");
    EXPECT_EQ(ended.err, "");
}

TEST_F(DiffVerb, NamesWhatDiffersBetweenTwoCards) {
    const RunningCard left;
    const RunningCard right;
    left.set({"control.bpClkRef=2", "fileServer.server=here"});
    right.set({"fileServer.server=there", "fileServer.port=22"});
    const Ended ended = diff(left.address(), right.address());
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.out,
              "control.bpClkRef: 2 -> 128\n"
              "fileServer.server: \"here\" -> \"there\"\n"
              "fileServer.port: 21 -> 22\n");
}

TEST_F(DiffVerb, FindsWhatHasChangedSinceARecording) {
    const RunningCard card;
    const std::string recording = recordingOf(card);
    EXPECT_EQ(diff(recording, card.address()).out, "");
    card.set({"control.bpClkRef=1"});
    EXPECT_EQ(diff(recording, card.address()).out, "control.bpClkRef: 128 -> 1\n");
    EXPECT_EQ(diff(card.address(), recording).out, "control.bpClkRef: 1 -> 128\n");
}

TEST_F(DiffVerb, ACardThatIsComparedWithAFileHasTheFilesModel) {
    const std::string model = LCMP_MODELS_DIR "/fantray.yaml";
    const RunningCard card({"--model", model});
    const Ended ended = diff(model, card.address(), {"--moving"});
    EXPECT_EQ(ended.status, 0) << ended.err;
    EXPECT_EQ(ended.out, "");
}

TEST_F(DiffVerb, SaysWhatOnlyOneOfThemHas) {
    const std::string left =
        model("l.yaml", {"name: x, type: UINT8, default: 1, unit: mV", "name: y, type: UINT8"});
    const std::string right = model("r.yaml", {"name: z, type: STRING, default: q", "name: y, type: UINT8"});
    EXPECT_EQ(diff(left, right).out,
              "only in " + left + ": a.x = 1 mV\nonly in " + right + ": a.z = \"q\"\n");
}

TEST_F(DiffVerb, AddsUnitsAndWordsAndTypesThatDiffer) {
    const std::string left = model(
        "l.yaml", {"name: x, type: UINT8, default: 1, unit: mV",
                   "name: y, type: UINT8, names: {0: idle, 1: busy}", "name: z, type: UINT8, default: 5"});
    const std::string right = model("r.yaml", {"name: x, type: UINT8, default: 2, unit: mV",
                                               "name: y, type: UINT8, default: 1, names: {0: idle, 1: busy}",
                                               "name: z, type: UINT16, default: 5"});
    EXPECT_EQ(diff(left, right).out,
              "a.x: 1 -> 2 mV\na.y: 0 (idle) -> 1 (busy)\na.z: 5 (UINT8) -> 5 (UINT16)\n");
}

TEST_F(DiffVerb, PrintsForPrograms) {
    const std::string left = model(
        "l.yaml", {"name: x, type: UINT8, default: 1, unit: mV", "name: y, type: STRING, default: 'a,b'"});
    const std::string right =
        model("r.yaml", {"name: x, type: UINT8, default: 2, unit: mV", "name: z, type: BOOLEAN"});
    const json expected = json::parse(R"([
        {"name": "a.x", "left": {"type": "UINT8", "value": 1}, "right": {"type": "UINT8", "value": 2}, "unit": "mV"},
        {"name": "a.y", "left": {"type": "STRING", "value": "a,b"}},
        {"name": "a.z", "right": {"type": "BOOLEAN", "value": false}}])");
    EXPECT_EQ(json::parse(diff(left, right, {"--json"}).out), expected);
    const std::string lines = diff(left, right, {"-o", "jsonl"}).out;
    EXPECT_EQ(json::parse(lines.substr(0, lines.find('\n'))), expected[0]);
    EXPECT_EQ(diff(left, right, {"-o", "csv"}).out,
              "name,difference,left,right\n"
              "a.x,changed,1,2\n"
              "a.y,only left,\"a,b\",\n"
              "a.z,only right,,false\n");
    EXPECT_EQ(diff(left, left, {"--json"}).out, "[]\n");
}

TEST_F(DiffVerb, LeavesOutWhatIsToBeIgnored) {
    const RunningCard left;
    const RunningCard right;
    right.set(
        {"control.bpClkRef=2", "control.guid=123e4567-e89b-12d3-a456-426614174000", "fileServer.port=22"});
    EXPECT_EQ(diff(left.address(), right.address(), {"--ignore", "control", "--ignore", "download.stop"}).out,
              "fileServer.port: 21 -> 22\n");
    EXPECT_EQ(
        diff(left.address(), right.address(), {"--ignore", "control.guid", "--ignore", "fileServer.port"})
            .out,
        "control.bpClkRef: 128 -> 2\n");
}

TEST_F(DiffVerb, IgnoresAColumnInAllRows) {
    PlayedCard left;
    PlayedCard right;
    right.holds("voltage.nominal", std::string(4, '\1'));
    right.holds("voltage[2].name", "y");
    EXPECT_EQ(diff(left.serve(), right.serve(), {"--ignore", "voltage.nominal"}).out,
              "voltage[2].name: \"x\" -> \"y\"\n");
}

TEST_F(DiffVerb, ANameToIgnoreThatThereIsNotIsStatus7) {
    const std::string file = model("l.yaml", {"name: temperature, type: UINT8"});
    const Ended ended = diff(file, file, {"--ignore", "a.temprature"});
    EXPECT_EQ(ended.status, 7);
    EXPECT_EQ(ended.err,
              "lcmp: --ignore: there is no object or variable 'a.temprature'; did you mean a.temperature?\n");
}

TEST_F(DiffVerb, LeavesOutWhatMovesByItselfAndSaysSo) {
    PlayedCard left;
    PlayedCard right;
    right.holds("temperature.value", std::string(4, '\1'));
    right.holds("control.bpClkRef", "\1");
    const std::string leftAddress = left.serve();
    const std::string rightAddress = right.serve();
    const Ended ended = diff(leftAddress, rightAddress);
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.out, "control.bpClkRef: 0 -> 1\n");
    EXPECT_EQ(ended.err, "lcmp: left out: 4 variables that move by themselves; --moving shows them\n");
    const Ended all = diff(leftAddress, rightAddress, {"--moving", "--ignore", "control"});
    EXPECT_EQ(all.err, "");
    EXPECT_THAT(all.out, testing::StartsWith("temperature[0].value: 0 -> 16843009 °C\n"));
}

// ---------------------------------------------------------------- how it ends

TEST_F(DiffVerb, DifferencesAreAFailureOnlyWhenToldSo) {
    const std::string left = model("l.yaml", {"name: x, type: UINT8"});
    const std::string right = model("r.yaml", {"name: x, type: UINT8, default: 1"});
    EXPECT_EQ(diff(left, right).status, 0);
    EXPECT_EQ(diff(left, right, {"--fail-on-difference"}).status, 5);
    EXPECT_EQ(diff(left, left, {"--fail-on-difference"}).status, 0);
    EXPECT_EQ(diff(left, right, {"--fail-on-difference", "--ignore", "a"}).status, 0);
}

TEST_F(DiffVerb, WhatOneCardRefusesIsOnlyInTheOtherAndStatus5) {
    PlayedCard left;
    PlayedCard right;
    right.misses("logRetrieval.result");
    const std::string leftAddress = left.serve();
    const std::string rightAddress = right.serve();
    const Ended ended = diff(leftAddress, rightAddress);
    EXPECT_EQ(ended.status, 5);
    EXPECT_EQ(ended.out, "only in " + leftAddress + ": logRetrieval.result = 0\n");
    EXPECT_EQ(ended.err, "lcmp: " + rightAddress + " refused logRetrieval.result: RESULT GENERAL ERROR\n");
}

TEST_F(DiffVerb, ACardThatDoesNotAnswerToTheEndIsStatus3AndNotCompared) {
    const RunningCard left;
    for (const unsigned int answers : {0U, 1U}) {
        PlayedCard right;
        right.endsAfter(answers, PlayedCard::End::silence);
        const std::string address = right.serve();
        const Ended ended = diff(left.address(), address, {"--timeout", "50ms", "--retries", "3"});
        EXPECT_EQ(ended.status, 3);
        EXPECT_EQ(ended.out, "");
        EXPECT_THAT(ended.err, HasSubstr("\nlcmp: " + address + " cannot be compared\n"));
    }
}

TEST_F(DiffVerb, AMalformedAnswerIsStatus6) {
    PlayedCard card;
    card.endsAfter(0, PlayedCard::End::garbage);
    EXPECT_EQ(diff(card.serve(), LCMP_MODELS_DIR "/standard.yaml").status, 6);
}

TEST_F(DiffVerb, ACardThatRefusesEverythingIsStatus4) {
    PlayedCard card;
    for (const LcmpModelObject& object : lcmpModelStandard().objects)
        card.misses(object.name);
    EXPECT_EQ(diff(card.serve(), LCMP_MODELS_DIR "/standard.yaml").status, 4);
}

TEST_F(DiffVerb, AFileThatIsNoModelIsStatus7) {
    EXPECT_EQ(diff(path("none.yaml"), LCMP_MODELS_DIR "/standard.yaml").status, 7);
    EXPECT_EQ(diff(LCMP_MODELS_DIR "/standard.yaml", path("none.yml")).status, 7);
    std::ofstream(path("text")) << "no model";
    EXPECT_EQ(diff(path("text"), LCMP_MODELS_DIR "/standard.yaml").status, 7);
}

TEST_F(DiffVerb, WhatMakesNoSenseIsStatus2) {
    EXPECT_EQ(run({"diff", "127.0.0.1"}).status, 2);
    EXPECT_EQ(diff(LCMP_MODELS_DIR "/standard.yaml", "127.0.0.1:0").status, 2);
    EXPECT_EQ(diff("a", "b", {"-o", "value"}).status, 2);
}

TEST_F(DiffVerb, AnOutputThatCannotBeWrittenIsStatus1) {
    const std::string left = model("l.yaml", {"name: x, type: UINT8"});
    const std::string right = model("r.yaml", {"name: y, type: UINT8"});
    EXPECT_EQ(run({"diff", left, right}, {}, "/dev/full").status, 1);
}

}  // namespace
