// The seven bytes before every value, written and read in one place.
#pragma once

#include <cstdint>

#include "bytes.h"

namespace lcmpdetail {

constexpr int tlvHeaderSize = 7;  // bytes: OID 4, type 1, length 2

struct TlvHeader {
    std::uint32_t oid;
    std::uint8_t type;
    std::uint16_t length;
};

inline char* putTlvHeader(char* p, const TlvHeader& header) {
    p = putU32(p, header.oid);
    p = putU8(p, header.type);
    return putU16(p, header.length);
}

inline TlvHeader getTlvHeader(const char* p) { return {getU32(p), getU8(p + 4), getU16(p + 5)}; }

/// What a property announces; of its length only the low 16 bits travel.
struct ElementHead {
    std::uint32_t oid;
    int type;
    unsigned int length;
};

/// Writes the header and returns where the value goes, if the whole element has room in `size`; otherwise
/// null, with nothing written. Compared without a sum: no length can wrap it.
inline char* putElementHead(char* buffer, int size, const ElementHead& head) {
    if (size < tlvHeaderSize || static_cast<unsigned int>(size - tlvHeaderSize) < head.length)
        return nullptr;
    return putTlvHeader(
        buffer, {head.oid, static_cast<std::uint8_t>(head.type), static_cast<std::uint16_t>(head.length)});
}

/// Writes an element whose value is the low header.length bytes of a word, 1 to 8, and returns the number of
/// bytes it takes. Stores eight value bytes whatever the length, so that none has to be told from another.
inline int putWordElement(char* buffer, const TlvHeader& header, std::uint64_t word) {
    constexpr int wordSize = 8;
    putU64(putTlvHeader(buffer, header), word << (8 * (wordSize - header.length)));
    return tlvHeaderSize + header.length;
}

}  // namespace lcmpdetail
