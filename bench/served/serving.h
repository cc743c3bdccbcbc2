// What the servers have in common: they are started with a port of the loopback address, say when they
// listen, and end with whoever started them.
#pragma once

#include <sys/prctl.h>

#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace bench {

[[noreturn]] inline void stop(const char* reason) {
    std::fprintf(stderr, "%s\n", reason);
    std::exit(1);
}

/// The number in an argument; stops the program if there is none or it is not between the bounds.
inline unsigned int numberIn(int argc, char* const* argv, int position, unsigned int least,
                             unsigned int most) {
    char* end = nullptr;
    const unsigned long number = position < argc ? std::strtoul(argv[position], &end, 10) : 0;
    if (end == nullptr || *end != '\0' || end == argv[position] || number < least || number > most)
        stop("usage: see bench/README.md");
    return static_cast<unsigned int>(number);
}

inline std::uint16_t portIn(int argc, char* const* argv) {
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    return static_cast<std::uint16_t>(numberIn(argc, argv, 1, 1, 65535));
}

inline void sayListening() {
    std::puts("listening");
    std::fflush(stdout);
}

}  // namespace bench
