// What every target has: one function that runs one input.
#pragma once

#include "input.h"

namespace fuzz {

/// Runs one input. What it allocates is released when it returns, and nothing of it is left in the process:
/// the same input does the same again. Whether the library logs meanwhile is the first bit of the input; that
/// byte has been taken already and is `mode`, of which the other bits are the target's.
void run(unsigned int mode, Input& input);

/// Brings about what the process keeps for its life. Called once, before anything is counted.
void prepare();

}  // namespace fuzz
