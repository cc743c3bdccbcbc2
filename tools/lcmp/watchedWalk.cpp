#include "watchedWalk.h"

#include <unistd.h>

#include <iostream>

#include "interruption.h"
#include "progress.h"

namespace tool {
namespace {

std::uint64_t cellsOf(const std::vector<WalkPart>& parts) {
    std::uint64_t cells = 0;
    for (const WalkPart& part : parts)
        cells += part.cells();
    return cells;
}

// Standard output may be the terminal on which the bar stands.
class Person : public WalkWatcher {
public:
    Person(const Interruption& interruption, std::uint64_t cells)
        : m_interruption(interruption), m_progress(std::cerr, isatty(STDERR_FILENO) == 1, cells) {}

    void failed(const std::string& problem) override {
        m_progress.clear();
        std::cerr << "lcmp: " << problem << '\n';
    }

    void printing() override {
        if (m_sharesTerminal)
            m_progress.clear();
    }

    void waiting(std::uint64_t cells) override { m_progress.show(cells); }
    bool stopped() override { return m_interruption.came(); }

private:
    const Interruption& m_interruption;
    Progress m_progress;
    const bool m_sharesTerminal = isatty(STDOUT_FILENO) == 1;
};

}  // namespace

WalkEnd watchWalk(const LcmpUdpAddress& card, const ClientSettings& settings, const LcmpModel& model,
                  const std::vector<WalkPart>& parts, WalkSink& sink) {
    Exchange exchange(card, settings, model);
    const Interruption interruption(exchange.fileDescriptor());
    WalkEnd end;
    {
        Person person(interruption, cellsOf(parts));
        CardWalk walk(exchange, parts, sink, person);
        end.status = walk.run();
        end.brokenBy = walk.brokenBy();
    }
    if (interruption.came()) {
        std::cout.flush();
        interruption.endProcess();
    }
    return end;
}

}  // namespace tool
