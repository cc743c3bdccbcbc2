#include "datagramBatch.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace lcmpudpdetail {

// ---------------------------------------------------------------- in

namespace {

// The system rounds the limit of a receive up to its ticks, and setting it costs a call. So it is a fraction
// of the wait that it serves, and stays for shorter and longer ones.
constexpr int longestAwait = 3600 * 1000;  // milliseconds
constexpr int shortestAwait = 20;

constexpr int singlesBetweenFills = 64;

}  // namespace

char* Inbox::place(std::size_t index) {
    if (m_buffers[index] == nullptr)
        m_buffers[index].reset(new char[m_bufferSize]);
    return m_buffers[index].get();
}

void Inbox::receiveOne(int fileDescriptor, bool manyAddresses, Patience patience) {
    m_receipts[0] = receiveDatagram(fileDescriptor, place(0), m_bufferSize, manyAddresses, patience);
    m_count = isNothingThere(m_receipts[0].error) ? 0 : 1;
    m_next = 0;
}

void Inbox::receiveMany(int fileDescriptor, std::size_t most, bool manyAddresses, Patience patience) {
    std::array<char*, batchSize> places{};
    for (std::size_t i = 0; i < most; ++i)
        places[i] = place(i);
    m_count = receiveDatagrams(fileDescriptor, places.data(), m_bufferSize, most, manyAddresses,
                               m_receipts.data(), patience);
    m_next = 0;
    m_singles = m_count > 1 ? 0 : singlesBetweenFills;
}

bool Inbox::fill(int fileDescriptor, int most, bool manyAddresses) {
    const auto wanted = static_cast<std::size_t>(std::clamp(most, 1, batchSize));
    receiveMany(fileDescriptor, wanted, manyAddresses, Patience::none);
    return m_count == wanted || (m_count > 0 && m_receipts[m_count - 1].error != 0);
}

int Inbox::await(int fileDescriptor, int milliseconds, bool manyAddresses) {
    if (!limitAwait(fileDescriptor, milliseconds))
        return EAGAIN;
    if (isWorthFilling())
        receiveMany(fileDescriptor, batchSize, manyAddresses, Patience::some);
    else
        receiveOne(fileDescriptor, manyAddresses, Patience::some);
    if (empty())
        return EAGAIN;
    if (m_receipts[0].error != EINTR)
        return 0;
    m_next = m_count;
    return EINTR;
}

// False: so short a wait, or such a system, is better served elsewhere.
bool Inbox::limitAwait(int fileDescriptor, int milliseconds) {
    const int time = milliseconds < 0 ? longestAwait : std::min(milliseconds, longestAwait);
    if (time < shortestAwait)
        return false;
    if (m_limit >= time / 8 && m_limit <= time / 2)
        return true;
    m_limit = limitReceive(fileDescriptor, time / 4) == 0 ? time / 4 : 0;
    return m_limit != 0;
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
