// The state of one package's install walk: what the recursion carries down
// (WalkOptions), what lives for the whole package (InstallContext), and where
// the walk reports its progress (ProgressTarget).
//
// The context owns no package: `library` is the open package while installing
// and may be null while uninstalling (an uninstall walk never reads contents).
// `buffer` is the one transfer buffer every file content passes through; it is
// at least kTransferPiece bytes and lives as long as the context.
#pragma once

#include <cstdint>
#include <memory>
#include <unordered_map>

#include "foundation/containers/containers.h"
#include "foundation/text/text_string.h"

namespace kx {

class ContentReadAhead;
class MPackageFile;
class MXMLItem;
class MPresetContext;

// Where status text and the bar go; the GUI's status line, a console, or nothing.
class ProgressTarget {
 public:
  virtual ~ProgressTarget() = default;
  virtual void Show(const MString& text, float value) = 0;
};

// Whether a walk puts a package's files in place or takes them away again.
enum class WalkMode { kInstall, kUninstall };

// File selection by component name (`detectitems`): off, a hit anywhere in the
// target, or the variant that strips a trailing "MB" and wants a hit after the
// first character (`detectitemsnoMBpostfix`).
enum class ItemDetection { kOff, kAnywhere, kWithoutMBPostfix };

struct WalkOptions {
  WalkMode mode = WalkMode::kInstall;
  bool ignoreSubDirs = false;  // changes during the walk: a bundle folder clears it below itself
  ItemDetection detection = ItemDetection::kOff;
  bool mergePresets = false;
  MArray<MString> extensionSrc;  // parallel to extensionDst
  MArray<MString> extensionDst;
  MString detectItemsPostfix;

  bool Uninstalling() const { return mode == WalkMode::kUninstall; }
};

struct InstallContext {
  // File contents move in pieces of exactly this size.
  static constexpr int64_t kTransferPiece = 1048576;

  InstallContext()
      : ownedBuffer(std::make_unique_for_overwrite<char[]>(kTransferPiece)),
        buffer(ownedBuffer.get()) {}

  MPackageFile* library = nullptr;
  std::unique_ptr<char[]> ownedBuffer;
  char* buffer = nullptr;
  int64_t totalBytes = 0;
  int64_t doneBytes = 0;
  int64_t currentFileBytes = 0;
  int64_t currentFileDone = 0;
  int32_t totalFiles = 0;
  int32_t doneFiles = 0;
  int32_t undeletedFiles = 0;
  MPresetContext* presetContext = nullptr;
  ProgressTarget* progress = nullptr;
  float progressValue = 0.0F;
  MArray<MString> EnabledItems;
  // While an installation walks: the contents decompressed ahead, by item.
  ContentReadAhead* ahead = nullptr;
  std::unordered_map<const MXMLItem*, int32_t> aheadIndex;
};

}  // namespace kx
