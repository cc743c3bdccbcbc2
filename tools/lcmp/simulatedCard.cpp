#include "simulatedCard.h"

#include <array>
#include <cstdio>
#include <utility>

namespace tool {
namespace {

constexpr int progressPerPeriod = 10;  // percent of a download
constexpr std::size_t guidBytes = 36;

template <typename T>
T valueOf(LcmpProperty& property) {
    T value{};
    property.get(&value);
    return value;
}

const LcmpModelValue& firstValueOf(const LcmpModelVariable& variable, unsigned int row) {
    const auto value = variable.values.find(row);
    return value == variable.values.end() ? variable.defaultValue : value->second;
}

// The last three bytes of an address are the maker's to give; each card gets 256 addresses.
std::string addressOfCard(std::string address, unsigned int number) {
    unsigned int last = 0;
    for (std::size_t i = 3; i < 6; ++i)
        last = last << 8 | static_cast<unsigned char>(address[i]);
    last += number << 8;
    for (std::size_t i = 6; i-- > 3; last >>= 8)
        address[i] = static_cast<char>(last & 0xFF);
    return address;
}

std::string guidOfCard(unsigned int number) {
    std::array<char, guidBytes + 1> text{};
    std::snprintf(text.data(), text.size(), "00000000-0000-4000-8000-%012x", number + 1);
    return text.data();
}

LcmpModelVariable* find(LcmpModel& model, const char* objectName, const char* name, LcmpTlvType type) {
    for (LcmpModelObject& object : model.objects) {
        for (LcmpModelVariable& variable : object.variables) {
            if (object.name == objectName && variable.name == name && variable.type == type)
                return &variable;
        }
    }
    return nullptr;
}

void giveAddresses(LcmpModel& model, unsigned int number) {
    for (LcmpModelObject& object : model.objects) {
        for (LcmpModelVariable& variable : object.variables) {
            for (unsigned int row = 0; variable.type == MAC_ADDRESS && row < object.rows; ++row)
                variable.values[row] =
                    addressOfCard(std::get<std::string>(firstValueOf(variable, row)), number);
        }
    }
}

}  // namespace

LcmpModel modelOfCard(const LcmpModel& model, unsigned int number) {
    constexpr unsigned int slots = 255;
    LcmpModel own = model;
    if (LcmpModelVariable* slot = find(own, "identity", "ifcSlot", UINT8))
        slot->values[0] = 1ULL + number % slots;
    if (LcmpModelVariable* guid = find(own, "control", "guid", STRING))
        guid->values[0] = guidOfCard(number);
    giveAddresses(own, number);
    return own;
}

SimulatedCard::SimulatedCard(unsigned int seed, LcmpModel model)
    : m_model(std::move(model)),
      m_objects(m_model,
                [this](const LcmpProperty& property) {
                    written(property);
                    return true;
                }),
      m_reboot(find("control.reboot", BOOLEAN)),
      m_chance(seedOf(seed, 0, 0)) {
    findDownload();
    findAlarm();
    findMotions(seed);
    m_periodsToAlarm = m_chance.whole(3, 6);
}

void SimulatedCard::live(std::chrono::milliseconds passed) {
    for (Motion& motion : m_motions)
        motion.move(passed);
    raiseOrClearAlarm();
    continueDownload();
}

// ---------------------------------------------------------------- what there is

LcmpProperty* SimulatedCard::find(const std::string& name, LcmpTlvType type) const {
    LcmpModelCell cell;
    std::string problem;
    if (!lcmpModelFindName(m_model, name, cell, problem) || cell.variable->type != type ||
        cell.variable->simulation)
        return nullptr;
    return m_objects.find(cell);
}

void SimulatedCard::findDownload() {
    const Download download = {find("download.start", BOOLEAN), find("download.stop", BOOLEAN),
                               find("download.state", UINT8), find("download.progress", UINT8)};
    if (download.start != nullptr && download.stop != nullptr && download.state != nullptr &&
        download.progress != nullptr)
        m_download = download;
}

void SimulatedCard::findAlarm() {
    m_alarm.any = find("alarms.operAlarm", BOOLEAN);
    const LcmpModelObject* table = lcmpModelFindObject(m_model, "operationalAlarm");
    if (m_alarm.any == nullptr || table == nullptr || !table->isTable())
        return;
    for (unsigned int row = 0; row < table->rows; ++row) {
        if (LcmpProperty* active = find("operationalAlarm[" + std::to_string(row) + "].active", BOOLEAN))
            m_alarm.rows.push_back(active);
    }
}

void SimulatedCard::findMotions(unsigned int seed) {
    for (const LcmpModelObject& object : m_model.objects) {
        for (const LcmpModelVariable& variable : object.variables) {
            for (unsigned int row = 0; variable.simulation && row < object.rows; ++row)
                m_motions.emplace_back(variable, *m_objects.find({&object, &variable, row}), seed);
        }
    }
}

// ---------------------------------------------------------------- what it does

void SimulatedCard::written(const LcmpProperty& property) {
    if (&property == m_reboot && valueOf<bool>(*m_reboot))
        powerOn();
    // A request that comes twice, because its answer was lost, does not start the download anew.
    if (&property == m_download.start && valueOf<bool>(*m_download.start) &&
        downloadState() != DownloadState::downloading)
        setDownload(DownloadState::downloading, 0);
    if (&property == m_download.stop && valueOf<bool>(*m_download.stop)) {
        m_download.stop->set(false);
        if (downloadState() == DownloadState::downloading)
            endDownload(DownloadState::stopped, downloadProgress());
    }
}

void SimulatedCard::powerOn() {
    m_objects.restart();
    for (Motion& motion : m_motions)
        motion.restart();
    m_periodsToAlarm = m_chance.whole(3, 6);
}

void SimulatedCard::raiseOrClearAlarm() {
    if (m_alarm.rows.empty() || --m_periodsToAlarm > 0)
        return;
    const bool raise = !valueOf<bool>(*m_alarm.any);
    if (raise)
        m_alarmRow = static_cast<std::size_t>(m_chance.whole(0, static_cast<int>(m_alarm.rows.size()) - 1));
    m_alarm.rows[m_alarmRow]->set(raise);
    m_alarm.any->set(raise);
    m_periodsToAlarm = raise ? m_chance.whole(3, 8) : m_chance.whole(5, 14);
}

void SimulatedCard::continueDownload() {
    if (m_download.start == nullptr || downloadState() != DownloadState::downloading)
        return;
    const int progress = downloadProgress() + progressPerPeriod;
    if (progress < 100)
        setDownload(DownloadState::downloading, progress);
    else
        endDownload(DownloadState::done, 100);
}

void SimulatedCard::endDownload(DownloadState state, int progress) {
    setDownload(state, progress);
    m_download.start->set(false);
}

DownloadState SimulatedCard::downloadState() const {
    return static_cast<DownloadState>(valueOf<unsigned char>(*m_download.state));
}

int SimulatedCard::downloadProgress() const { return valueOf<unsigned char>(*m_download.progress); }

// The card's variables change.
void SimulatedCard::setDownload(DownloadState state,  // NOLINT(readability-make-member-function-const)
                                int progress) {
    m_download.state->set(static_cast<unsigned char>(state));
    m_download.progress->set(static_cast<unsigned char>(progress));
}

}  // namespace tool
