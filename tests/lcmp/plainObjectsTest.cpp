// Objects and properties of the library's own classes are served without asking them each time. Nobody may
// notice, and whoever derives from them is asked all the same.
#include <gmock/gmock.h>

#include <algorithm>
#include <memory>

#include "card.h"

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

using Number = TypeProperty<unsigned int>;

constexpr auto changeable = IFC_CARD_VAR_WRITABLE;
constexpr std::uint8_t sixteen = 16;

/// A card without a hook: nothing but scalars and tables as they are.
class PlainCard : public Card {
public:
    PlainCard() {
        lcmpObjects.clear();
        settings.addProp(new Number(1, "number", changeable, 0x01020304U), 0);
        settings.addProp(new TypeProperty<unsigned char>(2, "byte", changeable, sixteen), 0);
        settings.addProp(new StringProperty(3, "text", changeable, "abc"), 0);
        own.addProp(new Number(1, "number", changeable, 5U), 0);
        for (unsigned int row = 0; row < 3; ++row)
            cells.addProp(
                new TypeProperty<unsigned short>(0, "cell", changeable, static_cast<unsigned short>(row)),
                row);
        registerObject(&settings);
        registerObject(&own);
        registerObject(&cells);
    }

    static constexpr unsigned int number = 0x11000001, byte = 0x11000002, text = 0x11000003;
    static constexpr unsigned int ownNumber = 0x01000001;
    static constexpr unsigned int cellOf(unsigned int row) { return 0x50800000 + row; }

    LcmpScalar settings{"settings", 2, true};
    LcmpScalar own{"own", 2, false};
    LcmpTable cells{"cells", 2, true, 3};
};

/// The card's table with one column more, of a class under test, in row 1.
class CardWith : public PlainCard {
public:
    explicit CardWith(LcmpProperty* property) {
        EXPECT_TRUE(cells.addProp(property, 1));
        registerObject(&cells);
    }

    static constexpr unsigned int oid = cellOf(1) + (1U << 14);
};

class Signed : public Number {
public:
    using Number::Number;
    int getType() override { return INT32; }
};

class Half : public Number {
public:
    using Number::Number;
    unsigned int length() override { return 2; }
};

class Inverted : public Number {
public:
    using Number::Number;

    int serialize(char* buffer, int size) override {
        const int written = Number::serialize(buffer, size);
        std::transform(buffer + 7, buffer + written, buffer + 7,
                       [](char c) { return static_cast<char>(~c); });
        return written;
    }

    int deserialize(const char* buffer) override {
        unsigned int value = 0;
        const int read = Number::deserialize(buffer);
        get(&value);
        set(~value);
        return read;
    }
};

}  // namespace

// ---------------------------------------------------------------- who derives is asked

TEST(DerivedProperty, OfAnotherTypeTravelsAndIsJudgedAsThat) {
    CardWith card(new Signed(1, "signed", changeable, 7U));
    card.read({{CardWith::oid, 0}});
    EXPECT_EQ(card.answer(), answered(RESULT_OK, {{CardWith::oid, INT32, "00000007"}}));
    card.write({{CardWith::oid, UINT32, "00000008"}});
    EXPECT_EQ(card.answer(), refused(RESULT_WRONG_TYPE, 0));
    card.write({{CardWith::oid, INT32, "00000009"}});
    EXPECT_EQ(card.answer(), done());
    EXPECT_EQ(card.value<unsigned int>(CardWith::oid), 9U);
}

TEST(DerivedProperty, OfAnotherLengthTravelsAndIsJudgedWithThat) {
    CardWith card(new Half(1, "half", changeable, 0x01020304U));
    card.read({{CardWith::oid, 0}, {PlainCard::byte, 0}});
    EXPECT_EQ(card.answer(),
              answered(RESULT_OK, {{CardWith::oid, UINT32, "0102"}, {PlainCard::byte, UINT8, "10"}}));
    card.write({{CardWith::oid, UINT32, "00000008"}});
    EXPECT_EQ(card.answer(), refused(RESULT_WRONG_LEN, 0));
}

TEST(DerivedProperty, ThatAnnouncesLessThanItReadsIsNotReadBeyondTheFrame) {
    CardWith card(new Half(1, "half", changeable, 0x01020304U));
    EXPECT_EQ(card.property(CardWith::oid).readWidth(), 4U);
    card.write({{PlainCard::byte, UINT8, "01"}, {CardWith::oid, UINT32, "0506"}});
    EXPECT_EQ(card.answer(), refused(RESULT_WRONG_LEN, 1));
    EXPECT_EQ(card.value<unsigned int>(CardWith::oid), 0x01020304U);
    EXPECT_EQ(card.value<unsigned char>(PlainCard::byte), 16);
}

TEST(DerivedProperty, ThatWritesAndReadsItsElementItselfDoes) {
    CardWith card(new Inverted(1, "inverted", changeable, 0x01020304U));
    card.read({{CardWith::oid, 0}, {PlainCard::number, 0}});
    EXPECT_EQ(card.answer(), answered(RESULT_OK, {{CardWith::oid, UINT32, "FEFDFCFB"},
                                                  {PlainCard::number, UINT32, "01020304"}}));
    card.write({{CardWith::oid, UINT32, "FFFFFFFE"}});
    EXPECT_EQ(card.answer(), done());
    EXPECT_EQ(card.value<unsigned int>(CardWith::oid), 1U);
}

TEST(DerivedObject, IsAskedForTheOidsOfItsProperties) {
    class Moved : public LcmpTable {
    public:
        using LcmpTable::LcmpTable;
        unsigned int getOID(unsigned int column, unsigned int row) override {
            return LcmpTable::getOID(column, row + shift);
        }
        unsigned int shift = 100;
    };
    Moved moved("moved", 9, true, 1);
    moved.addProp(new Number(0, "cell", changeable, 3U), 0);
    PlainCard card;
    card.registerObject(&moved);
    card.read({{0x52400000, 0}, {PlainCard::byte, 0}});
    EXPECT_EQ(card.answer(),
              answered(RESULT_OK, {{0x52400064, UINT32, "00000003"}, {PlainCard::byte, UINT8, "10"}}));
    moved.shift = 1;
    card.read({{0x52400000, 0}});
    EXPECT_EQ(card.answer(), answered(RESULT_OK, {{0x52400001, UINT32, "00000003"}}));
}

// ---------------------------------------------------------------- neighbours in a request

TEST(PlainObjects, AreFoundHoweverTheirElementsFollowEachOther) {
    PlainCard card;
    const Elements elements = {
        {PlainCard::number, UINT32, "01020304"}, {PlainCard::ownNumber, UINT32, "00000005"},
        {PlainCard::cellOf(2), UINT16, "0002"},  {PlainCard::cellOf(0), UINT16, "0000"},
        {PlainCard::byte, UINT8, "10"},          {PlainCard::cellOf(1), UINT16, "0001"},
        {PlainCard::text, STRING, "616263"},     {PlainCard::number, UINT32, "01020304"}};
    card.read(elements);
    EXPECT_EQ(card.answer(), answered(RESULT_OK, elements));
    EXPECT_THAT(card.journal, IsEmpty());
}

TEST(PlainObjects, OfTheSameIdAreFoundInTurn) {
    PlainCard card;
    LcmpTable more("more", 2, true, 5);
    more.addProp(new TypeProperty<unsigned short>(0, "cell", changeable, static_cast<unsigned short>(4)), 4);
    card.registerObject(&more);
    const Elements elements = {{PlainCard::cellOf(0), UINT16, "0000"},
                               {PlainCard::cellOf(4), UINT16, "0004"},
                               {PlainCard::cellOf(1), UINT16, "0001"}};
    card.read(elements);
    EXPECT_EQ(card.answer(), answered(RESULT_OK, elements));
}

TEST(PlainObjects, GiveWhatNoneOfThemHasToTheLegacyHooks) {
    PlainCard card;
    card.read({{PlainCard::cellOf(0), 0}, {PlainCard::cellOf(3), 0}, {PlainCard::cellOf(1), 0}});
    EXPECT_EQ(card.answer(), refused(RESULT_GENERAL_ERROR, 1));
    EXPECT_THAT(card.journal, ElementsAre("judge read of 50 80 00 03"));
}

TEST(PlainObjects, StoreNothingAndRunNoHookWhenALaterElementDoesNotFit) {
    const Elements plain = {{PlainCard::byte, UINT8, "01"}, {PlainCard::cellOf(1), UINT16, "0009"}};
    const Elements elements = {
        plain[0], plain[1], {unknownOid, UINT8, "01"}, {PlainCard::text, STRING, "787878"}};
    const std::string whole = writeRequest(7, elements);
    for (std::size_t cut = 1; cut < elements[3].bytes().size(); ++cut) {
        PlainCard card;
        card.takesLegacy();
        card.request(whole.substr(0, whole.size() - cut));
        EXPECT_EQ(card.answer(), refused(RESULT_WRONG_LEN, 3)) << cut;
        EXPECT_THAT(card.journal, IsEmpty());
        EXPECT_EQ(card.value<unsigned char>(PlainCard::byte), 16);
        EXPECT_EQ(card.value<unsigned short>(PlainCard::cellOf(1)), 1);
    }
    PlainCard card;
    card.request(writeRequest(7, plain) + "\x11");
    EXPECT_EQ(card.answer(), refused(RESULT_WRONG_LEN, 2));
    EXPECT_EQ(card.value<unsigned char>(PlainCard::byte), 16);
}

// ---------------------------------------------------------------- values near the end of the buffer

template <typename T>
class PlainNumber : public testing::Test {};

using Numbers = testing::Types<unsigned long long, unsigned int, unsigned short, unsigned char, long long,
                               int, short, signed char, bool>;
TYPED_TEST_SUITE(PlainNumber, Numbers, );

TYPED_TEST(PlainNumber, IsWrittenUpToTheLastByteOfTheBufferAndNotBeyond) {
    LcmpScalar object("object", 2, true);
    auto* property = new TypeProperty<TypeParam>(1, "number", changeable, TypeParam{1});
    object.addProp(property, 0);
    LCMPResponse message;
    message.addProperty(property);
    message.addProperty(property);
    const int needed = message.getHeaderSize() + message.sizeOfTlvs();
    ASSERT_EQ(needed, static_cast<int>(responseHeader + 2 * (7 + sizeof(TypeParam))));
    for (int size = 0; size <= needed + 8; ++size) {
        const Silence silence;
        GuardedBytes buffer(static_cast<std::size_t>(size));
        EXPECT_EQ(message.serialize(buffer.data(), size), size < needed ? 0 : 1) << size;
        if (size < needed)
            continue;
        const std::string value = bigEndian(1, sizeof(TypeParam));
        const auto type = static_cast<unsigned int>(property->getType());
        const Element element = Element::holding(PlainCard::number, type, value);
        EXPECT_EQ(hex(buffer.str().substr(responseHeader, static_cast<std::size_t>(needed) - responseHeader)),
                  hex(joined({element, element})));
    }
}

// ---------------------------------------------------------------- changes

TEST(ChangedRows, AreReportedInTheirOrderHoweverTheyChanged) {
    constexpr unsigned int rows = 16384;
    LcmpTable table("big", 63, true, rows);
    std::vector<LcmpProperty*> cells;
    for (unsigned int row = 0; row < rows; ++row) {
        cells.push_back(new Number(0, "cell", changeable, 0U, true));
        table.addProp(cells.back(), row);
    }
    EXPECT_THAT(table.getPropertiesToEvent(), IsEmpty());

    std::vector<LcmpProperty*> changed;
    for (const unsigned int row : {16383U, 64U, 0U, 8191U, 63U, 8192U, 65U, 127U, 128U, 16320U, 1U}) {
        cells[row]->set(row + 1);
        changed.push_back(cells[row]);
    }
    std::sort(changed.begin(), changed.end(),
              [](const LcmpProperty* a, const LcmpProperty* b) { return a->getRow() < b->getRow(); });
    EXPECT_THAT(table.getPropertiesToEvent(), ElementsAreArray(changed));
    EXPECT_THAT(table.getPropertiesToEvent(), IsEmpty());

    for (LcmpProperty* cell : cells)
        cell->set(20000U);
    EXPECT_EQ(table.getPropertiesToEvent(), cells);
}

TEST(ChangedRows, CountChangesFromBeforeTheirPropertiesWereAdded) {
    LcmpTable table("table", 2, true, 3);
    std::vector<LcmpProperty*> cells;
    for (unsigned int row = 0; row < 3; ++row)
        cells.push_back(new Number(1, "number", changeable, 0U, true));
    auto* const first = new Number(0, "first", changeable, 0U, true);
    cells[2]->set(2U);
    first->set(3U);
    for (unsigned int row = 0; row < 3; ++row)
        table.addProp(cells[row], row);
    table.addProp(first, 1);
    cells[0]->set(1U);
    EXPECT_THAT(table.getPropertiesToEvent(), ElementsAre(cells[0], first, cells[2]));
    EXPECT_THAT(table.getPropertiesToEvent(), IsEmpty());
}
