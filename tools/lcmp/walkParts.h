// Which objects and rows of a card are to be read as a whole.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "lcmpModel.h"

namespace tool {

/// Rows of an object of a model; of a scalar row 0. Lives no longer than the model.
struct WalkPart {
    const LcmpModelObject* object = nullptr;
    unsigned int first = 0;
    unsigned int last = 0;  ///< May lie beyond the model's rows: a real card may have more.

    /// The variables in these rows.
    std::uint64_t cells() const {
        return (std::uint64_t{last} - first + 1) * static_cast<std::uint64_t>(object->variables.size());
    }
};

/// The rows of tables that a person wants, both ends included.
struct WantedRows {
    std::optional<unsigned int> from;
    std::optional<unsigned int> to;
};

/// All that the model has.
std::vector<WalkPart> allParts(const LcmpModel& model);

/// What "temperature" or "temperature[2]" name, or all of the model where there is no name, without the rows
/// that are not wanted; of a named table rows beyond the model's may be. A Failure of status `unresolved`
/// tells of a name that means nothing, one of status `usage` of rows that no table has.
std::vector<WalkPart> resolveParts(const LcmpModel& model, const std::vector<std::string>& names,
                                   const WantedRows& rows = {});

}  // namespace tool
