// Every call that the transport makes to the system fails once, with each error that it can give: that is
// reported, nothing is left open, and the next request is served.
#include <cerrno>
#include <cstring>

#include "callFaults.h"
#include "station.h"
#include "system.h"

using Milliseconds = Station::Milliseconds;

namespace {

/// Whose request it is that a station serves or sends, and its answer.
void expectToServe(Station& card, unsigned int id = 77) {
    Peer controller;
    controller.send(readRequest(id, {clockIs(0)}), {0x7F000001, card.getLocalAddress().port});
    EXPECT_EQ(card.poll(Milliseconds(10000)), 1) << card.getLastError();
    EXPECT_EQ(controller.receive().substr(0, 23), hex(header(3, id)));
}

void expectToAsk(Station& controller, unsigned int id) {
    Peer card;
    controller.asks(card);
    card.send(writeResponse(id, 0, 0), controller);
    EXPECT_TRUE(controller.writeClock(3)) << controller.getLastError();
}

std::string textOf(const LcmpUdpEndpoint& endpoint) { return lcmpUdpToText(endpoint.getLocalAddress()); }

bool isPassing(int error) { return error == EAGAIN || error == ENOBUFS || error == ECONNREFUSED; }

/// A test for each error that a call can give.
class WithError : public testing::TestWithParam<int> {
protected:
    const int error = GetParam();
    const std::string words = std::strerror(error);
};

/// Each error once: some have two names.
auto errors(std::set<int> numbers) { return testing::ValuesIn(numbers); }

std::string nameOf(const testing::TestParamInfo<int>& info) { return strerrorname_np(info.param); }

}  // namespace

// ---------------------------------------------------------------- opening and closing

namespace {

struct Call {
    const char* name;
    int error;
};

void PrintTo(const Call& call, std::ostream* out) { *out << call.name; }

std::vector<Call> openingCalls() {
    const std::vector<std::pair<const char*, std::set<int>>> table = {
        {"socket", {EACCES, EAFNOSUPPORT, EINVAL, EMFILE, ENFILE, ENOBUFS, ENOMEM, EPROTONOSUPPORT, EPERM}},
        {"setsockopt", {EBADF, EFAULT, EINVAL, ENOPROTOOPT, ENOTSOCK, ENOMEM, ENOBUFS, EPERM}},
        {"bind", {EACCES, EADDRINUSE, EBADF, EINVAL, ENOTSOCK, EADDRNOTAVAIL, EFAULT, ENOMEM, EPERM, EAGAIN}},
        {"getsockname", {EBADF, EFAULT, EINVAL, ENOBUFS, ENOTSOCK}},
    };
    std::vector<Call> calls;
    for (const auto& row : table) {
        for (const int error : row.second)
            calls.push_back({row.first, error});
    }
    return calls;
}

std::string nameOfCall(const testing::TestParamInfo<Call>& info) {
    return std::string(info.param.name) + "_" + strerrorname_np(info.param.error);
}

}  // namespace

class UdpOpeningFault : public testing::TestWithParam<Call> {
protected:
    /// Opening fails with the name of the call and the words of the error.
    void expectRefused(Station& station) {
        CallFault fault(GetParam().name, GetParam().error);
        EXPECT_FALSE(station.open("0.0.0.0", 0));
        EXPECT_TRUE(fault.happened());
        EXPECT_EQ(station.getLastError(),
                  std::string(GetParam().name) + " 0.0.0.0:0: " + std::strerror(GetParam().error));
        EXPECT_EQ(station.getFileDescriptor(), -1);
        EXPECT_EQ(station.getLocalAddress(), LcmpUdpAddress{});
    }
};

TEST_P(UdpOpeningFault, IsToldInWordsLeavesNothingOpenAndPasses) {
    const int before = openDescriptors();
    {
        Station station;
        EXPECT_EQ(openDescriptors(), before + 1);
        expectRefused(station);
        EXPECT_EQ(openDescriptors(), before);
        EXPECT_EQ(station.poll(Milliseconds(0)), -1);
        ASSERT_TRUE(station.open("0.0.0.0", 0)) << station.getLastError();
        expectToServe(station);
    }
    EXPECT_EQ(openDescriptors(), before);
}

INSTANTIATE_TEST_SUITE_P(Every, UdpOpeningFault, testing::ValuesIn(openingCalls()), nameOfCall);

using UdpClosingFault = WithError;

TEST_P(UdpClosingFault, LeavesNothingOpenAndAnEndpointThatOpensAgain) {
    const int before = openDescriptors();
    Station station;
    CallFault fault("close", error);
    station.close();
    EXPECT_TRUE(fault.happened());
    EXPECT_EQ(station.getFileDescriptor(), -1);
    EXPECT_EQ(openDescriptors(), before);
    ASSERT_TRUE(station.open("127.0.0.1", 0));
    expectToServe(station);
}

INSTANTIATE_TEST_SUITE_P(Every, UdpClosingFault, errors({EBADF, EINTR, EIO, ENOSPC, EDQUOT}), nameOf);

// ---------------------------------------------------------------- receiving

using UdpReceivingFault = WithError;

TEST_P(UdpReceivingFault, HidesNoRequestFromACard) {
    for (const char* bound : {"127.0.0.1", "0.0.0.0"}) {
        const int before = openDescriptors();
        Station card(bound);
        {
            Peer controller;
            System system(card);
            system.receiveErrors = {error};
            controller.send(readRequest(1, {clockIs(0)}), {0x7F000001, card.getLocalAddress().port});
            const int handled = card.poll(Milliseconds(10000));
            const bool ends = error != EINTR && !isPassing(error);
            EXPECT_EQ(handled, ends ? -1 : 1);
            EXPECT_EQ(card.getLastError(), ends ? "receive on " + textOf(card) + ": " + words : "");
            EXPECT_EQ(card.getCounters().receiveFailures, error == EINTR || error == EAGAIN ? 0U : 1U);
            if (ends) {
                EXPECT_EQ(card.poll(Milliseconds(10000)), 1);
            }
            EXPECT_EQ(controller.receive(), hex(readResponse(1, 0, 0, {clockIs(128)})));
        }
        expectToServe(card);
        EXPECT_EQ(openDescriptors(), before + 1);
    }
}

TEST_P(UdpReceivingFault, HidesNoRequestFromACardThatWaitsInTheReceive) {
    for (const char* bound : {"127.0.0.1", "0.0.0.0"}) {
        Station card(bound);
        Peer controller;
        const LcmpUdpAddress asked{0x7F000001, card.getLocalAddress().port};
        System system(card);
        for (unsigned int id = 1; id <= 4; ++id) {
            // After the first the card waits so; the second takes several at once, the others one.
            const bool fails = id == 2 || id == 4;
            system.receiveErrors = fails ? std::deque<int>{error} : std::deque<int>{};
            system.onWait = once([&] { controller.send(readRequest(id, {clockIs(0)}), asked); });
            const int expected = !fails || isPassing(error) ? 1 : error == EINTR ? 0 : -1;
            EXPECT_EQ(card.poll(Milliseconds(10000)), expected);
            if (expected != 1) {
                EXPECT_EQ(card.poll(Milliseconds(10000)), 1);
            }
            EXPECT_EQ(controller.receive(), hex(readResponse(id, 0, 0, {clockIs(128)})));
        }
        EXPECT_GE(system.patientReceives, 1) << bound;
        EXPECT_EQ(card.getCounters().receiveFailures, error == EINTR || error == EAGAIN ? 0U : 2U);
    }
}

TEST_P(UdpReceivingFault, EndsARequestOrPasses) {
    const int before = openDescriptors();
    Station controller;
    {
        Peer card;
        controller.asks(card);
        System system(controller);
        system.receiveErrors = {error};
        card.send(writeResponse(1, 0, 0), controller);
        const bool ends = error != EINTR && !isPassing(error);
        EXPECT_EQ(controller.writeClock(2), !ends);
        EXPECT_EQ(controller.getLastError(), ends ? "receive on " + textOf(controller) + ": " + words : "");
        EXPECT_EQ(controller.getCounters().timeouts, 0U);
    }
    expectToAsk(controller, 2);
    expectToServe(controller);
    EXPECT_EQ(openDescriptors(), before + 1);
}

// Of recvfrom and recvmsg, and those of a datagram sent before that are told here.
INSTANTIATE_TEST_SUITE_P(Every, UdpReceivingFault,
                         errors({EAGAIN,       EWOULDBLOCK, EBADF,      ECONNREFUSED, EFAULT,     EINTR,
                                 EINVAL,       ENOMEM,      ENOTCONN,   ENOTSOCK,     ECONNRESET, EHOSTDOWN,
                                 EHOSTUNREACH, ENETUNREACH, ENETDOWN,   EMSGSIZE,     EPROTO,     ENOPROTOOPT,
                                 ENOBUFS,      EIO,         EOPNOTSUPP, EPERM,        ETIMEDOUT}),
                         nameOf);

// ---------------------------------------------------------------- sending

using UdpSendingFault = WithError;

TEST_P(UdpSendingFault, CostsACardOneAnswerAndIsCounted) {
    for (const char* bound : {"127.0.0.1", "0.0.0.0"}) {
        const int before = openDescriptors();
        Station card(bound);
        {
            Peer controller;
            System system(card);
            system.sendErrors = {error};
            controller.send(readRequest(1, {clockIs(0)}), {0x7F000001, card.getLocalAddress().port});
            EXPECT_EQ(card.poll(Milliseconds(10000)), 1);
            EXPECT_EQ(controller.hasNothing(), error != EINTR);
            EXPECT_EQ(card.getCounters().sendFailures, error == EINTR ? 0U : 1U);
            EXPECT_EQ(card.getLastError(),
                      error == EINTR ? "" : "send to " + lcmpUdpToText(controller.address()) + ": " + words);
        }
        expectToServe(card);
        EXPECT_EQ(openDescriptors(), before + 1);
    }
}

TEST_P(UdpSendingFault, EndsARequestOrCostsItOneTry) {
    const int before = openDescriptors();
    Station controller;
    {
        Peer card;
        controller.asks(card);
        controller.setTries(2);
        System system(controller);
        system.freezeTime();
        system.sendErrors = {error};
        system.onSent = [&] { card.send(writeResponse(1, 0, 0), controller); };
        const bool ends = error != EINTR && !isPassing(error);
        EXPECT_EQ(controller.writeClock(2), !ends);
        EXPECT_EQ(controller.getCounters().retries, isPassing(error) ? 1U : 0U);
        EXPECT_EQ(controller.getCounters().sendFailures, error == EINTR ? 0U : 1U);
        EXPECT_EQ(controller.getLastError(),
                  error == EINTR ? "" : "send to " + lcmpUdpToText(card.address()) + ": " + words);
    }
    expectToAsk(controller, 2);
    expectToServe(controller);
    EXPECT_EQ(openDescriptors(), before + 1);
}

TEST_P(UdpSendingFault, CostsOneReceiverOneEvent) {
    Station card;
    Peer first;
    Peer second;
    for (const Peer* receiver : {&first, &second})
        ASSERT_TRUE(card.addEventReceiver(receiver->host(), receiver->port()));
    LCMPAmi event;
    System system(card);
    system.sendErrors = {error};
    EXPECT_EQ(card.sendMessage(&event), error == EINTR);
    EXPECT_EQ(first.hasNothing(), error != EINTR);
    EXPECT_FALSE(second.hasNothing());
    EXPECT_EQ(card.getCounters().sendFailures, error == EINTR ? 0U : 1U);
    EXPECT_EQ(card.getLastError(),
              error == EINTR ? "" : "send to " + lcmpUdpToText(first.address()) + ": " + words);
    EXPECT_TRUE(card.sendMessage(&event));
    EXPECT_FALSE(first.hasNothing());
}

// Of sendto and sendmsg, and those of the way that the datagram would take.
INSTANTIATE_TEST_SUITE_P(
    Every, UdpSendingFault,
    errors({EACCES,       EAGAIN,   EWOULDBLOCK, EALREADY,      EBADF,        ECONNREFUSED, ECONNRESET,
            EDESTADDRREQ, EFAULT,   EINTR,       EINVAL,        EISCONN,      EMSGSIZE,     ENOBUFS,
            ENOMEM,       ENOTCONN, ENOTSOCK,    EOPNOTSUPP,    EPIPE,        EPERM,        ENETUNREACH,
            EHOSTUNREACH, ENETDOWN, EHOSTDOWN,   EADDRNOTAVAIL, EAFNOSUPPORT, EIO}),
    nameOf);

// ---------------------------------------------------------------- waiting

using UdpWaitingFault = WithError;

TEST_P(UdpWaitingFault, EndsAPollAndIsGoneAtTheNext) {
    const int before = openDescriptors();
    Station card;
    {
        Peer controller;
        System system(card);
        system.waitErrors = {error};
        system.onWait = once([&] { controller.send(readRequest(1, {clockIs(0)}), card); });
        const int expected = error == EINTR ? 0 : isPassing(error) ? 1 : -1;
        EXPECT_EQ(card.poll(Milliseconds(10000)), expected);
        EXPECT_EQ(card.getLastError(), expected == -1 ? "wait on " + textOf(card) + ": " + words : "");
    }
    if (error != EAGAIN) {
        expectToServe(card);
    }
    EXPECT_EQ(openDescriptors(), before + 1);
}

TEST_P(UdpWaitingFault, EndsARequestOrPasses) {
    const int before = openDescriptors();
    Station controller;
    {
        Peer card;
        controller.asks(card);
        System system(controller);
        system.waitErrors = {error};
        system.onWait = once([&] { card.send(writeResponse(1, 0, 0), controller); });
        const bool ends = error != EINTR && !isPassing(error);
        EXPECT_EQ(controller.writeClock(2), !ends);
        EXPECT_EQ(controller.getLastError(), ends ? "wait on " + textOf(controller) + ": " + words : "");
    }
    expectToAsk(controller, 2);
    expectToServe(controller);
    EXPECT_EQ(openDescriptors(), before + 1);
}

INSTANTIATE_TEST_SUITE_P(Every, UdpWaitingFault, errors({EFAULT, EINTR, EINVAL, ENOMEM, EAGAIN, EBADF}),
                         nameOf);

// ---------------------------------------------------------------- datagrams that are less than a frame

// As long as the wait lasts, whatever else comes costs nothing but its place.
TEST(UdpDatagramFault, ShortOnesAndCutOnesDoNotEndARequest) {
    const std::string reply = writeResponse(1, 0, 0);
    for (std::size_t size = 0; size < reply.size(); ++size) {
        Station controller;
        Peer card;
        controller.asks(card);
        System system(controller);
        card.send(reply.substr(0, size), controller);
        card.send(reply, controller);
        // With eight bytes it can be told for the reply, and is refused as one that is too short.
        EXPECT_EQ(controller.writeClock(2), size < requestHeader) << size;
        EXPECT_EQ(controller.getCounters().empty, size == 0 ? 1U : 0U);
        EXPECT_EQ(controller.getCounters().timeouts, 0U);
        while (controller.handleWaiting() > 0) {
        }
        expectToAsk(controller, 2);
    }
}

TEST(UdpDatagramFault, ReplyThatIsCutIsAwaitedAgain) {
    Station controller;
    Peer card;
    controller.asks(card);
    System system(controller);
    system.cutsNextDatagram = true;
    card.send(writeResponse(1, 0, 0), controller);
    card.send(writeResponse(1, 0, 0), controller);
    EXPECT_TRUE(controller.writeClock(2));
    EXPECT_EQ(controller.getCounters().truncated, 1U);
}

TEST(UdpDatagramFault, EveryPrefixOfARequestLeavesACardThatServes) {
    Station card;
    const std::string request = writeRequest(1, {clockIs(3), Element::holding(serialOid, STRING, "abc")});
    for (std::size_t size = 0; size < request.size(); ++size) {
        Peer controller;
        controller.send(request.substr(0, size), card);
        EXPECT_EQ(card.handleWaiting(), size == 0 ? 0 : 1);
        const bool whole = size == requestHeader || size == requestHeader + clockIs(3).bytes().size();
        EXPECT_EQ(controller.hasNothing(), size < requestHeader) << size;
        EXPECT_EQ(card.clockValue(), whole && size > requestHeader ? 3U : 128U) << size;
        card.setClock(128);
        expectToServe(card);
    }
}
