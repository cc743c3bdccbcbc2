// A terminal that a program writes to, and a test reads.
#pragma once

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <array>
#include <stdexcept>
#include <string>

class HeldTerminal {
public:
    HeldTerminal() : m_master(posix_openpt(O_RDWR | O_NOCTTY)) {
        std::array<char, 128> name{};
        if (m_master < 0 || grantpt(m_master) != 0 || unlockpt(m_master) != 0 ||
            ptsname_r(m_master, name.data(), name.size()) != 0)
            throw std::runtime_error("no terminal");
        m_name = name.data();
        m_open = open(m_name.c_str(), O_RDWR | O_NOCTTY);
    }
    ~HeldTerminal() {
        close(m_open);
        close(m_master);
    }
    HeldTerminal(const HeldTerminal&) = delete;
    HeldTerminal& operator=(const HeldTerminal&) = delete;

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
