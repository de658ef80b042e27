// MergePresetFile: brings the preset store that a package ships into the user's
// file without losing what the user added.
//
// In order:
//  1. `target`'s last-write time (whole seconds) equal to `itemTime`: "Omitting
//     because unchanged.", 0. `itemTime.milliseconds` carries the item's
//     sub-second count, so any non-zero one never matches. A target of the
//     stream's size and bytes is unchanged too.
//  2. No `target`: the older store beside it ("<target without extension>presets.xml")
//     is the base; without that too the stream is written to `target` as it is
//     and 0x7FFFFFFF comes back, with nothing reported.
//  3. Base and stream are loaded ("Merging."); a target whose file name holds
//     "StyleSettings_" (any case) is merged the other way round ("Style settings
//     -> inverted merging"): the shipped store is the base and the user's presets
//     are added to it, so shipped schemes come first.
//  4. Preset names are normalised in both (NormalizePresetNames) and the presets
//     of the new tree whose key the base lacks are added at the same folder path
//     ("Returned count: N"). Nothing added: 0, the file is left alone.
//  5. "Saving backup": "<target>backup" is deleted when it exists and so is
//     `target`; no copy of the old content is kept. "Saving new file<path>":
//     the merged tree is saved to `target` (an unnamed root is named "XML"), its
//     last-write time set to `itemTime` in whole seconds, "Added presets : N", N
//     is returned.
// The key of a preset is name=value of all its attributes but `ExchangeIndex`, in
// stored order, joined; a `compressed` preset's key is its compressed text; a
// preset without attributes throws "Cannot merge presets without names.".
// `report` receives the lines (joined by line feeds) for the caller to log.
// Failures are MException; the stream is read from position 0.
#pragma once

#include <cstdint>
#include <unordered_set>

#include "foundation/text/date_time.h"
#include "foundation/text/text_string.h"
#include "foundation/xml/xml_item.h"

namespace kx {

class MStream;

inline constexpr int32_t kPresetFileWrittenWhole = 0x7FFFFFFF;

// The scratch trees and key set of merges; one context serves one thread and
// may be used again for the next file.
class MPresetContext {
 public:
  struct KeyHash {
    size_t operator()(const MString& key) const;
  };

  MXMLItem baseTree;
  MXMLItem newTree;
  std::unordered_set<MString, KeyHash> keys;
  MString key;  // the key being built
};

int32_t MergePresetFile(MPresetContext& presetContext, const MString& target, MStream& stream,
                        const MDateTime& itemTime, MString& report);

// The tree merge alone: adds to `base` every `preset` of `incoming` whose key it
// lacks, at the same folder path, creating folders as needed. Returns the count.
int32_t MergePresetTrees(MPresetContext& presetContext, MXMLItem& base, const MXMLItem& incoming);

// The key of one preset (see above).
void PresetKey(const MXMLItem& preset, MString& key);

}  // namespace kx
