// MRegistryKey: one open key of a system registry, closed at destruction.
//
// Linux has no registry, so no key can be opened here: Open throws
// "Cannot open registry key " with the key's name appended, and GetValue on a key
// that is not open throws "Cannot get registry value " with the value's name
// appended. Code that reads the registry thus takes its ordinary "not found" path
// (see MFile::GetSoftwareInstallationPath).
#pragma once

#include "foundation/text/text_string.h"

namespace kx {

enum class MRegistryRoot { kLocalMachine, kCurrentUser };

class MRegistryKey {
 public:
  MRegistryKey() = default;
  ~MRegistryKey() { Close(); }
  MRegistryKey(const MRegistryKey&) = delete;
  MRegistryKey& operator=(const MRegistryKey&) = delete;

  // Opens `subkeyPath` below `parent` for reading.
  void Open(MRegistryRoot parent, const MString& subkeyPath);
  // Opens `subkeyPath` below another open key.
  void Open(const MRegistryKey& parent, const MString& subkeyPath);
  // String values give their text, numbers their decimal text.
  void GetValue(const MString& name, MString& result) const;
  bool IsOpen() const { return open_; }
  void Close() { open_ = false; }

 private:
  bool open_ = false;
};

}  // namespace kx
