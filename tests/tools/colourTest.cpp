#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <array>
#include <stdexcept>

#include "frameBuilder.h"
#include "lcmpTlv.h"
#include "program.h"
#include "scriptedCard.h"
#include "terminals.h"

namespace {

// A terminal that the program writes to.
class Screen {
public:
    Screen() : m_master(posix_openpt(O_RDWR | O_NOCTTY)) {
        std::array<char, 128> name{};
        if (m_master < 0 || grantpt(m_master) != 0 || unlockpt(m_master) != 0 ||
            ptsname_r(m_master, name.data(), name.size()) != 0)
            throw std::runtime_error("no terminal");
        m_name = name.data();
        m_open = open(m_name.c_str(), O_RDWR | O_NOCTTY);
    }
    ~Screen() {
        close(m_open);
        close(m_master);
    }
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;

    /// "/dev/pts/3".
    const std::string& name() const { return m_name; }

    /// What was written to it, up to now; its line ends are "\r\n".
    std::string text() const {
        std::string all;
        std::array<char, 4096> buffer{};
        fcntl(m_master, F_SETFL, O_NONBLOCK);
        for (ssize_t size = 0; (size = read(m_master, buffer.data(), buffer.size())) > 0;)
            all.append(buffer.data(), static_cast<std::size_t>(size));
        return all;
    }

private:
    int m_master;
    int m_open;  // keeps what was written when the program has ended
    std::string m_name;
};

using testing::HasSubstr;
using testing::Not;

const std::string escape = "\x1B";
const std::vector<std::string> explain = {"oid", "control.bpClkRef"};
const std::string plain = "  control.bpClkRef\r\n";
const std::string coloured = "  \x1B[36mcontrol.bpClkRef\x1B[0m\r\n";

std::string onTerminal(const std::vector<std::string>& arguments,
                       const std::vector<std::string>& environment) {
    const Screen terminal;
    EXPECT_EQ(run(arguments, environment, terminal.name()).status, 0);
    return terminal.text();
}

std::vector<std::string> with(std::vector<std::string> arguments, const std::vector<std::string>& more) {
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
}

TEST(Colour, IsOnATerminalUnlessSomethingIsAgainstIt) {
    SKIP_WITHOUT_TERMINALS();
    struct Case {
        std::vector<std::string> environment;
        std::vector<std::string> options;
        bool isColoured;
    };
    const std::vector<Case> cases = {
        {{"TERM=xterm", "NO_COLOR="}, {}, true},
        {{"TERM=xterm", "NO_COLOR=1"}, {}, false},
        {{"TERM=dumb", "NO_COLOR="}, {}, false},
        {{"TERM=", "NO_COLOR="}, {}, false},
        {{"TERM=xterm", "NO_COLOR="}, {"--color", "never"}, false},
        {{"TERM=xterm", "NO_COLOR="}, {"--color", "auto"}, true},
        {{"TERM=dumb", "NO_COLOR=1"}, {"--color", "always"}, true},
    };
    for (const Case& c : cases)
        EXPECT_THAT(onTerminal(with(explain, c.options), c.environment),
                    HasSubstr(c.isColoured ? coloured : plain))
            << testing::PrintToString(c.environment) << testing::PrintToString(c.options);
}

TEST(Colour, IsNotInWhatIsNoTerminalUnlessAskedFor) {
    const std::vector<std::string> environment = {"TERM=xterm", "NO_COLOR="};
    EXPECT_THAT(run(explain, environment).out, Not(HasSubstr(escape)));
    EXPECT_THAT(run(with(explain, {"--color", "always"}), environment).out, HasSubstr("\x1B[36mcontrol"));
}

TEST(Colour, IsInTextOnly) {
    SKIP_WITHOUT_TERMINALS();
    for (const char* format : {"json", "jsonl", "csv", "value"})
        EXPECT_THAT(onTerminal(with(explain, {"-o", format}), {"TERM=xterm", "NO_COLOR="}),
                    Not(HasSubstr(escape)))
            << format;
}

TEST(Colour, MarksWhoComplains) {
    const Ended ended = run({"oid", "control.bpClkRf", "--color", "always"});
    EXPECT_EQ(ended.status, 7);
    EXPECT_EQ(ended.err.find("\x1B[31mlcmp:\x1B[0m 'control.bpClkRf'"), 0U) << ended.err;
}

TEST(Colour, MarksNamesOfWhatWasRead) {
    ScriptedCard card;
    Program get({"get", card.target(), "control.bpClkRef", "--color", "always", "--timeout", "30s"});
    card.answer(readResponse(card.request().id, 0, 0, {{0x11800002, UINT8, "80"}}));
    EXPECT_EQ(get.finish(), 0);
    EXPECT_EQ(get.out(), "\x1B[36mcontrol.bpClkRef\x1B[0m = 128\n");
}

TEST(Colour, MarksAValueThatHasChanged) {
    Program watch({"watch", "--listen", "127.0.0.1:0", "--color", "always"});
    const std::string address = watch.listening();
    const ScriptedCard card;
    card.send(amiFrame(1, 1714564800, 1, {{0x51404000, INT32, "00000014"}}), address);
    EXPECT_THAT(watch.outLine(), HasSubstr(" \x1B[36mtemperature[0].value\x1B[0m 20 °C"));
    card.send(amiFrame(2, 1714564800, 2, {{0x51404000, INT32, "00000015"}}), address);
    EXPECT_THAT(watch.outLine(), HasSubstr(" \x1B[1m21 °C\x1B[0m (was 20)"));
}

TEST(Colour, LetsNoByteOfACardThroughThatCouldBeAColour) {
    ScriptedCard card;
    Program get({"get", card.target(), "identity.cardType", "--color", "never", "--timeout", "30s"});
    card.answer(readResponse(card.request().id, 0, 0, {{0x10800000, STRING, "1B5B33316D"}}));
    EXPECT_EQ(get.finish(), 0);
    EXPECT_THAT(get.out(), Not(HasSubstr(escape)));
}

}  // namespace
