#include "program.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <stdexcept>

#include "patience.h"

extern char** environ;  // NOLINT(readability-redundant-declaration): POSIX leaves it to the program

namespace {

// "TERM=" of "TERM=xterm".
std::string nameOf(const std::string& entry) { return entry.substr(0, entry.find('=') + 1); }

std::vector<std::string> environmentFor(const std::vector<std::string>& added) {
    std::vector<std::string> all;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const bool isReplaced = std::any_of(added.begin(), added.end(), [&](const std::string& other) {
            return nameOf(other) == nameOf(*entry);
        });
        if (std::strncmp(*entry, "LCMP_", 5) != 0 && !isReplaced)
            all.emplace_back(*entry);
    }
    all.insert(all.end(), added.begin(), added.end());
    return all;
}

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

std::array<int, 2> makePipe() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0)
        throw std::runtime_error("no pipe");
    return ends;
}

}  // namespace

Program::Program(const std::vector<std::string>& arguments, const std::vector<std::string>& environment,
                 const std::string& outFile) {
    std::array<int, 2> out = makePipe();
    const std::array<int, 2> err = makePipe();
    if (!outFile.empty()) {
        close(out[1]);
        out[1] = open(outFile.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC);
    }
    start(arguments, environment, out[1], err[1]);
    close(out[1]);
    close(err[1]);
    m_out.fileDescriptor = out[0];
    m_err.fileDescriptor = err[0];
}

Program::~Program() {
    if (m_process > 0) {
        kill(m_process, SIGKILL);
        waitpid(m_process, nullptr, 0);
    }
    for (const Stream* stream : {&m_out, &m_err}) {
        if (stream->fileDescriptor >= 0)
            close(stream->fileDescriptor);
    }
}

void Program::start(const std::vector<std::string>& arguments, const std::vector<std::string>& environment,
                    int outEnd, int errEnd) {
    std::vector<std::string> words = {LCMP_PROGRAM};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<std::string> variables = environmentFor(environment);
    const std::vector<char*> argumentPointers = pointersTo(words);
    const std::vector<char*> variablePointers = pointersTo(variables);
    m_process = fork();
    if (m_process < 0)
        throw std::runtime_error("no process");
    if (m_process != 0)
        return;
    dup2(outEnd, STDOUT_FILENO);
    dup2(errEnd, STDERR_FILENO);
    execve(LCMP_PROGRAM, argumentPointers.data(), variablePointers.data());
    _exit(127);
}

std::string Program::outLine() { return waitForLine(m_out); }
std::string Program::errLine() { return waitForLine(m_err); }

std::string Program::listening() {
    const std::string beginning = "listening on ";
    std::string line;
    while (!takeLine(m_out, line) && !takeLine(m_err, line)) {
        if (!readSome()) {
            ADD_FAILURE() << "not listening: " << m_err.text;
            return "";
        }
    }
    EXPECT_EQ(line.compare(0, beginning.size(), beginning), 0) << line;
    return line.substr(std::min(beginning.size(), line.size()));
}

void Program::signal(int number) const { kill(m_process, number); }

int Program::finish() {
    while (readSome()) {
    }
    int status = 0;
    waitpid(m_process, &status, 0);
    m_process = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

std::string Program::waitForLine(Stream& stream) {
    std::string line;
    while (!takeLine(stream, line)) {
        if (!readSome()) {
            ADD_FAILURE() << "no line came; standard error: " << m_err.text;
            return "";
        }
    }
    return line;
}

bool Program::takeLine(Stream& stream, std::string& line) {
    const auto end = stream.text.find('\n');
    if (end == std::string::npos)
        return false;
    line = stream.text.substr(0, end);
    stream.text.erase(0, end + 1);
    return true;
}

// False when both streams have ended, which is what the end of the process looks like.
bool Program::readSome() {
    std::array<pollfd, 2> waits = {{{m_out.fileDescriptor, POLLIN, 0}, {m_err.fileDescriptor, POLLIN, 0}}};
    if (m_out.fileDescriptor < 0 && m_err.fileDescriptor < 0)
        return false;
    if (poll(waits.data(), waits.size(), longestWait) <= 0) {
        ADD_FAILURE() << "nothing came from the program; standard error: " << m_err.text;
        kill(m_process, SIGKILL);
        return false;
    }
    if (waits[0].revents != 0)
        readFrom(m_out);
    if (waits[1].revents != 0)
        readFrom(m_err);
    return true;
}

void Program::readFrom(Stream& stream) {
    std::array<char, 4096> buffer{};
    const ssize_t size = read(stream.fileDescriptor, buffer.data(), buffer.size());
    if (size > 0) {
        stream.text.append(buffer.data(), static_cast<std::size_t>(size));
        return;
    }
    close(stream.fileDescriptor);
    stream.fileDescriptor = -1;
}

Ended run(const std::vector<std::string>& arguments, const std::vector<std::string>& environment,
          const std::string& outFile) {
    Program program(arguments, environment, outFile);
    const int status = program.finish();
    return {status, program.out(), program.err()};
}
