// Datagrams that are broken in every way: the golden frames, bent by chance. And what a card may say to one.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "faults.h"

class HostileFrames {
public:
    /// Bends these.
    HostileFrames(std::vector<std::string> originals, std::uint64_t seed);

    /// The next datagram, until the call after: one to four changes away from an original.
    const std::string& next();

private:
    std::size_t place(std::size_t end);
    char oddByte();
    void bend();
    void setByte();
    void setLength();
    void cut();
    void append();
    void repeat();
    void splice();

    std::vector<std::string> m_originals;
    Chance m_chance;
    std::string m_frame;
};

/// What becomes of a datagram, by its bytes alone.
enum class Fault {
    none,     // well-formed: its elements decide
    ignored,  // too short, of another magic, or itself a response or event: no answer whatever else it holds
    version,  // answered with result 1
    action,   // answered with result 4
    misfit,   // an element does not fit: answered with result 8
};

Fault faultOf(const std::string& frame);

/// Whether a card that has received `frame` may send exactly these answers. A refusal is 11 bytes, a response
/// to a read 1200 at most.
bool mayAnswer(const std::string& frame, const std::vector<std::string>& answers);

/// Whether the one answer says that the request was refused.
bool isRefusal(const std::string& answer);
