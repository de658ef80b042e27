// The self-update check: the server's list of this program's setups against the
// running version, and the setup fetched into the add-on download folder when the
// two differ. Versions are compared for equality only, without case: the server's
// entry wins, so a lower version there is a downgrade.
//
// In order:
//   1. the list "/download/KESTRIXDATABASE.xml" (not in OfflineMode, where the
//      tree as given is used): a failed download, a text that is no tree, or no
//      entry for this platform tell "Could not download Kestrix version list -
//      KESTRIXDATABASE.xml.\nPlease check your internet connection.\n\n" with the
//      reason, and the program counts as up to date;
//   2. the newest entry (self_update_list.h) against `installedVersion`, logged;
//   3. without `autoUpdate` the user is asked; a no counts as up to date;
//   4. status "Performing Kestrix self update...", the setup's path is the
//      download folder joined with `setupname`; a file already there is taken as
//      it is (no size or digest is known for a setup), else it is fetched from
//      "/download/kestrix/<setupname>" of the main server and written there;
//   5. the setup is made executable, ready for the launch with "/silent /run".
// A failed download leaves the program not up to date: the launch then fails
// for the missing file, and says so.
#pragma once

#include <functional>

#include "foundation/text/text_string.h"

namespace kx {

class MXMLItem;
struct TransferEndpoints;

struct SelfUpdateRequest {
  MString installedVersion;
  MString downloadFolder;
  bool autoUpdate = true;
  // The status line.
  std::function<void(const MString&)> status;
};

struct SelfUpdateResult {
  bool upToDate = true;
  MString availableVersion;
  MString setupPath;
};

SelfUpdateResult CheckSelfUpdate(const TransferEndpoints& endpoints, MXMLItem& list,
                                 const SelfUpdateRequest& request);

// The server's list "/download/KESTRIXDATABASE.xml" into `list`; empty, or why not.
MString FetchSelfUpdateList(const TransferEndpoints& endpoints, MXMLItem& list);
// The setup "/download/kestrix/<setupName>" of the main server written to `path`
// and made executable; empty, or why not (nothing is written then).
MString FetchSetup(const TransferEndpoints& endpoints, const MString& setupName, const MString& path);

}  // namespace kx
