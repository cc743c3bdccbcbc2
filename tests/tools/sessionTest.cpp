// The verbs and the simulated card, process against process.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <nlohmann/json.hpp>

#include "program.h"

namespace {

using nlohmann::json;
using testing::HasSubstr;

// A card on a free port, serving.
class ServingCard {
public:
    explicit ServingCard(const std::vector<std::string>& options = {})
        : m_program(words(options)), m_address(m_program.listening()) {}

    const std::string& address() const { return m_address; }

    Ended get(const std::vector<std::string>& names) const { return ask("get", names); }
    Ended set(const std::vector<std::string>& assignments) const { return ask("set", assignments); }

private:
    static std::vector<std::string> words(const std::vector<std::string>& options) {
        std::vector<std::string> all = {"card", "--listen", "127.0.0.1:0"};
        all.insert(all.end(), options.begin(), options.end());
        return all;
    }

    Ended ask(const std::string& verb, const std::vector<std::string>& words) const {
        std::vector<std::string> all = {verb, m_address, "--timeout", "5s"};
        all.insert(all.end(), words.begin(), words.end());
        return run(all);
    }

    Program m_program;
    std::string m_address;
};

TEST(Session, ReadsWritesAndReadsBack) {
    const ServingCard card;
    EXPECT_EQ(card.get({"identity.cardType", "-o", "value"}).out, "xxx\n");
    EXPECT_EQ(card.get({"control.bpClkRef"}).out, "control.bpClkRef = 128\n");
    EXPECT_EQ(card.set({"control.bpClkRef=3"}).status, 0);
    EXPECT_EQ(card.get({"control.bpClkRef"}).out, "control.bpClkRef = 3\n");
}

TEST(Session, AValueThatTheCardRefusesIsNamed) {
    const ServingCard card;
    const Ended ended = card.set({"control.bpClkRef=4"});
    EXPECT_EQ(ended.status, 4);
    EXPECT_EQ(ended.err, "lcmp: " + card.address() + " refused control.bpClkRef: RESULT WRONG VALUE\n");
    EXPECT_EQ(card.get({"control.bpClkRef"}).out, "control.bpClkRef = 128\n");
}

TEST(Session, AReadOnlyVariableIsNamedAndNothingIsWritten) {
    const ServingCard card;
    const Ended ended = card.set({"control.bpClkRef=2", "identity.ifcSlot=7"});
    EXPECT_EQ(ended.status, 4);
    EXPECT_THAT(ended.err, HasSubstr("refused identity.ifcSlot: RESULT READ ONLY"));
    EXPECT_EQ(card.get({"control.bpClkRef"}).out, "control.bpClkRef = 128\n");
}

TEST(Session, AGuidIsRefusedWhenShortAndElseStoredAndReadBack) {
    const ServingCard card;
    const Ended refused = card.set({"control.guid=short"});
    EXPECT_EQ(refused.status, 4);
    EXPECT_THAT(refused.err, HasSubstr("refused control.guid: RESULT WRONG VALUE"));
    const std::string guid = "123e4567-e89b-12d3-a456-426614174000";
    EXPECT_EQ(card.set({"control.guid=" + guid}).status, 0);
    EXPECT_EQ(card.get({"control.guid", "-o", "value"}).out, guid + "\n");
}

TEST(Session, AVariableThatTheCardLacksDoesNotHideTheOthers) {
    const ServingCard card;
    const Ended ended = card.get({"control.bpClkRef", "temperature[9].value", "--json"});
    EXPECT_EQ(ended.status, 5);
    const json values = json::parse(ended.out);
    EXPECT_EQ(values[0]["value"], 128);
    EXPECT_THAT(std::string(values[1]["error"]["text"]), HasSubstr("temperature[9].value"));
}

TEST(Session, SixtyFourBitsArriveExactly) {
    const ServingCard card({"--period", "1h"});  // its clock stands still meanwhile
    EXPECT_EQ(card.set({"control.utcTime=18446744073709551615"}).status, 0);
    const Ended ended = card.get({"control.utcTime", "--json"});
    EXPECT_THAT(ended.out, HasSubstr("18446744073709551615"));
}

TEST(Session, ATypeThatIsNotTheVariablesIsRefused) {
    const ServingCard card;
    EXPECT_THAT(card.set({"control.bpClkRef:UINT16=3"}).err,
                HasSubstr("refused control.bpClkRef: RESULT WRONG TYPE"));
}

TEST(Session, EveryVariableOfTheStandardCardIsReadInOneGo) {
    const ServingCard card;
    const std::vector<std::pair<std::string, int>> tables = {
        {"temperature", 4}, {"voltage", 4}, {"hardwareError", 8}, {"operationalAlarm", 8}};
    const std::vector<std::vector<std::string>> columns = {{"name", "value", "valid", "min", "max"},
                                                           {"name", "value", "nominal", "valid"},
                                                           {"id", "name", "active"},
                                                           {"id", "name", "active"}};
    std::vector<std::string> names = {"identity.cardType",     "alarms.power",    "control.guid",
                                      "download.bspName",      "fileServer.port", "logRetrieval.directory",
                                      "voltageMonitor.version"};
    for (std::size_t table = 0; table < tables.size(); ++table) {
        for (int row = 0; row < tables[table].second; ++row) {
            for (const std::string& column : columns[table])
                names.push_back(tables[table].first + "[" + std::to_string(row) + "]." + column);
        }
    }
    const std::size_t count = names.size();
    names.insert(names.end(), {"-o", "jsonl"});
    const Ended ended = card.get(names);
    EXPECT_EQ(ended.status, 0) << ended.err;
    EXPECT_EQ(static_cast<std::size_t>(std::count(ended.out.begin(), ended.out.end(), '\n')), count);
}

TEST(Session, AWatcherSeesTheEventsOfALivingCard) {
    Program watch({"watch", "--listen", "127.0.0.1:0", "--count", "5", "-o", "jsonl"});
    const ServingCard card({"--period", "100ms", "--events-to", watch.listening()});
    ASSERT_EQ(watch.finish(), 0);
    std::istringstream lines(watch.out());
    int values = 0;
    for (std::string line; std::getline(lines, line); ++values) {
        const json value = json::parse(line);
        EXPECT_EQ(value["card"], card.address());
        for (const char* field : {"time", "oid", "name", "value"})
            EXPECT_TRUE(value.contains(field)) << field << " in " << line;
    }
    EXPECT_EQ(values, 5);
}

}  // namespace
