// Frames as people write them down, in hexadecimal. A function over a buffer, without I/O: any thread.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tool {

/// The frames of a text, in order. It holds
/// - bytes of two digits each: "4F544E31 0101 0007", "4f:54:4e:31", "0x4F, 0x54, ...", on any number of
/// lines.
///   '#' begins a comment; blanks, '|', ',' and ':' separate. A frame ends at an empty line, and before a
///   line that begins with the magic;
/// - or dumps: lines of an offset, bytes, and perhaps the same as characters, as xxd, hexdump -C and tcpdump
/// -x
///   print them. A frame begins at offset 0. What begins like an IPv4 or Ethernet packet is one, and its UDP
///   payload the frame.
/// Anything else is a Failure of status `localFailure` that names the file and the line.
std::vector<std::string> readHexText(std::string_view text, const std::string& file);

}  // namespace tool
