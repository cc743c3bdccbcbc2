#include "askCards.h"

#include <cstdint>
#include <iostream>
#include <map>
#include <new>

#include "byteReader.h"
#include "output.h"
#include "workers.h"

namespace tool {
namespace {

constexpr std::size_t maxWorkers = 64;  // at the same time

void putNumber(std::uint32_t number, std::string& bytes) {
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes += static_cast<char>(number >> shift);
}

void putBytes(const std::string& part, std::string& bytes) {
    putNumber(static_cast<std::uint32_t>(part.size()), bytes);
    bytes += part;
}

void require(bool holds) {
    if (!holds)
        throw Failure(ExitStatus::localFailure, "a process that asked a card left no outcome");
}

std::uint32_t takeNumber(ByteReader& reader) {
    std::uint32_t number = 0;
    require(reader.take(number));
    return number;
}

std::string takeBytes(ByteReader& reader) {
    const std::uint32_t size = takeNumber(reader);
    std::string_view bytes;
    require(reader.take(size, bytes));
    return std::string(bytes);
}

Element elementOf(const std::string& wire) {
    Element element;
    int offset = 0;
    require(takeElement(wire.data(), static_cast<int>(wire.size()), offset, element));
    return element;
}

Outcome takeOutcome(ByteReader& reader) {
    Outcome outcome;
    outcome.status = static_cast<ExitStatus>(takeNumber(reader));
    outcome.result = takeNumber(reader);
    outcome.problem = takeBytes(reader);
    const std::string wire = takeBytes(reader);
    if (!wire.empty())
        outcome.value = elementOf(wire);
    return outcome;
}

std::vector<Outcome> allFailed(std::size_t variables, ExitStatus status, const std::string& problem) {
    Outcome failed;
    failed.status = status;
    failed.problem = problem;
    return std::vector<Outcome>(variables, failed);
}

// The answers of several cards, on their way back into the cards' order.
class Asked {
public:
    using Take = std::function<void(const LcmpUdpAddress&, const std::vector<Outcome>&)>;

    Asked(const std::vector<LcmpUdpAddress>& cards, std::size_t variables, const AskCard& ask,
          const Take& take)
        : m_cards(cards), m_variables(variables), m_ask(ask), m_take(take) {}

    void run() {
        while (m_taken < m_cards.size()) {
            while (m_workers.running() < maxWorkers && m_started < m_cards.size())
                start(m_started++);
            m_workers.take(-1, [this](std::size_t number, const std::optional<std::string>& message) {
                receive(number, message);
            });
            handOver();
        }
    }

private:
    void start(std::size_t number) {
        m_workers.start(number, [&](const Workers::Send& send) {
            send(packOutcomes(outcomesOf([&] { return m_ask(m_cards[number]); }, m_variables)));
        });
    }

    // The end of a process is of interest only where it left nothing.
    void receive(std::size_t number, const std::optional<std::string>& message) {
        if (message || m_outcomes.count(number) == 0)
            m_outcomes[number] =
                outcomesOf([&] { return unpackOutcomes(message.value_or("")); }, m_variables);
    }

    void handOver() {
        for (; m_outcomes.count(m_taken) != 0; ++m_taken)
            m_take(m_cards[m_taken], m_outcomes[m_taken]);
    }

    const std::vector<LcmpUdpAddress>& m_cards;
    std::size_t m_variables;
    const AskCard& m_ask;
    const Take& m_take;
    Workers m_workers;
    std::size_t m_started = 0;
    std::size_t m_taken = 0;
    std::map<std::size_t, std::vector<Outcome>> m_outcomes;
};

}  // namespace

std::vector<Outcome> outcomesOf(const std::function<std::vector<Outcome>()>& action, std::size_t variables) {
    try {
        return action();
    } catch (const Failure& failure) {
        return allFailed(variables, failure.status(), failure.what());
    } catch (const std::bad_alloc&) {
        return allFailed(variables, ExitStatus::localFailure, "out of memory");
    }
}

void askCards(const std::vector<LcmpUdpAddress>& cards, std::size_t variables, const AskCard& ask,
              const std::function<void(const LcmpUdpAddress&, const std::vector<Outcome>&)>& take) {
    if (cards.size() == 1)
        return take(cards[0], outcomesOf([&] { return ask(cards[0]); }, variables));
    Asked(cards, variables, ask, take).run();
}

std::string packOutcomes(const std::vector<Outcome>& outcomes) {
    std::string bytes;
    putNumber(static_cast<std::uint32_t>(outcomes.size()), bytes);
    for (const Outcome& outcome : outcomes) {
        putNumber(static_cast<std::uint32_t>(outcome.status), bytes);
        putNumber(outcome.result, bytes);
        putBytes(outcome.problem, bytes);
        putBytes(outcome.value ? outcome.value->wireForm() : "", bytes);
    }
    return bytes;
}

std::vector<Outcome> unpackOutcomes(std::string_view bytes) {
    ByteReader reader(bytes);
    std::vector<Outcome> outcomes;
    for (std::uint32_t left = takeNumber(reader); left > 0; --left)
        outcomes.push_back(takeOutcome(reader));
    require(reader.left() == 0);
    return outcomes;
}

ExitStatus askAndPrint(const std::vector<LcmpUdpAddress>& cards, const std::vector<Variable>& variables,
                       const std::string& format, const AskCard& ask) {
    const bool several = cards.size() > 1;
    OutcomePrinter printer(std::cout, format, several);
    std::vector<Outcome> all;
    askCards(cards, variables.size(), ask,
             [&](const LcmpUdpAddress& card, const std::vector<Outcome>& outcomes) {
                 printer.print(card, variables, outcomes);
                 printProblems(outcomes, several ? lcmpUdpToText(card) : "");
                 all.insert(all.end(), outcomes.begin(), outcomes.end());
             });
    printer.end();
    return overallStatus(all);
}

}  // namespace tool
