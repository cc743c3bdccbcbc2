// The programs under a flood of what nobody should send: what they say about it stays within ten lines a
// second and cause, and nothing is lost in silence.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <chrono>
#include <sstream>

#include "frameBuilder.h"
#include "program.h"
#include "scriptedCard.h"

namespace {

using testing::HasSubstr;

constexpr int datagrams = 2000;
constexpr int atOnce = 100;  // not more than a socket holds

// What a program has written about one cause.
struct Notices {
    long lines = 0;    // themselves
    long leftOut = 0;  // that were told of
    long counts = 0;   // lines that did
    long log = 0;      // lines of the library, whatever they say
};

Notices noticesIn(const std::string& text, const std::string& line, const std::string& cause) {
    Notices notices;
    std::istringstream lines(text);
    for (std::string one; std::getline(lines, one);) {
        notices.lines += one.find(line) != std::string::npos ? 1 : 0;
        notices.log += one.find("lcmp: [") == 0 ? 1 : 0;
        if (one.rfind(" more left out: " + cause) == std::string::npos)
            continue;
        ++notices.counts;
        notices.leftOut += std::stol(one.substr(one.find(' ')));
    }
    return notices;
}

// A program that listens, and somebody who floods it.
class Flooded {
public:
    Flooded(const std::vector<std::string>& arguments, const std::string& from = "127.0.0.1")
        : m_watches(arguments[0] == "watch"),
          m_program(arguments),
          m_address(addressIn(m_watches ? m_program.errLine() : m_program.outLine())),
          m_sender(from) {}

    /// Every one of them is received.
    void send(const std::string& frame) {
        for (int sent = 0; sent < datagrams; sent += atOnce) {
            for (int i = 0; i < atOnce; ++i)
                m_sender.send(frame, m_address);
            proveAlive();
        }
    }

    /// Something that it answers: what came before has been handled.
    void proveAlive() {
        if (m_watches) {
            m_friend.send(amiFrame(++m_id, 1714564800, 0, {{0x51404000, 5, "00000014"}}), m_address);
            EXPECT_THAT(m_program.outLine(), HasSubstr("temperature[0].value 20"));
            return;
        }
        EXPECT_EQ(run({"get", m_address, "identity.cardType"}).out, "identity.cardType = \"xxx\"\n");
    }

    /// Ends it, and returns what it has written on standard error.
    std::string end() {
        m_program.signal(SIGTERM);
        EXPECT_EQ(m_program.finish(), 0);
        const auto lived = std::chrono::steady_clock::now() - m_begin;
        m_seconds = static_cast<long>(std::chrono::ceil<std::chrono::seconds>(lived).count());
        return m_program.err();
    }

    /// Ten a second; and the last count comes at the end, whatever the time.
    long mostLines() const { return 10 * m_seconds + 1; }

private:
    static std::string addressIn(const std::string& line) { return line.substr(line.rfind(' ') + 1); }

    std::chrono::steady_clock::time_point m_begin = std::chrono::steady_clock::now();
    long m_seconds = 0;
    bool m_watches;
    Program m_program;
    std::string m_address;
    ScriptedCard m_sender;
    ScriptedCard m_friend;
    unsigned int m_id = 0;
};

void expectLimited(const Notices& notices, const Flooded& flooded) {
    EXPECT_GE(notices.lines, 5);
    // Each sign of life is a request whose number leaves a gap, and that is traced, too.
    EXPECT_LE(std::max(notices.lines, notices.log - datagrams / atOnce) + notices.counts,
              flooded.mostLines());
    EXPECT_EQ(notices.lines + notices.leftOut, datagrams);
}

TEST(Flood, WatchTellsOfBrokenFramesTenTimesASecond) {
    Flooded watch({"watch", "--listen", "127.0.0.1:0"});
    watch.send("OTN");
    expectLimited(noticesIn(watch.end(), "sent a frame of 3 bytes", "frames that are too short"), watch);
}

TEST(Flood, CardTracesBrokenFramesTenTimesASecond) {
    struct Row {
        const char* frame;
        const char* line;
        const char* cause;
    };
    const Row rows[] = {
        {"4F544E", "received message is to small", "trace of frames that are too short"},
        {"4F544E31 01 09 0007", "invalid action received!", "trace of frames of another kind"},
        {"4F544E31 01 05 0007 00", "has no room for its header", "trace of frames that end in their header"},
        {"4F544E31 01 01 0007 1180", "does not fit into the request",
         "trace of frames with an element that does not fit"},
    };
    for (const Row& row : rows) {
        Flooded card({"card", "--listen", "127.0.0.1:0", "--period", "0", "--trace", "4"});
        card.send(bytes(row.frame));
        expectLimited(noticesIn(card.end(), row.line, row.cause), card);
    }
}

TEST(Flood, CardTracesSoundRequestsInFull) {
    Flooded card({"card", "--listen", "127.0.0.1:0", "--period", "0", "--trace", "9"});
    for (int i = 0; i < 15; ++i)
        card.proveAlive();
    EXPECT_EQ(noticesIn(card.end(), "LCMP Read message", "?").lines, 15);
}

TEST(Flood, StrangersAreToldOfTenTimesASecond) {
    for (const std::string verb : {"card", "watch"}) {
        Flooded program({verb, "--listen", "127.0.0.1:0", "--allow", "127.0.0.1", "--trace", "4"},
                        "127.0.0.2");
        program.send("OTN");
        const std::string err = program.end();
        const Notices notices = noticesIn(err, "not allowed was dropped; see --allow",
                                          "datagrams from addresses that are not allowed");
        EXPECT_GE(notices.lines, 1);
        EXPECT_LE(notices.lines + notices.counts, program.mostLines());
        EXPECT_EQ(notices.lines + notices.leftOut, datagrams);
        EXPECT_THAT(err, testing::Not(HasSubstr("to small"))) << "it was decoded";
    }
}

TEST(Flood, WithoutTraceNothingIsSaidOfStrangers) {
    Flooded card({"card", "--listen", "127.0.0.1:0", "--period", "0", "--allow", "127.0.0.1"}, "127.0.0.2");
    card.send(readRequest(1));
    EXPECT_EQ(card.end(), "");
}

}  // namespace
