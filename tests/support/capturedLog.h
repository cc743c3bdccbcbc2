// What the library wrote to syslog, caught inside the test's process.
#pragma once

#include <cstdarg>
#include <string>
#include <utility>
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

/// Gets log lines while it lives; installs a trace object of the given level and removes it at its end. One
/// at a time.
class LogSink {
public:
    explicit LogSink(int level);
    virtual ~LogSink();
    LogSink(const LogSink&) = delete;
    LogSink& operator=(const LogSink&) = delete;

    void setLevel(int level) { m_trace.setLevel(level); }

    /// What was given to syslog.
    virtual void take(int priority, const char* format, std::va_list arguments) = 0;

private:
    TraceObject m_trace;
};

/// Catches log lines, and takes them apart when they are asked for.
class CapturedLog : public LogSink {
public:
    explicit CapturedLog(int level = levelDebug3);

    void clear();
    const std::vector<LogLine>& lines() const;

    /// How many lines of this tag have exactly this text.
    int count(const std::string& tag, const std::string& text) const;

    /// How many lines of this tag there are.
    int count(const std::string& tag) const;
    bool has(const std::string& tag, const std::string& text) const { return count(tag, text) != 0; }

    /// Everything caught, for failure messages.
    std::string all() const;

    void take(int priority, const char* format, std::va_list arguments) override;

private:
    mutable std::vector<std::pair<int, std::string>> m_new;  // not taken apart yet
    mutable std::vector<LogLine> m_lines;
};

/// Only counts, for those who cause lines by the million.
class LogCounter : public LogSink {
public:
    explicit LogCounter(int level) : LogSink(level) {}

    int errors = 0;
    int others = 0;

    void take(int priority, const char* format, std::va_list arguments) override;
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
