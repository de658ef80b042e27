// MLogCapture: the run log opened in a sandboxed temporary folder for one test,
// read back as the file holds it (each line ended by "\r\n"). A test that has a
// sandbox already names a folder of it, so that no second sandbox moves HOME.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "foundation/core/log.h"
#include "support/sandbox.h"

namespace kx::testing {

class MLogCapture {
 public:
  MLogCapture() : sandbox_(std::in_place), path_(sandbox_->Root() / "log.txt") { Open(); }
  explicit MLogCapture(const std::filesystem::path& folder) : path_(folder / "log.txt") { Open(); }
  ~MLogCapture() { MLog::Close(); }
  MLogCapture(const MLogCapture&) = delete;
  MLogCapture& operator=(const MLogCapture&) = delete;

  // Closes the log and answers its bytes.
  std::string Text() {
    MLog::Close();
    return ReadFileBytes(path_);
  }
  const MTestSandbox& Sandbox() const { return *sandbox_; }

 private:
  void Open() { MLog::Open(MString::FromUTF8(path_.string())); }

  std::optional<MTestSandbox> sandbox_;
  std::filesystem::path path_;
};

// Whether `log` holds each of `lines`, each as a whole line, in this order.
inline ::testing::AssertionResult HasLinesInOrder(const std::string& log,
                                                  const std::vector<std::string>& lines) {
  size_t from = 0;
  for (const std::string& line : lines) {
    std::string wanted = line + "\r\n";
    size_t at = log.find(wanted, from);
    // A whole line starts the file or follows a line end.
    while (at != std::string::npos && at > 0 && log[at - 1] != '\n') at = log.find(wanted, at + 1);
    if (at == std::string::npos)
      return ::testing::AssertionFailure() << "missing or out of order: \"" << line << "\"\nlog:\n"
                                           << log;
    from = at + wanted.size();
  }
  return ::testing::AssertionSuccess();
}

inline int CountOf(const std::string& text, const std::string& part) {
  int count = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

}  // namespace kx::testing
