#include <array>
#include <charconv>
#include <cstdio>

#include "detail/utf8.h"
#include "lcmpModel.h"

namespace {

using lcmpdetail::utf8At;

using Shape = LcmpModelSimulation::Shape;

std::string hexEscape(unsigned char byte) {
    std::array<char, 8> text{};
    std::snprintf(text.data(), text.size(), "\\x%02X", byte);
    return text.data();
}

// In double quotes; bytes that are no UTF-8, which YAML cannot hold, as the replacement character.
std::string quoted(const std::string& text) {
    std::string quotedText = "\"";
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t size = utf8At(text, at);
        const auto byte = static_cast<unsigned char>(text[at]);
        if (size == 0)
            quotedText += "\xEF\xBF\xBD";
        else if (byte == '"' || byte == '\\')
            quotedText += std::string("\\") + text[at];
        else if (size == 1 && (byte < 0x20 || byte == 0x7F))
            quotedText += hexEscape(byte);
        else
            quotedText += text.substr(at, size);
        at += size == 0 ? 1 : size;
    }
    return quotedText + '"';
}

std::string number(double value) {
    std::array<char, 32> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), value).ptr;
    return {text.data(), end};
}

// "[a, b]"
template <typename Items, typename TextOf>
std::string list(const Items& items, TextOf textOf) {
    std::string text;
    for (const auto& item : items)
        text += (text.empty() ? "" : ", ") + textOf(item);
    return "[" + text + "]";
}

// One for all rows alone, one for each as a list.
std::string numbers(const std::vector<double>& all) {
    return all.size() == 1 ? number(all[0]) : list(all, number);
}

class VariableWriter {
public:
    VariableWriter(const LcmpModelObject& object, const LcmpModelVariable& variable)
        : m_object(object), m_variable(variable) {}

    std::string text() {
        m_text = "{id: " + std::to_string(m_variable.id);
        add("name", m_variable.name);
        add("type", lcmpTlvTypeName(m_variable.type));
        add("access", m_variable.access == IFC_CARD_VAR_READ_ONLY ? "read-only" : "writable");
        if (m_variable.defaultValue != lcmpModelZero(m_variable.type))
            add("default", valueText(m_variable.defaultValue));
        addRules();
        if (m_variable.eventable)
            add("eventable", "true");
        addQuoted("unit", m_variable.unit);
        addQuoted("description", m_variable.description);
        addWords();
        if (m_variable.simulation)
            addSimulation(*m_variable.simulation);
        addFirstValues();
        return m_text + "}";
    }

private:
    void add(const char* key, const std::string& value) { m_text += std::string(", ") + key + ": " + value; }

    void addQuoted(const char* key, const std::string& value) {
        if (!value.empty())
            add(key, quoted(value));
    }

    std::string valueText(const LcmpModelValue& value) const {
        const std::string text = lcmpModelValueText(m_variable.type, value);
        return std::holds_alternative<std::string>(value) ? quoted(text) : text;
    }

    void addRules() {
        if (m_variable.min)
            add("min", valueText(*m_variable.min));
        if (m_variable.max)
            add("max", valueText(*m_variable.max));
        if (!m_variable.allow.empty())
            add("allow", list(m_variable.allow, [this](const LcmpModelRange& range) {
                    const std::string high = range.low == range.high ? "" : "-" + valueText(range.high);
                    return valueText(range.low) + high;
                }));
        if (m_variable.maxLength)
            add("maxLength", std::to_string(*m_variable.maxLength));
        if (m_variable.exactLength)
            add("length", std::to_string(*m_variable.exactLength));
        addQuoted("pattern", m_variable.pattern);
    }

    void addWords() {
        std::string words;
        for (const LcmpModelWord& word : m_variable.words)
            words += (words.empty() ? "" : ", ") + valueText(word.number) + ": " + quoted(word.word);
        if (!words.empty())
            add("names", "{" + words + "}");
    }

    void addSimulation(const LcmpModelSimulation& simulation) {
        static constexpr std::array<const char*, 5> shapes = {"sine", "ramp", "walk", "steps", "counter"};
        std::string text = std::string("{shape: ") + shapes.at(static_cast<std::size_t>(simulation.shape));
        const bool hasRange = simulation.shape <= Shape::walk;
        if (hasRange)
            text += ", low: " + numbers(simulation.low) + ", high: " + numbers(simulation.high);
        if (simulation.shape == Shape::walk)
            text += ", step: " + numbers(simulation.step);
        if (simulation.shape == Shape::counter)
            text += ", rate: " + number(simulation.rate);
        if (simulation.shape != Shape::walk && simulation.shape != Shape::counter)
            text += ", period: " + std::to_string(simulation.period.count()) + "ms";
        if (simulation.shape == Shape::steps)
            text += ", values: " +
                    list(simulation.values, [this](const auto& value) { return valueText(value); });
        if (simulation.seed != 0)
            text += ", seed: " + std::to_string(simulation.seed);
        add("simulate", text + "}");
    }

    void addFirstValues() {
        if (m_variable.values.empty())
            return;
        if (!m_object.isTable())
            return add("value", valueText(m_variable.values.begin()->second));
        std::string rows;
        for (const auto& [row, value] : m_variable.values)
            rows += (rows.empty() ? "" : ", ") + std::to_string(row) + ": " + valueText(value);
        add("values", "{" + rows + "}");
    }

    const LcmpModelObject& m_object;
    const LcmpModelVariable& m_variable;
    std::string m_text;
};

std::string objectText(const LcmpModelObject& object) {
    std::string text = "  - name: " + object.name + "\n    kind: " + (object.isTable() ? "table" : "scalar") +
                       "\n    id: " + std::to_string(object.id) +
                       "\n    common: " + (object.common ? "true" : "false") + "\n";
    if (object.isTable())
        text += "    rows: " + std::to_string(object.rows) + "\n";
    if (!object.description.empty())
        text += "    description: " + quoted(object.description) + "\n";
    text += object.variables.empty() ? "    variables: []\n" : "    variables:\n";
    for (const LcmpModelVariable& variable : object.variables)
        text += "      - " + VariableWriter(object, variable).text() + "\n";
    return text;
}

}  // namespace

std::string lcmpModelToYaml(const LcmpModel& model) {
    std::string text = "card: " + quoted(model.card) + "\n";
    if (!model.description.empty())
        text += "description: " + quoted(model.description) + "\n";
    text += model.objects.empty() ? "objects: []\n" : "objects:\n";
    for (const LcmpModelObject& object : model.objects)
        text += objectText(object);
    return text;
}
