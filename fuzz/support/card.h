// A card with a variable of every type, and an account of what it must hold and answer, kept by other means
// than the library's. A target hands both the same frames and compares.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "lcmpProtocolBase.h"
#include "wire.h"

namespace fuzz {

/// How the card and its application behave, from the bits of an input's mode.
struct Manners {
    bool answersErrors;   // to a wrong version or action
    bool hooked;          // objects of derived classes, which the library has to ask
    bool takesLegacy;     // elements without an object are judged good, but for odd ones
    bool servesLegacy;    // and served, but for those of every fourth OID
    bool refusesUpdates;  // `updated` of odd variables fails
    bool asksInHooks;     // `updated` sends a request of its own
    bool sends;           // the transport works

    static Manners of(unsigned int mode);

    unsigned int judge(unsigned int oid) const;
    bool serve(unsigned int oid) const;
    bool update(unsigned int id) const;
};

/// One variable: what the account knows of it, and where it is.
struct Variable {
    unsigned int oid;
    unsigned int type;
    std::string head;  // both, as on the wire
    bool readOnly;
    bool eventable;
    std::string initial;                              // value and default at first, as on the wire
    std::string value;                                // now
    std::function<bool(const std::string&)> accepts;  // of a peer's write
    LcmpProperty* property;

    std::string wire() const { return elementBytes(oid, type, value); }
};

/// The endpoint: keeps what it sends, in buffers of exactly the size.
class Card : public LcmpProtocolBase {
public:
    explicit Card(const Manners& how);
    ~Card() override;

    bool sendMessage(LCMPMessage* msg) override;
    bool handleLcmpMsgOld(OldStyleProperty* prop, bool write) override;
    std::uint8_t checkTlvOld(OldStyleProperty* prop, bool write) const override;
    bool amiMessageHandler(std::vector<LcmpProperty*> props) override;
    bool updated(const LcmpProperty& property);

    /// Hands over a received frame in a buffer of exactly its size. `ownDispatch`: a request goes straight to
    /// its handler, as endpoints do that look at headers themselves; nothing else may come of it.
    bool receive(const std::string& frame, const char* peer, bool ownDispatch = false);

    /// What the process keeps is made what every input begins with: each peer that it follows has sent
    /// message 0, and no change waits to be sent.
    void forgetProcess();
    void forgetSent();

    using LcmpProtocolBase::addToAmi;
    using LcmpProtocolBase::lastMessageId;

    std::map<unsigned int, Variable> variables;  // by OID
    std::vector<LcmpObject*> objects;            // in order of registration
    std::vector<std::string> sent;
    std::vector<std::string> sentTo;
    std::string reply;       // what the next request is answered with
    unsigned int asked = 0;  // requests that hooks have sent

    const Manners manners;

private:
    template <typename Object>
    LcmpObject* make(const char* name, unsigned int id, bool common, unsigned int rows);
    LcmpObject* makeScalar(const char* name, unsigned int id, bool common);
    LcmpObject* makeTable(const char* name, unsigned int id, unsigned int rows);
    void add(LcmpObject* object, LcmpProperty* property, const std::string& value,
             std::function<bool(const std::string&)> accepts = nullptr, unsigned int row = 0);
    void addControl();
    void addIdentity();
    void addTemperature();
    void addOneOfEach();
    void askInHook();
    bool serveRequest(const std::string& frame, const char* peer);

    std::vector<std::unique_ptr<LcmpObject>> m_owned;
    bool m_inHook = false;
};

/// What the library knows of the peers that have sent requests. A process follows five and never forgets one,
/// so a target settles with its first card who they are: all five, or four and a place that stays free.
class PeersAccount {
public:
    static unsigned int followed;  // addresses: 4 or 5

    PeersAccount();

    /// The message id's verdict, 0, 2, 3, 16 or 17; remembers it.
    unsigned int take(const std::string& peer, bool isAddress, unsigned int id);

private:
    struct Slot {
        std::string address;
        unsigned int lastId = 0;
    };

    std::vector<Slot> m_slots = std::vector<Slot>(5);
};

/// What must come of a frame.
struct Outcome {
    bool handled = false;
    bool answered = false;
    std::string answer;
    unsigned int hookRequests = 0;
};

/// The account of one card.
class Account {
public:
    explicit Account(Card& card) : m_card(card), m_manners(card.manners) {}

    /// Takes a frame, and changes what the variables must hold as the card must.
    Outcome take(const std::string& frame, const std::string& peer, bool isAddress);

    /// Holds what the card did against it: nothing else was sent, and every value is what it must be.
    void compare(const Outcome& outcome, const std::string& frame, const std::string& peer,
                 bool handled) const;
    void compareValues() const;

private:
    struct Resolved {
        WireElement element;
        Variable* variable;
    };

    Variable* find(unsigned int oid);
    std::vector<Resolved> resolve(const WireWalk& walk);
    Outcome answer(const std::string& frame, unsigned int result, unsigned int index,
                   const std::string& elements = "") const;
    Outcome takeRequest(const std::string& frame, unsigned int idResult);
    Outcome takeRead(const std::string& frame, unsigned int idResult, const std::vector<Resolved>& elements);
    Outcome takeWrite(const std::string& frame, unsigned int idResult, const std::vector<Resolved>& elements);
    Outcome takeResponse(const std::string& frame);
    Outcome takeAmi(const std::string& frame);
    bool apply(const std::string& frame, std::size_t headerSize, Outcome& outcome);
    unsigned int fault(const Resolved& resolved, bool write) const;
    unsigned int faultOf(const Variable& variable, const WireElement& element, bool checkValue) const;
    void countHook(Outcome& outcome) const;

    Card& m_card;
    const Manners& m_manners;
    PeersAccount m_peers;
};

constexpr std::size_t largestRead = 1200;

/// Who sends: numbers 0 to 4 are addresses, of which the last is not always followed; 5 is unknown, 6 is no
/// address.
struct Peer {
    const char* name;  // as the transport tells it; null: unknown
    bool isAddress;

    static Peer of(unsigned int number);
};

}  // namespace fuzz
