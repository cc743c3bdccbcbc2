// An element when memory runs out, and how often it asks for memory at all.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "bytes.h"
#include "capturedLog.h"
#include "failingMalloc.h"
#include "heldTlv.h"

namespace {

constexpr const char* mallocFailed = "malloc failed!";
constexpr const char* noValue = "Pointer val in LCMPTlv is invalid!";

void withoutMemory(const std::function<void()>& action) {
    failMallocAfter(0);
    action();
    mallocWorks();
}

/// How many buffers the action asks for.
int buffersFor(const std::function<void()>& action) {
    failMallocAfter(alwaysWorks);
    action();
    mallocWorks();
    return mallocCount();
}

struct Setter {
    const char* name;
    std::function<void(LCMPTlv&)> call;
    int type;
    int length;
};

const std::vector<Setter>& setters() {
    static const std::vector<Setter> all = {
        {"unsigned long long", [](LCMPTlv& e) { e.setValue(0x0102030405060708ULL); }, UINT64, 8},
        {"unsigned int", [](LCMPTlv& e) { e.setValue(7U); }, UINT32, 4},
        {"unsigned short", [](LCMPTlv& e) { e.setValue(static_cast<unsigned short>(7)); }, UINT16, 2},
        {"unsigned char", [](LCMPTlv& e) { e.setValue(static_cast<unsigned char>(7)); }, UINT8, 1},
        {"long long", [](LCMPTlv& e) { e.setValue(-7LL); }, INT64, 8},
        {"int", [](LCMPTlv& e) { e.setValue(-7); }, INT32, 4},
        {"short", [](LCMPTlv& e) { e.setValue(static_cast<short>(-7)); }, INT16, 2},
        {"signed char", [](LCMPTlv& e) { e.setValue(static_cast<signed char>(-7)); }, INT8, 1},
        {"bool", [](LCMPTlv& e) { e.setValue(true); }, BOOLEAN, 1},
        {"address", [](LCMPTlv& e) { e.setValue(7, static_cast<unsigned char>(IPv4ADDRESS)); }, IPv4ADDRESS,
         4},
        {"string", [](LCMPTlv& e) { e.setValue(std::string("0123456789")); }, STRING, 10},
        {"literal", [](LCMPTlv& e) { e.setValue("0123456789"); }, STRING, 10},
        {"text", [](LCMPTlv& e) { e.setValue("012", 3); }, STRING, 3},
        {"mac", [](LCMPTlv& e) { e.setValue("012345", 6, static_cast<unsigned char>(MAC_ADDRESS)); },
         MAC_ADDRESS, 6},
    };
    return all;
}

/// As it was made: the type and the length of the new value, and no value.
void expectAnnouncedOnly(const HeldTlv& element, int type, int length) {
    EXPECT_EQ(element.typeCode(), type);
    EXPECT_EQ(element.length(), length);
    EXPECT_TRUE(element.isEmpty());
}

TEST(TlvWithoutMemory, ASetterKeepsTypeAndLengthAndHoldsNoValue) {
    for (const Setter& setter : setters()) {
        SCOPED_TRACE(setter.name);
        EXPECT_LOGS_FROM("lcmpTlv.cpp", "setValue", "ERROR", mallocFailed, [&setter] {
            HeldTlv element;
            withoutMemory([&] { setter.call(element); });
            expectAnnouncedOnly(element, setter.type, setter.length);
        });
    }
}

TEST(TlvWithoutMemory, ASetterWritesOneErrorInAll) {
    for (const Setter& setter : setters()) {
        CapturedLog log;
        HeldTlv element;
        withoutMemory([&] { setter.call(element); });
        EXPECT_EQ(log.lines().size(), 1U) << setter.name << "\n" << log.all();
    }
}

TEST(TlvWithoutMemory, ASetterSucceedsWhenThereIsMemoryAgain) {
    for (const Setter& setter : setters()) {
        HeldTlv element;
        withoutMemory([&] { setter.call(element); });
        setter.call(element);
        EXPECT_FALSE(element.isEmpty()) << setter.name;
        EXPECT_FALSE(element.valToString().empty()) << setter.name;
    }
}

TEST(TlvWithoutMemory, ACopyHasNoValue) {
    EXPECT_LOGS_FROM("lcmpTlv.cpp", "LCMPTlv", "ERROR", mallocFailed, [] {
        HeldTlv original;
        original.setValue("hello", 5);
        original.id = 0x11800002;
        failMallocAfter(0);
        const HeldTlv copy(original);
        mallocWorks();
        EXPECT_EQ(copy.oid(), 0x11800002U);
        expectAnnouncedOnly(copy, STRING, 5);
        EXPECT_EQ(original.getValueAsString(), "hello");
    });
}

TEST(TlvWithoutMemory, AReceivedElementIsConsumedAndHoldsNoValue) {
    EXPECT_LOGS_FROM("lcmpTlv.cpp", "isPointerValid", "ERROR", noValue, [] {
        GuardedBytes wire(bytes("11800002 01 0004 01020304"));
        HeldTlv element;
        withoutMemory([&] { EXPECT_EQ(element.deserialize(wire.data()), 11); });
        EXPECT_EQ(element.oid(), 0x11800002U);
        expectAnnouncedOnly(element, UINT32, 4);
    });
}

TEST(TlvWithoutMemory, AReceivedElementWritesOneErrorInAll) {
    GuardedBytes wire(bytes("11800002 09 0003 616263"));
    CapturedLog log;
    HeldTlv element;
    withoutMemory([&] { EXPECT_EQ(element.deserialize(wire.data()), 10); });
    EXPECT_EQ(log.lines().size(), 1U) << log.all();
}

TEST(TlvWithoutMemory, AValueThatIsNotThereIsNotRead) {
    HeldTlv element;
    withoutMemory([&] { element.setValue(7U); });
    CapturedLog log;
    unsigned int out = 5;
    EXPECT_FALSE(element.getValue(&out));
    EXPECT_EQ(out, 5U);
    EXPECT_EQ(element.getValueAsUInt32(), 0U);
    EXPECT_EQ(log.count("ERROR", noValue), 2);
}

// ---------------------------------------------------------------- a buffer that cannot grow

TEST(TlvThatCannotGrow, IsWithoutAValueAndHasFreedTheOldOne) {
    EXPECT_LOGS_FROM("lcmpTlv.cpp", "setValue", "ERROR", mallocFailed, [] {
        HeldTlv element;
        element.setValue("short", 5);
        const void* old = element.buffer();
        withoutMemory([&] { element.setValue(std::string(100, 'x')); });
        expectAnnouncedOnly(element, STRING, 100);
        EXPECT_EQ(freeCount(), 1);
        EXPECT_EQ(lastFreed(), old);
    });
}

TEST(TlvThatCannotGrow, IsWithoutAValueAlsoForAWiderNumber) {
    EXPECT_LOGS_FROM("lcmpTlv.cpp", "setValue", "ERROR", mallocFailed, [] {
        HeldTlv element;
        element.setValue(true);
        const void* old = element.buffer();
        withoutMemory([&] { element.setValue(1ULL); });
        expectAnnouncedOnly(element, UINT64, 8);
        EXPECT_EQ(freeCount(), 1);
        EXPECT_EQ(lastFreed(), old);
    });
}

TEST(TlvThatCannotGrow, IsWithoutAValueAlsoWhenReceived) {
    EXPECT_LOGS_FROM("lcmpTlv.cpp", "isPointerValid", "ERROR", noValue, [] {
        GuardedBytes wire(bytes("11800002 09 0009 616263646566676869"));
        HeldTlv element;
        element.setValue("short", 5);
        const void* old = element.buffer();
        withoutMemory([&] { EXPECT_EQ(element.deserialize(wire.data()), 16); });
        expectAnnouncedOnly(element, STRING, 9);
        EXPECT_EQ(freeCount(), 1);
        EXPECT_EQ(lastFreed(), old);
    });
}

TEST(TlvThatCannotGrow, WritesOneErrorInAll) {
    CapturedLog log;
    HeldTlv element;
    element.setValue("short", 5);
    withoutMemory([&] { element.setValue(std::string(100, 'x')); });
    EXPECT_EQ(log.lines().size(), 1U) << log.all();
    log.clear();

    HeldTlv received;
    received.setValue(true);
    GuardedBytes wire(bytes("11800002 01 0004 01020304"));
    withoutMemory([&] { received.deserialize(wire.data()); });
    EXPECT_EQ(log.lines().size(), 1U) << log.all();
}

TEST(TlvThatCannotGrow, TakesAValueWhenThereIsMemoryAgain) {
    HeldTlv element;
    element.setValue("short", 5);
    withoutMemory([&] { element.setValue(std::string(100, 'x')); });
    element.setValue("now", 3);
    EXPECT_EQ(element.getValueAsString(), "now");
}

// ---------------------------------------------------------------- how often it asks

TEST(TlvBufferCount, IsOneForAFirstValue) {
    for (const Setter& setter : setters()) {
        HeldTlv element;
        EXPECT_EQ(buffersFor([&] { setter.call(element); }), 1) << setter.name;
    }
    GuardedBytes wire(bytes("11800002 01 0004 01020304"));
    HeldTlv received;
    EXPECT_EQ(buffersFor([&] { received.deserialize(wire.data()); }), 1);
}

TEST(TlvBufferCount, IsNoneForEqualAndSmallerValues) {
    HeldTlv element;
    element.setValue(std::string("0123456789"));
    GuardedBytes wire(bytes("11800002 01 0004 01020304"));
    EXPECT_EQ(buffersFor([&] {
                  for (const Setter& setter : setters()) {
                      // The same ten bytes for every one of them: the length stands for their number.
                      element.setValue("0123456789", 10);
                      setter.call(element);
                      element.len = 10;
                  }
                  element.deserialize(wire.data());
                  element.deserialize(wire.data());
              }),
              0);
    EXPECT_EQ(freeCount(), 0);
}

TEST(TlvBufferCount, IsNoneForCodingAndReadingAValue) {
    HeldTlv element;
    element.setValue(7U);
    GuardedBytes wire(11);
    EXPECT_EQ(buffersFor([&] {
                  EXPECT_EQ(element.serialize(wire.data()), 11);
                  EXPECT_EQ(element.deserialize(wire.data()), 11);
                  EXPECT_EQ(element.getValueAsUInt32(), 7U);
              }),
              0);
}

TEST(TlvBufferCount, IsOneForALongerValueAndTheOldOneGoesBack) {
    HeldTlv element;
    element.setValue("short", 5);
    const void* old = element.buffer();
    EXPECT_EQ(buffersFor([&] { element.setValue("123456789", 9); }), 1);
    EXPECT_EQ(freeCount(), 1);
    EXPECT_EQ(lastFreed(), old);
    EXPECT_EQ(element.getValueAsString(), "123456789");
}

TEST(TlvBufferCount, IsNoneForALengthOfZero) {
    GuardedBytes wire(bytes("11800002 09 0000"));
    HeldTlv element;
    EXPECT_EQ(buffersFor([&] {
                  element.setValue("", 0);
                  EXPECT_EQ(element.deserialize(wire.data()), 7);
                  const LCMPTlv copy(element);
                  EXPECT_TRUE(copy.val == nullptr);
              }),
              0);
}

TEST(TlvBuffer, HoldsAtLeastEightBytesAndTheWholeValue) {
    for (int length = 1; length <= 40; ++length) {
        const std::string value(static_cast<std::size_t>(length), 'x');
        HeldTlv element;
        EXPECT_EQ(buffersFor([&] { element.setValue(value.data(), length); }), 1);
        EXPECT_GE(lastMallocSize(), static_cast<std::size_t>(std::max(8, length)));
        EXPECT_EQ(buffersFor([&] { HeldTlv copy(element); }), 1);
        EXPECT_GE(lastMallocSize(), static_cast<std::size_t>(std::max(8, length)));
    }
}

// ---------------------------------------------------------------- the tool itself

TEST(FailingMalloc, CountsDownToTheFailure) {
    failMallocAfter(2);
    void* first = std::malloc(1);
    void* second = std::calloc(1, 1);
    void* third = std::malloc(1);
    void* fourth = std::calloc(1, 1);
    mallocWorks();
    void* fifth = std::malloc(1);
    EXPECT_NE(first, nullptr);
    EXPECT_NE(second, nullptr);
    EXPECT_EQ(third, nullptr);
    EXPECT_EQ(fourth, nullptr);
    EXPECT_NE(fifth, nullptr);
    EXPECT_EQ(mallocCount(), 4);
    std::free(first);
    std::free(second);
    std::free(fifth);
}

TEST(FailingMalloc, LeavesNewAlone) {
    failMallocAfter(0);
    const std::string text(1000, 'x');
    mallocWorks();
    EXPECT_EQ(mallocCount(), 0);
    EXPECT_EQ(text.size(), 1000U);
}

}  // namespace
