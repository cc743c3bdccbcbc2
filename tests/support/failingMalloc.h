// Memory that runs out on command. A program that links this takes malloc, calloc, realloc and free from here
// instead of the C library. Only these are counted and fail: new goes on as ever, so that a test can collect
// log lines and write its findings while nothing is to be had.
#pragma once

#include <cstddef>

constexpr int alwaysWorks = -1;

/// From now on the next `n` allocations succeed and every later one fails, until mallocWorks. Counting starts
/// again at 0. An n of alwaysWorks only counts.
void failMallocAfter(int n);

/// Allocations succeed again. The counts stay as they are, and no longer grow.
void mallocWorks();

/// Between the two calls above: allocations asked for, those that failed included.
int mallocCount();

/// Between the two calls above: buffers given back with free, and the last of them.
int freeCount();
const void* lastFreed();

/// The bytes the last successful allocation asked for.
std::size_t lastMallocSize();
