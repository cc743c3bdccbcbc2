// Memory between two pages that nobody may touch, for frames that are sent by the million.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Some bytes can be put at its end or at its beginning: one byte beyond them ends the process. The room is
/// made once and filled again and again.
class GuardedRoom {
public:
    /// Room for this many bytes; the system rounds it up to whole pages.
    explicit GuardedRoom(std::size_t size);
    ~GuardedRoom();
    GuardedRoom(const GuardedRoom&) = delete;
    GuardedRoom& operator=(const GuardedRoom&) = delete;

    /// The last bytes before the page behind, and the first after the page in front. As they were left.
    char* last(std::size_t count);
    char* first(std::size_t count);

    /// The same, filled. Valid until the room is filled again.
    std::string_view atEnd(std::string_view data);
    std::string_view atBeginning(std::string_view data);

private:
    std::size_t m_page;
    std::size_t m_size;  // without the two pages
    char* m_mapping;
};
