// The verbs of the program, one source file each. Each function adds the options of its verb to `verb`, the
// word that the command line has for it. When that was typed, the verb runs inside the parse and leaves its
// exit status in `status`, or throws a Failure. `verb` and `status` outlive the parse.
#pragma once

#include "exitStatus.h"

namespace CLI {
class App;
}

namespace tool {

void addCardVerb(CLI::App& verb, ExitStatus& status);
void addCompleteVerb(CLI::App& verb, ExitStatus& status);
void addDecodeVerb(CLI::App& verb, ExitStatus& status);
void addDiffVerb(CLI::App& verb, ExitStatus& status);
void addGetVerb(CLI::App& verb, ExitStatus& status);
void addModelVerb(CLI::App& verb, ExitStatus& status);
void addOidVerb(CLI::App& verb, ExitStatus& status);
void addPingVerb(CLI::App& verb, ExitStatus& status);
void addRecordVerb(CLI::App& verb, ExitStatus& status);
void addSetVerb(CLI::App& verb, ExitStatus& status);
void addWalkVerb(CLI::App& verb, ExitStatus& status);
void addWatchVerb(CLI::App& verb, ExitStatus& status);

}  // namespace tool
