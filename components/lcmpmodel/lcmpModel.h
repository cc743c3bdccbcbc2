// A card model: which objects and variables a card has, their types, rules and first values, and the words
// for them. It comes from a YAML file, is judged as a whole when it is loaded, and does not change after
// that: any thread may read it.
#pragma once

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "lcmpExport.h"
#include "lcmpModelValue.h"
#include "lcmpObjects.h"

/// Both ends belong to the range.
struct LcmpModelRange {
    LcmpModelValue low;
    LcmpModelValue high;
};

/// The word for one number of an enumeration.
struct LcmpModelWord {
    LcmpModelValue number;
    std::string word;
};

/// How a variable of a simulated card moves. Numbers are those of the variable; where a table's rows
/// differ, `low`, `high` and `step` hold one number a row, and otherwise one for all.
struct LcmpModelSimulation {
    enum class Shape {
        sine,    ///< Between low and high, once up and down in `period`.
        ramp,    ///< From low to high in `period`, then from low again.
        walk,    ///< Goes up or down by at most `step`, and stays within low and high.
        steps,   ///< The `values` one after another, each for `period`, then from the first again.
        counter  ///< Grows by `rate` a second, from whatever it holds, and starts again beyond its type.
    };

    Shape shape = Shape::sine;
    std::vector<double> low;
    std::vector<double> high;
    std::vector<double> step = {1};
    double rate = 1;
    std::chrono::milliseconds period{60000};
    std::vector<LcmpModelValue> values;
    unsigned int seed = 0;  ///< Makes this variable's chance differ from others'.
};

/// One variable: of a scalar, or a column of a table.
struct LcmpModelVariable {
    unsigned int id = 0;  ///< Variable id, or column.
    std::string name;     ///< "bpClkRef": letters, digits and _, the first no digit.
    LcmpTlvType type = UINT32;
    IfcCardVarAccessType access = IFC_CARD_VAR_READ_ONLY;
    LcmpModelValue defaultValue;

    // What peers may write, beyond what the type holds.
    std::optional<LcmpModelValue> min;
    std::optional<LcmpModelValue> max;
    std::vector<LcmpModelRange> allow;        ///< Empty: everything.
    std::optional<unsigned int> maxLength;    ///< Bytes.
    std::optional<unsigned int> exactLength;  ///< Bytes.
    std::string pattern;  ///< POSIX extended regular expression for the whole text; empty: any.

    bool eventable = false;
    std::string unit;
    std::string description;
    std::vector<LcmpModelWord> words;
    std::optional<LcmpModelSimulation> simulation;

    /// What it holds at first where that is not the default, by row (0 of a scalar).
    std::map<unsigned int, LcmpModelValue> values;
};

/// One object and its variables, in the order of the file.
struct LcmpModelObject {
    std::string name;
    ifcCard::IfcCardObjectType kind = ifcCard::IFC_CARD_OBJECT_SCALAR;
    unsigned int id = 0;  ///< Group id, or table id.
    bool common = false;
    unsigned int rows = 1;  ///< 1 for a scalar.
    std::string description;
    std::vector<LcmpModelVariable> variables;

    bool isTable() const { return kind == ifcCard::IFC_CARD_OBJECT_TABLE; }
};

/// One variable in one row of a model. The pointers live as long as the model; null: nothing.
struct LcmpModelCell {
    const LcmpModelObject* object = nullptr;
    const LcmpModelVariable* variable = nullptr;
    unsigned int row = 0;  ///< May lie beyond the model's rows: a real card may have more.
};

struct LcmpModel {
    std::string card;  ///< The model's name.
    std::string description;
    std::vector<LcmpModelObject> objects;
};

// ---------------------------------------------------------------- names and OIDs

/// The OID of a cell.
LCMP_API unsigned int lcmpModelOid(const LcmpModelCell& cell);

/// "control.bpClkRef", "temperature[2].value".
LCMP_API std::string lcmpModelName(const LcmpModelCell& cell);

/// The cell with this OID. False, with `cell` as it was: the model has no such variable. Bit 29 is ignored.
LCMP_API bool lcmpModelFindOid(const LcmpModel& model, unsigned int oid, LcmpModelCell& cell);

/// The cell with this name. False, with `cell` as it was: `problem` says what is wrong with the name and
/// which one is nearest.
LCMP_API bool lcmpModelFindName(const LcmpModel& model, const std::string& name, LcmpModelCell& cell,
                                std::string& problem);

/// The object with this name, or null.
LCMP_API const LcmpModelObject* lcmpModelFindObject(const LcmpModel& model, const std::string& name);

/// The variable with this name, or null.
LCMP_API const LcmpModelVariable* lcmpModelFindVariable(const LcmpModelObject& object,
                                                        const std::string& name);

/// The word for a value, or null.
LCMP_API const char* lcmpModelWordOf(const LcmpModelVariable& variable, const LcmpModelValue& value);

/// The candidate that differs from the word in the fewest letters, case aside; empty if all differ too much.
LCMP_API std::string lcmpModelNearestName(const std::string& word,
                                          const std::vector<std::string>& candidates);

/// Which rule of the variable the value breaks, its access aside, in words: "4 is not allowed: 0 to 3, 128".
/// Empty: a peer may write it.
LCMP_API std::string lcmpModelWhyRefused(const LcmpModelVariable& variable, const LcmpModelValue& value);

/// Whether a peer may write this value: the rules of the variable, its access aside.
LCMP_API bool lcmpModelAccepts(const LcmpModelVariable& variable, const LcmpModelValue& value);

// ---------------------------------------------------------------- files

/// One thing that is wrong with a model.
struct LcmpModelError {
    std::string file;
    unsigned int line = 0;  ///< From 1; 0: the file as a whole.
    unsigned int column = 0;
    std::string message;
};

/// "FILE:LINE:COLUMN: message".
LCMP_API std::string lcmpModelErrorText(const LcmpModelError& error);

// What a model may not exceed: a file that does is refused before it is built.
constexpr unsigned int lcmpModelMaxBytes = 4 * 1024 * 1024;       // of the file
constexpr unsigned int lcmpModelMaxDepth = 16;                    // lists and maps inside each other
constexpr unsigned int lcmpModelMaxNodes = 500000;                // lists, maps and values in the file
constexpr unsigned int lcmpModelMaxCells = 262144;                // variables, a column once for each row
constexpr unsigned int lcmpModelMaxHeldBytes = 16 * 1024 * 1024;  // of texts and byte arrays in all rows

/// Loads a model from YAML. False: `errors` tells everything that is wrong, sorted by line and column, and
/// `model` is as it was. `file` is what errors call the text.
LCMP_API bool lcmpModelLoadText(const std::string& text, const std::string& file, LcmpModel& model,
                                std::vector<LcmpModelError>& errors);

/// The same from a file.
LCMP_API bool lcmpModelLoadFile(const std::string& file, LcmpModel& model,
                                std::vector<LcmpModelError>& errors);

/// The model as YAML that loads as an equal one.
LCMP_API std::string lcmpModelToYaml(const LcmpModel& model);

/// The standard card. Lives as long as the library is loaded.
LCMP_API const LcmpModel& lcmpModelStandard();
