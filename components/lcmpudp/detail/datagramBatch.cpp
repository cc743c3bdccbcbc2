#include "datagramBatch.h"

#include <algorithm>
#include <utility>

namespace lcmpudpdetail {

// ---------------------------------------------------------------- in

bool Inbox::fill(int fileDescriptor, int most, bool manyAddresses) {
    const auto wanted = static_cast<std::size_t>(std::clamp(most, 1, batchSize));
    std::array<char*, batchSize> places{};
    for (std::size_t i = 0; i < wanted; ++i) {
        if (m_buffers[i] == nullptr)
            m_buffers[i].reset(new char[m_bufferSize]);
        places[i] = m_buffers[i].get();
    }
    m_count = receiveDatagrams(fileDescriptor, places.data(), m_bufferSize, wanted, manyAddresses,
                               m_receipts.data());
    m_next = 0;
    m_singles = m_count > 1 ? 0 : batchSize;
    return m_count == wanted || (m_count > 0 && m_receipts[m_count - 1].error != 0);
}

Receipt Inbox::take(Buffer& buffer) {
    std::swap(buffer, m_buffers[m_next]);
    return m_receipts[m_next++];
}

// ---------------------------------------------------------------- out

void Outbox::add(const char* data, std::size_t size, const LcmpUdpAddress& to, std::uint32_t from) {
    const std::size_t begin = m_bytes.size();
    m_bytes.insert(m_bytes.end(), data, data + size);
    m_letters.push_back({begin, size, to, from});
}

Outbox::Sent Outbox::sendSome(int fileDescriptor, std::size_t first) {
    Shipment shipments[batchSize];
    const std::size_t count = std::min<std::size_t>(m_letters.size() - first, batchSize);
    for (std::size_t i = 0; i < count; ++i) {
        const Letter& letter = m_letters[first + i];
        shipments[i] = {m_bytes.data() + letter.begin, letter.size, letter.to, letter.from};
    }
    int error = 0;
    const int sent = sendDatagrams(fileDescriptor, shipments, count, error);
    return {sent, error};
}

}  // namespace lcmpudpdetail
