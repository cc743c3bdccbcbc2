// Objects that an endpoint has to pass over on the way to the one that is asked for.
#pragma once

#include <memory>
#include <vector>

#include "lcmpProtocolBase.h"

namespace bench {

/// So many scalars and tables with one variable each, none of which has the kind, the id and the common flag
/// of `spared`. There are 164 such triples; when they run out they are used again.
class FillerObjects {
public:
    FillerObjects(unsigned int count, const LcmpObject& spared) {
        for (unsigned int triple = 0; m_objects.size() < count; triple = (triple + 1) % triples) {
            auto object = makeObject(triple);
            if (isLike(*object, spared))
                continue;
            object->addProp(new TypeProperty<unsigned int>(0, "filler", IFC_CARD_VAR_READ_ONLY, 0U), 0);
            m_objects.push_back(std::move(object));
        }
    }

    void registerAll(LcmpProtocolBase& endpoint) const {
        for (const auto& object : m_objects)
            endpoint.registerObject(object.get());
    }

private:
    static constexpr unsigned int tables = 64;        // of each flag
    static constexpr unsigned int scalars = 32;       // without the flag
    static constexpr unsigned int commonScalars = 4;  // with it
    static constexpr unsigned int triples = 2 * tables + scalars + commonScalars;

    static std::unique_ptr<LcmpObject> makeObject(unsigned int triple) {
        if (triple < 2 * tables)
            return std::make_unique<LcmpTable>("filler", triple % tables, triple >= tables, 1);
        const unsigned int scalar = triple - 2 * tables;
        return std::make_unique<LcmpScalar>("filler", scalar % scalars, scalar >= scalars);
    }

    static bool isLike(const LcmpObject& one, const LcmpObject& other) {
        return one.getObjectType() == other.getObjectType() && one.getId() == other.getId() &&
               one.isCommon() == other.isCommon();
    }

    std::vector<std::unique_ptr<LcmpObject>> m_objects;
};

}  // namespace bench
