#include "datagramBatch.h"

#include <algorithm>
#include <utility>

namespace lcmpudpdetail {

// ---------------------------------------------------------------- in

Inbox::Buffer& Inbox::bufferAt(std::size_t position) {
    if (position >= m_buffers.size())
        m_buffers.resize(position + 1);
    Buffer& buffer = m_buffers[position];
    if (buffer == nullptr)
        buffer.reset(new char[m_bufferSize]);
    return buffer;
}

bool Inbox::fill(int fileDescriptor, int most, bool manyAddresses) {
    const auto wanted = static_cast<std::size_t>(std::clamp(most, 1, batchSize));
    char* places[batchSize];
    for (std::size_t i = 0; i < wanted; ++i)
        places[i] = bufferAt(i).get();
    Receipt receipts[batchSize];
    const std::size_t received =
        receiveDatagrams(fileDescriptor, places, m_bufferSize, wanted, manyAddresses, receipts);
    m_receipts.assign(receipts, receipts + received);
    m_next = 0;
    return received == wanted || (received > 0 && receipts[received - 1].error != 0);
}

Receipt Inbox::take(Buffer& buffer) {
    std::swap(buffer, m_buffers[m_next]);
    return m_receipts[m_next++];
}

// ---------------------------------------------------------------- out

void Outbox::add(const char* data, std::size_t size, const LcmpUdpAddress& to, std::uint32_t from) {
    m_letters.push_back({m_bytes.size(), size, to, from});
    m_bytes.insert(m_bytes.end(), data, data + size);
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
