// The install and uninstall subcommands of kestrix-pack: the install walk run
// from the command line over a package file and its `.state` tree.
//
//   kestrix-pack install PKG --dest DIR [--copy NAME=DIR]... [--enable NAME]...
//                        [--state FILE] [--log FILE] [--on-error ignore|cancel]
//   kestrix-pack uninstall STATE [--enable NAME]... [--log FILE]
//
// Exit codes as the other subcommands: 0 done, 1 failure (its message on
// standard error), 2 wrong usage.
#pragma once

namespace kx {

bool IsPackInstallCommand(const char* command);
int RunPackInstallCommand(int argc, char** argv);

}  // namespace kx
