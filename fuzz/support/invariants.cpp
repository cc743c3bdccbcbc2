#include "invariants.h"

#include <cstdio>
#include <cstdlib>

namespace fuzz {

void broken(const Invariant& invariant, const std::string& finding) {
    std::fprintf(stderr, "security.md invariant %d (%s) does not hold: %s\n", invariant.number,
                 invariant.name, finding.c_str());
    std::fflush(stderr);
    std::abort();
}

}  // namespace fuzz
