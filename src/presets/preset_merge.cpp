// The preset merge. Both trees are walked without recursion (stores can nest
// folders deeply), and the base's keys sit in a hash set, so a merge costs one
// pass over each tree.
#include "presets/preset_merge.h"

#include <memory>
#include <unordered_map>
#include <vector>

#include "foundation/core/exception.h"
#include "foundation/files/file_ops.h"
#include "foundation/streams/file_stream.h"
#include "foundation/text/format.h"
#include "foundation/xml/mbx_files.h"
#include "foundation/streams/memory_stream.h"
#include "foundation/files/path_text.h"
#include "foundation/streams/stream_helpers.h"
#include "foundation/xml/xml_iterator.h"
#include "presets/preset_store.h"

namespace kx {

namespace {

void AddLine(MString& report, const MString& line) {
  if (!report.IsEmpty()) report.Append("\n");
  report.Append(line);
}

bool IsPreset(const MXMLItem& item) { return presets::kPresetKey.MatchesText(item.name); }

// Last-write times as the install walk compares them: the file's whole seconds
// against the item's time, whose sub-second count (in `milliseconds`) makes any
// non-zero value differ.
bool SameItemTime(const MDateTime& fileTime, const MDateTime& itemTime) {
  MDateTime whole = fileTime;
  whole.milliseconds = 0;
  return whole == itemTime;
}

bool HasEqualContent(const MString& target, MStream& stream) {
  MFileStream file(target, MFileStream::kModeRead);
  stream.Seek(0, kSeekBegin);
  bool equal = file.GetSize() == stream.GetSize() && CompareStreams(file, stream) == 0;
  stream.Seek(0, kSeekBegin);
  return equal;
}

void LoadPresetTree(MXMLItem& tree, MStream& bytes) {
  tree.Clear();
  MString failure;
  if (!TryLoadAny(tree, bytes, &failure)) throw MException(failure);
}

void LoadPresetFile(MXMLItem& tree, const MString& path) {
  MMemoryStream bytes;
  MFile::ReadAll(path, bytes);
  bytes.Seek(0, kSeekBegin);
  LoadPresetTree(tree, bytes);
}

// The folder items: everything that is not a preset (a preset's children are its
// state, not folders).
struct FolderMatch {
  static bool Same(const MXMLItem& a, const MXMLItem& b) {
    if (!MXMLName(a.name).MatchesText(b.name)) return false;
    const MXMLAttribute* nameA = a.FindAttribute(presets::kFolderNameKey);
    const MXMLAttribute* nameB = b.FindAttribute(presets::kFolderNameKey);
    if (!nameA || !nameB) return !nameA && !nameB;
    return nameA->value.AsString() == nameB->value.AsString();
  }
};

// The base folder that stands where `folder` of the incoming tree stands,
// created (with the incoming folder's attributes) when missing.
MXMLItem& ResolveFolder(const MXMLItem& folder, const MXMLItem& incomingRoot, MXMLItem& base,
                        std::unordered_map<const MXMLItem*, MXMLItem*>& resolved) {
  std::vector<const MXMLItem*> chain;
  const MXMLItem* at = &folder;
  while (at != &incomingRoot && !resolved.count(at)) {
    chain.push_back(at);
    at = at->parent;
  }
  MXMLItem* place = at == &incomingRoot ? &base : resolved[at];
  for (auto step = chain.rbegin(); step != chain.rend(); ++step) {
    MXMLItem* found = nullptr;
    for (MXMLItem* child = place->firstSubItem; child && !found; child = child->next) {
      if (!IsPreset(*child) && FolderMatch::Same(*child, **step)) found = child;
    }
    if (!found) {
      found = &place->AddSubItem((*step)->name);
      for (const MXMLAttribute* attribute = (*step)->firstAttribute; attribute; attribute = attribute->next)
        found->AppendAttribute(attribute->name, attribute->value);
    }
    resolved[*step] = found;
    place = found;
  }
  return *place;
}

}  // namespace

size_t MPresetContext::KeyHash::operator()(const MString& key) const { return key.Hash(); }

void PresetKey(const MXMLItem& preset, MString& key) {
  key.Clear();
  if (preset.attributeCount == 0) throw MException(MString("Cannot merge presets without names."));
  const MXMLAttribute* compressed = preset.FindAttribute(presets::kCompressedKey);
  if (compressed && !compressed->value.IsEmpty()) {
    key = compressed->value.AsString();
    return;
  }
  for (const MXMLAttribute* attribute = preset.firstAttribute; attribute; attribute = attribute->next) {
    if (attribute->name.Matches(presets::kExchangeIndexKey)) continue;
    key.Append(attribute->name.text).Append("=").Append(attribute->value.AsString());
  }
}

int32_t MergePresetTrees(MPresetContext& presetContext, MXMLItem& base, const MXMLItem& incoming) {
  std::unordered_set<MString, MPresetContext::KeyHash>& keys = presetContext.keys;
  keys.clear();
  // Below the root, presets are leaves: their children are the object's state.
  MXMLIterator walk;
  walk.Begin(base);
  for (MXMLItem* item = walk.Next(); item; item = walk.Next(!IsPreset(*item))) {
    if (!IsPreset(*item)) continue;
    PresetKey(*item, presetContext.key);
    keys.insert(presetContext.key);
  }

  // The walk over `incoming` only reads it; additions go to `base`, which may
  // not be walked meanwhile (the folder lookup reads it between steps only).
  std::unordered_map<const MXMLItem*, MXMLItem*> resolved;
  int32_t added = 0;
  MXMLItem& source = const_cast<MXMLItem&>(incoming);
  walk.Begin(source);
  for (MXMLItem* item = walk.Next(); item; item = walk.Next(!IsPreset(*item))) {
    if (!IsPreset(*item)) continue;
    PresetKey(*item, presetContext.key);
    if (!keys.insert(presetContext.key).second) continue;
    MXMLItem& folder = ResolveFolder(*item->parent, source, base, resolved);
    std::unique_ptr<MXMLItem> copy(new MXMLItem());
    copy->CopyFrom(*item);
    folder.AdoptSubItem(copy.release());
    ++added;
  }
  keys.clear();
  return added;
}

int32_t MergePresetFile(MPresetContext& presetContext, const MString& target, MStream& stream,
                        const MDateTime& itemTime, MString& report) {
  bool targetExists = MFile::IsFile(target);
  if (targetExists) {
    MDateTime written;
    MFile::GetFileTime(target, nullptr, nullptr, &written);
    if (SameItemTime(written, itemTime) || HasEqualContent(target, stream)) {
      AddLine(report, MString("Omitting because unchanged."));
      return 0;
    }
  }

  MString basePath = target;
  if (!targetExists) {
    basePath = ChangeExtension(target, MString()).Append(presets::kOlderPresetFileName);
    if (!MFile::IsFile(basePath)) {
      // Nothing of the user's to keep: the shipped file as it is. Through memory
      // and a rename, so that a failed write leaves no half file behind.
      MMemoryStream bytes;
      stream.Seek(0, kSeekBegin);
      CopyStream(stream, bytes);
      ReplaceFileContent(target, bytes.Data(), bytes.Size());
      return kPresetFileWrittenWhole;
    }
  }

  MXMLItem& userTree = presetContext.baseTree;
  MXMLItem& shippedTree = presetContext.newTree;
  LoadPresetFile(userTree, basePath);
  stream.Seek(0, kSeekBegin);
  LoadPresetTree(shippedTree, stream);
  AddLine(report, MString("Merging."));

  MXMLItem* base = &userTree;
  MXMLItem* incoming = &shippedTree;
  if (GetFileName(target).FindNoCase(MString("StyleSettings_")) >= 0) {
    // Shipped style schemes must win over old copies of themselves: the new
    // file is the base, and the user's own schemes are added behind it.
    AddLine(report, MString("Style settings -> inverted merging"));
    std::swap(base, incoming);
  }
  NormalizePresetNames(*base);
  NormalizePresetNames(*incoming);

  int32_t count = MergePresetTrees(presetContext, *base, *incoming);
  AddLine(report, MFormat("Returned count: {0}").Add(count));
  if (count <= 0) return count;

  AddLine(report, MString("Saving backup"));
  MString backup = target;
  backup.Append("backup");
  // The step keeps its name but makes no copy: the old file is simply gone.
  if (MFile::Exists(backup)) MFile::Delete(backup);
  if (MFile::Exists(target)) MFile::Delete(target);

  MString saving("Saving new file");
  AddLine(report, saving.Append(target));
  if (base->name.IsEmpty()) base->name = MString("XML");
  base->SaveFile(target);
  // Stamped in whole seconds: the sub-second count of an item's time is no
  // fraction a file system could hold (".1234567" is that many units).
  MDateTime stamp = itemTime;
  stamp.milliseconds = 0;
  MFile::SetFileTime(target, nullptr, nullptr, &stamp);
  AddLine(report, MFormat("Added presets : {0}").Add(count));
  return count;
}

}  // namespace kx
