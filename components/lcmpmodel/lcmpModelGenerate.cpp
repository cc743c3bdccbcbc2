#include "lcmpModelGenerate.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <map>
#include <set>

#include "detail/rules.h"
#include "lcmpModelProperties.h"

using namespace lcmpdetail;

namespace {

const std::set<std::string>& keywords() {
    static const std::set<std::string> all = {
        "alignas",     "alignof",  "and",        "and_eq",    "asm",       "auto",         "bitand",
        "bitor",       "bool",     "break",      "case",      "catch",     "char",         "char8_t",
        "char16_t",    "char32_t", "class",      "co_await",  "co_return", "co_yield",     "compl",
        "concept",     "const",    "const_cast", "consteval", "constexpr", "constinit",    "continue",
        "decltype",    "default",  "delete",     "do",        "double",    "dynamic_cast", "else",
        "enum",        "explicit", "export",     "extern",    "false",     "float",        "for",
        "friend",      "goto",     "if",         "inline",    "int",       "long",         "mutable",
        "namespace",   "new",      "noexcept",   "not",       "not_eq",    "nullptr",      "operator",
        "or",          "or_eq",    "private",    "protected", "public",    "register",     "reinterpret_cast",
        "requires",    "return",   "short",      "signed",    "sizeof",    "static",       "static_assert",
        "static_cast", "struct",   "switch",     "template",  "this",      "thread_local", "throw",
        "true",        "try",      "typedef",    "typeid",    "typename",  "union",        "unsigned",
        "using",       "virtual",  "void",       "volatile",  "wchar_t",   "while",        "xor",
        "xor_eq"};
    return all;
}

std::string hexNumber(unsigned int number) {
    std::array<char, 11> text{};
    std::snprintf(text.data(), text.size(), "0x%08x", number);
    return text.data();
}

// ---------------------------------------------------------------- literals

// Three digits always: the next letter of the text cannot become part of them.
std::string octalEscape(unsigned char byte) {
    std::array<char, 8> text{};
    std::snprintf(text.data(), text.size(), "\\%03o", byte);
    return text.data();
}

std::string literal(const std::string& text) {
    std::string quoted = "\"";
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte > 0x7E || c == '?')
            quoted += octalEscape(byte);
        else
            quoted += (c == '"' || c == '\\' ? "\\" : "") + std::string(1, c);
    }
    return quoted + '"';
}

// With its size: it may contain NULs.
std::string sizedLiteral(const std::string& text) {
    return literal(text) + ", " + std::to_string(text.size());
}

std::string numberLiteral(const LcmpModelValue& value) {
    if (const auto* number = std::get_if<unsigned long long>(&value))
        return std::to_string(*number) + "ULL";
    const long long number = std::get<long long>(value);
    // The smallest number has no literal: its sign is applied to a number that does not exist.
    return number == std::numeric_limits<long long>::min() ? "-9223372036854775807LL - 1"
                                                           : std::to_string(number) + "LL";
}

/// What the generated source calls the C++ type of a fixed-width variable.
const char* aliasOf(LcmpTlvType type) {
    switch (type) {
        case UINT64:
            return "U64";
        case UINT32:
        case IPv4ADDRESS:
            return "U32";
        case UINT16:
            return "U16";
        case UINT8:
            return "U8";
        case INT64:
        case UNIX_TIME:
            return "I64";
        case INT32:
            return "I32";
        case INT16:
            return "I16";
        case INT8:
            return "I8";
        default:
            return "bool";
    }
}

std::string valueLiteral(LcmpTlvType type, const LcmpModelValue& value) {
    if (const auto* truth = std::get_if<bool>(&value))
        return *truth ? "true" : "false";
    if (const auto* bytes = std::get_if<std::string>(&value))
        return "std::string(" + sizedLiteral(*bytes) + ")";
    return std::string(aliasOf(type)) + "{" + numberLiteral(value) + "}";
}

// ---------------------------------------------------------------- one object

class ObjectCode {
public:
    explicit ObjectCode(const LcmpModelObject& object) : m_object(object) {}

    std::string text() {
        m_text = "void fill_" + m_object.name + "(LcmpObject& object) {\n";
        for (const LcmpModelVariable& variable : m_object.variables)
            addCheck(variable);
        if (!m_object.variables.empty())
            addRows();
        for (const LcmpModelVariable& variable : m_object.variables)
            addFirstValues(variable);
        if (m_object.variables.empty())
            line("static_cast<void>(object);");
        return m_text + "}\n";
    }

private:
    void line(const std::string& code, int depth = 1) {
        m_text += std::string(static_cast<std::size_t>(depth) * 4, ' ') + code + "\n";
    }

    // What the checks of all rows share.
    void addCheck(const LcmpModelVariable& variable) {
        if (!variable.pattern.empty())
            line("const auto pattern" + std::to_string(variable.id) +
                 " = std::make_shared<const LcmpModelPattern>(" + literal(variable.pattern) + ");");
        const auto ranges = allowedRanges(variable);
        if (!ranges)
            return;
        std::string list;
        for (const LcmpModelRange& range : *ranges)
            list += (list.empty() ? "{" : ", {") + valueLiteral(variable.type, range.low) + ", " +
                    valueLiteral(variable.type, range.high) + "}";
        line("const auto ranges" + std::to_string(variable.id) + " = ranges<" + aliasOf(variable.type) +
             ">({" + list + "});");
    }

    void addRows() {
        if (m_object.isTable())
            line("for (unsigned int row = 0; row < " + std::to_string(m_object.rows) + "; ++row) {");
        for (const LcmpModelVariable& variable : m_object.variables)
            line("add(object, " + std::string(m_object.isTable() ? "row" : "0") + ", new " +
                     propertyCode(variable) + ");",
                 m_object.isTable() ? 2 : 1);
        if (m_object.isTable())
            line("}");
    }

    std::string propertyCode(const LcmpModelVariable& variable) const {
        const bool readOnly = variable.access == IFC_CARD_VAR_READ_ONLY;
        const std::string value = valueLiteral(variable.type, variable.defaultValue);
        const std::string head = "(" + std::to_string(variable.id) + ", " + nameCode(variable) + ", " +
                                 (readOnly ? "IFC_CARD_VAR_READ_ONLY" : "IFC_CARD_VAR_WRITABLE") + ", ";
        const std::string tail = std::string(variable.eventable ? "true" : "false") + ")";
        switch (variable.type) {
            case STRING:
                return "StringProperty" + head + value + ", " + textCheckCode(variable) + ", " + tail;
            case IPv4ADDRESS:
                return "IpAddressProperty" + head + value + ", " + tail;
            case UNIX_TIME:
                return "UnixTimeProperty" + head + value + ", " + tail;
            case BYTE_ARRAY:
                return "LcmpModelBytesProperty" + head + value + ", " + tail;
            case MAC_ADDRESS:
                return "MacAddressProperty" + head + "std::string(" +
                       literal(lcmpModelValueText(MAC_ADDRESS, variable.defaultValue)) + "), " + tail;
            default:
                return std::string("TypeProperty<") + aliasOf(variable.type) + ">" + head + value + ", " +
                       numberCheckCode(variable) + ", " + tail;
        }
    }

    std::string nameCode(const LcmpModelVariable& variable) const {
        if (!m_object.isTable())
            return literal(m_object.name + "." + variable.name);
        return "cell(" + literal(m_object.name) + ", row, " + literal(variable.name) + ").c_str()";
    }

    static std::string numberCheckCode(const LcmpModelVariable& variable) {
        if (!allowedRanges(variable))
            return "nullptr";
        return std::string("new LcmpModelNumberCheck<") + aliasOf(variable.type) + ">(ranges" +
               std::to_string(variable.id) + ")";
    }

    static std::string textCheckCode(const LcmpModelVariable& variable) {
        const TextRule rule = textRuleOf(variable);
        if (!rule.exists)
            return "nullptr";
        const std::string longest = rule.longest == LcmpModelTextCheck::anyLength
                                        ? "LcmpModelTextCheck::anyLength"
                                        : std::to_string(rule.longest);
        return "new LcmpModelTextCheck(" + std::to_string(rule.shortest) + ", " + longest +
               (variable.pattern.empty() ? "" : ", pattern" + std::to_string(variable.id)) + ")";
    }

    void addFirstValues(const LcmpModelVariable& variable) {
        for (const auto& [row, value] : variable.values)
            line("start(object, " + std::to_string(variable.id) + ", " + std::to_string(row) + ", " +
                 valueLiteral(variable.type, value) + ");");
    }

    const LcmpModelObject& m_object;
    std::string m_text;
};

// ---------------------------------------------------------------- the files

std::string origin(const LcmpModel& model) {
    return "// Made by `lcmp model generate` of the card model " + literal(model.card) +
           ". Changes belong there.\n";
}

// The namespace of an object with one constant, or function of the row, for each variable.
std::string oidCode(const LcmpModelObject& object) {
    std::string text = "namespace " + object.name + (keywords().count(object.name) != 0 ? "_" : "") + " {\n";
    std::set<std::string> used;
    for (const LcmpModelVariable& variable : object.variables)
        used.insert(variable.name);
    for (const LcmpModelVariable& variable : object.variables) {
        std::string name = variable.name;
        while (keywords().count(name) != 0 || (name != variable.name && used.count(name) != 0))
            name += "_";
        used.insert(name);
        const std::string oid = hexNumber(lcmpModelOid({&object, &variable, 0}));
        text.append("constexpr unsigned int ").append(name);
        if (object.isTable())
            text.append("(unsigned int row) { return ").append(oid).append(" | row; }\n");
        else
            text.append(" = ").append(oid).append(";\n");
    }
    return text + "}\n";
}

std::string headerCode(const LcmpModel& model, const std::string& name) {
    std::string text =
        origin(model) +
        "//\n"
        "// The objects of the card, for an endpoint to serve. Used by the thread that runs it.\n"
        "#pragma once\n\n#include <memory>\n#include <vector>\n\n#include \"lcmpObjects.h\"\n\n"
        "namespace " +
        name + " {\n\n";
    text +=
        "/// All objects, every variable with its first value. For LcmpProtocolBase::registerObject, which "
        "does not\n"
        "/// take them over.\n"
        "std::vector<std::unique_ptr<LcmpObject>> makeObjects();\n\n"
        "// Each adds the variables of one object to it: for objects of a class of your own, whose hooks "
        "tell what\n"
        "// peers read and write. Ids, kind and rows are those that makeObjects gives.\n";
    for (const LcmpModelObject& object : model.objects)
        text += "void fill_" + object.name + "(LcmpObject& object);\n";
    text += "\nnamespace oid {\n";
    for (const LcmpModelObject& object : model.objects)
        text += oidCode(object);
    return text + "}  // namespace oid\n\n}  // namespace " + name + "\n";
}

constexpr const char* helpers = R"(namespace {

using U64 = unsigned long long;
using U32 = unsigned int;
using U16 = unsigned short;
using U8 = unsigned char;
using I64 = long long;
using I32 = int;
using I16 = short;
using I8 = signed char;

template <typename T>
std::shared_ptr<const typename LcmpModelNumberCheck<T>::Ranges> ranges(
    typename LcmpModelNumberCheck<T>::Ranges list) {
    return std::make_shared<const typename LcmpModelNumberCheck<T>::Ranges>(std::move(list));
}

[[maybe_unused]] std::string cell(const char* object, unsigned int row, const char* variable) {
    return std::string(object) + "[" + std::to_string(row) + "]." + variable;
}

[[maybe_unused]] void add(LcmpObject& object, unsigned int row, LcmpProperty* property) {
    if (!object.addProp(property, row))
        delete property;
}

// What a card starts with is no change to report.
template <typename T>
void start(LcmpObject& object, unsigned int id, unsigned int row, T value) {
    LcmpProperty* property = object.getProp(id, row);
    if (property == nullptr)
        return;
    if constexpr (std::is_same_v<T, std::string>) {
        if (property->getType() != STRING)
            property->set(reinterpret_cast<unsigned char*>(value.data()), static_cast<unsigned int>(value.size()));
        else
            property->set(value);
    } else {
        property->set(value);
    }
    property->sendEvent();
}

}  // namespace
)";

std::string sourceCode(const LcmpModel& model, const std::string& name) {
    std::string text = origin(model) + "#include \"" + name +
                       ".h\"\n\n#include <string>\n#include <type_traits>\n#include <utility>\n\n"
                       "#include \"lcmpModelProperties.h\"\n\n" +
                       helpers + "\nnamespace " + name + " {\n\n";
    for (const LcmpModelObject& object : model.objects)
        text += ObjectCode(object).text() + "\n";
    text +=
        "std::vector<std::unique_ptr<LcmpObject>> makeObjects() {\n"
        "    std::vector<std::unique_ptr<LcmpObject>> objects;\n";
    for (const LcmpModelObject& object : model.objects) {
        text += std::string("    objects.push_back(std::make_unique<") +
                (object.isTable() ? "LcmpTable" : "LcmpScalar") + ">(" + literal(object.name) + ", " +
                std::to_string(object.id) + ", " + (object.common ? "true" : "false") +
                (object.isTable() ? ", " + std::to_string(object.rows) : "") + "));\n    fill_" +
                object.name + "(*objects.back());\n";
    }
    return text + "    return objects;\n}\n\n}  // namespace " + name + "\n";
}

}  // namespace

bool lcmpModelIsIdentifier(const std::string& text) {
    const auto isLetter = [](char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_'; };
    const auto isPart = [&](char c) { return isLetter(c) || (c >= '0' && c <= '9'); };
    return !text.empty() && isLetter(text[0]) && std::all_of(text.begin(), text.end(), isPart) &&
           keywords().count(text) == 0;
}

LcmpModelCode lcmpModelGenerate(const LcmpModel& model, const std::string& name) {
    return {headerCode(model, name), sourceCode(model, name)};
}
