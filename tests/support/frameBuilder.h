// Frames put together field by field, in wire order. What the library's codec must produce is written down
// here a second time, by other means.
#pragma once

#include <string>
#include <vector>

#include "bytes.h"

constexpr std::size_t requestHeader = 8;
constexpr std::size_t responseHeader = 11;
constexpr std::size_t amiHeader = 16;

/// The low `width` bytes of a number, most significant first.
inline std::string bigEndian(unsigned long long value, int width) {
    std::string data;
    for (int shift = 8 * (width - 1); shift >= 0; shift -= 8)
        data += static_cast<char>(static_cast<unsigned char>(value >> shift));
    return data;
}

/// And back.
inline unsigned long long number(const std::string& data, std::size_t offset, std::size_t width) {
    unsigned long long value = 0;
    for (const char c : data.substr(offset, width))
        value = value << 8 | static_cast<unsigned char>(c);
    return value;
}

/// One TLV element. It declares as many value bytes as it has, or what it is told to.
struct Element {
    unsigned int oid;
    unsigned int type;
    std::string value;
    int declared = -1;

    Element(unsigned int elementOid, unsigned int elementType, const std::string& valueHex = "")
        : oid(elementOid), type(elementType), value(::bytes(valueHex)) {}

    /// A value that is not written in hexadecimal.
    static Element holding(unsigned int oid, unsigned int type, const std::string& value) {
        Element element(oid, type);
        element.value = value;
        return element;
    }

    /// The same element, telling a length of its own.
    Element declaring(int length) const {
        Element other = *this;
        other.declared = length;
        return other;
    }

    std::string bytes() const {
        const auto length = declared < 0 ? value.size() : static_cast<std::size_t>(declared);
        return bigEndian(oid, 4) + bigEndian(type, 1) + bigEndian(length, 2) + value;
    }
};

using Elements = std::vector<Element>;

inline std::string joined(const Elements& elements) {
    std::string data;
    for (const Element& element : elements)
        data += element.bytes();
    return data;
}

inline std::string header(unsigned int action, unsigned int id) {
    return "OTN1" + bigEndian(1, 1) + bigEndian(action, 1) + bigEndian(id, 2);
}

inline std::string readRequest(unsigned int id, const Elements& elements = {}) {
    return header(1, id) + joined(elements);
}

inline std::string writeRequest(unsigned int id, const Elements& elements = {}) {
    return header(2, id) + joined(elements);
}

inline std::string readResponse(unsigned int id, unsigned int result, unsigned int index,
                                const Elements& elements = {}) {
    return header(3, id) + bigEndian(result, 1) + bigEndian(index, 2) + joined(elements);
}

inline std::string writeResponse(unsigned int id, unsigned int result, unsigned int index) {
    return header(4, id) + bigEndian(result, 1) + bigEndian(index, 2);
}

inline std::string amiFrame(unsigned int id, unsigned int seconds, unsigned int microseconds,
                            const Elements& elements = {}) {
    return header(5, id) + bigEndian(seconds, 4) + bigEndian(microseconds, 4) + joined(elements);
}
