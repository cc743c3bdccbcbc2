// The transport while memory runs out for a moment.
#include "failingMemory.h"
#include "station.h"

using Milliseconds = Station::Milliseconds;

namespace {

/// A station and its peer, before something comes.
struct Line {
    Line() {
        station.asks(peer);
        station.addEventReceiver(peer.host(), peer.port());
    }

    /// What a fault may have left on the way is taken off it.
    void clear() {
        while (station.handleWaiting() > 0) {
        }
        while (!peer.hasNothing())
            peer.receive();
    }

    struct Numbered : Station {
        using LcmpProtocolBase::lastMessageId;
    };

    Peer peer;
    Numbered station;
};

/// Serves, asks and sends an event.
void expectToWork(Line& line) {
    line.clear();
    line.peer.send(readRequest(9, {clockIs(0)}), line.station);
    EXPECT_EQ(line.station.handleWaiting(), 1);
    EXPECT_EQ(line.peer.receive().substr(0, 23), hex(header(3, 9)));
    line.peer.send(writeResponse(line.station.lastMessageId + 1U, 0, 0), line.station);
    EXPECT_TRUE(line.station.writeClock(2)) << line.station.getLastError();
    line.peer.receive();
    LCMPAmi event;
    EXPECT_TRUE(line.station.sendMessage(&event));
    EXPECT_EQ(line.peer.receive(), hex(amiFrame(0, 0, 0)));
}

template <typename Subject>
struct WithRequest : Subject {
    WithRequest() {
        this->peer.send(readRequest(7, {clockIs(0), Element(serialOid, STRING)}), this->station);
    }
};

struct WithWrite : Line {
    WithWrite() {
        peer.send(writeRequest(7, {Element::holding(serialOid, STRING, std::string(500, 's'))}), station);
    }
};

struct WithReply : Line {
    WithReply() {
        peer.send(readResponse(1, 0, 0, {Element::holding(serialOid, STRING, std::string(500, 's'))}),
                  station);
    }
};

/// Requests and events that come while the reply is awaited.
struct WithMuchBeforeAReply : WithRequest<Line> {
    WithMuchBeforeAReply() {
        for (unsigned int i = 0; i < 20; ++i)
            peer.send(amiFrame(i, 1, 2, {clockIs(i % 4)}), station);
        peer.send(writeResponse(1, 0, 0), station);
    }
};

template <typename Subject>
void failEach(const std::function<void(Subject&)>& work) {
    const int allocations = failEachAllocation<Subject>(
        work, [](Subject& line) { expectToWork(line); }, OnMalloc::quiet);
    EXPECT_GE(allocations, 1);
}

}  // namespace

TEST(UdpMemoryFault, WhileAReadIsServedLeavesNothingBehind) {
    failEach<WithRequest<Line>>([](WithRequest<Line>& line) { line.station.poll(Milliseconds(0)); });
}

TEST(UdpMemoryFault, WhileAWriteIsServedLeavesNothingBehind) {
    failEach<WithWrite>([](WithWrite& line) { line.station.onReadable(); });
}

TEST(UdpMemoryFault, WhileARequestIsSentLeavesNothingBehind) {
    failEach<WithReply>([](WithReply& line) { line.station.readProperty(line.station.serial()); });
}

TEST(UdpMemoryFault, WhileDatagramsAreKeptLeavesNothingBehind) {
    failEach<WithMuchBeforeAReply>([](WithMuchBeforeAReply& line) {
        line.station.writeClock(1);
        line.station.poll(Milliseconds(0));
    });
}

TEST(UdpMemoryFault, WhileEventsAreSentLeavesNothingBehind) {
    struct Changed : Line {
        Changed() {
            station.eventHandler();
            station.setClock(1);
        }
    };
    failEach<Changed>([](Changed& line) { line.station.eventHandler(); });
}

TEST(UdpMemoryFault, WhileARequestFailsLeavesNothingBehind) {
    struct Impatient : Line {
        Impatient() {
            station.setTimeout(Milliseconds(1));
            station.setTries(2);
        }
    };
    failEachAllocation<Impatient>([](Impatient& line) { line.station.readClock(); },
                                  [](Impatient& line) {
                                      line.station.setTimeout(Milliseconds(10000));
                                      expectToWork(line);
                                  },
                                  OnMalloc::quiet);
}

namespace {

struct Unopened {
    std::unique_ptr<LcmpUdpEndpoint> endpoint;
    Peer peer;

    bool open() {
        endpoint = std::make_unique<LcmpUdpEndpoint>();
        return endpoint->open("127.0.0.1", 0) && endpoint->setTarget("127.0.0.1", peer.port()) &&
               endpoint->allow("127.0.0.0/8") && endpoint->allow("192.0.2.0/24") &&
               endpoint->addEventReceiver("127.0.0.1", peer.port()) &&
               endpoint->addEventReceiver("127.0.0.2", peer.port());
    }
};

}  // namespace

TEST(UdpMemoryFault, WhileAnEndpointIsSetUpLeavesNothingBehind) {
    failEachAllocation<Unopened>([](Unopened& unopened) { EXPECT_TRUE(unopened.open()); },
                                 [](Unopened& unopened) { EXPECT_TRUE(unopened.open()); });
}

TEST(UdpMemoryFault, WhileOpeningFailsLeavesAnEndpointThatOpens) {
    failEachAllocation<Unopened>(
        [](Unopened& unopened) {
            unopened.endpoint = std::make_unique<LcmpUdpEndpoint>();
            EXPECT_FALSE(unopened.endpoint->open("127.0.0.1", unopened.peer.port()));
            EXPECT_FALSE(unopened.endpoint->setTarget("nowhere at all, but in a long text", 1));
            EXPECT_FALSE(unopened.endpoint->allow("nowhere at all, but in a long text"));
        },
        [](Unopened& unopened) { EXPECT_TRUE(unopened.open()); });
}
