// Models as tests write them: one object, one variable, or a whole file.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "lcmpModel.h"

/// Loads a model that has to be good.
inline LcmpModel loaded(const std::string& text) {
    LcmpModel model;
    std::vector<LcmpModelError> errors;
    if (!lcmpModelLoadText(text, "test.yaml", model, errors)) {
        for (const LcmpModelError& error : errors)
            ADD_FAILURE() << lcmpModelErrorText(error);
    }
    return model;
}

/// What is wrong with a model, "3:5: message" each.
inline std::vector<std::string> faultsOf(const std::string& text) {
    LcmpModel model;
    std::vector<LcmpModelError> errors;
    const bool isGood = lcmpModelLoadText(text, "f", model, errors);
    EXPECT_EQ(isGood, errors.empty());
    std::vector<std::string> faults;
    for (const LcmpModelError& error : errors)
        faults.push_back(lcmpModelErrorText(error).substr(2));
    return faults;
}

/// A model of one scalar with these entries of `variables`, each a line of its own from line 7 on.
inline std::string scalarWith(const std::vector<std::string>& variables) {
    std::string text = "card: c\nobjects:\n  - name: s\n    kind: scalar\n    id: 4\n    variables:\n";
    for (const std::string& variable : variables)
        text += "    - {" + variable + "}\n";
    return text;
}

/// The same of a table of four rows.
inline std::string tableWith(const std::vector<std::string>& variables) {
    std::string text =
        "card: c\nobjects:\n  - {name: t, kind: table, id: 4, common: true, rows: 4,\n\n\n    variables: [\n";
    for (const std::string& variable : variables)
        text += "    {" + variable + "},\n";
    return text + "    ]}\n";
}

/// What is wrong with one variable of a scalar; the columns are those of its line.
inline std::vector<std::string> faultsOfVariable(const std::string& entries) {
    return faultsOf(scalarWith({entries}));
}
