#include "terminal.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <stdexcept>

#include "patience.h"

namespace {

void execute(const std::vector<std::string>& arguments, int out, int err) {
    std::vector<std::string> words = {LCMP_PROGRAM};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    for (std::string& word : words)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);
    dup2(out, STDOUT_FILENO);
    dup2(err, STDERR_FILENO);
    execv(LCMP_PROGRAM, pointers.data());
    _exit(127);
}

// Everything until the last who has the other side open is gone.
std::string readAll(int terminal, pid_t process) {
    std::string text;
    for (;;) {
        pollfd readable = {terminal, POLLIN, 0};
        if (poll(&readable, 1, longestWait) <= 0) {
            ADD_FAILURE() << "the program does not end";
            kill(process, SIGKILL);
        }
        std::array<char, 4096> buffer{};
        const ssize_t size = read(terminal, buffer.data(), buffer.size());
        if (size <= 0)
            return text;
        text.append(buffer.data(), static_cast<std::size_t>(size));
    }
}

}  // namespace

Terminal::Terminal(const std::vector<std::string>& arguments, Streams streams) {
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    std::array<char, 128> name{};
    if (terminal < 0 || grantpt(terminal) != 0 || unlockpt(terminal) != 0 ||
        ptsname_r(terminal, name.data(), name.size()) != 0)
        throw std::runtime_error("no terminal");
    const int side = open(name.data(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    const pid_t process = fork();
    if (process == 0)
        execute(arguments, streams == Streams::both ? side : nowhere, side);
    close(side);
    close(nowhere);
    m_written = readAll(terminal, process);
    waitpid(process, &m_status, 0);
    m_status = WIFEXITED(m_status) ? WEXITSTATUS(m_status) : 128 + WTERMSIG(m_status);
    close(terminal);
}

std::string Terminal::screen() const {
    std::string text;
    std::string line;
    std::size_t column = 0;
    for (const char c : m_written) {
        if (c == '\n') {
            line.erase(line.find_last_not_of(' ') + 1);
            text += line + '\n';
            line.clear();
        } else if (c == '\r') {
            column = 0;
        } else {
            line.resize(std::max(line.size(), column + 1), ' ');
            line[column++] = c;
        }
    }
    line.erase(line.find_last_not_of(' ') + 1);
    return text + line;
}
