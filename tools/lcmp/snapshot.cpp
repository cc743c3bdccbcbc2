#include "snapshot.h"

namespace tool {

std::optional<LcmpModelValue> heldValue(const Element& element) {
    constexpr unsigned int macAddressBytes = 6;
    if (!hasLengthOfType(element) || (element.type() == MAC_ADDRESS && element.length() != macAddressBytes))
        return std::nullopt;
    switch (element.type()) {
        case IPv4ADDRESS:
            return static_cast<unsigned long long>(element.tlv().getValueAsUInt32());
        case UNIX_TIME:
            return element.tlv().getValueAsInt64();
        case STRING:
        case BYTE_ARRAY:
        case MAC_ADDRESS:
            return element.bytes();
        default:
            return modelValue(element);
    }
}

Snapshot snapshotOf(const LcmpModel& model) {
    WalkOrder order(allParts(model));
    Snapshot snapshot;
    for (const WalkCell* cell = order.front(); cell != nullptr; cell = order.front()) {
        const LcmpModelVariable& definition = *cell->variable.definition;
        const auto first = definition.values.find(cell->row);
        Held held{cell->variable, Element(cell->variable.oid)};
        setValue(definition.type, first == definition.values.end() ? definition.defaultValue : first->second,
                 held.value);
        snapshot.push_back(std::move(held));
        order.pop();
    }
    return snapshot;
}

void SnapshotSink::take(const WalkCell& cell) {
    if (cell.outcome->value)
        m_snapshot.push_back({cell.variable, *cell.outcome->value});
}

}  // namespace tool
