// lcmp walk as a process, against simulated cards and cards that the test plays.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

#include "frameBuilder.h"
#include "playedCard.h"
#include "relay.h"
#include "runningCard.h"
#include "terminal.h"
#include "terminals.h"

namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::StartsWith;

using Arguments = std::vector<std::string>;

Arguments operator+(Arguments all, const Arguments& more) {
    all.insert(all.end(), more.begin(), more.end());
    return all;
}

// Waits long for an answer, so that none is asked for twice.
Ended walk(const std::string& card, const Arguments& arguments = {}) {
    return run(Arguments{"walk", card, "--timeout", "30s", "--retries", "0"} + arguments);
}

std::size_t linesIn(const std::string& text) {
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

// The card's address differs from run to run.
std::string named(std::string text, const std::string& card) {
    for (auto at = text.find(card); at != std::string::npos; at = text.find(card))
        text.replace(at, card.size(), "CARD");
    return text;
}

// A model file that lives as long as the test.
class ModelFile {
public:
    explicit ModelFile(const std::string& text)
        : m_path(testing::TempDir() + "lcmp-walk-" + std::to_string(getpid()) + ".yaml") {
        std::ofstream(m_path) << text;
        std::vector<LcmpModelError> errors;
        EXPECT_TRUE(lcmpModelLoadText(text, m_path, m_model, errors)) << lcmpModelErrorText(errors.at(0));
    }
    ~ModelFile() { std::remove(m_path.c_str()); }
    ModelFile(const ModelFile&) = delete;
    ModelFile& operator=(const ModelFile&) = delete;

    const std::string& path() const { return m_path; }
    const LcmpModel& model() const { return m_model; }

private:
    std::string m_path;
    LcmpModel m_model;
};

// One table "port", whose columns have these types.
std::string tableModel(unsigned int rows, const std::vector<std::string>& types) {
    std::string text = "card: big\nobjects:\n  - name: port\n    kind: table\n    id: 20\n    rows: " +
                       std::to_string(rows) + "\n    variables:\n";
    for (std::size_t i = 0; i < types.size(); ++i)
        text += "      - {id: " + std::to_string(i) + ", name: c" + std::to_string(i) +
                ", type: " + types[i] + ", access: read-only}\n";
    return text;
}

// The fewest requests for elements of these sizes, in their order: each response takes as many as its 1200
// bytes hold, and no request asks for more than 150.
unsigned int fewestRequests(const std::vector<std::size_t>& sizes) {
    unsigned int requests = 0;
    std::size_t count = 0;
    std::size_t bytes = 0;
    for (const std::size_t size : sizes) {
        if (requests == 0 || count == 150 || bytes + size > 1200) {
            ++requests;
            count = 0;
            bytes = responseHeader;
        }
        ++count;
        bytes += size;
    }
    return requests;
}

// ---------------------------------------------------------------- what is printed

TEST(WalkVerb, PrintsScalarsAsLinesAndTablesAsTables) {
    const RunningCard card;
    const Ended ended = walk(card.address(), {"logRetrieval", "temperature", "voltage", "fileServer"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.err, "");
    EXPECT_EQ(ended.out,
              "logRetrieval.directory = \"\"\n"
              "logRetrieval.result = 0\n"
              "logRetrieval.state = 0\n"
              "\n"
              "temperature\n"
              "row  name            value °C  valid  min °C  max °C\n"
              "  0  \"Inlet\"                0  false     -40      85\n"
              "  1  \"Outlet\"               0  false     -40      85\n"
              "  2  \"Processor\"            0  false     -40      85\n"
              "  3  \"Power supply\"         0  false     -40      85\n"
              "\n"
              "voltage\n"
              "row  name            value mV  nominal mV  valid\n"
              "  0  \"Main 12 V\"            0       12000  false\n"
              "  1  \"I/O 3.3 V\"            0        3300  false\n"
              "  2  \"Memory 1.8 V\"         0        1800  false\n"
              "  3  \"Core 1 V\"             0        1000  false\n"
              "\n"
              "fileServer.server = \"\"\n"
              "fileServer.port = 21\n"
              "fileServer.user = \"\"\n"
              "fileServer.password = \"\"\n");
}

TEST(WalkVerb, ReadsAllOfTheModelWhereNothingIsNamed) {
    PlayedCard card;
    const Ended ended = walk(card.serve(), {"-o", "csv"});
    EXPECT_EQ(ended.status, 0);
    std::size_t cells = 0;
    for (const LcmpModelObject& object : lcmpModelStandard().objects)
        cells += object.rows * object.variables.size();
    EXPECT_EQ(linesIn(ended.out), cells + 1);
}

TEST(WalkVerb, AddsUnitsAndWordsAsGetDoes) {
    const RunningCard card;
    EXPECT_THAT(walk(card.address(), {"download"}).out,
                HasSubstr("download.state = 0 (idle)\ndownload.progress = 0 %\n"));
}

TEST(WalkVerb, PrintsOneRow) {
    const RunningCard card;
    EXPECT_EQ(walk(card.address(), {"hardwareError[5]"}).out,
              "hardwareError\n"
              "row  id  name             active\n"
              "  5   6  \"Backplane bus\"  false\n");
}

TEST(WalkVerb, PrintsTheWantedRowsOfTables) {
    const RunningCard card;
    EXPECT_EQ(walk(card.address(), {"hardwareError", "--from", "2", "--to", "3", "-o", "value"}).out,
              "3\nProgrammable logic\nfalse\n4\nInventory store\nfalse\n");
}

TEST(WalkVerb, PrintsWhatGetPrintsForPrograms) {
    const RunningCard card;
    const Arguments names = {
        "fileServer.server",   "fileServer.port",      "fileServer.user",      "fileServer.password",
        "temperature[1].name", "temperature[1].value", "temperature[1].valid", "temperature[1].min",
        "temperature[1].max",  "download.filename",    "download.start",       "download.stop",
        "download.commit",     "download.accept",      "download.state",       "download.progress",
        "download.name",       "download.bspName",     "download.clearErrors", "download.setCommitTimer"};
    for (const char* format : {"json", "jsonl", "csv", "value"}) {
        const Ended got = run(Arguments{"get", card.address(), "-o", format} + names);
        EXPECT_EQ(walk(card.address(), {"fileServer", "temperature[1]", "download", "-o", format}).out,
                  got.out);
    }
}

// ---------------------------------------------------------------- how often it asks

TEST(WalkVerb, ReadsAHugeTableOverALossyWireWithNoRequestTooMany) {
    constexpr unsigned int rows = 16384;
    const std::vector<std::string> types = {"UINT32", "UINT8", "INT64", "BOOLEAN", "UINT16", "INT32"};
    const std::vector<std::size_t> widths = {4, 1, 8, 1, 2, 4};
    std::vector<std::size_t> sizes;
    for (unsigned int row = 0; row < rows; ++row) {
        for (const std::size_t width : widths)
            sizes.push_back(7 + width);
    }
    const ModelFile file(tableModel(rows, types));
    const RunningCard card({"--model", file.path(), "--loss", "10"});
    const Relay relay(card.address());
    const Ended ended =
        run({"walk", relay.address(), "--model", file.path(), "--timeout", "20ms", "--retries", "12"});
    EXPECT_EQ(ended.status, 0) << ended.err;
    EXPECT_EQ(linesIn(ended.out), rows + 2);
    EXPECT_THAT(ended.out, testing::EndsWith("\n16383   0   0   0  false   0   0\n"));
    EXPECT_EQ(relay.requests(), fewestRequests(sizes));
    EXPECT_GT(relay.sendings(), relay.requests());
}

TEST(WalkVerb, FillsItsRequestsAcrossObjects) {
    PlayedCard card;
    std::vector<std::size_t> sizes;
    for (const char* name : {"logRetrieval.directory", "fileServer.server", "fileServer.user"})
        card.holds(name, std::string(32, 'x'));
    EXPECT_EQ(walk(card.serve(), {"logRetrieval", "fileServer", "temperature", "alarms"}).status, 0);
    EXPECT_EQ(card.requests(), 1U);
}

TEST(WalkVerb, LearnsHowLongTextsAre) {
    struct Case {
        std::size_t length;
        unsigned int moreThanFewest;  // requests, until the length is known
    };
    for (const Case& one : {Case{0, 1}, Case{5, 1}, Case{32, 0}, Case{250, 4}, Case{594, 5}}) {
        constexpr unsigned int rows = 400;
        const ModelFile file(tableModel(rows, {"STRING"}));
        PlayedCard card(file.model());
        card.holds("port", std::string(one.length, 'x'));
        const Ended ended = walk(card.serve(), {"--model", file.path(), "-o", "value"});
        EXPECT_EQ(ended.status, 0) << ended.err;
        EXPECT_EQ(ended.out.size(), rows * (one.length + 1));
        const unsigned int fewest = fewestRequests(std::vector<std::size_t>(rows, 7 + one.length));
        EXPECT_LE(card.requests(), fewest + one.moreThanFewest) << one.length;
        EXPECT_GE(card.requests(), fewest) << one.length;
    }
}

TEST(WalkVerb, AsksAgainForLessWhereAnAnswerIsTooLong) {
    constexpr unsigned int rows = 300;
    const ModelFile file(tableModel(rows, {"STRING", "UINT32"}));
    PlayedCard card(file.model());
    std::vector<std::size_t> sizes;
    std::string expected;
    unsigned int chance = 7;
    for (unsigned int row = 0; row < rows; ++row) {
        chance = chance * 1664525U + 1013904223U;
        const std::string text((chance >> 16) % 120, 'x');
        card.holds("port[" + std::to_string(row) + "].c0", text);
        sizes.insert(sizes.end(), {7 + text.size(), 11});
        expected += text + "\n0\n";
    }
    const Ended ended = walk(card.serve(), {"--model", file.path(), "-o", "value"});
    EXPECT_EQ(ended.status, 0) << ended.err;
    EXPECT_EQ(ended.out, expected);
    EXPECT_LE(card.requests(), fewestRequests(sizes) * 3 / 2);
}

// ---------------------------------------------------------------- what the card does not have

// A walk over a card that the test plays.
struct Walked {
    Ended ended;
    unsigned int requests;

    const std::string& out() const { return ended.out; }
    const std::string& err() const { return ended.err; }
    int status() const { return ended.status; }
};

Walked walkOver(PlayedCard& card, const Arguments& arguments) {
    const std::string address = card.serve();
    Ended ended = walk(address, arguments);
    ended.out = named(ended.out, address);
    ended.err = named(ended.err, address);
    return {ended, card.requests()};
}

TEST(WalkVerb, AnObjectThatTheCardDoesNotHaveIsOneLine) {
    PlayedCard card;
    card.misses("voltage");
    const Walked walked = walkOver(card, {"voltage", "logRetrieval"});
    EXPECT_EQ(walked.status(), 5);
    EXPECT_EQ(walked.err(), "lcmp: CARD refused voltage (rows 0 and 3 were tried): RESULT GENERAL ERROR\n");
    EXPECT_EQ(walked.out(),
              "logRetrieval.directory = \"x\"\nlogRetrieval.result = 0\nlogRetrieval.state = 0\n");
}

TEST(WalkVerb, AScalarThatTheCardDoesNotHaveIsOneLine) {
    PlayedCard card;
    card.misses("control");
    const Walked walked = walkOver(card, {"control", "logRetrieval"});
    EXPECT_EQ(walked.status(), 5);
    EXPECT_EQ(walked.err(), "lcmp: CARD refused control: RESULT GENERAL ERROR\n");
}

TEST(WalkVerb, AVariableThatTheCardDoesNotHaveIsToldByItsName) {
    PlayedCard card;
    card.misses("logRetrieval.result");
    const Walked walked = walkOver(card, {"logRetrieval"});
    EXPECT_EQ(walked.status(), 5);
    EXPECT_EQ(walked.err(), "lcmp: CARD refused logRetrieval.result: RESULT GENERAL ERROR\n");
    EXPECT_EQ(walked.out(), "logRetrieval.directory = \"x\"\nlogRetrieval.state = 0\n");
}

TEST(WalkVerb, AColumnThatTheCardDoesNotHaveIsOneLineAndTwoRequests) {
    const ModelFile file(tableModel(16384, {"UINT8", "UINT16"}));
    PlayedCard card(file.model());
    card.misses("port.c1");
    const Walked walked = walkOver(card, {"--model", file.path(), "-o", "value"});
    EXPECT_EQ(walked.status(), 5);
    EXPECT_EQ(walked.err(),
              "lcmp: CARD refused port.c1 (rows 0 and 16383 were tried): RESULT GENERAL ERROR\n");
    EXPECT_EQ(linesIn(walked.out()), 16384U);
    EXPECT_LE(walked.requests, fewestRequests(std::vector<std::size_t>(16384, 8)) + 3);
}

TEST(WalkVerb, AMissingColumnLeavesAHyphenInTheTable) {
    PlayedCard card;
    card.misses("hardwareError.name");
    EXPECT_EQ(walkOver(card, {"hardwareError", "--to", "1"}).out(),
              "hardwareError\n"
              "row  id  name  active\n"
              "  0   0  -     false\n"
              "  1   0  -     false\n");
}

TEST(WalkVerb, RowsThatTheCardDoesNotHaveAreOneLine) {
    const ModelFile file(tableModel(16384, {"UINT8", "UINT16", "UINT32"}));
    PlayedCard card(file.model());
    card.endsTable("port", 100);
    const Walked walked = walkOver(card, {"--model", file.path(), "-o", "value"});
    EXPECT_EQ(walked.status(), 5);
    EXPECT_EQ(walked.err(),
              "lcmp: CARD refused port[100] and port[16383]: RESULT GENERAL ERROR; the rows "
              "between were not asked for\n");
    EXPECT_EQ(linesIn(walked.out()), 300U);
    EXPECT_LE(walked.requests, 3U + 2 * 3 + 1);
}

TEST(WalkVerb, TheLastRowAloneIsToldAlone) {
    PlayedCard card;
    card.misses("voltage[3]");
    const Walked walked = walkOver(card, {"voltage", "-o", "value"});
    EXPECT_EQ(walked.err(), "lcmp: CARD refused voltage[3]: RESULT GENERAL ERROR\n");
    EXPECT_EQ(linesIn(walked.out()), 12U);
}

TEST(WalkVerb, GoesOnBehindAHoleInATable) {
    PlayedCard card;
    card.misses("voltage[1]");
    const Walked walked = walkOver(card, {"voltage"});
    EXPECT_EQ(walked.status(), 5);
    EXPECT_EQ(walked.err(),
              "lcmp: CARD refused voltage[1].name: RESULT GENERAL ERROR\n"
              "lcmp: CARD refused voltage[1].value: RESULT GENERAL ERROR\n"
              "lcmp: CARD refused voltage[1].nominal: RESULT GENERAL ERROR\n"
              "lcmp: CARD refused voltage[1].valid: RESULT GENERAL ERROR\n");
    EXPECT_EQ(walked.out(),
              "voltage\n"
              "row  name  value mV  nominal mV  valid\n"
              "  0  \"x\"          0           0  false\n"
              "  2  \"x\"          0           0  false\n"
              "  3  \"x\"          0           0  false\n");
}

TEST(WalkVerb, RowsBeyondTheModelAreReadAsFarAsThereAreAny) {
    LcmpModel model = lcmpModelStandard();
    model.objects[5].rows = 7;
    PlayedCard card(model);
    const Walked walked = walkOver(card, {"voltage", "--to", "100", "-o", "value"});
    EXPECT_EQ(walked.status(), 0);
    EXPECT_EQ(walked.err(), "");
    EXPECT_EQ(linesIn(walked.out()), 28U);
}

TEST(WalkVerb, ARowThatIsNamedIsMissedEvenBeyondTheModel) {
    PlayedCard card;
    const Walked walked = walkOver(card, {"voltage[9]"});
    EXPECT_EQ(walked.status(), 4);
    EXPECT_EQ(walked.err(), "lcmp: CARD refused voltage[9]: RESULT GENERAL ERROR\n");
    EXPECT_EQ(walked.out(), "");
}

TEST(WalkVerb, FindsTheVariableThatCannotBeReadWhereTheCardDoesNotSayWhich) {
    PlayedCard card;
    card.cannotRead("hardwareError[5].active");
    const Walked walked = walkOver(card, {"hardwareError", "-o", "value"});
    EXPECT_EQ(walked.status(), 5);
    EXPECT_EQ(walked.err(), "lcmp: CARD refused hardwareError[5].active: RESULT CANNOT EXEC\n");
    EXPECT_EQ(linesIn(walked.out()), 24U);
    EXPECT_LE(walked.requests, 16U);
}

TEST(WalkVerb, AValueTooLongForAnyAnswerIsToldAlone) {
    PlayedCard card;
    card.holds("voltage[1].name", std::string(1190, 'x'));
    const Walked walked = walkOver(card, {"voltage", "-o", "value"});
    EXPECT_EQ(walked.status(), 5);
    EXPECT_EQ(walked.err(), "lcmp: CARD refused voltage[1].name: RESULT TOO LONG\n");
    EXPECT_EQ(walked.out(), "x\n0\n0\nfalse\n\n0\n0\nfalse\nx\n0\n0\nfalse\nx\n0\n0\nfalse\n");
}

TEST(WalkVerb, ProgramsAreToldOfWhatIsMissing) {
    PlayedCard card;
    card.misses("voltage[1].name");
    card.misses("logRetrieval");
    const Walked walked = walkOver(card, {"voltage", "logRetrieval", "-o", "json"});
    const json all = json::parse(walked.out());
    ASSERT_EQ(all.size(), 17U);
    EXPECT_EQ(all[4], json::parse(R"({"card": "CARD", "oid": "0x51800001", "name": "voltage[1].name", "error":
        {"result": 5, "text": "CARD refused voltage[1].name: RESULT GENERAL ERROR"}})"));
    EXPECT_EQ(all[16], json::parse(R"({"card": "CARD", "name": "logRetrieval", "error":
        {"result": 5, "text": "CARD refused logRetrieval: RESULT GENERAL ERROR"}})"));
}

TEST(WalkVerb, CsvTellsWhatIsMissing) {
    PlayedCard card;
    card.misses("logRetrieval");
    EXPECT_EQ(walkOver(card, {"logRetrieval", "-o", "csv"}).out(),
              "card,oid,name,type,value,error\n"
              "CARD,,logRetrieval,,,CARD refused logRetrieval: RESULT GENERAL ERROR\n");
}

// ---------------------------------------------------------------- how it ends

Ended impatientWalk(PlayedCard& card, const Arguments& arguments) {
    return run(Arguments{"walk", card.serve(), "--timeout", "20ms", "--retries", "1"} + arguments);
}

TEST(WalkVerb, RefusedInEverythingIsStatus4) {
    PlayedCard card;
    card.misses("voltage");
    EXPECT_EQ(walkOver(card, {"voltage"}).status(), 4);
}

TEST(WalkVerb, NoAnswerAtAllIsStatus3) {
    PlayedCard card;
    card.endsAfter(0, PlayedCard::End::silence);
    const Ended ended = impatientWalk(card, {});
    EXPECT_EQ(ended.status, 3);
    EXPECT_EQ(ended.out, "");
    EXPECT_THAT(ended.err, HasSubstr(" did not answer (2 tries); identity.cardType and what follows was not "
                                     "read\n"));
    EXPECT_EQ(linesIn(ended.err), 1U);
}

TEST(WalkVerb, ACardThatFallsSilentLeavesWhatItSaid) {
    const ModelFile file(tableModel(300, {"UINT8"}));
    PlayedCard card(file.model());
    card.endsAfter(1, PlayedCard::End::silence);
    const Ended ended = impatientWalk(card, {"--model", file.path()});
    EXPECT_EQ(ended.status, 5);
    EXPECT_EQ(linesIn(ended.out), 148U + 2);
    EXPECT_THAT(ended.err, HasSubstr("; port[148].c0 and what follows was not read\n"));
}

TEST(WalkVerb, AMalformedAnswerIsStatus6) {
    PlayedCard card;
    card.endsAfter(0, PlayedCard::End::garbage);
    const Ended ended = impatientWalk(card, {});
    EXPECT_EQ(ended.status, 6);
    EXPECT_THAT(ended.err, HasSubstr(" sent a malformed answer: RESULT WRONG LEN"));
}

TEST(WalkVerb, AMalformedValueIsToldWithTheOthersPrinted) {
    PlayedCard card;
    card.holds("logRetrieval.result", std::string(3, '\0'));
    const Walked walked = walkOver(card, {"logRetrieval"});
    EXPECT_EQ(walked.status(), 5);
    EXPECT_THAT(walked.err(),
                StartsWith("lcmp: CARD answered with a malformed value of logRetrieval.result: "));
    EXPECT_EQ(walked.out(), "logRetrieval.directory = \"x\"\nlogRetrieval.state = 0\n");
}

TEST(WalkVerb, WhatCannotBeResolvedIsStatus7) {
    EXPECT_EQ(run({"walk", "127.0.0.1", "temprature"}).status, 7);
    EXPECT_EQ(run({"walk", "127.0.0.1", "--model", "/nonexistent.yaml"}).status, 7);
}

TEST(WalkVerb, WhatMakesNoSenseIsStatus2) {
    EXPECT_EQ(run({"walk"}).status, 2);
    EXPECT_EQ(run({"walk", "127.0.0.1", "--from", "3", "--to", "2"}).status, 2);
    EXPECT_EQ(run({"walk", "127.0.0.1", "--from", "16384"}).status, 2);
    EXPECT_EQ(run({"walk", "127.0.0.1", "-o", "yaml"}).status, 2);
}

TEST(WalkVerb, AnOutputThatCannotBeWrittenIsStatus1) {
    PlayedCard card;
    const Ended ended = run({"walk", card.serve(), "fileServer"}, {}, "/dev/full");
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.err, "lcmp: standard output cannot be written\n");
}

TEST(WalkVerb, TheEnvironmentCountsAsForGet) {
    const ModelFile file(tableModel(2, {"UINT8"}));
    PlayedCard card(file.model());
    EXPECT_EQ(run({"walk", card.serve(), "-o", "value"}, {"LCMP_MODEL=" + file.path()}).out, "0\n0\n");
}

TEST(WalkVerb, CtrlCEndsItAtOnceWithWhatWasReadPrinted) {
    const ModelFile file(tableModel(300, {"UINT8"}));
    for (const int signal : {SIGINT, SIGTERM}) {
        for (const char* format : {"text", "json", "jsonl", "csv"}) {
            PlayedCard card(file.model());
            card.endsAfter(1, PlayedCard::End::silence);
            Program walked({"walk", card.serve(), "--model", file.path(), "--timeout", "1h", "-o", format});
            card.waitForRequests(2);
            walked.signal(signal);
            EXPECT_EQ(walked.finish(), 128 + signal);
            EXPECT_EQ(walked.err(), "");
            if (std::string(format) == "json")
                EXPECT_EQ(json::parse(walked.out()).size(), 148U);
            else
                EXPECT_GE(linesIn(walked.out()), 148U) << format;
        }
    }
}

// ---------------------------------------------------------------- on a terminal

const Arguments slowCard = {"--delay", "100",     "--delay-time",
                            "200ms",   "--model", LCMP_MODELS_DIR "/linecard48.yaml"};

// A dozen requests.
Arguments lineCardWalk(const RunningCard& card) {
    return {"walk", card.address(), "--model", LCMP_MODELS_DIR "/linecard48.yaml", "--to", "30", "--timeout",
            "30s",  "--retries",    "0"};
}

TEST(WalkVerb, ShowsABarOnATerminalWhenItTakesLongAndTakesItAway) {
    SKIP_WITHOUT_TERMINALS();
    const RunningCard card(slowCard);
    const Terminal terminal(lineCardWalk(card));
    EXPECT_EQ(terminal.status(), 0);
    EXPECT_THAT(terminal.written(), HasSubstr("#"));
    EXPECT_THAT(terminal.written(), HasSubstr(" values"));
    EXPECT_EQ(terminal.screen(), "");
}

TEST(WalkVerb, ShowsNoBarWhenItIsQuick) {
    SKIP_WITHOUT_TERMINALS();
    const RunningCard card;
    const Terminal terminal({"walk", card.address(), "control"});
    EXPECT_EQ(terminal.status(), 0);
    EXPECT_EQ(terminal.written(), "");
}

TEST(WalkVerb, TheBarStandsInNobodysWay) {
    SKIP_WITHOUT_TERMINALS();
    const RunningCard card(slowCard);
    for (const char* format : {"text", "csv"}) {
        const Arguments arguments = lineCardWalk(card) + Arguments{"-o", format};
        const Terminal terminal(arguments, Terminal::Streams::both);
        EXPECT_THAT(terminal.written(), HasSubstr(" values"));
        EXPECT_EQ(terminal.screen(), run(arguments).out);
    }
}

TEST(WalkVerb, ShowsNoBarWhereStandardErrorIsNoTerminal) {
    const RunningCard card(slowCard);
    EXPECT_EQ(run(lineCardWalk(card)).err, "");
}

}  // namespace
