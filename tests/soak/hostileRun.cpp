#include "hostileRun.h"

#include <unistd.h>

#include <stdexcept>

#include "lcmpAddressProperty.h"
#include "lcmpNumericProperty.h"
#include "lcmpObjects.h"
#include "lcmpTextProperty.h"
#include "lcmpmsg.h"

namespace {

constexpr LcmpUdpAddress cardAddress = {0x0A000101, LcmpUdpEndpoint::defaultPort};
constexpr LcmpUdpAddress senderAddress = {0x0A000001, 40000};

constexpr FaultTimes immediately = {FaultTimes::Duration(0), FaultTimes::Duration(0),
                                    FaultTimes::Duration(0)};

constexpr auto writable = IFC_CARD_VAR_WRITABLE;

/// A text without room of its own takes some with its first long value, and keeps it. This one has taken it:
/// what is held more later is left behind.
StringProperty* withRoom(StringProperty* text) {
    text->set(std::string(64, ' '));
    text->setToDefault();
    return text;
}

class EvenNumbers : public TypeProperty<unsigned char>::TypeValueCheck {
public:
    bool checkValue(unsigned char value) override { return value % 2 == 0; }
};

std::string inHexadecimal(const std::string& bytes) {
    static constexpr char digits[] = "0123456789ABCDEF";
    std::string text;
    for (const char byte : bytes) {
        text += digits[static_cast<unsigned char>(byte) >> 4];
        text += digits[static_cast<unsigned char>(byte) & 0x0FU];
    }
    return text;
}

}  // namespace

// Has the variables of the golden frames, and takes every second of the OIDs that no object has.
struct HostileRun::Card : LcmpUdpEndpoint {
    Card() {
        addSettings();
        addOneOfEachType();
        for (unsigned int row = 0; row < 4; ++row)
            temperature.addProp(new TypeProperty<int>(1, "value", IFC_CARD_VAR_READ_ONLY, 20, true), row);
        for (LcmpObject* object :
             std::vector<LcmpObject*>{&control, &identity, &download, &types, &temperature})
            registerObject(object);
    }

    std::uint8_t checkTlvOld(OldStyleProperty* prop, bool /*write*/) const override {
        return prop->getOid() % 2 == 0 ? RESULT_OK : RESULT_GENERAL_ERROR;
    }

    bool handleLcmpMsgOld(OldStyleProperty* prop, bool /*write*/) override { return prop->getOid() % 4 == 0; }

    LcmpScalar control{"control", 3, true};
    LcmpScalar identity{"identity", 1, true};
    LcmpScalar download{"download", 4, false};
    LcmpScalar types{"types", 9, false};
    LcmpTable temperature{"temperature", 5, true, 4};

private:
    void addSettings() {
        control.addProp(new TypeProperty<bool>(0, "reboot", writable, false), 0);
        control.addProp(new TypeProperty<unsigned long long>(1, "utcTime", writable, 0ULL, true), 0);
        control.addProp(new TypeProperty<unsigned char>(2, "bpClkRef", writable, 128, new EvenNumbers, true),
                        0);
        identity.addProp(withRoom(new StringProperty(0, "cardType", IFC_CARD_VAR_READ_ONLY, "xxx")), 0);
        download.addProp(withRoom(new StringProperty(0, "filename", writable, "xxx")), 0);
        download.addProp(new TypeProperty<int>(10, "setCommitTimer", writable, 0), 0);
    }

    void addOneOfEachType() {
        types.addProp(new TypeProperty<unsigned long long>(0, "uint64", writable, 0ULL), 0);
        types.addProp(new TypeProperty<unsigned int>(1, "uint32", writable, 0U), 0);
        types.addProp(new TypeProperty<unsigned short>(2, "uint16", writable, static_cast<unsigned short>(0)),
                      0);
        types.addProp(new TypeProperty<unsigned char>(3, "uint8", writable, static_cast<unsigned char>(0)),
                      0);
        types.addProp(new TypeProperty<long long>(4, "int64", writable, 0LL), 0);
        types.addProp(new TypeProperty<int>(5, "int32", writable, 0), 0);
        types.addProp(new TypeProperty<short>(6, "int16", writable, static_cast<short>(0)), 0);
        types.addProp(new TypeProperty<signed char>(7, "int8", writable, static_cast<signed char>(0)), 0);
        types.addProp(new TypeProperty<bool>(8, "boolean", writable, false), 0);
        types.addProp(withRoom(new StringProperty(9, "string", writable, "")), 0);
        types.addProp(new IpAddressProperty(10, "ipAddress", writable, 0U, false), 0);
        types.addProp(new UnixTimeProperty(11, "unixTime", writable, 0LL, false), 0);
        types.addProp(new ArrayProperty(12, "byteArray", writable, false), 0);
        types.addProp(
            new MacAddressProperty(13, "macAddress", writable, std::string("00:00:00:00:00:00"), false), 0);
    }
};

// A socket of the network that nothing of the protocol is behind.
class HostileRun::Sender {
public:
    explicit Sender(Network& network) : m_network(network), m_socket(network.open()) {
        if (m_socket < 0 || network.bind(m_socket, senderAddress) != 0)
            throw std::runtime_error("no socket to send from");
    }
    ~Sender() { ::close(m_socket); }
    Sender(const Sender&) = delete;
    Sender& operator=(const Sender&) = delete;

    /// The answers, until the next call.
    const std::vector<std::string>& send(const std::string& frame) {
        m_answers.clear();
        m_network.send(m_socket, frame.data(), frame.size(), cardAddress);
        m_network.settle();
        char answer[65536];
        LcmpUdpAddress from;
        for (int size = 0; (size = m_network.receive(m_socket, answer, sizeof answer, from)) >= 0;)
            m_answers.emplace_back(answer, static_cast<std::size_t>(size));
        return m_answers;
    }

private:
    Network& m_network;
    int m_socket;
    std::vector<std::string> m_answers;
};

HostileRun::HostileRun(std::vector<std::string> originals, std::uint64_t seed)
    : m_network(Faults(seed, {0, 0, 0, 0}, immediately)),
      m_frames(std::move(originals), seed),
      m_card(std::make_unique<Card>()),
      m_sender(std::make_unique<Sender>(m_network)) {
    if (!m_card->allow("10.0.0.0/8") || !m_card->open(lcmpUdpHostToText(cardAddress.host), cardAddress.port))
        throw std::runtime_error(m_card->getLastError());
    m_network.serve(*m_card);
}

HostileRun::~HostileRun() = default;

void HostileRun::send(std::uint64_t malformed) {
    for (const std::uint64_t end = m_tally.malformed + malformed; m_tally.malformed < end;) {
        const std::string& frame = m_frames.next();
        judge(frame, m_sender->send(frame));
    }
}

void HostileRun::judge(const std::string& frame, const std::vector<std::string>& answers) {
    const bool served = faultOf(frame) == Fault::none && !answers.empty() && !isRefusal(answers[0]);
    ++(served ? m_tally.served : m_tally.malformed);
    m_tally.unanswered += answers.empty() ? 1 : 0;
    if (mayAnswer(frame, answers))
        return;
    if (++m_tally.wrongAnswers == 1)
        m_tally.firstWrong = inHexadecimal(frame);
}

void HostileRun::settle() {
    // Reads a variable that the card does not take.
    static constexpr char refused[] = "OTN1\x01\x01\x00\x07\x7F\xFF\xFF\xFF\x03\x00\x00";
    m_sender->send(std::string(refused, sizeof refused - 1));
}
