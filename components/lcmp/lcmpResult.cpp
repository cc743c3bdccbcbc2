#include "lcmpResult.h"

namespace {

constexpr unsigned int nameCount = 18;

// 16 and 17 are used between peers, but have no name.
constexpr const char* names[nameCount] = {
    "RESULT OK",
    "RESULT PROTOCOL VERSION_MISMATCH",
    "RESULT DUPLICATE MSG",
    "RESULT LOST MSG",
    "RESULT INVALID ACTION",
    "RESULT GENERAL ERROR",
    "RESULT WRONG TYPE",
    "RESULT WRONG OID",
    "RESULT WRONG LEN",
    "RESULT WRONG VALUE",
    "RESULT READ ONLY",
    "RESULT TOO LONG",
    "RESULT CANNOT EXEC",
    "RESULT WRONG MAGIC",
    "RESULT NOT RECEIVED",
    "RESULT NOT SEND",
    nullptr,
    nullptr,
};

}  // namespace

const char* lcmpResultName(unsigned int code) {
    if (code >= nameCount)
        return "unknown";
    return names[code] != nullptr ? names[code] : "";
}
