// A raw TLV element that stands in as a property: for OIDs that no registered object owns.
#pragma once

#include <string>

#include "lcmpPropertyBase.h"

/// One element with the type it came with. The type code decides which typed access it answers; any other
/// is one ERROR line and changes nothing, and so is every `set` of a 64-bit signed value. UNIX_TIME is
/// answered by none. The value is kept in wire order.
///
/// Named "OldStyleProperty_<n>", n counting in the process; writable, not eventable, without owner, its id
/// the full OID.
class LCMP_API OldStyleProperty : public LcmpProperty {
public:
    /// `element` points at the bytes of an element on the wire, never at a filled record; the caller has
    /// made sure that it is whole. `flag` has no effect. Without memory: one ERROR line, no value, but its
    /// length.
    OldStyleProperty(lcmp_tlv* element, bool flag);

    /// A copy with bytes of its own, the same name and no owner.
    OldStyleProperty(const OldStyleProperty& other);
    ~OldStyleProperty() override;

    OldStyleProperty& operator=(const OldStyleProperty&) = delete;

    /// Whether there is a value; if not, one ERROR line.
    bool isPointerValid() const;

    bool isDefault() override;
    int serialize(char* buffer, int size) override;

    /// Becomes the element at `buffer`: OID, type and value. The row stays.
    int deserialize(const char* buffer) override;
    unsigned int length() override;
    int getType() override;

    void get(unsigned long long* out) override;
    void get(unsigned int* out) override;
    void get(unsigned short* out) override;
    void get(unsigned char* out) override;
    void get(long long* out) override;
    void get(int* out) override;
    void get(short* out) override;
    void get(signed char* out) override;
    void get(bool* out) override;
    void get(std::string* out) override;

    /// Fills *length bytes at `data`, the caller's count: the value's, then zeros. How many the value has is
    /// length().
    void get(unsigned char* data, unsigned int* length) override;

    // A numeric set changes the bytes in place: neither the length nor the type.
    void set(unsigned long long value) override;
    void set(unsigned int value) override;
    void set(unsigned short value) override;
    void set(unsigned char value) override;
    void set(long long value) override;
    void set(int value) override;
    void set(short value) override;
    void set(signed char value) override;
    void set(bool value) override;
    void set(std::string value) override;
    void set(unsigned char* data, unsigned int length) override;

    using LcmpProperty::set;

    /// The name alone; no value is shown.
    std::string str() const override;

private:
    bool allocate(unsigned int length);
    bool takeBytes(const char* bytes, unsigned int length);
    void replaceBytes(const char* bytes, unsigned int length);
    bool mayGet(bool typeMatches) const;
    bool maySet(bool typeMatches) const;
    template <typename T>
    void getNumber(T* out, bool typeMatches) const;
    template <typename T>
    void setNumber(T value, bool typeMatches);

    unsigned char* m_value_pointer = nullptr;
    unsigned int m_length = 0;
    unsigned int m_type = 0;
};

inline OldStyleProperty* LcmpProperty::asOldStyle() {
    return m_legacy ? static_cast<OldStyleProperty*>(this) : nullptr;
}
