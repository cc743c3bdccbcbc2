#include "peerTable.h"

#include <algorithm>

namespace lcmpdetail {

PeerTable::Peer* PeerTable::slotOf(const std::string& address) {
    const auto slot = std::find_if(m_peers.begin(), m_peers.end(),
                                   [&address](const Peer& peer) { return peer.address == address; });
    return slot != m_peers.end() ? &*slot : nullptr;
}

PeerTable::Peer* PeerTable::known(const std::string& address) {
    return address.empty() ? nullptr : slotOf(address);
}

PeerTable::Peer* PeerTable::find(const std::string& address) {
    Peer* slot = slotOf(address);
    if (slot != nullptr)
        return slot;
    slot = slotOf(std::string());
    if (slot != nullptr)
        slot->address = address;
    return slot;
}

PeerTable& peerTable() {
    static PeerTable table;
    return table;
}

}  // namespace lcmpdetail
