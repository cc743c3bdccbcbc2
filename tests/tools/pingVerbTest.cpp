#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "frameBuilder.h"
#include "lcmpTlv.h"
#include "program.h"
#include "scriptedCard.h"

namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::MatchesRegex;

constexpr unsigned int ifcSlot = 0x10800004;

// lcmp ping of a card that the test plays.
class Pinging {
public:
    explicit Pinging(const std::vector<std::string>& options) : m_program(words(m_card, options)) {}

    Request request() { return m_request = m_card.request(); }

    void answer(unsigned int result = 0) {
        request();
        const Elements value = {{ifcSlot, UINT8, "07"}};
        m_card.answer(readResponse(m_request.id, result, 0, result == 0 ? value : Elements{}));
    }

    void send(const std::string& frame) { m_card.answer(frame); }
    unsigned int id() const { return m_request.id; }
    std::string card() const { return m_card.target(); }
    std::string line() { return m_program.outLine(); }
    void signal(int number) const { m_program.signal(number); }
    int status() { return m_program.finish(); }
    const std::string& out() const { return m_program.out(); }
    const std::string& err() const { return m_program.err(); }

private:
    static std::vector<std::string> words(const ScriptedCard& card, const std::vector<std::string>& options) {
        std::vector<std::string> all = {"ping", card.target(), "--interval", "1ms"};
        all.insert(all.end(), options.begin(), options.end());
        return all;
    }

    ScriptedCard m_card;
    Program m_program;
    Request m_request;
};

const std::vector<std::string> patient = {"--timeout", "30s", "--count", "3"};

TEST(PingVerb, ReadsOneByteAndShowsEveryRoundTrip) {
    Pinging ping(patient);
    const Request first = ping.request();
    EXPECT_EQ(first.action, 1U);
    EXPECT_EQ(hex(first.frame.substr(8)), hex(bytes("10800004 03 0001 00")));
    for (unsigned int i = 0; i < 3; ++i) {
        if (i > 0)
            ping.request();
        EXPECT_EQ(ping.id(), (first.id + i) % 65536);
        ping.send(readResponse(ping.id(), 0, 0, {{ifcSlot, UINT8, "07"}}));
        EXPECT_THAT(ping.line(), MatchesRegex(ping.card() + ": id " + std::to_string(ping.id()) +
                                              " time [0-9]+\\.[0-9]{3} ms"));
    }
    EXPECT_EQ(ping.status(), 0);
    EXPECT_THAT(ping.out(), MatchesRegex(ping.card() + ": 3 sent, 3 answered, 0 % lost, min/avg/max/jitter "
                                                       "[0-9.]+/[0-9.]+/[0-9.]+/[0-9.]+ ms\n"));
    EXPECT_EQ(ping.err(), "");
}

TEST(PingVerb, AnyResponseIsAnAnswer) {
    Pinging ping(patient);
    ping.answer(7);
    ping.answer(1);
    ping.request();
    ping.send(header(3, ping.id()));  // malformed, and a sign of life
    EXPECT_EQ(ping.status(), 0);
    EXPECT_THAT(ping.out(), HasSubstr("3 sent, 3 answered"));
}

TEST(PingVerb, SendsNothingAgainAndTellsWhatWasNotAnswered) {
    Pinging ping({"--timeout", "50ms", "--count", "2"});
    const Request first = ping.request();
    const Request second = ping.request();
    EXPECT_NE(first.id, second.id);
    EXPECT_EQ(ping.status(), 3);
    EXPECT_EQ(ping.out(), ping.card() + ": id " + std::to_string(first.id) + " no answer\n" + ping.card() +
                              ": id " + std::to_string(second.id) + " no answer\n" + ping.card() +
                              ": 2 sent, 0 answered, 100 % lost\n");
}

TEST(PingVerb, AnAnswerToAnotherRequestIsNone) {
    Pinging ping({"--timeout", "50ms", "--count", "1"});
    ping.request();
    ping.send(readResponse(ping.id() + 1, 0, 0, {{ifcSlot, UINT8, "07"}}));
    EXPECT_EQ(ping.status(), 3);
}

TEST(PingVerb, GoesOnUntilItIsStoppedAndThenSumsUp) {
    for (const int number : {SIGINT, SIGTERM}) {
        Pinging ping({"--timeout", "30s"});
        for (int i = 0; i < 5; ++i) {
            ping.answer();
            ping.line();
        }
        ping.signal(number);
        EXPECT_EQ(ping.status(), 0);
        EXPECT_THAT(ping.out(), HasSubstr("5 sent, 5 answered, 0 % lost"));
    }
}

TEST(PingVerb, ASilentCardHoldsUpNoOther) {
    ScriptedCard silent;
    ScriptedCard living;
    Program ping({"ping", silent.target(), living.target(), "--count", "1", "--timeout", "1h"});
    silent.request();
    living.answer(readResponse(living.request().id, 0, 0, {{ifcSlot, UINT8, "07"}}));
    EXPECT_THAT(ping.outLine(), HasSubstr(living.target() + ": id "));
    ping.signal(SIGINT);
    EXPECT_EQ(ping.finish(), 5);
    EXPECT_THAT(ping.out(), HasSubstr(silent.target() + ": 0 sent, 0 answered"));
}

TEST(PingVerb, TellsSeveralCardsApart) {
    Program rack({"card", "--listen", "127.0.0.1:0", "--cards", "2", "--period", "0"});
    const std::string first = rack.listening();
    const std::string second = rack.listening();
    const Ended ended =
        run({"ping", first + "," + second, "--count", "2", "--interval", "1ms", "--timeout", "30s"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_THAT(ended.out, HasSubstr(first + ": 2 sent, 2 answered"));
    EXPECT_THAT(ended.out, HasSubstr(second + ": 2 sent, 2 answered"));
}

TEST(PingVerb, PrintsOneObjectALineAsItComes) {
    Pinging ping({"--timeout", "30s", "--count", "1", "--json"});
    ping.answer();
    const json object = json::parse(ping.line());
    EXPECT_EQ(object["card"], ping.card());
    EXPECT_EQ(object["id"], ping.id());
    EXPECT_GT(object["roundTrip"], 0);
    EXPECT_LT(object["roundTrip"], 30);
    EXPECT_EQ(json::parse(ping.line())["answered"], 1);
    EXPECT_EQ(ping.status(), 0);
}

TEST(PingVerb, TakesTheTimeOutOfTheEnvironment) {
    const ScriptedCard silent;
    EXPECT_EQ(run({"ping", silent.target(), "--count", "1"}, {"LCMP_TIMEOUT=10ms"}).status, 3);
    EXPECT_EQ(run({"ping", silent.target(), "--count", "1"}, {"LCMP_TIMEOUT=soon"}).status, 2);
}

}  // namespace
