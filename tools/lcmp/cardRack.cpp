#include "cardRack.h"

#include <sys/epoll.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <iostream>
#include <utility>

#include "exitStatus.h"
#include "lcmpUdpEndpoint.h"
#include "peerNotices.h"
#include "simulatedCard.h"

namespace tool {
namespace {

using Clock = LcmpUdpEndpoint::Clock;

constexpr unsigned int lastPort = 65535;

// Does to every message what the settings ask for.
class CardEndpoint : public LcmpUdpEndpoint {
public:
    CardEndpoint(const RackSettings& settings, LimitedNotice& notices, unsigned int seed)
        : m_settings(settings),
          m_notices(notices),
          m_wire(settings.faults, seed, [this](const LcmpUdpAddress& to, const std::string& frame) {
              sendBytes(to, frame.data(), frame.size());
          }) {}

    /// Serves the objects of this card instead of those of another one.
    void serve(const SimulatedCard& card) {
        lcmpObjects.clear();
        card.registerWith(*this);
    }

    bool sendMessage(LCMPMessage* msg) override {
        auto* response = dynamic_cast<LCMPResponse*>(msg);
        if (m_settings.mute)
            return true;
        if (response != nullptr && m_settings.answer) {
            response->clearProperties();
            response->setResult(*m_settings.answer);
        }
        if (!m_settings.faults.any())
            return LcmpUdpEndpoint::sendMessage(msg);
        return response != nullptr ? sendFaulty(*msg, {m_peer}) : sendFaulty(*msg, m_settings.receivers);
    }

    void frameReceived(const LcmpUdpAddress& from, const char* data, int size) override {
        m_peer = from;
        m_notices.frameReceived(data, size);
    }

    /// Handles what is there; false when the socket failed.
    bool takeTurn() {
        const bool works = onReadable() >= 0;
        m_notices.turnOver(getCounters());
        return works;
    }

    std::chrono::milliseconds sendDelayed() {
        m_wire.flush(Clock::now());
        return m_wire.left(Clock::now());
    }

private:
    bool sendFaulty(const LCMPMessage& msg, const std::vector<LcmpUdpAddress>& receivers) {
        std::string frame(static_cast<std::size_t>(msg.getHeaderSize() + msg.sizeOfTlvs()), '\0');
        if (msg.serialize(frame.data(), static_cast<int>(frame.size())) == 0)
            return false;
        for (const LcmpUdpAddress& receiver : receivers)
            m_wire.send(receiver, frame, Clock::now());
        return true;
    }

    const RackSettings& m_settings;
    PeerNotices m_notices;
    FaultyWire m_wire;
    LcmpUdpAddress m_peer;  // whose frame is being handled
};

// Each card takes a descriptor, and the usual limit is made for programs that need few.
void allowDescriptors(unsigned int cards) {
    constexpr rlim_t others = 64;
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur >= cards + others)
        return;
    limit.rlim_cur = std::min<rlim_t>(cards + others, limit.rlim_max);
    setrlimit(RLIMIT_NOFILE, &limit);
}

[[noreturn]] void failed(const std::string& text) { throw Failure(ExitStatus::localFailure, text); }

}  // namespace

class CardRack::Card {
public:
    Card(const RackSettings& settings, LimitedNotice& notices, unsigned int number, LcmpModel model)
        : m_seed(settings.seed + number),
          m_card(std::make_unique<SimulatedCard>(m_seed, std::move(model))),
          m_endpoint(settings, notices, m_seed) {
        m_endpoint.serve(*m_card);
        for (const LcmpUdpAddress& receiver : settings.receivers)
            m_endpoint.addEventReceiver(lcmpUdpHostToText(receiver.host), receiver.port);
        for (const std::string& block : settings.allowed) {
            if (!m_endpoint.allow(block))
                throw Failure(ExitStatus::usage,
                              "--allow: '" + block + "' is no block of addresses; write 192.0.2.0/24");
        }
        const unsigned int port = settings.address.port == 0 ? 0 : settings.address.port + number;
        if (!m_endpoint.open(lcmpUdpHostToText(settings.address.host), static_cast<std::uint16_t>(port)))
            failed(m_endpoint.getLastError());
        // The first pass of a process reports nothing; from here on the first change is reported.
        m_endpoint.eventHandler();
    }

    void replace(LcmpModel model) {
        auto card = std::make_unique<SimulatedCard>(m_seed, std::move(model));
        m_endpoint.serve(*card);
        m_card = std::move(card);
    }

    void live(std::chrono::milliseconds passed) {
        m_card->live(passed);
        m_endpoint.eventHandler();
    }

    CardEndpoint& endpoint() { return m_endpoint; }

private:
    unsigned int m_seed;
    std::unique_ptr<SimulatedCard> m_card;
    CardEndpoint m_endpoint;
};

CardRack::CardRack(RackSettings settings, const LcmpModel& model)
    : m_settings(std::move(settings)), m_notices(std::cerr), m_epoll(epoll_create1(EPOLL_CLOEXEC)) {
    if (m_epoll < 0)
        failed(std::string("epoll_create1: ") + std::strerror(errno));
    if (m_settings.address.port != 0 && m_settings.address.port + m_settings.cards - 1 > lastPort)
        throw Failure(ExitStatus::usage, "--cards: the last of " + std::to_string(m_settings.cards) +
                                             " cards would have a port beyond " + std::to_string(lastPort));
    allowDescriptors(m_settings.cards);
    for (unsigned int number = 0; number < m_settings.cards; ++number) {
        m_cards.push_back(std::make_unique<Card>(m_settings, m_notices, number, modelOf(model, number)));
        watch(number);
    }
}

CardRack::~CardRack() { ::close(m_epoll); }

// A card that is alone is what its model says.
LcmpModel CardRack::modelOf(const LcmpModel& model, unsigned int number) const {
    return m_settings.cards == 1 ? model : modelOfCard(model, number);
}

void CardRack::watch(unsigned int number) {
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.u32 = number;
    if (epoll_ctl(m_epoll, EPOLL_CTL_ADD, m_cards[number]->endpoint().getFileDescriptor(), &event) != 0)
        failed(std::string("epoll_ctl: ") + std::strerror(errno));
}

std::vector<LcmpUdpAddress> CardRack::addresses() const {
    std::vector<LcmpUdpAddress> all;
    for (const auto& card : m_cards)
        all.push_back(card->endpoint().getLocalAddress());
    return all;
}

void CardRack::replace(const LcmpModel& model) {
    for (unsigned int number = 0; number < m_settings.cards; ++number)
        m_cards[number]->replace(modelOf(model, number));
}

void CardRack::answer() {
    constexpr int most = 64;
    std::array<epoll_event, most> events{};
    const int count = epoll_wait(m_epoll, events.data(), most, 0);
    for (int i = 0; i < count; ++i) {
        CardEndpoint& endpoint = m_cards[events.at(static_cast<std::size_t>(i)).data.u32]->endpoint();
        if (!endpoint.takeTurn())
            failed(endpoint.getLastError());
    }
}

void CardRack::live(std::chrono::milliseconds passed) {
    for (const auto& card : m_cards)
        card->live(passed);
}

std::chrono::milliseconds CardRack::sendDelayed() {
    std::chrono::milliseconds least(-1);
    if (!m_settings.faults.any())
        return least;
    for (const auto& card : m_cards) {
        const std::chrono::milliseconds left = card->endpoint().sendDelayed();
        if (left.count() >= 0)
            least = least.count() < 0 ? left : std::min(least, left);
    }
    return least;
}

}  // namespace tool
