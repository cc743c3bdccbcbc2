#include "wiresharkNames.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "knownVariable.h"
#include "standardNames.h"

namespace tool {
namespace {

std::string quoted(const std::string& text) {
    std::string all = "\"";
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        std::array<char, 5> escaped{};
        if (byte < 0x20 || byte == 0x7F)
            (void)std::snprintf(escaped.data(), escaped.size(), "\\%03u", byte);
        else if (c == '"' || c == '\\')
            (void)std::snprintf(escaped.data(), escaped.size(), "\\%c", c);
        else
            escaped[0] = c;
        all += escaped.data();
    }
    return all + '"';
}

std::string wordsText(const std::map<long long, std::string>& words) {
    std::string text;
    for (const auto& [number, word] : words)
        text += (text.empty() ? "" : ", ") + ("[" + std::to_string(number) + "] = ") + quoted(word);
    return "{" + text + "}";
}

std::string lineOf(const NamedVariable& variable) {
    std::string line = "        [" + oidText(variable.oid) + "] = {object = " + quoted(variable.object) +
                       ", name = " + quoted(variable.variable);
    if (!variable.unit.empty())
        line += ", unit = " + quoted(variable.unit);
    if (!variable.words.empty())
        line += ", words = " + wordsText(variable.words);
    return line + "},\n";
}

}  // namespace

std::string wiresharkNames(const std::string& card, const std::vector<NamedVariable>& variables) {
    std::string text =
        "-- The names of a card's variables, for lcmp.lua. Written by `lcmp model generate --wireshark`.\n"
        "return {\n"
        "    card = " +
        quoted(card) +
        ",\n"
        "    variables = {\n";
    for (const NamedVariable& variable : variables)
        text += lineOf(variable);
    return text +
           "    },\n"
           "}\n";
}

std::vector<NamedVariable> namedVariables(const LcmpModel& model) {
    std::vector<NamedVariable> all;
    for (const LcmpModelObject& object : model.objects) {
        for (const LcmpModelVariable& variable : object.variables)
            all.push_back({lcmpModelOid({&object, &variable, 0}), object.name, variable.name, variable.unit,
                           wordsOf(variable)});
    }
    std::sort(all.begin(), all.end(),
              [](const NamedVariable& a, const NamedVariable& b) { return a.oid < b.oid; });
    return all;
}

}  // namespace tool
