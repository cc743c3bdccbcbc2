// What the process holds: pages in memory, and blocks from the heap.
#pragma once

#include <cstdint>

struct Memory {
    std::uint64_t residentBytes = 0;
    std::uint64_t liveAllocations = 0;  // by malloc and new alike
};

/// As it is now. A program that links this takes malloc and its kin from here.
Memory memoryNow();
