// Variables that hold an address or a time.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include "lcmpPropertyBase.h"

/// A MAC address: six bytes.
class LCMP_API MacAddressProperty : public LcmpProperty {
public:
    /// Value and default are the six bytes at `mac`; null is all zeros.
    MacAddressProperty(unsigned int id, const char* name, IfcCardVarAccessType access, unsigned char* mac,
                       bool eventable);

    /// The same from six hexadecimal fields with colons, of which the low 8 bits count; the empty text is all
    /// zeros. Anything else is one ERROR line and all zeros.
    MacAddressProperty(unsigned int id, const char* name, IfcCardVarAccessType access, std::string mac,
                       bool eventable);

    MacAddressProperty(const MacAddressProperty&) = delete;
    MacAddressProperty& operator=(const MacAddressProperty&) = delete;

    void setToDefault() override;
    bool isDefault() override;
    int serialize(char* buffer, int size) override;
    int deserialize(const char* buffer) override;
    unsigned int length() override;
    int getType() override;

    using LcmpProperty::get;
    using LcmpProperty::set;

    /// Copies the six bytes to `out`, which has room for them. This is the access of the 8-bit integers.
    void get(unsigned char* out) override;

    /// Stores `length` bytes; callers give 6. More than six run on into the default, and end there. The
    /// change flag is raised when the new address equals the old one, and only then. Null data stores
    /// nothing.
    void set(unsigned char* data, unsigned int length) override;

    std::string str() const override;

private:
    static constexpr std::size_t macSize = 6;

    std::array<unsigned char, 2 * macSize> m_octets{};  // the value, then the default
};

/// An IPv4 address as one number, the first octet the most significant.
class LCMP_API IpAddressProperty : public LcmpProperty {
public:
    /// Value and default are `ip`.
    IpAddressProperty(unsigned int id, const char* name, IfcCardVarAccessType access, unsigned int ip,
                      bool eventable);

    /// The same from dotted text. Anything else is one ERROR line and 0.
    IpAddressProperty(unsigned int id, const char* name, IfcCardVarAccessType access, std::string ip,
                      bool eventable);

    IpAddressProperty(const IpAddressProperty&) = delete;
    IpAddressProperty& operator=(const IpAddressProperty&) = delete;

    void setToDefault() override;
    bool isDefault() override;
    int serialize(char* buffer, int size) override;
    int deserialize(const char* buffer) override;
    unsigned int length() override;
    int getType() override;

    using LcmpProperty::get;
    using LcmpProperty::set;

    void get(unsigned int* out) override;

    /// Stores the address and marks the change if it is one.
    void set(unsigned int newValue) override;

    std::string str() const override;

private:
    std::uint32_t value() const { return static_cast<std::uint32_t>(word()); }

    std::uint32_t m_default = 0;
};

/// A time: signed 64-bit seconds since 1970-01-01 UTC.
class LCMP_API UnixTimeProperty : public LcmpProperty {
public:
    /// Value and default are `time`.
    UnixTimeProperty(unsigned int id, const char* name, IfcCardVarAccessType access, long long time,
                     bool eventable);

    UnixTimeProperty(const UnixTimeProperty&) = delete;
    UnixTimeProperty& operator=(const UnixTimeProperty&) = delete;

    void setToDefault() override;
    bool isDefault() override;
    int serialize(char* buffer, int size) override;
    int deserialize(const char* buffer) override;
    unsigned int length() override;
    int getType() override;

    using LcmpProperty::get;
    using LcmpProperty::set;

    void get(long long* out) override;

    /// Stores the time and marks the change if it is one.
    void set(long long newValue) override;

    std::string str() const override;

private:
    long long value() const { return static_cast<long long>(word()); }

    long long m_default;
};
