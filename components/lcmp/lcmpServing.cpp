// The endpoint serves read and write requests.
#include <utility>

#include "detail/log.h"
#include "detail/objectIndex.h"
#include "detail/tlvWalk.h"
#include "lcmpProtocolBase.h"

using namespace lcmpdetail;

namespace {

// The position of the first element that does not fit into the frame; -1 when all do.
int findMisfit(ByteView rest) {
    int index = 0;
    for (ElementView element; takeElement(rest, element);)
        ++index;
    return rest.left == 0 ? -1 : index;
}

}  // namespace

bool LcmpProtocolBase::handleRequest(int length, const char* data, LCMPResponse& response) {
    LCMPRequest request;
    const auto headerResult = static_cast<unsigned int>(request.deserialize(data, length));
    if (headerResult == RESULT_WRONG_LEN)
        return false;
    response.setResult(headerResult);
    return serve(request, length, data, response);
}

bool LcmpProtocolBase::serve(LCMPRequest& request, int length, const char* data, LCMPResponse& response) {
    // Served even so: a duplicate or a gap is reported in the response, never refused.
    response.setResult(followMessageId(request.getMessageId(), response.getPeerAddress()));

    LegacyList legacy;
    request.m_properties.swap(m_spareList);
    request.m_properties.clear();
    const ByteView rest = resolvePlainTlvs({data + request.getHeaderSize(), length - request.getHeaderSize()},
                                           request.m_properties);
    const bool ordinary = rest.left == 0;
    const int misfit = ordinary ? -1 : findMisfit(rest);
    if (misfit >= 0) {
        const int position = request.countTlvs(0) + misfit;
        LCMP_ERROR_FOR("handleRequest", "element %d does not fit into the request of %d bytes", position,
                       length);
        m_spareList.swap(request.m_properties);
        return sendRefusal(response, RESULT_WRONG_LEN, position);
    }
    if (!ordinary)
        resolveTlvs(rest, request, legacy);
    const bool write = request.getAction() == LCMP_ACTION_WRITE;

    // A read has nothing to check but OIDs, and those of ordinary elements have been found valid.
    int faultIndex = 0;
    const unsigned int fault = ordinary && !write ? RESULT_OK : request.checkTlvs(faultIndex, this);
    if (fault != RESULT_OK) {
        m_refusedLegacy = std::move(legacy);
        m_spareList.swap(request.m_properties);
        return sendRefusal(response, fault, faultIndex);
    }
    LCMP_DEBUG3_FOR("handleRequest", "LCMP %s message: length %d, %d tlvs", write ? "Write" : "Read", length,
                    request.countTlvs(0));
    if (write)
        serveWrite(request, response);
    else
        serveRead(request, legacy, response);

    const bool sent = sendMessage(&response);
    m_spareList.swap(write ? request.m_properties : response.m_properties);
    legacy.clear();
    LCMP_DEBUG2_FOR("handleRequest", "request handled: %s", sent ? "success" : "failed");
    return sent;
}

// Nearly always all that is to be done: finds the properties of objects without hooks, as long as there is no
// line to write. Returns what is left from the first element on that is of another kind or does not fit.
// Nothing of an application's runs here, so a misfit further on is still found before anything is prepared.
ByteView LcmpProtocolBase::resolvePlainTlvs(ByteView rest, std::vector<LcmpProperty*>& properties) {
    m_objectIndex->follow(lcmpObjects);
    if (logs(debug2Level))
        return rest;
    NeighbourLookup lookup(*m_objectIndex);
    for (ElementView element; takeElement(rest, element);) {
        LcmpProperty* property = lookup.look(element.header.oid);
        if (property == nullptr || property->asOldStyle() != nullptr)
            return {element.begin, tlvHeaderSize + element.space};
        properties.push_back(property);
    }
    return rest;
}

// Finds the property of every element, and lets its owner prepare for being read or written.
void LcmpProtocolBase::resolveTlvs(ByteView rest, LCMPRequest& request, LegacyList& legacy) {
    for (ElementView element; takeElement(rest, element);)
        resolveTlv(element, request, legacy);
}

void LcmpProtocolBase::resolveTlv(const ElementView& element, LCMPRequest& request, LegacyList& legacy) {
    const Found found = findProperty(element.header.oid);
    if (found.property == nullptr) {
        LCMP_DEBUG2_FOR("handleRequest",
                        "%i not found in lcmpObjects, adding old style, making property for it\n",
                        element.header.oid);
        auto* raw = reinterpret_cast<lcmp_tlv*>(const_cast<char*>(element.begin));
        legacy.push_back(std::make_unique<OldStyleProperty>(raw, false));
        request.addProperty(legacy.back().get());
        return;
    }
    LCMP_DEBUG2_FOR("handleRequest", "prop adding: type %i, oid %x", found.property->getType(),
                    found.property->getOid());
    const bool succeeded = found.object->update(found.property, found.property->getRow());
    LCMP_DEBUG2_FOR("handleRequest", "update() call %s for %s, row %d", succeeded ? "succeeded" : "failed\n",
                    found.property->str().c_str(), found.property->getRow());
    request.addProperty(found.property);
}

void LcmpProtocolBase::serveRead(LCMPRequest& request, const LegacyList& legacy, LCMPResponse& response) {
    response.m_properties.swap(request.m_properties);
    for (std::size_t position = 0; position < legacy.size(); ++position) {
        if (handleLcmpMsgOld(legacy[position].get(), false))
            continue;
        // Counted among the legacy elements only: that is what peers expect here.
        refuse(response, RESULT_CANNOT_EXEC, static_cast<int>(position));
        break;
    }
    if (response.getHeaderSize() + response.sizeOfTlvs() > maxReadResponse)
        refuse(response, RESULT_TOO_LONG, 0);
}

void LcmpProtocolBase::serveWrite(LCMPRequest& request, LCMPResponse& response) {
    if (!request.deserializeTlvs(this))
        refuse(response, RESULT_CANNOT_EXEC, 0);
}

void LcmpProtocolBase::refuse(LCMPResponse& response, unsigned int result, int errorIndex) {
    response.setResult(result);
    response.setErrorIndex(static_cast<std::uint16_t>(errorIndex));
    response.clearProperties();
}

bool LcmpProtocolBase::sendRefusal(LCMPResponse& response, unsigned int result, int errorIndex) {
    refuse(response, result, errorIndex);
    return sendMessage(&response);
}
