// The preset store: a tree of folders and presets, one store per controllable
// object, in a file named after the object's ID plus ".presets" (or the fixed,
// older "presets.xml" inside the object's folder), as text XML or MBX.
//
//   root (Name)                    the store of one object
//     Directory (Name)             a folder, holding Directory and preset in order
//     preset (name, info, Favourite, compressed, ExchangeIndex)
//                                  `compressed` holds the state as one blob of text;
//                                  without it the other attributes and the child
//                                  elements are the object's state
//     Randomizer, Randomizer Multi special root folders of randomizer settings
//     SharedAttribute              a value common to all presets of the store
//   A root folder named "ONLINE EXCHANGE" holds presets that came from outside.
//
// Names of elements and attributes compare without case, as everywhere in trees.
#pragma once

#include <cstdint>

#include "foundation/text/text_string.h"
#include "foundation/xml/xml_name.h"

namespace kx {

class MXMLItem;

namespace presets {

extern const MXMLName kDirectoryKey;      // "Directory"
extern const MXMLName kPresetKey;         // "preset"
extern const MXMLName kFolderNameKey;     // "Name", of the root and of a Directory
extern const MXMLName kPresetNameKey;     // "name"
extern const MXMLName kInfoKey;           // "info"
extern const MXMLName kFavouriteKey;      // "Favourite"
extern const MXMLName kCompressedKey;     // "compressed"
extern const MXMLName kExchangeIndexKey;  // "ExchangeIndex"
extern const MXMLName kSharedAttributeKey;  // "SharedAttribute"

inline constexpr const char* kRandomizerFolder = "Randomizer";
inline constexpr const char* kRandomizerMultiFolder = "Randomizer Multi";
inline constexpr const char* kOnlineExchangeFolder = "ONLINE EXCHANGE";
inline constexpr const char* kPresetFileExtension = ".presets";
inline constexpr const char* kOlderPresetFileName = "presets.xml";
inline constexpr const char* kNewPresetNamePrefix = "Preset ";
inline constexpr const char* kUnnamedPresetName = "Unnamed preset";

}  // namespace presets

// The file name of an object's store: its ID plus ".presets".
MString PresetFileName(const MString& objectId);

// The folder a preset goes to when a store is shown sorted by kind: the first of
// the category table whose substring its name holds (without case), such as
// "Drums" for "Big Drum Loop"; empty when none fits.
MString PresetCategory(const MString& presetName);

// Rewrites the `name` of every `preset` at any depth: a unit below 33 followed by
// another unit below 33 (the end of the text counting as one) is dropped, so runs
// of blanks and control characters shrink to their last unit and a trailing one
// goes.
void NormalizePresetNames(MXMLItem& tree);
// The rule above on one name.
MString NormalizePresetName(const MString& name);

// Numbers the presets of a shipped store for the preset exchange: each `preset`
// directly in `folder` or in its `Directory` children (recursively) is given the
// running index, starting at `firstIndex`, in document order. Without `forceAll`
// presets that have an `ExchangeIndex` keep it and do not use up a number.
// Returns the next free index.
int32_t AssignExchangeIndices(MXMLItem& folder, int32_t firstIndex, bool forceAll);

}  // namespace kx
