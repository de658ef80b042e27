#include "catalogue/package_need.h"
#include "catalogue/definition_keys.h"

#include "catalogue/maker_names.h"
#include "catalogue/package.h"
#include "catalogue/plugin.h"
#include "foundation/core/run_state.h"
#include "foundation/xml/xml_item.h"

namespace kx {
namespace {


void Record(const Plugin& plugin, Package& package) {
  for (const MString& name : plugin.WantedNames()) package.AddWantedBy(name);
}

bool IsWord(const MString& flags, const char* word) {
  return flags.EqualsNoCase(word);
}

bool GlobalNeed(const Plugin& plugin, Package& package) {
  // A build for another processor level (the architecture selection wrote 0).
  if (!package.GetDefinitionNode()->GetAttributeBool(kArchEnabled, true)) return false;
  if (package.IsEffectsBinary()) {
    Record(plugin, package);
    return true;
  }
  if (package.Installed) {
    // Shared data and runtimes are installed once for all plug-ins.
    if (package.NameHolds("Global data") || package.NameHolds("Kernel") ||
        package.KeyHolds("REDIST") || package.KeyHolds("USER_PRESETS"))
      return false;
  } else if (package.KeyHolds("REDIST") && CloudLaunchMode) {
    // Runtimes are not installed by a cloud launch.
    return false;
  }
  return true;
}

bool OptionalInstrumentNeed(const Plugin& plugin, const Package& package,
                            bool optionalInstruments) {
  if (!optionalInstruments) return false;
  if (package.Installed) return false;
  if (plugin.Name.Find(kSamplerWord) >= 0) return true;
  return !CloudLaunchMode;
}

}  // namespace

bool IsPackageNeeded(const Plugin& plugin, Package& package, bool anyOwnPackage,
                     bool optionalInstruments) {
  const MString& flags = package.Flags;
  if (IsWord(flags, "global") || IsWord(flags, "uglobal")) return GlobalNeed(plugin, package);
  if (IsWord(flags, "gbypluginname") || IsWord(flags, "ubypluginname")) {
    if (!anyOwnPackage) Record(plugin, package);
    return true;
  }
  if (IsWord(flags, "tvtoptional"))
    return OptionalInstrumentNeed(plugin, package, optionalInstruments);
  if (flags.EqualsNoCase(plugin.Flags)) return !package.Installed;
  if (anyOwnPackage) return !package.Installed;
  return package.KeyHolds(plugin.Name);
}

}  // namespace kx
