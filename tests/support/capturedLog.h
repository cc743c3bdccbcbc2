// What the library wrote to syslog, caught inside the test's process.
#pragma once

#include <string>
#include <vector>

#include "traceObject.h"

/// One line as it went to syslog: "[ERROR] file.cpp:12 (operation) - text", taken apart.
struct LogLine {
    int priority;
    std::string tag;
    std::string file;
    int line;
    std::string operation;
    std::string text;
};

/// Thresholds of the five tags.
enum LogLevel { levelError = 3, levelWarning = 4, levelDebug1 = 7, levelDebug2 = 8, levelDebug3 = 9 };

/// Catches log lines while it lives; installs a trace object of the given level and removes it at its end.
/// One at a time.
class CapturedLog {
public:
    explicit CapturedLog(int level = levelDebug3);
    ~CapturedLog();
    CapturedLog(const CapturedLog&) = delete;
    CapturedLog& operator=(const CapturedLog&) = delete;

    void setLevel(int level) { m_trace.setLevel(level); }
    void clear() { m_lines.clear(); }
    const std::vector<LogLine>& lines() const { return m_lines; }

    /// How many lines of this tag have exactly this text.
    int count(const std::string& tag, const std::string& text) const;

    /// How many lines of this tag there are.
    int count(const std::string& tag) const;
    bool has(const std::string& tag, const std::string& text) const { return count(tag, text) != 0; }

    /// Everything caught, for failure messages.
    std::string all() const;

    void take(int priority, const char* text);

private:
    TraceObject m_trace;
    std::vector<LogLine> m_lines;
};

/// Runs `action` twice: at the level of `tag`, where it must write exactly one line with this tag, the right
/// syslog priority and this text, and one level below, where it must write no line of that tag at all.
/// The action makes its own objects, so that it does the same both times.
#define EXPECT_LOGS(tag, text, action) expectLogs(__FILE__, __LINE__, tag, text, action)

/// As EXPECT_LOGS, and the line comes from this file and operation.
#define EXPECT_LOGS_FROM(file, operation, tag, text, action) \
    expectLogs(__FILE__, __LINE__, tag, text, action, file, operation)

#include <functional>

void expectLogs(const char* testFile, int testLine, const std::string& tag, const std::string& text,
                const std::function<void()>& action, const std::string& file = std::string(),
                const std::string& operation = std::string());
