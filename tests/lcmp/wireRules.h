// What a card owes to a frame: docs/wire.md read a second time, without the library. A card that was built
// from the same table (see judgedCard.h) must do what these rules say, to the byte.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "frameBuilder.h"

using Bytes = std::string_view;

inline unsigned int byteAt(Bytes data, std::size_t offset) {
    return static_cast<unsigned char>(data[offset]);
}
inline unsigned int wordAt(Bytes data, std::size_t offset) {
    return byteAt(data, offset) << 8 | byteAt(data, offset + 1);
}

/// One element as it lies in a frame.
struct Received {
    unsigned int oid;
    unsigned int type;
    Bytes value;
};

/// The elements of a frame behind its header.
struct Walk {
    Walk(Bytes frame, std::size_t header) {
        Bytes rest = frame.substr(header);
        while (rest.size() >= 7 && rest.size() - 7 >= wordAt(rest, 5)) {
            elements.push_back(
                {wordAt(rest, 0) << 16 | wordAt(rest, 2), byteAt(rest, 4), rest.substr(7, wordAt(rest, 5))});
            rest.remove_prefix(7 + elements.back().value.size());
        }
        allFit = rest.empty();
    }

    std::vector<Received> elements;  // up to the first that does not fit
    bool allFit;
};

/// One variable of a card.
struct Variable {
    unsigned int oid;
    unsigned int type;
    std::string value;  // as it is sent
    bool readOnly = false;
    std::function<bool(Bytes)> takes = {};  // empty: everything
};

/// What the application does with variables that no object has.
enum class Stranger { refused, served, failing };

/// The rules for a card that has had a request with message id 0.
class WireRules {
public:
    WireRules(const std::vector<Variable>& variables, Stranger (*strangers)(unsigned int oid))
        : m_strangers(strangers) {
        for (const Variable& variable : variables)
            m_variables.emplace(variable.oid, variable);
    }

    /// What is owed to a frame. The answer is empty where there is none.
    struct Due {
        bool handled;
        std::string answer;
    };

    /// Also does to the variables what the frame does.
    Due dueTo(Bytes frame) {
        if (frame.size() < requestHeader)
            return {false, ""};
        if (frame.substr(0, 4) != "OTN1")
            return {true, ""};
        if (byteAt(frame, 4) != 1)
            return {true, answer(frame, 1)};
        switch (byteAt(frame, 5)) {
            case 1:
            case 2:
                return {true, answerToRequest(frame)};
            case 3:
            case 4:
                return {takesResponse(frame), ""};
            case 5:
                return {frame.size() >= amiHeader && apply(Walk(frame, amiHeader)), ""};
            default:
                return {true, answer(frame, 4)};
        }
    }

    /// Every value, in the order of the OIDs, as elements.
    const std::string& values() {
        if (m_values.empty()) {
            for (const auto& entry : m_variables)
                appendElement(m_values, entry.second.oid, entry.second.type, entry.second.value);
        }
        return m_values;
    }

    /// Whether this element is the variable's with its value.
    bool isHeldAs(unsigned int oid, Bytes element) const {
        const Variable& variable = m_variables.at(oid);
        std::string head;
        appendHead(head, variable.oid, variable.type, variable.value.size());
        return element.substr(0, head.size()) == head && element.substr(head.size()) == variable.value;
    }

    const std::map<unsigned int, Variable>& variables() const { return m_variables; }

private:
    static constexpr unsigned int unusedBit = 1U << 29;
    static constexpr std::size_t longestAnswer = 1200;

    static void appendNumber(std::string& data, unsigned int value, int width) {
        for (int shift = 8 * (width - 1); shift >= 0; shift -= 8)
            data += static_cast<char>(static_cast<unsigned char>(value >> shift));
    }

    static void appendHead(std::string& data, unsigned int oid, unsigned int type, std::size_t length) {
        appendNumber(data, oid, 4);
        appendNumber(data, type, 1);
        appendNumber(data, static_cast<unsigned int>(length), 2);
    }

    static void appendElement(std::string& data, unsigned int oid, unsigned int type, Bytes value) {
        appendHead(data, oid, type, value.size());
        data += value;
    }

    static std::string answer(Bytes frame, unsigned int result, std::size_t index = 0) {
        std::string data("OTN1\1", 5);
        appendNumber(data, byteAt(frame, 5) == 1 ? 3 : 4, 1);
        data += frame.substr(6, 2);
        appendNumber(data, result, 1);
        appendNumber(data, static_cast<unsigned int>(index), 2);
        return data;
    }

    void store(Variable& variable, Bytes value) {
        variable.value = value;
        m_values.clear();
    }

    Variable* find(unsigned int oid) {
        const auto found = m_variables.find(oid & ~unusedBit);
        return found != m_variables.end() ? &found->second : nullptr;
    }

    // ------------------------------------------------------------ requests

    std::string answerToRequest(Bytes frame) {
        const unsigned int noticed = judgeMessageId(wordAt(frame, 6));
        const bool write = byteAt(frame, 5) == 2;
        const Walk walk(frame, requestHeader);
        if (!walk.allFit)
            return answer(frame, 8, walk.elements.size());
        for (std::size_t i = 0; i < walk.elements.size(); ++i) {
            const unsigned int fault = judge(walk.elements[i], write);
            if (fault != 0)
                return answer(frame, fault, i);
        }
        return write ? answerToWrite(frame, walk, noticed) : answerToRead(frame, walk, noticed);
    }

    unsigned int judgeMessageId(unsigned int id) {
        const unsigned int noticed = id == ((m_lastId + 1) & 0xFFFF) ? 0 : id == m_lastId ? 2 : 3;
        m_lastId = id;
        return noticed;
    }

    unsigned int judge(const Received& element, bool write) {
        const Variable* variable = find(element.oid);
        if (variable == nullptr)
            return m_strangers(element.oid) == Stranger::refused ? 5 : 0;
        if (!write)
            return 0;
        const unsigned int fault = faultOfShape(*variable, element);
        if (fault != 0)
            return fault;
        if (variable->readOnly)
            return 10;
        return variable->takes && !variable->takes(element.value) ? 9 : 0;
    }

    /// Identity, type and length: looked at wherever a value comes in.
    static unsigned int faultOfShape(const Variable& variable, const Received& element) {
        if (element.oid != variable.oid)
            return 7;
        if (element.type != variable.type)
            return 6;
        const bool anyLength = variable.type == 9;
        return !anyLength && element.value.size() != variable.value.size() ? 8 : 0;
    }

    std::string answerToRead(Bytes frame, const Walk& walk, unsigned int noticed) {
        std::string full = answer(frame, noticed);
        std::size_t strangers = 0;
        for (const Received& element : walk.elements) {
            if (const Variable* variable = find(element.oid)) {
                appendElement(full, variable->oid, variable->type, variable->value);
                continue;
            }
            // Counted among its kind only.
            if (m_strangers(element.oid) == Stranger::failing)
                return answer(frame, 12, strangers);
            ++strangers;
            appendElement(full, element.oid, element.type, element.value);
        }
        return full.size() > longestAnswer ? answer(frame, 11) : full;
    }

    std::string answerToWrite(Bytes frame, const Walk& walk, unsigned int noticed) {
        for (const Received& element : walk.elements) {
            if (Variable* variable = find(element.oid))
                store(*variable, element.value);
            else if (m_strangers(element.oid) == Stranger::failing)
                return answer(frame, 12);
        }
        return answer(frame, noticed);
    }

    // ------------------------------------------------------------ responses and events

    bool takesResponse(Bytes frame) {
        if (frame.size() < responseHeader)
            return false;
        const unsigned int result = byteAt(frame, 8);
        if (result != 0 && result != 2 && result != 3)
            return false;
        return byteAt(frame, 5) == 4 || apply(Walk(frame, responseHeader));
    }

    /// Values come in from the variable's owner: neither access nor rule is asked.
    bool apply(const Walk& walk) {
        bool all = walk.allFit;
        for (const Received& element : walk.elements) {
            Variable* variable = find(element.oid);
            if (variable != nullptr && faultOfShape(*variable, element) == 0)
                store(*variable, element.value);
            else
                all = false;
        }
        return all;
    }

    std::map<unsigned int, Variable> m_variables;
    Stranger (*m_strangers)(unsigned int oid);
    unsigned int m_lastId = 0;  // of the last request
    std::string m_values;       // as elements; empty when they have changed
};
