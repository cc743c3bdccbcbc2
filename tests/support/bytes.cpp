#include "bytes.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <stdexcept>

std::string bytes(const std::string& hex) {
    std::string digits;
    for (const char c : hex) {
        if (c == ' ' || c == '|' || c == '\n' || c == '\t')
            continue;
        if (std::strchr("0123456789abcdefABCDEF", c) == nullptr)
            throw std::invalid_argument("not hexadecimal: " + hex);
        digits += c;
    }
    if (digits.size() % 2 != 0)
        throw std::invalid_argument("half a byte: " + hex);
    std::string data;
    for (std::size_t i = 0; i < digits.size(); i += 2)
        data += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    return data;
}

std::string hex(const std::string& data) {
    static const char digits[] = "0123456789ABCDEF";
    std::string text;
    for (const char c : data) {
        const auto byte = static_cast<unsigned char>(c);
        if (!text.empty())
            text += ' ';
        text += digits[byte >> 4];
        text += digits[byte & 15U];
    }
    return text;
}

GuardedBytes::GuardedBytes(const std::string& data) : GuardedBytes(data.size()) {
    std::memcpy(m_data, data.data(), data.size());
}

GuardedBytes::GuardedBytes(std::size_t size, char fill) : m_size(size) {
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t usable = (size / page + 1) * page;
    m_mappingSize = usable + page;
    void* mapping = mmap(nullptr, m_mappingSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapping == MAP_FAILED || mprotect(static_cast<char*>(mapping) + usable, page, PROT_NONE) != 0)
        throw std::runtime_error("no guarded memory");
    m_mapping = static_cast<char*>(mapping);
    m_data = m_mapping + usable - size;
    std::memset(m_data, fill, size);
}

GuardedBytes::~GuardedBytes() { munmap(m_mapping, m_mappingSize); }
