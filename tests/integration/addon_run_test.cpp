// Add-ons end to end: the demo server tree served by nginx, a silent run of the
// real program with both add-ons queued in Settings.xml as the add-on tab leaves
// them, and their removal by record through kestrix-pack.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "app/main_routine.h"
#include "foundation/files/path_text.h"
#include "foundation/xml/xml_item.h"
#include "support/nginx_server.h"
#include "tool_process.h"

namespace kx {
namespace {

namespace fs = std::filesystem;
using testing::RunTool;
using testing::ToolResult;

const char* const kBinary = KESTRIX_BINARY_DIR "/src/app/kestrix";
const char* const kPack = KESTRIX_BINARY_DIR "/tools/kestrix-pack";

class AddonRunTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!MNginxServer::IsInstalled()) GTEST_SKIP() << "nginx is not installed";
    server_ = std::make_unique<MNginxServer>();
    ASSERT_TRUE(server_->IsRunning());
    const std::string host = "127.0.0.1:" + std::to_string(server_->Port());
    ToolResult build = RunTool("/bin/bash",
                               {KESTRIX_SOURCE_DIR "/scripts/build-demo-server",
                                server_->DocumentRoot().string(), "--tools",
                                KESTRIX_BINARY_DIR "/tools", "--server", host},
                               sandbox.Root());
    ASSERT_EQ(build.exitCode, 0) << build.output << build.errorOutput;
    setenv("KESTRIX_SERVER", host.c_str(), 1);
  }
  void TearDown() override { unsetenv("KESTRIX_SERVER"); }

  fs::path Served(const std::string& name) const {
    return server_->DocumentRoot() / "download" / "Addons" / name;
  }
  // The demo builder's dummy bytes for a content file, made again the same way.
  std::string Dummy(const std::string& name, int size) const {
    const fs::path file = sandbox.Root() / "expected" / name;
    fs::create_directories(file.parent_path());
    const std::string command = "seq -f '" + name + " %g' 1 " + std::to_string(size) +
                                " | gzip -n -1 | head -c " + std::to_string(size) + " > '" +
                                file.string() + "'";
    RunTool("/bin/bash", {"-c", command}, sandbox.Root());
    return ReadFileBytes(file);
  }
  std::string Log() const { return ReadFileBytes(sandbox.KestrixDataFolder() / "log.txt"); }

  MTestSandbox sandbox;
  std::unique_ptr<MNginxServer> server_;
};

TEST_F(AddonRunTest, QueuedAddonsAreFetchedInstalledAndRemovedByTheirRecords) {
  fs::create_directories(sandbox.KestrixDataFolder());
  std::ofstream(sandbox.KestrixDataFolder() / "Settings.xml")
      << "<KestrixAddonsSettings><item name=\"Tonvault Strings Essentials\" Download=\"1\"/>"
         "<item name=\"Kitvault Dusty Kits\" Download=\"1\"/></KestrixAddonsSettings>";
  ToolResult run = RunTool(kBinary, {"/silent"}, sandbox.Root());
  ASSERT_EQ(run.exitCode, kExitNormal) << Log();

  const fs::path documents = sandbox.Home() / "Documents" / "Vorlund";
  const fs::path samples = documents / "Tonvault Samples" / "Strings Essentials";
  const fs::path kits = documents / "Kitvault Factory" / "Dusty Kits";
  const fs::path devices = sandbox.DataHome() / "Vorlund" / "TonvaultInstruments" / "Strings Essentials";
  const std::string product = "Tonvault_Strings_Essentials.mproduct";
  const std::string pack = "Kitvault_Dusty_Kits.kitvaultpack";
  EXPECT_EQ(ReadFileBytes(samples / "Bowed A3.wav"), Dummy("Bowed A3.wav", 240000)) << Log();
  EXPECT_EQ(ReadFileBytes(devices / "Ensemble.device"), Dummy("Ensemble.device", 4000));
  EXPECT_EQ(ReadFileBytes(kits / "kick.wav"), Dummy("kick.wav", 170000));
  EXPECT_TRUE(fs::exists(sandbox.ConfigHome() / "Vorlund" / "Tonvaultpresets"));
  // The downloads stay in the add-on download folder for a later offline set.
  EXPECT_EQ(ReadFileBytes(sandbox.Home() / "Downloads" / "Vorlund" / pack), ReadFileBytes(Served(pack)));
  MXMLItem settings;
  settings.LoadFile(FromSystem((sandbox.KestrixDataFolder() / "Settings.xml").string()));
  for (MXMLItem* item = settings.firstSubItem; item; item = item->next) {
    SCOPED_TRACE(ToStd(item->GetAttributeText("name")));
    EXPECT_FALSE(item->GetAttributeBool("Download", true));
    EXPECT_TRUE(item->GetAttributeBool("Installed", false));
    EXPECT_EQ(item->GetAttributeInt("Version", 0), 1);
  }
  EXPECT_NE(Log().find("  installing Kitvault pack"), std::string::npos);

  // Removal by record: only the listed files and the folders left empty go.
  std::ofstream(samples / "mine.wav") << "the user's";
  ToolResult removal = RunTool(kPack,
                               {"addon-uninstall", "Tonvault Strings Essentials", "Kitvault Dusty Kits",
                                "--quiet"},
                               sandbox.Root());
  ASSERT_EQ(removal.exitCode, 0) << removal.errorOutput;
  EXPECT_FALSE(fs::exists(samples / "Bowed A3.wav"));
  EXPECT_TRUE(fs::exists(samples / "mine.wav"));
  EXPECT_FALSE(fs::exists(devices));
  EXPECT_FALSE(fs::exists(kits));
  EXPECT_TRUE(fs::exists(documents / "Kitvault Factory"));
  EXPECT_FALSE(fs::exists(sandbox.KestrixDataFolder() / "InstalledAddons" / "Kitvault Dusty Kits.xml"));
}

}  // namespace
}  // namespace kx
