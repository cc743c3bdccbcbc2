// What a person may be about to type who names something of a card, by the card's model.
#pragma once

#include <string>
#include <vector>

#include "lcmpModel.h"

namespace tool {

/// One way to go on. A text that ends in one of ".[:=" is not the whole word yet.
struct Candidate {
    std::string text;
    std::string description;  ///< One line, may be empty.
};

// Each gives the candidates that begin with `word`, in the order of the model. Names come in steps, like the
// folders of a path: objects first, then the rows of a table, then variables. A step that leaves no choice is
// taken at once.

/// Variables: "control.", "control.bpClkRef", "temperature[", "temperature[2].", "temperature[2].value";
/// behind an OID and a colon, types.
std::vector<Candidate> nameCandidates(const std::string& word, const LcmpModel& model);

/// Variables that can be written, "control.bpClkRef=", and behind that what the model says may be written
/// there: words, true and false, numbers that are allowed one by one.
std::vector<Candidate> assignmentCandidates(const std::string& word, const LcmpModel& model);

/// Objects, "control", "temperature".
std::vector<Candidate> objectCandidates(const std::string& word, const LcmpModel& model);

}  // namespace tool
