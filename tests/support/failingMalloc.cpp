#include "failingMalloc.h"

#include <cerrno>
#include <cstdlib>
#include <new>

#define LCMP_PREEMPTS __attribute__((visibility("default")))

// The C library's own, under the names it keeps for those who replace the public ones.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" {
void* __libc_malloc(std::size_t size) noexcept;
void* __libc_calloc(std::size_t count, std::size_t size) noexcept;
void* __libc_realloc(void* pointer, std::size_t size) noexcept;
void __libc_free(void* pointer) noexcept;
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)

namespace {

struct Window {
    bool open = false;
    int successesLeft = alwaysWorks;
    int allocations = 0;
    int frees = 0;
    const void* lastFreed = nullptr;
    std::size_t lastSize = 0;
};

Window window;

bool refused(std::size_t size) {
    if (!window.open)
        return false;
    ++window.allocations;
    if (window.successesLeft == 0) {
        errno = ENOMEM;
        return true;
    }
    if (window.successesLeft > 0)
        --window.successesLeft;
    window.lastSize = size;
    return false;
}

void* newBytes(std::size_t size) {
    void* memory = __libc_malloc(size != 0 ? size : 1);
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}

}  // namespace

void failMallocAfter(int n) {
    window = Window();
    window.successesLeft = n;
    window.open = true;
}

void mallocWorks() { window.open = false; }

int mallocCount() { return window.allocations; }
int freeCount() { return window.frees; }
const void* lastFreed() { return window.lastFreed; }
std::size_t lastMallocSize() { return window.lastSize; }

// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name): theirs are reserved names.
extern "C" LCMP_PREEMPTS void* malloc(std::size_t size) noexcept {
    return refused(size) ? nullptr : __libc_malloc(size);
}

extern "C" LCMP_PREEMPTS void* calloc(std::size_t count, std::size_t size) noexcept {
    return refused(count * size) ? nullptr : __libc_calloc(count, size);
}

extern "C" LCMP_PREEMPTS void* realloc(void* pointer, std::size_t size) noexcept {
    return refused(size) ? nullptr : __libc_realloc(pointer, size);
}

extern "C" LCMP_PREEMPTS void free(void* pointer) noexcept {
    if (window.open && pointer != nullptr) {
        ++window.frees;
        window.lastFreed = pointer;
    }
    __libc_free(pointer);
}
// NOLINTEND(readability-inconsistent-declaration-parameter-name)

// new and delete pass by the functions above. The array and nothrow forms of the C++ library end here too.
LCMP_PREEMPTS void* operator new(std::size_t size) { return newBytes(size); }
LCMP_PREEMPTS void operator delete(void* pointer) noexcept { __libc_free(pointer); }
LCMP_PREEMPTS void operator delete(void* pointer, std::size_t /*size*/) noexcept { __libc_free(pointer); }
