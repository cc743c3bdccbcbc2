#include "workers.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <array>
#include <stdexcept>
#include <vector>

namespace {

using tool::Workers;
using Messages = std::vector<std::string>;

constexpr int longestWait = 30000;  // milliseconds

// Workers and what they have said, by number.
class Team {
public:
    void start(std::size_t number, const Workers::Work& work) { workers.start(number, work); }

    /// Takes until all have ended.
    void finish() {
        while (workers.running() != 0)
            take();
    }

    void take() {
        workers.take(longestWait, [this](std::size_t number, const std::optional<std::string>& message) {
            if (message)
                said[number].push_back(*message);
            else
                ++ended[number];
        });
    }

    Workers workers;
    std::map<std::size_t, Messages> said;
    std::map<std::size_t, int> ended;
};

TEST(Workers, HandOverTheirMessagesWholeAndInOrder) {
    Team team;
    const std::string large(300000, 'x');  // more than a pipe holds
    team.start(7, [&](const Workers::Send& send) {
        send("one");
        send("");
        send(large);
        send(std::string(1, '\0'));
    });
    team.finish();
    EXPECT_EQ(team.said[7], (Messages{"one", "", large, std::string(1, '\0')}));
    EXPECT_EQ(team.ended[7], 1);
}

TEST(Workers, WorkAtTheSameTime) {
    std::array<int, 2> pipeEnds{};
    ASSERT_EQ(pipe(pipeEnds.data()), 0);
    Team team;
    team.start(0, [&](const Workers::Send& send) {
        char c = 0;
        send(read(pipeEnds[0], &c, 1) == 1 ? std::string(1, c) : "nothing");
    });
    team.start(1, [&](const Workers::Send& send) {
        send(write(pipeEnds[1], "!", 1) == 1 ? "written" : "not written");
    });
    team.finish();
    EXPECT_EQ(team.said[0], Messages{"!"}) << "the first waits for the second";
    EXPECT_EQ(team.said[1], Messages{"written"});
    close(pipeEnds[0]);
    close(pipeEnds[1]);
}

TEST(Workers, AreProcessesOfTheirOwn) {
    int counter = 0;
    Team team;
    team.start(0, [&](const Workers::Send& send) { send(std::to_string(++counter)); });
    team.finish();
    EXPECT_EQ(team.said[0], Messages{"1"});
    EXPECT_EQ(counter, 0);
}

TEST(Workers, OneThatThrowsHasEnded) {
    Team team;
    team.start(3, [](const Workers::Send& send) {
        send("before");
        throw std::runtime_error("what nobody catches");
    });
    team.finish();
    EXPECT_EQ(team.said[3], Messages{"before"});
    EXPECT_EQ(team.ended[3], 1);
}

TEST(Workers, LeaveTheSignalsOfATerminalToTheirStarter) {
    Team team;
    team.start(0, [](const Workers::Send& send) {
        for (const int signal : {SIGINT, SIGTERM, SIGHUP})
            raise(signal);
        send("still there");
    });
    team.finish();
    EXPECT_EQ(team.said[0], Messages{"still there"});
}

TEST(Workers, OneThatIsKilledHasEnded) {
    Team team;
    team.start(0, [](const Workers::Send& send) {
        send("whole");
        raise(SIGKILL);
    });
    team.finish();
    EXPECT_EQ(team.said[0], Messages{"whole"});
    EXPECT_EQ(team.ended[0], 1);
}

TEST(Workers, EndWithTheirObject) {
    std::array<int, 2> pipeEnds{};
    ASSERT_EQ(pipe(pipeEnds.data()), 0);
    {
        Team team;
        team.start(0, [](const Workers::Send& send) {
            send("ready");
            for (;;)
                pause();
        });
        while (team.said[0].empty())
            team.take();
        EXPECT_EQ(team.workers.running(), 1U);
    }
    close(pipeEnds[1]);
    pollfd end = {pipeEnds[0], POLLIN, 0};
    EXPECT_EQ(poll(&end, 1, longestWait), 1) << "a process still holds the other end";
    EXPECT_NE(end.revents & POLLHUP, 0);
    close(pipeEnds[0]);
}

TEST(Workers, TellOfAnotherFileDescriptorThatIsReadable) {
    std::array<int, 2> pipeEnds{};
    ASSERT_EQ(pipe(pipeEnds.data()), 0);
    Team team;
    team.workers.include(pipeEnds[0]);
    pollfd readable = {team.workers.fileDescriptor(), POLLIN, 0};
    EXPECT_EQ(poll(&readable, 1, 0), 0);
    ASSERT_EQ(write(pipeEnds[1], "!", 1), 1);
    EXPECT_EQ(poll(&readable, 1, longestWait), 1);
    team.take();
    EXPECT_TRUE(team.said.empty());
    close(pipeEnds[0]);
    close(pipeEnds[1]);
}

TEST(Workers, DoNotWaitWhenTheyNeedNot) {
    Team team;
    team.workers.take(0, [](std::size_t, const std::optional<std::string>&) { FAIL(); });
}

}  // namespace
