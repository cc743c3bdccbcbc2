#include "assignment.h"

#include <iostream>
#include <nlohmann/json.hpp>

#include "colour.h"
#include "nearestName.h"
#include "output.h"

namespace tool {
namespace {

using Json = nlohmann::ordered_json;

// "; did you mean manual?", or all the words that there are.
std::string wordsText(const std::string& text, const std::vector<LcmpModelWord>& words) {
    std::vector<std::string> all;
    std::string list;
    for (const LcmpModelWord& word : words) {
        all.push_back(word.word);
        list += (list.empty() ? "; or a word: " : ", ") + word.word;
    }
    const std::string nearest = nearestName(text, all);
    return nearest.empty() ? list : suggestion(nearest);
}

// A value may also be the word that the model has for it.
void parseNumberOrWord(const Variable& variable, const std::string& text, Element& element) {
    const bool isOfModel = variable.definition != nullptr && variable.type == variable.definition->type;
    const std::vector<LcmpModelWord> words =
        isOfModel ? variable.definition->words : std::vector<LcmpModelWord>();
    for (const LcmpModelWord& word : words) {
        if (word.word == text)
            return setValue(*variable.type, word.number, element);
    }
    try {
        parseValue(*variable.type, text, element);
    } catch (const Failure& failure) {
        throw Failure(failure.status(), failure.what() + wordsText(text, words));
    }
}

// The value in the form in which a model judges it: the text that names it, read back.
LcmpModelValue judgedValue(const Element& element) {
    LcmpModelValue value;
    std::string problem;
    if (!lcmpModelParseValue(static_cast<LcmpTlvType>(element.type()), plainText(element), value, problem))
        throw Failure(ExitStatus::usage, problem);
    return value;
}

// "11800002 03 0001 03": OID, type, length, value.
std::string elementText(const Element& element) {
    const std::string hex = hexText(element.wireForm());
    std::string text = hex.substr(0, 8) + ' ' + hex.substr(8, 2) + ' ' + hex.substr(10, 4);
    return hex.size() == 14 ? text : text + ' ' + hex.substr(14);
}

Json forecastJson(const Assignment& assignment, const Forecast& forecast) {
    Json object = {{"oid", oidText(assignment.variable.oid)}, {"name", assignment.variable.name}};
    addJsonValue(assignment.variable, assignment.value, object);
    if (*assignment.variable.unit != '\0')
        object["unit"] = assignment.variable.unit;
    object["element"] = hexText(assignment.value.wireForm());
    object["checked"] = forecast.isKnown;
    if (forecast.result != RESULT_OK)
        object["error"] = {{"result", forecast.result}, {"text", forecast.reason}};
    return object;
}

void printText(const Assignment& assignment, const Forecast& forecast) {
    std::cout << painted(std::cout, Paint::name, assignment.variable.name) << " = "
              << valueText(assignment.variable, assignment.value) << "  "
              << lcmpTlvTypeName(assignment.value.type()) << "  " << elementText(assignment.value);
    if (forecast.result != RESULT_OK)
        std::cout << "  " << painted(std::cout, Paint::problem, "refused");
    else if (!forecast.isKnown)
        std::cout << "  not in the model";
    std::cout << '\n';
}

void printCsv(const Assignment& assignment, const Forecast& forecast) {
    std::cout << oidText(assignment.variable.oid) << ',' << assignment.variable.name << ','
              << lcmpTlvTypeName(assignment.value.type()) << ',' << csvField(plainText(assignment.value))
              << ',' << hexText(assignment.value.wireForm()) << ',' << csvField(forecast.reason) << '\n';
}

void printOne(const std::string& format, const Assignment& assignment, const Forecast& forecast, Json& all) {
    if (format == "json")
        all.push_back(forecastJson(assignment, forecast));
    else if (format == "jsonl")
        std::cout << jsonLine(forecastJson(assignment, forecast));
    else if (format == "csv")
        printCsv(assignment, forecast);
    else if (format == "value")
        std::cout << plainText(assignment.value) << '\n';
    else
        printText(assignment, forecast);
}

bool isBeyondRows(const Variable& variable, const LcmpModel& model) {
    LcmpModelCell cell;
    return !lcmpModelFindOid(model, variable.oid, cell) || cell.row >= cell.object->rows;
}

}  // namespace

Element parseValueOf(const Variable& variable, const std::string& text) {
    Element element(variable.oid);
    try {
        parseNumberOrWord(variable, text, element);
    } catch (const Failure& failure) {
        throw Failure(failure.status(), variable.name + ": " + failure.what());
    }
    return element;
}

Assignment parseAssignment(const std::string& text, const LcmpModel& model) {
    const auto equals = text.find('=');
    if (equals == std::string::npos)
        throw Failure(ExitStatus::usage, "'" + text + "' gives no value; write NAME=VALUE");
    const Variable variable = resolveVariable(text.substr(0, equals), model);
    if (!variable.type)
        throw Failure(ExitStatus::usage, "the type of " + variable.name + " is not known; write it, like " +
                                             variable.name + ":UINT32=" + text.substr(equals + 1));
    return {variable, parseValueOf(variable, text.substr(equals + 1))};
}

// In the order in which a card judges.
Forecast forecast(const Assignment& assignment, const LcmpModel& model) {
    const LcmpModelVariable* const definition = assignment.variable.definition;
    if (definition == nullptr || isBeyondRows(assignment.variable, model))
        return {RESULT_OK, "", false};
    if (assignment.value.type() != definition->type)
        return {RESULT_WRONG_TYPE, std::string("its type is ") + lcmpTlvTypeName(definition->type)};
    if (definition->access == IFC_CARD_VAR_READ_ONLY)
        return {RESULT_READ_ONLY, "it is read-only"};
    const std::string reason = lcmpModelWhyRefused(*definition, judgedValue(assignment.value));
    return {reason.empty() ? static_cast<unsigned int>(RESULT_OK) : RESULT_WRONG_VALUE, reason};
}

ExitStatus printForecast(const std::vector<Assignment>& assignments, const LcmpModel& model,
                         const std::string& format) {
    Json all = Json::array();
    ExitStatus status = ExitStatus::done;
    if (format == "csv")
        std::cout << "oid,name,type,value,element,error\n";
    for (const Assignment& assignment : assignments) {
        const Forecast expected = forecast(assignment, model);
        printOne(format, assignment, expected, all);
        if (expected.result == RESULT_OK)
            continue;
        status = ExitStatus::refused;
        tellProblem("the model refuses " + assignment.variable.name + ": " + expected.reason + " (" +
                    resultText(expected.result) + ")");
    }
    if (format == "json")
        std::cout << jsonText(all) << '\n';
    return status;
}

}  // namespace tool
