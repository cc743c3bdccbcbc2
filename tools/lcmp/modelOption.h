// Which card is talked of: the model that --model names, or the standard card.
#pragma once

#include <memory>
#include <string>

#include "lcmpModel.h"

namespace CLI {
class App;
}

namespace tool {

/// Adds --model (LCMP_MODEL) to a verb. `file` receives its text, and stays empty without one.
void addModelOption(CLI::App& verb, std::string& file);

/// The model of this file, or the standard card for the empty name. A bad one is a Failure of status
/// `unresolved`, after each of its errors has been printed to standard error, a line each.
std::shared_ptr<const LcmpModel> loadModel(const std::string& file);

}  // namespace tool
