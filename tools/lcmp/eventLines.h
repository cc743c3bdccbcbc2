// The lines of a log of what happens on cards, in each of its formats.
#pragma once

#include <ostream>
#include <string>

#include "standardNames.h"
#include "value.h"

namespace tool {

/// Prints each line flushed. text: for people. jsonl: an object a line. csv: a table with a heading. value:
/// the bare new values, and nothing of what is no value.
class EventLines {
public:
    enum class Format { text, jsonl, csv, value };

    /// The stream outlives it.
    EventLines(std::ostream& out, Format format);

    /// When it happened, in RFC 3339, and on which card.
    struct Origin {
        std::string time;
        std::string card;
    };

    /// A new value of a variable, and the one before where that is known.
    struct Value {
        const Variable& variable;
        const Element& now;
        const Element* before = nullptr;
        bool isPolled = false;  ///< It was asked for, and not reported by the card.
    };

    void print(const Origin& origin, const Value& value);

    /// A message with the wrong number; how many between are missing, 0 where the numbering went back.
    void printGap(const Origin& origin, int expected, int received, int missing);

    /// A card that was asked has fallen silent, or answers again.
    void printAnswering(const Origin& origin, bool answers);

private:
    void printText(const Origin& origin, const Value& value);
    void printJson(const Origin& origin, const Value& value);
    void printCsv(const Origin& origin, const Value& value);
    void printNote(const Origin& origin, const std::string& note);

    std::ostream& m_out;
    Format m_format;
};

}  // namespace tool
