// The entry of an input, from the fuzzing engine or from a file.
#include <cstdint>
#include <string>

#include "allocations.h"
#include "fuzzTarget.h"
#include "invariants.h"
#include "quietLog.h"

namespace {

// How many more blocks are alive after the input than before.
long growthOver(const std::uint8_t* data, std::size_t size) {
    const long before = fuzz::liveAllocations();
    {
        fuzz::Input input(data, size);
        const unsigned int mode = input.u8();
        const fuzz::QuietLog log((mode & 1U) != 0);
        fuzz::run(mode, input);
    }
    return fuzz::liveAllocations() - before;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    fuzz::countAllocations();
    fuzz::prepare();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // A table that is made on first use is kept once. What grows again is lost.
    if (growthOver(data, size) == 0)
        return 0;
    const long again = growthOver(data, size);
    FUZZ_REQUIRE(memoryReturned, again == 0, "blocks kept after an input: " + std::to_string(again));
    return 0;
}
