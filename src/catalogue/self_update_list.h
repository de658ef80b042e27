// The self-update list (tree `SelfUpdateList`): which setup of this program the
// server offers.
//
//   <SelfUpdateList>
//     <kestrix_installers>
//       <item name="AVAILABLE_VERSIONS_PC">
//         <kestrix version="3.2.1" setupname="kestrix-3.2.1-setup"/>
//       </item>
//     </kestrix_installers>
//   </SelfUpdateList>
//
// Below the root's `kestrix_installers` children, the item of the platform (by
// its `name` attribute, or failing that its element name) is walked depth first
// in order, and the first element named "kestrix" that no sibling of that name
// follows (the newest, as entries are appended) gives `version` and `setupname`,
// both required. When there is none, the log
// receives "No corresponding Kestrix version found in KESTRIXDATABASE! XML is
// corrupted. " and the same text without the trailing blank is thrown. A
// `setupname` that would leave the download folder (absolute, or with a ".."
// component) throws "Setup name \"{0}\" leads outside the download folder.".
#pragma once

#include "foundation/text/text_string.h"

namespace kx {

class MXMLItem;

struct SelfUpdateEntry {
  MXMLItem* node = nullptr;
  MString version;
  MString setupName;
};

// The item this build reads and the name of its setups ({0}: the version). The
// Windows build's are "AVAILABLE_VERSIONS_PC" and "Kestrix_{0}_setup.exe".
inline constexpr const char* kSelfUpdatePlatformItem = "AVAILABLE_VERSIONS_LINUX";
inline constexpr const char* kSetupNamePattern = "Kestrix_{0}_setup.run";

SelfUpdateEntry FindSelfUpdateEntry(MXMLItem& list,
                                    const char* platformItem = kSelfUpdatePlatformItem);

}  // namespace kx
