#include "support/pseudo_terminal.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

extern char** environ;

namespace kx::testing {

TerminalResult RunOnTerminal(const char* binary, const std::vector<std::string>& arguments) {
  TerminalResult result;
  int master = posix_openpt(O_RDWR | O_NOCTTY);
  if (master < 0 || grantpt(master) != 0 || unlockpt(master) != 0) {
    ADD_FAILURE() << "no pseudo-terminal";
    return result;
  }
  const char* slaveName = ptsname(master);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 2, slaveName, O_RDWR | O_NOCTTY, 0);
  posix_spawn_file_actions_addclose(&actions, master);
  std::vector<char*> argv{const_cast<char*>(binary)};
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  pid_t pid = 0;
  int failed = posix_spawn(&pid, binary, &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (failed != 0) {
    close(master);
    ADD_FAILURE() << "cannot start " << binary;
    return result;
  }
  // Read until the child has gone and the terminal is drained; the terminal
  // reports an error once no process holds its other end.
  int status = 0;
  bool exited = false;
  for (;;) {
    pollfd wanted{master, POLLIN, 0};
    if (poll(&wanted, 1, 100) > 0 && (wanted.revents & POLLIN)) {
      char buffer[4096];
      ssize_t got = read(master, buffer, sizeof buffer);
      if (got > 0) {
        result.terminal.append(buffer, static_cast<size_t>(got));
        continue;
      }
    }
    if (exited) break;
    exited = waitpid(pid, &status, WNOHANG) == pid;
  }
  close(master);
  if (WIFEXITED(status)) result.exitCode = WEXITSTATUS(status);
  return result;
}

}  // namespace kx::testing
