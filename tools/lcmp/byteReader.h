// A cursor over bytes that may be anything: it takes or leaves, and never looks past the end.
#pragma once

#include <cstdint>
#include <string_view>

namespace tool {

/// Every operation that takes tells whether there was enough; if not, nothing has moved. The bytes outlive
/// the reader.
class ByteReader {
public:
    enum class Order { big, little };

    explicit ByteReader(std::string_view bytes, Order order = Order::big) : m_rest(bytes), m_order(order) {}

    std::size_t left() const { return m_rest.size(); }
    std::string_view rest() const { return m_rest; }
    Order order() const { return m_order; }
    void setOrder(Order order) { m_order = order; }

    bool take(std::size_t count, std::string_view& bytes) {
        if (count > m_rest.size())
            return false;
        bytes = m_rest.substr(0, count);
        m_rest.remove_prefix(count);
        return true;
    }

    bool skip(std::size_t count) {
        std::string_view skipped;
        return take(count, skipped);
    }

    /// An unsigned number in the reader's byte order.
    template <typename T>
    bool take(T& value) {
        std::string_view bytes;
        if (!take(sizeof(T), bytes))
            return false;
        value = 0;
        for (std::size_t i = 0; i < sizeof(T); ++i) {
            const char c = bytes[m_order == Order::big ? i : sizeof(T) - 1 - i];
            value = static_cast<T>(std::uint64_t{value} << 8 | static_cast<unsigned char>(c));
        }
        return true;
    }

private:
    std::string_view m_rest;
    Order m_order;
};

}  // namespace tool
