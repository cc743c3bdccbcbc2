#include "memory.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#define LCMP_PREEMPTS __attribute__((visibility("default")))

// The C library's own, under the names it keeps for those who replace the public ones.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" {
void* __libc_malloc(std::size_t size) noexcept;
void* __libc_calloc(std::size_t count, std::size_t size) noexcept;
void* __libc_realloc(void* pointer, std::size_t size) noexcept;
void* __libc_memalign(std::size_t alignment, std::size_t size) noexcept;
void __libc_free(void* pointer) noexcept;
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)

namespace {

std::uint64_t live = 0;  // one thread

void* counted(void* block) {
    live += block != nullptr ? 1 : 0;
    return block;
}

// Counted page by page, unlike the quick figures of /proc/self/statm. Read without a stream, which would
// allocate.
std::uint64_t residentKibibytes() {
    std::array<char, 512> text{};
    const int file = open("/proc/self/smaps_rollup", O_RDONLY | O_CLOEXEC);
    if (file < 0)
        return 0;
    const ssize_t size = read(file, text.data(), text.size() - 1);
    close(file);
    const char* const place = size > 0 ? std::strstr(text.data(), "\nRss:") : nullptr;
    return place != nullptr ? std::strtoull(place + 5, nullptr, 10) : 0;
}

}  // namespace

Memory memoryNow() {
    const std::uint64_t blocks = live;
    return {residentKibibytes() * 1024, blocks};
}

// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name): theirs are reserved names.
extern "C" LCMP_PREEMPTS void* malloc(std::size_t size) noexcept { return counted(__libc_malloc(size)); }

extern "C" LCMP_PREEMPTS void* calloc(std::size_t count, std::size_t size) noexcept {
    return counted(__libc_calloc(count, size));
}

extern "C" LCMP_PREEMPTS void* realloc(void* pointer, std::size_t size) noexcept {
    void* const block = __libc_realloc(pointer, size);
    if (pointer == nullptr)
        return counted(block);
    live -= size == 0 ? 1 : 0;
    return block;
}

extern "C" LCMP_PREEMPTS void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
    return counted(__libc_memalign(alignment, size));
}

extern "C" LCMP_PREEMPTS void* memalign(std::size_t alignment, std::size_t size) noexcept {
    return counted(__libc_memalign(alignment, size));
}

extern "C" LCMP_PREEMPTS int posix_memalign(void** place, std::size_t alignment, std::size_t size) noexcept {
    void* const block = counted(__libc_memalign(alignment, size));
    if (block == nullptr)
        return ENOMEM;
    *place = block;
    return 0;
}

extern "C" LCMP_PREEMPTS void free(void* pointer) noexcept {
    live -= pointer != nullptr ? 1 : 0;
    __libc_free(pointer);
}
// NOLINTEND(readability-inconsistent-declaration-parameter-name)
