// Catalogue trees built in code for the tests: an installer definition, a
// package database and the two settings trees, shaped like the server's.
//
// BuildCatalogue makes a definition of `pluginCount` plug-ins in three panels
// (effects, instruments, free effects) and the packages they rely on: two
// kernels by processor level, the shared data, a runtime, the per-plug-in
// presets, the optional instruments, content packages of their own for every
// fourth plug-in, the other platform's effects binary and, last, the effects
// binary. The database publishes most packages in a stable and a beta version
// and leaves a few out.
#pragma once

#include <string>
#include <vector>

#include "foundation/streams/memory_stream.h"
#include "foundation/xml/xml_item.h"

namespace kx::testing {

inline MString Text(const std::string& text) {
  return MString::FromUTF8(text);
}

// XML text as the server would send it, parsed into `tree`.
inline void Parse(MXMLItem& tree, const std::string& xml) {
  MConstMemoryStream bytes(xml.data(), static_cast<int64_t>(xml.size()));
  tree.LoadXML(bytes);
}

struct FilesEntry {
  std::string path = "";
  std::string name = "";   // empty: no attribute
  std::string flags = "";  // empty: no attribute
  int archEnabled = -1;    // -1: no attribute
  bool mac = false;
  std::string archMin = "";
  std::string archMax = "";
};

inline MXMLItem& AddFiles(MXMLItem& definition, const FilesEntry& entry) {
  MXMLItem& files = definition.AddSubItem("files");
  files.SetAttribute("path", Text(entry.path));
  if (!entry.name.empty()) files.SetAttribute("name", Text(entry.name));
  if (!entry.flags.empty()) files.SetAttribute("flags", Text(entry.flags));
  if (entry.mac) files.SetAttribute("mac", "1");
  if (!entry.archMin.empty()) files.SetAttribute("archmin", Text(entry.archMin));
  if (!entry.archMax.empty()) files.SetAttribute("archmax", Text(entry.archMax));
  if (entry.archEnabled >= 0)
    files.SetAttribute("archenabled", MVariant(static_cast<int32_t>(entry.archEnabled)));
  // A small install tree, as the real elements carry one.
  files.AddSubItem("dir").AddSubItem("file").SetAttribute("name", Text(entry.path + ".bin"));
  return files;
}

struct VersionSpec {
  std::string version = "";
  bool beta = false;
  std::string time = "";
  long long size = 0;
};

inline MXMLItem& AddDatabaseEntry(MXMLItem& database, const std::string& key,
                                  const std::vector<VersionSpec>& versions) {
  MXMLItem& entry = database.AddSubItem("packages");
  entry.SetAttribute("name", Text(key));
  for (const VersionSpec& v : versions) {
    MXMLItem& child = entry.AddSubItem(v.beta ? "beta" : "release");
    child.SetAttribute("version", Text(v.version));
    child.SetAttribute("size", Text(std::to_string(v.size)));
    if (v.beta) child.SetAttribute("beta", "1");
    child.SetAttribute("time", Text(v.time));
  }
  return entry;
}

struct CatalogueTrees {
  MXMLItem definition{"InstallerDefinition"};
  MXMLItem database{"PackageDatabase"};
  MXMLItem packageSettings{"KestrixPackagesSettings"};
  MXMLItem pluginSettings{"KestrixPluginsSettings"};
};

inline std::string PluginName(int i) {
  return "MPlugin" + std::to_string(i);
}
// Every fifth plug-in holds two products.
inline bool HasContents(int i) {
  return i % 5 == 0;
}
// Every fourth plug-in has a content package of its own.
inline bool HasOwnPackage(int i) {
  return i % 4 == 0;
}
inline std::string OwnFlags(int i) {
  return "own" + std::to_string(i);
}

// Keys of the packages without a database entry.
inline bool Unpublished(const std::string& key) {
  return key == "Instruments_Factory";
}

inline void BuildCatalogue(CatalogueTrees& trees, int pluginCount) {
  MXMLItem& definition = trees.definition;
  for (const char* id : {"vstplugins64", "datafolder", "destination"}) {
    MXMLItem& directory = definition.AddSubItem("directory");
    directory.SetAttribute("id", id);
    directory.SetAttribute("default", "{userdata}/Vorlund");
    directory.SetAttribute("defaultprefix", "{userdata}");
  }

  std::vector<FilesEntry> packages = {
      {"Kernel/sse", "Kernel", "global", -1, false, "", "avx2"},
      {"Kernel/avx2", "Kernel", "global", -1, false, "avx2", ""},
      {"Data/Global", "Global data", "global"},
      {"REDIST/runtime", "Runtime", "global"},
      {"USER_PRESETS_BYPLUGIN", "Presets", "gbypluginname"},
      {"Instruments/Factory", "Factory instruments", "tvtoptional"},
  };
  for (int i = 0; i < pluginCount; ++i)
    if (HasOwnPackage(i)) packages.push_back({"Content/" + PluginName(i), "Content", OwnFlags(i)});
  packages.push_back({"BINEffectsMac/bin", "Effects (other platform)", "global", -1, true});
  packages.push_back({"BINEffects/binx64", "Effects", "global"});
  for (const FilesEntry& entry : packages) AddFiles(definition, entry);

  const char* panels[] = {"Effects", "Instruments", "Free effects"};
  for (int panel = 0; panel < 3; ++panel) {
    MXMLItem& category = definition.AddSubItem("category");
    category.SetAttribute("name", panels[panel]);
    category.SetAttribute("columns", "5");
    for (int i = 0; i < pluginCount; ++i) {
      if (i % 3 != panel) continue;
      MXMLItem& item = category.AddSubItem("item");
      std::string name = PluginName(i);
      if (panel == 1 && i % 2 == 0) name = "Tonvault" + std::to_string(i);
      item.SetAttribute("name", Text(name));
      if (HasOwnPackage(i)) item.SetAttribute("flags", Text(OwnFlags(i)));
      if (i % 7 == 0) item.SetAttribute("all", "1");
      if (HasContents(i)) item.value = Text(name + "A; " + name + "B");
    }
  }
  MXMLItem& bundle = definition.AddSubItem("bundle");
  bundle.SetAttribute("name", "All effects");
  bundle.SetAttribute("id", "all");

  for (const FilesEntry& entry : packages) {
    std::string key = entry.path;
    for (char& c : key)
      if (c == '/') c = '_';
    if (Unpublished(key)) continue;
    AddDatabaseEntry(trees.database, key,
                     {{"16.01", false, "2024-03-01 10:00:00", 1048576 * 4},
                      {"16.02b", true, "2024-04-01 09:30:00.5", 1048576 * 5}});
  }
}

}  // namespace kx::testing
