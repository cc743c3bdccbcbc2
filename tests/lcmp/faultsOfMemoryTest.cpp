// Whatever an endpoint does while memory runs out for a moment: it says so, it leaves nothing behind, and the
// next request is served.
#include <optional>

#include "failingMemory.h"
#include "judgedCard.h"

namespace {

/// A card that is also a controller: the reply to its requests is written down before.
class Station : public PlainCard {
public:
    Station() : PlainCard(judgedVariables()) {}

    bool sendMessage(LCMPMessage* message) override {
        const bool done = PlainCard::sendMessage(message);
        if (message->getAction() <= LCMP_ACTION_WRITE)
            replyBuffer = reply;
        return done;
    }

    bool receive(Bytes frame) {
        return handleLcmpMsg(static_cast<int>(frame.size()), frame.data(), "192.0.2.5");
    }

    LcmpProperty* propertyAt(std::size_t object) { return lcmpObjects.at(object)->getProperties().at(0); }

    void print() {
        for (const LcmpObject* object : lcmpObjects)
            object->str(0, 0);
    }

    using LcmpProtocolBase::addToAmi;
    using LcmpProtocolBase::eventTables;
    using LcmpProtocolBase::lcmpObjects;

    std::string reply;
};

bool isCarriedOut(Bytes answer) {
    return answer.size() >= responseHeader &&
           (answer[8] == RESULT_OK || answer[8] == RESULT_DUPLICATE_MSG || answer[8] == RESULT_LOST_MSG);
}

/// A value of every kind is written, and read back.
void expectToServe(Station& station) {
    const Elements written = {
        Element(countdown, INT32, "01020304"), Element(variableOf(STRING), STRING, "6162"),
        Element(variableOf(MAC_ADDRESS), MAC_ADDRESS, "010203040506"), Element(served, UINT16, "0708")};
    EXPECT_TRUE(station.receive(writeRequest(7, written)));
    EXPECT_TRUE(isCarriedOut(station.sent)) << hex(station.sent);
    EXPECT_TRUE(station.receive(readRequest(8, written)));
    EXPECT_TRUE(isCarriedOut(station.sent)) << hex(station.sent);
    EXPECT_EQ(hex(station.sent.substr(responseHeader)), hex(joined(written)));
}

/// Every variable with the value it has, or one that it takes.
Elements everything() {
    Elements all;
    for (const Variable& variable : judgedVariables()) {
        if (!variable.readOnly)
            all.push_back(Element::holding(variable.oid, variable.type,
                                           variable.type == STRING ? std::string(300, 't') : variable.value));
    }
    return all;
}

Elements strangers(std::size_t count, unsigned int oid) {
    return Elements(count, Element::holding(oid, BYTE_ARRAY, std::string(40, 's')));
}

Elements operator+(Elements left, const Elements& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

struct Asked {
    const char* name;
    std::string frame;
};

void PrintTo(const Asked& asked, std::ostream* out) { *out << asked.name; }
std::string nameOf(const testing::TestParamInfo<Asked>& info) { return info.param.name; }

std::vector<Asked> askedFrames() {
    const Element one(countdown, INT32, "01020304");
    const Elements many(150, one);
    return {
        {"ReadOfNothing", readRequest(6)},
        {"ReadOfOne", readRequest(6, {one})},
        {"ReadOf150", readRequest(6, many)},
        {"ReadOfStrangers", readRequest(6, strangers(20, served))},
        {"ReadOfStrangersThatFail", readRequest(6, strangers(3, served) + strangers(1, failing))},
        {"ReadThatIsTooLong", readRequest(6, strangers(40, served))},
        {"ReadOfAnUnknownStranger", readRequest(6, strangers(3, served) + strangers(1, refused))},
        {"WriteOfOne", writeRequest(6, {one})},
        {"WriteOf150", writeRequest(6, many)},
        {"WriteOfEverything", writeRequest(6, everything())},
        {"WriteOfALongText",
         writeRequest(6, {Element::holding(variableOf(STRING), STRING, std::string(60000, 't'))})},
        {"WriteOfStrangers", writeRequest(6, strangers(20, served))},
        {"WriteOfAnUnknownStranger", writeRequest(6, strangers(3, served) + strangers(1, refused))},
        {"WriteOfAWrongValue", writeRequest(6, {one, Element(clockRef, UINT8, "04")})},
        {"WriteOfATextThatIsTooLong",
         writeRequest(6, {Element::holding(shortText, STRING, std::string(2000, 't'))})},
        {"WriteThatDoesNotFit", writeRequest(6, many) + "x"},
        {"ReadFromAnUnknownVersion", bytes("4F544E31 02 01 0006")},
        {"UnknownAction", bytes("4F544E31 01 09 0006")},
        {"ResponseWithEverything", readResponse(6, RESULT_OK, 0, everything())},
        {"ResponseThatRefuses", readResponse(6, RESULT_WRONG_OID, 0)},
        {"EventWithEverything", amiFrame(6, 1, 2, everything())},
        {"EventWithStrangers", amiFrame(6, 1, 2, strangers(5, served))},
    };
}

class MemoryFaultAtAFrame : public testing::TestWithParam<Asked> {};

}  // namespace

// A byte array says nothing of lost memory, so only ERROR lines of frames without one are asked for.
TEST_P(MemoryFaultAtAFrame, LeavesNothingBehindAndAnEndpointThatServes) {
    const std::string& frame = GetParam().frame;
    const bool hasArray = frame.find(bigEndian(heldArray, 4)) != std::string::npos;
    const int allocations =
        failEachAllocation<Station>([&](Station& station) { station.receive(frame); }, expectToServe,
                                    hasArray ? OnMalloc::quiet : OnMalloc::errorLine);
    RecordProperty("allocations", allocations);
}

INSTANTIATE_TEST_SUITE_P(Every, MemoryFaultAtAFrame, testing::ValuesIn(askedFrames()), nameOf);

// ---------------------------------------------------------------- setting up

namespace {

struct Site {
    std::unique_ptr<Station> station;
};

}  // namespace

TEST(MemoryFault, WhileACardIsBuiltLeavesNothingBehind) {
    const int allocations =
        failEachAllocation<Site>([](Site& site) { site.station = std::make_unique<Station>(); },
                                 [](Site& site) {
                                     if (site.station == nullptr)
                                         site.station = std::make_unique<Station>();
                                     expectToServe(*site.station);
                                 },
                                 OnMalloc::quiet);
    EXPECT_GT(allocations, 50);
}

namespace {

class PositiveNumbers : public TypeProperty<int>::TypeValueCheck {
public:
    bool checkValue(int value) override { return value > 0; }
};

class ShortTexts : public StringProperty::StringValueCheck {
public:
    bool checkValue(std::string value) override { return value.size() < 3; }
};

/// Variables that own a check each. They lie here: what their making allocates is theirs alone.
struct Checked {
    void make() {
        constexpr const char* name = "a name that takes memory of its own";
        number.emplace(1U, name, IFC_CARD_VAR_WRITABLE, 7, new PositiveNumbers);
        std::string value(100, 't');
        text.emplace(2U, name, IFC_CARD_VAR_WRITABLE, std::move(value), new ShortTexts);
    }

    std::optional<TypeProperty<int>> number;
    std::optional<StringProperty> text;
};

}  // namespace

TEST(MemoryFault, WhileAVariableIsMadeIsTheEndOfItsCheckToo) {
    const int allocations = failEachAllocation<Checked>([](Checked& checked) { checked.make(); },
                                                        [](Checked& checked) {
                                                            checked.make();
                                                            EXPECT_FALSE(checked.text->validValue("abc", 3));
                                                            EXPECT_TRUE(checked.text->validValue("ab", 2));
                                                        },
                                                        OnMalloc::quiet);
    EXPECT_GE(allocations, 6);
}

namespace {

/// An object to which variables are added, in ids that make its index grow.
struct Growing {
    LcmpTable table{"table", 5, true, 3};

    void add() {
        for (unsigned int id = 0; id < 40; ++id) {
            for (unsigned int row = 0; row < 3; ++row) {
                auto property = std::make_unique<TypeProperty<int>>(id, "number", IFC_CARD_VAR_WRITABLE, 0);
                offered = property.get();
                if (table.addProp(property.get(), row))
                    property.release();
                offered = nullptr;
            }
        }
    }

    LcmpProperty* offered = nullptr;  // gone by now, where adding it threw
};

}  // namespace

TEST(MemoryFault, WhileAPropertyIsAddedLeavesTheObjectWithoutIt) {
    failEachAllocation<Growing>([](Growing& growing) { growing.add(); },
                                [](Growing& growing) {
                                    for (LcmpProperty* property : growing.table.getProperties()) {
                                        EXPECT_NE(property, growing.offered);
                                        EXPECT_EQ(growing.table.getPropFromOID(property->getOid()), property);
                                    }
                                    growing.add();
                                    EXPECT_EQ(growing.table.getProperties().size(), 120U);
                                });
}

TEST(MemoryFault, WhileEventTablesAreMadeLeavesNothingBehind) {
    struct Watching : Station {
        bool initEventsCore() override {
            for (EventValueTable*& table : eventTables) {
                if (table == nullptr)
                    table = new EventValueTable(true, 100, 5);
            }
            return true;
        }
    };
    failEachAllocation<Watching>([](Watching& station) { station.initEvents(); },
                                 [](Watching& station) {
                                     EXPECT_TRUE(station.initEvents());
                                     EXPECT_EQ(station.eventTables[19]->getSize(), 100);
                                     expectToServe(station);
                                 });
}

// ---------------------------------------------------------------- asking

namespace {

/// A station with the reply of a card to whatever it will ask.
struct Asking : Station {
    Asking() { reply = readResponse(1, RESULT_OK, 0, everything()); }

    std::vector<LcmpProperty*> all() {
        std::vector<LcmpProperty*> properties;
        for (LcmpObject* object : lcmpObjects) {
            for (LcmpProperty* property : object->getProperties())
                properties.push_back(property);
        }
        return properties;
    }
};

void expectToAskAndServe(Asking& station) {
    EXPECT_TRUE(station.readPropertys(station.all()));
    station.reply = writeResponse(1, RESULT_OK, 0);
    EXPECT_TRUE(station.writePropertys(station.all()));
    expectToServe(station);
}

}  // namespace

TEST(MemoryFault, WhileReadingFromACardIsFollowedByARequestThatSucceeds) {
    failEachAllocation<Asking>(
        [](Asking& station) {
            station.readObjects(station.lcmpObjects);
            station.readObject(*station.lcmpObjects[0]);
            station.readPropertys(station.all());
            station.readProperty(*station.all()[0]);
        },
        expectToAskAndServe, OnMalloc::quiet);
}

TEST(MemoryFault, WhileWritingToACardIsFollowedByARequestThatSucceeds) {
    failEachAllocation<Asking>(
        [](Asking& station) {
            station.reply = writeResponse(1, RESULT_OK, 0);
            station.writeObjects(station.lcmpObjects);
            station.writeObject(*station.lcmpObjects[0]);
            station.writePropertys(station.all());
            station.writeProperty(*station.all()[0]);
            station.reply = readResponse(1, RESULT_OK, 0, everything());
        },
        [](Asking& station) {
            station.reply = readResponse(1, RESULT_OK, 0, everything());
            expectToAskAndServe(station);
        },
        OnMalloc::quiet);
}

// ---------------------------------------------------------------- events

namespace {

/// A station all of whose events have been sent.
struct Reporting : Station {
    Reporting() {
        eventHandler();
        eventHandler();
    }

    /// Changes this many variables.
    void change(int value) {
        for (const unsigned int type : {1U, 2U, 3U, 5U, 10U, 11U}) {
            LcmpProperty& changed = *propertyOf(variableOf(type));
            switch (type) {
                case UINT16:
                    changed.set(static_cast<unsigned short>(value));
                    break;
                case UINT8:
                    changed.set(static_cast<unsigned char>(value));
                    break;
                case INT32:
                    changed.set(value);
                    break;
                case UNIX_TIME:
                    changed.set(static_cast<long long>(value));
                    break;
                default:
                    changed.set(static_cast<unsigned int>(value));
            }
        }
    }

    LcmpProperty* propertyOf(unsigned int oid) {
        for (LcmpObject* object : lcmpObjects) {
            if (LcmpProperty* property = object->getPropFromOID(oid))
                return property;
        }
        return nullptr;
    }
};

}  // namespace

TEST(MemoryFault, WhileEventsAreCollectedIsFollowedByEventsThatAreSent) {
    failEachAllocation<Reporting>(
        [](Reporting& station) {
            station.change(5);
            station.eventHandler();
        },
        [](Reporting& station) {
            station.eventHandler();
            EXPECT_EQ(Walk(station.sent, amiHeader).elements.size(), 6U) << "a change is not reported";
            station.sendings = 0;
            station.change(9);
            EXPECT_EQ(station.eventHandler(), 6);
            EXPECT_EQ(station.sendings, 1);
            EXPECT_EQ(Walk(station.sent, amiHeader).elements.size(), 6U);
            expectToServe(station);
        });
}

TEST(MemoryFault, AtTheVeryFirstEventIsAnErrorLineAndTheEndOfEventsOnly) {
    Station station;
    LcmpProperty& property = *station.propertyAt(0);
    const MemoryFault fault = workWithFault(0, [&] { station.addToAmi(&property, false); });
    EXPECT_EQ(fault.asker, Asker::newNothrow);
    EXPECT_FALSE(fault.threw);
    EXPECT_EQ(fault.errorLines, 1);
    const CapturedLog log(levelError);
    station.addToAmi(&property, true);
    EXPECT_EQ(log.count("ERROR", "invalid ptr"), 1) << log.all();
    EXPECT_EQ(station.sendings, 0);
    expectToServe(station);
}

// ---------------------------------------------------------------- texts

TEST(MemoryFault, WhileACardIsPrintedLeavesNothingBehind) {
    failEachAllocation<Station>([](Station& station) { station.print(); }, expectToServe);
}
