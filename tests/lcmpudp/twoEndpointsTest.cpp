// Two endpoints that talk to each other: the card in a process of its own, because a request waits where it
// is sent.
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include "station.h"
#include "system.h"

using Milliseconds = Station::Milliseconds;

namespace {

// Serves from its birth until its other end is let go, by an event loop that is not the endpoint's.
class CardProcess {
public:
    explicit CardProcess(Station& card) {
        EXPECT_EQ(pipe(m_pipe), 0);
        m_process = fork();
        if (m_process == 0) {
            ::close(m_pipe[1]);
            serve(card, m_pipe[0]);
            _exit(testing::Test::HasFailure() ? 1 : 0);
        }
        EXPECT_GT(m_process, 0);
        ::close(m_pipe[0]);
        card.close();
    }

    ~CardProcess() {
        ::close(m_pipe[1]);
        int status = -1;
        EXPECT_EQ(waitpid(m_process, &status, 0), m_process);
        EXPECT_EQ(status, 0) << "the card's process";
    }

    CardProcess(const CardProcess&) = delete;
    CardProcess& operator=(const CardProcess&) = delete;

private:
    static void serve(Station& card, int untilClosed) {
        for (;;) {
            pollfd watched[] = {{card.getFileDescriptor(), POLLIN, 0}, {untilClosed, POLLIN, 0}};
            EXPECT_GE(poll(watched, 2, card.millisecondsToDeadline()), 0);
            if (watched[1].revents != 0)
                return;
            EXPECT_GE(watched[0].revents != 0 ? card.onReadable() : card.onDeadline(), 0)
                << card.getLastError();
        }
    }

    int m_pipe[2] = {-1, -1};
    pid_t m_process = -1;
};

}  // namespace

TEST(UdpTwoEndpoints, ControllerReadsWritesAndIsRefused) {
    Station card;
    Station controller;
    card.setClock(1);
    card.serial().set(std::string(1100, 'c'));
    ASSERT_TRUE(controller.setTarget("127.0.0.1", card.getLocalAddress().port));
    const CardProcess process(card);

    EXPECT_TRUE(controller.readObject(controller.control)) << controller.getLastError();
    EXPECT_EQ(controller.clockValue(), 1U);
    EXPECT_EQ(controller.serial().length(), 1100U);
    EXPECT_TRUE(controller.writeClock(3));
    controller.setClock(0);
    EXPECT_TRUE(controller.readClock());
    EXPECT_EQ(controller.clockValue(), 3U);
    EXPECT_FALSE(controller.writeClock(4)) << "no valid value";
    EXPECT_TRUE(controller.readClock());
    EXPECT_EQ(controller.clockValue(), 3U);
    EXPECT_EQ(controller.getCounters().timeouts, 0U);
}

TEST(UdpTwoEndpoints, CardReportsItsChangesToTheController) {
    Station card;
    Station controller;
    ASSERT_TRUE(controller.setTarget("127.0.0.1", card.getLocalAddress().port));
    ASSERT_TRUE(card.addEventReceiver("127.0.0.1", controller.getLocalAddress().port));
    card.eventHandler();
    card.setEventPeriod(Milliseconds(1));
    card.setClock(2);
    const CardProcess process(card);

    EXPECT_EQ(controller.poll(Milliseconds(20000)), 1);
    EXPECT_EQ(controller.journal, (std::vector<std::string>{"event of 1"}));
    EXPECT_EQ(controller.clockValue(), 2U);
}

TEST(UdpTwoEndpoints, HundredsOfRequestsAreAnsweredOneAfterTheOther) {
    Station card;
    Station controller;
    ASSERT_TRUE(controller.setTarget("127.0.0.1", card.getLocalAddress().port));
    const CardProcess process(card);
    for (unsigned int i = 0; i < 300; ++i) {
        ASSERT_TRUE(controller.writeClock(i % 4)) << i << ": " << controller.getLastError();
        ASSERT_TRUE(controller.readClock());
        ASSERT_EQ(controller.clockValue(), i % 4);
    }
    EXPECT_EQ(controller.getCounters().requests, 600U);
    EXPECT_EQ(controller.getCounters().handled, 600U);
    EXPECT_EQ(controller.getCounters().late + controller.getCounters().foreign, 0U);
}

// The card gets its turn at the moment when the controller begins to wait.
TEST(UdpTwoEndpoints, InOneProcessTheyTakeTurns) {
    Station card;
    Station controller;
    ASSERT_TRUE(controller.setTarget("127.0.0.1", card.getLocalAddress().port));
    ASSERT_TRUE(card.addEventReceiver("127.0.0.1", controller.getLocalAddress().port));
    System system(controller);
    system.onWait = [&] { card.handleWaiting(); };
    EXPECT_TRUE(controller.writeClock(3)) << controller.getLastError();
    EXPECT_EQ(card.clockValue(), 3U);
    card.setClock(1);
    EXPECT_TRUE(controller.readClock()) << controller.getLastError();
    EXPECT_EQ(controller.clockValue(), 1U);

    LCMPAmi event;
    card.setClock(2);
    event.addProperty(&card.clock());
    EXPECT_TRUE(card.sendMessage(&event));
    EXPECT_EQ(controller.handleWaiting(), 1);
    EXPECT_EQ(controller.clockValue(), 2U);
    EXPECT_EQ(card.handleWaiting(), 0) << "an event has no answer";
}
