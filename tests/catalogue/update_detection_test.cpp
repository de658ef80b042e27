// Current versions, the update check at start and the beta/stable switch. The
// whole update run against a server is the integration suite's.
#include "catalogue/update_detection.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "catalogue/architecture.h"
#include "catalogue/kernel_selection.h"
#include "catalogue/settings_node.h"
#include "catalogue_fixture.h"
#include "foundation/core/run_state.h"
#include "foundation/threads/lock.h"
#include "support/log_capture.h"
#include "support/scripted_boxes.h"

namespace kx {
namespace {

using testing::HasLinesInOrder;
using testing::Text;

const char* const kEarly = "2024-03-01 10:00:00";
const char* const kLate = "2024-04-01 09:30:00";

TEST(SetCurrentVersionTest, VersionWishesAndMarks) {
  const struct {
    const char *label, *path, *name;
    bool mac, installed;
    const char* current;
    bool apply;
    const char* expectCurrent;             // the database publishes "16.02b" (stable)
    bool expectWish, expectReinstallMark;  // wish: Download and Install set
  } cases[] = {
      {"same version in other case", "Content/Kit", "Kit", false, true, "16.02B", true, "16.02b",
       false, false},
      {"effects binary without a new version", "BINEffects/binx64", "Effects", false, true,
       "16.02b", true, "16.02b", true, true},
      {"effects binary not installed", "BINEffects/binx64", "Effects", false, false, "16.02b", true,
       "16.02b", false, false},
      {"without the update an installed version stays", "Content/Kit", "Kit", false, true, "16.01",
       false, "16.01", false, false},
      // Neither sets the kernel version: only the own platform's "Kernel" does.
      {"other platform's kernel", "KernelMac/sse", "Kernel", true, true, "16.01", true, "16.02b",
       true, false},
      {"a kernel by name only as written", "Kernel/x", "Kernel data", false, true, "16.01", true,
       "16.02b", true, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.label);
    ResetUpdateMarks();
    testing::MLogCapture log;
    testing::CatalogueTrees trees;
    MXMLItem& files = testing::AddFiles(trees.definition, {c.path, c.name, "global", -1, c.mac});
    MString key = Package::MakeKey(Package::MakeFolderPath(Text(c.path)));
    testing::AddDatabaseEntry(trees.database, ToStd(key), {{"16.02b", false, kEarly, 10}});
    MXMLItem& settings = FindOrMakeSettingsItem(trees.packageSettings, key);
    settings.SetAttribute("Installed", c.installed ? "1" : "0");
    settings.SetAttribute("Version", c.current);
    std::unique_ptr<Package> package =
        Package::Create(nullptr, files, trees.database, trees.packageSettings);
    ReadDatabase(*package, false);

    SetCurrentVersion(*package, c.apply);
    EXPECT_EQ(ToStd(package->CurrentPackageVersion), c.expectCurrent);
    EXPECT_EQ(package->Download && package->Install, c.expectWish);
    EXPECT_EQ(EffectsReinstallWithoutNewVersion(), c.expectReinstallMark);
    EXPECT_EQ(ToStd(KernelVersion()), "");
    // Saved into the settings item, which the settings file is written from.
    EXPECT_EQ(ToStd(ReadSettingString(settings, "Version", "?")), c.expectCurrent);
    EXPECT_EQ(ReadSettingBool(settings, "Download", false), c.expectWish);
    EXPECT_TRUE(HasLinesInOrder(log.Text(), {"  Package " + ToStd(key) +
                                             " CurrentPackageVersion set to: " + c.expectCurrent}));
  }
  ResetUpdateMarks();
}

// Each call notes whether the package-state lock was held (another thread cannot
// take it).
class RecordingHandOver : public PackageRunHandOver {
 public:
  MLockable& PackageStateLock() override { return lock; }
  void UpdateComponentsAndPaths(bool vst) override {
    Record(vst ? "components vst=1" : "components vst=0");
  }
  void ApplyInstalledSelection() override { Record("installed selection"); }
  void StartPackageUpdate(int32_t phase) override {
    Record("start phase=" + std::to_string(phase));
  }
  void RestoreCheckBeta(bool value) override {
    Record(value ? "restore beta=1" : "restore beta=0");
  }
  void ClearSelectionOfUninstalledPlugins() override { Record("clear uninstalled"); }
  void StartReinstall() override { Record("reinstall"); }

  MCriticalSection lock;
  std::string calls;
  std::vector<bool> lockHeld;

 private:
  void Record(const std::string& call) {
    calls += (calls.empty() ? "" : "; ") + call;
    bool held = false;
    std::thread probe([&] {
      held = !lock.Lock(kLockExclusive, 1, 0);
      if (!held) lock.Unlock(1);
    });
    probe.join();
    lockHeld.push_back(held);
  }
};

enum VstSetup { kVstFolderToCreate, kVstPathEmpty, kVstOff };

// Every package is published as stable "16.02" and, later, as beta "16.03b".
class UpdateFlowTest : public ::testing::Test {
 protected:
  void SetUp() override { ResetUpdateMarks(); }
  void TearDown() override {
    packages.Clear();
    ResetRunFlags();
    ResetUpdateMarks();
  }

  void Build(const char* kernelVersion) {
    const struct {
      const char *path, *name, *version;  // version empty: not installed
    } rows[] = {{"Kernel/sse", "Kernel", kernelVersion},
                {"Data/Global", "Global data", "16.02"},
                {"Content/Kit", "Kit", ""},
                {"BINEffects/binx64", "Effects", "16.02"}};
    for (const auto& row : rows) {
      // The kernel matches every machine, so that loading shows no box.
      testing::AddFiles(trees.definition, {row.path, row.name, "global", -1, false,
                                           row.name == std::string("Kernel") ? "sse2" : ""});
      MString key = Package::MakeKey(Package::MakeFolderPath(row.path));
      testing::AddDatabaseEntry(trees.database, ToStd(key),
                                {{"16.02", false, kEarly, 10}, {"16.03b", true, kLate, 10}});
      MXMLItem& item = FindOrMakeSettingsItem(trees.packageSettings, key);
      item.SetAttribute("Installed", *row.version ? "1" : "0");
      item.SetAttribute("Version", row.version);
    }
    ScopedArchitectureIndex machine(7);
    LoadPackages(nullptr, trees.definition, trees.database, trees.packageSettings, packages);
  }

  UpdateSettings Settings(bool beta, bool autoUpdate, VstSetup vst) {
    return {beta, autoUpdate, vst != kVstOff,
            vst == kVstFolderToCreate ? Text(VstFolder().string()) : MString()};
  }

  std::filesystem::path VstFolder() const { return log.Sandbox().Root() / "vst" / "Vorlund"; }

  Package& Find(const char* key) {
    for (const auto& package : packages)
      if (package->Key == key) return *package;
    throw std::runtime_error(key);
  }

  std::string Boxes() const {
    std::string text;
    for (const MBoxCall& call : boxes.Calls()) text += call.kind + ": " + ToStd(call.text) + "\n";
    return text;
  }

  testing::MLogCapture log;
  MScriptedBoxHost boxes;
  RecordingHandOver handOver;
  testing::CatalogueTrees trees;
  PackageList packages;
};

const std::string kUpdatingNow =
    "ShowInformation: A new version of the installed plugins is available. Updating now.\n";
const std::string kAskUpdate =
    "ShowQuestion: A new version of the installed plugins is available. Would you like to update "
    "now?\n";
const std::string kReloaded =
    "ShowInformation: Updating the installed plugins with the new installation data now.\n";
const std::string kVstEmpty =
    "ShowError: Folder for the 64bit VST plugins cannot be empty. Please specify correct folder "
    "for the 64bit "
    "VST plugins or disable VST plugins from installation settings.\n";
const char* const kRun = "components vst=1; installed selection; start phase=3";
const char* const kRunWithoutVst = "components vst=0; installed selection; start phase=3";

// The situation of one check, combined by |.
enum Situation : int {
  kManual = 0,         // CheckAutoPkgUpdate off
  kAuto = 1,           // CheckAutoPkgUpdate on
  kBeta = 2,           // CheckBeta on
  kOffline = 4,        // OfflineMode
  kSilent = 8,         // SilentMode
  kReloadedData = 16,  // dataReloaded
};

struct CheckCase {
  const char* label;
  int situation;
  const char* kernelVersion;  // installed
  VstSetup vst;
  int answer;  // -1: no question expected
  std::string boxes;
  const char* calls;                             // empty: no update run
  std::vector<std::string> logLines, notLogged;  // logLines in this order
};

void PrintTo(const CheckCase& c, std::ostream* out) {
  *out << c.label;
}

class CheckForUpdatesTest : public UpdateFlowTest,
                            public ::testing::WithParamInterface<CheckCase> {};

TEST_P(CheckForUpdatesTest, Flow) {
  const CheckCase& c = GetParam();
  SilentMode = c.situation & kSilent;
  OfflineMode = c.situation & kOffline;
  const bool beta = c.situation & kBeta, started = *c.calls;
  if (c.answer >= 0) boxes.Answer(c.answer);
  Build(c.kernelVersion);

  const UpdateSettings settings = Settings(beta, c.situation & kAuto, c.vst);
  EXPECT_EQ(CheckForUpdates(packages, settings, handOver, c.situation & kReloadedData), started);
  EXPECT_EQ(Boxes(), c.boxes);
  EXPECT_EQ(handOver.calls, c.calls);
  for (bool held : handOver.lockHeld) EXPECT_TRUE(held);
  const std::string text = log.Text();
  EXPECT_TRUE(HasLinesInOrder(text, c.logLines));
  for (const std::string& line : c.notLogged) EXPECT_EQ(text.find(line), std::string::npos) << line;

  // The versions the packages go on with; one not installed always follows.
  const std::string published = beta ? "16.03b" : "16.02",
                    kernelNow = started ? published : c.kernelVersion;
  EXPECT_EQ(ToStd(Find("Content_Kit").CurrentPackageVersion), published);
  EXPECT_FALSE(Find("Content_Kit").Download);
  EXPECT_EQ(ToStd(Find("Kernel_sse").CurrentPackageVersion), kernelNow);
  EXPECT_EQ(ToStd(KernelVersion()), kernelNow);
  EXPECT_EQ(Find("Kernel_sse").Download, started && published != c.kernelVersion);
  // The effects binary always comes again with an update run.
  EXPECT_EQ(Find("BINEffects_binx64").Download, started);
  EXPECT_EQ(Find("BINEffects_binx64").Install, started);
  EXPECT_EQ(std::filesystem::is_directory(VstFolder()), started && c.vst == kVstFolderToCreate);
}

// clang-format off
const CheckCase kChecks[] = {
    // label, situation, installed kernel, VST, answer, boxes, hand-over calls,
    //   log lines in order, lines not logged
    {"auto update on", kAuto, "16.01", kVstFolderToCreate, -1, kUpdatingNow, kRun,
     {"\nCheck for updates", "Check for updates, beta: 0",
      " Package Kernel_sse, UpdateVersion: 16.02 ", "Package Kernel_sse has update available.",
      " Package Data_Global, UpdateVersion: 16.02 ", "\nSome packages can be updated.\n",
      "Performing package update", "Update: VST64 folder OK",
      "  Package Kernel_sse CurrentPackageVersion set to: 16.02"},
     {"Package Data_Global has update available.", "Package Content_Kit has update available."}},
    {"auto update off, the user says yes", kManual, "16.01", kVstFolderToCreate, 1, kAskUpdate, kRun,
     {"Package Kernel_sse has update available.", "Performing package update", "Update: VST64 folder OK"}, {}},
    {"auto update off, the user says no", kManual, "16.01", kVstFolderToCreate, 0, kAskUpdate, "",
     {"\nSome packages can be updated.\n", "  Package Kernel_sse CurrentPackageVersion set to: 16.01",
      "  Package Content_Kit CurrentPackageVersion set to: 16.02"},
     {"Performing package update", "Update: VST64"}},
    {"offline mode updates without asking", kManual | kOffline, "16.01", kVstFolderToCreate, -1, kUpdatingNow, kRun,
     {"Performing package update"}, {}},
    {"silent mode: no box, no question, phase 4", kManual | kSilent, "16.01", kVstFolderToCreate, -1, "",
     "components vst=1; installed selection; start phase=4",
     {"\nSome packages can be updated.\n", "Update: VST64 folder OK"}, {"Performing package update"}},
    {"nothing to update", kAuto, "16.02", kVstFolderToCreate, -1, "", "",
     {"\nCheck for updates", "\nNo update for any package is available.\n",
      "  Package Kernel_sse CurrentPackageVersion set to: 16.02"},
     {"has update available", "Performing package update"}},
    {"reloaded offline data are put over the installed packages", kAuto | kReloadedData, "16.02",
     kVstFolderToCreate, -1, kReloaded, kRun, {"\nNo update for any package is available.\n", "Performing package update"}, {}},
    {"beta channel", kAuto | kBeta, "16.02", kVstFolderToCreate, -1, kUpdatingNow, kRun,
     {"Check for updates, beta: 1", " Package Kernel_sse, UpdateVersion: 16.03b ",
      "Package Kernel_sse has update available.", "Package Data_Global has update available.",
      "Package BINEffects_binx64 has update available.",
      "  Package Kernel_sse CurrentPackageVersion set to: 16.03b"}, {}},
    {"VST folder empty: the update goes on without VST", kAuto, "16.01", kVstPathEmpty, -1, kUpdatingNow + kVstEmpty,
     kRunWithoutVst, {"Performing package update", "VST64 bit path is empty!", "Update: VST64 folder not set, disabling VST."},
     {"Update: VST64 folder OK"}},
    {"VST switched off: no folder check", kAuto, "16.01", kVstOff, -1, kUpdatingNow, kRunWithoutVst,
     {"Performing package update"}, {"Update: VST64", "VST64 bit path is empty!"}},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(Flows, CheckForUpdatesTest, ::testing::ValuesIn(kChecks));

struct SwitchCase {
  bool toBeta;
  int answer;
  const char *calls, *kernel;  // kernel: the installed one's current version after (was 16.01)
  bool dataWished;     // Data_Global (installed at 16.02) is fetched again
};

class SwitchChannelTest : public UpdateFlowTest,
                          public ::testing::WithParamInterface<SwitchCase> {};

TEST_P(SwitchChannelTest, Flow) {
  const SwitchCase& c = GetParam();
  Build("16.01");
  boxes.Answer(c.answer);
  SwitchBetaAndStable(packages, Settings(c.toBeta, true, kVstFolderToCreate), handOver);

  EXPECT_EQ(Boxes(),
            std::string("ShowQuestion: You are about to change the packages ") +
                (c.toBeta ? "from the stable to the beta version"
                          : "from the beta to the stable version") +
                ".\nThis will download any missing packages and re - install all installed "
                "packages. Are you sure you want to proceed?\n");
  EXPECT_EQ(handOver.calls, c.calls);
  for (bool held : handOver.lockHeld) EXPECT_EQ(held, c.answer == 1);
  EXPECT_EQ(ToStd(Find("Kernel_sse").CurrentPackageVersion), c.kernel);
  EXPECT_EQ(Find("Data_Global").Download, c.dataWished);
  EXPECT_EQ(Find("BINEffects_binx64").Download, c.answer == 1);
  EXPECT_FALSE(Find("Content_Kit").Download);
  EXPECT_EQ(log.Text().find("Update: VST64 folder OK") != std::string::npos, c.answer == 1);
}

const char* const kReinstall = "clear uninstalled; components vst=1; reinstall";

INSTANTIATE_TEST_SUITE_P(Directions, SwitchChannelTest,
                         ::testing::Values(SwitchCase{true, 1, kReinstall, "16.03b", true},
                                           SwitchCase{false, 1, kReinstall, "16.02", false},
                                           SwitchCase{true, 0, "restore beta=0", "16.01", false},
                                           SwitchCase{false, 0, "restore beta=1", "16.01", false}));

}  // namespace
}  // namespace kx
