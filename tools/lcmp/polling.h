// Cards that are read again and again.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "clientOptions.h"
#include "eventLog.h"
#include "exchange.h"
#include "workers.h"

namespace tool {

/// What is polled, and how.
struct PollSettings {
    std::vector<LcmpUdpAddress> cards;
    std::vector<Variable> variables;
    std::chrono::milliseconds period;
    bool showsFirst = false;  ///< Print the first values, too.
    ClientSettings client;
};

/// Polls each card from a process of its own, so that a silent one holds up nobody. Changes go to the log;
/// what a card refuses is told on standard error once, and asked for again only after the card was silent.
class Polling {
public:
    /// Begins. `workers` holds nothing but these cards' processes. All outlive it.
    Polling(const PollSettings& settings, const LcmpModel& model, Workers& workers, EventLog& log);

    /// Takes what the processes have to say, without waiting. A Failure when one of them has ended.
    void takeTurn();

private:
    struct Card {
        bool answers = true;
        std::vector<std::string> problems;  // that were told, by variable
    };

    void take(std::size_t number, const std::vector<Outcome>& outcomes);
    void followAnswering(std::size_t number, const std::vector<Outcome>& outcomes);
    static void tellOnce(const Outcome& outcome, std::string& told);

    const PollSettings& m_settings;
    Workers& m_workers;
    EventLog& m_log;
    std::vector<Card> m_cards;
};

/// The variables that these names mean: an object's name means all of its variables, no name means all that
/// the model has. A Failure of status `unresolved` says what is wrong with a name, one of status `usage` that
/// there are too many variables to poll.
std::vector<Variable> variablesToPoll(const std::vector<std::string>& names, const LcmpModel& model);

}  // namespace tool
