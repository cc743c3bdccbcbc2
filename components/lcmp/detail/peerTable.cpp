#include "peerTable.h"

#include <algorithm>

namespace lcmpdetail {

PeerTable::Peer* PeerTable::find(const std::string& address) {
    const auto slotOf = [this](const std::string& wanted) {
        return std::find_if(m_peers.begin(), m_peers.end(),
                            [&wanted](const Peer& peer) { return peer.address == wanted; });
    };
    auto slot = slotOf(address);
    if (slot == m_peers.end()) {
        slot = slotOf(std::string());
        if (slot != m_peers.end())
            slot->address = address;
    }
    return slot != m_peers.end() ? &*slot : nullptr;
}

PeerTable& peerTable() {
    static PeerTable table;
    return table;
}

}  // namespace lcmpdetail
