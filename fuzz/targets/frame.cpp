// Any bytes as a frame of every kind: what is decoded is what our own walk finds, and encoding it again gives
// the same bytes.
#include <memory>
#include <vector>

#include "exactBuffer.h"
#include "fuzzTarget.h"
#include "invariants.h"
#include "lcmpObjectId.h"
#include "lcmpProtocolBase.h"
#include "wire.h"

namespace {

using fuzz::ExactBuffer;
using fuzz::WireElement;
using fuzz::WireWalk;

constexpr std::size_t smallest = 8;
constexpr std::size_t macSize = 6;

/// Takes every legacy element and keeps count.
class Taker : public LcmpProtocolBase {
public:
    bool sendMessage(LCMPMessage* /*msg*/) override { return false; }
    bool handleLcmpMsgOld(OldStyleProperty* /*prop*/, bool /*write*/) override { return ++taken != 0; }
    std::uint8_t checkTlvOld(OldStyleProperty* prop, bool /*write*/) const override {
        return (prop->getOid() & 0xFFU) == 0xFFU ? std::uint8_t{RESULT_CANNOT_EXEC} : std::uint8_t{RESULT_OK};
    }

    std::size_t taken = 0;
};

/// What the header alone must give.
unsigned int resultOf(const std::string& frame, std::size_t headerSize) {
    if (frame.size() < smallest)
        return RESULT_WRONG_LEN;
    if (frame.compare(0, 4, "OTN1") != 0)
        return RESULT_WRONG_MAGIC;
    if (frame[4] != 1)
        return RESULT_PROTOCOL_VERSION_MISMATCH;
    if (frame[5] < 1 || frame[5] > 5)
        return RESULT_INVALID_ACTION;
    return frame.size() < headerSize ? RESULT_WRONG_LEN : RESULT_OK;
}

class Decoding {
public:
    Decoding(LCMPMessage& message, const std::string& frame)
        : m_message(message),
          m_frame(frame),
          m_header(static_cast<std::size_t>(message.getHeaderSize())),
          m_buffer(frame),
          m_walk(fuzz::walk(frame, m_header)) {}

    void run(unsigned int room) {
        const auto result =
            static_cast<unsigned int>(m_message.deserialize(m_buffer.data(), m_buffer.size()));
        FUZZ_REQUIRE(roundTrip, result == resultOf(m_frame, m_header),
                     "the header gives " + std::to_string(result));
        if (result != RESULT_OK)
            return;
        addProperties();
        judge();
        store();
        encode(room);
        missOne();
    }

private:
    void addProperties() {
        std::size_t offset = m_header;
        for (const WireElement& element : m_walk.elements) {
            auto* raw = reinterpret_cast<lcmp_tlv*>(m_buffer.data() + offset);
            m_properties.push_back(std::make_unique<OldStyleProperty>(raw, false));
            m_message.addProperty(m_properties.back().get());
            offset += fuzz::elementHeader + element.value.size();
        }
        const auto count = static_cast<int>(m_walk.elements.size());
        FUZZ_REQUIRE(roundTrip, m_message.countTlvs(0) == count, "the message counts other elements");
        FUZZ_REQUIRE(roundTrip, m_message.sizeOfTlvs() == static_cast<int>(offset - m_header),
                     "the message adds up another size");
    }

    // Without an endpoint a legacy element is judged by its OID, and in a write as any property.
    unsigned int verdict(const WireElement& element, bool byEndpoint) const {
        if (byEndpoint)
            return (element.oid & 0xFFU) == 0xFFU ? RESULT_CANNOT_EXEC : RESULT_OK;
        if (!fuzz::validOid(element.oid))
            return RESULT_WRONG_OID;
        if (m_message.getAction() != LCMP_ACTION_WRITE)
            return RESULT_OK;
        const std::size_t read = element.type == MAC_ADDRESS ? macSize : fuzz::widthOf(element.type);
        return element.space < read ? RESULT_WRONG_LEN : RESULT_OK;
    }

    void judge() {
        judgeWith(nullptr);
        judgeWith(&m_taker);
    }

    void judgeWith(LcmpProtocolBase* endpoint) {
        unsigned int wanted = RESULT_OK;
        int wantedIndex = -1;
        for (std::size_t i = 0; i < m_walk.elements.size() && wanted == RESULT_OK; ++i) {
            wanted = verdict(m_walk.elements[i], endpoint != nullptr);
            wantedIndex = wanted == RESULT_OK ? -1 : static_cast<int>(i);
        }
        int index = -1;
        const unsigned int result = m_message.checkTlvs(index, endpoint);
        FUZZ_REQUIRE(checkedWrites, result == wanted && index == wantedIndex,
                     "checkTlvs gives " + std::to_string(result) + " at " + std::to_string(index) + " for " +
                         std::to_string(wanted) + " at " + std::to_string(wantedIndex));
    }

    // Nobody owns these properties, so only an endpoint's hook can store them.
    void store() {
        const bool none = m_properties.empty();
        FUZZ_REQUIRE(allOrNothing, m_message.deserializeTlvs(nullptr) == none,
                     "elements without an owner are stored");
        FUZZ_REQUIRE(allOrNothing, m_message.deserializeTlvs(&m_taker), "elements are not stored");
        FUZZ_REQUIRE(allOrNothing, m_taker.taken == m_properties.size(), "a hook ran twice or not at all");
    }

    void encode(unsigned int room) const {
        std::size_t size = m_header;
        for (const WireElement& element : m_walk.elements)
            size += fuzz::elementHeader + element.value.size();
        ExactBuffer again(size, '*');
        FUZZ_REQUIRE(roundTrip, m_message.serialize(again.data(), again.size()) != 0, "cannot be encoded");
        FUZZ_REQUIRE(roundTrip, again.str() == m_frame.substr(0, size),
                     "encoded again it is " + hex(again.str()));
        ExactBuffer framed(size, '*');
        FUZZ_REQUIRE(roundTrip, m_message.serializeFrame(framed.data(), framed.size()) == framed.size(),
                     "serializeFrame answers another size");
        FUZZ_REQUIRE(roundTrip, framed.str() == again.str(), "serializeFrame writes another frame");
        ExactBuffer small(room % size, '*');
        FUZZ_REQUIRE(insideBuffers,
                     m_message.serialize(small.data(), small.size()) == 0 &&
                         m_message.serializeFrame(small.data(), small.size()) == 0,
                     "encoded into too little room");
    }

    // A property more than the frame has elements.
    void missOne() {
        OldStyleProperty* one = m_properties.empty() ? nullptr : m_properties.front().get();
        if (one == nullptr || verdict(m_walk.elements.front(), true) != RESULT_OK)
            return;
        m_message.clearProperties();
        for (std::size_t i = 0; i <= m_walk.elements.size(); ++i)
            m_message.addProperty(one);
        m_taker.taken = 0;
        int index = -1;
        FUZZ_REQUIRE(insideBuffers, m_message.checkTlvs(index, &m_taker) == RESULT_WRONG_LEN,
                     "an element that is not there passes");
        FUZZ_REQUIRE(insideBuffers, index == static_cast<int>(m_walk.elements.size()),
                     "another one is missed");
        FUZZ_REQUIRE(allOrNothing, !m_message.deserializeTlvs(&m_taker) && m_taker.taken == 0,
                     "elements are stored though one is not there");
    }

    LCMPMessage& m_message;
    const std::string& m_frame;
    std::size_t m_header;
    ExactBuffer m_buffer;
    WireWalk m_walk;
    Taker m_taker;
    std::vector<std::unique_ptr<OldStyleProperty>> m_properties;
};

template <typename Message>
void decode(const std::string& frame, unsigned int room) {
    Message message;
    Decoding(message, frame).run(room);
}

}  // namespace

void fuzz::prepare() {}

void fuzz::run(unsigned int /*mode*/, Input& input) {
    const unsigned int room = input.u16();
    const std::string frame = input.rest();
    decode<LCMPMessage>(frame, room);
    decode<LCMPRequest>(frame, room);
    decode<LCMPResponse>(frame, room);
    decode<LCMPAmi>(frame, room);
}
