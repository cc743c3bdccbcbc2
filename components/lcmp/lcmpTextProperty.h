// Variables of variable length: text, and byte arrays.
#pragma once

#include <string>

#include "lcmpPropertyBase.h"

/// A text variable with a default and an optional value check.
class LCMP_API StringProperty : public LcmpProperty {
public:
    /// Judges a text that a peer asks to write. Belongs to the one property it is given to.
    class LCMP_API StringValueCheck {
    public:
        StringValueCheck() = default;
        virtual ~StringValueCheck();
        StringValueCheck(const StringValueCheck&) = delete;
        StringValueCheck& operator=(const StringValueCheck&) = delete;

        /// Whether the text, NULs included, is acceptable. Called from validValue, before anything is stored.
        virtual bool checkValue(std::string value) = 0;
    };

    // Value and default are `def`, which is not checked. The property owns `check` and deletes it,
    // also where there is no memory for the property; null accepts every text.
    StringProperty(unsigned int id, const char* name, IfcCardVarAccessType access, std::string def,
                   StringValueCheck* check, bool eventable);
    StringProperty(unsigned int id, const char* name, IfcCardVarAccessType access, std::string def,
                   StringValueCheck* check);
    StringProperty(unsigned int id, const char* name, IfcCardVarAccessType access, std::string def,
                   bool eventable);
    StringProperty(unsigned int id, const char* name, IfcCardVarAccessType access, std::string def);
    ~StringProperty() override;

    StringProperty(const StringProperty&) = delete;
    StringProperty& operator=(const StringProperty&) = delete;

    void setToDefault() override;
    bool isDefault() override;
    int serialize(char* buffer, int size) override;
    int deserialize(const char* buffer) override;

    /// Bytes of the text. The wire announces its low 16 bits: keep texts below 65,536 bytes.
    unsigned int length() override;
    int getType() override;
    bool validValue(const char* value, int length) override;

    using LcmpProperty::get;
    using LcmpProperty::set;

    void get(std::string* out) override;

    /// Stores the text and nothing more: it never marks a change, not even on an eventable property. A
    /// text that is to be reported is handed to the endpoint's addToAmi by the application.
    void set(std::string value) override;

    std::string str() const override;

private:
    std::string m_value;
    std::string m_default;
    StringValueCheck* m_check = nullptr;
};

/// A byte-array variable that holds no bytes of its own until a subclass installs a buffer: before that
/// `set` has no effect and `deserialize` records only the length.
///
/// Serialised, its value is the storage of its two members (the buffer's pointer, then the length,
/// big-endian, then zeros), not the bytes it points to. With a buffer installed that tells the peer an
/// address of this process: a subclass that holds bytes overrides serialize.
class LCMP_API ArrayProperty : public LcmpProperty {
public:
    /// No buffer, length 0.
    ArrayProperty(unsigned int id, const char* name, IfcCardVarAccessType access, bool eventable);
    ~ArrayProperty() override;

    ArrayProperty(const ArrayProperty&) = delete;
    ArrayProperty& operator=(const ArrayProperty&) = delete;

    /// Always false: there is no default.
    bool isDefault() override;
    int serialize(char* buffer, int size) override;
    int deserialize(const char* buffer) override;
    unsigned int length() override;
    int getType() override;

    using LcmpProperty::get;
    using LcmpProperty::set;

    /// Stores the length in *length, and copies that many bytes to `data` when there are both a `data` and a
    /// buffer. A null `length` does nothing.
    void get(unsigned char* data, unsigned int* length) override;

    /// Replaces the bytes, if a buffer is installed. Marks a change, oddly, when the new bytes are all
    /// zeros. Null data leaves `length` zeros, without a mark.
    void set(unsigned char* data, unsigned int length) override;

    std::string str() const override;

protected:
    unsigned char* m_buffer = nullptr;  ///< From calloc; freed here. A subclass may install one.
    unsigned int m_length = 0;          ///< Bytes at m_buffer.

private:
    bool allocate(unsigned int length);
};
