#include "polling.h"

#include <algorithm>
#include <memory>
#include <thread>

#include "askCards.h"
#include "output.h"

namespace tool {
namespace {

using Clock = std::chrono::steady_clock;

bool isSilence(const Outcome& outcome) {
    return outcome.status == ExitStatus::noAnswer || outcome.status == ExitStatus::localFailure;
}

bool isSilent(const std::vector<Outcome>& outcomes) {
    return std::any_of(outcomes.begin(), outcomes.end(), isSilence);
}

// One card, in the process that polls it.
class Poller {
public:
    Poller(const LcmpUdpAddress& card, const PollSettings& settings, const LcmpModel& model)
        : m_card(card), m_settings(settings), m_model(model), m_last(settings.variables.size()) {}

    /// What is known of every variable after one more reading.
    const std::vector<Outcome>& poll() {
        const std::vector<std::size_t> places = asked();
        std::vector<Variable> variables;
        variables.reserve(places.size());
        for (const std::size_t place : places)
            variables.push_back(m_settings.variables[place]);
        const std::vector<Outcome> outcomes =
            outcomesOf([&] { return exchange().read(variables); }, variables.size());
        for (std::size_t i = 0; i < places.size(); ++i)
            m_last[places[i]] = outcomes[i];
        return m_last;
    }

private:
    // A card that was silent may be another one now. All are asked, too, where all were refused: an answer is
    // a sign of life.
    std::vector<std::size_t> asked() const {
        const bool asksAll = isSilent(m_last);
        std::vector<std::size_t> all;
        std::vector<std::size_t> accepted;
        for (std::size_t i = 0; i < m_last.size(); ++i) {
            all.push_back(i);
            if (m_last[i].status != ExitStatus::refused)
                accepted.push_back(i);
        }
        return asksAll || accepted.empty() ? all : accepted;
    }

    Exchange& exchange() {
        if (m_exchange == nullptr)
            m_exchange = std::make_unique<Exchange>(m_card, m_settings.client, m_model);
        return *m_exchange;
    }

    const LcmpUdpAddress& m_card;
    const PollSettings& m_settings;
    const LcmpModel& m_model;
    std::vector<Outcome> m_last;
    std::unique_ptr<Exchange> m_exchange;
};

void pollOn(Poller& poller, std::chrono::milliseconds period, const Workers::Send& send) {
    for (Clock::time_point next = Clock::now();; next = std::max(next + period, Clock::now())) {
        std::this_thread::sleep_until(next);
        send(packOutcomes(poller.poll()));
    }
}

void addVariables(const LcmpModelObject& object, const LcmpModel& model, std::vector<Variable>& variables) {
    for (unsigned int row = 0; row < object.rows; ++row) {
        for (const LcmpModelVariable& variable : object.variables)
            variables.push_back(variableOfOid(lcmpModelOid({&object, &variable, row}), model));
    }
}

}  // namespace

Polling::Polling(const PollSettings& settings, const LcmpModel& model, Workers& workers, EventLog& log)
    : m_settings(settings), m_workers(workers), m_log(log) {
    for (const LcmpUdpAddress& card : settings.cards) {
        m_workers.start(m_cards.size(), [&](const Workers::Send& send) {
            Poller poller(card, settings, model);
            pollOn(poller, settings.period, send);
        });
        m_cards.push_back({true, std::vector<std::string>(settings.variables.size())});
    }
}

void Polling::takeTurn() {
    m_workers.take(0, [this](std::size_t number, const std::optional<std::string>& message) {
        if (!message)
            throw Failure(
                ExitStatus::localFailure,
                "the process that polled " + lcmpUdpToText(m_settings.cards[number]) + " has ended");
        take(number, unpackOutcomes(*message));
    });
}

void Polling::take(std::size_t number, const std::vector<Outcome>& outcomes) {
    followAnswering(number, outcomes);
    Card& card = m_cards[number];
    for (std::size_t i = 0; i < outcomes.size(); ++i) {
        if (outcomes[i].status == ExitStatus::done)
            m_log.takePolled(m_settings.cards[number], *outcomes[i].value, m_settings.showsFirst);
        if (!isSilence(outcomes[i]))
            tellOnce(outcomes[i], card.problems[i]);
    }
}

void Polling::followAnswering(std::size_t number, const std::vector<Outcome>& outcomes) {
    const bool answers = !isSilent(outcomes);
    if (answers == m_cards[number].answers)
        return;
    m_cards[number].answers = answers;
    m_log.tellAnswering(m_settings.cards[number], answers);
    const auto failed = std::find_if(outcomes.begin(), outcomes.end(), [](const Outcome& outcome) {
        return outcome.status == ExitStatus::localFailure;
    });
    if (failed != outcomes.end())
        tellProblem(failed->problem);
}

void Polling::tellOnce(const Outcome& outcome, std::string& told) {
    if (outcome.problem != told && !outcome.problem.empty())
        tellProblem(outcome.problem);
    told = outcome.problem;
}

std::vector<Variable> variablesToPoll(const std::vector<std::string>& names, const LcmpModel& model) {
    std::vector<Variable> variables;
    for (const std::string& name : names) {
        if (const LcmpModelObject* object = lcmpModelFindObject(model, name))
            addVariables(*object, model, variables);
        else
            variables.push_back(resolveVariable(name, model));
    }
    if (names.empty()) {
        for (const LcmpModelObject& object : model.objects)
            addVariables(object, model, variables);
    }
    if (variables.size() > EventLog::maxValuesOfCard)
        throw Failure(ExitStatus::usage, std::to_string(variables.size()) +
                                             " variables are too many to poll; name at most " +
                                             std::to_string(EventLog::maxValuesOfCard) + " by --variables");
    return variables;
}

}  // namespace tool
