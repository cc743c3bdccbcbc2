#include "differenceOutput.h"

#include <nlohmann/json.hpp>

#include "output.h"

namespace tool {
namespace {

using Json = nlohmann::ordered_json;

// With its type where the value alone would not show what differs.
std::string valueText(const Held& held, bool withType) {
    const std::string text = displayText(held.variable, held.value);
    return withType ? text + " (" + lcmpTlvTypeName(held.value.type()) + ")" : text;
}

std::string unitText(const Held& held) {
    const std::string unit = held.variable.unit;
    return unit.empty() ? "" : " " + unit;
}

std::string changeText(const Held& left, const Held& right) {
    const bool withType = left.value.type() != right.value.type();
    return left.variable.name + ": " + valueText(left, withType) + " -> " + valueText(right, withType) +
           unitText(left);
}

std::string onlyText(const Held& held, const std::string& side) {
    return "only in " + side + ": " + held.variable.name + " = " + valueText(held, false) + unitText(held);
}

void addSide(Json& object, const char* side, const Held* held) {
    if (held == nullptr)
        return;
    Json value = Json::object();
    addJsonValue(held->variable, held->value, value);
    object[side] = value;
}

Json differenceJson(const Difference& difference) {
    Json object = {{"name", difference.any().variable.name}};
    addSide(object, "left", difference.left);
    addSide(object, "right", difference.right);
    if (*difference.any().variable.unit != '\0')
        object["unit"] = difference.any().variable.unit;
    return object;
}

std::string csvValue(const Held* held) { return held == nullptr ? "" : csvField(plainText(held->value)); }

std::string csvText(const Difference& difference) {
    const char* kind = difference.left == nullptr    ? "only right"
                       : difference.right == nullptr ? "only left"
                                                     : "changed";
    return difference.any().variable.name + ',' + kind + ',' + csvValue(difference.left) + ',' +
           csvValue(difference.right);
}

void printText(std::ostream& out, const Difference& difference, const std::string& left,
               const std::string& right) {
    if (difference.left != nullptr && difference.right != nullptr)
        out << changeText(*difference.left, *difference.right) << '\n';
    else
        out << onlyText(difference.any(), difference.left != nullptr ? left : right) << '\n';
}

}  // namespace

void printDifferences(std::ostream& out, const std::string& format, const std::vector<Difference>& all,
                      const std::string& left, const std::string& right) {
    Json array = Json::array();
    if (format == "csv")
        out << "name,difference,left,right\n";
    for (const Difference& difference : all) {
        if (format == "json")
            array.push_back(differenceJson(difference));
        else if (format == "jsonl")
            out << jsonLine(differenceJson(difference));
        else if (format == "csv")
            out << csvText(difference) << '\n';
        else
            printText(out, difference, left, right);
    }
    if (format == "json")
        out << jsonText(array) << '\n';
}

}  // namespace tool
