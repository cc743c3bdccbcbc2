#include "virtualRun.h"

#include <sys/mman.h>

#include <new>
#include <stdexcept>

namespace {

using namespace std::chrono_literals;

constexpr unsigned int controllers = 5;                    // as many as a process follows the message ids of
constexpr std::uint32_t firstControllerHost = 0x0A000001;  // 10.0.0.1
constexpr std::uint32_t firstCardHost = 0x0A000101;        // 10.0.1.1

constexpr LcmpUdpEndpoint::Milliseconds firstTry = 10ms;
constexpr int tries = 4;

// Four tries take 10, 20, 40 and 80 ms, the first three up to a quarter more.
constexpr FaultTimes times = {2ms, 60ms, 170ms};

void openAt(LcmpUdpEndpoint& endpoint, std::uint32_t host, std::uint16_t port) {
    if (!endpoint.allow("10.0.0.0/8") || !endpoint.open(lcmpUdpHostToText(host), port))
        throw std::runtime_error(endpoint.getLastError());
}

}  // namespace

struct VirtualRun::Card : LcmpUdpEndpoint {
    std::vector<std::unique_ptr<SoakTable>> tables;
};

// Memory at the same address in each run: an endpoint's chance depends on where it is, and what a seed has
// played it shall play again. Where that address is not to be had, any will do, and the retries fall
// otherwise.
class VirtualRun::Place {
public:
    Place() : m_begin(map()) {}
    ~Place() { munmap(m_begin, size); }
    Place(const Place&) = delete;
    Place& operator=(const Place&) = delete;

    void* at(unsigned int number) { return m_begin + number * sizeRounded(); }

private:
    static constexpr std::size_t size = 1 << 16;
    static constexpr std::size_t alignment = 64;

    static constexpr std::size_t sizeRounded() {
        static_assert(alignment >= alignof(Requester));
        constexpr std::size_t rounded = (sizeof(Requester) + alignment - 1) / alignment * alignment;
        static_assert((controllers + 1) * rounded <= size);
        return rounded;
    }

    static char* map() {
        void* const wish = reinterpret_cast<void*>(0x60000000);
        void* const memory = mmap(wish, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED)
            throw std::bad_alloc();
        return static_cast<char*>(memory);
    }

    char* m_begin;
};

VirtualRun::VirtualRun(const VirtualRunSettings& settings)
    : m_settings(settings),
      m_network(Faults(settings.seed, settings.rates, times)),
      m_place(std::make_unique<Place>()) {
    for (std::uint32_t card = 0; card < 2; ++card)
        addCard(firstCardHost + card);
    for (unsigned int number = 1; number <= controllers; ++number)
        addController(number);
}

VirtualRun::~VirtualRun() {
    for (Requester* controller : m_controllers)
        controller->~Requester();
}

void VirtualRun::addCard(std::uint32_t host) {
    auto card = std::make_unique<Card>();
    for (unsigned int number = 1; number <= controllers; ++number) {
        card->tables.push_back(std::make_unique<SoakTable>(number, m_settings.rows));
        card->registerObject(card->tables.back().get());
    }
    openAt(*card, host, LcmpUdpEndpoint::defaultPort);
    m_network.serve(*card);
    m_cards.push_back(std::move(card));
}

void VirtualRun::addController(unsigned int number) {
    // Behind the time-out of a write its last try may be on its way for a lifetime.
    const Network::Duration spacing = m_settings.spaced ? times.deadline + times.lifetime() : 0ms;
    auto* const controller =
        new (m_place->at(number)) Requester(number, m_settings.rows, m_settings.seed, spacing);
    m_controllers.push_back(controller);
    openAt(*controller, firstControllerHost + number - 1, 0);
    const LcmpUdpAddress card = m_cards[number % m_cards.size()]->getLocalAddress();
    controller->setTarget(lcmpUdpHostToText(card.host), card.port);
    controller->setTimeout(firstTry);
    controller->setTries(tries);
    controller->onAsking = [this, controller](std::uint64_t request) {
        m_network.asks(*controller, request);
    };
    controller->isOwnAnswer = [this, controller](std::uint64_t request) {
        return m_network.answered(*controller) == request;
    };
}

void VirtualRun::ask(std::uint64_t requests) {
    for (; requests > 0; --requests) {
        m_controllers[m_turn]->request();
        m_turn = (m_turn + 1) % m_controllers.size();
    }
}

void VirtualRun::verify() {
    settle();
    m_network.cease();
    for (Requester* controller : m_controllers)
        controller->verify();
}

Tally VirtualRun::tally() const {
    Tally sum;
    for (const Requester* controller : m_controllers)
        sum += controller->tally();
    return sum;
}
