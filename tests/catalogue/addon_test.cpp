// The add-on records read from an add-on list.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "catalogue/addon.h"
#include "catalogue/catalogue_fixture.h"
#include "catalogue/settings_node.h"
#include "foundation/xml/xml_item.h"

namespace kx {
namespace {

using testing::Parse;

class AddonTest : public ::testing::Test {
 protected:
  MArray<std::unique_ptr<Addon>> Build(const std::string& items) {
    Parse(list, "<AddonList server=\"s\">" + items + "</AddonList>");
    return Addon::BuildList(nullptr, list, settings);
  }
  MXMLItem list;
  MXMLItem settings;
};

TEST_F(AddonTest, ListKeepsFileOrderAndSettingsOfItsOwnAddonsOnly) {
  Parse(settings,
        "<KestrixAddonsSettings><item name=\"Gone\" Download=\"1\"/>"
        "<item name=\"pads\" Download=\"1\" Installed=\"1\" Version=\"2\"/></KestrixAddonsSettings>");
  auto addons = Build("<item name=\"Pads\" url=\"/download/P.mproduct\"><update version=\"2\" url=\"/u\"/></item>"
                      "<item name=\"Drums\" type=\"Kitvault\" url=\"/download/D.kitvaultpack\" md5=\"/m\"/>");
  ASSERT_EQ(addons.Count(), 2);
  EXPECT_EQ(ToStd(addons[0]->Name), "Pads");
  EXPECT_TRUE(addons[0]->Download && addons[0]->Installed);
  EXPECT_EQ(addons[0]->Version, 2);
  EXPECT_FALSE(addons[0]->WantsDownload());  // installed, nothing newer
  EXPECT_EQ(ToStd(addons[1]->Type), "Kitvault");
  EXPECT_EQ(ToStd(addons[1]->GetRemoteMD5File()), "/m");
  EXPECT_EQ(ToStd(addons[0]->GetRemoteMD5File()), "/download/P.mproduct.md5");
  // The settings of an add-on the list no longer holds stay as they were.
  EXPECT_EQ(settings.subItemCount, 3);
  EXPECT_TRUE(ReadSettingBool(*FindSettingsItem(settings, MString("Gone")), MXMLName("Download"), false));
}

// A download-only job (the offline set): the full file, the first entry, the highest.
TEST_F(AddonTest, UpdateEntriesAreAdvancedToTheHighestInOnePass) {
  const struct {
    const char* updates;
    int available;
    std::vector<int> fetched;  // versions of the entries fetched after the full file
  } cases[] = {
      {"", 1, {}},
      {"<update version=\"2\" url=\"/u2\"/>", 2, {2}},
      {"<update version=\"2\" url=\"/u2\"/><update version=\"5\" url=\"/u5\"/>"
       "<update version=\"4\" url=\"/u4\"/>",
       5,
       {2, 5}},
      {"<update version=\"5\" url=\"/u5\"/><update version=\"3\" url=\"/u3\"/>", 5, {5}},
      {"<update url=\"/u\"/>", 1, {1}},  // an entry without a version is version 1
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.updates);
    list.Clear();
    auto addons = Build(std::string("<item name=\"A\" url=\"/a\">") + row.updates + "</item>");
    Addon& addon = *addons[0];
    EXPECT_EQ(addon.AvailableVersion, row.available);
    addon.Install = false;
    std::vector<int> fetched;
    while (!addon.AdvanceUpdate()) {
      fetched.push_back(Addon::UpdateVersion(*addon.ActiveUpdate));
      ASSERT_LT(fetched.size(), 5u);
    }
    EXPECT_EQ(fetched, row.fetched);
    EXPECT_TRUE(addon.Install);
    EXPECT_EQ(addon.ActiveUpdate, nullptr);
  }
}

// Of the highest version, the first entry.
TEST_F(AddonTest, InstalledAddonFetchesTheHighestUpdate) {
  auto addons = Build(
      "<item name=\"A\" url=\"/download/A.mproduct\"><update version=\"2\" "
      "url=\"/download/A2.mproduct\"/>"
      "<update version=\"4\" url=\"/download/A4.mproduct\"/><update version=\"3\" "
      "url=\"/download/A3.mproduct\"/>"
      "<update version=\"4\" url=\"/download/A4-again.mproduct\"/></item>");
  Addon& addon = *addons[0];
  addon.Installed = true;
  addon.Version = 2;
  EXPECT_TRUE(addon.WantsDownload());
  addon.MarkDownloading();
  EXPECT_EQ(ToStd(addon.GetRemoteFile()), "/download/A4.mproduct");
  EXPECT_EQ(ToStd(addon.TransferLabel()), "A_Update3");
  addon.MarkInstalled();
  EXPECT_EQ(addon.Version, 4);
  EXPECT_FALSE(addon.WantsDownload());
  addon.MarkUninstalled();
  EXPECT_EQ(addon.Version, 1);
}

TEST_F(AddonTest, RowsTellTheStateInOrder) {
  auto addons = Build("<item name=\"A\" url=\"/a\" price=\"9 EUR\"><update version=\"2\" url=\"/u\"/></item>");
  Addon& addon = *addons[0];
  const struct {
    bool install, installed, downloading, download, installing;
    int version;
    const char *status, *button;
  } cases[] = {
      {true, false, true, true, true, 1, "Installing...", ""},
      {true, false, true, true, false, 1, "Downloading...", "Stop download"},
      {true, false, false, true, false, 1, "Queued", "Stop download"},
      {true, false, false, false, false, 1, "", "Download & Install"},
      {true, true, false, false, true, 1, "Installing update...", ""},
      {true, true, true, false, false, 1, "Downloading update...", "Stop download"},
      {true, true, false, true, false, 1, "Update queued", "Stop download"},
      {true, true, false, false, false, 1, "Installed version 1", "Download & Install"},
      {true, true, false, false, false, 2, "Installed version 2", ""},
      {false, false, true, false, false, 1, "Downloading ...", "Stop download"},
      {false, false, false, true, false, 1, "Queued", "Stop download"},
  };
  for (const auto& row : cases) {
    addon.Install = row.install;
    addon.Installed = row.installed;
    addon.Downloading = row.downloading;
    addon.Download = row.download;
    addon.Version = row.version;
    AddonRowState state = DescribeAddonRow(addon, row.installing);
    EXPECT_EQ(ToStd(state.status), row.status);
    EXPECT_EQ(ToStd(state.button), row.button);
  }
  EXPECT_EQ(ToStd(AddonPriceText(addon)), "9 EUR");
}

}  // namespace
}  // namespace kx
