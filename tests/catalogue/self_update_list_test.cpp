// The self-update list: which setup the server offers, and a list without one.
#include "catalogue/self_update_list.h"

#include <gtest/gtest.h>

#include <string>

#include "catalogue_fixture.h"
#include "support/file_test_support.h"
#include "support/log_capture.h"

namespace kx {
namespace {

using testing::Parse;

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
    Parse(list, std::string("<SelfUpdateList><kestrix_installers><item name=\"AVAILABLE_VERSIONS_PC\">"
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
