// The simulated card, asked with frames and driven by hand: no socket, no clock.
#include "simulatedCard.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "frameBuilder.h"
#include "lcmpResult.h"
#include "standardNames.h"
#include "testEndpoint.h"

using namespace testing;
using std::chrono::milliseconds;
using tool::resolveVariable;
using tool::SimulatedCard;
using tool::variableOfOid;

namespace {

constexpr std::size_t elementHeader = 7;

// What an event or a response says about a variable.
struct Told {
    std::string name;
    std::string value;  // as it travels
};

std::vector<Told> tellings(const std::string& frame, std::size_t at) {
    std::vector<Told> told;
    while (at < frame.size()) {
        const auto length = static_cast<std::size_t>(number(frame, at + 5, 2));
        const auto oid = static_cast<unsigned int>(number(frame, at, 4));
        told.push_back({variableOfOid(oid).name, frame.substr(at + elementHeader, length)});
        at += elementHeader + length;
    }
    return told;
}

long long asNumber(const std::string& value) {
    const unsigned long long bits = number(value, 0, value.size());
    return value.size() == 4 ? static_cast<int>(bits) : static_cast<long long>(bits);
}

class Card {
public:
    explicit Card(unsigned int seed = 1) : m_card(seed) {
        m_card.registerWith(m_endpoint);
        m_endpoint.eventHandler();  // the first pass of a process reports nothing
        m_endpoint.sent.clear();
    }

    /// The value of a variable as it travels.
    std::string bytes(const std::string& name) {
        m_endpoint.receive(readRequest(nextId(), {element(name, "")}));
        EXPECT_EQ(result(), RESULT_OK) << name;
        const std::vector<Told> told = tellings(m_endpoint.sent.back(), responseHeader);
        EXPECT_THAT(told, SizeIs(1)) << name;
        return told.empty() ? "" : told[0].value;
    }

    long long value(const std::string& name) { return asNumber(bytes(name)); }

    /// The card's result for writing these bytes.
    unsigned int write(const std::string& name, const std::string& value) {
        m_endpoint.receive(writeRequest(nextId(), {element(name, value)}));
        return result();
    }

    unsigned int writeByte(const std::string& name, int value) {
        return write(name, bigEndian(static_cast<unsigned char>(value), 1));
    }

    /// So many periods, and what they report, in order.
    std::vector<Told> live(int periods = 1, milliseconds passed = milliseconds(1000)) {
        std::vector<Told> all;
        for (int i = 0; i < periods; ++i) {
            m_card.live(passed);
            for (const Told& told : report())
                all.push_back(told);
        }
        return all;
    }

    /// What has changed since the last report.
    std::vector<Told> report() {
        m_endpoint.sent.clear();
        m_endpoint.eventHandler();
        return m_endpoint.sent.empty() ? std::vector<Told>() : tellings(m_endpoint.sent.back(), amiHeader);
    }

private:
    static Element element(const std::string& name, const std::string& value) {
        const tool::Variable variable = resolveVariable(name);
        return Element::holding(variable.oid, static_cast<unsigned int>(variable.definition->type), value);
    }

    // One numbering for all cards of the process: the library follows the peer, not the card.
    static unsigned int nextId() {
        static unsigned int id = 0;
        return ++id & 0xFFFF;
    }

    unsigned int result() const { return static_cast<unsigned int>(number(m_endpoint.sent.back(), 8, 1)); }

    SimulatedCard m_card;
    TestEndpoint m_endpoint;
};

std::vector<long long> valuesOf(const std::string& name, const std::vector<Told>& all) {
    std::vector<long long> values;
    for (const Told& told : all) {
        if (told.name == name)
            values.push_back(asNumber(told.value));
    }
    return values;
}

std::string at(const char* table, unsigned int row, const char* variable) {
    return std::string(table) + "[" + std::to_string(row) + "]." + variable;
}

std::vector<std::string> allNames() {
    std::vector<std::string> names;
    for (const LcmpModelObject& object : lcmpModelStandard().objects) {
        for (unsigned int row = 0; row < object.rows; ++row) {
            for (const LcmpModelVariable& variable : object.variables)
                names.push_back(lcmpModelName({&object, &variable, row}));
        }
    }
    return names;
}

}  // namespace

// ---------------------------------------------------------------- the standard card

TEST(SimulatedCard, ServesEveryVariableOfEveryRow) {
    Card card;
    const std::vector<std::string> names = allNames();
    EXPECT_THAT(names, SizeIs(128));
    for (const std::string& name : names)
        card.bytes(name);
}

TEST(SimulatedCard, ScalarsHaveTheirDefaultsBeforeItLives) {
    Card card;
    EXPECT_EQ(card.bytes("identity.cardType"), "xxx");
    EXPECT_EQ(card.value("identity.hardwareVersion"), 0);
    EXPECT_EQ(card.value("identity.tempSensors"), 0);
    EXPECT_EQ(card.value("alarms.operAlarm"), 0);
    EXPECT_EQ(card.value("control.utcTime"), 0);
    EXPECT_EQ(card.value("control.bpClkRef"), 128);
    EXPECT_EQ(card.bytes("control.guid"), "");
    EXPECT_EQ(card.bytes("download.filename"), "xxx");
    EXPECT_EQ(card.bytes("download.name"), "brd");
    EXPECT_EQ(card.bytes("download.bspName"), "BSP");
    EXPECT_EQ(card.value("fileServer.port"), 21);
    EXPECT_EQ(card.bytes("voltageMonitor.version"), "");
}

TEST(SimulatedCard, ClearErrorsIsFalseAlthoughItsDefaultIsAText) {
    Card card;
    EXPECT_EQ(card.bytes("download.clearErrors"), std::string(1, '\0'));
    EXPECT_EQ(card.writeByte("download.clearErrors", 1), RESULT_OK);
    EXPECT_EQ(card.value("download.clearErrors"), 1);
}

TEST(SimulatedCard, RefusesToWriteEveryReadOnlyVariableAndNoOther) {
    Card card;
    const std::vector<std::string> writable = {
        "control.reboot",    "control.utcTime",      "control.bpClkRef",        "control.guid",
        "download.filename", "download.start",       "download.stop",           "download.commit",
        "download.accept",   "download.clearErrors", "download.setCommitTimer", "fileServer.server",
        "fileServer.port",   "fileServer.user",      "fileServer.password",     "logRetrieval.directory",
        "logRetrieval.state"};
    ASSERT_EQ(card.write("control.guid", std::string(36, 'a')), RESULT_OK);
    for (const std::string& name : allNames()) {
        const bool mayWrite = std::find(writable.begin(), writable.end(), name) != writable.end();
        const unsigned int expected = mayWrite ? RESULT_OK : RESULT_READ_ONLY;
        EXPECT_EQ(card.write(name, card.bytes(name)), expected) << name;
    }
}

TEST(SimulatedCard, TakesClockReferences0To3And128Only) {
    Card card;
    for (int reference = 0; reference < 256; ++reference) {
        const bool valid = reference <= 3 || reference == 128;
        const long long before = card.value("control.bpClkRef");
        const unsigned int expected = valid ? RESULT_OK : RESULT_WRONG_VALUE;
        EXPECT_EQ(card.writeByte("control.bpClkRef", reference), expected) << reference;
        EXPECT_EQ(card.value("control.bpClkRef"), valid ? reference : before);
    }
}

TEST(SimulatedCard, RefusesTextsOfAWrongLength) {
    struct Case {
        const char* name;
        std::size_t length;
        unsigned int result;
    };
    const Case cases[] = {
        {"control.guid", 35, RESULT_WRONG_VALUE},
        {"control.guid", 36, RESULT_OK},
        {"control.guid", 37, RESULT_WRONG_VALUE},
        {"control.guid", 0, RESULT_WRONG_VALUE},  // although it is its default
        {"download.filename", 127, RESULT_OK},
        {"download.filename", 128, RESULT_WRONG_VALUE},
        {"fileServer.server", 31, RESULT_OK},
        {"fileServer.server", 32, RESULT_WRONG_VALUE},
        {"fileServer.server", 0, RESULT_OK},
        {"logRetrieval.directory", 31, RESULT_OK},
        {"logRetrieval.directory", 32, RESULT_WRONG_VALUE},
    };
    Card card;
    for (const Case& c : cases) {
        const std::string before = card.bytes(c.name);
        const std::string text(c.length, 'a');
        EXPECT_EQ(card.write(c.name, text), c.result) << c.name << " " << c.length;
        EXPECT_EQ(card.bytes(c.name), c.result == RESULT_OK ? text : before) << c.name << " " << c.length;
    }
}

TEST(SimulatedCard, RefusesAGuidWithOtherCharactersThanLettersDigitsAndDashes) {
    Card card;
    EXPECT_EQ(card.write("control.guid", "0123456789-ABCDEFGHIJKLMNOPQRSTUVWXY"), RESULT_OK);
    EXPECT_EQ(card.write("control.guid", "0123456789_ABCDEFGHIJKLMNOPQRSTUVWXY"), RESULT_WRONG_VALUE);
    EXPECT_EQ(card.bytes("control.guid"), "0123456789-ABCDEFGHIJKLMNOPQRSTUVWXY");
}

TEST(SimulatedCard, NamesItsRowsBeforeItLives) {
    Card card;
    EXPECT_EQ(card.bytes("temperature[0].name"), "Inlet");
    for (const char* table : {"temperature", "voltage", "hardwareError", "operationalAlarm"}) {
        const bool isSensor = table[0] == 't' || table[0] == 'v';
        for (unsigned int row = 0; row < (isSensor ? 4U : 8U); ++row) {
            const std::string name = card.bytes(at(table, row, "name"));
            EXPECT_THAT(name, SizeIs(AllOf(Ge(1U), Le(31U)))) << at(table, row, "name");
            if (!isSensor) {
                EXPECT_EQ(card.value(at(table, row, "id")), row + 1);
            }
        }
    }
}

TEST(SimulatedCard, SensorsAreNotValidBeforeItLives) {
    Card card;
    for (unsigned int row = 0; row < 4; ++row) {
        EXPECT_EQ(card.value(at("temperature", row, "value")), 0);
        EXPECT_EQ(card.value(at("temperature", row, "valid")), 0);
        EXPECT_EQ(card.value(at("voltage", row, "value")), 0);
        EXPECT_EQ(card.value(at("voltage", row, "valid")), 0);
    }
}

// ---------------------------------------------------------------- its life

TEST(SimulatedCard, ReportsNothingAsLongAsItDoesNotLive) {
    Card card;
    EXPECT_THAT(card.report(), IsEmpty());
    card.write("control.bpClkRef", "\x01");
    EXPECT_THAT(card.report(), IsEmpty()) << "what a peer has written is no news to it";
}

TEST(SimulatedCard, CountsItsPartsInTheFirstPeriod) {
    Card card;
    const std::vector<Told> told = card.live();
    EXPECT_THAT(valuesOf("identity.tempSensors", told), ElementsAre(4));
    EXPECT_THAT(valuesOf("identity.voltageMonitors", told), ElementsAre(4));
    EXPECT_THAT(valuesOf("identity.hwErrors", told), ElementsAre(8));
    EXPECT_THAT(valuesOf("identity.operAlarms", told), ElementsAre(8));
    EXPECT_THAT(valuesOf("identity.tempSensors", card.live(20)), IsEmpty());
}

TEST(SimulatedCard, EveryPeriodReportsAChange) {
    for (unsigned int seed = 1; seed <= 5; ++seed) {
        Card card(seed);
        for (int period = 0; period < 300; ++period)
            EXPECT_THAT(card.live(1, milliseconds(100)), Not(IsEmpty()))
                << "seed " << seed << ", period " << period;
    }
}

TEST(SimulatedCard, ReportsWhatItThenAnswers) {
    Card card;
    for (int period = 0; period < 20; ++period) {
        for (const Told& told : card.live())
            EXPECT_EQ(card.bytes(told.name), told.value) << told.name;
    }
}

TEST(SimulatedCard, TemperaturesMoveByADegreeAndStayWithinTheirRange) {
    Card card;
    card.live();
    for (unsigned int row = 0; row < 4; ++row)
        EXPECT_EQ(card.value(at("temperature", row, "valid")), 1);
    const long long low = card.value("temperature[2].min");
    const long long high = card.value("temperature[2].max");
    std::vector<long long> seen = {card.value("temperature[2].value")};
    for (const long long value : valuesOf("temperature[2].value", card.live(500))) {
        EXPECT_EQ(std::abs(value - seen.back()), 1);
        EXPECT_THAT(value, AllOf(Gt(low), Lt(high)));
        seen.push_back(value);
    }
    EXPECT_THAT(seen, SizeIs(Gt(100U)));
}

TEST(SimulatedCard, VoltagesStayWithinOnePercentOfTheirNominalValue) {
    Card card;
    for (unsigned int row = 0; row < 4; ++row) {
        const long long nominal = card.value(at("voltage", row, "nominal"));
        const std::vector<long long> seen = valuesOf(at("voltage", row, "value"), card.live(200));
        EXPECT_THAT(seen, SizeIs(Gt(100U)));
        EXPECT_THAT(seen, Each(AllOf(Ge(nominal - nominal / 100), Le(nominal + nominal / 100))));
        EXPECT_EQ(card.value(at("voltage", row, "valid")), 1);
    }
}

TEST(SimulatedCard, AnAlarmIsRaisedAndClearedNowAndThen) {
    Card card;
    int raised = 0;
    int cleared = 0;
    for (int period = 0; period < 200; ++period) {
        for (const Told& told : card.live()) {
            if (told.name == "alarms.operAlarm")
                ++(asNumber(told.value) == 1 ? raised : cleared);
        }
        int active = 0;
        for (unsigned int row = 0; row < 8; ++row)
            active += static_cast<int>(card.value(at("operationalAlarm", row, "active")));
        EXPECT_EQ(active, card.value("alarms.operAlarm")) << "in period " << period;
    }
    EXPECT_THAT(raised, AllOf(Gt(8), Lt(30)));
    EXPECT_THAT(cleared, AnyOf(raised, raised - 1));
}

TEST(SimulatedCard, ReportsTheRowOfAnAlarmWithIt) {
    Card card;
    for (int period = 0; period < 50; ++period) {
        const std::vector<Told> told = card.live();
        const auto isRow = [](const Told& t) { return t.name.rfind("operationalAlarm[", 0) == 0; };
        EXPECT_EQ(std::count_if(told.begin(), told.end(), isRow),
                  static_cast<long>(valuesOf("alarms.operAlarm", told).size()));
    }
}

TEST(SimulatedCard, UtcTimeCountsFullSecondsOnFromWhatWasWritten) {
    Card card;
    EXPECT_THAT(valuesOf("control.utcTime", card.live(10, milliseconds(250))), ElementsAre(1, 2));
    card.write("control.utcTime", bigEndian(1700000000, 8));
    EXPECT_THAT(valuesOf("control.utcTime", card.live(4, milliseconds(250))), ElementsAre(1700000001));
    card.live(1, milliseconds(3600500));
    EXPECT_EQ(card.value("control.utcTime"), 1700003602);
}

TEST(SimulatedCard, TheSameSeedLivesTheSameLife) {
    const auto lifeOf = [](unsigned int seed) {
        Card card(seed);
        std::string life;
        for (const Told& told : card.live(100))
            life += told.name + "=" + hex(told.value) + "\n";
        return life;
    };
    EXPECT_EQ(lifeOf(7), lifeOf(7));
    EXPECT_NE(lifeOf(7), lifeOf(8));
}

// ---------------------------------------------------------------- its download

TEST(SimulatedCard, ADownloadRunsFrom0To100) {
    Card card;
    EXPECT_EQ(card.writeByte("download.start", 1), RESULT_OK);
    EXPECT_EQ(card.value("download.state"), 1);
    EXPECT_EQ(card.value("download.progress"), 0);
    EXPECT_EQ(card.value("download.start"), 1);
    const std::vector<Told> told = card.live(15);
    EXPECT_THAT(valuesOf("download.progress", told), ElementsAre(10, 20, 30, 40, 50, 60, 70, 80, 90, 100));
    EXPECT_THAT(valuesOf("download.state", told), ElementsAre(1, 2));
    EXPECT_THAT(valuesOf("download.start", told), ElementsAre(0));
}

TEST(SimulatedCard, NoDownloadRunsUnlessItIsStarted) {
    Card card;
    EXPECT_EQ(card.writeByte("download.start", 0), RESULT_OK);
    EXPECT_EQ(card.writeByte("download.stop", 1), RESULT_OK);
    const std::vector<Told> told = card.live(20);
    EXPECT_THAT(valuesOf("download.progress", told), IsEmpty());
    EXPECT_THAT(valuesOf("download.state", told), IsEmpty());
    EXPECT_EQ(card.value("download.state"), 0);
}

TEST(SimulatedCard, AStoppedDownloadStaysWhereItWas) {
    Card card;
    card.writeByte("download.start", 1);
    card.live(3);
    EXPECT_EQ(card.writeByte("download.stop", 1), RESULT_OK);
    EXPECT_EQ(card.value("download.state"), 3);
    EXPECT_EQ(card.value("download.start"), 0);
    EXPECT_EQ(card.value("download.stop"), 0);
    const std::vector<Told> told = card.live(5);
    EXPECT_THAT(valuesOf("download.progress", told), IsEmpty());
    EXPECT_THAT(valuesOf("download.state", told), ElementsAre(3));
    EXPECT_EQ(card.value("download.progress"), 30);
}

TEST(SimulatedCard, ADownloadCanBeStartedAgain) {
    Card card;
    card.writeByte("download.start", 1);
    card.live(10);
    ASSERT_EQ(card.value("download.state"), 2);
    card.writeByte("download.start", 1);
    EXPECT_EQ(card.value("download.state"), 1);
    EXPECT_EQ(card.value("download.progress"), 0);
}

TEST(SimulatedCard, AStartThatArrivesTwiceDoesNotBeginAnew) {
    Card card;
    card.writeByte("download.start", 1);
    card.live(4);
    card.writeByte("download.start", 1);
    EXPECT_EQ(card.value("download.progress"), 40);
}

// ---------------------------------------------------------------- its reboot

TEST(SimulatedCard, ARebootPutsEverythingBackToTheStart) {
    Card card;
    std::vector<std::string> atStart;
    for (const std::string& name : allNames())
        atStart.push_back(card.bytes(name));
    card.live(30);
    card.writeByte("download.start", 1);
    card.live(5);
    card.writeByte("control.bpClkRef", 3);
    card.write("control.guid", std::string(36, 'a'));
    card.write("fileServer.user", "somebody");

    EXPECT_EQ(card.writeByte("control.reboot", 1), RESULT_OK);
    std::vector<std::string> afterwards;
    for (const std::string& name : allNames())
        afterwards.push_back(card.bytes(name));
    EXPECT_EQ(afterwards, atStart);
}

TEST(SimulatedCard, ARebootIsReported) {
    Card card;
    card.writeByte("download.start", 1);
    card.live(5);
    card.writeByte("control.reboot", 1);
    const std::vector<Told> told = card.report();
    EXPECT_THAT(valuesOf("control.reboot", told), ElementsAre(0));
    EXPECT_THAT(valuesOf("download.progress", told), ElementsAre(0));
    EXPECT_THAT(valuesOf("temperature[3].valid", told), ElementsAre(0));
    EXPECT_THAT(valuesOf("identity.tempSensors", told), ElementsAre(0));
}

TEST(SimulatedCard, WritingFalseToRebootChangesNothing) {
    Card card;
    card.writeByte("control.bpClkRef", 2);
    EXPECT_EQ(card.writeByte("control.reboot", 0), RESULT_OK);
    EXPECT_EQ(card.value("control.bpClkRef"), 2);
}

TEST(SimulatedCard, LivesOnAfterAReboot) {
    Card card;
    card.live(20);
    card.writeByte("control.reboot", 1);
    card.live(20);
    EXPECT_EQ(card.value("identity.tempSensors"), 4);
    EXPECT_EQ(card.value("temperature[0].valid"), 1);
    EXPECT_EQ(card.value("control.utcTime"), 20);
}

// ---------------------------------------------------------------- of other models

namespace {

LcmpModel modelWith(const std::string& objects) {
    LcmpModel model;
    std::vector<LcmpModelError> errors;
    EXPECT_TRUE(lcmpModelLoadText("card: c\nobjects: [" + objects + "]", "f", model, errors));
    for (const LcmpModelError& error : errors)
        ADD_FAILURE() << lcmpModelErrorText(error);
    return model;
}

// Serves a model and writes one byte to its variables.
class OtherCard {
public:
    explicit OtherCard(const LcmpModel& model) : m_model(model), m_card(1, model) {
        m_card.registerWith(m_endpoint);
    }

    void live(int periods) {
        for (int i = 0; i < periods; ++i)
            m_card.live(milliseconds(1000));
    }

    std::string bytes(const std::string& name) {
        return ask(name, readRequest(nextId(), {element(name, "")}));
    }

    void write(const std::string& name, const std::string& value) {
        ask(name, writeRequest(nextId(), {element(name, value)}));
    }

private:
    Element element(const std::string& name, const std::string& value) const {
        const tool::Variable variable = resolveVariable(name, m_model);
        return Element::holding(variable.oid, variable.definition->type, value);
    }

    std::string ask(const std::string& name, const std::string& request) {
        m_endpoint.receive(request, "192.0.2.2");  // whose ids are not those of the other cards
        const std::string& answer = m_endpoint.sent.back();
        EXPECT_EQ(number(answer, 8, 1), RESULT_OK) << name;
        return answer.size() < responseHeader + elementHeader ? ""
                                                              : answer.substr(responseHeader + elementHeader);
    }

    static unsigned int nextId() {
        static unsigned int id = 0;
        return ++id & 0xFFFF;
    }

    const LcmpModel& m_model;
    SimulatedCard m_card;
    TestEndpoint m_endpoint;
};

const std::string control =
    "{name: control, kind: scalar, id: 3, common: true, variables: [{id: 0, name: reboot, "
    "type: BOOLEAN, access: writable}]}";

}  // namespace

TEST(SimulatedCardOfAModel, MovesAsTheModelSaysAndGoesBackWithAReboot) {
    const LcmpModel model =
        modelWith(control +
                  ", {name: fan, kind: table, id: 1, rows: 2, variables: [{id: 0, name: turns, type: "
                  "UINT32, access: read-only, values: [5, 7], simulate: {shape: counter, rate: 10}}]}");
    OtherCard card(model);
    card.live(3);
    EXPECT_EQ(number(card.bytes("fan[0].turns"), 0, 4), 35U);
    EXPECT_EQ(number(card.bytes("fan[1].turns"), 0, 4), 37U);
    card.write("control.reboot", "\x01");
    EXPECT_EQ(number(card.bytes("fan[1].turns"), 0, 4), 7U);
    EXPECT_EQ(number(card.bytes("control.reboot"), 0, 1), 0U);
    card.live(1);
    EXPECT_EQ(number(card.bytes("fan[1].turns"), 0, 4), 17U);
}

TEST(SimulatedCardOfAModel, DoesWithoutWhatTheModelDoesNotHave) {
    const LcmpModel model = modelWith(
        "{name: alarms, kind: scalar, id: 2, common: true, variables: [{id: 2, name: operAlarm, type: "
        "BOOLEAN, access: "
        "read-only}]}, {name: download, kind: scalar, id: 4, variables: [{id: 1, name: start, type: BOOLEAN, "
        "access: "
        "writable}, {id: 5, name: state, type: UINT32, access: read-only}]}");
    OtherCard card(model);
    card.write("download.start", "\x01");
    card.live(50);
    EXPECT_EQ(number(card.bytes("download.start"), 0, 1), 1U);
    EXPECT_EQ(number(card.bytes("alarms.operAlarm"), 0, 1), 0U);
}

TEST(SimulatedCardOfAModel, LeavesToTheModelWhatTheModelMoves) {
    const LcmpModel model = modelWith(
        "{name: control, kind: scalar, id: 3, common: true, variables: [{id: 0, name: reboot, type: BOOLEAN, "
        "access: "
        "writable, simulate: {shape: steps, values: [false]}}, {id: 1, name: mark, type: UINT8, access: "
        "writable}]}");
    OtherCard card(model);
    card.write("control.mark", "\x05");
    card.write("control.reboot", "\x01");
    EXPECT_EQ(number(card.bytes("control.mark"), 0, 1), 5U);
}

TEST(SimulatedCardOfAModel, HasAnIdentityOfItsOwnAmongMany) {
    const LcmpModel model = modelWith(
        "{name: port, kind: table, id: 1, rows: 2, variables: [{id: 0, name: mac, type: MAC_ADDRESS, access: "
        "read-only, "
        "values: [\"02:00:00:00:ff:01\", \"02:00:00:ff:ff:02\"]}]}");
    const LcmpModel third = tool::modelOfCard(model, 3);
    EXPECT_EQ(hex(std::get<std::string>(third.objects[0].variables[0].values.at(0))), "02 00 00 01 02 01");
    EXPECT_EQ(hex(std::get<std::string>(third.objects[0].variables[0].values.at(1))), "02 00 00 00 02 02")
        << "the maker's part, the first three bytes, stays";
}
