// The main routine of the kestrix executable: names the module, fixes DataFolder,
// gives the module the command line and runs its initialisation, opens the log,
// records the arguments, takes the single-instance lock, runs the option loop
// and starts the application. Returns the process exit code.
//
// Exit codes: 0 normal end; 1 another instance is running (or a silent run's wait
// timed out); 2 a silent run without a server; 3 /help. A failure before the
// application exists (the module's runtime, no data folder, no log) is shown
// unless silent, logged when the log is open, and ends the run with 4.
#pragma once

#include <vector>

#include "foundation/text/text_string.h"

namespace kx {

class MModule;

enum ExitCode : int {
  kExitNormal = 0,
  kExitAnotherInstance = 1,
  kExitSilentNoServer = 2,
  kExitHelp = 3,
  kExitStartFailed = 4,
};

// The name of the single-instance lock, machine-wide.
extern const char* const kSingleInstanceName;

// The name of the module, by which the program's data folders are found.
extern const char* const kModuleName;

// The routine proper, on the process's module (constructed by the caller, which
// destroys it last). `arguments` are the command line as the process received
// it, without the program name; the module keeps them as its argument list.
int MainRoutine(MModule& module, const std::vector<MString>& arguments);

// The process entry: argv[0] is the program; the others are decoded as UTF-8.
// The module, and with it the foundation's runtime, comes up first and goes last.
int MainRoutine(int argc, char** argv);

}  // namespace kx
