// Runs one of the built binaries as a real process: standard input from
// /dev/null (no terminal to answer a question), standard output and error
// captured through files in `folder`.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>

#include <filesystem>
#include <string>
#include <tuple>
#include <vector>

#include "support/sandbox.h"

extern char** environ;

namespace kx::testing {

inline const char* const kProgramPath = KESTRIX_BINARY_DIR "/src/app/kestrix";
inline const char* const kPackPath = KESTRIX_BINARY_DIR "/tools/kestrix-pack";
inline const char* const kTreePath = KESTRIX_BINARY_DIR "/tools/kestrix-tree";

struct ToolResult {
  int exitCode = -1;
  std::string output;
  std::string errorOutput;
};

// Exit code, output and error output, to be compared as one.
inline std::tuple<int, std::string, std::string> Outcome(const ToolResult& result) {
  return {result.exitCode, result.output, result.errorOutput};
}

inline ToolResult RunTool(const char* binary, const std::vector<std::string>& arguments,
                          const std::filesystem::path& folder) {
  std::filesystem::path out = folder / "stdout.txt", err = folder / "stderr.txt";
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  posix_spawn_file_actions_addopen(&actions, 2, err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  std::vector<char*> argv{const_cast<char*>(binary)};
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  pid_t pid = 0;
  int failed = posix_spawn(&pid, binary, &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  ToolResult result;
  if (failed != 0) {
    ADD_FAILURE() << "cannot start " << binary;
    return result;
  }
  int status = 0;
  waitpid(pid, &status, 0);
  EXPECT_TRUE(WIFEXITED(status)) << binary << " did not exit normally, status " << status;
  if (WIFEXITED(status)) result.exitCode = WEXITSTATUS(status);
  result.output = ReadFileBytes(out);
  result.errorOutput = ReadFileBytes(err);
  return result;
}

// A tool run in a sandbox of its own, its files named below the sandbox.
class ToolTest : public ::testing::Test {
 protected:
  explicit ToolTest(const char* tool) : tool_(tool) {}
  std::filesystem::path File(const std::string& name) const { return sandbox.Root() / name; }
  std::string Arg(const std::string& name) const { return File(name).string(); }
  void WriteFile(const std::string& name, const std::string& bytes) const {
    WriteFileBytes(File(name), bytes);
  }
  ToolResult Run(const std::vector<std::string>& arguments) const {
    return RunTool(tool_, arguments, sandbox.Root());
  }
  std::string Log() const { return ReadFileBytes(sandbox.KestrixDataFolder() / "log.txt"); }

  MTestSandbox sandbox;

 private:
  const char* tool_;
};

}  // namespace kx::testing
