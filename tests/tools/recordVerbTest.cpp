// lcmp record as a process: what it writes is served again and compared.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "lcmpModel.h"
#include "playedCard.h"
#include "runningCard.h"

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;

using Arguments = std::vector<std::string>;

std::string modelPath(const std::string& name) { return LCMP_MODELS_DIR "/" + name + ".yaml"; }

std::string withoutAddress(std::string text, const std::string& card) {
    for (auto at = text.find(card); at != std::string::npos; at = text.find(card))
        text.erase(at, card.size());
    return text;
}

// Every value of a card, with its name and type.
std::string contentOf(const RunningCard& card, const std::string& model) {
    const Ended ended = run({"walk", card.address(), "--model", model, "-o", "csv"});
    EXPECT_EQ(ended.status, 0) << ended.err;
    return withoutAddress(ended.out, card.address());
}

class RecordVerb : public testing::Test {
protected:
    RecordVerb() {
        std::string pattern = testing::TempDir() + "lcmp-record-XXXXXX";
        m_folder = mkdtemp(pattern.data());
    }
    ~RecordVerb() override { fs::remove_all(m_folder); }

    std::string path(const std::string& name) const { return (m_folder / name).string(); }
    bool isEmpty() const { return fs::is_empty(m_folder); }

    LcmpModel loaded(const std::string& name) const {
        LcmpModel model;
        std::vector<LcmpModelError> errors;
        EXPECT_TRUE(lcmpModelLoadFile(path(name), model, errors)) << lcmpModelErrorText(errors.at(0));
        return model;
    }

    /// Whether a card that serves the recording of this one cannot be told from it.
    void expectSameAfterRecording(const RunningCard& card, const std::string& model) {
        const Ended ended = run({"record", card.address(), "--model", model, "-O", path("recording.yaml")});
        EXPECT_EQ(ended.status, 0);
        EXPECT_EQ(ended.out, "");
        EXPECT_EQ(ended.err, "");
        const RunningCard again({"--model", path("recording.yaml")});
        EXPECT_EQ(contentOf(again, path("recording.yaml")), contentOf(card, model));
    }

private:
    fs::path m_folder;
};

TEST_F(RecordVerb, ACardThatServesTheRecordingAnswersAsTheRecordedOne) {
    for (const char* model : {"standard", "linecard48", "fantray"}) {
        const RunningCard card({"--model", modelPath(model)});
        expectSameAfterRecording(card, modelPath(model));
    }
}

TEST_F(RecordVerb, WhatWasWrittenToTheCardIsRecorded) {
    const RunningCard card;
    card.set({"control.bpClkRef=3", "control.guid=123e4567-e89b-12d3-a456-426614174000",
              "control.utcTime=18446744073709551615", "download.filename=a \"b\": {c} # \xC2\xB0\t\\",
              "download.setCommitTimer=-1", "fileServer.server=x",
              "fileServer.password=", "download.accept=true"});
    expectSameAfterRecording(card, modelPath("standard"));
}

TEST_F(RecordVerb, WhatALineCardWasToldIsRecordedInItsRows) {
    const RunningCard card({"--model", modelPath("linecard48")});
    card.set({"port[3].enabled=false", "port[47].label=uplink to \"core\"", "port[0].peer=192.0.2.7"},
             {"--model", modelPath("linecard48")});
    expectSameAfterRecording(card, modelPath("linecard48"));
}

TEST_F(RecordVerb, WritesToStandardOutputWithoutAFile) {
    const RunningCard card;
    const Ended ended = run({"record", card.address()});
    EXPECT_EQ(ended.status, 0);
    LcmpModel model;
    std::vector<LcmpModelError> errors;
    EXPECT_TRUE(lcmpModelLoadText(ended.out, "recording", model, errors));
    EXPECT_EQ(model.card, "standard");
    EXPECT_THAT(ended.out, testing::StartsWith("# Recorded from " + card.address() + "\n"));
}

TEST_F(RecordVerb, StandsStillUnlessToldToMove) {
    const RunningCard card;
    EXPECT_THAT(run({"record", card.address()}).out, Not(HasSubstr("simulate")));
    const std::string moving = run({"record", card.address(), "--keep-motion"}).out;
    EXPECT_THAT(moving, HasSubstr("simulate"));
}

TEST_F(RecordVerb, WhatTheCardRefusesKeepsItsDefaultAndIsTold) {
    PlayedCard card;
    card.misses("fileServer.port");
    const std::string address = card.serve();
    const Ended ended = run({"record", address, "-O", path("a.yaml")});
    EXPECT_EQ(ended.status, 5);
    EXPECT_EQ(ended.err, "lcmp: " + address + " refused fileServer.port: RESULT GENERAL ERROR\n");
    const LcmpModel model = loaded("a.yaml");
    const LcmpModelObject* object = lcmpModelFindObject(model, "fileServer");
    EXPECT_TRUE(lcmpModelFindVariable(*object, "port")->values.empty());
    EXPECT_EQ(lcmpModelFindVariable(*object, "user")->values.at(0), LcmpModelValue(std::string("x")));
}

TEST_F(RecordVerb, WhatAModelCannotHoldKeepsItsDefaultAndIsTold) {
    PlayedCard card;
    card.holds("fileServer.user", "\xFF\xFE");
    card.holds("fileServer.port", UINT16, std::string(2, '\1'));
    card.holds("fileServer.server", std::string("\0\x01\x7F\xC2\x85\xE2\x80\xA8", 8));
    const Ended ended = run({"record", card.serve(), "-O", path("a.yaml")});
    EXPECT_EQ(ended.status, 5);
    EXPECT_EQ(ended.err,
              "lcmp: fileServer.port is of type UINT16 on the card and UINT32 in the model; it keeps its "
              "default\n"
              "lcmp: fileServer.user has bytes that are no text, which a model cannot hold; it keeps its "
              "default\n");
    const LcmpModel model = loaded("a.yaml");
    const LcmpModelObject* object = lcmpModelFindObject(model, "fileServer");
    EXPECT_TRUE(lcmpModelFindVariable(*object, "user")->values.empty());
    EXPECT_EQ(lcmpModelFindVariable(*object, "server")->values.at(0),
              LcmpModelValue(std::string("\0\x01\x7F\xC2\x85\xE2\x80\xA8", 8)));
}

TEST_F(RecordVerb, ValuesOfEveryTypeAreRecorded) {
    const std::string model =
        "card: all\nobjects:\n  - name: a\n    kind: scalar\n    id: 20\n    variables:\n"
        "      - {id: 0, name: u64, type: UINT64, access: read-only}\n"
        "      - {id: 1, name: i64, type: INT64, access: read-only}\n"
        "      - {id: 2, name: i8, type: INT8, access: read-only}\n"
        "      - {id: 3, name: flag, type: BOOLEAN, access: read-only}\n"
        "      - {id: 4, name: ip, type: IPv4ADDRESS, access: read-only}\n"
        "      - {id: 5, name: time, type: UNIX_TIME, access: read-only}\n"
        "      - {id: 6, name: bytes, type: BYTE_ARRAY, access: read-only}\n"
        "      - {id: 7, name: mac, type: MAC_ADDRESS, access: read-only}\n"
        "      - {id: 8, name: farTime, type: UNIX_TIME, access: read-only}\n";
    std::ofstream(path("model.yaml")) << model;
    PlayedCard card(loaded("model.yaml"));
    card.holds("a.u64", std::string(8, '\xFF'));
    card.holds("a.i64", "\x80" + std::string(7, '\0'));
    card.holds("a.i8", "\x80");
    card.holds("a.flag", "\1");
    card.holds("a.ip", "\xC0\xA8\x01\x02");
    card.holds("a.time", std::string("\0\0\0\0\x65\x00\x00\x01", 8));
    card.holds("a.bytes", std::string("\0\xFF\x10", 3));
    card.holds("a.mac", "\x02\xAA\xBB\xCC\xDD\xEE");
    card.holds("a.farTime", "\x7F" + std::string(7, '\xFF'));
    const Ended ended = run({"record", card.serve(), "--model", path("model.yaml"), "-O", path("b.yaml")});
    EXPECT_EQ(ended.status, 0) << ended.err;
    const LcmpModel recorded = loaded("b.yaml");
    const LcmpModelObject* object = lcmpModelFindObject(recorded, "a");
    const auto value = [&](const char* name) { return lcmpModelFindVariable(*object, name)->values.at(0); };
    EXPECT_EQ(value("u64"), LcmpModelValue(0xFFFFFFFFFFFFFFFFULL));
    EXPECT_EQ(value("i64"), LcmpModelValue(-0x7FFFFFFFFFFFFFFFLL - 1));
    EXPECT_EQ(value("i8"), LcmpModelValue(-128LL));
    EXPECT_EQ(value("flag"), LcmpModelValue(true));
    EXPECT_EQ(value("ip"), LcmpModelValue(0xC0A80102ULL));
    EXPECT_EQ(value("time"), LcmpModelValue(0x65000001LL));
    EXPECT_EQ(value("bytes"), LcmpModelValue(std::string("\0\xFF\x10", 3)));
    EXPECT_EQ(value("mac"), LcmpModelValue(std::string("\x02\xAA\xBB\xCC\xDD\xEE")));
    EXPECT_EQ(value("farTime"), LcmpModelValue(0x7FFFFFFFFFFFFFFFLL));
}

// ---------------------------------------------------------------- how it ends

TEST_F(RecordVerb, WithoutAnAnswerNothingIsWritten) {
    PlayedCard card;
    card.endsAfter(0, PlayedCard::End::silence);
    const Ended ended =
        run({"record", card.serve(), "--timeout", "20ms", "--retries", "0", "-O", path("a.yaml")});
    EXPECT_EQ(ended.status, 3);
    EXPECT_THAT(ended.err, HasSubstr("\nlcmp: nothing is written\n"));
    EXPECT_TRUE(isEmpty());
}

TEST_F(RecordVerb, ACardThatFallsSilentLeavesTheRecordingThatWasThere) {
    std::ofstream(path("a.yaml")) << "before";
    PlayedCard card;
    card.endsAfter(1, PlayedCard::End::silence);
    const Ended ended =
        run({"record", card.serve(), "--timeout", "20ms", "--retries", "0", "-O", path("a.yaml")});
    EXPECT_EQ(ended.status, 3);
    std::ifstream file(path("a.yaml"));
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), "before");
}

TEST_F(RecordVerb, CtrlCEndsItAtOnceAndNothingIsWritten) {
    PlayedCard card;
    card.endsAfter(1, PlayedCard::End::silence);
    Program record({"record", card.serve(), "--timeout", "1h", "-O", path("a.yaml")});
    card.waitForRequests(2);
    record.signal(SIGINT);
    EXPECT_EQ(record.finish(), 128 + SIGINT);
    EXPECT_EQ(record.err(), "");
    EXPECT_TRUE(isEmpty());
}

TEST_F(RecordVerb, AMalformedAnswerIsStatus6AndNothingIsWritten) {
    PlayedCard card;
    card.endsAfter(0, PlayedCard::End::garbage);
    EXPECT_EQ(run({"record", card.serve(), "-O", path("a.yaml")}).status, 6);
    EXPECT_TRUE(isEmpty());
}

TEST_F(RecordVerb, ACardThatRefusesEverythingIsStatus4AndNothingIsWritten) {
    PlayedCard card;
    for (const LcmpModelObject& object : lcmpModelStandard().objects)
        card.misses(object.name);
    EXPECT_EQ(run({"record", card.serve(), "-O", path("a.yaml")}).status, 4);
    EXPECT_TRUE(isEmpty());
}

TEST_F(RecordVerb, AFileThatCannotBeWrittenIsStatus1) {
    PlayedCard card;
    const Ended ended = run({"record", card.serve(), "-O", path("none/a.yaml")});
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.err, "lcmp: " + path("none/a.yaml") + ": No such file or directory\n");
}

TEST_F(RecordVerb, WhatMakesNoSenseIsStatus2AndABadModelStatus7) {
    EXPECT_EQ(run({"record"}).status, 2);
    EXPECT_EQ(run({"record", "127.0.0.1", "--retries", "x"}).status, 2);
    EXPECT_EQ(run({"record", "127.0.0.1", "--model", path("none.yaml")}).status, 7);
}

}  // namespace
