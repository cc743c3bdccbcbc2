// Questions that no branch predictor can learn.
#pragma once

#include <algorithm>
#include <numeric>
#include <random>
#include <vector>

namespace bench {

/// So many draws of `count` numbers each, out of those below `limit`; within a draw none comes twice while
/// there are enough of them. The same draws every time.
inline std::vector<std::vector<unsigned int>> draw(unsigned int draws, unsigned int count,
                                                   unsigned int limit) {
    std::vector<unsigned int> all(std::max(count, limit));
    std::iota(all.begin(), all.end(), 0U);
    for (unsigned int& number : all)
        number %= limit;
    std::mt19937 random(1);
    std::vector<std::vector<unsigned int>> drawn(draws);
    for (auto& numbers : drawn) {
        // The first steps of a shuffle: only what is taken needs to be in random order.
        for (std::size_t i = 0; i < count; ++i)
            std::swap(all[i], all[std::uniform_int_distribution<std::size_t>(i, all.size() - 1)(random)]);
        numbers.assign(all.begin(), all.begin() + count);
    }
    return drawn;
}

}  // namespace bench
