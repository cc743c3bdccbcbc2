#include "callFaults.h"

#include <dlfcn.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <iterator>

namespace {

CallFault* current = nullptr;

template <typename Function>
Function* next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

/// Whether this call fails, with errno set.
bool fails(const char* call) {
    const int error = current != nullptr ? current->take(call) : 0;
    if (error != 0)
        errno = error;
    return error != 0;
}

}  // namespace

// A definition in the program comes before the C library's.
#define INTERPOSED extern "C" __attribute__((visibility("default")))

INTERPOSED int socket(int domain, int type, int protocol) noexcept {
    static const auto real = next<int(int, int, int)>("socket");
    return fails("socket") ? -1 : real(domain, type, protocol);
}

INTERPOSED int setsockopt(int fileDescriptor, int level, int name, const void* value,
                          socklen_t size) noexcept {
    static const auto real = next<int(int, int, int, const void*, socklen_t)>("setsockopt");
    return fails("setsockopt") ? -1 : real(fileDescriptor, level, name, value, size);
}

INTERPOSED int bind(int fileDescriptor, const sockaddr* address, socklen_t size) noexcept {
    static const auto real = next<int(int, const sockaddr*, socklen_t)>("bind");
    return fails("bind") ? -1 : real(fileDescriptor, address, size);
}

INTERPOSED int getsockname(int fileDescriptor, sockaddr* address, socklen_t* size) noexcept {
    static const auto real = next<int(int, sockaddr*, socklen_t*)>("getsockname");
    return fails("getsockname") ? -1 : real(fileDescriptor, address, size);
}

INTERPOSED int close(int fileDescriptor) {
    static const auto real = next<int(int)>("close");
    const int result = real(fileDescriptor);
    return fails("close") ? -1 : result;
}

CallFault::CallFault(const std::string& call, int error) : m_call(call), m_error(error) { current = this; }

CallFault::~CallFault() { current = nullptr; }

int CallFault::take(const std::string& call) {
    if (m_happened || call != m_call)
        return 0;
    m_happened = true;
    return m_error;
}

int openDescriptors() {
    const std::filesystem::directory_iterator descriptors("/proc/self/fd");
    return static_cast<int>(std::distance(begin(descriptors), end(descriptors))) -
           1;  // without the folder's own
}
