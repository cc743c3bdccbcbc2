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

// lcmp set on a card that the test plays.
class Set {
public:
    explicit Set(const std::vector<std::string>& assignments) : m_program(words(m_card, assignments)) {}

    Request request() { return m_request = m_card.request(); }

    /// Waits for a request and answers it.
    Request answer(unsigned int result = 0, unsigned int index = 0) {
        request();
        m_card.answer(writeResponse(m_request.id, result, index));
        return m_request;
    }

    /// Waits for a request to read and answers it.
    void tell(const Elements& values) {
        request();
        EXPECT_EQ(m_request.action, 1U);
        m_card.answer(readResponse(m_request.id, 0, 0, values));
    }

    void send(const std::string& frame) { m_card.answer(frame); }
    unsigned int lastId() const { return m_request.id; }
    std::string card() const { return m_card.target(); }

    int status() { return m_program.finish(); }
    const std::string& out() const { return m_program.out(); }
    const std::string& err() const { return m_program.err(); }

private:
    static std::vector<std::string> words(const ScriptedCard& card,
                                          const std::vector<std::string>& assignments) {
        std::vector<std::string> all = {"set", card.target(), "--retries", "0", "--timeout", "30s"};
        all.insert(all.end(), assignments.begin(), assignments.end());
        return all;
    }

    ScriptedCard m_card;
    Program m_program;
    Request m_request;
};

TEST(SetVerb, WritesAndSaysWhatItWrote) {
    Set set({"control.bpClkRef=3", "control.guid=123e4567-e89b-12d3-a456-426614174000"});
    const Request request = set.answer();
    EXPECT_EQ(request.action, 2U);
    ASSERT_EQ(request.variables.size(), 2U);
    EXPECT_EQ(hex(request.frame.substr(8, 15)), hex(bytes("11800002 03 0001 03 | 11800003 09 0024")));
    EXPECT_EQ(request.variables[1].value, "123e4567-e89b-12d3-a456-426614174000");
    EXPECT_EQ(set.status(), 0);
    EXPECT_EQ(set.out(), "control.bpClkRef = 3\ncontrol.guid = \"123e4567-e89b-12d3-a456-426614174000\"\n");
    EXPECT_EQ(set.err(), "");
}

TEST(SetVerb, WritesEveryTypeByOid) {
    const std::vector<std::pair<const char*, const char*>> cases = {
        {"0x01000007:UINT64=1", "00 0008 0000000000000001"},
        {"0x01000007:UINT32=0xC0000201", "01 0004 C0000201"},
        {"0x01000007:UINT16=258", "02 0002 0102"},
        {"0x01000007:UINT8=8", "03 0001 08"},
        {"0x01000007:INT64=-2", "04 0008 FFFFFFFFFFFFFFFE"},
        {"0x01000007:INT32=-2", "05 0004 FFFFFFFE"},
        {"0x01000007:INT16=-2", "06 0002 FFFE"},
        {"0x01000007:INT8=-2", "07 0001 FE"},
        {"0x01000007:BOOLEAN=on", "08 0001 01"},
        {"0x01000007:STRING=a=b c", "09 0005 613D622063"},
        {"0x01000007:STRING=", "09 0000"},
        {"0x01000007:IPv4ADDRESS=192.0.2.1", "0A 0004 C0000201"},
        {"0x01000007:UNIX_TIME=2024-05-01T12:00:00Z", "0B 0008 0000000066322EC0"},
        {"0x01000007:UNIX_TIME=1714564800", "0B 0008 0000000066322EC0"},
        {"0x01000007:BYTE_ARRAY=001bff", "0C 0003 001BFF"},
        {"0x01000007:MAC_ADDRESS=00:1b:21:3c:4d:5e", "0D 0006 001B213C4D5E"},
    };
    for (const auto& [assignment, element] : cases) {
        Set set({assignment});
        EXPECT_EQ(hex(set.answer().frame.substr(8)), hex(bytes(std::string("01000007") + element)))
            << assignment;
        EXPECT_EQ(set.status(), 0) << assignment;
    }
}

TEST(SetVerb, ATypeOfTheWritersOwnIsSentAsItIs) {
    Set set({"control.bpClkRef:UINT16=3"});
    EXPECT_EQ(hex(set.answer(6).frame.substr(8)), hex(bytes("11800002 02 0002 0003")));
    EXPECT_EQ(set.status(), 4);
    EXPECT_THAT(set.err(), HasSubstr("refused control.bpClkRef: RESULT WRONG TYPE"));
}

TEST(SetVerb, NamesTheResultAndTheVariableAtFault) {
    Set set({"control.bpClkRef=4"});
    set.answer(9);
    EXPECT_EQ(set.status(), 4);
    EXPECT_EQ(set.out(), "");
    EXPECT_EQ(set.err(), "lcmp: " + set.card() + " refused control.bpClkRef: RESULT WRONG VALUE\n");
}

TEST(SetVerb, ARefusalMeansThatNothingOfTheRequestWasWritten) {
    Set set({"control.bpClkRef=3", "identity.ifcSlot=1", "-o", "jsonl"});
    set.answer(10, 1);
    EXPECT_EQ(set.status(), 4);
    EXPECT_EQ(set.err(), "lcmp: control.bpClkRef was not written\nlcmp: " + set.card() +
                             " refused identity.ifcSlot: RESULT READ ONLY\n");
    const std::string first = set.out().substr(0, set.out().find('\n'));
    EXPECT_EQ(json::parse(first)["error"]["text"], "control.bpClkRef was not written");
    EXPECT_FALSE(json::parse(first).contains("value"));
}

TEST(SetVerb, WhatTheCardThinksOfTheMessageIdIsNoFailure) {
    for (const unsigned int result : {2U, 3U, 16U, 17U}) {
        Set set({"control.bpClkRef=3"});
        set.answer(result);
        EXPECT_EQ(set.status(), 0) << result;
        EXPECT_EQ(set.out(), "control.bpClkRef = 3\n");
    }
}

TEST(SetVerb, AFailureHalfwayLeavesOpenWhatWasStored) {
    Set set({"control.bpClkRef=3", "control.reboot=true"});
    set.answer(12);
    EXPECT_EQ(set.status(), 4);
    EXPECT_EQ(set.err(),
              "lcmp: " + set.card() +
                  " refused the request, of which it may have stored a part: RESULT CANNOT EXEC\n");
}

TEST(SetVerb, AFailureToCarryOutOneVariableNamesIt) {
    Set set({"control.reboot=true"});
    set.answer(12);
    EXPECT_EQ(set.status(), 4);
    EXPECT_EQ(set.err(), "lcmp: " + set.card() + " refused control.reboot: RESULT CANNOT EXEC\n");
}

TEST(SetVerb, ARequestThatIsRefusedAsAWholeBlamesNoVariable) {
    Set set({"control.bpClkRef=3", "control.reboot=true"});
    set.answer(1);
    EXPECT_EQ(set.status(), 4);
    EXPECT_EQ(set.err(), "lcmp: " + set.card() + " refused the request: RESULT PROTOCOL VERSION_MISMATCH\n");
}

TEST(SetVerb, ManyVariablesTakeSeveralRequestsOfAtMostAHundredAndFifty) {
    Set set(std::vector<std::string>(151, "download.filename="));
    EXPECT_EQ(set.answer().variables.size(), 150U);
    EXPECT_EQ(set.answer().variables.size(), 1U);
    EXPECT_EQ(set.status(), 0);
}

TEST(SetVerb, StopsAtTheFirstRefusalAndKeepsWhatWasWritten) {
    // Eleven of these leave no room for another element.
    const std::string name(101, 'x');
    std::vector<std::string> assignments(11, "download.filename=" + name);
    assignments.insert(assignments.end(), {"identity.ifcSlot=1", "download.name=y", "-o", "value"});
    Set set(assignments);
    EXPECT_EQ(set.answer().variables.size(), 11U);
    EXPECT_EQ(set.answer(10, 0).variables.size(), 2U);
    EXPECT_EQ(set.status(), 5);
    std::string written;
    for (int i = 0; i < 11; ++i)
        written += name + "\n";
    EXPECT_EQ(set.out(), written + "\n\n");
    EXPECT_EQ(set.err(), "lcmp: " + set.card() + " refused identity.ifcSlot: RESULT READ ONLY\n" +
                             "lcmp: download.name was not written\n");
}

TEST(SetVerb, SendsNothingAfterARefusal) {
    const std::string name(101, 'x');
    Set set(std::vector<std::string>(23, "download.filename=" + name));
    EXPECT_EQ(set.answer().variables.size(), 11U);
    EXPECT_EQ(set.answer(9, 3).variables.size(), 11U);
    EXPECT_EQ(set.status(), 5);
    EXPECT_EQ(set.err(), "lcmp: download.filename was not written\nlcmp: " + set.card() +
                             " refused download.filename: RESULT WRONG VALUE\n");
}

TEST(SetVerb, AValueThatFillsADatagramGoesAlone) {
    const std::string large(60000, 'x');
    Set set({"0x01000007:STRING=" + large, "control.bpClkRef=3"});
    EXPECT_EQ(set.answer().variables.at(0).value.size(), large.size());
    EXPECT_EQ(set.answer().variables.at(0).value, std::string(1, '\3'));
    EXPECT_EQ(set.status(), 0);
}

TEST(SetVerb, AValueThatNoDatagramHoldsIsALocalFailure) {
    Set set({"0x01000007:STRING=" + std::string(65535, 'x')});
    EXPECT_EQ(set.status(), 1);
    EXPECT_THAT(set.err(), HasSubstr("lcmp: "));
}

TEST(SetVerb, AMalformedAnswerIsStatusSix) {
    Set set({"control.bpClkRef=3"});
    set.send(header(4, set.request().id));
    EXPECT_EQ(set.status(), 6);
    EXPECT_EQ(set.out(), "");
}

TEST(SetVerb, SilenceIsStatusThree) {
    const ScriptedCard card;
    const Ended ended =
        run({"set", card.target(), "control.bpClkRef=3", "--timeout", "20ms", "--retries", "1"});
    EXPECT_EQ(ended.status, 3);
    EXPECT_EQ(ended.err, "lcmp: " + card.target() + " did not answer (2 tries)\n");
}

TEST(SetVerb, WhatIsWrongWithAValueIsSaidBeforeAnythingIsSent) {
    const Ended ended = run({"set", "127.0.0.1", "control.bpClkRef=300"});
    EXPECT_EQ(ended.status, 2);
    EXPECT_EQ(ended.err, "lcmp: control.bpClkRef: 300 does not fit UINT8, which holds 0 to 255\n");
    EXPECT_EQ(run({"set", "127.0.0.1", "0x50c10005=7"}).err,
              "lcmp: the type of 0x50c10005 is not known; write it, like 0x50c10005:UINT32=7\n");
}

// ---------------------------------------------------------------- --verify

constexpr unsigned int bpClkRef = 0x11800002;
constexpr unsigned int setCommitTimer = 0x0200000A;

TEST(SetVerb, VerifyingReadsBackWhatWasWritten) {
    Set set({"control.bpClkRef=3", "--verify"});
    EXPECT_EQ(set.answer().action, 2U);
    set.tell({{bpClkRef, UINT8, "03"}});
    EXPECT_EQ(set.status(), 0);
    EXPECT_EQ(set.out(), "control.bpClkRef = 3\n");
}

TEST(SetVerb, VerifyingTellsWhatReadsBackOtherwise) {
    struct Case {
        Element readBack;
        const char* said;
    };
    const std::vector<Case> cases = {
        {{bpClkRef, UINT8, "04"}, " has control.bpClkRef = 4 after 3 was written\n"},
        {{bpClkRef, UINT16, "0003"}, " has control.bpClkRef = 3 (UINT16) after 3 was written\n"},
    };
    for (const Case& c : cases) {
        Set set({"control.bpClkRef=3", "--verify"});
        set.answer();
        set.tell({c.readBack});
        EXPECT_EQ(set.status(), 5);
        EXPECT_EQ(set.out(), "");
        EXPECT_EQ(set.err(), "lcmp: " + set.card() + c.said);
    }
}

TEST(SetVerb, VerifyingTellsWhatCannotBeReadBack) {
    Set set({"control.bpClkRef=3", "--verify"});
    set.answer();
    set.request();
    set.send(header(3, set.lastId()));
    EXPECT_EQ(set.status(), 5);
    EXPECT_THAT(set.err(), HasSubstr("was sent control.bpClkRef, which could not be read back: "));
}

TEST(SetVerb, WhatWasRefusedIsNotVerified) {
    Set set({"control.bpClkRef=4", "--verify"});
    set.answer(9);
    EXPECT_EQ(set.status(), 4);
}

// ---------------------------------------------------------------- --if-equals

TEST(SetVerb, WritesWhereTheOldValueIsTheExpectedOne) {
    Set set({"control.bpClkRef=3", "download.setCommitTimer=7", "--if-equals", "128", "--if-equals", "5"});
    set.tell({{bpClkRef, UINT8, "80"}, {setCommitTimer, INT32, "00000005"}});
    EXPECT_EQ(set.answer().action, 2U);
    EXPECT_EQ(set.status(), 0);
}

TEST(SetVerb, WritesNothingWhereOneOldValueIsAnother) {
    Set set({"control.bpClkRef=3", "download.setCommitTimer=7", "--if-equals", "128", "--if-equals", "5"});
    set.tell({{bpClkRef, UINT8, "80"}, {setCommitTimer, INT32, "00000006"}});
    EXPECT_EQ(set.status(), 5) << "ends without a request to write, or this would wait";
    EXPECT_EQ(set.out(), "");
    EXPECT_EQ(set.err(), "lcmp: control.bpClkRef was not written\nlcmp: " + set.card() +
                             " has download.setCommitTimer = 6, not 5: it was not written\n");
}

TEST(SetVerb, WritesNothingWhereAnOldValueCannotBeRead) {
    Set set({"control.bpClkRef=3", "--if-equals", "128"});
    set.request();
    set.send(readResponse(set.lastId(), 7, 0));
    EXPECT_EQ(set.status(), 4);
    EXPECT_THAT(set.err(), HasSubstr("refused control.bpClkRef: RESULT WRONG OID"));
}

TEST(SetVerb, OldValuesAreReadAsTheModelSays) {
    const std::string model = std::string(LCMP_MODELS_DIR) + "/linecard48.yaml";
    Program card({"card", "--listen", "127.0.0.1:0", "--period", "0", "--model", model});
    const std::string target = card.listening();
    const Ended ended = run({"set", target, "port[1].enabled=false", "--if-equals", "true", "--verify",
                             "--model", model, "--timeout", "30s"});
    EXPECT_EQ(ended.status, 0) << ended.err;
    EXPECT_EQ(ended.out, "port[1].enabled = false\n");
}

// ---------------------------------------------------------------- --dry-run

// Nobody is there to be asked.
Ended dryRun(const std::vector<std::string>& words) {
    std::vector<std::string> all = {"set", "127.0.0.1:1", "--dry-run"};
    all.insert(all.end(), words.begin(), words.end());
    return run(all);
}

TEST(SetVerb, ADryRunShowsWhatWouldBeSent) {
    const Ended ended = dryRun({"control.bpClkRef=3", "0x50c10005:UINT32=7", "download.filename="});
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.out,
              "control.bpClkRef = 3  UINT8  11800002 03 0001 03\n"
              "0x50c10005 = 7  UINT32  50c10005 01 0004 00000007  not in the model\n"
              "download.filename = \"\"  STRING  02000000 09 0000\n");
    EXPECT_EQ(ended.err, "");
}

TEST(SetVerb, ADryRunTellsEveryRuleThatIsBroken) {
    const Ended ended = dryRun({"control.bpClkRef=4", "identity.ifcSlot=1", "control.guid=short",
                                "control.bpClkRef:UINT16=3", "control.bpClkRef=2"});
    EXPECT_EQ(ended.status, 4);
    EXPECT_EQ(
        ended.err,
        "lcmp: the model refuses control.bpClkRef: 4 is not allowed: 0 to 3, 128 (RESULT WRONG VALUE)\n"
        "lcmp: the model refuses identity.ifcSlot: it is read-only (RESULT READ ONLY)\n"
        "lcmp: the model refuses control.guid: 5 bytes are too short: at least 36 (RESULT WRONG VALUE)\n"
        "lcmp: the model refuses control.bpClkRef: its type is UINT8 (RESULT WRONG TYPE)\n");
}

// The card has the last word; the dry run says it beforehand.
TEST(SetVerb, ADryRunSaysWhatACardOfTheModelDoes) {
    Program card({"card", "--listen", "127.0.0.1:0", "--period", "0"});
    const std::string target = card.listening();
    for (const char* assignment :
         {"control.bpClkRef=4", "control.bpClkRef=3", "identity.ifcSlot=1", "control.guid=short",
          "control.bpClkRef:UINT16=3", "download.filename=a"}) {
        const Ended real = run({"set", target, assignment, "--timeout", "30s", "-o", "jsonl"});
        const Ended dry = dryRun({assignment, "-o", "jsonl"});
        EXPECT_EQ(dry.status, real.status) << assignment;
        const json said = json::parse(dry.out);
        EXPECT_EQ(said.contains("error") ? said["error"]["result"] : json(0),
                  real.status == 0 ? json(0) : json::parse(real.out)["error"]["result"])
            << assignment;
    }
}

TEST(SetVerb, ADryRunPrintsEveryFormat) {
    EXPECT_EQ(dryRun({"control.bpClkRef=4", "-o", "csv"}).out,
              "oid,name,type,value,element,error\n"
              "0x11800002,control.bpClkRef,UINT8,4,1180000203000104,\"4 is not allowed: 0 to 3, 128\"\n");
    EXPECT_EQ(dryRun({"control.bpClkRef=3", "-o", "value"}).out, "3\n");
    EXPECT_EQ(json::parse(dryRun({"control.bpClkRef=3", "--json"}).out),
              json::array({{{"oid", "0x11800002"},
                            {"name", "control.bpClkRef"},
                            {"type", "UINT8"},
                            {"value", 3},
                            {"element", "1180000203000103"},
                            {"checked", true}}}));
}

// ---------------------------------------------------------------- several cards

TEST(SetVerb, SeveralCardsAreWrittenAndEachAnswersForItself) {
    ScriptedCard first;
    ScriptedCard second;
    Program set({"set", first.target() + "," + second.target(), "control.bpClkRef=3", "--timeout", "30s"});
    second.answer(writeResponse(second.request().id, 0, 0));
    first.answer(writeResponse(first.request().id, 9, 0));
    EXPECT_EQ(set.finish(), 5);
    EXPECT_EQ(set.out(), second.target() + " control.bpClkRef = 3\n");
    EXPECT_EQ(set.err(), "lcmp: " + first.target() + " refused control.bpClkRef: RESULT WRONG VALUE\n");
}

TEST(SetVerb, OnEveryCardTheOldValueIsComparedForItself) {
    Program rack({"card", "--listen", "127.0.0.1:0", "--cards", "2", "--period", "0"});
    const std::string first = rack.listening();
    const std::string second = rack.listening();
    EXPECT_EQ(run({"set", first, "control.bpClkRef=1", "--timeout", "30s"}).status, 0);
    const Ended ended = run({"set", first + "," + second, "control.bpClkRef=2", "--if-equals", "128",
                             "--verify", "--timeout", "30s"});
    EXPECT_EQ(ended.status, 5);
    EXPECT_EQ(ended.out, second + " control.bpClkRef = 2\n");
    EXPECT_EQ(ended.err, "lcmp: " + first + " has control.bpClkRef = 1, not 128: it was not written\n");
    EXPECT_EQ(run({"get", first, "control.bpClkRef", "-o", "value", "--timeout", "30s"}).out, "1\n");
}

}  // namespace
