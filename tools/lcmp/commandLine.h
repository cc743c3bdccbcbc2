// The whole program lcmp: the parser, the verbs, what is said when something goes wrong.
#pragma once

namespace tool {

/// Runs the verb that was typed and returns the exit status. What goes wrong has been told on standard error.
int runCommandLine(int argc, char** argv);

}  // namespace tool
