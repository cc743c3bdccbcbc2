#include "lcmpPropertyBase.h"

#include <algorithm>
#include <iomanip>

#include "detail/log.h"
#include "detail/text.h"
#include "detail/tlvHeader.h"
#include "detail/withdrawal.h"
#include "lcmpObjects.h"
#include "lcmpResult.h"

using namespace lcmpdetail;

void (*lcmpdetail::withdrawProperty)(const LcmpProperty* property) = nullptr;

LcmpProperty::LcmpProperty(unsigned int id, const char* name, IfcCardVarAccessType access, bool eventable)
    : m_name(name != nullptr ? name : ""), m_access(access), m_id(id), m_eventable(eventable) {}

LcmpProperty::~LcmpProperty() {
    if (withdrawProperty != nullptr)
        withdrawProperty(this);
}

void LcmpProperty::setToDefault() {}

bool LcmpProperty::validValue(const char* /*value*/, int length) { return length >= 0; }

// ---------------------------------------------------------------- refused access

// The whole text stands in each line, so that it is found by searching for what the log shows.
#define LCMP_REFUSE(TYPE_WORD) \
    LCMP_ERROR("[%s] Not implemented for " TYPE_WORD " (property %d, row %d)", m_name.c_str(), m_id, m_row)

void LcmpProperty::get(unsigned long long* /*out*/) { LCMP_REFUSE("uint64_t"); }
void LcmpProperty::get(unsigned int* /*out*/) { LCMP_REFUSE("uint32_t"); }
void LcmpProperty::get(unsigned short* /*out*/) { LCMP_REFUSE("uint16_t"); }
void LcmpProperty::get(unsigned char* /*out*/) { LCMP_REFUSE("uint8_t"); }
void LcmpProperty::get(long long* /*out*/) { LCMP_REFUSE("int64_t"); }
void LcmpProperty::get(int* /*out*/) { LCMP_REFUSE("int32_t"); }
void LcmpProperty::get(short* /*out*/) { LCMP_REFUSE("int16_t"); }
void LcmpProperty::get(signed char* /*out*/) { LCMP_REFUSE("int8_t"); }
void LcmpProperty::get(bool* /*out*/) { LCMP_REFUSE("bool"); }
void LcmpProperty::get(std::string* /*out*/) { LCMP_REFUSE("std::string"); }
void LcmpProperty::get(unsigned char* /*data*/, unsigned int* /*length*/) { LCMP_REFUSE("array of uint8_t"); }

void LcmpProperty::set(unsigned long long /*value*/) { LCMP_REFUSE("uint64_t"); }
void LcmpProperty::set(unsigned int /*value*/) { LCMP_REFUSE("uint32_t"); }
void LcmpProperty::set(unsigned short /*value*/) { LCMP_REFUSE("uint16_t"); }
void LcmpProperty::set(unsigned char /*value*/) { LCMP_REFUSE("uint8_t"); }
void LcmpProperty::set(long long /*value*/) { LCMP_REFUSE("int64_t"); }
void LcmpProperty::set(int /*value*/) { LCMP_REFUSE("int32_t"); }
void LcmpProperty::set(short /*value*/) { LCMP_REFUSE("int16_t"); }
void LcmpProperty::set(signed char /*value*/) { LCMP_REFUSE("int8_t"); }
void LcmpProperty::set(bool /*value*/) { LCMP_REFUSE("bool"); }
void LcmpProperty::set(std::string /*value*/) { LCMP_REFUSE("std::string"); }
void LcmpProperty::set(unsigned char* /*data*/, unsigned int /*length*/) { LCMP_REFUSE("array of uint8_t"); }

#undef LCMP_REFUSE

void LcmpProperty::set(const char* text) {
    if (text != nullptr)
        set(std::string(text));
}

// ---------------------------------------------------------------- identity and events

unsigned int LcmpProperty::composeOid() const {
    return m_owner != nullptr ? m_owner->getOID(m_id, m_row) : m_id;
}

bool LcmpProperty::sendEvent() {
    const bool pending = m_eventPending;
    m_eventPending = false;
    return pending;
}

void LcmpProperty::markEvent() {
    if (!m_eventable)
        return;
    m_eventPending = true;
    if (m_owner != nullptr)
        m_owner->noteChange(m_row);
}

// ---------------------------------------------------------------- verification

int LcmpProperty::checkBuffer(const char* buffer, bool checkValue) {
    const TlvHeader header = getTlvHeader(buffer);
    if (!hasOid(header.oid))
        return RESULT_WRONG_OID;
    if (header.type != announcedType()) {
        LCMP_ERROR("[%s] trying to deserialize to a property of wrong type this %i, buf %i", m_name.c_str(),
                   announcedType(), header.type);
        return RESULT_WRONG_TYPE;
    }
    if (!hasSize(header.length))
        return RESULT_WRONG_LEN;
    if (!checkValue)
        return RESULT_OK;
    // Access comes after identity, type and size: a wrong-typed write to a read-only variable answers 6,
    // not 10.
    if (m_access == IFC_CARD_VAR_READ_ONLY)
        return RESULT_READ_ONLY;
    if (!validValue(buffer + tlvHeaderSize, header.length)) {
        LCMP_ERROR("[%s] checkbuffer invalid value detected, value has len %i", m_name.c_str(),
                   header.length);
        return RESULT_WRONG_VALUE;
    }
    return RESULT_OK;
}

unsigned int LcmpProperty::readWidth() {
    constexpr unsigned int macSize = 6;
    if (m_wordSize != 0)
        return m_wordSize;
    const int type = getType();
    if (type == MAC_ADDRESS)
        return macSize;
    // A derived class may announce a type that is narrower than what it holds.
    const unsigned int width = lcmpTlvFixedWidth(static_cast<unsigned int>(type));
    return width != 0 ? std::max(width, length()) : 0;
}

bool LcmpProperty::hasOid(unsigned int oid) const {
    const unsigned int expected = getOid();
    if (oid == expected)
        return true;
    if (m_owner != nullptr) {
        LCMP_ERROR_FOR("checkBuffer",
                       "[%s] trying to deserialize to a property with wrong oid, is %i , should be %i",
                       m_name.c_str(), oid, expected);
    } else {
        LCMP_ERROR_FOR("checkBuffer", "[%s] trying to deserialize to a property with wrong id",
                       m_name.c_str());
    }
    return false;
}

bool LcmpProperty::hasSize(unsigned int announced) {
    if (announcedType() == STRING) {
        LCMP_DEBUG3_FOR("checkBuffer", "[%s] we cannot know the size of a string when receiving, it is %i",
                        m_name.c_str(), announced);
        return true;
    }
    if (announced == announcedLength())
        return true;
    LCMP_ERROR_FOR("checkBuffer",
                   "[%s] trying to deserialize a property but tlv has incorrect size parameter",
                   m_name.c_str());
    LCMP_ERROR_FOR("checkBuffer", "[%s] it should be %i but it is %i", m_name.c_str(), announcedLength(),
                   announced);
    return false;
}

// ---------------------------------------------------------------- for the kinds of properties

char* LcmpProperty::startElement(char* buffer, int size, unsigned int length, int type) const {
    char* value = putElementHead(buffer, size, {getOid(), type, length});
    return value != nullptr ? value : noRoom();
}

int LcmpProperty::serializeWord(char* buffer) const {
    static_assert(widestElement == tlvHeaderSize + sizeof m_word, "a word travels with its header");
    return putWordElement(buffer, {getOid(), m_wordType, m_wordSize}, m_word);
}

char* LcmpProperty::noRoom() const {
    LCMP_ERROR_FOR("serialize", "[%s] serializing buffer has not enough space left", m_name.c_str());
    return nullptr;
}

std::string LcmpProperty::lineHead() const {
    TextStream text;
    text << std::setw(3) << m_id << " | " << std::setw(40) << m_name << " : ";
    return text.str();
}
