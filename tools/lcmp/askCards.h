// Several cards asked at the same time.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "exchange.h"
#include "lcmpUdpAddress.h"

namespace tool {

/// Asks one card, and says what became of each variable.
using AskCard = std::function<std::vector<Outcome>(const LcmpUdpAddress& card)>;

/// Runs the action. What stops it, a Failure or a lack of memory, becomes the outcome of all `variables`.
std::vector<Outcome> outcomesOf(const std::function<std::vector<Outcome>()>& action, std::size_t variables);

/// Asks each of the cards for so many variables: one alone from this process, more from processes of their
/// own, up to 64 at the same time. `take` gets the outcomes in the order of the cards, each when those before
/// are there.
void askCards(const std::vector<LcmpUdpAddress>& cards, std::size_t variables, const AskCard& ask,
              const std::function<void(const LcmpUdpAddress& card, const std::vector<Outcome>&)>& take);

/// The outcomes as bytes, and the outcomes of such bytes. A Failure of status `localFailure` for others.
std::string packOutcomes(const std::vector<Outcome>& outcomes);
std::vector<Outcome> unpackOutcomes(std::string_view bytes);

/// Asks the cards, and prints to standard output in this format what became of their variables, to standard
/// error what went wrong. The status of all together: see overallStatus.
ExitStatus askAndPrint(const std::vector<LcmpUdpAddress>& cards, const std::vector<Variable>& variables,
                       const std::string& format, const AskCard& ask);

}  // namespace tool
