// What holds whatever a peer sends or a person types: the invariants of docs/security.md, by number and name.
// A target that finds one broken says which and ends the process. The sanitizers watch the first two.
#pragma once

#include <string>

namespace fuzz {

struct Invariant {
    int number;
    const char* name;
};

constexpr Invariant insideBuffers{1, "inside its buffers"};
constexpr Invariant survives{2, "survives everything"};
constexpr Invariant memoryReturned{3, "memory is returned"};
constexpr Invariant oneAnswer{4, "one answer to a request"};
constexpr Invariant silence{5, "silence to everything else"};
constexpr Invariant smallAnswers{6, "small answers"};
constexpr Invariant allOrNothing{7, "a broken frame does nothing"};
constexpr Invariant checkedWrites{8, "writes are checked"};
constexpr Invariant repliesFit{9, "replies and events fit"};
constexpr Invariant peersApart{10, "peers apart"};
constexpr Invariant roundTrip{11, "the same bytes back"};
constexpr Invariant ownBytes{12, "no bytes of others"};
constexpr Invariant logIsText{13, "the log is text"};
constexpr Invariant textRefused{14, "text is refused by name"};
constexpr Invariant requestsCounted{15, "requests are whole"};

/// Ends the process with the invariant's number and name, and what was found.
[[noreturn]] void broken(const Invariant& invariant, const std::string& finding);

/// `finding` is a text or a call that makes one: it runs only when the invariant is broken.
#define FUZZ_REQUIRE(invariant, condition, finding)   \
    do {                                              \
        if (!(condition))                             \
            fuzz::broken(fuzz::invariant, (finding)); \
    } while (false)

}  // namespace fuzz
