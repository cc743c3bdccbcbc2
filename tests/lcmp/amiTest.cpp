// Autonomous messages (AMI), sent and received. The message that is being collected belongs to the process; a
// Reporter empties it first, so that its test begins with nothing pending.
#include <gmock/gmock.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <cstdlib>
#include <map>
#include <memory>
#include <new>
#include <optional>

#include "card.h"

namespace {

std::optional<timespec> realTime;  // what the clock shows; nothing: the real one
bool memoryIsShort = false;        // new(std::nothrow) gives null

}  // namespace

// The library's calls end here: definitions in the program come before those of the system's libraries.
extern "C" __attribute__((visibility("default"))) int clock_gettime(clockid_t clock, timespec* now) noexcept {
    if (clock != CLOCK_REALTIME || !realTime)
        return static_cast<int>(syscall(SYS_clock_gettime, clock, now));
    *now = *realTime;
    return 0;
}

__attribute__((visibility("default"))) void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    try {
        return memoryIsShort ? nullptr : ::operator new(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* receivingFile = "lcmpRequesting.cpp";

using Byte = TypeProperty<unsigned char>;

/// A loose variable with its id as value.
std::unique_ptr<Byte> variable(unsigned int id) {
    return std::make_unique<Byte>(id, "variable", IFC_CARD_VAR_WRITABLE, static_cast<unsigned char>(id));
}

Element elementOf(unsigned int id) { return Element::holding(id, UINT8, bigEndian(id, 1)); }

/// Elements of the variables first, first + 1, ...
Elements elementsOf(unsigned int first, unsigned int count) {
    Elements elements;
    for (unsigned int id = first; id < first + count; ++id)
        elements.push_back(elementOf(id));
    return elements;
}

/// A card that has things to report: `add(1, 50)` adds the variables 1 to 50.
class Reporter : public Card {
public:
    Reporter() {
        const Silence silence;
        const auto last = variable(0);
        addToAmi(last.get(), false);
        addToAmi(nullptr, true);
        sent.clear();
        sentTo.clear();
        lastMessageId = 0;
    }

    void add(unsigned int first, unsigned int count = 1) {
        for (unsigned int id = first; id < first + count; ++id) {
            m_variables[id] = variable(id);
            addToAmi(m_variables[id].get(), false);
        }
    }

    void flush() { addToAmi(nullptr, true); }
    void destroy(unsigned int id) { m_variables.erase(id); }

    /// The elements of the frame that was sent as number `index`, in hexadecimal.
    std::string reported(std::size_t index) const { return hex(sent.at(index).substr(amiHeader)); }
    std::string reported() const { return reported(sent.size() - 1); }

private:
    std::map<unsigned int, std::unique_ptr<Byte>> m_variables;
};

/// Tells when it goes. Not inlined: g++ guesses, at every place that destroys a Byte, that it is one of
/// these, and then warns of what lies behind the Byte.
class TemporaryProperty : public Byte {
public:
    explicit TemporaryProperty(int& destroyed)
        : Byte(200, "temporary", IFC_CARD_VAR_WRITABLE, static_cast<unsigned char>(200)),
          m_destroyed(destroyed) {}
    [[gnu::noinline]] ~TemporaryProperty() override { ++m_destroyed; }

private:
    int& m_destroyed;
};

}  // namespace

// ---------------------------------------------------------------- one message

TEST(Report, HasTheHeaderOfAnAmiAndThenTheElements) {
    Reporter card;
    realTime = {0x65432100, 250000000};
    card.add(1, 2);
    card.flush();
    ASSERT_EQ(card.sent.size(), 1U);
    EXPECT_EQ(
        card.lastSent(),
        "4F 54 4E 31 01 05 00 01 65 43 21 00 00 03 D0 90 00 00 00 01 03 00 01 01 00 00 00 02 03 00 01 02");
    EXPECT_THAT(card.sentTo, ElementsAre(""));
}

TEST(Report, HasTheTimeOfTheClockInWholeMicroseconds) {
    const std::pair<long, unsigned int> times[] = {{0, 0}, {999, 0}, {1000, 1}, {999999999, 999999}};
    for (const auto& [nanoseconds, microseconds] : times) {
        Reporter card;
        realTime = {1700000000, nanoseconds};
        card.add(1);
        card.flush();
        EXPECT_EQ(card.lastSent(), hex(amiFrame(1, 1700000000, microseconds, elementsOf(1, 1))));
    }
}

TEST(Report, HasTheLow32BitsOfTheSeconds) {
    Reporter card;
    realTime = {static_cast<time_t>(0x1F3456789), 0};
    card.add(1);
    card.flush();
    EXPECT_EQ(card.lastSent(), hex(amiFrame(1, 0xF3456789, 0, elementsOf(1, 1))));
}

TEST(Report, TakesTheNextMessageIdLikeARequest) {
    Reporter card;
    card.add(1);
    card.flush();
    card.peer = [](const std::string&) { return writeResponse(2, 0, 0); };
    EXPECT_TRUE(card.writeProperty(card.property(bpClkRef)));
    card.add(2);
    card.flush();
    ASSERT_EQ(card.sent.size(), 3U);
    EXPECT_EQ(number(card.sent[0], 6, 2), 1U);
    EXPECT_EQ(number(card.sent[1], 6, 2), 2U);
    EXPECT_EQ(number(card.sent[2], 6, 2), 3U);
}

TEST(Report, TakesItsMessageIdFromASubclassThatGivesOne) {
    class Numbering : public Reporter {
    public:
        std::uint16_t getNewMessageId() override { return 0xABCD; }
    };
    Numbering card;
    card.add(1);
    card.flush();
    EXPECT_EQ(number(card.sent.at(0), 6, 2), 0xABCDU);
}

TEST(Report, HasTheFullOidOfATablesCell) {
    Reporter card;
    card.addToAmi(&card.property(temperatureOf(3)), false);
    card.flush();
    EXPECT_EQ(card.reported(), hexOf({{temperatureOf(3), INT32, "00000014"}}));
}

TEST(Report, HasTheValueOfTheTimeOfSending) {
    Reporter card;
    card.addToAmi(&card.property(bpClkRef), false);
    card.property(bpClkRef).set(static_cast<unsigned char>(3));
    card.flush();
    EXPECT_EQ(card.reported(), hexOf({{bpClkRef, UINT8, "03"}}));
}

TEST(Report, HasAVariableAsOftenAsItWasAdded) {
    Reporter card;
    card.addToAmi(&card.property(reboot), false);
    card.addToAmi(&card.property(reboot), false);
    card.flush();
    EXPECT_EQ(card.reported(), hexOf({{reboot, BOOLEAN, "00"}, {reboot, BOOLEAN, "00"}}));
}

// ---------------------------------------------------------------- collecting and flushing

TEST(Collecting, SendsNothing) {
    Reporter card;
    card.add(1, 50);
    EXPECT_THAT(card.sent, IsEmpty());
    card.flush();
    EXPECT_EQ(card.reported(), hexOf(elementsOf(1, 50)));
}

TEST(Collecting, SendsWithThe51stProperty) {
    Reporter card;
    card.add(1, 51);
    ASSERT_EQ(card.sent.size(), 1U);
    EXPECT_EQ(card.reported(), hexOf(elementsOf(1, 51)));
}

TEST(Collecting, Sends61PropertiesWith10MoreAndAFlush) {
    Reporter card;
    card.add(1, 51);
    card.add(52, 10);
    EXPECT_EQ(card.sent.size(), 1U);
    card.flush();
    ASSERT_EQ(card.sent.size(), 2U);
    EXPECT_EQ(card.reported(), hexOf(elementsOf(1, 61)));
    card.add(70);
    card.flush();
    EXPECT_EQ(card.reported(), hexOf(elementsOf(70, 1)));
}

TEST(Collecting, KeepsWhatWentOutByItselfAndSendsItAgain) {
    Reporter card;
    card.add(1, 102);
    ASSERT_EQ(card.sent.size(), 2U);
    EXPECT_EQ(card.reported(0), hexOf(elementsOf(1, 51)));
    EXPECT_EQ(card.reported(1), hexOf(elementsOf(1, 102)));
    EXPECT_EQ(number(card.sent[0], 6, 2), 1U);
    EXPECT_EQ(number(card.sent[1], 6, 2), 2U);
}

TEST(Collecting, HasNothingToFlushAfterItSentByItself) {
    Reporter card;
    card.add(1, 51);
    card.flush();
    EXPECT_EQ(card.sent.size(), 1U);
    card.add(52);
    card.flush();
    EXPECT_EQ(card.reported(), hexOf(elementsOf(1, 52)));
}

TEST(Flush, OfNothingSendsNothing) {
    Reporter card;
    card.flush();
    EXPECT_THAT(card.sent, IsEmpty());
    EXPECT_EQ(card.lastMessageId, 0);
}

TEST(Flush, RightAfterAnotherSendsNothing) {
    Reporter card;
    card.add(1);
    card.flush();
    card.flush();
    EXPECT_EQ(card.sent.size(), 1U);
}

TEST(Flush, DoesNotAddThePropertyThatComesWithIt) {
    Reporter card;
    card.add(1);
    card.addToAmi(&card.property(bpClkRef), true);
    EXPECT_EQ(card.reported(), hexOf(elementsOf(1, 1)));
    card.addToAmi(&card.property(bpClkRef), true);
    EXPECT_EQ(card.sent.size(), 1U);
}

TEST(Collecting, AddsNothingForNull) {
    Reporter card;
    card.addToAmi(nullptr, false);
    card.add(1, 50);
    card.addToAmi(nullptr, false);
    EXPECT_THAT(card.sent, IsEmpty());
    card.flush();
    EXPECT_EQ(card.reported(), hexOf(elementsOf(1, 50)));
    card.addToAmi(nullptr, false);
    card.flush();
    EXPECT_EQ(card.sent.size(), 1U);
}

TEST(FirstFlushOfAProcess, SendsNothing) {
    Card card;
    card.addToAmi(nullptr, true);
    card.addToAmi(&card.property(bpClkRef), true);
    EXPECT_THAT(card.sent, IsEmpty());
    card.addToAmi(&card.property(bpClkRef), false);
    card.addToAmi(nullptr, true);
    EXPECT_EQ(card.sent.size(), 1U);
}

TEST(FirstPropertyOfAProcess, IsCountedFrom0) {
    EXPECT_LOGS("DEBUG1", "add event 0 oid=0x1 size=1", [] {
        TestEndpoint endpoint;
        const auto first = variable(1);
        endpoint.addToAmi(first.get(), false);
    });
}

namespace {

void reportWithoutMemory() {
    Card card;
    EXPECT_LOGS_FROM(reportingFile, "addToAmi", "ERROR", "invalid ptr", [&card] {
        memoryIsShort = true;
        card.addToAmi(&card.property(bpClkRef), false);
        memoryIsShort = false;
    });
    EXPECT_LOGS("ERROR", "invalid ptr", [&card] { card.addToAmi(nullptr, true); });
    EXPECT_THAT(card.sent, IsEmpty());
}

}  // namespace

// In a process of its own: from then on it has no message to collect into.
TEST(FirstPropertyWithoutMemory, IsNotReported) {
    const auto report = [] {
        reportWithoutMemory();
        std::exit(testing::Test::HasFailure() ? 1 : 0);
    };
    EXPECT_EXIT(report(), testing::ExitedWithCode(0), "");
}

// ---------------------------------------------------------------- temporary properties

TEST(TemporaryProperties, AreDeletedByTheFlushThatSends) {
    Reporter card;
    int destroyed = 0;
    for (int i = 0; i < 3; ++i)
        card.tempProperties.push_back(new TemporaryProperty(destroyed));
    card.addToAmi(card.tempProperties[0], false);
    EXPECT_EQ(destroyed, 0);
    card.flush();
    EXPECT_EQ(destroyed, 3);
    EXPECT_THAT(card.tempProperties, IsEmpty());
    EXPECT_EQ(card.reported(), hexOf({{200, UINT8, "C8"}}));
    card.add(1);
    card.flush();
    EXPECT_EQ(card.reported(), hexOf(elementsOf(1, 1)));
}

TEST(TemporaryProperties, StayUntilAFlushSends) {
    Reporter card;
    int destroyed = 0;
    card.tempProperties.push_back(new TemporaryProperty(destroyed));
    card.flush();
    EXPECT_EQ(destroyed, 0);
    card.add(1, 51);
    card.flush();
    EXPECT_EQ(destroyed, 0);
    EXPECT_EQ(card.tempProperties.size(), 1U);
    card.add(52);
    card.flush();
    EXPECT_EQ(destroyed, 1);
}

TEST(TemporaryProperties, OfAnotherEndpointStay) {
    Reporter card;
    Card other;
    int destroyed = 0;
    card.tempProperties.push_back(new TemporaryProperty(destroyed));
    card.addToAmi(card.tempProperties[0], false);
    other.addToAmi(nullptr, true);
    EXPECT_EQ(destroyed, 0);
    card.add(1);
    card.flush();
    EXPECT_EQ(destroyed, 1);
}

// ---------------------------------------------------------------- two endpoints, one message

TEST(TwoEndpoints, CollectIntoOneMessage) {
    Reporter one;
    Reporter other;
    one.add(1, 2);
    other.add(3, 2);
    other.flush();
    EXPECT_THAT(one.sent, IsEmpty());
    EXPECT_EQ(other.reported(), hexOf(elementsOf(1, 4)));
    one.flush();
    EXPECT_THAT(one.sent, IsEmpty());
}

TEST(TwoEndpoints, SendThroughTheOneThatAddsThe51st) {
    Reporter one;
    Reporter other;
    one.add(1, 50);
    other.lastMessageId = 41;
    other.add(51);
    EXPECT_THAT(one.sent, IsEmpty());
    EXPECT_EQ(other.reported(), hexOf(elementsOf(1, 51)));
    EXPECT_EQ(number(other.sent[0], 6, 2), 42U);
    one.add(52);
    one.flush();
    EXPECT_EQ(one.reported(), hexOf(elementsOf(1, 52)));
}

TEST(TwoEndpoints, KeepTheMessageWhenOneIsDestroyed) {
    Reporter one;
    {
        Reporter other;
        one.addToAmi(&other.property(bpClkRef), false);
        one.add(1);
    }
    one.flush();
    EXPECT_EQ(one.reported(), hexOf(elementsOf(1, 1)));
}

// ---------------------------------------------------------------- messages that are not sent

TEST(FailedSend, ForgetsWhatWasFlushed) {
    Reporter card;
    int destroyed = 0;
    card.tempProperties.push_back(new TemporaryProperty(destroyed));
    card.add(1);
    card.sends = false;
    card.flush();
    EXPECT_EQ(destroyed, 1);
    card.sends = true;
    card.sent.clear();
    card.flush();
    EXPECT_THAT(card.sent, IsEmpty());
    card.add(2);
    card.flush();
    EXPECT_EQ(card.reported(), hexOf(elementsOf(2, 1)));
}

TEST(FailedSend, OfThe51stStillBeginsCountingAgain) {
    Reporter card;
    card.sends = false;
    card.add(1, 51);
    EXPECT_EQ(card.sent.size(), 1U);
    card.add(52, 50);
    EXPECT_EQ(card.sent.size(), 1U);
    card.sends = true;
    card.add(102);
    ASSERT_EQ(card.sent.size(), 2U);
    EXPECT_EQ(card.reported(), hexOf(elementsOf(1, 102)));
}

// ---------------------------------------------------------------- properties that go while they wait

TEST(DestroyedProperty, IsWithdrawn) {
    Reporter card;
    card.add(1, 3);
    card.destroy(2);
    card.flush();
    EXPECT_EQ(card.reported(), hexOf({elementOf(1), elementOf(3)}));
}

TEST(DestroyedProperty, StaysCounted) {
    Reporter card;
    card.add(1, 50);
    for (unsigned int id = 1; id <= 49; ++id)
        card.destroy(id);
    card.add(60);
    ASSERT_EQ(card.sent.size(), 1U);
    EXPECT_EQ(card.reported(), hexOf({elementOf(50), elementOf(60)}));
    EXPECT_LOGS("DEBUG1", "send ami msg with 2 tlvs", [] {
        Reporter other;
        other.add(1, 2);
        other.destroy(1);
        other.flush();
    });
}

TEST(DestroyedProperty, LeavesNothingToSendWhenItWasTheOnlyOne) {
    Reporter card;
    card.add(1);
    card.destroy(1);
    card.flush();
    EXPECT_THAT(card.sent, IsEmpty());
    EXPECT_EQ(card.lastMessageId, 0);
}

TEST(DestroyedProperty, IsWithdrawnAsOftenAsItWasAdded) {
    Reporter card;
    {
        const auto twice = variable(9);
        card.addToAmi(twice.get(), false);
        card.add(1);
        card.addToAmi(twice.get(), false);
    }
    card.flush();
    EXPECT_EQ(card.reported(), hexOf(elementsOf(1, 1)));
}

TEST(DestroyedProperty, IsWithdrawnAfterTheMessageWentOutByItself) {
    Reporter card;
    card.add(1, 51);
    for (unsigned int id = 1; id <= 51; ++id)
        card.destroy(id);
    card.add(52);
    card.flush();
    EXPECT_EQ(card.reported(), hexOf(elementsOf(52, 1)));
}

// ---------------------------------------------------------------- sending one message directly

TEST(SendingAnAmi, NeedsAMessageWithProperties) {
    Reporter card;
    LCMPAmi empty;
    EXPECT_FALSE(card.sendAmiMsgBase(nullptr));
    EXPECT_FALSE(card.sendAmiMsgBase(&empty));
    EXPECT_THAT(card.sent, IsEmpty());
    EXPECT_EQ(card.lastMessageId, 0);
}

TEST(SendingAnAmi, StampsItAndGivesTheResultOfTheTransport) {
    Reporter card;
    realTime = {1700000000, 5000};
    LCMPAmi ami;
    ami.addProperty(&card.property(bpClkRef));
    EXPECT_TRUE(card.sendAmiMsgBase(&ami));
    EXPECT_EQ(card.lastSent(), hex(amiFrame(1, 1700000000, 5, {{bpClkRef, UINT8, "80"}})));
    card.sends = false;
    EXPECT_FALSE(card.sendAmiMsgBase(&ami));
    EXPECT_EQ(ami.getMessageId(), 2);
}

TEST(SendingAnAmi, IsNotLimitedInNumber) {
    Reporter card;
    LCMPAmi ami;
    for (int i = 0; i < 300; ++i)
        ami.addProperty(&card.property(bpClkRef));
    EXPECT_TRUE(card.sendAmiMsgBase(&ami));
    EXPECT_EQ(card.reported(), hexOf(Elements(300, {bpClkRef, UINT8, "80"})));
}

// ---------------------------------------------------------------- received messages

TEST(ReceivedAmi, PutsTheValuesIntoTheRegisteredObjectsAndTellsTheApplication) {
    Card card;
    card.acceptsEvents = true;
    EXPECT_TRUE(
        card.receive(amiFrame(1, 2, 3, {{bpClkRef, UINT8, "01"}, {temperatureOf(2), INT32, "FFFFFFFF"}})));
    EXPECT_EQ(card.value<unsigned char>(bpClkRef), 1);
    EXPECT_EQ(card.value<int>(temperatureOf(2)), -1);
    EXPECT_THAT(card.journal, ElementsAre("updated control.bpClkRef", "updated temperature[2].value",
                                          "events: control.bpClkRef temperature[2].value"));
    EXPECT_THAT(card.sent, IsEmpty());
}

TEST(ReceivedAmi, IsAFailureWhenTheApplicationRefusesItAfterItWasApplied) {
    Card card;
    EXPECT_FALSE(card.receive(amiFrame(1, 2, 3, {{bpClkRef, UINT8, "01"}})));
    EXPECT_EQ(card.value<unsigned char>(bpClkRef), 1);
}

TEST(ReceivedAmi, WithoutElementsReachesTheApplication) {
    Card card;
    EXPECT_FALSE(card.receive(amiFrame(1, 2, 3)));
    card.acceptsEvents = true;
    EXPECT_TRUE(card.receive(amiFrame(1, 2, 3)));
    EXPECT_THAT(card.journal, ElementsAre("events:", "events:"));
}

TEST(ReceivedAmi, OfUnknownVariablesReachesTheApplication) {
    Card card;
    card.acceptsEvents = true;
    EXPECT_FALSE(card.receive(amiFrame(1, 2, 3, {{unknownOid, UINT8, "01"}, {0xC0000000, UINT8, "01"}})));
    EXPECT_THAT(card.journal, ElementsAre("events:"));
}

TEST(ReceivedAmi, AppliesWhatIsGoodAroundWhatIsNot) {
    const Elements faults = {{unknownOid, UINT8, "01"},
                             {commitTimer, UINT32, "00000005"},
                             {commitTimer, INT32, "0005"},
                             {commitTimer, INT32}};
    for (const Element& fault : faults) {
        Card card;
        card.acceptsEvents = true;
        EXPECT_FALSE(
            card.receive(amiFrame(1, 2, 3, {{bpClkRef, UINT8, "01"}, fault, {reboot, BOOLEAN, "01"}})));
        EXPECT_EQ(card.value<int>(commitTimer), 0);
        EXPECT_THAT(card.journal, ElementsAre("updated control.bpClkRef", "updated control.reboot",
                                              "events: control.bpClkRef control.reboot"));
    }
}

TEST(ReceivedAmi, GivesValuesThatAPeerMayNotWrite) {
    Card card;
    card.acceptsEvents = true;
    EXPECT_TRUE(card.receive(amiFrame(1, 2, 3, {{hardwareVersion, UINT8, "07"}, {bpClkRef, UINT8, "63"}})));
    EXPECT_EQ(card.value<unsigned char>(hardwareVersion), 7);
    EXPECT_EQ(card.value<unsigned char>(bpClkRef), 99);
}

TEST(ReceivedAmi, IsGoodWhenAnObjectCannotUseAValue) {
    Card card;
    card.acceptsEvents = true;
    card.control.updatedSucceeds = false;
    EXPECT_TRUE(card.receive(amiFrame(1, 2, 3, {{bpClkRef, UINT8, "01"}})));
    EXPECT_THAT(card.journal, ElementsAre("updated control.bpClkRef", "events: control.bpClkRef"));
}

TEST(ReceivedAmi, MarksNoEventOfItsOwn) {
    Card card;
    card.receive(amiFrame(1, 2, 3, {{bpClkRef, UINT8, "01"}}));
    EXPECT_FALSE(card.property(bpClkRef).sendEvent());
}

TEST(ReceivedAmi, IsNotFollowedByItsMessageId) {
    Card card;
    card.acceptsEvents = true;
    for (const unsigned int id : {100U, 100U, 7U}) {
        card.control.setToDefault();
        EXPECT_TRUE(card.receive(amiFrame(id, 2, 3, {{bpClkRef, UINT8, "01"}}), Card::controller));
        EXPECT_EQ(card.value<unsigned char>(bpClkRef), 1);
    }
    card.read({});
    EXPECT_EQ(card.answer(), done());
}

TEST(ReceivedAmi, PassesOverNullObjects) {
    Card card;
    card.acceptsEvents = true;
    card.lcmpObjects.insert(card.lcmpObjects.begin(), nullptr);
    EXPECT_TRUE(card.receive(amiFrame(1, 2, 3, {{bpClkRef, UINT8, "01"}})));
}

TEST(ReceivedAmi, EndsWithAnElementThatDoesNotFit) {
    for (const std::string& tail :
         {std::string("x"), std::string(6, 'x'), Element{reboot, BOOLEAN, "01"}.declaring(2).bytes(),
          Element{reboot, BOOLEAN}.declaring(65535).bytes()}) {
        Card card;
        card.acceptsEvents = true;
        CapturedLog log(levelError);
        EXPECT_FALSE(card.receive(amiFrame(1, 2, 3, {{bpClkRef, UINT8, "01"}}) + tail));
        EXPECT_EQ(log.lines().size(), 1U) << log.all();
        EXPECT_FALSE(card.value<bool>(reboot));
        EXPECT_THAT(card.journal, ElementsAre("updated control.bpClkRef", "events: control.bpClkRef"));
    }
}

TEST(ReceivedAmi, ThatIsTooShortForItsHeaderFailsWithOneErrorLine) {
    for (std::size_t size = requestHeader; size < amiHeader; ++size) {
        Card card;
        card.acceptsEvents = true;
        CapturedLog log(levelError);
        EXPECT_FALSE(card.receive(amiFrame(1, 2, 3).substr(0, size)));
        EXPECT_EQ(log.lines().size(), 1U) << log.all();
        EXPECT_THAT(card.journal, IsEmpty());
        EXPECT_THAT(card.sent, IsEmpty());
    }
}

TEST(ReceivedAmi, HandledDirectlyIsAnAmi) {
    Card card;
    card.acceptsEvents = true;
    for (const unsigned int action : {0U, 1U, 2U, 3U, 4U, 6U, 255U}) {
        std::string frameBytes = amiFrame(1, 2, 3, {{bpClkRef, UINT8, "01"}});
        frameBytes.replace(5, 1, bigEndian(action, 1));
        GuardedBytes guarded(frameBytes);
        EXPECT_FALSE(card.handleAmi(guarded.size(), guarded.data())) << action;
    }
    EXPECT_THAT(card.journal, IsEmpty());
}

// ---------------------------------------------------------------- log lines of sending

TEST(ReportLog, CountsWhatIsAdded) {
    const auto addThree = [] {
        Reporter card;
        card.add(7, 2);
        card.addToAmi(&card.property(temperatureOf(3)), false);
    };
    EXPECT_LOGS_FROM(reportingFile, "addToAmi", "DEBUG1", "add event 0 oid=0x7 size=1", addThree);
    EXPECT_LOGS_FROM(reportingFile, "addToAmi", "DEBUG1", "add event 1 oid=0x8 size=1", addThree);
    // A cell of a table is told by its own id, the column.
    EXPECT_LOGS_FROM(reportingFile, "addToAmi", "DEBUG1", "add event 2 oid=0x1 size=4", addThree);
}

TEST(ReportLog, TellsHowManyPropertiesAFlushSends) {
    EXPECT_LOGS_FROM(reportingFile, "addToAmi", "DEBUG1", "send ami msg with 3 tlvs", [] {
        Reporter card;
        card.add(1, 3);
        card.flush();
    });
}

TEST(ReportLog, TellsThatThe51stSends) {
    EXPECT_LOGS_FROM(reportingFile, "addToAmi", "DEBUG1", "send ami msg with 51 tlvs", [] {
        Reporter card;
        card.add(1, 51);
    });
}

TEST(ReportLog, CountsOnlyWhatWasAddedSinceTheLastSending) {
    EXPECT_LOGS("DEBUG1", "send ami msg with 10 tlvs", [] {
        Reporter card;
        card.add(1, 61);
        card.flush();
    });
    EXPECT_LOGS("DEBUG1", "add event 9 oid=0x3d size=1", [] { Reporter().add(1, 61); });
}

TEST(ReportLog, TellsOfASendingThatFailed) {
    EXPECT_LOGS("DEBUG1", "send ami msg with 1 tlvs", [] {
        Reporter card;
        card.sends = false;
        card.add(1);
        card.flush();
    });
}

TEST(ReportLog, IsSilentWhenThereIsNothingToFlush) {
    Reporter card;
    CapturedLog log;
    card.flush();
    card.sendAmiMsgBase(nullptr);
    card.addToAmi(nullptr, false);
    EXPECT_TRUE(log.lines().empty()) << log.all();
}

// ---------------------------------------------------------------- log lines of receiving

namespace {

void receive(const Elements& elements, bool accepted = true) {
    Card card;
    card.acceptsEvents = accepted;
    card.receive(amiFrame(1, 2, 3, elements));
}

}  // namespace

TEST(ReceivedAmiLog, TellsThatItIsHandled) {
    EXPECT_LOGS_FROM(receivingFile, "handleAmi", "DEBUG1", "handle AMI message", [] { receive({}); });
}

TEST(ReceivedAmiLog, TellsThatAMessageIsNone) {
    EXPECT_LOGS_FROM(receivingFile, "handleAmi", "ERROR", "handleAmi got a message that is not an AMI!", [] {
        GuardedBytes frameBytes(header(3, 1) + std::string(8, '\0'));
        Card().handleAmi(frameBytes.size(), frameBytes.data());
    });
}

TEST(ReceivedAmiLog, TellsWhichVariableIsFound) {
    EXPECT_LOGS_FROM(receivingFile, "handleAmi", "DEBUG2", "prop found to update: type 3, oid 11800002", [] {
        receive({{bpClkRef, UINT8, "01"}});
    });
}

TEST(ReceivedAmiLog, TellsWhichOidIsUnknown) {
    const auto action = [] { receive({{unknownOid, UINT8, "01"}}); };
    EXPECT_LOGS_FROM(receivingFile, "handleAmi", "ERROR",
                     "the following oid is not found in the registered objects, skipping!", action);
    EXPECT_LOGS_FROM(receivingFile, "handleAmi", "ERROR", "prop NOT found to update: oid 0x3800001", action);
}

TEST(ReceivedAmiLog, TellsWhichVariableIsSkipped) {
    const auto action = [] { receive({{bpClkRef, INT8, "01"}}); };
    EXPECT_LOGS_FROM(receivingFile, "handleAmi", "ERROR",
                     "AMI message received has incorrect property with id 0x11800002 and error 6", action);
    EXPECT_LOGS_FROM(receivingFile, "handleAmi", "ERROR", "skipping this property!", action);
    EXPECT_LOGS("ERROR", "AMI message received has incorrect property with id 0x11800002 and error 8", [] {
        receive({{bpClkRef, UINT8, "0001"}});
    });
}

TEST(ReceivedAmiLog, TellsWhetherTheObjectCouldUseTheValue) {
    const auto text = [] {
        Card card;
        card.property(temperatureOf(2)).set(5);
        return card.property(temperatureOf(2)).str();
    }();
    for (const bool succeeds : {true, false}) {
        EXPECT_LOGS_FROM(receivingFile, "handleAmi", "DEBUG2",
                         std::string("updated() call ") + (succeeds ? "succeeded" : "failed\n") + " for " +
                             text + ", row 2",
                         [&] {
                             Card card;
                             card.temperature.updatedSucceeds = succeeds;
                             card.receive(amiFrame(1, 2, 3, {{temperatureOf(2), INT32, "00000005"}}));
                         });
    }
}

TEST(ReceivedAmiLog, TellsThatTheApplicationRefused) {
    EXPECT_LOGS_FROM(receivingFile, "handleAmi", "ERROR", "amiMessageHandler reported failure!", [] {
        receive({{bpClkRef, UINT8, "01"}}, false);
    });
}
