// lcmp card as a process: asked over its socket and with the other verbs.
#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "bytes.h"
#include "frameBuilder.h"
#include "patience.h"
#include "program.h"

using namespace testing;

namespace {

using Arguments = std::vector<std::string>;

// A socket that knows nothing of the protocol.
class Socket {
public:
    Socket() : m_socket(socket(AF_INET, SOCK_DGRAM, 0)) {
        sockaddr_in address = loopback(0);
        socklen_t size = sizeof address;
        auto* place = reinterpret_cast<sockaddr*>(&address);
        EXPECT_EQ(bind(m_socket, place, size), 0);
        EXPECT_EQ(getsockname(m_socket, place, &size), 0);
        m_port = ntohs(address.sin_port);
    }
    ~Socket() { close(m_socket); }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

    std::string address() const { return "127.0.0.1:" + std::to_string(m_port); }

    void send(const std::string& frame, const std::string& to) const {
        const sockaddr_in address = loopback(std::stoi(to.substr(to.find(':') + 1)));
        EXPECT_EQ(sendto(m_socket, frame.data(), frame.size(), 0, reinterpret_cast<const sockaddr*>(&address),
                         sizeof address),
                  static_cast<ssize_t>(frame.size()));
    }

    /// The next datagram; "" and a test failure when none comes.
    std::string receive() const {
        pollfd readable = {m_socket, POLLIN, 0};
        if (poll(&readable, 1, longestWait) != 1) {
            ADD_FAILURE() << "no datagram came";
            return "";
        }
        std::string frame(65535, '\0');
        const ssize_t size = recv(m_socket, frame.data(), frame.size(), 0);
        frame.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
        return frame;
    }

private:
    static sockaddr_in loopback(int port) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(static_cast<std::uint16_t>(port));
        return address;
    }

    int m_socket;
    int m_port = 0;
};

// A running card. Its values stand still unless the test says otherwise.
class Card {
public:
    explicit Card(const Arguments& options = {"--period", "0"}) : m_program(arguments(options)) {
        m_address = m_program.listening();
    }

    const std::string& address() const { return m_address; }
    Program& program() { return m_program; }

    std::string ask(const std::string& frameHex) const {
        m_socket.send(bytes(frameHex), m_address);
        return hex(m_socket.receive());
    }

    Ended get(const Arguments& names) const { return verb("get", names); }
    Ended set(const Arguments& assignments) const { return verb("set", assignments); }

    /// The bare value of a variable.
    std::string value(const std::string& name) const {
        const Ended ended = get({name, "-o", "value"});
        EXPECT_EQ(ended.status, 0) << ended.err;
        return ended.out.substr(0, ended.out.find('\n'));
    }

private:
    static Arguments arguments(const Arguments& options) {
        Arguments all = {"card", "--listen", "127.0.0.1:0"};
        all.insert(all.end(), options.begin(), options.end());
        return all;
    }

    Ended verb(const char* verbName, const Arguments& rest) const {
        Arguments all = {verbName, m_address};
        all.insert(all.end(), rest.begin(), rest.end());
        return run(all);
    }

    Program m_program;
    std::string m_address;
    Socket m_socket;
};

// The values of the column voltage[].value that an event reports.
std::vector<unsigned long long> voltagesOf(const std::string& event) {
    std::vector<unsigned long long> values;
    for (std::size_t at = amiHeader; at + 7 <= event.size();
         at += 7 + static_cast<std::size_t>(number(event, at + 5, 2))) {
        if (number(event, at, 4) >> 14 == 0x51804000 >> 14)
            values.push_back(number(event, at + 7, 4));
    }
    return values;
}

const char* const write4 = "4F544E31 01 02 0007 11800002 03 0001 04";
const char* const write3 = "4F544E31 01 02 0007 11800002 03 0001 03";
const char* const write3Cut = "4F544E31 01 02 0007 11800002 03 0001";

}  // namespace

// ---------------------------------------------------------------- frames

TEST(CardVerb, RefusesABadValueByResult9AtPosition0) {
    const Card card;
    EXPECT_EQ(card.ask(write4), hex(bytes("4F544E31 01 04 0007 09 0000")));
    EXPECT_EQ(card.value("control.bpClkRef"), "128");
}

TEST(CardVerb, ServesARequestThatComesTwiceAndSaysSo) {
    const Card card;
    EXPECT_EQ(card.ask(write3), hex(bytes("4F544E31 01 04 0007 00 0000")));
    EXPECT_EQ(card.ask(write3), hex(bytes("4F544E31 01 04 0007 02 0000")));
    EXPECT_EQ(card.value("control.bpClkRef"), "3");
}

TEST(CardVerb, SaysSoAlsoWhenTheFirstOfTheTwoWasRefused) {
    const Card card;
    card.ask(write4);
    EXPECT_EQ(card.ask(write3), hex(bytes("4F544E31 01 04 0007 02 0000")));
}

TEST(CardVerb, RefusesARequestThatWasCutAndStoresNothing) {
    const Card card;
    EXPECT_EQ(card.ask(write3Cut), hex(bytes("4F544E31 01 04 0007 08 0000")));
    EXPECT_EQ(card.value("control.bpClkRef"), "128");
}

// ---------------------------------------------------------------- with the other verbs

TEST(CardVerb, ShowsTheDefaultsBeforeItsFirstPeriod) {
    const Card card({"--period", "1h"});
    EXPECT_EQ(card.value("identity.cardType"), "xxx");
    EXPECT_EQ(card.value("control.bpClkRef"), "128");
    EXPECT_EQ(card.value("identity.tempSensors"), "0");
    EXPECT_EQ(card.value("temperature[0].name"), "Inlet");
}

TEST(CardVerb, RefusesAGuidThatIsTooShort) {
    const Card card;
    const Ended refused = card.set({"control.guid=short"});
    EXPECT_EQ(refused.status, 4);
    EXPECT_THAT(refused.err, AllOf(HasSubstr("RESULT WRONG VALUE"), HasSubstr("control.guid")));
    EXPECT_EQ(card.value("control.guid"), "");
}

TEST(CardVerb, StoresAGuidOf36Characters) {
    const Card card;
    const std::string guid = "6fa459ea-ee8a-3ca4-894e-db77e160355e";
    EXPECT_EQ(card.set({"control.guid=" + guid}).status, 0);
    EXPECT_EQ(card.value("control.guid"), guid);
}

TEST(CardVerb, ARebootIsOverWhenItsAnswerComes) {
    const Card card;
    ASSERT_EQ(card.set({"control.bpClkRef=2"}).status, 0);
    EXPECT_EQ(card.set({"control.reboot=true"}).status, 0);
    EXPECT_EQ(card.value("control.bpClkRef"), "128");
    EXPECT_EQ(card.value("control.reboot"), "false");
}

TEST(CardVerb, ReportsItsLifeToAWatcher) {
    Program watcher({"watch", "--listen", "127.0.0.1:0", "--count", "5", "-o", "jsonl"});
    const Card card({"--period", "100", "--events-to", watcher.listening()});
    for (int i = 0; i < 5; ++i) {
        const auto event = nlohmann::json::parse(watcher.outLine());
        EXPECT_EQ(event.at("card"), card.address());
        for (const char* key : {"time", "oid", "name", "value"})
            EXPECT_TRUE(event.contains(key)) << event;
    }
    EXPECT_EQ(watcher.finish(), 0);
    EXPECT_EQ(watcher.out(), "");
}

TEST(CardVerb, ReportsADownloadToTheEnd) {
    Program watcher({"watch", "--listen", "127.0.0.1:0", "-o", "jsonl"});
    const Card card({"--period", "10", "--events-to", watcher.listening()});
    ASSERT_EQ(card.set({"download.start=true"}).status, 0);
    std::vector<int> progress;
    while (progress.empty() || progress.back() != 100) {
        const std::string line = watcher.outLine();
        ASSERT_NE(line, "");
        const auto event = nlohmann::json::parse(line);
        if (event.value("name", "") == "download.progress")
            progress.push_back(event.at("value").get<int>());
    }
    EXPECT_THAT(progress, ElementsAre(10, 20, 30, 40, 50, 60, 70, 80, 90, 100));
}

// ---------------------------------------------------------------- options

TEST(CardVerb, PrintsOneLineAndNothingElse) {
    Program program({"card", "--listen", "127.0.0.1:0"});
    const std::string line = program.outLine();
    EXPECT_THAT(line, MatchesRegex("listening on 127\\.0\\.0\\.1:[0-9]+"));
    EXPECT_THAT(line, Not(EndsWith(":0")));
    program.signal(SIGTERM);
    EXPECT_EQ(program.finish(), 0);
    EXPECT_EQ(program.out(), "");
    EXPECT_EQ(program.err(), "");
}

TEST(CardVerb, InterruptEndsItWithStatus0) {
    Card card({"--period", "10"});
    card.program().signal(SIGINT);
    EXPECT_EQ(card.program().finish(), 0);
}

TEST(CardVerb, ReportsToEveryReceiver) {
    const Socket one;
    const Socket other;
    const Card card({"--period", "10", "--events-to", one.address(), "--events-to", other.address()});
    const std::string event = one.receive();
    EXPECT_EQ(event.substr(0, 6), bytes("4F544E31 01 05"));
    EXPECT_EQ(hex(other.receive()), hex(event));
}

TEST(CardVerb, GoesOnWhenAReceiverIsGone) {
    std::string gone;
    {
        const Socket closed;
        gone = closed.address();
    }
    const Socket receiver;
    const Card card({"--period", "10", "--events-to", gone, "--events-to", receiver.address()});
    for (int i = 0; i < 5; ++i)
        EXPECT_THAT(receiver.receive(), SizeIs(Gt(amiHeader)));
    EXPECT_EQ(card.value("control.bpClkRef"), "128");
}

TEST(CardVerb, TheSeedDecidesHowItLives) {
    const auto firstVoltages = [](const char* seed) {
        const Socket receiver;
        const Card card({"--period", "10", "--seed", seed, "--events-to", receiver.address()});
        return voltagesOf(receiver.receive());
    };
    const std::vector<unsigned long long> life = firstVoltages("7");
    EXPECT_THAT(life, SizeIs(4));
    EXPECT_EQ(firstVoltages("7"), life);
    EXPECT_NE(firstVoltages("8"), life);
}

TEST(CardVerb, AnswersOnlyWhoIsAllowed) {
    const Card card({"--allow", "192.0.2.0/24", "--allow", "198.51.100.7"});
    EXPECT_EQ(run({"get", card.address(), "control.bpClkRef", "--timeout", "50ms", "--retries", "0"}).status,
              3);
    const Card open({"--allow", "192.0.2.0/24", "--allow", "127.0.0.1"});
    EXPECT_EQ(open.value("control.bpClkRef"), "128");
}

TEST(CardVerb, TracesWhatItRefuses) {
    Card card({"--period", "0", "--trace", "3"});
    card.ask(write4);
    EXPECT_THAT(card.program().errLine(), HasSubstr("invalid value detected"));
}

TEST(CardVerb, APortInUseIsALocalFailure) {
    const Card card;
    const Ended second = run({"card", "--listen", card.address()});
    EXPECT_EQ(second.status, 1);
    EXPECT_EQ(second.out, "");
    EXPECT_THAT(second.err, AllOf(HasSubstr(card.address()), HasSubstr("Address already in use")));
}

TEST(CardVerb, OptionsWithoutSenseAreAUsageError) {
    const Arguments cases[] = {
        {"--listen", "nowhere"},
        {"--listen", "127.0.0.1:65536"},
        {"--events-to", "127.0.0.1:0"},
        {"--events-to", "127.0.0.1:9", "127.0.0.1:10"},
        {"--events-to"},
        {"--allow", "192.0.2.0/33"},
        {"--allow", "everybody"},
        {"--period", "-1"},
        {"--period", "soon"},
        {"--seed", "x"},
        {"--seed", "-1"},
        {"--trace", "loud"},
        {"--colour"},
    };
    for (const Arguments& options : cases) {
        Arguments all = {"card"};
        if (options[0] != "--listen")
            all.insert(all.end(), {"--listen", "127.0.0.1:0"});
        all.insert(all.end(), options.begin(), options.end());
        const Ended ended = run(all);
        EXPECT_EQ(ended.status, 2) << PrintToString(options) << ended.err;
        EXPECT_EQ(ended.out, "") << PrintToString(options);
        EXPECT_THAT(ended.err, StartsWith("lcmp: ")) << PrintToString(options);
    }
}
