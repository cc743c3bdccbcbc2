// Result codes: what an operation of the protocol answers, on the wire and between the library's layers.
// They travel as plain unsigned numbers: 16, 17 and codes of an application's own are legal values.
#pragma once

#include "lcmpExport.h"

/// The result codes of the protocol. One byte on the wire.
enum LcmpResult : unsigned int {
    RESULT_OK = 0,                         ///< Done.
    RESULT_PROTOCOL_VERSION_MISMATCH = 1,  ///< The frame is not of protocol version 1.
    RESULT_DUPLICATE_MSG = 2,              ///< Served, but the message id repeats this peer's last one.
    RESULT_LOST_MSG = 3,                   ///< Served, but message ids of this peer are missing before it.
    RESULT_INVALID_ACTION = 4,             ///< The action is not one of 1 to 5.
    RESULT_GENERAL_ERROR = 5,              ///< The application's own check refused a legacy element.
    RESULT_WRONG_TYPE = 6,                 ///< The element's type differs from the variable's.
    RESULT_WRONG_OID = 7,                  ///< The element's OID is invalid or not the variable's.
    RESULT_WRONG_LEN = 8,      ///< The element's length differs from the variable's, or runs past the frame.
    RESULT_WRONG_VALUE = 9,    ///< The variable's value check refused the value.
    RESULT_READ_ONLY = 10,     ///< A write to a read-only variable.
    RESULT_TOO_LONG = 11,      ///< The answer would exceed 1200 bytes.
    RESULT_CANNOT_EXEC = 12,   ///< The application could not carry the request out.
    RESULT_WRONG_MAGIC = 13,   ///< The frame does not begin with "OTN1". Never sent.
    RESULT_NOT_RECEIVED = 14,  ///< For applications: no answer came.
    RESULT_NOT_SEND = 15       ///< For applications: the request did not leave.
};

/// The display name of a result code, "RESULT OK" to "RESULT NOT SEND". The codes 16 (peer table full) and
/// 17 (peer not IPv4) have the empty name, everything above is "unknown". Never null; lives for ever.
LCMP_API const char* lcmpResultName(unsigned int code);
