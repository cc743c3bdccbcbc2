#include "detail/rules.h"

#include <algorithm>
#include <limits>

#include "lcmpModelProperties.h"

namespace lcmpdetail {
namespace {

constexpr std::size_t maxPatternBytes = 256;
constexpr std::size_t maxRepetitions = 1000;  // of all counts of a pattern, multiplied

int bitsOf(LcmpTlvType type) { return static_cast<int>(lcmpTlvFixedWidth(type)) * 8; }

const LcmpModelValue& larger(const LcmpModelValue& a, const LcmpModelValue& b) {
    return lcmpModelLess(a, b) ? b : a;
}

const LcmpModelValue& smaller(const LcmpModelValue& a, const LcmpModelValue& b) {
    return lcmpModelLess(b, a) ? b : a;
}

bool contains(const LcmpModelRange& range, const LcmpModelValue& value) {
    return !lcmpModelLess(value, range.low) && !lcmpModelLess(range.high, value);
}

std::string rangesText(LcmpTlvType type, const std::vector<LcmpModelRange>& ranges) {
    std::string text;
    for (const LcmpModelRange& range : ranges) {
        text += (text.empty() ? "" : ", ") + lcmpModelValueText(type, range.low);
        if (lcmpModelLess(range.low, range.high))
            text += " to " + lcmpModelValueText(type, range.high);
    }
    return text.empty() ? "nothing is" : text;
}

std::string whyTextRefused(const LcmpModelVariable& variable, const std::string& text) {
    const TextRule rule = textRuleOf(variable);
    const std::string bytes = std::to_string(text.size()) + " bytes are ";
    if (text.size() > rule.longest)
        return bytes + "too long: at most " + std::to_string(rule.longest);
    if (text.size() < rule.shortest)
        return bytes + "too short: at least " + std::to_string(rule.shortest);
    if (!variable.pattern.empty() && !LcmpModelPattern(variable.pattern).matches(text))
        return "'" + text + "' does not match the pattern " + variable.pattern;
    return "";
}

// Walks over a pattern as far as is needed to know its parentheses and counts.
class PatternScan {
public:
    explicit PatternScan(const std::string& pattern) : m_pattern(pattern) {}

    std::string problem() {
        while (m_at < m_pattern.size() && m_problem.empty())
            step(m_pattern[m_at++]);
        if (m_problem.empty() && m_open != 0)
            m_problem = "a ( is not closed";
        if (m_problem.empty() && m_repetitions > maxRepetitions)
            m_problem = "its counts multiply to more than " + std::to_string(maxRepetitions);
        return m_problem;
    }

private:
    bool at(char c) const { return m_at < m_pattern.size() && m_pattern[m_at] == c; }

    void step(char c) {
        if (c == '\\')
            escape();
        else if (c == '[')
            bracket();
        else if (c == '{')
            count();
        else if (c == '(')
            ++m_open;
        else if (c == ')' && m_open-- == 0)
            m_problem = "a ) closes nothing";
    }

    void escape() {
        if (m_at < m_pattern.size() && m_pattern[m_at] >= '0' && m_pattern[m_at] <= '9')
            m_problem = "it refers back to a group, which is not supported";
        ++m_at;
    }

    void bracket() {
        m_at += at('^') ? 1 : 0;
        m_at += at(']') ? 1 : 0;
        while (m_at < m_pattern.size() && m_pattern[m_at] != ']') {
            const std::size_t end = endOfClass();
            m_at = end == std::string::npos ? m_at + 1 : end + 2;
        }
        ++m_at;
    }

    // Where the second bracket pair of [[:alpha:]] ends, if one begins here.
    std::size_t endOfClass() const {
        const char kind = m_at + 1 < m_pattern.size() ? m_pattern[m_at + 1] : '\0';
        if (!at('[') || (kind != ':' && kind != '.' && kind != '='))
            return std::string::npos;
        return m_pattern.find(std::string{kind, ']'}, m_at + 2);
    }

    // Of {2,5} the larger number counts, of {2,} one more.
    void count() {
        std::size_t largest = 1;
        std::size_t number = 0;
        for (; m_at < m_pattern.size() && m_pattern[m_at] != '}'; ++m_at) {
            const char c = m_pattern[m_at];
            number = c >= '0' && c <= '9'
                         ? std::min<std::size_t>(number * 10 + static_cast<std::size_t>(c - '0'), 1000000)
                         : 0;
            largest = std::max(largest, number + 1);
        }
        m_repetitions = std::min<std::size_t>(m_repetitions * largest, 1000000);
    }

    const std::string& m_pattern;
    std::size_t m_at = 0;
    std::size_t m_open = 0;
    std::size_t m_repetitions = 1;
    std::string m_problem;
};

}  // namespace

bool isUnsignedType(LcmpTlvType type) { return type <= UINT8; }

bool isIntegerType(LcmpTlvType type) { return type <= INT8; }

LcmpModelValue smallestOf(LcmpTlvType type) {
    if (isUnsignedType(type))
        return 0ULL;
    return std::numeric_limits<long long>::min() >> (64 - bitsOf(type));
}

LcmpModelValue largestOf(LcmpTlvType type) {
    if (isUnsignedType(type))
        return std::numeric_limits<unsigned long long>::max() >> (64 - bitsOf(type));
    return std::numeric_limits<long long>::max() >> (64 - bitsOf(type));
}

std::optional<std::vector<LcmpModelRange>> allowedRanges(const LcmpModelVariable& variable) {
    if (!isIntegerType(variable.type) || (!variable.min && !variable.max && variable.allow.empty()))
        return std::nullopt;
    const LcmpModelValue min = variable.min.value_or(smallestOf(variable.type));
    const LcmpModelValue max = variable.max.value_or(largestOf(variable.type));
    const std::vector<LcmpModelRange> any = {{min, max}};
    std::vector<LcmpModelRange> ranges;
    for (const LcmpModelRange& range : variable.allow.empty() ? any : variable.allow) {
        const LcmpModelRange cut = {larger(range.low, min), smaller(range.high, max)};
        if (!lcmpModelLess(cut.high, cut.low))
            ranges.push_back(cut);
    }
    return ranges;
}

TextRule textRuleOf(const LcmpModelVariable& variable) {
    TextRule rule = {0, LcmpModelTextCheck::anyLength, false};
    if (variable.exactLength)
        rule.shortest = rule.longest = *variable.exactLength;
    else if (variable.maxLength)
        rule.longest = *variable.maxLength;
    rule.exists = variable.exactLength || variable.maxLength || !variable.pattern.empty();
    return rule;
}

std::string whyRefused(const LcmpModelVariable& variable, const LcmpModelValue& value) {
    if (const auto* text = std::get_if<std::string>(&value))
        return variable.type == MAC_ADDRESS ? "" : whyTextRefused(variable, *text);
    const auto ranges = allowedRanges(variable);
    const auto holds = [&](const LcmpModelRange& range) { return contains(range, value); };
    if (!ranges || std::any_of(ranges->begin(), ranges->end(), holds))
        return "";
    return lcmpModelValueText(variable.type, value) +
           " is not allowed: " + rangesText(variable.type, *ranges);
}

std::string patternProblem(const std::string& pattern) {
    if (pattern.size() > maxPatternBytes)
        return "it has more than " + std::to_string(maxPatternBytes) + " bytes";
    if (pattern.find('\0') != std::string::npos)
        return "it contains a NUL";
    std::string problem = PatternScan(pattern).problem();
    if (!problem.empty())
        return problem;
    return LcmpModelPattern(pattern).isValid() ? "" : "it is no POSIX extended regular expression";
}

}  // namespace lcmpdetail

std::string lcmpModelWhyRefused(const LcmpModelVariable& variable, const LcmpModelValue& value) {
    return lcmpdetail::whyRefused(variable, value);
}

bool lcmpModelAccepts(const LcmpModelVariable& variable, const LcmpModelValue& value) {
    return lcmpdetail::whyRefused(variable, value).empty();
}
