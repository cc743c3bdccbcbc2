// The index of registered objects: what needs to know objects.
#include <typeinfo>

#include "detail/objectIndex.h"
#include "lcmpObjects.h"

namespace lcmpdetail {

namespace {

constexpr unsigned int lastTableId = 0x3F;
constexpr unsigned int lastScalarGroup = 0x1F;

}  // namespace

void ObjectIndex::follow(const std::vector<LcmpObject*>& objects) {
    if (objects == m_objects && m_destroyedBefore == objectsDestroyed && !objects.empty())
        return;
    // Until all is entered it follows nobody: when memory is lacking, the next call begins anew.
    forget();
    m_firstOfKey.fill(none);
    m_known.assign(objects.size(), Known{});
    m_others.clear();
    // From the last to the first, so that each goes in front of those registered later.
    for (Position position = static_cast<Position>(objects.size()); position-- > 0;) {
        LcmpObject* object = objects[position];
        if (object == nullptr)
            continue;
        const unsigned int id = object->getId();
        const bool common = object->isCommon();
        Known& known = m_known[position];
        // Ids beyond their field are in no OID.
        if (typeid(*object) == typeid(LcmpTable)) {
            known = {object, object->m_index.get(), 14, 0xFF, 0x3FFF, none};
            if (id <= lastTableId)
                enter(tableOid(id, 0, 0, common), position);
        } else if (typeid(*object) == typeid(LcmpScalar)) {
            known = {object, object->m_index.get(), 0, 0x7FFFFF, 0, none};
            if (id <= (common ? lastCommonScalarGroup : lastScalarGroup)) {
                enter(scalarOid(id, 0, common), position);
                m_firstOfKey[keyOf(scalarOid(id, 0x400000, common))] = position;
            }
        } else {
            m_others.insert(m_others.begin(), position);
        }
    }
    m_objects = objects;
    m_destroyedBefore = objectsDestroyed;
    m_onlyKnown = m_others.empty();
}

void ObjectIndex::enter(std::uint32_t smallestOid, Position position) {
    Position& first = m_firstOfKey[keyOf(smallestOid)];
    m_known[position].next = first;
    first = position;
}

// An application's lookup may lead back here and change what is followed: nothing is held across it.
Found ObjectIndex::ask(const std::vector<LcmpObject*>& objects, std::uint32_t oid) {
    follow(objects);
    Position next = m_firstOfKey[keyOf(oid)];
    std::size_t other = 0;
    while (next < m_objects.size() || other < m_others.size()) {
        const bool otherFirst = other < m_others.size() && m_others[other] < next;
        const Position position = otherFirst ? m_others[other++] : next;
        if (!otherFirst)
            next = m_known[next].next;
        LcmpObject* object = m_objects[position];
        if (LcmpProperty* property = object->getPropFromOID(oid))
            return {property, object};
    }
    return {};
}

}  // namespace lcmpdetail
