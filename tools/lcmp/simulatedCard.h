// A standard card that lives: its sensors move, alarms come and go, a download runs when it is asked for. It
// knows no clock: whoever drives it says how much time has passed. The same seed lives the same life. Used by
// one thread.
#pragma once

#include <chrono>
#include <random>
#include <string>

#include "standardCard.h"

namespace tool {

/// Values of download.state.
enum class DownloadState : unsigned char { idle = 0, downloading = 1, done = 2, stopped = 3 };

class SimulatedCard {
public:
    /// Names, ranges and nominal values of the rows are there; everything else has its default until `live`.
    explicit SimulatedCard(unsigned int seed);

    /// Lets the endpoint serve the card; the card outlives that.
    void registerWith(LcmpProtocolBase& endpoint) const { m_card.registerWith(endpoint); }

    /// One period of its life, which took that much time. What changes and reports itself is what the
    /// endpoint's eventHandler finds next.
    void live(std::chrono::milliseconds passed);

private:
    void written(const LcmpProperty& property);
    void powerOn();
    void nameRows();
    void countParts();
    void moveTemperatures();
    void moveVoltages();
    void raiseOrClearAlarm();
    void continueDownload();
    void endDownload(DownloadState state, int progress);
    void tick(std::chrono::milliseconds passed);

    LcmpProperty& at(const std::string& name) const { return m_card.variable(name); }
    LcmpProperty& at(const char* table, std::size_t row, const char* variable) const;
    DownloadState downloadState() const;
    int downloadProgress() const;
    void setDownload(DownloadState state, int progress);
    int random(int low, int high);

    std::mt19937 m_random;
    StandardCard m_card;
    int m_periodsToAlarm = 0;  // until the next alarm is raised, or the one that stands is cleared
    int m_alarmRow = 0;        // of the alarm that stands, if one does
    std::chrono::milliseconds m_untold{0};  // time that has not yet made a whole second of control.utcTime
};

}  // namespace tool
