// A controller that reads and writes the table it has on a card, one request after the other, and holds every
// answer against what it has written.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "faults.h"
#include "lcmpUdpEndpoint.h"
#include "ledger.h"
#include "variables.h"

/// What has come of the requests so far. Plain numbers: they go through a pipe.
struct Tally {
    std::uint64_t requests = 0;
    std::uint64_t answered = 0;
    std::uint64_t timedOut = 0;     // and said so
    std::uint64_t unexplained = 0;  // neither answered nor timed out
    std::uint64_t retries = 0;
    std::uint64_t late = 0;         // responses that came when nobody waited for them any more
    std::uint64_t others = 0;       // answered by another request's reply, as the network knows
    std::uint64_t wrongValues = 0;  // answered with a value that the variable cannot have
    std::uint64_t variables = 0;    // looked at in the end
    std::uint64_t uncertain =
        0;  // of them: the last write had no answer, so that it may have been carried out
    std::uint64_t wrongInTheEnd = 0;  // of them: the value is of no write that could have been the last

    /// Whether every request had an end of its own.
    bool isSound() const {
        return answered + timedOut == requests && unexplained == 0 && others == 0 && wrongValues == 0 &&
               wrongInTheEnd == 0;
    }
};

Tally& operator+=(Tally& sum, const Tally& tally);

class Requester : public LcmpUdpEndpoint {
public:
    /// `spacing`: a variable is written again only so long after it was written last. No shorter than a
    /// datagram may be on its way, or an old write that arrives late undoes a newer one: cards carry out what
    /// arrives.
    Requester(unsigned int controller, unsigned int rows, std::uint64_t seed, Clock::duration spacing);

    /// A request by chance: a read or a write of one to three variables.
    void request();

    /// Reads every variable, which must be possible now, and looks whether its value can be.
    void verify();

    Tally tally() const;

    /// For tests that see the datagrams: runs before a request, with a number that no other has.
    std::function<void(std::uint64_t)> onAsking = [](std::uint64_t) {};

    /// And after one that was answered: whether the answer is its own.
    std::function<bool(std::uint64_t)> isOwnAnswer = [](std::uint64_t) { return true; };

private:
    enum class Outcome { answered, timedOut, unexplained };

    bool write();
    void read(const std::vector<std::size_t>& rows);
    bool hasTheirValues(const std::vector<std::size_t>& rows);
    bool chooseRowsToWrite();
    void chooseRowsToRead();
    void collectProperties(const std::vector<std::size_t>& rows);
    Outcome ask(bool written);

    SoakTable m_mirror;
    Ledger m_ledger;
    Chance m_chance;
    Clock::duration m_spacing;
    std::uint64_t m_controller;
    std::uint64_t m_lastNumber = 0;  // of requests
    Value m_lastValue = 0;
    std::size_t m_nextRow = 0;
    std::vector<std::size_t> m_rows;  // of the request that is being made
    std::vector<LcmpProperty*> m_properties;
    Tally m_tally;
};
