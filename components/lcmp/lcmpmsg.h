// The message frame and its three kinds: request, response and autonomous message (AMI). A frame is a header,
// an extension that depends on the kind, and TLV elements to the end of the buffer:
//
//   offset 0 magic "OTN1"   4 version   5 action   6 message id (2)
//   request    8 elements
//   response   8 result   9 error index (2)   11 elements
//   AMI        8 seconds (4)   12 microseconds (4)   16 elements
//
// Everything is big-endian. One message belongs to one thread at a time.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "lcmpExport.h"
#include "lcmpResult.h"
#include "lcmpTlv.h"

class LcmpProperty;
class LcmpProtocolBase;

namespace lcmpdetail {
struct ByteView;
struct ElementView;
}  // namespace lcmpdetail

/// What a message asks for or carries.
enum LcmpAction : std::uint8_t {
    LCMP_ACTION_READ = 1,
    LCMP_ACTION_WRITE = 2,
    LCMP_ACTION_READ_RESPONSE = 3,
    LCMP_ACTION_WRITE_RESPONSE = 4,
    LCMP_ACTION_AMI = 5
};

/// The header fields and the properties whose elements the message carries. The properties are referred to,
/// never owned: they outlive the message or are cleared from it.
class LCMP_API LCMPMessage {
public:
    static constexpr std::uint32_t magicNumber = 0x4F544E31;  // "OTN1"
    static constexpr std::uint8_t protocolVersion = 1;        // of every frame

    /// A message of kind 0 with the 8-byte header of requests, magic and version set, action and id 0.
    /// `peer` is the dotted IPv4 address of the other side, empty when unknown.
    explicit LCMPMessage(const std::string& peer = std::string());
    virtual ~LCMPMessage() = default;

    // Writes or reads the header extension of the kind; the buffer holds the whole header. Serialising
    // returns non-zero, deserialising a result code.
    virtual int serializeSpecific(char* buf, int size) const;
    virtual int deserializeSpecific(const char* buf, int len);

    /// Writes the whole frame, asking each property for its current value, and returns non-zero. 0 and one
    /// ERROR line when `size` does not suffice or a property fails; the buffer is then partly written. The
    /// frame has getHeaderSize() + sizeOfTlvs() bytes.
    int serialize(char* buf, int size) const;

    /// The same, and returns the number of bytes written instead: what a transport sends. Properties are
    /// asked for their lengths once less.
    int serializeFrame(char* buf, int size) const;

    /// Takes the header from a received frame and returns a result code: 0, 13 wrong magic, 1 wrong version,
    /// 4 wrong action, 8 too short for the kind's header; one log line for each but 0. Keeps `buf`, which
    /// must outlive every later checkTlvs and deserializeTlvs. The property list is not touched.
    int deserialize(const char* buf, int len);

    // Whether the field of the header is as it has to be.
    bool checkMagicNbr() const;
    bool checkProtVersion() const;
    bool checkAction() const;

    /// Judges the received elements one by one against the properties in the list, which are in the order of
    /// the elements; writes (action 2) are judged by value too. A legacy element is judged by the
    /// endpoint's checkTlvOld, if there is an endpoint. Returns 0, or the first fault: its result code, with
    /// the element's position in `tlvIndex` and one ERROR line. Nothing is stored.
    unsigned int checkTlvs(int& tlvIndex, LcmpProtocolBase* endpoint) const;

    /// Stores the received elements in the properties of the list, legacy ones through the endpoint's
    /// handleLcmpMsgOld, then calls the owners' `updated`. True when all went well. An element that does not
    /// fit into the frame is found before anything is stored; a refusing legacy hook ends the pass and
    /// leaves what was stored before it; a failing `updated` ends nothing.
    bool deserializeTlvs(LcmpProtocolBase* endpoint);

    /// Number of properties in the list. The argument is ignored.
    int countTlvs(int unused) const;

    /// Bytes of all elements: 7 + the value's length each. Stops at a number that no frame can have.
    int sizeOfTlvs() const;

    /// Appends to the list. Always true; null adds nothing.
    bool addProperty(LcmpProperty* property);

    // The list of the properties whose elements the message carries.
    const std::vector<LcmpProperty*>& getProperties() const { return m_properties; }
    void clearProperties() { m_properties.clear(); }

    /// Takes every occurrence of the property out of the list.
    void removeProperty(const LcmpProperty* property);

    // Fields of the header, and the dotted address of the other side.
    std::uint8_t getAction() const { return m_action; }
    void setAction(std::uint8_t action) { m_action = action; }
    std::uint16_t getMessageId() const { return m_messageId; }
    void setMessageId(std::uint16_t messageId) { m_messageId = messageId; }
    const std::string& getPeerAddress() const { return m_peerAddress; }

    /// Bytes before the first element: 8, 11 or 16.
    int getHeaderSize() const { return m_headerSize; }

protected:
    /// For the kinds: `headerSize` bytes stand before the first element.
    LCMPMessage(std::int32_t kind, std::int32_t headerSize, const std::string& peer);

private:
    friend class LcmpProtocolBase;  // hands the property list's storage from one served message to the next

    int serializeTlvs(char* buf, int size) const;
    static int putKnownWord(const LcmpProperty& property, char* buf, int size);
    static int serializeAsked(LcmpProperty& property, char* buf, int size);
    lcmpdetail::ByteView receivedElements() const;
    unsigned int checkTlv(LcmpProperty& property, const lcmpdetail::ElementView& element,
                          LcmpProtocolBase* endpoint) const;
    bool elementsFit() const;
    bool storeTlvs(LcmpProtocolBase* endpoint);
    bool reportUpdated() const;

    [[maybe_unused]] std::int32_t m_kind;
    std::int32_t m_headerSize;
    const char* m_received = nullptr;
    std::int32_t m_receivedLength = 0;
    std::vector<LcmpProperty*> m_properties;
    std::uint32_t m_magic = magicNumber;
    std::uint8_t m_version = protocolVersion;
    std::uint8_t m_action = 0;
    std::uint16_t m_messageId = 0;
    std::string m_peerAddress;
};

/// A read or write request. Its sender sets the action.
class LCMP_API LCMPRequest : public LCMPMessage {
public:
    /// Action and message id 0.
    explicit LCMPRequest(const std::string& peer = std::string());
    ~LCMPRequest() override;
};

/// The answer to a request.
class LCMP_API LCMPResponse : public LCMPMessage {
public:
    /// Result and error index start at 0.
    explicit LCMPResponse(const std::string& peer = std::string());

    int serializeSpecific(char* buf, int size) const override;
    int deserializeSpecific(const char* buf, int len) override;

    /// A LcmpResult, or 16 or 17, or an application's own.
    unsigned int getResult() const { return m_result; }

    /// One byte of it travels.
    void setResult(unsigned int result) { m_result = result; }

    /// Position of the element at fault, counted from 0.
    std::uint16_t getErrorIndex() const { return m_errorIndex; }

    /// Position of the element at fault, counted from 0.
    void setErrorIndex(std::uint16_t index) { m_errorIndex = index; }

private:
    std::uint32_t m_result = RESULT_OK;
    std::uint16_t m_errorIndex = 0;
};

/// An autonomous message: changed values that a card reports by itself, with the time of sending.
class LCMP_API LCMPAmi : public LCMPMessage {
public:
    /// Action 5, time 0.
    explicit LCMPAmi(const std::string& peer = std::string());

    int serializeSpecific(char* buf, int size) const override;
    int deserializeSpecific(const char* buf, int len) override;

    /// Low 32 bits of the seconds since 1970-01-01 UTC.
    std::uint32_t getSeconds() const { return m_seconds; }

    /// Microseconds of that second.
    std::uint32_t getMicroseconds() const { return m_microseconds; }

    /// Sets both.
    void setTimestamp(std::uint32_t seconds, std::uint32_t microseconds);

private:
    std::uint32_t m_seconds = 0;
    std::uint32_t m_microseconds = 0;
};

/// Home of this area's compile-time checks. Does nothing.
LCMP_API void doLcmpMsgCompileTimeAssertions();
