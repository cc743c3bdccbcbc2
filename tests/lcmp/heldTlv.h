// An element as its holder has it: the value buffer is freed with it. The record is packed, so its members
// are read by value here; a reference to one could be misaligned.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "bytes.h"
#include "lcmpTlv.h"

class HeldTlv : public LCMPTlv {
public:
    HeldTlv() = default;

    /// A copy as the library makes it.
    HeldTlv(const LCMPTlv& other) : LCMPTlv(other) {}
    HeldTlv(const HeldTlv& other) : LCMPTlv(other) {}

    /// Deserialised from exactly these bytes, with an unmapped page behind them.
    explicit HeldTlv(const std::string& wire) { receive(wire); }

    ~HeldTlv() { std::free(val); }

    void receive(const std::string& wire) {
        GuardedBytes guarded(wire);
        EXPECT_EQ(deserialize(guarded.data()), guarded.size());
    }

    unsigned int oid() const { return id; }
    int typeCode() const { return type; }
    int length() const { return len; }
    const unsigned char* buffer() const { return val; }
    bool isEmpty() const { return val == nullptr; }

    /// The first bytes of the value buffer as they lie in memory.
    std::string memory(std::size_t size) const { return {reinterpret_cast<const char*>(buffer()), size}; }

    /// Serialised into a buffer of exactly 7 + length bytes before an unmapped page.
    std::string wire() const {
        GuardedBytes guarded(static_cast<std::size_t>(7 + length()));
        EXPECT_EQ(serialize(guarded.data()), guarded.size());
        return guarded.str();
    }
};

/// What a type of the host reads from these bytes, as many as it has.
template <typename T>
T asHostReads(const std::string& memory) {
    T value{};
    std::memcpy(&value, memory.data(), sizeof value);
    return value;
}

/// The bytes of a value as the host keeps it.
template <typename T>
std::string asHostKeeps(T value) {
    return {reinterpret_cast<const char*>(&value), sizeof value};
}
