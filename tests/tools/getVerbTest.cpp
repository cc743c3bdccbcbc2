#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "frameBuilder.h"
#include "lcmpTlv.h"
#include "program.h"
#include "scriptedCard.h"

namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::StartsWith;

constexpr unsigned int bpClkRef = 0x11800002;
constexpr unsigned int cardType = 0x10800000;
constexpr unsigned int hardwareVersion = 0x10800001;

const std::vector<std::string> once = {"--retries", "0", "--timeout", "30s"};
const std::vector<std::string> impatient = {"--retries", "1", "--timeout", "20ms"};

// lcmp get of these variables from a card that the test plays.
class Get {
public:
    explicit Get(std::vector<std::string> names, const std::vector<std::string>& options = once,
                 const std::vector<std::string>& environment = {})
        : m_program(words(m_card, std::move(names), options), environment) {}

    Request request() { return m_request = m_card.request(); }

    /// Waits for a request and answers it with values.
    void answer(const Elements& elements) {
        request();
        m_card.answer(readResponse(m_request.id, 0, 0, elements));
    }

    /// Waits for a request and refuses it.
    void refuse(unsigned int result, unsigned int index) {
        request();
        m_card.answer(readResponse(m_request.id, result, index));
    }

    /// Waits for a request and answers it with zero bytes, one UINT8 for each variable.
    void answerAll() {
        request();
        m_card.answer(readResponse(m_request.id, 0, 0, zeros()));
    }

    Elements zeros() const {
        Elements elements;
        for (const Request::Variable& variable : m_request.variables)
            elements.push_back({variable.oid, UINT8, "00"});
        return elements;
    }

    void send(const std::string& frame) { m_card.answer(frame); }
    unsigned int id() const { return m_request.id; }
    std::string card() const { return m_card.target(); }

    int status() { return m_program.finish(); }
    const std::string& out() const { return m_program.out(); }
    const std::string& err() const { return m_program.err(); }

private:
    static std::vector<std::string> words(const ScriptedCard& card, std::vector<std::string> names,
                                          const std::vector<std::string>& options) {
        std::vector<std::string> all = {"get", card.target()};
        all.insert(all.end(), names.begin(), names.end());
        all.insert(all.end(), options.begin(), options.end());
        return all;
    }

    ScriptedCard m_card;
    Program m_program;
    Request m_request;
};

// As many names of one-byte variables; the numbers of their rows are their places.
std::vector<std::string> manyNames(int count) {
    std::vector<std::string> names;
    for (int i = 0; i < count; ++i)
        names.push_back("0x" + hex(bigEndian(0x41000000U + static_cast<unsigned int>(i), 4)) + ":UINT8");
    for (std::string& name : names)
        name.erase(std::remove(name.begin(), name.end(), ' '), name.end());
    return names;
}

TEST(GetVerb, AsksForTheVariablesAndPrintsTheirValues) {
    Get get({"identity.cardType", "control.bpClkRef"});
    get.answer({{cardType, STRING, "787878"}, {bpClkRef, UINT8, "80"}});
    EXPECT_EQ(get.status(), 0);
    EXPECT_EQ(get.out(), "identity.cardType = \"xxx\"\ncontrol.bpClkRef = 128\n");
    EXPECT_EQ(get.err(), "");
}

TEST(GetVerb, AsksWithTheOidsTheTypesAndNoValues) {
    Get get({"identity.cardType", "control.bpClkRef", "0x50c10005", "0x50c10006:INT16"});
    const Request request = get.request();
    EXPECT_EQ(request.action, 1U);
    EXPECT_EQ(
        hex(request.frame.substr(8)),
        hex(bytes("10800000 09 0000 | 11800002 03 0001 00 | 50C10005 09 0000 | 50C10006 06 0002 0000")));
}

TEST(GetVerb, LooksItsTargetUp) {
    ScriptedCard card;
    Program get({"get", "localhost" + card.target().substr(card.target().find(':')), "control.bpClkRef"});
    card.answer(readResponse(card.request().id, 0, 0, {{bpClkRef, UINT8, "80"}}));
    EXPECT_EQ(get.finish(), 0);
    EXPECT_EQ(get.out(), "control.bpClkRef = 128\n");
}

TEST(GetVerb, PrintsTheBareValue) {
    Get get({"identity.cardType", "-o", "value"});
    get.answer({{cardType, STRING, "787878"}});
    EXPECT_EQ(get.status(), 0);
    EXPECT_EQ(get.out(), "xxx\n");
}

TEST(GetVerb, PrintsJson) {
    Get get({"0x01000007", "--json"});
    get.answer({{0x01000007, UINT64, "FFFFFFFFFFFFFFFF"}});
    EXPECT_EQ(get.status(), 0);
    EXPECT_EQ(json::parse(get.out()), json::array({{{"card", get.card()},
                                                    {"oid", "0x01000007"},
                                                    {"name", "0x01000007"},
                                                    {"type", "UINT64"},
                                                    {"value", 18446744073709551615ULL}}}));
    EXPECT_THAT(get.out(), HasSubstr("18446744073709551615"));
}

TEST(GetVerb, BeginsAtAMessageIdOfItsOwnAndCountsOn) {
    Get get(manyNames(149));
    get.answerAll();
    const unsigned int first = get.id();
    get.answerAll();
    EXPECT_EQ(get.id(), (first + 1) % 65536);
    EXPECT_EQ(get.status(), 0);
}

TEST(GetVerb, SplitsSoThatAnAnswerFitsTwelveHundredBytes) {
    Get get(manyNames(300));
    for (const std::size_t size : {148U, 148U, 4U}) {
        get.answerAll();
        EXPECT_LE(responseHeader + joined(get.zeros()).size(), 1200U);
        EXPECT_EQ(get.zeros().size(), size);
    }
    EXPECT_EQ(get.status(), 0);
    EXPECT_EQ(std::count(get.out().begin(), get.out().end(), '\n'), 300);
}

TEST(GetVerb, AsksInHalvesForAnAnswerThatIsTooLong) {
    Get get({"0x01000001", "0x01000002", "0x01000003"});
    get.refuse(11, 0);
    get.answerAll();
    EXPECT_EQ(get.zeros().size(), 1U);
    get.answerAll();
    EXPECT_EQ(get.zeros().size(), 2U);
    EXPECT_EQ(get.status(), 0);
    EXPECT_EQ(get.out(), "0x01000001 = 0\n0x01000002 = 0\n0x01000003 = 0\n");
}

TEST(GetVerb, OneVariableThatIsTooLongIsRefused) {
    Get get({"identity.cardType"});
    get.refuse(11, 0);
    EXPECT_EQ(get.status(), 4);
    EXPECT_EQ(get.err(), "lcmp: " + get.card() + " refused identity.cardType: RESULT TOO LONG\n");
}

TEST(GetVerb, NamesTheVariableThatTheCardRefuses) {
    Get get({"control.bpClkRef"});
    get.refuse(7, 0);
    EXPECT_EQ(get.status(), 4);
    EXPECT_EQ(get.out(), "");
    EXPECT_EQ(get.err(), "lcmp: " + get.card() + " refused control.bpClkRef: RESULT WRONG OID\n");
}

TEST(GetVerb, ReadsTheOthersWhenOneIsRefused) {
    Get get({"identity.cardType", "0x50c10005", "control.bpClkRef"});
    get.refuse(5, 1);
    get.answer({{cardType, STRING, "787878"}, {bpClkRef, UINT8, "80"}});
    EXPECT_EQ(get.status(), 5);
    EXPECT_EQ(get.out(), "identity.cardType = \"xxx\"\ncontrol.bpClkRef = 128\n");
    EXPECT_EQ(get.err(), "lcmp: " + get.card() + " refused 0x50c10005: RESULT GENERAL ERROR\n");
}

TEST(GetVerb, ShowsRefusalsInItsJsonToo) {
    Get get({"identity.cardType", "0x50c10005", "-o", "jsonl"});
    get.refuse(5, 1);
    get.answer({{cardType, STRING, "787878"}});
    EXPECT_EQ(get.status(), 5);
    const std::string second = get.out().substr(get.out().find('\n') + 1);
    EXPECT_EQ(json::parse(second)["error"]["result"], 5);
    EXPECT_THAT(std::string(json::parse(second)["error"]["text"]), HasSubstr("RESULT GENERAL ERROR"));
}

TEST(GetVerb, FindsTheFaultWhoseIndexCountsOtherThings) {
    Get get({"0x01000001", "0x01000002"});
    get.refuse(12, 0);
    get.answerAll();
    get.refuse(12, 0);
    EXPECT_EQ(get.status(), 5);
    EXPECT_EQ(get.out(), "0x01000001 = 0\n");
    EXPECT_THAT(get.err(), HasSubstr("refused 0x01000002: RESULT CANNOT EXEC"));
}

TEST(GetVerb, FindsTheFaultWhoseIndexIsBeyondTheRequest) {
    Get get({"0x01000001", "0x01000002"});
    get.refuse(5, 2);
    get.refuse(5, 1);
    get.answerAll();
    EXPECT_EQ(get.status(), 5);
    EXPECT_THAT(get.err(), HasSubstr("refused 0x01000001: RESULT GENERAL ERROR"));
}

TEST(GetVerb, ARequestThatIsRefusedAsAWholeIsNotAskedAgain) {
    Get get({"identity.cardType", "control.bpClkRef"});
    get.refuse(1, 0);
    EXPECT_EQ(get.status(), 4);
    EXPECT_EQ(get.err(), "lcmp: " + get.card() + " refused the request: RESULT PROTOCOL VERSION_MISMATCH\n");
}

TEST(GetVerb, ResultsWithoutANameShowTheirNumber) {
    Get get({"control.bpClkRef"});
    get.refuse(42, 0);
    EXPECT_EQ(get.status(), 4);
    EXPECT_THAT(get.err(), HasSubstr("refused control.bpClkRef: RESULT 42"));
}

TEST(GetVerb, WhatTheCardThinksOfTheMessageIdIsNoFailure) {
    for (const unsigned int result : {2U, 3U, 16U, 17U}) {
        Get get({"control.bpClkRef"});
        get.request();
        get.send(readResponse(get.id(), result, 0, {{bpClkRef, UINT8, "80"}}));
        EXPECT_EQ(get.status(), 0) << result;
        EXPECT_EQ(get.out(), "control.bpClkRef = 128\n") << result;
        EXPECT_EQ(get.err(), "") << result;
    }
}

TEST(GetVerb, WithTraceTellsWhatTheCardThinksOfTheMessageId) {
    Get get({"control.bpClkRef", "--trace", "4"});
    get.request();
    get.send(readResponse(get.id(), 3, 0, {{bpClkRef, UINT8, "80"}}));
    EXPECT_EQ(get.status(), 0);
    EXPECT_THAT(get.err(), HasSubstr("served the request and reports RESULT LOST MSG"));
}

TEST(GetVerb, WithTraceShowsTheLogOfTheLibrary) {
    Get get({"control.bpClkRef"}, once, {"LCMP_TRACE=3"});
    get.request();
    get.send(header(3, get.id()));
    EXPECT_EQ(get.status(), 6);
    EXPECT_THAT(get.err(), HasSubstr("[ERROR]"));
}

TEST(GetVerb, SilenceIsStatusThree) {
    Get get({"control.bpClkRef"}, impatient);
    EXPECT_EQ(get.status(), 3);
    EXPECT_EQ(get.out(), "");
    EXPECT_EQ(get.err(), "lcmp: " + get.card() + " did not answer (2 tries)\n");
}

TEST(GetVerb, NobodyListeningIsStatusThree) {
    std::string target;
    {
        const ScriptedCard gone;
        target = gone.target();
    }
    EXPECT_EQ(run({"get", target, "control.bpClkRef", "--timeout", "20ms", "--retries", "0"}).status, 3);
}

TEST(GetVerb, AsksAgainWithTheSameMessageId) {
    Get get({"control.bpClkRef"}, {"--retries", "9", "--timeout", "50ms"});
    const Request first = get.request();
    const Request second = get.request();
    EXPECT_EQ(hex(first.frame), hex(second.frame));
    get.send(readResponse(second.id, 2, 0, {{bpClkRef, UINT8, "80"}}));
    get.status();
    EXPECT_EQ(get.out(), "control.bpClkRef = 128\n");
}

TEST(GetVerb, ATimeOutOnTheCommandLineBeatsTheEnvironment) {
    const ScriptedCard silent;
    const Ended ended = run({"get", silent.target(), "control.guid", "--timeout", "20ms", "--retries", "0"},
                            {"LCMP_TIMEOUT=1h", "LCMP_RETRIES=20"});
    EXPECT_EQ(ended.status, 3);
    EXPECT_THAT(ended.err, HasSubstr("(1 try)"));
}

TEST(GetVerb, TheEnvironmentBeatsTheDefaults) {
    const ScriptedCard silent;
    const Ended ended =
        run({"get", silent.target(), "control.guid"}, {"LCMP_TIMEOUT=10ms", "LCMP_RETRIES=2"});
    EXPECT_EQ(ended.status, 3);
    EXPECT_THAT(ended.err, HasSubstr("(3 tries)"));
}

TEST(GetVerb, AnAnswerToAnotherMessageIsNone) {
    Get get({"control.bpClkRef"}, {"--retries", "2", "--timeout", "200ms"});
    get.request();
    get.send(readResponse(get.id() + 1, 0, 0, {{bpClkRef, UINT8, "80"}}));
    EXPECT_EQ(get.status(), 3);
    EXPECT_EQ(get.out(), "");
    EXPECT_THAT(get.err(), HasSubstr("did not answer (3 tries); 1 received that did not fit the request"));
}

TEST(GetVerb, AnAnswerThatComesLateIsNotTakenForTheNext) {
    Get get(manyNames(149));
    get.request();
    const std::string frame = readResponse(get.id(), 0, 0, get.zeros());
    get.send(frame);
    get.send(frame);
    get.answerAll();
    EXPECT_EQ(get.status(), 0);
    EXPECT_EQ(std::count(get.out().begin(), get.out().end(), '\n'), 149);
}

TEST(GetVerb, KeepsWhatItHasWhenTheCardFallsSilent) {
    Get get(manyNames(300), {"--retries", "3", "--timeout", "100ms"});
    get.answerAll();
    EXPECT_EQ(get.status(), 5);
    EXPECT_EQ(std::count(get.out().begin(), get.out().end(), '\n'), 148);
    EXPECT_THAT(get.err(), HasSubstr("did not answer"));
    EXPECT_THAT(get.err(), HasSubstr("was not asked for any more"));
}

TEST(GetVerb, AMalformedAnswerIsStatusSix) {
    struct Case {
        std::string afterHeader;
        const char* said;
    };
    const std::vector<Case> cases = {
        {"", "sent a malformed answer: RESULT WRONG LEN"},
        {"00 00", "sent a malformed answer: RESULT WRONG LEN"},
        {"00 0000 11800002 03 00", "sent a malformed answer: element 0 does not fit"},
        {"00 0000 11800002 03 0002 80", "sent a malformed answer: element 0 does not fit"},
        {"00 0000 11800002 03 0001 80 FF", "sent a malformed answer: element 1 does not fit"},
        {"00 0000", "answered without control.bpClkRef"},
        {"00 0000 10800000 09 0000", "answered with identity.cardType, which was not asked for"},
        {"00 0000 11800002 03 0001 80 11800002 03 0001 80",
         "answered with control.bpClkRef, which was not asked for"},
        {"00 0000 11800002 01 0002 0080",
         "answered with a malformed value of control.bpClkRef: UINT32 of 2 bytes"},
    };
    for (const Case& c : cases) {
        Get get({"control.bpClkRef"});
        get.request();
        get.send(header(3, get.id()) + bytes(c.afterHeader));
        EXPECT_EQ(get.status(), 6) << c.said;
        EXPECT_EQ(get.out(), "") << c.said;
        EXPECT_EQ(get.err(), "lcmp: " + get.card() + " " + c.said + "\n");
    }
}

TEST(GetVerb, EveryTruncationOfAnAnswerIsMalformed) {
    const std::string whole = readResponse(0, 0, 0, {{cardType, STRING, "787878"}, {bpClkRef, UINT8, "80"}});
    for (std::size_t size = 8; size < whole.size(); ++size) {
        Get get({"identity.cardType", "control.bpClkRef"});
        get.request();
        get.send(header(3, get.id()) + whole.substr(8, size - 8));
        const int status = get.status();
        EXPECT_TRUE(status == 6 || (status == 5 && size == responseHeader + 10)) << size << ": " << status;
    }
}

TEST(GetVerb, AnOidIsAnsweredWithItsUnusedBitClear) {
    Get get({"0x31800002"});
    get.answer({{bpClkRef, UINT8, "80"}});
    EXPECT_EQ(get.status(), 0);
    EXPECT_EQ(get.out(), "control.bpClkRef = 128\n");
}

TEST(GetVerb, ShowsTheTypeThatTheCardSends) {
    Get get({"control.bpClkRef", "identity.hardwareVersion", "-o", "csv"});
    get.answer({{hardwareVersion, STRING, "3142"}, {bpClkRef, UINT16, "0080"}});
    EXPECT_EQ(get.status(), 0);
    EXPECT_EQ(get.out(), "card,oid,name,type,value,error\n" + get.card() +
                             ",0x11800002,control.bpClkRef,UINT16,128,\n" + get.card() +
                             ",0x10800001,identity.hardwareVersion,STRING,1B,\n");
}

// ---------------------------------------------------------------- several cards

std::string answerTo(const Request& request, const std::string& value) {
    return readResponse(request.id, 0, 0, {{bpClkRef, UINT8, value}});
}

TEST(GetVerb, SeveralCardsAreAskedAtTheSameTimeAndNamed) {
    ScriptedCard first;
    ScriptedCard second;
    Program get({"get", first.target() + "," + second.target(), "control.bpClkRef", "--timeout", "30s"});
    const Request request = first.request();
    second.answer(answerTo(second.request(), "02"));  // while the first has not answered yet
    first.answer(answerTo(request, "01"));
    EXPECT_EQ(get.finish(), 0);
    EXPECT_EQ(get.out(),
              first.target() + " control.bpClkRef = 1\n" + second.target() + " control.bpClkRef = 2\n");
    EXPECT_EQ(get.err(), "");
}

TEST(GetVerb, ACardIsPrintedBeforeALaterOneHasAnswered) {
    ScriptedCard first;
    ScriptedCard second;
    Program get({"get", first.target() + "," + second.target(), "control.bpClkRef", "--timeout", "30s"});
    const Request request = second.request();
    first.answer(answerTo(first.request(), "01"));
    EXPECT_EQ(get.outLine(), first.target() + " control.bpClkRef = 1");
    second.answer(answerTo(request, "02"));
    EXPECT_EQ(get.finish(), 0);
}

TEST(GetVerb, ASilentCardDoesNotHideTheOthers) {
    ScriptedCard silent;
    ScriptedCard living;
    Program get({"get", silent.target() + "," + living.target(), "control.bpClkRef", "--timeout", "300ms",
                 "--retries", "1", "--json"});
    living.answer(answerTo(living.request(), "02"));
    EXPECT_EQ(get.finish(), 5);
    EXPECT_EQ(get.err(), "lcmp: " + silent.target() + " did not answer (2 tries)\n");
    const json all = json::parse(get.out());
    ASSERT_EQ(all.size(), 2U);
    EXPECT_EQ(all[0]["card"], silent.target());
    EXPECT_THAT(std::string(all[0]["error"]["text"]), HasSubstr("did not answer"));
    EXPECT_EQ(all[1]["value"], 2);
}

TEST(GetVerb, WhatIsSaidOfAVariableNamesTheCardWhereThereAreSeveral) {
    ScriptedCard first;
    ScriptedCard second;
    std::vector<std::string> words = {
        "get", first.target() + "," + second.target(), "--timeout", "100ms", "--retries", "0"};
    for (const std::string& name : manyNames(149))
        words.push_back(name);
    const Ended ended = run(words);
    EXPECT_EQ(ended.status, 3);
    EXPECT_THAT(ended.err, HasSubstr("lcmp: " + first.target() + " did not answer (1 try)\n"));
    EXPECT_THAT(ended.err,
                HasSubstr("lcmp: " + second.target() + ": 0x41000094 was not asked for any more\n"));
}

TEST(GetVerb, SeveralCardsShareOneHeading) {
    Program rack({"card", "--listen", "127.0.0.1:0", "--cards", "3", "--period", "0"});
    std::string targets = rack.listening();
    for (int i = 1; i < 3; ++i)
        targets += "," + rack.listening();
    const Ended ended =
        run({"get", targets, "control.bpClkRef", "identity.ifcSlot", "-o", "csv", "--timeout", "30s"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(std::count(ended.out.begin(), ended.out.end(), '\n'), 1 + 3 * 2);
    EXPECT_THAT(ended.out, StartsWith("card,oid,name,type,value,error\n"));
}

TEST(GetVerb, MoreCardsThanAreAskedAtOnceAreAllAsked) {
    Program rack({"card", "--listen", "127.0.0.1:0", "--cards", "150", "--period", "0"});
    std::string targets = rack.listening();
    for (int i = 1; i < 150; ++i)
        targets += "," + rack.listening();
    const Ended ended = run({"get", targets, "identity.ifcSlot", "-o", "value", "--timeout", "30s"});
    EXPECT_EQ(ended.status, 0) << ended.err;
    EXPECT_EQ(std::count(ended.out.begin(), ended.out.end(), '\n'), 150);
}

}  // namespace
