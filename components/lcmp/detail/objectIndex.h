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
        const Position first = m_firstOfKey[keyOf(oid)];
        if (first == none || !m_onlyKnown)
            return {};
        const Known& known = m_known[first];
        return {known.properties->find((oid >> known.idShift) & known.idMask, oid & known.rowMask),
                known.object};
    }

    /// Asks, in the order of registration, those of the objects that can have the OID.
    Found ask(const std::vector<LcmpObject*>& objects, std::uint32_t oid);

private:
    using Position = std::uint32_t;  // in the order of registration

    // An object that its OIDs are enough to find, and where they have a property's id and row.
    struct Known {
        LcmpObject* object;
        const PropertyIndex* properties;
        std::uint32_t idShift;
        std::uint32_t idMask;
        std::uint32_t rowMask;
        Position next;  // of those with the same key
    };

    static constexpr Position none = 0xFFFFFFFF;

    // Kind, common flag and the six bits of a table id. A scalar's group has five of them: it has two keys.
    static constexpr unsigned int keyOf(std::uint32_t oid) {
        return ((oid >> 23) & 0x180) | ((oid >> 22) & 0x7F);
    }

    void enter(std::uint32_t smallestOid, Position position);
    std::vector<LcmpObject*> m_objects;
    unsigned int m_destroyedBefore = 0;
    std::array<Position, 512> m_firstOfKey{};
    std::vector<Known> m_known;      // by position
    std::vector<Position> m_others;  // objects of derived classes
    bool m_onlyKnown = false;        // there are no others
};

}  // namespace lcmpdetail
