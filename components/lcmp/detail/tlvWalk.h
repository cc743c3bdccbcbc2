// The one walk over the elements of a frame.
#pragma once

#include "tlvHeader.h"

namespace lcmpdetail {

/// What is left of a frame.
struct ByteView {
    const char* position;
    int left;  // bytes
};

/// One element that lies wholly inside its frame.
struct ElementView {
    const char* begin;
    TlvHeader header;
    int space;  // bytes from the value's first to the end of the frame; at least header.length
};

/// Takes the next element off the rest. False: there is none, or it does not fit; nothing has moved, and
/// rest.left tells which (0: the frame ended there).
inline bool takeElement(ByteView& rest, ElementView& element) {
    if (rest.left < tlvHeaderSize)
        return false;
    const TlvHeader header = getTlvHeader(rest.position);
    const int space = rest.left - tlvHeaderSize;
    if (header.length > space)
        return false;
    element = {rest.position, header, space};
    rest.position += tlvHeaderSize + header.length;
    rest.left = space - header.length;
    return true;
}

}  // namespace lcmpdetail
