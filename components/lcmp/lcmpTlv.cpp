#include "lcmpTlv.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "detail/log.h"
#include "detail/tlvHeader.h"

using namespace lcmpdetail;

namespace {

constexpr unsigned int minimumBuffer = 8;  // bytes: the widest fixed-width value

unsigned char* newBuffer(unsigned int length) {
    return static_cast<unsigned char*>(std::calloc(std::max(length, minimumBuffer), 1));
}

template <typename T>
T load(const unsigned char* bytes) {
    T value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

// Any byte but 0 is true, so the byte may not be taken for a bool as it stands.
template <>
bool load<bool>(const unsigned char* bytes) {
    return *bytes != 0;
}

// In host order, with zeros in the rest of the smallest buffer.
template <typename Word>
void store(unsigned char* buffer, Word word) {
    std::memset(buffer, 0, minimumBuffer);
    std::memcpy(buffer, &word, sizeof word);
}

void storeHostWord(unsigned char* buffer, std::uint64_t bits, unsigned int width) {
    switch (width) {
        case 8:
            return store(buffer, bits);
        case 4:
            return store(buffer, static_cast<std::uint32_t>(bits));
        case 2:
            return store(buffer, static_cast<std::uint16_t>(bits));
        default:
            return store(buffer, static_cast<std::uint8_t>(bits));
    }
}

// The codec moves values of 2, 4 and 8 bytes as one number; all others are bytes, copied as they are. False:
// this is such a one.
bool putHostWord(char* p, const unsigned char* value, unsigned int width) {
    switch (width) {
        case 8:
            putU64(p, load<std::uint64_t>(value));
            return true;
        case 4:
            putU32(p, load<std::uint32_t>(value));
            return true;
        case 2:
            putU16(p, load<std::uint16_t>(value));
            return true;
        default:
            return false;
    }
}

// A value that was announced with fewer bytes than its type has: those are its first ones on the wire.
std::uint64_t getShortWord(const char* bytes, unsigned int count, unsigned int width) {
    char whole[minimumBuffer] = {};
    std::memcpy(whole, bytes, count);
    return getWord(whole, width);
}

}  // namespace

LCMPTlv::LCMPTlv() : lcmp_tlv{0, 0, 0, nullptr} {}

LCMPTlv::LCMPTlv(const LCMPTlv& other) : lcmp_tlv{other.id, other.type, other.len, nullptr} {
    if (len == 0 || other.val == nullptr)
        return;
    val = newBuffer(len);
    if (val == nullptr) {
        LCMP_ERROR("malloc failed!");
        return;
    }
    // The whole of a fixed-width value, also where fewer bytes were announced.
    const unsigned int size = std::max<unsigned int>(len, lcmpTlvFixedWidth(type));
    std::memcpy(val, other.val, size);
}

// ---------------------------------------------------------------- setters

// The buffer is reused as long as it suffices; its size is not kept, so `oldLength` stands for it.
bool LCMPTlv::makeRoom(unsigned int oldLength) {
    if (val != nullptr && len > oldLength) {
        std::free(val);
        val = nullptr;
    }
    if (val == nullptr)
        val = newBuffer(len);
    return val != nullptr;
}

void LCMPTlv::storeWord(unsigned long long bits, unsigned int width, unsigned char newType) {
    const unsigned int oldLength = len;
    type = newType;
    len = static_cast<std::uint16_t>(width);
    if (!makeRoom(oldLength)) {
        LCMP_ERROR_FOR("setValue", "malloc failed!");
        return;
    }
    storeHostWord(val, bits, width);
}

void LCMPTlv::storeBytes(const char* data, std::uint16_t size, unsigned char newType) {
    const unsigned int oldLength = len;
    type = newType;
    len = size;
    if (size == 0) {
        if (val != nullptr)
            std::memset(val, 0, minimumBuffer);
        return;
    }
    if (!makeRoom(oldLength)) {
        LCMP_ERROR_FOR("setValue", "malloc failed!");
        return;
    }
    if (size < minimumBuffer)
        std::memset(val, 0, minimumBuffer);
    std::memcpy(val, data, size);
}

void LCMPTlv::setValue(unsigned long long value) { storeWord(value, 8, UINT64); }
void LCMPTlv::setValue(unsigned int value) { storeWord(value, 4, UINT32); }
void LCMPTlv::setValue(unsigned short value) { storeWord(value, 2, UINT16); }
void LCMPTlv::setValue(unsigned char value) { storeWord(value, 1, UINT8); }
void LCMPTlv::setValue(long long value) { storeWord(static_cast<unsigned long long>(value), 8, INT64); }
void LCMPTlv::setValue(int value) { storeWord(static_cast<unsigned int>(value), 4, INT32); }
void LCMPTlv::setValue(short value) { storeWord(static_cast<unsigned short>(value), 2, INT16); }
void LCMPTlv::setValue(signed char value) { storeWord(static_cast<unsigned char>(value), 1, INT8); }
void LCMPTlv::setValue(bool value) { storeWord(value ? 1 : 0, 1, BOOLEAN); }

void LCMPTlv::setValue(int value, unsigned char newType) {
    if (newType != INT32 && newType != IPv4ADDRESS) {
        LCMP_ERROR("setValue with a newtype that is not supported, val could be null pointer!!!");
        return;
    }
    storeWord(static_cast<unsigned int>(value), 4, newType);
}

void LCMPTlv::setValue(const std::string& text) {
    storeBytes(text.data(), static_cast<std::uint16_t>(text.size()), STRING);
}

void LCMPTlv::setValue(const char* text) {
    if (text != nullptr)
        storeBytes(text, static_cast<std::uint16_t>(std::strlen(text)), STRING);
}

void LCMPTlv::setValue(const char* data, int size) { setValue(data, size, STRING); }

void LCMPTlv::setValue(const char* data, int size, unsigned char newType) {
    if (newType != STRING && newType != MAC_ADDRESS)
        return;
    if (size < 0 || (data == nullptr && size != 0))
        return;
    storeBytes(data, static_cast<std::uint16_t>(size), newType);
}

// ---------------------------------------------------------------- getters

namespace {

template <typename T>
void loadInto(T& out, const unsigned char* value) {
    if (value != nullptr)
        out = load<T>(value);
}

}  // namespace

void LCMPTlv::getValue(unsigned long long& out) const { loadInto(out, val); }
void LCMPTlv::getValue(unsigned int& out) const { loadInto(out, val); }
void LCMPTlv::getValue(unsigned short& out) const { loadInto(out, val); }
void LCMPTlv::getValue(unsigned char& out) const { loadInto(out, val); }
void LCMPTlv::getValue(long long& out) const { loadInto(out, val); }
void LCMPTlv::getValue(int& out) const { loadInto(out, val); }
void LCMPTlv::getValue(short& out) const { loadInto(out, val); }
void LCMPTlv::getValue(signed char& out) const { loadInto(out, val); }
void LCMPTlv::getValue(bool& out) const { loadInto(out, val); }

namespace {

template <typename T>
bool loadChecked(const LCMPTlv& element, T* out) {
    if (!element.isPointerValid())
        return false;
    if (out == nullptr)
        return false;
    *out = load<T>(element.val);
    return true;
}

template <typename T>
T loadOrZero(const LCMPTlv& element) {
    return element.isPointerValid() ? load<T>(element.val) : T{};
}

}  // namespace

bool LCMPTlv::getValue(unsigned long long* out) const { return loadChecked(*this, out); }
bool LCMPTlv::getValue(unsigned int* out) const { return loadChecked(*this, out); }
bool LCMPTlv::getValue(unsigned short* out) const { return loadChecked(*this, out); }
bool LCMPTlv::getValue(unsigned char* out) const { return loadChecked(*this, out); }
bool LCMPTlv::getValue(long long* out) const { return loadChecked(*this, out); }
bool LCMPTlv::getValue(int* out) const { return loadChecked(*this, out); }
bool LCMPTlv::getValue(short* out) const { return loadChecked(*this, out); }
bool LCMPTlv::getValue(signed char* out) const { return loadChecked(*this, out); }
bool LCMPTlv::getValue(bool* out) const { return loadChecked(*this, out); }

unsigned long long LCMPTlv::getValueAsUInt64() const { return loadOrZero<unsigned long long>(*this); }
unsigned int LCMPTlv::getValueAsUInt32() const { return loadOrZero<unsigned int>(*this); }
unsigned short LCMPTlv::getValueAsUInt16() const { return loadOrZero<unsigned short>(*this); }
unsigned char LCMPTlv::getValueAsUInt8() const { return loadOrZero<unsigned char>(*this); }
long long LCMPTlv::getValueAsInt64() const { return loadOrZero<long long>(*this); }
int LCMPTlv::getValueAsInt32() const { return loadOrZero<int>(*this); }
short LCMPTlv::getValueAsInt16() const { return loadOrZero<short>(*this); }
signed char LCMPTlv::getValueAsInt8() const { return loadOrZero<signed char>(*this); }
bool LCMPTlv::getValueAsBool() const { return loadOrZero<bool>(*this); }

void LCMPTlv::getValue(char* out, int size) const {
    if (out == nullptr || size <= 0)
        return;
    const int available = val != nullptr ? std::min<int>(size, len) : 0;
    if (available > 0)
        std::memcpy(out, val, static_cast<std::size_t>(available));
    std::memset(out + available, 0, static_cast<std::size_t>(size - available));
}

int LCMPTlv::getValueArray(char* out, int maxSize) const {
    const int size = std::min<int>(maxSize, len);
    if (isPointerValid() && out != nullptr && size > 0)
        std::memcpy(out, val, static_cast<std::size_t>(size));
    return size;
}

std::string LCMPTlv::getValueAsString() const {
    std::string text;
    getValue(text);
    return text;
}

void LCMPTlv::getValue(std::string& out) const {
    if (isPointerValid())
        out.assign(reinterpret_cast<const char*>(val), len);
}

void LCMPTlv::getValue(std::string* out, int maxSize) const {
    const bool valid = isPointerValid();
    if (out == nullptr)
        return;
    if (!valid) {
        out->clear();
        return;
    }
    const int size = std::min<int>(std::max(maxSize, 0), len);
    const char* text = reinterpret_cast<const char*>(val);
    out->assign(text, std::find(text, text + size, '\0'));
}

bool LCMPTlv::getValue(boost::any* out) const {
    if (!isPointerValid() || out == nullptr)
        return false;
    switch (type) {
        case UINT64:
            *out = load<unsigned long long>(val);
            return true;
        case UINT32:
            *out = load<unsigned int>(val);
            return true;
        case UINT16:
            *out = load<unsigned short>(val);
            return true;
        case UINT8:
            *out = load<unsigned char>(val);
            return true;
        case INT64:
        case UNIX_TIME:
            *out = load<long long>(val);
            return true;
        case INT32:
            *out = load<int>(val);
            return true;
        case INT16:
            *out = load<short>(val);
            return true;
        case INT8:
            *out = load<signed char>(val);
            return true;
        case BOOLEAN:
            *out = load<bool>(val);
            return true;
        case STRING: {
            std::string text;
            getValue(&text, len);
            *out = text;
            return true;
        }
        default:
            return false;
    }
}

bool LCMPTlv::isPointerValid() const {
    if (val != nullptr)
        return true;
    LCMP_ERROR("Pointer val in LCMPTlv is invalid!");
    return false;
}

// ---------------------------------------------------------------- codec

int LCMPTlv::serialize(char* buf) const {
    char* value = putTlvHeader(buf, {id, type, len});
    const int size = tlvHeaderSize + len;
    // Without a value the length stands all the same: the caller's accounting of bytes stays true.
    if (len == 0 || !isPointerValid())
        return size;
    if (!putHostWord(value, val, lcmpTlvFixedWidth(type)))
        std::memcpy(value, val, len);
    return size;
}

int LCMPTlv::deserialize(const char* buf) {
    const TlvHeader header = getTlvHeader(buf);
    const char* value = buf + tlvHeaderSize;
    const unsigned int oldLength = len;
    id = header.oid;
    type = header.type;
    len = header.length;
    // Nearly always a number with as many bytes as its type has, and room for it. Each width is a way of its
    // own, so that in a row of elements the next one's place is known before this one's length is read.
    if (val != nullptr && header.length <= oldLength && header.length == lcmpTlvFixedWidth(header.type)) {
        switch (header.length) {
            case 8:
                store(val, getU64(value));
                return tlvHeaderSize + 8;
            case 4:
                store(val, getU32(value));
                return tlvHeaderSize + 4;
            case 2:
                store(val, getU16(value));
                return tlvHeaderSize + 2;
            default:
                break;
        }
    }
    takeValue(value, oldLength);
    return tlvHeaderSize + header.length;
}

void LCMPTlv::takeValue(const char* value, unsigned int oldLength) {
    if (len == 0)
        return;
    if ((val == nullptr || len > oldLength) && !makeRoom(oldLength)) {
        isPointerValid();  // tells that there is none
        return;
    }
    const unsigned int width = lcmpTlvFixedWidth(type);
    if (width > 1) {
        storeHostWord(val, len < width ? getShortWord(value, len, width) : getWord(value, width), width);
        return;
    }
    if (len < minimumBuffer)
        std::memset(val, 0, minimumBuffer);
    std::memcpy(val, value, len);
}
