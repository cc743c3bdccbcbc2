// A card that does what the test says: a socket on loopback and nothing that knows the protocol.
#pragma once

#include <string>
#include <vector>

/// A received request, taken apart.
struct Request {
    std::string frame;
    unsigned int action = 0;
    unsigned int id = 0;

    struct Variable {
        unsigned int oid;
        unsigned int type;
        std::string value;
    };
    std::vector<Variable> variables;
};

class ScriptedCard {
public:
    /// On a free port of a loopback address.
    explicit ScriptedCard(const std::string& host = "127.0.0.1");
    ~ScriptedCard();
    ScriptedCard(const ScriptedCard&) = delete;
    ScriptedCard& operator=(const ScriptedCard&) = delete;

    /// "127.0.0.1:4711".
    std::string target() const;

    /// Waits for the next request. A test failure and an empty request when none comes.
    Request request();

    /// Sends a frame to where the last request came from.
    void answer(const std::string& frame) const;

    /// Sends a frame to "127.0.0.1:4712".
    void send(const std::string& frame, const std::string& address) const;

private:
    int m_socket;
    std::string m_host;
    unsigned short m_port;
    unsigned short m_asker = 0;  // its port; its address is loopback
};
