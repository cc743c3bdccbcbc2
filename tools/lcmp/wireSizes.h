// Bytes of what stands in front of values in a frame.
#pragma once

namespace tool {

constexpr int requestHeader = 8;    ///< Magic 4, version 1, action 1, message id 2.
constexpr int responseHeader = 11;  ///< And result 1, error index 2.
constexpr int eventHeader = 16;     ///< Of a request, and seconds 4, microseconds 4.
constexpr int elementHeader = 7;    ///< OID 4, type 1, length 2.

}  // namespace tool
