#include "capturedLog.h"

#include <gtest/gtest.h>
#include <syslog.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <map>

namespace {

LogSink* current = nullptr;

const std::map<std::string, std::pair<int, int>> levelAndPriority = {
    {"ERROR", {levelError, LOG_ERR}},     {"WARNING", {levelWarning, LOG_WARNING}},
    {"DEBUG1", {levelDebug1, LOG_DEBUG}}, {"DEBUG2", {levelDebug2, LOG_DEBUG}},
    {"DEBUG3", {levelDebug3, LOG_DEBUG}},
};

LogLine parse(int priority, const std::string& text) {
    const auto tagEnd = text.find("] ");
    const auto fileEnd = text.find(':', tagEnd);
    const auto lineEnd = text.find(" (", fileEnd);
    const auto operationEnd = text.find(") - ", lineEnd);
    if (text.empty() || text[0] != '[' || operationEnd == std::string::npos) {
        ADD_FAILURE() << "not a log line of the library: " << text;
        return {priority, "", "", 0, "", text};
    }
    return {priority,
            text.substr(1, tagEnd - 1),
            text.substr(tagEnd + 2, fileEnd - tagEnd - 2),
            std::stoi(text.substr(fileEnd + 1, lineEnd - fileEnd - 1)),
            text.substr(lineEnd + 2, operationEnd - lineEnd - 2),
            text.substr(operationEnd + 4)};
}

std::string composed(const char* format, std::va_list arguments) {
    std::va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, again);
    va_end(again);
    std::string text(static_cast<std::size_t>(length) + 1, '\0');
    std::vsnprintf(text.data(), text.size(), format, arguments);
    text.pop_back();
    return text;
}

}  // namespace

// The library's syslog calls end here: a definition in the program comes before the C library's.
extern "C" __attribute__((visibility("default"))) void syslog(int priority, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    if (current != nullptr)
        current->take(priority, format, arguments);
    va_end(arguments);
}

extern "C" __attribute__((visibility("default"))) void __syslog_chk(  // NOLINT(*reserved*,cert-dcl*)
    int priority, int /*flag*/, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    if (current != nullptr)
        current->take(priority, format, arguments);
    va_end(arguments);
}

LogSink::LogSink(int level) {
    m_trace.setLevel(level);
    g_traceObject = &m_trace;
    current = this;
}

LogSink::~LogSink() {
    g_traceObject = nullptr;
    current = nullptr;
}

CapturedLog::CapturedLog(int level) : LogSink(level) {}

void CapturedLog::take(int priority, const char* format, std::va_list arguments) {
    m_new.emplace_back(priority, composed(format, arguments));
}

void CapturedLog::clear() {
    m_new.clear();
    m_lines.clear();
}

const std::vector<LogLine>& CapturedLog::lines() const {
    for (const auto& line : m_new)
        m_lines.push_back(parse(line.first, line.second));
    m_new.clear();
    return m_lines;
}

void LogCounter::take(int priority, const char* /*format*/, std::va_list /*arguments*/) {
    ++(priority == LOG_ERR ? errors : others);
}

int CapturedLog::count(const std::string& tag, const std::string& text) const {
    int found = 0;
    for (const LogLine& line : lines())
        found += line.tag == tag && line.text == text ? 1 : 0;
    return found;
}

int CapturedLog::count(const std::string& tag) const {
    int found = 0;
    for (const LogLine& line : lines())
        found += line.tag == tag ? 1 : 0;
    return found;
}

std::string CapturedLog::all() const {
    std::string text;
    for (const LogLine& line : lines())
        text += "[" + line.tag + "] (" + line.operation + ") - " + line.text + "\n";
    return text;
}

void expectLogs(const char* testFile, int testLine, const std::string& tag, const std::string& text,
                const std::function<void()>& action, const std::string& file, const std::string& operation) {
    const auto level = levelAndPriority.find(tag);
    ASSERT_NE(level, levelAndPriority.end()) << "no such tag: " << tag;
    testing::ScopedTrace trace(testFile, testLine, "log line");
    {
        CapturedLog log(level->second.first);
        action();
        EXPECT_EQ(log.count(tag, text), 1) << "wanted: [" << tag << "] " << text << "\nwritten:\n"
                                           << log.all();
        for (const LogLine& line : log.lines()) {
            if (line.tag != tag || line.text != text)
                continue;
            EXPECT_EQ(line.priority, level->second.second);
            EXPECT_GT(line.line, 0);
            if (!file.empty()) {
                EXPECT_EQ(line.file, file);
                EXPECT_EQ(line.operation, operation);
            }
        }
    }
    {
        CapturedLog log(level->second.first - 1);
        action();
        EXPECT_EQ(log.count(tag), 0) << "written one level below:\n" << log.all();
    }
}
