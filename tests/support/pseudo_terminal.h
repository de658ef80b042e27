// Runs a built binary with its standard error on a pseudo-terminal, as when a
// person runs it in a terminal window, and returns what the terminal received.
#pragma once

#include <string>
#include <vector>

namespace kx::testing {

struct TerminalResult {
  int exitCode = -1;
  std::string terminal;  // everything written to standard error
};

TerminalResult RunOnTerminal(const char* binary, const std::vector<std::string>& arguments);

}  // namespace kx::testing
