// The object identifier (OID): 32 bits that name one variable of a scalar object or one cell of a table.
//
//   bit  31-30  29      28      27-22      21-14   13-0
//        01     unused  common  table id   column  row           a table's cell
//        00     unused  common  group id (27-23), variable id (22-0)   a scalar's variable
#pragma once

#include <string>

#include "lcmpExport.h"

/// The decoded form of an OID. A value type: any thread may decode.
class LCMP_API LcmpObjectId {
public:
    /// Decodes at once. An invalid OID (kind 2 or 3, or a common scalar with a group id above 3) is one
    /// ERROR line and m_result 7. Bit 29 is ignored.
    LcmpObjectId(unsigned int oid);

    /// "table object: common = 1, table id = 3, column = 4, row = 5", "scalar object: common = 0, group id =
    /// 2, variable id = 7", or "invalid object".
    std::string str() const;

    bool m_common = false;               ///< The common flag.
    bool m_is_table = false;             ///< At most one of the two is true; neither means invalid.
    bool m_is_scalar = false;            ///< See m_is_table.
    unsigned int m_id = 0xFFFFFFFF;      ///< Table id or group id.
    unsigned int m_sub_id = 0xFFFFFFFF;  ///< Column or variable id.
    unsigned int m_row = 0;              ///< Row of a table's cell.
    unsigned int m_result = 0;           ///< RESULT_OK or RESULT_WRONG_OID.

private:
    void decodeScalar(unsigned int oid);
    void decodeTable(unsigned int oid);
};
