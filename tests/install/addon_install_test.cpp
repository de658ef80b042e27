// Add-on files built in code, installed into real folders of a sandbox and
// removed again by their records: what lands where, the pack check's texts, the
// hand-picked file's match, and records or libraries that try to leave their
// folders.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "catalogue/addon.h"
#include "foundation/files/data_paths.h"
#include "foundation/streams/security_info.h"
#include "foundation/threads/lock.h"
#include "foundation/xml/xml_item.h"
#include "install/addon_install.h"
#include "install/walk_fixture.h"

namespace kx {
namespace {

namespace fs = std::filesystem;

class AddonInstallTest : public FileTestBase, public AddonHost {
 protected:
  void SetUp() override { ForgetFolderTable(); }
  void TearDown() override { ForgetFolderTable(); }

  // --- AddonHost
  MLockable& AddonLock() override { return lock; }
  const MArray<Addon*>& AddonRecords() override { return records; }
  MString SamplePath() override { return Path("samples"); }
  MString FactoryPath() override { return Path("factory"); }
  MString RecordFolder() override { return Path("records"); }
  void AddonStatus(const MString& text, bool setValue, double value) override {
    statuses.push_back(ToStd(text));
    values.push_back(setValue ? value : -1.0);
  }
  void SetInstallingAddon(Addon* addon) override { installing = addon; }
  void ShowAddonErrors(const MString& text) override { errors += ToStd(text); }

  // A subtree child with `dir` and `file` items; file contents by path.
  MXMLItem& Subtree(const char* name, const std::vector<std::string>& dirs,
                    const std::map<std::string, std::string>& files) {
    MXMLItem& child = tree.AddSubItem(name);
    for (const std::string& dir : dirs) child.AddSubItem("dir").SetAttribute("path", FromSystem(dir));
    for (const auto& [path, content] : files) {
      MXMLItem& file = child.AddSubItem("file");
      file.SetAttribute("path", FromSystem(path));
      file.SetAttribute("time", "2024-05-06 07:08:09");
      contents[&file] = content;
    }
    return child;
  }
  // Writes the library under `name` and answers its path.
  MString Build(const std::string& name) {
    WritePackage(tree, Path(name), contents);
    return Path(name);
  }
  Addon& AddAddon(const char* xml) {
    MConstMemoryStream bytes(xml, int64_t(strlen(xml)));
    MXMLItem& item = list.AddSubItem("item");
    item.LoadXML(bytes);
    auto built = Addon::BuildList(nullptr, list, settings);
    owned.push_back(std::move(built[built.Count() - 1]));
    records.Add(owned.back().get());
    return *owned.back();
  }
  std::string Read(const std::string& relative) const { return ReadFileBytes(Native(relative)); }
  bool AnyFileBelow(const std::string& relative) const {
    if (!fs::exists(Native(relative))) return false;
    for (const auto& entry : fs::recursive_directory_iterator(Native(relative)))
      if (entry.is_regular_file()) return true;
    return false;
  }

  MCriticalSection lock;
  MArray<Addon*> records;
  std::vector<std::unique_ptr<Addon>> owned;
  MXMLItem list, settings;
  MXMLItem tree{MString("product")};
  std::map<MXMLItem*, std::string> contents;
  std::vector<std::string> statuses;
  std::vector<double> values;
  std::string errors;
  Addon* installing = reinterpret_cast<Addon*>(1);
};

TEST_F(AddonInstallTest, ProductLandsInItsFoldersAndLeavesByItsRecord) {
  // An older device folder in the user data path is carried over first.
  fs::path olderDevices = sandbox.ConfigHome() / "Vorlund" / "PadlockDevices" / "old.dev";
  WriteFileBytes(olderDevices, "older");
  tree.SetAttribute("PluginID", "Padlock");
  MXMLItem& presets = tree.AddSubItem("Presets");
  presets.AddSubItem("preset").SetAttribute("name", "Warm  Pad ");
  Subtree("Devices", {"Kit"}, {{"Kit/a.dev", "device"}});
  Subtree("Samples", {"Pads", "Pads/Long"}, {{"Pads/Long/c.wav", std::string(3 << 20, 'c')}});
  WriteFile("samples/Pads/mine.wav", "the user's");

  InstallAddonFile(*this, nullptr, Build("Pads.mproduct"));
  const fs::path devices = sandbox.DataHome() / "Vorlund" / "PadlockDevices";
  EXPECT_EQ(ReadFileBytes(devices / "Kit" / "a.dev"), "device");
  EXPECT_EQ(ReadFileBytes(devices / "old.dev"), "older");
  EXPECT_EQ(Read("samples/Pads/Long/c.wav").size(), size_t(3 << 20));
  EXPECT_EQ(fs::last_write_time(Native("samples/Pads/Long/c.wav")),
            fs::last_write_time(devices / "Kit" / "a.dev"));
  MXMLItem store;
  store.LoadFile(FromSystem((sandbox.ConfigHome() / "Vorlund" / "Padlockpresets").string()));
  EXPECT_EQ(ToStd(store.GetSubItem("preset").GetAttributeText("name")), "Warm Pad");
  EXPECT_EQ(statuses.back(), "Installation of Pads addon finished successfully.");
  EXPECT_EQ(installing, nullptr);

  MXMLItem record;
  record.LoadFile(Path("records/Pads.xml"));
  EXPECT_EQ(ToStd(record.GetAttributeText("type")), "Padlock");
  EXPECT_EQ(ToStd(record.GetAttributeText("uninstallflag")), "1");
  EXPECT_EQ(record.GetSubItem("Samples").GetAttributeInt("size", 0), 3 << 20);
  EXPECT_EQ(record.GetSubItem("Samples").GetAttributeInt("count", 0), 1);

  MArray<MString> chosen;
  for (const AddonRecordEntry& entry : ListUninstallableAddons(RecordFolder())) chosen.Add(entry.path);
  ASSERT_EQ(chosen.Count(), 1);
  EXPECT_EQ(UninstallAddons(*this, chosen), 0) << errors;
  // Only what the record lists, and the folders left empty.
  EXPECT_FALSE(fs::exists(Native("samples/Pads/Long")));
  EXPECT_EQ(Read("samples/Pads/mine.wav"), "the user's");
  EXPECT_FALSE(fs::exists(devices / "Kit"));
  EXPECT_TRUE(fs::exists(devices / "old.dev"));
  EXPECT_FALSE(fs::exists(Native("records/Pads.xml")));
  EXPECT_EQ(statuses.back(), "Uninstallation of Pads completed successfully.");
}

TEST_F(AddonInstallTest, PackIsCheckedAgainstItsSecurityInfo) {
  tree.SetName("pack");
  Subtree("Kitvault", {"Kit"}, {{"Kit/kick.wav", "kick"}});
  const MString pack = Build("Kit.kitvaultpack");
  const MSecurityInfo good = MSecurityInfo::ComputeFile(pack);
  struct Case {
    int64_t size;
    const char* digest;  // null: the true one
    std::string message;
  };
  const std::string size = std::to_string(good.totalSize);
  const Case cases[] = {
      {good.totalSize + 1, nullptr,
       "Kitvault pack is corrupt, size should be " + std::to_string(good.totalSize + 1) +
           " but is " + size + "."},
      {good.totalSize, "00112233445566778899AABBCCDDEEFF",
       "Kitvault pack is corrupt, MD5 does not match, should be 00112233445566778899AABBCCDDEEFF "
       "but is " + ToStd(good.fileDigest) + "."},
  };
  for (const Case& row : cases) {
    MSecurityInfo info = good;
    info.totalSize = row.size;
    if (row.digest) info.fileDigest = MString(row.digest);
    info.Save(pack + MString(".md5"));
    EXPECT_EQ(MessageOf([&] { InstallAddonFile(*this, nullptr, pack); }), row.message);
    EXPECT_FALSE(AnyFileBelow("factory"));
    EXPECT_FALSE(fs::exists(Native("records")));
  }
  // An upper-case digest line still matches; no security info at all installs unchecked.
  MSecurityInfo upper = good;
  upper.fileDigest.ToUpper();
  upper.Save(pack + MString(".md5"));
  InstallAddonFile(*this, nullptr, pack);
  fs::remove(Native("Kit.kitvaultpack.md5"));
  InstallAddonFile(*this, nullptr, pack);
  EXPECT_EQ(Read("factory/Kit/kick.wav"), "kick");
  EXPECT_EQ(std::count(statuses.begin(), statuses.end(), "Testing pack Kit"), 3);
}

TEST_F(AddonInstallTest, HandPickedFilesFindTheirAddon) {
  Addon& strings = AddAddon(
      "<item name=\"Strings\" url=\"/download/Addons/Strings.mproduct\">"
      "<update version=\"3\" url=\"/download/Addons/Strings_U3.mproduct\"/>"
      "<update version=\"2\" url=\"/download/Addons/Strings_U2.mproduct\"/></item>");
  Addon& brass = AddAddon("<item name=\"Brass\" url=\"/download/Addons/Brass.mproduct\"/>");
  Subtree("Samples", {}, {{"s.wav", "s"}});

  // An update entry's file is that update: the add-on ends at its version.
  InstallAddonFile(*this, nullptr, Build("STRINGS_u2.MPRODUCT"));
  EXPECT_TRUE(strings.Installed);
  EXPECT_EQ(strings.Version, 2);
  EXPECT_TRUE(fs::exists(Native("records/Strings.xml")));

  // A file of no add-on installs under its own name and changes no row.
  InstallAddonFile(*this, nullptr, Build("Third party.mproduct"));
  EXPECT_TRUE(fs::exists(Native("records/Third party.xml")));
  EXPECT_FALSE(brass.Installed || brass.Download);
  EXPECT_EQ(strings.Version, 2);

  // Another extension is refused, and nothing stays marked as installing.
  const MString other = Build("Strings.zip");
  EXPECT_EQ(MessageOf([&] { InstallAddonFile(*this, &brass, other); }),
            "Unknown addon type " + ToStd(other));
  EXPECT_EQ(installing, nullptr);
  EXPECT_FALSE(brass.Installed);
}

// Names from the library and the record come from outside: nothing is written or
// deleted outside the folders they belong to.
TEST_F(AddonInstallTest, LibrariesAndRecordsCannotLeaveTheirFolders) {
  for (const char* path : {"../up.wav", "/tmp/absolute.wav", "a/../../b.wav"}) {
    SCOPED_TRACE(path);
    tree.Clear();
    tree.SetName("product");
    contents.clear();
    Subtree("Samples", {"fine"}, {{"fine/first.wav", "first"}, {path, "outside"}});
    const MString product = Build("Bad.mproduct");
    EXPECT_NE(MessageOf([&] { InstallAddonFile(*this, nullptr, product); })
                  .find("leads outside its destination folder"),
              std::string::npos);
    EXPECT_FALSE(fs::exists(Native("samples")));  // checked before anything is written
  }
  EXPECT_FALSE(fs::exists(Native("up.wav")));

  WriteFile("victim.txt", "keep");
  WriteFile("samples/own.wav", "own");
  WriteFile("records/Bad.xml",
            "<Installation name=\"Bad\" uninstallflag=\"1\"><Samples>"
            "<file>../victim.txt</file><file>" + Native("victim.txt").string() +
            "</file><file>own.wav</file><dir>..</dir></Samples></Installation>");
  WriteFile("records/Broken.xml", "this is no tree <<<");
  WriteFile("records/Old.xml", "<Installation name=\"Old\"><Samples count=\"1\"/></Installation>");
  MArray<MString> chosen;
  for (const char* name : {"records/Broken.xml", "records/Bad.xml"}) chosen.Add(Path(name));
  EXPECT_EQ(UninstallAddons(*this, chosen), 2);
  EXPECT_EQ(Read("victim.txt"), "keep");
  EXPECT_FALSE(fs::exists(Native("samples/own.wav")));
  EXPECT_NE(errors.find("Broken.xml"), std::string::npos) << errors;
  EXPECT_NE(errors.find("../victim.txt"), std::string::npos) << errors;
  // Only records with the uninstall flag are offered.
  MArray<AddonRecordEntry> offered = ListUninstallableAddons(RecordFolder());
  EXPECT_EQ(offered.Count(), 0);
}

// Contents are decompressed ahead on other threads but written in order: a
// damaged one stops the extraction there, with what came before it in place.
TEST_F(AddonInstallTest, DamagedContentStopsInOrder) {
  std::map<std::string, std::string> files;
  for (char name = 'a'; name <= 'f'; ++name)
    files[std::string(1, name) + ".wav"] = std::string((2 << 20) + name, name);
  Subtree("Samples", {}, files);
  const MString product = Build("Damaged.mproduct");
  int64_t start = 0;
  {  // c.wav's place in the contents
    MPackageFile library;
    start = library.Open(product).GetSubItem("Samples").GetSubItemIndexed(2).GetAttributeInt(
        "filestart", 0);
  }
  std::string bytes = ReadFileBytes(Native("Damaged.mproduct"));
  bytes.replace(static_cast<size_t>(start) + 100, 8, 8, '\xff');
  WriteFileBytes(Native("Damaged.mproduct"), bytes);
  EXPECT_FALSE(MessageOf([&] { InstallAddonFile(*this, nullptr, product); }).empty());
  EXPECT_EQ(Read("samples/a.wav"), files["a.wav"]);
  EXPECT_EQ(Read("samples/b.wav"), files["b.wav"]);
  EXPECT_FALSE(fs::exists(Native("samples/d.wav")));
  EXPECT_FALSE(fs::exists(Native("records/Damaged.xml")));
}

// A record without `count` weighs 1000 files in the bar.
TEST_F(AddonInstallTest, UncountedRecordsWeighAThousand) {
  WriteFile("records/A.xml",
            "<Installation name=\"A\" uninstallflag=\"1\"><Samples><file>a.wav</file></Samples>"
            "</Installation>");
  WriteFile("records/B.xml",
            "<Installation name=\"B\" uninstallflag=\"1\"><Kitvault count=\"1000\"><file>b.wav</file>"
            "</Kitvault></Installation>");
  MArray<MString> chosen;
  chosen.Add(Path("records/A.xml"));
  chosen.Add(Path("records/B.xml"));
  EXPECT_EQ(UninstallAddons(*this, chosen), 0);
  std::vector<double> uninstalling;
  for (size_t index = 0; index < statuses.size(); ++index)
    if (statuses[index].rfind("Uninstalling ", 0) == 0) uninstalling.push_back(values[index]);
  EXPECT_EQ(uninstalling, (std::vector<double>{1.0 / 2000, 2.0 / 2000}));
  EXPECT_EQ(statuses.back(), "Uninstallation of all items completed successfully.");
}

}  // namespace
}  // namespace kx
