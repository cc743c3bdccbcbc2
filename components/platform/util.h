// The target's framework library, as far as this project needs it: bytes shown as text.
// This is the stand-in; on a target the platform's own header of this name takes its place.
#pragma once

#include <cstddef>
#include <string>

#if defined(__GNUC__)
#define LCMP_UTIL_API __attribute__((visibility("default")))
#else
#define LCMP_UTIL_API
#endif

namespace util {

/// The `size` bytes at `data` as upper-case hexadecimal pairs with a blank between them: "00 1B FF".
/// Null data or no bytes give the empty text. Any thread.
LCMP_UTIL_API std::string buf2str(const void* data, std::size_t size);

}  // namespace util
