// What the command line is made of, while memory or the system fails for a moment.
#include <dlfcn.h>
#include <poll.h>
#include <signal.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <ostream>
#include <streambuf>
#include <string_view>

#include "eventLog.h"
#include "failingMemory.h"
#include "frameBuilder.h"
#include "stopSignals.h"
#include "support/failureOf.h"
#include "value.h"

namespace {

int waitError = 0;    // of the next wait
int actionError = 0;  // of the next sigaction

int take(int& error) {
    const int taken = error;
    error = 0;
    return taken;
}

template <typename Function>
Function* next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

// The program's calls end here: a definition in the program comes before the C library's. Under names of
// their own here, because the system's declarations say more than is so.
#define INTERPOSED extern "C" __attribute__((visibility("default")))

INTERPOSED int ppollOfTheTests(pollfd*, nfds_t, const timespec*, const sigset_t*) __asm__("ppoll");
INTERPOSED int sigactionOfTheTests(int, const struct sigaction*, struct sigaction*) __asm__("sigaction");

int ppollOfTheTests(pollfd* descriptors, nfds_t count, const timespec* limit, const sigset_t* mask) {
    static const auto real = next<int(pollfd*, nfds_t, const timespec*, const sigset_t*)>("ppoll");
    errno = take(waitError);
    return errno != 0 ? -1 : real(descriptors, count, limit, mask);
}

int sigactionOfTheTests(int signal, const struct sigaction* action, struct sigaction* before) {
    static const auto real = next<int(int, const struct sigaction*, struct sigaction*)>("sigaction");
    errno = take(actionError);
    return errno != 0 ? -1 : real(signal, action, before);
}

// ---------------------------------------------------------------- the system

TEST(StopSignalsFault, WaitThatTheSystemRefusesIsToldInWords) {
    for (const int error : {EFAULT, EINVAL, ENOMEM, EBADF}) {
        const tool::StopSignals signals;
        sigset_t before;
        sigset_t after;
        sigprocmask(SIG_SETMASK, nullptr, &before);
        waitError = error;
        EXPECT_EQ(failureOf([&] { signals.waitReadable(0, std::chrono::milliseconds(-1)); }),
                  std::string("1: wait for datagrams: ") + std::strerror(error));
        sigprocmask(SIG_SETMASK, nullptr, &after);
        EXPECT_EQ(sigismember(&after, SIGINT), sigismember(&before, SIGINT));
        EXPECT_EQ(failureOf([&] { signals.waitReadable(0, std::chrono::milliseconds(0)); }), "none");
    }
}

TEST(StopSignalsFault, SignalThatEndsAWaitIsNone) {
    const tool::StopSignals signals;
    waitError = EINTR;
    EXPECT_EQ(failureOf([&] { signals.waitReadable(0, std::chrono::milliseconds(-1)); }), "none");
}

TEST(StopSignalsFault, SignalsThatCannotBeCaughtAreToldInWords) {
    for (const int error : {EINVAL, EFAULT}) {
        actionError = error;
        EXPECT_EQ(failureOf([] { const tool::StopSignals signals; }),
                  std::string("1: catch signals: ") + std::strerror(error));
        EXPECT_EQ(failureOf([] { const tool::StopSignals signals; }), "none");
    }
}

// ---------------------------------------------------------------- memory

namespace {

struct Typed {
    LcmpTlvType type;
    std::string text;
    std::string wire;
};

const std::vector<Typed>& typedValues() {
    static const std::vector<Typed> all = {
        {UINT64, "1", "0000000000000001"},
        {UINT32, "2", "00000002"},
        {UINT16, "3", "0003"},
        {UINT8, "4", "04"},
        {INT64, "-1", "FFFFFFFFFFFFFFFF"},
        {INT32, "-2", "FFFFFFFE"},
        {INT16, "-3", "FFFD"},
        {INT8, "-4", "FC"},
        {BOOLEAN, "on", "01"},
        {STRING, "a text that is longer than a string holds by itself",
         hex("a text that is longer than a string holds by itself")},
        {IPv4ADDRESS, "192.0.2.1", "C0000201"},
        {UNIX_TIME, "2024-05-01T12:00:00Z", "0000000066322EC0"},
        {BYTE_ARRAY, "01 02 03", "010203"},
        {MAC_ADDRESS, "00:1b:21:3c:4d:5e", "001B213C4D5E"},
    };
    return all;
}

/// What is printed, without a need for memory.
class Page : public std::streambuf {
public:
    Page() { turn(); }
    void turn() { setp(m_text, m_text + sizeof m_text); }
    std::string_view text() const { return {pbase(), static_cast<std::size_t>(pptr() - pbase())}; }

private:
    char m_text[10000];
};

}  // namespace

// Above all, no element is left that would travel as zeros.
TEST(ToolMemoryFault, WhileAValueIsParsedIsNeverAnotherValue) {
    for (const Typed& typed : typedValues()) {
        SCOPED_TRACE(typed.text);
        const std::string wire = "11800002" + hex(bigEndian(typed.type, 1)) +
                                 hex(bigEndian(bytes(typed.wire).size(), 2)) + typed.wire;
        const auto work = [&] {
            tool::Element element(0x11800002);
            tool::parseValue(typed.type, typed.text, element);
            const tool::Element copy = element;
            EXPECT_EQ(copy.wireForm(), bytes(wire));
        };
        work();  // what a process allocates once is there from now on
        for (int n = 0;; ++n) {
            const long before = liveAllocations();
            const MemoryFault fault = workWithFault(n, work);
            EXPECT_EQ(fault.threw, fault.asker != Asker::nobody) << "allocation " << n;
            EXPECT_EQ(liveAllocations(), before) << "allocation " << n;
            if (fault.asker == Asker::nobody || HasFailure())
                break;
        }
    }
}

// As text: the JSON library needs memory to destroy what it holds, and ends the process without it.
TEST(ToolMemoryFault, WhileAnEventIsShownIsFollowedByOneThatIsShown) {
    using tool::EventLog;
    struct Watching {
        void receive(const std::string& event) {
            log.take({0xC0000201, 4711}, event.data(), static_cast<int>(event.size()));
        }

        Page page;
        std::ostream out{&page};
        EventLog log{out, out, EventLog::Format::text, 0};
    };
    const std::string event = amiFrame(
        1, 1714564800, 1, {::Element(0x51404000, INT32, "00000015"), ::Element(0x10800000, STRING, "61")});
    const std::string later = amiFrame(2, 1714564800, 1, {::Element(0x51404000, INT32, "00000016")});
    failEachAllocation<Watching>([&](Watching& watching) { watching.receive(event); },
                                 [&](Watching& watching) {
                                     watching.page.turn();
                                     watching.receive(later);
                                     EXPECT_NE(watching.page.text().find("22"), std::string::npos);
                                 },
                                 OnMalloc::throws);
}
