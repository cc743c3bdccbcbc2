// Who has sent requests to this process, and the message id each of them sent last.
#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace lcmpdetail {

constexpr int peerCount = 5;

class PeerTable {
public:
    struct Peer {
        std::string address;
        bool seen = false;
        std::uint16_t lastId = 0;
    };

    /// The peer's slot if it has been entered; null for the empty address.
    Peer* known(const std::string& address);

    /// The peer's slot, entered if there is a free one; null when all are taken by others. The empty address
    /// is never entered: it gets the first free slot, if there is one, and shares it with whoever is
    /// entered there next.
    Peer* find(const std::string& address);

private:
    Peer* slotOf(const std::string& address);

    std::array<Peer, peerCount> m_peers;
};

/// The one table of the process.
PeerTable& peerTable();

}  // namespace lcmpdetail
