// What a message is on the wire.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "bytes.h"
#include "lcmpmsg.h"

/// The frame of a message, written into a buffer of exactly that size before an unmapped page.
inline std::string frameOf(const LCMPMessage& message) {
    GuardedBytes guarded(static_cast<std::size_t>(message.getHeaderSize() + message.sizeOfTlvs()));
    EXPECT_NE(message.serialize(guarded.data(), guarded.size()), 0);
    return guarded.str();
}
