// The main routine of the kestrix executable: names the module, fixes DataFolder,
// opens the log, records the arguments, takes the single-instance lock, runs the
// option loop and starts the application. Returns the process exit code.
//
// Exit codes: 0 normal end; 1 another instance is running (or a silent run's wait
// timed out); 2 a silent run without a server; 3 /help. A failure before the
// application exists (no data folder, no log) is shown unless silent, logged when
// the log is open, and ends the run with 4.
#pragma once

#include <vector>

#include "foundation/text/text_string.h"

namespace kx {

enum ExitCode : int {
  kExitNormal = 0,
  kExitAnotherInstance = 1,
  kExitSilentNoServer = 2,
  kExitHelp = 3,
  kExitStartFailed = 4,
};

// The name of the single-instance lock, machine-wide.
extern const char* const kSingleInstanceName;

// The name by which the program's data folders are found, set by the routine.
const MString& ModuleName();

// The arguments as the process received them, without the program name.
int MainRoutine(const std::vector<MString>& arguments);

// argv[0] is the program; the others are decoded as UTF-8.
int MainRoutine(int argc, char** argv);

}  // namespace kx
