// Add-on installation: an add-on file (a resource library of its own kind) is
// extracted, not walked, and what it wrote is kept in an installation record so
// that it can be removed again file by file.
//
// Kinds, by the file's extension without case: "mproduct" (a product for any
// plug-in: presets merged into the plug-in's preset file, "Devices" into its
// device folder, "Samples" below the sample path) and "kitvaultpack" (a drum
// pack: the "Kitvault" subtree below the factory path, after the whole-file
// check against "<file>.md5" when that file is there). Anything else throws
// "Unknown addon type " and the path.
//
// The record: "<record folder>/<add-on name>.xml", root "Installation" with
// `type`, `name` and `uninstallflag` 1; a child per extraction ("Devices",
// "Samples", "Kitvault") with `size` and `count` and, in order of extraction,
// `dir` and `file` items whose text is the path below the child's base folder.
//
// Names come from outside: every `dir` and `file` path of a subtree passes the
// install walk's name guard before anything is written, and removal deletes
// only contained paths below a record child's base folder.
//
// Runs on the download thread; the host's lock guards the add-on records.
#pragma once

#include <cstdint>

#include "foundation/containers/containers.h"
#include "foundation/text/text_string.h"

namespace kx {

class Addon;
class MLockable;
class MPackageFile;
class MXMLItem;
class ProgressTarget;

// What add-on work asks of the program that runs it.
class AddonHost {
 public:
  virtual ~AddonHost() = default;
  // Guards the add-on records' flags.
  virtual MLockable& AddonLock() = 0;
  virtual const MArray<Addon*>& AddonRecords() = 0;
  // The Tonvault sample path and the Kitvault factory path.
  virtual MString SamplePath() = 0;
  virtual MString FactoryPath() = 0;
  // Where installation records lie; created when missing.
  virtual MString RecordFolder() = 0;
  // The status line: the text, and the bar's value when `setValue`.
  virtual void AddonStatus(const MString& text, bool setValue, double value) = 0;
  // The add-on under install (null when none), for the list rows.
  virtual void SetInstallingAddon(Addon* addon) {}
  virtual void SaveAddonSettings() {}
  // An open preset manager rescans; the add-on list refreshes.
  virtual void PresetsChanged() {}
  virtual void AddonsChanged() {}
  // The collected errors of a removal, under the title "Some errors occured".
  virtual void ShowAddonErrors(const MString& text) {}
};

// The plug-in's device folder name below the global data path.
MString AddonDeviceFolderName(const MString& pluginId);

// Installs one file. `item` may be null: the add-on is then found by the file's
// name among the records (the full file or an update entry, which becomes the
// pending one), or there is none and the name comes from the file name.
void InstallAddonFile(AddonHost& host, Addon* item, const MString& path);

// The extraction loop: the subtree's `dir` items, then its `file` items, below
// `target`; with a record child, each path is listed in it and its `size` and
// `count` grow. The contents of the library (opened from a file) are decompressed
// ahead on the other processors and written in order. Returns the bytes written.
int64_t ExtractAddonSubtree(AddonHost& host, MPackageFile& library, const MString& target,
                            MXMLItem& subtree, MXMLItem* recordChild);

// A record that can be removed, as the uninstall list shows it.
struct AddonRecordEntry {
  MString path;
  MString name;
};
// The records of the folder that carry `uninstallflag`; unreadable ones are skipped.
MArray<AddonRecordEntry> ListUninstallableAddons(const MString& recordFolder);

// Removes the add-ons whose record files are listed. A record that cannot be
// read is reported and skipped; the others go on. Returns the number of errors.
int32_t UninstallAddons(AddonHost& host, const MArray<MString>& recordPaths);

}  // namespace kx
