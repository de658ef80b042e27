// The demo catalogue (scripts/build-demo-server) served by a real nginx, and the
// real program run against it in a sandboxed home: the fixture of the end-to-end
// tests of add-ons and offline data.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "support/nginx_server.h"
#include "tool_process.h"

namespace kx::testing {

class DemoRunTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!MNginxServer::IsInstalled()) GTEST_SKIP() << "nginx is not installed";
    server_ = std::make_unique<MNginxServer>();
    online_ = "127.0.0.1:" + std::to_string(server_->Port());
    ToolResult build = RunTool("/bin/bash",
                               {KESTRIX_SOURCE_DIR "/scripts/build-demo-server",
                                server_->DocumentRoot().string(), "--tools",
                                KESTRIX_BINARY_DIR "/tools", "--server", online_},
                               sandbox.Root());
    ASSERT_EQ(build.exitCode, 0) << build.output << build.errorOutput;
    setenv("KESTRIX_SERVER", online_.c_str(), 1);
  }

  // The program's run; its exit code.
  int Run(const std::vector<std::string>& arguments) const {
    return RunTool(kProgramPath, arguments, sandbox.Root()).exitCode;
  }
  ToolResult Pack(const std::vector<std::string>& arguments) const {
    return RunTool(kPackPath, arguments, sandbox.Root());
  }
  // The home the runs use: the sandbox's, unless UseHome chose another.
  std::filesystem::path Home() const { return home_.empty() ? sandbox.Home() : home_; }
  std::filesystem::path DataFolder() const { return Home() / ".config" / "Vorlund" / "Downloader"; }
  std::string Log() const { return ReadFileBytes(DataFolder() / "log.txt"); }

  // A home of its own below the sandbox; with `server` the demo server, else none.
  void UseHome(const std::string& name, bool server) {
    home_ = sandbox.Root() / name;
    std::filesystem::create_directories(home_);
    setenv("HOME", home_.c_str(), 1);
    setenv("XDG_CONFIG_HOME", (home_ / ".config").c_str(), 1);
    setenv("XDG_DATA_HOME", (home_ / ".local/share").c_str(), 1);
    setenv("XDG_CACHE_HOME", (home_ / ".cache").c_str(), 1);
    setenv("KESTRIX_SERVER", server ? online_.c_str() : "127.0.0.1:9", 1);
  }

  MTestSandbox sandbox;
  std::unique_ptr<MNginxServer> server_;
  std::string online_;
  std::filesystem::path home_;
};

}  // namespace kx::testing
