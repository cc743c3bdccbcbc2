// A card that lives: it has the objects of a model, its variables move as the model says, and what every
// card can do it does too, as far as its model has the variables for it: alarms come and go, a download runs
// when it is asked for, a reboot puts everything back. It knows no clock: whoever drives it says how much
// time has passed. The same seed lives the same life. Used by one thread.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "lcmpModelObjects.h"
#include "motion.h"

namespace tool {

/// Values of download.state.
enum class DownloadState : unsigned char { idle = 0, downloading = 1, done = 2, stopped = 3 };

/// The model as the card with this number, from 0, has it: with a slot, a GUID and MAC addresses of its own.
LcmpModel modelOfCard(const LcmpModel& model, unsigned int number);

class SimulatedCard {
public:
    /// Every variable has its first value until `live`.
    explicit SimulatedCard(unsigned int seed, LcmpModel model = lcmpModelStandard());

    SimulatedCard(const SimulatedCard&) = delete;
    SimulatedCard& operator=(const SimulatedCard&) = delete;

    /// Lets the endpoint serve the card; the card outlives that.
    void registerWith(LcmpProtocolBase& endpoint) const { m_objects.registerWith(endpoint); }

    /// One period of its life, which took that much time. What changes and reports itself is what the
    /// endpoint's eventHandler finds next.
    void live(std::chrono::milliseconds passed);

private:
    // Null or empty where the model has no such variables.
    struct Download {
        LcmpProperty* start = nullptr;
        LcmpProperty* stop = nullptr;
        LcmpProperty* state = nullptr;
        LcmpProperty* progress = nullptr;
    };
    struct Alarm {
        LcmpProperty* any = nullptr;
        std::vector<LcmpProperty*> rows;
    };

    void findDownload();
    void findAlarm();
    void findMotions(unsigned int seed);
    LcmpProperty* find(const std::string& name, LcmpTlvType type) const;

    void written(const LcmpProperty& property);
    void powerOn();
    void raiseOrClearAlarm();
    void continueDownload();
    void endDownload(DownloadState state, int progress);
    DownloadState downloadState() const;
    int downloadProgress() const;
    void setDownload(DownloadState state, int progress);

    LcmpModel m_model;
    LcmpModelObjects m_objects;
    LcmpProperty* m_reboot;
    Download m_download;
    Alarm m_alarm;
    std::vector<Motion> m_motions;
    Chance m_chance;
    int m_periodsToAlarm = 0;    // until the next alarm is raised, or the one that stands is cleared
    std::size_t m_alarmRow = 0;  // of the alarm that stands, if one does
};

}  // namespace tool
