// A controller of the lamp in first_card: reads, writes, is refused, and receives events.
//
//     first_controller [ADDRESS]
//
// Asks the card at ADDRESS, 127.0.0.1 unless given, and receives its events at port 17471 there.
// docs/first-controller.md goes through it.
#include <chrono>
#include <iostream>
#include <string>
#include <vector>

#include "lcmpUdpEndpoint.h"

namespace {

using std::chrono::milliseconds;

// The card's variables as the controller needs them. A reply's values land in the object that has their OIDs.
class LampMirror : public LcmpScalar {
public:
    LampMirror() : LcmpScalar("lamp", 10, false) {
        addProp(on = new TypeProperty<bool>(0, "on", IFC_CARD_VAR_WRITABLE, false), 0);
        addProp(brightness = new TypeProperty<unsigned char>(1, "brightness", IFC_CARD_VAR_WRITABLE, 0), 0);
        addProp(place = new StringProperty(2, "place", IFC_CARD_VAR_WRITABLE, ""), 0);
        addProp(power = new TypeProperty<unsigned short>(3, "power", IFC_CARD_VAR_READ_ONLY, 0), 0);
    }

    // Owned by the object, like every property that was added.
    TypeProperty<bool>* on = nullptr;
    TypeProperty<unsigned char>* brightness = nullptr;
    StringProperty* place = nullptr;
    TypeProperty<unsigned short>* power = nullptr;
};

class Controller : public LcmpUdpEndpoint {
public:
    // What the card said to the last request, in words.
    std::string verdict() const {
        LCMPResponse response;
        const int size = static_cast<int>(replyBuffer.size());
        if (size == 0)
            return getLastError();  // no reply, or the request did not leave
        if (response.deserialize(replyBuffer.data(), size) != RESULT_OK)
            return "no response";
        return std::string(lcmpResultName(response.getResult())) + " at element " +
               std::to_string(response.getErrorIndex());
    }

    // Runs inside poll, with the properties that have just taken the values of an event.
    bool amiMessageHandler(std::vector<LcmpProperty*> properties) override {
        for (const LcmpProperty* property : properties)
            std::cout << "event: " << property->getName() << '\n';
        eventSeen = true;
        return true;
    }

    bool eventSeen = false;
};

int fail(const Controller& controller, const std::string& what) {
    std::cerr << "first_controller: " << what << ": " << controller.verdict() << '\n';
    return 1;
}

unsigned int powerOf(const LampMirror& lamp) {
    unsigned short power = 0;
    lamp.power->get(&power);
    return power;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string address = argc > 1 ? argv[1] : "127.0.0.1";
    LampMirror lamp;
    Controller controller;
    controller.registerObject(&lamp);
    if (!controller.open(address, 17471) || !controller.setTarget(address, LcmpUdpEndpoint::defaultPort))
        return fail(controller, "no socket");

    // The first try waits 200 ms for its reply, the second 400 and the third 800: then it is over.
    controller.setTimeout(milliseconds(200));
    controller.setTries(3);

    if (!controller.readObject(lamp))
        return fail(controller, "the lamp cannot be read");
    std::cout << "power: " << powerOf(lamp) << " W\n";

    lamp.brightness->set(static_cast<unsigned char>(80));
    lamp.place->set(std::string("kitchen"));
    if (!controller.writePropertys({lamp.brightness, lamp.place}))
        return fail(controller, "brightness and place were not written");

    lamp.brightness->set(static_cast<unsigned char>(101));
    if (!controller.writePropertys({lamp.place, lamp.brightness}))
        std::cout << "101 %: " << controller.verdict() << '\n';

    if (!controller.writeProperty(*lamp.power))
        std::cout << "power: " << controller.verdict() << '\n';

    // Events that came while a reply was awaited were kept: this hands them over, or waits for the first.
    while (!controller.eventSeen) {
        if (controller.poll(milliseconds(5000)) <= 0)
            return fail(controller, "no event");
    }
    std::cout << "power: " << powerOf(lamp) << " W\n";
}
