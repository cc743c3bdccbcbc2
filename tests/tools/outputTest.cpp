#include "output.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

namespace {

using testing::HasSubstr;
using tool::ExitStatus;
using tool::Outcome;

// A card's answer, put together variable by variable.
class Answer {
public:
    Answer& value(const std::string& name, LcmpTlvType type, const std::string& text) {
        m_variables.push_back(tool::resolveVariable(name));
        tool::Element element(m_variables.back().oid);
        tool::parseValue(type, text, element);
        Outcome outcome;
        outcome.value = element;
        m_outcomes.push_back(outcome);
        return *this;
    }

    Answer& refusal(const std::string& name, unsigned int result) {
        m_variables.push_back(tool::resolveVariable(name));
        Outcome outcome;
        outcome.status = ExitStatus::refused;
        outcome.result = result;
        outcome.problem = "refused, \"" + name + "\"";
        m_outcomes.push_back(outcome);
        return *this;
    }

    std::string as(const std::string& format) const {
        std::ostringstream out;
        tool::OutcomePrinter printer(out, format, false);
        printer.print({0xC0000201, 4711}, m_variables, m_outcomes);
        printer.end();
        return out.str();
    }

    /// The same of two cards, which answer alike.
    std::string twiceAs(const std::string& format) const {
        std::ostringstream out;
        tool::OutcomePrinter printer(out, format, true);
        printer.print({0xC0000201, 4711}, m_variables, m_outcomes);
        printer.print({0xC0000202, 4712}, m_variables, m_outcomes);
        printer.end();
        return out.str();
    }

    ExitStatus status() const { return tool::overallStatus(m_outcomes); }

private:
    std::vector<tool::Variable> m_variables;
    std::vector<Outcome> m_outcomes;
};

Answer mixed() {
    return Answer()
        .value("identity.cardType", STRING, "a,\"b\"")
        .refusal("control.bpClkRef", 9)
        .value("temperature[1].value", INT32, "-5");
}

TEST(Output, AsTextIsALineForEveryValue) {
    EXPECT_EQ(mixed().as("text"), "identity.cardType = \"a,\\\"b\\\"\"\ntemperature[1].value = -5 °C\n");
}

TEST(Output, AsBareValuesKeepsThePlaceOfWhatIsMissing) { EXPECT_EQ(mixed().as("value"), "a,\"b\"\n\n-5\n"); }

TEST(Output, AsCsvQuotesWhatNeedsIt) {
    EXPECT_EQ(mixed().as("csv"),
              "card,oid,name,type,value,error\n"
              "192.0.2.1:4711,0x10800000,identity.cardType,STRING,\"a,\"\"b\"\"\",\n"
              "192.0.2.1:4711,0x11800002,control.bpClkRef,,,\"refused, \"\"control.bpClkRef\"\"\"\n"
              "192.0.2.1:4711,0x51404001,temperature[1].value,INT32,-5,\n");
}

TEST(Output, AsJsonIsOneArrayAndAsJsonlOneObjectALine) {
    const std::string lines = mixed().as("jsonl");
    EXPECT_EQ(lines,
              "{\"card\":\"192.0.2.1:4711\",\"oid\":\"0x10800000\",\"name\":\"identity.cardType\",\"type\":"
              "\"STRING\","
              "\"value\":\"a,\\\"b\\\"\"}\n"
              "{\"card\":\"192.0.2.1:4711\",\"oid\":\"0x11800002\",\"name\":\"control.bpClkRef\",\"error\":"
              "{\"result\":9,\"text\":\"refused, \\\"control.bpClkRef\\\"\"}}\n"
              "{\"card\":\"192.0.2.1:4711\",\"oid\":\"0x51404001\",\"name\":\"temperature[1].value\","
              "\"type\":\"INT32\","
              "\"value\":-5,\"unit\":\"°C\"}\n");
    nlohmann::json array = nlohmann::json::array();
    std::istringstream stream(lines);
    for (std::string line; std::getline(stream, line);)
        array.push_back(nlohmann::json::parse(line));
    EXPECT_EQ(nlohmann::json::parse(mixed().as("json")), array);
}

TEST(Output, LosesNoByteOfATextThatIsNoUtf8) {
    const std::string lines = Answer().value("identity.cardType", STRING, "a\xFF").as("jsonl");
    const nlohmann::json object = nlohmann::json::parse(lines);
    EXPECT_EQ(object["value"], "a\xEF\xBF\xBD");
    EXPECT_EQ(object["bytes"], "61ff");
    EXPECT_THAT(Answer().value("identity.cardType", STRING, "°").as("jsonl"),
                testing::Not(HasSubstr("bytes")));
}

TEST(Output, OfSeveralCardsNamesThemInText) {
    const Answer answer = Answer().value("control.bpClkRef", UINT8, "3");
    EXPECT_EQ(answer.twiceAs("text"),
              "192.0.2.1:4711 control.bpClkRef = 3\n192.0.2.2:4712 control.bpClkRef = 3\n");
    EXPECT_EQ(answer.twiceAs("value"), "3\n3\n");
    EXPECT_EQ(answer.twiceAs("csv"),
              "card,oid,name,type,value,error\n"
              "192.0.2.1:4711,0x11800002,control.bpClkRef,UINT8,3,\n"
              "192.0.2.2:4712,0x11800002,control.bpClkRef,UINT8,3,\n");
    const nlohmann::json all = nlohmann::json::parse(answer.twiceAs("json"));
    ASSERT_EQ(all.size(), 2U);
    EXPECT_EQ(all[1]["card"], "192.0.2.2:4712");
}

TEST(OverallStatus, IsPartlyWhenSomeAreDoneAndElseTheFirstFailure) {
    EXPECT_EQ(mixed().status(), ExitStatus::partly);
    EXPECT_EQ(Answer().value("control.guid", STRING, "").status(), ExitStatus::done);
    EXPECT_EQ(Answer().refusal("control.guid", 9).status(), ExitStatus::refused);
}

}  // namespace

TEST(Json, EscapesEveryControlCharacter) {
    std::string text;
    for (char c = 0; c < ' '; ++c)
        text += c;
    text += "\x7F";
    for (const std::string& json : {tool::jsonLine({{"text", text}}), tool::jsonText({{"text", text}})}) {
        for (const char c : json)
            EXPECT_TRUE(c == '\n' || (c >= ' ' && c != '\x7F')) << json;
        EXPECT_EQ(nlohmann::ordered_json::parse(json)["text"], text);
    }
}
