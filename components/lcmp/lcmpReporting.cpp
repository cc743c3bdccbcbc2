// The endpoint reports changes: it finds them, collects them in one pending AMI and sends it.
#include <time.h>

#include <new>

#include "detail/log.h"
#include "detail/withdrawal.h"
#include "lcmpProtocolBase.h"

using namespace lcmpdetail;

namespace {

// All three belong to the process and are shared by its endpoints.
bool initDone = false;          // the first event pass has run
LCMPAmi* pendingAmi = nullptr;  // made by the first addToAmi, kept for the life of the process
int pendingCount = 0;           // added since it was last sent

void withdrawFromPendingAmi(const LcmpProperty* property) { pendingAmi->removeProperty(property); }

}  // namespace

// ---------------------------------------------------------------- finding changes

int LcmpProtocolBase::eventAdd(std::vector<LcmpObject*>& objects) {
    int reported = 0;
    for (const LcmpObject* object : objects) {
        if (object == nullptr)
            continue;
        for (LcmpProperty* property : object->getPropertiesToEvent()) {
            addToAmi(property, false);
            ++reported;
        }
    }
    return reported;
}

int LcmpProtocolBase::eventHandler() {
    LCMP_DEBUG1("initDone=%d", initDone ? 1 : 0);
    const int reported = eventAdd(lcmpObjects);
    if (initDone) {
        checkForEvent(nullptr, nullptr, false, true);
        return reported;
    }
    // What the first pass found is the state at start-up: collected, but no reason to send.
    initDone = true;
    return 0;
}

namespace {

bool readUnsigned(LcmpProperty& property, unsigned long long& value) {
    switch (property.length()) {
        case 1: {
            unsigned char byte = 0;
            property.get(&byte);
            value = byte;
            return true;
        }
        case 2: {
            unsigned short word = 0;
            property.get(&word);
            value = word;
            return true;
        }
        case 4: {
            unsigned int word = 0;
            property.get(&word);
            value = word;
            return true;
        }
        case 8:
            value = 0;
            property.get(&value);
            return true;
        default:
            return false;
    }
}

}  // namespace

bool LcmpProtocolBase::checkForEvent(unsigned long long* lastValue, LcmpProperty* property, bool reporting,
                                     bool sendNow) {
    if (sendNow) {
        addToAmi(property, true);
        return false;
    }
    if (lastValue == nullptr || property == nullptr)
        return false;
    unsigned long long value = 0;
    if (!readUnsigned(*property, value)) {
        LCMP_DEBUG1("not supported len=%d id=0x%08x", property->length(), property->getId());
        return false;
    }
    if (!reporting) {
        // Stored first: the line shows the new value twice.
        *lastValue = value;
        LCMP_DEBUG2("init event oid=0x%08x len=%d %llu ==> %llu", property->getId(), property->length(),
                    *lastValue, value);
        return false;
    }
    if (value == *lastValue)
        return false;
    addToAmi(property, false);
    LCMP_DEBUG1("event oid=0x%08x len=%d type=%d %llu ==> %llu", property->getId(), property->length(),
                property->getType(), *lastValue, value);
    *lastValue = value;
    return true;
}

// ---------------------------------------------------------------- the pending AMI

void LcmpProtocolBase::addToAmi(LcmpProperty* prop, bool flush) {
    static bool firstUse = true;
    if (firstUse) {
        firstUse = false;
        pendingAmi = new (std::nothrow) LCMPAmi();
        withdrawProperty = pendingAmi != nullptr ? withdrawFromPendingAmi : nullptr;
    }
    if (pendingAmi == nullptr) {
        LCMP_ERROR("invalid ptr");
        return;
    }
    if (flush) {
        flushPendingAmi();
        return;
    }
    if (prop == nullptr)
        return;
    pendingAmi->addProperty(prop);
    LCMP_DEBUG1("add event %d oid=%#x size=%d", pendingCount, prop->getId(), prop->length());
    if (++pendingCount > maxPendingTlvs)
        // By itself it keeps its properties: they go out again with the next one, until a flush.
        sendPendingAmi();
}

void LcmpProtocolBase::sendPendingAmi() {
    // A failed sending counts as one: what changed is not reported late.
    sendAmiMsgBase(pendingAmi);
    LCMP_DEBUG1_FOR("addToAmi", "send ami msg with %d tlvs", pendingCount);
    pendingCount = 0;
}

void LcmpProtocolBase::flushPendingAmi() {
    if (pendingCount == 0)
        return;
    sendPendingAmi();
    pendingAmi->clearProperties();
    for (LcmpProperty* property : tempProperties)
        delete property;
    tempProperties.clear();
}

bool LcmpProtocolBase::sendAmiMsgBase(LCMPAmi* ami) {
    if (ami == nullptr || ami->countTlvs(0) == 0)
        return false;
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    ami->setMessageId(getNewMessageId());
    ami->setTimestamp(static_cast<std::uint32_t>(now.tv_sec), static_cast<std::uint32_t>(now.tv_nsec / 1000));
    return sendMessage(ami);
}
