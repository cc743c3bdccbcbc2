#include "frameOutput.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "colour.h"
#include "knownVariable.h"
#include "lcmpResult.h"
#include "lcmpmsg.h"
#include "output.h"
#include "standardNames.h"
#include "timeText.h"

namespace tool {
namespace {

using Json = nlohmann::ordered_json;

// One frame with all that is to be told of it.
struct Account {
    const FoundFrame& found;
    const LcmpModel& model;
    Frame frame;
    const FoundFrame* request = nullptr;   // of a response
    const FoundFrame* response = nullptr;  // to a request
    const FoundFrame* repeated = nullptr;
    std::optional<unsigned int> refusedOid = {};  // of the element that a response refuses
    std::optional<std::int64_t> roundTrip = {};   // nanoseconds
};

const FoundFrame* frameAt(const std::vector<FoundFrame>& frames, const std::optional<std::size_t>& position) {
    return position ? &frames[*position] : nullptr;
}

std::optional<unsigned int> refusedOid(const FrameHeader& response, const FoundFrame& request) {
    if (!response.errorIndex || !refusesElement(*response.result))
        return std::nullopt;
    const Frame asked = explainFrame(request.bytes, request.sentSize);
    if (*response.errorIndex >= asked.elements.size())
        return std::nullopt;
    return asked.elements[*response.errorIndex].element.oid();
}

Account accountOf(const std::vector<FoundFrame>& frames, const FoundFrame& found, const FrameLinks& links,
                  const LcmpModel& model) {
    Account account{found, model, explainFrame(found.bytes, found.sentSize)};
    account.request = frameAt(frames, links.request);
    account.response = frameAt(frames, links.response);
    account.repeated = frameAt(frames, links.repeated);
    if (account.request != nullptr) {
        account.refusedOid = refusedOid(account.frame.header, *account.request);
        if (found.time && account.request->time)
            account.roundTrip = nanosecondsBetween(*account.request->time, *found.time);
    }
    return account;
}

std::string nameOr(unsigned int oid, const LcmpModel& model) {
    const std::string name = knownVariable(oid, model).name;
    return name.empty() ? oidText(oid) : name;
}

// text

std::string milliseconds(std::int64_t nanoseconds) {
    std::array<char, 40> text{};
    (void)std::snprintf(text.data(), text.size(), "%.3f ms", static_cast<double>(nanoseconds) / 1e6);
    return text.data();
}

std::string numbered(const FoundFrame& frame) { return "#" + std::to_string(frame.number); }

std::string resultPart(const Account& account) {
    const FrameHeader& header = account.frame.header;
    std::string text = ": " + resultText(*header.result);
    if (*header.result < 16)
        text += " (" + std::to_string(*header.result) + ")";
    if (header.errorIndex && refusesElement(*header.result))
        text += " at element " + std::to_string(*header.errorIndex);
    if (account.refusedOid)
        text += ", " + nameOr(*account.refusedOid, account.model);
    return text;
}

std::string linksPart(const Account& account) {
    std::string text;
    if (account.repeated != nullptr)
        text += ", repeats " + numbered(*account.repeated);
    if (account.request != nullptr)
        text += ", to " + numbered(*account.request);
    if (account.roundTrip)
        text += " after " + milliseconds(*account.roundTrip);
    if (account.response != nullptr)
        text += ", answered by " + numbered(*account.response);
    else if (account.found.isCaptured && account.frame.header.messageId && account.frame.header.isRequest())
        text += ", no answer";
    return text;
}

std::string actionPart(const FrameHeader& header, std::size_t size) {
    if (!header.action)
        return std::to_string(size) + (size == 1 ? " byte" : " bytes");
    const std::string name = actionName(*header.action);
    return name.empty() ? "action " + std::to_string(*header.action) : name;
}

std::string headLine(const Account& account) {
    const FrameHeader& header = account.frame.header;
    std::string line = numbered(account.found) + "  ";
    if (account.found.time)
        line += captureTimeText(*account.found.time) + "  ";
    if (account.found.isCaptured)
        line += lcmpUdpToText(account.found.source) + " > " + lcmpUdpToText(account.found.destination) + "  ";
    line += actionPart(header, account.found.bytes.size());
    if (header.messageId)
        line += ", message " + std::to_string(*header.messageId);
    if (header.microseconds)
        line += ", sent " + timeText(*header.seconds, *header.microseconds);
    if (header.result)
        line += resultPart(account);
    return line + linksPart(account);
}

struct Row {
    std::string offset, oid, name, type, value;
};

std::string valueText(const FrameElement& element, const KnownVariable& known) {
    if (!hasValue(element))
        return hexText(element.bytes);
    std::string text = displayText(element.element);
    const std::string word = known.wordFor(element.element);
    if (!word.empty())
        text += " (" + word + ")";
    return known.unit.empty() || text.empty() ? text : text + " " + known.unit;
}

Row rowOf(const std::ostream& out, const FrameElement& element, const LcmpModel& model) {
    const KnownVariable known = knownVariable(element.element.oid(), model);
    std::string value = valueText(element, known);
    if (!element.fault.empty())
        value += (value.empty() ? "" : "  ") + painted(out, Paint::problem, "! " + element.fault);
    return {std::to_string(element.offset), oidText(element.element.oid()), known.name,
            typeText(element.element.type()), value};
}

std::string padded(const std::string& text, std::size_t width) {
    return text + std::string(width - std::min(width, text.size()), ' ');
}

std::string leftPadded(const std::string& text) {
    constexpr std::size_t width = 7;
    return std::string(width - std::min(width, text.size()), ' ') + text;
}

void printRows(std::ostream& out, const std::vector<Row>& rows) {
    std::size_t nameWidth = 0;
    std::size_t typeWidth = 0;
    for (const Row& row : rows) {
        nameWidth = std::max(nameWidth, row.name.size());
        typeWidth = std::max(typeWidth, row.type.size());
    }
    for (const Row& row : rows) {
        std::string line = leftPadded(row.offset) + "  " + row.oid + "  ";
        if (nameWidth != 0)
            line += painted(out, Paint::name, padded(row.name, nameWidth)) + "  ";
        line += row.value.empty() ? row.type : padded(row.type, typeWidth) + "  " + row.value;
        out << line << '\n';
    }
}

void printText(std::ostream& out, const Account& account) {
    out << headLine(account) << '\n';
    std::vector<Row> rows;
    for (const FrameElement& element : account.frame.elements)
        rows.push_back(rowOf(out, element, account.model));
    printRows(out, rows);
    if (account.frame.fault)
        out << leftPadded(std::to_string(account.frame.fault->offset)) << "  "
            << painted(out, Paint::problem, "! " + account.frame.fault->reason) << '\n';
}

// json

void addEnds(Json& object, const FoundFrame& found) {
    if (found.time)
        object["time"] = captureTimeText(*found.time);
    if (!found.isCaptured)
        return;
    object["source"] = lcmpUdpToText(found.source);
    object["destination"] = lcmpUdpToText(found.destination);
}

void addResult(Json& object, const Account& account) {
    const FrameHeader& header = account.frame.header;
    object["result"] = *header.result;
    object["resultName"] = resultText(*header.result);
    if (header.errorIndex)
        object["errorIndex"] = *header.errorIndex;
    if (!account.refusedOid)
        return;
    object["errorOid"] = oidText(*account.refusedOid);
    const std::string name = knownVariable(*account.refusedOid, account.model).name;
    if (!name.empty())
        object["errorName"] = name;
}

void addHeader(Json& object, const Account& account) {
    const FrameHeader& header = account.frame.header;
    if (header.version)
        object["version"] = *header.version;
    if (header.action) {
        object["action"] = *header.action;
        object["actionName"] = actionName(*header.action);
    }
    if (header.messageId)
        object["messageId"] = *header.messageId;
    if (header.result)
        addResult(object, account);
    if (header.seconds)
        object["seconds"] = *header.seconds;
    if (header.microseconds) {
        object["microseconds"] = *header.microseconds;
        object["sent"] = timeText(*header.seconds, *header.microseconds);
    }
}

void addLinks(Json& object, const Account& account) {
    if (account.repeated != nullptr)
        object["repeats"] = account.repeated->number;
    if (account.response != nullptr)
        object["response"] = account.response->number;
    if (account.request != nullptr)
        object["request"] = account.request->number;
    if (account.roundTrip)
        object["roundTrip"] = static_cast<double>(*account.roundTrip) / 1e9;
}

Json elementJson(const FrameElement& element, const LcmpModel& model) {
    const KnownVariable known = knownVariable(element.element.oid(), model);
    Json object = {{"offset", element.offset}, {"oid", oidText(element.element.oid())}};
    if (!known.name.empty())
        object["name"] = known.name;
    object["type"] = lcmpTlvTypeName(element.element.type());
    object["typeCode"] = element.element.type();
    object["length"] = element.element.length();
    if (hasValue(element))
        addJsonValue(element.element, object);
    else if (element.element.length() != 0)
        object["bytes"] = hexText(element.bytes);
    const std::string word = known.wordFor(element.element);
    if (!word.empty())
        object["word"] = word;
    if (!known.unit.empty())
        object["unit"] = known.unit;
    if (!element.fault.empty())
        object["fault"] = element.fault;
    return object;
}

Json frameJson(const Account& account) {
    Json object = {{"frame", account.found.number}};
    addEnds(object, account.found);
    object["size"] = account.found.sentSize;
    addHeader(object, account);
    addLinks(object, account);
    object["elements"] = Json::array();
    for (const FrameElement& element : account.frame.elements)
        object["elements"].push_back(elementJson(element, account.model));
    if (account.frame.fault)
        object["fault"] = {{"offset", account.frame.fault->offset}, {"reason", account.frame.fault->reason}};
    return object;
}

// csv: a line for each element, or one for a frame without any; and one for a fault.

template <typename T>
std::string fieldOf(const std::optional<T>& value) {
    return value ? std::to_string(*value) : "";
}

std::string secondsText(std::int64_t nanoseconds) {
    std::array<char, 40> text{};
    (void)std::snprintf(text.data(), text.size(), "%.9f", static_cast<double>(nanoseconds) / 1e9);
    return text.data();
}

std::string frameFields(const Account& account) {
    const FoundFrame& found = account.found;
    const FrameHeader& header = account.frame.header;
    std::string line = std::to_string(found.number) + ',';
    line += (found.time ? captureTimeText(*found.time) : "") + ',';
    line += (found.isCaptured ? lcmpUdpToText(found.source) : "") + ',';
    line += (found.isCaptured ? lcmpUdpToText(found.destination) : "") + ',';
    line += fieldOf(header.action) + ',' + fieldOf(header.messageId) + ',';
    line += fieldOf(header.result) + ',' + fieldOf(header.errorIndex) + ',';
    line += account.request != nullptr ? std::to_string(account.request->number) : "";
    return line + ',' + (account.roundTrip ? secondsText(*account.roundTrip) : "") + ',';
}

std::string elementFields(const FrameElement& element, const LcmpModel& model) {
    const Element& value = element.element;
    return std::to_string(element.offset) + ',' + oidText(value.oid()) + ',' +
           csvField(knownVariable(value.oid(), model).name) + ',' + typeText(value.type()) + ',' +
           csvField(hasValue(element) ? plainText(value) : hexText(element.bytes)) + ',' +
           csvField(element.fault);
}

void printCsv(std::ostream& out, const Account& account) {
    const std::string fields = frameFields(account);
    const std::optional<FrameFault>& fault = account.frame.fault;
    for (const FrameElement& element : account.frame.elements)
        out << fields << elementFields(element, account.model) << '\n';
    if (fault)
        out << fields << fault->offset << ",,,,," << csvField(fault->reason) << '\n';
    else if (account.frame.elements.empty())
        out << fields << ",,,,,\n";
}

void printValues(std::ostream& out, const Account& account) {
    for (const FrameElement& element : account.frame.elements)
        out << (hasValue(element) ? plainText(element.element) : hexText(element.bytes)) << '\n';
}

class Printer {
public:
    Printer(std::ostream& out, const std::string& format) : m_out(out), m_format(format) {
        if (m_format == "csv")
            m_out << "frame,time,source,destination,action,messageId,result,errorIndex,request,roundTrip,"
                     "offset,oid,name,type,value,fault\n";
        else if (m_format == "json")
            m_out << '[';
    }

    void print(const Account& account) {
        if (m_format == "json")
            m_out << (m_first ? "\n" : ",\n") << indented(frameJson(account));
        else if (m_format == "jsonl")
            m_out << jsonLine(frameJson(account));
        else if (m_format == "csv")
            printCsv(m_out, account);
        else if (m_format == "value")
            printValues(m_out, account);
        else
            printText(m_first ? m_out : m_out << '\n', account);
        m_first = false;
    }

    void end() {
        if (m_format == "json")
            m_out << (m_first ? "]\n" : "\n]\n");
    }

private:
    // As a member of the array, which is never held as a whole: a capture may be large.
    static std::string indented(const Json& object) {
        std::string text = jsonText(object);
        for (auto end = text.find('\n'); end != std::string::npos; end = text.find('\n', end + 1))
            text.insert(end + 1, "  ");
        return "  " + text;
    }

    std::ostream& m_out;
    const std::string& m_format;
    bool m_first = true;
};

}  // namespace

bool printFrames(std::ostream& out, const std::string& format, const std::vector<FoundFrame>& frames,
                 const std::vector<FrameLinks>& links, const LcmpModel& model) {
    bool allSound = true;
    Printer printer(out, format);
    for (std::size_t i = 0; i < frames.size() && out; ++i) {
        const Account account = accountOf(frames, frames[i], links[i], model);
        allSound = allSound && account.frame.isSound();
        printer.print(account);
    }
    printer.end();
    return allSound;
}

}  // namespace tool
