// The fetch subcommand of kestrix-pack: one file and its security info through the
// download thread's own item download, step by step, as the program fetches a
// package.
//
//   kestrix-pack fetch --server HOST[:PORT] REMOTE_PATH --dest FOLDER [--tries N] [--fresh]
//
// REMOTE_PATH (starting with "/") and REMOTE_PATH + ".md5" come from the server into
// FOLDER. Each try is one step of the thread; a failed step is tried again after
// the package poll interval, at most N steps (20 unless told). --fresh acts as a
// selected item: both files are fetched anew. The status lines are printed as they
// change. Exit codes: 0 the file is complete and every block proved, 1 otherwise
// (the last status on standard error), 2 wrong usage.
#pragma once

namespace kx {

bool IsPackFetchCommand(const char* command);
// Returns kExitWrongUsage on arguments the verb does not allow; `quiet` leaves out
// the progress line.
int RunPackFetchCommand(int argc, char** argv, bool quiet);

}  // namespace kx
