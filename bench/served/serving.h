// What the servers have in common: they are started with a port of the loopback address, say when they
// listen, and end with whoever started them.
#pragma once

#include <sys/prctl.h>

#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace bench {

[[noreturn]] inline void stop(const char* reason) {
    std::fprintf(stderr, "%s\n", reason);
    std::exit(1);
}

/// The number in an argument; stops the program if there is none or it lies outside the bounds.
inline unsigned int numberIn(int argc, char* const* argv, int position, unsigned int least,
                             unsigned int most) {
    char* end = nullptr;
    const unsigned long number = position < argc ? std::strtoul(argv[position], &end, 10) : 0;
    if (end == nullptr || *end != '\0' || end == argv[position] || number < least || number > most)
        stop("wrong arguments; the source of each program begins with its usage");
    return static_cast<unsigned int>(number);
}

/// Whether an argument is the first of two words; stops the program if it is neither.
inline bool isFirstWord(int argc, char* const* argv, int position, std::string_view first,
                        std::string_view second) {
    const std::string_view word = position < argc ? argv[position] : "";
    if (word != first && word != second)
        stop("wrong arguments; the source of each program begins with its usage");
    return word == first;
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
