#include "nearestName.h"

#include <algorithm>
#include <cctype>
#include <numeric>
#include <utility>

namespace tool {
namespace {

// The number of letters to change, add or leave out to get from one word to the other.
std::size_t distance(const std::string& from, const std::string& to) {
    std::vector<std::size_t> row(to.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < from.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i + 1);
        for (std::size_t j = 0; j < to.size(); ++j) {
            const bool same = std::tolower(static_cast<unsigned char>(from[i])) ==
                              std::tolower(static_cast<unsigned char>(to[j]));
            const std::size_t replaced = diagonal + (same ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, row[j] + 1, diagonal + 1});
        }
    }
    return row.back();
}

}  // namespace

std::string nearestName(const std::string& word, const std::vector<std::string>& candidates) {
    std::string best;
    // More than half of the letters wrong is another word.
    std::size_t bestDistance = std::max<std::size_t>(2, word.size() / 2) + 1;
    for (const std::string& candidate : candidates) {
        const std::size_t d = distance(word, candidate);
        if (d < bestDistance) {
            bestDistance = d;
            best = candidate;
        }
    }
    return best;
}

std::string suggestion(const std::string& name) { return name.empty() ? "" : "; did you mean " + name + "?"; }

}  // namespace tool
