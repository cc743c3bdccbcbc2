#include "failingMemory.h"

#include <cerrno>
#include <cstdlib>

#define LCMP_PREEMPTS __attribute__((visibility("default")))

#ifdef LCMP_MALLOC_CAN_BE_REPLACED
// The C library's own, under the names it keeps for those who replace the public ones.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" {
void* __libc_malloc(std::size_t size) noexcept;
void* __libc_calloc(std::size_t count, std::size_t size) noexcept;
void* __libc_realloc(void* pointer, std::size_t size) noexcept;
void __libc_free(void* pointer) noexcept;
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
#define REAL_MALLOC __libc_malloc
#define REAL_FREE __libc_free
#else
#define REAL_MALLOC std::malloc
#define REAL_FREE std::free
#endif

namespace {

bool counting = false;
int allocationsLeft = 0;  // until the one that fails
Asker refused = Asker::nobody;
long live = 0;

bool refuses(Asker asker) {
    if (!counting || allocationsLeft-- != 0)
        return false;
    refused = asker;
    return true;
}

void* counted(void* memory) {
    live += memory != nullptr ? 1 : 0;
    return memory;
}

void* newBytes(std::size_t size, Asker asker) {
    return refuses(asker) ? nullptr : counted(REAL_MALLOC(size != 0 ? size : 1));
}

void* newOrThrow(std::size_t size) {
    void* memory = newBytes(size, Asker::new_);
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}

void giveBack(void* memory) {
    live -= memory != nullptr ? 1 : 0;
    REAL_FREE(memory);
}

}  // namespace

MemoryFault workWithFault(int n, const std::function<void()>& work) {
    LogCounter log(levelError);
    MemoryFault fault;
    refused = Asker::nobody;
    allocationsLeft = n;
    counting = true;
    try {
        work();
    } catch (const std::bad_alloc&) {
        fault.threw = true;
    }
    counting = false;
    fault.asker = refused;
    fault.errorLines = log.errors;
    return fault;
}

long liveAllocations() { return live; }

#ifdef LCMP_MALLOC_CAN_BE_REPLACED
// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name): theirs are reserved names.
extern "C" LCMP_PREEMPTS void* malloc(std::size_t size) noexcept {
    if (refuses(Asker::malloc)) {
        errno = ENOMEM;
        return nullptr;
    }
    return counted(__libc_malloc(size));
}

extern "C" LCMP_PREEMPTS void* calloc(std::size_t count, std::size_t size) noexcept {
    if (refuses(Asker::malloc)) {
        errno = ENOMEM;
        return nullptr;
    }
    return counted(__libc_calloc(count, size));
}

extern "C" LCMP_PREEMPTS void* realloc(void* pointer, std::size_t size) noexcept {
    if (refuses(Asker::malloc)) {
        errno = ENOMEM;
        return nullptr;
    }
    void* memory = __libc_realloc(pointer, size);
    return pointer == nullptr ? counted(memory) : memory;
}

extern "C" LCMP_PREEMPTS void free(void* pointer) noexcept { giveBack(pointer); }
// NOLINTEND(readability-inconsistent-declaration-parameter-name)
#endif

// The array forms of the C++ library end here too.
LCMP_PREEMPTS void* operator new(std::size_t size) { return newOrThrow(size); }
LCMP_PREEMPTS void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return newBytes(size, Asker::newNothrow);
}
LCMP_PREEMPTS void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return newBytes(size, Asker::newNothrow);
}
LCMP_PREEMPTS void operator delete(void* pointer) noexcept { giveBack(pointer); }
LCMP_PREEMPTS void operator delete(void* pointer, std::size_t /*size*/) noexcept { giveBack(pointer); }
LCMP_PREEMPTS void operator delete(void* pointer, const std::nothrow_t& /*tag*/) noexcept {
    giveBack(pointer);
}
LCMP_PREEMPTS void operator delete[](void* pointer, const std::nothrow_t& /*tag*/) noexcept {
    giveBack(pointer);
}
