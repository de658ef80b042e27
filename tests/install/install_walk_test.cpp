// The install walk on real folders, and the uninstall walk over the saved state tree.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <tuple>
#include <vector>

#include "foundation/files/file_ops.h"
#include "install/item_date_time.h"
#include "install/state_file.h"
#include "install/walk_fixture.h"
#include "support/scripted_boxes.h"

namespace kx {
namespace {

namespace fs = std::filesystem;

bool Contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

// What the second install finds on disk, whether it puts the package's bytes
// back, and the line of the time test that says why.
struct InstalledCase {
  const char *label, *itemTime;
  std::string diskContent;
  const char* diskTime;
  bool rewritten;
  const char* logged;
};

class InstalledFileTest : public WalkTest, public ::testing::WithParamInterface<InstalledCase> {};

TEST_P(InstalledFileTest, DecidesByTimeAndSize) {
  const InstalledCase& c = GetParam();
  AddFile(tree, "a.bin", "hello", c.itemTime);
  AddFile(tree, "keep.txt", "x", c.itemTime, "leave");
  MXMLItem& root = Build();
  Install(root);
  Log();
  Tamper("a.bin", c.diskContent, c.diskTime);
  Install(root);
  EXPECT_EQ(ReadFileBytes(DestNative("a.bin")), c.rewritten ? "hello" : c.diskContent) << c.label;
  // The counters move whether the file was written or found in place.
  EXPECT_EQ(std::tuple(context.doneFiles, context.totalFiles, context.doneBytes),
            std::tuple(1, 1, 5));
  EXPECT_TRUE(Contains(WithDest(Log()), c.logged)) << c.label;
}

const char* const kTime = "2021-03-04 05:06:07";
const char* const kRewrote = "    File exists=1 rewritable=1 mergepresets=0\r\n";

// clang-format off
INSTANTIATE_TEST_SUITE_P(Cases, InstalledFileTest, ::testing::Values(
    InstalledCase{"same time and size", kTime, "HELLO", kTime, false,
                  "    File {dest}/a.bin has identical timestamp (2021-03-04 05:06:07). Ignoring."
                  "\r\n"},
    InstalledCase{"same time, other size", kTime, "hi", kTime, true,
                  "        Note: file size is not matching, installed 5, current 2. Proceeding "
                  "with installation.\r\n"},
    InstalledCase{"one second apart", kTime, "HELLO", "2021-03-04 05:06:08", true, kRewrote},
    InstalledCase{"sub-second item time", "2021-03-04 05:06:07.5", "HELLO", kTime, true,
                  kRewrote}));
// clang-format on

TEST_F(WalkTest, LargestSizesAreWrittenInTerabytes) {
  tree.SetAttribute("detectitems", int32_t{1});  // nothing is enabled: no content is read
  AddFile(tree, "Huge.so", "x");
  MXMLItem& root = Build();
  root.FindSubItem("file")->SetAttribute("filesize", int64_t{1} << 50);
  Install(root);
  EXPECT_TRUE(Contains(
      Log(), "Checking file item demo done, size 1125899906842624 (1024.00 TB), files 1\r\n"));
}

// `ignoresubdirs` is turned off only by a destination that is itself a bundle
// ("X.vst3"): a dot elsewhere in the path (".vst", "john.doe") does not count.
struct IgnoreCase {
  const char* destination;
  bool flat;
};

class IgnoreSubDirsTest : public WalkTest, public ::testing::WithParamInterface<IgnoreCase> {};

TEST_P(IgnoreSubDirsTest, KeepsBundlesAsRealFolders) {
  const IgnoreCase& c = GetParam();
  const std::string destinations[] = {c.destination, std::string(c.destination) + "-copy/"};
  tree.SetAttribute("ignoresubdirs", int32_t{1});
  tree.SetAttribute("currentpath", Path(destinations[0]));
  MXMLItem& copy = tree.AddSubItem("copy");
  copy.SetAttribute("enabled", int32_t{1});
  copy.SetAttribute("ignoresubdirs", int32_t{1});
  copy.SetAttribute("currentpath", Path(destinations[1]));
  MXMLItem& bundle = AddDir(tree, "Foo.vst3");
  AddFile(AddDir(bundle, "Contents"), "Foo.so", "binary");
  AddFile(AddDir(tree, "Bar"), "bar.txt", "flat");
  Install(Build());
  for (const std::string& destination : destinations) {
    fs::path folder = Native(destination);
    EXPECT_EQ(ReadFileBytes(folder / "Foo.vst3/Contents/Foo.so"), "binary") << destination;
    EXPECT_EQ(fs::exists(folder / "bar.txt"), c.flat) << destination;
    EXPECT_EQ(fs::exists(folder / "Bar/bar.txt"), !c.flat) << destination;
  }
}

INSTANTIATE_TEST_SUITE_P(Cases, IgnoreSubDirsTest,
                         ::testing::ValuesIn(std::vector<IgnoreCase>{{"dest", true},
                                                                     {"home/.vst/Vorlund", true},
                                                                     {"john.doe/plugins", true},
                                                                     {"dest/Foo.vst3", false}}));

TEST_F(WalkTest, AaxPluginGoesInsideItsBundleAndLeavesAsATree) {
  AddFile(tree, "Foo.aaxplugin", "aax");
  MXMLItem& root = Build();
  Install(root);
  EXPECT_EQ(ReadFileBytes(DestNative("Foo.aaxplugin/Contents/x64/Foo.aaxplugin")), "aax");
  Uninstall(root);
  EXPECT_FALSE(fs::exists(DestNative("Foo.aaxplugin")));
  EXPECT_EQ(context.undeletedFiles, 0);
  // Under an x86 path the folder is Win32.
  tree.SetAttribute("currentpath", Path("Program Files (x86)/dest"));
  Install(Build());
  EXPECT_EQ(
      ReadFileBytes(Native("Program Files (x86)/dest/Foo.aaxplugin/Contents/Win32/Foo.aaxplugin")),
      "aax");
}

TEST_F(WalkTest, RewritableZeroKeepsFilesButNotTheFourAlwaysWrittenKinds) {
  MXMLItem& kept = AddDir(tree, "Kept");
  kept.SetAttribute("rewritable", int32_t{0});
  MXMLItem& below = AddDir(kept, "Sub");
  below.SetAttribute("rewritable", int32_t{1});  // cannot clear an inherited 0
  AddFile(below, "user.txt", "packaged", "2021-01-01 00:00:00");
  AddFile(below, "x.mDevice", "packaged", "2021-01-01 00:00:00");
  MXMLItem& root = Build();
  WriteFile("dest/Kept/Sub/user.txt", "mine");
  WriteFile("dest/Kept/Sub/x.mDevice", "mine");
  Install(root);
  EXPECT_EQ(ReadFileBytes(DestNative("Kept/Sub/user.txt")), "mine");
  EXPECT_EQ(ReadFileBytes(DestNative("Kept/Sub/x.mDevice")), "packaged");
  std::string log = Log();
  EXPECT_TRUE(Contains(log, "    File exists=0 rewritable=0 mergepresets=0\r\n"));
  EXPECT_FALSE(Contains(log, "Pre-deleting file " + ToStd(Path("dest/Kept/Sub/x.mDevice"))));
}

// Words of `op` are read without regard to case, in the count and in the walk
// alike, so every counted file is also done.
TEST_F(WalkTest, OpWordsIgnoreCase) {
  AddFile(tree, "a.bin", "hello", "2021-03-04 05:06:07", "Update");
  AddFile(tree, "keep.txt", "x", "2021-03-04 05:06:07", "LEAVE");
  AddFile(tree, "old.txt", "", "2021-03-04 05:06:07", "Delete");
  AddDir(tree, "Sub", "CREATE");
  MXMLItem& root = Build();
  WriteFile("dest/old.txt", "old");
  Install(root);
  EXPECT_EQ(ReadFileBytes(DestNative("a.bin")), "hello");
  EXPECT_FALSE(fs::exists(DestNative("keep.txt")));
  EXPECT_FALSE(fs::exists(DestNative("old.txt")));
  EXPECT_TRUE(fs::is_directory(DestNative("Sub")));
  EXPECT_EQ(std::tuple(context.totalFiles, context.doneFiles, context.doneBytes),
            std::tuple(2, 2, context.totalBytes));
}

// A sub-second part in `time` never equals a file on disk, for a preset
// library as for any file: the merge runs again.
TEST_F(WalkTest, PresetItemWithSubSecondTimeIsMergedAgain) {
  AddFile(tree, "Lead.presets", "<presets><preset name=\"shipped\"/></presets>",
          "2021-03-04 05:06:07.1234567");
  MXMLItem& root = Build();
  Tamper("Lead.presets", "<presets><preset name=\"mine\"/></presets>", "2021-03-04 05:06:07");
  Install(root);
  std::string merged = ReadFileBytes(DestNative("Lead.presets"));
  EXPECT_TRUE(Contains(merged, "mine")) << merged;
  EXPECT_TRUE(Contains(merged, "shipped")) << merged;
}

TEST_F(WalkTest, PresetsXmlIsMergedOnlyWhenItExists) {
  AddFile(tree, "fooPresets.XML", "<presets><preset name=\"a\"/></presets>");
  MXMLItem& root = Build();
  Install(root);
  EXPECT_TRUE(Contains(Log(), "    File exists=0 rewritable=1 mergepresets=0\r\n"));
  EXPECT_TRUE(fs::exists(DestNative("fooPresets.XML")));
  Tamper("fooPresets.XML", "<presets><preset name=\"mine\"/></presets>", "2000-01-01 00:00:00");
  Install(root);
  EXPECT_TRUE(Contains(Log(), "    File exists=1 rewritable=1 mergepresets=1\r\n"));
  std::string merged = ReadFileBytes(DestNative("fooPresets.XML"));
  EXPECT_TRUE(Contains(merged, "mine"));
}

// Detection by component name: the plain variant finds the name anywhere, the
// no-MB variant strips "MB", renames three products and refuses a match at 0
// (an entry naming the target from its first character).
struct DetectCase {
  const char* enabledItem;
  bool noMB;
  const char* fileName;
  bool installed;
  bool fromTheStart = false;  // the entry is the target's own path
};

class DetectTest : public WalkTest, public ::testing::WithParamInterface<DetectCase> {};

TEST_P(DetectTest, SelectsFilesByComponentName) {
  const DetectCase& c = GetParam();
  tree.SetAttribute("detectitems", int32_t{1});
  tree.SetAttribute("detectitemsnoMBpostfix", int32_t{c.noMB ? 1 : 0});
  tree.SetAttribute("currentpath", Path("d"));  // short: the match position is the file's
  context.EnabledItems.Add(c.fromTheStart ? Path(std::string("d/") + c.enabledItem)
                                          : MString(c.enabledItem));
  AddFile(tree, c.fileName, "x");
  Install(Build());
  EXPECT_EQ(fs::exists(Native(std::string("d/") + c.fileName)), c.installed)
      << c.enabledItem << " " << c.fileName;
  EXPECT_EQ(context.doneFiles, 1);  // a disabled file still moves the counters
}

INSTANTIATE_TEST_SUITE_P(Cases, DetectTest,
                         ::testing::ValuesIn(std::vector<DetectCase>{
                             {"Abc", false, "Abc.so", true},
                             {"Xyz", false, "Abc.so", false},
                             {"abc", false, "Abc.so", false},
                             {"AbcMB", true, "Abc.so", true},
                             {"QorvenLP", true, "Qorven.so", true},
                             {"TomlinBMB", true, "Tomlin.so", true},
                             {"AbcMB", true, "Other.so", false},
                             {"Abc", false, "Abc.so", true, true},
                             {"Abc", true, "Abc.so", false, true}}));

TEST_F(WalkTest, OnlyOnceInstallsOnceAndSavesTheMarkFirst) {
  tree.SetAttribute("onlyonce", int32_t{1});
  tree.SetAttribute("name", "Demo Pack-1");
  AddFile(tree, "a.txt", "first");
  MXMLItem& root = Build();
  Install(root);
  fs::remove(DestNative("a.txt"));
  Install(root);
  EXPECT_FALSE(fs::exists(DestNative("a.txt")));
  MXMLItem marks;
  marks.LoadFile(JoinPath(GetDataPath_User(MString(), false), MString("InstallerComponents.xml")));
  EXPECT_EQ(marks.GetAttribute("DemoPack1").AsInt(), 1);
}

TEST_F(WalkTest, CopyDestinationsGetTheTreeWithSwappedExtensions) {
  AddFile(tree, "a.dll", "bin");
  MXMLItem& copy = tree.AddSubItem("copy");
  copy.SetAttribute("enabled", int32_t{1});
  copy.SetAttribute("currentpath", Path("copy"));
  MXMLItem& extension = copy.AddSubItem("extension");
  extension.SetAttribute("src", "dll");
  extension.SetAttribute("dst", "vst");
  MXMLItem& skipped = tree.AddSubItem("copy");
  skipped.SetAttribute("enabled", int32_t{1});
  skipped.SetAttribute("windows", int32_t{0});
  skipped.SetAttribute("currentpath", Path("never"));
  skipped.SetAttribute("name", "Never");
  tree.AddSubItem("copy").SetAttribute("name", "Off");
  Install(Build());
  EXPECT_EQ(ReadFileBytes(Native("copy/a.vst")), "bin");
  EXPECT_EQ(ReadFileBytes(DestNative("a.dll")), "bin");
  // The `windows` 0 copy counts in the totals but is not carried out.
  EXPECT_EQ(std::tuple(context.totalFiles, context.doneFiles), std::tuple(3, 2));
  EXPECT_TRUE(
      Contains(Log(),
               "Checking copy Never, path \r\n  copy enabled\r\nChecking copy Off, path \r\n"
               "Current total size 9 (9 B), files 3\r\n"));
}

// The walk's log word for word, both ways: the log is how a failed installation
// is understood afterwards.
const char* const kInstallLog = R"(  file Lead.presets op update
  size 10
  file a.bin op update
  size 1011
  file b.bin op update
  size 3
Checking file item demo done, size 1024 (1.00 KB), files 3
Current total size 1024 (1.00 KB), files 3
Performing installation

---------------------------------------------------------
INITIATING INSTALL TO {dest}
---------------------------------------------------------
  Currently done 0 of 1024 (0 B of 1.00 KB), 0%
  Files done 0 of 3
DIRECTORY "{dest}/Presets" operation create
    Creating directory {dest}/Presets
    processing subobjects of {dest}/Presets
FILE "{dest}/Presets/Lead.presets" operation update
    Creating directory {dest}/Presets
    File exists=0 rewritable=1 mergepresets=1
DIRECTORY "{dest}/Data" operation create
    Creating directory {dest}/Data
    processing subobjects of {dest}/Data
FILE "{dest}/Data/a.bin" operation update
    Creating directory {dest}/Data
    File exists=0 rewritable=1 mergepresets=0
    Rewriting file {dest}/Data/a.bin
    File successfully created
    Writing file 1011
    Success, closing the file
DIRECTORY "{dest}/Gone" operation create
    Creating directory {dest}/Gone
    processing subobjects of {dest}/Gone
FILE "{dest}/Gone/b.bin" operation update
    Creating directory {dest}/Gone
    File exists=0 rewritable=1 mergepresets=0
    Rewriting file {dest}/Gone/b.bin
    File successfully created
    Writing file 3
    Success, closing the file
)";
const char* const kUninstallLog = R"(Checking file item demo done, size 0 (0 B), files 3
Current total size 0 (0 B), files 3
Performing installation

---------------------------------------------------------
INITIATING INSTALL TO {dest}
---------------------------------------------------------
  Currently done 0 of 0 (0 B of 0 B), 0%
  Files done 0 of 3
DIRECTORY "{dest}/Presets" operation create
    processing subobjects of {dest}/Presets
FILE "{dest}/Presets/Lead.presets" operation update
    Trying to delete {dest}/Presets/Lead.presets
    Deleting file {dest}/Presets/Lead.presets
    Not deleting the file, since it is a presets file
    Deleting directory {dest}/Presets
DIRECTORY "{dest}/Data" operation create
    processing subobjects of {dest}/Data
FILE "{dest}/Data/a.bin" operation update
    Trying to delete {dest}/Data/a.bin
    Deleting file {dest}/Data/a.bin
    Deleting directory {dest}/Data
DIRECTORY "{dest}/Gone" operation create
    processing subobjects of {dest}/Gone
FILE "{dest}/Gone/b.bin" operation update
    Trying to delete {dest}/Gone/b.bin
    Deleting file {dest}/Gone/b.bin
    Deleting directory {dest}/Gone
Deleting directory {dest}
)";

std::string Lines(std::string text) {
  std::erase(text, '\r');
  return text;
}

TEST_F(WalkTest, UninstallFromStateKeepsPresetsAndUserFolders) {
  AddFile(AddDir(tree, "Presets"), "Lead.presets", "<presets/>");
  AddFile(AddDir(tree, "Data"), "a.bin", std::string(1011, 'a'));  // 1 KB in all
  AddFile(AddDir(tree, "Gone"), "b.bin", "bbb");
  MXMLItem& root = Build();
  SaveStateFile(root, Path("state/demo.state"));
  // Saved again with the same tree, the file is left alone.
  MDateTime stamp = MDateTime::FromString(MString("2000-01-01 00:00:00")), kept;
  MFile::SetFileTime(Path("state/demo.state"), nullptr, nullptr, &stamp);
  SaveStateFile(root, Path("state/demo.state"));
  MFile::GetFileTime(Path("state/demo.state"), nullptr, nullptr, &kept);
  EXPECT_EQ(kept, stamp);
  Install(root);
  WriteFile("dest/Data/user-note.txt", "mine");
  EXPECT_EQ(Lines(WithDest(Log())), kInstallLog);

  MXMLItem state;
  LoadStateFile(state, Path("state/demo.state"));
  Uninstall(state);
  EXPECT_EQ(Lines(WithDest(Log())), kUninstallLog);
  EXPECT_TRUE(fs::exists(DestNative("Presets/Lead.presets")));
  EXPECT_FALSE(fs::exists(DestNative("Data/a.bin")));
  EXPECT_TRUE(fs::exists(DestNative("Data/user-note.txt")));
  EXPECT_FALSE(fs::exists(DestNative("Gone")));
  EXPECT_EQ(std::tuple(context.doneFiles, context.undeletedFiles), std::tuple(3, 0));
}

// Removal shows each file it takes away; with detection, a file of a plug-in no
// longer named is passed over, and the log says so.
TEST_F(WalkTest, UninstallShowsItsFilesAndPassesOverDisabledOnes) {
  struct Shown : ProgressTarget {
    void Show(const MString& text, float) override { texts.push_back(ToStd(text)); }
    std::vector<std::string> texts;
  } shown;
  tree.SetAttribute("detectitems", int32_t{1});
  AddFile(tree, "Abc.so", "a");
  AddFile(tree, "Xyz.so", "x");
  MXMLItem& root = Build();
  context.EnabledItems.Add(MString("Abc"));
  context.EnabledItems.Add(MString("Xyz"));
  Install(root);
  Log();
  context.EnabledItems.Clear();
  context.EnabledItems.Add(MString("Abc"));
  InstallPackageTree(context, root,
                     {.mode = WalkMode::kUninstall,
                      .presetContext = &presets,
                      .progress = &shown,
                      .allowAllPossible = true});
  EXPECT_FALSE(fs::exists(DestNative("Abc.so")));
  EXPECT_TRUE(fs::exists(DestNative("Xyz.so")));
  EXPECT_EQ(shown.texts, std::vector<std::string>{"Uninstalling " + ToStd(Dest()) + "/Abc.so"});
  EXPECT_TRUE(Contains(WithDest(Log()),
                       "    Trying to delete {dest}/Xyz.so\r\n    Omitting because disabled\r\n"));
}

// `uninstall` 0 keeps a folder's files on removal, or the whole package's.
TEST_F(WalkTest, UninstallZeroKeepsTheFiles) {
  MXMLItem& kept = AddDir(tree, "Kept");
  kept.SetAttribute("uninstall", int32_t{0});
  AddFile(kept, "k.txt", "k");
  AddFile(tree, "a.txt", "x");
  MXMLItem& root = Build();
  Install(root);
  Uninstall(root);
  EXPECT_TRUE(fs::exists(DestNative("Kept/k.txt")));
  EXPECT_FALSE(fs::exists(DestNative("a.txt")));
  root.SetAttribute("uninstall", int32_t{0});
  Install(root);
  Uninstall(root);
  EXPECT_TRUE(fs::exists(DestNative("a.txt")));
}

// A target that cannot be opened (a folder stands in its place) asks the
// question; Ignore goes on, Cancel ends the package.
TEST_F(WalkTest, RewriteQuestionIgnoreAndCancel) {
  AddFile(tree, "a.txt", "x");
  AddFile(tree, "b.txt", "y");
  MXMLItem& root = Build();
  fs::create_directories(DestNative("a.txt"));
  {
    MScriptedBoxHost boxes;
    boxes.Answer(2);
    Install(root);
    ASSERT_EQ(boxes.Calls().size(), 1u);
    EXPECT_EQ(boxes.Calls()[0].buttons.size(), 3u);
    EXPECT_TRUE(Contains(ToStd(boxes.Calls()[0].text), "<b>Could not rewrite file</b>"));
  }
  EXPECT_EQ(ReadFileBytes(DestNative("b.txt")), "y");
  EXPECT_TRUE(
      Contains(Log(), "    File could NOT been created. Ignoring.\r\nERROR: File not open!\r\n"));
  fs::remove(DestNative("b.txt"));
  MScriptedBoxHost boxes;
  boxes.Answer(3);
  EXPECT_EQ(MessageOf([&] { Install(root); }), "Installation has been cancelled");
  EXPECT_FALSE(fs::exists(DestNative("b.txt")));
}

// A preset library that cannot be merged asks the same question; "Try again"
// does not repeat the merge but counts the file as done, "Ignore" moves nothing.
TEST_F(WalkTest, FailedMergeAsksAndTryAgainCountsItAsMerged) {
  AddFile(tree, "Lead.presets", "<presets><preset name=\"a\"/></presets>");
  MXMLItem& root = Build();
  for (int answer : {2, 1}) {
    Tamper("Lead.presets", "<presets><broken", "2000-01-01 00:00:00");
    MScriptedBoxHost boxes;
    boxes.Answer(answer);
    Install(root);
    EXPECT_EQ(boxes.Calls().size(), 1u);
    EXPECT_EQ(context.doneFiles, answer == 1 ? 1 : 0) << answer;
    EXPECT_EQ(ReadFileBytes(DestNative("Lead.presets")), "<presets><broken");
  }
  EXPECT_TRUE(Contains(Log(), "ERROR: "));
}

// Old releases kept preset files and shared folders one level above the user
// data folder: an install into that folder brings them in first.
TEST_F(WalkTest, InstallIntoUserDataRelocatesOldUserData) {
  MString userData = GetDataPath_User(MString());
  fs::path parent = sandbox.ConfigHome();
  std::ofstream(parent / "MyPresets.xml") << "old";
  std::ofstream(parent / "other.txt") << "stays";
  // Its name does not begin with "m", so the rename meant for it is never reached.
  std::ofstream(parent / "StepSequencepresets.xml") << "stays";
  WriteFileBytes(parent / "MTexturedStyles" / "Dark" / "a.style", "style");
  tree.SetAttribute("currentpath", userData);
  AddFile(tree, "new.txt", "n");
  Install(Build());
  fs::path base = sandbox.ConfigHome() / "Vorlund";
  EXPECT_EQ(ReadFileBytes(base / "MyPresets.xml"), "old");
  EXPECT_EQ(ReadFileBytes(base / "MTexturedStyles" / "Dark" / "a.style"), "style");
  EXPECT_FALSE(fs::exists(parent / "MTexturedStyles"));
  EXPECT_TRUE(fs::exists(parent / "other.txt"));
  EXPECT_TRUE(fs::exists(parent / "StepSequencepresets.xml"));
  EXPECT_EQ(ReadFileBytes(base / "new.txt"), "n");
}

TEST_F(WalkTest, ExecuteItemsRunInTheirFolderWithTheirArguments) {
  WriteFile("dest/tools/run.sh", "#!/bin/sh\necho \"$@\" > args.txt\n");
  fs::permissions(DestNative("tools/run.sh"), fs::perms::owner_all);
  AddFile(tree, "a.txt", "x");
  MXMLItem& execute = tree.AddSubItem("execute");
  execute.value = MVariant("tools/run.sh");
  execute.SetAttribute("params", "one two");
  Install(Build());
  EXPECT_EQ(ReadFileBytes(DestNative("tools/args.txt")), "one two\n");
}

// Links that the user made in or above a destination (a plug-in folder on
// another disk, a sample folder on a sample drive) are written through, and
// uninstallation removes the files behind them but leaves the links.
TEST_F(WalkTest, UserLinksInAndAboveTheDestinationAreWrittenThrough) {
  fs::create_directories(Native("disk/vst"));
  fs::create_directories(Native("drive/samples"));
  fs::create_directories(Native("home"));
  fs::create_directory_symlink(Native("disk/vst"), Native("home/.vst"));
  fs::create_directories(Native("home/.vst/Vorlund"));
  fs::create_directory_symlink(Native("drive/samples"), Native("home/.vst/Vorlund/Samples"));
  tree.SetAttribute("currentpath", Path("home/.vst/Vorlund"));
  AddFile(tree, "Synth.so", "binary");
  AddFile(AddDir(AddDir(tree, "Samples"), "Piano"), "c4.wav", "wave");
  MXMLItem& root = Build();
  Install(root);
  EXPECT_EQ(ReadFileBytes(Native("disk/vst/Vorlund/Synth.so")), "binary");
  EXPECT_EQ(ReadFileBytes(Native("drive/samples/Piano/c4.wav")), "wave");
  Uninstall(root);
  EXPECT_EQ(context.undeletedFiles, 0);
  EXPECT_FALSE(fs::exists(Native("drive/samples/Piano")));
  EXPECT_TRUE(fs::is_symlink(Native("home/.vst/Vorlund/Samples")));
}

// Names that climb out of the destination, and absolute names, are refused before
// anything is written.
struct HostileCase {
  const char* dirName;  // null: the file sits at the root
  const char* fileName;
  const char* parentPath;  // `path` of the container, for an empty file name
};

class HostileNameTest : public WalkTest, public ::testing::WithParamInterface<HostileCase> {};

TEST_P(HostileNameTest, IsRefusedBeforeAnythingIsWritten) {
  const HostileCase& c = GetParam();
  fs::create_directories(Native("outside"));
  tree.SetAttribute("currentpath", Path("outside/inner/dest"));
  AddFile(tree, "first.txt", "harmless");  // would be written first if the check came late
  MXMLItem* parent = &tree;
  if (c.dirName) parent = &AddDir(tree, c.dirName);
  if (c.parentPath) parent->SetAttribute("path", c.parentPath);
  AddFile(*parent, c.fileName, "evil");
  MXMLItem& root = Build();
  std::string message = MessageOf([&] { Install(root); });
  EXPECT_NE(message.find("leads outside its destination folder"), std::string::npos) << message;
  EXPECT_TRUE(!fs::exists(Native("outside/inner/dest")) ||
              fs::is_empty(Native("outside/inner/dest")));
  EXPECT_FALSE(fs::exists(Native("outside/evil.txt")));
  EXPECT_FALSE(fs::exists(Native("outside/inner/evil.txt")));
}

INSTANTIATE_TEST_SUITE_P(Cases, HostileNameTest,
                         ::testing::ValuesIn(std::vector<HostileCase>{
                             {nullptr, "../evil.txt", nullptr},
                             {nullptr, "../../evil.txt", nullptr},
                             {nullptr, "/abs/evil.txt", nullptr},
                             {"..", "evil.txt", nullptr},
                             {"sub", "x/../../../evil.txt", nullptr},
                             {"sub", "..\\..\\evil.txt", nullptr},
                             {nullptr, "", "somewhere/.."}}));

TEST(ItemDateTimeTest, ParsesAndComparesAsMicroseconds) {
  ItemDateTime a = ItemDateTime::Parse(MString("  2020-02-29 23:59:59.25 "));
  EXPECT_EQ(a.subSecond, 25u);
  ItemDateTime b = ItemDateTime::Parse(MString("2020-03-01 00:00:00"));
  EXPECT_EQ(b.Microseconds() - a.Microseconds(), 1000000 - 25);
  EXPECT_EQ(ItemDateTime().Microseconds(),
            ItemDateTime::Parse(MString("1980-01-01 00:00:00")).Microseconds());
  EXPECT_EQ(ItemDateTime::Parse(MString("0001-01-01 00:00:01")).Microseconds(), 1000000);
  // The calendar's days: each month's last day lies one day before the next
  // month's first; February has 29 every fourth year but not every hundredth,
  // yet every four hundredth.
  std::vector<std::tuple<std::string, std::string, int64_t>> days = {
      {"2100-03-01", "2100-02-28", 1},
      {"2000-03-01", "2000-02-28", 2},
      {"2022-01-01", "2021-12-31", 1}};
  const char* const lastDays[] = {"01-31", "02-28", "03-31", "04-30", "05-31", "06-30",
                                  "07-31", "08-31", "09-30", "10-31", "11-30"};
  for (int month = 2; month <= 12; ++month)
    days.emplace_back((month < 10 ? "2021-0" : "2021-") + std::to_string(month) + "-01",
                      std::string("2021-") + lastDays[month - 2], 1);
  for (const auto& [later, earlier, count] : days)
    EXPECT_EQ(ItemDateTime::Parse(MString::FromUTF8(later + " 00:00:00")).Microseconds() -
                  ItemDateTime::Parse(MString::FromUTF8(earlier + " 00:00:00")).Microseconds(),
              count * 86400000000)
        << later;
  // Fields are read as far as they go; what is missing or not a number keeps
  // its default. Only a text without a blank is refused.
  const std::pair<const char*, const char*> cases[] = {
      {"2020-01-01 05:06", "2020-01-01 05:06:00"},
      {"2020-01 05:06:07", "2020-01-01 05:06:07"},
      {"2020-01-01 aa:06:07", "2020-01-01 00:00:00"},
      {"2020-01-01 05:06:07.x", "2020-01-01 05:06:07"},
      {"2020-1-2   5:6:7", "2020-01-02 05:06:07"},
  };
  for (const auto& [text, read] : cases)
    EXPECT_EQ(ToStd(ItemDateTime::Parse(MString(text)).ToText()), read) << text;
  for (const char* bad : {"2020-01-01", "", "  2020-01-01  "})
    EXPECT_EQ(MessageOf([&] { ItemDateTime::Parse(MString(bad)); }), "Invalid datetime format.")
        << bad;
}

}  // namespace
}  // namespace kx
