// Catalogue trees built in code, shaped like the server's.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "catalogue/package.h"
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
  std::string path = "", name = "", flags = "";  // name, flags empty: no attribute
  int archEnabled = -1;                          // -1: no attribute
  bool mac = false;
  std::string archMin = "", archMax = "";
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

  std::unique_ptr<Package> NewPackage(const FilesEntry& entry, CatalogueOwner* owner = nullptr) {
    return Package::Create(owner, AddFiles(definition, entry), database, packageSettings);
  }
};

}  // namespace kx::testing
