#include "lcmpModelValue.h"

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <cmath>
#include <limits>
#include <locale>
#include <optional>
#include <sstream>

#include "detail/calendar.h"

using namespace lcmpdetail;

namespace {

constexpr unsigned int lastType = MAC_ADDRESS;
constexpr std::size_t macBytes = 6;
constexpr std::size_t maxBytes = 65535;  // what the length of an element can tell
constexpr double maxMilliseconds = 1000.0 * 3600.0 * 1000.0;

std::string quoted(const std::string& text) { return "'" + text + "'"; }

[[noreturn]] void refuse(const std::string& text) { throw Refused(text); }

// ---------------------------------------------------------------- numbers

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
LcmpModelValue parseInteger(LcmpTlvType type, const std::string& text) {
    const std::string name = lcmpTlvTypeName(type);
    const std::optional<Whole> whole = parseWhole(text);
    if (!whole)
        refuse(quoted(text) + " is no " + name + ": a whole number from " + bounds<T>() + ", decimal or 0x");
    if (!fits<T>(*whole))
        refuse(text + " does not fit " + name + ", which holds " + bounds<T>());
    const unsigned long long bits = whole->negative ? 0ULL - whole->magnitude : whole->magnitude;
    if constexpr (std::is_signed_v<T>)
        return static_cast<long long>(bits);
    else
        return bits;
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

// ---------------------------------------------------------------- bytes

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

std::string fitting(LcmpTlvType type, const std::string& bytes) {
    if (bytes.size() > maxBytes)
        refuse(std::to_string(bytes.size()) + " bytes do not fit " + lcmpTlvTypeName(type) +
               ", which holds " + std::to_string(maxBytes));
    return bytes;
}

std::string parseBytes(const std::string& text) {
    const std::optional<std::string> bytes = parseHex(text);
    if (!bytes)
        refuse(quoted(text) + " is no BYTE_ARRAY: bytes of two hexadecimal digits each");
    return fitting(BYTE_ARRAY, *bytes);
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

unsigned long long parseIp(const std::string& text) {
    in_addr address{};
    if (text.find('\0') != std::string::npos || inet_pton(AF_INET, text.c_str(), &address) != 1)
        refuse(quoted(text) + " is no IPv4ADDRESS: four numbers like 192.0.2.1");
    return ntohl(address.s_addr);
}

LcmpModelValue parseSeconds(const std::string& text) {
    return parseWhole(text) ? parseInteger<long long>(UNIX_TIME, text) : LcmpModelValue(parseTime(text));
}

std::string ipText(unsigned long long ip) {
    std::string text;
    for (const int shift : {24, 16, 8, 0})
        text += std::to_string(ip >> shift & 0xFF) + (shift == 0 ? "" : ".");
    return text;
}

std::string hexText(const std::string& bytes, const char* between) {
    static constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        text += text.empty() ? "" : between;
        text += digits[byte >> 4];
        text += digits[byte & 0x0F];
    }
    return text;
}

LcmpModelValue parse(LcmpTlvType type, const std::string& text) {
    switch (type) {
        case UINT64:
            return parseInteger<unsigned long long>(type, text);
        case UINT32:
            return parseInteger<unsigned int>(type, text);
        case UINT16:
            return parseInteger<unsigned short>(type, text);
        case UINT8:
            return parseInteger<unsigned char>(type, text);
        case INT64:
            return parseInteger<long long>(type, text);
        case INT32:
            return parseInteger<int>(type, text);
        case INT16:
            return parseInteger<short>(type, text);
        case INT8:
            return parseInteger<signed char>(type, text);
        case BOOLEAN:
            return parseBoolean(text);
        case STRING:
            return fitting(STRING, text);
        case IPv4ADDRESS:
            return parseIp(text);
        case UNIX_TIME:
            return parseSeconds(text);
        case BYTE_ARRAY:
            return parseBytes(text);
        case MAC_ADDRESS:
            return parseMac(text);
    }
    refuse("type " + std::to_string(type) + " is unknown");
}

// ---------------------------------------------------------------- durations

std::optional<double> millisecondsOf(const std::string& unit) {
    if (unit.empty() || unit == "ms")
        return 1.0;
    if (unit == "s")
        return 1000.0;
    if (unit == "min")
        return 60.0 * 1000.0;
    if (unit == "h")
        return 3600.0 * 1000.0;
    return std::nullopt;
}

std::optional<double> milliseconds(const std::string& text) {
    if (text.empty() || std::isdigit(static_cast<unsigned char>(text[0])) == 0)
        return std::nullopt;
    const auto unitAt = text.find_first_not_of("0123456789.");
    const std::string number = text.substr(0, unitAt);
    const std::optional<double> unit = millisecondsOf(unitAt == std::string::npos ? "" : text.substr(unitAt));
    std::istringstream stream(number);
    stream.imbue(std::locale::classic());
    double value = 0;
    if (!unit || !(stream >> value) || !stream.eof())
        return std::nullopt;
    return value * *unit;
}

// ---------------------------------------------------------------- properties

template <typename T>
LcmpModelValue getInteger(LcmpProperty& property) {
    T value{};
    property.get(&value);
    if constexpr (std::is_signed_v<T>)
        return static_cast<long long>(value);
    else
        return static_cast<unsigned long long>(value);
}

template <typename T>
void setInteger(LcmpProperty& property, const LcmpModelValue& value) {
    if constexpr (std::is_signed_v<T>)
        property.set(static_cast<T>(std::get<long long>(value)));
    else
        property.set(static_cast<T>(std::get<unsigned long long>(value)));
}

std::string getBytes(LcmpProperty& property) {
    unsigned int length = 0;
    property.get(nullptr, &length);
    std::string bytes(length, '\0');
    property.get(reinterpret_cast<unsigned char*>(bytes.data()), &length);
    return bytes;
}

std::string getMac(LcmpProperty& property) {
    std::string bytes(macBytes, '\0');
    property.get(reinterpret_cast<unsigned char*>(bytes.data()));
    return bytes;
}

void setBytes(LcmpProperty& property, std::string bytes) {
    property.set(reinterpret_cast<unsigned char*>(bytes.data()), static_cast<unsigned int>(bytes.size()));
}

}  // namespace

bool lcmpModelParseType(const std::string& name, LcmpTlvType& type) {
    for (unsigned int code = 0; code <= lastType; ++code) {
        if (name == lcmpTlvTypeName(code)) {
            type = static_cast<LcmpTlvType>(code);
            return true;
        }
    }
    return false;
}

std::string lcmpModelTypeNames() {
    std::string names;
    for (unsigned int code = 0; code <= lastType; ++code)
        names += std::string(code == 0 ? "" : ", ") + lcmpTlvTypeName(code);
    return names;
}

LcmpModelValue lcmpModelZero(LcmpTlvType type) {
    switch (type) {
        case INT64:
        case INT32:
        case INT16:
        case INT8:
        case UNIX_TIME:
            return 0LL;
        case BOOLEAN:
            return false;
        case STRING:
        case BYTE_ARRAY:
            return std::string();
        case MAC_ADDRESS:
            return std::string(macBytes, '\0');
        default:
            return 0ULL;
    }
}

bool lcmpModelParseValue(LcmpTlvType type, const std::string& text, LcmpModelValue& value,
                         std::string& problem) {
    try {
        value = parse(type, text);
        return true;
    } catch (const Refused& refused) {
        problem = refused.what();
        return false;
    }
}

std::string lcmpModelValueText(LcmpTlvType type, const LcmpModelValue& value) {
    if (const bool* truth = std::get_if<bool>(&value))
        return *truth ? "true" : "false";
    if (const auto* number = std::get_if<unsigned long long>(&value))
        return type == IPv4ADDRESS ? ipText(*number) : std::to_string(*number);
    if (const auto* number = std::get_if<long long>(&value))
        return type == UNIX_TIME ? timeText(*number) : std::to_string(*number);
    const std::string& bytes = std::get<std::string>(value);
    if (type == STRING)
        return bytes;
    return hexText(bytes, type == MAC_ADDRESS ? ":" : "");
}

bool lcmpModelParseDuration(const std::string& text, std::chrono::milliseconds& time, std::string& problem) {
    const std::optional<double> value = milliseconds(text);
    if (!value)
        problem = quoted(text) + " is no time; write 500ms, 5s, 2min or 1h";
    else if (*value > maxMilliseconds)
        problem = quoted(text) + " is more than 1000h";
    else
        time = std::chrono::milliseconds(std::llround(*value));
    return value && *value <= maxMilliseconds;
}

bool lcmpModelLess(const LcmpModelValue& left, const LcmpModelValue& right) { return left < right; }

LcmpModelValue lcmpModelGet(LcmpProperty& property) {
    switch (property.getType()) {
        case UINT64:
            return getInteger<unsigned long long>(property);
        case UINT32:
        case IPv4ADDRESS:
            return getInteger<unsigned int>(property);
        case UINT16:
            return getInteger<unsigned short>(property);
        case UINT8:
            return getInteger<unsigned char>(property);
        case INT64:
        case UNIX_TIME:
            return getInteger<long long>(property);
        case INT32:
            return getInteger<int>(property);
        case INT16:
            return getInteger<short>(property);
        case INT8:
            return getInteger<signed char>(property);
        case BOOLEAN: {
            bool value = false;
            property.get(&value);
            return value;
        }
        case STRING: {
            std::string text;
            property.get(&text);
            return text;
        }
        case MAC_ADDRESS:
            return getMac(property);
        default:
            return getBytes(property);
    }
}

void lcmpModelSet(LcmpProperty& property, const LcmpModelValue& value) {
    switch (property.getType()) {
        case UINT64:
            return setInteger<unsigned long long>(property, value);
        case UINT32:
        case IPv4ADDRESS:
            return setInteger<unsigned int>(property, value);
        case UINT16:
            return setInteger<unsigned short>(property, value);
        case UINT8:
            return setInteger<unsigned char>(property, value);
        case INT64:
        case UNIX_TIME:
            return setInteger<long long>(property, value);
        case INT32:
            return setInteger<int>(property, value);
        case INT16:
            return setInteger<short>(property, value);
        case INT8:
            return setInteger<signed char>(property, value);
        case BOOLEAN:
            return property.set(std::get<bool>(value));
        case STRING:
            return property.set(std::get<std::string>(value));
        default:
            return setBytes(property, std::get<std::string>(value));
    }
}
