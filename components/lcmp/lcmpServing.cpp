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
    LCMPRequest request(response.getPeerAddress());
    const auto headerResult = static_cast<unsigned int>(request.deserialize(data, length));
    if (headerResult == RESULT_WRONG_LEN)
        return false;
    response.setResult(headerResult);
    // Served even so: a duplicate or a gap is reported in the response, never refused.
    response.setResult(checkMsgId(&request, response.getPeerAddress()));

    const ByteView elements{data + request.getHeaderSize(), length - request.getHeaderSize()};
    const int misfit = findMisfit(elements);
    if (misfit >= 0) {
        LCMP_ERROR("element %d does not fit into the request of %d bytes", misfit, length);
        return sendRefusal(response, RESULT_WRONG_LEN, misfit);
    }
    LegacyList legacy;
    request.m_properties.swap(m_spareList);
    request.m_properties.clear();
    const bool ordinary = resolveTlvs(length, data, request, legacy);
    const bool write = request.getAction() == LCMP_ACTION_WRITE;

    // A read has nothing to check but OIDs, and those of ordinary elements have been found valid.
    int faultIndex = 0;
    const unsigned int fault = ordinary && !write ? RESULT_OK : request.checkTlvs(faultIndex, this);
    if (fault != RESULT_OK) {
        m_refusedLegacy = std::move(legacy);
        m_spareList.swap(request.m_properties);
        return sendRefusal(response, fault, faultIndex);
    }
    LCMP_DEBUG3("LCMP %s message: length %d, %d tlvs", write ? "Write" : "Read", length,
                request.countTlvs(0));
    if (write)
        serveWrite(request, response);
    else
        serveRead(request, legacy, response);

    const bool sent = sendMessage(&response);
    m_spareList.swap(write ? request.m_properties : response.m_properties);
    legacy.clear();
    LCMP_DEBUG2("request handled: %s", sent ? "success" : "failed");
    return sent;
}

// Finds the property of every element, and lets its owner prepare for being read or written. True when
// nothing of an application's had a say in it and no element is a legacy one.
bool LcmpProtocolBase::resolveTlvs(int length, const char* data, LCMPRequest& request, LegacyList& legacy) {
    m_objectIndex->follow(lcmpObjects);
    bool ordinary = true;
    bool silent = !logs(debug2Level);
    ByteView rest{data + request.getHeaderSize(), length - request.getHeaderSize()};
    for (ElementView element; takeElement(rest, element);) {
        // Nearly always: a property of an object without hooks, and no line to write.
        LcmpProperty* property = m_objectIndex->look(element.header.oid).property;
        if (silent && property != nullptr && property->asOldStyle() == nullptr) {
            request.m_properties.push_back(property);
            continue;
        }
        resolveTlv(element, request, legacy);
        ordinary = false;
        silent = !logs(debug2Level);  // an application's hook may have changed it
    }
    return ordinary;
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
