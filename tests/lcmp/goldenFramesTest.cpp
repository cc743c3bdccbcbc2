// Every golden frame, both ways: the values written down here become its bytes, and its bytes become the values.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <utility>

#include "frameBuilder.h"
#include "frames.h"
#include "lcmpProperty.h"
#include "lcmpmsg.h"
#include "testEndpoint.h"

namespace {

constexpr unsigned int reboot = 0x11800000;
constexpr unsigned int utcTime = 0x11800001;
constexpr unsigned int bpClkRef = 0x11800002;
constexpr unsigned int cardType = 0x10800000;
constexpr unsigned int hwError = 0x11000001;
constexpr unsigned int filename = 0x02000000;
constexpr unsigned int commitTimer = 0x0200000A;
constexpr unsigned int specimen = 0x04800000;  // and the type code: a variable of each type
constexpr unsigned int temperatureOf(unsigned int row) { return 0x51404000 + row; }

/// A message with the properties it refers to: `write(7).has<int>(oid, -2)`.
class Built {
public:
    explicit Built(std::unique_ptr<LCMPMessage> message) : m_message(std::move(message)) {}

    template <typename T>
    Built& has(unsigned int oid, T value) {
        return add(std::make_unique<TypeProperty<T>>(oid, "value", IFC_CARD_VAR_WRITABLE, value));
    }
    Built& hasByte(unsigned int oid, int value) { return has(oid, static_cast<unsigned char>(value)); }
    Built& hasText(unsigned int oid, const std::string& value) {
        return add(std::make_unique<StringProperty>(oid, "text", IFC_CARD_VAR_WRITABLE, value));
    }
    Built& hasAddress(unsigned int oid, const std::string& dotted) {
        return add(std::make_unique<IpAddressProperty>(oid, "address", IFC_CARD_VAR_WRITABLE, dotted, false));
    }
    Built& hasTime(unsigned int oid, long long seconds) {
        return add(std::make_unique<UnixTimeProperty>(oid, "time", IFC_CARD_VAR_WRITABLE, seconds, false));
    }
    Built& hasMac(unsigned int oid, const std::string& withColons) {
        return add(std::make_unique<MacAddressProperty>(oid, "mac", IFC_CARD_VAR_WRITABLE, withColons, false));
    }

    /// What no property but a legacy one holds as it is.
    Built& hasRaw(unsigned int oid, unsigned int type, const std::string& valueHex) {
        std::string wire = Element(oid, type, valueHex).bytes();
        return add(std::make_unique<OldStyleProperty>(reinterpret_cast<lcmp_tlv*>(wire.data()), false));
    }

    const LCMPMessage& message() const { return *m_message; }

private:
    Built& add(std::unique_ptr<LcmpProperty> property) {
        m_message->addProperty(property.get());
        m_properties.push_back(std::move(property));
        return *this;
    }

    std::unique_ptr<LCMPMessage> m_message;
    std::vector<std::unique_ptr<LcmpProperty>> m_properties;
};

template <typename Message>
Built message(unsigned int action, unsigned int id, const std::function<void(Message&)>& fill = {}) {
    auto made = std::make_unique<Message>();
    made->setAction(static_cast<std::uint8_t>(action));
    made->setMessageId(static_cast<std::uint16_t>(id));
    if (fill)
        fill(*made);
    return Built(std::move(made));
}

Built response(unsigned int action, unsigned int id, unsigned int result, unsigned int index) {
    return message<LCMPResponse>(action, id, [=](LCMPResponse& made) {
        made.setResult(result);
        made.setErrorIndex(static_cast<std::uint16_t>(index));
    });
}

Built read(unsigned int id) { return message<LCMPRequest>(1, id); }
Built write(unsigned int id) { return message<LCMPRequest>(2, id); }
Built values(unsigned int id, unsigned int result = RESULT_OK) { return response(3, id, result, 0); }
Built readRefused(unsigned int result, unsigned int index) { return response(3, 7, result, index); }
Built written(unsigned int id, unsigned int result = RESULT_OK, unsigned int index = 0) {
    return response(4, id, result, index);
}
Built ami(unsigned int id, unsigned int seconds = 1700000000, unsigned int microseconds = 250000) {
    return message<LCMPAmi>(5, id, [=](LCMPAmi& made) { made.setTimestamp(seconds, microseconds); });
}

Built& withSpecimensOfSeveralTypes(Built& built) {
    return built.hasByte(bpClkRef, 128)
        .has(temperatureOf(0), 20)
        .has(temperatureOf(3), -10)
        .has(commitTimer, 0)
        .hasText(cardType, "xxx");
}

using Table = std::map<std::string, std::function<void(const std::function<void(Built)>&)>>;

#define MEANS(EXPRESSION) [](const std::function<void(Built)>& use) { Built built = EXPRESSION; use(std::move(built)); }

const std::string aNulB("a\0b", 3);

}  // namespace
