// The wire a second time, by other means than the library's: what its codec must do is held against this.
#pragma once

#include <string>
#include <vector>

#include "frameBuilder.h"

namespace fuzz {

constexpr std::size_t elementHeader = 7;
constexpr unsigned int ignoredOidBit = 0x20000000;

inline unsigned int numberAt(const std::string& data, std::size_t offset, std::size_t width) {
    return static_cast<unsigned int>(number(data, offset, width));
}

/// An element as it lies in a frame.
struct WireElement {
    unsigned int oid;
    unsigned int type;
    std::string value;
    std::size_t space;  // bytes from the value's first to the end of the frame
};

struct WireWalk {
    std::vector<WireElement> elements;  // those that fit
    bool whole = true;                  // nothing is left behind them
};

inline WireWalk walk(const std::string& frame, std::size_t offset) {
    WireWalk walked;
    while (offset < frame.size()) {
        const std::size_t left = frame.size() - offset;
        const bool header = left >= elementHeader;
        const std::size_t length = header ? numberAt(frame, offset + 5, 2) : 0;
        if (!header || left - elementHeader < length) {
            walked.whole = false;
            break;
        }
        walked.elements.push_back({numberAt(frame, offset, 4), numberAt(frame, offset + 4, 1),
                                   frame.substr(offset + elementHeader, length), left - elementHeader});
        offset += elementHeader + length;
    }
    return walked;
}

/// Bytes that a value of the type has on the wire; 0: as many as the element declares.
inline unsigned int widthOf(unsigned int type) {
    static constexpr unsigned int widths[] = {8, 4, 2, 1, 8, 4, 2, 1, 1, 0, 4, 8, 0, 0};
    return type < sizeof widths / sizeof widths[0] ? widths[type] : 0;
}

inline bool validOid(unsigned int oid) {
    const unsigned int kind = oid >> 30;
    const bool common = (oid & 0x10000000) != 0;
    return kind == 1 || (kind == 0 && (!common || ((oid >> 23) & 0x1F) <= 3));
}

inline std::string elementBytes(unsigned int oid, unsigned int type, const std::string& value) {
    return bigEndian(oid, 4) + bigEndian(type, 1) + bigEndian(value.size(), 2) + value;
}

}  // namespace fuzz
