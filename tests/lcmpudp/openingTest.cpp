#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cerrno>

#include "station.h"
#include "system.h"

namespace {

bool isOpen(int fileDescriptor) { return fcntl(fileDescriptor, F_GETFD) >= 0; }

// No descriptor can be had while it lives.
class NoDescriptors {
public:
    NoDescriptors() {
        getrlimit(RLIMIT_NOFILE, &m_before);
        const rlimit none{0, m_before.rlim_max};
        EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    }
    ~NoDescriptors() { setrlimit(RLIMIT_NOFILE, &m_before); }
    NoDescriptors(const NoDescriptors&) = delete;
    NoDescriptors& operator=(const NoDescriptors&) = delete;

private:
    rlimit m_before{};
};

}  // namespace

TEST(UdpOpening, PortZeroTakesAFreePortAndTellsWhich) {
    LcmpUdpEndpoint first;
    LcmpUdpEndpoint second;
    ASSERT_TRUE(first.open("127.0.0.1", 0));
    ASSERT_TRUE(second.open("127.0.0.1", 0));
    EXPECT_EQ(first.getLocalAddress().host, 0x7F000001U);
    EXPECT_NE(first.getLocalAddress().port, 0);
    EXPECT_NE(first.getLocalAddress().port, second.getLocalAddress().port);
}

TEST(UdpOpening, BoundToAllAddressesTellsSo) {
    LcmpUdpEndpoint endpoint;
    ASSERT_TRUE(endpoint.open("0.0.0.0", 0));
    EXPECT_EQ(endpoint.getLocalAddress().host, 0U);
    EXPECT_NE(endpoint.getLocalAddress().port, 0);
}

TEST(UdpOpening, GivenPortIsTaken) {
    LcmpUdpEndpoint endpoint;
    ASSERT_TRUE(endpoint.open("127.0.0.1", 0));
    const std::uint16_t port = endpoint.getLocalAddress().port;
    ASSERT_TRUE(endpoint.open("127.0.0.1", port)) << "the open one is closed first";
    EXPECT_EQ(endpoint.getLocalAddress().port, port);
}

TEST(UdpOpening, SocketIsNotInherited) {
    LcmpUdpEndpoint endpoint;
    ASSERT_TRUE(endpoint.open("127.0.0.1", 0));
    EXPECT_NE(fcntl(endpoint.getFileDescriptor(), F_GETFD) & FD_CLOEXEC, 0);
}

TEST(UdpOpening, TakenPortIsAFaultInWordsAndLeavesTheEndpointClosed) {
    const Peer owner;
    LcmpUdpEndpoint endpoint;
    ASSERT_TRUE(endpoint.open("127.0.0.1", 0));
    const int before = endpoint.getFileDescriptor();
    EXPECT_FALSE(endpoint.open("127.0.0.1", owner.port()));
    EXPECT_EQ(endpoint.getLastError(), "bind " + lcmpUdpToText(owner.address()) + ": Address already in use");
    EXPECT_EQ(endpoint.getFileDescriptor(), -1);
    EXPECT_EQ(endpoint.getLocalAddress(), LcmpUdpAddress{});
    EXPECT_FALSE(isOpen(before));
}

TEST(UdpOpening, AddressOfSomebodyElseIsAFaultInWords) {
    LcmpUdpEndpoint endpoint;
    EXPECT_FALSE(endpoint.open("192.0.2.1", 17470));
    EXPECT_EQ(endpoint.getLastError(), "bind 192.0.2.1:17470: Cannot assign requested address");
}

TEST(UdpOpening, NameIsNoAddress) {
    LcmpUdpEndpoint endpoint;
    ASSERT_TRUE(endpoint.open("127.0.0.1", 0));
    EXPECT_FALSE(endpoint.open("localhost", 0));
    EXPECT_EQ(endpoint.getLastError(), "open localhost: not an IPv4 address");
    EXPECT_EQ(endpoint.getFileDescriptor(), -1);
}

TEST(UdpOpening, NoSocketToBeHadIsAFaultInWords) {
    LcmpUdpEndpoint endpoint;
    {
        const NoDescriptors none;
        EXPECT_FALSE(endpoint.open("127.0.0.1", 17470));
    }
    EXPECT_EQ(endpoint.getLastError(), "socket 127.0.0.1:17470: Too many open files");
}

TEST(UdpOpening, ClosingClosesTheSocketAndMayBeRepeated) {
    LcmpUdpEndpoint endpoint;
    endpoint.close();
    ASSERT_TRUE(endpoint.open("127.0.0.1", 0));
    const int socket = endpoint.getFileDescriptor();
    endpoint.close();
    endpoint.close();
    EXPECT_FALSE(isOpen(socket));
    EXPECT_EQ(endpoint.getFileDescriptor(), -1);
    EXPECT_EQ(endpoint.getLocalAddress(), LcmpUdpAddress{});
}

TEST(UdpOpening, DestructorClosesTheSocket) {
    int socket = -1;
    {
        LcmpUdpEndpoint endpoint;
        ASSERT_TRUE(endpoint.open("127.0.0.1", 0));
        socket = endpoint.getFileDescriptor();
    }
    EXPECT_FALSE(isOpen(socket));
}

TEST(UdpOpening, ClosingForgetsWhatWasKept) {
    Station station;
    const Peer peer;
    station.asks(peer);
    peer.send(readRequest(1, {clockIs(0)}), station);
    peer.send(writeResponse(1, 0, 0), station);
    ASSERT_TRUE(station.writeClock(3));
    ASSERT_EQ(station.getCounters().kept, 1U);
    station.close();
    ASSERT_TRUE(station.open("127.0.0.1", 0));
    EXPECT_EQ(station.millisecondsToDeadline(), -1);
    EXPECT_EQ(station.handleWaiting(), 0);
}

TEST(UdpOpening, ClosedEndpointSaysSoWhateverItIsAskedFor) {
    Station station;
    station.setEventPeriod(Station::Milliseconds(1));
    station.close();
    EXPECT_EQ(station.poll(Station::Milliseconds(-1)), -1);
    EXPECT_EQ(station.getLastError(), "poll: the endpoint is closed");
    EXPECT_EQ(station.onReadable(), -1);
    EXPECT_EQ(station.onDeadline(), -1);
    EXPECT_EQ(station.millisecondsToDeadline(), -1);
    EXPECT_FALSE(station.readClock());
    EXPECT_EQ(station.getLastError(), "request: the endpoint is closed");
    LCMPAmi event;
    EXPECT_FALSE(station.sendMessage(&event));
    EXPECT_EQ(station.getLastError(), "event: the endpoint is closed");
}

TEST(UdpOpening, AddressesThatCannotBeSentToAreRefused) {
    Station station;
    EXPECT_FALSE(station.setTarget("card-7", 17470));
    EXPECT_EQ(station.getLastError(), "target card-7: not an IPv4 address");
    EXPECT_FALSE(station.setTarget("127.0.0.1", 0));
    EXPECT_EQ(station.getLastError(), "target 127.0.0.1: nothing can be sent to port 0");
    EXPECT_FALSE(station.addEventReceiver("::1", 17470));
    EXPECT_EQ(station.getLastError(), "event receiver ::1: not an IPv4 address");
    EXPECT_FALSE(station.addEventReceiver("127.0.0.1", 0));
    EXPECT_EQ(station.getLastError(), "event receiver 127.0.0.1: nothing can be sent to port 0");
    EXPECT_FALSE(station.allow("127.0.0.1/33"));
    EXPECT_EQ(station.getLastError(), "allow 127.0.0.1/33: not a block of IPv4 addresses");
}

TEST(UdpOpening, RefusedTargetLeavesTheOneBefore) {
    Station station;
    const Peer peer;
    station.asks(peer);
    EXPECT_FALSE(station.setTarget("127.0.0.1", 0));
    EXPECT_FALSE(station.setTarget("nowhere", 1));
    peer.send(writeResponse(1, 0, 0), station);
    EXPECT_TRUE(station.writeClock(3));
}
