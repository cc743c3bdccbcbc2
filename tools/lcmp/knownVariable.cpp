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

std::map<long long, std::string> wordsOf(const LcmpModelVariable& variable) {
    std::map<long long, std::string> words;
    for (const LcmpModelWord& word : variable.words) {
        if (const auto* number = std::get_if<unsigned long long>(&word.number))
            words[static_cast<long long>(*number)] = word.word;
        else if (const auto* whole = std::get_if<long long>(&word.number))
            words[*whole] = word.word;
    }
    return words;
}

KnownVariable knownVariable(unsigned int oid, const LcmpModel& model) {
    const Variable variable = variableOfOid(oid, model);
    if (variable.definition == nullptr)
        return {};
    return {variable.name, variable.unit, wordsOf(*variable.definition)};
}

}  // namespace tool
