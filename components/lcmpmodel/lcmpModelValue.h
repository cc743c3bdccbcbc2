// Values of any type outside of properties and elements: as a model holds them, as people write them.
#pragma once

#include <chrono>
#include <string>
#include <variant>

#include "lcmpExport.h"
#include "lcmpPropertyBase.h"
#include "lcmpTlv.h"

/// A value without its type. The type decides which alternative holds it:
///   unsigned long long  UINT64, UINT32, UINT16, UINT8, IPv4ADDRESS (the first octet the most significant)
///   long long           INT64, INT32, INT16, INT8, UNIX_TIME (seconds since 1970-01-01 UTC)
///   bool                BOOLEAN
///   std::string         STRING, BYTE_ARRAY, MAC_ADDRESS: the bytes
/// A value type: any thread.
using LcmpModelValue = std::variant<unsigned long long, long long, bool, std::string>;

/// Finds the type code that is spelled `name`, "UINT8". False, with `type` as it was: there is none.
LCMP_API bool lcmpModelParseType(const std::string& name, LcmpTlvType& type);

/// "UINT64, UINT32, ...": all type codes, for messages.
LCMP_API std::string lcmpModelTypeNames();

/// What a variable of this type holds unless told otherwise: 0, false, no bytes, six zero bytes.
LCMP_API LcmpModelValue lcmpModelZero(LcmpTlvType type);

/// Reads a value: integers in decimal or 0x, booleans as true/false, on/off or 1/0, addresses dotted, MAC
/// addresses with colons, times in RFC 3339 or seconds since 1970, byte arrays in hexadecimal, texts as they
/// are. False: `problem` says what is wrong and what the type holds, and `value` is as it was.
LCMP_API bool lcmpModelParseValue(LcmpTlvType type, const std::string& text, LcmpModelValue& value,
                                  std::string& problem);

/// The text that lcmpModelParseValue reads as this value. The value has the alternative of the type.
LCMP_API std::string lcmpModelValueText(LcmpTlvType type, const LcmpModelValue& value);

/// Reads a length of time: "500", "500ms", "1.5s", "2min", "1h"; a number without a unit is milliseconds.
/// At most a thousand hours, rounded to milliseconds. False: `problem` says why, and `time` is as it was.
LCMP_API bool lcmpModelParseDuration(const std::string& text, std::chrono::milliseconds& time,
                                     std::string& problem);

/// Whether `left` is the smaller of two values of one type.
LCMP_API bool lcmpModelLess(const LcmpModelValue& left, const LcmpModelValue& right);

/// The value that a property has.
LCMP_API LcmpModelValue lcmpModelGet(LcmpProperty& property);

/// Gives a property a value of its type, as the application's `set` does: no check is asked, and a change is
/// marked where the property reports changes.
LCMP_API void lcmpModelSet(LcmpProperty& property, const LcmpModelValue& value);
