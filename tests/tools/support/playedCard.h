// A card that answers by itself while a program asks it, and counts: it has what the test gives it, and what
// goes wrong with it is what the test says.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <thread>

#include "lcmpModel.h"

/// Everything is said before `serve`.
class PlayedCard {
public:
    /// How it ends.
    enum class End { never, silence, garbage };

    /// Has all variables of the model; numbers are zero, texts "x".
    explicit PlayedCard(const LcmpModel& model = lcmpModelStandard());
    ~PlayedCard();
    PlayedCard(const PlayedCard&) = delete;
    PlayedCard& operator=(const PlayedCard&) = delete;

    /// The value of a variable, as its bytes travel; of another type than the model's if that is given.
    void holds(const std::string& name, const std::string& value);
    void holds(const std::string& name, unsigned int type, const std::string& value);

    /// "voltage", "voltage[2]", "voltage.valid" or "voltage[2].valid" is not there: result 5 and its place.
    void misses(const std::string& name);

    /// The table has no more rows than that.
    void endsTable(const std::string& name, unsigned int rows);

    /// Whoever asks for one of these is answered 12, which does not say for which variable.
    void cannotRead(const std::string& name);

    /// So many requests are answered as they should be.
    void endsAfter(unsigned int answers, End end);

    /// From now on; returns "127.0.0.1:4711".
    std::string serve();

    /// Of the requests so far, repeated ones included.
    unsigned int requests();

    /// Waits for that many; a test failure when they do not come.
    void waitForRequests(unsigned int count);

private:
    struct Value {
        unsigned int type;
        std::string bytes;
    };

    template <typename Action>
    void forEach(const std::string& name, Action action) const;
    void run();
    std::string answerTo(const std::string& frame) const;

    LcmpModel m_model;
    std::map<unsigned int, Value> m_values;
    std::set<unsigned int> m_unreadable;
    unsigned int m_answers = 0;
    End m_end = End::never;

    int m_socket;
    int m_stop[2];
    std::thread m_thread;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    unsigned int m_requests = 0;
};
