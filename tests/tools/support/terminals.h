// Terminals that a test opens for a program to write to.
#pragma once

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

/// Whether this machine has any to open; a container may have none.
inline bool hasTerminals() {
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (terminal >= 0)
        close(terminal);
    return terminal >= 0;
}

/// The first line of a test that needs one.
#define SKIP_WITHOUT_TERMINALS() \
    if (!hasTerminals())         \
    GTEST_SKIP() << "this machine has no terminals to open"
