#include "detail/variableReader.h"

#include <cstdint>
#include <set>

#include "detail/rules.h"
#include "detail/simulationReader.h"

namespace lcmpdetail {
namespace {

constexpr unsigned int maxColumn = 255;
constexpr unsigned int maxVariableId = 0x7FFFFF;
constexpr unsigned int maxValueBytes = 65535;

const std::vector<std::string>& variableKeys() {
    static const std::vector<std::string> keys = {
        "id",     "name",    "type",      "access", "default",     "min",   "max",      "allow", "maxLength",
        "length", "pattern", "eventable", "unit",   "description", "names", "simulate", "value", "values"};
    return keys;
}

class VariableReader {
public:
    VariableReader(const YamlNode& node, const LcmpModelObject& object, std::uint64_t& room, Faults& faults)
        : m_fields(node, "a variable", variableKeys(), faults),
          m_object(object),
          m_room(room),
          m_faults(faults) {}

    VariableRead read() {
        readIdentity();
        readAccess();
        readFlag(m_fields.find("eventable"), "eventable", m_faults, m_variable.eventable);
        readText(m_fields.find("unit"), "unit", m_faults, m_variable.unit);
        readText(m_fields.find("description"), "description", m_faults, m_variable.description);
        // Without the type nothing can be said of values and rules.
        if (readType()) {
            readNumberRules();
            readTextRules();
            readWords();
            readDefault();
            readFirstValues();
            if (const YamlNode* node = m_fields.find("simulate"))
                readSimulation(*node, m_object.rows, m_variable, m_faults);
        }
        return m_read;
    }

private:
    // ------------------------------------------------------------ what it is

    void readIdentity() {
        const YamlNode* id = m_fields.require("id");
        const unsigned int highest = m_object.isTable() ? maxColumn : maxVariableId;
        m_read.idKnown = readNumber(id, "id", 0, highest, m_faults, m_variable.id);
        m_read.idPlace = id != nullptr ? id->place : m_fields.place();
        const YamlNode* name = m_fields.require("name");
        m_read.nameKnown = readName(name, m_faults, m_variable.name);
        m_read.namePlace = name != nullptr ? name->place : m_fields.place();
    }

    void readAccess() {
        const YamlNode* node = m_fields.require("access");
        std::string text;
        if (!readText(node, "access", m_faults, text))
            return;
        if (text != "writable" && text != "read-only")
            m_faults.add(node->place, "access is writable or read-only, not '" + text + "'");
        m_variable.access = text == "writable" ? IFC_CARD_VAR_WRITABLE : IFC_CARD_VAR_READ_ONLY;
    }

    bool readType() {
        const YamlNode* node = m_fields.require("type");
        std::string text;
        if (!readText(node, "type", m_faults, text))
            return false;
        if (lcmpModelParseType(text, m_variable.type))
            return true;
        std::vector<std::string> names;
        for (unsigned int type = UINT64; type <= MAC_ADDRESS; ++type)
            names.emplace_back(lcmpTlvTypeName(type));
        const std::string nearest = lcmpModelNearestName(text, names);
        m_faults.add(node->place, "there is no type '" + text + "'" +
                                      (nearest.empty() ? "; there are " + lcmpModelTypeNames()
                                                       : "; did you mean " + nearest + "?"));
        return false;
    }

    // ------------------------------------------------------------ rules

    // A rule that the type does not have is a fault.
    const YamlNode* findRule(const std::string& key, bool suits) {
        const YamlNode* node = m_fields.find(key);
        if (node == nullptr || suits)
            return node;
        m_faults.add(node->place,
                     std::string("a ") + lcmpTlvTypeName(m_variable.type) + " takes no '" + key + "'");
        return nullptr;
    }

    void readNumberRules() {
        const bool suits = isIntegerType(m_variable.type);
        readBound(findRule("min", suits), "min", m_variable.min);
        const YamlNode* max = findRule("max", suits);
        readBound(max, "max", m_variable.max);
        if (m_variable.min && m_variable.max && lcmpModelLess(*m_variable.max, *m_variable.min))
            m_faults.add(max->place, "max is below min");
        const YamlNode* allow = findRule("allow", suits);
        if (allow == nullptr)
            return;
        if (!allow->isList() || allow->items.empty())
            return m_faults.add(allow->place, "allow is a list of numbers and ranges, like [0-3, 128]");
        for (const YamlNode& item : allow->items)
            readRange(item);
        const auto ranges = allowedRanges(m_variable);  // none where all three were at fault themselves
        if (ranges && ranges->empty() && !m_variable.allow.empty())
            m_faults.add(allow->place, "min and max leave nothing of allow");
    }

    void readBound(const YamlNode* node, const char* key, std::optional<LcmpModelValue>& bound) {
        LcmpModelValue value;
        if (node != nullptr && readValue(*node, key, m_variable.type, m_faults, value))
            bound = value;
    }

    // "7", "0-3", "-5--1".
    void readRange(const YamlNode& node) {
        std::string text;
        if (!readText(&node, "allow", m_faults, text))
            return;
        const auto dash = text.find('-', 1);
        LcmpModelRange range;
        YamlNode part = node;
        part.text = text.substr(0, dash);
        if (!readValue(part, "allow", m_variable.type, m_faults, range.low))
            return;
        part.text = dash == std::string::npos ? text : text.substr(dash + 1);
        if (!readValue(part, "allow", m_variable.type, m_faults, range.high))
            return;
        if (lcmpModelLess(range.high, range.low))
            return m_faults.add(node.place, "the range " + text + " ends below its beginning");
        m_variable.allow.push_back(range);
    }

    void readTextRules() {
        const bool isText = m_variable.type == STRING;
        readLength(findRule("maxLength", isText), "maxLength", m_variable.maxLength);
        const YamlNode* length = findRule("length", isText || m_variable.type == BYTE_ARRAY);
        readLength(length, "length", m_variable.exactLength);
        if (m_variable.exactLength && m_variable.maxLength)
            m_faults.add(length->place, "length and maxLength exclude each other");
        const YamlNode* pattern = findRule("pattern", isText);
        if (!readText(pattern, "pattern", m_faults, m_variable.pattern))
            return;
        const std::string problem = patternProblem(m_variable.pattern);
        if (problem.empty())
            return;
        m_faults.add(pattern->place, "pattern: " + problem);
        m_variable.pattern.clear();
    }

    void readLength(const YamlNode* node, const char* key, std::optional<unsigned int>& length) {
        unsigned int number = 0;
        if (readNumber(node, key, 0, maxValueBytes, m_faults, number))
            length = number;
    }

    void readWords() {
        const YamlNode* node =
            findRule("names", isIntegerType(m_variable.type) || m_variable.type == BOOLEAN);
        if (node == nullptr)
            return;
        if (!node->isMap())
            return m_faults.add(node->place, std::string("names is a map of numbers to words, and here is ") +
                                                 kindText(*node));
        std::set<LcmpModelValue> numbers;
        std::set<std::string> words;
        for (std::size_t i = 0; i + 1 < node->items.size(); i += 2) {
            const YamlNode& number = node->items[i];
            const YamlNode& word = node->items[i + 1];
            LcmpModelWord read;
            if (!readValue(number, "names", m_variable.type, m_faults, read.number) ||
                !readText(&word, "the word", m_faults, read.word))
                continue;
            if (!numbers.insert(read.number).second)
                m_faults.add(number.place, "the number " + number.text + " has a word already");
            if (!words.insert(read.word).second)
                m_faults.add(word.place, "the word '" + read.word + "' is that of another number already");
            m_variable.words.push_back(read);
        }
    }

    // ------------------------------------------------------------ values

    // Texts are held once for each row that has them. False: there is no room left for so many bytes.
    bool hold(const YamlPlace& place, const LcmpModelValue& value, unsigned int rows) {
        const auto* bytes = std::get_if<std::string>(&value);
        const std::uint64_t size = bytes == nullptr ? 0 : std::uint64_t{bytes->size()} * rows;
        if (size > m_room) {
            m_faults.add(place, "the texts of all rows have more than " +
                                    std::to_string(lcmpModelMaxHeldBytes) + " bytes");
            return false;
        }
        m_room -= size;
        return true;
    }

    // Peers can write no other length to a byte array than it has.
    bool hasLength(const YamlNode& node, const std::string& key, const LcmpModelValue& value) {
        const auto* bytes = std::get_if<std::string>(&value);
        if (m_variable.type != BYTE_ARRAY || !m_variable.exactLength ||
            bytes->size() == *m_variable.exactLength)
            return true;
        m_faults.add(node.place, key + " has " + std::to_string(bytes->size()) + " bytes, and length says " +
                                     std::to_string(*m_variable.exactLength));
        return false;
    }

    void readDefault() {
        LcmpModelValue zero = lcmpModelZero(m_variable.type);
        if (m_variable.type == BYTE_ARRAY && m_variable.exactLength)
            zero = std::string(*m_variable.exactLength, '\0');
        m_variable.defaultValue = zero;
        const YamlNode* node = m_fields.find("default");
        LcmpModelValue value;
        if (node == nullptr)
            return checkZero();
        if (!readValue(*node, "default", m_variable.type, m_faults, value) ||
            !hasLength(*node, "default", value) || !hold(node->place, value, m_object.rows))
            return;
        const std::string problem = whyDefaultRefused(value);
        if (!problem.empty())
            m_faults.add(node->place, "default: " + problem);
        m_variable.defaultValue = value;
    }

    // An empty text says that nothing is known yet, whatever is to be written one day.
    std::string whyDefaultRefused(const LcmpModelValue& value) const {
        const auto* text = std::get_if<std::string>(&value);
        return text != nullptr && text->empty() ? "" : whyRefused(m_variable, value);
    }

    void checkZero() {
        hold(m_fields.place(), m_variable.defaultValue, m_object.rows);
        const std::string problem = whyDefaultRefused(m_variable.defaultValue);
        if (!problem.empty())
            m_faults.add(m_fields.place(), "a default is needed: " + problem);
    }

    // Rules are for what peers write: a card may hold what nobody could write to it.
    void readFirstValues() {
        const YamlNode* value = m_fields.find("value");
        LcmpModelValue read;
        if (value != nullptr && readValue(*value, "value", m_variable.type, m_faults, read) &&
            hasLength(*value, "value", read) && hold(value->place, read, m_object.rows)) {
            for (unsigned int row = 0; row < m_object.rows; ++row)
                m_variable.values[row] = read;
        }
        const YamlNode* values = m_fields.find("values");
        if (values == nullptr)
            return;
        if (!m_object.isTable())
            return m_faults.add(values->place, "a scalar has no rows; write value instead of values");
        if (values->isList())
            return readRowList(*values);
        if (values->isMap())
            return readRowMap(*values);
        m_faults.add(values->place, "values is a list, or a map of rows to values");
    }

    void readRowList(const YamlNode& list) {
        if (list.items.size() > m_object.rows)
            return m_faults.add(list.place, std::to_string(list.items.size()) +
                                                " values, and the table has " +
                                                std::to_string(m_object.rows) + " rows");
        for (std::size_t row = 0; row < list.items.size(); ++row)
            readRow(static_cast<unsigned int>(row), list.items[row]);
    }

    void readRowMap(const YamlNode& map) {
        std::vector<bool> seen(m_object.rows);
        for (std::size_t i = 0; i + 1 < map.items.size(); i += 2) {
            unsigned int row = 0;
            if (!readNumber(&map.items[i], "the row", 0, m_object.rows - 1, m_faults, row))
                continue;
            if (seen[row])
                m_faults.add(map.items[i].place, "the row " + map.items[i].text + " a second time");
            seen[row] = true;
            readRow(row, map.items[i + 1]);
        }
    }

    void readRow(unsigned int row, const YamlNode& node) {
        LcmpModelValue read;
        if (readValue(node, "values", m_variable.type, m_faults, read) && hasLength(node, "values", read) &&
            hold(node.place, read, 1))
            m_variable.values[row] = read;
    }

    Fields m_fields;
    const LcmpModelObject& m_object;
    std::uint64_t& m_room;
    Faults& m_faults;
    VariableRead m_read;
    LcmpModelVariable& m_variable = m_read.variable;
};

}  // namespace

VariableRead readVariable(const YamlNode& node, const LcmpModelObject& object, std::uint64_t& room,
                          Faults& faults) {
    return VariableReader(node, object, room, faults).read();
}

}  // namespace lcmpdetail
