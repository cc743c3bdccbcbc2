// Values as text.
#include <cstdio>

#include "detail/text.h"
#include "detail/tlvHeader.h"
#include "lcmpTlv.h"
#include "util.h"

namespace {

constexpr unsigned int typeCount = 14;

constexpr const char* typeNames[typeCount] = {
    "UINT64", "UINT32",  "UINT16", "UINT8",       "INT64",     "INT32",      "INT16",
    "INT8",   "BOOLEAN", "STRING", "IPv4ADDRESS", "UNIX_TIME", "BYTE_ARRAY", "MAC_ADDRESS",
};

std::string quoted(const unsigned char* bytes, unsigned int size) {
    static constexpr char digits[] = "0123456789abcdef";
    std::string text = "\"";
    for (unsigned int i = 0; i < size; ++i) {
        const unsigned char byte = bytes[i];
        switch (byte) {
            case '\n':
                text += "\\n";
                continue;
            case '\r':
                text += "\\r";
                continue;
            case '\t':
                text += "\\t";
                continue;
            case '"':
                text += "\\\"";
                continue;
            case '\\':
                text += "\\\\";
                continue;
            default:
                break;
        }
        if (byte >= 0x20 && byte != 0x7F) {
            text += static_cast<char>(byte);
        } else {
            text += "\\x";
            text += digits[byte >> 4];
            text += digits[byte & 0x0FU];
        }
    }
    return text + '"';
}

std::string dotted(unsigned int address) {
    lcmpdetail::TextStream text;
    text << (address >> 24) << '.' << ((address >> 16) & 0xFF) << '.' << ((address >> 8) & 0xFF) << '.'
         << (address & 0xFF);
    return text.str();
}

std::string withColons(const unsigned char* bytes, unsigned int size) {
    std::string text;
    for (unsigned int i = 0; i < size; ++i) {
        char octet[3];
        std::snprintf(octet, sizeof octet, "%02x", bytes[i]);
        text += text.empty() ? "" : ":";
        text += octet;
    }
    return text;
}

struct Date {
    long long year;
    int month;
    int day;
};

// The proleptic Gregorian calendar, counted in years that begin in March so that leap days come last. Own
// arithmetic: the C library's stops at the width of its time_t and of an int's years.
Date dateOfDay(long long daysSince1970) {
    constexpr long long daysOf400Years = 146097;
    constexpr long long daysFrom0000March = 719468;
    const long long days = daysSince1970 + daysFrom0000March;
    const long long era = (days >= 0 ? days : days - (daysOf400Years - 1)) / daysOf400Years;
    const auto dayOfEra = static_cast<int>(days - era * daysOf400Years);
    const int yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const int dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const int monthFromMarch = (5 * dayOfYear + 2) / 153;
    const int month = monthFromMarch < 10 ? monthFromMarch + 3 : monthFromMarch - 9;
    const int day = dayOfYear - (153 * monthFromMarch + 2) / 5 + 1;
    return {yearOfEra + era * 400 + (month <= 2 ? 1 : 0), month, day};
}

std::string isoTime(long long seconds) {
    constexpr long long secondsADay = 86400;
    long long days = seconds / secondsADay;
    auto rest = static_cast<int>(seconds % secondsADay);
    if (rest < 0) {
        rest += static_cast<int>(secondsADay);
        --days;
    }
    const Date date = dateOfDay(days);
    char text[64];
    // Years beyond four digits carry a sign, as ISO 8601 asks.
    const char* format = date.year >= 0 && date.year <= 9999 ? "%04lld-%02d-%02dT%02d:%02d:%02dZ"
                                                             : "%+05lld-%02d-%02dT%02d:%02d:%02dZ";
    std::snprintf(text, sizeof text, format, date.year, date.month, date.day, rest / 3600, rest / 60 % 60,
                  rest % 60);
    return text;
}

}  // namespace

const char* lcmpTlvTypeName(unsigned int type) { return type < typeCount ? typeNames[type] : "unknown"; }

std::string LCMPTlv::toString() const {
    lcmpdetail::TextStream text;
    text << "id=0x" << std::hex << std::uint32_t{id} << std::dec << ' ';
    if (len != 0)
        text << "type=" << lcmpTlvTypeName(type) << " len=" << std::uint16_t{len} << " val=" << valToString();
    return text.str();
}

std::string LCMPTlv::valToString() const {
    if (len == 0 || val == nullptr)
        return std::string();
    switch (type) {
        case UINT64:
            return std::to_string(getValueAsUInt64());
        case UINT32:
            return std::to_string(getValueAsUInt32());
        case UINT16:
            return std::to_string(getValueAsUInt16());
        case UINT8:
            return std::to_string(getValueAsUInt8());
        case INT64:
            return std::to_string(getValueAsInt64());
        case INT32:
            return std::to_string(getValueAsInt32());
        case INT16:
            return std::to_string(getValueAsInt16());
        case INT8:
            return std::to_string(getValueAsInt8());
        case BOOLEAN:
            return getValueAsBool() ? "true" : "false";
        case STRING:
            return quoted(val, len);
        case IPv4ADDRESS:
            return dotted(getValueAsUInt32());
        case UNIX_TIME:
            return isoTime(getValueAsInt64());
        case MAC_ADDRESS:
            return withColons(val, len);
        default:
            return util::buf2str(val, len);
    }
}
