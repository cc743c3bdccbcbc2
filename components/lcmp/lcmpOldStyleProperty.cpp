#include "lcmpOldStyleProperty.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "detail/log.h"
#include "detail/tlvHeader.h"
#include "lcmpObjectId.h"

using namespace lcmpdetail;

namespace {

constexpr unsigned int widestNumber = 8;  // bytes

unsigned int instanceCount = 0;

const char* wireBytes(const lcmp_tlv* element) { return reinterpret_cast<const char*>(element); }

}  // namespace

OldStyleProperty::OldStyleProperty(lcmp_tlv* element, bool /*flag*/)
    : LcmpProperty(getTlvHeader(wireBytes(element)).oid,
                   ("OldStyleProperty_" + std::to_string(++instanceCount)).c_str(), IFC_CARD_VAR_WRITABLE,
                   false) {
    const char* bytes = wireBytes(element);
    const TlvHeader header = getTlvHeader(bytes);
    m_row = LcmpObjectId(header.oid).m_row;
    m_type = header.type;
    m_legacy = true;
    if (!takeBytes(bytes + tlvHeaderSize, header.length))
        LCMP_ERROR("malloc failed!");
}

OldStyleProperty::OldStyleProperty(const OldStyleProperty& other)
    : LcmpProperty(other), m_type(other.m_type) {
    m_owner = nullptr;
    m_length = other.m_length;
    if (other.m_value_pointer == nullptr)
        return;
    if (allocate(other.m_length))
        std::memcpy(m_value_pointer, other.m_value_pointer, m_length);
    else
        LCMP_ERROR("malloc failed!");
}

OldStyleProperty::~OldStyleProperty() { std::free(m_value_pointer); }

bool OldStyleProperty::isPointerValid() const {
    if (m_value_pointer != nullptr)
        return true;
    LCMP_ERROR("Pointer val in OldStyleProperty is invalid!");
    return false;
}

bool OldStyleProperty::isDefault() { return false; }

// Makes room for `length` bytes, zeroed, and at least for the widest number: numbers are read and written in
// their full width whatever the element declared.
bool OldStyleProperty::allocate(unsigned int length) {
    std::free(m_value_pointer);
    m_length = length;
    m_value_pointer = static_cast<unsigned char*>(std::calloc(std::max(length, widestNumber), 1));
    return m_value_pointer != nullptr;
}

// The value becomes these bytes. False when there is no memory for them.
bool OldStyleProperty::takeBytes(const char* bytes, unsigned int length) {
    if (length == 0) {
        m_length = 0;
        return true;
    }
    if (!allocate(length))
        return false;
    std::memcpy(m_value_pointer, bytes, length);
    return true;
}

int OldStyleProperty::serialize(char* buffer, int size) {
    char* value = startElement(buffer, size, m_length, static_cast<int>(m_type));
    if (value == nullptr)
        return -1;
    if (m_length > 0) {
        if (m_value_pointer == nullptr) {
            LCMP_ERROR("[%s] m_value_pointer is nullpointer but length set is not 0!!!", getName().c_str());
            return 0;
        }
        std::memcpy(value, m_value_pointer, m_length);
    }
    return tlvHeaderSize + static_cast<int>(m_length);
}

int OldStyleProperty::deserialize(const char* buffer) {
    const TlvHeader header = getTlvHeader(buffer);
    m_id = header.oid;
    m_type = header.type;
    if (allocate(header.length))
        std::memcpy(m_value_pointer, buffer + tlvHeaderSize, header.length);
    else
        LCMP_ERROR("malloc failed!");
    return tlvHeaderSize + header.length;
}

unsigned int OldStyleProperty::length() { return m_length; }

int OldStyleProperty::getType() { return static_cast<int>(m_type); }

// ---------------------------------------------------------------- typed access

bool OldStyleProperty::mayGet(bool typeMatches) const {
    if (!typeMatches)
        LCMP_ERROR_FOR("get", "[%s] Trying to get the wrong type from oldStyleProperty", getName().c_str());
    return typeMatches;
}

bool OldStyleProperty::maySet(bool typeMatches) const {
    if (!typeMatches)
        LCMP_ERROR_FOR("set", "[%s] Trying to set the wrong type for oldStyleProperty", getName().c_str());
    return typeMatches;
}

template <typename T>
void OldStyleProperty::getNumber(T* out, bool typeMatches) const {
    if (mayGet(typeMatches) && isPointerValid() && out != nullptr)
        *out = static_cast<T>(getWord(reinterpret_cast<const char*>(m_value_pointer), sizeof(T)));
}

void OldStyleProperty::get(unsigned long long* out) { getNumber(out, m_type == UINT64); }
void OldStyleProperty::get(unsigned int* out) { getNumber(out, m_type == UINT32); }
void OldStyleProperty::get(unsigned short* out) { getNumber(out, m_type == UINT16); }
void OldStyleProperty::get(unsigned char* out) { getNumber(out, m_type == UINT8); }
void OldStyleProperty::get(long long* out) { getNumber(out, m_type == INT64); }
void OldStyleProperty::get(int* out) { getNumber(out, m_type == INT32 || m_type == IPv4ADDRESS); }
void OldStyleProperty::get(short* out) { getNumber(out, m_type == INT16); }
void OldStyleProperty::get(signed char* out) { getNumber(out, m_type == INT8); }
void OldStyleProperty::get(bool* out) { getNumber(out, m_type == BOOLEAN); }

void OldStyleProperty::get(std::string* out) {
    if (mayGet(m_type == STRING) && isPointerValid() && out != nullptr)
        out->assign(reinterpret_cast<const char*>(m_value_pointer), m_length);
}

void OldStyleProperty::get(unsigned char* data, unsigned int* length) {
    if (!mayGet(m_type == BYTE_ARRAY || m_type == MAC_ADDRESS) || !isPointerValid())
        return;
    if (data == nullptr || length == nullptr)
        return;
    const unsigned int held = std::min(*length, m_length);
    std::memcpy(data, m_value_pointer, held);
    std::memset(data + held, 0, *length - held);
}

template <typename T>
void OldStyleProperty::setNumber(T value, bool typeMatches) {
    if (!maySet(typeMatches))
        return;
    if (m_value_pointer == nullptr && !allocate(m_length)) {
        LCMP_ERROR_FOR("set", "malloc failed in set!");
        return;
    }
    putWord(reinterpret_cast<char*>(m_value_pointer), static_cast<std::uint64_t>(value), sizeof(T));
}

void OldStyleProperty::set(unsigned long long value) { setNumber(value, m_type == UINT64); }
void OldStyleProperty::set(unsigned int value) { setNumber(value, m_type == UINT32); }
void OldStyleProperty::set(unsigned short value) { setNumber(value, m_type == UINT16); }
void OldStyleProperty::set(unsigned char value) { setNumber(value, m_type == UINT8); }

// Refused whatever the type: signed 64-bit values can be read from legacy elements, never set.
void OldStyleProperty::set(long long value) { setNumber(value, false); }

void OldStyleProperty::set(int value) { setNumber(value, m_type == INT32 || m_type == IPv4ADDRESS); }
void OldStyleProperty::set(short value) { setNumber(value, m_type == INT16); }
void OldStyleProperty::set(signed char value) { setNumber(value, m_type == INT8); }
void OldStyleProperty::set(bool value) { setNumber(value, m_type == BOOLEAN); }

void OldStyleProperty::set(std::string value) {
    if (maySet(m_type == STRING))
        replaceBytes(value.data(), static_cast<unsigned int>(value.size()));
}

void OldStyleProperty::set(unsigned char* data, unsigned int length) {
    if (maySet(m_type == BYTE_ARRAY || m_type == MAC_ADDRESS) && data != nullptr)
        replaceBytes(reinterpret_cast<const char*>(data), length);
}

void OldStyleProperty::replaceBytes(const char* bytes, unsigned int length) {
    // The bytes may be a part of the old value, so that goes last.
    unsigned char* old = m_value_pointer;
    m_value_pointer = nullptr;
    if (!takeBytes(bytes, length))
        LCMP_ERROR_FOR("set", "malloc failed in set!");
    std::free(old);
}

std::string OldStyleProperty::str() const { return getName() + ":\n\n"; }
