// The install and uninstall subcommands of kestrix-pack: the install walk run
// from the command line over a package file and its `.state` tree.
// (their usage is with the tool's, in pack_usage.cpp).
//
// Exit codes as the other subcommands: 0 done, 1 failure (its message on
// standard error), kExitWrongUsage with nothing printed: the caller shows the usage.
#pragma once

namespace kx {

bool IsPackInstallCommand(const char* command);
// `quiet` leaves out the progress line.
int RunPackInstallCommand(int argc, char** argv, bool quiet);

}  // namespace kx
