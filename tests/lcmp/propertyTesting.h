// Words for tests of properties: elements, buffers of exactly one size, the eleven typed accesses.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <locale>
#include <set>
#include <string>
#include <vector>

#include "capturedLog.h"
#include "lcmpProperty.h"

constexpr unsigned int varOid = 0x01000007;

/// The bytes of an element; it declares as many value bytes as it has, or what it is told to.
std::string element(unsigned int oid, unsigned int type, const std::string& value);
std::string element(unsigned int oid, unsigned int type, const std::string& value, unsigned int declared);

/// What the property serialises to, in a buffer of exactly that size before an unmapped page.
std::string wire(LcmpProperty& property);

/// The value bytes of that, as "01 02 03".
std::string wireValue(LcmpProperty& property);

/// deserialize, from a buffer of exactly these bytes before an unmapped page.
int deserializeFrom(LcmpProperty& property, const std::string& elementBytes);

/// checkBuffer, from such a buffer.
int check(LcmpProperty& property, const std::string& elementBytes, bool checkValue = true);

/// serialize needs `need` bytes: with fewer, or a negative number, it gives -1 and leaves the buffer as it
/// was; with more it writes none of those behind.
void expectNeeds(LcmpProperty& property, int need);

/// The beginning of a property's line: "  7 |                 label : ".
std::string lineHead(const std::string& idInThree, const std::string& name);

/// The action, done over and over, leaves the heap as it was.
void expectKeepsNoMemory(const std::function<void()>& action);

/// A process in which the application has chosen a locale that writes 1234567 as "1.234.567".
class GroupedDigits {
public:
    GroupedDigits();
    ~GroupedDigits();
    GroupedDigits(const GroupedDigits&) = delete;
    GroupedDigits& operator=(const GroupedDigits&) = delete;

private:
    std::locale m_before;
};

/// One of the eleven typed accesses of a property class, as that class shows it.
template <typename Property>
struct TypedAccess {
    std::string word;                               // what the refusal calls the type
    std::function<bool(Property&)> getLeavesAlone;  // gets, and tells whether the argument is as it was
    std::function<void(Property&)> set;
};

template <typename T, typename Property>
TypedAccess<Property> accessOf(const char* word, const T& probe) {
    return {word,
            [probe](Property& property) {
                T out = probe;
                property.get(&out);
                return out == probe;
            },
            [probe](Property& property) { property.set(probe); }};
}

template <typename Property>
TypedAccess<Property> arrayAccess() {
    return {"array of uint8_t",
            [](Property& property) {
                unsigned char data[] = "as it was";
                unsigned int length = 3;
                property.get(data, &length);
                return std::string(reinterpret_cast<char*>(data)) == "as it was" && length == 3;
            },
            [](Property& property) {
                unsigned char data[] = {1, 2, 3, 4, 5, 6};
                property.set(data, 6);
            }};
}

/// All eleven, in slot order.
template <typename Property>
std::vector<TypedAccess<Property>> typedAccesses() {
    return {accessOf<unsigned long long, Property>("uint64_t", 0x5A5A),
            accessOf<unsigned int, Property>("uint32_t", 0x5A5A),
            accessOf<unsigned short, Property>("uint16_t", 0x5A5A),
            accessOf<unsigned char, Property>("uint8_t", 0x5A),
            accessOf<long long, Property>("int64_t", 0x5A5A),
            accessOf<int, Property>("int32_t", 0x5A5A),
            accessOf<short, Property>("int16_t", 0x5A5A),
            accessOf<signed char, Property>("int8_t", 0x5A),
            accessOf<bool, Property>("bool", false),
            accessOf<std::string, Property>("std::string", "as it was"),
            arrayAccess<Property>()};
}

/// One ERROR line, nothing done.
template <typename Property>
void expectGetRefused(Property& property, const TypedAccess<Property>& access, const char* file,
                      const std::string& text) {
    const std::string before = wire(property);
    bool leftAlone = false;
    EXPECT_LOGS_FROM(file, "get", "ERROR", text, [&] { leftAlone = access.getLeavesAlone(property); });
    EXPECT_TRUE(leftAlone) << text;
    EXPECT_EQ(wire(property), before) << text;
}

template <typename Property>
void expectSetRefused(Property& property, const TypedAccess<Property>& access, const char* file,
                      const std::string& text) {
    const std::string before = wire(property);
    EXPECT_LOGS_FROM(file, "set", "ERROR", text, [&] { access.set(property); });
    EXPECT_EQ(wire(property), before) << text;
    EXPECT_FALSE(property.sendEvent()) << text;
}

/// "[name] Not implemented for WORD (property 5, row 0)".
std::string notImplemented(const LcmpProperty& property, const std::string& word);

/// Every get but those of `gets`, and every set but those of `sets`, ends in the base's refusal.
template <typename Property>
void expectAnswersOnly(Property& property, const std::set<std::string>& gets,
                       const std::set<std::string>& sets) {
    for (const TypedAccess<Property>& access : typedAccesses<Property>()) {
        const std::string text = notImplemented(property, access.word);
        if (gets.count(access.word) == 0)
            expectGetRefused(property, access, "lcmpPropertyBase.cpp", text);
        if (sets.count(access.word) == 0)
            expectSetRefused(property, access, "lcmpPropertyBase.cpp", text);
    }
}
