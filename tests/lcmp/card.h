// A small card under test, and what one says to it: `card.write({{bpClkRef, UINT8, "04"}})`, then
// `card.answer()`. Its hooks keep a journal of what ran, in order.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "capturedLog.h"
#include "frameBuilder.h"
#include "testEndpoint.h"

constexpr unsigned int reboot = 0x11800000;    // control.reboot, BOOLEAN
constexpr unsigned int utcTime = 0x11800001;   // control.utcTime, UINT64, eventable
constexpr unsigned int bpClkRef = 0x11800002;  // control.bpClkRef, UINT8, 128; 0 to 3 and 128 are valid
constexpr unsigned int cardType = 0x10800000;  // identity.cardType, STRING, read-only, "xxx"
constexpr unsigned int hardwareVersion = 0x10800001;  // identity.hardwareVersion, UINT8, read-only, 0
constexpr unsigned int filename = 0x02000000;         // download.filename, STRING, "xxx"
constexpr unsigned int commitTimer = 0x0200000A;      // download.setCommitTimer, INT32, 0
constexpr unsigned int unknownOid = 0x03800001;       // group 7: no object has it
constexpr unsigned int otherUnknownOid = 0x03800002;

/// temperature[row].value, INT32, eventable.
constexpr unsigned int temperatureOf(unsigned int row) { return 0x51404000U + row; }

constexpr const char* reportingFile = "lcmpReporting.cpp";

inline std::string hexOf(const Elements& elements) { return hex(joined(elements)); }

using Journal = std::vector<std::string>;

/// Log lines are not written meanwhile.
class Silence {
public:
    Silence() : m_trace(g_traceObject) { g_traceObject = nullptr; }
    ~Silence() { g_traceObject = m_trace; }
    Silence(const Silence&) = delete;
    Silence& operator=(const Silence&) = delete;

private:
    TraceObject* m_trace;
};

inline std::string nameOf(LcmpProperty& property) {
    LcmpObject* owner = property.getOwner();
    if (owner == nullptr)
        return property.getName();
    const bool table = owner->getObjectType() == ifcCard::IFC_CARD_OBJECT_TABLE;
    return owner->getName() + (table ? "[" + std::to_string(property.getRow()) + "]." : ".") +
           property.getName();
}

/// A scalar or table whose hooks write to the journal and then do what the test wants.
template <typename Object>
class Journaled : public Object {
public:
    template <typename... Arguments>
    explicit Journaled(Journal& journal, Arguments&&... arguments)
        : Object(std::forward<Arguments>(arguments)...), m_journal(journal) {}

    bool update(LcmpProperty* property, unsigned int row) override {
        EXPECT_EQ(row, property->getRow());
        m_journal.push_back("update " + nameOf(*property));
        onUpdate(*property);
        return updateSucceeds;
    }

    bool updated(LcmpProperty* property, unsigned int row) override {
        EXPECT_EQ(row, property->getRow());
        m_journal.push_back("updated " + nameOf(*property));
        onUpdated(*property);
        return updatedSucceeds;
    }

    bool updateSucceeds = true;
    bool updatedSucceeds = true;
    std::function<void(LcmpProperty&)> onUpdate = [](LcmpProperty&) {};
    std::function<void(LcmpProperty&)> onUpdated = [](LcmpProperty&) {};

private:
    Journal& m_journal;
};

class BpClkRefCheck : public TypeProperty<unsigned char>::TypeValueCheck {
public:
    bool checkValue(unsigned char value) override { return value <= 3 || value == 128; }
};

class Card : public TestEndpoint {
public:
    static constexpr const char* controller = "192.0.2.5";  // who asks

    /// Its first request from the controller has message id 7 and continues what came before.
    explicit Card(bool errorReplies = true) : TestEndpoint(errorReplies) {
        addControl();
        addIdentity();
        addDownload();
        addTemperature();
        for (LcmpObject* object : std::vector<LcmpObject*>{&control, &identity, &download, &temperature})
            registerObject(object);
        expectNext(7);
    }

    // ------------------------------------------------------------ the controller's side

    /// Requests one message. Results are read with answer() or answerFrame().
    bool read(const Elements& elements) { return request(readRequest(m_nextId, elements)); }
    bool write(const Elements& elements) { return request(writeRequest(m_nextId, elements)); }

    /// Any frame, cut or bent. The next read or write continues with its message id + 1.
    bool request(const std::string& requestFrame, const char* from = controller) {
        m_asked = requestFrame;
        if (requestFrame.size() >= requestHeader)
            m_nextId = static_cast<unsigned int>(number(requestFrame, 6, 2) + 1) & 0xFFFF;
        const auto before = sent.size();
        const bool handled = receive(requestFrame, from);
        m_answers = sent.size() - before;
        return handled;
    }

    /// The message id that the card will take for the next one of the controller.
    void expectNext(unsigned int id) {
        const Silence silence;
        LCMPRequest before;
        before.setMessageId(static_cast<std::uint16_t>(id - 1));
        checkMsgId(&before, controller);
        m_nextId = id;
    }

    /// What was answered to the last request, from the result code on: "00 00 00 11 80 00 02 03 00 01 80".
    /// The bytes before it are as that request demands.
    std::string answer() const {
        EXPECT_EQ(m_answers, 1U);
        if (sent.empty())
            return "no answer";
        EXPECT_LE(sent.back().size(), 1200U);
        const auto action = static_cast<unsigned int>(m_asked.at(5) == 1 ? 3 : 4);
        EXPECT_EQ(hex(sent.back().substr(0, 8)),
                  hex(header(action, static_cast<unsigned int>(number(m_asked, 6, 2)))));
        return hex(sent.back().substr(8));
    }

    // ------------------------------------------------------------ the card's side

    LcmpProperty& property(unsigned int oid) {
        const Silence silence;
        for (LcmpObject* object : lcmpObjects) {
            LcmpProperty* found = object != nullptr ? object->getPropFromOID(oid) : nullptr;
            if (found != nullptr)
                return *found;
        }
        throw std::invalid_argument("the card has no such variable");
    }

    template <typename T>
    T value(unsigned int oid) {
        T out{};
        property(oid).get(&out);
        return out;
    }

    bool handleLcmpMsgOld(OldStyleProperty* prop, bool write) override {
        journal.push_back(std::string(write ? "serve write of " : "serve read of ") +
                          hex(bigEndian(prop->getOid(), 4)));
        return servesLegacy ? servesLegacy(*prop, write) : LcmpProtocolBase::handleLcmpMsgOld(prop, write);
    }

    std::uint8_t checkTlvOld(OldStyleProperty* prop, bool write) const override {
        journal.push_back(std::string(write ? "judge write of " : "judge read of ") +
                          hex(bigEndian(prop->getOid(), 4)));
        return judgesLegacy ? judgesLegacy(*prop, write) : LcmpProtocolBase::checkTlvOld(prop, write);
    }

    bool amiMessageHandler(std::vector<LcmpProperty*> props) override {
        std::string line = "events:";
        for (LcmpProperty* prop : props)
            line += " " + nameOf(*prop);
        journal.push_back(line);
        return acceptsEvents || LcmpProtocolBase::amiMessageHandler(props);
    }

    /// Elements without an object are judged good and served by doing nothing, unless a test says how.
    void takesLegacy() {
        judgesLegacy = [](OldStyleProperty&, bool) { return std::uint8_t{RESULT_OK}; };
        servesLegacy = [](OldStyleProperty&, bool) { return true; };
    }

    mutable Journal journal;
    Journaled<LcmpScalar> control{journal, "control", 3U, true};
    Journaled<LcmpScalar> identity{journal, "identity", 1U, true};
    Journaled<LcmpScalar> download{journal, "download", 4U, false};
    Journaled<LcmpTable> temperature{journal, "temperature", 5U, true, 4U};

    std::function<std::uint8_t(OldStyleProperty&, bool write)> judgesLegacy;  // empty: the base does
    std::function<bool(OldStyleProperty&, bool write)> servesLegacy;          // empty: the base does
    bool acceptsEvents = false;                                               // false: the base does

private:
    static constexpr auto writable = IFC_CARD_VAR_WRITABLE;
    static constexpr auto readOnly = IFC_CARD_VAR_READ_ONLY;

    void addControl() {
        control.addProp(new TypeProperty<bool>(0, "reboot", writable, false), 0);
        control.addProp(new TypeProperty<unsigned long long>(1, "utcTime", writable, 0ULL, true), 0);
        control.addProp(
            new TypeProperty<unsigned char>(2, "bpClkRef", writable, static_cast<unsigned char>(128),
                                            new BpClkRefCheck, true),
            0);
    }

    void addIdentity() {
        identity.addProp(new StringProperty(0, "cardType", readOnly, "xxx"), 0);
        identity.addProp(
            new TypeProperty<unsigned char>(1, "hardwareVersion", readOnly, static_cast<unsigned char>(0)),
            0);
    }

    void addDownload() {
        download.addProp(new StringProperty(0, "filename", writable, "xxx"), 0);
        download.addProp(new TypeProperty<int>(10, "setCommitTimer", writable, 0), 0);
    }

    void addTemperature() {
        for (unsigned int row = 0; row < 4; ++row)
            temperature.addProp(new TypeProperty<int>(1, "value", readOnly, 20, true), row);
    }

    std::string m_asked;
    std::size_t m_answers = 0;
    unsigned int m_nextId = 0;
};

// ---------------------------------------------------------------- answers

/// The body of an answer that refuses: result, position of the element at fault, nothing else.
inline std::string refused(unsigned int result, unsigned int index) {
    return hex(bigEndian(result, 1) + bigEndian(index, 2));
}

/// The body of an answer that gives values.
inline std::string answered(unsigned int result, const Elements& elements) {
    return hex(bigEndian(result, 1) + bigEndian(0, 2) + joined(elements));
}

inline std::string done() { return refused(RESULT_OK, 0); }
