// Whether a log line is written: the trace object decides, and so does its current level.
#include <gtest/gtest.h>

#include "capturedLog.h"
#include "lcmpObjectId.h"

namespace {

void writeOneError() { LcmpObjectId(0x80000000); }

TEST(LogGate, IsClosedWithoutATraceObject) {
    CapturedLog log;
    TraceObject* installed = g_traceObject;
    g_traceObject = nullptr;
    writeOneError();
    g_traceObject = installed;
    EXPECT_EQ(log.all(), "");
    writeOneError();
    EXPECT_EQ(log.count("ERROR"), 1);
}

TEST(LogGate, FollowsTheLevelFromCallToCall) {
    CapturedLog log(levelError - 1);
    writeOneError();
    EXPECT_EQ(log.all(), "");
    log.setLevel(levelError);
    writeOneError();
    EXPECT_EQ(log.count("ERROR", "Invalid oid 0x80000000"), 1);
    log.setLevel(0);
    writeOneError();
    EXPECT_EQ(log.lines().size(), 1U);
    log.setLevel(1000);
    writeOneError();
    EXPECT_EQ(log.lines().size(), 2U);
    log.setLevel(-1);
    writeOneError();
    EXPECT_EQ(log.lines().size(), 2U);
}

TEST(LogGate, ALineSaysWhereItComesFrom) {
    CapturedLog log(levelError);
    writeOneError();
    ASSERT_EQ(log.lines().size(), 1U);
    const LogLine& line = log.lines().front();
    EXPECT_EQ(line.tag, "ERROR");
    EXPECT_EQ(line.file, "lcmpObjectId.cpp");
    EXPECT_GT(line.line, 0);
    EXPECT_EQ(line.operation, "LcmpObjectId");
}

}  // namespace
