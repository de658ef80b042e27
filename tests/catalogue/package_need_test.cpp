// The decision "is this package needed for this plug-in", rule by rule.
#include "catalogue/package_need.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "catalogue/definition_schema.h"
#include "catalogue/plugin.h"
#include "catalogue/settings_node.h"
#include "catalogue_fixture.h"
#include "foundation/core/run_state.h"

namespace kx {
namespace {

using testing::Text;

struct NeedCase {
  const char* label;
  std::string path, name, flags;  // name: the package's `name`
  int archEnabled;                // -1: no attribute
  bool installed;
  std::string plugin, pluginFlags, contents;  // contents: element text of the plug-in's item
  bool anyOwn, optional, cloud, needed;
  std::vector<std::string> wantedBy;
};

// Columns: label, path, name, flags, archenabled, installed, plug-in, its flags,
// its contents, anyOwnPackage, optional instruments, cloud launch -> needed, WantedBy.
// clang-format off
const NeedCase kCases[] = {
    {"global_not_installed", "Data/Shared", "Shared", "global", -1, false, "MComp", "", "", false, false, false, true, {}},
    {"global_installed_plain", "Data/Shared", "Shared", "global", -1, true, "MComp", "", "", false, false, false, true, {}},
    {"global_installed_plain_cloud", "Data/Shared", "Shared", "global", -1, true, "MComp", "", "", false, false, true, true, {}},
    {"global_arch_disabled", "Kernel/avx2", "Kernel", "global", 0, false, "MComp", "", "", false, false, false, false, {}},
    {"global_arch_enabled", "Kernel/avx2", "Kernel", "global", 1, false, "MComp", "", "", false, false, false, true, {}},
    {"global_kernel_installed", "Kernel/avx2", "Kernel", "global", 1, true, "MComp", "", "", false, false, false, false, {}},
    {"uglobal_kernel_installed", "Kernel/sse", "Kernel", "uglobal", -1, true, "MComp", "", "", true, true, false, false, {}},
    {"global_data_installed", "Data/Global", "Global data", "global", -1, true, "MComp", "", "", false, false, false, false, {}},
    {"global_data_not_installed", "Data/Global", "Global data", "global", -1, false, "MComp", "", "", false, false, false, true, {}},
    {"redist_installed", "REDIST/vc", "Runtime", "global", -1, true, "MComp", "", "", false, false, false, false, {}},
    {"redist_not_installed", "REDIST/vc", "Runtime", "global", -1, false, "MComp", "", "", false, false, false, true, {}},
    {"redist_not_installed_cloud", "REDIST/vc", "Runtime", "global", -1, false, "MComp", "", "", false, false, true, false, {}},
    {"user_presets_installed", "USER_PRESETS", "Presets", "uglobal", -1, true, "MComp", "", "", false, false, false, false, {}},
    {"user_presets_not_installed", "USER_PRESETS", "Presets", "global", -1, false, "MComp", "", "", false, false, true, true, {}},
    {"effects_records_name", "BINEffects/binx64", "Effects", "global", -1, false, "MComp", "", "", true, false, false, true, {"MComp"}},
    {"effects_records_contents", "BINEffects/binx64", "Effects", "global", -1, true, "MBundle", "", "MEqA; MEqB;", false, false, true, true, {"MEqA", " MEqB", ""}},
    {"effects_other_platform_key", "BINEffectsMac/bin", "Effects", "uglobal", -1, true, "MComp", "", "", false, false, false, true, {"MComp"}},
    {"effects_arch_disabled_first", "BINEffects/binx64", "Effects", "global", 0, false, "MComp", "", "", false, false, false, false, {}},
    {"bypluginname_records", "USER_PRESETS_BYPLUGIN", "Presets", "gbypluginname", -1, true, "MComp", "", "", false, false, false, true, {"MComp"}},
    {"bypluginname_own_asked", "USER_PRESETS_BYPLUGIN", "Presets", "gbypluginname", -1, false, "MComp", "", "", true, false, false, true, {}},
    {"ubypluginname_contents", "USER_PRESETS_BYPLUGIN", "Presets", "ubypluginname", -1, false, "MBundle", "", "A;B", false, false, false, true, {"A", "B"}},
    {"optional_off", "Instruments/Factory", "Factory", "tvtoptional", -1, false, "Tonvault", "", "", false, false, false, false, {}},
    {"optional_installed", "Instruments/Factory", "Factory", "tvtoptional", -1, true, "Tonvault", "", "", false, true, false, false, {}},
    {"optional_sampler", "Instruments/Factory", "Factory", "tvtoptional", -1, false, "Tonvault", "", "", false, true, true, true, {}},
    {"optional_other_plugin", "Instruments/Factory", "Factory", "tvtoptional", -1, false, "MComp", "", "", false, true, false, true, {}},
    {"optional_other_plugin_cloud", "Instruments/Factory", "Factory", "tvtoptional", -1, false, "MComp", "", "", false, true, true, false, {}},
    {"own_word_not_installed", "Content/Drums", "Drums", "drums", -1, false, "MDrums", "drums", "", true, false, false, true, {}},
    {"own_word_installed", "Content/Drums", "Drums", "drums", -1, true, "MDrums", "drums", "", false, false, false, false, {}},
    {"own_word_other_case", "Content/Drums", "Drums", "Drums", -1, false, "MDrums", "drums", "", false, false, false, true, {}},
    {"other_word_any_own_not_installed", "Content/Drums", "Drums", "drums", -1, false, "MComp", "comp", "", true, false, false, true, {}},
    {"other_word_any_own_installed", "Content/Drums", "Drums", "drums", -1, true, "MComp", "comp", "", true, false, false, false, {}},
    {"other_word_key_holds_name", "Content/MComp", "Comp", "compdata", -1, true, "MComp", "", "", false, false, false, true, {}},
    {"other_word_key_lacks_name", "Content/Drums", "Drums", "drums", -1, false, "MComp", "", "", false, false, false, false, {}},
    {"no_flags_either_side", "Content/Misc", "Misc", "", -1, false, "MComp", "", "", false, false, false, true, {}},
};
// clang-format on

TEST(PackageNeedTest, DecidesByFlags) {
  for (const NeedCase& c : kCases) {
    SCOPED_TRACE(c.label);
    testing::CatalogueTrees trees;
    FindOrMakeSettingsItem(trees.packageSettings,
                           Package::MakeKey(Package::MakeFolderPath(Text(c.path))))
        .SetAttribute("Installed", c.installed ? "1" : "0");
    std::unique_ptr<Package> package = trees.NewPackage({c.path, c.name, c.flags, c.archEnabled});

    MXMLItem& category = trees.definition.AddSubItem("category");
    category.SetAttribute("name", "Effects");
    category.SetAttribute("columns", "4");
    MXMLItem& item = category.AddSubItem("item");
    item.SetAttribute("name", Text(c.plugin));
    if (!c.pluginFlags.empty()) item.SetAttribute("flags", Text(c.pluginFlags));
    item.value = Text(c.contents);
    std::unique_ptr<Plugin> plugin(
        Plugin::Create(nullptr, ReadCategoryDefinition(category), item, trees.pluginSettings));

    CloudLaunchMode = c.cloud;
    EXPECT_EQ(IsPackageNeeded(*plugin, *package, c.anyOwn, c.optional), c.needed);
    std::vector<std::string> wanted;
    for (const MString& name : package->WantedBy) wanted.push_back(ToStd(name));
    EXPECT_EQ(wanted, c.wantedBy);
  }
  ResetRunFlags();
}

// Asked twice, one plug-in two products: the effects binary names each once.
TEST(PackageNeedRecording, EffectsBinaryNamesEachPluginOnce) {
  testing::CatalogueTrees trees;
  testing::Parse(trees.definition,
                 R"(<InstallerDefinition><files path="BINEffects/binx64" flags="global"/>
      <category name="Effects" columns="4"><item name="MComp"/><item name="MBundle">MEqA;MEqB</item></category>
      <category name="Instruments" columns="4"><item name="Tonvault"/></category></InstallerDefinition>)");
  InstallerDefinitionContents contents = ReadInstallerDefinition(trees.definition);
  std::unique_ptr<Package> effects =
      Package::Create(nullptr, *contents.files[0].node, trees.database, trees.packageSettings);
  for (const CategoryDefinition& category : contents.categories)
    for (MXMLItem* item = category.node->firstSubItem; item; item = item->next) {
      std::unique_ptr<Plugin> plugin(
          Plugin::Create(nullptr, category, *item, trees.pluginSettings));
      for (int ask = 0; ask < 2; ++ask)
        EXPECT_TRUE(IsPackageNeeded(*plugin, *effects, false, true));
    }
  std::string wanted;
  for (const MString& name : effects->WantedBy) wanted += ToStd(name) + " ";
  EXPECT_EQ(wanted, "MComp MEqA MEqB Tonvault ");
}

}  // namespace
}  // namespace kx
