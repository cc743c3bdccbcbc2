// Every way in which a verb can end, and what it says of it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <memory>
#include <set>
#include <sstream>

#include "frameBuilder.h"
#include "program.h"
#include "runningCard.h"
#include "scriptedCard.h"

namespace {

enum class Out { pipe, full };

// A command line in which words stand for addresses:
//   LIVING    of a simulated card
//   SILENT    of a socket that nobody answers at; SILENT2 of another
//   REFUSING  of a card that answers everything with RESULT GENERAL ERROR
//   HOSTILE   of a card that answers once, with a frame that ends in its header
//   BROKEN, SOUND  of a file with such a frame
struct Case {
    int status;
    std::string command;
    std::string said;  // somewhere on standard error; empty: nothing there
    Out out = Out::pipe;
};

void PrintTo(const Case& c, std::ostream* out) { *out << c.command; }

// SOON is for those who are silent for sure; an answer that is waited for has time, on a slow machine, too.
std::string withOptions(std::string command) {
    const std::vector<std::pair<std::string, std::string>> options = {
        {"SOON", "--timeout 20ms --retries 0"},
        {"LATER", "--timeout 500ms --retries 1"},
        {"EVER", "--timeout 30s"}};
    for (const auto& [word, meaning] : options) {
        const auto at = command.find(word);
        if (at != std::string::npos)
            command.replace(at, word.size(), meaning);
    }
    return command;
}

const std::vector<Case>& allCases() {
    static const std::vector<Case> all = {
        {0, "get LIVING control.bpClkRef EVER", ""},
        {1, "get LIVING control.bpClkRef EVER", "standard output cannot be written", Out::full},
        {2, "get LIVING control.bpClkRef -o xml", "xml"},
        {3, "get SILENT control.bpClkRef SOON", "did not answer (1 try)"},
        {3, "get SILENT,SILENT2 control.bpClkRef SOON", "did not answer"},
        {4, "get REFUSING control.bpClkRef EVER", "refused control.bpClkRef: RESULT GENERAL ERROR"},
        {4, "get REFUSING,REFUSING control.bpClkRef EVER", "refused control.bpClkRef"},
        {5, "get LIVING control.bpClkRef temperature[99].value EVER", "refused temperature[99].value"},
        {5, "get LIVING,SILENT control.bpClkRef LATER", "did not answer"},
        {6, "get HOSTILE control.bpClkRef EVER", "sent a malformed answer"},
        {7, "get LIVING control.bpClkRf", "did you mean control.bpClkRef?"},
        {7, "get a..b control.bpClkRef", "host 'a..b'"},
        {7, "get LIVING control.bpClkRef --model /nowhere.yaml", "/nowhere.yaml is no card model"},

        {0, "set LIVING control.bpClkRef=3 EVER", ""},
        {0, "set LIVING control.bpClkRef=3 EVER --verify", ""},
        {0, "set LIVING control.bpClkRef=3 EVER --if-equals 128", ""},
        {0, "set SILENT control.bpClkRef=3 --dry-run", ""},
        {1, "set LIVING control.bpClkRef=3 EVER", "standard output cannot be written", Out::full},
        {1, "set SILENT control.bpClkRef=3 --dry-run", "standard output cannot be written", Out::full},
        {2, "set LIVING control.bpClkRef=300", "300 does not fit UINT8"},
        {3, "set SILENT control.bpClkRef=3 SOON", "did not answer"},
        {3, "set SILENT control.bpClkRef=3 SOON --if-equals 128", "did not answer"},
        {4, "set LIVING identity.ifcSlot=7 EVER", "RESULT READ ONLY"},
        {4, "set REFUSING control.bpClkRef=3 EVER --if-equals 128", "RESULT GENERAL ERROR"},
        {4, "set SILENT control.bpClkRef=4 --dry-run", "4 is not allowed: 0 to 3, 128"},
        {5, "set LIVING control.bpClkRef=3 EVER --if-equals 1",
         "control.bpClkRef = 128, not 1: it was not written"},
        {5, "set LIVING control.reboot=true EVER --verify", "control.reboot = false after true was written"},
        {5, "set LIVING,SILENT control.bpClkRef=3 LATER", "did not answer"},
        {6, "set HOSTILE control.bpClkRef=3 EVER", "sent a malformed answer"},
        {6, "set HOSTILE control.bpClkRef=3 EVER --if-equals 128", "sent a malformed answer"},
        {7, "set LIVING control.bpClkRf=3", "did you mean control.bpClkRef?"},

        {0, "ping LIVING EVER --count 1", ""},
        {0, "ping REFUSING EVER --count 1", ""},  // who refuses is alive
        {0, "ping HOSTILE EVER --count 1", ""},
        {1, "ping LIVING EVER --count 1", "standard output cannot be written", Out::full},
        {2, "ping LIVING --interval never", "--interval"},
        {3, "ping SILENT --timeout 20ms --count 1", ""},
        {5, "ping LIVING SILENT --timeout 1s --interval 1ms --count 2", ""},
        {7, "ping a..b", "host 'a..b'"},

        {0, "watch LIVING EVER --poll 1h --variables control --first --count 4", ""},
        {0, "watch SILENT SOON --duration 50ms", ""},
        {1, "watch LIVING EVER --poll 1h --first", "standard output cannot be written", Out::full},
        {1, "watch --listen SILENT", "Address already in use"},
        {2, "watch", "--listen"},
        {7, "watch LIVING --variables controll", "did you mean control"},

        {0, "oid control.bpClkRef", ""},
        {1, "oid control.bpClkRef", "standard output cannot be written", Out::full},
        {2, "oid", "give a NAME"},
        {7, "oid control.bpClkRf", "did you mean control.bpClkRef?"},

        {0, "decode SOUND", ""},
        {1, "decode /nowhere", "/nowhere: "},
        {1, "decode SOUND", "standard output cannot be written", Out::full},
        {2, "decode SOUND --port 7", "--port"},
        {6, "decode BROKEN", ""},
        {7, "decode SOUND --model /nowhere.yaml", "is no card model"},

        {0, "model list", ""},
        {1, "model list", "standard output cannot be written", Out::full},
        {1, "model show", "standard output cannot be written", Out::full},
        {2, "model show -o xml", "xml"},
        {7, "model show controll", "did you mean control?"},
        {7, "model lint /nowhere.yaml", "no card model"},
    };
    return all;
}

std::string verbOf(const Case& c) { return c.command.substr(0, c.command.find(' ')); }

class ExitStatus : public testing::TestWithParam<Case> {
protected:
    // The words of the command, with addresses in place of what stands for them.
    std::vector<std::string> arguments() {
        std::string command = withOptions(GetParam().command);
        replace("REFUSING", command, [this] { return started({"--answer-error", "5"}); });
        replace("LIVING", command, [this] { return started({}); });
        replace("SILENT2", command, [this] { return m_otherSilent.target(); });
        replace("SILENT", command, [this] { return m_silent.target(); });
        replace("HOSTILE", command, [this] { return m_hostile.target(); });
        replace("BROKEN", command, [] { return std::string(LCMP_FRAMES_DIR) + "/broken/action-0.frame"; });
        replace("SOUND", command, [] { return std::string(LCMP_FRAMES_DIR) + "/ami-many.frame"; });
        std::istringstream words(command);
        return {std::istream_iterator<std::string>(words), {}};
    }

    bool hasHostileCard() const { return GetParam().command.find("HOSTILE") != std::string::npos; }

    void answerBadly() {
        const Request request = m_hostile.request();
        m_hostile.answer(header(request.action == 1 ? 3 : 4, request.id));
    }

private:
    template <typename Target>
    static void replace(const std::string& placeholder, std::string& command, Target target) {
        for (auto at = command.find(placeholder); at != std::string::npos; at = command.find(placeholder))
            command.replace(at, placeholder.size(), target());
    }

    std::string started(const std::vector<std::string>& options) {
        m_cards.push_back(std::make_unique<RunningCard>(options));
        return m_cards.back()->address();
    }

    ScriptedCard m_silent;
    ScriptedCard m_otherSilent;
    ScriptedCard m_hostile;
    std::vector<std::unique_ptr<RunningCard>> m_cards;
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

std::string nameOfCase(const testing::TestParamInfo<Case>& parameter) {
    return verbOf(parameter.param) + std::to_string(parameter.param.status) + "InCase" +
           std::to_string(parameter.index);
}

INSTANTIATE_TEST_SUITE_P(Verbs, ExitStatus, testing::ValuesIn(allCases()), nameOfCase);

// What there is in the table of statuses is produced by these verbs, or cannot occur there.
TEST(ExitStatuses, OfEveryVerbAreAllInTheTable) {
    std::map<std::string, std::set<int>> produced;
    for (const Case& c : allCases())
        produced[verbOf(c)].insert(c.status);
    EXPECT_EQ(produced["get"], (std::set<int>{0, 1, 2, 3, 4, 5, 6, 7}));
    EXPECT_EQ(produced["set"], (std::set<int>{0, 1, 2, 3, 4, 5, 6, 7}));
    EXPECT_EQ(produced["ping"], (std::set<int>{0, 1, 2, 3, 5, 7}));
    EXPECT_EQ(produced["watch"], (std::set<int>{0, 1, 2, 7}));
    EXPECT_EQ(produced["oid"], (std::set<int>{0, 1, 2, 7}));
    EXPECT_EQ(produced["decode"], (std::set<int>{0, 1, 2, 6, 7}));
    EXPECT_EQ(produced["model"], (std::set<int>{0, 1, 2, 7}));
}

}  // namespace
