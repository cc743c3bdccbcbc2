#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

#include "frameBuilder.h"
#include "lcmpTlv.h"
#include "program.h"
#include "scriptedCard.h"

namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::StartsWith;

constexpr unsigned int temperature0 = 0x51404000;
constexpr unsigned int noon = 1714564800;  // 2024-05-01T12:00:00Z

std::string event(unsigned int id, const std::string& degrees) {
    return amiFrame(id, noon, id, {{temperature0, INT32, degrees}});
}

// lcmp watch on a free port, ready.
class Watch {
public:
    explicit Watch(const std::vector<std::string>& options = {}, const std::string& listen = "127.0.0.1:0")
        : m_program(words(options, listen)), m_address(m_program.listening()) {}

    const std::string& address() const { return m_address; }
    std::string line() { return m_program.outLine(); }
    std::string diagnostic() { return m_program.errLine(); }
    void signal(int number) const { m_program.signal(number); }
    int status() { return m_program.finish(); }
    const std::string& rest() const { return m_program.out(); }
    const std::string& err() const { return m_program.err(); }

private:
    static std::vector<std::string> words(const std::vector<std::string>& options,
                                          const std::string& listen) {
        std::vector<std::string> all = {"watch", "--listen", listen};
        all.insert(all.end(), options.begin(), options.end());
        return all;
    }

    Program m_program;
    std::string m_address;
};

TEST(WatchVerb, PrintsALineForEachValueAsItComes) {
    Watch watch;
    const ScriptedCard card;
    card.send(event(1, "00000014"), watch.address());
    EXPECT_EQ(watch.line(), "2024-05-01T12:00:00.000001Z " + card.target() + " temperature[0].value 20 °C");
    card.send(event(2, "00000015"), watch.address());
    EXPECT_EQ(watch.line(),
              "2024-05-01T12:00:00.000002Z " + card.target() + " temperature[0].value 21 °C (was 20)");
}

TEST(WatchVerb, SaysWhereItListensOnStandardError) {
    Program watch({"watch", "--listen", "127.0.0.1:0"});
    EXPECT_THAT(watch.errLine(), testing::MatchesRegex("listening on 127\\.0\\.0\\.1:[1-9][0-9]*"));
    EXPECT_EQ(watch.out(), "");
}

TEST(WatchVerb, PrintsOneObjectALineAsJsonl) {
    Watch watch({"-o", "jsonl", "--count", "2"});
    const ScriptedCard card;
    card.send(event(1, "00000014"), watch.address());
    card.send(event(2, "00000015"), watch.address());
    const json first = json::parse(watch.line());
    EXPECT_EQ(first["card"], card.target());
    EXPECT_EQ(first["name"], "temperature[0].value");
    EXPECT_FALSE(first.contains("old"));
    EXPECT_EQ(json::parse(watch.line())["old"], 20);
    EXPECT_EQ(watch.status(), 0);
}

TEST(WatchVerb, TellsSeveralCardsApart) {
    Watch watch;
    const ScriptedCard one;
    const ScriptedCard other;
    one.send(event(1, "00000014"), watch.address());
    EXPECT_THAT(watch.line(), HasSubstr(one.target() + " temperature"));
    other.send(event(77, "00000015"), watch.address());
    EXPECT_THAT(watch.line(), HasSubstr(other.target() + " temperature[0].value 21 °C"));
}

TEST(WatchVerb, ShowsAGapAsALineOfItsOwn) {
    Watch watch({"-o", "jsonl"});
    const ScriptedCard card;
    card.send(event(1, "00000014"), watch.address());
    card.send(event(4, "00000015"), watch.address());
    watch.line();
    EXPECT_EQ(json::parse(watch.line())["gap"], json({{"expected", 2}, {"received", 4}, {"missing", 2}}));
    EXPECT_EQ(json::parse(watch.line())["value"], 21);
}

TEST(WatchVerb, EndsAfterSoManyValues) {
    Watch watch({"--count", "3"});
    const ScriptedCard card;
    card.send(amiFrame(1, noon, 0, Elements(5, {temperature0, INT32, "00000014"})), watch.address());
    EXPECT_EQ(watch.status(), 0);
    EXPECT_EQ(std::count(watch.rest().begin(), watch.rest().end(), '\n'), 3);
}

TEST(WatchVerb, EndsAfterItsTime) {
    Watch watch({"--duration", "50ms"});
    EXPECT_EQ(watch.status(), 0);
    EXPECT_EQ(watch.rest(), "");
}

TEST(WatchVerb, EndsWellOnASignal) {
    for (const int number : {SIGINT, SIGTERM}) {
        Watch watch;
        const ScriptedCard card;
        card.send(event(1, "00000014"), watch.address());
        watch.line();
        watch.signal(number);
        EXPECT_EQ(watch.status(), 0) << number;
    }
}

TEST(WatchVerb, ShowsOnlyWhomItAllows) {
    Watch watch({"--allow", "127.0.0.2", "--allow", "127.0.0.3/32", "--count", "2"}, "0.0.0.0:0");
    const std::string address = "127.0.0.1" + watch.address().substr(watch.address().find(':'));
    const ScriptedCard stranger("127.0.0.1");
    const ScriptedCard second("127.0.0.2");
    const ScriptedCard third("127.0.0.3");
    stranger.send(event(1, "00000014"), address);
    second.send(event(1, "00000014"), address);
    third.send(event(1, "00000014"), address);
    EXPECT_EQ(watch.status(), 0);
    EXPECT_THAT(watch.rest(), HasSubstr(" 127.0.0.2:"));
    EXPECT_THAT(watch.rest(), HasSubstr(" 127.0.0.3:"));
    EXPECT_THAT(watch.rest(), testing::Not(HasSubstr(stranger.target())));
}

TEST(WatchVerb, TellsOfBrokenFramesAndGoesOn) {
    Watch watch({"--count", "1"});
    const ScriptedCard card;
    card.send("OTN", watch.address());
    EXPECT_EQ(watch.diagnostic(), "lcmp: " + card.target() + " sent a frame of 3 bytes");
    card.send(event(1, "00000014").substr(0, 12), watch.address());
    EXPECT_EQ(watch.diagnostic(), "lcmp: " + card.target() + " sent an event that ends in its header");
    card.send(event(1, "00000014"), watch.address());
    EXPECT_EQ(watch.status(), 0);
}

TEST(WatchVerb, AnAddressThatIsTakenIsALocalFailure) {
    const ScriptedCard holder;
    const Ended ended = run({"watch", "--listen", holder.target()});
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.out, "");
    EXPECT_THAT(ended.err, HasSubstr("Address already in use"));
}

// ---------------------------------------------------------------- polling

// lcmp watch of a card that the test plays.
class Polled {
public:
    explicit Polled(const std::vector<std::string>& options = {}, const std::string& timeout = "30s")
        : m_program(words(m_card, timeout, options)) {}

    /// Waits for a request and answers it with a temperature.
    void temperature(const std::string& degrees) {
        m_card.answer(readResponse(m_card.request().id, 0, 0, {{temperature0, INT32, degrees}}));
    }

    ScriptedCard& card() { return m_card; }
    std::string target() const { return m_card.target(); }
    Program& program() { return m_program; }

    /// The next line, but for its time.
    std::string line() {
        const std::string line = m_program.outLine();
        return line.substr(std::min(line.size(), line.find(' ') + 1));
    }

private:
    static std::vector<std::string> words(const ScriptedCard& card, const std::string& timeout,
                                          const std::vector<std::string>& options) {
        std::vector<std::string> all = {
            "watch", card.target(), "--poll", "1ms",         "--retries",
            "0",     "--timeout",   timeout,  "--variables", "temperature[0].value"};
        all.insert(all.end(), options.begin(), options.end());
        return all;
    }

    ScriptedCard m_card;
    Program m_program;
};

TEST(WatchVerb, ShowsWhatPollingFindsChanged) {
    Polled watch({"--count", "2"});
    watch.temperature("00000014");
    watch.temperature("00000014");
    watch.temperature("00000015");
    EXPECT_EQ(watch.line(), watch.target() + " temperature[0].value 21 °C (was 20; polled)");
    watch.temperature("00000016");
    EXPECT_EQ(watch.program().finish(), 0);
}

TEST(WatchVerb, ShowsTheFirstPollOnDemand) {
    Polled watch({"--first"});
    watch.temperature("00000014");
    EXPECT_EQ(watch.line(), watch.target() + " temperature[0].value 20 °C (polled)");
}

TEST(WatchVerb, MarksPolledValuesInJson) {
    Polled watch({"--first", "--json"});
    watch.temperature("00000014");
    const json first = json::parse(watch.program().outLine());
    EXPECT_EQ(first["polled"], true);
    EXPECT_EQ(first["value"], 20);
    EXPECT_EQ(first["card"], watch.target());
}

TEST(WatchVerb, TellsOfSilenceOnceAndOfItsEnd) {
    Polled watch({"--first"}, "500ms");
    watch.temperature("00000014");
    EXPECT_EQ(watch.line(), watch.target() + " temperature[0].value 20 °C (polled)");
    watch.card().request();
    watch.card().request();
    EXPECT_EQ(watch.line(), watch.target() + " does not answer");
    watch.card().request();
    watch.temperature("00000015");
    EXPECT_EQ(watch.line(), watch.target() + " answers again");
    EXPECT_EQ(watch.line(), watch.target() + " temperature[0].value 21 °C (was 20; polled)");
}

TEST(WatchVerb, EventsArriveWhileAPolledCardIsSilent) {
    Polled watch({"--listen", "127.0.0.1:0"});
    const std::string address = watch.program().listening();
    watch.temperature("00000014");
    watch.card().request();  // and no answer for half a minute
    watch.card().send(event(1, "00000015"), address);
    EXPECT_EQ(watch.line(), watch.target() + " temperature[0].value 21 °C (was 20)") << "an event knows it";
}

TEST(WatchVerb, WhatAPolledCardRefusesIsToldOnceAndNotAskedAgain) {
    Polled watch({"--first", "--variables", "control.bpClkRef"});
    Request request = watch.card().request();
    ASSERT_EQ(request.variables.size(), 2U);
    watch.card().answer(readResponse(request.id, 7, 1));
    for (const char* degrees : {"00000014", "00000015"}) {
        request = watch.card().request();
        ASSERT_EQ(request.variables.size(), 1U);
        watch.card().answer(readResponse(request.id, 0, 0, {{temperature0, INT32, degrees}}));
    }
    watch.line();
    watch.line();
    watch.program().signal(SIGINT);
    EXPECT_EQ(watch.program().finish(), 0);
    EXPECT_EQ(watch.program().err(),
              "lcmp: " + watch.target() + " refused control.bpClkRef: RESULT WRONG OID\n");
}

TEST(WatchVerb, AMalformedAnswerOfAPolledCardIsToldAndPollingGoesOn) {
    Polled watch({"--first"});
    const unsigned int id = watch.card().request().id;
    watch.card().answer(header(3, id));
    EXPECT_THAT(watch.program().errLine(), HasSubstr(watch.target() + " sent a malformed answer"));
    watch.temperature("00000014");
    EXPECT_EQ(watch.line(), watch.target() + " temperature[0].value 20 °C (polled)");
}

TEST(WatchVerb, ASilentCardHoldsUpNoOther) {
    ScriptedCard silent;
    ScriptedCard living;
    Program watch({"watch", silent.target() + "," + living.target(), "--poll", "1ms", "--variables",
                   "temperature[0].value", "--timeout", "1h", "--first"});
    silent.request();
    living.answer(readResponse(living.request().id, 0, 0, {{temperature0, INT32, "00000014"}}));
    EXPECT_THAT(watch.outLine(), HasSubstr(living.target() + " temperature[0].value 20"));
    watch.signal(SIGTERM);
    EXPECT_EQ(watch.finish(), 0);
}

TEST(WatchVerb, PollsAllThatTheModelHas) {
    Program card({"card", "--listen", "127.0.0.1:0", "--period", "0"});
    std::set<std::string> names;
    std::istringstream objects(run({"model", "list", "-o", "jsonl"}).out);
    std::size_t count = 0;
    for (std::string line; std::getline(objects, line);) {
        const json object = json::parse(line);
        count += object["rows"].get<std::size_t>() * object["variables"].get<std::size_t>();
    }
    const Ended ended = run({"watch", card.listening(), "--poll", "1h", "--first", "--count",
                             std::to_string(count), "--timeout", "30s", "-o", "jsonl"});
    EXPECT_EQ(ended.status, 0);
    std::istringstream lines(ended.out);
    for (std::string line; std::getline(lines, line);)
        names.insert(json::parse(line)["name"]);
    EXPECT_EQ(names.size(), count);
    EXPECT_EQ(names.count("temperature[3].value"), 1U);
}

}  // namespace
