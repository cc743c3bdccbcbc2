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

/// What one request to read came to.
struct Attempt {
    enum class Kind {
        served,   ///< `outcomes` has one a variable, in order; some may be faulty.
        refused,  ///< For the variable at `position`, by `result`; the others may be had without it.
        tooMuch,  ///< By `result`, which does not say for which variable; fewer of them may be had.
        over      ///< Nothing more is to be had: `status` and `problem` say why.
    };

    Kind kind = Kind::served;
    std::vector<Outcome> outcomes;
    std::size_t position = 0;
    unsigned int result = 0;
    ExitStatus status = ExitStatus::done;
    std::string problem;
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

    /// One request for these variables, which the caller knows to fit, and its retries.
    Attempt readOnce(const std::vector<Variable>& variables);

    /// The same as `read` for writing. The card refuses a request as a whole, and nothing is sent after a
    /// refusal.
    std::vector<Outcome> write(const std::vector<Assignment>& assignments);

    /// "192.0.2.1:17470 refused WHAT: RESULT WRONG OID".
    std::string refusal(const std::string& what, unsigned int result) const;

    /// "192.0.2.1:17470".
    std::string cardText() const { return lcmpUdpToText(m_card); }

    /// Of the socket; belongs to this.
    int fileDescriptor() const { return getFileDescriptor(); }

private:
    using Positions = std::vector<std::size_t>;  // of variables, in the caller's list
    struct Reply;

    Reply ask(LcmpAction action, const std::vector<Element>& elements);
    Reply parseReply() const;
    std::string silence(const LcmpUdpCounters& before) const;
    void readBatch(Positions batch);
    void narrow(Positions& batch, const Attempt& attempt);
    Attempt takeValues(const std::vector<Variable>& variables, const Reply& reply) const;
    Outcome outcomeOf(const Variable& variable, const Element& element) const;
    void writeBatch(const Positions& batch, const std::vector<Assignment>& assignments);
    void refuse(std::size_t position, unsigned int result);
    void endWith(const Positions& positions, ExitStatus status, const std::string& problem);
    void skip(const Positions& positions, ExitStatus status, const std::string& what);
    void fail(const Positions& positions, ExitStatus status, const std::string& problem);

    LcmpUdpAddress m_card;
    const LcmpModel& m_model;
    int m_tries;
    std::vector<Variable> m_variables;  // of the call that runs
    std::vector<Outcome> m_outcomes;
    bool m_over = false;  // nothing more is sent
};

}  // namespace tool
