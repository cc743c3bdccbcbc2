// How many allocations of this process are alive.
#pragma once

namespace fuzz {

/// To be called once, before anything is counted.
void countAllocations();

/// Blocks from malloc and new that have not been freed, counted from some start.
long liveAllocations();

}  // namespace fuzz
