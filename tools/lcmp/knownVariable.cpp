#include "knownVariable.h"

#include <charconv>
#include <optional>

#include "standardNames.h"

namespace tool {
namespace {

// None for what is no number, or none that a word can stand for.
std::optional<long long> numberOf(const Element& value) {
    if (value.type() > BOOLEAN || !hasLengthOfType(value))
        return std::nullopt;
    if (value.type() == BOOLEAN)
        return value.tlv().getValueAsBool() ? 1 : 0;
    long long number = 0;
    const std::string text = plainText(value);
    const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() ? std::optional<long long>(number) : std::nullopt;
}

}  // namespace

std::string KnownVariable::wordFor(const Element& value) const {
    const std::optional<long long> number = words.empty() ? std::nullopt : numberOf(value);
    const auto found = number ? words.find(*number) : words.end();
    return found != words.end() ? found->second : "";
}

KnownVariable knownVariable(unsigned int oid) {
    const Variable variable = variableOfOid(oid);
    if (variable.definition == nullptr)
        return {};
    return {variable.name, variable.unit, {}};
}

}  // namespace tool
