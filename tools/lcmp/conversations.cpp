#include "conversations.h"

#include "lcmpmsg.h"

namespace tool {
namespace {

// A frame with an action that there is not is answered like a write.
std::uint8_t answerTo(std::uint8_t action) {
    return action == LCMP_ACTION_READ ? LCMP_ACTION_READ_RESPONSE : LCMP_ACTION_WRITE_RESPONSE;
}

}  // namespace

void Conversations::take(const LcmpUdpAddress& source, const LcmpUdpAddress& destination,
                         const FrameHeader& header) {
    m_links.emplace_back();
    if (!header.messageId)
        return;
    if (header.isRequest())
        takeRequest({source.host, source.port, destination.host, destination.port}, header);
    else if (header.isResponse())
        takeResponse({destination.host, destination.port, source.host, source.port}, header);
}

void Conversations::takeRequest(const Ends& ends, const FrameHeader& header) {
    const Question question(ends, answerTo(*header.action), *header.messageId);
    const auto last = m_last.find(ends);
    if (last != m_last.end() && last->second == question)
        m_links.back().repeated = m_open[question];
    m_open[question] = m_links.size() - 1;
    m_last[ends] = question;
}

void Conversations::takeResponse(const Ends& ends, const FrameHeader& header) {
    const auto found = m_open.find(Question(ends, *header.action, *header.messageId));
    if (found == m_open.end())
        return;
    m_links.back().request = found->second;
    std::optional<std::size_t>& response = m_links[found->second].response;
    if (!response)
        response = m_links.size() - 1;
}

}  // namespace tool
