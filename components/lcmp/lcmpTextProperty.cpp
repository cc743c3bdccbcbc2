#include "lcmpTextProperty.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <utility>

#include "detail/bytes.h"
#include "detail/tlvHeader.h"

using namespace lcmpdetail;

// ---------------------------------------------------------------- text

StringProperty::StringProperty(unsigned int id, const char* name, IfcCardVarAccessType access,
                               std::string def, StringValueCheck* check, bool eventable) try
    : LcmpProperty(id, name, access, eventable), m_value(def), m_default(std::move(def)), m_check(check) {
} catch (...) {
    delete check;
}

StringProperty::StringProperty(unsigned int id, const char* name, IfcCardVarAccessType access,
                               std::string def, StringValueCheck* check)
    : StringProperty(id, name, access, std::move(def), check, false) {}

StringProperty::StringProperty(unsigned int id, const char* name, IfcCardVarAccessType access,
                               std::string def, bool eventable)
    : StringProperty(id, name, access, std::move(def), nullptr, eventable) {}

StringProperty::StringProperty(unsigned int id, const char* name, IfcCardVarAccessType access,
                               std::string def)
    : StringProperty(id, name, access, std::move(def), nullptr, false) {}

StringProperty::~StringProperty() { delete m_check; }

// Not inline, so that the class's table of virtual operations stands in the library alone.
StringProperty::StringValueCheck::~StringValueCheck() = default;

void StringProperty::setToDefault() { m_value = m_default; }

bool StringProperty::isDefault() { return m_value == m_default; }

int StringProperty::serialize(char* buffer, int size) {
    const unsigned int count = length();
    char* value = startElement(buffer, size, count, getType());
    if (value == nullptr)
        return -1;
    if (count > 0)
        std::memcpy(value, m_value.data(), count);
    return tlvHeaderSize + static_cast<int>(count);
}

int StringProperty::deserialize(const char* buffer) {
    const int count = getTlvHeader(buffer).length;
    m_value.assign(buffer + tlvHeaderSize, static_cast<std::size_t>(count));
    return tlvHeaderSize + count;
}

unsigned int StringProperty::length() { return static_cast<unsigned int>(m_value.size()); }

int StringProperty::getType() { return STRING; }

bool StringProperty::validValue(const char* value, int length) {
    if (length < 0)
        return false;
    return m_check == nullptr || m_check->checkValue(std::string(value, static_cast<std::size_t>(length)));
}

void StringProperty::get(std::string* out) { *out = m_value; }

void StringProperty::set(std::string value) { m_value = std::move(value); }

std::string StringProperty::str() const {
    return lineHead() + m_value + "  (def = " + m_default + (isEventable() ? ", eventable" : "") + ")\n";
}

// ---------------------------------------------------------------- byte array

ArrayProperty::ArrayProperty(unsigned int id, const char* name, IfcCardVarAccessType access, bool eventable)
    : LcmpProperty(id, name, access, eventable) {}

ArrayProperty::~ArrayProperty() { std::free(m_buffer); }

bool ArrayProperty::isDefault() { return false; }

// What travels is the storage of the two members, not the bytes that the buffer points to.
int ArrayProperty::serialize(char* buffer, int size) {
    const unsigned int count = length();
    char* value = startElement(buffer, size, count, getType());
    if (value == nullptr)
        return -1;
    char members[sizeof m_buffer + sizeof(std::uint32_t)] = {};
    std::memcpy(members, &m_buffer, sizeof m_buffer);
    putU32(members + sizeof m_buffer, m_length);
    const std::size_t held = std::min<std::size_t>(count, sizeof members);
    std::memcpy(value, members, held);
    std::memset(value + held, 0, count - held);
    return tlvHeaderSize + static_cast<int>(count);
}

int ArrayProperty::deserialize(const char* buffer) {
    const unsigned int count = getTlvHeader(buffer).length;
    const int size = tlvHeaderSize + static_cast<int>(count);
    if (m_buffer == nullptr) {
        m_length = count;
        return size;
    }
    if (allocate(count))
        std::memcpy(m_buffer, buffer + tlvHeaderSize, count);
    return size;
}

unsigned int ArrayProperty::length() { return m_length; }

int ArrayProperty::getType() { return BYTE_ARRAY; }

void ArrayProperty::get(unsigned char* data, unsigned int* length) {
    if (length == nullptr)
        return;
    *length = m_length;
    if (data != nullptr && m_buffer != nullptr && m_length != 0)
        std::memcpy(data, m_buffer, m_length);
}

void ArrayProperty::set(unsigned char* data, unsigned int length) {
    // Without data the bytes are zeros: the old ones are gone by then.
    if (m_buffer == nullptr || !allocate(length) || data == nullptr)
        return;
    // The new block is still all zeros here: equal means that zeros are stored.
    if (std::memcmp(m_buffer, data, length) == 0)
        markEvent();
    std::memcpy(m_buffer, data, length);
}

// Replaces the buffer by one of zeros. False when there is none then, for no length or no memory.
bool ArrayProperty::allocate(unsigned int length) {
    std::free(m_buffer);
    m_buffer = nullptr;
    m_length = length;
    if (length != 0)
        m_buffer = static_cast<unsigned char*>(std::calloc(length, 1));
    return m_buffer != nullptr;
}

std::string ArrayProperty::str() const {
    std::string text = lineHead() + "\n  ";
    if (m_buffer != nullptr) {
        for (unsigned int i = 0; i < m_length; ++i) {
            text += static_cast<char>(m_buffer[i]);
            text += ' ';
        }
    }
    return text + "\n";
}
