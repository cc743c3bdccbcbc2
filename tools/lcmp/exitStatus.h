// How the program ends, and how a verb that cannot go on says so.
#pragma once

#include <stdexcept>
#include <string>

namespace tool {

enum class ExitStatus : int {
    done = 0,          ///< All done.
    localFailure = 1,  ///< A file, a socket, an internal error.
    usage = 2,         ///< The command line asks for something that does not exist or makes no sense.
    noAnswer = 3,      ///< No answer in time.
    refused = 4,       ///< The card refused; its result and the variable at fault are printed.
    partly = 5,  ///< Some variables of some cards failed, others did not, or a value is not the one that was
                 ///< asked to be there before or after; details are in the output.
    badFrame = 6,   ///< A malformed or unexpected frame.
    unresolved = 7  ///< A name that means nothing.
};

/// Ends the verb that throws it: the text goes to standard error behind "lcmp: ".
class Failure : public std::runtime_error {
public:
    Failure(ExitStatus status, const std::string& text) : std::runtime_error(text), m_status(status) {}

    ExitStatus status() const { return m_status; }

private:
    ExitStatus m_status;
};

}  // namespace tool
