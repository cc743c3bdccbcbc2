#include "pingOutput.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

namespace {

using nlohmann::json;
using testing::MatchesRegex;
using tool::Ping;

Ping answered(std::uint16_t id, std::chrono::nanoseconds time) { return {id, time, ""}; }

Ping lost(std::uint16_t id) { return {id, std::nullopt, "no answer"}; }

tool::PingPrinter::Card cardAfter(const std::string& name, const std::vector<Ping>& pings) {
    tool::PingPrinter::Card card{name, {}};
    for (const Ping& ping : pings)
        ping.roundTrip ? card.trips.answered(*ping.roundTrip) : card.trips.lost();
    return card;
}

// What two pings of one card, of which the second is lost, look like.
std::string printed(const std::string& format) {
    const std::vector<Ping> pings = {answered(7, std::chrono::microseconds(210)), lost(8)};
    std::ostringstream out;
    tool::PingPrinter printer(out, format);
    for (const Ping& ping : pings)
        printer.print("192.0.2.1:17470", ping);
    printer.printEnd({cardAfter("192.0.2.1:17470", pings), cardAfter("192.0.2.2:17470", {lost(1)})});
    return out.str();
}

TEST(PingOutput, AsTextIsALineForEachAndOneForEachCard) {
    EXPECT_EQ(printed("text"),
              "192.0.2.1:17470: id 7 time 0.210 ms\n"
              "192.0.2.1:17470: id 8 no answer\n"
              "192.0.2.1:17470: 2 sent, 1 answered, 50 % lost, "
              "min/avg/max/jitter 0.210/0.210/0.210/0.000 ms\n"
              "192.0.2.2:17470: 1 sent, 0 answered, 100 % lost\n");
}

TEST(PingOutput, AsJsonlIsAnObjectALine) {
    std::istringstream lines(printed("jsonl"));
    std::vector<json> objects;
    for (std::string line; std::getline(lines, line);)
        objects.push_back(json::parse(line));
    ASSERT_EQ(objects.size(), 4U);
    EXPECT_THAT(std::string(objects[0]["time"]), MatchesRegex("[-0-9]{10}T[:0-9]{8}\\.[0-9]{6}Z"));
    EXPECT_EQ(objects[0]["roundTrip"], 0.00021);
    EXPECT_EQ(objects[1]["error"]["text"], "no answer");
    EXPECT_FALSE(objects[1].contains("roundTrip"));
    EXPECT_EQ(objects[2], json({{"card", "192.0.2.1:17470"},
                                {"sent", 2},
                                {"answered", 1},
                                {"loss", 50.0},
                                {"min", 0.00021},
                                {"avg", 0.00021},
                                {"max", 0.00021},
                                {"jitter", 0.0}}));
    EXPECT_FALSE(objects[3].contains("min"));
}

TEST(PingOutput, AsJsonIsOneArrayOfTheCards) {
    const json cards = json::parse(printed("json"));
    ASSERT_EQ(cards.size(), 2U);
    EXPECT_EQ(cards[0]["answered"], 1);
    EXPECT_EQ(cards[1]["loss"], 100.0);
}

TEST(PingOutput, AsCsvIsATableOfThePings) {
    std::istringstream lines(printed("csv"));
    std::string line;
    std::getline(lines, line);
    EXPECT_EQ(line, "time,card,id,roundTrip,error");
    std::getline(lines, line);
    EXPECT_THAT(line, testing::EndsWith("Z,192.0.2.1:17470,7,0.000210000,"));
    std::getline(lines, line);
    EXPECT_THAT(line, testing::EndsWith("Z,192.0.2.1:17470,8,,no answer"));
    EXPECT_FALSE(std::getline(lines, line));
}

TEST(PingOutput, AsBareValuesAreTheRoundTripsAndAnEmptyLineForNone) {
    EXPECT_EQ(printed("value"), "0.000210000\n\n");
}

}  // namespace
