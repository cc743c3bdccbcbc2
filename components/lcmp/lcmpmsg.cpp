#include "lcmpmsg.h"

#include <algorithm>
#include <climits>

#include "detail/log.h"
#include "detail/oidLayout.h"
#include "detail/tlvWalk.h"
#include "lcmpObjectId.h"
#include "lcmpObjects.h"
#include "lcmpProperty.h"
#include "lcmpProtocolBase.h"

using namespace lcmpdetail;

namespace {

constexpr std::int32_t requestKind = 0;
constexpr std::int32_t responseKind = 1;
constexpr std::int32_t amiKind = 2;

constexpr std::int32_t commonHeaderSize = 8;     // magic 4, version 1, action 1, message id 2
constexpr std::int32_t responseHeaderSize = 11;  // and result 1, error index 2
constexpr std::int32_t amiHeaderSize = 16;       // and seconds 4, microseconds 4

constexpr int largestElementSum = INT_MAX / 2;  // bytes; leaves room for any header in an int

// Where a property would read beyond the frame although the element lies in it: it takes its own width.
bool tooShortFor(LcmpProperty& property, const ElementView& element) {
    return static_cast<unsigned int>(element.space) < property.readWidth();
}

}  // namespace

LCMPMessage::LCMPMessage(const std::string& peer) : LCMPMessage(requestKind, commonHeaderSize, peer) {}

LCMPMessage::LCMPMessage(std::int32_t kind, std::int32_t headerSize, const std::string& peer)
    : m_kind(kind), m_headerSize(headerSize), m_peerAddress(peer) {}

int LCMPMessage::serializeSpecific(char* /*buf*/, int /*size*/) const { return 1; }

int LCMPMessage::deserializeSpecific(const char* /*buf*/, int /*len*/) { return RESULT_OK; }

// ---------------------------------------------------------------- header

int LCMPMessage::serialize(char* buf, int size) const {
    if (size < m_headerSize || size - m_headerSize < sizeOfTlvs()) {
        LCMP_ERROR("trying to serialize in a too small buffer!");
        return 0;
    }
    return serializeTlvs(buf, size) != 0 ? serializeSpecific(buf, size) : 0;
}

int LCMPMessage::serializeFrame(char* buf, int size) const {
    const int written = serializeTlvs(buf, size);
    return written != 0 && serializeSpecific(buf, size) != 0 ? written : 0;
}

// A word whose OID is known, too, is written without a call. 0: the property has to be asked.
inline int LCMPMessage::putKnownWord(const LcmpProperty& property, char* buf, int size) {
    if (!property.canSerializeWord(size) || !property.m_oidKnown)
        return 0;
    return putWordElement(buf, {property.m_oid, property.m_wordType, property.m_wordSize}, property.m_word);
}

// Writes the header that every kind begins with and the elements behind the kind's own, and returns the
// number of bytes of the whole; 0 after a log line.
int LCMPMessage::serializeTlvs(char* buf, int size) const {
    if (size < m_headerSize) {
        LCMP_ERROR_FOR("serialize", "trying to serialize in a too small buffer!");
        return 0;
    }
    char* p = buf;
    p = putU32(p, m_magic);
    p = putU8(p, m_version);
    p = putU8(p, m_action);
    putU16(p, m_messageId);

    char* place = buf + m_headerSize;
    char* const end = buf + size;
    for (LcmpProperty* property : m_properties) {
        const auto room = static_cast<int>(end - place);
        int written = putKnownWord(*property, place, room);
        if (written == 0)
            written = serializeAsked(*property, place, room);
        if (written < 0)
            return 0;
        place += written;
    }
    return static_cast<int>(place - buf);
}

// -1 after a log line.
int LCMPMessage::serializeAsked(LcmpProperty& property, char* buf, int size) {
    const int written = property.serialize(buf, size);
    if (written == -1) {
        LCMP_ERROR_FOR("serialize", "buffer got to small!");
        return -1;
    }
    if (static_cast<unsigned int>(written) - tlvHeaderSize != property.length()) {
        LCMP_ERROR_FOR("serialize", "serialize return wrong length!");
        return -1;
    }
    return written;
}

int LCMPMessage::deserialize(const char* buf, int len) {
    if (len < commonHeaderSize) {
        LCMP_ERROR("a message of %d bytes has no room for its header of %d", len, m_headerSize);
        return RESULT_WRONG_LEN;
    }
    m_magic = getU32(buf);
    m_version = getU8(buf + 4);
    m_action = getU8(buf + 5);
    m_messageId = getU16(buf + 6);
    m_received = buf;
    m_receivedLength = len;
    if (!checkMagicNbr()) {
        LCMP_WARNING("Invalid magic nbr %#x (should be %#x)", m_magic, magicNumber);
        return RESULT_WRONG_MAGIC;
    }
    if (!checkProtVersion()) {
        LCMP_ERROR("Invalid protocol version %#x (should be %#x)", m_version, protocolVersion);
        return RESULT_PROTOCOL_VERSION_MISMATCH;
    }
    if (!checkAction()) {
        LCMP_ERROR("Invalid value %d for action field", m_action);
        return RESULT_INVALID_ACTION;
    }
    if (len < m_headerSize) {
        LCMP_ERROR("a message of %d bytes has no room for its header of %d", len, m_headerSize);
        return RESULT_WRONG_LEN;
    }
    return deserializeSpecific(buf, len);
}

bool LCMPMessage::checkMagicNbr() const { return m_magic == magicNumber; }

bool LCMPMessage::checkProtVersion() const { return m_version == protocolVersion; }

bool LCMPMessage::checkAction() const { return m_action >= LCMP_ACTION_READ && m_action <= LCMP_ACTION_AMI; }

// ---------------------------------------------------------------- elements

unsigned int LCMPMessage::checkTlvs(int& tlvIndex, LcmpProtocolBase* endpoint) const {
    ByteView rest = receivedElements();
    int index = 0;
    for (LcmpProperty* property : m_properties) {
        ElementView element;
        if (!takeElement(rest, element)) {
            LCMP_ERROR("element %d does not fit into the message", index);
            tlvIndex = index;
            return RESULT_WRONG_LEN;
        }
        const unsigned int result = checkTlv(*property, element, endpoint);
        if (result != RESULT_OK) {
            LCMP_ERROR("%s in OID %#x", lcmpResultName(result), element.header.oid);
            tlvIndex = index;
            return result;
        }
        ++index;
    }
    return RESULT_OK;
}

unsigned int LCMPMessage::checkTlv(LcmpProperty& property, const ElementView& element,
                                   LcmpProtocolBase* endpoint) const {
    const bool write = m_action == LCMP_ACTION_WRITE;
    if (OldStyleProperty* legacy = property.asOldStyle(); legacy != nullptr && endpoint != nullptr)
        return endpoint->checkTlvOld(legacy, write);
    // Decoding says what is wrong with an OID; whether anything is, shows without it.
    if (!validOid(element.header.oid))
        return LcmpObjectId(element.header.oid).m_result;
    if (!write)
        return RESULT_OK;
    // Identity and type are told before the length; the value is looked at only where the frame has it whole.
    const bool wholeValue = !tooShortFor(property, element);
    const auto result = static_cast<unsigned int>(property.checkBuffer(element.begin, wholeValue));
    return result == RESULT_OK && !wholeValue ? RESULT_WRONG_LEN : result;
}

bool LCMPMessage::deserializeTlvs(LcmpProtocolBase* endpoint) {
    if (m_properties.empty())
        return true;
    // The whole frame is looked at before anything is stored: a broken one leaves no half-done write.
    return elementsFit() && storeTlvs(endpoint) && reportUpdated();
}

bool LCMPMessage::elementsFit() const {
    ByteView rest = receivedElements();
    int index = 0;
    for (LcmpProperty* property : m_properties) {
        ElementView element;
        if (!takeElement(rest, element) ||
            (property->getOwner() != nullptr && tooShortFor(*property, element))) {
            LCMP_ERROR_FOR("deserializeTlvs", "element %d does not fit into the message", index);
            return false;
        }
        ++index;
    }
    return true;
}

bool LCMPMessage::storeTlvs(LcmpProtocolBase* endpoint) {
    ByteView rest = receivedElements();
    for (LcmpProperty* property : m_properties) {
        ElementView element;
        if (!takeElement(rest, element))
            return false;
        if (property->getOwner() != nullptr) {
            property->deserialize(element.begin);
        } else if (OldStyleProperty* legacy = property->asOldStyle();
                   legacy != nullptr && endpoint != nullptr) {
            if (!endpoint->handleLcmpMsgOld(legacy, true))
                return false;
        } else {
            LCMP_ERROR_FOR("deserializeTlvs", "[%s] nobody can store this property",
                           property->getName().c_str());
            return false;
        }
    }
    return true;
}

bool LCMPMessage::reportUpdated() const {
    bool allUpdated = true;
    for (LcmpProperty* property : m_properties) {
        LcmpObject* owner = property->getOwner();
        if (owner == nullptr)
            continue;
        if (owner->updated(property, property->getRow())) {
            LCMP_DEBUG2_FOR("deserializeTlvs", "%s: Property %s updated", owner->getName().c_str(),
                            property->getName().c_str());
        } else {
            LCMP_ERROR_FOR("deserializeTlvs", "%s: Property %s updated call failed", owner->getName().c_str(),
                           property->getName().c_str());
            allUpdated = false;
        }
    }
    return allUpdated;
}

ByteView LCMPMessage::receivedElements() const {
    if (m_received == nullptr || m_receivedLength < m_headerSize)
        return {nullptr, 0};
    return {m_received + m_headerSize, m_receivedLength - m_headerSize};
}

int LCMPMessage::countTlvs(int /*unused*/) const { return static_cast<int>(m_properties.size()); }

int LCMPMessage::sizeOfTlvs() const {
    unsigned long long size = 0;
    for (LcmpProperty* property : m_properties)
        size += tlvHeaderSize + static_cast<unsigned long long>(property->announcedLength());
    return static_cast<int>(std::min<unsigned long long>(size, largestElementSum));
}

bool LCMPMessage::addProperty(LcmpProperty* property) {
    if (property != nullptr)
        m_properties.push_back(property);
    return true;
}

void LCMPMessage::removeProperty(const LcmpProperty* property) {
    m_properties.erase(std::remove(m_properties.begin(), m_properties.end(), property), m_properties.end());
}

// ---------------------------------------------------------------- the kinds

LCMPRequest::LCMPRequest(const std::string& peer) : LCMPMessage(requestKind, commonHeaderSize, peer) {}

// Not inline, so that the class's table of virtual operations stands in the library alone.
LCMPRequest::~LCMPRequest() = default;

LCMPResponse::LCMPResponse(const std::string& peer) : LCMPMessage(responseKind, responseHeaderSize, peer) {}

int LCMPResponse::serializeSpecific(char* buf, int /*size*/) const {
    putU16(putU8(buf + commonHeaderSize, m_result), m_errorIndex);
    return 1;
}

int LCMPResponse::deserializeSpecific(const char* buf, int /*len*/) {
    m_result = getU8(buf + commonHeaderSize);
    m_errorIndex = getU16(buf + commonHeaderSize + 1);
    return RESULT_OK;
}

LCMPAmi::LCMPAmi(const std::string& peer) : LCMPMessage(amiKind, amiHeaderSize, peer) {
    setAction(LCMP_ACTION_AMI);
}

int LCMPAmi::serializeSpecific(char* buf, int /*size*/) const {
    putU32(putU32(buf + commonHeaderSize, m_seconds), m_microseconds);
    return 1;
}

int LCMPAmi::deserializeSpecific(const char* buf, int /*len*/) {
    m_seconds = getU32(buf + commonHeaderSize);
    m_microseconds = getU32(buf + commonHeaderSize + 4);
    return RESULT_OK;
}

void LCMPAmi::setTimestamp(std::uint32_t seconds, std::uint32_t microseconds) {
    m_seconds = seconds;
    m_microseconds = microseconds;
}

void doLcmpMsgCompileTimeAssertions() {
    static_assert(responseHeaderSize == commonHeaderSize + 1 + 2, "result and error index");
    static_assert(amiHeaderSize == commonHeaderSize + 4 + 4, "seconds and microseconds");
    static_assert(sizeof(unsigned int) == 4 && sizeof(unsigned short) == 2 && sizeof(unsigned long long) == 8,
                  "the typed access names the widths of the wire");
}
