#include "guardedRoom.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <stdexcept>

GuardedRoom::GuardedRoom(std::size_t size)
    : m_page(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))), m_size((size / m_page + 1) * m_page) {
    void* mapping = mmap(nullptr, m_size + 2 * m_page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapping == MAP_FAILED)
        throw std::runtime_error("no guarded memory");
    m_mapping = static_cast<char*>(mapping);
    if (mprotect(m_mapping + m_page, m_size, PROT_READ | PROT_WRITE) != 0)
        throw std::runtime_error("no memory between the guards");
}

GuardedRoom::~GuardedRoom() { munmap(m_mapping, m_size + 2 * m_page); }

char* GuardedRoom::last(std::size_t count) {
    if (count > m_size)
        throw std::out_of_range("the guarded room is smaller");
    return m_mapping + m_page + m_size - count;
}

char* GuardedRoom::first(std::size_t count) {
    last(count);
    return m_mapping + m_page;
}

std::string_view GuardedRoom::atEnd(std::string_view data) {
    char* const place = last(data.size());
    std::copy(data.begin(), data.end(), place);
    return {place, data.size()};
}

std::string_view GuardedRoom::atBeginning(std::string_view data) {
    char* const place = first(data.size());
    std::copy(data.begin(), data.end(), place);
    return {place, data.size()};
}
