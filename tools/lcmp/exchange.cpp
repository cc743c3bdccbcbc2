#include "exchange.h"

#include <algorithm>
#include <iostream>
#include <memory>
#include <numeric>
#include <random>

#include "output.h"
#include "trace.h"
#include "wireSizes.h"

namespace tool {
namespace {

constexpr std::uint32_t unusedOidBit = 0x20000000;  // cards ignore it and leave it out of their answers

// Bytes that a value of unknown size is taken for; a wrong guess costs one more request.
constexpr unsigned int guessedLength = 32;

// Bytes that the longest value takes which the variable's rule admits, unless that is much too long a guess.
unsigned int longestLength(const LcmpModelVariable& definition) {
    constexpr unsigned int longest = 255;
    const unsigned int length = definition.exactLength.value_or(definition.maxLength.value_or(longest));
    return length < longest ? length : guessedLength;
}

unsigned int answerLength(const Variable& variable) {
    const unsigned int width = variable.type ? lcmpTlvFixedWidth(*variable.type) : 0;
    if (width != 0)
        return width;
    return variable.definition == nullptr ? guessedLength : longestLength(*variable.definition);
}

int answerSize(const Variable& variable) { return elementHeader + static_cast<int>(answerLength(variable)); }

// Cuts 0 to sizes.size() - 1 into runs of at most 150 whose sizes and header stay within a frame.
std::vector<std::vector<std::size_t>> batches(const std::vector<int>& sizes, int header) {
    std::vector<std::vector<std::size_t>> all;
    int size = 0;
    for (std::size_t i = 0; i < sizes.size(); ++i) {
        const bool full = all.empty() || all.back().size() == LcmpProtocolBase::maxRequestTlvs ||
                          size + sizes[i] > LcmpProtocolBase::maxReadResponse;
        if (full) {
            all.emplace_back();
            size = header;
        }
        all.back().push_back(i);
        size += sizes[i];
    }
    return all;
}

// Whether the card did what was asked. It also tells what it thinks of the message id, and then of little
// interest: a new process begins at an id of its own.
bool isServed(unsigned int result) {
    constexpr unsigned int peerTableFull = 16;
    constexpr unsigned int peerNotIpv4 = 17;
    return result == RESULT_OK || result == RESULT_DUPLICATE_MSG || result == RESULT_LOST_MSG ||
           result == peerTableFull || result == peerNotIpv4;
}

// Whether the result is about the request and not about one variable of it.
bool concernsWholeRequest(unsigned int result) {
    return result == RESULT_PROTOCOL_VERSION_MISMATCH || result == RESULT_INVALID_ACTION ||
           result == RESULT_WRONG_MAGIC;
}

// Whether the error index tells the variable at fault. It does not for an answer that is too long, nor where
// the application could not do it: there it counts other things.
bool locatesFault(unsigned int result, unsigned int errorIndex, std::size_t variables) {
    return result != RESULT_TOO_LONG && result != RESULT_CANNOT_EXEC && errorIndex < variables;
}

std::vector<std::unique_ptr<OldStyleProperty>> rawProperties(const std::vector<Element>& elements) {
    std::vector<std::unique_ptr<OldStyleProperty>> properties;
    for (const Element& element : elements) {
        std::string wire = element.wireForm();
        properties.push_back(
            std::make_unique<OldStyleProperty>(reinterpret_cast<lcmp_tlv*>(wire.data()), false));
    }
    return properties;
}

// What a request to read names the variable by. Its type is sent along as the variable itself would: a card
// may judge it. The empty text is the one element that is well-formed whatever the variable is.
Element placeholder(const Variable& variable) {
    Element element(variable.oid);
    setPlaceholder(variable.type.value_or(STRING), element);
    return element;
}

Attempt over(ExitStatus status, const std::string& problem) {
    Attempt attempt;
    attempt.kind = Attempt::Kind::over;
    attempt.status = status;
    attempt.problem = problem;
    return attempt;
}

Outcome badFrame(const std::string& problem) {
    Outcome outcome;
    outcome.status = ExitStatus::badFrame;
    outcome.problem = problem;
    return outcome;
}

bool isSameVariable(unsigned int oid, unsigned int other) { return ((oid ^ other) & ~unusedOidBit) == 0; }

}  // namespace

struct Exchange::Reply {
    ExitStatus status = ExitStatus::done;  // done: there is an answer, whatever it says
    std::string problem;
    unsigned int result = RESULT_OK;
    unsigned int errorIndex = 0;
    std::vector<Element> elements;
};

ExitStatus overallStatus(const std::vector<Outcome>& outcomes) {
    const auto isDone = [](const Outcome& outcome) { return outcome.status == ExitStatus::done; };
    const auto failed = std::find_if_not(outcomes.begin(), outcomes.end(), isDone);
    if (failed == outcomes.end())
        return ExitStatus::done;
    return std::any_of(outcomes.begin(), outcomes.end(), isDone) ? ExitStatus::partly : failed->status;
}

Exchange::Exchange(const LcmpUdpAddress& card, const ClientSettings& settings, const LcmpModel& model)
    : LcmpUdpEndpoint(false), m_card(card), m_model(model), m_tries(settings.tries) {
    if (!open("0.0.0.0", 0) || !setTarget(lcmpUdpHostToText(card.host), card.port))
        throw Failure(ExitStatus::localFailure, getLastError());
    setTimeout(settings.firstTry);
    setTries(settings.tries);
    // Not always 1: a card that remembers this host's last id must not see it again in each process's first.
    lastMessageId = static_cast<std::uint16_t>(std::random_device()());
}

std::vector<Outcome> Exchange::read(const std::vector<Variable>& variables) {
    m_variables = variables;
    m_outcomes.assign(variables.size(), Outcome());
    m_over = false;
    std::vector<int> sizes;
    std::transform(variables.begin(), variables.end(), std::back_inserter(sizes), answerSize);
    for (const Positions& batch : batches(sizes, responseHeader))
        readBatch(batch);
    return m_outcomes;
}

std::vector<Outcome> Exchange::write(const std::vector<Assignment>& assignments) {
    m_variables.clear();
    m_outcomes.assign(assignments.size(), Outcome());
    m_over = false;
    std::vector<int> sizes;
    for (std::size_t i = 0; i < assignments.size(); ++i) {
        m_variables.push_back(assignments[i].variable);
        m_outcomes[i].value = assignments[i].value;
        sizes.push_back(elementHeader + static_cast<int>(assignments[i].value.length()));
    }
    for (const Positions& batch : batches(sizes, requestHeader))
        writeBatch(batch, assignments);
    return m_outcomes;
}

Attempt Exchange::readOnce(const std::vector<Variable>& variables) {
    std::vector<Element> elements;
    std::transform(variables.begin(), variables.end(), std::back_inserter(elements), placeholder);
    const Reply reply = ask(LCMP_ACTION_READ, elements);
    if (reply.status != ExitStatus::done)
        return over(reply.status, reply.problem);
    if (isServed(reply.result))
        return takeValues(variables, reply);
    if (concernsWholeRequest(reply.result))
        return over(ExitStatus::refused, refusal("the request", reply.result));
    Attempt attempt;
    const bool located = locatesFault(reply.result, reply.errorIndex, variables.size());
    attempt.kind = located || variables.size() == 1 ? Attempt::Kind::refused : Attempt::Kind::tooMuch;
    attempt.position = variables.size() == 1 ? 0 : reply.errorIndex;
    attempt.result = reply.result;
    return attempt;
}

void Exchange::readBatch(Positions batch) {
    while (!batch.empty() && !m_over) {
        std::vector<Variable> variables;
        for (const std::size_t position : batch)
            variables.push_back(m_variables[position]);
        Attempt attempt = readOnce(variables);
        if (attempt.kind == Attempt::Kind::over)
            return endWith(batch, attempt.status, attempt.problem);
        if (attempt.kind != Attempt::Kind::served) {
            narrow(batch, attempt);
            continue;
        }
        for (std::size_t i = 0; i < batch.size(); ++i)
            m_outcomes[batch[i]] = std::move(attempt.outcomes[i]);
        return;
    }
    skip(batch, ExitStatus::noAnswer, " was not asked for any more");
}

// Leaves what is to be asked again. Where the fault is not located, the first half is asked on its own at
// once.
void Exchange::narrow(Positions& batch, const Attempt& attempt) {
    if (attempt.kind == Attempt::Kind::refused) {
        refuse(batch[attempt.position], attempt.result);
        batch.erase(batch.begin() + static_cast<Positions::difference_type>(attempt.position));
        return;
    }
    const auto middle = batch.begin() + static_cast<Positions::difference_type>(batch.size() / 2);
    readBatch({batch.begin(), middle});
    batch.erase(batch.begin(), middle);
}

Attempt Exchange::takeValues(const std::vector<Variable>& variables, const Reply& reply) const {
    Attempt attempt;
    std::transform(variables.begin(), variables.end(), std::back_inserter(attempt.outcomes),
                   [this](const Variable& variable) {
                       return badFrame(cardText() + " answered without " + variable.name);
                   });
    Positions open(variables.size());
    std::iota(open.begin(), open.end(), std::size_t{0});
    for (const Element& element : reply.elements) {
        const auto asked = std::find_if(open.begin(), open.end(), [&](std::size_t position) {
            return isSameVariable(variables[position].oid, element.oid());
        });
        if (asked == open.end())
            return over(ExitStatus::badFrame, cardText() + " answered with " +
                                                  variableOfOid(element.oid(), m_model).name +
                                                  ", which was not asked for");
        attempt.outcomes[*asked] = outcomeOf(variables[*asked], element);
        open.erase(asked);
    }
    return attempt;
}

Outcome Exchange::outcomeOf(const Variable& variable, const Element& element) const {
    if (!hasLengthOfType(element))
        return badFrame(cardText() + " answered with a malformed value of " + variable.name + ": " +
                        lcmpTlvTypeName(element.type()) + " of " + std::to_string(element.length()) +
                        " bytes");
    Outcome outcome;
    outcome.value = element;
    return outcome;
}

void Exchange::writeBatch(const Positions& batch, const std::vector<Assignment>& assignments) {
    if (m_over)
        return skip(batch, ExitStatus::refused, " was not written");
    std::vector<Element> elements;
    for (const std::size_t position : batch)
        elements.push_back(assignments[position].value);
    const Reply reply = ask(LCMP_ACTION_WRITE, elements);
    if (reply.status != ExitStatus::done)
        return endWith(batch, reply.status, reply.problem);
    if (isServed(reply.result))
        return;
    const bool located = batch.size() == 1 || locatesFault(reply.result, reply.errorIndex, batch.size());
    if (concernsWholeRequest(reply.result))
        return endWith(batch, ExitStatus::refused, refusal("the request", reply.result));
    if (!located)
        return endWith(batch, ExitStatus::refused,
                       refusal("the request, of which it may have stored a part", reply.result));
    m_over = true;
    skip(batch, ExitStatus::refused, " was not written");
    refuse(batch[batch.size() == 1 ? 0 : reply.errorIndex], reply.result);
}

Exchange::Reply Exchange::ask(LcmpAction action, const std::vector<Element>& elements) {
    const std::vector<std::unique_ptr<OldStyleProperty>> properties = rawProperties(elements);
    LCMPRequest request(lcmpUdpHostToText(m_card.host));
    request.setAction(action);
    request.setMessageId(getNewMessageId());
    for (const auto& property : properties)
        request.addProperty(property.get());
    const LcmpUdpCounters before = getCounters();
    if (sendMessage(&request))
        return parseReply();
    Reply reply;
    const bool timedOut = getCounters().timeouts != before.timeouts;
    reply.status = timedOut ? ExitStatus::noAnswer : ExitStatus::localFailure;
    reply.problem = timedOut ? silence(before) : getLastError();
    return reply;
}

Exchange::Reply Exchange::parseReply() const {
    Reply reply;
    const auto size = static_cast<int>(replyBuffer.size());
    LCMPResponse response;
    const auto fault = static_cast<unsigned int>(response.deserialize(replyBuffer.data(), size));
    const bool whole = fault == RESULT_OK &&
                       takeElements(replyBuffer.data(), size, response.getHeaderSize(), reply.elements);
    reply.result = response.getResult();
    reply.errorIndex = response.getErrorIndex();
    if (!whole) {
        reply.status = ExitStatus::badFrame;
        reply.problem =
            cardText() + " sent a malformed answer: " +
            (fault == RESULT_OK ? "element " + std::to_string(reply.elements.size()) + " does not fit"
                                : resultText(fault));
    }
    if (reply.result != RESULT_OK && isServed(reply.result) && traces(4))
        std::cerr << "lcmp: " << cardText() << " served the request and reports " << resultText(reply.result)
                  << '\n';
    return reply;
}

std::string Exchange::silence(const LcmpUdpCounters& before) const {
    const LcmpUdpCounters& now = getCounters();
    std::string text =
        cardText() + " did not answer (" + std::to_string(m_tries) + (m_tries == 1 ? " try)" : " tries)");
    const std::uint64_t others = now.received - before.received;
    if (others != 0)
        text += "; " + std::to_string(others) + " received that did not fit the request";
    return text;
}

std::string Exchange::refusal(const std::string& what, unsigned int result) const {
    return cardText() + " refused " + what + ": " + resultText(result);
}

void Exchange::refuse(std::size_t position, unsigned int result) {
    m_outcomes[position].result = result;
    fail({position}, ExitStatus::refused, refusal(m_variables[position].name, result));
}

void Exchange::endWith(const Positions& positions, ExitStatus status, const std::string& problem) {
    m_over = true;
    fail(positions, status, problem);
}

void Exchange::skip(const Positions& positions, ExitStatus status, const std::string& what) {
    for (const std::size_t position : positions)
        fail({position}, status, m_variables[position].name + what);
}

void Exchange::fail(const Positions& positions, ExitStatus status, const std::string& problem) {
    for (const std::size_t position : positions) {
        m_outcomes[position].status = status;
        m_outcomes[position].problem = problem;
    }
}

}  // namespace tool
