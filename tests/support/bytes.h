// Bytes as people write them, and buffers that end at a page nobody may touch.
#pragma once

#include <cstddef>
#include <string>

/// "4F54 4E31 | 01" or "4F544E3101": the bytes; blanks and '|' only separate. Anything else throws.
std::string bytes(const std::string& hex);

/// The other way: "4F 54 4E 31".
std::string hex(const std::string& data);

/// A copy of some bytes whose last byte is the last one before an unmapped page: one byte too many ends the
/// process. The byte before the first is mapped.
class GuardedBytes {
public:
    explicit GuardedBytes(const std::string& data);
    explicit GuardedBytes(std::size_t size, char fill = '\0');
    ~GuardedBytes();
    GuardedBytes(const GuardedBytes&) = delete;
    GuardedBytes& operator=(const GuardedBytes&) = delete;

    char* data() { return m_data; }
    int size() const { return static_cast<int>(m_size); }
    std::string str() const { return {m_data, m_size}; }

private:
    char* m_mapping;
    std::size_t m_mappingSize;
    char* m_data;
    std::size_t m_size;
};
