#include "difference.h"

#include <string_view>
#include <unordered_map>

namespace tool {
namespace {

using ByName = std::unordered_map<std::string_view, const Held*>;

ByName byName(const Snapshot& snapshot) {
    ByName names;
    for (const Held& held : snapshot)
        names.emplace(held.variable.name, &held);
    return names;
}

const Held* find(const ByName& names, const Held& held) {
    const auto found = names.find(held.variable.name);
    return found == names.end() ? nullptr : found->second;
}

bool isEqual(const Element& left, const Element& right) {
    return left.type() == right.type() && left.bytes() == right.bytes();
}

// "temperature[2].value" is of "temperature" and is "temperature.value".
bool isIgnored(const std::string& name, const std::set<std::string>& ignored) {
    const std::string object = name.substr(0, name.find_first_of("[."));
    return ignored.count(object) != 0 || ignored.count(object + name.substr(name.find('.'))) != 0;
}

}  // namespace

bool Difference::moves() const {
    const auto isMoving = [](const Held* held) {
        return held != nullptr && held->variable.definition->simulation.has_value();
    };
    return isMoving(left) || isMoving(right);
}

std::vector<Difference> differences(const Snapshot& left, const Snapshot& right,
                                    const std::set<std::string>& ignored) {
    std::vector<Difference> all;
    const auto add = [&](const Difference& difference) {
        if (!isIgnored(difference.any().variable.name, ignored))
            all.push_back(difference);
    };
    const ByName onRight = byName(right);
    for (const Held& held : left) {
        const Held* other = find(onRight, held);
        if (other == nullptr || !isEqual(held.value, other->value))
            add({&held, other});
    }
    const ByName onLeft = byName(left);
    for (const Held& held : right) {
        if (find(onLeft, held) == nullptr)
            add({nullptr, &held});
    }
    return all;
}

}  // namespace tool
