// How much of a response the values of variables will take, before it is asked for.
#pragma once

#include <unordered_map>

#include "standardNames.h"

namespace tool {

/// Lengths of values, learned by column (of a scalar: by variable) from those that came. A type of fixed
/// width has that; a value of any length is taken for 32 bytes, or less where the model allows less, until
/// one has come.
class AnswerSizes {
public:
    /// What is known of one column.
    struct Length {
        double mean = 0;      ///< Bytes.
        double variance = 0;  ///< Bytes squared; 0 where all were of one length.
        int seen = 0;         ///< Values, counted up to as many as are remembered.
    };

    Length expected(const Variable& variable) const;

    /// A value of so many bytes came. What came lately counts more.
    void learn(const Variable& variable, unsigned int length);

private:
    std::unordered_map<unsigned int, Length> m_columns;  // by OID, without the row
};

/// The variables that one request can ask for: at most 150, and a response that most likely fits 1200 bytes.
class AnswerRoom {
public:
    explicit AnswerRoom(const AnswerSizes& sizes) : m_sizes(sizes) {}

    /// Whether the variable still fits; if so it has its room. The first one always fits.
    bool take(const Variable& variable);

private:
    const AnswerSizes& m_sizes;
    double m_mean = 0;  // of the bytes that all will take
    double m_variance = 0;
    unsigned int m_count = 0;
};

}  // namespace tool
