#include "simulatedCard.h"

#include <algorithm>
#include <iterator>

namespace tool {
namespace {

constexpr int progressPerPeriod = 10;  // percent of a download
constexpr int coldest = -40;           // degrees Celsius that a sensor can tell
constexpr int hottest = 85;
constexpr int wander = 6;  // degrees that a temperature goes away from its usual value

struct Sensor {
    const char* name;
    int usual;  // degrees Celsius
};

struct Supply {
    const char* name;
    int nominal;  // millivolts
};

constexpr Sensor sensors[] = {{"Inlet", 24}, {"Outlet", 38}, {"Processor", 55}, {"Power supply", 45}};

constexpr Supply supplies[] = {
    {"Main 12 V", 12000}, {"I/O 3.3 V", 3300}, {"Memory 1.8 V", 1800}, {"Core 1 V", 1000}};

constexpr const char* hardwareErrors[] = {
    "Memory",          "Flash",         "Programmable logic", "Inventory store",
    "Clock generator", "Backplane bus", "Temperature sensor", "Voltage monitor"};

constexpr const char* operationalAlarms[] = {
    "Fan speed low",        "Inlet temperature high", "Link down",
    "Loss of signal",       "Loss of frame",          "Signal degraded",
    "Clock reference lost", "File server unreachable"};

// What the card changes by itself.
const std::set<std::string> eventable = {"identity.tempSensors", "identity.voltageMonitors",
                                         "identity.hwErrors",    "identity.operAlarms",
                                         "alarms.operAlarm",     "control.reboot",
                                         "control.utcTime",      "download.start",
                                         "download.stop",        "download.state",
                                         "download.progress",    "temperature.value",
                                         "temperature.valid",    "voltage.value",
                                         "voltage.valid",        "operationalAlarm.active"};

template <typename T>
T valueOf(LcmpProperty& property) {
    T value{};
    property.get(&value);
    return value;
}

template <typename Row, std::size_t count>
unsigned char countOf(const Row (&/*rows*/)[count]) {
    static_assert(count < 256, "the card counts its parts in one byte");
    return static_cast<unsigned char>(count);
}

}  // namespace

SimulatedCard::SimulatedCard(unsigned int seed)
    : m_random(seed), m_card(eventable, [this](const LcmpProperty& property) { written(property); }) {
    powerOn();
}

void SimulatedCard::live(std::chrono::milliseconds passed) {
    countParts();
    moveTemperatures();
    moveVoltages();
    raiseOrClearAlarm();
    continueDownload();
    tick(passed);
}

void SimulatedCard::powerOn() {
    m_card.setToDefault();
    nameRows();
    m_periodsToAlarm = random(3, 6);
    m_untold = std::chrono::milliseconds(0);
}

void SimulatedCard::written(const LcmpProperty& property) {
    const std::string& name = property.getName();
    if (name == "control.reboot" && valueOf<bool>(at(name)))
        powerOn();
    // A request that comes twice, because its answer was lost, does not start the download anew.
    if (name == "download.start" && valueOf<bool>(at(name)) && downloadState() != DownloadState::downloading)
        setDownload(DownloadState::downloading, 0);
    if (name == "download.stop" && valueOf<bool>(at(name))) {
        at(name).set(false);
        if (downloadState() == DownloadState::downloading)
            endDownload(DownloadState::stopped, downloadProgress());
    }
}

void SimulatedCard::nameRows() {
    for (std::size_t row = 0; row < std::size(sensors); ++row) {
        at("temperature", row, "name").set(sensors[row].name);
        at("temperature", row, "min").set(coldest);
        at("temperature", row, "max").set(hottest);
    }
    for (std::size_t row = 0; row < std::size(supplies); ++row) {
        at("voltage", row, "name").set(supplies[row].name);
        at("voltage", row, "nominal").set(supplies[row].nominal);
    }
    for (std::size_t row = 0; row < std::size(hardwareErrors); ++row) {
        at("hardwareError", row, "id").set(static_cast<unsigned int>(row + 1));
        at("hardwareError", row, "name").set(hardwareErrors[row]);
    }
    for (std::size_t row = 0; row < std::size(operationalAlarms); ++row) {
        at("operationalAlarm", row, "id").set(static_cast<unsigned int>(row + 1));
        at("operationalAlarm", row, "name").set(operationalAlarms[row]);
    }
}

void SimulatedCard::countParts() {
    at("identity.tempSensors").set(countOf(sensors));
    at("identity.voltageMonitors").set(countOf(supplies));
    at("identity.hwErrors").set(countOf(hardwareErrors));
    at("identity.operAlarms").set(countOf(operationalAlarms));
}

void SimulatedCard::moveTemperatures() {
    for (std::size_t row = 0; row < std::size(sensors); ++row) {
        LcmpProperty& value = at("temperature", row, "value");
        LcmpProperty& valid = at("temperature", row, "valid");
        const int usual = sensors[row].usual;
        const int before = valueOf<bool>(valid) ? valueOf<int>(value) : usual;
        value.set(std::clamp(before + random(-1, 1), usual - wander, usual + wander));
        valid.set(true);
    }
}

void SimulatedCard::moveVoltages() {
    for (std::size_t row = 0; row < std::size(supplies); ++row) {
        const int onePercent = supplies[row].nominal / 100;
        at("voltage", row, "value").set(supplies[row].nominal + random(-onePercent, onePercent));
        at("voltage", row, "valid").set(true);
    }
}

void SimulatedCard::raiseOrClearAlarm() {
    if (--m_periodsToAlarm > 0)
        return;
    const bool raise = !valueOf<bool>(at("alarms.operAlarm"));
    if (raise)
        m_alarmRow = random(0, static_cast<int>(std::size(operationalAlarms)) - 1);
    at("operationalAlarm", static_cast<std::size_t>(m_alarmRow), "active").set(raise);
    at("alarms.operAlarm").set(raise);
    m_periodsToAlarm = raise ? random(3, 8) : random(5, 14);
}

void SimulatedCard::continueDownload() {
    if (downloadState() != DownloadState::downloading)
        return;
    const int progress = downloadProgress() + progressPerPeriod;
    if (progress < 100)
        setDownload(DownloadState::downloading, progress);
    else
        endDownload(DownloadState::done, 100);
}

void SimulatedCard::endDownload(DownloadState state, int progress) {
    setDownload(state, progress);
    at("download.start").set(false);
}

void SimulatedCard::tick(std::chrono::milliseconds passed) {
    m_untold += passed;
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(m_untold);
    m_untold -= seconds;
    LcmpProperty& time = at("control.utcTime");
    time.set(valueOf<unsigned long long>(time) + static_cast<unsigned long long>(seconds.count()));
}

LcmpProperty& SimulatedCard::at(const char* table, std::size_t row, const char* variable) const {
    return at(std::string(table) + "[" + std::to_string(row) + "]." + variable);
}

DownloadState SimulatedCard::downloadState() const {
    return static_cast<DownloadState>(valueOf<unsigned char>(at("download.state")));
}

int SimulatedCard::downloadProgress() const { return valueOf<unsigned char>(at("download.progress")); }

void SimulatedCard::setDownload(DownloadState state, int progress) {
    at("download.state").set(static_cast<unsigned char>(state));
    at("download.progress").set(static_cast<unsigned char>(progress));
}

// Not a distribution of the standard library, whose numbers differ from one library to the next.
int SimulatedCard::random(int low, int high) {
    const auto width = static_cast<unsigned int>(high - low + 1);
    return low + static_cast<int>(m_random() % width);
}

}  // namespace tool
