// Variables of the nine fixed-width types: eight integers and the boolean.
#pragma once

#include <string>
#include <type_traits>

#include "lcmpPropertyBase.h"

/// A variable of type T with a default and an optional value check.
///
/// T is one of the nine types of the typed access: unsigned and signed long long, int, short and char (not
/// plain char), and bool. Nothing else compiles.
template <typename T>
class LCMP_API TypeProperty : public LcmpProperty {
    static_assert(std::is_same_v<T, unsigned long long> || std::is_same_v<T, unsigned int> ||
                      std::is_same_v<T, unsigned short> || std::is_same_v<T, unsigned char> ||
                      std::is_same_v<T, long long> || std::is_same_v<T, int> || std::is_same_v<T, short> ||
                      std::is_same_v<T, signed char> || std::is_same_v<T, bool>,
                  "one of the nine value types of the protocol; a 64-bit value is a (unsigned) long long");

public:
    /// Judges a value that a peer asks to write. Belongs to the one property it is given to.
    class LCMP_API TypeValueCheck {
    public:
        TypeValueCheck() = default;
        virtual ~TypeValueCheck() = default;
        TypeValueCheck(const TypeValueCheck&) = delete;
        TypeValueCheck& operator=(const TypeValueCheck&) = delete;

        /// Whether the value is acceptable. Called from validValue, before anything is stored.
        virtual bool checkValue(T value) = 0;
    };

    // Value and default are `def`, which is not checked. The property owns `check` and deletes it,
    // also where there is no memory for the property; null accepts every value. Unless told otherwise changes
    // are not reported.
    TypeProperty(unsigned int id, const char* name, IfcCardVarAccessType access, T def, TypeValueCheck* check,
                 bool eventable);
    TypeProperty(unsigned int id, const char* name, IfcCardVarAccessType access, T def,
                 TypeValueCheck* check);
    TypeProperty(unsigned int id, const char* name, IfcCardVarAccessType access, T def, bool eventable);
    TypeProperty(unsigned int id, const char* name, IfcCardVarAccessType access, T def);
    ~TypeProperty() override;

    TypeProperty(const TypeProperty&) = delete;
    TypeProperty& operator=(const TypeProperty&) = delete;

    void setToDefault() override;
    bool isDefault() override;
    int serialize(char* buffer, int size) override;
    int deserialize(const char* buffer) override;
    unsigned int length() override;
    int getType() override;

    /// The verdict of the check on the value at `value`; true without a check. Reads as many bytes as T has
    /// and does not look at `length`; a negative one is false.
    bool validValue(const char* value, int length) override;

    using LcmpProperty::get;
    using LcmpProperty::set;

    /// Stores the value in *out.
    void get(T* out) override;

    /// Stores the value and marks the change if it is one. The check is not asked: it guards against peers.
    void set(T newValue) override;

    std::string str() const override;

private:
    int serializeAsked(char* buffer, int size);
    int deserializeAsked(const char* buffer);

    // A received boolean byte is kept as it came and sent back as it came: any but 0 is true.
    T value() const { return static_cast<T>(word()); }

    T m_default{};
    TypeValueCheck* m_check = nullptr;
};

extern template class TypeProperty<unsigned long long>;
extern template class TypeProperty<unsigned int>;
extern template class TypeProperty<unsigned short>;
extern template class TypeProperty<unsigned char>;
extern template class TypeProperty<long long>;
extern template class TypeProperty<int>;
extern template class TypeProperty<short>;
extern template class TypeProperty<signed char>;
extern template class TypeProperty<bool>;

/// Accepts what lies between two bounds, both included; nothing when the first is above the second.
template <typename T>
class LCMP_API RangeCheckValue : public TypeProperty<T>::TypeValueCheck {
    static_assert(!std::is_same_v<T, bool>, "a boolean has no range");

public:
    /// From `min` to `max`.
    RangeCheckValue(T min, T max);

    /// Logs what is checked against what at DEBUG1; 8-bit values appear in that line as characters.
    bool checkValue(T value) override;

private:
    T m_min;
    T m_max;
};

extern template class RangeCheckValue<unsigned long long>;
extern template class RangeCheckValue<unsigned int>;
extern template class RangeCheckValue<unsigned short>;
extern template class RangeCheckValue<unsigned char>;
extern template class RangeCheckValue<long long>;
extern template class RangeCheckValue<int>;
extern template class RangeCheckValue<short>;
extern template class RangeCheckValue<signed char>;
