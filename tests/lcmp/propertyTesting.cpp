#include "propertyTesting.h"

#include <malloc.h>

#include <climits>
#include <iomanip>
#include <sstream>

#include "bytes.h"

#if defined(LCMP_UNDER_ADDRESS_SANITIZER)
// Its header does not come with every compiler that has the sanitizer.
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();
#endif

namespace {

constexpr char canary = '\xC5';

char byteOf(unsigned int value, unsigned int shift) { return static_cast<char>(value >> shift); }

void expectRefusesSize(LcmpProperty& property, int size, GuardedBytes& buffer) {
    const std::string before = buffer.str();
    EXPECT_EQ(property.serialize(buffer.data(), size), -1) << "size " << size;
    EXPECT_EQ(hex(buffer.str()), hex(before)) << "size " << size;
}

// Bytes that the process holds on the heap.
std::size_t heapInUse() {
#if defined(LCMP_UNDER_ADDRESS_SANITIZER)
    return __sanitizer_get_current_allocated_bytes();
#else
    const auto heap = mallinfo2();
    return heap.uordblks + heap.hblkhd;
#endif
}

class Grouping : public std::numpunct<char> {
protected:
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

}  // namespace

std::string element(unsigned int oid, unsigned int type, const std::string& value) {
    return element(oid, type, value, static_cast<unsigned int>(value.size()));
}

std::string element(unsigned int oid, unsigned int type, const std::string& value, unsigned int declared) {
    const std::string header{byteOf(oid, 24), byteOf(oid, 16),     byteOf(oid, 8),     byteOf(oid, 0),
                             byteOf(type, 0), byteOf(declared, 8), byteOf(declared, 0)};
    return header + value;
}

std::string wire(LcmpProperty& property) {
    GuardedBytes buffer(7 + std::size_t{property.length()}, canary);
    EXPECT_EQ(property.serialize(buffer.data(), buffer.size()), buffer.size());
    return buffer.str();
}

std::string wireValue(LcmpProperty& property) { return hex(wire(property).substr(7)); }

int deserializeFrom(LcmpProperty& property, const std::string& elementBytes) {
    GuardedBytes buffer(elementBytes);
    return property.deserialize(buffer.data());
}

int check(LcmpProperty& property, const std::string& elementBytes, bool checkValue) {
    GuardedBytes buffer(elementBytes);
    return property.checkBuffer(buffer.data(), checkValue);
}

void expectNeeds(LcmpProperty& property, int need) {
    for (int size = 0; size < need; ++size) {
        GuardedBytes tooSmall(static_cast<std::size_t>(size), canary);
        expectRefusesSize(property, size, tooSmall);
    }
    for (const int negative : {-1, -7, -need, INT_MIN + 6, INT_MIN}) {
        GuardedBytes roomy(static_cast<std::size_t>(need), canary);
        expectRefusesSize(property, negative, roomy);
    }
    GuardedBytes exact(static_cast<std::size_t>(need), canary);
    EXPECT_EQ(property.serialize(exact.data(), need), need);
    GuardedBytes larger(static_cast<std::size_t>(need) + 3, canary);
    EXPECT_EQ(property.serialize(larger.data(), need + 3), need);
    EXPECT_EQ(hex(larger.str()), hex(exact.str() + std::string(3, canary)));
}

std::string lineHead(const std::string& idInThree, const std::string& name) {
    std::ostringstream text;
    text << idInThree << " | " << std::setw(40) << name << " : ";
    return text.str();
}

void expectKeepsNoMemory(const std::function<void()>& action) {
    // The allocator keeps a few freed blocks at hand and counts them as used: they settle first.
    for (int i = 0; i < 20; ++i)
        action();
    const std::size_t before = heapInUse();
    for (int i = 0; i < 20; ++i)
        action();
    EXPECT_EQ(heapInUse(), before);
}

GroupedDigits::GroupedDigits()
    : m_before(std::locale::global(std::locale(std::locale::classic(), new Grouping))) {}

GroupedDigits::~GroupedDigits() { std::locale::global(m_before); }

std::string notImplemented(const LcmpProperty& property, const std::string& word) {
    return "[" + property.getName() + "] Not implemented for " + word + " (property " +
           std::to_string(static_cast<int>(property.getId())) + ", row " +
           std::to_string(static_cast<int>(property.getRow())) + ")";
}
