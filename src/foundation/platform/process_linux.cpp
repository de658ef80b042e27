#include "foundation/platform/process.h"

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <thread>

extern char** environ;

namespace kx::platform {
namespace {

// Owns the two spawn descriptions so that every path out of SpawnProcess frees them.
struct SpawnSetup {
  posix_spawn_file_actions_t actions;
  posix_spawnattr_t attributes;
  SpawnSetup() {
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawnattr_init(&attributes);
  }
  ~SpawnSetup() {
    ::posix_spawnattr_destroy(&attributes);
    ::posix_spawn_file_actions_destroy(&actions);
  }
};

int WaitForExit(pid_t child, int& exitCode) {
  int status = 0;
  while (::waitpid(child, &status, 0) < 0)
    if (errno != EINTR) return errno;
  exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return 0;
}

}  // namespace

int SpawnProcess(const std::vector<std::string>& arguments, const std::string& workingDirectory,
                 bool wait, int& exitCode) {
  exitCode = 0;
  if (arguments.empty() || arguments[0].empty()) return ENOENT;
  std::vector<char*> argv;
  argv.reserve(arguments.size() + 1);
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);

  SpawnSetup setup;
  // The program's own descriptors (the log, the single-instance socket) must not
  // live on in the child: a new setup would find the instance lock still held.
  ::posix_spawn_file_actions_addclosefrom_np(&setup.actions, 3);
  if (!workingDirectory.empty())
    ::posix_spawn_file_actions_addchdir_np(&setup.actions, workingDirectory.c_str());
  // Signals this program ignores or blocks (a broken pipe on a socket) are not the
  // child's business.
  sigset_t all, none;
  ::sigfillset(&all);
  ::sigemptyset(&none);
  ::posix_spawnattr_setsigdefault(&setup.attributes, &all);
  ::posix_spawnattr_setsigmask(&setup.attributes, &none);
  ::posix_spawnattr_setflags(&setup.attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);

  pid_t child = 0;
  int error = ::posix_spawnp(&child, argv[0], &setup.actions, &setup.attributes, argv.data(), environ);
  if (error != 0) return error;
  if (wait) return WaitForExit(child, exitCode);
  // Nobody waits for this child: a small thread collects its end, so that no
  // finished process lingers as a zombie while this program runs on.
  std::thread([child] {
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
  }).detach();
  return 0;
}

}  // namespace kx::platform
