#include "clientOptions.h"

#include <CLI/CLI.hpp>
#include <charconv>

#include "duration.h"
#include "exitStatus.h"
#include "trace.h"

namespace tool {
namespace {

constexpr int maxRetries = 20;

int parseRetries(const std::string& text) {
    int retries = -1;
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, retries);
    if (error != std::errc() || rest != end || retries < 0 || retries > maxRetries)
        throw Failure(ExitStatus::usage,
                      "--retries: '" + text + "' is not a number from 0 to " + std::to_string(maxRetries));
    return retries;
}

}  // namespace

void addClientOptions(CLI::App& verb, ClientOptions& options) {
    verb.add_option("--timeout", options.timeout,
                    "How long the first try waits for the answer; each further one waits twice as long")
        ->type_name("TIME")
        ->envname("LCMP_TIMEOUT")
        ->capture_default_str();
    verb.add_option("--retries", options.retries, "How often a request without an answer is sent again")
        ->type_name("N")
        ->envname("LCMP_RETRIES")
        ->capture_default_str();
    addTraceOption(verb, options.trace);
}

ClientSettings applyClientOptions(const ClientOptions& options) {
    startTrace(options.trace);
    const std::chrono::milliseconds firstTry = parseDuration("--timeout", options.timeout);
    if (firstTry.count() < 1)
        throw Failure(ExitStatus::usage, "--timeout: '" + options.timeout + "' is less than 1ms");
    return {firstTry, 1 + parseRetries(options.retries)};
}

}  // namespace tool
