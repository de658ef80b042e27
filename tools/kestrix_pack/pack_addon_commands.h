// The add-on subcommands of kestrix-pack: a hand-picked add-on file installed as
// the program installs it (records, presets, device folders), and add-ons removed
// by their installation records, for vendors and scripts. No catalogue is read.
// (Their usage is with the tool's, in pack_usage.cpp.)
#pragma once

namespace kx {

bool IsPackAddonCommand(const char* command);
int RunPackAddonCommand(int argc, char** argv, bool quiet);

}  // namespace kx
