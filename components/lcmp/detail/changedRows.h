// Which rows of an object may have a change to report, so that the others need not be looked at.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace lcmpdetail {

class ChangedRows {
public:
    explicit ChangedRows(unsigned int rows) : m_words((std::size_t{rows} + rowsPerWord - 1) / rowsPerWord) {}

    /// The row exists. Allocates nothing.
    void note(unsigned int row) {
        m_any = true;
        m_words[row / rowsPerWord] |= std::uint64_t{1} << (row % rowsPerWord);
    }

    /// Calls visit(row) for every row noted, ascending; each is forgotten before its visit.
    template <typename Visit>
    void take(Visit visit) {
        if (!m_any)
            return;
        m_any = false;
        for (std::size_t at = 0; at < m_words.size(); ++at) {
            for (std::size_t row = at * rowsPerWord; m_words[at] != 0; ++row) {
                const std::uint64_t bit = std::uint64_t{1} << (row % rowsPerWord);
                if ((m_words[at] & bit) == 0)
                    continue;
                m_words[at] &= ~bit;
                visit(row);
            }
        }
    }

private:
    static constexpr unsigned int rowsPerWord = 64;

    std::vector<std::uint64_t> m_words;
    bool m_any = false;
};

}  // namespace lcmpdetail
