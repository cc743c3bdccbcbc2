// A card with a variable of every type, and what the rules of the wire say it owes. Each frame that is sent
// to it lies against a page that nobody may touch, and then everything must be as the rules say:
//
//   - whether it was handled, and the answer, to the byte;
//   - every value: those that a refused frame names are as they were;
//   - the log: a refusal is at least one ERROR line, and whatever is done as asked is none.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "capturedLog.h"
#include "guardedRoom.h"
#include "lcmpProtocolBase.h"
#include "wireRules.h"

constexpr unsigned int clockRef = 0x11800002;   // UINT8; takes 0 to 3 and 128
constexpr unsigned int countdown = 0x0200000A;  // INT32
constexpr unsigned int shortText = 0x04800010;  // STRING; takes at most 1000 bytes
constexpr unsigned int heldArray = 0x0480000E;  // BYTE_ARRAY of four bytes
constexpr unsigned int served = 0x03800001;     // no object has it, the application serves it
constexpr unsigned int failing = 0x03800002;    // judged good, then not served
constexpr unsigned int refused = 0x03800003;    // nobody knows it

/// The variable of this type; all but the array take every value.
constexpr unsigned int variableOf(unsigned int type) { return 0x04800000 + type; }

inline Stranger strangerOf(unsigned int oid) {
    return oid == served ? Stranger::served : oid == failing ? Stranger::failing : Stranger::refused;
}

inline std::vector<Variable> judgedVariables() {
    const auto zeros = [](std::size_t count) { return std::string(count, '\0'); };
    return {
        {0x11800000, BOOLEAN, zeros(1)},
        {0x11800001, UINT64, zeros(8)},
        {clockRef, UINT8, "\x80", false, [](Bytes v) { return byteAt(v, 0) <= 3 || byteAt(v, 0) == 128; }},
        {0x10800000, STRING, "xxx", true},
        {0x10800001, UINT8, zeros(1), true},
        {0x02000000, STRING, "xxx"},
        {countdown, INT32, zeros(4)},
        {0x51404000, INT32, bytes("00000014"), true},
        {0x51404001, INT32, bytes("00000014"), true},
        {0x51404002, INT32, bytes("00000014"), true},
        {0x51404003, INT32, bytes("00000014"), true},
        {variableOf(UINT64), UINT64, zeros(8)},
        {variableOf(UINT32), UINT32, zeros(4)},
        {variableOf(UINT16), UINT16, zeros(2)},
        {variableOf(UINT8), UINT8, zeros(1)},
        {variableOf(INT64), INT64, zeros(8)},
        {variableOf(INT32), INT32, zeros(4)},
        {variableOf(INT16), INT16, zeros(2)},
        {variableOf(INT8), INT8, zeros(1)},
        {variableOf(BOOLEAN), BOOLEAN, zeros(1)},
        {variableOf(STRING), STRING, ""},
        {variableOf(IPv4ADDRESS), IPv4ADDRESS, zeros(4)},
        {variableOf(UNIX_TIME), UNIX_TIME, zeros(8)},
        {variableOf(BYTE_ARRAY), BYTE_ARRAY, ""},
        {variableOf(MAC_ADDRESS), MAC_ADDRESS, zeros(6)},
        {heldArray, BYTE_ARRAY, zeros(4)},
        {shortText, STRING, "short", false, [](Bytes v) { return v.size() <= 1000; }},
    };
}

/// The property for a line of the table, as an application makes it.
class JudgedProperty {
public:
    static LcmpProperty* make(const Variable& variable) {
        switch (variable.type) {
            case UINT64:
                return numeric<unsigned long long>(variable);
            case UINT32:
                return numeric<unsigned int>(variable);
            case UINT16:
                return numeric<unsigned short>(variable);
            case UINT8:
                return numeric<unsigned char>(variable);
            case INT64:
                return numeric<long long>(variable);
            case INT32:
                return numeric<int>(variable);
            case INT16:
                return numeric<short>(variable);
            case INT8:
                return numeric<signed char>(variable);
            case BOOLEAN:
                return new TypeProperty<bool>(idOf(variable), "truth", accessOf(variable), false);
            case STRING:
                return withRule<TextRule>(variable, [&](TextRule* rule) {
                    return new StringProperty(idOf(variable), "text", accessOf(variable), variable.value,
                                              rule, true);
                });
            case IPv4ADDRESS:
                return new IpAddressProperty(idOf(variable), "address", accessOf(variable), 0U, true);
            case UNIX_TIME:
                return new UnixTimeProperty(idOf(variable), "time", accessOf(variable), 0, true);
            case BYTE_ARRAY:
                return new HeldArray(idOf(variable), variable.value);
            default:
                return new MacAddressProperty(idOf(variable), "mac", accessOf(variable), std::string(), true);
        }
    }

    static bool isTable(unsigned int oid) { return oid >> 30 == 1; }
    static bool isCommon(unsigned int oid) { return (oid >> 28 & 1) != 0; }
    static unsigned int objectIdOf(unsigned int oid) {
        return isTable(oid) ? oid >> 22 & 0x3F : oid >> 23 & 0x1F;
    }
    static unsigned int rowOf(unsigned int oid) { return isTable(oid) ? oid & 0x3FFF : 0; }

private:
    static unsigned int idOf(const Variable& variable) {
        return isTable(variable.oid) ? variable.oid >> 14 & 0xFF : variable.oid & 0x7FFFFF;
    }

    static IfcCardVarAccessType accessOf(const Variable& variable) {
        return variable.readOnly ? IFC_CARD_VAR_READ_ONLY : IFC_CARD_VAR_WRITABLE;
    }

    template <typename T>
    class NumberRule : public TypeProperty<T>::TypeValueCheck {
    public:
        explicit NumberRule(std::function<bool(Bytes)> takes) : m_takes(std::move(takes)) {}
        bool checkValue(T value) override {
            return m_takes(bigEndian(static_cast<unsigned long long>(value), sizeof value));
        }

    private:
        std::function<bool(Bytes)> m_takes;
    };

    class TextRule : public StringProperty::StringValueCheck {
    public:
        explicit TextRule(std::function<bool(Bytes)> takes) : m_takes(std::move(takes)) {}
        bool checkValue(std::string value) override { return m_takes(value); }

    private:
        std::function<bool(Bytes)> m_takes;
    };

    /// With a buffer of its own and its bytes on the wire, as an application's array has. A length of 0 is as
    /// the library has it.
    class HeldArray : public ArrayProperty {
    public:
        HeldArray(unsigned int id, const std::string& value)
            : ArrayProperty(id, "array", IFC_CARD_VAR_WRITABLE, true) {
            if (!value.empty())
                m_buffer = static_cast<unsigned char*>(std::calloc(value.size(), 1));
            m_length = m_buffer != nullptr ? static_cast<unsigned int>(value.size()) : 0;
        }

        int serialize(char* buffer, int size) override {
            const int written = ArrayProperty::serialize(buffer, size);
            if (written > 0 && m_buffer != nullptr)
                std::copy_n(m_buffer, m_length, buffer + 7);
            return written;
        }
    };

    /// A rule is its property's as soon as there is one.
    template <typename Rule, typename Make>
    static LcmpProperty* withRule(const Variable& variable, const Make& make) {
        auto rule = variable.takes ? std::make_unique<Rule>(variable.takes) : nullptr;
        LcmpProperty* property = make(rule.get());
        rule.release();
        return property;
    }

    template <typename T>
    static LcmpProperty* numeric(const Variable& variable) {
        const auto def = static_cast<T>(number(variable.value, 0, variable.value.size()));
        return withRule<NumberRule<T>>(variable, [&](NumberRule<T>* rule) {
            return new TypeProperty<T>(idOf(variable), "number", accessOf(variable), def, rule, true);
        });
    }
};

/// The card itself.
class PlainCard : public LcmpProtocolBase {
public:
    explicit PlainCard(const std::vector<Variable>& variables) {
        for (const Variable& variable : variables) {
            LcmpObject& owner = ownerOf(variable.oid);
            std::unique_ptr<LcmpProperty> property(JudgedProperty::make(variable));
            m_properties[variable.oid] = property.get();
            EXPECT_TRUE(owner.addProp(property.get(), JudgedProperty::rowOf(variable.oid)));
            property.release();
        }
        sent.reserve(70000);
    }

    bool sendMessage(LCMPMessage* message) override {
        ++sendings;
        sent.resize(static_cast<std::size_t>(message->getHeaderSize() + message->sizeOfTlvs()));
        return message->serialize(sent.data(), static_cast<int>(sent.size())) != 0;
    }

    std::uint8_t checkTlvOld(OldStyleProperty* property, bool) const override {
        return strangerOf(property->getOid()) == Stranger::refused ? RESULT_GENERAL_ERROR : RESULT_OK;
    }

    bool handleLcmpMsgOld(OldStyleProperty* property, bool) override {
        return strangerOf(property->getOid()) == Stranger::served;
    }

    bool amiMessageHandler(std::vector<LcmpProperty*>) override { return true; }

    void hasHadRequest(std::uint16_t id, const char* peer) {
        LCMPRequest request;
        request.setMessageId(id);
        checkMsgId(&request, peer);
    }

    /// Every value, in the order of the OIDs, as elements.
    Bytes values() {
        std::size_t size = 0;
        for (const auto& entry : m_properties)
            size += append(*entry.second, size);
        return Bytes(m_values).substr(0, size);
    }

    /// One of them.
    Bytes value(unsigned int oid) { return Bytes(m_values).substr(0, append(*m_properties.at(oid), 0)); }

    std::string sent;  // the last frame
    int sendings = 0;

private:
    std::size_t append(LcmpProperty& property, std::size_t size) {
        const int room = static_cast<int>(m_values.size() - size);
        const int written = property.serialize(m_values.data() + size, room);
        EXPECT_GE(written, 7);
        return static_cast<std::size_t>(written);
    }

    LcmpObject& ownerOf(unsigned int oid) {
        using P = JudgedProperty;
        auto& owner = m_objects[oid >> 22];
        if (owner == nullptr) {
            if (P::isTable(oid))
                owner = std::make_unique<LcmpTable>("table", P::objectIdOf(oid), P::isCommon(oid), 4U);
            else
                owner = std::make_unique<LcmpScalar>("scalar", P::objectIdOf(oid), P::isCommon(oid));
            registerObject(owner.get());
        }
        return *owner;
    }

    std::map<unsigned int, std::unique_ptr<LcmpObject>> m_objects;
    std::map<unsigned int, LcmpProperty*> m_properties;
    std::string m_values = std::string(200000, '\0');
};

/// The card before its judge.
class JudgedCard {
public:
    static constexpr const char* controller = "192.0.2.5";

    JudgedCard() : card(judgedVariables()), rules(judgedVariables(), strangerOf) {
        card.hasHadRequest(0, controller);
    }

    /// Against the page behind, and then against the page in front.
    void send(Bytes frame) {
        sendGuarded(m_room.atEnd(frame));
        sendGuarded(m_room.atBeginning(frame));
    }

    /// A frame that lies in guarded memory already.
    void sendGuarded(Bytes frame) {
        judge(frame, [this] { return card.values() == rules.values(); });
    }

    /// One of tens of thousands that name these variables and no others. Those are looked at each time; the
    /// others now and then, and at last: what no frame names, none puts right again.
    void sendGuarded(Bytes frame, const std::vector<unsigned int>& named) {
        if (++m_sent % 64 == 0) {
            sendGuarded(frame);
            return;
        }
        judge(frame, [&] {
            return std::all_of(named.begin(), named.end(),
                               [this](unsigned int oid) { return rules.isHeldAs(oid, card.value(oid)); });
        });
    }

    /// The card goes on as if nothing had been.
    void expectToWork() {
        const std::string id = bigEndian(++m_goodId, 2);
        const std::string value = bigEndian(m_goodId, 4);
        const std::string writing = "OTN1" + bytes("01 02") + id + bytes("0200000A 05 0004") + value;
        const std::string reading = "OTN1" + bytes("01 01") + id + bytes("0200000A 05 0000");
        sendGuarded(m_room.atEnd(writing));
        EXPECT_TRUE(resultIsGood()) << hex(card.sent);
        sendGuarded(m_room.atEnd(reading));
        EXPECT_TRUE(resultIsGood()) << hex(card.sent);
        EXPECT_EQ(hex(card.sent.substr(std::min<std::size_t>(18, card.sent.size()))), hex(value));
    }

    PlainCard card;
    WireRules rules;

private:
    template <typename ValuesAreAsDue>
    void judge(Bytes frame, const ValuesAreAsDue& valuesAreAsDue) {
        m_log.errors = 0;
        card.sendings = 0;
        card.sent.clear();
        const bool handled = card.handleLcmpMsg(static_cast<int>(frame.size()), frame.data(), controller);
        const WireRules::Due due = rules.dueTo(frame);
        const bool good = handled == due.handled && card.sent == due.answer &&
                          card.sendings == (due.answer.empty() ? 0 : 1) &&
                          (m_log.errors == 0) == isQuiet(due) && valuesAreAsDue();
        if (!good)
            report(frame, handled, due);
    }

    /// Whether there is nothing to complain of in the log. That the application does not serve a variable,
    /// and that a response would be too long, are no faults of the frame: there the result tells, not the
    /// log.
    static bool isQuiet(const WireRules::Due& due) {
        if (due.answer.empty())
            return due.handled;
        const unsigned int result = byteAt(due.answer, 8);
        return result == RESULT_OK || result == RESULT_DUPLICATE_MSG || result == RESULT_LOST_MSG ||
               result == RESULT_TOO_LONG || result == RESULT_CANNOT_EXEC;
    }

    bool resultIsGood() const {
        return card.sent.size() >= responseHeader &&
               (card.sent[8] == RESULT_OK || card.sent[8] == RESULT_DUPLICATE_MSG ||
                card.sent[8] == RESULT_LOST_MSG);
    }

    void report(Bytes frame, bool handled, const WireRules::Due& due) {
        const auto shortened = [](Bytes data) {
            return std::to_string(data.size()) + " bytes: " + hex(std::string(data.substr(0, 80)));
        };
        ADD_FAILURE() << "frame    " << shortened(frame) << "\nhandled  " << handled << ", due "
                      << due.handled << "\nanswered " << shortened(card.sent) << "\ndue      "
                      << shortened(due.answer) << "\nsendings " << card.sendings << ", errors "
                      << m_log.errors << "\nvalues "
                      << (card.values() == rules.values() ? "as due" : "not as due");
    }

    GuardedRoom m_room{70000};
    LogCounter m_log{levelError};
    unsigned int m_goodId = 0;
    unsigned int m_sent = 0;
};
