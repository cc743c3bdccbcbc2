// Which of the registered objects serves an OID: the first, in the order of their registration, that has it.
// What the library does to find it faster must not show.
#include <gmock/gmock.h>

#include <memory>
#include <new>

#include "card.h"
#include "frames.h"

namespace {

using testing::ElementsAre;

using Byte = TypeProperty<unsigned char>;

constexpr auto writable = IFC_CARD_VAR_WRITABLE;

std::unique_ptr<LcmpScalar> scalar(unsigned int group, bool common) {
    return std::make_unique<LcmpScalar>("scalar", group, common);
}

void give(LcmpObject& object, unsigned int id, int value, unsigned int row = 0) {
    ASSERT_TRUE(object.addProp(new Byte(id, "byte", writable, static_cast<unsigned char>(value)), row));
}

std::unique_ptr<LcmpScalar> scalarWith(unsigned int group, bool common, unsigned int id, int value) {
    auto object = scalar(group, common);
    give(*object, id, value);
    return object;
}

/// A card of objects as they come, without hooks of their own.
class ByteCard : public TestEndpoint {
public:
    void has(LcmpObject& object) { registerObject(&object); }

    /// What it answers to a read of one byte: its value, or "refused" when no object has the OID.
    std::string valueOf(unsigned int oid) {
        sent.clear();
        receive(readRequest(++m_id, {{oid, UINT8}}), Card::controller);
        EXPECT_EQ(sent.size(), 1U);
        const std::string& answer = sent.at(0);
        if (answer.size() == responseHeader)
            return static_cast<unsigned char>(answer[8]) == RESULT_GENERAL_ERROR ? "refused" : lastSent();
        EXPECT_EQ(answer.size(), responseHeader + 8);
        return std::to_string(static_cast<unsigned char>(answer.back()));
    }

    /// Result and error index of a write of one byte.
    std::string write(unsigned int oid, const char* valueHex) {
        sent.clear();
        receive(writeRequest(++m_id, {{oid, UINT8, valueHex}}), Card::controller);
        return hex(sent.at(0).substr(8));
    }

    ByteCard() {
        const Silence silence;
        LCMPRequest before;
        checkMsgId(&before, Card::controller);
    }

private:
    unsigned int m_id = 0;
};

}  // namespace

// ---------------------------------------------------------------- which object

TEST(RegisteredObjects, AreToldApartByKindCommonFlagAndId) {
    const auto group2 = scalarWith(2, false, 1, 21);
    const auto commonGroup2 = scalarWith(2, true, 1, 22);
    const auto group3 = scalarWith(3, false, 1, 31);
    LcmpTable table2("table", 2, false, 1);
    LcmpTable commonTable2("table", 2, true, 1);
    give(table2, 1, 121);
    give(commonTable2, 1, 122);
    ByteCard card;
    for (LcmpObject* object :
         std::vector<LcmpObject*>{group3.get(), &commonTable2, group2.get(), &table2, commonGroup2.get()})
        card.has(*object);
    EXPECT_EQ(card.valueOf(0x01000001), "21");
    EXPECT_EQ(card.valueOf(0x11000001), "22");
    EXPECT_EQ(card.valueOf(0x01800001), "31");
    EXPECT_EQ(card.valueOf(0x40804000), "121");
    EXPECT_EQ(card.valueOf(0x50804000), "122");
    EXPECT_EQ(card.valueOf(0x11800001), "refused");
    EXPECT_EQ(card.valueOf(0x50C04000), "refused");
}

// A table's id lies where a scalar's group ends: the same bits mean group 2 and table 4.
TEST(RegisteredObjects, ServeNoOidOfTheOtherKind) {
    const auto group2 = scalarWith(2, false, 1, 2);
    give(*group2, 0x4000, 3);
    LcmpTable table4("table", 4, false, 2);
    give(table4, 0, 4, 1);
    give(table4, 1, 5, 0);
    for (const bool tableFirst : {true, false}) {
        ByteCard card;
        if (tableFirst)
            card.has(table4);
        card.has(*group2);
        EXPECT_EQ(card.valueOf(0x41000001), tableFirst ? "4" : "refused");
        if (!tableFirst)
            card.has(table4);
        EXPECT_EQ(card.valueOf(0x01000001), "2");
        EXPECT_EQ(card.valueOf(0x01004000), "3");
        EXPECT_EQ(card.valueOf(0x41000001), "4");
        EXPECT_EQ(card.valueOf(0x41004000), "5");
        EXPECT_EQ(card.valueOf(0x81000001), "refused");
        EXPECT_EQ(card.valueOf(0xC1000001), "refused");
    }
}

TEST(RegisteredObjects, ReachTheEndsOfTheirFields) {
    LcmpScalar last("scalar", 31, false);
    give(last, 0, 1);
    give(last, 0x3FFFFF, 2);
    give(last, 0x400000, 3);
    give(last, 0x7FFFFF, 4);
    LcmpTable table("table", 63, true, 16384);
    give(table, 0, 5);
    give(table, 255, 6, 16383);
    give(table, 0, 7, 16383);
    ByteCard card;
    card.has(last);
    card.has(table);
    EXPECT_EQ(card.valueOf(0x0F800000), "1");
    EXPECT_EQ(card.valueOf(0x0FBFFFFF), "2");
    EXPECT_EQ(card.valueOf(0x0FC00000), "3");
    EXPECT_EQ(card.valueOf(0x0FFFFFFF), "4");
    EXPECT_EQ(card.valueOf(0x5FC00000), "5");
    EXPECT_EQ(card.valueOf(0x5FFFFFFF), "6");
    EXPECT_EQ(card.valueOf(0x5FC03FFF), "7");
    EXPECT_EQ(card.valueOf(0x5FFFC000), "refused");
    EXPECT_EQ(card.valueOf(0x0F800001), "refused");
}

TEST(RegisteredObjects, WithIdsBeyondTheirFieldServeNothing) {
    const auto group32 = scalarWith(32, false, 1, 1);
    const auto commonGroup4 = scalarWith(4, true, 1, 2);
    LcmpTable table64("table", 64, false, 1);
    give(table64, 1, 3);
    ByteCard card;
    for (LcmpObject* object : std::vector<LcmpObject*>{group32.get(), commonGroup4.get(), &table64}) {
        card.has(*object);
        EXPECT_EQ(card.valueOf(object->getOID(1, 0)), "refused");
        EXPECT_EQ(card.valueOf(object->getOID(1, 0) & 0xCFFFFFFF), "refused");
    }
}

// Bit 29 belongs to no field: it is overlooked in a search, and is part of the OID that a write must have.
TEST(RegisteredObjects, AreFoundWithBit29AndNotWrittenWithIt) {
    const auto object = scalarWith(2, false, 1, 21);
    ByteCard card;
    card.has(*object);
    EXPECT_EQ(card.valueOf(0x21000001), "21");
    EXPECT_EQ(hex(card.sent.at(0).substr(responseHeader)), "01 00 00 01 03 00 01 15");
    EXPECT_EQ(card.write(0x21000001, "01"), refused(RESULT_WRONG_OID, 0));
    EXPECT_EQ(card.write(0x01000001, "01"), done());
}

// ---------------------------------------------------------------- whose turn it is

TEST(RegisteredObjects, ServeInTheOrderOfTheirRegistration) {
    const auto first = scalarWith(2, false, 1, 1);
    const auto second = scalarWith(2, false, 1, 2);
    give(*second, 9, 9);
    ByteCard card;
    card.has(*first);
    card.has(*second);
    EXPECT_EQ(card.valueOf(0x01000001), "1");
    EXPECT_EQ(card.valueOf(0x01000009), "9");
    EXPECT_EQ(card.valueOf(0x01000002), "refused");
}

TEST(RegisteredObjects, ServeInTheirOrderWhetherTheyHaveHooksOrNot) {
    for (const bool hooksFirst : {true, false}) {
        Journal journal;
        Journaled<LcmpScalar> hooked(journal, "hooked", 2U, false);
        give(hooked, 1, 1);
        give(hooked, 8, 8);
        const auto plain = scalarWith(2, false, 1, 2);
        give(*plain, 9, 9);
        ByteCard card;
        if (hooksFirst)
            card.has(hooked);
        card.has(*plain);
        if (!hooksFirst)
            card.has(hooked);
        EXPECT_EQ(card.valueOf(0x01000001), hooksFirst ? "1" : "2");
        EXPECT_EQ(card.valueOf(0x01000008), "8");
        EXPECT_EQ(card.valueOf(0x01000009), "9");
        EXPECT_EQ(journal.size(), hooksFirst ? 2U : 1U);
    }
}

TEST(RegisteredObjects, MayServeOidsInAWayOfTheirOwn) {
    class Catchall : public LcmpScalar {
    public:
        Catchall() : LcmpScalar("catchall", 7, false) { give(*this, 1, 77); }
        LcmpProperty* getPropFromOID(unsigned int) override { return getProp(1, 0); }
    };
    for (const bool catchallFirst : {true, false}) {
        Catchall catchall;
        const auto plain = scalarWith(2, false, 1, 2);
        ByteCard card;
        if (catchallFirst)
            card.has(catchall);
        card.has(*plain);
        if (!catchallFirst)
            card.has(catchall);
        EXPECT_EQ(card.valueOf(0x01000001), catchallFirst ? "77" : "2");
        EXPECT_EQ(card.valueOf(0x01000002), "77");
    }
}

TEST(RegisteredObjects, MayBeNullOrRegisteredTwice) {
    const auto object = scalarWith(2, false, 1, 1);
    ByteCard card;
    card.registerObject(nullptr);
    card.has(*object);
    card.registerObject(nullptr);
    card.has(*object);
    for (const int level : {0, 9}) {
        CapturedLog log(level);
        EXPECT_EQ(card.valueOf(0x01000001), "1");
        EXPECT_EQ(card.valueOf(0x01000002), "refused");
    }
}

// ---------------------------------------------------------------- objects that change

TEST(RegisteredObjects, ServePropertiesThatAreAddedLater) {
    LcmpTable table("table", 2, false, 3);
    ByteCard card;
    card.has(table);
    EXPECT_EQ(card.valueOf(0x40804002), "refused");
    give(table, 1, 5, 2);
    EXPECT_EQ(card.valueOf(0x40804002), "5");
    for (unsigned int column = 2; column < 200; ++column)
        give(table, column, static_cast<int>(column), column % 3);
    for (unsigned int column = 2; column < 200; ++column)
        EXPECT_EQ(card.valueOf(0x40800000 | column << 14 | column % 3), std::to_string(column));
}

TEST(RegisteredObjects, MayJoinAtAnyTime) {
    const auto first = scalarWith(2, false, 1, 1);
    const auto second = scalarWith(3, false, 1, 2);
    ByteCard card;
    EXPECT_EQ(card.valueOf(0x01000001), "refused");
    card.has(*first);
    EXPECT_EQ(card.valueOf(0x01000001), "1");
    EXPECT_EQ(card.valueOf(0x01800001), "refused");
    card.has(*second);
    EXPECT_EQ(card.valueOf(0x01800001), "2");
}

TEST(RegisteredObjects, AreThoseThatTheSubclassLeavesInTheList) {
    const auto first = scalarWith(2, false, 1, 1);
    auto second = scalarWith(2, false, 1, 2);
    ByteCard card;
    card.has(*first);
    card.has(*second);
    EXPECT_EQ(card.valueOf(0x01000001), "1");
    std::swap(card.lcmpObjects[0], card.lcmpObjects[1]);
    EXPECT_EQ(card.valueOf(0x01000001), "2");
    card.lcmpObjects.erase(card.lcmpObjects.begin());
    second.reset();
    EXPECT_EQ(card.valueOf(0x01000001), "1");
    card.lcmpObjects.clear();
    EXPECT_EQ(card.valueOf(0x01000001), "refused");
    card.lcmpObjects.push_back(first.get());
    EXPECT_EQ(card.valueOf(0x01000001), "1");
}

// An allocator likes to give the place of what was just freed to what is made next.
TEST(RegisteredObjects, MayLieWhereAnotherWas) {
    alignas(LcmpScalar) alignas(LcmpTable) unsigned char place[sizeof(LcmpScalar) + sizeof(LcmpTable)];
    ByteCard card;
    auto* before = new (place) LcmpScalar("before", 2, false);
    give(*before, 1, 1);
    card.has(*before);
    EXPECT_EQ(card.valueOf(0x01000001), "1");

    card.lcmpObjects.clear();
    before->~LcmpScalar();
    auto* after = new (place) LcmpTable("after", 3, true, 1);
    give(*after, 1, 2);
    card.lcmpObjects.push_back(after);
    EXPECT_EQ(card.valueOf(0x50C04000), "2");
    EXPECT_EQ(card.valueOf(0x01000001), "refused");
    card.lcmpObjects.clear();
    after->~LcmpTable();
}

TEST(RegisteredObjects, MayLieWhereAnotherWasAfterARegistration) {
    alignas(LcmpScalar) unsigned char place[sizeof(LcmpScalar)];
    ByteCard card;
    for (const unsigned int group : {2U, 5U}) {
        auto* object = new (place) LcmpScalar("object", group, false);
        give(*object, 1, static_cast<int>(group));
        card.has(*object);
        EXPECT_EQ(card.valueOf(group << 23 | 1), std::to_string(group));
        card.lcmpObjects.clear();
        object->~LcmpScalar();
    }
}

// ---------------------------------------------------------------- legacy properties in objects

TEST(LegacyPropertyOfAnObject, IsJudgedByTheApplicationAndStoredByItself) {
    const unsigned int oid = 0x03000001;
    std::string wire = Element{oid, UINT8, "05"}.bytes();
    Card card;
    Journaled<LcmpScalar> holder(card.journal, "holder", 6U, false);
    auto* legacy = new OldStyleProperty(reinterpret_cast<lcmp_tlv*>(wire.data()), false);
    ASSERT_TRUE(holder.addProp(legacy, 0));
    card.registerObject(&holder);
    // Its id is its full OID, and this object is asked for the variable of that number.
    EXPECT_EQ(legacy->getId(), oid);

    class Finder : public LcmpScalar {
    public:
        explicit Finder(LcmpProperty* found) : LcmpScalar("finder", 6, false), m_found(found) {}
        LcmpProperty* getPropFromOID(unsigned int wanted) override {
            return wanted == 0x03000001 ? m_found : nullptr;
        }

    private:
        LcmpProperty* m_found;
    } finder(legacy);
    card.registerObject(&finder);

    card.write({{oid, UINT8, "07"}});
    EXPECT_EQ(card.answer(), refused(RESULT_GENERAL_ERROR, 0));
    card.judgesLegacy = [](OldStyleProperty&, bool) { return std::uint8_t{RESULT_OK}; };
    card.journal.clear();
    card.write({{oid, UINT8, "07"}});
    EXPECT_EQ(card.answer(), done());
    unsigned char value = 0;
    legacy->get(&value);
    EXPECT_EQ(value, 7);
    EXPECT_THAT(card.journal,
                ElementsAre("judge write of 03 00 00 01", "updated holder." + legacy->getName()));
}

// ---------------------------------------------------------------- nothing else shows

namespace {

/// The same variables in objects with hooks and without.
class Twins : public testing::Test {
protected:
    Twins() {
        fill(m_hookedScalar, m_hookedTable);
        fill(m_plainScalar, m_plainTable);
        for (LcmpObject* object : std::vector<LcmpObject*>{&m_hookedTable, &m_hookedScalar})
            m_hooked.registerObject(object);
        for (LcmpObject* object : std::vector<LcmpObject*>{&m_plainTable, &m_plainScalar})
            m_plain.registerObject(object);
    }

    /// Both make the same of a frame, at a level where every object is asked and at one where nothing is
    /// logged.
    void expectAlike(const std::string& frameBytes) {
        for (const int level : {0, 3, 9}) {
            std::vector<std::string> outcomes;
            for (ByteCard* card : {&m_hooked, &m_plain}) {
                CapturedLog log(level);
                card->sent.clear();
                setLastId(*card, frameBytes);
                const bool handled = card->receive(frameBytes, Card::controller);
                outcomes.push_back((handled ? "true " : "false ") + card->lastSent() + "\n" + log.all());
                outcomes.back() += valuesOf(*card);
            }
            EXPECT_EQ(outcomes[0], outcomes[1]) << hex(frameBytes) << " at level " << level;
        }
    }

private:
    static void fill(LcmpScalar& control, LcmpTable& cells) {
        control.addProp(new TypeProperty<bool>(0, "reboot", writable, false), 0);
        control.addProp(new Byte(2, "bpClkRef", writable, std::uint8_t{128}, new BpClkRefCheck), 0);
        for (unsigned int row = 0; row < 4; ++row)
            cells.addProp(new TypeProperty<int>(1, "value", IFC_CARD_VAR_READ_ONLY, static_cast<int>(row)),
                          row);
    }

    static void setLastId(ByteCard& card, const std::string& frameBytes) {
        const Silence silence;
        LCMPRequest before;
        before.setMessageId(
            static_cast<std::uint16_t>(frameBytes.size() < 8 ? 0 : number(frameBytes, 6, 2) - 1));
        card.checkMsgId(&before, Card::controller);
    }

    static std::string valuesOf(ByteCard& card) {
        std::string all;
        for (LcmpObject* object : card.lcmpObjects)
            all += object->str(0, 0);
        return all;
    }

    Journal m_journal;
    Journaled<LcmpScalar> m_hookedScalar{m_journal, "control", 3U, true};
    Journaled<LcmpTable> m_hookedTable{m_journal, "cells", 5U, true, 4U};
    LcmpScalar m_plainScalar{"control", 3U, true};
    LcmpTable m_plainTable{"cells", 5U, true, 4U};
    ByteCard m_hooked;
    ByteCard m_plain;
};

}  // namespace

TEST_F(Twins, MakeTheSameOfEveryGoldenFrameAndOfAllItBeginsWith) {
    for (const Frame& golden : goldenFrames()) {
        for (std::size_t size = 0; size <= golden.bytes.size() && !HasFailure(); ++size)
            expectAlike(golden.bytes.substr(0, size));
    }
}

TEST_F(Twins, MakeTheSameOfEveryBrokenFrame) {
    for (const Frame& broken : brokenFrames())
        expectAlike(broken.bytes);
}

TEST_F(Twins, RefuseTheSame) {
    const Elements elements = {{bpClkRef, UINT8, "04"},
                               {bpClkRef, INT8, "01"},
                               {bpClkRef, UINT8, "0001"},
                               {temperatureOf(1), INT32, "00000001"},
                               {temperatureOf(4), INT32, "00000001"},
                               {bpClkRef | 0x20000000, UINT8, "01"},
                               {0xC0000000, UINT8, "01"},
                               {0x12000000, UINT8, "01"}};
    const Element good = {reboot, BOOLEAN, "01"};
    for (const Element& element : elements) {
        for (const unsigned int action : {1U, 2U, 3U}) {
            const std::string between = action == 3 ? bytes("00 0000") : "";
            expectAlike(header(action, 7) + between + joined({element}));
            expectAlike(header(action, 7) + between + joined({good, element, good}));
        }
        expectAlike(amiFrame(7, 1, 2, {good, element}));
    }
}
