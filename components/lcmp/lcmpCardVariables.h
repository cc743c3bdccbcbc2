// The catalogue of the standard card: eleven groups of variables that every managed card exposes, with their
// types, access, defaults and rules. Built when the library is loaded and read-only from then on: any
// thread may read it. The library itself never does; it is what cards, controllers and tools agree on.
#pragma once

#include <boost/any.hpp>
#include <cstddef>
#include <cstdint>

#include "lcmpExport.h"
#include "lcmpObjects.h"

/// One variable of the standard card.
struct CardVariableDef {
    int id;            ///< Id inside its group, from 0 in steps of 1.
    const char* name;  ///< Display name, with its trailing blanks.
    int type;          ///< LcmpTlvType.
    int access;        ///< IfcCardVarAccessType.
    boost::any
        defaultValue;  ///< Of the C++ type that belongs to `type`, with one exception ("Dld Clear Errors").
    bool (*lengthInvalid)(unsigned int length);  ///< True: not acceptable, in bytes. May be null.
    bool (*valueInvalid)(boost::any value);      ///< True: not acceptable. May be null.
    bool marked;                                 ///< Set for one variable; its meaning is not settled.
    std::int32_t reserved;                       ///< 0.
};

/// A read-only view of consecutive variables; they live as long as the library is loaded.
struct CardVariableView {
    const CardVariableDef* first;  ///< The variables, one behind the other.
    std::size_t count;             ///< How many.

    // As of a container.
    const CardVariableDef* begin() const { return first; }
    const CardVariableDef* end() const { return first + count; }
    std::size_t size() const { return count; }
    const CardVariableDef& operator[](std::size_t index) const { return first[index]; }
};

/// One of the eleven groups, and the object of the standard card that it describes.
struct CardVariableGroup {
    unsigned int number;              ///< 1 to 11; also the group id or table id of the object.
    ifcCard::IfcCardObjectType kind;  ///< Groups 5, 6, 9 and 10 are tables: one entry, many rows.
    bool common;                      ///< Whether the object's OIDs carry the common flag.
    CardVariableView variables;       ///< In order of their ids.
};

/// A read-only view of the groups, in order of their numbers.
struct CardVariableGroupView {
    const CardVariableGroup* first;  ///< The groups, one behind the other.
    std::size_t count;               ///< How many.

    // As of a container.
    const CardVariableGroup* begin() const { return first; }
    const CardVariableGroup* end() const { return first + count; }
    std::size_t size() const { return count; }
    const CardVariableGroup& operator[](std::size_t index) const { return first[index]; }
};

// The groups, one view each.
LCMP_API CardVariableView lcmpIdentityVariables();          // 1: card identity and inventory
LCMP_API CardVariableView lcmpAlarmVariables();             // 2: card alarms
LCMP_API CardVariableView lcmpControlVariables();           // 3: card control
LCMP_API CardVariableView lcmpDownloadVariables();          // 4: software download
LCMP_API CardVariableView lcmpTemperatureVariables();       // 5: temperature sensor
LCMP_API CardVariableView lcmpVoltageVariables();           // 6: voltage reading
LCMP_API CardVariableView lcmpFileServerVariables();        // 7: file server for downloads
LCMP_API CardVariableView lcmpLogRetrievalVariables();      // 8: log retrieval
LCMP_API CardVariableView lcmpHardwareErrorVariables();     // 9: hardware error entry
LCMP_API CardVariableView lcmpOperationalAlarmVariables();  // 10: operational alarm entry
LCMP_API CardVariableView lcmpVoltageMonitorVariables();    // 11: voltage monitor

/// All eleven groups.
LCMP_API CardVariableGroupView lcmpCardVariableGroups();

/// The display name of the standard card's variable with this OID (of any row), or null.
LCMP_API const char* lcmpCardVariableName(unsigned int oid);
