#include "eventLines.h"

#include <nlohmann/json.hpp>

#include "colour.h"
#include "output.h"

namespace tool {
namespace {

using Json = nlohmann::ordered_json;

// " (was 20)", " (was 20; polled)", " (polled)".
std::string remark(const EventLines::Value& value) {
    if (value.before == nullptr)
        return value.isPolled ? " (polled)" : "";
    return " (was " + displayText(*value.before) + (value.isPolled ? "; polled)" : ")");
}

std::string gapText(int expected, int received, int missing) {
    return "gap: message " + std::to_string(received) + " instead of " + std::to_string(expected) + ", " +
           (missing != 0 ? std::to_string(missing) + " missing" : "the numbering went back");
}

Json jsonOf(const EventLines::Origin& origin) { return {{"time", origin.time}, {"card", origin.card}}; }

}  // namespace

EventLines::EventLines(std::ostream& out, Format format) : m_out(out), m_format(format) {
    if (m_format == Format::csv)
        m_out << "time,card,oid,name,type,value,old,note\n" << std::flush;
}

void EventLines::print(const Origin& origin, const Value& value) {
    if (m_format == Format::jsonl)
        printJson(origin, value);
    else if (m_format == Format::csv)
        printCsv(origin, value);
    else if (m_format == Format::value)
        m_out << plainText(value.now) << '\n';
    else
        printText(origin, value);
    m_out.flush();
}

void EventLines::printText(const Origin& origin, const Value& value) {
    const std::string text = valueText(value.variable, value.now);
    m_out << origin.time << ' ' << origin.card << ' ' << painted(m_out, Paint::name, value.variable.name)
          << ' ' << (value.before == nullptr ? text : painted(m_out, Paint::changed, text)) << remark(value)
          << '\n';
}

void EventLines::printJson(const Origin& origin, const Value& value) {
    Json line = jsonOf(origin);
    line["oid"] = oidText(value.now.oid());
    line["name"] = value.variable.name;
    addJsonValue(value.variable, value.now, line);
    if (value.before != nullptr)
        line["old"] = jsonValue(*value.before);
    if (*value.variable.unit != '\0')
        line["unit"] = value.variable.unit;
    if (value.isPolled)
        line["polled"] = true;
    m_out << jsonLine(line);
}

void EventLines::printCsv(const Origin& origin, const Value& value) {
    m_out << origin.time << ',' << origin.card << ',' << oidText(value.now.oid()) << ','
          << value.variable.name << ',' << lcmpTlvTypeName(value.now.type()) << ','
          << csvField(plainText(value.now)) << ','
          << (value.before == nullptr ? "" : csvField(plainText(*value.before))) << ','
          << (value.isPolled ? "polled" : "") << '\n';
}

void EventLines::printGap(const Origin& origin, int expected, int received, int missing) {
    if (m_format != Format::jsonl)
        return printNote(origin, gapText(expected, received, missing));
    Json gap = {{"expected", expected}, {"received", received}};
    if (missing != 0)
        gap["missing"] = missing;
    Json line = jsonOf(origin);
    line["gap"] = gap;
    m_out << jsonLine(line) << std::flush;
}

void EventLines::printAnswering(const Origin& origin, bool answers) {
    if (m_format != Format::jsonl)
        return printNote(origin, answers ? "answers again" : "does not answer");
    Json line = jsonOf(origin);
    line["answers"] = answers;
    m_out << jsonLine(line) << std::flush;
}

void EventLines::printNote(const Origin& origin, const std::string& note) {
    if (m_format == Format::csv)
        m_out << origin.time << ',' << origin.card << ",,,,,," << csvField(note) << '\n' << std::flush;
    else if (m_format == Format::text)
        m_out << origin.time << ' ' << origin.card << ' ' << painted(m_out, Paint::problem, note) << '\n'
              << std::flush;
}

}  // namespace tool
