// The packets of a capture file, pcap or pcapng, out of bytes that may be anything. Functions over a buffer,
// without I/O: any thread.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace tool {

/// Since 1970-01-01 UTC.
struct CaptureTime {
    std::int64_t seconds;
    std::uint32_t nanoseconds;  ///< Below 1,000,000,000.
};

/// "2024-05-01T12:00:00.000250Z"; with nine digits behind the point where six do not do.
std::string captureTimeText(const CaptureTime& time);

/// b - a in nanoseconds; at most some 290 years.
std::int64_t nanosecondsBetween(const CaptureTime& a, const CaptureTime& b);

struct CapturedPacket {
    std::size_t number;               ///< From 1, over all interfaces, as other programs count them.
    std::optional<CaptureTime> time;  ///< None in blocks that carry none.
    std::uint32_t linkType;           ///< A LINKTYPE_ number: 1 is Ethernet.
    std::string_view bytes;           ///< As many as were captured. They lie in the buffer.
    std::size_t sentSize;             ///< As many as there were on the network.
};

/// Whether these are the first bytes of a capture file that readCapture knows.
bool isCapture(std::string_view file);

/// Hands over the packets in the order of the file. "" when all of it was read; otherwise what is wrong and
/// at which byte, after the packets before it have been handed over.
std::string readCapture(std::string_view file, const std::function<void(const CapturedPacket&)>& take);

}  // namespace tool
