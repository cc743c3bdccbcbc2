// What every verb that asks a card can be told: how long to wait, how often to try, how much to log.
#pragma once

#include <chrono>
#include <string>

namespace CLI {
class App;
}

namespace tool {

/// The texts of the options, from the command line, else from the environment, else these.
struct ClientOptions {
    std::string timeout = "500ms";
    std::string retries = "3";
    std::string trace = "0";
};

/// Adds --timeout (LCMP_TIMEOUT), --retries (LCMP_RETRIES) and --trace (LCMP_TRACE) to a verb. `options`
/// outlives the parse.
void addClientOptions(CLI::App& verb, ClientOptions& options);

struct ClientSettings {
    std::chrono::milliseconds firstTry;  ///< Each further try waits twice as long.
    int tries;                           ///< At least 1.
};

/// Starts the trace and gives the rest. A text that means nothing is a Failure of status `usage`. Read here
/// and not during the parse, so that a bad environment variable stops only the verbs that use it.
ClientSettings applyClientOptions(const ClientOptions& options);

}  // namespace tool
