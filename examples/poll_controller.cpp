// An endpoint in a loop of one's own: a console for the lamp in first_card, which waits with poll for what is
// typed and for what the card reports.
//
//     poll_controller [ADDRESS]
//
// Commands, one a line: "on", "off", "quit". Asks the card at ADDRESS, 127.0.0.1 unless given, and receives
// its events at port 17471 there.
#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <iostream>
#include <string>
#include <vector>

#include "lcmpUdpEndpoint.h"

namespace {

class Console : public LcmpUdpEndpoint {
public:
    Console() {
        m_lamp.addProp(m_on = new TypeProperty<bool>(0, "on", IFC_CARD_VAR_WRITABLE, false), 0);
        m_lamp.addProp(m_power = new TypeProperty<unsigned short>(3, "power", IFC_CARD_VAR_READ_ONLY, 0), 0);
        registerObject(&m_lamp);
    }

    void turn(bool on) {
        m_on->set(on);
        std::cout << (writeProperty(*m_on) ? "done" : "not done") << std::endl;
    }

    bool amiMessageHandler(std::vector<LcmpProperty*> /*properties*/) override {
        unsigned short power = 0;
        m_power->get(&power);
        std::cout << "power " << power << " W" << std::endl;
        return true;
    }

private:
    LcmpScalar m_lamp{"lamp", 10, false};
    TypeProperty<bool>* m_on = nullptr;  // the object owns both
    TypeProperty<unsigned short>* m_power = nullptr;
};

// Standard input as lines. Read without a buffer of the library's: what lies in one, poll knows nothing of.
class Lines {
public:
    // Takes what is there; false at the end of the input.
    bool take() {
        std::array<char, 256> bytes{};
        const ssize_t size = read(STDIN_FILENO, bytes.data(), bytes.size());
        if (size > 0)
            m_text.append(bytes.data(), static_cast<std::size_t>(size));
        return size > 0;
    }

    bool next(std::string& line) {
        const auto end = m_text.find('\n');
        if (end == std::string::npos)
            return false;
        line = m_text.substr(0, end);
        m_text.erase(0, end + 1);
        return true;
    }

private:
    std::string m_text;
};

// False: it is over.
bool obey(Console& console, const std::string& command) {
    if (command == "on" || command == "off")
        console.turn(command == "on");
    else if (command != "quit")
        std::cout << "on, off or quit" << std::endl;
    return command != "quit";
}

bool obeyAll(Console& console, Lines& lines) {
    std::string line;
    while (lines.next(line)) {
        if (!obey(console, line))
            return false;
    }
    return true;
}

int run(Console& console) {
    Lines lines;
    for (;;) {
        std::array<pollfd, 2> waiting{{{STDIN_FILENO, POLLIN, 0}, {console.getFileDescriptor(), POLLIN, 0}}};
        const int ready = poll(waiting.data(), waiting.size(), console.millisecondsToDeadline());
        if (ready < 0 && errno != EINTR) {
            std::perror("poll_controller");
            return 1;
        }
        if (ready > 0 && waiting[1].revents != 0 && console.onReadable() < 0) {
            std::cerr << "poll_controller: " << console.getLastError() << '\n';
            return 1;
        }
        if (ready > 0 && waiting[0].revents != 0 && (!lines.take() || !obeyAll(console, lines)))
            return 0;
        console.onDeadline();  // does nothing where nothing is due
    }
}

}  // namespace

int main(int argc, char** argv) {
    const std::string address = argc > 1 ? argv[1] : "127.0.0.1";
    Console console;
    if (!console.open(address, 17471) || !console.setTarget(address, LcmpUdpEndpoint::defaultPort)) {
        std::cerr << "poll_controller: " << console.getLastError() << '\n';
        return 1;
    }
    std::cout << "listening on " << lcmpUdpToText(console.getLocalAddress()) << std::endl;
    return run(console);
}
