// A legacy property under every typed get and set, decoded over and over, encoded and copied, held against a
// second account of its type and bytes.
#include <memory>

#include "exactBuffer.h"
#include "fuzzTarget.h"
#include "invariants.h"
#include "lcmpObjectId.h"
#include "lcmpOldStyleProperty.h"
#include "wire.h"

namespace {

using fuzz::ExactBuffer;
using fuzz::Input;

constexpr std::size_t smallestBuffer = 8;

class Specimen {
public:
    Specimen(unsigned int oid, unsigned int type, const std::string& value)
        : m_oid(oid), m_type(type), m_length(value.size()) {
        ExactBuffer wire(fuzz::elementBytes(oid, type, value));
        m_property = std::make_unique<OldStyleProperty>(reinterpret_cast<lcmp_tlv*>(wire.data()), false);
        FUZZ_REQUIRE(roundTrip, m_property->getRow() == LcmpObjectId(oid).m_row,
                     "another row than the OID's");
        hold(value, !value.empty());
    }

    void decode(unsigned int oid, unsigned int type, const std::string& value) {
        ExactBuffer wire(fuzz::elementBytes(oid, type, value));
        FUZZ_REQUIRE(roundTrip, m_property->deserialize(wire.data()) == wire.size(),
                     "deserialize takes another size than the element has");
        m_oid = oid;
        m_type = type;
        m_length = value.size();
        hold(value, true);
    }

    template <typename T>
    void set(unsigned long long bits, bool accepted) {
        m_property->set(static_cast<T>(bits));
        if (!accepted)
            return;
        if (!m_held)
            hold("", true);
        const bool truth = std::is_same_v<T, bool>;
        m_content.replace(0, sizeof(T),
                          bigEndian(truth ? (static_cast<T>(bits) ? 1U : 0U) : bits, sizeof(T)));
    }

    void setNumber(unsigned int as, unsigned long long bits) {
        switch (as) {
            case UINT64:
                return set<unsigned long long>(bits, m_type == UINT64);
            case UINT32:
                return set<unsigned int>(bits, m_type == UINT32);
            case UINT16:
                return set<unsigned short>(bits, m_type == UINT16);
            case UINT8:
                return set<unsigned char>(bits, m_type == UINT8);
            case INT64:
                return set<long long>(bits, false);
            case INT32:
                return set<int>(bits, m_type == INT32 || m_type == IPv4ADDRESS);
            case INT16:
                return set<short>(bits, m_type == INT16);
            case INT8:
                return set<signed char>(bits, m_type == INT8);
            default:
                return set<bool>(bits, m_type == BOOLEAN);
        }
    }

    void setText(const std::string& text) {
        m_property->set(text);
        if (m_type == STRING)
            replace(text);
    }

    void setArray(const std::string& bytes) {
        ExactBuffer data(bytes);
        m_property->set(reinterpret_cast<unsigned char*>(data.data()),
                        static_cast<unsigned int>(data.size()));
        if (m_type == BYTE_ARRAY || m_type == MAC_ADDRESS)
            replace(bytes);
    }

    /// Goes on as a copy; the original is deleted.
    void becomeCopy() {
        const std::string name = m_property->getName();
        m_property = std::make_unique<OldStyleProperty>(*m_property);
        FUZZ_REQUIRE(roundTrip, m_property->getName() == name, "a copy has another name");
        if (m_held)
            hold(std::string(m_content, 0, m_length), true);
    }

    void check(unsigned int count) {
        FUZZ_REQUIRE(roundTrip, m_property->getOid() == m_oid, "another OID");
        FUZZ_REQUIRE(roundTrip, m_property->getType() == static_cast<int>(m_type), "another type");
        FUZZ_REQUIRE(roundTrip, m_property->length() == m_length, "another length");
        FUZZ_REQUIRE(roundTrip, m_property->isPointerValid() == m_held, "a value appears or is lost");
        FUZZ_REQUIRE(roundTrip, !m_property->isDefault() && !m_property->sendEvent(),
                     "a default or an event");
        checkNumbers();
        checkText();
        checkArray(count);
        checkWire(count);
    }

private:
    void hold(const std::string& value, bool held) {
        m_held = held;
        m_content = value;
        m_content.resize(std::max(m_length, smallestBuffer));
    }

    void replace(const std::string& value) {
        m_length = value.size();
        hold(value, !value.empty());
    }

    template <typename T>
    void checkNumber(bool accepted) {
        constexpr auto before = static_cast<T>(1);
        T out = before;
        m_property->get(&out);
        const unsigned long long bits = number(m_content, 0, sizeof(T));
        FUZZ_REQUIRE(roundTrip, out == (accepted && m_held ? static_cast<T>(bits) : before),
                     "a number is another one, or answered by the wrong type");
        m_property->get(static_cast<T*>(nullptr));
    }

    void checkNumbers() {
        checkNumber<unsigned long long>(m_type == UINT64);
        checkNumber<unsigned int>(m_type == UINT32);
        checkNumber<unsigned short>(m_type == UINT16);
        checkNumber<unsigned char>(m_type == UINT8);
        checkNumber<long long>(m_type == INT64);
        checkNumber<int>(m_type == INT32 || m_type == IPv4ADDRESS);
        checkNumber<short>(m_type == INT16);
        checkNumber<signed char>(m_type == INT8);
        checkNumber<bool>(m_type == BOOLEAN);
    }

    std::string bytes() const { return m_content.substr(0, m_length); }

    void checkText() {
        std::string text = "before";
        m_property->get(&text);
        FUZZ_REQUIRE(ownBytes, text == (m_type == STRING && m_held ? bytes() : "before"),
                     "a text is another one, or answered by the wrong type");
        FUZZ_REQUIRE(logIsText, m_property->str() == m_property->getName() + ":\n\n", "its line shows more");
    }

    void checkArray(unsigned int count) {
        ExactBuffer data(count, '*');
        unsigned int length = count;
        m_property->get(reinterpret_cast<unsigned char*>(data.data()), &length);
        const bool answered = m_held && (m_type == BYTE_ARRAY || m_type == MAC_ADDRESS);
        std::string wanted = answered ? bytes().substr(0, count) : "";
        wanted.resize(count, answered ? '\0' : '*');
        FUZZ_REQUIRE(ownBytes, data.str() == wanted && length == count, "an array is another one");
    }

    void checkWire(unsigned int count) {
        const std::string wanted = fuzz::elementBytes(m_oid, m_type, bytes());
        const std::size_t room = std::min<std::size_t>(count, wanted.size() - 1);
        ExactBuffer small(room, '*');
        FUZZ_REQUIRE(insideBuffers, m_property->serialize(small.data(), small.size()) == -1,
                     "encoded into too little room");
        FUZZ_REQUIRE(insideBuffers, small.str() == std::string(room, '*'), "too little room is written to");
        ExactBuffer wire(wanted.size(), '*');
        FUZZ_REQUIRE(roundTrip, m_property->serialize(wire.data(), wire.size()) == wire.size(),
                     "serialize answers another size");
        FUZZ_REQUIRE(ownBytes, wire.str() == wanted, "encoded it is " + hex(wire.str()));
    }

    std::unique_ptr<OldStyleProperty> m_property;
    unsigned int m_oid;
    unsigned int m_type;
    std::size_t m_length;
    bool m_held = false;
    std::string m_content;  // at least as much as the widest number reads
};

void step(Specimen& specimen, Input& input) {
    const unsigned int what = input.u8();
    switch (what % 6) {
        case 0: {
            const unsigned int type = input.u8();
            const unsigned int oid = input.u32();
            return specimen.decode(oid, type, input.record());
        }
        case 1:
        case 2:
            return specimen.setNumber(what / 6 % 9, input.word(8));
        case 3:
            return specimen.setText(input.record());
        case 4:
            return specimen.setArray(input.record());
        default:
            return specimen.becomeCopy();
    }
}

}  // namespace

void fuzz::prepare() {}

void fuzz::run(unsigned int /*mode*/, Input& input) {
    const unsigned int count = input.u8();
    const unsigned int type = input.u8();
    const unsigned int oid = input.u32();
    Specimen specimen(oid, type, input.record());
    specimen.check(count);
    constexpr int mostSteps = 24;
    for (int i = 0; i < mostSteps && !input.empty(); ++i) {
        step(specimen, input);
        specimen.check(count);
    }
}
