// The protocol endpoint: both sides of the protocol derive from this class, give it a transport and register
// their objects. It serves requests, issues its own, and turns changes into autonomous messages (AMI).
//
// It does no I/O and starts no threads. Three things are shared by all endpoints of a process, without locks:
// the table of peers and their last message ids (5 peers), the AMI that is being collected, and the flag that
// the first event pass has run. Drive all endpoints from one thread, or serialise every call into the
// library.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "lcmpCardVariables.h"
#include "lcmpEventValueTable.h"
#include "lcmpExport.h"
#include "lcmpObjectId.h"
#include "lcmpObjects.h"
#include "lcmpProperty.h"
#include "lcmpmsg.h"

namespace lcmpdetail {
struct ByteView;
struct Found;
class ObjectIndex;
}  // namespace lcmpdetail

/// A side of the protocol: derive from it, implement sendMessage, register objects.
class LCMP_API LcmpProtocolBase {
public:
    static constexpr int maxReadResponse =
        1200;                                   // bytes of a whole served frame, its 11-byte header included
    static constexpr int maxRequestTlvs = 150;  // elements of a request that this endpoint issues
    static constexpr int maxPendingTlvs = 50;   // elements an AMI collects; one more sends it
    static constexpr int maxPeers = 5;          // peers whose message ids are followed, in the whole process
    static constexpr int maxEventTables = 20;   // slots of eventTables

    // Calls initEvents; what a subclass overrides is not reached from here. The first one answers broken
    // frames (sendErrorReplies).
    LcmpProtocolBase();
    explicit LcmpProtocolBase(bool errorReplies);

    /// Deletes the event tables and the legacy properties it still holds. Registered objects and
    /// tempProperties are not deleted.
    virtual ~LcmpProtocolBase();

    LcmpProtocolBase(const LcmpProtocolBase&) = delete;
    LcmpProtocolBase& operator=(const LcmpProtocolBase&) = delete;

    /// Hook: creates event tables in eventTables; false undoes that. Called by initEvents: a subclass calls
    /// that itself once it is constructed. Base: no tables, one DEBUG1 line, true.
    virtual bool initEventsCore();

    /// Hook: serves an element whose OID no registered object has. Read: put the value into `prop` before the
    /// response is written. Write: take the value from it. False answers 12. `prop` lives until the response
    /// has been sent. Base: false.
    virtual bool handleLcmpMsgOld(OldStyleProperty* prop, bool write);

    /// Hook: judges such an element before anything is read or written; a result code. Base: 5.
    virtual std::uint8_t checkTlvOld(OldStyleProperty* prop, bool write) const;

    /// Hook of applications with an event path of their own; the library never calls it. Base: false.
    virtual bool eventHandlerOld(LCMPTlv* oldValue, LCMPTlv* newValue, bool sendNow);

    /// The transport: serialise `msg` and send it. For a request (LCMPRequest) also wait for the peer's reply
    /// and store that frame in replyBuffer before returning true. False: not sent, or no reply came. `msg`
    /// and its properties are valid during the call only.
    virtual bool sendMessage(LCMPMessage* msg) = 0;

    /// The next message id, for requests and AMIs alike: 1 first, 0 after 65535.
    virtual std::uint16_t getNewMessageId();

    /// Hook: receives the properties of an AMI that have taken its values, in frame order, also when there
    /// are none. False is logged and becomes the result of handleLcmpMsg. Base: false.
    virtual bool amiMessageHandler(std::vector<LcmpProperty*> props);

    /// Runs initEventsCore; if that returns false, deletes all event tables and returns false.
    bool initEvents();

    /// Serves requests on the object from now on and applies replies and events to it. Asked for an OID,
    /// objects answer in the order of their registration. Not owned; outlives the endpoint's use of it.
    /// Null is passed over later.
    void registerObject(LcmpObject* obj);

    /// Takes a received frame: serves it, applies it, or answers what is wrong with it. `peer` is the
    /// sender's dotted IPv4 address, or null. `data` is read during the call only. Returns whether the frame
    /// was handled without a fault and its response, if there is one, was sent; a frame with a wrong magic
    /// is not for us and counts as handled.
    bool handleLcmpMsg(int length, const char* data, const char* peer);

    /// Writes a hex dump to standard output.
    void dump_hex(const unsigned char* data, unsigned int length);

    // Requests. Each sends one request and applies the reply to the registered objects by OID (a read reply
    // for an object that is not registered is thus an error). True when the request was answered without a
    // fault. 1 to 150 properties fit into a request; otherwise two ERROR lines, false, nothing sent. Not
    // to be called while a request of this endpoint is on its way.
    bool readObject(LcmpObject& obj);
    bool readObjects(std::vector<LcmpObject*> objs);
    bool readProperty(LcmpProperty& prop);
    bool readPropertys(std::vector<LcmpProperty*> props);
    bool writeObject(LcmpObject& obj);
    bool writeObjects(std::vector<LcmpObject*> objs);
    bool writeProperty(LcmpProperty& prop);
    bool writePropertys(std::vector<LcmpProperty*> props);

    /// The same for a request of the caller's making; `action` is 1 (read) or 2 (write).
    bool sendRequest(unsigned char action, LCMPRequest& request);

    /// To be called periodically: reports every property that has marked a change since the last call and
    /// sends what is collected. Returns how many were reported. The first call in the process only collects:
    /// it returns 0 and sends nothing.
    int eventHandler();

protected:
    /// Serves one request; `response` has action, message id and peer. Returns whether the response was sent.
    bool handleRequest(int length, const char* data, LCMPResponse& response);

    /// Applies the reply to a request.
    bool handleResponse(int length, const char* data);

    /// Applies an AMI and hands what it changed to amiMessageHandler.
    bool handleAmi(int length, const char* data);

    /// Whether the message id continues what this peer sent last: 0, 2 the same again, 3 ids are missing, 16
    /// no room for another peer, 17 the peer is no IPv4 address. The id is remembered as the peer's last.
    std::uint8_t checkMsgId(const LCMPMessage* msg, std::string peer);

    /// Hands every property of the objects that has marked a change to addToAmi; returns how many.
    int eventAdd(std::vector<LcmpObject*>& objects);

    /// Compares the property with the value last reported. Different: reports it through addToAmi, stores the
    /// new value and returns true. Without `reporting` the value is stored and not reported. `sendNow` sends
    /// what is collected instead and returns false. Only unsigned integers can be compared; other kinds
    /// of a like length read as 0. Null `lastValue` or property: false.
    bool checkForEvent(unsigned long long* lastValue, LcmpProperty* property, bool reporting, bool sendNow);

    /// Adds a property to the AMI that is being collected, which goes out by itself with its 51st; or, with
    /// `flush`, sends what was added since the last sending, empties the AMI and deletes tempProperties.
    /// After going out by itself the AMI keeps its properties and sends them again, until a flush. Not
    /// owned: a property that is destroyed meanwhile is withdrawn.
    void addToAmi(LcmpProperty* prop, bool flush);

    /// Stamps an AMI with a new message id and the time and sends it. False: null or empty, or not sent.
    bool sendAmiMsgBase(LCMPAmi* ami);

    bool sendErrorReplies;                         ///< Answer frames of a wrong version or action.
    std::vector<LcmpObject*> lcmpObjects;          ///< In order of registration; not owned.
    std::vector<LcmpProperty*> tempProperties;     ///< From new; deleted by the next flush that sends.
    EventValueTable* eventTables[maxEventTables];  ///< Null or from new; owned.
    std::uint32_t reserved;                        ///< Always 0.
    std::string replyBuffer;      ///< The reply frame to the last request, left by sendMessage.
    std::uint16_t lastMessageId;  ///< What getNewMessageId gave last.

private:
    using LegacyList = std::vector<std::unique_ptr<OldStyleProperty>>;
    enum class Source { response, ami };  // of values that are applied

    void deleteEventTables();
    lcmpdetail::Found findProperty(unsigned int oid);
    lcmpdetail::Found askEveryObject(unsigned int oid) const;
    bool dispatch(LCMPRequest& request, int length, const char* data, LCMPResponse& response);
    bool serve(LCMPRequest& request, int length, const char* data, LCMPResponse& response);
    std::uint8_t followMessageId(std::uint16_t id, const std::string& peer);

    lcmpdetail::ByteView resolvePlainTlvs(lcmpdetail::ByteView rest, std::vector<LcmpProperty*>& properties);
    void resolveTlvs(lcmpdetail::ByteView rest, LCMPRequest& request, LegacyList& legacy);
    void resolveTlv(const lcmpdetail::ElementView& element, LCMPRequest& request, LegacyList& legacy);
    void serveRead(LCMPRequest& request, const LegacyList& legacy, LCMPResponse& response);
    void serveWrite(LCMPRequest& request, LCMPResponse& response);
    static void refuse(LCMPResponse& response, unsigned int result, int errorIndex);
    bool sendRefusal(LCMPResponse& response, unsigned int result, int errorIndex);

    static std::vector<LcmpProperty*> propertiesOf(const std::vector<LcmpObject*>& objects);
    bool sendProperties(unsigned char action, const std::vector<LcmpProperty*>& properties);

    bool applyTlvs(const LCMPMessage& message, int length, const char* data, Source source,
                   std::vector<LcmpProperty*>& accepted);
    bool applyTlv(const lcmpdetail::ElementView& element, Source source,
                  std::vector<LcmpProperty*>& accepted);
    static bool acceptsElement(LcmpProperty& property, const lcmpdetail::ElementView& element, Source source);
    static const char* operationName(Source source);

    void sendPendingAmi();
    void flushPendingAmi();

    LegacyList m_refusedLegacy;  // of the last request that failed verification
    std::unique_ptr<lcmpdetail::ObjectIndex> m_objectIndex;
    std::vector<LcmpProperty*> m_spareList;  // storage for the property list of the next served request
};
