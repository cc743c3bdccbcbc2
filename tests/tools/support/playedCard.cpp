#include "playedCard.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <stdexcept>
#include <utility>

#include "frameBuilder.h"
#include "patience.h"

namespace {

constexpr std::size_t elementHeader = 7;
constexpr std::size_t longestAnswer = 1200;

std::vector<unsigned int> oidsIn(const std::string& frame) {
    std::vector<unsigned int> oids;
    for (std::size_t at = requestHeader; at + elementHeader <= frame.size();
         at += elementHeader + static_cast<std::size_t>(number(frame, at + 5, 2)))
        oids.push_back(static_cast<unsigned int>(number(frame, at, 4)));
    return oids;
}

std::string valueOfNothing(LcmpTlvType type) {
    if (type == MAC_ADDRESS)
        return std::string(6, '\0');
    return type == STRING ? "x" : std::string(lcmpTlvFixedWidth(type), '\0');
}

// Whether a cell is what this name says: an object, a row, a column, or the cell alone.
bool isNamed(const LcmpModelCell& cell, const std::string& name) {
    const std::string& object = cell.object->name;
    const std::string row = object + "[" + std::to_string(cell.row) + "]";
    return name == object || name == row || name == object + "." + cell.variable->name ||
           name == lcmpModelName(cell);
}

}  // namespace

PlayedCard::PlayedCard(const LcmpModel& model)
    : m_model(model), m_socket(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (m_socket < 0 || pipe(m_stop) != 0 ||
        bind(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        throw std::runtime_error("no socket for the card");
    for (const LcmpModelObject& object : m_model.objects)
        forEach(object.name, [this](const LcmpModelCell& cell) {
            m_values[lcmpModelOid(cell)] = {cell.variable->type, valueOfNothing(cell.variable->type)};
        });
}

PlayedCard::~PlayedCard() {
    close(m_stop[1]);
    if (m_thread.joinable())
        m_thread.join();
    close(m_stop[0]);
    close(m_socket);
}

template <typename Action>
void PlayedCard::forEach(const std::string& name, Action action) const {
    bool found = false;
    for (const LcmpModelObject& object : m_model.objects) {
        for (const LcmpModelVariable& variable : object.variables) {
            for (unsigned int row = 0; row < object.rows; ++row) {
                const LcmpModelCell cell{&object, &variable, row};
                if (!isNamed(cell, name))
                    continue;
                action(cell);
                found = true;
            }
        }
    }
    EXPECT_TRUE(found) << name;
}

void PlayedCard::holds(const std::string& name, const std::string& value) {
    forEach(name, [&](const LcmpModelCell& cell) { m_values[lcmpModelOid(cell)].bytes = value; });
}

void PlayedCard::holds(const std::string& name, unsigned int type, const std::string& value) {
    forEach(name, [&](const LcmpModelCell& cell) { m_values[lcmpModelOid(cell)] = {type, value}; });
}

void PlayedCard::misses(const std::string& name) {
    forEach(name, [this](const LcmpModelCell& cell) { m_values.erase(lcmpModelOid(cell)); });
}

void PlayedCard::endsTable(const std::string& name, unsigned int rows) {
    forEach(name, [&](const LcmpModelCell& cell) {
        if (cell.row >= rows)
            m_values.erase(lcmpModelOid(cell));
    });
}

void PlayedCard::cannotRead(const std::string& name) {
    forEach(name, [this](const LcmpModelCell& cell) { m_unreadable.insert(lcmpModelOid(cell)); });
}

void PlayedCard::endsAfter(unsigned int answers, End end) {
    m_answers = answers;
    m_end = end;
}

std::string PlayedCard::serve() {
    m_thread = std::thread([this] { run(); });
    sockaddr_in address{};
    socklen_t size = sizeof address;
    getsockname(m_socket, reinterpret_cast<sockaddr*>(&address), &size);
    return "127.0.0.1:" + std::to_string(ntohs(address.sin_port));
}

unsigned int PlayedCard::requests() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_requests;
}

void PlayedCard::waitForRequests(unsigned int count) {
    std::unique_lock<std::mutex> lock(m_mutex);
    EXPECT_TRUE(m_changed.wait_for(lock, std::chrono::milliseconds(longestWait),
                                   [&] { return m_requests >= count; }));
}

void PlayedCard::run() {
    std::array<pollfd, 2> waits = {{{m_socket, POLLIN, 0}, {m_stop[0], POLLIN, 0}}};
    while (poll(waits.data(), waits.size(), -1) >= 0 && waits[1].revents == 0) {
        std::array<char, 65535> buffer{};
        sockaddr_in from{};
        socklen_t fromSize = sizeof from;
        auto* asker = reinterpret_cast<sockaddr*>(&from);
        const ssize_t size = recvfrom(m_socket, buffer.data(), buffer.size(), 0, asker, &fromSize);
        if (size < static_cast<ssize_t>(requestHeader))
            continue;
        const std::string answer = answerTo({buffer.data(), static_cast<std::size_t>(size)});
        const std::lock_guard<std::mutex> lock(m_mutex);
        const bool ended = m_end != End::never && m_requests >= m_answers;
        ++m_requests;
        m_changed.notify_all();
        const std::string sent = ended ? answer.substr(0, requestHeader) : answer;
        if (!ended || m_end == End::garbage)
            sendto(m_socket, sent.data(), sent.size(), 0, asker, fromSize);
    }
}

std::string PlayedCard::answerTo(const std::string& frame) const {
    const auto id = static_cast<unsigned int>(number(frame, 6, 2));
    const std::vector<unsigned int> oids = oidsIn(frame);
    Elements elements;
    bool readable = true;
    for (unsigned int position = 0; position < oids.size(); ++position) {
        const auto value = m_values.find(oids[position]);
        if (value == m_values.end())
            return readResponse(id, 5, position);
        readable = readable && m_unreadable.count(oids[position]) == 0;
        elements.push_back(Element::holding(oids[position], value->second.type, value->second.bytes));
    }
    if (!readable)
        return readResponse(id, 12, 0);
    const std::string answer = readResponse(id, 0, 0, elements);
    return answer.size() > longestAnswer ? readResponse(id, 11, 0) : answer;
}
