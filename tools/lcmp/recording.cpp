#include "recording.h"

#include <algorithm>

#include "snapshot.h"

namespace tool {
namespace {

const LcmpModelValue& valueOf(const LcmpModelVariable& variable, unsigned int row) {
    const auto value = variable.values.find(row);
    return value == variable.values.end() ? variable.defaultValue : value->second;
}

bool load(const std::string& text, LcmpModel& model, std::string& problem) {
    std::vector<LcmpModelError> errors;
    if (lcmpModelLoadText(text, "recording", model, errors))
        return true;
    problem = lcmpModelErrorText(errors.at(0));
    return false;
}

// "" where the model's variable can hold the value.
std::string whyNotHeld(const LcmpModelVariable& variable, const Element& element) {
    if (element.type() != static_cast<unsigned int>(variable.type))
        return std::string("is of type ") + lcmpTlvTypeName(element.type()) + " on the card and " +
               lcmpTlvTypeName(variable.type) + " in the model";
    const bool fits = heldValue(element) && (variable.type != BYTE_ARRAY || !variable.exactLength ||
                                             *variable.exactLength == element.length());
    return fits ? "" : "has " + std::to_string(element.length()) + " bytes, which the model does not allow";
}

}  // namespace

Recording::Recording(LcmpModel& model) : m_model(model) {
    for (LcmpModelObject& object : model.objects) {
        for (LcmpModelVariable& variable : object.variables)
            variable.values.clear();
    }
}

void Recording::beginPart(const WalkPart& part) {
    m_object = &m_model.objects[static_cast<std::size_t>(part.object - m_model.objects.data())];
}

void Recording::take(const WalkCell& cell) {
    if (!cell.outcome->value)
        return;
    LcmpModelVariable& variable = m_object->variables[cell.column];
    const std::string problem = whyNotHeld(variable, *cell.outcome->value);
    if (!problem.empty())
        return m_problems.push_back(cell.variable.name + " " + problem);
    LcmpModelValue value = *heldValue(*cell.outcome->value);
    if (value != variable.defaultValue)
        variable.values[cell.row] = std::move(value);
}

// What a file of text makes of a value is seen best when it is read again.
std::string Recording::yaml() {
    std::string text = lcmpModelToYaml(m_model);
    LcmpModel loaded;
    std::string problem;
    if (!load(text, loaded, problem))
        throw Failure(ExitStatus::localFailure, "a model cannot hold what the card has: " + problem);
    return dropDifferences(loaded) ? lcmpModelToYaml(m_model) : text;
}

bool Recording::dropDifferences(const LcmpModel& loaded) {
    const std::size_t before = m_problems.size();
    for (std::size_t i = 0; i < m_model.objects.size(); ++i) {
        LcmpModelObject& object = m_model.objects[i];
        for (std::size_t column = 0; column < object.variables.size(); ++column)
            dropDifferences(object, object.variables[column], loaded.objects[i].variables[column]);
    }
    return m_problems.size() != before;
}

void Recording::dropDifferences(const LcmpModelObject& object, LcmpModelVariable& kept,
                                const LcmpModelVariable& loaded) {
    for (auto value = kept.values.begin(); value != kept.values.end();) {
        if (value->second == valueOf(loaded, value->first)) {
            ++value;
            continue;
        }
        m_problems.push_back(lcmpModelName({&object, &kept, value->first}) +
                             " has bytes that are no text, which a model cannot hold");
        value = kept.values.erase(value);
    }
}

}  // namespace tool
