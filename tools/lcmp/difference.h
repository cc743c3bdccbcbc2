// What two snapshots do not have in common.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "snapshot.h"

namespace tool {

/// A variable that differs. The pointers live as long as the snapshots.
struct Difference {
    const Held* left = nullptr;  ///< Null: only the right one has it.
    const Held* right = nullptr;

    /// The one that is there; the left one of two.
    const Held& any() const { return left != nullptr ? *left : *right; }

    /// Whether a model says that the variable changes by itself.
    bool moves() const;
};

/// By name: those of the left snapshot in its order, then those that only the right one has. What is called
/// "object" or "object.variable" in `ignored` is left out, in all rows.
std::vector<Difference> differences(const Snapshot& left, const Snapshot& right,
                                    const std::set<std::string>& ignored);

}  // namespace tool
