// Big-endian bytes. putXx stores and returns the byte after; getXx loads. Neither looks at the end of the
// buffer. Shifts, so that they are true on any host; compilers make one instruction of them.
#pragma once

#include <cstdint>

namespace lcmpdetail {

inline std::uint8_t getU8(const char* p) { return static_cast<std::uint8_t>(*p); }

inline std::uint16_t getU16(const char* p) {
    return static_cast<std::uint16_t>((getU8(p) << 8) | getU8(p + 1));
}

inline std::uint32_t getU32(const char* p) {
    return (std::uint32_t{getU8(p)} << 24) | (std::uint32_t{getU8(p + 1)} << 16) |
           (std::uint32_t{getU8(p + 2)} << 8) | std::uint32_t{getU8(p + 3)};
}

inline std::uint64_t getU64(const char* p) { return (std::uint64_t{getU32(p)} << 32) | getU32(p + 4); }

inline char* putU8(char* p, unsigned int value) {
    *p = static_cast<char>(static_cast<unsigned char>(value));
    return p + 1;
}

inline char* putU16(char* p, unsigned int value) { return putU8(putU8(p, value >> 8), value); }

inline char* putU32(char* p, std::uint32_t value) { return putU16(putU16(p, value >> 16), value); }

inline char* putU64(char* p, std::uint64_t value) {
    return putU32(putU32(p, static_cast<std::uint32_t>(value >> 32)), static_cast<std::uint32_t>(value));
}

/// Stores the low `width` bytes of a value; 1, 2, 4 or 8.
inline char* putWord(char* p, std::uint64_t bits, unsigned int width) {
    switch (width) {
        case 8:
            return putU64(p, bits);
        case 4:
            return putU32(p, static_cast<std::uint32_t>(bits));
        case 2:
            return putU16(p, static_cast<unsigned int>(bits));
        default:
            return putU8(p, static_cast<unsigned int>(bits));
    }
}

/// Loads an unsigned value of `width` bytes; 1, 2, 4 or 8.
inline std::uint64_t getWord(const char* p, unsigned int width) {
    switch (width) {
        case 8:
            return getU64(p);
        case 4:
            return getU32(p);
        case 2:
            return getU16(p);
        default:
            return getU8(p);
    }
}

}  // namespace lcmpdetail
