// How a command line that is being typed may go on. What there is is asked of the program's own description,
// so that a new verb or option completes by itself.
#pragma once

#include <string>
#include <vector>

#include "modelCandidates.h"

namespace CLI {
class App;
}

namespace tool {

struct Completion {
    std::vector<Candidate> candidates;  ///< All begin with the last word.
    std::string kind;  ///< What else fits, and the shell knows: "files", "folders", "hosts" or "".
};

/// The ways to go on with the last of the words, which may be empty; those before it are taken as they stand,
/// the program's own name is not among them. A model that cannot be loaded has no names.
Completion complete(const CLI::App& program, const std::vector<std::string>& words);

}  // namespace tool
