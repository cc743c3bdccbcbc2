#include <algorithm>
#include <cctype>
#include <charconv>
#include <numeric>
#include <stdexcept>
#include <utility>

#include "lcmpModel.h"
#include "lcmpObjectId.h"
#include "lcmpResult.h"

namespace {

constexpr unsigned int maxRow = 0x3FFF;

// The number of letters to change, add or leave out to get from one word to the other.
std::size_t distance(const std::string& from, const std::string& to) {
    std::vector<std::size_t> row(to.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < from.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i + 1);
        for (std::size_t j = 0; j < to.size(); ++j) {
            const bool same = std::tolower(static_cast<unsigned char>(from[i])) ==
                              std::tolower(static_cast<unsigned char>(to[j]));
            const std::size_t replaced = diagonal + (same ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, row[j] + 1, diagonal + 1});
        }
    }
    return row.back();
}

std::size_t differenceOfLengths(const std::string& a, const std::string& b) {
    return a.size() > b.size() ? a.size() - b.size() : b.size() - a.size();
}

std::string suggestion(const std::string& name) { return name.empty() ? "" : "; did you mean " + name + "?"; }

class Unresolved : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// "object", "[row]" and "variable" of a name.
struct NameParts {
    std::string object;
    std::string row;  // without the brackets
    bool hasRow = false;
    std::string variable;

    std::string rowText() const { return hasRow ? "[" + row + "]" : ""; }
};

// Finds what one name means, or says why it means nothing.
class NameReader {
public:
    NameReader(const LcmpModel& model, const std::string& text) : m_model(model), m_text(text) {}

    LcmpModelCell read() {
        takeApart();
        LcmpModelCell cell;
        cell.object = &findObject();
        cell.row = findRow(*cell.object);
        cell.variable = &findVariable(*cell.object);
        return cell;
    }

private:
    [[noreturn]] void refuse(const std::string& problem) const {
        throw Unresolved("'" + m_text + "'" + problem);
    }

    void takeApart() {
        const auto dot = m_text.find('.');
        std::string head = m_text.substr(0, dot);
        m_parts.variable = dot == std::string::npos ? "" : m_text.substr(dot + 1);
        const auto bracket = head.find('[');
        if (bracket != std::string::npos) {
            if (head.back() != ']')
                refuse(": the row is written object[row].variable");
            m_parts.hasRow = true;
            m_parts.row = head.substr(bracket + 1, head.size() - bracket - 2);
            head.resize(bracket);
        }
        m_parts.object = head;
    }

    const LcmpModelObject& findObject() const {
        if (const LcmpModelObject* object = lcmpModelFindObject(m_model, m_parts.object))
            return *object;
        std::vector<std::string> names;
        for (const LcmpModelObject& object : m_model.objects)
            names.push_back(object.name);
        std::string better = lcmpModelNearestName(m_parts.object, names);
        if (!better.empty() && !m_parts.variable.empty())
            better += m_parts.rowText() + "." + m_parts.variable;
        else if (better.empty())
            better = anyObjectWith(m_parts.variable.empty() ? m_parts.object : m_parts.variable);
        refuse(": there is no object '" + m_parts.object + "'" + suggestion(better));
    }

    unsigned int findRow(const LcmpModelObject& object) const {
        return object.isTable() ? rowOfTable(object) : rowOfScalar(object);
    }

    unsigned int rowOfScalar(const LcmpModelObject& object) const {
        if (m_parts.hasRow)
            refuse(": " + object.name + " is a scalar and has no rows" +
                   suggestion(object.name + (m_parts.variable.empty() ? "" : "." + m_parts.variable)));
        return 0;
    }

    unsigned int rowOfTable(const LcmpModelObject& object) const {
        if (!m_parts.hasRow)
            refuse(": " + object.name + " is a table, its variables are written " + object.name + "[row]." +
                   (m_parts.variable.empty() ? "variable" : m_parts.variable));
        unsigned int row = 0;
        const char* end = m_parts.row.data() + m_parts.row.size();
        const auto [rest, error] = std::from_chars(m_parts.row.data(), end, row);
        if (error == std::errc::invalid_argument || rest != end)
            refuse(": the row '" + m_parts.row + "' is not a number");
        if (error != std::errc() || row > maxRow)
            refuse(": row " + m_parts.row + " is beyond 0 to " + std::to_string(maxRow));
        return row;
    }

    const LcmpModelVariable& findVariable(const LcmpModelObject& object) const {
        if (const LcmpModelVariable* variable = lcmpModelFindVariable(object, m_parts.variable))
            return *variable;
        const std::string head = object.name + m_parts.rowText() + ".";
        std::vector<std::string> names;
        for (const LcmpModelVariable& variable : object.variables)
            names.push_back(variable.name);
        if (m_parts.variable.empty())
            refuse(" names an object" +
                   (names.empty() ? "" : "; one of its variables is " + head + names[0]));
        std::string better = lcmpModelNearestName(m_parts.variable, names);
        better = better.empty() ? anyObjectWith(m_parts.variable) : head + better;
        refuse(": " + object.name + " has no variable '" + m_parts.variable + "'" + suggestion(better));
    }

    // Someone who leaves the object out, or confuses it, is told where the variable is.
    std::string anyObjectWith(const std::string& variable) const {
        for (const LcmpModelObject& object : m_model.objects) {
            if (lcmpModelFindVariable(object, variable) != nullptr)
                return object.name + (object.isTable() ? "[0]." : ".") + variable;
        }
        return "";
    }

    const LcmpModel& m_model;
    const std::string& m_text;
    NameParts m_parts;
};

bool isObjectOf(const LcmpModelObject& object, const LcmpObjectId& id) {
    return object.isTable() == id.m_is_table && object.id == id.m_id && object.common == id.m_common;
}

}  // namespace

unsigned int lcmpModelOid(const LcmpModelCell& cell) {
    const LcmpModelObject& object = *cell.object;
    if (object.isTable())
        return LcmpTable("", object.id, object.common, 0).getOID(cell.variable->id, cell.row);
    return LcmpScalar("", object.id, object.common, 0).getOID(cell.variable->id, 0);
}

std::string lcmpModelName(const LcmpModelCell& cell) {
    const std::string row = cell.object->isTable() ? "[" + std::to_string(cell.row) + "]" : "";
    return cell.object->name + row + "." + cell.variable->name;
}

bool lcmpModelFindOid(const LcmpModel& model, unsigned int oid, LcmpModelCell& cell) {
    if (oid >> 31 != 0)
        return false;
    const LcmpObjectId id(oid);
    if (id.m_result != RESULT_OK)
        return false;
    for (const LcmpModelObject& object : model.objects) {
        if (!isObjectOf(object, id))
            continue;
        for (const LcmpModelVariable& variable : object.variables) {
            if (variable.id == id.m_sub_id) {
                cell = {&object, &variable, id.m_row};
                return true;
            }
        }
    }
    return false;
}

bool lcmpModelFindName(const LcmpModel& model, const std::string& name, LcmpModelCell& cell,
                       std::string& problem) {
    try {
        cell = NameReader(model, name).read();
        return true;
    } catch (const Unresolved& unresolved) {
        problem = unresolved.what();
        return false;
    }
}

const LcmpModelObject* lcmpModelFindObject(const LcmpModel& model, const std::string& name) {
    const auto object = std::find_if(model.objects.begin(), model.objects.end(),
                                     [&name](const LcmpModelObject& o) { return o.name == name; });
    return object == model.objects.end() ? nullptr : &*object;
}

const LcmpModelVariable* lcmpModelFindVariable(const LcmpModelObject& object, const std::string& name) {
    const auto variable = std::find_if(object.variables.begin(), object.variables.end(),
                                       [&name](const LcmpModelVariable& v) { return v.name == name; });
    return variable == object.variables.end() ? nullptr : &*variable;
}

const char* lcmpModelWordOf(const LcmpModelVariable& variable, const LcmpModelValue& value) {
    const auto word = std::find_if(variable.words.begin(), variable.words.end(),
                                   [&value](const LcmpModelWord& w) { return w.number == value; });
    return word == variable.words.end() ? nullptr : word->word.c_str();
}

std::string lcmpModelNearestName(const std::string& word, const std::vector<std::string>& candidates) {
    std::string best;
    // More than half of the letters wrong is another word.
    std::size_t bestDistance = std::max<std::size_t>(2, word.size() / 2) + 1;
    for (const std::string& candidate : candidates) {
        if (differenceOfLengths(word, candidate) >= bestDistance)
            continue;
        const std::size_t d = distance(word, candidate);
        if (d < bestDistance) {
            bestDistance = d;
            best = candidate;
        }
    }
    return best;
}
