#include "card.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>

#include "exactBuffer.h"
#include "invariants.h"

namespace fuzz {

namespace {

constexpr auto writable = IFC_CARD_VAR_WRITABLE;
constexpr auto readOnly = IFC_CARD_VAR_READ_ONLY;

// Reports what a peer has stored to the card, as applications do.
template <typename Object>
class Hooked : public Object {
public:
    using Object::Object;

    bool updated(LcmpProperty* property, unsigned int /*row*/) override { return card->updated(*property); }

    Card* card = nullptr;
};

/// An array that holds bytes: it sends them, where the base sends its members.
class HeldArray : public ArrayProperty {
public:
    HeldArray(unsigned int id, unsigned int size) : ArrayProperty(id, "held", writable, true) {
        m_buffer = static_cast<unsigned char*>(std::calloc(size, 1));
        m_length = size;
    }

    int serialize(char* buffer, int size) override {
        char* value = startElement(buffer, size, m_length, getType());
        if (value == nullptr)
            return -1;
        std::memcpy(value, m_buffer, m_length);
        return static_cast<int>(elementHeader + m_length);
    }
};

class BpClkRefCheck : public TypeProperty<unsigned char>::TypeValueCheck {
public:
    bool checkValue(unsigned char value) override { return value <= 3 || value == 128; }
};

class GuidCheck : public StringProperty::StringValueCheck {
public:
    bool checkValue(std::string value) override { return value.size() == 31; }
};

constexpr std::size_t macSize = 6;
constexpr int lowest = -5;
constexpr int highest = 1000;

}  // namespace

// ---------------------------------------------------------------- manners

Manners Manners::of(unsigned int mode) {
    const auto bit = [mode](unsigned int position) { return (mode >> position & 1U) != 0; };
    return {!bit(1), bit(2), bit(3), !bit(4), bit(5), bit(6), !bit(7)};
}

unsigned int Manners::judge(unsigned int oid) const {
    if (!takesLegacy)
        return RESULT_GENERAL_ERROR;
    return (oid & 1U) == 0 ? RESULT_OK : 200U + (oid & 7U);
}

bool Manners::serve(unsigned int oid) const { return servesLegacy || (oid & 3U) != 0; }

bool Manners::update(unsigned int id) const { return !refusesUpdates || (id & 1U) == 0; }

// ---------------------------------------------------------------- the card

Card::Card(const Manners& how) : LcmpProtocolBase(how.answersErrors), manners(how) {
    addControl();
    addIdentity();
    addTemperature();
    addOneOfEach();
    for (LcmpObject* object : objects)
        registerObject(object);
}

Card::~Card() { forgetProcess(); }

template <typename Object>
LcmpObject* Card::make(const char* name, unsigned int id, bool common, unsigned int rows) {
    if (manners.hooked) {
        auto object = std::make_unique<Hooked<Object>>(name, id, common, rows);
        object->card = this;
        m_owned.push_back(std::move(object));
    } else {
        m_owned.push_back(std::make_unique<Object>(name, id, common, rows));
    }
    objects.push_back(m_owned.back().get());
    return objects.back();
}

LcmpObject* Card::makeScalar(const char* name, unsigned int id, bool common) {
    return make<LcmpScalar>(name, id, common, 1);
}

LcmpObject* Card::makeTable(const char* name, unsigned int id, unsigned int rows) {
    return make<LcmpTable>(name, id, true, rows);
}

void Card::add(LcmpObject* object, LcmpProperty* property, const std::string& value,
               std::function<bool(const std::string&)> accepts, unsigned int row) {
    object->addProp(property, row);
    const unsigned int oid = object->getOID(property->getId(), row);
    variables[oid] = {oid,
                      static_cast<unsigned int>(property->getType()),
                      bigEndian(oid, 4) + bigEndian(static_cast<unsigned int>(property->getType()), 1),
                      property->getAccess() == readOnly,
                      property->isEventable(),
                      value,
                      value,
                      std::move(accepts),
                      property};
}

void Card::addControl() {
    LcmpObject* control = makeScalar("control", 3, true);
    add(control, new TypeProperty<bool>(0, "reboot", writable, false), bigEndian(0, 1));
    add(control, new TypeProperty<unsigned long long>(1, "utcTime", writable, 0ULL, true), bigEndian(0, 8));
    add(control,
        new TypeProperty<unsigned char>(2, "bpClkRef", writable, static_cast<unsigned char>(128),
                                        new BpClkRefCheck, true),
        bigEndian(128, 1), [](const std::string& value) {
            const auto number = static_cast<unsigned char>(value[0]);
            return number <= 3 || number == 128;
        });
    add(control, new StringProperty(3, "guid", writable, "", new GuidCheck), "",
        [](const std::string& value) { return value.size() == 31; });
}

void Card::addIdentity() {
    LcmpObject* identity = makeScalar("identity", 1, true);
    add(identity, new StringProperty(0, "cardType", readOnly, "xxx"), "xxx");
    add(identity,
        new TypeProperty<unsigned char>(1, "hardwareVersion", readOnly, static_cast<unsigned char>(0)),
        bigEndian(0, 1));
}

void Card::addTemperature() {
    constexpr unsigned int rows = 4;
    LcmpObject* temperature = makeTable("temperature", 5, rows);
    for (unsigned int row = 0; row < rows; ++row) {
        add(temperature, new StringProperty(0, "name", readOnly, "%s%n"), "%s%n", nullptr, row);
        add(temperature, new TypeProperty<int>(1, "value", readOnly, 20, true), bigEndian(20, 4), nullptr,
            row);
    }
}

// Each id is the type's code; a second array follows them.
void Card::addOneOfEach() {
    LcmpObject* each = makeScalar("each", 9, false);
    const auto number = [this, each](unsigned int type, auto zero, auto* check, auto accepts) {
        using Number = decltype(zero);
        add(each, new TypeProperty<Number>(type, "number", writable, zero, check, true),
            bigEndian(0, sizeof zero), accepts);
    };
    const auto anyValue = [](const std::string&) { return true; };
    number(UINT64, 0ULL, static_cast<TypeProperty<unsigned long long>::TypeValueCheck*>(nullptr), anyValue);
    number(UINT32, 0U, new RangeCheckValue<unsigned int>(0, 0x7FFFFFFF),
           [](const std::string& value) { return static_cast<unsigned char>(value[0]) < 0x80; });
    number(UINT16, static_cast<unsigned short>(0), new RangeCheckValue<unsigned short>(0, highest),
           [](const std::string& value) { return numberAt(value, 0, 2) <= highest; });
    number(UINT8, static_cast<unsigned char>(0),
           static_cast<TypeProperty<unsigned char>::TypeValueCheck*>(nullptr), anyValue);
    number(INT64, 0LL, new RangeCheckValue<long long>(0, 0x7FFFFFFFFFFFFFFFLL),
           [](const std::string& value) { return static_cast<unsigned char>(value[0]) < 0x80; });
    number(INT32, 0, new RangeCheckValue<int>(lowest, highest), [](const std::string& value) {
        const auto signedValue = static_cast<std::int32_t>(numberAt(value, 0, 4));
        return signedValue >= lowest && signedValue <= highest;
    });
    number(INT16, static_cast<short>(0), static_cast<TypeProperty<short>::TypeValueCheck*>(nullptr),
           anyValue);
    number(INT8, static_cast<signed char>(0), new RangeCheckValue<signed char>(lowest, 100),
           [](const std::string& value) {
               const auto signedValue = static_cast<std::int8_t>(value[0]);
               return signedValue >= lowest && signedValue <= 100;
           });
    number(BOOLEAN, false, static_cast<TypeProperty<bool>::TypeValueCheck*>(nullptr), anyValue);
    add(each, new StringProperty(STRING, "text", writable, "", true), "");
    add(each, new IpAddressProperty(IPv4ADDRESS, "address", writable, 0U, true), bigEndian(0, 4));
    add(each, new UnixTimeProperty(UNIX_TIME, "time", writable, 0, true), bigEndian(0, 8));
    add(each, new ArrayProperty(BYTE_ARRAY, "array", writable, true), "");
    add(each, new MacAddressProperty(MAC_ADDRESS, "mac", writable, std::string(), true), bigEndian(0, 6));
    add(each, new HeldArray(MAC_ADDRESS + 1, 4), bigEndian(0, 4));
}

// ---------------------------------------------------------------- its application

bool Card::sendMessage(LCMPMessage* msg) {
    ExactBuffer frame(static_cast<std::size_t>(msg->getHeaderSize() + msg->sizeOfTlvs()), '*');
    FUZZ_REQUIRE(roundTrip, msg->serialize(frame.data(), frame.size()) != 0, "a message cannot be encoded");
    // With room to spare the frame is the same.
    ExactBuffer roomy(static_cast<std::size_t>(frame.size()) + 16, '*');
    FUZZ_REQUIRE(roundTrip,
                 msg->serializeFrame(roomy.data(), roomy.size()) == frame.size() &&
                     std::memcmp(roomy.data(), frame.data(), static_cast<std::size_t>(frame.size())) == 0,
                 "encoded into more room it is another frame");
    sent.push_back(frame.str());
    sentTo.push_back(msg->getPeerAddress());
    if (dynamic_cast<LCMPRequest*>(msg) != nullptr)
        replyBuffer = m_inHook ? writeResponse(0, 0, 0) + std::string(64, '*') : reply;
    return manners.sends;
}

bool Card::handleLcmpMsgOld(OldStyleProperty* prop, bool write) {
    if (!write && prop->getType() == STRING)
        prop->set(std::string("legacy"));
    return manners.serve(prop->getOid());
}

std::uint8_t Card::checkTlvOld(OldStyleProperty* prop, bool /*write*/) const {
    return static_cast<std::uint8_t>(manners.judge(prop->getOid()));
}

bool Card::amiMessageHandler(std::vector<LcmpProperty*> props) { return props.size() % 5 != 4; }

bool Card::updated(const LcmpProperty& property) {
    askInHook();
    return manners.update(property.getId());
}

// While a reply is being applied its frame is replaced, and the requests' own state with it.
void Card::askInHook() {
    if (!manners.asksInHooks || m_inHook)
        return;
    m_inHook = true;
    ++asked;
    readProperty(*variables.begin()->second.property);
    m_inHook = false;
}

namespace {

bool isRequest(const std::string& frame) {
    return frame.size() < requestHeader || (frame.compare(0, 5, "OTN1\x01") == 0 &&
                                            (frame[5] == LCMP_ACTION_READ || frame[5] == LCMP_ACTION_WRITE));
}

}  // namespace

bool Card::serveRequest(const std::string& frame, const char* peer) {
    LCMPResponse response(peer != nullptr ? peer : "");
    if (frame.size() >= requestHeader) {
        response.setAction(frame[5] == LCMP_ACTION_READ ? LCMP_ACTION_READ_RESPONSE
                                                        : LCMP_ACTION_WRITE_RESPONSE);
        response.setMessageId(static_cast<std::uint16_t>(numberAt(frame, 6, 2)));
    }
    ExactBuffer buffer(frame);
    return handleRequest(buffer.size(), buffer.data(), response);
}

bool Card::receive(const std::string& frame, const char* peer, bool ownDispatch) {
    if (ownDispatch && isRequest(frame))
        return serveRequest(frame, peer);
    ExactBuffer buffer(frame);
    return handleLcmpMsg(buffer.size(), buffer.data(), peer);
}

void Card::forgetProcess() {
    const LCMPRequest first;
    for (unsigned int i = 0; i < PeersAccount::followed; ++i)
        checkMsgId(&first, Peer::of(i).name);
    checkMsgId(&first, "");
    addToAmi(objects.front()->getProperties().front(), false);
    addToAmi(nullptr, true);
    forgetSent();
}

void Card::forgetSent() {
    sent.clear();
    sentTo.clear();
}

// ---------------------------------------------------------------- peers

Peer Peer::of(unsigned int number) {
    static constexpr std::array<Peer, 7> peers = {{{"192.0.2.1", true},
                                                   {"192.0.2.2", true},
                                                   {"255.255.255.255", true},
                                                   {"0.0.0.0", true},
                                                   {"192.0.2.5", true},
                                                   {nullptr, true},
                                                   {"%s%n.example", false}}};
    // Where a place stays free nobody may take it: it would be lost to the next input.
    const std::size_t index = number % peers.size();
    return peers[index == 4 ? PeersAccount::followed - 1 : index];
}

unsigned int PeersAccount::followed = 4;

PeersAccount::PeersAccount() {
    for (unsigned int i = 0; i < followed; ++i)
        m_slots[i].address = Peer::of(i).name;
}

unsigned int PeersAccount::take(const std::string& peer, bool isAddress, unsigned int id) {
    if (!isAddress)
        return 17;
    const auto slot = std::find_if(m_slots.begin(), m_slots.end(),
                                   [&peer](const Slot& candidate) { return candidate.address == peer; });
    if (slot == m_slots.end())
        return 16;
    const unsigned int before = slot->lastId;
    slot->lastId = id;
    if (((before + 1) & 0xFFFF) == id)
        return RESULT_OK;
    return before == id ? RESULT_DUPLICATE_MSG : RESULT_LOST_MSG;
}

// ---------------------------------------------------------------- the account

Variable* Account::find(unsigned int oid) {
    const auto found = m_card.variables.find(oid & ~ignoredOidBit);
    return found != m_card.variables.end() ? &found->second : nullptr;
}

Outcome Account::answer(const std::string& frame, unsigned int result, unsigned int index,
                        const std::string& elements) const {
    Outcome outcome;
    outcome.handled = m_manners.sends;
    outcome.answered = true;
    outcome.answer = header(frame[5] == LCMP_ACTION_READ ? 3 : 4, numberAt(frame, 6, 2)) +
                     bigEndian(result, 1) + bigEndian(index, 2) + elements;
    return outcome;
}

Outcome Account::take(const std::string& frame, const std::string& peer, bool isAddress) {
    Outcome nothing;
    if (frame.size() < requestHeader)
        return nothing;
    nothing.handled = frame.compare(0, 4, "OTN1") != 0;
    if (nothing.handled)
        return nothing;
    const bool wrongVersion = frame[4] != 1;
    if (wrongVersion || frame[5] < 1 || frame[5] > 5) {
        const unsigned int result = wrongVersion ? RESULT_PROTOCOL_VERSION_MISMATCH : RESULT_INVALID_ACTION;
        return m_manners.answersErrors ? answer(frame, result, 0) : nothing;
    }
    if (frame[5] <= LCMP_ACTION_WRITE)
        return takeRequest(frame, m_peers.take(peer, isAddress, numberAt(frame, 6, 2)));
    return frame[5] == LCMP_ACTION_AMI ? takeAmi(frame) : takeResponse(frame);
}

std::vector<Account::Resolved> Account::resolve(const WireWalk& walk) {
    std::vector<Resolved> resolved;
    for (const WireElement& element : walk.elements)
        resolved.push_back({element, find(element.oid)});
    return resolved;
}

// In the order in which a peer is told: room, identity, type, length, access, value.
unsigned int Account::faultOf(const Variable& variable, const WireElement& element, bool checkValue) const {
    const std::size_t read = variable.type == MAC_ADDRESS ? macSize : widthOf(variable.type);
    if (element.oid != variable.oid)
        return RESULT_WRONG_OID;
    if (element.type != variable.type)
        return RESULT_WRONG_TYPE;
    if (variable.type != STRING && element.value.size() != variable.value.size())
        return RESULT_WRONG_LEN;
    if (element.space < read)
        return RESULT_WRONG_LEN;
    if (!checkValue)
        return RESULT_OK;
    if (variable.readOnly)
        return RESULT_READ_ONLY;
    return variable.accepts && !variable.accepts(element.value) ? RESULT_WRONG_VALUE : RESULT_OK;
}

unsigned int Account::fault(const Resolved& resolved, bool write) const {
    if (resolved.variable == nullptr)
        return m_manners.judge(resolved.element.oid) & 0xFFU;
    return write ? faultOf(*resolved.variable, resolved.element, true) : static_cast<unsigned int>(RESULT_OK);
}

Outcome Account::takeRequest(const std::string& frame, unsigned int idResult) {
    const WireWalk walked = walk(frame, requestHeader);
    if (!walked.whole)
        return answer(frame, RESULT_WRONG_LEN, static_cast<unsigned int>(walked.elements.size()));
    const std::vector<Resolved> elements = resolve(walked);
    const bool write = frame[5] == LCMP_ACTION_WRITE;
    unsigned int index = 0;
    for (const Resolved& resolved : elements) {
        if (const unsigned int result = fault(resolved, write))
            return answer(frame, result, index);
        ++index;
    }
    return write ? takeWrite(frame, idResult, elements) : takeRead(frame, idResult, elements);
}

Outcome Account::takeRead(const std::string& frame, unsigned int idResult,
                          const std::vector<Resolved>& elements) {
    std::string values;
    unsigned int legacy = 0;
    for (const Resolved& resolved : elements) {
        const WireElement& element = resolved.element;
        if (resolved.variable != nullptr) {
            values += resolved.variable->wire();
            continue;
        }
        if (!m_manners.serve(element.oid))
            return answer(frame, RESULT_CANNOT_EXEC, legacy);
        values += elementBytes(element.oid, element.type, element.type == STRING ? "legacy" : element.value);
        ++legacy;
    }
    if (responseHeader + values.size() > largestRead)
        return answer(frame, RESULT_TOO_LONG, 0);
    return answer(frame, idResult, 0, values);
}

void Account::countHook(Outcome& outcome) const {
    if (m_manners.hooked && m_manners.asksInHooks)
        ++outcome.hookRequests;
}

Outcome Account::takeWrite(const std::string& frame, unsigned int idResult,
                           const std::vector<Resolved>& elements) {
    for (const Resolved& resolved : elements) {
        if (resolved.variable != nullptr)
            resolved.variable->value = resolved.element.value;
        else if (!m_manners.serve(resolved.element.oid))
            return answer(frame, RESULT_CANNOT_EXEC, 0);
    }
    Outcome outcome = answer(frame, idResult, 0);
    for (const Resolved& resolved : elements) {
        if (resolved.variable == nullptr)
            continue;
        countHook(outcome);
        if (m_manners.hooked && !m_manners.update(resolved.variable->property->getId()))
            outcome.answer = answer(frame, RESULT_CANNOT_EXEC, 0).answer;
    }
    return outcome;
}

Outcome Account::takeResponse(const std::string& frame) {
    Outcome outcome;
    if (frame.size() < responseHeader)
        return outcome;
    const unsigned int result = numberAt(frame, 8, 1);
    if (result != RESULT_OK && result != RESULT_DUPLICATE_MSG && result != RESULT_LOST_MSG)
        return outcome;
    outcome.handled = frame[5] == LCMP_ACTION_WRITE_RESPONSE || apply(frame, responseHeader, outcome);
    return outcome;
}

Outcome Account::takeAmi(const std::string& frame) {
    Outcome outcome;
    if (frame.size() < amiHeader)
        return outcome;
    std::size_t accepted = 0;
    for (const Resolved& resolved : resolve(walk(frame, amiHeader))) {
        if (resolved.variable != nullptr && faultOf(*resolved.variable, resolved.element, false) == RESULT_OK)
            ++accepted;
    }
    outcome.handled = apply(frame, amiHeader, outcome) && accepted % 5 != 4;
    return outcome;
}

bool Account::apply(const std::string& frame, std::size_t headerSize, Outcome& outcome) {
    const WireWalk walked = walk(frame, headerSize);
    bool all = walked.whole;
    for (const Resolved& resolved : resolve(walked)) {
        if (resolved.variable == nullptr ||
            faultOf(*resolved.variable, resolved.element, false) != RESULT_OK) {
            all = false;
            continue;
        }
        resolved.variable->value = resolved.element.value;
        countHook(outcome);
    }
    return all;
}

// ---------------------------------------------------------------- comparing

namespace {

std::string told(const std::string& what, const std::string& frame, const std::string& wanted,
                 const std::string& found) {
    return what + "\nframe:  " + hex(frame) + "\nwanted: " + hex(wanted) + "\nfound:  " + hex(found);
}

}  // namespace

void Account::compare(const Outcome& outcome, const std::string& frame, const std::string& peer,
                      bool handled) const {
    const std::vector<std::string>& sent = m_card.sent;
    const std::size_t others = outcome.hookRequests;
    const std::string last = sent.empty() ? "" : sent.back();
    if (!outcome.answered)
        FUZZ_REQUIRE(silence, sent.size() == others,
                     told("sent to a frame that asks nothing", frame, "", last));
    FUZZ_REQUIRE(oneAnswer, sent.size() == others + (outcome.answered ? 1 : 0),
                 told("answered " + std::to_string(sent.size()) + " times", frame, outcome.answer, last));
    if (outcome.answered) {
        FUZZ_REQUIRE(smallAnswers, last.size() <= largestRead,
                     told("a long answer", frame, outcome.answer, last));
        FUZZ_REQUIRE(oneAnswer, m_card.sentTo.back() == peer, "answered to " + m_card.sentTo.back());
        FUZZ_REQUIRE(oneAnswer, last.substr(0, 8) == outcome.answer.substr(0, 8),
                     told("another request's answer", frame, outcome.answer, last));
        const bool idsDiffer =
            last[8] != outcome.answer[8] && (last[8] == 2 || last[8] == 3 || last[8] >= 16);
        FUZZ_REQUIRE(peersApart, !idsDiffer,
                     told("another message id's answer", frame, outcome.answer, last));
        FUZZ_REQUIRE(checkedWrites, last == outcome.answer,
                     told("another answer", frame, outcome.answer, last));
    }
    FUZZ_REQUIRE(repliesFit, handled == outcome.handled,
                 told("handled is " + std::to_string(handled), frame, outcome.answer, last));
    compareValues();
}

// Once a datagram for every variable: without an allocation as long as nothing is wrong.
void Account::compareValues() const {
    std::size_t largest = 0;
    for (const auto& entry : m_card.variables)
        largest = std::max(largest, entry.second.value.size());
    ExactBuffer wire(elementHeader + largest);
    for (const auto& entry : m_card.variables) {
        const Variable& variable = entry.second;
        const auto size = static_cast<int>(elementHeader + variable.value.size());
        const bool same =
            variable.property->serialize(wire.data(), size) == size &&
            std::memcmp(wire.data() + elementHeader, variable.value.data(), variable.value.size()) == 0 &&
            std::memcmp(wire.data(), variable.head.data(), variable.head.size()) == 0;
        FUZZ_REQUIRE(
            checkedWrites, same,
            told("another value", "", variable.wire(), wire.str().substr(0, static_cast<std::size_t>(size))));
    }
}

}  // namespace fuzz
