// What no peer would send by mistake. Every frame lies before an unmapped page. Whatever it holds:
//
//   - nobody outside its buffer is read or written, and the process goes on;
//   - a response is well formed, belongs to the request, and has at most 1200 bytes;
//   - a request with an element that does not fit is answered with 8 and that element's position, with one
//   ERROR
//     line; no hook runs and nothing is stored;
//   - a response or an event is applied up to that element, with false as the result;
//   - a message that is too short for its header does nothing but write one ERROR line.
#include <algorithm>
#include <map>
#include <string_view>

#include "card.h"
#include "frames.h"

namespace {

constexpr unsigned int specimenOf(unsigned int type) { return 0x04800000 + type; }
constexpr unsigned int installedArrayId = 14;

/// An array with a buffer, as a subclass may install one.
class InstalledArray : public ArrayProperty {
public:
    explicit InstalledArray(unsigned int id) : ArrayProperty(id, "installed", IFC_CARD_VAR_WRITABLE, true) {
        m_buffer = static_cast<unsigned char*>(std::calloc(4, 1));
        m_length = 4;
    }
};

/// Asks an element for everything, whatever it holds.
void exercise(OldStyleProperty& property) {
    const auto getAndSet = [&property](auto value) {
        property.get(&value);
        property.set(value);
    };
    getAndSet(0ULL);
    getAndSet(0U);
    getAndSet(static_cast<unsigned short>(0));
    getAndSet(static_cast<unsigned char>(0));
    getAndSet(0LL);
    getAndSet(0);
    getAndSet(static_cast<short>(0));
    getAndSet(static_cast<signed char>(0));
    getAndSet(false);
    getAndSet(std::string());
    unsigned char data[32];
    unsigned int length = sizeof data;
    property.get(data, &length);
    property.set(data, length);
}

/// A card with a variable of every type, and hooks that take everything.
class Target : public Card {
public:
    Target() {
        const auto numeric = [&](unsigned int type, auto zero) {
            specimen.addProp(
                new TypeProperty<decltype(zero)>(type, "number", IFC_CARD_VAR_WRITABLE, zero, true), 0);
        };
        numeric(UINT64, 0ULL);
        numeric(UINT32, 0U);
        numeric(UINT16, static_cast<unsigned short>(0));
        numeric(UINT8, static_cast<unsigned char>(0));
        numeric(INT64, 0LL);
        numeric(INT32, 0);
        numeric(INT16, static_cast<short>(0));
        numeric(INT8, static_cast<signed char>(0));
        numeric(BOOLEAN, false);
        specimen.addProp(new StringProperty(STRING, "text", IFC_CARD_VAR_WRITABLE, "", true), 0);
        specimen.addProp(new IpAddressProperty(IPv4ADDRESS, "address", IFC_CARD_VAR_WRITABLE, 0U, true), 0);
        specimen.addProp(new UnixTimeProperty(UNIX_TIME, "time", IFC_CARD_VAR_WRITABLE, 0, true), 0);
        specimen.addProp(new ArrayProperty(BYTE_ARRAY, "array", IFC_CARD_VAR_WRITABLE, true), 0);
        specimen.addProp(
            new MacAddressProperty(MAC_ADDRESS, "mac", IFC_CARD_VAR_WRITABLE, std::string(), true), 0);
        specimen.addProp(new InstalledArray(installedArrayId), 0);
        registerObject(&specimen);
        acceptsEvents = true;
        judgesLegacy = [](OldStyleProperty&, bool) { return std::uint8_t{RESULT_OK}; };
        servesLegacy = [](OldStyleProperty& property, bool) {
            exercise(property);
            return true;
        };
    }

    /// Everything that its objects hold, as elements.
    std::string values() {
        std::string all;
        for (LcmpObject* object : lcmpObjects) {
            for (LcmpProperty* property : object->getProperties())
                all += wireOf(*property);
        }
        return all;
    }

    static std::string wireOf(LcmpProperty& property) {
        std::string wire(7 + property.length(), '\0');
        EXPECT_EQ(property.serialize(wire.data(), static_cast<int>(wire.size())),
                  static_cast<int>(wire.size()));
        return wire;
    }

    Journaled<LcmpScalar> specimen{journal, "specimen", 9U, false};
};

// ---------------------------------------------------------------- what a frame holds, by our own walk

using Bytes = std::string_view;

unsigned int wordAt(Bytes data, std::size_t offset) {
    return static_cast<unsigned int>(static_cast<unsigned char>(data[offset]) << 8 |
                                     static_cast<unsigned char>(data[offset + 1]));
}

constexpr int none = -1;

/// The position of the first element that does not fit, or none.
int misfitOf(Bytes data, std::size_t position) {
    for (int index = 0; position < data.size(); ++index) {
        const std::size_t left = data.size() - position;
        if (left < 7 || left - 7 < wordAt(data, position + 5))
            return index;
        position += 7 + wordAt(data, position + 5);
    }
    return none;
}

constexpr char readAction = 1;
constexpr char writeAction = 2;
constexpr char readResponseAction = 3;
constexpr char amiAction = 5;

std::size_t headerOf(Bytes data) {
    if (data[5] == readAction || data[5] == writeAction)
        return requestHeader;
    return data[5] == amiAction ? amiHeader : responseHeader;
}

bool isResult(Bytes answer, unsigned int result, unsigned int index) {
    return static_cast<unsigned char>(answer[8]) == result && wordAt(answer, 9) == index &&
           answer.size() == responseHeader;
}

/// Holds what a target did with a frame against the invariants above. These functions name the one that does
/// not hold, or return null.
class Trial {
public:
    Trial(const Target& target, const CapturedLog& log, Bytes frameBytes, bool handled)
        : m_target(target), m_log(log), m_frame(frameBytes), m_handled(handled) {}

    const char* fault() const {
        if (m_frame.size() < requestHeader)
            return faultOfShortMessage();
        if (m_frame.substr(0, 4) != "OTN1")
            return m_handled && m_target.sent.empty() && m_target.journal.empty()
                       ? nullptr
                       : "a foreign magic does something";
        if (m_frame[4] != 1)
            return faultOfErrorReply(RESULT_PROTOCOL_VERSION_MISMATCH);
        if (m_frame[5] < readAction || m_frame[5] > amiAction)
            return faultOfErrorReply(RESULT_INVALID_ACTION);
        if (m_frame.size() < headerOf(m_frame))
            return faultOfShortMessage();
        return headerOf(m_frame) == requestHeader ? faultOfRequest(misfitOf(m_frame, requestHeader))
                                                  : faultOfMessage(misfitOf(m_frame, headerOf(m_frame)));
    }

private:
    const char* faultOfRequest(int misfit) const {
        if (const char* fault = faultOfAnswer())
            return fault;
        if (misfit == none)
            return nullptr;
        if (!isResult(m_target.sent[0], RESULT_WRONG_LEN, static_cast<unsigned int>(misfit)))
            return "the answer is not 8 with the position of the element that does not fit";
        if (!m_target.journal.empty())
            return "a hook ran though an element does not fit";
        return m_log.lines().size() == 1 ? nullptr : "the element that does not fit is not one ERROR line";
    }

    const char* faultOfMessage(int misfit) const {
        if (!m_target.sent.empty())
            return "something was sent";
        const bool event = m_frame[5] == amiAction;
        const std::string last = m_target.journal.empty() ? "" : m_target.journal.back().substr(0, 7);
        if (event != (last == "events:"))
            return "the application hears of events, and of nothing else";
        if (misfit == none || !(event || bringsValues()))
            return nullptr;
        if (m_handled)
            return "an element that does not fit counts as handled";
        if (m_log.count("ERROR") == 0)
            return "an element that does not fit is no ERROR line";
        if (misfit != 0)
            return nullptr;
        if (m_target.journal.size() != (event ? 1U : 0U))
            return "something was applied though the first element does not fit";
        return m_log.lines().size() == 1 ? nullptr : "the element that does not fit is not one ERROR line";
    }

    bool bringsValues() const {
        return m_frame[5] == readResponseAction &&
               (m_frame[8] == RESULT_OK || m_frame[8] == RESULT_DUPLICATE_MSG ||
                m_frame[8] == RESULT_LOST_MSG);
    }

    const char* faultOfShortMessage() const {
        if (m_handled || !m_target.sent.empty() || !m_target.journal.empty())
            return "a message without a whole header does something";
        return m_log.lines().size() == 1 ? nullptr : "a message without a whole header is not one ERROR line";
    }

    const char* faultOfErrorReply(unsigned int result) const {
        if (const char* fault = faultOfAnswer())
            return fault;
        if (!m_target.journal.empty())
            return "a hook ran though the header is wrong";
        return isResult(m_target.sent[0], result, 0)
                   ? nullptr
                   : "the answer does not tell what is wrong with the header";
    }

    /// One answer that belongs to the frame and is well formed.
    const char* faultOfAnswer() const {
        if (!m_handled || m_target.sent.size() != 1)
            return "not answered once";
        const Bytes answer = m_target.sent[0];
        if (answer.size() < responseHeader || answer.size() > 1200)
            return "an answer of that size";
        const bool toRead = m_frame[5] == readAction;
        if (answer.substr(0, 5) != Bytes("OTN1\1", 5) || answer[5] != (toRead ? 3 : 4) ||
            answer.substr(6, 2) != m_frame.substr(6, 2))
            return "an answer that does not belong to the frame";
        if (!toRead && answer.size() != responseHeader)
            return "an answer to a write with elements";
        return misfitOf(answer, responseHeader) == none ? nullptr : "an answer that is not well formed";
    }

    const Target& m_target;
    const CapturedLog& m_log;
    Bytes m_frame;
    bool m_handled;
};

class HostileFrames : public testing::Test {
protected:
    /// Receives a frame; one whose element does not fit leaves every value as it was.
    void send(const std::string& frameBytes) {
        const std::string before = target.values();
        GuardedBytes guarded(frameBytes);
        sendGuarded(guarded);
        if (!target.sent.empty() && target.sent[0][8] == RESULT_WRONG_LEN) {
            EXPECT_EQ(hex(target.values()), hex(before)) << hex(frameBytes);
        }
    }

    void sendGuarded(GuardedBytes& frameBytes) {
        forget();
        const bool handled = target.handleLcmpMsg(frameBytes.size(), frameBytes.data(), Card::controller);
        const Bytes view(frameBytes.data(), static_cast<std::size_t>(frameBytes.size()));
        if (const char* fault = Trial(target, log, view, handled).fault())
            ADD_FAILURE() << fault << "\n"
                          << hex(frameBytes.str()) << "\n"
                          << target.lastSent() << "\n"
                          << log.all();
    }

    /// The frame itself, and all that it begins with.
    void sendWithAllPrefixes(const std::string& frameBytes) {
        for (std::size_t size = 0; size <= frameBytes.size() && !HasFailure(); ++size)
            send(frameBytes.substr(0, size));
    }

    void forget() {
        target.sent.clear();
        target.sentTo.clear();
        target.journal.clear();
        log.clear();
    }

    Target target;
    CapturedLog log{levelError};
};

void forEach(const std::vector<Frame>& frames, const std::function<void(const Frame&)>& expectations) {
    for (const Frame& each : frames) {
        SCOPED_TRACE(each.name);
        expectations(each);
    }
}

}  // namespace

// ---------------------------------------------------------------- golden frames, cut and bent

namespace {

char flipped(char byte, unsigned int bits) {
    return static_cast<char>(static_cast<unsigned char>(byte) ^ bits);
}

}  // namespace

using GoldenFramesBent = HostileFrames;

TEST_F(GoldenFramesBent, AreSoundAtEveryLength) {
    forEach(goldenFrames(), [this](const Frame& golden) { sendWithAllPrefixes(golden.bytes); });
}

TEST_F(GoldenFramesBent, AreSoundAtEveryLengthAsAnyOtherAction) {
    forEach(goldenFrames(), [this](const Frame& golden) {
        std::string frameBytes = golden.bytes;
        for (const char action : {'\1', '\2', '\3', '\4', '\5'}) {
            frameBytes[5] = action;
            sendWithAllPrefixes(frameBytes);
        }
    });
}

TEST_F(GoldenFramesBent, AreSoundWithAnyByteChanged) {
    forEach(goldenFrames(), [this](const Frame& golden) {
        for (std::size_t position = 0; position < golden.bytes.size(); ++position) {
            for (const unsigned int bits : {0x01U, 0x02U, 0x10U, 0x80U, 0xFFU}) {
                std::string bent = golden.bytes;
                bent[position] = flipped(bent[position], bits);
                send(bent);
            }
        }
    });
}

// ---------------------------------------------------------------- broken frames

namespace {

/// What becomes of a broken frame.
enum class Fate {
    handledByDoingNothing,
    nothing,      // false, no answer
    answered,     // with this result and error index
    appliedOnce,  // up to the first fault, with false
    notApplied    // at all, with false
};

struct Broken {
    Fate fate;
    unsigned int result = 0;
    unsigned int index = 0;
};

std::map<std::string, Broken> brokenOnes() {
    constexpr Broken tooShort = {Fate::nothing};
    constexpr Broken misfitFirst = {Fate::answered, RESULT_WRONG_LEN, 0};
    constexpr Broken misfitSecond = {Fate::answered, RESULT_WRONG_LEN, 1};
    std::map<std::string, Broken> table = {{"magic", {Fate::handledByDoingNothing}},
                                           {"magic-little-endian", {Fate::handledByDoingNothing}},
                                           {"version-0", {Fate::answered, RESULT_PROTOCOL_VERSION_MISMATCH}},
                                           {"version-2", {Fate::answered, RESULT_PROTOCOL_VERSION_MISMATCH}},
                                           {"action-0", {Fate::answered, RESULT_INVALID_ACTION}},
                                           {"action-6", {Fate::answered, RESULT_INVALID_ACTION}},
                                           {"action-255", {Fate::answered, RESULT_INVALID_ACTION}},
                                           {"no-bytes", tooShort},
                                           {"header-cut-after-4", tooShort},
                                           {"header-cut-after-7", tooShort},
                                           {"ami-header-of-8", tooShort},
                                           {"ami-header-of-12", tooShort},
                                           {"ami-header-of-15", tooShort},
                                           {"write-text-cut", misfitSecond},
                                           {"write-first-of-many-too-long", misfitFirst},
                                           {"write-uint64-of-2-bytes-cut", misfitFirst}};
    for (const char* size : {"8", "9", "10"}) {
        table[std::string("read-response-header-of-") + size] = tooShort;
        table[std::string("write-response-header-of-") + size] = tooShort;
    }
    for (const char* kind : {"read", "write", "read-response", "ami"}) {
        const std::string prefix = std::string(kind) + "-";
        const bool request = prefix == "read-" || prefix == "write-";
        const Broken first = request ? misfitFirst : Broken{Fate::notApplied};
        const Broken second = request ? misfitSecond : Broken{Fate::appliedOnce};
        table[prefix + "element-without-its-value"] = first;
        table[prefix + "length-65535"] = first;
        table[prefix + "element-cut-in-header"] = second;
        table[prefix + "element-cut-in-value"] = second;
        for (const char* bytesBehind : {"1", "2", "3", "4", "5", "6"})
            table[prefix + "trailing-" + bytesBehind] = second;
    }
    return table;
}

}  // namespace

using BrokenFrames = HostileFrames;

TEST_F(BrokenFrames, AreThereForEverythingWrittenDown) {
    for (const auto& broken : brokenOnes())
        EXPECT_NO_THROW(frame("broken/" + broken.first)) << broken.first;
}

TEST_F(BrokenFrames, AreSoundAtEveryLength) {
    forEach(brokenFrames(), [this](const Frame& each) { sendWithAllPrefixes(each.bytes); });
}

TEST_F(BrokenFrames, AreRefusedAsTheyDeserve) {
    const auto table = brokenOnes();
    forEach(brokenFrames(), [&](const Frame& each) {
        const auto found = table.find(each.name.substr(std::string("broken/").size()));
        ASSERT_NE(found, table.end()) << "nothing is written down for this frame";
        const Broken& broken = found->second;
        forget();
        target.control.setToDefault();
        const bool handled = target.receive(each.bytes, Card::controller);

        EXPECT_EQ(handled, broken.fate == Fate::answered || broken.fate == Fate::handledByDoingNothing);
        ASSERT_EQ(target.sent.size(), broken.fate == Fate::answered ? 1U : 0U);
        EXPECT_TRUE(target.sent.empty() || isResult(target.sent[0], broken.result, broken.index))
            << target.lastSent();
        EXPECT_EQ(target.value<unsigned char>(bpClkRef), broken.fate == Fate::appliedOnce ? 1 : 128);
        EXPECT_FALSE(target.value<bool>(reboot));
    });
}

// ---------------------------------------------------------------- types and lengths

namespace {

/// The kinds of frames that carry elements, by name.
struct Kind {
    const char* name;
    std::string header;
};

void PrintTo(const Kind& kind, std::ostream* out) { *out << kind.name; }
std::string kindName(const testing::TestParamInfo<Kind>& info) { return info.param.name; }

std::vector<Kind> kinds() {
    return {{"Read", readRequest(7)},
            {"Write", writeRequest(7)},
            {"ReadResponse", readResponse(7, RESULT_OK, 0)},
            {"WriteResponse", writeResponse(7, RESULT_OK, 0)},
            {"Ami", amiFrame(7, 1, 2)}};
}

const unsigned int boundaryLengths[] = {0,   1,   2,   3,   4,    5,    6,    7,     8,     9,     15,   16,
                                        127, 128, 255, 256, 1181, 1182, 1183, 32767, 32768, 65534, 65535};

}  // namespace

class TypesAndLengths : public HostileFrames, public testing::WithParamInterface<Kind> {
protected:
    /// A guarded frame with one element, whose header is written anew for each trial.
    class OneElement {
    public:
        OneElement(const std::string& frameHeader, const std::string& value)
            : m_element(frameHeader.size()), m_bytes(frameHeader + std::string(7, '\0') + value) {}

        GuardedBytes& with(unsigned int oid, unsigned int type, unsigned int declared) {
            const std::string elementHeader = bigEndian(oid, 4) + bigEndian(type, 1) + bigEndian(declared, 2);
            elementHeader.copy(m_bytes.data() + m_element, elementHeader.size());
            return m_bytes;
        }

    private:
        std::size_t m_element;
        GuardedBytes m_bytes;
    };

    OneElement elementOf(std::size_t valueBytes) const {
        return OneElement(GetParam().header, std::string(valueBytes, '\0'));
    }
};

TEST_P(TypesAndLengths, AreSoundForEveryTypeCodeAtTheBoundaries) {
    for (const std::size_t valueBytes : {0U, 1U, 7U, 8U}) {
        OneElement element = elementOf(valueBytes);
        for (unsigned int type = 0; type < 256 && !HasFailure(); ++type) {
            for (const unsigned int oid : {specimenOf(type & 15), unknownOid, 0xC0000000U}) {
                for (const unsigned int declared : boundaryLengths)
                    sendGuarded(element.with(oid, type, declared));
            }
        }
    }
}

TEST_P(TypesAndLengths, AreSoundForWholeElementsOfEveryTypeCode) {
    for (const unsigned int length : {0U, 1U, 2U, 3U, 4U, 5U, 6U, 7U, 8U, 9U, 1182U, 1183U, 65535U}) {
        OneElement element = elementOf(length);
        for (unsigned int type = 0; type < 256 && !HasFailure(); ++type) {
            for (const unsigned int oid : {specimenOf(type & 15), unknownOid})
                sendGuarded(element.with(oid, type, length));
        }
    }
}

// Two faults at once: the position counts, not what stands before it.
TEST_P(TypesAndLengths, AreSoundBehindElementsOfEveryType) {
    for (unsigned int first = 0; first <= 15; ++first) {
        const auto whole = Element::holding(specimenOf(first), first, std::string(8, '\1'));
        for (unsigned int second = 0; second <= 15 && !HasFailure(); ++second) {
            const auto cut = Element::holding(specimenOf(second), second, std::string(8, '\1')).declaring(9);
            send(GetParam().header + joined({whole, cut}));
            send(GetParam().header + joined({whole, whole, cut, whole}));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Hostile, TypesAndLengths, testing::ValuesIn(kinds()), kindName);

// ---------------------------------------------------------------- large frames

TEST_F(HostileFrames, AreSoundWithAsManyElementsAsADatagramHolds) {
    target.takesLegacy();
    const std::string empties = joined(Elements(9357, {unknownOid, STRING}));
    for (const Kind& kind : kinds()) {
        send(kind.header + empties);
        send(kind.header + empties + "x");
    }
}

TEST_F(HostileFrames, AnswerThePositionOfTheLastOfManyElements) {
    send(readRequest(7, Elements(9357, {unknownOid, STRING})) + "x");
    ASSERT_EQ(target.sent.size(), 1U);
    EXPECT_EQ(hex(target.sent[0].substr(8)), refused(RESULT_WRONG_LEN, 9357));
}
