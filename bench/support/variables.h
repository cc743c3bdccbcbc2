// The variables that are served and asked for, by number: server and client know them from here, so that the
// client can tell a right answer from a wrong one.
#pragma once

#include <cstdint>

namespace bench {

constexpr unsigned int scalarVariables = 100;  // what fixed requests ask for
constexpr unsigned int scalarGroup = 7;

constexpr unsigned int tableColumns = 16;
constexpr unsigned int tableRows = 128;
constexpr unsigned int tableVariables = tableColumns * tableRows;  // what varied requests ask for
constexpr unsigned int tableId = 9;

/// Never negative as a signed 32-bit number, and needs all four bytes.
constexpr std::uint32_t valueOf(unsigned int variable) {
    return 0x40000000U | ((variable * 2654435761U) & 0x3FFFFFFFU);
}

constexpr std::uint32_t scalarOidOf(unsigned int variable) { return (scalarGroup << 23) | variable; }

constexpr unsigned int columnOf(unsigned int variable) { return variable % tableColumns; }
constexpr unsigned int rowOf(unsigned int variable) { return variable / tableColumns; }

constexpr std::uint32_t tableOidOf(unsigned int variable) {
    return (1U << 30) | (tableId << 22) | (columnOf(variable) << 14) | rowOf(variable);
}

}  // namespace bench
