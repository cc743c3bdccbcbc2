// Scalars and tables: what they hold, how it is found again, and what they say about it.
#include "lcmpObjects.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "capturedLog.h"
#include "lcmpProperty.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

static_assert(sizeof(ifcCard::IfcCardObjectType) == 4);
static_assert(ifcCard::IFC_CARD_OBJECT_SCALAR == 0 && ifcCard::IFC_CARD_OBJECT_TABLE == 1);
static_assert(std::is_abstract_v<LcmpObject> && std::has_virtual_destructor_v<LcmpObject>);
static_assert(!std::is_copy_constructible_v<LcmpTable> && !std::is_copy_assignable_v<LcmpTable>);
static_assert(!std::is_copy_constructible_v<LcmpScalar> && !std::is_copy_assignable_v<LcmpScalar>);
static_assert(!std::is_move_constructible_v<LcmpTable> && !std::is_move_assignable_v<LcmpTable>);

// ---------------------------------------------------------------- the fixture's language

/// What happened to the probes of one test, in order: "default 3.1" is column 3 of row 1.
using Events = std::vector<std::string>;

class Probe : public LcmpProperty {
public:
    Probe(unsigned int id, Events& events)
        : LcmpProperty(id, "probe", IFC_CARD_VAR_WRITABLE, true), m_events(events) {}
    ~Probe() override { m_events.push_back("gone " + place()); }

    void change() { markEvent(); }

    void setToDefault() override { m_events.push_back("default " + place()); }
    bool isDefault() override { return true; }
    int serialize(char* /*buffer*/, int /*size*/) override { return -1; }
    int deserialize(const char* /*buffer*/) override { return 7; }
    unsigned int length() override { return 0; }
    int getType() override { return BYTE_ARRAY; }
    std::string str() const override { return "<" + place() + ">\n"; }

private:
    std::string place() const { return std::to_string(getId()) + "." + std::to_string(getRow()); }

    Events& m_events;
};

/// An object whose update hook keeps a diary and always reports a failure.
class WatchedTable : public LcmpTable {
public:
    using LcmpTable::LcmpTable;

    bool update(LcmpProperty* property, unsigned int row) override {
        updates.emplace_back(property->getId(), row);
        return false;
    }

    std::vector<std::pair<unsigned int, unsigned int>> updates;
};

class Objects : public testing::Test {
protected:
    Events events;

    std::unique_ptr<Probe> probe(unsigned int id) { return std::make_unique<Probe>(id, events); }

    /// Adds a new property and expects the object to take it.
    Probe* add(LcmpObject& object, unsigned int id, unsigned int row = 0) {
        auto property = probe(id);
        EXPECT_TRUE(object.addProp(property.get(), row)) << id << "." << row;
        return property.release();
    }
};

using TableOfProbes = Objects;
using ScalarOfProbes = Objects;

// ---------------------------------------------------------------- making

TEST_F(Objects, KeepWhatTheyWereMadeWith) {
    const LcmpTable table("slots", 63, true, 7);
    EXPECT_EQ(table.getName(), "slots");
    EXPECT_EQ(table.getId(), 63U);
    EXPECT_TRUE(table.isCommon());
    EXPECT_EQ(table.getRowCount(), 7U);
    EXPECT_EQ(table.getObjectType(), ifcCard::IFC_CARD_OBJECT_TABLE);
    EXPECT_EQ(table.getObjectTypeStr(), "Table");

    const LcmpScalar scalar("card", 2, false);
    EXPECT_EQ(scalar.getName(), "card");
    EXPECT_EQ(scalar.getId(), 2U);
    EXPECT_FALSE(scalar.isCommon());
    EXPECT_EQ(scalar.getRowCount(), 1U);
    EXPECT_EQ(scalar.getObjectType(), ifcCard::IFC_CARD_OBJECT_SCALAR);
    EXPECT_EQ(scalar.getObjectTypeStr(), "Scalar");
}

TEST_F(Objects, WithoutRowsHoldNothing) {
    LcmpTable table("none", 1, false, 0);
    CapturedLog log;
    const auto property = probe(1);
    EXPECT_FALSE(table.addProp(property.get(), 0));
    EXPECT_EQ(log.all(), "");
    EXPECT_EQ(table.getProp(1, 0), nullptr);
    EXPECT_THAT(table.getProperties(), IsEmpty());
    EXPECT_THAT(table.getPropertiesToEvent(), IsEmpty());
    EXPECT_TRUE(table.updateAll());
    table.setToDefault();
    EXPECT_THAT(events, IsEmpty());
    EXPECT_EQ(table.str(0, 0), "\nTable : 1 (size = 0)\n---------------------------\n\n");
}

// ---------------------------------------------------------------- addProp

TEST_F(Objects, AnAddedPropertyKnowsItsOwnerAndRow) {
    LcmpTable table("table", 3, true, 3);
    EXPECT_EQ(probe(4)->getOwner(), nullptr);
    const Probe* added = add(table, 4, 2);
    EXPECT_EQ(added->getOwner(), &table);
    EXPECT_EQ(added->getRow(), 2U);
    EXPECT_EQ(added->getOid(), 0x50C10002U);
}

TEST_F(Objects, LogAnAddedProperty) {
    EXPECT_LOGS_FROM("lcmpObjects.cpp", "addProp", "DEBUG3", "[slots] Property 4 added for row 1", [this] {
        LcmpTable table("slots", 3, true, 2);
        add(table, 4, 1);
    });
}

TEST_F(Objects, LogIdsAsSignedNumbers) {
    EXPECT_LOGS("DEBUG3", "[slots] Property -1 added for row 0", [this] {
        LcmpTable table("slots", 3, true, 1);
        add(table, 0xFFFFFFFF);
    });
    EXPECT_LOGS("ERROR", "[slots] Could not find property -1 for row -2", [] {
        LcmpTable table("slots", 3, true, 1);
        EXPECT_EQ(table.getProp(0xFFFFFFFF, 0xFFFFFFFE), nullptr);
    });
}

TEST_F(Objects, RefuseNull) {
    EXPECT_LOGS_FROM("lcmpObjects.cpp", "addProp", "ERROR", "[slots] Property == NULL", [] {
        LcmpTable table("slots", 3, true, 2);
        EXPECT_FALSE(table.addProp(nullptr, 0));
        EXPECT_THAT(table.getProperties(), IsEmpty());
    });
}

TEST_F(Objects, RefuseNullBeforeTheyLookAtTheRow) {
    EXPECT_LOGS("ERROR", "[slots] Property == NULL", [] {
        LcmpTable table("slots", 3, true, 2);
        EXPECT_FALSE(table.addProp(nullptr, 2));
    });
}

TEST_F(Objects, RefuseARowThatDoesNotExistSilently) {
    LcmpTable table("slots", 3, true, 2);
    const auto property = probe(4);
    CapturedLog log;
    for (const unsigned int row : {2U, 3U, 0xFFFFFFFFU})
        EXPECT_FALSE(table.addProp(property.get(), row));
    EXPECT_EQ(log.all(), "");
    EXPECT_EQ(property->getOwner(), nullptr);
    EXPECT_EQ(property->getRow(), 0U);
    EXPECT_THAT(table.getProperties(), IsEmpty());
}

TEST_F(Objects, RefuseASecondPropertyOfTheSameIdInARow) {
    EXPECT_LOGS_FROM("lcmpObjects.cpp", "addProp", "ERROR", "[slots] Property 4 already added", [this] {
        LcmpTable table("slots", 3, true, 2);
        Probe* first = add(table, 4, 1);
        const auto second = probe(4);
        EXPECT_FALSE(table.addProp(second.get(), 1));
        EXPECT_EQ(second->getOwner(), nullptr);
        EXPECT_EQ(second->getRow(), 0U);
        EXPECT_THAT(table.getProperties(), ElementsAre(first));
    });
}

TEST_F(Objects, TakeTheSameIdInAnotherRow) {
    LcmpTable table("slots", 3, true, 2);
    Probe* first = add(table, 4, 0);
    Probe* second = add(table, 4, 1);
    EXPECT_THAT(table.getProperties(), ElementsAre(first, second));
}

TEST_F(Objects, RefuseAPropertyTheyHaveAlready) {
    EXPECT_LOGS("ERROR", "[slots] Property 4 already added", [this] {
        LcmpTable table("slots", 3, true, 2);
        Probe* property = add(table, 4, 0);
        EXPECT_FALSE(table.addProp(property, 0));
        EXPECT_THAT(table.getProperties(), ElementsAre(property));
    });
}

TEST_F(Objects, RefuseAPropertyThatStandsInAnotherRow) {
    EXPECT_LOGS("ERROR", "[slots] Property 4 already added", [this] {
        LcmpTable table("slots", 3, true, 2);
        Probe* property = add(table, 4, 0);
        EXPECT_FALSE(table.addProp(property, 1));
        EXPECT_EQ(property->getRow(), 0U);
        EXPECT_THAT(table.getProperties(), ElementsAre(property));
    });
}

TEST_F(Objects, RefuseAPropertyOfAnotherObject) {
    EXPECT_LOGS("ERROR", "[slots] Property 4 already added", [this] {
        LcmpScalar owner("owner", 1, true);
        LcmpTable table("slots", 3, true, 2);
        Probe* property = add(owner, 4);
        EXPECT_FALSE(table.addProp(property, 1));
        EXPECT_EQ(property->getOwner(), &owner);
        EXPECT_EQ(property->getRow(), 0U);
        EXPECT_THAT(table.getProperties(), IsEmpty());
        EXPECT_THAT(owner.getProperties(), ElementsAre(property));
    });
}

TEST_F(Objects, LogANameAsItIs) {
    EXPECT_LOGS("ERROR", "[100%s\n] Property == NULL", [] {
        LcmpScalar scalar("100%s\n", 3, true);
        EXPECT_FALSE(scalar.addProp(nullptr, 0));
    });
}

// ---------------------------------------------------------------- getProp and getPropertiesOfRow

TEST_F(Objects, FindAPropertyByIdAndRow) {
    EXPECT_LOGS_FROM("lcmpObjects.cpp", "getProp", "DEBUG3", "[slots] Property 4 for row 1 found", [this] {
        LcmpTable table("slots", 3, true, 2);
        add(table, 4, 0);
        Probe* wanted = add(table, 4, 1);
        EXPECT_EQ(table.getProp(4, 1), wanted);
    });
}

TEST_F(Objects, MissAnIdThatTheRowDoesNotHave) {
    EXPECT_LOGS_FROM("lcmpObjects.cpp", "getProp", "ERROR", "[slots] Could not find property 5 for row 1",
                     [this] {
                         LcmpTable table("slots", 3, true, 2);
                         add(table, 4, 1);
                         EXPECT_EQ(table.getProp(5, 1), nullptr);
                     });
}

TEST_F(Objects, MissARowThatDoesNotExist) {
    EXPECT_LOGS_FROM("lcmpObjects.cpp", "getProp", "ERROR", "[slots] Could not find property 4 for row 2",
                     [this] {
                         LcmpTable table("slots", 3, true, 2);
                         add(table, 4, 1);
                         EXPECT_EQ(table.getProp(4, 2), nullptr);
                     });
}

TEST_F(Objects, ListARowInOrderOfIds) {
    LcmpTable table("slots", 3, true, 2);
    Probe* seventh = add(table, 7, 1);
    Probe* largest = add(table, 0xFFFFFFFF, 1);
    Probe* first = add(table, 1, 1);
    add(table, 2, 0);
    EXPECT_THAT(table.getPropertiesOfRow(1), ElementsAre(first, seventh, largest));
}

TEST_F(Objects, ListNothingOfARowThatDoesNotExist) {
    EXPECT_LOGS_FROM("lcmpObjects.cpp", "getPropertiesOfRow", "ERROR",
                     "[slots] trying to get properties of not existing row 2, size is claimed 2", [this] {
                         LcmpTable table("slots", 3, true, 2);
                         add(table, 4, 1);
                         EXPECT_THAT(table.getPropertiesOfRow(2), IsEmpty());
                     });
}

TEST_F(Objects, ListNothingOfANegativeRow) {
    EXPECT_LOGS("ERROR", "[slots] trying to get properties of not existing row -1, size is claimed 2",
                [this] {
                    LcmpTable table("slots", 3, true, 2);
                    add(table, 4, 1);
                    EXPECT_THAT(table.getPropertiesOfRow(-1), IsEmpty());
                });
}

TEST_F(Objects, ListEverythingRowByRow) {
    LcmpTable table("slots", 3, true, 3);
    Probe* last = add(table, 1, 2);
    Probe* second = add(table, 9, 0);
    Probe* first = add(table, 3, 0);
    EXPECT_THAT(table.getProperties(), ElementsAre(first, second, last));
}

// ---------------------------------------------------------------- getPropFromOID of a table

TEST_F(TableOfProbes, FindsACellByItsOid) {
    EXPECT_LOGS_FROM("lcmpObjects.cpp", "getPropFromOID", "DEBUG3",
                     "[slots] Valid object id 0x50c10005 for table 3", [this] {
                         LcmpTable table("slots", 3, true, 6);
                         Probe* cell = add(table, 4, 5);
                         EXPECT_EQ(table.getPropFromOID(0x50C10005), cell);
                         EXPECT_EQ(cell->getOid(), 0x50C10005U);
                     });
}

TEST_F(TableOfProbes, DoesNotAnswerToAnOidWithTheOtherCommonFlag) {
    EXPECT_LOGS_FROM("lcmpObjects.cpp", "getPropFromOID", "DEBUG3",
                     "[slots] Invalid object id 0x40c10005 for table 3", [this] {
                         LcmpTable table("slots", 3, true, 6);
                         add(table, 4, 5);
                         EXPECT_EQ(table.getPropFromOID(0x40C10005), nullptr);
                     });
}

TEST_F(TableOfProbes, DoesNotLookForAForeignOidAmongItsProperties) {
    LcmpTable table("slots", 3, true, 6);
    add(table, 4, 5);
    CapturedLog log;
    for (const unsigned int oid : {0x40C10005U, 0x51010005U, 0x10C10005U, 0x90C10005U, 0xD0C10005U, 0U}) {
        log.clear();
        EXPECT_EQ(table.getPropFromOID(oid), nullptr);
        EXPECT_EQ(log.count("ERROR"), 0) << log.all();
        EXPECT_EQ(log.count("DEBUG3"), 1) << log.all();
    }
    EXPECT_EQ(log.count("DEBUG3", "[slots] Invalid object id 0 for table 3"), 1) << log.all();
}

TEST_F(TableOfProbes, SaysBothThatACellIsMissingAndThatTheOidIsInvalid) {
    LcmpTable table("slots", 3, true, 6);
    add(table, 4, 5);
    CapturedLog log;
    EXPECT_EQ(table.getPropFromOID(0x50C10004), nullptr);
    ASSERT_EQ(log.lines().size(), 2U);
    EXPECT_EQ(log.all(),
              "[ERROR] (getProp) - [slots] Could not find property 4 for row 4\n"
              "[DEBUG3] (getPropFromOID) - [slots] Invalid object id 0x50c10004 for table 3\n");
    EXPECT_EQ(table.getPropFromOID(0x50C10006), nullptr) << "a row beyond the last";
}

TEST_F(TableOfProbes, IgnoresBit29) {
    LcmpTable table("slots", 3, true, 6);
    Probe* cell = add(table, 4, 5);
    EXPECT_EQ(table.getPropFromOID(0x70C10005), cell);
}

TEST_F(TableOfProbes, OfAnIdBeyondItsFieldIsNotFound) {
    LcmpTable table("slots", 64, false, 1);
    Probe* cell = add(table, 4, 0);
    EXPECT_EQ(cell->getOid(), 0x50010000U);
    EXPECT_EQ(table.getPropFromOID(cell->getOid()), nullptr);
}

TEST_F(TableOfProbes, KnowsItsOids) {
    LcmpTable table("slots", 3, true, 6);
    add(table, 4, 5);
    EXPECT_TRUE(table.isValidObjectId(0x50C10005));
    EXPECT_FALSE(table.isValidObjectId(0x50C10004));
    EXPECT_FALSE(table.isValidObjectId(0x40C10005));
}

TEST_F(TableOfProbes, FindsEveryCellByTheOidItComposes) {
    LcmpTable table("slots", 63, false, 40);
    for (unsigned int row = 0; row < 40; ++row) {
        for (const unsigned int column : {0U, 1U, 254U, 255U})
            add(table, column, row);
    }
    for (LcmpProperty* property : table.getProperties())
        EXPECT_EQ(table.getPropFromOID(property->getOid()), property);
}

// ---------------------------------------------------------------- getPropFromOID of a scalar

TEST_F(ScalarOfProbes, FindsAVariableByItsOid) {
    EXPECT_LOGS_FROM("lcmpObjects.cpp", "getPropFromOID", "DEBUG3",
                     "[control] Valid object id 0x11800002 for scalar 3", [this] {
                         LcmpScalar scalar("control", 3, true);
                         Probe* variable = add(scalar, 2);
                         EXPECT_EQ(scalar.getPropFromOID(0x11800002), variable);
                     });
}

TEST_F(ScalarOfProbes, DoesNotAnswerToAForeignOid) {
    EXPECT_LOGS_FROM("lcmpObjects.cpp", "getPropFromOID", "DEBUG3",
                     "[control] Invalid object id 0x1800002 for scalar 3", [this] {
                         LcmpScalar scalar("control", 3, true);
                         add(scalar, 2);
                         EXPECT_EQ(scalar.getPropFromOID(0x01800002), nullptr);
                     });
}

TEST_F(ScalarOfProbes, DoesNotLookForAForeignOidAmongItsProperties) {
    LcmpScalar scalar("control", 3, true);
    add(scalar, 2);
    CapturedLog log;
    for (const unsigned int oid : {0x01800002U, 0x11000002U, 0x51800002U, 0x91800002U, 0xD1800002U}) {
        log.clear();
        EXPECT_EQ(scalar.getPropFromOID(oid), nullptr);
        EXPECT_EQ(log.count("ERROR"), 0) << log.all();
        EXPECT_EQ(log.count("DEBUG3"), 1) << log.all();
    }
}

TEST_F(ScalarOfProbes, SaysBothThatAVariableIsMissingAndThatTheOidIsInvalid) {
    LcmpScalar scalar("control", 3, true);
    CapturedLog log;
    EXPECT_EQ(scalar.getPropFromOID(0x11800009), nullptr);
    EXPECT_EQ(log.all(),
              "[ERROR] (getProp) - [control] Could not find property 9 for row 0\n"
              "[DEBUG3] (getPropFromOID) - [control] Invalid object id 0x11800009 for scalar 3\n");
}

TEST_F(ScalarOfProbes, OfACommonGroupAboveThreeIsNeverFound) {
    LcmpScalar scalar("control", 4, true);
    Probe* variable = add(scalar, 2);
    EXPECT_EQ(variable->getOid(), 0x12000002U);
    CapturedLog log;
    EXPECT_EQ(scalar.getPropFromOID(0x12000002), nullptr);
    EXPECT_EQ(log.all(), "[DEBUG3] (getPropFromOID) - [control] Invalid object id 0x12000002 for scalar 4\n");
    EXPECT_FALSE(scalar.isValidObjectId(0x12000002));
}

TEST_F(ScalarOfProbes, LooksInItsFirstRowOnly) {
    LcmpScalar scalar("control", 3, true, 2);
    add(scalar, 2, 1);
    EXPECT_EQ(scalar.getPropFromOID(0x11800002), nullptr);
    Probe* first = add(scalar, 2, 0);
    EXPECT_EQ(scalar.getPropFromOID(0x11800002), first);
}

TEST_F(ScalarOfProbes, IgnoresBit29) {
    LcmpScalar scalar("control", 3, true);
    Probe* variable = add(scalar, 2);
    EXPECT_EQ(scalar.getPropFromOID(0x31800002), variable);
    EXPECT_TRUE(scalar.isValidObjectId(0x31800002));
}

TEST_F(ScalarOfProbes, FindsTheLargestVariableId) {
    LcmpScalar scalar("control", 31, false);
    Probe* variable = add(scalar, 0x7FFFFF);
    EXPECT_EQ(scalar.getPropFromOID(0x0FFFFFFF), variable);
}

// ---------------------------------------------------------------- events, hooks, defaults, the end

TEST_F(Objects, GiveChangedPropertiesOnceAndInOrder) {
    LcmpTable table("slots", 3, true, 2);
    Probe* last = add(table, 1, 1);
    Probe* second = add(table, 5, 0);
    Probe* first = add(table, 2, 0);
    add(table, 3, 0);
    last->change();
    second->change();
    first->change();
    EXPECT_THAT(table.getPropertiesToEvent(), ElementsAre(first, second, last));
    EXPECT_THAT(table.getPropertiesToEvent(), IsEmpty());
    second->change();
    EXPECT_THAT(table.getPropertiesToEvent(), ElementsAre(second));
}

TEST_F(Objects, GiveNumbersThatWereSetToAnotherValue) {
    LcmpScalar scalar("control", 3, true);
    auto* second = new TypeProperty<unsigned int>(2, "second", IFC_CARD_VAR_WRITABLE, 0, true);
    auto* first = new TypeProperty<unsigned int>(1, "first", IFC_CARD_VAR_WRITABLE, 0, true);
    auto* quiet = new TypeProperty<unsigned int>(3, "quiet", IFC_CARD_VAR_WRITABLE, 0, false);
    for (LcmpProperty* property : {second, first, quiet}) {
        ASSERT_TRUE(scalar.addProp(property, 0));
        property->set(7U);
    }
    EXPECT_THAT(scalar.getPropertiesToEvent(), ElementsAre(first, second));
    EXPECT_THAT(scalar.getPropertiesToEvent(), IsEmpty());
}

TEST_F(Objects, UpdateEveryPropertyInOrderAndIgnoreTheHooksResult) {
    WatchedTable table("slots", 3, true, 2);
    add(table, 1, 1);
    add(table, 5, 0);
    add(table, 2, 0);
    EXPECT_TRUE(table.updateAll());
    const std::vector<std::pair<unsigned int, unsigned int>> wanted = {{2, 0}, {5, 0}, {1, 1}};
    EXPECT_EQ(table.updates, wanted);
}

TEST_F(Objects, HaveHooksThatReportSuccess) {
    LcmpScalar scalar("control", 3, true);
    Probe* property = add(scalar, 2);
    CapturedLog log;
    EXPECT_TRUE(scalar.update(property, 0));
    EXPECT_TRUE(scalar.updated(property, 0));
    EXPECT_EQ(log.all(), "");
}

TEST_F(Objects, PutEveryPropertyBackInOrder) {
    LcmpTable table("slots", 3, true, 2);
    add(table, 1, 1);
    add(table, 5, 0);
    add(table, 2, 0);
    table.setToDefault();
    EXPECT_THAT(events, ElementsAre("default 2.0", "default 5.0", "default 1.1"));
}

TEST_F(Objects, DeleteTheirPropertiesOnce) {
    {
        LcmpTable table("slots", 3, true, 3);
        add(table, 1, 2);
        add(table, 5, 0);
        add(table, 2, 0);
        EXPECT_THAT(events, IsEmpty());
    }
    EXPECT_THAT(events, testing::UnorderedElementsAre("gone 2.0", "gone 5.0", "gone 1.2"));
}

TEST_F(Objects, AreDeletedThroughTheirBase) {
    std::unique_ptr<LcmpObject> object = std::make_unique<LcmpScalar>("control", 3, true);
    add(*object, 2);
    object.reset();
    EXPECT_THAT(events, ElementsAre("gone 2.0"));
}

TEST_F(Objects, LeaveARefusedPropertyToTheCaller) {
    const auto refused = probe(2);
    {
        LcmpScalar scalar("control", 3, true);
        add(scalar, 2);
        EXPECT_FALSE(scalar.addProp(refused.get(), 0));
    }
    EXPECT_THAT(events, ElementsAre("gone 2.0"));
    EXPECT_EQ(refused->getId(), 2U);
}

// ---------------------------------------------------------------- text

class ObjectText : public Objects {
protected:
    ObjectText() {
        add(table, 4, 0);
        add(table, 2, 0);
        add(table, 4, 1);
        add(table, 4, 2);
    }

    LcmpTable table{"never shown", 3, true, 3};
    const std::string head = "\nTable : 3 (size = 3)\n---------------------------\n";
    const std::string row0 = "\nProperties for row 0:\n<2.0>\n<4.0>\n";
    const std::string row1 = "\nProperties for row 1:\n<4.1>\n";
    const std::string row2 = "\nProperties for row 2:\n<4.2>\n";
};

TEST_F(ObjectText, OfAllRowsIsWithoutALimit) {
    EXPECT_EQ(table.str(0, 0), head + row0 + row1 + row2 + "\n");
    EXPECT_EQ(table.str(0, -1), head + row0 + row1 + row2 + "\n");
    EXPECT_EQ(table.str(0, std::numeric_limits<int>::min()), head + row0 + row1 + row2 + "\n");
    EXPECT_EQ(table.str(0, 100), head + row0 + row1 + row2 + "\n");
}

TEST_F(ObjectText, OfOneRowIsThatRow) {
    EXPECT_EQ(table.str(1, 1), head + row1 + "\n");
    EXPECT_EQ(table.str(0, 1), head + row0 + "\n");
    EXPECT_EQ(table.str(2, 1), head + row2 + "\n");
}

TEST_F(ObjectText, BeginsAtTheFirstRowAskedFor) {
    EXPECT_EQ(table.str(1, 0), head + row1 + row2 + "\n");
    EXPECT_EQ(table.str(1, 2), head + row1 + row2 + "\n");
    EXPECT_EQ(table.str(1, 100), head + row1 + row2 + "\n");
}

TEST_F(ObjectText, BeginsAtRowZeroForANegativeRow) {
    EXPECT_EQ(table.str(-1, 2), head + row0 + row1 + "\n");
    EXPECT_EQ(table.str(std::numeric_limits<int>::min(), 0), head + row0 + row1 + row2 + "\n");
}

TEST_F(ObjectText, BeyondTheLastRowIsTheHeadAlone) {
    EXPECT_EQ(table.str(3, 0), head + "\n");
    EXPECT_EQ(table.str(std::numeric_limits<int>::max(), 1), head + "\n");
}

TEST_F(ObjectText, OfAnEmptyRowIsItsHeading) {
    const LcmpTable hollow("never shown", 9, false, 2);
    EXPECT_EQ(hollow.str(0, 0),
              "\nTable : 9 (size = 2)\n---------------------------\n"
              "\nProperties for row 0:\n\nProperties for row 1:\n\n");
}

TEST_F(ObjectText, OfAScalarSaysSo) {
    LcmpScalar scalar("never shown", 31, false);
    add(scalar, 6);
    EXPECT_EQ(scalar.str(0, 0),
              "\nScalar : 31 (size = 1)\n---------------------------\n\nProperties for row 0:\n<6.0>\n\n");
}

TEST_F(ObjectText, OfTheBaseHasNoKindInFront) {
    EXPECT_EQ(table.LcmpObject::str(1, 1), head.substr(std::strlen("\nTable : ")) + row1 + "\n");
}

// ---------------------------------------------------------------- virtual operations

/// The place of a virtual operation in the table of the class, as the compilers of the target lay it out: a
/// pointer to a virtual member holds the byte offset into that table, with its lowest bit set or spare.
template <typename Member>
std::size_t slotOf(Member member) {
    std::uintptr_t offset = 0;
    static_assert(sizeof member >= sizeof offset);
    std::memcpy(&offset, &member, sizeof offset);
    return (offset & ~std::uintptr_t{1}) / sizeof(void*);
}

TEST_F(Objects, HaveTheirVirtualOperationsInAFixedOrderBehindTheTwoDestructors) {
    EXPECT_EQ(slotOf(&LcmpObject::getObjectTypeStr), 2U);
    EXPECT_EQ(slotOf(&LcmpObject::getOID), 3U);
    EXPECT_EQ(slotOf(&LcmpObject::update), 4U);
    EXPECT_EQ(slotOf(&LcmpObject::updated), 5U);
    EXPECT_EQ(slotOf(&LcmpObject::getPropFromOID), 6U);
    EXPECT_EQ(slotOf(&LcmpObject::str), 7U);
}

}  // namespace
