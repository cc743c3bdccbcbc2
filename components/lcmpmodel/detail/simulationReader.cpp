#include "detail/simulationReader.h"

#include <algorithm>
#include <array>

#include "detail/rules.h"

namespace lcmpdetail {
namespace {

using Shape = LcmpModelSimulation::Shape;
using Keys = std::vector<std::string>;

struct ShapeWords {
    Shape shape;
    const char* name;
    Keys needed;
    Keys possible;
};

const std::array<ShapeWords, 5>& shapes() {
    static const std::array<ShapeWords, 5> all = {{
        {Shape::sine, "sine", {"low", "high"}, {"period", "seed"}},
        {Shape::ramp, "ramp", {"low", "high"}, {"period", "seed"}},
        {Shape::walk, "walk", {"low", "high"}, {"step", "seed"}},
        {Shape::steps, "steps", {"values"}, {"period", "seed"}},
        {Shape::counter, "counter", {}, {"rate", "seed"}},
    }};
    return all;
}

Keys shapeNames() {
    Keys names;
    for (const ShapeWords& words : shapes())
        names.emplace_back(words.name);
    return names;
}

const Keys& allKeys() {
    static const Keys keys = {"shape", "low", "high", "step", "rate", "period", "values", "seed"};
    return keys;
}

// What one reading of an entry works with.
class SimulationReader {
public:
    SimulationReader(const YamlNode& node, unsigned int rows, const LcmpModelVariable& variable,
                     Faults& faults)
        : m_fields(node, "simulate", allKeys(), faults),
          m_rows(rows),
          m_variable(variable),
          m_faults(faults) {}

    bool read(LcmpModelSimulation& simulation) {
        const ShapeWords* words = readShape();
        if (words == nullptr)
            return false;
        simulation.shape = words->shape;
        for (const std::string& key : words->needed)
            m_fields.require(key);
        refuseOtherKeys(*words);
        readRange(simulation);
        readNumbers("step", simulation.step);
        if (const YamlNode* node = m_fields.find("rate"))
            readDecimal(*node, "rate", m_faults, simulation.rate);
        readPeriod(simulation);
        readValues(simulation);
        readNumber(m_fields.find("seed"), "seed", 0, 0xFFFFFFFF, m_faults, simulation.seed);
        return true;
    }

private:
    const ShapeWords* readShape() {
        const YamlNode* node = m_fields.require("shape");
        std::string name;
        if (!readText(node, "shape", m_faults, name))
            return nullptr;
        for (const ShapeWords& words : shapes()) {
            if (words.name == name)
                return mayMove(words, *node) ? &words : nullptr;
        }
        const std::string nearest = lcmpModelNearestName(name, shapeNames());
        m_faults.add(node->place, "there is no shape '" + name + "'" +
                                      (nearest.empty() ? "; there are sine, ramp, walk, steps and counter"
                                                       : "; did you mean " + nearest + "?"));
        return nullptr;
    }

    bool mayMove(const ShapeWords& words, const YamlNode& node) {
        const bool isNumber =
            isIntegerType(m_variable.type) || (m_variable.type == UNIX_TIME && words.shape == Shape::counter);
        if (isNumber || words.shape == Shape::steps)
            return true;
        m_faults.add(node.place, std::string("a ") + lcmpTlvTypeName(m_variable.type) + " cannot move as " +
                                     words.name + "; steps suits every type");
        return false;
    }

    void refuseOtherKeys(const ShapeWords& words) {
        for (const std::string& key : allKeys()) {
            const YamlNode* node = m_fields.find(key);
            const auto isIn = [&key](const Keys& keys) {
                return std::find(keys.begin(), keys.end(), key) != keys.end();
            };
            if (node != nullptr && key != "shape" && !isIn(words.needed) && !isIn(words.possible))
                m_faults.add(node->place,
                             std::string("the shape ") + words.name + " does not take '" + key + "'");
        }
    }

    void readRange(LcmpModelSimulation& simulation) {
        const bool both = readNumbers("low", simulation.low) && readNumbers("high", simulation.high);
        if (!both)
            return;
        for (std::size_t row = 0; row < std::max(simulation.low.size(), simulation.high.size()); ++row) {
            if (numberAt(simulation.low, row) > numberAt(simulation.high, row))
                return m_faults.add(m_fields.find("high")->place, "high is below low");
        }
    }

    static double numberAt(const std::vector<double>& numbers, std::size_t row) {
        return numbers[row < numbers.size() ? row : 0];
    }

    // One number, or a list with one for each row.
    bool readNumbers(const std::string& key, std::vector<double>& numbers) {
        const YamlNode* node = m_fields.find(key);
        if (node == nullptr)
            return false;
        if (node->isList() && node->items.size() != m_rows) {
            m_faults.add(node->place, key + " has " + std::to_string(node->items.size()) +
                                          " numbers, and the object has " + std::to_string(m_rows) + " rows");
            return false;
        }
        const YamlNode* items = node->isList() ? node->items.data() : node;
        std::vector<double> read(node->isList() ? node->items.size() : 1);
        for (std::size_t i = 0; i < read.size(); ++i) {
            if (!readDecimal(items[i], key, m_faults, read[i]) || !fits(key, read[i], items[i]))
                return false;
        }
        numbers = read;
        return true;
    }

    bool fits(const std::string& key, double number, const YamlNode& node) {
        const bool isStep = key == "step";
        if (isStep ? number >= 0 : holds(number))
            return true;
        m_faults.add(node.place,
                     isStep ? "step is below 0"
                            : key + " " + node.text + " does not fit " + lcmpTlvTypeName(m_variable.type));
        return false;
    }

    bool holds(double number) const {
        const LcmpTlvType type = m_variable.type;
        if (isUnsignedType(type))
            return number >= 0 && number <= static_cast<double>(std::get<0>(largestOf(type)));
        return !isIntegerType(type) || (number >= static_cast<double>(std::get<1>(smallestOf(type))) &&
                                        number <= static_cast<double>(std::get<1>(largestOf(type))));
    }

    void readPeriod(LcmpModelSimulation& simulation) {
        const YamlNode* node = m_fields.find("period");
        std::string text;
        std::string problem;
        if (!readText(node, "period", m_faults, text))
            return;
        if (!lcmpModelParseDuration(text, simulation.period, problem))
            m_faults.add(node->place, "period: " + problem);
        else if (simulation.period.count() == 0)
            m_faults.add(node->place, "period is 0");
    }

    void readValues(LcmpModelSimulation& simulation) {
        const YamlNode* node = m_fields.find("values");
        if (node == nullptr)
            return;
        if (!node->isList() || node->items.empty())
            return m_faults.add(node->place, "values is a list of values, and here is " +
                                                 std::string(node->isList() ? "none" : kindText(*node)));
        for (const YamlNode& item : node->items) {
            LcmpModelValue value;
            if (readValue(item, "values", m_variable.type, m_faults, value))
                simulation.values.push_back(value);
        }
    }

    Fields m_fields;
    unsigned int m_rows;
    const LcmpModelVariable& m_variable;
    Faults& m_faults;
};

}  // namespace

void readSimulation(const YamlNode& node, unsigned int rows, LcmpModelVariable& variable, Faults& faults) {
    LcmpModelSimulation simulation;
    if (SimulationReader(node, rows, variable, faults).read(simulation))
        variable.simulation = simulation;
}

}  // namespace lcmpdetail
