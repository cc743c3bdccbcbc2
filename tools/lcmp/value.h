// Values between the text of a person and the elements of the protocol.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

#include "lcmpModelValue.h"
#include "lcmpTlv.h"

namespace tool {

/// One element that owns its value. A value type. Where memory is lacking for a value, std::bad_alloc.
class Element {
public:
    Element() = default;
    explicit Element(unsigned int oid) { m_tlv.id = oid; }
    Element(const Element& other) : m_tlv(other.m_tlv) { requireValue(); }
    Element(Element&& other) noexcept { swap(other); }
    Element& operator=(Element other) noexcept {
        swap(other);
        return *this;
    }
    ~Element();

    unsigned int oid() const { return m_tlv.id; }
    unsigned int type() const { return m_tlv.type; }
    unsigned int length() const { return m_tlv.len; }
    LCMPTlv& tlv() { return m_tlv; }
    const LCMPTlv& tlv() const { return m_tlv; }

    /// Throws std::bad_alloc when the value that was given is not there.
    void requireValue() const;

    /// The bytes of the value; none for an empty one.
    std::string bytes() const;

    /// The element as it travels.
    std::string wireForm() const;

private:
    void swap(Element& other) noexcept;

    LCMPTlv m_tlv;
};

/// Takes the element at `offset` and moves `offset` behind it. False: there is none, or it runs past the end
/// of the frame; nothing has moved.
bool takeElement(const char* frame, int size, int& offset, Element& element);

/// Appends the elements from `offset` to the end of a received frame. False: one of them runs past the end;
/// those before it have been appended.
bool takeElements(const char* frame, int size, int offset, std::vector<Element>& elements);

/// Whether the value has the length that its type has; values of variable length and of unknown types have
/// any.
bool hasLengthOfType(const Element& element);

/// Whether both have the same type and the same bytes.
bool isSameValue(const Element& left, const Element& right);

/// The type code of a name, "UINT8". A Failure of status `usage` lists the names.
LcmpTlvType parseType(const std::string& name);

/// Gives `element` a value: integers in decimal or 0x, booleans as true/false, on/off or 1/0, addresses
/// dotted, MAC addresses with colons, times in RFC 3339 or seconds since 1970, byte arrays in hexadecimal. A
/// Failure of status `usage` names the type and what it holds.
void parseValue(LcmpTlvType type, const std::string& text, Element& element);

/// Gives `element` a value of this type.
void setValue(LcmpTlvType type, const LcmpModelValue& value, Element& element);

/// The value of an element that is a number or a boolean, to be looked up in a model; none for another type
/// or a wrong length.
std::optional<LcmpModelValue> modelValue(const Element& element);

/// Gives `element` the value that stands in a request to read: zero in the width of the type, or nothing.
void setPlaceholder(LcmpTlvType type, Element& element);

/// The value for people: text in quotes, its control bytes escaped.
std::string displayText(const Element& element);

/// The value alone, as parseValue takes it: text as it is, byte arrays without blanks.
std::string plainText(const Element& element);

/// The value for programs: numbers and booleans as such, everything else as plainText.
nlohmann::ordered_json jsonValue(const Element& element);

/// The bytes of "001bff", "00 1b ff", "00:1b:ff" or "0x001bff"; none if the text is something else.
std::optional<std::string> parseHex(const std::string& text);

/// The bytes in hexadecimal, "001bff".
std::string hexText(const std::string& bytes);

}  // namespace tool
