#include "media/fonts/font_cache.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <memory>
#include <vector>

#include "foundation/core/exception.h"
#include "foundation/files/data_paths.h"
#include "foundation/files/file_ops.h"
#include "foundation/files/path_text.h"
#include "foundation/streams/memory_stream.h"
#include "foundation/text/format.h"
#include "foundation/threads/lock.h"
#include "foundation/xml/mbx_files.h"
#include "foundation/xml/xml_item.h"
#include "media/fonts/font_face.h"
#include "media/platform/font_folders.h"

namespace kx {
namespace {

const char* const kExtensions = "ttf;otf";
const char* const kFontsFolder = "Fonts";

struct FontTables {
  MCriticalSection lock;
  bool scanned = false;
  std::vector<MFontFile> files;  // sorted by family, without case
  bool resolvedLoaded = false;
  std::unique_ptr<MXMLItem> resolved;  // SystemFonts11.cache
};

FontTables& Tables() {
  static FontTables tables;
  return tables;
}

std::atomic<int64_t> scanCount{0};

MString CachePath(const char* name) {
  MString folder = GetDataPath_User(MString(kFontsFolder), false);
  return folder.IsEmpty() ? MString() : JoinPath(folder, MString(name));
}

// The tree of a cache file with that root, or an empty root when the file is
// missing, unreadable, or of another kind. `loaded` tells which.
std::unique_ptr<MXMLItem> LoadCache(const char* file, const char* root, bool& loaded) {
  auto tree = std::make_unique<MXMLItem>(MString(root));
  loaded = false;
  MString path = CachePath(file);
  if (path.IsEmpty() || !MFile::IsFile(path)) return tree;
  try {
    MMemoryStream bytes;
    MFile::ReadAll(path, bytes);
    bytes.Seek(0, kSeekBegin);
    loaded = TryLoadAny(*tree, bytes) && tree->name.EqualsNoCase(MString(root));
  } catch (const MException&) {
    loaded = false;
  }
  if (!loaded) {
    tree->Clear();
    tree->name = MString(root);
  }
  return tree;
}

// Saving a cache is worth trying, never worth failing a lookup for.
void SaveCache(const MXMLItem& tree, const char* file) {
  Guarded("MFont::ReScanSystemFonts", [&] {
    MString folder = GetDataPath_User(MString(kFontsFolder), true);
    tree.SaveFile(JoinPath(folder, MString(file)));
  });
}

std::vector<MString> ListFontPaths() {
  MArray<MString> folders;
  folders.Add(GetDataPath_Global(MString(kFontsFolder)));
  MArray<MString> system = SystemFontFolders();
  for (int32_t i = 0; i < system.Count(); ++i) folders.Add(system[i]);
  std::vector<MString> paths;
  for (int32_t i = 0; i < folders.Count(); ++i) {
    if (folders[i].IsEmpty() || !MFile::IsDirectory(folders[i])) continue;
    MArray<MString> found;
    Guarded("MFont::ReScanSystemFonts",
            [&] { MFile::GetFileListRecursed(folders[i], found, MString(kExtensions)); });
    for (int32_t j = 0; j < found.Count(); ++j) paths.push_back(JoinPath(folders[i], found[j]));
  }
  auto less = [](const MString& a, const MString& b) { return a.CompareCase(b) < 0; };
  std::sort(paths.begin(), paths.end(), less);
  // A folder below another listed folder would give its files twice.
  paths.erase(std::unique(paths.begin(), paths.end(),
                          [](const MString& a, const MString& b) { return a.CompareCase(b) == 0; }),
              paths.end());
  return paths;
}

MFontFile FileOfItem(const MXMLItem& item, const MString& path) {
  MFontFile file;
  file.path = path;
  file.family = item.GetAttributeText("Family");
  FontStyleFromWord(item.GetAttributeText("Style"), file.style);
  file.weight = static_cast<int32_t>(item.GetAttributeInt("Weight", file.weight));
  return file;
}

// Opens a new file once; one that FreeType refuses keeps an empty family.
MFontFile ReadNewFile(const MString& path) {
  MFontFile file;
  file.path = path;
  try {
    std::unique_ptr<MFontFace> face = MFontFace::OpenFile(path);
    file.family = face->Family();
    file.style = face->Style();
    file.weight = face->Weight();
  } catch (const MException&) {
    file.family.Clear();
  }
  return file;
}

bool FamilyLess(const MFontFile& a, const MFontFile& b) { return a.family.Compare(b.family) < 0; }

}  // namespace

void ScanFontFolders() {
  FontTables& tables = Tables();
  MLock lock(tables.lock);
  scanCount.fetch_add(1, std::memory_order_relaxed);
  std::vector<MString> paths = ListFontPaths();
  std::vector<bool> taken(paths.size(), false);
  bool loaded = false;
  std::unique_ptr<MXMLItem> all = LoadCache(kFontCacheAllFile, "MSystemFontCacheAll", loaded);
  bool changed = !loaded;
  std::vector<MFontFile> files;

  auto less = [](const MString& a, const MString& b) { return a.CompareCase(b) < 0; };
  for (MXMLItem* item = all->firstSubItem; item;) {
    MXMLItem* next = item->next;
    MString path = item->GetAttributeText("Path");
    auto at = std::lower_bound(paths.begin(), paths.end(), path, less);
    size_t index = static_cast<size_t>(at - paths.begin());
    if (at != paths.end() && at->CompareCase(path) == 0 && !taken[index]) {
      taken[index] = true;
      MFontFile file = FileOfItem(*item, path);
      if (!file.family.IsEmpty()) files.push_back(std::move(file));
    } else {
      all->RemoveSubItem(item);  // the file has gone (or is listed twice)
      changed = true;
    }
    item = next;
  }
  for (size_t i = 0; i < paths.size(); ++i) {
    if (taken[i]) continue;
    MFontFile file = ReadNewFile(paths[i]);
    MXMLItem& item = all->AddSubItem(MString("Font"));
    item.SetAttribute(MXMLName("Path"), MVariant(file.path));
    item.SetAttribute(MXMLName("Family"), MVariant(file.family));
    item.SetAttribute(MXMLName("Style"), MVariant(FontStyleWord(file.style)));
    item.SetAttribute(MXMLName("Weight"), MVariant(file.weight));
    if (!file.family.IsEmpty()) files.push_back(std::move(file));
    changed = true;
  }
  if (changed) SaveCache(*all, kFontCacheAllFile);
  std::stable_sort(files.begin(), files.end(), FamilyLess);
  tables.files = std::move(files);
  tables.scanned = true;
}

MString FindSystemFont(const MString& family, MFontStyle style) {
  FontTables& tables = Tables();
  MLock lock(tables.lock);
  MString key = family;
  key.RemoveWhitespace();
  key.Append(MChar('|'));
  key.Append(MString(FontStyleWord(style)));
  if (!tables.resolvedLoaded) {
    bool loaded = false;
    tables.resolved = LoadCache(kFontCacheFile, "MSystemFontCache", loaded);
    tables.resolvedLoaded = true;
  }
  MXMLItem* remembered = nullptr;
  for (MXMLItem* item = tables.resolved->firstSubItem; item; item = item->next) {
    if (item->GetAttributeText("Key").EqualsNoCase(key)) {
      remembered = item;
      MString path = item->GetAttributeText("Path");
      if (MFile::IsFile(path)) return path;
      break;
    }
  }

  if (!tables.scanned) ScanFontFolders();
  MFontFile wanted;
  wanted.family = family;
  auto first = std::lower_bound(tables.files.begin(), tables.files.end(), wanted, FamilyLess);
  if (first == tables.files.end() || first->family.Compare(family) != 0)
    throw MException(MFormat(MString("Font {0} was not found in the system.")).Add(family));
  int32_t target = style == MFontStyle::kBold || style == MFontStyle::kBoldItalic ? 700 : 400;
  const MFontFile* best = nullptr;
  for (auto it = first; it != tables.files.end() && it->family.Compare(family) == 0; ++it) {
    if (it->style != style) continue;
    if (!best || std::abs(it->weight - target) < std::abs(best->weight - target)) best = &*it;
  }
  if (!best)
    throw MException(MFormat(MString("Font {0} was not found in the system with correct styles.")).Add(family));

  MXMLItem& item = remembered ? *remembered : tables.resolved->AddSubItem(MString("Font"));
  item.SetAttribute(MXMLName("Key"), MVariant(key));
  item.SetAttribute(MXMLName("Path"), MVariant(best->path));
  SaveCache(*tables.resolved, kFontCacheFile);
  return best->path;
}

MArray<MFontFile> GetSystemFontFiles() {
  FontTables& tables = Tables();
  MLock lock(tables.lock);
  if (!tables.scanned) ScanFontFolders();
  MArray<MFontFile> copy;
  for (const MFontFile& file : tables.files) copy.Add(file);
  return copy;
}

void ForgetFontTables() {
  FontTables& tables = Tables();
  MLock lock(tables.lock);
  tables.scanned = false;
  tables.files.clear();
  tables.resolvedLoaded = false;
  tables.resolved.reset();
}

int64_t FontScanCount() { return scanCount.load(std::memory_order_relaxed); }

}  // namespace kx
