// The one atomic operation of eight bytes that the sanitizers' libraries call on 32-bit PowerPC and that
// nobody has there: neither the processor nor libatomic, which has it under its newer name.
#include <cstdint>

// Called before the sanitizers have set themselves up: nothing in here is checked.
#define LCMP_UNCHECKED __attribute__((visibility("default"), no_sanitize("address", "undefined")))

extern "C" LCMP_UNCHECKED std::uint64_t swapIfEqual(
    volatile std::uint64_t* place, std::uint64_t expected,
    std::uint64_t desired) __asm__("__sync_val_compare_and_swap_8");

std::uint64_t swapIfEqual(volatile std::uint64_t* place, std::uint64_t expected, std::uint64_t desired) {
    __atomic_compare_exchange_n(place, &expected, desired, false, __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST);
    return expected;
}
