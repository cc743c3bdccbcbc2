#include "lcmpObjectId.h"

#include "detail/log.h"
#include "detail/oidLayout.h"
#include "detail/text.h"
#include "lcmpResult.h"

using namespace lcmpdetail;

LcmpObjectId::LcmpObjectId(unsigned int oid) {
    switch (oidKind(oid)) {
        case scalarKind:
            decodeScalar(oid);
            break;
        case tableKind:
            decodeTable(oid);
            break;
        default:
            LCMP_ERROR("Invalid oid %#x", oid);
            m_result = RESULT_WRONG_OID;
    }
}

void LcmpObjectId::decodeScalar(unsigned int oid) {
    m_common = oidCommon(oid);
    m_id = scalarGroup(oid);
    // The common flag and the group stay as read: they tell what was wrong.
    if (!validScalar(oid)) {
        LCMP_ERROR_FOR("LcmpObjectId", "Failed to decode scalar oid %#x", oid);
        m_result = RESULT_WRONG_OID;
        return;
    }
    m_sub_id = scalarVariable(oid);
    m_is_scalar = true;
}

void LcmpObjectId::decodeTable(unsigned int oid) {
    m_common = oidCommon(oid);
    m_id = tableId(oid);
    m_sub_id = tableColumn(oid);
    m_row = tableRow(oid);
    m_is_table = true;
}

std::string LcmpObjectId::str() const {
    TextStream text;
    if (m_is_table) {
        text << "table object: common = " << m_common << ", table id = " << m_id << ", column = " << m_sub_id
             << ", row = " << m_row;
    } else if (m_is_scalar) {
        text << "scalar object: common = " << m_common << ", group id = " << m_id
             << ", variable id = " << m_sub_id;
    } else {
        text << "invalid object";
    }
    return text.str();
}
