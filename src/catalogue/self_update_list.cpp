#include "catalogue/self_update_list.h"
#include "catalogue/definition_keys.h"

#include "catalogue/settings_node.h"
#include "foundation/core/exception.h"
#include "foundation/text/format.h"
#include "foundation/core/log.h"
#include "foundation/files/path_text.h"
#include "foundation/xml/xml_item.h"
#include "foundation/xml/xml_iterator.h"

namespace kx {
namespace {

const MXMLName kInstallers("kestrix_installers");
const MXMLName kKestrix("kestrix");
const MXMLName kVersion("version");
const MXMLName kSetupName("setupname");
bool IsPlatformItem(const MXMLItem& item, const char* platformItem) {
  if (HasSetting(item, kName))
    return ReadSettingString(item, kName, MString()).EqualsNoCase(platformItem);
  return item.name.EqualsNoCase(platformItem);
}

bool HasFollowingKestrix(const MXMLItem& item) {
  for (const MXMLItem* at = item.next; at; at = at->next)
    if (kKestrix.MatchesText(at->name)) return true;
  return false;
}

// The newest "kestrix" element below `item`: depth first in file order, the first
// one that no sibling of its name follows (entries are appended as they come out).
MXMLItem* FindKestrixElement(MXMLItem& item) {
  MXMLIterator walk;
  for (MXMLItem* at = walk.Begin(item); at; at = walk.Next()) {
    if (at != &item && kKestrix.MatchesText(at->name) && !HasFollowingKestrix(*at)) return at;
  }
  return nullptr;
}

}  // namespace

SelfUpdateEntry FindSelfUpdateEntry(MXMLItem& list, const char* platformItem) {
  for (MXMLItem& installers : MXMLNameIterator(list, kInstallers)) {
    for (MXMLItem* item = installers.firstSubItem; item; item = item->next) {
      if (!IsPlatformItem(*item, platformItem)) continue;
      MXMLItem* found = FindKestrixElement(*item);
      if (!found) continue;
      SelfUpdateEntry entry;
      entry.node = found;
      entry.version = found->GetAttribute(kVersion).AsString();
      entry.setupName = found->GetAttribute(kSetupName).AsString();
      // The name becomes a file in the download folder and must stay there.
      if (!IsContainedPath(entry.setupName))
        throw MException(MFormat("Setup name \"{0}\" leads outside the download folder.")
                             .Add(entry.setupName));
      return entry;
    }
  }
  MLog::Line(
      MFormat("No corresponding Kestrix version found in KESTRIXDATABASE! XML is corrupted. "));
  throw MException(
      MFormat("No corresponding Kestrix version found in KESTRIXDATABASE! XML is corrupted."));
}

}  // namespace kx
