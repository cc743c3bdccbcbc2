// The program lcmp as its user meets it: arguments, environment, two streams of text, an exit status.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

/// A running process of the program; killed with the object. Every wait ends in a test failure when nothing
/// comes for half a minute.
class Program {
public:
    /// Starts it. LCMP_* variables of the test's own environment are not passed on, those of `environment`
    /// are, instead of others of their name: "LCMP_TIMEOUT=20". Standard output goes to the file `outFile` if
    /// that is named.
    explicit Program(const std::vector<std::string>& arguments,
                     const std::vector<std::string>& environment = {}, const std::string& outFile = "");
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    /// Waits for the next line of standard output or standard error, which comes without its line end.
    std::string outLine();
    std::string errLine();

    /// Waits for "listening on ADDR:PORT" on either stream and returns the address.
    std::string listening();

    void signal(int number) const;

    /// Waits for the end and returns the exit status, or 128 + the signal that ended it.
    int finish();

    /// What it has written and was not taken as a line; after finish, all of it.
    const std::string& out() const { return m_out.text; }
    const std::string& err() const { return m_err.text; }

private:
    struct Stream {
        int fileDescriptor = -1;
        std::string text;
    };

    void start(const std::vector<std::string>& arguments, const std::vector<std::string>& environment,
               int outEnd, int errEnd);
    bool readSome();
    void readFrom(Stream& stream);
    static bool takeLine(Stream& stream, std::string& line);
    std::string waitForLine(Stream& stream);

    pid_t m_process = -1;
    Stream m_out;
    Stream m_err;
};

/// What a process that ended by itself left.
struct Ended {
    int status;
    std::string out;
    std::string err;
};

/// Runs the program to its end.
Ended run(const std::vector<std::string>& arguments, const std::vector<std::string>& environment = {},
          const std::string& outFile = "");
