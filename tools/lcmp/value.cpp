#include "value.h"

#include <algorithm>
#include <cstdlib>
#include <new>
#include <nlohmann/json.hpp>
#include <utility>

#include "exitStatus.h"
#include "wireSizes.h"

namespace tool {
namespace {

constexpr int lengthOffset = 5;  // of the 16-bit length in an element
constexpr unsigned int lastType = MAC_ADDRESS;

[[noreturn]] void refuse(const std::string& text) { throw Failure(ExitStatus::usage, text); }

// The setters know no elements of these types; the bytes are stored as text's and the type follows.
void setBytes(LcmpTlvType type, const std::string& bytes, Element& element) {
    element.tlv().setValue(bytes);
    element.tlv().type = static_cast<std::uint8_t>(type);
}

void setSeconds(long long seconds, Element& element) {
    element.tlv().setValue(seconds);
    element.tlv().type = UNIX_TIME;
}

}  // namespace

Element::~Element() { std::free(m_tlv.val); }

void Element::swap(Element& other) noexcept {
    std::swap(static_cast<lcmp_tlv&>(m_tlv), static_cast<lcmp_tlv&>(other.m_tlv));
}

// The library's element says only in a log line that there was no memory, and travels as zeros.
void Element::requireValue() const {
    if (m_tlv.val == nullptr && m_tlv.len != 0)
        throw std::bad_alloc();
}

std::string Element::bytes() const {
    return m_tlv.val == nullptr ? std::string()
                                : std::string(reinterpret_cast<const char*>(m_tlv.val), m_tlv.len);
}

std::string Element::wireForm() const {
    std::string wire(elementHeader + std::max<std::size_t>(m_tlv.len, sizeof(long long)), '\0');
    m_tlv.serialize(wire.data());
    wire.resize(static_cast<std::size_t>(elementHeader) + m_tlv.len);
    return wire;
}

bool takeElement(const char* frame, int size, int& offset, Element& element) {
    const int left = size - offset;
    if (left < elementHeader)
        return false;
    const auto high = static_cast<unsigned char>(frame[offset + lengthOffset]);
    const auto low = static_cast<unsigned char>(frame[offset + lengthOffset + 1]);
    if (high * 256 + low > left - elementHeader)
        return false;
    element = Element();
    offset += element.tlv().deserialize(frame + offset);
    element.requireValue();
    return true;
}

bool takeElements(const char* frame, int size, int offset, std::vector<Element>& elements) {
    Element element;
    while (takeElement(frame, size, offset, element))
        elements.push_back(std::move(element));
    return offset == size;
}

bool hasLengthOfType(const Element& element) {
    const unsigned int width = lcmpTlvFixedWidth(element.type());
    return width == 0 || width == element.length();
}

bool isSameValue(const Element& left, const Element& right) {
    return left.type() == right.type() && left.bytes() == right.bytes();
}

LcmpTlvType parseType(const std::string& name) {
    LcmpTlvType type{};
    if (!lcmpModelParseType(name, type))
        refuse("'" + name + "' is no type; there are " + lcmpModelTypeNames());
    return type;
}

void parseValue(LcmpTlvType type, const std::string& text, Element& element) {
    LcmpModelValue value;
    std::string problem;
    if (!lcmpModelParseValue(type, text, value, problem))
        refuse(problem);
    setValue(type, value, element);
}

namespace {

void storeValue(LcmpTlvType type, const LcmpModelValue& value, Element& element) {
    LCMPTlv& tlv = element.tlv();
    switch (type) {
        case UINT64:
            return tlv.setValue(std::get<unsigned long long>(value));
        case UINT32:
            return tlv.setValue(static_cast<unsigned int>(std::get<unsigned long long>(value)));
        case UINT16:
            return tlv.setValue(static_cast<unsigned short>(std::get<unsigned long long>(value)));
        case UINT8:
            return tlv.setValue(static_cast<unsigned char>(std::get<unsigned long long>(value)));
        case INT64:
            return tlv.setValue(std::get<long long>(value));
        case INT32:
            return tlv.setValue(static_cast<int>(std::get<long long>(value)));
        case INT16:
            return tlv.setValue(static_cast<short>(std::get<long long>(value)));
        case INT8:
            return tlv.setValue(static_cast<signed char>(std::get<long long>(value)));
        case BOOLEAN:
            return tlv.setValue(std::get<bool>(value));
        case IPv4ADDRESS:
            return tlv.setValue(static_cast<int>(std::get<unsigned long long>(value)), IPv4ADDRESS);
        case UNIX_TIME:
            return setSeconds(std::get<long long>(value), element);
        default:
            return setBytes(type, std::get<std::string>(value), element);
    }
}

}  // namespace

void setValue(LcmpTlvType type, const LcmpModelValue& value, Element& element) {
    storeValue(type, value, element);
    element.requireValue();
}

std::optional<LcmpModelValue> modelValue(const Element& element) {
    const LCMPTlv& tlv = element.tlv();
    if (!hasLengthOfType(element))
        return std::nullopt;
    switch (element.type()) {
        case UINT64:
            return tlv.getValueAsUInt64();
        case UINT32:
            return static_cast<unsigned long long>(tlv.getValueAsUInt32());
        case UINT16:
            return static_cast<unsigned long long>(tlv.getValueAsUInt16());
        case UINT8:
            return static_cast<unsigned long long>(tlv.getValueAsUInt8());
        case INT64:
            return tlv.getValueAsInt64();
        case INT32:
            return static_cast<long long>(tlv.getValueAsInt32());
        case INT16:
            return static_cast<long long>(tlv.getValueAsInt16());
        case INT8:
            return static_cast<long long>(tlv.getValueAsInt8());
        case BOOLEAN:
            return tlv.getValueAsBool();
        default:
            return std::nullopt;
    }
}

void setPlaceholder(LcmpTlvType type, Element& element) {
    setBytes(type, std::string(lcmpTlvFixedWidth(type), '\0'), element);
    element.requireValue();
}

std::string displayText(const Element& element) {
    if (element.length() == 0)
        return element.type() == STRING ? "\"\"" : "";
    return element.tlv().valToString();
}

std::string plainText(const Element& element) {
    if (element.type() == STRING)
        return element.bytes();
    if (element.type() == BYTE_ARRAY || element.type() > lastType)
        return hexText(element.bytes());
    return displayText(element);
}

nlohmann::ordered_json jsonValue(const Element& element) {
    const LCMPTlv& tlv = element.tlv();
    if (element.length() == 0)
        return std::string();
    switch (element.type()) {
        case UINT64:
            return tlv.getValueAsUInt64();
        case UINT32:
            return tlv.getValueAsUInt32();
        case UINT16:
            return tlv.getValueAsUInt16();
        case UINT8:
            return tlv.getValueAsUInt8();
        case INT64:
            return tlv.getValueAsInt64();
        case INT32:
            return tlv.getValueAsInt32();
        case INT16:
            return tlv.getValueAsInt16();
        case INT8:
            return tlv.getValueAsInt8();
        case BOOLEAN:
            return tlv.getValueAsBool();
        default:
            return plainText(element);
    }
}

std::optional<std::string> parseHex(const std::string& text) {
    LcmpModelValue value;
    std::string problem;
    if (!lcmpModelParseValue(BYTE_ARRAY, text, value, problem))
        return std::nullopt;
    return std::get<std::string>(value);
}

std::string hexText(const std::string& bytes) {
    static constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        text += digits[byte >> 4];
        text += digits[byte & 0x0F];
    }
    return text;
}

}  // namespace tool
