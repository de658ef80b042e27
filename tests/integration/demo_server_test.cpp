// The demo server tree read back with the program's own readers: every package of
// the definition published, every published version and add-on on the server with
// a security info that kestrix-pack verify accepts, and the effects binary's
// plug-ins told apart by name (removing one leaves the others).
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "app/main_routine.h"
#include "catalogue/definition_schema.h"
#include "catalogue/package.h"
#include "catalogue/package_database.h"
#include "demo_run_fixture.h"
#include "foundation/files/path_text.h"
#include "foundation/xml/xml_item.h"

namespace kx {
namespace {

namespace fs = std::filesystem;

// The fixture has built the tree into the served folder.
using DemoServerTest = testing::DemoRunTest;

MXMLItem& LoadTree(MXMLItem& tree, const fs::path& file) {
  tree.LoadFile(FromSystem(file.string()));
  return tree;
}

// A file of the tree, with its security info beside it (without one verify says
// "contents not checked"), as kestrix-pack verify sees it.
void ExpectVerified(const fs::path& file, const fs::path& scratch) {
  testing::ToolResult verify =
      testing::RunTool(testing::kPackPath, {"verify", file.string()}, scratch);
  EXPECT_EQ(verify.exitCode, 0) << file << ": " << verify.errorOutput;
  EXPECT_NE(verify.output.find("blocks and the file's MD5 match"), std::string::npos)
      << verify.output;
}

TEST_F(DemoServerTest, BuildsACompleteAndConsistentServerTree) {
  const fs::path root = server_->DocumentRoot();
  const fs::path download = root / "download";

  EXPECT_GT(fs::file_size(download / "ConnectionTest.pkgm"), 0u);
  EXPECT_EQ(ReadFileBytes(download / "MInstallerDefinition.mbx").substr(0, 4),
            std::string("\0MBX", 4));
  MXMLItem definition, database, addons, selfUpdate;
  InstallerDefinitionContents contents =
      ReadInstallerDefinition(LoadTree(definition, download / "MInstallerDefinition.mbx"));
  LoadTree(database, download / "MINSTALLERDATABASE.xml");
  LoadTree(selfUpdate, download / "KESTRIXDATABASE.xml");
  EXPECT_TRUE(selfUpdate.HasSubItem("kestrix_installers"));
  EXPECT_FALSE(contents.categories.Count() == 0);

  // Every package of the definition is published, and every published version
  // lies at /download/<folder>/<key>_<version>.pkgm.
  std::set<std::string> definedKeys;
  fs::path effects;
  for (const FilesDefinition& files : contents.files) {
    MString folder = Package::MakeFolderPath(files.path);
    MString key = Package::MakeKey(folder);
    definedKeys.insert(ToStd(key));
    MXMLItem* entry = FindDatabaseEntry(database, key);
    ASSERT_NE(entry, nullptr) << ToStd(key) << " is not in the database";
    DatabaseVersions versions = ReadDatabaseVersions(entry);
    for (const MString* version : {&versions.stableVersion, &versions.betaVersion}) {
      if (version->IsEmpty()) continue;
      fs::path package = download / ToStd(folder) / (ToStd(key) + "_" + ToStd(*version) + ".pkgm");
      ExpectVerified(package, sandbox.Root());
      if (key == "BINEffects_binx64") effects = package;
    }
  }
  // And the database publishes nothing the definition lacks.
  for (MXMLItem* entry = database.firstSubItem; entry; entry = entry->next)
    EXPECT_TRUE(definedKeys.count(ToStd(entry->GetAttribute("name").AsString())))
        << ToStd(entry->GetAttribute("name").AsString());

  // The add-ons point at files of the tree, and at the server they were built for.
  LoadTree(addons, download / "PRODUCTSX.xml");
  EXPECT_EQ(ToStd(addons.GetAttribute("server").AsString()), online_);
  int addonCount = 0;
  for (MXMLItem* item = addons.firstSubItem; item; item = item->next, ++addonCount)
    ExpectVerified(root / ToStd(item->GetAttribute("url").AsString()).substr(1), sandbox.Root());
  EXPECT_GT(addonCount, 0);

  ASSERT_FALSE(effects.empty());
  const fs::path vst = sandbox.Root() / "vst", state = sandbox.Root() / "effects.state";
  std::vector<std::string> install = {"install",    effects.string(), "--dest",
                                      vst.string(), "--state",        state.string()};
  std::set<std::string> expected;
  for (const CategoryDefinition& category : contents.categories) {
    for (const PluginDefinition& plugin : category.items) {
      install.insert(install.end(), {"--enable", ToStd(plugin.name)});
      if (plugin.name != "Driftdelay") expected.insert(ToStd(plugin.name) + ".so");
    }
  }
  ASSERT_EQ(testing::RunTool(testing::kPackPath, install, sandbox.Root()).exitCode, 0);
  ASSERT_EQ(
      testing::RunTool(testing::kPackPath, {"uninstall", state.string(), "--enable", "Driftdelay"},
                       sandbox.Root())
          .exitCode,
      0);
  std::set<std::string> left;
  for (const fs::directory_entry& file : fs::directory_iterator(vst))
    left.insert(file.path().filename().string());
  EXPECT_EQ(left, expected);
}

// Add-ons end to end: a silent run of the real program with both add-ons queued in
// Settings.xml as the add-on tab leaves them, and their removal by record through
// kestrix-pack.
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
  const fs::path devices =
      sandbox.DataHome() / "Vorlund" / "TonvaultInstruments" / "Strings Essentials";
  const std::string product = "Tonvault_Strings_Essentials.mproduct";
  const std::string pack = "Kitvault_Dusty_Kits.kitvaultpack";
  EXPECT_EQ(ReadFileBytes(samples / "Bowed A3.wav"), Dummy("Bowed A3.wav", 240000)) << Log();
  EXPECT_EQ(ReadFileBytes(devices / "Ensemble.device"), Dummy("Ensemble.device", 4000));
  EXPECT_EQ(ReadFileBytes(kits / "kick.wav"), Dummy("kick.wav", 170000));
  EXPECT_TRUE(fs::exists(sandbox.ConfigHome() / "Vorlund" / "Tonvaultpresets"));
  // The downloads stay in the add-on download folder for a later offline set.
  EXPECT_EQ(ReadFileBytes(sandbox.Home() / "Downloads" / "Vorlund" / pack),
            ReadFileBytes(Served(pack)));
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
  ToolResult removal =
      Pack({"addon-uninstall", "Tonvault Strings Essentials", "Kitvault Dusty Kits", "--quiet"});
  ASSERT_EQ(removal.exitCode, 0) << removal.errorOutput;
  EXPECT_FALSE(fs::exists(samples / "Bowed A3.wav"));
  EXPECT_TRUE(fs::exists(samples / "mine.wav"));
  EXPECT_FALSE(fs::exists(devices));
  EXPECT_FALSE(fs::exists(kits));
  EXPECT_TRUE(fs::exists(documents / "Kitvault Factory"));
  EXPECT_FALSE(
      fs::exists(sandbox.KestrixDataFolder() / "InstalledAddons" / "Kitvault Dusty Kits.xml"));
}

}  // namespace
}  // namespace kx
