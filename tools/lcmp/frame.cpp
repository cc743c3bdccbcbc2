#include "frame.h"

#include "byteReader.h"
#include "lcmpmsg.h"
#include "standardNames.h"
#include "wireSizes.h"

namespace tool {
namespace {

constexpr unsigned int macBytes = 6;
constexpr unsigned int lastResult = 17;

std::string ofBytes(std::size_t there, std::size_t all) {
    return std::to_string(there) + " of " + std::to_string(all) + " bytes";
}

// Reads field after field; the first one that is not there or not right becomes the fault.
class HeaderReader {
public:
    HeaderReader(std::string_view bytes, FrameHeader& header)
        : m_size(bytes.size()), m_reader(bytes), m_header(header) {
        m_header.size = requestHeader;
    }

    void read() {
        std::string_view magic;
        if (!m_reader.take(frameMagic.size(), magic))
            return endsEarly();
        if (magic != frameMagic)
            return fail(0, "the magic is " + hexText(std::string(magic)) + ", not " +
                               hexText(std::string(frameMagic)) + " \"OTN1\"");
        if (take(m_header.version) && take(m_header.action) && take(m_header.messageId))
            judge();
    }

private:
    void judge() {
        if (*m_header.version != LCMPMessage::protocolVersion)
            return fail(4, "the version is " + std::to_string(*m_header.version) + ", not 1");
        if (*actionName(*m_header.action) == '\0')
            return fail(5, "there is no action " + std::to_string(*m_header.action) + ", only 1 to 5");
        readExtension();
    }

    void readExtension() {
        if (m_header.isResponse()) {
            m_header.size = responseHeader;
            (void)(take(m_header.result) && take(m_header.errorIndex));
        } else if (m_header.isEvent()) {
            m_header.size = eventHeader;
            (void)(take(m_header.seconds) && take(m_header.microseconds));
        }
    }

    template <typename T>
    bool take(std::optional<T>& field) {
        T value = 0;
        if (!m_reader.take(value)) {
            endsEarly();
            return false;
        }
        field = value;
        return true;
    }

    void endsEarly() {
        const std::string reason = "the frame ends in its header: it has " + ofBytes(m_size, m_header.size);
        m_header.fault = FrameFault{m_size - m_reader.left(), reason, true};
    }

    void fail(std::size_t offset, const std::string& reason) { m_header.fault = FrameFault{offset, reason}; }

    std::size_t m_size;
    ByteReader m_reader;
    FrameHeader& m_header;
};

unsigned int lengthOfType(unsigned int type) {
    return type == MAC_ADDRESS ? macBytes : lcmpTlvFixedWidth(type);
}

// What a request to read says of type and value is not looked at.
std::string faultOfValue(const FrameHeader& header, const Element& element) {
    const unsigned int length = lengthOfType(element.type());
    if (header.action == LCMP_ACTION_READ || length == 0 || element.length() == length)
        return "";
    return "the length of a " + std::string(lcmpTlvTypeName(element.type())) + " is " +
           std::to_string(length) + ", not " + std::to_string(element.length());
}

// Of the bytes at `offset`, which are no whole element.
FrameFault faultOfRest(std::string_view bytes, std::size_t offset, std::size_t index) {
    ByteReader rest(bytes.substr(offset));
    const std::string which = "element " + std::to_string(index);
    std::uint32_t oid = 0;
    std::uint8_t type = 0;
    std::uint16_t length = 0;
    if (!rest.take(oid) || !rest.take(type) || !rest.take(length))
        return {offset,
                which + " ends in its header: it has " + ofBytes(bytes.size() - offset, elementHeader), true};
    return {offset,
            which + ", " + oidText(oid) + " " + typeText(type) + ", does not fit: its value has " +
                ofBytes(rest.left(), length),
            true};
}

void takeElementsOf(std::string_view bytes, Frame& frame) {
    const auto size = static_cast<int>(bytes.size());
    auto offset = static_cast<int>(frame.header.size);
    for (;;) {
        FrameElement next{static_cast<std::size_t>(offset), {}, "", ""};
        if (!takeElement(bytes.data(), size, offset, next.element))
            break;
        next.bytes = bytes.substr(next.offset + elementHeader, next.element.length());
        next.fault = faultOfValue(frame.header, next.element);
        frame.elements.push_back(std::move(next));
    }
    if (offset != size)
        frame.fault = faultOfRest(bytes, static_cast<std::size_t>(offset), frame.elements.size());
}

}  // namespace

bool FrameHeader::isRequest() const { return action && !isResponse() && !isEvent(); }

bool FrameHeader::isResponse() const {
    return action == LCMP_ACTION_READ_RESPONSE || action == LCMP_ACTION_WRITE_RESPONSE;
}

bool FrameHeader::isEvent() const { return action == LCMP_ACTION_AMI; }

bool Frame::isSound() const {
    for (const FrameElement& element : elements) {
        if (!element.fault.empty())
            return false;
    }
    return !fault;
}

FrameHeader readFrameHeader(std::string_view bytes) {
    FrameHeader header;
    HeaderReader(bytes, header).read();
    return header;
}

Frame explainFrame(std::string_view bytes, std::size_t sentSize) {
    Frame frame;
    frame.header = readFrameHeader(bytes);
    frame.fault = frame.header.fault;
    if (!frame.fault)
        takeElementsOf(bytes, frame);
    if (bytes.size() < sentSize && (!frame.fault || frame.fault->endsEarly))
        frame.fault = FrameFault{bytes.size(), "the capture kept " + ofBytes(bytes.size(), sentSize), true};
    return frame;
}

const char* actionName(unsigned int action) {
    switch (action) {
        case LCMP_ACTION_READ:
            return "read";
        case LCMP_ACTION_WRITE:
            return "write";
        case LCMP_ACTION_READ_RESPONSE:
            return "read response";
        case LCMP_ACTION_WRITE_RESPONSE:
            return "write response";
        case LCMP_ACTION_AMI:
            return "event";
        default:
            return "";
    }
}

std::string typeText(unsigned int type) {
    return type <= MAC_ADDRESS ? lcmpTlvTypeName(type) : "type " + std::to_string(type);
}

bool hasValue(const FrameElement& element) {
    const unsigned int length = lengthOfType(element.element.type());
    return length == 0 || length == element.element.length();
}

// 16 and 17 are told of peers, 13 to 15 are never sent; an application's own codes begin above.
bool refusesElement(unsigned int result) {
    return (result >= RESULT_GENERAL_ERROR && result <= RESULT_READ_ONLY) || result > lastResult;
}

}  // namespace tool
