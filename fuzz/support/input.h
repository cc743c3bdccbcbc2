// What a target takes off its input, from front to back. An input that ends early reads as zeros.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

namespace fuzz {

class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : m_data(data), m_left(size) {}

    bool empty() const { return m_left == 0; }

    unsigned int u8() {
        if (m_left == 0)
            return 0;
        --m_left;
        return *m_data++;
    }

    /// Big-endian, `width` bytes.
    unsigned long long word(unsigned int width) {
        unsigned long long value = 0;
        for (unsigned int i = 0; i < width; ++i)
            value = value << 8 | u8();
        return value;
    }

    unsigned int u16() { return static_cast<unsigned int>(word(2)); }
    unsigned int u32() { return static_cast<unsigned int>(word(4)); }

    /// At most `size` bytes: as many as there are.
    std::string bytes(std::size_t size) {
        const std::size_t count = std::min(size, m_left);
        std::string taken(reinterpret_cast<const char*>(m_data), count);
        m_data += count;
        m_left -= count;
        return taken;
    }

    /// Bytes behind a length of two bytes.
    std::string record() { return bytes(u16()); }

    std::string rest() { return bytes(m_left); }

private:
    const std::uint8_t* m_data;
    std::size_t m_left;
};

}  // namespace fuzz
