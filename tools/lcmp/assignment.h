// NAME=VALUE as people type it, and what the card's model has to say about it.
#pragma once

#include <string>

#include "exchange.h"
#include "lcmpModel.h"

namespace tool {

/// "control.bpClkRef=3", "0x50c10005:UINT32=7", "port[3].link=up". A Failure names what is wrong: of status
/// `unresolved` the name, of status `usage` the rest.
Assignment parseAssignment(const std::string& text, const LcmpModel& model);

/// A value of this variable, also the word that its model has for it. A Failure of status `usage` begins
/// with the variable's name. The variable has a type.
Element parseValueOf(const Variable& variable, const std::string& text);

/// What a card that keeps to its model makes of a write.
struct Forecast {
    unsigned int result = 0;  ///< RESULT_OK, or why it refuses.
    std::string reason;       ///< Where it refuses: in words.
    bool isKnown = true;      ///< False: the model does not have the variable, and says nothing.
};

Forecast forecast(const Assignment& assignment, const LcmpModel& model);

/// Prints to standard output what would be sent of each, and to standard error what the model has against it.
/// The status that the write would have: `done` or `refused`.
ExitStatus printForecast(const std::vector<Assignment>& assignments, const LcmpModel& model,
                         const std::string& format);

}  // namespace tool
