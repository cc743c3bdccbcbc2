#include "detail/fields.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <tuple>

namespace lcmpdetail {
namespace {

constexpr std::size_t maxErrors = 100;
constexpr std::size_t maxNameBytes = 63;
constexpr std::size_t maxShownBytes = 60;

// A text of the file in a message: not all of a long one.
std::string shown(const std::string& text) {
    const bool isLong = text.size() > maxShownBytes;
    return "'" + text.substr(0, maxShownBytes) + (isLong ? "..." : "") + "'";
}

std::string listed(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words)
        text += (text.empty() ? "" : ", ") + word;
    return text;
}

bool isLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_'; }

bool isDigit(char c) { return c >= '0' && c <= '9'; }

bool isName(const std::string& text) {
    return !text.empty() && text.size() <= maxNameBytes && isLetter(text[0]) &&
           std::all_of(text.begin(), text.end(), [](char c) { return isLetter(c) || isDigit(c); });
}

}  // namespace

void Faults::add(const YamlPlace& place, const std::string& message) {
    m_errors.push_back({m_file, place.line, place.column, message});
}

std::vector<LcmpModelError> Faults::sorted() const {
    std::vector<LcmpModelError> errors = m_errors;
    std::stable_sort(errors.begin(), errors.end(), [](const LcmpModelError& a, const LcmpModelError& b) {
        return std::tie(a.line, a.column) < std::tie(b.line, b.column);
    });
    if (errors.size() > maxErrors) {
        const std::string rest = std::to_string(errors.size() - maxErrors);
        errors.resize(maxErrors);
        errors.push_back({m_file, 0, 0, "and " + rest + " more errors"});
    }
    return errors;
}

// ---------------------------------------------------------------- maps

Fields::Fields(const YamlNode& map, std::string what, const std::vector<std::string>& keys, Faults& faults)
    : m_map(map), m_what(std::move(what)), m_faults(faults) {
    if (!map.isMap()) {
        faults.add(map.place, m_what + " is a map, and here is " + kindText(map));
        return;
    }
    for (std::size_t i = 0; i + 1 < map.items.size(); i += 2) {
        checkKey(map.items[i], keys);
        m_entries.emplace(map.items[i].text, &map.items[i + 1]);
    }
}

void Fields::checkKey(const YamlNode& key, const std::vector<std::string>& keys) {
    if (!key.isScalar())
        return m_faults.add(key.place, std::string("a key is a word, and here is ") + kindText(key));
    if (find(key.text) != nullptr)
        return m_faults.add(key.place, "the key " + shown(key.text) + " a second time");
    if (std::find(keys.begin(), keys.end(), key.text) != keys.end())
        return;
    const std::string nearest = lcmpModelNearestName(key.text, keys);
    m_faults.add(key.place,
                 m_what + " has no key " + shown(key.text) +
                     (nearest.empty() ? "; it has " + listed(keys) : "; did you mean " + nearest + "?"));
}

const YamlNode* Fields::find(const std::string& key) const {
    const auto entry = m_entries.find(key);
    return entry == m_entries.end() ? nullptr : entry->second;
}

const YamlNode* Fields::require(const std::string& key) const {
    const YamlNode* node = find(key);
    if (node == nullptr && m_map.isMap())
        m_faults.add(m_map.place, m_what + " needs the key '" + key + "'");
    return node;
}

// ---------------------------------------------------------------- values

bool readText(const YamlNode* node, const std::string& key, Faults& faults, std::string& text) {
    if (node == nullptr)
        return false;
    if (!node->isScalar()) {
        faults.add(node->place, key + " is a single value, and here is " + kindText(*node));
        return false;
    }
    text = node->text;
    return true;
}

bool readNumber(const YamlNode* node, const std::string& key, unsigned int low, unsigned int high,
                Faults& faults, unsigned int& number) {
    std::string text;
    if (!readText(node, key, faults, text))
        return false;
    LcmpModelValue value;
    std::string problem;
    const std::string bounds = std::to_string(low) + " to " + std::to_string(high);
    if (!lcmpModelParseValue(INT64, text, value, problem)) {
        faults.add(node->place, key + " is a number from " + bounds + ", not " + shown(text));
        return false;
    }
    const long long read = std::get<long long>(value);
    if (read < low || read > high) {
        faults.add(node->place, key + " " + text + " is beyond " + bounds);
        return false;
    }
    number = static_cast<unsigned int>(read);
    return true;
}

bool readFlag(const YamlNode* node, const std::string& key, Faults& faults, bool& flag) {
    std::string text;
    if (!readText(node, key, faults, text))
        return false;
    if (text != "true" && text != "false") {
        faults.add(node->place, key + " is true or false, not " + shown(text));
        return false;
    }
    flag = text == "true";
    return true;
}

bool readValue(const YamlNode& node, const std::string& key, LcmpTlvType type, Faults& faults,
               LcmpModelValue& value) {
    std::string text;
    if (!readText(&node, key, faults, text))
        return false;
    std::string problem;
    if (lcmpModelParseValue(type, text, value, problem))
        return true;
    faults.add(node.place, key + ": " + problem);
    return false;
}

bool readDecimal(const YamlNode& node, const std::string& key, Faults& faults, double& number) {
    std::string text;
    if (!readText(&node, key, faults, text))
        return false;
    double value = 0;
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || rest != end || !std::isfinite(value)) {
        faults.add(node.place, key + " is a number, not " + shown(text));
        return false;
    }
    number = value;
    return true;
}

bool readName(const YamlNode* node, Faults& faults, std::string& name) {
    std::string text;
    if (!readText(node, "name", faults, text))
        return false;
    if (!isName(text)) {
        faults.add(node->place, "the name " + shown(text) +
                                    " is none: letters, digits and _, not a digit first, at most 63 of them");
        return false;
    }
    name = text;
    return true;
}

}  // namespace lcmpdetail
