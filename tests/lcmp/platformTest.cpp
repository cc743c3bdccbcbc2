// The stand-ins for the target's trace and framework libraries.
#include <gtest/gtest.h>

#include <string>
#include <type_traits>

#include "bytes.h"
#include "traceObject.h"
#include "util.h"

namespace {

// Before any test could install one.
const TraceObject* const atStart = g_traceObject;

TEST(TraceObject, IsNotThereUntilTheProcessInstallsOne) { EXPECT_EQ(atStart, nullptr); }

TEST(TraceObject, StartsSilent) {
    static_assert(std::is_default_constructible_v<TraceObject>);
    EXPECT_EQ(TraceObject().getLevel(), 0);
}

TEST(TraceObject, HasTheLevelItWasGiven) {
    TraceObject trace;
    for (const int level : {9, 3, 0, -1}) {
        trace.setLevel(level);
        EXPECT_EQ(trace.getLevel(), level);
    }
}

std::string shown(const std::string& data) {
    GuardedBytes guarded(data);
    return util::buf2str(guarded.data(), data.size());
}

TEST(BytesAsText, AreUpperCasePairsWithBlanksBetween) {
    EXPECT_EQ(shown(bytes("001BFF")), "00 1B FF");
    EXPECT_EQ(shown(bytes("7F")), "7F");
}

TEST(BytesAsText, HaveAPairForEveryByte) {
    for (int byte = 0; byte < 256; ++byte) {
        const std::string data(1, static_cast<char>(static_cast<unsigned char>(byte)));
        EXPECT_EQ(bytes(shown(data)), data);
        EXPECT_EQ(shown(data).size(), 2U);
    }
}

TEST(BytesAsText, AreEmptyForNoBytesAndForNull) {
    EXPECT_EQ(util::buf2str("abc", 0), "");
    EXPECT_EQ(util::buf2str(nullptr, 0), "");
    EXPECT_EQ(util::buf2str(nullptr, 5), "");
}

}  // namespace
