#include "quietLog.h"

#include <syslog.h>

#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>

#include "invariants.h"
#include "traceObject.h"

namespace {

TraceObject trace;

constexpr std::array<const char*, 5> tags = {"[ERROR] ", "[WARNING] ", "[DEBUG1] ", "[DEBUG2] ", "[DEBUG3] "};

bool beginsWithTag(const std::string& line) {
    for (const char* tag : tags) {
        if (line.compare(0, std::strlen(tag), tag) == 0)
            return true;
    }
    return false;
}

// "[ERROR] file.cpp:12 (operation) - text"; what the text holds is the peer's affair, the rest is ours.
void takeLine(const char* format, std::va_list arguments) {
    FUZZ_REQUIRE(logIsText, std::strcmp(format, "[%s] %s:%d (%s) - %s") == 0,
                 std::string("the format of a log line is ") + format);
    char text[1024];
    const int length = std::vsnprintf(text, sizeof text, format, arguments);
    FUZZ_REQUIRE(logIsText, length > 0, "a log line cannot be composed");
    const std::string line = text;
    FUZZ_REQUIRE(logIsText, beginsWithTag(line) && line.find(") - ") != std::string::npos,
                 "a log line without its tag and place: " + line);
    FUZZ_REQUIRE(logIsText, trace.getLevel() != 0, "a line is written though nothing is logged: " + line);
}

}  // namespace

// The library's calls end here: a definition in the program comes before the C library's.
extern "C" __attribute__((visibility("default"))) void syslog(int /*priority*/, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    takeLine(format, arguments);
    va_end(arguments);
}

extern "C" __attribute__((visibility("default"))) void __syslog_chk(int /*priority*/, int /*flag*/,
                                                                    const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    takeLine(format, arguments);
    va_end(arguments);
}

namespace fuzz {

QuietLog::QuietLog(bool everything) {
    constexpr int debug3 = 9;
    trace.setLevel(everything ? debug3 : 0);
    g_traceObject = &trace;
}

QuietLog::~QuietLog() { g_traceObject = nullptr; }

}  // namespace fuzz
