// Version components, a package's update decision, and the setup version on offer.
#include "catalogue/version_compare.h"

#include <gtest/gtest.h>

#include <string>

#include "catalogue/self_update_list.h"
#include "catalogue/settings_node.h"
#include "catalogue/update_detection.h"
#include "catalogue_fixture.h"
#include "support/file_test_support.h"
#include "support/log_capture.h"

namespace kx {
namespace {

using testing::Parse;
using testing::Text;

TEST(VersionComponentTest, NumberThenLetter) {
  const struct {
    const char *a, *b;
    int order;
  } cases[] = {
      {"15", "16", -1},    {"16", "16", 0},    {"99", "100", 1},  // only two characters count
      {"16", "16b", -1},   {"16a", "16b", -1}, {"16b", "16b", 0},
      {"16B", "16b", -1},                                        // by code, not folded
      {"16bx", "16by", 0},                                       // a fourth character is ignored
      {"17", "16z", 1},    {"5", "0", 0},                        // too short for a number: both 0
      {"9", "09", -1},     {"", "00", 0},      {"1a", "01", 0},  // "1a": number 1, no letter
      {"ab", "00", 0},     {"abc", "00", 1},  // no digits: number 0, 'c' a letter
  };
  for (const auto& c : cases) {
    EXPECT_EQ(CompareVersionComponent(c.a, c.b), c.order) << c.a << " vs " << c.b;
    EXPECT_EQ(CompareVersionComponent(c.b, c.a), -c.order) << c.b << " vs " << c.a;
  }
}

struct UpdateCase {
  const char *label, *current, *stable, *stableTime, *beta, *betaTime;  // null: no such child
  bool allowBeta;
  const char* updateVersion;  // after ReadDatabase
  bool hasNewerBeta, hasUpdate;
};

const char* const kEarly = "2024-03-01 10:00:00";
const char* const kLate = "2024-04-01 09:30:00";
const char* const kLateAndAHalf = "2024-04-01 09:30:00.5";

// clang-format off
const UpdateCase kUpdates[] = {
    // label, current, stable, time, beta, time, allowBeta, UpdateVersion, HasNewerBeta, update
    {"stable newer", "16.01", "16.02", kEarly, nullptr, nullptr, false, "16.02", false, true},
    {"stable equal", "16.02", "16.02", kEarly, nullptr, nullptr, false, "16.02", false, false},
    {"installed ahead of stable", "16.03", "16.02", kEarly, nullptr, nullptr, false, "16.02", false, false},
    {"first component decides", "15.90", "16.01", kEarly, nullptr, nullptr, false, "16.01", false, true},
    {"letter ahead of none", "16.01", "16.01a", kEarly, nullptr, nullptr, false, "16.01a", false, true},
    {"letters by code", "16.01b", "16.01a", kEarly, nullptr, nullptr, false, "16.01a", false, false},
    {"one current component, two stable ones", "16", "16.05", kEarly, nullptr, nullptr, false, "16.05", false, false},
    {"two current components, one stable: the missing one is empty", "16.05", "16", kEarly, nullptr, nullptr, false, "16", false, false},
    {"missing stable component equals 00", "16.00", "16", kEarly, nullptr, nullptr, false, "16", false, false},
    {"beta ahead of stable", "16.01", "16.01", kEarly, "16.02b", kLate, true, "16.02b", true, true},
    {"beta ahead, beta channel off", "16.01", "16.01", kEarly, "16.02b", kLate, false, "16.01", true, false},
    {"second component of the beta decides", "16.01", "16.01", kEarly, "16.02", kLate, true, "16.02", true, true},
    {"equal times: stable wins", "16.01", "16.02", kLate, "16.03b", kLate, true, "16.02", false, true},
    {"milliseconds make the beta later", "16.01", "16.02", kLate, "16.03b", kLateAndAHalf, true, "16.03b", true, true},
    {"older beta is not the update version", "16.01", "16.02", kLate, "16.03b", kEarly, true, "16.02", false, true},
    {"beta loop ends in a final no", "16.03", "16.04", kLate, "16.02b", kEarly, true, "16.04", false, false},
    {"same versions without the beta channel", "16.03", "16.04", kLate, "16.02b", kEarly, false, "16.04", false, true},
    {"all equal to the beta: stable decides", "16.02b", "16.03", kEarly, "16.02b", kLate, true, "16.02b", true, true},
    {"only a beta", "16.01", nullptr, nullptr, "16.02b", kLate, false, "16.02b", true, false},
    {"only a beta, beta channel", "16.01", nullptr, nullptr, "16.02b", kLate, true, "16.02b", true, true},
    {"nothing installed", "", "16.02", kEarly, "16.03b", kLate, true, "16.03b", true, false},
    {"no database entry", "16.01", nullptr, nullptr, nullptr, nullptr, true, "", false, false},
};
// clang-format on

TEST(PackageUpdateTest, VersionsAndAnswer) {
  for (const UpdateCase& c : kUpdates) {
    SCOPED_TRACE(c.label);
    testing::CatalogueTrees trees;
    std::vector<testing::VersionSpec> versions;
    if (c.stable) versions.push_back({c.stable, false, c.stableTime, 100});
    if (c.beta) versions.push_back({c.beta, true, c.betaTime, 100});
    if (!versions.empty()) testing::AddDatabaseEntry(trees.database, "Content_Kit", versions);
    FindOrMakeSettingsItem(trees.packageSettings, "Content_Kit").SetAttribute("Version", c.current);
    std::unique_ptr<Package> package = trees.NewPackage({"Content/Kit"});

    ReadDatabase(*package, c.allowBeta);
    EXPECT_EQ(ToStd(package->UpdateVersion), c.updateVersion);
    EXPECT_EQ(package->HasNewerBeta, c.hasNewerBeta);
    EXPECT_EQ(HasUpdate(*package, c.allowBeta), c.hasUpdate);
    EXPECT_EQ(
        HasVersionUpdate(c.current, c.beta ? c.beta : "", c.stable ? c.stable : "", c.allowBeta),
        c.hasUpdate);
  }
}

// The self-update list: which setup the server offers, and a list without one.
TEST(SelfUpdateListTest, FirstKestrixElementOfThePlatformItem) {
  MXMLItem list;
  Parse(list, R"(<SelfUpdateList>
    <other><item name="AVAILABLE_VERSIONS_PC"><kestrix version="0.1" setupname="wrong-branch"/></item></other>
    <kestrix_installers>
      <item name="AVAILABLE_VERSIONS_MAC"><kestrix version="9.9" setupname="mac"/></item>
      <item name="available_versions_pc">
        <group><channel><KESTRIX version="3.2.1" setupname="kestrix-3.2.1-setup"/></channel></group>
        <kestrix version="3.0.0" setupname="older"/>
      </item>
    </kestrix_installers>
  </SelfUpdateList>)");
  SelfUpdateEntry entry = FindSelfUpdateEntry(list, "AVAILABLE_VERSIONS_PC");
  EXPECT_EQ(ToStd(entry.version), "3.2.1");
  EXPECT_EQ(ToStd(entry.setupName), "kestrix-3.2.1-setup");
  ASSERT_NE(entry.node, nullptr);
  EXPECT_EQ(ToStd(entry.node->parent->name), "channel");

  MXMLItem named;
  Parse(named, R"(<SelfUpdateList><kestrix_installers><AVAILABLE_VERSIONS_PC>
      <kestrix version="3.3" setupname="s"/></AVAILABLE_VERSIONS_PC></kestrix_installers></SelfUpdateList>)");
  EXPECT_EQ(ToStd(FindSelfUpdateEntry(named, "AVAILABLE_VERSIONS_PC").version), "3.3");
}

TEST(SelfUpdateListTest, SetupNameThatLeavesTheDownloadFolderIsRefused) {
  for (const char* name : {"../../.profile", "/tmp/setup"}) {
    MXMLItem list;
    Parse(list,
          std::string("<SelfUpdateList><kestrix_installers><item name=\"AVAILABLE_VERSIONS_PC\">"
                      "<kestrix version=\"3\" setupname=\"") +
              name + "\"/></item></kestrix_installers></SelfUpdateList>");
    EXPECT_EQ(MessageOf([&] { FindSelfUpdateEntry(list, "AVAILABLE_VERSIONS_PC"); }),
              std::string("Setup name \"") + name + "\" leads outside the download folder.");
  }
}

TEST(SelfUpdateListTest, MissingVersionIsLoggedAndThrown) {
  const std::string kMissing =
      "No corresponding Kestrix version found in KESTRIXDATABASE! XML is corrupted. \r\n";
  testing::MLogCapture log;
  for (const char* xml :
       {"<SelfUpdateList/>",
        "<SelfUpdateList><kestrix_installers><item name=\"AVAILABLE_VERSIONS_PC\"/>"
        "</kestrix_installers></SelfUpdateList>",
        "<SelfUpdateList><kestrix_installers><item name=\"AVAILABLE_VERSIONS_MAC\">"
        "<kestrix version=\"1\" setupname=\"s\"/></item></kestrix_installers></SelfUpdateList>"}) {
    MXMLItem list;
    Parse(list, xml);
    EXPECT_EQ(MessageOf([&] { FindSelfUpdateEntry(list, "AVAILABLE_VERSIONS_PC"); }) + " \r\n",
              kMissing);
  }
  EXPECT_EQ(log.Text(), kMissing + kMissing + kMissing);
}

}  // namespace
}  // namespace kx
