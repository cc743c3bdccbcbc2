#include "modelCandidates.h"

#include <algorithm>
#include <cctype>
#include <functional>
#include <iterator>

#include "lcmpPropertyBase.h"

namespace tool {
namespace {

using Candidates = std::vector<Candidate>;
using Wanted = std::function<bool(const LcmpModelVariable&)>;

bool beginsWith(const std::string& text, const std::string& beginning) {
    return text.compare(0, beginning.size(), beginning) == 0;
}

Candidates beginningWith(const std::string& word, const Candidates& all) {
    Candidates found;
    std::copy_if(all.begin(), all.end(), std::back_inserter(found),
                 [&word](const Candidate& candidate) { return beginsWith(candidate.text, word); });
    return found;
}

std::string descriptionOf(const LcmpModelVariable& variable) {
    std::string text = lcmpTlvTypeName(variable.type);
    if (!variable.unit.empty())
        text += ", " + variable.unit;
    if (!variable.description.empty())
        text += ", " + variable.description;
    return text;
}

std::string rowOf(const LcmpModelObject& object, unsigned int row) {
    return object.name + "[" + std::to_string(row) + "].";
}

Candidates variablesOf(const LcmpModelObject& object, const std::string& prefix, const Wanted& wanted) {
    Candidates all;
    for (const LcmpModelVariable& variable : object.variables) {
        if (wanted(variable))
            all.push_back({prefix + variable.name, descriptionOf(variable)});
    }
    return all;
}

Candidates rowsOf(const LcmpModelObject& object) {
    Candidates all;
    for (unsigned int row = 0; row < object.rows; ++row)
        all.push_back({rowOf(object, row), object.description});
    return all;
}

Candidates objectsOf(const LcmpModel& model, const Wanted& wanted) {
    Candidates all;
    for (const LcmpModelObject& object : model.objects) {
        if (std::any_of(object.variables.begin(), object.variables.end(), wanted))
            all.push_back({object.name + (object.isTable() ? "[" : "."), object.description});
    }
    return all;
}

// Whether the step is a row of this table, "temperature[2]."; the card may have more rows than its model.
bool isRow(const std::string& step, const LcmpModelObject& table) {
    const auto digits = step.substr(std::min(table.name.size() + 1, step.size()));
    const auto end = digits.find_first_not_of("0123456789");
    return end != 0 && digits.substr(std::min(end, digits.size())) == "].";
}

// What stands one step below "control.", "temperature[" or "temperature[2]."; nothing below a variable.
Candidates below(const std::string& step, const LcmpModel& model, const Wanted& wanted) {
    const LcmpModelObject* object = lcmpModelFindObject(model, step.substr(0, step.find_first_of(".[")));
    if (object == nullptr)
        return {};
    if (object->isTable() && step == object->name + "[")
        return rowsOf(*object);
    const bool isOwner = object->isTable() ? isRow(step, *object) : step == object->name + ".";
    return isOwner ? variablesOf(*object, step, wanted) : Candidates();
}

Candidates stepsFrom(const std::string& word, const LcmpModel& model, const Wanted& wanted) {
    const auto step = word.find_last_of(".[");
    Candidates found =
        beginningWith(word, step == std::string::npos ? objectsOf(model, wanted)
                                                      : below(word.substr(0, step + 1), model, wanted));
    while (found.size() == 1) {
        const Candidates further = below(found[0].text, model, wanted);
        if (further.empty())
            break;
        found = further;
    }
    return found;
}

Candidates typesFor(const std::string& word) {
    const std::string oid = word.substr(0, word.find(':') + 1);
    Candidates all;
    for (int type = UINT64; type <= MAC_ADDRESS; ++type)
        all.push_back({oid + lcmpTlvTypeName(static_cast<LcmpTlvType>(type)), ""});
    return beginningWith(word, all);
}

bool hasType(const std::string& word) { return word.find(':') != std::string::npos; }

std::string defaultMark(const LcmpModelVariable& variable, const LcmpModelValue& value) {
    return value == variable.defaultValue ? "default" : "";
}

// The numbers of a range that are few enough to be read.
std::vector<LcmpModelValue> numbersOf(const LcmpModelRange& range) {
    constexpr unsigned long long few = 16;
    std::vector<LcmpModelValue> numbers;
    const auto* low = std::get_if<unsigned long long>(&range.low);
    const auto* high = std::get_if<unsigned long long>(&range.high);
    if (low == nullptr || high == nullptr)
        return range.low == range.high ? std::vector<LcmpModelValue>{range.low} : numbers;
    for (unsigned long long above = 0; *high - *low < few && above <= *high - *low; ++above)
        numbers.emplace_back(*low + above);
    return numbers;
}

Candidates valuesOf(const LcmpModelVariable& variable) {
    Candidates all;
    for (const LcmpModelWord& word : variable.words)
        all.push_back({word.word, lcmpModelValueText(variable.type, word.number)});
    if (!all.empty())
        return all;
    if (variable.type == BOOLEAN)
        return {{"true", ""}, {"false", ""}};
    for (const LcmpModelRange& range : variable.allow) {
        for (const LcmpModelValue& value : numbersOf(range))
            all.push_back({lcmpModelValueText(variable.type, value), defaultMark(variable, value)});
    }
    return all;
}

Candidates valuesFor(const std::string& word, const LcmpModel& model) {
    const std::string assigned = word.substr(0, word.find('=') + 1);
    LcmpModelCell cell;
    std::string problem;
    if (!lcmpModelFindName(model, word.substr(0, assigned.size() - 1), cell, problem))
        return {};
    Candidates all = valuesOf(*cell.variable);
    for (Candidate& value : all)
        value.text.insert(0, assigned);
    return beginningWith(word, all);
}

}  // namespace

Candidates nameCandidates(const std::string& word, const LcmpModel& model) {
    if (hasType(word))
        return typesFor(word);
    return stepsFrom(word, model, [](const LcmpModelVariable&) { return true; });
}

Candidates assignmentCandidates(const std::string& word, const LcmpModel& model) {
    if (word.find('=') != std::string::npos)
        return valuesFor(word, model);
    const auto isWritable = [](const LcmpModelVariable& variable) {
        return variable.access == IFC_CARD_VAR_WRITABLE;
    };
    Candidates found = hasType(word) ? typesFor(word) : stepsFrom(word, model, isWritable);
    for (Candidate& candidate : found) {
        if (candidate.text.find_last_of(".[") != candidate.text.size() - 1)
            candidate.text += '=';
    }
    return found;
}

Candidates objectCandidates(const std::string& word, const LcmpModel& model) {
    Candidates all;
    for (const LcmpModelObject& object : model.objects)
        all.push_back({object.name, object.description});
    return beginningWith(word, all);
}

}  // namespace tool
