#include <gtest/gtest.h>
#include <stdlib.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>
#include <thread>

#include "foundation/files/file_ops.h"
#include "support/file_test_support.h"

namespace kx {
namespace {

namespace fs = std::filesystem;

// Copies the script: an MString made from a char pointer only refers to it.
MArray<MString> ShellScript(const std::string& script) {
  return MArray<MString>{MString("-c"), MString::FromUTF8(script)};
}

std::string AwaitFile(const fs::path& path) {
  for (int i = 0; i < 1000; ++i) {
    std::string content = ReadFileBytes(path);
    if (!content.empty() && content.back() == '\n') return content;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return ReadFileBytes(path);
}

class ExecuteTest : public FileTestBase {
 protected:
  // Puts a stand-in "xdg-open" first in PATH: it records its argument and ends
  // with `exitCode`.
  void InstallOpener(int exitCode) {
    WriteFile("bin/xdg-open", "#!/bin/sh\necho \"$1\" > \"" + Native("opened").string() +
                                  "\"\nexit " + std::to_string(exitCode) + "\n");
    fs::permissions(Native("bin/xdg-open"), fs::perms::owner_all);
    const char* old = ::getenv("PATH");
    savedPath_ = old ? old : "";
    ::setenv("PATH", (Native("bin").string() + ":" + savedPath_).c_str(), 1);
    pathChanged_ = true;
  }
  ~ExecuteTest() override {
    if (pathChanged_) ::setenv("PATH", savedPath_.c_str(), 1);
  }

 private:
  std::string savedPath_;
  bool pathChanged_ = false;
};

TEST_F(ExecuteTest, ExitCodesAndFailures) {
  MString shell("/bin/sh");
  for (auto [script, exitCode] :
       {std::pair{"exit 7", 7}, {"exit 255", 255}, {"kill -9 $$", 128 + 9}}) {
    MArray<MString> parameters = ShellScript(script);
    EXPECT_EQ(MFile::Execute(shell, &parameters, MString(), true), exitCode) << script;
  }

  MArray<MString> none;
  EXPECT_EQ(MessageOf([&] { MFile::Execute(Path("no-such-program"), &none, MString(), true); }),
            "Could not execute file \"" + ToStd(Path("no-such-program")) + "\".");
  MArray<MString> exit0 = ShellScript("exit 0");
  EXPECT_EQ(MessageOf([&] { MFile::Execute(shell, &exit0, Path("no-such-folder"), true); }),
            "Could not execute file \"/bin/sh\".");
}

TEST_F(ExecuteTest, WorkingFolderIsTheChildsOnly) {
  fs::create_directories(Native("work"));
  fs::path before = fs::current_path();
  MArray<MString> parameters = ShellScript("pwd > where; echo \"$0|$1\" >> where");
  EXPECT_EQ(MFile::Execute(MString("/bin/sh"), &parameters, Path("work"), true), 0);
  EXPECT_EQ(ReadFileBytes(Native("work/where")),
            fs::canonical(Native("work")).string() + "\n/bin/sh|\n");
  EXPECT_EQ(fs::current_path(), before);
}

TEST_F(ExecuteTest, OwnDescriptorsDoNotReachTheChild) {
  std::FILE* held = std::fopen(Native("held").c_str(), "w");
  ASSERT_NE(held, nullptr);
  std::string script =
      "test -e /proc/self/fd/" + std::to_string(::fileno(held)) + " && exit 1; exit 0";
  MArray<MString> parameters = ShellScript(script);
  EXPECT_EQ(MFile::Execute(MString("/bin/sh"), &parameters, MString(), true), 0);
  std::fclose(held);
}

TEST_F(ExecuteTest, OpeningGoesThroughTheDesktopOpener) {
  WriteFile("document.txt", "text");
  InstallOpener(0);
  EXPECT_EQ(MFile::Execute(Path("document.txt"), nullptr, MString(), true), 0);
  EXPECT_EQ(ReadFileBytes(Native("opened")), ToStd(Path("document.txt")) + "\n");

  fs::remove(Native("opened"));
  MFile::ExecuteWWW(MString("http://127.0.0.1/page?a=1&b=2"));
  EXPECT_EQ(AwaitFile(Native("opened")), "http://127.0.0.1/page?a=1&b=2\n");

  // An executable file runs itself rather than being handed on.
  WriteFile("tool", "#!/bin/sh\nexit 3\n");
  fs::permissions(Native("tool"), fs::perms::owner_all);
  EXPECT_EQ(MFile::Execute(Path("tool"), nullptr, MString(), true), 3);
}

TEST_F(ExecuteTest, OpenerFailuresAreReportedOrAbsorbed) {
  WriteFile("document.txt", "text");
  InstallOpener(3);
  EXPECT_EQ(MessageOf([&] { MFile::Execute(Path("document.txt"), nullptr, MString(), true); }),
            "Could not execute file \"" + ToStd(Path("document.txt")) + "\".");
  // No opener at all: nothing escapes.
  ::setenv("PATH", Native("nothing-here").c_str(), 1);
  MFile::ExecuteWWW(MString("http://127.0.0.1/"));
}

}  // namespace
}  // namespace kx
