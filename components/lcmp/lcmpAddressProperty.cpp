#include "lcmpAddressProperty.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iomanip>

#include "detail/bytes.h"
#include "detail/log.h"
#include "detail/text.h"
#include "detail/tlvHeader.h"

using namespace lcmpdetail;

// ---------------------------------------------------------------- MAC address

MacAddressProperty::MacAddressProperty(unsigned int id, const char* name, IfcCardVarAccessType access,
                                       unsigned char* mac, bool eventable)
    : LcmpProperty(id, name, access, eventable) {
    if (mac == nullptr)
        return;
    std::copy_n(mac, macSize, m_octets.begin());
    std::copy_n(mac, macSize, m_octets.begin() + macSize);
}

MacAddressProperty::MacAddressProperty(unsigned int id, const char* name, IfcCardVarAccessType access,
                                       std::string mac, bool eventable)
    : LcmpProperty(id, name, access, eventable) {
    if (mac.empty())
        return;
    unsigned int field[macSize];
    // NOLINTNEXTLINE(cert-err34-c): anything that begins with hexadecimal digits is a field, and wraps
    const int fields = std::sscanf(mac.c_str(), "%x:%x:%x:%x:%x:%x", &field[0], &field[1], &field[2],
                                   &field[3], &field[4], &field[5]);
    if (fields != static_cast<int>(macSize)) {
        LCMP_ERROR("[%s] Invalid default value (%s). Default set to 0.\n", getName().c_str(), mac.c_str());
        return;
    }
    for (std::size_t i = 0; i < macSize; ++i)
        m_octets[i] = m_octets[macSize + i] = static_cast<unsigned char>(field[i]);
}

void MacAddressProperty::setToDefault() {
    std::copy_n(m_octets.begin() + macSize, macSize, m_octets.begin());
}

bool MacAddressProperty::isDefault() {
    return std::equal(m_octets.begin(), m_octets.begin() + macSize, m_octets.begin() + macSize);
}

int MacAddressProperty::serialize(char* buffer, int size) {
    char* value = startElement(buffer, size, length(), getType());
    if (value == nullptr)
        return -1;
    std::memcpy(value, m_octets.data(), macSize);
    return tlvHeaderSize + static_cast<int>(macSize);
}

int MacAddressProperty::deserialize(const char* buffer) {
    std::memcpy(m_octets.data(), buffer + tlvHeaderSize, macSize);
    return tlvHeaderSize + getTlvHeader(buffer).length;
}

unsigned int MacAddressProperty::length() { return macSize; }

int MacAddressProperty::getType() { return MAC_ADDRESS; }

void MacAddressProperty::get(unsigned char* out) { std::copy_n(m_octets.begin(), macSize, out); }

void MacAddressProperty::set(unsigned char* data, unsigned int length) {
    if (data == nullptr)
        return;
    // Raised by an equal address and by no other: receivers count on it.
    if (length >= macSize && std::equal(data, data + macSize, m_octets.begin()))
        markEvent();
    std::copy_n(data, std::min<std::size_t>(length, m_octets.size()), m_octets.begin());
}

namespace {

std::string octetsAsText(const unsigned char* octets, std::size_t count) {
    TextStream text;
    text << std::hex << std::setfill('0');
    for (std::size_t i = 0; i < count; ++i)
        text << std::setw(2) << static_cast<unsigned int>(octets[i]) << ' ';
    return text.str();
}

}  // namespace

std::string MacAddressProperty::str() const {
    return lineHead() + "   " + octetsAsText(m_octets.data(), macSize) +
           " (def = " + octetsAsText(m_octets.data() + macSize, macSize) + ")\n";
}

// ---------------------------------------------------------------- IPv4 address

IpAddressProperty::IpAddressProperty(unsigned int id, const char* name, IfcCardVarAccessType access,
                                     unsigned int ip, bool eventable)
    : LcmpProperty(id, name, access, eventable), m_default(ip) {
    setWord(ip);
}

IpAddressProperty::IpAddressProperty(unsigned int id, const char* name, IfcCardVarAccessType access,
                                     std::string ip, bool eventable)
    : LcmpProperty(id, name, access, eventable) {
    char octets[4];  // the platform gives them in the order of the text, which is the wire's
    if (inet_pton(AF_INET, ip.c_str(), octets) != 1) {
        LCMP_ERROR("[%s] Invalid default value (%s). Default set to 0.\n", getName().c_str(), ip.c_str());
        return;
    }
    m_default = getU32(octets);
    setWord(m_default);
}

void IpAddressProperty::setToDefault() { setWord(m_default); }

bool IpAddressProperty::isDefault() { return value() == m_default; }

int IpAddressProperty::serialize(char* buffer, int size) {
    if (canSerializeWord(size))
        return serializeWord(buffer);
    char* place = startElement(buffer, size, length(), getType());
    if (place == nullptr)
        return -1;
    return static_cast<int>(putU32(place, value()) - buffer);
}

int IpAddressProperty::deserialize(const char* buffer) {
    setWord(getU32(buffer + tlvHeaderSize));
    return tlvHeaderSize + getTlvHeader(buffer).length;
}

unsigned int IpAddressProperty::length() { return sizeof m_default; }

int IpAddressProperty::getType() { return IPv4ADDRESS; }

void IpAddressProperty::get(unsigned int* out) { *out = value(); }

void IpAddressProperty::set(unsigned int newValue) {
    if (newValue != value())
        markEvent();
    setWord(newValue);
}

std::string IpAddressProperty::str() const {
    TextStream text;
    text << lineHead() << std::hex << std::setw(10) << value() << "(def = " << m_default << ")\n";
    return text.str();
}

// ---------------------------------------------------------------- time

UnixTimeProperty::UnixTimeProperty(unsigned int id, const char* name, IfcCardVarAccessType access,
                                   long long time, bool eventable)
    : LcmpProperty(id, name, access, eventable), m_default(time) {
    setWord(static_cast<std::uint64_t>(time));
}

void UnixTimeProperty::setToDefault() { setWord(static_cast<std::uint64_t>(m_default)); }

bool UnixTimeProperty::isDefault() { return value() == m_default; }

int UnixTimeProperty::serialize(char* buffer, int size) {
    if (canSerializeWord(size))
        return serializeWord(buffer);
    char* place = startElement(buffer, size, length(), getType());
    if (place == nullptr)
        return -1;
    return static_cast<int>(putU64(place, word()) - buffer);
}

int UnixTimeProperty::deserialize(const char* buffer) {
    setWord(getU64(buffer + tlvHeaderSize));
    return tlvHeaderSize + getTlvHeader(buffer).length;
}

unsigned int UnixTimeProperty::length() { return sizeof m_default; }

int UnixTimeProperty::getType() { return UNIX_TIME; }

void UnixTimeProperty::get(long long* out) { *out = value(); }

void UnixTimeProperty::set(long long newValue) {
    if (newValue != value())
        markEvent();
    setWord(static_cast<std::uint64_t>(newValue));
}

std::string UnixTimeProperty::str() const {
    TextStream text;
    text << lineHead() << std::setw(20) << value() << "(def = " << m_default << ")\n";
    return text.str();
}
