// What someone may have meant who wrote a name that does not exist.
#pragma once

#include <string>
#include <vector>

namespace tool {

/// The candidate that differs from the word in the fewest letters, case aside; empty if all differ too much.
std::string nearestName(const std::string& word, const std::vector<std::string>& candidates);

/// "; did you mean NAME?", or nothing for the empty name.
std::string suggestion(const std::string& name);

}  // namespace tool
