// Finds the registered object of an OID without asking each of them.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "oidLayout.h"
#include "propertyIndex.h"

class LcmpObject;

namespace lcmpdetail {

/// A property and the object that answered with it. Without a property the object means nothing.
struct Found {
    LcmpProperty* property = nullptr;
    LcmpObject* object = nullptr;
};

/// How many objects of this process have been destroyed. Another may lie at the address of one of them.
extern unsigned int objectsDestroyed;

/// Knows which of the registered objects can have an OID. Only an object whose lookup is the library's own is
/// known by its kind, common flag and id; one of a derived class may answer to any OID and is asked in its
/// turn. So the answer is always that of asking every object in the order of registration.
class ObjectIndex {
public:
    /// Becomes true of these objects. Cheap when they are the same as before.
    void follow(const std::vector<LcmpObject*>& objects);

    /// To be called when objects have been registered.
    void forget() {
        m_objects.clear();
        m_onlyKnown = false;
    }

    /// The property with this OID, found without asking anybody; null when that cannot tell.
    Found look(std::uint32_t oid) const {
        const Known* known = knownOf(oid);
        if (known == nullptr)
            return {};
        return {known->find(oid), known->object};
    }

    /// Asks, in the order of registration, those of the objects that can have the OID.
    Found ask(const std::vector<LcmpObject*>& objects, std::uint32_t oid);

private:
    friend class NeighbourLookup;

    using Position = std::uint32_t;  // in the order of registration

    static constexpr unsigned int objectBits = 22;  // the low bits of an OID; those above tell the object

    // An object that its OIDs are enough to find, and where they have a property's id and row.
    struct Known {
        LcmpObject* object;
        const PropertyIndex* properties;
        std::uint32_t idShift;
        std::uint32_t idMask;
        std::uint32_t rowMask;
        Position next;  // of those with the same key

        LcmpProperty* find(std::uint32_t oid) const {
            return properties->find((oid >> idShift) & idMask, oid & rowMask);
        }
    };

    static constexpr Position none = 0xFFFFFFFF;

    // Kind, common flag and the six bits of a table id. A scalar's group has five of them: it has two keys.
    static constexpr unsigned int keyOf(std::uint32_t oid) {
        return ((oid >> 23) & 0x180) | ((oid >> 22) & 0x7F);
    }

    // The first object that can have the OID; null when there is none, or others could have it.
    const Known* knownOf(std::uint32_t oid) const {
        const Position first = m_firstOfKey[keyOf(oid)];
        return first != none && m_onlyKnown ? &m_known[first] : nullptr;
    }

    void enter(std::uint32_t smallestOid, Position position);

    std::vector<LcmpObject*> m_objects;
    unsigned int m_destroyedBefore = 0;
    std::array<Position, 512> m_firstOfKey{};
    std::vector<Known> m_known;      // by position
    std::vector<Position> m_others;  // objects of derived classes
    bool m_onlyKnown = false;        // there are no others
};

/// Looks OIDs up one after the other. Neighbours in a request are nearly always of one object, which is then
/// found once. Nothing may be registered or destroyed meanwhile.
class NeighbourLookup {
public:
    explicit NeighbourLookup(const ObjectIndex& index) : m_index(index) {}

    /// The same as ObjectIndex::look.
    LcmpProperty* look(std::uint32_t oid) {
        if (m_known == nullptr || (oid ^ m_oid) >> ObjectIndex::objectBits != 0) {
            m_known = m_index.knownOf(oid);
            m_oid = oid;
            if (m_known == nullptr)
                return nullptr;
        }
        return m_known->find(oid);
    }

private:
    const ObjectIndex& m_index;
    const ObjectIndex::Known* m_known = nullptr;
    std::uint32_t m_oid = 0;  // of the element that found it
};

}  // namespace lcmpdetail
