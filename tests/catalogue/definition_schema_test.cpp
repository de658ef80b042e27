// Reading the installer definition: required and defaulted attributes, and a
// definition of realistic size through its file form.
#include "catalogue/definition_schema.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <set>
#include <string>

#include "catalogue/package.h"
#include "catalogue/plugin.h"
#include "catalogue/settings_node.h"
#include "catalogue_fixture.h"
#include "foundation/core/exception.h"
#include "foundation/xml/mbx.h"
#include "support/sandbox.h"

namespace kx {
namespace {

using testing::Text;

TEST(DefinitionSchemaTest, RequiredAttributeMissingIsNamed) {
  const struct {
    const char* element;
    const char* attributes;  // "key=value;..." all but one of the required ones
    const char* missing;
  } cases[] = {
      {"directory", "default=x;defaultprefix=y", "id"},
      {"directory", "id=a;defaultprefix=y", "default"},
      {"Directory", "id=a;default=x", "defaultprefix"},
      {"files", "name=Kernel;flags=global", "path"},
      {"category", "name=Effects", "columns"},
      {"category", "columns=4", "name"},
      {"category", "name=Effects;columns=4", "name"},  // its item
  };
  for (const auto& c : cases) {
    MXMLItem root("InstallerDefinition");
    MXMLItem& element = root.AddSubItem(c.element);
    MArray<MString> pairs;
    MString(c.attributes).Split(';', pairs);
    for (const MString& pair : pairs) {
      int32_t at = pair.FindChar('=');
      if (at > 0) element.SetAttribute(pair.Left(at), MVariant(pair.Mid(at + 1)));
    }
    if (std::string(c.element) == "category") element.AddSubItem("item");  // an item without name
    try {
      ReadInstallerDefinition(root);
      ADD_FAILURE() << c.attributes;
    } catch (MException& e) {
      EXPECT_EQ(ToStd(e.message), std::string("Could not find required attribute (") + c.missing + ").");
    }
  }
}

// Presence keys count whatever their value, booleans are integers, and the
// defaults fill what is missing.
TEST(DefinitionSchemaTest, DefaultsAndPresence) {
  MXMLItem root;
  std::string xml = R"(<InstallerDefinition>
    <category name="instruments" columns="3"><item name="Tonvault"/></category>
    <category name="Effects" columns="6" hidden="0">
      <item name="MComp" namevisual="Compressor" customgui="0" all="2" minversion="16.10"> MCompA ;MCompB; </item>
    </category>
    <category name="Empty" columns="1"/>
    <files path="Kernel/avx2" archmin="" archenabled="0"/>
    <directory id="" default="" defaultprefix="" windows="0"/>
    <comment text="unknown elements are passed over"/>
  </InstallerDefinition>)";
  testing::Parse(root, xml);

  InstallerDefinitionContents contents = ReadInstallerDefinition(root);
  ASSERT_EQ(contents.categories.Count(), 3);
  const PluginDefinition& plain = contents.categories[0].items[0];
  EXPECT_FALSE(contents.categories[0].hidden || plain.hasNameVisual || plain.customGui ||
               plain.all);
  EXPECT_EQ(ToStd(plain.minVersion), "15.00");
  const PluginDefinition& set = contents.categories[1].items[0];
  EXPECT_TRUE(contents.categories[1].hidden && set.hasNameVisual && set.customGui && set.all);
  EXPECT_EQ(ToStd(set.minVersion), "16.10");
  EXPECT_EQ(contents.categories[2].items.Count(), 0);  // an empty panel

  const FilesDefinition& kernel = contents.files[0];
  EXPECT_TRUE(kernel.hasArchMin && kernel.archMin.IsEmpty() && !kernel.hasArchMax);
  EXPECT_TRUE(kernel.hasArchEnabled && !kernel.archEnabled && !kernel.mac);
  EXPECT_TRUE(!contents.directories[0].windows && contents.directories[0].available);

  MXMLItem pluginSettings("KestrixPluginsSettings");
  std::unique_ptr<Plugin> tonvault(
      Plugin::Create(nullptr, contents.categories[0], *plain.node, pluginSettings));
  std::unique_ptr<Plugin> comp(
      Plugin::Create(nullptr, contents.categories[1], *set.node, pluginSettings));
  // The category name folds case like every other name; the contents are the
  // text's fields as they stand, blanks and empty fields included.
  EXPECT_TRUE(tonvault->IsInstrument && !comp->IsInstrument);
  EXPECT_TRUE(tonvault->Contents.IsEmpty());
  std::string fields;
  for (const MString& field : comp->Contents) fields += "[" + ToStd(field) + "]";
  EXPECT_EQ(fields, "[MCompA ][MCompB][]");  // the parser trims the text's ends
}

// A hundred plug-ins and their packages, saved as the server's MBX file and
// loaded back, become the same records as the tree they came from.
TEST(DefinitionSchemaTest, HundredPluginsThroughTheFileForm) {
  MTestSandbox sandbox;
  testing::CatalogueTrees built;
  BuildCatalogue(built, 100);
  MString path = Text((sandbox.Root() / "MInstallerDefinition.mbx").string());
  built.definition.SaveFile(path, true);
  MXMLItem loaded;
  loaded.LoadFile(path);

  MXMLItem database;
  database.CopyFrom(built.database);
  MXMLItem packageSettings("KestrixPackagesSettings");
  MXMLItem pluginSettings("KestrixPluginsSettings");
  // Plug-ins that were installed in an earlier run.
  FindOrMakeSettingsItem(pluginSettings, "MPlugin3")
      .SetAttribute("Installed", MVariant(static_cast<int8_t>(1)));
  FindOrMakeSettingsItem(pluginSettings, "mplugin7").SetAttribute("Install", "1");

  InstallerDefinitionContents contents = ReadInstallerDefinition(loaded);
  EXPECT_EQ(contents.directories.Count(), 3);
  EXPECT_EQ(contents.bundles.Count(), 1);
  ASSERT_EQ(contents.categories.Count(), 3);
  EXPECT_EQ(contents.files.Count(), 6 + 25 + 2);

  std::set<std::string> keys;
  int withoutEntry = 0;
  for (const FilesDefinition& files : contents.files) {
    std::unique_ptr<Package> package(
        Package::Create(nullptr, *files.node, database, packageSettings));
    keys.insert(ToStd(package->Key));
    if (!package->DatabaseNode) {
      ++withoutEntry;
      EXPECT_TRUE(package->UpdateVersion.IsEmpty());
    } else {
      EXPECT_EQ(ToStd(package->UpdateVersion), "16.01");
      EXPECT_EQ(ToStd(package->BetaVersion), "16.02b");
    }
  }
  EXPECT_EQ(keys.size(), static_cast<size_t>(contents.files.Count()));
  EXPECT_EQ(withoutEntry, 1);
  EXPECT_EQ(packageSettings.subItemCount, contents.files.Count());
  EXPECT_TRUE(keys.count("BINEffects_binx64") && keys.count("BINEffectsMac_bin") &&
              keys.count("Content_MPlugin96"));

  int plugins = 0, instruments = 0, installed = 0, wanted = 0, withContents = 0;
  for (const CategoryDefinition& category : contents.categories) {
    for (const PluginDefinition& definition : category.items) {
      std::unique_ptr<Plugin> plugin(
          Plugin::Create(nullptr, category, *definition.node, pluginSettings));
      ++plugins;
      instruments += plugin->IsInstrument;
      installed += plugin->Installed;
      wanted += plugin->Install;
      withContents += !plugin->Contents.IsEmpty();
    }
  }
  EXPECT_EQ(plugins, 100);
  EXPECT_EQ(instruments, 33);
  EXPECT_EQ(installed, 1);
  EXPECT_EQ(wanted, 1);
  EXPECT_EQ(withContents, 20);
  EXPECT_EQ(pluginSettings.subItemCount, 100);  // found by name without regard to case, or made
}

}  // namespace
}  // namespace kx
