// What a byte array does when there is no memory for its new bytes.
#include <cstdlib>
#include <cstring>

#include "bytes.h"
#include "capturedLog.h"
#include "failingMalloc.h"
#include "gtest/gtest.h"
#include "lcmpTextProperty.h"

namespace {

class HoldingArray : public ArrayProperty {
public:
    HoldingArray() : ArrayProperty(7, "array", IFC_CARD_VAR_WRITABLE, true) {
        m_buffer = static_cast<unsigned char*>(std::calloc(4, 1));
        m_length = 4;
        std::memcpy(m_buffer, "four", 4);
    }
    bool holdsABuffer() const { return m_buffer != nullptr; }
};

}  // namespace

TEST(ArrayAllocation, SetLosesTheOldBytesAndKeepsTheNewLengthWithoutALogLine) {
    HoldingArray property;
    unsigned char zeros[6] = {};
    const CapturedLog log;
    failMallocAfter(0);
    property.set(zeros, 6);
    mallocWorks();
    EXPECT_EQ(log.all(), "");
    EXPECT_FALSE(property.holdsABuffer());
    EXPECT_EQ(property.length(), 6U);
    EXPECT_FALSE(property.sendEvent());
    EXPECT_EQ(freeCount(), 1);
}

TEST(ArrayAllocation, DeserializeLosesTheOldBytesAndKeepsTheNewLengthWithoutALogLine) {
    HoldingArray property;
    GuardedBytes element(bytes("00 00 00 07 | 0C | 00 05 | 01 02 03 04 05"));
    const CapturedLog log;
    failMallocAfter(0);
    EXPECT_EQ(property.deserialize(element.data()), 12);
    mallocWorks();
    EXPECT_EQ(log.all(), "");
    EXPECT_FALSE(property.holdsABuffer());
    EXPECT_EQ(property.length(), 5U);
    EXPECT_EQ(freeCount(), 1);
}

TEST(ArrayAllocation, GetTellsTheLengthWithoutMemory) {
    HoldingArray property;
    unsigned int length = 77;
    const CapturedLog log;
    failMallocAfter(0);
    property.get(nullptr, &length);
    mallocWorks();
    EXPECT_EQ(length, 4U);
    EXPECT_EQ(log.all(), "");
}
