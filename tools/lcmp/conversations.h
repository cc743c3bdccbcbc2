// Which response answers which request.
#pragma once

#include <map>
#include <optional>
#include <tuple>
#include <vector>

#include "frame.h"
#include "lcmpUdpAddress.h"

namespace tool {

/// The frames that belong to one, by their positions.
struct FrameLinks {
    std::optional<std::size_t> request;   ///< Of a response: the last request before it that it fits.
    std::optional<std::size_t> response;  ///< Of a request: the first response to it.
    std::optional<std::size_t> repeated;  ///< Of a request with the id of the one before it: that one.
};

/// Takes the frames of any number of peers in the order in which they were sent. A response fits a request
/// that went the other way between the same addresses and has its message id and its kind.
class Conversations {
public:
    void take(const LcmpUdpAddress& source, const LcmpUdpAddress& destination, const FrameHeader& header);

    /// By position, one for each frame taken.
    const std::vector<FrameLinks>& links() const { return m_links; }

private:
    using Ends = std::tuple<std::uint32_t, std::uint16_t, std::uint32_t, std::uint16_t>;  // asker, answerer
    using Question = std::tuple<Ends, std::uint8_t, std::uint16_t>;  // action of the answer, message id

    void takeRequest(const Ends& ends, const FrameHeader& header);
    void takeResponse(const Ends& ends, const FrameHeader& header);

    std::map<Question, std::size_t> m_open;  // the last request of each
    std::map<Ends, Question> m_last;
    std::vector<FrameLinks> m_links;
};

}  // namespace tool
