// A card answers read and write requests.
#include <gmock/gmock.h>
#include <malloc.h>

#include <algorithm>

#include "card.h"
#include "frames.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// A text of this many bytes as an element.
Element text(unsigned int oid, std::size_t size) {
    return Element::holding(oid, STRING, std::string(size, 'x'));
}

}  // namespace

// ---------------------------------------------------------------- reading

TEST(Reading, AnswersTheValueAsAnElement) {
    Card card;
    EXPECT_TRUE(card.read({{bpClkRef, UINT8}}));
    EXPECT_EQ(card.answer(), answered(RESULT_OK, {{bpClkRef, UINT8, "80"}}));
    EXPECT_EQ(card.lastSent(), "4F 54 4E 31 01 03 00 07 00 00 00 11 80 00 02 03 00 01 80");
}

TEST(Reading, AnswersInTheOrderOfTheRequest) {
    Card card;
    card.read({{temperatureOf(3), INT32}, {cardType, STRING}, {reboot, BOOLEAN}, {temperatureOf(0), INT32}});
    EXPECT_EQ(card.answer(), answered(RESULT_OK, {{temperatureOf(3), INT32, "00000014"},
                                                  {cardType, STRING, "787878"},
                                                  {reboot, BOOLEAN, "00"},
                                                  {temperatureOf(0), INT32, "00000014"}}));
}

TEST(Reading, AnswersAVariableAsOftenAsItIsAskedFor) {
    Card card;
    card.read({{reboot, BOOLEAN}, {reboot, BOOLEAN}});
    EXPECT_EQ(card.answer(), answered(RESULT_OK, {{reboot, BOOLEAN, "00"}, {reboot, BOOLEAN, "00"}}));
}

TEST(Reading, AnswersNothingToNoElements) {
    Card card;
    EXPECT_TRUE(card.read({}));
    EXPECT_EQ(card.answer(), done());
    EXPECT_THAT(card.journal, IsEmpty());
}

TEST(Reading, LooksOnlyAtTheOidOfAnElement) {
    Card card;
    card.read({{bpClkRef, MAC_ADDRESS, "010203"}, {bpClkRef, 255, ""}});
    EXPECT_EQ(card.answer(), answered(RESULT_OK, {{bpClkRef, UINT8, "80"}, {bpClkRef, UINT8, "80"}}));
}

TEST(Reading, GivesReadOnlyVariables) {
    Card card;
    card.read({{hardwareVersion, UINT8}});
    EXPECT_EQ(card.answer(), answered(RESULT_OK, {{hardwareVersion, UINT8, "00"}}));
}

TEST(Reading, LetsTheObjectRefreshTheValueFirst) {
    Card card;
    card.control.onUpdate = [](LcmpProperty& property) { property.set(static_cast<unsigned char>(3)); };
    card.read({{bpClkRef, UINT8}});
    EXPECT_EQ(card.answer(), answered(RESULT_OK, {{bpClkRef, UINT8, "03"}}));
    EXPECT_THAT(card.journal, ElementsAre("update control.bpClkRef"));
}

TEST(Reading, TakesTheValuesWhenTheResponseIsWritten) {
    Card card;
    card.temperature.onUpdate = [&](LcmpProperty&) {
        card.property(bpClkRef).set(static_cast<unsigned char>(1));
    };
    card.read({{bpClkRef, UINT8}, {temperatureOf(0), INT32}});
    EXPECT_EQ(card.answer(),
              answered(RESULT_OK, {{bpClkRef, UINT8, "01"}, {temperatureOf(0), INT32, "00000014"}}));
}

TEST(Reading, GoesOnWhenARefreshFails) {
    Card card;
    card.control.updateSucceeds = false;
    EXPECT_TRUE(card.read({{bpClkRef, UINT8}, {reboot, BOOLEAN}}));
    EXPECT_EQ(card.answer(), answered(RESULT_OK, {{bpClkRef, UINT8, "80"}, {reboot, BOOLEAN, "00"}}));
    EXPECT_THAT(card.journal, ElementsAre("update control.bpClkRef", "update control.reboot"));
}

TEST(Reading, StoresNothing) {
    Card card;
    card.read({{bpClkRef, UINT8, "02"}});
    EXPECT_EQ(card.value<unsigned char>(bpClkRef), 128);
}

TEST(Reading, AsksTheObjectThatWasRegisteredFirst) {
    Card card;
    Journaled<LcmpScalar> second(card.journal, "second", 3U, true);
    second.addProp(
        new TypeProperty<unsigned char>(2, "other", IFC_CARD_VAR_WRITABLE, static_cast<unsigned char>(1)), 0);
    card.registerObject(&second);
    card.read({{bpClkRef, UINT8}});
    EXPECT_EQ(card.answer(), answered(RESULT_OK, {{bpClkRef, UINT8, "80"}}));
    EXPECT_THAT(card.journal, ElementsAre("update control.bpClkRef"));
}

TEST(Reading, AsksALaterObjectForWhatAnEarlierOneOfTheSameIdLacks) {
    Card card;
    Journaled<LcmpScalar> second(card.journal, "second", 3U, true);
    second.addProp(
        new TypeProperty<unsigned char>(9, "more", IFC_CARD_VAR_WRITABLE, static_cast<unsigned char>(5)), 0);
    card.registerObject(&second);
    card.read({{0x11800009, UINT8}});
    EXPECT_EQ(card.answer(), answered(RESULT_OK, {{0x11800009, UINT8, "05"}}));
}

TEST(Reading, PassesOverNullObjects) {
    Card card;
    card.lcmpObjects.insert(card.lcmpObjects.begin(), nullptr);
    card.registerObject(nullptr);
    card.read({{bpClkRef, UINT8}});
    EXPECT_EQ(card.answer(), answered(RESULT_OK, {{bpClkRef, UINT8, "80"}}));
    card.takesLegacy();
    card.read({{unknownOid, UINT8}});
    EXPECT_EQ(card.answer(), answered(RESULT_OK, {{unknownOid, UINT8}}));
}

TEST(Reading, GivesAnInvalidOidToTheLegacyHookToJudge) {
    Card card;
    card.takesLegacy();
    card.read({{0xC0000001, UINT8}});
    EXPECT_EQ(card.answer(), answered(RESULT_OK, {{0xC0000001, UINT8}}));
}

// ---------------------------------------------------------------- the size of an answer

class ReadingMuch : public testing::Test {
protected:
    /// The answer to this read has so many bytes.
    void readAnswerOf(std::size_t size) {
        card.property(filename).set(std::string(size - responseHeader - 7, 'x'));
        card.read({{filename, STRING}});
    }

    Card card;
};

TEST_F(ReadingMuch, AnswersUpTo1200Bytes) {
    readAnswerOf(1200);
    EXPECT_EQ(card.answer(), answered(RESULT_OK, {text(filename, 1182)}));
    EXPECT_EQ(card.sent.back().size(), 1200U);
}

TEST_F(ReadingMuch, AnswersTooLongWithNoElementsFrom1201Bytes) {
    readAnswerOf(1201);
    EXPECT_EQ(card.answer(), refused(RESULT_TOO_LONG, 0));
}

TEST_F(ReadingMuch, CountsAllElements) {
    card.property(filename).set(std::string(400, 'x'));
    card.read({{filename, STRING}, {filename, STRING}, {filename, STRING}});
    EXPECT_EQ(card.answer(), refused(RESULT_TOO_LONG, 0));
}

TEST_F(ReadingMuch, CountsThe7BytesOfEachEmptyElement) {
    card.property(filename).set(std::string());
    card.read(Elements(169, {filename, STRING}));
    EXPECT_EQ(card.answer(), answered(RESULT_OK, Elements(169, {filename, STRING})));
    card.read(Elements(170, {filename, STRING}));
    EXPECT_EQ(card.answer(), refused(RESULT_TOO_LONG, 0));
}

TEST_F(ReadingMuch, CountsLegacyElements) {
    card.takesLegacy();
    card.read({text(unknownOid, 1182)});
    EXPECT_EQ(card.answer(), answered(RESULT_OK, {text(unknownOid, 1182)}));
    card.read({text(unknownOid, 1183)});
    EXPECT_EQ(card.answer(), refused(RESULT_TOO_LONG, 0));
}

TEST_F(ReadingMuch, ReplacesTheReportOfADuplicate) {
    readAnswerOf(1201);
    card.expectNext(8);
    readAnswerOf(1201);
    card.request(readRequest(8, {{filename, STRING}}));
    EXPECT_EQ(card.answer(), refused(RESULT_TOO_LONG, 0));
}

TEST_F(ReadingMuch, LeavesARefusalByALegacyHookStanding) {
    card.takesLegacy();
    card.servesLegacy = [](OldStyleProperty&, bool) { return false; };
    card.read({text(unknownOid, 1183)});
    EXPECT_EQ(card.answer(), refused(RESULT_CANNOT_EXEC, 0));
}

// ---------------------------------------------------------------- writing

TEST(Writing, StoresTheValueAndAnswersWithoutElements) {
    Card card;
    EXPECT_TRUE(card.write({{bpClkRef, UINT8, "03"}}));
    EXPECT_EQ(card.answer(), done());
    EXPECT_EQ(card.lastSent(), "4F 54 4E 31 01 04 00 07 00 00 00");
    EXPECT_EQ(card.value<unsigned char>(bpClkRef), 3);
}

TEST(Writing, StoresEveryElement) {
    Card card;
    card.write({{utcTime, UINT64, "0102030405060708"},
                {filename, STRING, "6162 00"},
                {commitTimer, INT32, "FFFFFFFE"}});
    EXPECT_EQ(card.answer(), done());
    EXPECT_EQ(card.value<unsigned long long>(utcTime), 0x0102030405060708ULL);
    EXPECT_EQ(card.value<std::string>(filename), std::string("ab\0", 3));
    EXPECT_EQ(card.value<int>(commitTimer), -2);
}

TEST(Writing, PreparesEveryVariableThenStoresAllThenTellsTheObjects) {
    Card card;
    card.control.onUpdate = [&](LcmpProperty&) { EXPECT_EQ(card.value<int>(commitTimer), 0); };
    card.control.onUpdated = [&](LcmpProperty&) { EXPECT_EQ(card.value<int>(commitTimer), 5); };
    card.write({{bpClkRef, UINT8, "01"}, {commitTimer, INT32, "00000005"}});
    EXPECT_EQ(card.answer(), done());
    EXPECT_THAT(card.journal, ElementsAre("update control.bpClkRef", "update download.setCommitTimer",
                                          "updated control.bpClkRef", "updated download.setCommitTimer"));
}

TEST(Writing, LetsTheLastOfEqualElementsWin) {
    Card card;
    card.write({{bpClkRef, UINT8, "01"}, {bpClkRef, UINT8, "02"}});
    EXPECT_EQ(card.answer(), done());
    EXPECT_EQ(card.value<unsigned char>(bpClkRef), 2);
}

TEST(Writing, AnswersNoElementsWithOk) {
    Card card;
    EXPECT_TRUE(card.write({}));
    EXPECT_EQ(card.answer(), done());
}

TEST(Writing, TakesATextOfLengthZeroAtTheEnd) {
    Card card;
    card.write({{bpClkRef, UINT8, "01"}, {filename, STRING}});
    EXPECT_EQ(card.answer(), done());
    EXPECT_EQ(card.value<std::string>(filename), "");
}

TEST(Writing, GoesOnWhenAPreparationFails) {
    Card card;
    card.control.updateSucceeds = false;
    card.write({{bpClkRef, UINT8, "01"}});
    EXPECT_EQ(card.answer(), done());
    EXPECT_EQ(card.value<unsigned char>(bpClkRef), 1);
}

TEST(Writing, AnswersCannotExecWhenAnObjectCannotUseTheValue) {
    Card card;
    card.control.updatedSucceeds = false;
    card.write({{commitTimer, INT32, "00000005"}, {bpClkRef, UINT8, "01"}, {filename, STRING, "61"}});
    EXPECT_EQ(card.answer(), refused(RESULT_CANNOT_EXEC, 0));
    EXPECT_EQ(card.value<unsigned char>(bpClkRef), 1);
    EXPECT_THAT(card.journal, ElementsAre("update download.setCommitTimer", "update control.bpClkRef",
                                          "update download.filename", "updated download.setCommitTimer",
                                          "updated control.bpClkRef", "updated download.filename"));
}

TEST(Writing, IsNotMeasured) {
    Card card;
    card.write({text(filename, 5000)});
    EXPECT_EQ(card.answer(), done());
    EXPECT_EQ(card.value<std::string>(filename).size(), 5000U);
}

TEST(Writing, MarksNoEvent) {
    Card card;
    card.write({{bpClkRef, UINT8, "01"}});
    EXPECT_FALSE(card.property(bpClkRef).sendEvent());
}

TEST(Writing, KeepsAndSendsBackTheByteOfABoolean) {
    Card card;
    card.write({{reboot, BOOLEAN, "02"}});
    EXPECT_EQ(card.answer(), done());
    EXPECT_TRUE(card.value<bool>(reboot));
    card.read({{reboot, BOOLEAN}});
    EXPECT_EQ(card.answer(), answered(RESULT_OK, {{reboot, BOOLEAN, "02"}}));
}

// ---------------------------------------------------------------- writes that are refused

struct RefusedElement {
    const char* why;
    Element element;
    unsigned int result;
};

void PrintTo(const RefusedElement& refusal, std::ostream* out) { *out << refusal.why; }

class RefusedWrites : public testing::TestWithParam<RefusedElement> {};

TEST_P(RefusedWrites, AnswerTheFaultAndItsPositionAndStoreNothing) {
    const auto& [why, element, result] = GetParam();
    const Element good = {commitTimer, INT32, "00000005"};
    const std::vector<std::pair<Elements, unsigned int>> positions = {
        {{element}, 0}, {{element, good}, 0}, {{good, element}, 1}, {{good, good, element, good}, 2}};
    for (const auto& [elements, position] : positions) {
        Card card;
        EXPECT_TRUE(card.write(elements));
        EXPECT_EQ(card.answer(), refused(result, position)) << why;
        EXPECT_EQ(card.value<int>(commitTimer), 0) << why;
        EXPECT_EQ(card.value<unsigned char>(bpClkRef), 128) << why;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Servant, RefusedWrites,
    testing::Values(
        RefusedElement{"unknown, and the hook refuses", {unknownOid, UINT8, "01"}, RESULT_GENERAL_ERROR},
        RefusedElement{"wrong type", {bpClkRef, INT8, "01"}, RESULT_WRONG_TYPE},
        RefusedElement{"wrong type and length", {bpClkRef, UINT16, "0001"}, RESULT_WRONG_TYPE},
        RefusedElement{"no such type", {bpClkRef, 14, "01"}, RESULT_WRONG_TYPE},
        RefusedElement{"too short", {bpClkRef, UINT8}, RESULT_WRONG_LEN},
        RefusedElement{"too long", {bpClkRef, UINT8, "0001"}, RESULT_WRONG_LEN},
        RefusedElement{"value", {bpClkRef, UINT8, "04"}, RESULT_WRONG_VALUE},
        RefusedElement{"read-only number", {hardwareVersion, UINT8, "00"}, RESULT_READ_ONLY},
        RefusedElement{"read-only text", {cardType, STRING, "78"}, RESULT_READ_ONLY},
        // Access comes after identity, type and size.
        RefusedElement{"wrong type, read-only", {hardwareVersion, INT8, "00"}, RESULT_WRONG_TYPE},
        RefusedElement{"wrong length, read-only", {hardwareVersion, UINT8, "0000"}, RESULT_WRONG_LEN}));

// The frame ends before the width of the variable does.
TEST(RefusedWrite, TellsAWrongTypeBeforeTheLength) {
    Card card;
    card.request(frame("../regression/0001-length-told-before-type/write").bytes);
    EXPECT_EQ(card.answer(), refused(RESULT_WRONG_TYPE, 0));
}

TEST(RefusedWrite, RunsUpdateForAllItsVariablesAndNothingElse) {
    Card card;
    card.write({{bpClkRef, UINT8, "04"}, {commitTimer, INT32, "00000005"}});
    EXPECT_THAT(card.journal, ElementsAre("update control.bpClkRef", "update download.setCommitTimer"));
}

TEST(RefusedWrite, ReportsTheFirstFault) {
    Card card;
    card.write({{reboot, BOOLEAN, "01"}, {bpClkRef, UINT8, "04"}, {hardwareVersion, UINT8, "00"}});
    EXPECT_EQ(card.answer(), refused(RESULT_WRONG_VALUE, 1));
}

TEST(RefusedWrite, ReplacesTheReportOfADuplicate) {
    Card card;
    card.write({{bpClkRef, UINT8, "03"}});
    card.request(writeRequest(7, {{bpClkRef, UINT8, "04"}}));
    EXPECT_EQ(card.answer(), refused(RESULT_WRONG_VALUE, 0));
}

TEST(RefusedWrite, IsFollowedByAGoodOne) {
    Card card;
    card.write({{bpClkRef, UINT8, "04"}});
    card.write({{bpClkRef, UINT8, "02"}});
    EXPECT_EQ(card.answer(), done());
}

// The exchange that the project's front page shows, byte for byte.
TEST(RefusedWrite, AnswersTheBytesOfTheWirePage) {
    Card card;
    card.request(bytes("4F544E31 01 02 0007 11800002 03 0001 04"));
    EXPECT_EQ(hex(card.sent.back()), hex(bytes("4F544E31 01 04 0007 09 0000")));
    card.request(bytes("4F544E31 01 02 0007 11800002 03 0001 03"));
    EXPECT_EQ(hex(card.sent.back()), hex(bytes("4F544E31 01 04 0007 02 0000")));
}

// ---------------------------------------------------------------- message ids

TEST(Continuity, ServesARepeatedRequestAgainAndReportsIt) {
    Card card;
    card.write({{bpClkRef, UINT8, "01"}});
    EXPECT_EQ(card.answer(), done());
    card.property(bpClkRef).set(static_cast<unsigned char>(2));
    card.request(writeRequest(7, {{bpClkRef, UINT8, "01"}}));
    EXPECT_EQ(card.answer(), refused(RESULT_DUPLICATE_MSG, 0));
    EXPECT_EQ(card.value<unsigned char>(bpClkRef), 1);
}

TEST(Continuity, GivesTheValuesToARepeatedRead) {
    Card card;
    card.read({{bpClkRef, UINT8}});
    card.request(readRequest(7, {{bpClkRef, UINT8}}));
    EXPECT_EQ(card.answer(), answered(RESULT_DUPLICATE_MSG, {{bpClkRef, UINT8, "80"}}));
}

TEST(Continuity, ServesARequestAfterAGapAndReportsIt) {
    Card card;
    card.request(readRequest(9, {{bpClkRef, UINT8}}));
    EXPECT_EQ(card.answer(), answered(RESULT_LOST_MSG, {{bpClkRef, UINT8, "80"}}));
    card.read({{bpClkRef, UINT8}});
    EXPECT_EQ(card.answer(), answered(RESULT_OK, {{bpClkRef, UINT8, "80"}}));
}

TEST(Continuity, ServesARequestOfAPeerThatIsNoIpv4Address) {
    for (const char* peer : {"card-7", "::1", "192.0.2", "192.0.2.256"}) {
        Card card;
        EXPECT_TRUE(card.request(writeRequest(7, {{bpClkRef, UINT8, "01"}}), peer));
        EXPECT_EQ(card.answer(), refused(17, 0)) << peer;
        EXPECT_EQ(card.value<unsigned char>(bpClkRef), 1) << peer;
        EXPECT_EQ(card.sentTo.back(), peer);
    }
}

TEST(Continuity, ReportsAnEmptyRequestAsWell) {
    Card card;
    card.read({});
    card.request(readRequest(7));
    EXPECT_EQ(card.answer(), refused(RESULT_DUPLICATE_MSG, 0));
}

TEST(Continuity, IsFollowedByTheRequestsThatAreRefused) {
    Card card;
    card.write({{bpClkRef, UINT8, "04"}});
    card.write({});
    EXPECT_EQ(card.answer(), done());
}

TEST(Response, GoesToThePeerThatAsked) {
    Card card;
    card.read({});
    EXPECT_EQ(card.sentTo.back(), Card::controller);
}

TEST(Response, CarriesTheMessageIdOfTheRequest) {
    Card card;
    for (const unsigned int id : {0U, 1U, 0x00FFU, 0x0100U, 0xFFFFU}) {
        card.expectNext(id);
        card.read({});
        EXPECT_EQ(hex(card.sent.back()), hex(readResponse(id, 0, 0)));
    }
}

TEST(Response, ThatIsNotSentMakesTheResultFalse) {
    Card card;
    card.sends = false;
    EXPECT_FALSE(card.read({{bpClkRef, UINT8}}));
    EXPECT_FALSE(card.write({{bpClkRef, UINT8, "01"}}));
    EXPECT_FALSE(card.write({{bpClkRef, UINT8, "04"}}));
    EXPECT_FALSE(card.request(writeRequest(10, {{bpClkRef, UINT8, "01"}}).substr(0, 15)));
    EXPECT_EQ(card.value<unsigned char>(bpClkRef), 1);
}

// ---------------------------------------------------------------- elements without an object

TEST(LegacyElement, IsRefusedByTheHookThatNobodyOverrides) {
    Card card;
    card.read({{unknownOid, UINT8}});
    EXPECT_EQ(card.answer(), refused(RESULT_GENERAL_ERROR, 0));
    card.read({{bpClkRef, UINT8}, {unknownOid, UINT8}});
    EXPECT_EQ(card.answer(), refused(RESULT_GENERAL_ERROR, 1));
    EXPECT_THAT(card.journal, ElementsAre("judge read of 03 80 00 01", "update control.bpClkRef",
                                          "judge read of 03 80 00 01"));
}

TEST(LegacyElement, CannotBeReadWhenItsServingHookIsNotOverridden) {
    Card card;
    card.judgesLegacy = [](OldStyleProperty&, bool) { return std::uint8_t{RESULT_OK}; };
    card.read({{unknownOid, UINT8}});
    EXPECT_EQ(card.answer(), refused(RESULT_CANNOT_EXEC, 0));
    EXPECT_THAT(card.journal, ElementsAre("judge read of 03 80 00 01", "serve read of 03 80 00 01"));
}

TEST(LegacyElement, IsAnsweredWithWhatTheHookPutIntoIt) {
    Card card;
    card.takesLegacy();
    card.servesLegacy = [](OldStyleProperty& property, bool) {
        property.set(std::string("abc"));
        return true;
    };
    card.read({{bpClkRef, UINT8}, {unknownOid, STRING}});
    EXPECT_EQ(card.answer(), answered(RESULT_OK, {{bpClkRef, UINT8, "80"}, {unknownOid, STRING, "616263"}}));
}

TEST(LegacyElement, ReachesTheHooksAsItCame) {
    Card card;
    card.takesLegacy();
    card.servesLegacy = [](OldStyleProperty& property, bool write) {
        std::string value;
        property.get(&value);
        EXPECT_TRUE(write);
        EXPECT_EQ(property.getOid(), unknownOid);
        EXPECT_EQ(property.getType(), STRING);
        EXPECT_EQ(value, std::string("a\0c", 3));
        EXPECT_EQ(property.getName().substr(0, 17), "OldStyleProperty_");
        EXPECT_EQ(property.getOwner(), nullptr);
        return true;
    };
    card.write({{unknownOid, STRING, "61 00 63"}});
    EXPECT_EQ(card.answer(), done());
    EXPECT_THAT(card.journal, ElementsAre("judge write of 03 80 00 01", "serve write of 03 80 00 01"));
}

TEST(LegacyElement, IsAnsweredWithAnyCodeThatItsCheckGives) {
    for (const unsigned int code : {1U, 5U, 15U, 16U, 17U, 18U, 200U, 255U}) {
        Card card;
        card.takesLegacy();
        card.judgesLegacy = [code](OldStyleProperty&, bool) { return static_cast<std::uint8_t>(code); };
        card.write({{bpClkRef, UINT8, "01"}, {unknownOid, UINT8, "01"}});
        EXPECT_EQ(card.answer(), refused(code, 1));
        EXPECT_EQ(card.value<unsigned char>(bpClkRef), 128);
    }
}

TEST(LegacyElement, ThatCannotBeReadIsCountedAmongItsKindOnly) {
    Card card;
    card.takesLegacy();
    card.servesLegacy = [](OldStyleProperty& property, bool) { return property.getOid() == unknownOid; };
    card.read({{bpClkRef, UINT8},
               {unknownOid, UINT8},
               {reboot, BOOLEAN},
               {otherUnknownOid, UINT8},
               {unknownOid, UINT8}});
    EXPECT_EQ(card.answer(), refused(RESULT_CANNOT_EXEC, 1));
    EXPECT_THAT(card.journal,
                ElementsAre("update control.bpClkRef", "update control.reboot", "judge read of 03 80 00 01",
                            "judge read of 03 80 00 02", "judge read of 03 80 00 01",
                            "serve read of 03 80 00 01", "serve read of 03 80 00 02"));
}

TEST(LegacyElement, ThatCannotBeReadReplacesTheReportOfADuplicate) {
    Card card;
    card.judgesLegacy = [](OldStyleProperty&, bool) { return std::uint8_t{RESULT_OK}; };
    card.read({});
    card.request(readRequest(7, {{unknownOid, UINT8}}));
    EXPECT_EQ(card.answer(), refused(RESULT_CANNOT_EXEC, 0));
}

TEST(LegacyElement, ThatCannotBeWrittenLeavesWhatWasStoredBeforeIt) {
    Card card;
    card.takesLegacy();
    card.servesLegacy = [](OldStyleProperty&, bool) { return false; };
    card.write({{bpClkRef, UINT8, "01"}, {unknownOid, UINT8, "01"}, {commitTimer, INT32, "00000005"}});
    EXPECT_EQ(card.answer(), refused(RESULT_CANNOT_EXEC, 0));
    EXPECT_EQ(card.value<unsigned char>(bpClkRef), 1);
    EXPECT_EQ(card.value<int>(commitTimer), 0);
    EXPECT_THAT(card.journal, ElementsAre("update control.bpClkRef", "update download.setCommitTimer",
                                          "judge write of 03 80 00 01", "serve write of 03 80 00 01"));
}

TEST(LegacyElement, IsWrittenBetweenOthers) {
    Card card;
    card.takesLegacy();
    card.write(
        {{bpClkRef, UINT8, "01"}, {unknownOid, BYTE_ARRAY, "010203"}, {commitTimer, INT32, "00000005"}});
    EXPECT_EQ(card.answer(), done());
    EXPECT_EQ(card.value<int>(commitTimer), 5);
}

// What the hook makes of an element does not move the elements behind it.
TEST(LegacyElement, MayBeReplacedByItsHooks) {
    for (const bool early : {true, false}) {
        Card card;
        card.takesLegacy();
        const auto grow = [](OldStyleProperty& property) { property.set(std::string(3000, 'y')); };
        if (early) {
            card.judgesLegacy = [grow](OldStyleProperty& property, bool) {
                grow(property);
                return std::uint8_t{RESULT_OK};
            };
        } else {
            card.servesLegacy = [grow](OldStyleProperty& property, bool) {
                grow(property);
                return true;
            };
        }
        card.write({{unknownOid, STRING, "61"}, {commitTimer, INT32, "00000005"}, {bpClkRef, UINT8, "01"}});
        EXPECT_EQ(card.answer(), done());
        EXPECT_EQ(card.value<int>(commitTimer), 5);
        EXPECT_EQ(card.value<unsigned char>(bpClkRef), 1);
    }
}

TEST(LegacyElement, OfARefusedRequestStaysUntilTheNextRefusal) {
    Card card;
    std::vector<OldStyleProperty*> seen;
    card.judgesLegacy = [&seen](OldStyleProperty& property, bool) {
        seen.push_back(&property);
        return std::uint8_t{RESULT_GENERAL_ERROR};
    };
    card.read({{unknownOid, STRING, "616263"}});
    EXPECT_EQ(card.answer(), refused(RESULT_GENERAL_ERROR, 0));
    card.read({{bpClkRef, UINT8}});
    card.write({});
    ASSERT_EQ(seen.size(), 1U);
    std::string value;
    seen[0]->get(&value);
    EXPECT_EQ(value, "abc");
    EXPECT_EQ(seen[0]->getOid(), unknownOid);
}

TEST(LegacyElement, OfRefusedRequestsDoesNotPileUp) {
    Card card;
    const auto refuseMany = [&card](int requests) {
        for (int i = 0; i < requests; ++i)
            card.read({text(unknownOid, 60000)});
        card.sent.clear();
        card.sentTo.clear();
        card.journal.clear();
    };
    refuseMany(10);
    const auto before = mallinfo2().uordblks + mallinfo2().hblkhd;
    refuseMany(200);
    EXPECT_LT(mallinfo2().uordblks + mallinfo2().hblkhd, before + 1000000);
}

TEST(LegacyElement, OfAServedRequestDoesNotPileUp) {
    Card card;
    card.takesLegacy();
    const auto serveMany = [&card](int requests) {
        for (int i = 0; i < requests; ++i)
            card.write({text(unknownOid, 60000)});
        card.sent.clear();
        card.sentTo.clear();
        card.journal.clear();
    };
    serveMany(10);
    const auto before = mallinfo2().uordblks + mallinfo2().hblkhd;
    serveMany(200);
    EXPECT_LT(mallinfo2().uordblks + mallinfo2().hblkhd, before + 1000000);
}

// ---------------------------------------------------------------- elements that do not fit into the frame

class CutRequest : public testing::Test {
protected:
    CutRequest() { card.takesLegacy(); }

    void expectRefusedUnseen(unsigned int position) {
        EXPECT_EQ(card.answer(), refused(RESULT_WRONG_LEN, position));
        EXPECT_THAT(card.journal, IsEmpty());
        EXPECT_EQ(card.value<unsigned char>(bpClkRef), 128);
        EXPECT_EQ(card.value<int>(commitTimer), 0);
    }

    Card card;
};

TEST_F(CutRequest, AnswersWrongLengthAndRunsNoHook) {
    // 8, 8 and 11 bytes.
    const Elements elements = {
        {bpClkRef, UINT8, "01"}, {unknownOid, UINT8, "01"}, {commitTimer, INT32, "00000005"}};
    const std::string whole = writeRequest(7, elements);
    for (std::size_t size = requestHeader + 1; size < whole.size(); ++size) {
        if (size == requestHeader + 8 || size == requestHeader + 16)
            continue;  // the end of an element: a shorter request without a fault
        card.expectNext(7);
        EXPECT_TRUE(card.request(whole.substr(0, size)));
        expectRefusedUnseen(std::min(static_cast<unsigned int>((size - requestHeader) / 8), 2U));
    }
}

TEST_F(CutRequest, IsRefusedAsAReadToo) {
    EXPECT_TRUE(card.request(readRequest(7, {{bpClkRef, UINT8}, {reboot, BOOLEAN}}) + "\x11"));
    expectRefusedUnseen(2);
}

TEST_F(CutRequest, IsRefusedWhateverFaultsEarlierElementsHave) {
    card.write({{bpClkRef, UINT8, "04"},
                {hardwareVersion, INT8, "00"},
                Element{commitTimer, INT32, "00"}.declaring(4)});
    expectRefusedUnseen(2);
}

TEST_F(CutRequest, IsRefusedForALengthBeyondTheFrame) {
    for (const int length : {2, 127, 128, 255, 256, 32767, 32768, 65528, 65535}) {
        card.write({Element{bpClkRef, UINT8, "01"}.declaring(length)});
        expectRefusedUnseen(0);
    }
}

TEST_F(CutRequest, CountsForTheMessageIds) {
    card.request(writeRequest(7, {{bpClkRef, UINT8, "01"}}).substr(0, 15));
    expectRefusedUnseen(0);
    card.request(writeRequest(7, {{bpClkRef, UINT8, "01"}}));
    EXPECT_EQ(card.answer(), refused(RESULT_DUPLICATE_MSG, 0));
    card.request(readRequest(8) + "x");
    EXPECT_EQ(card.answer(), refused(RESULT_WRONG_LEN, 0));
    card.read({});
    EXPECT_EQ(card.answer(), done());
}

TEST_F(CutRequest, ReplacesTheReportOfAGap) {
    card.request(readRequest(100) + "x");
    EXPECT_EQ(card.answer(), refused(RESULT_WRONG_LEN, 0));
}

TEST_F(CutRequest, WritesOneErrorLine) {
    for (const std::string& tail : {std::string("x"), Element{bpClkRef, UINT8, "01"}.declaring(2).bytes()}) {
        CapturedLog log(levelError);
        card.request(writeRequest(7, {{reboot, BOOLEAN, "01"}}) + tail);
        EXPECT_EQ(log.count("ERROR"), 1) << log.all();
        EXPECT_EQ(log.lines().size(), 1U) << log.all();
    }
}

// ---------------------------------------------------------------- log lines

namespace {

void read(const Elements& elements) { Card().read(elements); }

std::string textOf(unsigned int oid) { return Card().property(oid).str(); }

}  // namespace

TEST(ServingLog, TellsWhichVariableIsAdded) {
    EXPECT_LOGS_FROM("lcmpServing.cpp", "handleRequest", "DEBUG2", "prop adding: type 3, oid 11800002", [] {
        read({{bpClkRef, UINT8}});
    });
}

TEST(ServingLog, TellsWhetherUpdateSucceeded) {
    EXPECT_LOGS_FROM("lcmpServing.cpp", "handleRequest", "DEBUG2",
                     "update() call succeeded for " + textOf(bpClkRef) + ", row 0", [] {
                         read({{bpClkRef, UINT8}});
                     });
}

TEST(ServingLog, TellsThatUpdateFailed) {
    EXPECT_LOGS_FROM("lcmpServing.cpp", "handleRequest", "DEBUG2",
                     "update() call failed\n for " + textOf(temperatureOf(3)) + ", row 3", [] {
                         Card card;
                         card.temperature.updateSucceeds = false;
                         card.read({{temperatureOf(3), INT32}});
                     });
}

TEST(ServingLog, TellsOidsWithoutAnObjectAsSignedNumbers) {
    EXPECT_LOGS_FROM("lcmpServing.cpp", "handleRequest", "DEBUG2",
                     "-1 not found in lcmpObjects, adding old style, making property for it\n", [] {
                         read({{0xFFFFFFFF, UINT8}});
                     });
    EXPECT_LOGS("DEBUG2", "58720257 not found in lcmpObjects, adding old style, making property for it\n",
                [] {
                    read({{unknownOid, UINT8}});
                });
}

TEST(ServingLog, TellsWhatIsServed) {
    EXPECT_LOGS_FROM("lcmpServing.cpp", "handleRequest", "DEBUG3", "LCMP Read message: length 22, 2 tlvs",
                     [] {
                         read({{bpClkRef, UINT8}, {reboot, BOOLEAN}});
                     });
    EXPECT_LOGS_FROM("lcmpServing.cpp", "handleRequest", "DEBUG3", "LCMP Write message: length 16, 1 tlvs",
                     [] {
                         Card().write({{bpClkRef, UINT8, "01"}});
                     });
}

TEST(ServingLog, TellsWhetherTheResponseWasSent) {
    EXPECT_LOGS_FROM("lcmpServing.cpp", "handleRequest", "DEBUG2", "request handled: success",
                     [] { read({}); });
    EXPECT_LOGS_FROM("lcmpServing.cpp", "handleRequest", "DEBUG2", "request handled: failed", [] {
        Card card;
        card.sends = false;
        card.read({});
    });
}

TEST(ServingLog, NamesTheFaultOfARefusedRequestAndEndsThere) {
    EXPECT_LOGS_FROM("lcmpmsg.cpp", "checkTlvs", "ERROR", "RESULT WRONG VALUE in OID 0x11800002", [] {
        Card().write({{bpClkRef, UINT8, "04"}});
    });
    CapturedLog log;
    Card().write({{bpClkRef, UINT8, "04"}});
    EXPECT_FALSE(log.has("DEBUG2", "request handled: success"));
    EXPECT_FALSE(log.has("DEBUG3", "LCMP Write message: length 16, 1 tlvs"));
}

TEST(ServingLog, NamesTheObjectThatCouldNotUseAValue) {
    const auto write = [](bool used) {
        Card card;
        card.control.updatedSucceeds = used;
        card.write({{bpClkRef, UINT8, "01"}});
    };
    EXPECT_LOGS("ERROR", "control: Property bpClkRef updated call failed", [&] { write(false); });
    EXPECT_LOGS("DEBUG2", "control: Property bpClkRef updated", [&] { write(true); });
}
