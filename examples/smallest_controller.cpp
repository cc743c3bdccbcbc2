// The smallest controller: reads a variable of smallest_card, writes it, and reads it again.
//
//     smallest_controller PORT [BRIGHTNESS]
//
// Prints what the card had and what it has now; BRIGHTNESS is 80 unless given:
//
//     brightness was 50, is 80
//
// The card refuses more than 100, which ends the program with status 1.
#include <cstdlib>
#include <iostream>
#include <string>

#include "lcmpUdpEndpoint.h"

namespace {

int fail(const std::string& what) {
    std::cerr << "smallest_controller: " << what << '\n';
    return 1;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2)
        return fail("give the port of the card");

    // The controller has the same object as the card; its property holds what was read last.
    LcmpScalar lamp("lamp", 10, false);
    auto* const brightness = new TypeProperty<unsigned char>(1, "brightness", IFC_CARD_VAR_WRITABLE, 0);
    lamp.addProp(brightness, 0);  // the object owns it from here on

    // The ready transport: a port of its own, and the card as the target of its requests.
    LcmpUdpEndpoint controller;
    const auto port = static_cast<std::uint16_t>(std::strtol(argv[1], nullptr, 10));
    if (!controller.open("127.0.0.1", 0) || !controller.setTarget("127.0.0.1", port))
        return fail(controller.getLastError());
    // Values of a reply go to the registered object that has their OID.
    controller.registerObject(&lamp);

    unsigned char before = 0;
    if (!controller.readProperty(*brightness))
        return fail("the card did not tell its brightness");
    brightness->get(&before);

    brightness->set(static_cast<unsigned char>(argc > 2 ? std::strtol(argv[2], nullptr, 10) : 80));
    if (!controller.writeProperty(*brightness))
        return fail("the card did not take the new brightness");

    unsigned char after = 0;
    if (!controller.readProperty(*brightness))
        return fail("the card did not tell its brightness again");
    brightness->get(&after);
    std::cout << "brightness was " << +before << ", is " << +after << '\n';  // + : numbers, not characters
}
