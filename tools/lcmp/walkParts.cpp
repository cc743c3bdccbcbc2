#include "walkParts.h"

#include <algorithm>
#include <charconv>

#include "exitStatus.h"
#include "nearestName.h"

namespace tool {
namespace {

constexpr unsigned int lastRowOfAnyTable = 16383;

[[noreturn]] void unresolved(const std::string& text) { throw Failure(ExitStatus::unresolved, text); }

const LcmpModelObject& findObject(const LcmpModel& model, const std::string& name) {
    if (const LcmpModelObject* object = lcmpModelFindObject(model, name))
        return *object;
    const auto dot = name.find('.');
    if (dot != std::string::npos &&
        lcmpModelFindObject(model, name.substr(0, name.find_first_of(".["))) != nullptr)
        unresolved("'" + name + "' is one variable, and here objects are read; lcmp get reads variables");
    std::vector<std::string> names;
    std::string list;
    for (const LcmpModelObject& object : model.objects) {
        names.push_back(object.name);
        list += (list.empty() ? "; there are " : ", ") + object.name;
    }
    const std::string nearest = nearestName(name, names);
    unresolved("there is no object '" + name + "'" + (nearest.empty() ? list : suggestion(nearest)));
}

unsigned int parseRow(const std::string& name, const std::string& text) {
    unsigned int row = 0;
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, row);
    if (error != std::errc() || rest != end || row > lastRowOfAnyTable)
        unresolved("'" + name + "': a row is a number from 0 to " + std::to_string(lastRowOfAnyTable));
    return row;
}

// "temperature[2]"
WalkPart resolveRow(const LcmpModel& model, const std::string& name, std::size_t bracket) {
    const LcmpModelObject& object = findObject(model, name.substr(0, bracket));
    if (!object.isTable())
        unresolved("'" + name + "': " + object.name + " is a scalar and has no rows");
    const unsigned int row = parseRow(name, name.substr(bracket + 1, name.size() - bracket - 2));
    return {&object, row, row};
}

WalkPart wholeObject(const LcmpModelObject& object, const WantedRows& rows) {
    if (!object.isTable())
        return {&object, 0, 0};
    return {&object, rows.from.value_or(0), rows.to.value_or(object.rows - 1)};
}

// A table that nobody named is not asked for more than its model says.
WalkPart unnamedObject(const LcmpModelObject& object, const WantedRows& rows) {
    WalkPart part = wholeObject(object, rows);
    part.last = std::min(part.last, object.rows - 1);
    return part;
}

bool isEmpty(const WalkPart& part) { return part.first > part.last || part.object->variables.empty(); }

}  // namespace

std::vector<WalkPart> allParts(const LcmpModel& model) {
    std::vector<WalkPart> parts;
    for (const LcmpModelObject& object : model.objects)
        parts.push_back(wholeObject(object, {}));
    parts.erase(std::remove_if(parts.begin(), parts.end(), isEmpty), parts.end());
    return parts;
}

std::vector<WalkPart> resolveParts(const LcmpModel& model, const std::vector<std::string>& names,
                                   const WantedRows& rows) {
    if (rows.from && rows.to && *rows.from > *rows.to)
        throw Failure(ExitStatus::usage, "--from " + std::to_string(*rows.from) + " lies behind --to " +
                                             std::to_string(*rows.to));
    std::vector<WalkPart> parts;
    for (const std::string& name : names) {
        const auto bracket = name.find('[');
        const bool isRow = bracket != std::string::npos && name.back() == ']';
        parts.push_back(isRow ? resolveRow(model, name, bracket)
                              : wholeObject(findObject(model, name), rows));
    }
    for (const LcmpModelObject& object : model.objects) {
        if (names.empty())
            parts.push_back(unnamedObject(object, rows));
    }
    parts.erase(std::remove_if(parts.begin(), parts.end(), isEmpty), parts.end());
    if (parts.empty())
        throw Failure(ExitStatus::usage, rows.from ? "--from " + std::to_string(*rows.from) +
                                                         ": nothing that is asked for has so many rows"
                                                   : "the model has nothing to read");
    return parts;
}

}  // namespace tool
