// A card with objects of its own: a lamp with three bulbs, on the ready transport.
//
//     lamp_card [ADDRESS]
//
// Serves ADDRESS, 127.0.0.1 unless given, at port 17470, and sends its events to port 17471 there. The line
// it prints tells when it can be asked:
//
//     listening on 127.0.0.1:17470
//
// docs/first-card.md goes through it. Ctrl-C ends it.
#include <lcmpUdpEndpoint.h>

#include <chrono>
#include <iostream>
#include <string>

namespace {

enum BulbState : unsigned char { DARK = 0, LIT = 1 };

// What a peer may write to a text is judged by a class of one's own: here at most 31 bytes.
class ShortText : public StringProperty::StringValueCheck {
public:
    bool checkValue(std::string value) override { return value.size() <= 31; }
};

// Three bulbs, a row each. Nobody keeps their temperature: it is measured when somebody asks.
class Bulbs : public LcmpTable {
public:
    Bulbs() : LcmpTable("bulb", 20, false, 3) {
        for (unsigned int row = 0; row < getRowCount(); ++row) {
            addProp(new TypeProperty<unsigned char>(0, "state", IFC_CARD_VAR_READ_ONLY, LIT, true), row);
            addProp(new TypeProperty<int>(1, "temperature", IFC_CARD_VAR_READ_ONLY, 20), row);
            addProp(new TypeProperty<unsigned int>(2, "hours", IFC_CARD_VAR_WRITABLE, 1000,
                                                   new RangeCheckValue<unsigned int>(0, 0)),
                    row);
        }
    }

    void light(BulbState state) {
        for (unsigned int row = 0; row < getRowCount(); ++row)
            getProp(0, row)->set(static_cast<unsigned char>(state));
    }

    bool update(LcmpProperty* property, unsigned int row) override {
        if (property->getId() == 1)
            property->set(measureTemperature(row));
        return true;
    }

private:
    int measureTemperature(unsigned int row) {
        unsigned char state = DARK;
        getProp(0, row)->get(&state);
        return (state == LIT ? 60 : 20) + static_cast<int>(row);
    }
};

// The lamp's own variables. What a peer writes is put into effect in updated.
class Lamp : public LcmpScalar {
public:
    explicit Lamp(Bulbs& bulbs) : LcmpScalar("lamp", 10, false), m_bulbs(bulbs) {
        addProp(new TypeProperty<bool>(0, "on", IFC_CARD_VAR_WRITABLE, true), 0);
        addProp(new TypeProperty<unsigned char>(1, "brightness", IFC_CARD_VAR_WRITABLE, 50,
                                                new RangeCheckValue<unsigned char>(0, 100)),
                0);
        addProp(new StringProperty(2, "place", IFC_CARD_VAR_WRITABLE, "hall", new ShortText), 0);
        addProp(new TypeProperty<unsigned short>(3, "power", IFC_CARD_VAR_READ_ONLY, 30, true), 0);
    }

    bool updated(LcmpProperty* /*property*/, unsigned int /*row*/) override {
        bool on = false;
        unsigned char brightness = 0;
        getProp(0, 0)->get(&on);
        getProp(1, 0)->get(&brightness);
        m_bulbs.light(on && brightness > 0 ? LIT : DARK);
        getProp(3, 0)->set(static_cast<unsigned short>(on ? brightness * 6 / 10 : 0));
        return true;  // false would answer the write with result 12
    }

private:
    Bulbs& m_bulbs;
};

}  // namespace

int main(int argc, char** argv) {
    const std::string address = argc > 1 ? argv[1] : "127.0.0.1";
    Bulbs bulbs;
    Lamp lamp(bulbs);

    LcmpUdpEndpoint card;
    card.registerObject(&lamp);  // not owned: the objects live as long as the card serves them
    card.registerObject(&bulbs);
    if (!card.open(address, LcmpUdpEndpoint::defaultPort) || !card.addEventReceiver(address, 17471)) {
        std::cerr << "lamp_card: " << card.getLastError() << '\n';
        return 1;
    }

    card.eventHandler();  // the first call in a process only collects
    card.setEventPeriod(std::chrono::milliseconds(100));
    std::cout << "listening on " << lcmpUdpToText(card.getLocalAddress()) << std::endl;
    while (card.poll(LcmpUdpEndpoint::Milliseconds(-1)) >= 0) {
    }
    std::cerr << "lamp_card: " << card.getLastError() << '\n';
    return 1;
}
