#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "program.h"

namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;
using testing::StartsWith;
using Words = std::vector<std::string>;

std::string model(const std::string& name) { return LCMP_MODELS_DIR "/" + name + ".yaml"; }

std::vector<std::string> linesFor(const Words& words, const Words& environment = {}) {
    Words arguments = {"complete", "--"};
    arguments.insert(arguments.end(), words.begin(), words.end());
    const Ended ended = run(arguments, environment);
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.err, "");
    std::vector<std::string> lines;
    std::istringstream out(ended.out);
    for (std::string line; std::getline(out, line);)
        lines.push_back(line);
    return lines;
}

/// The ways to go on, without what they are.
std::vector<std::string> complete(const Words& words, const Words& environment = {}) {
    std::vector<std::string> lines = linesFor(words, environment);
    for (std::string& line : lines)
        line.resize(std::min(line.find('\t'), line.size()));
    return lines;
}

TEST(CompleteVerb, VerbsComeFirst) {
    EXPECT_THAT(complete({""}), AllOf(IsSupersetOf({"card", "get", "set", "watch", "oid", "model", "decode"}),
                                      Not(Contains("complete")), Not(Contains("--help"))));
    EXPECT_THAT(complete({"wat"}), ElementsAre("watch"));
    EXPECT_THAT(complete({"nothing"}), IsEmpty());
    EXPECT_THAT(complete({"model", ""}), ElementsAre("lint", "list", "show", "generate"));
    EXPECT_EQ(complete({}), complete({""}));
}

TEST(CompleteVerb, TellsWhatEachWayIs) {
    EXPECT_THAT(linesFor({"oi"}), ElementsAre("oid\tComposes OIDs and takes them apart"));
    EXPECT_THAT(linesFor({"get", "--retr"}),
                ElementsAre("--retries\tHow often a request without an answer is sent again"));
    EXPECT_THAT(linesFor({"get", "card", "temperature[2].va"}),
                ElementsAre("temperature[2].value\tINT32, °C", "temperature[2].valid\tBOOLEAN"));
}

TEST(CompleteVerb, OptionsAreThoseOfTheVerbAndOfferedOnce) {
    EXPECT_THAT(complete({"--"}), ElementsAre("--help", "--version"));
    EXPECT_THAT(complete({"oid", "--"}), AllOf(Contains("--table"), Not(Contains("--timeout"))));
    EXPECT_THAT(complete({"get", "-"}), IsSupersetOf({"-o", "--output", "--json"}));
    EXPECT_THAT(complete({"get", "--json", "--js"}), IsEmpty());
    EXPECT_THAT(complete({"get", "-o", "text", "--out"}), IsEmpty());
    EXPECT_THAT(complete({"card", "--allow", "10.0.0.0/8", "--allo"}), ElementsAre("--allow"));
    EXPECT_THAT(complete({"model", "show", "--mod"}), ElementsAre("--model"));
}

TEST(CompleteVerb, AnOptionsValueComesBehindIt) {
    EXPECT_THAT(complete({"get", "-o", "j"}), ElementsAre("json", "jsonl"));
    EXPECT_THAT(complete({"get", "--output=c"}), ElementsAre("--output=csv"));
    EXPECT_THAT(complete({"get", "--timeout", ""}), IsEmpty());
    EXPECT_THAT(linesFor({"card", "--answer-error", "9"}), ElementsAre("9\tRESULT WRONG VALUE"));
    EXPECT_THAT(complete({"get", "--nothing=", ""}), ElementsAre(":hosts"));
    EXPECT_THAT(complete({"get", "--json=t"}), IsEmpty());
}

TEST(CompleteVerb, WhatTheShellKnowsBetterIsLeftToIt) {
    EXPECT_THAT(complete({"get", ""}), ElementsAre(":hosts"));
    EXPECT_THAT(complete({"get", "--model", "m"}), ElementsAre(":files"));
    EXPECT_THAT(complete({"get", "--model="}), ElementsAre(":files"));
    EXPECT_THAT(complete({"decode", ""}), ElementsAre(":files"));
    EXPECT_THAT(complete({"model", "generate", "--to", ""}), ElementsAre(":folders"));
    EXPECT_THAT(complete({"model", "generate", "--name", ""}), IsEmpty());
}

TEST(CompleteVerb, NamesComeInStepsAndASingleStepIsTaken) {
    EXPECT_THAT(complete({"get", "card", ""}),
                IsSupersetOf({"identity.", "control.", "temperature[", "voltage["}));
    EXPECT_THAT(complete({"get", "card", "temp"}),
                ElementsAre("temperature[0].", "temperature[1].", "temperature[2].", "temperature[3]."));
    EXPECT_THAT(complete({"get", "card", "temperature[3"}),
                ElementsAre("temperature[3].name", "temperature[3].value", "temperature[3].valid",
                            "temperature[3].min", "temperature[3].max"));
    EXPECT_THAT(complete({"get", "card", "control.b"}), ElementsAre("control.bpClkRef"));
    EXPECT_THAT(complete({"get", "card", "control.guid", "control.b"}), ElementsAre("control.bpClkRef"));
    EXPECT_THAT(complete({"oid", "control.b"}), ElementsAre("control.bpClkRef"));
}

TEST(CompleteVerb, OfAListTheLastNameIsCompleted) {
    EXPECT_THAT(complete({"watch", "--variables", "alarms.power,control.b"}),
                ElementsAre("alarms.power,control.bpClkRef"));
    EXPECT_THAT(complete({"diff", "--ignore", "fileS"}), ElementsAre("fileServer"));
    EXPECT_THAT(complete({"walk", "card", "identity", "fileS"}), ElementsAre("fileServer"));
    EXPECT_THAT(complete({"diff", ""}), ElementsAre(":files"));
}

TEST(CompleteVerb, NamesThatCannotBeHaveNoWayOn) {
    for (const char* word : {"nothing", "nothing.", "nothing[", "control[", "temperature.",
                             "control.bpClkRef.", "temperature[1].value[", "[", ".", "temperature[].",
                             "temperature[x].", "temperature[1]value.", "control.bpClkRef["})
        EXPECT_THAT(complete({"get", "card", word}), IsEmpty()) << word;
}

TEST(CompleteVerb, AnOidGoesOnWithAType) {
    EXPECT_THAT(complete({"get", "card", "0x50c10005:B"}),
                ElementsAre("0x50c10005:BOOLEAN", "0x50c10005:BYTE_ARRAY"));
    EXPECT_THAT(complete({"set", "card", "0x50c10005:M"}), ElementsAre("0x50c10005:MAC_ADDRESS="));
}

TEST(CompleteVerb, WhatIsWrittenIsWritable) {
    EXPECT_THAT(complete({"set", "card", ""}), AllOf(Contains("control."), Not(Contains("temperature["))));
    EXPECT_THAT(complete({"set", "card", "identity."}), Not(Contains("identity.ifcSlot=")));
    EXPECT_THAT(complete({"set", "card", "control.b"}), ElementsAre("control.bpClkRef="));
    EXPECT_THAT(complete({"set", "card", "fan["}, {"LCMP_MODEL=" + model("fantray")}), Contains("fan[0]."));
}

TEST(CompleteVerb, ValuesAreThoseThatTheModelHas) {
    EXPECT_THAT(linesFor({"set", "card", "control.bpClkRef="}),
                ElementsAre("control.bpClkRef=0\t", "control.bpClkRef=1\t", "control.bpClkRef=2\t",
                            "control.bpClkRef=3\t", "control.bpClkRef=128\tdefault"));
    EXPECT_THAT(complete({"set", "card", "download.start=t"}), ElementsAre("download.start=true"));
    EXPECT_THAT(complete({"set", "card", "nothing.at="}), IsEmpty());
    EXPECT_THAT(complete({"set", "card", "control.guid="}), IsEmpty());
    EXPECT_THAT(linesFor({"set", "--model", model("fantray"), "card", "cooling.mode=m"}),
                ElementsAre("cooling.mode=manual\t2"));
}

TEST(CompleteVerb, TheModelIsTheOneThatIsMeant) {
    EXPECT_THAT(complete({"get", "--model", model("fantray"), "card", "c"}),
                ElementsAre("control.", "cooling."));
    EXPECT_THAT(complete({"get", "card", "--model=" + model("fantray"), "coo"}), Contains("cooling.mode"));
    EXPECT_THAT(complete({"model", "show", "--model", model("fantray"), "f"}), ElementsAre("fan"));
    EXPECT_THAT(complete({"get", "card", "coo"}, {"LCMP_MODEL=" + model("fantray")}),
                Contains("cooling.mode"));
    EXPECT_THAT(complete({"get", "--model", "/no/such.yaml", "card", ""}), IsEmpty());
}

TEST(CompleteVerb, BehindTwoDashesNothingIsAnOption) {
    EXPECT_THAT(complete({"get", "--", "card", "control.b"}), ElementsAre("control.bpClkRef"));
    EXPECT_THAT(complete({"get", "--", "--ou"}), Not(Contains("--output")));
}

TEST(CompleteVerb, OddWordsAreWordsLikeOthers) {
    EXPECT_THAT(complete({"get", "", "", "control.b"}), ElementsAre("control.bpClkRef"));
    EXPECT_THAT(complete({"get", "[x,y]", "\t\n", "control.b"}), ElementsAre("control.bpClkRef"));
    EXPECT_THAT(complete({"get", "-x", "--nothing", "-", "control.b"}), ElementsAre("control.bpClkRef"));
}

TEST(CompleteVerb, ItIsNoVerbForPeople) {
    EXPECT_THAT(run({"--help"}).out, Not(testing::HasSubstr("complete")));
    EXPECT_THAT(run({"complet"}).err, Not(testing::HasSubstr("did you mean complete")));
}

}  // namespace
