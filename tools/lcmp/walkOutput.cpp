#include "walkOutput.h"

#include <nlohmann/json.hpp>
#include <utility>

#include "output.h"
#include "tableText.h"

namespace tool {
namespace {

using Json = nlohmann::ordered_json;

bool hasValue(const WalkCell& cell) { return cell.outcome->value.has_value(); }

// ---------------------------------------------------------------- text

class TextOutput : public WalkSink {
public:
    explicit TextOutput(std::ostream& out) : m_out(out) {}

    void beginPart(const WalkPart& part) override {
        m_object = part.object;
        m_table = TableText();
        m_row.clear();
        if (!m_object->isTable())
            return;
        m_table.addColumn("row", TableText::Align::right);
        for (const LcmpModelVariable& variable : m_object->variables)
            addColumn(variable);
    }

    void take(const WalkCell& cell) override {
        if (!hasValue(cell))
            return;
        if (m_object->isTable())
            return takeField(cell);
        if (std::exchange(m_afterTable, false))
            m_out << '\n';
        m_out << cell.variable.name << " = " << valueText(cell.variable, *cell.outcome->value) << '\n';
        m_anything = true;
    }

    void endPart() override {
        endRow();
        if (m_table.empty())
            return;
        m_out << (m_anything ? "\n" : "") << m_object->name << '\n';
        m_table.print(m_out);
        m_anything = true;
        m_afterTable = true;
    }

    void flush() override { m_out.flush(); }

private:
    void addColumn(const LcmpModelVariable& variable) {
        const bool isNumber = variable.type <= INT8 && variable.words.empty();
        m_table.addColumn(variable.unit.empty() ? variable.name : variable.name + " " + variable.unit,
                          isNumber ? TableText::Align::right : TableText::Align::left);
    }

    void takeField(const WalkCell& cell) {
        const std::string row = std::to_string(cell.row);
        if (m_row.empty() || m_row[0] != row) {
            endRow();
            m_row.assign(m_object->variables.size() + 1, "-");
            m_row[0] = row;
        }
        m_row[cell.column + 1] = displayText(cell.variable, *cell.outcome->value);
    }

    void endRow() {
        if (!m_row.empty())
            m_table.addRow(std::exchange(m_row, {}));
    }

    std::ostream& m_out;
    const LcmpModelObject* m_object = nullptr;
    TableText m_table;
    std::vector<std::string> m_row;  // that is not complete
    bool m_anything = false;         // has been printed
    bool m_afterTable = false;
};

// ---------------------------------------------------------------- for programs

class JsonOutput : public WalkSink {
public:
    JsonOutput(std::ostream& out, const LcmpUdpAddress& card) : m_out(out), m_card(lcmpUdpToText(card)) {}

    void take(const WalkCell& cell) override { print(outcomeJson(m_card, cell.variable, *cell.outcome)); }

    void takeProblem(const WalkProblem& problem) override {
        print({{"card", m_card}, {"name", problem.name}, {"error", errorJson(problem.result, problem.text)}});
    }

    void flush() override { m_out.flush(); }

protected:
    std::ostream& out() { return m_out; }
    virtual void print(const Json& object) { m_out << jsonLine(object); }

private:
    std::ostream& m_out;
    std::string m_card;
};

// One array, of which no more is held than the element that is printed.
class JsonArrayOutput : public JsonOutput {
public:
    using JsonOutput::JsonOutput;

    void end() override { out() << (m_any ? "\n]\n" : "[]\n"); }

protected:
    void print(const Json& object) override {
        std::string text = jsonText(object);
        for (auto at = text.find('\n'); at != std::string::npos; at = text.find('\n', at + 1))
            text.insert(at + 1, "  ");
        out() << (m_any ? ",\n  " : "[\n  ") << text;
        m_any = true;
    }

private:
    bool m_any = false;
};

class CsvOutput : public WalkSink {
public:
    CsvOutput(std::ostream& out, const LcmpUdpAddress& card) : m_out(out), m_card(lcmpUdpToText(card)) {
        m_out << outcomeCsvHeading;
    }

    void take(const WalkCell& cell) override { printOutcomeCsv(m_out, m_card, cell.variable, *cell.outcome); }

    void takeProblem(const WalkProblem& problem) override {
        m_out << m_card << ",," << problem.name << ",,," << csvField(problem.text) << '\n';
    }

    void flush() override { m_out.flush(); }

private:
    std::ostream& m_out;
    std::string m_card;
};

class ValueOutput : public WalkSink {
public:
    explicit ValueOutput(std::ostream& out) : m_out(out) {}

    void take(const WalkCell& cell) override {
        m_out << (hasValue(cell) ? plainText(*cell.outcome->value) : "") << '\n';
    }

    void flush() override { m_out.flush(); }

private:
    std::ostream& m_out;
};

}  // namespace

std::unique_ptr<WalkSink> makeWalkOutput(std::ostream& out, const std::string& format,
                                         const LcmpUdpAddress& card) {
    if (format == "json")
        return std::make_unique<JsonArrayOutput>(out, card);
    if (format == "jsonl")
        return std::make_unique<JsonOutput>(out, card);
    if (format == "csv")
        return std::make_unique<CsvOutput>(out, card);
    if (format == "value")
        return std::make_unique<ValueOutput>(out);
    return std::make_unique<TextOutput>(out);
}

}  // namespace tool
