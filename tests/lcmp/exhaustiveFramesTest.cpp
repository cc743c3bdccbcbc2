// Golden frames in all that can happen to them on their way, and frames at the limits, before the judge.
#include <functional>

#include "frames.h"
#include "judgedCard.h"

namespace {

/// The kinds of frames that carry elements, empty.
const std::vector<std::string>& doors() {
    static const std::vector<std::string> all = {readRequest(7), writeRequest(7),
                                                 readResponse(7, RESULT_OK, 0),
                                                 writeResponse(7, RESULT_OK, 0), amiFrame(7, 1, 2)};
    return all;
}

}  // namespace

// ---------------------------------------------------------------- golden frames, bent

class GoldenFrame : public testing::TestWithParam<Frame> {
protected:
    /// The frame is judged, and the next request is served.
    void send(Bytes frame) {
        judged.send(frame);
        judged.expectToWork();
    }

    JudgedCard judged;
    const std::string golden = GetParam().bytes;
};

void PrintTo(const Frame& frame, std::ostream* out) { *out << frame.name; }

TEST_P(GoldenFrame, IsJudgedAtEveryLength) {
    for (std::size_t size = 0; size <= golden.size(); ++size)
        send(Bytes(golden).substr(0, size));
}

TEST_P(GoldenFrame, IsJudgedWithUpToSixteenBytesBehind) {
    for (const char filler : {'\0', '\1', '\x7F', '\xFF', 'O'}) {
        for (std::size_t count = 1; count <= 16; ++count)
            send(golden + std::string(count, filler));
    }
    for (std::size_t count = 1; count <= 16; ++count)
        send(golden + golden.substr(0, count));
}

// Every flip of a single bit is among them.
TEST_P(GoldenFrame, IsJudgedWithEveryByteAtEveryValue) {
    std::string bent = golden;
    for (std::size_t position = 0; position < golden.size() && !HasFailure(); ++position) {
        for (unsigned int value = 0; value < 256; ++value) {
            bent[position] = static_cast<char>(value);
            judged.send(bent);
        }
        bent[position] = golden[position];
        judged.expectToWork();
    }
}

TEST_P(GoldenFrame, IsJudgedAsEveryOtherKind) {
    std::string bent = golden;
    for (const char action : {'\1', '\2', '\3', '\4', '\5'}) {
        bent[5] = action;
        for (std::size_t size = 6; size <= bent.size(); ++size)
            send(Bytes(bent).substr(0, size));
    }
}

namespace {

std::string nameOfFrame(const testing::TestParamInfo<Frame>& info) {
    std::string name = info.param.name;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

}  // namespace

INSTANTIATE_TEST_SUITE_P(Exhaustive, GoldenFrame, testing::ValuesIn(goldenFrames()), nameOfFrame);

// ---------------------------------------------------------------- decoding alone

namespace {

/// What a message owes to a frame: its own header whole, and right.
int dueResultOf(Bytes frame, std::size_t header) {
    if (frame.size() < requestHeader)
        return RESULT_WRONG_LEN;
    if (frame.substr(0, 4) != "OTN1")
        return RESULT_WRONG_MAGIC;
    if (byteAt(frame, 4) != 1)
        return RESULT_PROTOCOL_VERSION_MISMATCH;
    if (byteAt(frame, 5) < 1 || byteAt(frame, 5) > 5)
        return RESULT_INVALID_ACTION;
    return frame.size() < header ? RESULT_WRONG_LEN : RESULT_OK;
}

template <typename Message>
void expectDecoded(Bytes frame, std::size_t header) {
    Message message;
    const int due = dueResultOf(frame, header);
    EXPECT_EQ(message.deserialize(frame.data(), static_cast<int>(frame.size())), due)
        << hex(std::string(frame));
    if (due == RESULT_OK) {
        EXPECT_EQ(message.getAction(), byteAt(frame, 5));
        EXPECT_EQ(message.getMessageId(), wordAt(frame, 6));
    }
}

void expectDecodedAsEachKind(Bytes frame) {
    expectDecoded<LCMPMessage>(frame, requestHeader);
    expectDecoded<LCMPRequest>(frame, requestHeader);
    expectDecoded<LCMPResponse>(frame, responseHeader);
    expectDecoded<LCMPAmi>(frame, amiHeader);
}

}  // namespace

TEST(EveryFrame, IsDecodedAtEveryLengthAsEachKindOfMessage) {
    GuardedRoom room(2000);
    for (const std::vector<Frame>& frames : {goldenFrames(), brokenFrames()}) {
        for (const Frame& each : frames) {
            const std::size_t longest = std::min<std::size_t>(each.bytes.size(), 1000);
            for (std::size_t size = 0; size <= longest; ++size) {
                expectDecodedAsEachKind(room.atEnd(Bytes(each.bytes).substr(0, size)));
                expectDecodedAsEachKind(room.atBeginning(Bytes(each.bytes).substr(0, size)));
            }
        }
    }
}

TEST(EveryHeader, IsDecodedWithEveryByteAtEveryValueAsEachKindOfMessage) {
    GuardedRoom room(100);
    for (std::size_t position = 0; position < amiHeader; ++position) {
        std::string frame = amiFrame(7, 1, 2);
        for (unsigned int value = 0; value < 256; ++value) {
            frame[position] = static_cast<char>(value);
            for (const std::size_t size : {requestHeader, responseHeader, amiHeader})
                expectDecodedAsEachKind(room.atEnd(Bytes(frame).substr(0, size)));
        }
    }
}

// ---------------------------------------------------------------- numbers of elements

class ManyElements : public testing::Test {
protected:
    void sendToEveryDoor(const Elements& elements) {
        for (const std::string& door : doors()) {
            judged.send(door + joined(elements));
            judged.expectToWork();
        }
    }

    JudgedCard judged;
};

TEST_F(ManyElements, AreJudgedInEveryNumberThatADatagramOfNumbersHolds) {
    Elements elements;
    for (unsigned int count = 0; count <= 200 && !HasFailure(); ++count) {
        sendToEveryDoor(elements);
        elements.push_back(Element::holding(countdown, INT32, bigEndian(count, 4)));
    }
}

TEST_F(ManyElements, AreJudgedInEveryNumberThatTheShortestFrameHolds) {
    for (const unsigned int oid : {served, 0x04800009U, refused}) {
        for (const std::size_t count : {0U, 1U, 149U, 150U, 151U, 170U, 171U, 9357U})
            sendToEveryDoor(Elements(count, {oid, STRING}));
    }
}

// The last element is longer or shorter, so that the response has each number of bytes around its limit.
TEST_F(ManyElements, AreReadUpToAResponseOf1200Bytes) {
    for (std::size_t size = 1150; size <= 1250 && !HasFailure(); ++size) {
        const Element text = Element::holding(served, STRING, std::string(size - responseHeader - 7, 't'));
        judged.send(readRequest(7, {text}));
        EXPECT_EQ(judged.card.sent.size(), size <= 1200 ? size : responseHeader);
        for (std::size_t count : {1U, 2U, 50U, 100U}) {
            Elements elements(count, {0x11800000, BOOLEAN});
            elements.push_back(
                Element::holding(served, STRING, std::string(size - responseHeader - 8 * count - 7, 't')));
            judged.send(readRequest(7, elements));
            EXPECT_EQ(judged.card.sent.size(), size <= 1200 ? size : responseHeader);
        }
    }
}

TEST_F(ManyElements, OfOneFaultyAreRefusedAtItsPosition) {
    const Element good = Element::holding(countdown, INT32, bigEndian(5, 4));
    const Elements faults = {
        Element(refused, UINT8, "01"),              // nobody knows it
        Element(failing, UINT8, "01"),              // nobody serves it
        Element(clockRef, UINT16, "0001"),          // its type
        Element(clockRef, UINT8, "0001"),           // its length
        Element(clockRef, UINT8, "04"),             // its value
        Element(clockRef | 1U << 29, UINT8, "01"),  // its OID, in the bit that is not used
        Element(0x10800001, UINT8, "01"),           // its access
        Element(0x10800001, UINT16, "01"),          // its type, before its access
        Element(0xC0000000, UINT8, "01"),           // no OID
        Element(clockRef, UINT8, "01").declaring(60000),
    };
    for (const Element& fault : faults) {
        for (const std::size_t before : {0U, 1U, 2U, 75U, 149U}) {
            for (const std::size_t behind : {0U, 1U, 2U, 75U}) {
                Elements elements(before, good);
                elements.push_back(fault);
                elements.insert(elements.end(), behind, good);
                sendToEveryDoor(elements);
            }
        }
    }
}

// ---------------------------------------------------------------- pairs of faults

// Which of two faults decides: types and lengths of all kinds, in each order, and with each frame ending
// where the second element ends.
TEST_F(ManyElements, OfAnyTypeAndAnyShortLengthAreJudgedWhereTheFrameEnds) {
    for (const auto& entry : judged.rules.variables()) {
        for (const unsigned int type :
             {0U, 1U, 2U, 3U, 4U, 5U, 6U, 7U, 8U, 9U, 10U, 11U, 12U, 13U, 14U, 255U}) {
            for (std::size_t length = 0; length <= 9; ++length) {
                const Element element = Element::holding(entry.first, type, std::string(length, '\1'));
                for (const std::string& door : doors()) {
                    judged.send(door + element.bytes());
                    judged.send(door + element.bytes() + element.bytes());
                }
            }
        }
        judged.expectToWork();
    }
}
