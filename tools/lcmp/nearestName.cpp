#include "nearestName.h"

#include "lcmpModel.h"

namespace tool {

std::string nearestName(const std::string& word, const std::vector<std::string>& candidates) {
    return lcmpModelNearestName(word, candidates);
}

std::string suggestion(const std::string& name) { return name.empty() ? "" : "; did you mean " + name + "?"; }

}  // namespace tool
