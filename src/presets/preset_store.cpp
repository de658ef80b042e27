// Names, categories, name normalisation and exchange numbering of preset stores.
#include "presets/preset_store.h"

#include "foundation/xml/xml_item.h"
#include "foundation/xml/xml_iterator.h"

namespace kx {

namespace presets {

const MXMLName kDirectoryKey("Directory");
const MXMLName kPresetKey("preset");
const MXMLName kFolderNameKey("Name");
const MXMLName kPresetNameKey("name");
const MXMLName kInfoKey("info");
const MXMLName kFavouriteKey("Favourite");
const MXMLName kCompressedKey("compressed");
const MXMLName kExchangeIndexKey("ExchangeIndex");
const MXMLName kSharedAttributeKey("SharedAttribute");

}  // namespace presets

namespace {

struct Category {
  const char* substring;
  const char* folder;
};

// Looked at in this order: the first substring found decides.
const Category kCategories[] = {
    {"drum", "Drums"},  {"arp", "Arp"},           {"bass", "Bass"},      {"fx", "FX"},
    {"effect", "FX"},   {"pad", "Pad"},           {"lead", "Lead"},      {"key", "Keyboards"},
    {"organ", "Organ"}, {"bell", "Bells"},        {"perc", "Percussive"}, {"pluck", "Pluck"},
    {"syn", "Synth"},   {"brass", "Brass"},       {"gato", "Gator"},     {"seq", "Sequences"},
    {"dron", "Drones"}, {"string", "Strings"},
};

bool IsDirectory(const MXMLItem& item) { return presets::kDirectoryKey.MatchesText(item.name); }
bool IsPreset(const MXMLItem& item) { return presets::kPresetKey.MatchesText(item.name); }

}  // namespace

MString PresetFileName(const MString& objectId) {
  MString name = objectId;
  return name.Append(presets::kPresetFileExtension);
}

MString PresetCategory(const MString& presetName) {
  for (const Category& category : kCategories) {
    if (presetName.FindNoCase(MString(category.substring)) >= 0) return MString(category.folder);
  }
  return MString();
}

MString NormalizePresetName(const MString& name) {
  MString result;
  int32_t length = name.Length();
  for (int32_t i = 0; i < length; ++i) {
    MChar unit = name[i];
    MChar following = i + 1 < length ? name[i + 1] : 0;
    if (unit < 33 && following < 33) continue;
    result.Append(unit);
  }
  return result;
}

void NormalizePresetNames(MXMLItem& tree) {
  // The attribute is rewritten in place, which leaves the walk's lists untouched.
  MXMLIterator walk;
  for (MXMLItem* item = walk.Begin(tree); item; item = walk.Next()) {
    if (!IsPreset(*item)) continue;
    if (MXMLAttribute* name = item->FindAttribute(presets::kPresetNameKey)) {
      MString text = name->value.AsString();
      MString normal = NormalizePresetName(text);
      if (!(normal == text)) name->value = MVariant(normal);
    }
  }
}

int32_t AssignExchangeIndices(MXMLItem& folder, int32_t firstIndex, bool forceAll) {
  int32_t index = firstIndex;
  MXMLIterator walk;
  walk.Begin(folder);
  // Depth first in document order, entering `Directory` items only.
  for (MXMLItem* item = walk.Next(); item; item = walk.Next(IsDirectory(*item))) {
    if (!IsPreset(*item)) continue;
    if (!forceAll && item->FindAttribute(presets::kExchangeIndexKey)) continue;
    item->SetAttribute(presets::kExchangeIndexKey, MVariant(index));
    ++index;
  }
  return index;
}

}  // namespace kx
