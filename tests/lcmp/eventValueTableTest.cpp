// The slots of the values last reported.
#include "lcmpEventValueTable.h"

#include <gtest/gtest.h>

#include <limits>
#include <type_traits>
#include <vector>

#include "capturedLog.h"

namespace {

static_assert(!std::is_polymorphic_v<EventValueTable>);
static_assert(!std::is_copy_constructible_v<EventValueTable> && !std::is_copy_assignable_v<EventValueTable>);
static_assert(!std::is_move_constructible_v<EventValueTable> && !std::is_move_assignable_v<EventValueTable>);

void expectNoSlot(EventValueTable& table, int index) {
    EXPECT_EQ(table.getValuePtr(index), nullptr) << index;
    EXPECT_FALSE(table.setValue(index, 77)) << index;
    EXPECT_EQ(table.getValue(index), 0U) << index;
}

TEST(EventValueTable, KeepsWhatItWasMadeWith) {
    const EventValueTable own(false, 3, 0xFFFFFFFF);
    EXPECT_FALSE(own.getCommon());
    EXPECT_EQ(own.getSize(), 3);
    EXPECT_EQ(own.getTableNbr(), 0xFFFFFFFFU);
    const EventValueTable common(true, 1, 5);
    EXPECT_TRUE(common.getCommon());
    EXPECT_EQ(common.getSize(), 1);
    EXPECT_EQ(common.getTableNbr(), 5U);
}

TEST(EventValueTable, StartsWithZeros) {
    { const std::vector<unsigned long long> leavesItsMemoryBehind(1000, 0xA5A5A5A5A5A5A5A5); }
    EventValueTable table(true, 1000, 5);
    for (int index = 0; index < 1000; ++index)
        EXPECT_EQ(table.getValue(index), 0U);
}

TEST(EventValueTable, KeepsAWholeValueInEachSlot) {
    EventValueTable table(true, 3, 5);
    EXPECT_TRUE(table.setValue(0, std::numeric_limits<unsigned long long>::max()));
    EXPECT_TRUE(table.setValue(1, 1));
    EXPECT_TRUE(table.setValue(2, 0x0102030405060708));
    EXPECT_EQ(table.getValue(0), std::numeric_limits<unsigned long long>::max());
    EXPECT_EQ(table.getValue(1), 1U);
    EXPECT_EQ(table.getValue(2), 0x0102030405060708U);
}

TEST(EventValueTable, HasItsLastSlotJustBelowItsSize) {
    EventValueTable table(true, 4, 5);
    EXPECT_TRUE(table.setValue(3, 42));
    EXPECT_EQ(table.getValue(3), 42U);
    expectNoSlot(table, 4);
    EXPECT_EQ(table.getValue(3), 42U);
}

TEST(EventValueTable, ShowsItsSlotsInPlace) {
    EventValueTable table(true, 3, 5);
    ASSERT_NE(table.getValuePtr(1), nullptr);
    *table.getValuePtr(1) = 9;
    EXPECT_EQ(table.getValue(1), 9U);
    table.setValue(1, 10);
    EXPECT_EQ(*table.getValuePtr(1), 10U);
    EXPECT_EQ(table.getValuePtr(2), table.getValuePtr(0) + 2);
    EXPECT_EQ(table.getValue(0), 0U);
    EXPECT_EQ(table.getValue(2), 0U);
}

TEST(EventValueTable, OfSizeZeroHasNoSlot) {
    EventValueTable table(false, 0, 5);
    EXPECT_EQ(table.getSize(), 0);
    for (const int index : {-1, 0, 1, std::numeric_limits<int>::max()})
        expectNoSlot(table, index);
}

TEST(EventValueTable, OfNegativeSizeHasNoSlot) {
    for (const int size : {-1, std::numeric_limits<int>::min()}) {
        EventValueTable table(false, size, 5);
        EXPECT_EQ(table.getSize(), size);
        for (const int index : {std::numeric_limits<int>::min(), -2, -1, 0, 1})
            expectNoSlot(table, index);
    }
}

TEST(EventValueTable, RejectsAnIndexOutsideWithoutALine) {
    CapturedLog log;
    EventValueTable table(false, 3, 5);
    for (const int index : {std::numeric_limits<int>::min(), -1, 3, 4, std::numeric_limits<int>::max()})
        expectNoSlot(table, index);
    for (int index = 0; index < 3; ++index)
        EXPECT_EQ(table.getValue(index), 0U);
    EXPECT_EQ(log.all(), "");
}

}  // namespace
