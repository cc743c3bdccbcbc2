// Reading and writing variables of a card: as many requests as it takes, and what became of every variable.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "clientOptions.h"
#include "exitStatus.h"
#include "lcmpUdpEndpoint.h"
#include "standardNames.h"
#include "value.h"

namespace tool {

/// What became of one variable.
struct Outcome {
    ExitStatus status = ExitStatus::done;
    unsigned int result = 0;       ///< The card's, where it refused this variable.
    std::string problem;           ///< Where status is not `done`: in words.
    std::optional<Element> value;  ///< What was read, or was to be written.
};

/// One variable and the value it shall have.
struct Assignment {
    Variable variable;
    Element value;
};

/// 0 when everything is done, `partly` when something is, otherwise the first failure's.
ExitStatus overallStatus(const std::vector<Outcome>& outcomes);

/// One card, asked from a port of its own. Requests hold at most 150 elements and, unless a single element is
/// larger, 1200 bytes.
class Exchange : private LcmpUdpEndpoint {
public:
    /// Opens the socket; a Failure of status `localFailure` says why not.
    /// Variables that were not asked for are called as the model does, which outlives this.
    Exchange(const LcmpUdpAddress& card, const ClientSettings& settings,
             const LcmpModel& model = lcmpModelStandard());

    /// One outcome a variable, in order. What the card refuses is left out and the rest asked again; an
    /// answer that is too long is asked for in halves. No answer, or a malformed one, ends it for all that is
    /// left.
    std::vector<Outcome> read(const std::vector<Variable>& variables);

    /// The same for writing. The card refuses a request as a whole, and nothing is sent after a refusal.
    std::vector<Outcome> write(const std::vector<Assignment>& assignments);

private:
    using Positions = std::vector<std::size_t>;  // of variables, in the caller's list
    struct Reply;

    Reply ask(LcmpAction action, const std::vector<Element>& elements);
    Reply parseReply() const;
    std::string silence(const LcmpUdpCounters& before) const;
    void readBatch(Positions batch);
    void narrow(Positions& batch, const Reply& reply);
    void takeValues(const Positions& batch, const Reply& reply);
    void writeBatch(const Positions& batch, const std::vector<Assignment>& assignments);
    std::string refusal(const std::string& what, unsigned int result) const;
    void refuse(std::size_t position, unsigned int result);
    void endWith(const Positions& positions, ExitStatus status, const std::string& problem);
    void skip(const Positions& positions, ExitStatus status, const std::string& what);
    void fail(const Positions& positions, ExitStatus status, const std::string& problem);
    std::string cardText() const { return lcmpUdpToText(m_card); }

    LcmpUdpAddress m_card;
    const LcmpModel& m_model;
    int m_tries;
    std::vector<Variable> m_variables;  // of the call that runs
    std::vector<Outcome> m_outcomes;
    bool m_over = false;  // nothing more is sent
};

}  // namespace tool
