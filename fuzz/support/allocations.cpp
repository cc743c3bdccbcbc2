#include "allocations.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>

#include "sanitized.h"

namespace {

std::atomic<long> live{0};

}  // namespace

long fuzz::liveAllocations() { return live.load(std::memory_order_relaxed); }

#ifdef FUZZ_ADDRESS_SANITIZER

// Declared here: g++ 12 comes with the function and without its header.
// NOLINTNEXTLINE(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): the sanitizer's own name.
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*allocated)(const volatile void*, std::size_t),
                                                         void (*freed)(const volatile void*));

void fuzz::countAllocations() {
    __sanitizer_install_malloc_and_free_hooks(
        [](const volatile void*, std::size_t) { live.fetch_add(1, std::memory_order_relaxed); },
        [](const volatile void*) { live.fetch_sub(1, std::memory_order_relaxed); });
}

#else

// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): the C library's own, under the names
// it keeps for those who replace the public ones.
extern "C" {
void* __libc_malloc(std::size_t size) noexcept;
void* __libc_calloc(std::size_t count, std::size_t size) noexcept;
void* __libc_realloc(void* pointer, std::size_t size) noexcept;
void __libc_free(void* pointer) noexcept;
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)

namespace {

void* counted(void* block) {
    if (block != nullptr)
        live.fetch_add(1, std::memory_order_relaxed);
    return block;
}

}  // namespace

void fuzz::countAllocations() {}

extern "C" __attribute__((visibility("default"))) void* malloc(std::size_t size) noexcept {
    return counted(__libc_malloc(size));
}

extern "C" __attribute__((visibility("default"))) void* calloc(std::size_t count, std::size_t size) noexcept {
    return counted(__libc_calloc(count, size));
}

extern "C" __attribute__((visibility("default"))) void* realloc(void* pointer, std::size_t size) noexcept {
    void* block = __libc_realloc(pointer, size);
    return pointer == nullptr ? counted(block) : block;
}

extern "C" __attribute__((visibility("default"))) void free(void* pointer) noexcept {
    if (pointer != nullptr)
        live.fetch_sub(1, std::memory_order_relaxed);
    __libc_free(pointer);
}

#endif
