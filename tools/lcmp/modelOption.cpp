#include "modelOption.h"

#include <CLI/CLI.hpp>
#include <iostream>

#include "exitStatus.h"

namespace tool {

void addModelOption(CLI::App& verb, std::string& file) {
    verb.add_option("--model", file, "The card's model, a YAML file; unless given, it is the standard card")
        ->type_name("FILE")
        ->envname("LCMP_MODEL");
}

std::shared_ptr<const LcmpModel> loadModel(const std::string& file) {
    if (file.empty())
        return {std::shared_ptr<void>(), &lcmpModelStandard()};  // lives as long as the program
    auto model = std::make_shared<LcmpModel>();
    std::vector<LcmpModelError> errors;
    if (lcmpModelLoadFile(file, *model, errors))
        return model;
    for (const LcmpModelError& error : errors)
        std::cerr << lcmpModelErrorText(error) << '\n';
    throw Failure(ExitStatus::unresolved, file + " is no card model");
}

}  // namespace tool
