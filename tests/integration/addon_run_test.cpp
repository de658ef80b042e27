// Add-ons end to end: the demo server tree served by nginx, a silent run of the
// real program with both add-ons queued in Settings.xml as the add-on tab leaves
// them, and their removal by record through kestrix-pack.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <tuple>

#include "app/main_routine.h"
#include "demo_run_fixture.h"
#include "foundation/files/path_text.h"
#include "foundation/xml/xml_item.h"

namespace kx {
namespace {

namespace fs = std::filesystem;
using testing::RunTool;
using testing::ToolResult;

class AddonRunTest : public testing::DemoRunTest {
 protected:
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
};

TEST_F(AddonRunTest, QueuedAddonsAreFetchedInstalledAndRemovedByTheirRecords) {
  fs::create_directories(sandbox.KestrixDataFolder());
  std::ofstream(sandbox.KestrixDataFolder() / "Settings.xml")
      << "<KestrixAddonsSettings><item name=\"Tonvault Strings Essentials\" Download=\"1\"/>"
         "<item name=\"Kitvault Dusty Kits\" Download=\"1\"/></KestrixAddonsSettings>";
  ASSERT_EQ(Run({"/silent"}), kExitNormal) << Log();

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
  for (MXMLItem* item = settings.firstSubItem; item; item = item->next)
    EXPECT_EQ(
        std::tuple(item->GetAttributeBool("Download", true),
                   item->GetAttributeBool("Installed", false), item->GetAttributeInt("Version", 0)),
        std::tuple(false, true, 1))
        << ToStd(item->GetAttributeText("name"));
  EXPECT_NE(Log().find("  installing Kitvault pack"), std::string::npos);

  // Removal by record: only the listed files and the folders left empty go.
  std::ofstream(samples / "mine.wav") << "the user's";
  ToolResult removal = Pack({"addon-uninstall", "Tonvault Strings Essentials", "Kitvault Dusty Kits", "--quiet"});
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
