// Writes the code of a model into a folder: usage: generateCode MODEL NAME FOLDER
#include <fstream>
#include <iostream>

#include "lcmpModelGenerate.h"

int main(int argc, char** argv) {
    LcmpModel model;
    std::vector<LcmpModelError> errors;
    if (argc != 4 || !lcmpModelLoadFile(argv[1], model, errors)) {
        for (const LcmpModelError& error : errors)
            std::cerr << lcmpModelErrorText(error) << '\n';
        return 1;
    }
    const LcmpModelCode code = lcmpModelGenerate(model, argv[2]);
    const std::string path = std::string(argv[3]) + "/" + argv[2];
    std::ofstream header(path + ".h");
    std::ofstream source(path + ".cpp");
    header << code.header << std::flush;
    source << code.source << std::flush;
    return header && source ? 0 : 1;
}
