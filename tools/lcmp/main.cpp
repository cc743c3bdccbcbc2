// lcmp: the command line of the protocol.
#include "commandLine.h"

// What is added to the parser is constant: only a mistake in it throws, and that ends every run.
// NOLINTNEXTLINE(bugprone-exception-escape)
int main(int argc, char** argv) { return tool::runCommandLine(argc, argv); }
