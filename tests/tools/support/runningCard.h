// A card that the program itself simulates, in a process of its own.
#pragma once

#include <gtest/gtest.h>

#include "program.h"

class RunningCard {
public:
    /// Its values stand still unless the options say otherwise.
    explicit RunningCard(const std::vector<std::string>& options = {}) : m_program(words(options)) {
        m_address = m_program.listening();
    }

    const std::string& address() const { return m_address; }

    void set(const std::vector<std::string>& assignments,
             const std::vector<std::string>& options = {}) const {
        std::vector<std::string> all = {"set", m_address};
        all.insert(all.end(), assignments.begin(), assignments.end());
        all.insert(all.end(), options.begin(), options.end());
        const Ended ended = run(all);
        EXPECT_EQ(ended.status, 0) << ended.err;
    }

private:
    static std::vector<std::string> words(const std::vector<std::string>& options) {
        std::vector<std::string> all = {"card", "--listen", "127.0.0.1:0", "--period", "0"};
        all.insert(all.end(), options.begin(), options.end());
        return all;
    }

    Program m_program;
    std::string m_address;
};
