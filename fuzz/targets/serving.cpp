// A card that several peers send datagrams to, while its own application changes values and reports events.
// After each datagram the answer, the result and every value are what the account says.
#include <set>

#include "allocations.h"
#include "card.h"
#include "fuzzTarget.h"
#include "invariants.h"

namespace {

using fuzz::Account;
using fuzz::Card;
using fuzz::Input;
using fuzz::Outcome;
using fuzz::Peer;
using fuzz::Variable;

constexpr std::size_t mostPending = 50;
constexpr unsigned int mostAdded = 256;

/// The events that wait to be sent, a second time.
class EventsAccount {
public:
    explicit EventsAccount(Card& card) : m_card(card) {}

    /// The application has set a variable.
    void set(const Variable& variable, bool changed) {
        if (changed && variable.eventable)
            m_changed.insert(variable.oid);
    }

    void add(Variable& variable) {
        m_card.addToAmi(variable.property, false);
        collect(variable);
        compare();
    }

    void flush() {
        m_card.addToAmi(nullptr, true);
        send();
        compare();
    }

    /// The card looks for changes, and sends what waits.
    void report() {
        const int reported = m_card.eventHandler();
        FUZZ_REQUIRE(oneAnswer, reported == static_cast<int>(m_changed.size()),
                     "changes are reported twice or not at all");
        for (const LcmpObject* object : m_card.objects) {
            for (LcmpProperty* property : object->getProperties()) {
                if (m_changed.count(property->getOid()) != 0)
                    collect(m_card.variables.at(property->getOid()));
            }
        }
        m_changed.clear();
        send();
        compare();
    }

private:
    void collect(Variable& variable) {
        m_waiting.push_back(&variable);
        if (++m_count <= mostPending)
            return;
        expectEvent();
        m_count = 0;
    }

    void send() {
        if (m_count == 0)
            return;
        expectEvent();
        m_waiting.clear();
        m_count = 0;
    }

    void expectEvent() {
        std::string elements;
        for (const Variable* variable : m_waiting)
            elements += variable->wire();
        m_expected.push_back(elements);
    }

    void compare() {
        FUZZ_REQUIRE(
            oneAnswer, m_card.sent.size() == m_expected.size(),
            std::to_string(m_card.sent.size()) + " events instead of " + std::to_string(m_expected.size()));
        for (std::size_t i = 0; i < m_expected.size(); ++i) {
            const std::string& frame = m_card.sent[i];
            FUZZ_REQUIRE(roundTrip, frame.compare(0, 6, header(5, 0), 0, 6) == 0, "no event: " + hex(frame));
            FUZZ_REQUIRE(roundTrip, frame.substr(amiHeader) == m_expected[i], "another event: " + hex(frame));
        }
        m_expected.clear();
        m_card.forgetSent();
    }

    Card& m_card;
    std::set<unsigned int> m_changed;  // OIDs
    std::vector<Variable*> m_waiting;
    std::size_t m_count = 0;  // added since something was sent
    std::vector<std::string> m_expected;
};

class Session {
public:
    explicit Session(unsigned int mode)
        : m_card(fuzz::Manners::of(mode)), m_account(m_card), m_events(m_card) {
        m_card.forgetProcess();
    }

    void run(Input& input) {
        constexpr int mostSteps = 48;
        for (int i = 0; i < mostSteps && !input.empty(); ++i) {
            const unsigned int what = input.u8();
            if (what < 0xC0)
                receive(Peer::of(what & 15U), input.record(), (what & 16U) != 0);
            else
                act(what, input);
        }
        stayAsLarge();
    }

private:
    void receive(const Peer& peer, const std::string& frame, bool ownDispatch = false) {
        m_card.forgetSent();
        const std::string name = peer.name != nullptr ? peer.name : "";
        const Outcome outcome = m_account.take(frame, name, peer.isAddress);
        const bool handled = m_card.receive(frame, peer.name, ownDispatch);
        m_account.compare(outcome, frame, name, handled);
        m_card.forgetSent();
        m_lastPeer = peer;
        m_lastFrame = frame;
    }

    // The application's own part.
    void act(unsigned int what, Input& input) {
        switch (what & 3U) {
            case 0:
                return change(input);
            case 1:
                return m_events.report();
            case 2:
                return addEvents(variableOf(input), input.u8());
            default:
                return m_events.flush();
        }
    }

    Variable& variableOf(Input& input) {
        auto variable = m_card.variables.begin();
        std::advance(variable, input.u8() % m_card.variables.size());
        return variable->second;
    }

    void change(Input& input) {
        Variable& variable = variableOf(input);
        if (variable.type == INT32) {
            const unsigned int bits = input.u32();
            const std::string value = bigEndian(bits, 4);
            m_events.set(variable, value != variable.value);
            variable.property->set(static_cast<int>(bits));
            variable.value = value;
        } else {
            // An array has no default, and stays.
            variable.property->setToDefault();
            variable.value = variable.type == BYTE_ARRAY ? variable.value : variable.initial;
        }
        m_account.compareValues();
    }

    // Each event that goes out by itself carries all that were added before, so not too many.
    void addEvents(Variable& variable, unsigned int count) {
        for (unsigned int i = 0; i < count % 64 && m_added < mostAdded; ++i, ++m_added)
            m_events.add(variable);
    }

    // The same datagram again and again takes no more memory.
    void stayAsLarge() {
        long before = 0;
        for (int i = 0; i < 3; ++i) {
            before = i == 2 ? fuzz::liveAllocations() : before;
            const std::string frame = m_lastFrame;
            receive(m_lastPeer, frame);
        }
        FUZZ_REQUIRE(memoryReturned, fuzz::liveAllocations() <= before, "a datagram leaves memory behind");
    }

    Card m_card;
    Account m_account;
    EventsAccount m_events;
    Peer m_lastPeer = Peer::of(0);
    std::string m_lastFrame;
    unsigned int m_added = 0;
};

}  // namespace

// The event message that the process collects, with all the room that an input can need; and the first pass
// over changes, which only collects.
void fuzz::prepare() {
    Card card(Manners::of(0));
    for (int i = 0; i < 2048; ++i)
        card.addToAmi(card.variables.begin()->second.property, false);
    card.eventHandler();
    card.forgetProcess();
}

void fuzz::run(unsigned int mode, Input& input) { Session(mode).run(input); }
