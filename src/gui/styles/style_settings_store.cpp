#include "gui/styles/style_settings_store.h"

#include <memory>

#include "foundation/files/file_ops.h"
#include "foundation/files/path_text.h"
#include "foundation/xml/xml_item.h"
#include "gui/styles/style_image.h"

namespace kx {

namespace {

constexpr const char* kSchemeKeys[] = {"MainColor", "InvertColors", "EnableUpperCase"};

MString Joined(const char* a, const MString& b, const char* c = "") {
  MString out(a);
  out += b;
  out += c;
  return out;
}

// The scheme file's tree, empty with its root name when there is no file.
std::unique_ptr<MXMLItem> LoadSchemes(const MString& folder, const MString& style) {
  auto root = std::make_unique<MXMLItem>(Joined(kStyleSchemePrefix, style));
  const MString path = JoinPath(folder, MStyleSettingsStore::SchemeFileName(style));
  if (MFile::Exists(path)) root->LoadFile(path);
  return root;
}

MXMLItem* FindScheme(const MXMLItem& root, const MString& name) {
  for (MXMLItem* item = root.firstSubItem; item; item = item->next) {
    if (item->GetName().ToUTF8String() == "preset" && StyleText(*item, "name") == name) return item;
  }
  return nullptr;
}

}  // namespace

MStyleSettings& MStyleSettingsStore::Settings(const MString& windowKind) {
  return settings_[windowKind.ToUTF8String()];
}

void MStyleSettingsStore::LoadSettings(const MString& folder) {
  const MString path = JoinPath(folder, MString(kStyleSettingsFileName));
  if (!MFile::Exists(path)) return;
  MXMLItem root;
  root.LoadFile(path);
  for (MXMLItem* item = root.firstSubItem; item; item = item->next) {
    MStyleSettings settings;
    settings.Read(*item);
    settings_[item->GetName().ToUTF8String()] = settings;
  }
}

void MStyleSettingsStore::SaveSettings(const MString& folder) const {
  MXMLItem root(MString("StyleSettings"));
  for (const auto& [kind, settings] : settings_) settings.Write(root.AddSubItem(MString::FromUTF8(kind)));
  root.SaveFile(JoinPath(folder, MString(kStyleSettingsFileName)));
}

void MStyleSettingsStore::SetDefaultColors(const MString& windowKind) {
  MStyleSettings& settings = Settings(windowKind);
  settings.colorScheme = MString();
  settings.hasMainColor = false;
  settings.invertColors = false;
}

MString MStyleSettingsStore::SchemeFileName(const MString& style) {
  return Joined(kStyleSchemePrefix, style, ".presets");
}

void MStyleSettingsStore::SaveScheme(const MString& folder, const MString& windowKind,
                                     const MString& name) {
  MStyleSettings& settings = Settings(windowKind);
  auto root = LoadSchemes(folder, settings.style);
  MXMLItem* scheme = FindScheme(*root, name);
  if (!scheme) scheme = &root->AddSubItem(MString("preset"));
  scheme->RemoveAllAttributes();
  scheme->SetAttribute("name", name);
  MXMLItem all(MString("all"));
  settings.Write(all);
  for (const char* key : kSchemeKeys) {
    if (const MXMLAttribute* value = all.FindAttribute(key)) scheme->SetAttribute(key, value->value);
  }
  root->SaveFile(JoinPath(folder, SchemeFileName(settings.style)));
  settings.colorScheme = name;
}

bool MStyleSettingsStore::ApplyScheme(const MString& folder, const MString& windowKind,
                                      const MString& name) {
  MStyleSettings& settings = Settings(windowKind);
  auto root = LoadSchemes(folder, settings.style);
  const MXMLItem* scheme = FindScheme(*root, name);
  if (!scheme) return false;
  settings.hasMainColor = false;
  settings.invertColors = false;
  settings.Read(*scheme);
  settings.colorScheme = name;
  return true;
}

std::vector<MString> MStyleSettingsStore::SchemeNames(const MString& folder, const MString& style) {
  auto root = LoadSchemes(folder, style);
  std::vector<MString> names;
  for (MXMLItem* item = root->firstSubItem; item; item = item->next) {
    if (item->GetName().ToUTF8String() == "preset") names.push_back(StyleText(*item, "name"));
  }
  return names;
}

}  // namespace kx
