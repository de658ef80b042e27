// Silent runs of the real program against nginx serving a tiny catalogue built
// with the real tools: plug-ins Alpha and Beta, a content package each, and the
// effects binary that holds both plug-ins' files.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "app/main_routine.h"
#include "support/faulty_proxy.h"
#include "support/log_capture.h"
#include "support/nginx_server.h"
#include "tool_process.h"

namespace kx {
namespace {

namespace fs = std::filesystem;
using testing::kPackPath;
using testing::ToolResult;

const char* const kClosing2 = "\nClosing Kestrix, error code: 2\r\n";

const char* const kDefinition =
    "<InstallerDefinition>\n"
    " <directory id=\"contentfolder\" default=\"{userdata}/VorlundContent\" "
    "defaultprefix=\"{userdata}\"/>\n"
    " <files path=\"Content/Alpha\" name=\"Alpha content\" flags=\"alpha\"/>\n"
    " <files path=\"Content/Beta\" name=\"Beta content\" flags=\"beta\"/>\n"
    " <files path=\"BINEffects/binx64\" name=\"Effects\" flags=\"global\"/>\n"
    " <category name=\"Effects\" columns=\"2\">\n"
    "  <item name=\"Alpha\" flags=\"alpha\"/>\n"
    "  <item name=\"Beta\" flags=\"beta\"/>\n"
    " </category>\n"
    "</InstallerDefinition>\n";

struct PackageSource {
  std::string key;
  std::string folder;  // below /download/ and the data folder
  std::vector<std::string> attributes;
  std::vector<std::pair<std::string, std::string>> files;  // relative path, content
};

std::vector<PackageSource> Packages() {
  return {
      {"Content_Alpha", "Content/Alpha", {"destination={contentfolder}/Alpha"},
       {{"Alpha/Manual.txt", "alpha manual"}, {"Alpha/User.presets", "alpha presets"}}},
      {"Content_Beta", "Content/Beta", {"destination={contentfolder}/Beta"},
       {{"Beta/Manual.txt", "beta manual"}}},
      {"BINEffects_binx64", "PKG/BINEffects/binx64", {"detectitems=1"},
       {{"Alpha.so", "alpha binary"}, {"Beta.so", "beta binary"}}},
  };
}

class SilentRunTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!MNginxServer::IsInstalled()) GTEST_SKIP() << "nginx is not installed";
    server_ = std::make_unique<MNginxServer>();
    ASSERT_TRUE(server_->IsRunning());
    BuildServerTree();
    UseServer("127.0.0.1:" + std::to_string(server_->Port()));
  }
  static void UseServer(const std::string& server) { setenv("KESTRIX_SERVER", server.c_str(), 1); }

  fs::path Work(const std::string& name) const { return sandbox.Root() / "work" / name; }
  fs::path Served(const std::string& name) const { return server_->DocumentRoot() / "download" / name; }

  void Tool(const char* tool, const std::vector<std::string>& arguments) const {
    ToolResult result = testing::RunTool(tool, arguments, sandbox.Root());
    ASSERT_EQ(result.exitCode, 0) << result.output << result.errorOutput;
  }

  void WriteDatabase() {
    std::string database = "<PackageDatabase>\n";
    for (const auto& [key, release] : releases_)
      database += "<packages name=\"" + key + "\"><release version=\"" + release.first + "\" size=\"" +
                  std::to_string(release.second) + "\" time=\"2024-01-01 10:00:00\"/></packages>\n";
    WriteFileBytes(Served("MINSTALLERDATABASE.xml"), database + "</PackageDatabase>\n");
  }

  // Packs `source` (a folder or a tree file) as release `version` of `key` below
  // /download/<folder>/, with its security info, and publishes it.
  void Publish(const std::string& key, const std::string& folder, const std::string& version,
               const fs::path& source, std::vector<std::string> options) {
    const fs::path served = Served(folder + "/" + key + "_" + version + ".pkgm");
    fs::create_directories(served.parent_path());
    options.insert(options.begin(), {"build", source.string(), served.string()});
    Tool(kPackPath, options);
    Tool(kPackPath, {"md5", served.string()});
    releases_[key] = {version, fs::file_size(served)};
    WriteDatabase();
  }

  // Publishes a release of the effects package whose Alpha.so holds `alpha`.
  void PublishEffects(const std::string& version, const std::string& alpha) {
    const fs::path source = Work("fx_" + version);
    WriteFileBytes(source / "Alpha.so", alpha);
    WriteFileBytes(source / "Beta.so", "beta binary");
    Publish("BINEffects_binx64", "PKG/BINEffects/binx64", version, source,
            {"--name", "Plugins", "--attr", "detectitems=1"});
  }

  void BuildServerTree() {
    for (const PackageSource& package : Packages()) {
      fs::path source = Work("src_" + package.key);
      for (const auto& [path, bytes] : package.files) WriteFileBytes(source / path, bytes);
      std::vector<std::string> options{"--name",
                                       package.key == "BINEffects_binx64" ? "Plugins" : "Content"};
      for (const std::string& attribute : package.attributes)
        options.insert(options.end(), {"--attr", attribute});
      Publish(package.key, package.folder, "1.0", source, options);
    }
    WriteFileBytes(Work("definition.xml"), kDefinition);
    Tool(testing::kTreePath, {"convert", Work("definition.xml").string(),
                              Served("MInstallerDefinition.mbx").string(), "--to", "mbx"});
    WriteFileBytes(Served("PRODUCTSX.xml"),
                   "<Products server=\"127.0.0.1:" + std::to_string(server_->Port()) + "\"/>\n");
    WriteFileBytes(Served("ConnectionTest.pkgm"), "ok");
  }

  ToolResult Run(const std::vector<std::string>& arguments) const {
    return testing::RunTool(testing::kProgramPath, arguments, sandbox.Root());
  }
  std::string Log() const { return ReadFileBytes(sandbox.KestrixDataFolder() / "log.txt"); }

  // Every file below HOME whose name is one of the packages' files, by name.
  std::vector<std::string> InstalledNames() const {
    std::vector<std::string> names;
    for (const PackageSource& package : Packages())
      for (const auto& [path, bytes] : package.files)
        if (!Find(fs::path(path).filename().string()).empty()) names.push_back(path);
    return names;
  }
  fs::path Find(const std::string& fileName) const {
    for (const auto& entry : fs::recursive_directory_iterator(sandbox.Home()))
      if (entry.is_regular_file() && entry.path().filename() == fileName &&
          entry.path().string().find("Downloader") == std::string::npos)
        return entry.path();
    return {};
  }

  MTestSandbox sandbox;
  std::unique_ptr<MNginxServer> server_;
  std::map<std::string, std::pair<std::string, uintmax_t>> releases_;  // key: version, size
};

// A connection test that answers with no bytes, or no server at all: offline,
// and a silent run ends with code 2 before the thread starts, unless it uninstalls.
TEST_F(SilentRunTest, OfflineEndsWithCodeTwoUnlessUninstalling) {
  WriteFileBytes(Served("ConnectionTest.pkgm"), "");
  EXPECT_EQ(Run({"/silent"}).exitCode, kExitSilentNoServer);
  EXPECT_NE(Log().find("Kestrix is in OFFLINE mode!"), std::string::npos);
  UseServer("127.0.0.1:9");
  EXPECT_EQ(Run({"/silent"}).exitCode, kExitSilentNoServer);
  EXPECT_TRUE(Log().ends_with(kClosing2)) << Log();
  EXPECT_EQ(Log().find("Starting download thread"), std::string::npos);
  EXPECT_EQ(Run({"/silent", "/uninstall"}).exitCode, kExitNormal);
}

TEST_F(SilentRunTest, FirstRunInstallsAllSecondRunRewritesNothing) {
  ToolResult first = Run({"/silent"});
  ASSERT_EQ(first.exitCode, kExitNormal) << Log();
  EXPECT_EQ(InstalledNames().size(), 5u) << Log();
  // The binaries went to the VST folder, the content below the user data folder.
  EXPECT_EQ(Find("Alpha.so").parent_path(), sandbox.Home() / ".vst" / "Vorlund");
  for (const char* settings : {"Settings.xml", "SettingsPackage.xml", "SettingsPlugins.xml"})
    EXPECT_TRUE(fs::exists(sandbox.KestrixDataFolder() / settings)) << settings;
  for (const PackageSource& package : Packages())
    EXPECT_TRUE(fs::exists(sandbox.KestrixDataFolder() / "Uninstall" / (package.key + ".state")))
        << package.key;

  const auto written = fs::last_write_time(Find("Alpha.so"));
  ToolResult second = Run({"/silent"});
  EXPECT_EQ(second.exitCode, kExitNormal);
  // Every package the thread took was found complete on disk.
  const std::string log = Log();
  EXPECT_GT(testing::CountOf(log, "  url http"), 0) << log;
  EXPECT_EQ(testing::CountOf(log, "  url http"), testing::CountOf(log, "  already exists")) << log;
  EXPECT_EQ(fs::last_write_time(Find("Alpha.so")), written);
}

TEST_F(SilentRunTest, NamedRunsInstallAndRemoveOnlyTheNamedPlugins) {
  ASSERT_EQ(Run({"/silent", "Alpha"}).exitCode, kExitNormal) << Log();
  EXPECT_FALSE(Find("Alpha.so").empty());
  EXPECT_FALSE(Find("Manual.txt").empty());
  EXPECT_TRUE(Find("Beta.so").empty());

  ASSERT_EQ(Run({"/silent", "Beta"}).exitCode, kExitNormal) << Log();
  ASSERT_EQ(Run({"/uninstall", "/silent", "Alpha"}).exitCode, kExitNormal) << Log();
  EXPECT_TRUE(Find("Alpha.so").empty()) << Log();
  EXPECT_FALSE(Find("Beta.so").empty());

  ASSERT_EQ(Run({"/silent", "/uninstall"}).exitCode, kExitNormal) << Log();
  // Preset libraries stay: they hold what the user saved.
  EXPECT_EQ(InstalledNames(), std::vector<std::string>{"Alpha/User.presets"}) << Log();
}

TEST_F(SilentRunTest, UnknownNameRequestsNothing) {
  ASSERT_EQ(Run({"/silent", "Nobody"}).exitCode, kExitNormal);
  const std::string log = Log();
  EXPECT_NE(log.find("Install/change: Nothing new to install / change."), std::string::npos) << log;
  EXPECT_EQ(log.find("Request install for package"), std::string::npos) << log;
  EXPECT_EQ(log.find("INSTALLING"), std::string::npos) << log;
  EXPECT_TRUE(InstalledNames().empty());
}

TEST_F(SilentRunTest, CorruptCataloguesEndTheStartWithTheirMessage) {
  const struct {
    const char *file, *bytes, *logged;
  } cases[] = {
      {"MInstallerDefinition.mbx", "not a tree",
       "Could not load file InstallerDefinition.install.\nPlease re-install the app.\n\nError: "},
      {"MInstallerDefinition.mbx", "not a tree",
       "InstallerDefinition.mbx is probably corrupt, please reinstall the app.\r\n"},
      {"PRODUCTSX.xml",
       "<Products server=", "Downloaded list of available addons - PRODUCTSX.xml is corrupt.\r\n"},
      {"PRODUCTSX.xml", "<Products/>",
       "Downloaded list of available addons - PRODUCTSX.xml is corrupt.\r\n"},
      {"MINSTALLERDATABASE.xml", "no elements here",
       "Downloaded list of available packages - INSTALLERDATABASE.xml is corrupt.\r\n"},
  };
  for (const auto& c : cases) {
    const std::string good = ReadFileBytes(Served(c.file));
    WriteFileBytes(Served(c.file), c.bytes);
    EXPECT_EQ(Run({"/silent"}).exitCode, kExitStartFailed) << c.file;
    EXPECT_NE(Log().find(c.logged), std::string::npos) << c.file << "\n" << Log();
    EXPECT_EQ(Log().find("Starting download thread"), std::string::npos) << c.file;
    WriteFileBytes(Served(c.file), good);
  }
}

struct FormatCase {
  const char* name;
  std::string settings;  // attributes of SettingsPackage.xml's root
  std::set<std::string> binaryFolders;  // below HOME, where Alpha.so lands
};

// The formats and folders chosen in the settings decide where the binaries of
// the effects package go: the VST folder for the package itself, the copies
// named "(VST3)" and "(AAX)" in their own folders.
TEST_F(SilentRunTest, ComponentSelectionDecidesTheBinaryFolders) {
  const fs::path tree = Work("effects.xml");
  WriteFileBytes(Work("bin/Alpha.so"), "alpha binary");
  WriteFileBytes(Work("bin/Beta.so"), "beta binary");
  WriteFileBytes(tree,
                 "<package name=\"Plugins\" detectitems=\"1\">\n"
                 " <copy name=\"Plugins (VST3)\" destination=\"{contentfolder}/VST3\"/>\n"
                 " <copy name=\"Plugins (AAX)\" destination=\"{contentfolder}/AAX\"/>\n"
                 " <file name=\"Alpha.so\" op=\"update\" srcpath=\"bin/Alpha.so\"/>\n"
                 " <file name=\"Beta.so\" op=\"update\" srcpath=\"bin/Beta.so\"/>\n"
                 "</package>\n");
  Publish("BINEffects_binx64", "PKG/BINEffects/binx64", "1.0", tree, {});

  const std::string custom = (sandbox.Home() / "custom3").string();
  const std::string content = ".config/Vorlund/VorlundContent/";
  const FormatCase cases[] = {
      {"AllOn", "", {".vst/Vorlund", content + "VST3", content + "AAX"}},
      {"AllOff", "CheckVST=\"0\" CheckVST3=\"0\" CheckAAX=\"0\"", {}},
      {"CustomVst3", "VST3CustomPath=\"" + custom + "\"", {".vst/Vorlund", "custom3", content + "AAX"}},
      {"AaxOff", "CheckAAX=\"0\"", {".vst/Vorlund", content + "VST3"}},
  };
  for (const FormatCase& c : cases) {
    fs::remove_all(sandbox.Home());
    WriteFileBytes(sandbox.KestrixDataFolder() / "SettingsPackage.xml",
                   "<KestrixPackagesSettings " + c.settings + "/>\n");
    ASSERT_EQ(Run({"/silent"}).exitCode, kExitNormal) << c.name << Log();
    std::set<std::string> folders;
    for (const auto& entry : fs::recursive_directory_iterator(sandbox.Home()))
      if (entry.path().filename() == "Alpha.so")
        folders.insert(fs::relative(entry.path().parent_path(), sandbox.Home()).string());
    EXPECT_EQ(folders, c.binaryFolders) << c.name;
    EXPECT_FALSE(Find("Manual.txt").empty()) << c.name << ": content goes in whatever the formats";
  }
}

// A newer release on the server is found at the next run and installed over the
// old one (the update run, then the silent install/change after it), and the old
// package file is deleted as superseded.
TEST_F(SilentRunTest, NewReleaseReplacesTheOldOneAndItsPackageFile) {
  ASSERT_EQ(Run({"/silent"}).exitCode, kExitNormal) << Log();
  const fs::path folder = sandbox.KestrixDataFolder() / "PKG" / "BINEffects" / "binx64";
  ASSERT_TRUE(fs::exists(folder / "BINEffects_binx64_1.0.pkgm")) << Log();

  PublishEffects("1.10", "alpha binary 1.10");  // components count by their first two digits
  ASSERT_EQ(Run({"/silent"}).exitCode, kExitNormal) << Log();
  EXPECT_EQ(ReadFileBytes(Find("Alpha.so")), "alpha binary 1.10") << Log();
  EXPECT_TRUE(fs::exists(folder / "BINEffects_binx64_1.10.pkgm")) << Log();
  EXPECT_FALSE(fs::exists(folder / "BINEffects_binx64_1.0.pkgm"));
  EXPECT_FALSE(fs::exists(folder / "BINEffects_binx64_1.0.pkgm.md5"));
}

// The connection drops in the middle of the package and, on the next try, a
// block arrives damaged: the run still completes, with the files as packed.
TEST_F(SilentRunTest, CutAndDamagedTransfersStillInstallTheSources) {
  std::string alpha(3 << 20, '\0');
  uint32_t state = 20261124;
  for (char& byte : alpha) byte = static_cast<char>((state = state * 1664525 + 1013904223) >> 24);
  PublishEffects("1.0", alpha);
  const std::string package = "BINEffects_binx64_1.0.pkgm HTTP";  // not its .md5
  MFaultyProxy proxy(server_->Port(), {{package, MProxyFault::Kind::kCut, (3 << 20) / 2},
                                       {package, MProxyFault::Kind::kFlip, 100}});
  UseServer("127.0.0.1:" + std::to_string(proxy.Port()));
  ASSERT_EQ(Run({"/silent"}).exitCode, kExitNormal) << Log();
  EXPECT_EQ(proxy.FaultsApplied(), 2) << Log();
  EXPECT_TRUE(ReadFileBytes(Find("Alpha.so")) == alpha) << Log();
}

}  // namespace
}  // namespace kx
