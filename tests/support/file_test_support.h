// A temporary folder for the file layer's tests, with helpers that set up and
// inspect files through the C++ library, independently of the code under test.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "foundation/files/path_text.h"
#include "support/failure_capture.h"
#include "support/sandbox.h"

namespace kx {

class FileTestBase : public ::testing::Test {
 protected:
  // The path below the sandbox, in the program's form.
  MString Path(const std::string& relative) const {
    return JoinPath(FromSystem(sandbox.Root().string()), FromSystem(relative));
  }
  std::filesystem::path Native(const std::string& relative) const { return sandbox.Root() / relative; }

  void WriteFile(const std::string& relative, const std::string& content) const {
    WriteFileBytes(Native(relative), content);
  }

  // The process may write into a folder whose write permission is gone, as root
  // may: tests of permission failures mean nothing then.
  bool IgnoresPermissions() const {
    std::filesystem::path folder = Native("permission-probe");
    std::filesystem::create_directories(folder);
    std::filesystem::permissions(folder, std::filesystem::perms::owner_read |
                                             std::filesystem::perms::owner_exec);
    bool written = static_cast<bool>(std::ofstream(folder / "x"));
    std::filesystem::permissions(folder, std::filesystem::perms::owner_all);
    std::filesystem::remove_all(folder);
    return written;
  }

  MTestSandbox sandbox;
};

// The message of the MException that `body` throws; a test failure if none is.
inline std::string MessageOf(const std::function<void()>& body) {
  MException failure = Failure(body);
  EXPECT_NE(failure.code, 9999) << "no MException was thrown";
  return failure.code == 9999 ? std::string() : ToStd(failure.message);
}

}  // namespace kx
