// One TLV element: a variable's OID, the type of its value, and the value; the codec between this form and
// its bytes on the wire. An element belongs to one thread at a time.
#pragma once

#include <boost/any.hpp>
#include <cstdint>
#include <string>

#include "lcmpExport.h"

/// The type codes of values, on the wire and in memory. "Fixed-width" below means all but STRING,
/// BYTE_ARRAY and MAC_ADDRESS.
enum LcmpTlvType {
    UINT64 = 0,
    UINT32 = 1,
    UINT16 = 2,
    UINT8 = 3,
    INT64 = 4,
    INT32 = 5,
    INT16 = 6,
    INT8 = 7,
    BOOLEAN = 8,       ///< One byte; any other than 0 is true.
    STRING = 9,        ///< Bytes without a terminating NUL.
    IPv4ADDRESS = 10,  ///< 32 bits, the first octet the most significant.
    UNIX_TIME = 11,    ///< Signed 64-bit seconds since 1970-01-01 UTC.
    BYTE_ARRAY = 12,
    MAC_ADDRESS = 13  ///< Raw bytes, six where a MAC address property sent them.
};

/// The name of a type code as its enumerator is spelled; "unknown" above 13. Never null; lives for ever.
LCMP_API const char* lcmpTlvTypeName(unsigned int type);

/// Bytes that a value of this type has, whatever an element declares; 0 for the types whose length the
/// element tells (STRING, BYTE_ARRAY, MAC_ADDRESS) and for unknown codes.
constexpr unsigned int lcmpTlvFixedWidth(unsigned int type) {
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
        case UINT8:
        case INT8:
        case BOOLEAN:
            return 1;
        default:
            return 0;
    }
}

/// The raw record of an element.
struct __attribute__((packed)) lcmp_tlv {
    std::uint32_t id;    ///< OID of the variable the value belongs to.
    std::uint8_t type;   ///< A LcmpTlvType; a received one may be anything.
    std::uint16_t len;   ///< Number of value bytes.
    unsigned char* val;  ///< The value, from malloc, or null. Fixed-width values are kept in host byte order.
};

/// One TLV element with typed setters and getters and the byte codec.
///
/// The value buffer comes from malloc and belongs to whoever holds the element: the class never frees it,
/// the holder calls free(element.val). A buffer that the class allocates is zeroed and holds at least 8
/// bytes, so that every fixed-width access stays inside it whatever `len` says. It is kept for as long as
/// new values are no longer than `len`, and replaced when one is.
///
/// Nothing throws. A failed allocation is one ERROR line and leaves `val` null.
class LCMP_API LCMPTlv : public lcmp_tlv {
public:
    /// Everything zero: no value.
    LCMPTlv();

    /// A copy with a value buffer of its own; `val` is null where `len` is 0 or the other's `val` is null.
    LCMPTlv(const LCMPTlv& other);
    LCMPTlv& operator=(const LCMPTlv&) = delete;

    // Setters: set type and length, then store the value. When the buffer cannot be had, type and length
    // are set all the same and no value is held.
    //
    // The integer widths are those of `long long` and `int`; `long` is ambiguous on purpose. Where uint64_t
    // is `unsigned long`, cast it.
    void setValue(unsigned long long value);
    void setValue(unsigned int value);
    void setValue(unsigned short value);
    void setValue(unsigned char value);
    void setValue(long long value);
    void setValue(int value);
    void setValue(short value);
    void setValue(signed char value);
    void setValue(bool value);

    /// An INT32 or IPv4ADDRESS. Any other `newType`: one ERROR line, nothing changed.
    void setValue(int value, unsigned char newType);

    /// A STRING of the text's bytes; at most 65,535 of them are kept.
    void setValue(const std::string& text);

    /// The same for a NUL-terminated text. Null stores nothing.
    void setValue(const char* text);

    /// A STRING of `size` bytes. A negative size, or null data with a size, stores nothing.
    void setValue(const char* data, int size);

    /// A STRING or MAC_ADDRESS of `size` bytes. Any other `newType` changes nothing, without a log line.
    void setValue(const char* data, int size, unsigned char newType);

    // Getters by reference: the bytes of the value as the argument's type, whatever the element's type and
    // length. No value: the argument stays as it was, without a log line.
    void getValue(unsigned long long& out) const;
    void getValue(unsigned int& out) const;
    void getValue(unsigned short& out) const;
    void getValue(unsigned char& out) const;
    void getValue(long long& out) const;
    void getValue(int& out) const;
    void getValue(short& out) const;
    void getValue(signed char& out) const;
    void getValue(bool& out) const;

    // Getters by pointer: the same, but no value is one ERROR line and false, with *out as it was.
    bool getValue(unsigned long long* out) const;
    bool getValue(unsigned int* out) const;
    bool getValue(unsigned short* out) const;
    bool getValue(unsigned char* out) const;
    bool getValue(long long* out) const;
    bool getValue(int* out) const;
    bool getValue(short* out) const;
    bool getValue(signed char* out) const;
    bool getValue(bool* out) const;

    // Getters by value: no conversion and no test of the type; no value is one ERROR line and 0 (false).
    unsigned long long getValueAsUInt64() const;
    unsigned int getValueAsUInt32() const;
    unsigned short getValueAsUInt16() const;
    unsigned char getValueAsUInt8() const;
    long long getValueAsInt64() const;
    int getValueAsInt32() const;
    short getValueAsInt16() const;
    signed char getValueAsInt8() const;
    bool getValueAsBool() const;

    /// Fills `size` bytes at `out`: the value's, then zeros. Nothing for a size of 0 or less.
    void getValue(char* out, int size) const;

    /// Copies as many bytes as both the value and `maxSize` have, and returns that number. Without a value
    /// nothing is copied, one ERROR line is written and the number is returned all the same.
    int getValueArray(char* out, int maxSize) const;

    /// All bytes of the value, NULs included; no value is one ERROR line and the empty string.
    std::string getValueAsString() const;

    /// All bytes of the value; no value is one ERROR line, with `out` as it was.
    void getValue(std::string& out) const;

    /// At most `maxSize` bytes of the value, up to its first NUL. A negative size counts as 0, a null
    /// target does nothing. No value: one ERROR line and the empty string.
    void getValue(std::string* out, int maxSize) const;

    /// The value as unsigned or signed 64-, 32-, 16- or 8-bit integer (`unsigned long long`, ..., `signed
    /// char`), bool or std::string (up to its first NUL), by the element's type; a UNIX_TIME comes as `long
    /// long`. False, with *out as it was: no value, a null `out`, or a type without such a form
    /// (IPv4ADDRESS, BYTE_ARRAY, MAC_ADDRESS, unknown codes).
    bool getValue(boost::any* out) const;

    /// Whether there is a value; if not, one ERROR line "Pointer val in LCMPTlv is invalid!".
    bool isPointerValid() const;

    /// Writes the element at `buf` and returns 7 + len. The caller has made sure of room for the 7-byte
    /// header and the larger of `len` and the type's fixed width. Without a value only the header is
    /// written (one ERROR line) and the value bytes stay as they were.
    int serialize(char* buf) const;

    /// Reads one element and returns the bytes it takes, 7 + its length. The caller has made sure that a
    /// whole element lies at `buf`. A fixed-width value of fewer bytes than its type has is filled up
    /// with zeros. Neither the type nor the length is judged.
    int deserialize(const char* buf);

    /// "id=0x... type=... len=... val=..."; of an element of length 0 only the id. For logs and people.
    std::string toString() const;

    /// The value as text: numbers in decimal, booleans as words, text in double quotes with its control
    /// bytes escaped, IPv4 addresses dotted, MAC addresses with colons, times in ISO 8601 UTC, byte arrays
    /// and values of unknown type in hexadecimal. Empty without a value.
    std::string valToString() const;

private:
    bool makeRoom(unsigned int oldLength);
    void takeValue(const char* value, unsigned int oldLength);
    void storeWord(unsigned long long bits, unsigned int width, unsigned char newType);
    void storeBytes(const char* data, std::uint16_t size, unsigned char newType);
};
