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
// Below the root's `kestrix_installers` children, the item named
// AVAILABLE_VERSIONS_PC (by its `name` attribute, or failing that its element
// name) is walked depth first in order, and the first element named "kestrix"
// gives `version` and `setupname`, both required. When there is none, the log
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

SelfUpdateEntry FindSelfUpdateEntry(MXMLItem& list);

}  // namespace kx
