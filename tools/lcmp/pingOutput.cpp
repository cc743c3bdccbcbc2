#include "pingOutput.h"

#include <array>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <utility>

#include "colour.h"
#include "output.h"
#include "timeText.h"

namespace tool {
namespace {

using Json = nlohmann::ordered_json;
using std::chrono::nanoseconds;

std::string formatted(const char* format, double number) {
    std::array<char, 64> text{};
    (void)std::snprintf(text.data(), text.size(), format, number);
    return text.data();
}

double secondsOf(nanoseconds time) { return static_cast<double>(time.count()) / 1e9; }

std::string millisecondsText(nanoseconds time) { return formatted("%.3f", secondsOf(time) * 1e3); }

std::string secondsText(const std::optional<nanoseconds>& time) {
    return time ? formatted("%.9f", secondsOf(*time)) : "";
}

Json jsonOf(const PingPrinter::Card& card) {
    Json object = {{"card", card.name},
                   {"sent", card.trips.sentCount()},
                   {"answered", card.trips.answeredCount()},
                   {"loss", card.trips.loss()}};
    if (const auto summary = card.trips.summary()) {
        object["min"] = secondsOf(summary->min);
        object["avg"] = secondsOf(summary->avg);
        object["max"] = secondsOf(summary->max);
        object["jitter"] = secondsOf(summary->jitter);
    }
    return object;
}

}  // namespace

PingPrinter::PingPrinter(std::ostream& out, std::string format) : m_out(out), m_format(std::move(format)) {
    if (m_format == "csv")
        m_out << "time,card,id,roundTrip,error\n";
}

void PingPrinter::print(const std::string& card, const Ping& ping) {
    if (m_format == "text")
        printText(card, ping);
    else if (m_format == "jsonl")
        printJson(card, ping);
    else if (m_format == "csv")
        m_out << timeTextNow() << ',' << card << ',' << ping.id << ',' << secondsText(ping.roundTrip) << ','
              << csvField(ping.problem) << '\n';
    else if (m_format == "value")
        m_out << secondsText(ping.roundTrip) << '\n';
    m_out.flush();
}

void PingPrinter::printText(const std::string& card, const Ping& ping) {
    m_out << card << ": id " << ping.id << ' ';
    if (ping.roundTrip)
        m_out << "time " << millisecondsText(*ping.roundTrip) << " ms\n";
    else
        m_out << painted(m_out, Paint::problem, ping.problem) << '\n';
}

void PingPrinter::printJson(const std::string& card, const Ping& ping) {
    Json object = {{"time", timeTextNow()}, {"card", card}, {"id", ping.id}};
    if (ping.roundTrip)
        object["roundTrip"] = secondsOf(*ping.roundTrip);
    else
        object["error"] = {{"text", ping.problem}};
    m_out << jsonLine(object);
}

void PingPrinter::printEndText(const Card& card) {
    m_out << card.name << ": " << card.trips.sentCount() << " sent, " << card.trips.answeredCount()
          << " answered, " << formatted("%.3g", card.trips.loss()) << " % lost";
    if (const auto summary = card.trips.summary())
        m_out << ", min/avg/max/jitter " << millisecondsText(summary->min) << '/'
              << millisecondsText(summary->avg) << '/' << millisecondsText(summary->max) << '/'
              << millisecondsText(summary->jitter) << " ms";
    m_out << '\n';
}

void PingPrinter::printEnd(const std::vector<Card>& cards) {
    Json all = Json::array();
    for (const Card& card : cards) {
        if (m_format == "text")
            printEndText(card);
        else if (m_format == "jsonl")
            m_out << jsonLine(jsonOf(card));
        else if (m_format == "json")
            all.push_back(jsonOf(card));
    }
    if (m_format == "json")
        m_out << jsonText(all) << '\n';
}

}  // namespace tool
