// The endpoint's core: construction, registration, the receive dispatch, message ids.
#include "lcmpProtocolBase.h"

#include <arpa/inet.h>

#include <cstdio>

#include "detail/log.h"
#include "detail/objectIndex.h"
#include "detail/peerTable.h"
#include "detail/text.h"

using namespace lcmpdetail;

namespace {

constexpr int smallestFrame = 8;  // bytes: the header that every kind begins with

constexpr std::uint8_t peerTableFull = 16;
constexpr std::uint8_t peerNotIpv4 = 17;

}  // namespace

LcmpProtocolBase::LcmpProtocolBase() : LcmpProtocolBase(true) {}

LcmpProtocolBase::LcmpProtocolBase(bool errorReplies)
    : sendErrorReplies(errorReplies),
      eventTables{},
      reserved(0),
      lastMessageId(0),
      m_objectIndex(std::make_unique<ObjectIndex>()) {
    static_assert(maxPeers == peerCount, "one limit, told to users and kept by the table");
    // The base's own initEventsCore: a subclass is not there yet, and calls initEvents itself.
    initEvents();
}

LcmpProtocolBase::~LcmpProtocolBase() { deleteEventTables(); }

bool LcmpProtocolBase::initEventsCore() {
    LCMP_DEBUG1("created no event tables because subclass did not provided method");
    return true;
}

bool LcmpProtocolBase::handleLcmpMsgOld(OldStyleProperty* /*prop*/, bool /*write*/) { return false; }

std::uint8_t LcmpProtocolBase::checkTlvOld(OldStyleProperty* /*prop*/, bool /*write*/) const {
    return RESULT_GENERAL_ERROR;
}

bool LcmpProtocolBase::eventHandlerOld(LCMPTlv* /*oldValue*/, LCMPTlv* /*newValue*/, bool /*sendNow*/) {
    return false;
}

std::uint16_t LcmpProtocolBase::getNewMessageId() { return ++lastMessageId; }

bool LcmpProtocolBase::amiMessageHandler(std::vector<LcmpProperty*> /*props*/) { return false; }

bool LcmpProtocolBase::initEvents() {
    if (initEventsCore())  // NOLINT(clang-analyzer-optin.cplusplus.VirtualCall): see the constructor
        return true;
    deleteEventTables();
    return false;
}

void LcmpProtocolBase::deleteEventTables() {
    for (EventValueTable*& table : eventTables) {
        delete table;
        table = nullptr;
    }
}

void LcmpProtocolBase::registerObject(LcmpObject* obj) {
    lcmpObjects.push_back(obj);
    m_objectIndex->forget();
}

// At DEBUG3 every object that is asked writes a line, so there each one is asked.
Found LcmpProtocolBase::findProperty(unsigned int oid) {
    if (logs(debug3Level))
        return askEveryObject(oid);
    const Found found = m_objectIndex->look(oid);
    return found.property != nullptr ? found : m_objectIndex->ask(lcmpObjects, oid);
}

Found LcmpProtocolBase::askEveryObject(unsigned int oid) const {
    // By position: an application's lookup may register objects meanwhile.
    for (std::size_t position = 0; position < lcmpObjects.size(); ++position) {
        LcmpObject* object = lcmpObjects[position];
        if (object == nullptr)
            continue;
        if (LcmpProperty* property = object->getPropFromOID(oid))
            return {property, object};
    }
    return {};
}

// ---------------------------------------------------------------- receiving

bool LcmpProtocolBase::handleLcmpMsg(int length, const char* data, const char* peer) {
    LCMP_DEBUG2("handling lcmp msg of length %i", length);
    if (length < smallestFrame) {
        LCMP_ERROR("received message is to small for even a message header!");
        return false;
    }
    // Every kind begins with the header of a request, and nearly always it is one.
    LCMPRequest request;
    LCMPResponse response(peer != nullptr ? peer : "");
    const auto result = static_cast<unsigned int>(request.deserialize(data, length));
    response.setAction(request.getAction() == LCMP_ACTION_READ ? LCMP_ACTION_READ_RESPONSE
                                                               : LCMP_ACTION_WRITE_RESPONSE);
    response.setMessageId(request.getMessageId());
    response.setResult(result);
    LCMP_DEBUG2("LCMP message: id %u, action %d, length %d", request.getMessageId(), request.getAction(),
                length);

    switch (result) {
        case RESULT_INVALID_ACTION:
            LCMP_ERROR("invalid action received!");
            return sendErrorReplies && sendMessage(&response);
        case RESULT_WRONG_MAGIC:
            // Not a frame of this protocol, so nothing that went wrong with it.
            LCMP_DEBUG1("magic number is incorrect!, returning true");
            return true;
        case RESULT_PROTOCOL_VERSION_MISMATCH:
            LCMP_ERROR("protocol mismatch!");
            return sendErrorReplies && sendMessage(&response);
        default:
            return dispatch(request, length, data, response);
    }
}

bool LcmpProtocolBase::dispatch(LCMPRequest& request, int length, const char* data, LCMPResponse& response) {
    switch (request.getAction()) {
        case LCMP_ACTION_READ:
        case LCMP_ACTION_WRITE:
            return serve(request, length, data, response);
        case LCMP_ACTION_READ_RESPONSE:
        case LCMP_ACTION_WRITE_RESPONSE:
            return handleResponse(length, data);
        case LCMP_ACTION_AMI:
            return handleAmi(length, data);
        default:
            return false;
    }
}

// ---------------------------------------------------------------- message ids

namespace {

bool isIpv4(const std::string& text) {
    in_addr address;
    return inet_pton(AF_INET, text.c_str(), &address) == 1;
}

}  // namespace

std::uint8_t LcmpProtocolBase::checkMsgId(const LCMPMessage* msg, std::string peer) {
    return followMessageId(msg->getMessageId(), peer);
}

std::uint8_t LcmpProtocolBase::followMessageId(std::uint16_t id, const std::string& peer) {
    LCMP_DEBUG3_FOR("checkMsgId", "IpAdress being verified : %s\n", peer.c_str());
    PeerTable::Peer* known = peerTable().known(peer);  // was looked at when it was entered
    if (known == nullptr) {
        if (peer.empty())
            LCMP_WARNING_FOR("checkMsgId", "IP Address received is NULL");
        else if (!isIpv4(peer))
            return peerNotIpv4;
        known = peerTable().find(peer);
    }
    if (known == nullptr) {
        LCMP_WARNING_FOR("checkMsgId", "Total IP contexts that can be verified is %d", maxPeers);
        return peerTableFull;
    }
    if (!known->seen) {
        known->seen = true;
        known->lastId = id;
        return RESULT_OK;
    }
    if (id == known->lastId) {
        LCMP_WARNING_FOR("checkMsgId", "Duplicate message msgId=%d", id);
        return RESULT_DUPLICATE_MSG;
    }
    const int expected = known->lastId + 1;
    known->lastId = id;
    if (static_cast<std::uint16_t>(expected) == id)
        return RESULT_OK;
    // Shown as counted: after 65535 the range begins with 65536.
    LCMP_WARNING_FOR("checkMsgId", "Messages with msgId in range %d -> %d were lost", expected, id);
    return RESULT_LOST_MSG;
}

// ---------------------------------------------------------------- hex dump

namespace {

constexpr unsigned int bytesPerDumpLine = 8;

bool isPrintable(unsigned char byte) { return byte >= 0x20 && byte <= 0x7E; }

std::string dumpLine(const unsigned char* data, unsigned int offset, unsigned int count) {
    char part[16];
    std::snprintf(part, sizeof part, "%04d: ", static_cast<int>(offset));
    std::string line = part;
    std::string characters = "| ";
    for (unsigned int i = 0; i < bytesPerDumpLine; ++i) {
        if (i >= count) {
            line += "   ";
            continue;
        }
        const unsigned char byte = data[offset + i];
        std::snprintf(part, sizeof part, "%02X ", byte);
        line += part;
        characters += isPrintable(byte) ? static_cast<char>(byte) : '.';
    }
    return line + characters + "\n";
}

}  // namespace

void LcmpProtocolBase::dump_hex(const unsigned char* data, unsigned int length) {
    TextStream lines;
    for (unsigned int offset = 0; offset < length;) {
        const unsigned int count = length - offset < bytesPerDumpLine ? length - offset : bytesPerDumpLine;
        lines << dumpLine(data, offset, count);
        offset += count;
    }
    std::printf("\n hex dump\n%s", lines.str().c_str());
}
