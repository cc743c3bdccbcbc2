#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "program.h"

namespace {

using testing::HasSubstr;
using testing::StartsWith;

void expectHelp(const std::string& verb, const std::vector<std::string>& named) {
    const Ended help = run({verb, "--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.err, "");
    EXPECT_THAT(help.out, HasSubstr("Usage: lcmp " + verb));
    for (const std::string& word : named)
        EXPECT_THAT(help.out, HasSubstr(word)) << verb;
}

TEST(CommandLine, HelpNamesTheVerbsAndTheExitStatuses) {
    const Ended help = run({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.err, "");
    for (const char* word :
         {"card", "get", "set", "watch", "oid", "--version", "0 done, 1 local failure, 2 usage",
          "3 no answer", "4 refused", "5 partly", "6 malformed", "7 a name"})
        EXPECT_THAT(help.out, HasSubstr(word));
}

TEST(CommandLine, HelpOfEveryVerbNamesItsOptions) {
    expectHelp("get",
               {"TARGET", "NAME", "--output", "--json", "--timeout", "--retries", "--trace", "LCMP_TIMEOUT",
                "LCMP_RETRIES", "LCMP_TRACE", "text,json,jsonl,csv,value", "object[row].variable"});
    expectHelp("set", {"TARGET", "NAME=VALUE", "--output", "--json", "--timeout", "--retries", "--trace",
                       "0x50c10005:UINT32=7"});
    expectHelp("oid",
               {"NAME", "--table", "--column", "--row", "--group", "--variable", "--common", "--output"});
    expectHelp("watch", {"TARGET", "--poll", "--variables", "--first", "--listen", "--allow", "--count",
                         "--duration", "--output", "--timeout", "--trace", "text,json,jsonl,csv,value"});
    expectHelp("ping", {"TARGET", "--count", "--interval", "--timeout", "LCMP_TIMEOUT", "--output", "jitter",
                        "text,json,jsonl,csv,value"});
    expectHelp("set", {"--dry-run", "--verify", "--if-equals", "another controller may write"});
    expectHelp("card", {"--listen", "--events-to", "--allow", "--period"});
}

TEST(CommandLine, SaysItsVersion) {
    const Ended ended = run({"--version"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_THAT(ended.out, testing::MatchesRegex("lcmp [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

TEST(CommandLine, WithoutAVerbIsAUsageError) {
    const Ended ended = run({});
    EXPECT_EQ(ended.status, 2);
    EXPECT_EQ(ended.out, "");
    EXPECT_THAT(ended.err, HasSubstr("Run lcmp --help"));
}

TEST(CommandLine, SuggestsTheVerbThatWasMeant) {
    const Ended ended = run({"wach", "--listen", "127.0.0.1:0"});
    EXPECT_EQ(ended.status, 2);
    EXPECT_THAT(ended.err, StartsWith("lcmp: there is no verb 'wach'; did you mean watch?\n"));
    EXPECT_THAT(run({"frobnicate"}).err, StartsWith("lcmp: there is no verb 'frobnicate'\n"));
}

TEST(CommandLine, WhatMakesNoSenseIsAUsageError) {
    const std::vector<std::vector<std::string>> cases = {
        {"get"},
        {"get", "127.0.0.1"},
        {"get", "127.0.0.1", "control.guid", "--bogus"},
        {"get", "127.0.0.1", "control.guid", "-o", "xml"},
        {"get", "127.0.0.1", "control.guid", "-o", "text", "--json"},
        {"get", "127.0.0.1", "control.guid", "--timeout", "soon"},
        {"get", "127.0.0.1", "control.guid", "--timeout", "0"},
        {"get", "127.0.0.1", "control.guid", "--retries", "-1"},
        {"get", "127.0.0.1", "control.guid", "--retries", "21"},
        {"get", "127.0.0.1", "control.guid", "--trace", "10"},
        {"get", "127.0.0.1:0", "control.guid"},
        {"set", "127.0.0.1"},
        {"set", "127.0.0.1", "control.guid"},
        {"set", "127.0.0.1", "0x50c10005=7"},
        {"set", "127.0.0.1", "control.bpClkRef=300"},
        {"watch"},
        {"watch", "--listen", "localhost:0"},
        {"watch", "--listen", "127.0.0.1:0", "--count", "0"},
        {"watch", "--listen", "127.0.0.1:0", "--duration", "soon"},
        {"watch", "--listen", "127.0.0.1:0", "--allow", "everybody"},
        {"watch", "--listen", "127.0.0.1:0", "-o", "xml"},
        {"watch", "--listen", "127.0.0.1:0", "--poll", "1s"},
        {"watch", "--listen", "127.0.0.1:0", "--variables", "control"},
        {"watch", "127.0.0.1", "--poll", "0"},
        {"watch", "127.0.0.1", "--poll", "soon"},
        {"watch", "127.0.0.1:1-257", "--variables", "control"},
        {"watch", "127.0.0.1", "--variables", "control.guid:UINT9"},
        {"ping"},
        {"ping", "127.0.0.1", "--count", "0"},
        {"ping", "127.0.0.1", "--interval", "0"},
        {"ping", "127.0.0.1", "--timeout", "soon"},
        {"ping", "127.0.0.1:17479-17470"},
        {"ping", "127.0.0.1:1-257"},
        {"get", "127.0.0.1,", "control.guid"},
        {"get", "127.0.0.10-9", "control.guid"},
        {"get", "127.0.0.1-2:1-4000", "control.guid"},
        {"get", "127.0.0.1", "control.guid", "--color", "green"},
        {"set", "127.0.0.1", "control.bpClkRef=3", "--if-equals", "1", "--if-equals", "2"},
        {"set", "127.0.0.1", "control.bpClkRef=3", "--if-equals", "300"},
        {"set", "127.0.0.1", "control.bpClkRef=3", "--if-equals", "1", "--dry-run"},
        {"set", "127.0.0.1", "control.bpClkRef=3", "--verify", "--dry-run"},
        {"oid"},
        {"oid", "--row", "1"},
        {"oid", "--table", "64"},
        {"oid", "--table", "1", "--group", "1"},
        {"oid", "--table", "1", "control.guid"},
    };
    for (const std::vector<std::string>& arguments : cases) {
        const Ended ended = run(arguments);
        EXPECT_EQ(ended.status, 2) << testing::PrintToString(arguments);
        EXPECT_EQ(ended.out, "") << testing::PrintToString(arguments);
        EXPECT_THAT(ended.err, StartsWith("lcmp: ")) << testing::PrintToString(arguments);
    }
}

TEST(CommandLine, ABadVariableOfTheEnvironmentStopsOnlyTheVerbsThatUseIt) {
    const Ended get = run({"get", "127.0.0.1", "control.guid"}, {"LCMP_TIMEOUT=soon"});
    EXPECT_EQ(get.status, 2);
    EXPECT_THAT(get.err, HasSubstr("--timeout: 'soon' is no time"));
    EXPECT_EQ(run({"oid", "control.guid"}, {"LCMP_TIMEOUT=soon", "LCMP_RETRIES=x", "LCMP_TRACE=x"}).status,
              0);
}

TEST(CommandLine, NamesThatMeanNothingAreUnresolved) {
    const Ended name = run({"get", "127.0.0.1", "control.bpClkRf"});
    EXPECT_EQ(name.status, 7);
    EXPECT_EQ(name.out, "");
    EXPECT_EQ(name.err,
              "lcmp: 'control.bpClkRf': control has no variable 'bpClkRf'; did you mean control.bpClkRef?\n");
    EXPECT_EQ(run({"set", "127.0.0.1", "control.bpClkRf=1"}).status, 7);
    EXPECT_EQ(run({"get", "a..b", "control.bpClkRef"}).status, 7) << "a host";
    EXPECT_EQ(run({"get", "127.0.0.1,a..b", "control.bpClkRef"}).status, 7) << "one of several hosts";
    EXPECT_EQ(run({"ping", "a..b"}).status, 7);
    EXPECT_EQ(run({"watch", "127.0.0.1", "--variables", "control.bpClkRf"}).status, 7);
}

TEST(CommandLine, OutputThatCannotBeWrittenIsALocalFailure) {
    const Ended ended = run({"oid", "control.guid"}, {}, "/dev/full");
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.err, "lcmp: standard output cannot be written\n");
}

}  // namespace
