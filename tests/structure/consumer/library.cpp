// Serves one read and one refused write, with classes derived from what the library exports.
#include <lcmpProtocolBase.h>

#include <cstdio>
#include <string>

namespace {

class EvenOnly : public TypeProperty<unsigned char>::TypeValueCheck {
public:
    bool checkValue(unsigned char value) override { return value % 2 == 0; }
};

class NoText : public StringProperty::StringValueCheck {
public:
    bool checkValue(std::string value) override { return value.empty(); }
};

class Card : public LcmpProtocolBase {
public:
    bool sendMessage(LCMPMessage* message) override {
        answer.assign(static_cast<std::size_t>(message->getHeaderSize() + message->sizeOfTlvs()), '\0');
        return message->serialize(answer.data(), static_cast<int>(answer.size())) != 0;
    }

    std::string ask(const std::string& request) {
        answer.clear();
        handleLcmpMsg(static_cast<int>(request.size()), request.data(), "192.0.2.1");
        return answer;
    }

private:
    std::string answer;
};

bool expect(const char* what, const std::string& got, const std::string& wanted) {
    if (got != wanted)
        std::printf("%s: %zu bytes, not the %zu that were expected\n", what, got.size(), wanted.size());
    return got == wanted;
}

}  // namespace

int main() {
    LcmpScalar control("control", 3, true);
    control.addProp(new TypeProperty<unsigned char>(2, "bpClkRef", IFC_CARD_VAR_WRITABLE, 128, new EvenOnly), 0);
    control.addProp(new StringProperty(3, "guid", IFC_CARD_VAR_WRITABLE, "", new NoText), 0);
    Card card;
    card.registerObject(&control);

    const std::string element("\x11\x80\x00\x02\x03\x00\x01", 7);
    const bool read = expect("read", card.ask(std::string("OTN1\x01\x01\x00\x01", 8) + element + "\x80"),
                             std::string("OTN1\x01\x03\x00\x01\x00\x00\x00", 11) + element + "\x80");
    const bool write = expect("refused write", card.ask(std::string("OTN1\x01\x02\x00\x02", 8) + element + "\x81"),
                              std::string("OTN1\x01\x04\x00\x02\x09\x00\x00", 11));

    LCMPRequest request;
    request.setAction(LCMP_ACTION_READ);
    std::string header(8, '\0');
    const bool own = request.serialize(header.data(), 8) != 0 &&
                     expect("own request", header, std::string("OTN1\x01\x01\x00\x00", 8));
    return read && write && own ? 0 : 1;
}
