// MFile::GetSoftwareInstallationPath: finding an installation that an older
// generation of setups made.
#include "foundation/core/exception.h"
#include "foundation/files/file_ops.h"
#include "foundation/files/path_text.h"
#include "foundation/files/registry_key.h"

namespace kx {

MString MFile::GetSoftwareInstallationPath(const MString& productName) {
  MString found;
  // The system's register of installed software names the uninstaller; its folder
  // counts when it holds a "setup.state". Linux keeps no such register (the key
  // cannot be opened), and no shared program folder holds those setups, so the
  // search ends with "not found" below.
  Guarded("MFile::GetSoftwareInstallationPath", [&] {
    MRegistryKey uninstall;
    uninstall.Open(MRegistryRoot::kLocalMachine,
                   MString("software\\microsoft\\windows\\currentversion\\uninstall"));
    MRegistryKey product;
    product.Open(uninstall, productName);
    MString uninstallString;
    product.GetValue(MString("UninstallString"), uninstallString);
    MString directory = GetDirectory(FromSystem(uninstallString.ToUTF8String()));
    if (IsInstalledHere(directory)) found = directory;
  });
  if (!found.IsEmpty()) return found;
  throw MException(
      MString("Software installation has not been found. Please use the newest installer."));
}

}  // namespace kx
