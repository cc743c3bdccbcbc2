// Log lines. The level is tested first; text is composed only for a line that will be written.
#pragma once

#include <syslog.h>

#include "traceObject.h"

namespace lcmpdetail {

/// Where a line comes from and how it goes out.
struct LogSite {
    int priority;      // of syslog
    const char* tag;   // the level's name
    const char* file;  // base name
    int line;
    const char* operation;  // bare name
};

constexpr int errorLevel = 3;
constexpr int warningLevel = 4;
constexpr int debug1Level = 7;
constexpr int debug2Level = 8;
constexpr int debug3Level = 9;

inline bool logs(int level) { return g_traceObject != nullptr && g_traceObject->getLevel() >= level; }

/// The part of a path behind its last slash.
constexpr const char* baseName(const char* path) {
    const char* base = path;
    for (const char* p = path; *p != '\0'; ++p) {
        if (*p == '/')
            base = p + 1;
    }
    return base;
}

__attribute__((format(printf, 2, 3), cold)) void writeLog(const LogSite& site, const char* format, ...);

}  // namespace lcmpdetail

// The macros only name the place; OPERATION is for helpers that speak for the operation they belong to.
#define LCMP_LOG_FOR(OPERATION, LEVEL, PRIORITY, TAG, ...)                                        \
    do {                                                                                          \
        if (lcmpdetail::logs(LEVEL)) {                                                            \
            constexpr const char* lcmpLogFile = lcmpdetail::baseName(__FILE__);                   \
            lcmpdetail::writeLog({PRIORITY, TAG, lcmpLogFile, __LINE__, OPERATION}, __VA_ARGS__); \
        }                                                                                         \
    } while (false)

#define LCMP_ERROR_FOR(OPERATION, ...) \
    LCMP_LOG_FOR(OPERATION, lcmpdetail::errorLevel, LOG_ERR, "ERROR", __VA_ARGS__)
#define LCMP_ERROR(...) LCMP_ERROR_FOR(__func__, __VA_ARGS__)
#define LCMP_WARNING_FOR(OPERATION, ...) \
    LCMP_LOG_FOR(OPERATION, lcmpdetail::warningLevel, LOG_WARNING, "WARNING", __VA_ARGS__)
#define LCMP_WARNING(...) LCMP_WARNING_FOR(__func__, __VA_ARGS__)
#define LCMP_DEBUG1_FOR(OPERATION, ...) \
    LCMP_LOG_FOR(OPERATION, lcmpdetail::debug1Level, LOG_DEBUG, "DEBUG1", __VA_ARGS__)
#define LCMP_DEBUG1(...) LCMP_DEBUG1_FOR(__func__, __VA_ARGS__)
#define LCMP_DEBUG2_FOR(OPERATION, ...) \
    LCMP_LOG_FOR(OPERATION, lcmpdetail::debug2Level, LOG_DEBUG, "DEBUG2", __VA_ARGS__)
#define LCMP_DEBUG2(...) LCMP_DEBUG2_FOR(__func__, __VA_ARGS__)
#define LCMP_DEBUG3_FOR(OPERATION, ...) \
    LCMP_LOG_FOR(OPERATION, lcmpdetail::debug3Level, LOG_DEBUG, "DEBUG3", __VA_ARGS__)
#define LCMP_DEBUG3(...) LCMP_DEBUG3_FOR(__func__, __VA_ARGS__)
