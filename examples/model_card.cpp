// A card out of a model: its objects come from a YAML file when it starts.
//
//     model_card FILE [ADDRESS]
//
// Serves ADDRESS, 127.0.0.1 unless given, at port 17470, and tells what peers write. Ctrl-C ends it.
#include <chrono>
#include <iostream>
#include <string>
#include <vector>

#include "lcmpModelObjects.h"
#include "lcmpUdpEndpoint.h"

namespace {

// Puts into effect what a peer has written. False would answer the write with result 12.
bool written(LcmpProperty& property) {
    const char* type = lcmpTlvTypeName(static_cast<unsigned int>(property.getType()));
    std::cout << "written: " << property.getName() << ", a " << type << std::endl;
    return true;
}

bool load(const std::string& file, LcmpModel& model) {
    std::vector<LcmpModelError> errors;
    if (lcmpModelLoadFile(file, model, errors))
        return true;
    for (const LcmpModelError& error : errors)
        std::cerr << lcmpModelErrorText(error) << '\n';
    return false;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::cerr << "model_card: give the card's model\n";
        return 2;
    }
    const std::string address = argc > 2 ? argv[2] : "127.0.0.1";

    LcmpModel model;
    if (!load(argv[1], model))
        return 1;
    const LcmpModelObjects objects(model, written);
    LcmpUdpEndpoint card;
    objects.registerWith(card);

    // A variable by its name: null where the model has none.
    if (LcmpProperty* label = objects.find("lamp.label"))
        label->set(std::string("built today"));

    if (!card.open(address, LcmpUdpEndpoint::defaultPort)) {
        std::cerr << "model_card: " << card.getLastError() << '\n';
        return 1;
    }
    std::cout << "listening on " << lcmpUdpToText(card.getLocalAddress()) << std::endl;
    while (card.poll(LcmpUdpEndpoint::Milliseconds(-1)) >= 0) {
    }
    std::cerr << "model_card: " << card.getLastError() << '\n';
    return 1;
}
