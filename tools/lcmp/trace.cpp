#include "trace.h"

#include <syslog.h>

#include <CLI/CLI.hpp>

#include "exitStatus.h"
#include "traceObject.h"

namespace tool {
namespace {

TraceObject trace;
int wantedLevel = 0;

}  // namespace

void addTraceOption(CLI::App& verb, std::string& level) {
    verb.add_option("--trace", level, "Log lines on standard error: 3 errors, 4 warnings, 7 to 9 all steps")
        ->type_name("LEVEL")
        ->envname("LCMP_TRACE")
        ->capture_default_str();
}

void startTrace(const std::string& level) {
    if (level.size() != 1 || level[0] < '0' || level[0] > '9')
        throw Failure(ExitStatus::usage, "--trace: '" + level + "' is no level; write 0 to 9");
    wantedLevel = level[0] - '0';
    trace.setLevel(wantedLevel);
    g_traceObject = &trace;
    openlog("lcmp", LOG_PERROR, LOG_USER);
}

void muteTrace(bool muted) { trace.setLevel(muted ? 0 : wantedLevel); }

bool traces(int level) { return g_traceObject != nullptr && g_traceObject->getLevel() >= level; }

}  // namespace tool
