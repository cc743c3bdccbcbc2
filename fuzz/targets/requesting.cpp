// A controller that reads and writes its variables, whatever it is answered, and receives events meanwhile.
// The requests, the results and every value are what the account says.
#include <algorithm>

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

constexpr std::size_t mostElements = 150;

/// A request: how it is issued and what it must carry.
struct Asking {
    unsigned int action;
    std::vector<Variable*> variables;
    std::function<bool()> issue;
};

class Session {
public:
    explicit Session(unsigned int mode) : m_card(fuzz::Manners::of(mode)), m_account(m_card) {
        m_card.forgetProcess();
        for (auto& entry : m_card.variables)
            m_variables.push_back(&entry.second);
        m_id = m_card.lastMessageId;
    }

    void run(Input& input) {
        constexpr int mostSteps = 48;
        for (int i = 0; i < mostSteps && !input.empty(); ++i) {
            const unsigned int what = input.u8();
            if (what >= 0xE0)
                receive(Peer::of(what & 15U), input.record());
            else
                ask(asking(what, input), input.record());
        }
    }

private:
    void receive(const Peer& peer, const std::string& frame) {
        m_card.forgetSent();
        const std::string name = peer.name != nullptr ? peer.name : "";
        const Outcome outcome = m_account.take(frame, name, peer.isAddress);
        const bool handled = m_card.receive(frame, peer.name);
        m_account.compare(outcome, frame, name, handled);
        m_id += outcome.hookRequests;
    }

    void ask(const Asking& asking, const std::string& reply) {
        m_card.forgetSent();
        m_card.reply = reply;
        const bool possible = !asking.variables.empty() && asking.variables.size() <= mostElements;
        const std::string request = requestOf(asking);
        Outcome outcome;
        if (possible && m_card.manners.sends)
            outcome = m_account.take(reply, "", true);
        const bool done = asking.issue();
        if (possible)
            takeRequest(request);
        m_account.compare(outcome, reply, "", done);
        m_id += outcome.hookRequests;
    }

    std::string requestOf(const Asking& asking) const {
        std::string request = header(asking.action, (m_id + 1) & 0xFFFF);
        for (const Variable* variable : asking.variables)
            request += variable->wire();
        return request;
    }

    void takeRequest(const std::string& request) {
        ++m_id;
        FUZZ_REQUIRE(requestsCounted, !m_card.sent.empty() && m_card.sent[0] == request,
                     "another request than " + hex(request));
        m_card.sent.erase(m_card.sent.begin());
        m_card.sentTo.erase(m_card.sentTo.begin());
    }

    // ---------------------------------------------------------------- the ways to ask

    Asking asking(unsigned int what, Input& input) {
        const bool write = (what & 1U) != 0;
        const unsigned int first = input.u8();
        const unsigned int count = input.u8();
        switch (what / 2 % 5) {
            case 0:
                return ofProperty(write, *m_variables[first % m_variables.size()]);
            case 1:
                return ofProperties(write, first, count);
            case 2:
                return ofObject(write, *m_card.objects[first % m_card.objects.size()]);
            case 3:
                return ofObjects(write, first, count);
            default:
                return ofRequest(count, first);
        }
    }

    Asking ofProperty(bool write, Variable& variable) {
        LcmpProperty& property = *variable.property;
        return {write ? 2U : 1U, {&variable}, [this, write, &property] {
                    return write ? m_card.writeProperty(property) : m_card.readProperty(property);
                }};
    }

    Asking ofProperties(bool write, unsigned int first, unsigned int count) {
        std::vector<Variable*> variables;
        std::vector<LcmpProperty*> properties;
        for (unsigned int i = 0; i < count; ++i) {
            variables.push_back(m_variables[(first + i) % m_variables.size()]);
            properties.push_back(variables.back()->property);
        }
        return {write ? 2U : 1U, variables, [this, write, properties] {
                    return write ? m_card.writePropertys(properties) : m_card.readPropertys(properties);
                }};
    }

    std::vector<Variable*> variablesOf(const LcmpObject& object) {
        std::vector<Variable*> variables;
        for (LcmpProperty* property : object.getProperties())
            variables.push_back(&m_card.variables.at(property->getOid()));
        return variables;
    }

    Asking ofObject(bool write, LcmpObject& object) {
        return {write ? 2U : 1U, variablesOf(object), [this, write, &object] {
                    return write ? m_card.writeObject(object) : m_card.readObject(object);
                }};
    }

    Asking ofObjects(bool write, unsigned int first, unsigned int count) {
        std::vector<Variable*> variables;
        std::vector<LcmpObject*> objects;
        for (unsigned int i = 0; i < count % 16; ++i) {
            objects.push_back(m_card.objects[(first + i) % m_card.objects.size()]);
            const std::vector<Variable*> more = variablesOf(*objects.back());
            variables.insert(variables.end(), more.begin(), more.end());
        }
        return {write ? 2U : 1U, variables, [this, write, objects] {
                    return write ? m_card.writeObjects(objects) : m_card.readObjects(objects);
                }};
    }

    Asking ofRequest(unsigned int action, unsigned int first) {
        Variable& variable = *m_variables[first % m_variables.size()];
        return {action, {&variable}, [this, action, &variable] {
                    LCMPRequest request;
                    request.addProperty(variable.property);
                    return m_card.sendRequest(static_cast<unsigned char>(action), request);
                }};
    }

    Card m_card;
    Account m_account;
    std::vector<Variable*> m_variables;
    unsigned int m_id = 0;  // of the last request
};

}  // namespace

// All the peers that a process follows are known: a reply that is a request comes from nobody of them.
void fuzz::prepare() {
    PeersAccount::followed = 5;
    Card(Manners::of(0)).forgetProcess();
}

void fuzz::run(unsigned int mode, Input& input) { Session(mode).run(input); }
