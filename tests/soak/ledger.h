// What a controller may expect of a variable that it alone writes: the value of its last write that was
// answered, or one of a write after it that was not, of which nobody can say whether it was carried out.
#pragma once

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <stdexcept>
#include <vector>

class Ledger {
public:
    using Time = std::chrono::steady_clock::time_point;

    explicit Ledger(std::size_t variables) : m_entries(variables) {}

    std::size_t size() const { return m_entries.size(); }

    /// When the variable was written last: the beginning of time if it never was.
    Time lastWrite(std::size_t variable) const { return m_entries[variable].lastWrite; }

    void answered(std::size_t variable, std::uint64_t value, Time when) {
        m_entries[variable] = {value, {}, 0, when};
    }

    void unanswered(std::size_t variable, std::uint64_t value, Time when) {
        Entry& entry = m_entries[variable];
        if (entry.doubts == entry.doubtful.size())
            throw std::length_error("so many writes of one variable without an answer are no chance");
        entry.doubtful[entry.doubts++] = value;
        entry.lastWrite = when;
    }

    /// Whether the variable may have this value.
    bool admits(std::size_t variable, std::uint64_t value) const {
        const Entry& entry = m_entries[variable];
        const auto end = entry.doubtful.begin() + entry.doubts;
        return value == entry.answered || std::find(entry.doubtful.begin(), end, value) != end;
    }

    /// Whether only one value is possible.
    bool isCertain(std::size_t variable) const { return m_entries[variable].doubts == 0; }

private:
    struct Entry {
        std::uint64_t answered = 0;
        std::array<std::uint64_t, 8> doubtful{};
        std::uint8_t doubts = 0;
        Time lastWrite = Time::min();
    };

    std::vector<Entry> m_entries;
};
