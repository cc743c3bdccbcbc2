// How data is printed: variables and their values in the formats that -o offers. Nothing else goes to
// standard output.
#pragma once

#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <ostream>
#include <string>
#include <vector>

#include "exchange.h"
#include "lcmpUdpAddress.h"

namespace CLI {
class App;
}

namespace tool {

/// Adds -o FORMAT, one of `formats`, --json and --color to a verb; `format` receives its text and holds the
/// default. Of verbs whose output has no end, --json means `json` = "jsonl".
void addFormatOption(CLI::App& verb, std::string& format, const std::vector<std::string>& formats,
                     const std::string& json = "json");

/// JSON as it is printed for people, without a line's end, and as one line of a stream. Bytes that are no
/// UTF-8 are replaced, control characters escaped.
std::string jsonText(const nlohmann::ordered_json& value);
std::string jsonLine(const nlohmann::ordered_json& value);

/// Adds "type" and "value" to a JSON object, and "bytes" in hexadecimal for a text that is no UTF-8.
void addJsonValue(const Element& element, nlohmann::ordered_json& object);

/// The same, and "word" where the variable's model has one for the value.
void addJsonValue(const Variable& variable, const Element& element, nlohmann::ordered_json& object);

/// The value for people, behind it the word that the variable's model has for it: "2 (done)".
std::string displayText(const Variable& variable, const Element& element);

/// "RESULT WRONG VALUE"; "RESULT 16" where a code has no name.
std::string resultText(unsigned int result);

/// A field of a CSV line: in quotes where it needs them.
std::string csvField(const std::string& text);

/// A value for people with its word and its unit, "21 °C", "2 (done)".
std::string valueText(const Variable& variable, const Element& element);

/// What became of one variable of a card, with "value" or with "error".
nlohmann::ordered_json outcomeJson(const std::string& card, const Variable& variable, const Outcome& outcome);

/// An "error": its text, and the card's result where that is not 0.
nlohmann::ordered_json errorJson(unsigned int result, const std::string& text);

/// What became of it as a line of CSV, under this heading.
constexpr const char* outcomeCsvHeading = "card,oid,name,type,value,error\n";
void printOutcomeCsv(std::ostream& out, const std::string& card, const Variable& variable,
                     const Outcome& outcome);

/// Prints what became of the variables of cards. text: one line each that was done, "name = value unit",
/// behind the card where there are `several`. json and jsonl: every variable, with "value" or with "error".
/// csv: the same with a heading. value: one line each, the bare value, empty where there is none.
class OutcomePrinter {
public:
    OutcomePrinter(std::ostream& out, std::string format, bool several);
    ~OutcomePrinter();
    OutcomePrinter(const OutcomePrinter&) = delete;
    OutcomePrinter& operator=(const OutcomePrinter&) = delete;

    /// The variables of one card, flushed; of json nothing before the end.
    void print(const LcmpUdpAddress& card, const std::vector<Variable>& variables,
               const std::vector<Outcome>& outcomes);

    /// After the last card.
    void end();

private:
    std::ostream& m_out;
    std::string m_format;
    bool m_several;
    std::unique_ptr<nlohmann::ordered_json> m_all;  // of json
};

/// Says it on standard error: "lcmp: " and the text.
void tellProblem(const std::string& problem);

/// Prints what went wrong to standard error, each problem once, and behind `card` where that is not empty and
/// the problem does not name it.
void printProblems(const std::vector<Outcome>& outcomes, const std::string& card = "");

}  // namespace tool
