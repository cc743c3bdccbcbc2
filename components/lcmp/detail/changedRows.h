// Which rows of an object may have a change to report, so that the others need not be looked at.
#pragma once

#include <algorithm>
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

    /// Calls visit(row) for every row noted, ascending. Costs what the words of the rows cost, and nothing
    /// when none was noted.
    template <typename Visit>
    void visit(Visit visit) const {
        if (!m_any)
            return;
        for (std::size_t at = 0; at < m_words.size(); ++at) {
            std::size_t row = at * rowsPerWord;
            for (std::uint64_t bits = m_words[at]; bits != 0; bits >>= 1, ++row) {
                if ((bits & 1) != 0)
                    visit(row);
            }
        }
    }

    /// Forgets all rows.
    void clear() {
        if (m_any)
            std::fill(m_words.begin(), m_words.end(), 0);
        m_any = false;
    }

private:
    static constexpr unsigned int rowsPerWord = 64;

    std::vector<std::uint64_t> m_words;
    bool m_any = false;
};

}  // namespace lcmpdetail
