// The seven bytes before every value, written and read in one place, and how wide values of each type are.
#pragma once

#include <cstdint>

#include "../lcmpTlv.h"
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

/// Writes the header and returns where the value goes, if the whole element has room in `size`; otherwise null,
/// with nothing written. Compared without a sum: no length can wrap it.
inline char* putElementHead(char* buffer, int size, const ElementHead& head) {
    if (size < tlvHeaderSize || static_cast<unsigned int>(size - tlvHeaderSize) < head.length)
        return nullptr;
    return putTlvHeader(buffer, {head.oid, static_cast<std::uint8_t>(head.type),
                                 static_cast<std::uint16_t>(head.length)});
}

/// Bytes of a value that the codec moves as one word; 0 for types that are copied byte by byte.
constexpr unsigned int wordWidth(unsigned int type) {
    switch (type) {
        case UINT64:
        case INT64:
        case UNIX_TIME:
            return 8;
        case UINT32:
        case INT32:
        case IPv4ADDRESS:
            return 4;
        case UINT16:
        case INT16:
            return 2;
        default:
            return 0;
    }
}

/// Bytes that a property of this type takes from an element, whatever the element declares; 0 for types that
/// take what is declared.
constexpr int takenWidth(unsigned int type) {
    switch (type) {
        case UINT8:
        case INT8:
        case BOOLEAN:
            return 1;
        case MAC_ADDRESS:
            return 6;
        default:
            return static_cast<int>(wordWidth(type));
    }
}

}  // namespace lcmpdetail
