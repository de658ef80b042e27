// The self-update check of a run with a window (no /silent) against nginx: the
// setup on offer is fetched once into the add-on download folder and started with
// "/silent /run", and the run ends with code 0 without writing its settings.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>

#include "app/main_routine.h"
#include "kestrix_version.h"
#include "support/log_capture.h"
#include "support/nginx_server.h"
#include "tool_process.h"

namespace kx {
namespace {

namespace fs = std::filesystem;
using testing::RunTool;
using testing::ToolResult;

const char* const kListFailure =
    "Could not download Kestrix version list - KESTRIXDATABASE.xml.\nPlease check your internet "
    "connection.\n\n";

class SelfUpdateTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!MNginxServer::IsInstalled()) GTEST_SKIP() << "nginx is not installed";
    server_ = std::make_unique<MNginxServer>();
    server_->AddFile("download/ConnectionTest.pkgm", "ok");
    setenv("KESTRIX_SERVER", ("127.0.0.1:" + std::to_string(server_->Port())).c_str(), 1);
  }

  // Offers `version` with a setup that writes its arguments into a file of HOME.
  std::string Offer(const std::string& version) {
    const std::string setup = "Kestrix_" + version + "_setup.run";
    server_->AddFile("download/KESTRIXDATABASE.xml",
                     "<SelfUpdateList><kestrix_installers><item name=\"AVAILABLE_VERSIONS_PC\">"
                     "<kestrix version=\"0.0.0\" setupname=\"windows.exe\"/></item>"
                     "<item name=\"AVAILABLE_VERSIONS_LINUX\"><kestrix version=\"0.1\" setupname=\"old.run\"/>"
                     "<kestrix version=\"" + version + "\" setupname=\"" + setup + "\"/></item>"
                     "</kestrix_installers></SelfUpdateList>");
    server_->AddFile("download/kestrix/" + setup,
                     "#!/bin/sh\necho \"$@\" > \"$HOME/setup-arguments\"\n");
    return setup;
  }
  ToolResult Run() const { return RunTool(testing::kProgramPath, {}, sandbox.Root()); }
  std::string Log() const { return ReadFileBytes(sandbox.KestrixDataFolder() / "log.txt"); }
  // The setup runs on its own: its trace is waited for.
  std::string SetupArguments() const {
    const fs::path trace = sandbox.Home() / "setup-arguments";
    for (int round = 0; round < 500 && !fs::exists(trace); ++round)
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    std::string text = ReadFileBytes(trace);
    fs::remove(trace);
    return text;
  }

  MTestSandbox sandbox;
  std::unique_ptr<MNginxServer> server_;
};

TEST_F(SelfUpdateTest, DifferentVersionIsFetchedOnceAndStarted) {
  for (const char* version : {"99.0.0", "0.0.1"}) {
    SCOPED_TRACE(version);
    const std::string setup = Offer(version);
    ASSERT_EQ(Run().exitCode, kExitNormal) << Log();
    EXPECT_EQ(SetupArguments(), "/silent /run\n") << Log();
    EXPECT_TRUE(fs::exists(sandbox.Home() / "Downloads" / "Vorlund" / setup));
    EXPECT_EQ(testing::CountOf(Log(), "/download/kestrix/" + setup), 1) << Log();
    EXPECT_NE(Log().find(std::string("Kestrix currently installed version: ") + kKestrixVersion +
                         " Kestrix newest available version: " + version),
              std::string::npos);
    EXPECT_NE(Log().find("Launched new Kestrix setup for update."), std::string::npos);
    for (const char* settings : {"Settings.xml", "SettingsPackage.xml", "SettingsPlugins.xml"})
      EXPECT_FALSE(fs::exists(sandbox.KestrixDataFolder() / settings)) << settings;

    // A setup that lies in the download folder is taken as it is.
    fs::remove(server_->DocumentRoot() / "download" / "kestrix" / setup);
    ASSERT_EQ(Run().exitCode, kExitNormal);
    EXPECT_EQ(SetupArguments(), "/silent /run\n") << Log();
    EXPECT_EQ(testing::CountOf(Log(), "/download/kestrix/"), 0) << Log();
    EXPECT_NE(Log().find("\nSetup: " + setup + " for self update already exists!"), std::string::npos);
  }
}

TEST_F(SelfUpdateTest, SameVersionEmptyOrCorruptListRunsOn) {
  const std::pair<std::string, std::string> cases[] = {
      // the list, a line of the log
      {"<SelfUpdateList><kestrix_installers><item name=\"AVAILABLE_VERSIONS_LINUX\"><kestrix "
       "version=\"" +
           std::string(kKestrixVersion) +
           "\" setupname=\"same.run\"/></item></kestrix_installers></SelfUpdateList>",
       "is this version up to date? : 1"},
      {"", std::string(kListFailure)},
      {"<SelfUpdateList><kestrix_installers><item", std::string(kListFailure)},
  };
  for (const auto& [list, logged] : cases) {
    SCOPED_TRACE(list);
    server_->AddFile("download/KESTRIXDATABASE.xml", list);
    ASSERT_EQ(Run().exitCode, kExitNormal);
    EXPECT_NE(Log().find(logged), std::string::npos) << Log();
    EXPECT_EQ(Log().find("Launching new Kestrix setup"), std::string::npos);
    EXPECT_TRUE(fs::exists(sandbox.KestrixDataFolder() / "SettingsPackage.xml"));
  }
}

}  // namespace
}  // namespace kx
