// An endpoint with one object, `control`, that serves as card and as controller, and what the tests say to
// it.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <string>
#include <vector>

#include "bytes.h"
#include "frameBuilder.h"
#include "lcmpUdpEndpoint.h"
#include "peer.h"

constexpr unsigned int clockOid =
    0x11800002;  // control.bpClkRef, UINT8, 128, eventable; 0 to 3 and 128 are valid
constexpr unsigned int serialOid = 0x11800003;  // control.guid, STRING, "serial"

/// The element of control.bpClkRef with this value.
inline Element clockIs(unsigned int value) { return Element::holding(clockOid, UINT8, bigEndian(value, 1)); }

class Station : public LcmpUdpEndpoint {
public:
    /// Listens on a free port, and asks once a request, waiting long: time-outs are for the tests that want
    /// them.
    explicit Station(const std::string& host = "127.0.0.1", bool errorReplies = true)
        : LcmpUdpEndpoint(errorReplies) {
        control.addProp(
            new TypeProperty<unsigned char>(2, "bpClkRef", IFC_CARD_VAR_WRITABLE, 128, new Check, true), 0);
        control.addProp(new StringProperty(3, "guid", IFC_CARD_VAR_WRITABLE, "serial"), 0);
        registerObject(&control);
        setTimeout(Milliseconds(10000));
        setTries(1);
        EXPECT_TRUE(open(host, 0)) << getLastError();
    }

    // ------------------------------------------------------------ as a card

    LcmpProperty& clock() { return *control.getProp(2, 0); }
    LcmpProperty& serial() { return *control.getProp(3, 0); }

    unsigned int clockValue() {
        unsigned char value = 0;
        clock().get(&value);
        return value;
    }

    void setClock(unsigned int value) { clock().set(static_cast<unsigned char>(value)); }

    /// Handles what is there; returns how many frames that were.
    int handleWaiting() { return poll(Milliseconds(0)); }

    // ------------------------------------------------------------ as a controller

    void asks(const Peer& peer) { EXPECT_TRUE(setTarget(peer.host(), peer.port())) << getLastError(); }
    bool readClock() { return readProperty(clock()); }

    bool writeClock(unsigned int value) {
        setClock(value);
        return writeProperty(clock());
    }

    // ------------------------------------------------------------ hooks

    bool amiMessageHandler(std::vector<LcmpProperty*> props) override {
        journal.push_back("event of " + std::to_string(props.size()));
        return true;
    }

    void frameReceived(const LcmpUdpAddress& from, const char* data, int size) override {
        forgetBefore(from, std::string(data, static_cast<std::size_t>(size)));
        senders.push_back(from);
        frames.push_back(std::string(data, static_cast<std::size_t>(size)));
        onFrame();
    }

    struct Control : LcmpScalar {
        Control() : LcmpScalar("control", 3, true) {}

        bool update(LcmpProperty*, unsigned int) override {
            onUpdate();
            return true;
        }

        bool updated(LcmpProperty*, unsigned int) override {
            onUpdated();
            return true;
        }

        std::function<void()> onUpdate = [] {};   // before a request reads or writes
        std::function<void()> onUpdated = [] {};  // after a value was taken
    };

    Control control;
    std::vector<std::string> journal;
    std::vector<LcmpUdpAddress> senders;  // of the frames handled
    std::vector<std::string> frames;      // the frames handled
    std::function<void()> onFrame = [] {};

    using LcmpProtocolBase::addToAmi;
    using LcmpProtocolBase::replyBuffer;

private:
    // The process remembers message ids for each address. The first request from one begins a history of its
    // own.
    void forgetBefore(const LcmpUdpAddress& from, const std::string& frame) {
        const bool request =
            frame.size() >= requestHeader && (number(frame, 4, 2) == 0x0101 || number(frame, 4, 2) == 0x0102);
        if (!request || !m_known.insert(from.host).second)
            return;
        LCMPRequest before;
        before.setMessageId(static_cast<std::uint16_t>(number(frame, 6, 2) - 1));
        checkMsgId(&before, lcmpUdpHostToText(from.host));
    }

    std::set<std::uint32_t> m_known;

    class Check : public TypeProperty<unsigned char>::TypeValueCheck {
    public:
        bool checkValue(unsigned char value) override { return value <= 3 || value == 128; }
    };
};

/// A function that does something the first time it is called, and nothing afterwards.
inline std::function<void()> once(std::function<void()> action) {
    return [action, done = false]() mutable {
        if (!done) {
            done = true;
            action();
        }
    };
}
