#include "value.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdlib>
#include <limits>
#include <new>
#include <nlohmann/json.hpp>
#include <optional>

#include "exitStatus.h"
#include "lcmpUdpAddress.h"
#include "timeText.h"

namespace tool {
namespace {

constexpr int elementHeader = 7;  // bytes before the value
constexpr int lengthOffset = 5;   // of the 16-bit length in an element
constexpr unsigned int lastType = MAC_ADDRESS;
constexpr std::size_t maxBytes = 65535;
constexpr std::size_t macBytes = 6;

std::string quoted(const std::string& text) { return "'" + text + "'"; }

[[noreturn]] void refuse(const std::string& text) { throw Failure(ExitStatus::usage, text); }

// A sign and the number behind it; none if the text is no whole number.
struct Whole {
    bool negative;
    unsigned long long magnitude;
    bool tooLarge;  // for any type
};

std::optional<Whole> parseWhole(const std::string& text) {
    Whole whole{!text.empty() && text[0] == '-', 0, false};
    const char* begin = text.data() + (whole.negative ? 1 : 0);
    const char* end = text.data() + text.size();
    const bool isHex = end - begin > 2 && begin[0] == '0' && (begin[1] == 'x' || begin[1] == 'X');
    const auto [rest, error] =
        std::from_chars(begin + (isHex ? 2 : 0), end, whole.magnitude, isHex ? 16 : 10);
    if (error == std::errc::invalid_argument || rest != end)
        return std::nullopt;
    whole.tooLarge = error == std::errc::result_out_of_range;
    return whole;
}

template <typename T>
std::string bounds() {
    return std::to_string(std::numeric_limits<T>::min()) + " to " +
           std::to_string(std::numeric_limits<T>::max());
}

template <typename T>
bool fits(const Whole& whole) {
    if (whole.tooLarge)
        return false;
    constexpr auto max = static_cast<unsigned long long>(std::numeric_limits<T>::max());
    if (!whole.negative)
        return whole.magnitude <= max;
    return whole.magnitude <= (std::is_signed_v<T> ? max + 1 : 0);
}

template <typename T>
T parseInteger(LcmpTlvType type, const std::string& text) {
    const std::string name = lcmpTlvTypeName(type);
    const std::optional<Whole> whole = parseWhole(text);
    if (!whole)
        refuse(quoted(text) + " is no " + name + ": a whole number from " + bounds<T>() + ", decimal or 0x");
    if (!fits<T>(*whole))
        refuse(text + " does not fit " + name + ", which holds " + bounds<T>());
    const unsigned long long bits = whole->negative ? 0ULL - whole->magnitude : whole->magnitude;
    return static_cast<T>(bits);
}

bool parseBoolean(const std::string& text) {
    std::string word = text;
    std::transform(word.begin(), word.end(), word.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    if (word == "true" || word == "on" || word == "1")
        return true;
    if (word == "false" || word == "off" || word == "0")
        return false;
    refuse(quoted(text) + " is no BOOLEAN: true or false, on or off, 1 or 0");
}

int digitValue(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    const int lower = std::tolower(static_cast<unsigned char>(c));
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

// Takes two digits off the text; none if they are not there.
std::optional<char> takeByte(const std::string& text, std::size_t& position) {
    if (text.size() - position < 2)
        return std::nullopt;
    const int high = digitValue(text[position]);
    const int low = digitValue(text[position + 1]);
    if (high < 0 || low < 0)
        return std::nullopt;
    position += 2;
    return static_cast<char>(high * 16 + low);
}

std::string parseBytes(const std::string& text) {
    const std::optional<std::string> bytes = parseHex(text);
    if (!bytes)
        refuse(quoted(text) + " is no BYTE_ARRAY: bytes of two hexadecimal digits each");
    return *bytes;
}

std::string parseMac(const std::string& text) {
    std::string bytes;
    std::size_t position = 0;
    while (bytes.size() < macBytes) {
        const std::optional<char> byte = takeByte(text, position);
        if (!byte)
            break;
        bytes += *byte;
        if (bytes.size() < macBytes && position < text.size() && text[position++] != ':')
            break;
    }
    if (bytes.size() != macBytes || position != text.size())
        refuse(quoted(text) + " is no MAC_ADDRESS: six bytes like 00:1b:21:3c:4d:5e");
    return bytes;
}

std::uint32_t parseIp(const std::string& text) {
    std::uint32_t host = 0;
    if (!lcmpUdpParseHost(text, host))
        refuse(quoted(text) + " is no IPv4ADDRESS: four numbers like 192.0.2.1");
    return host;
}

long long parseSeconds(const std::string& text) {
    return parseWhole(text) ? parseInteger<long long>(UNIX_TIME, text) : parseTime(text);
}

// The setters know no elements of these types; the bytes are stored as text's and the type follows.
void setBytes(LcmpTlvType type, const std::string& bytes, Element& element) {
    if (bytes.size() > maxBytes)
        refuse(std::to_string(bytes.size()) + " bytes do not fit " + lcmpTlvTypeName(type) +
               ", which holds " + std::to_string(maxBytes));
    element.tlv().setValue(bytes);
    element.tlv().type = static_cast<std::uint8_t>(type);
}

template <typename T>
void setInteger(LcmpTlvType type, const std::string& text, Element& element) {
    element.tlv().setValue(parseInteger<T>(type, text));
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

LcmpTlvType parseType(const std::string& name) {
    std::string all;
    for (unsigned int type = 0; type <= lastType; ++type) {
        if (name == lcmpTlvTypeName(type))
            return static_cast<LcmpTlvType>(type);
        all += std::string(all.empty() ? "" : ", ") + lcmpTlvTypeName(type);
    }
    refuse(quoted(name) + " is no type; there are " + all);
}

namespace {

void storeValue(LcmpTlvType type, const std::string& text, Element& element) {
    switch (type) {
        case UINT64:
            return setInteger<unsigned long long>(type, text, element);
        case UINT32:
            return setInteger<unsigned int>(type, text, element);
        case UINT16:
            return setInteger<unsigned short>(type, text, element);
        case UINT8:
            return setInteger<unsigned char>(type, text, element);
        case INT64:
            return setInteger<long long>(type, text, element);
        case INT32:
            return setInteger<int>(type, text, element);
        case INT16:
            return setInteger<short>(type, text, element);
        case INT8:
            return setInteger<signed char>(type, text, element);
        case BOOLEAN:
            return element.tlv().setValue(parseBoolean(text));
        case STRING:
            return setBytes(type, text, element);
        case IPv4ADDRESS:
            return element.tlv().setValue(static_cast<int>(parseIp(text)), IPv4ADDRESS);
        case UNIX_TIME:
            element.tlv().setValue(parseSeconds(text));
            element.tlv().type = UNIX_TIME;
            return;
        case BYTE_ARRAY:
            return setBytes(type, parseBytes(text), element);
        case MAC_ADDRESS:
            return setBytes(type, parseMac(text), element);
    }
    refuse("type " + std::to_string(type) + " is unknown");
}

}  // namespace

void parseValue(LcmpTlvType type, const std::string& text, Element& element) {
    storeValue(type, text, element);
    element.requireValue();
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
    std::string bytes;
    std::size_t position = text.rfind("0x", 0) == 0 || text.rfind("0X", 0) == 0 ? 2 : 0;
    while (position < text.size()) {
        const std::optional<char> byte = takeByte(text, position);
        if (!byte)
            return std::nullopt;
        bytes += *byte;
        const bool between = position + 1 < text.size();
        position += between && (text[position] == ' ' || text[position] == ':') ? 1 : 0;
    }
    return bytes;
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
