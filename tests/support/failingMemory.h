// Every allocation of a piece of work made to fail once, in turn. A program that links this takes new and
// delete from here, and where no sanitizer has malloc for itself also malloc, calloc, realloc and free: they
// are counted, and one of them fails when a test wants it.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <new>
#include <string>

#include "capturedLog.h"

/// Who asked for the memory that was not there.
enum class Asker { nobody, malloc, new_, newNothrow };

struct MemoryFault {
    Asker asker = Asker::nobody;
    bool threw = false;  // std::bad_alloc came out of the work
    int errorLines = 0;  // that the library wrote meanwhile
};

/// Does some work while its allocation number `n`, from 0, fails; every other one succeeds. With fewer
/// allocations than that nothing fails.
MemoryFault workWithFault(int n, const std::function<void()>& work);

/// What is allocated in this process and not given back.
long liveAllocations();

enum class OnMalloc { errorLine, quiet, throws };

/// Does the work again and again, each time on a subject of its own and with another allocation failing,
/// until none is left to fail. Each time:
///
///   - a failing new is std::bad_alloc out of the work, a failing malloc is an answer of the work and at
///   least
///     one ERROR line (`quiet`: or none, where nothing is to be reported);
///   - the subject still works, by `expectToWork`;
///   - nothing is left behind when the subject is gone.
///
/// Returns how many allocations there were.
template <typename Subject>
int failEachAllocation(const std::function<void(Subject&)>& work,
                       const std::function<void(Subject&)>& expectToWork,
                       OnMalloc onMalloc = OnMalloc::errorLine) {
    const auto once = [&](int n) {
        Subject subject;
        const MemoryFault fault = workWithFault(n, [&] { work(subject); });
        const bool throws = fault.asker == Asker::malloc && onMalloc == OnMalloc::throws;
        EXPECT_EQ(fault.threw, fault.asker == Asker::new_ || throws) << "allocation " << n;
        const bool silent = fault.errorLines == 0 && onMalloc == OnMalloc::errorLine;
        EXPECT_FALSE(fault.asker == Asker::malloc && silent)
            << "allocation " << n << " is lost without a line";
        expectToWork(subject);
        return fault.asker;
    };
    constexpr int none = 1000000;
    once(none);  // what a process allocates once is there from now on
    for (int n = 0;; ++n) {
        SCOPED_TRACE("allocation " + std::to_string(n) + " fails");
        const long before = liveAllocations();
        const Asker asker = once(n);
        if (testing::Test::HasFailure())
            return n;
        EXPECT_EQ(liveAllocations(), before) << "left behind";
        if (asker == Asker::nobody)
            return n;
    }
}
