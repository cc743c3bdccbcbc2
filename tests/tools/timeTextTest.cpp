#include "timeText.h"

#include <gtest/gtest.h>

namespace {

using tool::timeText;

TEST(TimeText, OfAMessageHasMicroseconds) {
    EXPECT_EQ(timeText(0, 0), "1970-01-01T00:00:00.000000Z");
    EXPECT_EQ(timeText(1714564800, 250), "2024-05-01T12:00:00.000250Z");
    EXPECT_EQ(timeText(0xFFFFFFFF, 999999), "2106-02-07T06:28:15.999999Z");
    EXPECT_EQ(timeText(1714564799, 1000001), "2024-05-01T12:00:00.000001Z");
    EXPECT_EQ(timeText(0xFFFFFFFF, 0xFFFFFFFF), "2106-02-07T07:39:49.967295Z");
}

}  // namespace
