// Starting other programs: the ground under MFile::Execute and ExecuteWWW.
#pragma once

#include <string>
#include <vector>

namespace kx::platform {

// Starts arguments[0] with `arguments` as its argument vector; a program name
// without "/" is looked up in PATH. The child starts in `workingDirectory` when it
// is not empty (the caller's own current folder stays), with default signal
// handling and no inherited descriptors beyond standard input, output and error.
//
// With `wait` the call returns when the child has ended and stores its exit code,
// or 128 plus the signal number for a child ended by a signal. Without it the
// child is left to run and is reaped in the background; `exitCode` becomes 0.
// Answers 0, or the error number of a failed start (missing program, working
// folder or permission).
int SpawnProcess(const std::vector<std::string>& arguments, const std::string& workingDirectory,
                 bool wait, int& exitCode);

}  // namespace kx::platform
