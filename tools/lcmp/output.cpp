#include "output.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <nlohmann/json.hpp>
#include <set>

#include "colour.h"
#include "lcmpResult.h"

namespace tool {
namespace {

using Json = nlohmann::ordered_json;

bool isUtf8(const std::string& text) {
    try {
        (void)Json(text).dump();
        return true;
    } catch (const Json::type_error&) {
        return false;
    }
}

// The word that the model has for a number, or null.
const char* wordOf(const Variable& variable, const Element& element) {
    const std::optional<LcmpModelValue> value = modelValue(element);
    const bool isOfModel = variable.definition != nullptr && variable.definition->type == element.type();
    return value && isOfModel ? lcmpModelWordOf(*variable.definition, *value) : nullptr;
}

bool isDone(const Outcome& outcome) {
    return outcome.status == ExitStatus::done && outcome.value.has_value();
}

void printText(std::ostream& out, const std::string& card, const Variable& variable, const Outcome& outcome) {
    if (!isDone(outcome))
        return;
    if (!card.empty())
        out << card << ' ';
    out << painted(out, Paint::name, variable.name) << " = " << valueText(variable, *outcome.value) << '\n';
}

}  // namespace

void addFormatOption(CLI::App& verb, std::string& format, const std::vector<std::string>& formats,
                     const std::string& json) {
    CLI::Option* option = verb.add_option("-o,--output", format, "How to print")
                              ->type_name("FORMAT")
                              ->check(CLI::IsMember(formats))
                              ->capture_default_str();
    verb.add_flag_callback(
            "--json", [&format, json] { format = json; }, "The same as -o " + json)
        ->excludes(option);
    addColourOption(verb);
}

namespace {

// JSON lets the one control character stand that it does not count as one; a terminal does not.
std::string dumped(const Json& value, int indent) {
    std::string text = value.dump(indent, ' ', false, Json::error_handler_t::replace);
    for (auto at = text.find('\x7F'); at != std::string::npos; at = text.find('\x7F', at))
        text.replace(at, 1, "\\u007f");
    return text;
}

}  // namespace

std::string jsonText(const Json& value) { return dumped(value, 2); }

std::string jsonLine(const Json& value) { return dumped(value, -1) + "\n"; }

void addJsonValue(const Element& element, Json& object) {
    object["type"] = lcmpTlvTypeName(element.type());
    object["value"] = jsonValue(element);
    if (element.type() == STRING && !isUtf8(element.bytes()))
        object["bytes"] = hexText(element.bytes());
}

void addJsonValue(const Variable& variable, const Element& element, Json& object) {
    addJsonValue(element, object);
    if (const char* word = wordOf(variable, element))
        object["word"] = word;
}

std::string displayText(const Variable& variable, const Element& element) {
    const char* word = wordOf(variable, element);
    return displayText(element) + (word == nullptr ? "" : " (" + std::string(word) + ")");
}

std::string valueText(const Variable& variable, const Element& element) {
    const std::string text = displayText(variable, element);
    return *variable.unit == '\0' ? text : text + ' ' + variable.unit;
}

std::string csvField(const std::string& text) {
    if (text.find_first_of(",\"\r\n") == std::string::npos)
        return text;
    std::string field = "\"";
    for (const char c : text)
        field += c == '"' ? std::string("\"\"") : std::string(1, c);
    return field + '"';
}

std::string resultText(unsigned int result) {
    const std::string name = lcmpResultName(result);
    return name.empty() || name == "unknown" ? "RESULT " + std::to_string(result) : name;
}

nlohmann::ordered_json errorJson(unsigned int result, const std::string& text) {
    Json error = Json::object();
    if (result != 0)
        error["result"] = result;
    error["text"] = text;
    return error;
}

nlohmann::ordered_json outcomeJson(const std::string& card, const Variable& variable,
                                   const Outcome& outcome) {
    Json object = {{"card", card}, {"oid", oidText(variable.oid)}, {"name", variable.name}};
    if (!isDone(outcome)) {
        object["error"] = errorJson(outcome.result, outcome.problem);
        return object;
    }
    addJsonValue(variable, *outcome.value, object);
    if (*variable.unit != '\0')
        object["unit"] = variable.unit;
    return object;
}

void printOutcomeCsv(std::ostream& out, const std::string& card, const Variable& variable,
                     const Outcome& outcome) {
    out << card << ',' << oidText(variable.oid) << ',' << variable.name << ',';
    if (isDone(outcome))
        out << lcmpTlvTypeName(outcome.value->type()) << ',' << csvField(plainText(*outcome.value)) << ",\n";
    else
        out << ",," << csvField(outcome.problem) << '\n';
}

OutcomePrinter::OutcomePrinter(std::ostream& out, std::string format, bool several)
    : m_out(out),
      m_format(std::move(format)),
      m_several(several),
      m_all(std::make_unique<Json>(Json::array())) {
    if (m_format == "csv")
        m_out << outcomeCsvHeading;
}

OutcomePrinter::~OutcomePrinter() = default;

void OutcomePrinter::print(const LcmpUdpAddress& card, const std::vector<Variable>& variables,
                           const std::vector<Outcome>& outcomes) {
    const std::string cardText = lcmpUdpToText(card);
    for (std::size_t i = 0; i < variables.size(); ++i) {
        if (m_format == "json")
            m_all->push_back(outcomeJson(cardText, variables[i], outcomes[i]));
        else if (m_format == "jsonl")
            m_out << jsonLine(outcomeJson(cardText, variables[i], outcomes[i]));
        else if (m_format == "csv")
            printOutcomeCsv(m_out, cardText, variables[i], outcomes[i]);
        else if (m_format == "value")
            m_out << (isDone(outcomes[i]) ? plainText(*outcomes[i].value) : "") << '\n';
        else
            printText(m_out, m_several ? cardText : "", variables[i], outcomes[i]);
    }
    m_out.flush();
}

void OutcomePrinter::end() {
    if (m_format == "json")
        m_out << jsonText(*m_all) << '\n';
}

void tellProblem(const std::string& problem) {
    std::cerr << painted(std::cerr, Paint::problem, "lcmp:") << ' ' << problem << '\n';
}

void printProblems(const std::vector<Outcome>& outcomes, const std::string& card) {
    std::set<std::string> said;
    for (const Outcome& outcome : outcomes) {
        const bool isNamed = card.empty() || outcome.problem.compare(0, card.size() + 1, card + " ") == 0;
        if (outcome.status != ExitStatus::done && said.insert(outcome.problem).second)
            tellProblem(isNamed ? outcome.problem : card + ": " + outcome.problem);
    }
}

}  // namespace tool
