#include "foundation/files/registry_key.h"

#include "foundation/core/exception.h"

namespace kx {

void MRegistryKey::Open(MRegistryRoot, const MString& subkeyPath) {
  Close();
  throw MException(MString("Cannot open registry key ") + subkeyPath);
}

void MRegistryKey::Open(const MRegistryKey&, const MString& subkeyPath) {
  Close();
  throw MException(MString("Cannot open registry key ") + subkeyPath);
}

void MRegistryKey::GetValue(const MString& name, MString& result) const {
  // Never open on this system; the check stays so the contract reads the same.
  throw MException(MString("Cannot get registry value ") + name);
}

}  // namespace kx
