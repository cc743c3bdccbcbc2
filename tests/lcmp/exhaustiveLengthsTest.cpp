// Every type with every length there is, as the first, the middle and the last element of a frame of every
// kind. The bytes end at a page that nobody may touch.
#include <algorithm>

#include "judgedCard.h"
#include "lengths.h"

namespace {

struct Subject {
    const char* name;
    unsigned int oid;
    unsigned int type;
};

const Subject subjects[] = {
    {"Uint64", variableOf(UINT64), UINT64},
    {"Uint32", variableOf(UINT32), UINT32},
    {"Uint16", variableOf(UINT16), UINT16},
    {"Uint8", variableOf(UINT8), UINT8},
    {"Int64", variableOf(INT64), INT64},
    {"Int32", variableOf(INT32), INT32},
    {"Int16", variableOf(INT16), INT16},
    {"Int8", variableOf(INT8), INT8},
    {"Boolean", variableOf(BOOLEAN), BOOLEAN},
    {"String", variableOf(STRING), STRING},
    {"ShortString", shortText, STRING},
    {"Ipv4Address", variableOf(IPv4ADDRESS), IPv4ADDRESS},
    {"UnixTime", variableOf(UNIX_TIME), UNIX_TIME},
    {"EmptyByteArray", variableOf(BYTE_ARRAY), BYTE_ARRAY},
    {"HeldByteArray", heldArray, BYTE_ARRAY},
    {"MacAddress", variableOf(MAC_ADDRESS), MAC_ADDRESS},
    {"Stranger", served, UINT64},
    {"UnknownStranger", refused, BYTE_ARRAY},
};

void PrintTo(const Subject& subject, std::ostream* out) { *out << subject.name; }
std::string nameOf(const testing::TestParamInfo<Subject>& info) { return info.param.name; }

enum class Door { read, write, response, event };

std::string headerOf(Door door, unsigned int id) {
    switch (door) {
        case Door::read:
            return readRequest(id);
        case Door::write:
            return writeRequest(id);
        case Door::response:
            return readResponse(id, RESULT_OK, 0);
        default:
            return amiFrame(id, 1, 2);
    }
}

/// Good elements, whose values show in the card's whether the frame was taken.
std::string clockIs(unsigned int value) {
    return Element::holding(clockRef, UINT8, bigEndian(value, 1)).bytes();
}
std::string countIs(unsigned int value) {
    return Element::holding(countdown, INT32, bigEndian(value, 4)).bytes();
}

}  // namespace

class EveryLength : public testing::TestWithParam<Subject> {
protected:
    /// The element with as many bytes as it declares, between others. From the longest to the shortest, so
    /// that only the bytes in front of its value have to be written each time.
    void sendWhole(Door door, bool hasElementBefore, bool hasElementBehind) {
        std::string front = headerOf(door, 0) + (hasElementBefore ? clockIs(0) : "") + head(0);
        const std::string behind = hasElementBehind ? countIs(7) : "";
        m_room.atEnd(behind);
        for (unsigned int left = 65536; left > 0 && !HasFailure(); left -= std::min(left, strideAt(left))) {
            const unsigned int length = left - 1;
            putWord(front, 6, length);  // the message id
            putWord(front, front.size() - 2, length);
            if (hasElementBefore)
                front[front.size() - 8] = static_cast<char>(length % 4);
            const std::size_t size = front.size() + length + behind.size();
            char* const frame = m_room.last(size);
            front.copy(frame, front.size());
            judged.sendGuarded({frame, size}, m_named);
        }
        judged.expectToWork();
    }

    /// The element with eight bytes, whatever it declares; what stands behind it is a part of its value then.
    void sendPromised(Door door, bool hasElementBefore, bool hasElementBehind) {
        const std::string front = headerOf(door, 0) + (hasElementBefore ? clockIs(1) : "");
        const std::string behind = hasElementBehind ? countIs(7) : "";
        const Bytes frame = m_room.atEnd(front + head(0) + std::string(8, '\1') + behind);
        char* const declared = m_room.last(frame.size()) + front.size() + 5;
        for (unsigned int length = 0; length < 65536 && !HasFailure(); length += strideAt(length)) {
            declared[0] = static_cast<char>(length >> 8);
            declared[1] = static_cast<char>(length & 0xFF);
            judged.sendGuarded(frame, m_named);
        }
        judged.expectToWork();
    }

    JudgedCard judged;

private:
    static void putWord(std::string& data, std::size_t offset, unsigned int word) {
        data[offset] = static_cast<char>(word >> 8);
        data[offset + 1] = static_cast<char>(word & 0xFF);
    }

    static std::string head(unsigned int length) {
        return Element(GetParam().oid, GetParam().type).declaring(static_cast<int>(length)).bytes();
    }

    std::vector<unsigned int> named() const {
        std::vector<unsigned int> all = {clockRef, countdown};
        if (judged.rules.variables().count(GetParam().oid) != 0)
            all.push_back(GetParam().oid);
        return all;
    }

    const std::vector<unsigned int> m_named = named();
    GuardedRoom m_room{66000};
};

TEST_P(EveryLength, IsJudgedInAWriteAsFirst) { sendWhole(Door::write, false, true); }
TEST_P(EveryLength, IsJudgedInAWriteInTheMiddle) { sendWhole(Door::write, true, true); }
TEST_P(EveryLength, IsJudgedInAWriteAsLast) { sendWhole(Door::write, true, false); }

TEST_P(EveryLength, IsJudgedInAWriteThatLacksItsValue) { sendPromised(Door::write, true, true); }

TEST_P(EveryLength, IsJudgedInAnEventAsFirst) { sendWhole(Door::event, false, true); }
TEST_P(EveryLength, IsJudgedInAnEventInTheMiddle) { sendWhole(Door::event, true, true); }
TEST_P(EveryLength, IsJudgedInAnEventAsLast) { sendWhole(Door::event, true, false); }

TEST_P(EveryLength, IsJudgedInAnEventThatLacksItsValue) { sendPromised(Door::event, true, true); }

// By the rules of an event: one place will do.
TEST_P(EveryLength, IsJudgedInAResponse) { sendWhole(Door::response, true, false); }
TEST_P(EveryLength, IsJudgedInAResponseThatLacksItsValue) { sendPromised(Door::response, true, true); }

INSTANTIATE_TEST_SUITE_P(Exhaustive, EveryLength, testing::ValuesIn(subjects), nameOf);

// What a read says of type and value is not looked at: one variable of each width, and those nobody has.
using EveryLengthOfARead = EveryLength;

TEST_P(EveryLengthOfARead, IsJudgedAsFirst) { sendWhole(Door::read, false, true); }
TEST_P(EveryLengthOfARead, IsJudgedInTheMiddle) { sendWhole(Door::read, true, true); }
TEST_P(EveryLengthOfARead, IsJudgedAsLast) { sendWhole(Door::read, true, false); }
TEST_P(EveryLengthOfARead, IsJudgedWithoutItsValue) { sendPromised(Door::read, true, true); }

INSTANTIATE_TEST_SUITE_P(Exhaustive, EveryLengthOfARead,
                         testing::Values(subjects[0], subjects[3], subjects[9], subjects[16], subjects[17]),
                         nameOf);
