#include "lcmpCardVariables.h"

#include <algorithm>
#include <string>

#include "detail/oidLayout.h"
#include "lcmpPropertyBase.h"
#include "lcmpTlv.h"

using namespace lcmpdetail;

namespace {

constexpr int writable = IFC_CARD_VAR_WRITABLE;
constexpr int readOnly = IFC_CARD_VAR_READ_ONLY;

std::string text(const char* value) { return value; }
unsigned char byte(unsigned int value) { return static_cast<unsigned char>(value); }

// ---------------------------------------------------------------- length rules: true is invalid

bool notEight(unsigned int length) { return length != 8; }
bool notFour(unsigned int length) { return length != 4; }
bool notOneBoolean(unsigned int length) { return length != 1; }
bool notOneByte(unsigned int length) { return length != 1; }
bool cardTypeAbove31(unsigned int length) { return length > 31; }
bool textAbove31(unsigned int length) { return length > 31; }
bool above127(unsigned int length) { return length > 127; }
bool neverInvalid(unsigned int /*length*/) { return false; }
bool not36(unsigned int length) { return length != 36; }

// ---------------------------------------------------------------- value rules: true is invalid

// References 0 to 3, or 128 for none.
bool clockReferenceInvalid(boost::any value) {
    unsigned int reference = 0;
    if (const auto* wide = boost::any_cast<unsigned int>(&value))
        reference = *wide;
    else if (const auto* word = boost::any_cast<unsigned short>(&value))
        reference = *word;
    else if (const auto* octet = boost::any_cast<unsigned char>(&value))
        reference = *octet;
    else
        return true;
    return reference > 3 && reference != 128;
}

// ASCII, whatever the locale.
bool isGuidCharacter(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-';
}

// Where the dashes stand is not looked at.
bool guidInvalid(boost::any value) {
    const auto* guid = boost::any_cast<std::string>(&value);
    return guid == nullptr || guid->size() != 36 || !std::all_of(guid->begin(), guid->end(), isGuidCharacter);
}

// ---------------------------------------------------------------- the variables

// One object, so that the groups lie one after another in memory.
struct Catalogue {
    CardVariableDef identity[12];
    CardVariableDef alarms[6];
    CardVariableDef control[4];
    CardVariableDef download[11];
    CardVariableDef temperature[5];
    CardVariableDef voltage[4];
    CardVariableDef fileServer[4];
    CardVariableDef logRetrieval[3];
    CardVariableDef hardwareError[3];
    CardVariableDef operationalAlarm[3];
    CardVariableDef voltageMonitor[4];
};

// Names are blank-padded to a width of their group, but for a few. They are known by these very texts.
// clang-format off
const Catalogue catalogue = {
    // identity
    {
        {0, "Card Type       ", STRING, readOnly, text("xxx"), cardTypeAbove31, nullptr, false, 0},
        {1, "Hardware Version", UINT8, readOnly, byte(0), notOneByte, nullptr, false, 0},
        {2, "Loadware        ", UINT32, readOnly, 0U, notFour, nullptr, false, 0},
        {3, "Backup loadware ", UINT32, readOnly, 0U, notFour, nullptr, false, 0},
        {4, "Ifc Slot        ", UINT8, readOnly, byte(0), notOneByte, nullptr, false, 0},
        {5, "Temp Sensors    ", UINT8, readOnly, byte(0), notOneByte, nullptr, false, 0},
        {6, "Voltage monitors", UINT8, readOnly, byte(0), notOneByte, nullptr, false, 0},
        {7, "Boot version    ", UINT32, readOnly, 0U, notFour, nullptr, false, 0},
        {8, "HW errors       ", UINT8, readOnly, byte(0), notOneByte, nullptr, false, 0},
        {9, "Oper. alarms    ", UINT8, readOnly, byte(0), notOneByte, nullptr, false, 0},
        {10, "SW Interface    ", UINT32, readOnly, 0U, notFour, nullptr, false, 0},
        {11, "Card Capability ", UINT32, readOnly, 0U, notFour, nullptr, false, 0},
    },
    // alarms
    {
        {0, "Power                     ", UINT32, readOnly, 0U, notFour, nullptr, false, 0},
        {1, "HW Error                  ", BOOLEAN, readOnly, false, notOneBoolean, nullptr, false, 0},
        {2, "Oper. Alarm               ", BOOLEAN, readOnly, false, notOneBoolean, nullptr, false, 0},
        {3, "DPLL Active CTRL CLK Alarm", BOOLEAN, readOnly, false, notOneBoolean, nullptr, true, 0},
        {4, "DPLL Recovered CLK Alarm  ", BOOLEAN, readOnly, false, notOneBoolean, nullptr, false, 0},
        {5, "Port recovering CLK Alarm", BOOLEAN, readOnly, false, notOneBoolean, nullptr, false, 0},
    },
    // control
    {
        {0, "Reboot", BOOLEAN, writable, false, notOneBoolean, nullptr, false, 0},
        {1, "UtcTime", UINT64, writable, 0ULL, notEight, nullptr, false, 0},
        {2, "BpClkRef", UINT8, writable, byte(128), notOneByte, clockReferenceInvalid, false, 0},
        {3, "GUID", STRING, writable, text(""), not36, guidInvalid, false, 0},
    },
    // download
    {
        {0, "Dld Filename      ", STRING, writable, text("xxx"), above127, nullptr, false, 0},
        {1, "Dld Start Download", BOOLEAN, writable, false, notOneBoolean, nullptr, false, 0},
        {2, "Dld Stop Download ", BOOLEAN, writable, false, notOneBoolean, nullptr, false, 0},
        {3, "Dld commit load   ", BOOLEAN, writable, false, notOneBoolean, nullptr, false, 0},
        {4, "Dld accept load   ", BOOLEAN, writable, false, notOneBoolean, nullptr, false, 0},
        {5, "Dld state         ", UINT8, readOnly, byte(0), notOneByte, nullptr, false, 0},
        {6, "Dld progress      ", UINT8, readOnly, byte(0), notOneByte, nullptr, false, 0},
        {7, "Dld name          ", STRING, readOnly, text("brd"), neverInvalid, nullptr, false, 0},
        {8, "Dld BSP name      ", STRING, readOnly, text("BSP"), neverInvalid, nullptr, false, 0},
        {9, "Dld Clear Errors  ", BOOLEAN, writable, text("BSP"), notOneBoolean, nullptr, false, 0},
        {10, "Dld Set Commit timer  ", INT32, writable, 0, notFour, nullptr, false, 0},
    },
    // temperature
    {
        {0, "Temp Name       ", STRING, readOnly, text(""), textAbove31, nullptr, false, 0},
        {1, "Temp Value      ", INT32, readOnly, 0, notFour, nullptr, false, 0},
        {2, "Temp Valid      ", BOOLEAN, readOnly, false, notOneBoolean, nullptr, false, 0},
        {3, "Min Sensor Value", INT32, readOnly, 0, notFour, nullptr, false, 0},
        {4, "Max Sensor Value", INT32, readOnly, 0, notFour, nullptr, false, 0},
    },
    // voltage
    {
        {0, "Voltage Name    ", STRING, readOnly, text(""), textAbove31, nullptr, false, 0},
        {1, "Voltage Value   ", INT32, readOnly, 0, notFour, nullptr, false, 0},
        {2, "Voltage Nominal ", INT32, readOnly, 0, notFour, nullptr, false, 0},
        {3, "Voltage Valid   ", BOOLEAN, readOnly, false, notOneBoolean, nullptr, false, 0},
    },
    // fileServer
    {
        {0, "FTP Server   ", STRING, writable, text(""), textAbove31, nullptr, false, 0},
        {1, "FTP Port     ", UINT32, writable, 21U, notFour, nullptr, false, 0},
        {2, "FTP User     ", STRING, writable, text(""), textAbove31, nullptr, false, 0},
        {3, "FTP Password ", STRING, writable, text(""), textAbove31, nullptr, false, 0},
    },
    // logRetrieval
    {
        {0, "GETLOG directory ", STRING, writable, text(""), textAbove31, nullptr, false, 0},
        {1, "GETLOG result    ", UINT32, readOnly, 0U, notFour, nullptr, false, 0},
        {2, "GETLOG state     ", UINT32, writable, 0U, notFour, nullptr, false, 0},
    },
    // hardwareError
    {
        {0, "HW error ID      ", UINT32, readOnly, 0U, notFour, nullptr, false, 0},
        {1, "HW error name    ", STRING, readOnly, text(""), textAbove31, nullptr, false, 0},
        {2, "HW error active  ", BOOLEAN, readOnly, false, notOneBoolean, nullptr, false, 0},
    },
    // operationalAlarm
    {
        {0, "Oper. alarm ID    ", UINT32, readOnly, 0U, notFour, nullptr, false, 0},
        {1, "Oper. alarm name  ", STRING, readOnly, text(""), textAbove31, nullptr, false, 0},
        {2, "Oper. alarm active", BOOLEAN, readOnly, false, notOneBoolean, nullptr, false, 0},
    },
    // voltageMonitor
    {
        {0, "VoltageMonitorPresent", BOOLEAN, readOnly, false, nullptr, nullptr, false, 0},
        {1, "VoltageMonitorHwError", BOOLEAN, readOnly, false, nullptr, nullptr, false, 0},
        {2, "VoltageMonitorVersion", STRING, readOnly, text(""), nullptr, nullptr, false, 0},
        {3, "VoltageMonitorUpdateFailed", BOOLEAN, readOnly, false, nullptr, nullptr, false, 0},
    },
};
// clang-format on

template <std::size_t count>
CardVariableView view(const CardVariableDef (&variables)[count]) {
    return {variables, count};
}

constexpr auto scalar = ifcCard::IFC_CARD_OBJECT_SCALAR;
constexpr auto table = ifcCard::IFC_CARD_OBJECT_TABLE;

const CardVariableGroup groups[] = {
    {1, scalar, true, view(catalogue.identity)},         {2, scalar, true, view(catalogue.alarms)},
    {3, scalar, true, view(catalogue.control)},          {4, scalar, false, view(catalogue.download)},
    {5, table, true, view(catalogue.temperature)},       {6, table, true, view(catalogue.voltage)},
    {7, scalar, false, view(catalogue.fileServer)},      {8, scalar, false, view(catalogue.logRetrieval)},
    {9, table, true, view(catalogue.hardwareError)},     {10, table, true, view(catalogue.operationalAlarm)},
    {11, scalar, false, view(catalogue.voltageMonitor)},
};

}  // namespace

CardVariableView lcmpIdentityVariables() { return view(catalogue.identity); }
CardVariableView lcmpAlarmVariables() { return view(catalogue.alarms); }
CardVariableView lcmpControlVariables() { return view(catalogue.control); }
CardVariableView lcmpDownloadVariables() { return view(catalogue.download); }
CardVariableView lcmpTemperatureVariables() { return view(catalogue.temperature); }
CardVariableView lcmpVoltageVariables() { return view(catalogue.voltage); }
CardVariableView lcmpFileServerVariables() { return view(catalogue.fileServer); }
CardVariableView lcmpLogRetrievalVariables() { return view(catalogue.logRetrieval); }
CardVariableView lcmpHardwareErrorVariables() { return view(catalogue.hardwareError); }
CardVariableView lcmpOperationalAlarmVariables() { return view(catalogue.operationalAlarm); }
CardVariableView lcmpVoltageMonitorVariables() { return view(catalogue.voltageMonitor); }

CardVariableGroupView lcmpCardVariableGroups() { return {groups, sizeof groups / sizeof groups[0]}; }

const char* lcmpCardVariableName(unsigned int oid) {
    const unsigned int kind = oidKind(oid);
    if (kind != scalarKind && kind != tableKind)
        return nullptr;
    const bool isTable = kind == tableKind;
    const unsigned int number = isTable ? tableId(oid) : scalarGroup(oid);
    const unsigned int variable = isTable ? tableColumn(oid) : scalarVariable(oid);
    for (const CardVariableGroup& group : groups) {
        const bool sameObject =
            group.number == number && group.common == oidCommon(oid) && (group.kind == table) == isTable;
        if (sameObject && variable < group.variables.size())
            return group.variables[variable].name;
    }
    return nullptr;
}
