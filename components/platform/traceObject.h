// The target's trace library, as far as this project needs it: one object whose level gates every log line.
// This is the stand-in; on a target the platform's own header of this name takes its place.
#pragma once

#if defined(__GNUC__)
#define LCMP_PLATFORM_API __attribute__((visibility("default")))
#else
#define LCMP_PLATFORM_API
#endif

/// How much is logged. 3 and more writes errors, 4 warnings, 7 to 9 the three depths of debugging.
/// No locking: the level is set by the thread that drives the library.
class LCMP_PLATFORM_API TraceObject {
public:
    /// Starts at level 0: nothing is logged.
    TraceObject() = default;

    // The level, 0 to 9; others count as the nearest.
    int getLevel() const { return m_level; }
    void setLevel(int level) { m_level = level; }

private:
    int m_level = 0;
};

/// The process's trace object: null, and so silent, until the application installs one. Not owned.
extern LCMP_PLATFORM_API TraceObject* g_traceObject;
