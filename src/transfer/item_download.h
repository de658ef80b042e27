// ItemDownload: the transfer of one package or add-on file by the download thread,
// proved block by block against its security info, resumed from what is on disk.
//
// One Run is one step of the thread:
//   1. the item is marked as downloading and becomes CurrentItem; the paths are
//      "<base>/<local folder>/<file>" and "<...>.md5", the file being the remote
//      file's last component (an empty one, "." or "..", or ".." in the local
//      folder stops the item: nothing is written outside the base folder);
//   2. the security info is fetched when it is missing or the item is Selected,
//      then read: it must name a total above 0 and a digest of 32 hexadecimal
//      digits for every block of 1,048,576 bytes;
//   3. the resume decision: a complete file is finished at once, without network;
//      a longer file, or one that ends inside a block, is cut to the last whole
//      block within the total; a Selected item starts a new file;
//   4. the rest is asked for with "Range: bytes=<have>-"; every block is proved by
//      its MD5 before it is written (MBlockWriter), and the status shows the speed
//      over the last 32 blocks and the time remaining;
//   5. between two blocks: a close request or a cleared Download ends the step with
//      a failure; an add-on yields to package and offline work (the step ends, the
//      file is resumed later);
//   6. completion: the flags, then the hand-over to the host (package run, add-on
//      installation, the add-on's next update entry).
// Every failure is caught at the end: the status is the failure's text, the item
// keeps Download, so the next step resumes it. The file then holds whole proved
// blocks only.
#pragma once

#include <cstdint>
#include <memory>

#include "foundation/text/text_string.h"
#include "foundation/streams/security_info.h"

namespace kx {

class DownloadThread;
class DownloadHost;
class InstallableItem;
class MBlockFile;

// What one item download did; read by tools and tests after the step.
struct TransferReport {
  MString localPath;         // the content file, empty when the paths were refused
  int64_t total = -1;        // from the security info; -1 when it was not read
  int64_t startOffset = -1;  // where the block transfer began; -1 when none began
  int64_t fileEnd = -1;      // bytes of the file after the step; -1 when there is none
  bool complete = false;     // the completion step ran
  bool yielded = false;      // an add-on gave way to other work
};

// The status after a block: "Downloading [package ]<label> ... downloaded <n> MB"
// for the first 31 blocks of a transfer (`blocks` counts those before), then with
// the speed over the last 32 blocks, which took `sinceTick` milliseconds, and the
// time that the rest of the total takes at that speed.
MString BlockStatusText(bool isPackage, const MString& label, int64_t blocks, int64_t have,
                        int64_t total, int64_t sinceTick);

class ItemDownload {
 public:
  ItemDownload(DownloadThread& thread, InstallableItem& item);
  ~ItemDownload();
  ItemDownload(const ItemDownload&) = delete;
  ItemDownload& operator=(const ItemDownload&) = delete;

  void Run();
  const TransferReport& Report() const { return report_; }

 private:
  bool Begin();
  bool FetchSecurityInfo();
  bool ReadSecurityInfo();
  void UseLocalSource();
  bool DecideResume();
  bool Transfer();
  bool ShouldYield();
  void Complete(bool saveSettings);
  void Fail(const MString& message);
  void EndInOfflineMode(const MString& text);
  void SetFlags(bool downloading, bool downloaded);
  double ProgressValue() const;

  DownloadThread& thread_;
  DownloadHost& host_;
  InstallableItem& item_;
  MString label_;
  MString url_;
  MString localPath_;
  MString md5Path_;
  bool selected_ = false;
  MSecurityInfo info_;
  std::unique_ptr<MBlockFile> file_;  // while blocks are written
  int64_t have_ = 0;
  TransferReport report_;
};

}  // namespace kx
