// How pings are printed.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "roundTrips.h"

namespace tool {

/// One request and what came of it.
struct Ping {
    std::uint16_t id = 0;                               ///< Of its message.
    std::optional<std::chrono::nanoseconds> roundTrip;  ///< None without an answer.
    std::string problem;                                ///< Why there was none: "no answer".
};

/// Prints pings as they come, each line flushed. text: a line each, and at the end one for each card. jsonl:
/// the same as objects. json: the cards at the end, an array. csv: the pings with a heading. value: the round
/// trips in seconds, an empty line where there was none.
class PingPrinter {
public:
    PingPrinter(std::ostream& out, std::string format);

    void print(const std::string& card, const Ping& ping);

    struct Card {
        std::string name;
        RoundTrips trips;
    };

    void printEnd(const std::vector<Card>& cards);

private:
    void printText(const std::string& card, const Ping& ping);
    void printJson(const std::string& card, const Ping& ping);
    void printEndText(const Card& card);

    std::ostream& m_out;
    std::string m_format;
};

}  // namespace tool
