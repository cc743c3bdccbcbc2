#include "knownVariable.h"

#include <charconv>

#include "standardNames.h"

namespace tool {

std::string KnownVariable::wordFor(const Element& value) const {
    if (words.empty() || !hasLengthOfType(value))
        return "";
    long long number = 0;
    const std::string text = plainText(value);
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    const auto found = words.find(number);
    return error == std::errc() && rest == end && found != words.end() ? found->second : "";
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

KnownVariable knownVariable(unsigned int oid) {
    const Variable variable = variableOfOid(oid);
    if (variable.definition == nullptr)
        return {};
    return {variable.name, variable.unit, wordsOf(*variable.definition)};
}

}  // namespace tool
