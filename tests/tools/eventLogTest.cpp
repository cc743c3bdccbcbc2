#include "eventLog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "frameBuilder.h"

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using tool::EventLog;
using Format = tool::EventLog::Format;

constexpr unsigned int temperature0 = 0x51404000;
constexpr unsigned int cardType = 0x10800000;
constexpr unsigned int noon = 1714564800;  // 2024-05-01T12:00:00Z

// Cards that send, and what a person reads of it.
class Watching {
public:
    explicit Watching(Format format = Format::text, unsigned long limit = 0)
        : m_log(m_out, m_diagnostics, format, limit) {}

    void receive(const std::string& frame, std::uint16_t port = 4711) {
        GuardedBytes guarded(frame);
        m_log.take({0xC0000201, port}, guarded.data(), guarded.size());
    }

    /// An event of one temperature.
    void temperature(unsigned int id, int degrees, std::uint16_t port = 4711) {
        receive(amiFrame(id, noon, id,
                         {::Element::holding(temperature0, INT32,
                                             bigEndian(static_cast<unsigned int>(degrees), 4))}),
                port);
    }

    /// The card was asked for its temperature.
    void polled(int degrees, bool showsFirst = false) {
        tool::Element value(temperature0);
        tool::parseValue(INT32, std::to_string(degrees), value);
        m_log.takePolled({0xC0000201, 4711}, value, showsFirst);
    }

    void answers(bool answers) { m_log.tellAnswering({0xC0000201, 4711}, answers); }

    /// The lines since the last call.
    std::string lines() { return take(m_out); }
    std::string diagnostics() { return take(m_diagnostics); }
    nlohmann::json json() { return nlohmann::json::parse(lines()); }
    bool full() const { return m_log.full(); }

private:
    static std::string take(std::ostringstream& stream) {
        const std::string text = stream.str();
        stream.str("");
        return text;
    }

    std::ostringstream m_out;
    std::ostringstream m_diagnostics;
    EventLog m_log;
};

TEST(EventLog, ShowsTimeCardNameValueAndUnit) {
    Watching watching;
    watching.receive(amiFrame(7, noon, 250, {{temperature0, INT32, "FFFFFFFB"}}));
    EXPECT_EQ(watching.lines(), "2024-05-01T12:00:00.000250Z 192.0.2.1:4711 temperature[0].value -5 °C\n");
    EXPECT_EQ(watching.diagnostics(), "");
}

TEST(EventLog, ShowsTheValueBeforeOnceItIsKnown) {
    Watching watching;
    watching.temperature(1, 20);
    watching.lines();
    watching.temperature(2, 21);
    EXPECT_THAT(watching.lines(), EndsWith("temperature[0].value 21 °C (was 20)\n"));
    watching.temperature(3, 22, 4712);
    EXPECT_THAT(watching.lines(), EndsWith("192.0.2.1:4712 temperature[0].value 22 °C\n"))
        << "another card's";
}

TEST(EventLog, AsJsonHasAField) {
    Watching watching(Format::jsonl);
    watching.temperature(1, 20);
    watching.lines();
    watching.temperature(2, 21);
    EXPECT_EQ(watching.json(), nlohmann::json({{"time", "2024-05-01T12:00:00.000002Z"},
                                               {"card", "192.0.2.1:4711"},
                                               {"oid", "0x51404000"},
                                               {"name", "temperature[0].value"},
                                               {"type", "INT32"},
                                               {"value", 21},
                                               {"old", 20},
                                               {"unit", "°C"}}));
}

TEST(EventLog, ShowsEveryValueOfAnEventAndObjectsThatNobodyKnows) {
    Watching watching;
    watching.receive(amiFrame(1, noon, 0, {{cardType, STRING, "787878"}, {0x50C10005, BYTE_ARRAY, "1BFF"}}));
    EXPECT_EQ(watching.lines(),
              "2024-05-01T12:00:00.000000Z 192.0.2.1:4711 identity.cardType \"xxx\"\n"
              "2024-05-01T12:00:00.000000Z 192.0.2.1:4711 0x50c10005 1B FF\n");
}

TEST(EventLog, NumberingMayBeginAnywhereAndWrapsAround) {
    Watching watching;
    for (const unsigned int id : {65534U, 65535U, 0U, 1U})
        watching.temperature(id, 20);
    EXPECT_THAT(watching.lines(), testing::Not(HasSubstr("gap")));
}

TEST(EventLog, AGapIsALineOfItsOwn) {
    Watching watching;
    watching.temperature(65535, 20);
    watching.lines();
    watching.temperature(5, 21);
    EXPECT_EQ(watching.lines(),
              "2024-05-01T12:00:00.000005Z 192.0.2.1:4711 gap: message 5 instead of 0, 5 missing\n"
              "2024-05-01T12:00:00.000005Z 192.0.2.1:4711 temperature[0].value 21 °C (was 20)\n");
    Watching json(Format::jsonl);
    json.temperature(7, 20);
    json.lines();
    json.receive(amiFrame(9, noon, 0));
    EXPECT_EQ(json.json(), nlohmann::json({{"time", "2024-05-01T12:00:00.000000Z"},
                                           {"card", "192.0.2.1:4711"},
                                           {"gap", {{"expected", 8}, {"received", 9}, {"missing", 1}}}}));
}

TEST(EventLog, ACardThatBeginsAgainHasMissedNothing) {
    Watching watching;
    watching.temperature(700, 20);
    watching.lines();
    watching.temperature(1, 21);
    EXPECT_THAT(watching.lines(), HasSubstr("gap: message 1 instead of 701, the numbering went back\n"));
    Watching json(Format::jsonl);
    json.temperature(700, 20);
    json.lines();
    json.receive(amiFrame(1, noon, 0));
    EXPECT_EQ(json.json()["gap"], nlohmann::json({{"expected", 701}, {"received", 1}}));
}

TEST(EventLog, EveryCardHasItsOwnNumbering) {
    Watching watching;
    watching.temperature(1, 20, 4711);
    watching.temperature(100, 20, 4712);
    watching.temperature(2, 20, 4711);
    watching.temperature(101, 20, 4712);
    EXPECT_THAT(watching.lines(), testing::Not(HasSubstr("gap")));
}

TEST(EventLog, RequestsOfACardCountButDoNotShow) {
    Watching watching;
    watching.temperature(1, 20);
    watching.lines();
    watching.receive(readRequest(2, {{cardType, STRING}}));
    watching.temperature(3, 20);
    EXPECT_EQ(watching.lines(),
              "2024-05-01T12:00:00.000003Z 192.0.2.1:4711 temperature[0].value 20 °C (was 20)\n");
    watching.receive(writeRequest(9, {{cardType, STRING}}));
    EXPECT_THAT(watching.lines(), HasSubstr(" 192.0.2.1:4711 gap: message 9 instead of 4, 5 missing\n"));
}

TEST(EventLog, ADoubledDatagramIsShownOnce) {
    Watching watching;
    watching.temperature(1, 20);
    watching.lines();
    watching.temperature(1, 20);
    EXPECT_EQ(watching.lines(), "");
    EXPECT_EQ(watching.diagnostics(), "lcmp: 192.0.2.1:4711 sent message 1 twice\n");
    watching.receive(amiFrame(1, noon + 1, 0, {{temperature0, INT32, "00000015"}}));
    EXPECT_THAT(watching.lines(), EndsWith("temperature[0].value 21 °C (was 20)\n"))
        << "another message of the same id";
}

TEST(EventLog, EndsAtItsLimitInTheMiddleOfAnEvent) {
    Watching watching(Format::text, 2);
    const Elements three = {{temperature0, INT32, "00000001"},
                            {temperature0 + 1, INT32, "00000002"},
                            {temperature0 + 2, INT32, "00000003"}};
    watching.temperature(1, 20);
    EXPECT_FALSE(watching.full());
    watching.lines();
    watching.receive(amiFrame(2, noon, 0, three));
    EXPECT_TRUE(watching.full());
    EXPECT_EQ(watching.lines(),
              "2024-05-01T12:00:00.000000Z 192.0.2.1:4711 temperature[0].value 1 °C (was 20)\n");
}

TEST(EventLog, ShowsWhatIsSoundOfABrokenEvent) {
    Watching watching;
    watching.receive(amiFrame(1, noon, 0, {{temperature0, INT32, "00000014"}, {temperature0, INT32, "00"}}) +
                     "x");
    EXPECT_EQ(watching.lines(), "2024-05-01T12:00:00.000000Z 192.0.2.1:4711 temperature[0].value 20 °C\n");
    EXPECT_EQ(watching.diagnostics(),
              "lcmp: 192.0.2.1:4711 sent an event whose element 2 does not fit\n"
              "lcmp: 192.0.2.1:4711 sent a malformed value of temperature[0].value: INT32 of 1 bytes\n");
}

TEST(EventLog, EveryTruncationOfAnEventIsHarmless) {
    const std::string frame =
        amiFrame(1, noon, 0, {{cardType, STRING, "787878"}, {temperature0, INT32, "00000014"}});
    for (std::size_t size = 0; size < frame.size(); ++size) {
        Watching watching;
        watching.receive(frame.substr(0, size));
        const bool whole = size == amiHeader || size == amiHeader + 10;
        EXPECT_EQ(watching.diagnostics().empty(), whole) << size;
        EXPECT_EQ(watching.lines().empty(), size < amiHeader + 10) << size;
    }
}

TEST(EventLog, ToldOfOtherFramesAndShowsNothing) {
    Watching watching;
    watching.receive("XXXX" + amiFrame(1, noon, 0).substr(4));
    EXPECT_THAT(watching.diagnostics(), HasSubstr("sent a frame of another kind: RESULT WRONG MAGIC"));
    watching.receive(header(6, 1));
    EXPECT_THAT(watching.diagnostics(), HasSubstr("sent a frame of another kind: RESULT INVALID ACTION"));
    watching.receive(readResponse(1, 0, 0));
    EXPECT_EQ(watching.diagnostics(), "");
    EXPECT_EQ(watching.lines(), "");
}

TEST(EventLog, GoesOnWhenMoreCardsAndVariablesComeThanItRemembers) {
    Watching watching;
    for (unsigned int port = 1; port <= 2000; ++port)
        watching.temperature(1, 20, static_cast<std::uint16_t>(port));
    for (unsigned int i = 0; i < 20; ++i) {
        Elements many;
        for (unsigned int row = 0; row < 1000; ++row)
            many.push_back({0x40000000 + i * 1000 + row, UINT8, "01"});
        watching.receive(amiFrame(i + 2, noon, 0, many), 2000);
    }
    const std::string lines = watching.lines();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 2000 + 20 * 1000);
    watching.temperature(22, 21, 2000);
    EXPECT_THAT(watching.lines(), EndsWith("temperature[0].value 21 °C\n")) << "forgotten meanwhile";
}

// What is behind the time of this machine's clock, of a line that was polled.
std::string behindTime(const std::string& line) {
    EXPECT_THAT(line, testing::MatchesRegex("[-0-9]{10}T[:0-9]{8}\\.[0-9]{6}Z .*\n")) << line;
    return line.substr(std::min(line.size(), line.find(' ') + 1));
}

TEST(EventLog, APolledValueIsShownWhenItIsAnotherThanTheLast) {
    Watching watching;
    watching.polled(20);
    watching.polled(20);
    EXPECT_EQ(watching.lines(), "") << "a first value is no change";
    watching.polled(21);
    EXPECT_EQ(behindTime(watching.lines()), "192.0.2.1:4711 temperature[0].value 21 °C (was 20; polled)\n");
    watching.polled(21);
    EXPECT_EQ(watching.lines(), "");
}

TEST(EventLog, AFirstPolledValueIsShownOnDemand) {
    Watching watching;
    watching.polled(20, true);
    EXPECT_EQ(behindTime(watching.lines()), "192.0.2.1:4711 temperature[0].value 20 °C (polled)\n");
    watching.polled(20, true);
    EXPECT_EQ(watching.lines(), "");
}

TEST(EventLog, WhatAnEventHasToldIsNotToldAgainByPolling) {
    Watching watching;
    watching.polled(20);
    watching.temperature(1, 21);
    EXPECT_EQ(watching.lines(),
              "2024-05-01T12:00:00.000001Z 192.0.2.1:4711 temperature[0].value 21 °C (was 20)\n");
    watching.polled(21);
    EXPECT_EQ(watching.lines(), "");
    watching.polled(22);
    EXPECT_THAT(watching.lines(), HasSubstr("22 °C (was 21; polled)"));
}

TEST(EventLog, APolledValueIsMarkedInJsonAndCsv) {
    Watching jsonl(Format::jsonl);
    jsonl.polled(20, true);
    const nlohmann::json first = jsonl.json();
    EXPECT_EQ(first["polled"], true);
    EXPECT_FALSE(first.contains("old"));
    jsonl.polled(21);
    EXPECT_EQ(jsonl.json()["old"], 20);
    jsonl.temperature(1, 22);
    EXPECT_FALSE(jsonl.json().contains("polled"));
    Watching csv(Format::csv);
    csv.polled(20, true);
    EXPECT_THAT(csv.lines(), EndsWith("Z,192.0.2.1:4711,0x51404000,temperature[0].value,INT32,20,,polled\n"));
}

TEST(EventLog, AsCsvIsATableWithNotes) {
    Watching watching(Format::csv);
    EXPECT_EQ(watching.lines(), "time,card,oid,name,type,value,old,note\n");
    watching.temperature(1, 20);
    watching.temperature(4, 21);
    EXPECT_EQ(watching.lines(),
              "2024-05-01T12:00:00.000001Z,192.0.2.1:4711,0x51404000,temperature[0].value,INT32,20,,\n"
              "2024-05-01T12:00:00.000004Z,192.0.2.1:4711,,,,,,\"gap: message 4 instead of 2, 2 missing\"\n"
              "2024-05-01T12:00:00.000004Z,192.0.2.1:4711,0x51404000,temperature[0].value,INT32,21,20,\n");
    watching.answers(false);
    EXPECT_THAT(watching.lines(), EndsWith("Z,192.0.2.1:4711,,,,,,does not answer\n"));
}

TEST(EventLog, AsBareValuesHasNothingElse) {
    Watching watching(Format::value);
    watching.temperature(1, 20);
    watching.temperature(4, 21);
    watching.answers(false);
    watching.polled(22);
    EXPECT_EQ(watching.lines(), "20\n21\n22\n");
}

TEST(EventLog, SilenceAndItsEndAreLines) {
    Watching text;
    text.answers(false);
    EXPECT_EQ(behindTime(text.lines()), "192.0.2.1:4711 does not answer\n");
    text.answers(true);
    EXPECT_EQ(behindTime(text.lines()), "192.0.2.1:4711 answers again\n");
    Watching jsonl(Format::jsonl);
    jsonl.answers(false);
    const nlohmann::json silence = jsonl.json();
    EXPECT_EQ(silence["answers"], false);
    EXPECT_EQ(silence["card"], "192.0.2.1:4711");
}

TEST(EventLog, PolledValuesCountForItsLimit) {
    Watching watching(Format::text, 1);
    watching.polled(20);
    EXPECT_FALSE(watching.full());
    watching.polled(21);
    EXPECT_TRUE(watching.full());
    watching.lines();
    watching.polled(22);
    watching.answers(false);
    EXPECT_EQ(watching.lines(), "");
}

}  // namespace
