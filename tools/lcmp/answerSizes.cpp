#include "answerSizes.h"

#include <algorithm>
#include <cmath>

#include "lcmpProtocolBase.h"
#include "wireSizes.h"

namespace tool {
namespace {

constexpr unsigned int guessedLength = 32;
constexpr unsigned int macAddressLength = 6;
constexpr int remembered = 32;  // values of a column

// One response in forty is too long by chance where lengths vary; a wider margin would waste more room than
// asking again costs.
constexpr double margin = 2;  // standard deviations

unsigned int columnOf(unsigned int oid) {
    constexpr unsigned int rowBits = 0x3FFF;
    const bool isCell = oid >> 30 == 1;
    return isCell ? oid & ~rowBits : oid;
}

unsigned int firstGuess(const Variable& variable) {
    if (variable.type == MAC_ADDRESS)
        return macAddressLength;
    const unsigned int width = variable.type ? lcmpTlvFixedWidth(*variable.type) : 0;
    if (width != 0 || variable.definition == nullptr)
        return width != 0 ? width : guessedLength;
    const LcmpModelVariable& definition = *variable.definition;
    return std::min(definition.exactLength.value_or(definition.maxLength.value_or(guessedLength)),
                    guessedLength);
}

}  // namespace

AnswerSizes::Length AnswerSizes::expected(const Variable& variable) const {
    const auto known = m_columns.find(columnOf(variable.oid));
    if (known != m_columns.end())
        return known->second;
    Length guess;
    guess.mean = firstGuess(variable);
    return guess;
}

void AnswerSizes::learn(const Variable& variable, unsigned int length) {
    Length& column = m_columns[columnOf(variable.oid)];
    column.seen = std::min(column.seen + 1, remembered);
    const double share = 1.0 / column.seen;
    const double difference = length - column.mean;
    column.mean += share * difference;
    column.variance = (1 - share) * (column.variance + share * difference * difference);
}

bool AnswerRoom::take(const Variable& variable) {
    const AnswerSizes::Length length = m_sizes.expected(variable);
    const double mean = m_mean + elementHeader + length.mean;
    const double variance = m_variance + length.variance;
    const bool fits =
        responseHeader + mean + margin * std::sqrt(variance) <= LcmpProtocolBase::maxReadResponse;
    if (m_count > 0 && (!fits || m_count == LcmpProtocolBase::maxRequestTlvs))
        return false;
    m_mean = mean;
    m_variance = variance;
    ++m_count;
    return true;
}

}  // namespace tool
