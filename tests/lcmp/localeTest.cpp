// Texts are for logs and tools that read them: the application's locale does not show in them.
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "heldTlv.h"
#include "lcmpObjectId.h"
#include "lcmpObjects.h"
#include "propertyTesting.h"

namespace {

TEST(ForeignLocale, IsOneThatWouldShow) {
    const GroupedDigits locale;
    std::ostringstream text;
    text << 1234567;
    EXPECT_EQ(text.str(), "1.234.567");
}

TEST(ForeignLocale, DoesNotShowInAnObjectId) {
    const GroupedDigits locale;
    EXPECT_EQ(LcmpObjectId(0x4FC03FFF).str(),
              "table object: common = 0, table id = 63, column = 0, row = 16383");
    EXPECT_EQ(LcmpObjectId(0x0FFFFFFF).str(),
              "scalar object: common = 0, group id = 31, variable id = 8388607");
}

TEST(ForeignLocale, DoesNotShowInAnObject) {
    const GroupedDigits locale;
    const LcmpTable table("table", 123456, false, 1001);
    const std::string text = table.str(1000, 1);
    EXPECT_EQ(text,
              "\nTable : 123456 (size = 1001)\n---------------------------\n\nProperties for row 1000:\n\n");
}

TEST(ForeignLocale, DoesNotShowInAnElement) {
    const GroupedDigits locale;
    HeldTlv element;
    element.id = 0xFFFFFFFF;
    element.setValue(1234567890U);
    EXPECT_EQ(element.toString(), "id=0xffffffff type=UINT32 len=4 val=1234567890");
    element.setValue(std::string(1234, 'x'));
    EXPECT_EQ(element.toString(), "id=0xffffffff type=STRING len=1234 val=\"" + std::string(1234, 'x') + '"');
    element.setValue(-1234567890123LL);
    EXPECT_EQ(element.valToString(), "-1234567890123");
    element.setValue(253402300800LL);
    element.type = UNIX_TIME;
    EXPECT_EQ(element.valToString(), "+10000-01-01T00:00:00Z");
}

}  // namespace
