// Several datagrams with one system call, where the platform has such calls; elsewhere one after the other.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "udpSocket.h"

namespace lcmpudpdetail {

/// Datagrams that have been received and wait to be handled, in the order of their coming.
class Inbox {
public:
    using Buffer = std::unique_ptr<char[]>;

    explicit Inbox(std::size_t bufferSize) : m_bufferSize(bufferSize) {}

    bool empty() const { return m_next == m_count; }
    int size() const { return static_cast<int>(m_count - m_next); }

    /// The socket is gone.
    void clear() {
        m_next = m_count;
        m_expectsMore = false;
        m_limit = 0;
    }

    /// Whether many may be there: as long as the last fill found many, and now and then to see. A call for
    /// several datagrams that finds one costs more than a call for one.
    bool isWorthFilling() { return m_singles == 0 || --m_singles == 0; }

    /// Receives what is there, at most `most`; the inbox is empty before. An error waits like a datagram.
    /// False: no more was there.
    bool fill(int fileDescriptor, int most, bool manyAddresses);

    /// Whether the last wait brought a frame: then the next is likely to, soon, and worth an await.
    bool expectsMore() const { return m_expectsMore; }
    void expectMore(bool more) { m_expectsMore = more; }

    /// Waits for what comes next, and receives it and what came with it; the inbox is empty before. One call
    /// instead of three where something comes soon; it gives up long before `milliseconds` (negative: for
    /// ever) are over. 0 with something in the inbox, which may be an error; EINTR; EAGAIN when nothing came.
    int await(int fileDescriptor, int milliseconds, bool manyAddresses);

    /// Takes the oldest out: its bytes change places with `buffer`, which may be null.
    Receipt take(Buffer& buffer);

private:
    bool limitAwait(int fileDescriptor, int milliseconds);
    char* place(std::size_t index);
    void receiveOne(int fileDescriptor, bool manyAddresses, Patience patience);
    void receiveMany(int fileDescriptor, std::size_t most, bool manyAddresses, Patience patience);

    std::size_t m_bufferSize;
    std::array<Buffer, batchSize> m_buffers;  // made when they are needed first
    std::array<Receipt, batchSize> m_receipts;
    int m_singles = 0;  // that are received one by one before the next fill
    std::size_t m_count = 0;
    std::size_t m_next = 0;
    bool m_expectsMore = false;
    int m_limit = 0;  // milliseconds that a receive of the socket waits at most; 0: none was set
};

/// Datagrams that are to be sent together, in this order.
class Outbox {
public:
    bool empty() const { return m_letters.empty(); }

    /// Whether the next is better sent without waiting any longer.
    bool full() const { return m_letters.size() >= batchSize || m_bytes.size() >= enoughBytes; }

    /// Copies the bytes.
    void add(const char* data, std::size_t size, const LcmpUdpAddress& to, std::uint32_t from);

    /// Sends all, whatever becomes of each, and forgets them. failed(to, error) tells of those that were not
    /// sent. Returns the number of those that were.
    template <typename Failed>
    int send(int fileDescriptor, Failed failed) {
        int sent = 0;
        for (std::size_t position = 0; position < m_letters.size();) {
            const Sent result = sendSome(fileDescriptor, position);
            sent += result.count;
            position += static_cast<std::size_t>(result.count);
            if (result.error != 0)
                failed(m_letters[position++].to, result.error);
        }
        m_letters.clear();
        m_bytes.clear();
        return sent;
    }

private:
    static constexpr std::size_t enoughBytes = 32768;

    struct Letter {
        std::size_t begin;
        std::size_t size;
        LcmpUdpAddress to;
        std::uint32_t from;
    };

    // `count` were sent; with an error, the one behind them was not.
    struct Sent {
        int count;
        int error;
    };

    Sent sendSome(int fileDescriptor, std::size_t first);

    std::vector<char> m_bytes;
    std::vector<Letter> m_letters;
};

}  // namespace lcmpudpdetail
