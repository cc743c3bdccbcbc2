// What has changed since it was last reported. The first event pass of a process only collects; a Watching
// test has that behind it.
#include <gmock/gmock.h>

#include <memory>

#include "card.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Value = unsigned long long;

/// A card in a process whose first pass is over and which has nothing pending.
class Watched : public Card {
public:
    Watched() {
        const Silence silence;
        eventHandler();
        TypeProperty<bool> last(0, "last", IFC_CARD_VAR_WRITABLE, false);
        addToAmi(&last, false);
        addToAmi(nullptr, true);
        sent.clear();
        sentTo.clear();
    }

    void change(unsigned int oid, unsigned char value) { property(oid).set(value); }
    void change(unsigned int oid, int value) { property(oid).set(value); }

    std::string reported() const { return sent.empty() ? "nothing" : hex(sent.back().substr(amiHeader)); }
};

const unsigned char three = 3;

}  // namespace

// ---------------------------------------------------------------- the first pass of a process

TEST(FirstEventPass, CollectsAndSendsWithTheNext) {
    Card card;
    card.property(bpClkRef).set(three);
    EXPECT_EQ(card.eventHandler(), 0);
    EXPECT_THAT(card.sent, IsEmpty());
    EXPECT_FALSE(card.property(bpClkRef).sendEvent());

    card.property(temperatureOf(1)).set(50);
    EXPECT_EQ(card.eventHandler(), 1);
    ASSERT_EQ(card.sent.size(), 1U);
    EXPECT_EQ(hex(card.sent[0].substr(amiHeader)),
              hexOf({{bpClkRef, UINT8, "03"}, {temperatureOf(1), INT32, "00000032"}}));
}

TEST(SecondEndpoint, ReportsFromItsFirstPassOn) {
    Card first;
    EXPECT_EQ(first.eventHandler(), 0);
    Card second;
    second.property(bpClkRef).set(three);
    EXPECT_EQ(second.eventHandler(), 1);
    ASSERT_EQ(second.sent.size(), 1U);
    EXPECT_EQ(hex(second.sent[0].substr(amiHeader)), hexOf({{bpClkRef, UINT8, "03"}}));
}

TEST(FirstEventPassLog, TellsThatItIsTheFirst) {
    {
        CapturedLog log(levelDebug1);
        Card card;
        log.clear();
        card.eventHandler();
        EXPECT_EQ(log.count("DEBUG1", "initDone=0"), 1) << log.all();
    }
    EXPECT_LOGS_FROM(reportingFile, "eventHandler", "DEBUG1", "initDone=1", [] {
        Card card;
        card.eventHandler();
    });
}

TEST(FirstEventPassOfMany, SendsTheFullMessageAllTheSame) {
    Card card;
    LcmpTable big("big", 1, false, 51);
    for (unsigned int row = 0; row < 51; ++row)
        big.addProp(new TypeProperty<unsigned char>(0, "cell", IFC_CARD_VAR_WRITABLE, std::uint8_t{0}, true),
                    row);
    card.registerObject(&big);
    for (LcmpProperty* cell : big.getProperties())
        cell->set(three);
    EXPECT_EQ(card.eventHandler(), 0);
    EXPECT_EQ(card.sent.size(), 1U);
}

// ---------------------------------------------------------------- properties that mark their changes

TEST(EventHandler, ReportsChangedVariablesOnceAndInTheOrderOfTheObjects) {
    Watched card;
    card.change(temperatureOf(2), 52);
    card.change(temperatureOf(0), 50);
    card.change(bpClkRef, three);
    EXPECT_EQ(card.eventHandler(), 3);
    EXPECT_EQ(card.sent.size(), 1U);
    EXPECT_EQ(card.reported(), hexOf({{bpClkRef, UINT8, "03"},
                                      {temperatureOf(0), INT32, "00000032"},
                                      {temperatureOf(2), INT32, "00000034"}}));
    EXPECT_EQ(card.eventHandler(), 0);
    EXPECT_EQ(card.sent.size(), 1U);
}

TEST(EventHandler, SendsNothingWithoutAChange) {
    Watched card;
    card.change(bpClkRef, std::uint8_t{128});
    EXPECT_EQ(card.eventHandler(), 0);
    EXPECT_THAT(card.sent, IsEmpty());
}

TEST(EventHandler, ReportsOnlyEventableVariables) {
    Watched card;
    card.property(reboot).set(true);
    card.change(commitTimer, 5);
    card.property(cardType).set(std::string("new"));
    EXPECT_EQ(card.eventHandler(), 0);
    EXPECT_THAT(card.sent, IsEmpty());
}

TEST(EventHandler, ReportsTheLastOfSeveralChanges) {
    Watched card;
    card.change(bpClkRef, std::uint8_t{1});
    card.change(bpClkRef, std::uint8_t{2});
    EXPECT_EQ(card.eventHandler(), 1);
    EXPECT_EQ(card.reported(), hexOf({{bpClkRef, UINT8, "02"}}));
}

TEST(EventHandler, ReportsAChangeThatWasTakenBack) {
    Watched card;
    card.change(bpClkRef, three);
    card.change(bpClkRef, std::uint8_t{128});
    EXPECT_EQ(card.eventHandler(), 1);
    EXPECT_EQ(card.reported(), hexOf({{bpClkRef, UINT8, "80"}}));
}

TEST(EventHandler, SendsWhatTheApplicationAddedItself) {
    Watched card;
    card.addToAmi(&card.property(cardType), false);
    EXPECT_EQ(card.eventHandler(), 0);
    EXPECT_EQ(card.reported(), hexOf({{cardType, STRING, "787878"}}));
}

TEST(EventHandler, CountsWhatItFoundEvenWhenNothingCanBeSent) {
    Watched card;
    card.sends = false;
    card.change(bpClkRef, three);
    EXPECT_EQ(card.eventHandler(), 1);
    card.sends = true;
    card.sent.clear();
    EXPECT_EQ(card.eventHandler(), 0);
    EXPECT_THAT(card.sent, IsEmpty());
}

TEST(EventHandler, PassesOverNullObjects) {
    Watched card;
    card.lcmpObjects.insert(card.lcmpObjects.begin(), nullptr);
    card.change(bpClkRef, three);
    EXPECT_EQ(card.eventHandler(), 1);
}

TEST(EventHandler, LooksAtNoObjectsWithoutAFault) {
    Watched card;
    card.lcmpObjects.clear();
    EXPECT_EQ(card.eventHandler(), 0);
}

TEST(EventAdd, LooksAtTheGivenObjectsAndSendsNothing) {
    Watched card;
    card.change(bpClkRef, three);
    card.change(temperatureOf(1), 5);
    std::vector<LcmpObject*> none;
    std::vector<LcmpObject*> one = {&card.temperature};
    std::vector<LcmpObject*> both = {&card.temperature, nullptr, &card.control};
    EXPECT_EQ(card.eventAdd(none), 0);
    EXPECT_EQ(card.eventAdd(one), 1);
    EXPECT_EQ(card.eventAdd(one), 0);
    EXPECT_EQ(card.eventAdd(both), 1);
    EXPECT_THAT(card.sent, IsEmpty());
    card.addToAmi(nullptr, true);
    EXPECT_EQ(card.reported(), hexOf({{temperatureOf(1), INT32, "00000005"}, {bpClkRef, UINT8, "03"}}));
}

// ---------------------------------------------------------------- values that are compared with a slot

namespace {

/// A variable of any kind with the element that it is reported as.
struct Compared {
    const char* kind;
    std::function<std::unique_ptr<LcmpProperty>()> make;
    Value seen;  // what the comparison makes of it
    Element element;
};

void PrintTo(const Compared& compared, std::ostream* out) { *out << compared.kind; }

template <typename T>
Compared compared(const char* kind, T value, Value seen, unsigned int type) {
    const auto element = Element::holding(7, type, bigEndian(static_cast<Value>(value), sizeof value));
    return {kind,
            [value] { return std::make_unique<TypeProperty<T>>(7, "seven", IFC_CARD_VAR_WRITABLE, value); },
            seen, element};
}

const Compared unsignedKinds[] = {compared("UINT8", std::uint8_t{0xFE}, 0xFE, UINT8),
                                  compared("UINT16", std::uint16_t{0xFEDC}, 0xFEDC, UINT16),
                                  compared("UINT32", 0xFEDCBA98U, 0xFEDCBA98, UINT32),
                                  compared("UINT64", 0xFEDCBA9876543210ULL, 0xFEDCBA9876543210, UINT64),
                                  {"IPv4ADDRESS",
                                   [] {
                                       return std::make_unique<IpAddressProperty>(
                                           7, "seven", IFC_CARD_VAR_WRITABLE, 0xC0000201U, false);
                                   },
                                   0xC0000201, Element(7, IPv4ADDRESS, "C0000201")}};

const Compared otherKinds[] = {
    compared("INT8", static_cast<signed char>(5), 0, INT8),
    compared("INT16", static_cast<short>(5), 0, INT16),
    compared("INT32", 5, 0, INT32),
    compared("INT64", 5LL, 0, INT64),
    compared("BOOLEAN", true, 0, BOOLEAN),
    {"UNIX_TIME",
     [] { return std::make_unique<UnixTimeProperty>(7, "seven", IFC_CARD_VAR_WRITABLE, 5LL, false); }, 0,
     Element(7, UNIX_TIME, "0000000000000005")},
    {"STRING of 1", [] { return std::make_unique<StringProperty>(7, "seven", IFC_CARD_VAR_WRITABLE, "5"); },
     0, Element(7, STRING, "35")},
    {"STRING of 8",
     [] { return std::make_unique<StringProperty>(7, "seven", IFC_CARD_VAR_WRITABLE, "55555555"); }, 0,
     Element(7, STRING, "3535353535353535")}};

}  // namespace

class ComparedKinds : public testing::TestWithParam<Compared> {
protected:
    Watched card;
    std::unique_ptr<LcmpProperty> property = GetParam().make();
};

TEST_P(ComparedKinds, AreReportedAndRememberedWhenTheyDiffer) {
    Value last = 77;
    EXPECT_TRUE(card.checkForEvent(&last, property.get(), true, false));
    EXPECT_EQ(last, GetParam().seen);
    EXPECT_THAT(card.sent, IsEmpty());
    card.addToAmi(nullptr, true);
    EXPECT_EQ(card.reported(), hexOf({GetParam().element}));
}

TEST_P(ComparedKinds, AreNotReportedWhenTheyAreEqual) {
    Value last = GetParam().seen;
    EXPECT_FALSE(card.checkForEvent(&last, property.get(), true, false));
    EXPECT_EQ(last, GetParam().seen);
    card.addToAmi(nullptr, true);
    EXPECT_THAT(card.sent, IsEmpty());
}

TEST_P(ComparedKinds, AreOnlyRememberedInTheFirstPass) {
    Value last = 77;
    EXPECT_FALSE(card.checkForEvent(&last, property.get(), false, false));
    EXPECT_EQ(last, GetParam().seen);
    card.addToAmi(nullptr, true);
    EXPECT_THAT(card.sent, IsEmpty());
}

TEST_P(ComparedKinds, AreComparedInAll64Bits) {
    Value last = GetParam().seen ^ 0x8000000000000000ULL;
    EXPECT_TRUE(card.checkForEvent(&last, property.get(), true, false));
    EXPECT_EQ(last, GetParam().seen);
}

INSTANTIATE_TEST_SUITE_P(Unsigned, ComparedKinds, testing::ValuesIn(unsignedKinds));

// They have no unsigned value of their width: all of them read as 0.
INSTANTIATE_TEST_SUITE_P(OtherThanUnsigned, ComparedKinds, testing::ValuesIn(otherKinds));

TEST(CheckForEvent, LeavesVariablesOfOtherLengthsAlone) {
    Watched card;
    StringProperty none(1, "none", IFC_CARD_VAR_WRITABLE, "");
    StringProperty three3(1, "three", IFC_CARD_VAR_WRITABLE, "abc");
    StringProperty nine(1, "nine", IFC_CARD_VAR_WRITABLE, "123456789");
    MacAddressProperty mac(1, "mac", IFC_CARD_VAR_WRITABLE, std::string("0:1:2:3:4:5"), false);
    for (LcmpProperty* property : std::vector<LcmpProperty*>{&none, &three3, &nine, &mac}) {
        for (const bool initDone : {true, false}) {
            Value last = 77;
            EXPECT_FALSE(card.checkForEvent(&last, property, initDone, false)) << property->getName();
            EXPECT_EQ(last, 77U) << property->getName();
        }
    }
    card.addToAmi(nullptr, true);
    EXPECT_THAT(card.sent, IsEmpty());
}

TEST(CheckForEvent, NeedsASlotAndAProperty) {
    Watched card;
    Value last = 77;
    CapturedLog log;
    for (const bool initDone : {true, false}) {
        EXPECT_FALSE(card.checkForEvent(nullptr, &card.property(bpClkRef), initDone, false));
        EXPECT_FALSE(card.checkForEvent(&last, nullptr, initDone, false));
        EXPECT_FALSE(card.checkForEvent(nullptr, nullptr, initDone, false));
    }
    EXPECT_EQ(last, 77U);
    EXPECT_TRUE(log.lines().empty()) << log.all();
    card.addToAmi(nullptr, true);
    EXPECT_THAT(card.sent, IsEmpty());
}

TEST(CheckForEvent, SendsWhatIsCollectedAndComparesNothing) {
    Watched card;
    Value last = 77;
    card.addToAmi(&card.property(cardType), false);
    EXPECT_FALSE(card.checkForEvent(&last, &card.property(bpClkRef), true, true));
    EXPECT_EQ(last, 77U);
    EXPECT_EQ(card.reported(), hexOf({{cardType, STRING, "787878"}}));
    EXPECT_FALSE(card.checkForEvent(nullptr, nullptr, false, true));
    EXPECT_EQ(card.sent.size(), 1U);
}

TEST(CheckForEvent, WatchesAValueThroughASlotOfATable) {
    Watched card;
    EventValueTable table(true, 2, 3);
    card.checkForEvent(table.getValuePtr(1), &card.property(bpClkRef), false, false);
    EXPECT_EQ(table.getValue(1), 128U);
    EXPECT_FALSE(card.checkForEvent(table.getValuePtr(1), &card.property(bpClkRef), true, false));
    card.change(bpClkRef, three);
    EXPECT_TRUE(card.checkForEvent(table.getValuePtr(1), &card.property(bpClkRef), true, false));
    EXPECT_FALSE(card.checkForEvent(table.getValuePtr(1), &card.property(bpClkRef), true, false));
    EXPECT_FALSE(card.checkForEvent(table.getValuePtr(2), &card.property(bpClkRef), true, false));
    EXPECT_EQ(table.getValue(0), 0U);
    EXPECT_EQ(table.getValue(1), 3U);
}

// ---------------------------------------------------------------- log lines

namespace {

void compare(unsigned int oid, bool initDone) {
    Card card;
    Value last = 77;
    card.checkForEvent(&last, &card.property(oid), initDone, false);
}

}  // namespace

TEST(CheckForEventLog, TellsTheOldAndTheNewValue) {
    EXPECT_LOGS_FROM(reportingFile, "checkForEvent", "DEBUG1", "event oid=0x00000002 len=1 type=3 77 ==> 128",
                     [] { compare(bpClkRef, true); });
    EXPECT_LOGS("DEBUG1", "event oid=0x00000001 len=8 type=0 77 ==> 0", [] { compare(utcTime, true); });
    EXPECT_LOGS("DEBUG1", "event oid=0x03800001 len=8 type=0 77 ==> 18446744073709551615", [] {
        Card card;
        Value last = 77;
        TypeProperty<Value> loose(unknownOid, "loose", IFC_CARD_VAR_WRITABLE, ~0ULL);
        card.checkForEvent(&last, &loose, true, false);
    });
}

TEST(CheckForEventLog, TellsTheNewValueTwiceInTheFirstPass) {
    EXPECT_LOGS_FROM(reportingFile, "checkForEvent", "DEBUG2", "init event oid=0x00000002 len=1 128 ==> 128",
                     [] { compare(bpClkRef, false); });
}

TEST(CheckForEventLog, TellsThatALengthCannotBeCompared) {
    for (const bool initDone : {true, false}) {
        EXPECT_LOGS_FROM(reportingFile, "checkForEvent", "DEBUG1", "not supported len=3 id=0x00000000",
                         [&] { compare(cardType, initDone); });
    }
}

TEST(CheckForEventLog, ShowsTheRefusalOfKindsThatHaveNoUnsignedValue) {
    EXPECT_LOGS("ERROR", "[value] Not implemented for uint32_t (property 1, row 2)",
                [] { compare(temperatureOf(2), true); });
}
