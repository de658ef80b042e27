#include "catalogue/addon_paths.h"

#include "catalogue/path_macros.h"
#include "foundation/core/exception.h"
#include "foundation/files/data_paths.h"
#include "foundation/files/file_ops.h"
#include "foundation/files/path_text.h"
#include "foundation/xml/xml_item.h"

namespace kx {
namespace {

MString Fallback(const PathMacros* macros, const char* macro, const char* folder) {
  if (macros) {
    const MString expanded = macros->Expanded(MString(macro));
    if (expanded != MString(macro)) return expanded;
  }
  const MString documents = GetFolder(kFolderUserDocuments);
  return documents.IsEmpty() ? MString() : JoinPath(documents, MString(folder));
}

}  // namespace

AddonContentPaths ResolveAddonContentPaths(const PathMacros* macros) {
  AddonContentPaths paths;
  const MString shared = GetDataPath_User(MString("GPU.xml"), false);
  if (!shared.IsEmpty() && MFile::IsFile(shared)) {
    try {
      MXMLItem settings;
      settings.LoadFile(shared);
      paths.samples = settings.GetAttributeText(MXMLName("SampleRoot"));
      paths.factory = settings.GetAttributeText(MXMLName("FactoryRoot"));
    } catch (const MException&) {
    }
  }
  if (paths.samples.IsEmpty())
    paths.samples = Fallback(macros, "{tonvaultsamples}", "Vorlund/Tonvault Samples");
  if (paths.factory.IsEmpty())
    paths.factory = Fallback(macros, "{kitvaultfactory}", "Vorlund/Kitvault Factory");
  return paths;
}

MString AddonRecordFolder(const MString& dataFolder) {
  return JoinPath(dataFolder, MString("InstalledAddons"));
}

}  // namespace kx
