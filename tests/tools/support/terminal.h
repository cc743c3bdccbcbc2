// A terminal on which the program runs, and what a person sees on it.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

class Terminal {
public:
    /// What of the program is connected to it; the other stream goes nowhere.
    enum class Streams { error, both };

    /// Runs the program to its end.
    explicit Terminal(const std::vector<std::string>& arguments, Streams streams = Streams::error);

    int status() const { return m_status; }

    /// Everything that was written to it.
    const std::string& written() const { return m_written; }

    /// The lines that stand there in the end, without blanks at their ends, joined by line ends.
    std::string screen() const;

private:
    int m_status = -1;
    std::string m_written;
};
