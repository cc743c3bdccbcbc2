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
    LcmpModelValue low;   ///< The smallest value.
    LcmpModelValue high;  ///< The largest value.
};

/// The word for one number of an enumeration.
struct LcmpModelWord {
    LcmpModelValue number;  ///< A value of the variable's type.
    std::string word;       ///< What it is called.
};

/// How a variable of a simulated card moves. Numbers are those of the variable; where a table's rows
/// differ, `low`, `high` and `step` hold one number a row, and otherwise one for all.
struct LcmpModelSimulation {
    /// The kinds of movement.
    enum class Shape {
        sine,    ///< Between low and high, once up and down in `period`.
        ramp,    ///< From low to high in `period`, then from low again.
        walk,    ///< Goes up or down by at most `step`, and stays within low and high.
        steps,   ///< The `values` one after another, each for `period`, then from the first again.
        counter  ///< Grows by `rate` a second, from whatever it holds, and starts again beyond its type.
    };

    Shape shape = Shape::sine;                ///< Which of the others count.
    std::vector<double> low;                  ///< Of sine, ramp and walk.
    std::vector<double> high;                 ///< Of sine, ramp and walk; not below `low`.
    std::vector<double> step = {1};           ///< Of walk; not below 0.
    double rate = 1;                          ///< Of counter: in a second.
    std::chrono::milliseconds period{60000};  ///< Of sine, ramp and steps; not 0.
    std::vector<LcmpModelValue> values;       ///< Of steps; not empty.
    unsigned int seed = 0;                    ///< Makes this variable's chance differ from others'.
};

/// One variable: of a scalar, or a column of a table.
struct LcmpModelVariable {
    unsigned int id = 0;        ///< Variable id, or column.
    std::string name;           ///< "bpClkRef": letters, digits and _, the first no digit.
    LcmpTlvType type = UINT32;  ///< Of all its values.
    IfcCardVarAccessType access = IFC_CARD_VAR_READ_ONLY;  ///< Whether peers may write.
    LcmpModelValue defaultValue;                           ///< Held at first, unless `values` says otherwise.

    // What peers may write, beyond what the type holds.
    std::optional<LcmpModelValue> min;
    std::optional<LcmpModelValue> max;
    std::vector<LcmpModelRange> allow;        ///< Empty: everything.
    std::optional<unsigned int> maxLength;    ///< Bytes.
    std::optional<unsigned int> exactLength;  ///< Bytes.
    std::string pattern;  ///< POSIX extended regular expression for the whole text; empty: any.

    bool eventable = false;                         ///< Whether changes are reported.
    std::string unit;                               ///< Shown behind values; empty: none.
    std::string description;                        ///< For people.
    std::vector<LcmpModelWord> words;               ///< Of an enumeration's numbers.
    std::optional<LcmpModelSimulation> simulation;  ///< How a simulated card moves it.

    /// What it holds at first where that is not the default, by row (0 of a scalar).
    std::map<unsigned int, LcmpModelValue> values;
};

/// One object and its variables, in the order of the file.
struct LcmpModelObject {
    std::string name;                                                   ///< As of a variable.
    ifcCard::IfcCardObjectType kind = ifcCard::IFC_CARD_OBJECT_SCALAR;  ///< Scalar or table.
    unsigned int id = 0;                                                ///< Group id, or table id.
    bool common = false;                       ///< Whether its OIDs carry the common flag.
    unsigned int rows = 1;                     ///< 1 for a scalar.
    std::string description;                   ///< For people.
    std::vector<LcmpModelVariable> variables;  ///< In the order of the file.

    /// Whether it is a table, and not a scalar.
    bool isTable() const { return kind == ifcCard::IFC_CARD_OBJECT_TABLE; }
};

/// One variable in one row of a model. The pointers live as long as the model; null: nothing.
struct LcmpModelCell {
    const LcmpModelObject* object = nullptr;      ///< Whose variable it is.
    const LcmpModelVariable* variable = nullptr;  ///< One of the object's.
    unsigned int row = 0;  ///< May lie beyond the model's rows: a real card may have more.
};

/// A whole model.
struct LcmpModel {
    std::string card;                      ///< The model's name.
    std::string description;               ///< For people.
    std::vector<LcmpModelObject> objects;  ///< In the order of the file.
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
    std::string file;         ///< What the loading call was told.
    unsigned int line = 0;    ///< From 1; 0: the file as a whole.
    unsigned int column = 0;  ///< From 1; 0: the file as a whole.
    std::string message;      ///< What is wrong, and the nearest that would be right.
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
