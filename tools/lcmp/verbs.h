// The verbs of the program, one source file each. Adding one adds its options to the command line; when it is
// the one that was typed, it runs inside the parse and leaves its exit status in `status`, or throws a
// Failure. `status` outlives the parse.
#pragma once

#include "exitStatus.h"

namespace CLI {
class App;
}

namespace tool {

void addCardVerb(CLI::App& program, ExitStatus& status);
void addDecodeVerb(CLI::App& program, ExitStatus& status);
void addGetVerb(CLI::App& program, ExitStatus& status);
void addModelVerb(CLI::App& program, ExitStatus& status);
void addPingVerb(CLI::App& program, ExitStatus& status);
void addOidVerb(CLI::App& program, ExitStatus& status);
void addSetVerb(CLI::App& program, ExitStatus& status);
void addWatchVerb(CLI::App& program, ExitStatus& status);

}  // namespace tool
