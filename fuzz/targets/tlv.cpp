// One TLV element, decoded, set, copied and asked for everything in any order, held against a second account
// of what its value buffer must hold.
#include <boost/any.hpp>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>

#include "exactBuffer.h"
#include "fuzzTarget.h"
#include "invariants.h"
#include "lcmpTlv.h"
#include "wire.h"

namespace {

using fuzz::ExactBuffer;
using fuzz::Input;

constexpr std::size_t smallestBuffer = 8;

/// The element under test and what we know of it.
class Specimen {
public:
    Specimen() = default;
    ~Specimen() { std::free(m_tlv.val); }
    Specimen(const Specimen&) = delete;
    Specimen& operator=(const Specimen&) = delete;

    void decode(unsigned int oid, unsigned int type, const std::string& value) {
        ExactBuffer wire(fuzz::elementBytes(oid, type, value));
        const int taken = m_tlv.deserialize(wire.data());
        FUZZ_REQUIRE(roundTrip, taken == wire.size(), "deserialize takes another size than the element has");
        FUZZ_REQUIRE(roundTrip, m_tlv.id == oid && m_tlv.type == type && m_tlv.len == value.size(),
                     "the header is not what was on the wire");
        announce(type, value.size());
        if (value.empty())
            return;
        const unsigned int width = fuzz::widthOf(type);
        if (width > 1)
            holdWord(number(value + std::string(smallestBuffer, '\0'), 0, width), width);
        else
            holdBytes(value);
    }

    template <typename T>
    void setNumber(unsigned long long bits, unsigned int type) {
        m_tlv.setValue(static_cast<T>(bits));
        announce(type, sizeof(T));
        holdWord(std::is_same_v<T, bool> ? (static_cast<T>(bits) ? 1U : 0U) : bits, sizeof(T));
    }

    void setInt(int value, unsigned int type) {
        m_tlv.setValue(value, static_cast<unsigned char>(type));
        if (type != INT32 && type != IPv4ADDRESS)
            return;
        announce(type, sizeof value);
        holdWord(static_cast<unsigned int>(value), sizeof value);
    }

    void setBytes(const std::string& bytes, unsigned int type) {
        ExactBuffer data(bytes);
        m_tlv.setValue(data.data(), data.size(), static_cast<unsigned char>(type));
        if (type == STRING || type == MAC_ADDRESS)
            holdText(bytes, type);
    }

    void setText(const std::string& text, unsigned int how) {
        const std::string shown = upToNul(text);
        if (how % 3 == 0)
            m_tlv.setValue(text);
        else if (how % 3 == 1)
            m_tlv.setValue(text.data(), static_cast<int>(text.size()));
        else
            m_tlv.setValue(shown.c_str());
        holdText(how % 3 == 2 ? shown : text, STRING);
    }

    /// Goes on as a copy of itself; the original is freed.
    void becomeCopy() {
        LCMPTlv copy(m_tlv);
        FUZZ_REQUIRE(roundTrip, copy.val == nullptr || copy.val != m_tlv.val, "a copy shares its value");
        std::swap(static_cast<lcmp_tlv&>(copy), static_cast<lcmp_tlv&>(m_tlv));
        std::free(copy.val);
        if (!m_held || m_length == 0) {
            m_held = false;
            return;
        }
        const std::string old = m_content;
        startBuffer();
        m_content.replace(0, known(old), old, 0, known(old));
    }

    void check() const {
        FUZZ_REQUIRE(roundTrip, m_tlv.len == m_length && m_tlv.type == m_type, "type or length went astray");
        FUZZ_REQUIRE(roundTrip, m_tlv.isPointerValid() == m_held, "a value appears or is lost");
        checkNumbers();
        checkBytes();
        checkAny();
        checkWire();
        checkText();
    }

private:
    void startBuffer() {
        m_held = true;
        m_content.assign(std::max<std::size_t>(m_length, smallestBuffer), '\0');
    }

    // How much of the old value a copy takes along.
    std::size_t known(const std::string& content) const {
        return std::min<std::size_t>(std::max<std::size_t>(m_length, fuzz::widthOf(m_type)), content.size());
    }

    void announce(unsigned int type, std::size_t length) {
        const bool grows = length > m_length;
        m_type = type;
        m_length = length;
        if (length != 0 && (!m_held || grows))
            startBuffer();
    }

    void clearStart() { m_content.replace(0, smallestBuffer, smallestBuffer, '\0'); }

    void holdWord(unsigned long long bits, unsigned int width) {
        clearStart();
        if (width == 8)
            std::memcpy(m_content.data(), &bits, width);
        else if (width == 4)
            put(static_cast<std::uint32_t>(bits));
        else if (width == 2)
            put(static_cast<std::uint16_t>(bits));
        else
            put(static_cast<std::uint8_t>(bits));
    }

    template <typename T>
    void put(T value) {
        std::memcpy(m_content.data(), &value, sizeof value);
    }

    void holdBytes(const std::string& bytes) {
        if (bytes.size() < smallestBuffer)
            clearStart();
        m_content.replace(0, bytes.size(), bytes);
    }

    void holdText(const std::string& text, unsigned int type) {
        const std::string kept = text.substr(0, text.size() & 0xFFFF);
        announce(type, kept.size());
        if (kept.empty() && m_held)
            clearStart();
        else if (!kept.empty())
            holdBytes(kept);
    }

    // ---------------------------------------------------------------- what it must answer

    template <typename T>
    T expected() const {
        if (!m_held)
            return T{};
        if (std::is_same_v<T, bool>)
            return static_cast<T>(m_content[0] != 0);
        T value;
        std::memcpy(&value, m_content.data(), sizeof value);
        return value;
    }

    template <typename T>
    void checkNumber(T byValue) const {
        FUZZ_REQUIRE(roundTrip, byValue == expected<T>(), "a getter by value answers something else");
        T byReference{};
        m_tlv.getValue(byReference);
        T byPointer{};
        const bool answered = m_tlv.getValue(&byPointer);
        FUZZ_REQUIRE(roundTrip, answered == m_held && byReference == byValue && byPointer == byValue,
                     "three getters of a type differ");
        FUZZ_REQUIRE(survives, !m_tlv.getValue(static_cast<T*>(nullptr)), "a value went nowhere");
    }

    void checkNumbers() const {
        checkNumber<unsigned long long>(m_tlv.getValueAsUInt64());
        checkNumber<unsigned int>(m_tlv.getValueAsUInt32());
        checkNumber<unsigned short>(m_tlv.getValueAsUInt16());
        checkNumber<unsigned char>(m_tlv.getValueAsUInt8());
        checkNumber<long long>(m_tlv.getValueAsInt64());
        checkNumber<int>(m_tlv.getValueAsInt32());
        checkNumber<short>(m_tlv.getValueAsInt16());
        checkNumber<signed char>(m_tlv.getValueAsInt8());
        checkNumber<bool>(m_tlv.getValueAsBool());
    }

    std::string bytes() const { return m_held ? m_content.substr(0, m_length) : std::string(); }

    void checkBytes() const {
        const std::string all = bytes();
        FUZZ_REQUIRE(roundTrip, m_tlv.getValueAsString() == all, "getValueAsString answers something else");
        std::string byReference;
        m_tlv.getValue(byReference);
        FUZZ_REQUIRE(roundTrip, byReference == all, "getValue(std::string&) answers something else");
        for (const std::size_t room : {std::size_t{0}, m_length / 2, m_length, m_length + 9})
            checkArray(all, room);
    }

    void checkArray(const std::string& all, std::size_t room) const {
        const auto size = static_cast<int>(room);
        ExactBuffer array(room, '*');
        const int count = m_tlv.getValueArray(array.data(), size);
        FUZZ_REQUIRE(roundTrip, count == static_cast<int>(std::min(room, m_length)),
                     "getValueArray answers another size");
        FUZZ_REQUIRE(ownBytes, array.str() == all.substr(0, room) + rest(room, all.size(), '*'),
                     "getValueArray copies something else");
        ExactBuffer filled(room, '*');
        m_tlv.getValue(filled.data(), size);
        FUZZ_REQUIRE(ownBytes, filled.str() == all.substr(0, room) + rest(room, all.size(), '\0'),
                     "getValue(char*, int) fills in something else");
        std::string text = "*";
        m_tlv.getValue(&text, size);
        FUZZ_REQUIRE(ownBytes, text == upToNul(all.substr(0, room)),
                     "getValue(std::string*, int) answers something else");
    }

    static std::string rest(std::size_t room, std::size_t used, char fill) {
        return std::string(room > used ? room - used : 0, fill);
    }

    static std::string upToNul(const std::string& text) { return text.substr(0, text.find('\0')); }

    void checkAny() const {
        boost::any value = 'x';
        const bool answered = m_tlv.getValue(&value);
        const bool hasForm = m_type <= UNIX_TIME && m_type != IPv4ADDRESS;
        FUZZ_REQUIRE(roundTrip, answered == (m_held && hasForm), "the any answers for another type");
        if (!answered)
            FUZZ_REQUIRE(roundTrip, boost::any_cast<char>(&value) != nullptr, "the any was changed");
        else if (m_type == STRING)
            FUZZ_REQUIRE(roundTrip, boost::any_cast<std::string>(value) == upToNul(bytes()),
                         "the any holds another text");
    }

    void checkWire() const {
        const unsigned int width = fuzz::widthOf(m_type);
        const std::size_t room = fuzz::elementHeader + std::max<std::size_t>(m_length, width);
        ExactBuffer wire(room, '*');
        const int size = m_tlv.serialize(wire.data());
        FUZZ_REQUIRE(roundTrip, size == static_cast<int>(fuzz::elementHeader + m_length),
                     "serialize answers another size");
        std::string wanted = bigEndian(m_tlv.id, 4) + bigEndian(m_type, 1) + bigEndian(m_length, 2);
        if (m_length != 0 && m_held)
            wanted += width > 1 ? word(width) : bytes();
        FUZZ_REQUIRE(ownBytes, wire.str() == wanted + rest(room, wanted.size(), '*'),
                     "serialize writes " + hex(wire.str()) + " for " + hex(wanted));
    }

    std::string word(unsigned int width) const {
        if (width == 8)
            return bigEndian(expected<unsigned long long>(), 8);
        return width == 4 ? bigEndian(expected<unsigned int>(), 4) : bigEndian(expected<unsigned short>(), 2);
    }

    void checkText() const {
        const std::string text = m_tlv.toString();
        for (const char c : text) {
            const auto byte = static_cast<unsigned char>(c);
            FUZZ_REQUIRE(logIsText, byte >= 0x20 && byte != 0x7F, "a control byte in " + hex(text));
        }
        const bool value = text.find(" val=") != std::string::npos;
        FUZZ_REQUIRE(logIsText, value == (m_length != 0), "a value where there is none, or none");
    }

    LCMPTlv m_tlv;
    unsigned int m_type = 0;
    std::size_t m_length = 0;
    bool m_held = false;
    std::string m_content;  // the whole buffer
};

void setNumber(Specimen& specimen, unsigned int type, unsigned long long bits) {
    switch (type) {
        case UINT64:
            return specimen.setNumber<unsigned long long>(bits, type);
        case UINT32:
            return specimen.setNumber<unsigned int>(bits, type);
        case UINT16:
            return specimen.setNumber<unsigned short>(bits, type);
        case UINT8:
            return specimen.setNumber<unsigned char>(bits, type);
        case INT64:
            return specimen.setNumber<long long>(bits, type);
        case INT32:
            return specimen.setNumber<int>(bits, type);
        case INT16:
            return specimen.setNumber<short>(bits, type);
        case INT8:
            return specimen.setNumber<signed char>(bits, type);
        default:
            return specimen.setNumber<bool>(bits, BOOLEAN);
    }
}

void step(Specimen& specimen, Input& input) {
    const unsigned int what = input.u8();
    const unsigned int type = input.u8();
    switch (what % 6) {
        case 0: {
            const unsigned int oid = input.u32();
            return specimen.decode(oid, type, input.record());
        }
        case 1:
            return setNumber(specimen, type % 9, input.word(8));
        case 2:
            return specimen.setInt(static_cast<int>(input.u32()), type);
        case 3:
            return specimen.setBytes(input.record(), type);
        case 4:
            return specimen.setText(input.record(), type);
        default:
            return specimen.becomeCopy();
    }
}

}  // namespace

void fuzz::prepare() {}

void fuzz::run(unsigned int /*mode*/, Input& input) {
    Specimen specimen;
    constexpr int mostSteps = 24;
    for (int i = 0; i < mostSteps && !input.empty(); ++i) {
        step(specimen, input);
        specimen.check();
    }
}
