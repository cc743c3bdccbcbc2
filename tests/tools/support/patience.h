// How long a test waits for what will come.
#pragma once

constexpr int longestWait = 30000;  // milliseconds
