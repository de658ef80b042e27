// DownloadThread: the one worker that does all long work of the program in turn.
// The GUI only sets wishes on the items (Download, Install, an uninstall request)
// and queues add-on files; the thread finds them by polling.
//
// Execute: until the thread is told to end (Stop, or a close request), sleep
// PollInterval milliseconds, then do one Step under a guard. A Step does exactly
// one of these, the first that applies:
//   1. a queued add-on file is installed (InstallAddonFile), or a pending add-on
//      removal runs (UninstallAddons), under the add-on queue lock's say;
//   2. the first package that wants a download or its removal: removal goes to the
//      host, a download to the item download (item_download.h);
//   3. offline work: with OfflineCancel set or OfflinePhase 2, the offline copy,
//      then the offline work is finished and the phase cleared;
//   4. the first add-on that wants a download goes to the item download;
//   5. nothing: the busy indicator goes off and PollInterval back to 500.
// Add-ons do not want a download while package work runs, so packages come
// first; an add-on in transfer yields to package work between two blocks.
//
// Locks, when nested, in this order: AddonQueueLock, then the host's main lock;
// the status has a lock of its own. The fields below are the thread's state that
// the GUI reads or sets; the atomic ones need no lock.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "foundation/containers/containers.h"
#include "foundation/text/text_string.h"
#include "foundation/threads/lock.h"
#include "foundation/threads/thread.h"
#include "transfer/block_file.h"
#include "transfer/item_download.h"
#include "transfer/transfer_status.h"

namespace kx {

class DownloadHost;
class InstallableItem;
class MSocketStream;

class DownloadThread : public MThread {
 public:
  static constexpr int32_t kIdlePollInterval = 500;
  static constexpr int32_t kPackagePollInterval = 1;
  static constexpr int64_t kBlockSize = 1048576;

  explicit DownloadThread(DownloadHost& host);
  // Ends a running thread (as End does) and waits for it.
  ~DownloadThread() override;

  int32_t Execute() override;
  // One step of the loop, on the calling thread; tools and tests call it directly.
  void Step();

  // Asks the running work to stop: adds 1 to CloseRequests, which ends a transfer
  // at its next block and the loop after the step, and cuts a transfer that waits
  // for the server.
  void RequestClose();
  // Stop and a close request: the thread ends as soon as it can.
  void End();
  // Ends the current sleep, so that a new wish is seen at once.
  void Wake();
  // Sleeps up to `milliseconds`; false when the thread is told to end meanwhile.
  bool Pause(int32_t milliseconds);
  bool IsClosing() const { return StopRequested() || CloseRequests.load() > 0; }

  DownloadHost& Host() const { return host_; }
  // What the last item download of this thread did.
  const TransferReport& LastTransfer() const { return lastTransfer_; }

  // Milliseconds of sleep before each step: 500 idle or while an add-on
  // transfers, 1 while a package transfers or is removed.
  std::atomic<int32_t> PollInterval{kIdlePollInterval};
  // The item in transfer; the GUI reads it for the row's status.
  std::atomic<InstallableItem*> CurrentItem{nullptr};
  // The one block buffer of all transfers.
  const MBlockBuffer TransferBuffer;
  // Above 0: the download manager is closing.
  std::atomic<int32_t> CloseRequests{0};
  // Offline data: the work is to stop; the phase (0 idle, 1 downloading, 2 ready
  // for the copy); the copy succeeded.
  std::atomic<bool> OfflineCancel{false};
  std::atomic<int32_t> OfflinePhase{0};
  std::atomic<bool> OfflineFolderReady{false};
  // Add-on files to install by hand, and the pending removal of add-ons; both
  // changed under AddonQueueLock.
  MCriticalSection AddonQueueLock;
  MArray<MString> AddonInstallQueue;
  std::atomic<bool> AddonUninstallPending{false};
  // The status line and bar value.
  MTransferStatus Status;

 private:
  friend class ItemDownload;
  // The connection of the transfer under way, for RequestClose to cut.
  void SetActiveStream(MSocketStream* stream);
  bool RunAddonQueue();
  void RunOfflineWork();
  void DownloadItem(InstallableItem& item);

  DownloadHost& host_;
  MCriticalSection streamLock_;
  MSocketStream* activeStream_ = nullptr;  // under streamLock_
  std::atomic<bool> wake_{false};
  TransferReport lastTransfer_;
};

}  // namespace kx
