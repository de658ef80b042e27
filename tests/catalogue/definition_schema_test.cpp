// The installer definition's required and defaulted attributes (a whole file is
// read by the integration runs).
#include "catalogue/definition_schema.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "catalogue/plugin.h"
#include "catalogue_fixture.h"
#include "support/file_test_support.h"

namespace kx {
namespace {

using testing::Text;

TEST(DefinitionSchemaTest, RequiredAttributeMissingIsNamed) {
  const struct {
    const char *element, *attributes, *missing;  // attributes: all required ones but `missing`
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
    EXPECT_EQ(MessageOf([&] { ReadInstallerDefinition(root); }),
              std::string("Could not find required attribute (") + c.missing + ").");
  }
}

// Presence keys count whatever their value; booleans are integers.
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
  ASSERT_EQ(contents.directories.Count(), 1);
  EXPECT_TRUE(!contents.directories[0].windows && contents.directories[0].available);

  MXMLItem pluginSettings("KestrixPluginsSettings");
  std::unique_ptr<Plugin> tonvault(
      Plugin::Create(nullptr, contents.categories[0], *plain.node, pluginSettings));
  std::unique_ptr<Plugin> comp(
      Plugin::Create(nullptr, contents.categories[1], *set.node, pluginSettings));
  // The category name folds case; contents are the fields with blanks, empty ones too.
  EXPECT_TRUE(tonvault->IsInstrument && !comp->IsInstrument);
  EXPECT_TRUE(tonvault->Contents.IsEmpty());
  std::string fields;
  for (const MString& field : comp->Contents) fields += "[" + ToStd(field) + "]";
  EXPECT_EQ(fields, "[MCompA ][MCompB][]");  // the parser trims the text's ends
}

}  // namespace
}  // namespace kx
