// Every way in which a verb can end, and what it says of it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>
#include <set>

#include "frameBuilder.h"
#include "program.h"
#include "scriptedCard.h"

namespace {

// Words of an argument list that stand for what is there when the case runs.
const std::string living = "LIVING";      // a simulated card
const std::string silent = "SILENT";      // a socket that nobody answers at
const std::string refusing = "REFUSING";  // a card that answers everything with RESULT GENERAL ERROR
const std::string hostile = "HOSTILE";    // a card whose answers end in their header

enum class Out { pipe, full };

struct Case {
    int status;
    std::vector<std::string> arguments;
    std::string said;  // somewhere on standard error
    Out out = Out::pipe;
};

void PrintTo(const Case& c, std::ostream* out) { *out << testing::PrintToString(c.arguments); }

const std::vector<std::string> soon = {"--timeout", "20ms", "--retries", "0"};

std::vector<std::string> operator+(std::vector<std::string> words, const std::vector<std::string>& more) {
    words.insert(words.end(), more.begin(), more.end());
    return words;
}

const std::string broken = std::string(LCMP_FRAMES_DIR) + "/broken";
const std::string sound = std::string(LCMP_FRAMES_DIR) + "/ami-many.frame";

std::vector<Case> allCases() {
    const std::vector<std::string> get = {"get", living, "--timeout", "30s", "control.bpClkRef"};
    const std::vector<std::string> set = {"set", living, "--timeout", "30s", "control.bpClkRef=3"};
    const std::vector<std::string> ping = {"ping", living, "--timeout", "30s", "--count", "1"};
    const std::vector<std::string> poll = {"watch",       living,    "--timeout", "30s",     "--poll", "1h",
                                           "--variables", "control", "--first",   "--count", "4"};
    return {
        {0, get, ""},
        {1, get, "standard output cannot be written", Out::full},
        {2, get + std::vector<std::string>{"-o", "xml"}, "xml"},
        {3, std::vector<std::string>{"get", silent, "control.bpClkRef"} + soon, "did not answer (1 try)"},
        {4, {"get", refusing, "control.bpClkRef"}, "refused control.bpClkRef: RESULT GENERAL ERROR"},
        {5, get + std::vector<std::string>{"temperature[99].value"}, "refused temperature[99].value"},
        {5, std::vector<std::string>{"get", living + "," + silent, "control.bpClkRef"} + soon,
         "did not answer"},
        {3, std::vector<std::string>{"get", silent + "," + silent + "2", "control.bpClkRef"} + soon,
         "did not answer"},
        {4, {"get", refusing + "," + refusing + "2", "control.bpClkRef"}, "refused control.bpClkRef"},
        {6, {"get", hostile, "control.bpClkRef"}, "sent a malformed answer"},
        {7, {"get", living, "control.bpClkRf"}, "did you mean control.bpClkRef?"},
        {7, {"get", "a..b", "control.bpClkRef"}, "host 'a..b'"},
        {7, get + std::vector<std::string>{"--model", "/nowhere.yaml"}, "/nowhere.yaml is no card model"},

        {0, set, ""},
        {0, set + std::vector<std::string>{"--verify"}, ""},
        {0, set + std::vector<std::string>{"--if-equals", "128"}, ""},
        {0, {"set", silent, "control.bpClkRef=3", "--dry-run"}, ""},
        {1, set, "standard output cannot be written", Out::full},
        {1,
         {"set", silent, "control.bpClkRef=3", "--dry-run"},
         "standard output cannot be written",
         Out::full},
        {1, {"set", living, "0x01000007:STRING=" + std::string(65535, 'x')}, "too long for a datagram"},
        {2, {"set", living, "control.bpClkRef=300"}, "300 does not fit UINT8"},
        {3, std::vector<std::string>{"set", silent, "control.bpClkRef=3"} + soon, "did not answer"},
        {3, std::vector<std::string>{"set", silent, "control.bpClkRef=3", "--if-equals", "128"} + soon,
         "did not answer"},
        {4, {"set", living, "identity.ifcSlot=7"}, "RESULT READ ONLY"},
        {4, {"set", refusing, "control.bpClkRef=3", "--if-equals", "128"}, "RESULT GENERAL ERROR"},
        {4, {"set", silent, "control.bpClkRef=4", "--dry-run"}, "4 is not allowed: 0 to 3, 128"},
        {5, set + std::vector<std::string>{"--if-equals", "1"},
         "control.bpClkRef = 128, not 1: it was not written"},
        {5,
         {"set", living, "control.reboot=true", "--verify"},
         "control.reboot = false after true was written"},
        {5, std::vector<std::string>{"set", living + "," + silent, "control.bpClkRef=3"} + soon,
         "did not answer"},
        {6, {"set", hostile, "control.bpClkRef=3"}, "sent a malformed answer"},
        {6, {"set", hostile, "control.bpClkRef=3", "--if-equals", "128"}, "sent a malformed answer"},
        {7, {"set", living, "control.bpClkRf=3"}, "did you mean control.bpClkRef?"},

        {0, ping, ""},
        {0, {"ping", refusing, "--timeout", "30s", "--count", "1"}, ""},  // who refuses is alive
        {0, {"ping", hostile, "--timeout", "30s", "--count", "1"}, ""},
        {1, ping, "standard output cannot be written", Out::full},
        {2, ping + std::vector<std::string>{"--interval", "never"}, "--interval"},
        {3, {"ping", silent, "--timeout", "20ms", "--count", "1"}, ""},
        {5, {"ping", living, silent, "--timeout", "500ms", "--interval", "1ms", "--count", "9"}, ""},
        {7, {"ping", "a..b"}, "host 'a..b'"},

        {0, poll, ""},
        {0, {"watch", silent, "--timeout", "10ms", "--retries", "0", "--duration", "50ms"}, ""},
        {0,
         {"watch", hostile, "--poll", "1ms", "--duration", "200ms", "--variables", "control.guid"},
         "malformed"},
        {1, poll, "standard output cannot be written", Out::full},
        {1, {"watch", "--listen", silent}, "Address already in use"},
        {2, {"watch"}, "--listen"},
        {7, {"watch", living, "--variables", "controll"}, "did you mean control"},

        {0, {"oid", "control.bpClkRef"}, ""},
        {1, {"oid", "control.bpClkRef"}, "standard output cannot be written", Out::full},
        {2, {"oid"}, "give a NAME"},
        {7, {"oid", "control.bpClkRf"}, "did you mean control.bpClkRef?"},

        {0, {"decode", sound}, ""},
        {1, {"decode", "/nowhere"}, "/nowhere: "},
        {1, {"decode", sound}, "standard output cannot be written", Out::full},
        {2, {"decode", sound, "--port", "7"}, "--port"},
        {6, {"decode", broken + "/action-0.frame"}, ""},
        {7, {"decode", sound, "--model", "/nowhere.yaml"}, "is no card model"},

        {0, {"model", "list"}, ""},
        {1, {"model", "list"}, "standard output cannot be written", Out::full},
        {1, {"model", "show"}, "standard output cannot be written", Out::full},
        {2, {"model", "show", "-o", "xml"}, "xml"},
        {7, {"model", "show", "controll"}, "did you mean control?"},
        {7, {"model", "lint", "/nowhere.yaml"}, "no card model"},
    };
}

// A card of the program's own, where a case has one.
class Peer {
public:
    explicit Peer(const std::vector<std::string>& options) : m_program(words(options)) {}

    std::string target() { return m_program.listening(); }

private:
    static std::vector<std::string> words(const std::vector<std::string>& options) {
        return std::vector<std::string>{"card", "--listen", "127.0.0.1:0", "--period", "0"} + options;
    }

    Program m_program;
};

class ExitStatus : public testing::TestWithParam<Case> {
protected:
    // The words with addresses in place of what stands for them.
    std::vector<std::string> arguments() {
        std::vector<std::string> words = GetParam().arguments;
        for (std::string& word : words) {
            replace(word, refusing + "2", [this] { return started({"--answer-error", "5"}); });
            replace(word, refusing, [this] { return started({"--answer-error", "5"}); });
            replace(word, living, [this] { return started({}); });
            replace(word, silent + "2", [this] { return m_otherSilent.target(); });
            replace(word, silent, [this] { return m_silent.target(); });
            replace(word, hostile, [this] { return m_hostile.target(); });
        }
        return words;
    }

    bool hasHostileCard() const {
        const auto& words = GetParam().arguments;
        return std::find(words.begin(), words.end(), hostile) != words.end();
    }

    void answerBadly() {
        const Request request = m_hostile.request();
        m_hostile.answer(header(request.action == 1 ? 3 : 4, request.id));
    }

private:
    template <typename Target>
    static void replace(std::string& word, const std::string& placeholder, Target target) {
        const auto at = word.find(placeholder);
        if (at != std::string::npos)
            word.replace(at, placeholder.size(), target());
    }

    std::string started(const std::vector<std::string>& options) {
        m_cards.push_back(std::make_unique<Peer>(options));
        return m_cards.back()->target();
    }

    ScriptedCard m_silent;
    ScriptedCard m_otherSilent;
    ScriptedCard m_hostile;
    std::vector<std::unique_ptr<Peer>> m_cards;
};

TEST_P(ExitStatus, IsTheOneOfTheTable) {
    const std::string outFile = GetParam().out == Out::full ? "/dev/full" : "";
    Program program(arguments(), {}, outFile);
    if (hasHostileCard())
        answerBadly();
    EXPECT_EQ(program.finish(), GetParam().status) << program.out() << program.err();
    const std::string& said = GetParam().said;
    EXPECT_THAT(program.err(), said.empty() ? testing::Matcher<std::string>("") : testing::HasSubstr(said));
}

INSTANTIATE_TEST_SUITE_P(Verbs, ExitStatus, testing::ValuesIn(allCases()));

// What there is in the table of statuses is produced by these verbs, or cannot occur there.
TEST(ExitStatuses, OfEveryVerbAreAllInTheTable) {
    std::map<std::string, std::set<int>> produced;
    for (const Case& c : allCases())
        produced[c.arguments[0]].insert(c.status);
    EXPECT_EQ(produced["get"], (std::set<int>{0, 1, 2, 3, 4, 5, 6, 7}));
    EXPECT_EQ(produced["set"], (std::set<int>{0, 1, 2, 3, 4, 5, 6, 7}));
    EXPECT_EQ(produced["ping"], (std::set<int>{0, 1, 2, 3, 5, 7}));
    EXPECT_EQ(produced["watch"], (std::set<int>{0, 1, 2, 7}));
    EXPECT_EQ(produced["oid"], (std::set<int>{0, 1, 2, 7}));
    EXPECT_EQ(produced["decode"], (std::set<int>{0, 1, 2, 6, 7}));
    EXPECT_EQ(produced["model"], (std::set<int>{0, 1, 2, 7}));
}

}  // namespace
