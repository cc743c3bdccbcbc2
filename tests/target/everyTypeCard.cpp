// A card with one writable variable of every type; the type's code is the variable's id. What is written is
// reported as an event, too.
//
//     every_type_card EVENT_PORT
//
// Prints "listening on ADDR:PORT" and serves until it is killed.
#include <cstdlib>
#include <cstring>
#include <iostream>

#include "lcmpUdpEndpoint.h"

namespace {

constexpr unsigned int groupId = 20;

class ByteArray : public ArrayProperty {
public:
    ByteArray(unsigned int id, const char* name) : ArrayProperty(id, name, IFC_CARD_VAR_WRITABLE, true) {
        m_buffer = static_cast<unsigned char*>(std::calloc(size, 1));
        m_length = size;
    }

    // The bytes themselves, which begin behind the element's header.
    int serialize(char* buffer, int room) override {
        const int written = ArrayProperty::serialize(buffer, room);
        if (written > 0 && m_buffer != nullptr)
            std::memcpy(buffer + written - m_length, m_buffer, m_length);
        return written;
    }

private:
    static constexpr unsigned int size = 5;  // a write has to have it, too
};

class Card : public LcmpUdpEndpoint {
public:
    using LcmpUdpEndpoint::addToAmi;
};

class EveryType : public LcmpScalar {
public:
    explicit EveryType(Card& card) : LcmpScalar("everyType", groupId, false), m_card(card) {
        number<unsigned long long>(UINT64, "uint64");
        number<unsigned int>(UINT32, "uint32");
        number<unsigned short>(UINT16, "uint16");
        number<unsigned char>(UINT8, "uint8");
        number<long long>(INT64, "int64");
        number<int>(INT32, "int32");
        number<short>(INT16, "int16");
        number<signed char>(INT8, "int8");
        number<bool>(BOOLEAN, "boolean");
        addProp(new StringProperty(STRING, "string", IFC_CARD_VAR_WRITABLE, "", true), 0);
        addProp(new IpAddressProperty(IPv4ADDRESS, "address", IFC_CARD_VAR_WRITABLE, 0U, true), 0);
        addProp(new UnixTimeProperty(UNIX_TIME, "time", IFC_CARD_VAR_WRITABLE, 0LL, true), 0);
        addProp(new ByteArray(BYTE_ARRAY, "bytes"), 0);
        addProp(new MacAddressProperty(MAC_ADDRESS, "mac", IFC_CARD_VAR_WRITABLE, "", true), 0);
    }

    bool updated(LcmpProperty* property, unsigned int /*row*/) override {
        m_card.addToAmi(property, false);
        return true;
    }

private:
    template <typename T>
    void number(LcmpTlvType type, const char* name) {
        addProp(new TypeProperty<T>(type, name, IFC_CARD_VAR_WRITABLE, T(), true), 0);
    }

    Card& m_card;
};

int fail(const std::string& what) {
    std::cerr << "every_type_card: " << what << '\n';
    return 1;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2)
        return fail("give the port for events");
    Card card;
    EveryType everyType(card);
    card.registerObject(&everyType);
    const auto eventPort = static_cast<std::uint16_t>(std::strtol(argv[1], nullptr, 10));
    if (!card.open("127.0.0.1", 0) || !card.addEventReceiver("127.0.0.1", eventPort))
        return fail(card.getLastError());
    card.setEventPeriod(LcmpUdpEndpoint::Milliseconds(20));
    std::cout << "listening on 127.0.0.1:" << card.getLocalAddress().port << std::endl;
    while (card.poll(LcmpUdpEndpoint::Milliseconds(-1)) >= 0) {
    }
    return fail(card.getLastError());
}
