// The checks and the one kind of property that models need beyond those of liblcmp. All of it is in this
// header, so that generated code for a card links liblcmp and nothing else.
//
// Like every check and property: used by the thread that runs the protocol engine.
#pragma once

#include <regex.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "lcmpProperty.h"

/// Accepts the numbers of some ranges, both ends included; nothing where there is no range. The ranges may be
/// shared by the rows of a table.
template <typename T>
class LcmpModelNumberCheck : public TypeProperty<T>::TypeValueCheck {
public:
    /// First and last number of each range.
    using Ranges = std::vector<std::pair<T, T>>;

    /// The ranges, which are not null.
    explicit LcmpModelNumberCheck(std::shared_ptr<const Ranges> ranges) : m_ranges(std::move(ranges)) {}

    bool checkValue(T value) override {
        return std::any_of(m_ranges->begin(), m_ranges->end(), [value](const std::pair<T, T>& range) {
            return range.first <= value && value <= range.second;
        });
    }

private:
    std::shared_ptr<const Ranges> m_ranges;
};

/// A POSIX extended regular expression that a whole text has to match. A text with a NUL never does.
class LcmpModelPattern {
public:
    /// Compiles the expression; see isValid.
    explicit LcmpModelPattern(const std::string& pattern)
        : m_compiled(regcomp(&m_regex, ("^(" + pattern + ")$").c_str(), REG_EXTENDED | REG_NOSUB) == 0) {}
    ~LcmpModelPattern() {
        if (m_compiled)
            regfree(&m_regex);
    }
    LcmpModelPattern(const LcmpModelPattern&) = delete;
    LcmpModelPattern& operator=(const LcmpModelPattern&) = delete;

    /// False: it is no regular expression, and nothing matches.
    bool isValid() const { return m_compiled; }

    /// Whether the whole text matches.
    bool matches(const std::string& text) const {
        return m_compiled && text.find('\0') == std::string::npos &&
               regexec(&m_regex, text.c_str(), 0, nullptr, 0) == 0;
    }

private:
    regex_t m_regex{};
    bool m_compiled;
};

/// Accepts texts of some lengths, in bytes, that match a pattern, if there is one.
class LcmpModelTextCheck : public StringProperty::StringValueCheck {
public:
    /// As the longest: no bound.
    static constexpr std::size_t anyLength = std::numeric_limits<std::size_t>::max();

    /// Both lengths are allowed themselves; a null pattern allows every text of them.
    LcmpModelTextCheck(std::size_t shortest, std::size_t longest,
                       std::shared_ptr<const LcmpModelPattern> pattern = nullptr)
        : m_shortest(shortest), m_longest(longest), m_pattern(std::move(pattern)) {}

    // The length comes first: what is compared with the pattern is never longer than it may be.
    bool checkValue(std::string value) override {
        return value.size() >= m_shortest && value.size() <= m_longest &&
               (m_pattern == nullptr || m_pattern->matches(value));
    }

private:
    std::size_t m_shortest;
    std::size_t m_longest;
    std::shared_ptr<const LcmpModelPattern> m_pattern;
};

/// A byte array that holds its bytes. Peers write as many bytes as it has; the application may set any number
/// below 65,536.
class LcmpModelBytesProperty : public LcmpProperty {
public:
    /// Value and default are `def`.
    LcmpModelBytesProperty(unsigned int id, const char* name, IfcCardVarAccessType access, std::string def,
                           bool eventable)
        : LcmpProperty(id, name, access, eventable), m_value(def), m_default(std::move(def)) {}

    void setToDefault() override { m_value = m_default; }
    bool isDefault() override { return m_value == m_default; }
    unsigned int length() override { return static_cast<unsigned int>(m_value.size()); }
    int getType() override { return BYTE_ARRAY; }

    int serialize(char* buffer, int size) override {
        char* value = startElement(buffer, size, length(), getType());
        if (value == nullptr)
            return -1;
        std::copy(m_value.begin(), m_value.end(), value);
        return headerSize + static_cast<int>(length());
    }

    int deserialize(const char* buffer) override {
        const auto high = static_cast<unsigned char>(buffer[headerSize - 2]);
        const auto low = static_cast<unsigned char>(buffer[headerSize - 1]);
        const int count = high << 8 | low;
        m_value.assign(buffer + headerSize, static_cast<std::size_t>(count));
        return headerSize + count;
    }

    using LcmpProperty::get;
    using LcmpProperty::set;

    /// Stores the length in *length and copies as many bytes to `data`, if there are both.
    void get(unsigned char* data, unsigned int* length) override {
        if (length == nullptr)
            return;
        *length = static_cast<unsigned int>(m_value.size());
        if (data != nullptr && !m_value.empty())
            std::memcpy(data, m_value.data(), m_value.size());
    }

    /// Stores the bytes and marks the change if it is one. Null data stores nothing.
    void set(unsigned char* data, unsigned int length) override {
        if (data == nullptr)
            return;
        std::string value(reinterpret_cast<const char*>(data), length);
        if (value != m_value)
            markEvent();
        m_value = std::move(value);
    }

    std::string str() const override {
        return lineHead() + std::to_string(m_value.size()) + " bytes" +
               (isEventable() ? " (eventable)\n" : "\n");
    }

private:
    static constexpr int headerSize = 7;  // bytes before a value: OID 4, type 1, length 2

    std::string m_value;
    std::string m_default;
};
