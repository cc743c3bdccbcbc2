#include "lcmpNumericProperty.h"

#include <iomanip>

#include "detail/log.h"
#include "detail/text.h"
#include "detail/tlvHeader.h"

using namespace lcmpdetail;

namespace {

template <typename T>
constexpr int typeCode() {
    if (std::is_same_v<T, bool>)
        return BOOLEAN;
    constexpr int widest = std::is_signed_v<T> ? INT64 : UINT64;  // each half of the codes goes down by width
    return sizeof(T) == 8 ? widest : sizeof(T) == 4 ? widest + 1 : sizeof(T) == 2 ? widest + 2 : widest + 3;
}

// The kinds of values that travel as a number of T's width. A derived class may announce another type.
bool travelsAsNumber(int type) { return (type >= UINT64 && type <= BOOLEAN) || type == IPv4ADDRESS; }

// 8-bit values are numbers in a property's line, never characters.
template <typename T>
auto asNumber(T value) {
    return +value;
}

}  // namespace

template <typename T>
TypeProperty<T>::TypeProperty(unsigned int id, const char* name, IfcCardVarAccessType access, T def,
                              TypeValueCheck* check, bool eventable) try
    : LcmpProperty(id, name, access, eventable), m_default(def), m_check(check) {
    setWord(static_cast<std::uint64_t>(def));
} catch (...) {
    delete check;
}

template <typename T>
TypeProperty<T>::TypeProperty(unsigned int id, const char* name, IfcCardVarAccessType access, T def,
                              TypeValueCheck* check)
    : TypeProperty(id, name, access, def, check, false) {}

template <typename T>
TypeProperty<T>::TypeProperty(unsigned int id, const char* name, IfcCardVarAccessType access, T def,
                              bool eventable)
    : TypeProperty(id, name, access, def, nullptr, eventable) {}

template <typename T>
TypeProperty<T>::TypeProperty(unsigned int id, const char* name, IfcCardVarAccessType access, T def)
    : TypeProperty(id, name, access, def, nullptr, false) {}

template <typename T>
TypeProperty<T>::~TypeProperty() {
    delete m_check;
}

template <typename T>
void TypeProperty<T>::setToDefault() {
    setWord(static_cast<std::uint64_t>(m_default));
}

template <typename T>
bool TypeProperty<T>::isDefault() {
    return value() == m_default;
}

template <typename T>
int TypeProperty<T>::serialize(char* buffer, int size) {
    return canSerializeWord(size) ? serializeWord(buffer) : serializeAsked(buffer, size);
}

// For a derived class, which may answer as it likes, and where there is little room.
template <typename T>
int TypeProperty<T>::serializeAsked(char* buffer, int size) {
    const unsigned int count = length();
    // Room for the whole value, also where a derived class announces fewer bytes.
    const bool fits = size >= static_cast<int>(tlvHeaderSize + sizeof(T));
    char* place = fits ? putElementHead(buffer, size, {getOid(), getType(), count}) : nullptr;
    if (place == nullptr) {
        noRoom();
        return -1;
    }
    if (count > 0)
        putWord(place, word(), sizeof(T));
    return tlvHeaderSize + static_cast<int>(count);
}

// The element is taken as it stands, whatever OID, type and length it declares: checkBuffer judges.
template <typename T>
int TypeProperty<T>::deserialize(const char* buffer) {
    const unsigned int announced = getTlvHeader(buffer).length;
    // Told apart so that in a row of elements the next one's place is known before this one's length is read.
    if (travelsAsWord() && announced == sizeof(T)) {
        setWord(getWord(buffer + tlvHeaderSize, sizeof(T)));
        return tlvHeaderSize + static_cast<int>(sizeof(T));
    }
    return deserializeAsked(buffer);
}

template <typename T>
int TypeProperty<T>::deserializeAsked(const char* buffer) {
    if (travelsAsNumber(getType()))
        setWord(getWord(buffer + tlvHeaderSize, sizeof(T)));
    else
        LCMP_ERROR_FOR("deserialize", "[%s] type deserializing is not handled ok!", getName().c_str());
    return tlvHeaderSize + getTlvHeader(buffer).length;
}

template <typename T>
unsigned int TypeProperty<T>::length() {
    return sizeof(T);
}

template <typename T>
int TypeProperty<T>::getType() {
    return typeCode<T>();
}

template <typename T>
bool TypeProperty<T>::validValue(const char* value, int length) {
    if (length < 0)
        return false;
    if (m_check == nullptr)
        return true;
    if (!travelsAsWord() && !travelsAsNumber(getType())) {
        LCMP_ERROR("[%s] type deserializing is not handled ok!", getName().c_str());
        return false;
    }
    LCMP_DEBUG2("[%s] will be checked for valid value", str().c_str());
    return m_check->checkValue(static_cast<T>(getWord(value, sizeof(T))));
}

template <typename T>
void TypeProperty<T>::get(T* out) {
    *out = value();
}

template <typename T>
void TypeProperty<T>::set(T newValue) {
    if (newValue != value())
        markEvent();
    setWord(static_cast<std::uint64_t>(newValue));
}

template <typename T>
std::string TypeProperty<T>::str() const {
    TextStream text;
    text << lineHead() << std::setw(20) << asNumber(value()) << "  (def = " << asNumber(m_default)
         << (isEventable() ? ", eventable" : "") << ")\n";
    return text.str();
}

template <typename T>
RangeCheckValue<T>::RangeCheckValue(T min, T max) : m_min(min), m_max(max) {}

namespace {

template <typename T>
std::string rangeCheckText(T min, T max, T value) {
    TextStream text;
    text << "checking value is valid with min:" << min << " and max:" << max << " and value " << value;
    return text.str();
}

}  // namespace

template <typename T>
bool RangeCheckValue<T>::checkValue(T value) {
    LCMP_DEBUG1("%s", rangeCheckText(m_min, m_max, value).c_str());
    return m_min <= value && value <= m_max;
}

template class TypeProperty<unsigned long long>;
template class TypeProperty<unsigned int>;
template class TypeProperty<unsigned short>;
template class TypeProperty<unsigned char>;
template class TypeProperty<long long>;
template class TypeProperty<int>;
template class TypeProperty<short>;
template class TypeProperty<signed char>;
template class TypeProperty<bool>;

template class RangeCheckValue<unsigned long long>;
template class RangeCheckValue<unsigned int>;
template class RangeCheckValue<unsigned short>;
template class RangeCheckValue<unsigned char>;
template class RangeCheckValue<long long>;
template class RangeCheckValue<int>;
template class RangeCheckValue<short>;
template class RangeCheckValue<signed char>;
