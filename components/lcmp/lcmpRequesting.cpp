// The endpoint issues requests, and applies what replies and autonomous messages bring.
#include "detail/log.h"
#include "detail/objectIndex.h"
#include "detail/tlvWalk.h"
#include "lcmpProtocolBase.h"

using namespace lcmpdetail;

// ---------------------------------------------------------------- requests

bool LcmpProtocolBase::readObject(LcmpObject& obj) {
    LCMP_DEBUG3("read object %s", obj.getName().c_str());
    return sendProperties(LCMP_ACTION_READ, obj.getProperties());
}

bool LcmpProtocolBase::readObjects(std::vector<LcmpObject*> objs) {
    return sendProperties(LCMP_ACTION_READ, propertiesOf(objs));
}

bool LcmpProtocolBase::readProperty(LcmpProperty& prop) {
    LCMP_DEBUG3("reading property %s", prop.getName().c_str());
    return sendProperties(LCMP_ACTION_READ, {&prop});
}

bool LcmpProtocolBase::readPropertys(std::vector<LcmpProperty*> props) {
    LCMP_DEBUG3("reading list of propertys with length %d", static_cast<int>(props.size()));
    for (const LcmpProperty* property : props) {
        if (property != nullptr)
            LCMP_DEBUG3("reading list of propertys adding %s", property->getName().c_str());
    }
    return sendProperties(LCMP_ACTION_READ, props);
}

bool LcmpProtocolBase::writeObject(LcmpObject& obj) {
    LCMP_DEBUG3("writing object %s", obj.getName().c_str());
    return sendProperties(LCMP_ACTION_WRITE, obj.getProperties());
}

bool LcmpProtocolBase::writeObjects(std::vector<LcmpObject*> objs) {
    LCMP_DEBUG3("writing list of objects with length %d", static_cast<int>(objs.size()));
    return sendProperties(LCMP_ACTION_WRITE, propertiesOf(objs));
}

bool LcmpProtocolBase::writeProperty(LcmpProperty& prop) {
    LCMP_DEBUG3("writing property %s", prop.getName().c_str());
    return sendProperties(LCMP_ACTION_WRITE, {&prop});
}

bool LcmpProtocolBase::writePropertys(std::vector<LcmpProperty*> props) {
    LCMP_DEBUG3("writing list of propertys with length %d", static_cast<int>(props.size()));
    for (const LcmpProperty* property : props) {
        if (property != nullptr)
            LCMP_DEBUG3("writing list of propertys adding %s", property->getName().c_str());
    }
    return sendProperties(LCMP_ACTION_WRITE, props);
}

std::vector<LcmpProperty*> LcmpProtocolBase::propertiesOf(const std::vector<LcmpObject*>& objects) {
    std::vector<LcmpProperty*> properties;
    for (const LcmpObject* object : objects) {
        if (object == nullptr)
            continue;
        for (LcmpProperty* property : object->getProperties())
            properties.push_back(property);
    }
    return properties;
}

bool LcmpProtocolBase::sendProperties(unsigned char action, const std::vector<LcmpProperty*>& properties) {
    LCMPRequest request;
    for (LcmpProperty* property : properties)
        request.addProperty(property);
    return sendRequest(action, request);
}

bool LcmpProtocolBase::sendRequest(unsigned char action, LCMPRequest& request) {
    const int count = request.countTlvs(0);
    if (count == 0 || count > maxRequestTlvs) {
        LCMP_ERROR("invalid nr of tlvs [%d] should be lower then %d", count, maxRequestTlvs);
        LCMP_ERROR("Message is dropped, enable debug lvl 1 to see objects dropped !!!");
        return false;
    }
    LCMP_DEBUG3("Number of tlvs = %d", count);
    request.setAction(action);
    request.setMessageId(getNewMessageId());
    if (!sendMessage(&request))
        return false;
    // A copy: a hook that sends a request of its own replaces replyBuffer under our feet.
    const std::string reply = replyBuffer;
    return handleLcmpMsg(static_cast<int>(reply.size()), reply.data(), nullptr);
}

// ---------------------------------------------------------------- replies and autonomous messages

bool LcmpProtocolBase::handleResponse(int length, const char* data) {
    LCMPResponse response;
    if (response.deserialize(data, length) != RESULT_OK)
        return false;
    switch (response.getResult()) {
        case RESULT_OK:
            break;
        case RESULT_DUPLICATE_MSG:
            LCMP_WARNING("duplicate message reported by the receiver!");
            break;
        case RESULT_LOST_MSG:
            LCMP_WARNING("message where lost reported by the receiver!");
            break;
        default:
            LCMP_ERROR("the response has an error %i : %s", response.getResult(),
                       lcmpResultName(response.getResult()));
            return false;
    }
    if (response.getAction() == LCMP_ACTION_WRITE_RESPONSE)
        return true;
    if (response.getAction() != LCMP_ACTION_READ_RESPONSE)
        return false;
    std::vector<LcmpProperty*> accepted;
    return applyTlvs(response, length, data, Source::response, accepted);
}

bool LcmpProtocolBase::handleAmi(int length, const char* data) {
    LCMPAmi ami;
    const int result = ami.deserialize(data, length);
    if (result == RESULT_WRONG_LEN)
        return false;
    if (ami.getAction() != LCMP_ACTION_AMI) {
        LCMP_ERROR("handleAmi got a message that is not an AMI!");
        return false;
    }
    if (result != RESULT_OK)
        return false;
    LCMP_DEBUG1("handle AMI message");
    std::vector<LcmpProperty*> accepted;
    const bool applied = applyTlvs(ami, length, data, Source::ami, accepted);
    if (!amiMessageHandler(accepted)) {
        LCMP_ERROR("amiMessageHandler reported failure!");
        return false;
    }
    return applied;
}

// A bad element is skipped and the rest still applied; only one that does not fit ends the walk.
bool LcmpProtocolBase::applyTlvs(const LCMPMessage& message, int length, const char* data, Source source,
                                 std::vector<LcmpProperty*>& accepted) {
    ByteView rest{data + message.getHeaderSize(), length - message.getHeaderSize()};
    m_objectIndex->follow(lcmpObjects);
    bool allApplied = true;
    for (ElementView element; takeElement(rest, element);)
        allApplied = applyTlv(element, source, accepted) && allApplied;
    if (rest.left == 0)
        return allApplied;
    LCMP_ERROR_FOR(operationName(source), "the last %d bytes of the message are no whole element", rest.left);
    return false;
}

bool LcmpProtocolBase::applyTlv(const ElementView& element, Source source,
                                std::vector<LcmpProperty*>& accepted) {
    const char* operation = operationName(source);
    const unsigned int oid = element.header.oid;
    const Found found = findProperty(oid);
    if (found.property == nullptr) {
        LCMP_ERROR_FOR(operation, "the following oid is not found in the registered objects, skipping!");
        LCMP_ERROR_FOR(operation, "prop NOT found to update: oid %#x", oid);
        return false;
    }
    LcmpProperty& property = *found.property;
    if (source == Source::response)
        LCMP_DEBUG3_FOR(operation, "prop found to update: type %i, oid %x", property.getType(),
                        property.getOid());
    else
        LCMP_DEBUG2_FOR(operation, "prop found to update: type %i, oid %x", property.getType(),
                        property.getOid());
    if (!acceptsElement(property, element, source))
        return false;
    property.deserialize(element.begin);
    const bool succeeded = found.object->updated(&property, property.getRow());
    LCMP_DEBUG2_FOR(operation, "updated() call %s for %s, row %d", succeeded ? "succeeded" : "failed\n",
                    property.str().c_str(), property.getRow());
    accepted.push_back(&property);
    return true;
}

bool LcmpProtocolBase::acceptsElement(LcmpProperty& property, const ElementView& element, Source source) {
    const char* operation = operationName(source);
    int result = property.checkBuffer(element.begin, false);
    // The property will read its own width, so the frame must hold that, whatever is declared.
    if (result == RESULT_OK && static_cast<unsigned int>(element.space) < property.readWidth())
        result = RESULT_WRONG_LEN;
    if (result == RESULT_OK)
        return true;
    if (source == Source::response)
        LCMP_ERROR_FOR(operation, "response received has incorrect property with id 0x%x and error %i",
                       element.header.oid, result);
    else
        LCMP_ERROR_FOR(operation, "AMI message received has incorrect property with id 0x%x and error %i",
                       element.header.oid, result);
    LCMP_ERROR_FOR(operation, "skipping this property!");
    return false;
}

const char* LcmpProtocolBase::operationName(Source source) {
    return source == Source::response ? "handleResponse" : "handleAmi";
}
