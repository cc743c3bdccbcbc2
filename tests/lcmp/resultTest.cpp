// Result codes and their names.
#include "lcmpResult.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <vector>

namespace {

static_assert(std::is_same_v<std::underlying_type_t<LcmpResult>, unsigned int>);
static_assert(std::is_convertible_v<LcmpResult, unsigned int>);
static_assert(RESULT_OK == 0 && RESULT_PROTOCOL_VERSION_MISMATCH == 1 && RESULT_DUPLICATE_MSG == 2);
static_assert(RESULT_LOST_MSG == 3 && RESULT_INVALID_ACTION == 4 && RESULT_GENERAL_ERROR == 5);
static_assert(RESULT_WRONG_TYPE == 6 && RESULT_WRONG_OID == 7 && RESULT_WRONG_LEN == 8);
static_assert(RESULT_WRONG_VALUE == 9 && RESULT_READ_ONLY == 10 && RESULT_TOO_LONG == 11);
static_assert(RESULT_CANNOT_EXEC == 12 && RESULT_WRONG_MAGIC == 13 && RESULT_NOT_RECEIVED == 14);
static_assert(RESULT_NOT_SEND == 15);

TEST(ResultName, IsTheDisplayNameOfTheCode) {
    const std::vector<std::string> names = {"RESULT OK",
                                            "RESULT PROTOCOL VERSION_MISMATCH",
                                            "RESULT DUPLICATE MSG",
                                            "RESULT LOST MSG",
                                            "RESULT INVALID ACTION",
                                            "RESULT GENERAL ERROR",
                                            "RESULT WRONG TYPE",
                                            "RESULT WRONG OID",
                                            "RESULT WRONG LEN",
                                            "RESULT WRONG VALUE",
                                            "RESULT READ ONLY",
                                            "RESULT TOO LONG",
                                            "RESULT CANNOT EXEC",
                                            "RESULT WRONG MAGIC",
                                            "RESULT NOT RECEIVED",
                                            "RESULT NOT SEND"};
    ASSERT_EQ(names.size(), 16U);
    for (unsigned int code = 0; code < names.size(); ++code)
        EXPECT_EQ(lcmpResultName(code), names[code]);
}

TEST(ResultName, OfAFullPeerTableAndAnUnknownPeerIsEmpty) {
    EXPECT_STREQ(lcmpResultName(16), "");
    EXPECT_STREQ(lcmpResultName(17), "");
}

TEST(ResultName, OfEveryOtherCodeIsUnknown) {
    for (unsigned int code = 18; code < 1000; ++code)
        EXPECT_STREQ(lcmpResultName(code), "unknown") << code;
    EXPECT_STREQ(lcmpResultName(0x80000000), "unknown");
    EXPECT_STREQ(lcmpResultName(0xFFFFFFFF), "unknown");
}

}  // namespace
