// Five controllers and two cards on a network in virtual time.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "network.h"
#include "requester.h"

struct VirtualRunSettings {
    std::uint64_t seed = 1;
    FaultRates rates = {};
    unsigned int rows = 512;  // variables of each controller
    bool spaced = true;       // a variable is written again when no older write of it can be on its way
};

class VirtualRun {
public:
    explicit VirtualRun(const VirtualRunSettings& settings);
    ~VirtualRun();
    VirtualRun(const VirtualRun&) = delete;
    VirtualRun& operator=(const VirtualRun&) = delete;

    /// So many more requests, of the controllers in turn.
    void ask(std::uint64_t requests);

    /// Lets the network deliver what is on its way.
    void settle() { m_network.settle(); }

    /// Ends the faults and looks at what every variable has become.
    void verify();

    Tally tally() const;
    Network& network() { return m_network; }

private:
    struct Card;
    class Place;

    void addCard(std::uint32_t host);
    void addController(unsigned int number);

    VirtualRunSettings m_settings;
    Network m_network;
    std::unique_ptr<Place> m_place;  // where the controllers are
    std::vector<std::unique_ptr<Card>> m_cards;
    std::vector<Requester*> m_controllers;
    std::size_t m_turn = 0;
};
