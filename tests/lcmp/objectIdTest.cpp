// OIDs taken apart, put together and shown.
#include "lcmpObjectId.h"

#include <gtest/gtest.h>

#include <cstddef>

#include "capturedLog.h"
#include "lcmpObjects.h"
#include "lcmpResult.h"

namespace {

static_assert(offsetof(LcmpObjectId, m_common) < offsetof(LcmpObjectId, m_is_table));
static_assert(offsetof(LcmpObjectId, m_is_table) < offsetof(LcmpObjectId, m_is_scalar));
static_assert(offsetof(LcmpObjectId, m_is_scalar) < offsetof(LcmpObjectId, m_id));
static_assert(offsetof(LcmpObjectId, m_id) < offsetof(LcmpObjectId, m_sub_id));
static_assert(offsetof(LcmpObjectId, m_sub_id) < offsetof(LcmpObjectId, m_row));
static_assert(offsetof(LcmpObjectId, m_row) < offsetof(LcmpObjectId, m_result));

constexpr unsigned int unset = 0xFFFFFFFF;

void expectTable(unsigned int oid, bool common, unsigned int table, unsigned int column, unsigned int row) {
    const LcmpObjectId id(oid);
    EXPECT_TRUE(id.m_is_table) << std::hex << oid;
    EXPECT_FALSE(id.m_is_scalar) << std::hex << oid;
    EXPECT_EQ(id.m_common, common) << std::hex << oid;
    EXPECT_EQ(id.m_id, table) << std::hex << oid;
    EXPECT_EQ(id.m_sub_id, column) << std::hex << oid;
    EXPECT_EQ(id.m_row, row) << std::hex << oid;
    EXPECT_EQ(id.m_result, 0U) << std::hex << oid;
}

void expectScalar(unsigned int oid, bool common, unsigned int group, unsigned int variable) {
    const LcmpObjectId id(oid);
    EXPECT_TRUE(id.m_is_scalar) << std::hex << oid;
    EXPECT_FALSE(id.m_is_table) << std::hex << oid;
    EXPECT_EQ(id.m_common, common) << std::hex << oid;
    EXPECT_EQ(id.m_id, group) << std::hex << oid;
    EXPECT_EQ(id.m_sub_id, variable) << std::hex << oid;
    EXPECT_EQ(id.m_row, 0U) << std::hex << oid;
    EXPECT_EQ(id.m_result, 0U) << std::hex << oid;
}

void expectInvalid(unsigned int oid, bool common, unsigned int group) {
    const LcmpObjectId id(oid);
    EXPECT_FALSE(id.m_is_table) << std::hex << oid;
    EXPECT_FALSE(id.m_is_scalar) << std::hex << oid;
    EXPECT_EQ(id.m_common, common) << std::hex << oid;
    EXPECT_EQ(id.m_id, group) << std::hex << oid;
    EXPECT_EQ(id.m_sub_id, unset) << std::hex << oid;
    EXPECT_EQ(id.m_row, 0U) << std::hex << oid;
    EXPECT_EQ(id.m_result, 7U) << std::hex << oid;
    EXPECT_EQ(id.str(), "invalid object") << std::hex << oid;
}

TEST(ObjectId, ZeroIsTheFirstVariableOfScalarGroupZero) {
    expectScalar(0x00000000, false, 0, 0);
    EXPECT_EQ(LcmpObjectId(0).str(), "scalar object: common = 0, group id = 0, variable id = 0");
}

TEST(ObjectId, OfACommonScalarHasAGroupOfAtMostThree) {
    expectScalar(0x11800001, true, 3, 1);
    expectInvalid(0x12000001, true, 4);
    expectInvalid(0x1FFFFFFF, true, 31);
}

TEST(ObjectId, OfAnOtherScalarHasAnyGroup) {
    expectScalar(0x0FFFFFFF, false, 31, 0x7FFFFF);
    expectScalar(0x02000001, false, 4, 1);
}

TEST(ObjectId, OfKindTwoOrThreeIsInvalid) {
    expectInvalid(0x80000000, false, unset);
    expectInvalid(0xC0000000, false, unset);
    expectInvalid(0xFFFFFFFF, false, unset);
    expectInvalid(0x90C10005, false, unset);
}

TEST(ObjectId, OfACellHasTableColumnAndRow) {
    expectTable(0x50C10005, true, 3, 4, 5);
    expectTable(0x40000000, false, 0, 0, 0);
    expectTable(0x4FFFFFFF, false, 63, 255, 16383);
    EXPECT_EQ(LcmpObjectId(0x50C10005).str(), "table object: common = 1, table id = 3, column = 4, row = 5");
}

TEST(ObjectId, IgnoresBit29) {
    expectTable(0x7FFFFFFF, true, 63, 255, 16383);
    expectScalar(0x31800001, true, 3, 1);
    expectScalar(0x21000007, false, 2, 7);
    expectInvalid(0x32000001, true, 4);
    EXPECT_EQ(LcmpObjectId(0x21000007).str(), "scalar object: common = 0, group id = 2, variable id = 7");
}

// The upper ten bits hold kind, flags and the object; three patterns stand for the rest.
TEST(ObjectId, DecodesEveryKindFlagAndObject) {
    for (unsigned int upper = 0; upper < 1024; ++upper) {
        for (const unsigned int lower : {0x000000U, 0x2A5555U, 0x3FFFFFU}) {
            const unsigned int oid = upper << 22 | lower;
            const unsigned int kind = upper >> 8;
            const bool common = (upper & 0x40) != 0;
            const unsigned int group = upper >> 1 & 0x1F;
            if (kind > 1)
                expectInvalid(oid, false, unset);
            else if (kind == 1)
                expectTable(oid, common, upper & 0x3F, lower >> 14, lower & 0x3FFF);
            else if (common && group > 3)
                expectInvalid(oid, true, group);
            else
                expectScalar(oid, common, group, (upper & 1) << 22 | lower);
        }
    }
}

TEST(ObjectId, LogsAKindThatThereIsNot) {
    EXPECT_LOGS_FROM("lcmpObjectId.cpp", "LcmpObjectId", "ERROR", "Invalid oid 0x80000000",
                     [] { LcmpObjectId(0x80000000); });
    EXPECT_LOGS_FROM("lcmpObjectId.cpp", "LcmpObjectId", "ERROR", "Invalid oid 0xffffffff",
                     [] { LcmpObjectId(0xFFFFFFFF); });
}

TEST(ObjectId, LogsACommonScalarGroupAboveThree) {
    EXPECT_LOGS_FROM("lcmpObjectId.cpp", "LcmpObjectId", "ERROR", "Failed to decode scalar oid 0x12000001",
                     [] { LcmpObjectId(0x12000001); });
}

TEST(ObjectId, IsSilentWhenItIsValid) {
    CapturedLog log;
    for (const unsigned int oid : {0x00000000U, 0x11800001U, 0x50C10005U, 0x7FFFFFFFU})
        LcmpObjectId{oid}.str();
    EXPECT_EQ(log.all(), "");
}

TEST(ObjectId, ResultIsTheCodeForAWrongOid) {
    EXPECT_EQ(LcmpObjectId(0xC0000000).m_result, static_cast<unsigned int>(RESULT_WRONG_OID));
}

// ---------------------------------------------------------------- composition

TEST(ComposedOid, OfATableGivesBackTableColumnAndRow) {
    LcmpTable table("table", 3, true, 6);
    EXPECT_EQ(table.getOID(4, 5), 0x50C10005U);
    expectTable(table.getOID(4, 5), true, 3, 4, 5);
    LcmpTable own("table", 63, false, 1);
    EXPECT_EQ(own.getOID(255, 16383), 0x4FFFFFFFU);
}

TEST(ComposedOid, OfAScalarIgnoresTheRow) {
    LcmpScalar scalar("scalar", 2, false);
    EXPECT_EQ(scalar.getOID(7, 99), 0x01000007U);
    EXPECT_EQ(scalar.getOID(7, 0), 0x01000007U);
    LcmpScalar common("scalar", 3, true);
    EXPECT_EQ(common.getOID(2, 0), 0x11800002U);
}

TEST(ComposedOid, SpillsWhatExceedsAField) {
    LcmpTable table("table", 2, false, 1);
    EXPECT_EQ(table.getOID(256, 0), LcmpTable("table", 3, false, 1).getOID(0, 0));
    EXPECT_EQ(table.getOID(0, 16384), table.getOID(1, 0));
    EXPECT_EQ(LcmpTable("table", 64, false, 1).getOID(0, 0), 0x50000000U);
    EXPECT_EQ(LcmpTable("table", 1, false, 1).getOID(0xFFFFFFFF, 0xFFFFFFFF), 0xFFFFFFFFU);

    LcmpScalar scalar("scalar", 2, false);
    EXPECT_EQ(scalar.getOID(0x800000, 0), 0x01800000U);
    EXPECT_EQ(LcmpScalar("scalar", 32, false).getOID(0, 0), 0x10000000U);
    EXPECT_EQ(LcmpScalar("scalar", 128, false).getOID(1, 0), 0x40000001U);
}

TEST(ComposedOid, OfEveryTableColumnAndCommonFlagDecodesToThem) {
    CapturedLog log(levelError);
    for (unsigned int id = 0; id < 64; ++id) {
        for (const bool common : {false, true}) {
            LcmpTable table("table", id, common, 1);
            for (unsigned int column = 0; column < 256; column += 15)
                expectTable(table.getOID(column, 16383 - column), common, id, column, 16383 - column);
        }
    }
    EXPECT_EQ(log.all(), "");
}

}  // namespace
