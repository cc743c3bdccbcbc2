// A card model as somebody writes it: refused with the place of what is wrong, or accepted; then it is
// written as YAML, loaded again, built, served and turned into code.
#include <algorithm>

#include "exactBuffer.h"
#include "fuzzTarget.h"
#include "invariants.h"
#include "lcmpModelGenerate.h"
#include "lcmpModelObjects.h"
#include "wire.h"

namespace {

using fuzz::ExactBuffer;

// A line of text makes a table of 16,384 rows; what is built of a model is bounded, so that inputs stay
// quick.
constexpr std::size_t mostCellsBuilt = 512;

bool load(const std::string& text, LcmpModel& model, std::vector<LcmpModelError>& errors) {
    const bool isGood = lcmpModelLoadText(text, "f", model, errors);
    FUZZ_REQUIRE(textRefused, isGood == errors.empty(),
                 isGood ? "accepted with errors" : "refused without a word");
    return isGood;
}

// In a text of comments nothing has a place, nor have the errors that are only counted.
bool hasNoPlace(const LcmpModelError& error) {
    const auto end = error.message.find(" more errors");
    return error.line == 0 && error.column == 0 &&
           (error.message == "a model is a map, and here is nothing" ||
            (error.message.rfind("and ", 0) == 0 && end != std::string::npos));
}

// Errors come in the order of the file.
void checkErrors(const std::vector<LcmpModelError>& errors, const std::string& text) {
    const auto lines = static_cast<unsigned int>(std::count(text.begin(), text.end(), '\n') +
                                                 std::count(text.begin(), text.end(), '\r')) +
                       1;
    std::pair<unsigned int, unsigned int> last{0, 0};
    for (const LcmpModelError& error : errors) {
        const std::pair<unsigned int, unsigned int> place{error.line, error.column};
        FUZZ_REQUIRE(textRefused, !error.message.empty(), "an error without words");
        if (hasNoPlace(error))
            continue;
        FUZZ_REQUIRE(textRefused, error.line >= 1 && error.column >= 1,
                     "an error without a place: " + lcmpModelErrorText(error));
        FUZZ_REQUIRE(textRefused, error.line <= lines,
                     "a place behind the end: " + lcmpModelErrorText(error));
        FUZZ_REQUIRE(textRefused, last <= place, "errors out of order: " + lcmpModelErrorText(error));
        last = place;
    }
}

std::size_t cellsOf(const LcmpModel& model) {
    std::size_t cells = 0;
    for (const LcmpModelObject& object : model.objects)
        cells += object.rows * object.variables.size();
    return cells;
}

void tryWriting(const LcmpModel& model) {
    const std::string yaml = lcmpModelToYaml(model);
    LcmpModel again;
    std::vector<LcmpModelError> errors;
    FUZZ_REQUIRE(roundTrip, load(yaml, again, errors),
                 "its own YAML is refused: " + lcmpModelErrorText(errors[0]) + "\n" + yaml);
    FUZZ_REQUIRE(roundTrip, lcmpModelToYaml(again) == yaml, "loaded again it is another model:\n" + yaml);
}

// Both ways, by name and by OID. Of two variables with one OID the first is found; there are none.
void tryNaming(const LcmpModel& model, const LcmpModelCell& cell) {
    const std::string name = lcmpModelName(cell);
    const unsigned int oid = lcmpModelOid(cell);
    LcmpModelCell found;
    std::string problem;
    FUZZ_REQUIRE(textRefused, fuzz::validOid(oid), "an OID that is none: " + name);
    FUZZ_REQUIRE(roundTrip, lcmpModelFindName(model, name, found, problem),
                 "its name is unknown: " + problem);
    FUZZ_REQUIRE(roundTrip, found.variable == cell.variable && found.row == cell.row,
                 "another's name: " + name);
    found = {};
    FUZZ_REQUIRE(roundTrip, lcmpModelFindOid(model, oid, found), "its OID is unknown: " + name);
    FUZZ_REQUIRE(roundTrip, found.variable == cell.variable && found.row == cell.row,
                 "another's OID: " + name);
}

bool hasRules(const LcmpModelVariable& variable) { return variable.type <= INT8 || variable.type == STRING; }

/// What the property sends is its value, and what it lets peers write is what the model allows.
void tryProperty(const LcmpModelVariable& variable, LcmpProperty& property) {
    const unsigned int length = property.length();
    ExactBuffer buffer(fuzz::elementHeader + length);
    const int size = property.serialize(buffer.data(), buffer.size());
    FUZZ_REQUIRE(ownBytes, size == buffer.size(), "an element of " + std::to_string(size) + " bytes");
    const unsigned int width = fuzz::widthOf(static_cast<unsigned int>(property.getType()));
    FUZZ_REQUIRE(repliesFit, width == 0 || width == length, "a value of another length");
    const LcmpModelValue value = lcmpModelGet(property);
    if (hasRules(variable))
        FUZZ_REQUIRE(
            checkedWrites,
            property.validValue(buffer.data() + fuzz::elementHeader, static_cast<int>(length)) ==
                lcmpModelAccepts(variable, value),
            "a check that judges otherwise than its model: " + lcmpModelValueText(variable.type, value));
    lcmpModelSet(property, value);
    FUZZ_REQUIRE(roundTrip, lcmpModelGet(property) == value, "another value than was set");
}

void tryServing(const LcmpModel& model) {
    LcmpModelObjects built(model);
    for (int round = 0; round < 2; ++round) {
        for (const LcmpModelObject& object : model.objects) {
            for (const LcmpModelVariable& variable : object.variables) {
                for (unsigned int row = 0; row < object.rows; ++row) {
                    const LcmpModelCell cell{&object, &variable, row};
                    LcmpProperty* property = built.find(cell);
                    FUZZ_REQUIRE(roundTrip, property != nullptr, "a variable without a property");
                    FUZZ_REQUIRE(roundTrip, property->getOid() == lcmpModelOid(cell), "another OID");
                    tryNaming(model, cell);
                    tryProperty(variable, *property);
                }
            }
        }
        built.restart();
    }
}

void tryGenerating(const LcmpModel& model) {
    const LcmpModelCode code = lcmpModelGenerate(model, "card");
    FUZZ_REQUIRE(textRefused, !code.header.empty() && !code.source.empty(), "no code");
    for (const char c : code.header + code.source)
        FUZZ_REQUIRE(logIsText, c == '\n' || (static_cast<unsigned char>(c) >= 0x20 && c != 0x7F),
                     "a control byte in code:\n" + code.source);
}

void tryModel(const std::string& text) {
    LcmpModel model;
    std::vector<LcmpModelError> errors;
    if (!load(text, model, errors)) {
        FUZZ_REQUIRE(textRefused, model.objects.empty(), "a refused text changes the model");
        return checkErrors(errors, text);
    }
    const std::size_t cells = cellsOf(model);
    FUZZ_REQUIRE(survives, cells <= lcmpModelMaxCells, "more variables than a model may have");
    tryWriting(model);
    if (cells > mostCellsBuilt)
        return;
    tryServing(model);
    tryGenerating(model);
}

void tryName(const std::string& name) {
    const LcmpModel& model = lcmpModelStandard();
    LcmpModelCell cell;
    std::string problem;
    if (lcmpModelFindName(model, name, cell, problem))
        return tryNaming(model, cell);
    FUZZ_REQUIRE(textRefused, !problem.empty() && cell.variable == nullptr, "refused without a word");
}

}  // namespace

void fuzz::prepare() { lcmpModelStandard(); }

void fuzz::run(unsigned int mode, Input& input) {
    if ((mode & 2U) != 0)
        tryName(input.rest());
    else
        tryModel(input.rest());
}
