// Bytes with nothing behind them: one byte too many is a finding. AddressSanitizer sees to that; without it
// an unmapped page does.
#pragma once

#include <cstring>
#include <memory>
#include <string>

#include "bytes.h"
#include "sanitized.h"

namespace fuzz {

class ExactBuffer {
public:
    explicit ExactBuffer(const std::string& data) : ExactBuffer(data.size()) {
        if (!data.empty())
            std::memcpy(this->data(), data.data(), data.size());
    }

#ifdef FUZZ_ADDRESS_SANITIZER
    explicit ExactBuffer(std::size_t size, char fill = '\0') : m_data(new char[size]), m_size(size) {
        std::memset(m_data.get(), fill, size);
    }

    char* data() { return m_data.get(); }
    int size() const { return static_cast<int>(m_size); }
    std::string str() const { return {m_data.get(), m_size}; }

private:
    std::unique_ptr<char[]> m_data;
    std::size_t m_size;
#else
    explicit ExactBuffer(std::size_t size, char fill = '\0') : m_bytes(size, fill) {}

    char* data() { return m_bytes.data(); }
    int size() const { return m_bytes.size(); }
    std::string str() const { return m_bytes.str(); }

private:
    GuardedBytes m_bytes;
#endif
};

}  // namespace fuzz
