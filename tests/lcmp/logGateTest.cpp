// Whether a log line is written: the trace object decides, and so does its current level.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "capturedLog.h"
#include "lcmpObjectId.h"
#include "lcmpProperty.h"

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

// What is said of a property begins with its name, and a name may have any length.
TEST(LogGate, ALineIsWrittenWholeHoweverLongItIs) {
    std::vector<std::size_t> lengths = {1, 5000};
    for (std::size_t length = 440; length < 530; ++length)
        lengths.push_back(length);
    for (const std::size_t length : lengths) {
        const std::string name(length, 'n');
        TypeProperty<bool> property(1, name.c_str(), IFC_CARD_VAR_WRITABLE, false);
        CapturedLog log(levelError);
        unsigned int other = 0;
        property.get(&other);
        ASSERT_EQ(log.lines().size(), 1U);
        EXPECT_EQ(log.lines().front().text,
                  "[" + name + "] Not implemented for uint32_t (property 1, row 0)");
    }
}

}  // namespace
