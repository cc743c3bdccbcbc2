// The bit fields of an OID, taken apart and put together in one place.
#pragma once

#include <cstdint>

namespace lcmpdetail {

constexpr unsigned int scalarKind = 0;
constexpr unsigned int tableKind = 1;
constexpr std::uint32_t commonFlag = 0x10000000;
constexpr unsigned int lastCommonScalarGroup = 3;

constexpr unsigned int oidKind(std::uint32_t oid) { return oid >> 30; }
constexpr bool oidCommon(std::uint32_t oid) { return (oid & commonFlag) != 0; }

constexpr unsigned int scalarGroup(std::uint32_t oid) { return (oid >> 23) & 0x1F; }
constexpr unsigned int scalarVariable(std::uint32_t oid) { return oid & 0x7FFFFF; }
constexpr bool validScalar(std::uint32_t oid) {
    return !oidCommon(oid) || scalarGroup(oid) <= lastCommonScalarGroup;
}

constexpr bool validOid(std::uint32_t oid) {
    return oidKind(oid) == tableKind || (oidKind(oid) == scalarKind && validScalar(oid));
}

constexpr unsigned int tableId(std::uint32_t oid) { return (oid >> 22) & 0x3F; }
constexpr unsigned int tableColumn(std::uint32_t oid) { return (oid >> 14) & 0xFF; }
constexpr unsigned int tableRow(std::uint32_t oid) { return oid & 0x3FFF; }

// Nothing is masked: ids beyond their field spill into the next.
constexpr std::uint32_t scalarOid(std::uint32_t group, std::uint32_t variable, bool common) {
    return (group << 23) | variable | (common ? commonFlag : 0);
}

constexpr std::uint32_t tableOid(std::uint32_t table, std::uint32_t column, std::uint32_t row, bool common) {
    return (tableKind << 30) | (table << 22) | (column << 14) | row | (common ? commonFlag : 0);
}

}  // namespace lcmpdetail
