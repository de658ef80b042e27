#include "transfer/download_thread.h"

#include <algorithm>
#include <chrono>
#include <thread>

#include "catalogue/installable_item.h"
#include "foundation/core/exception.h"
#include "foundation/core/log.h"
#include "foundation/text/format.h"
#include "transfer/download_host.h"
#include "transfer/socket_stream.h"

namespace kx {
namespace {

// Sleeps are cut into slices so that an end or a wake-up is seen within one.
constexpr int32_t kSleepSlice = 5;

InstallableItem* FirstWanting(const MArray<InstallableItem*>& items, bool orUninstall) {
  for (InstallableItem* item : items)
    if (item->WantsDownload() || (orUninstall && item->IsUninstallRequested())) return item;
  return nullptr;
}

}  // namespace

DownloadThread::DownloadThread(DownloadHost& host)
    : TransferBuffer(NewBlockBuffer(kBlockSize)), host_(host) {}

DownloadThread::~DownloadThread() {
  End();
  Wait(kWaitForever);
}

int32_t DownloadThread::Execute() {
  while (!IsClosing()) {
    if (!Pause(PollInterval.load())) break;
    Guarded("DownloadThread::Step", [&] { Step(); });
  }
  return 0;
}

void DownloadThread::RequestClose() {
  CloseRequests.fetch_add(1);
  MLock hold(streamLock_);
  if (activeStream_) activeStream_->Interrupt();
}

void DownloadThread::End() {
  Stop();
  RequestClose();
}

void DownloadThread::Wake() {
  wake_.store(true);
}

bool DownloadThread::Pause(int32_t milliseconds) {
  const auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
  for (;;) {
    if (IsClosing()) return false;
    if (wake_.exchange(false)) return true;
    const auto now = std::chrono::steady_clock::now();
    if (now >= until) return true;
    std::this_thread::sleep_for(std::min<std::chrono::steady_clock::duration>(
        until - now, std::chrono::milliseconds(kSleepSlice)));
  }
}

void DownloadThread::SetActiveStream(MSocketStream* stream) {
  MLock hold(streamLock_);
  activeStream_ = stream;
  // A close request that came before the registration still cuts the transfer.
  if (stream && CloseRequests.load() > 0) stream->Interrupt();
}

void DownloadThread::Step() {
  if (RunAddonQueue()) return;

  InstallableItem* package = nullptr;
  bool uninstall = false;
  {
    MLock hold(host_.MainLock());
    package = FirstWanting(host_.Packages(), true);
    uninstall = package && package->IsUninstallRequested();
  }
  if (package) {
    if (uninstall) {
      PollInterval.store(kPackagePollInterval);
      host_.UninstallPackage(*package);
    } else {
      DownloadItem(*package);
    }
    return;
  }

  if (OfflineCancel.load() || OfflinePhase.load() == 2) {
    RunOfflineWork();
    return;
  }

  InstallableItem* addon = nullptr;
  {
    MLock hold(host_.MainLock());
    addon = FirstWanting(host_.Addons(), false);
  }
  if (addon) {
    DownloadItem(*addon);
    return;
  }

  host_.SetBusyIndicator(false);
  PollInterval.store(kIdlePollInterval);
  host_.Idle();
}

// The queue is only read under its lock; the work itself runs outside it, so that
// the GUI can go on queueing meanwhile.
bool DownloadThread::RunAddonQueue() {
  MString path;
  bool install = false;
  bool uninstall = false;
  {
    MLock queue(AddonQueueLock);
    if (!AddonInstallQueue.IsEmpty()) {
      path = AddonInstallQueue[0];
      AddonInstallQueue.Remove(0);
      install = true;
    } else if (AddonUninstallPending.load()) {
      MLock hold(host_.MainLock());
      uninstall = host_.HasAddonsToUninstall();
      // A request with nothing to remove is spent: left set, it would make every
      // add-on transfer give way for good.
      if (!uninstall) AddonUninstallPending.store(false);
    }
  }
  if (install) {
    host_.SetBusyIndicator(true);
    host_.InstallAddonFile(path);
  } else if (uninstall) {
    host_.SetBusyIndicator(true);
    host_.UninstallAddons();
    MLock queue(AddonQueueLock);
    MLock hold(host_.MainLock());
    AddonUninstallPending.store(false);
    host_.ClearAddonUninstallList();
  }
  return install || uninstall;
}

void DownloadThread::RunOfflineWork() {
  bool copied = false;
  if (!OfflineCancel.load()) {
    try {
      copied = host_.CopyOfflineData();
    } catch (const MException& failure) {
      MLog::Line(MFormat("  Exception {0} ").Add(failure.message));
    }
  }
  if (copied)
    OfflineFolderReady.store(true);
  else
    Status.Set(MString("Download of offline installation data was cancelled."));
  host_.FinishOfflineWork(copied);
  OfflineCancel.store(false);
  OfflinePhase.store(0);
  host_.SavePackageSettings();
}

void DownloadThread::DownloadItem(InstallableItem& item) {
  ItemDownload download(*this, item);
  download.Run();
  lastTransfer_ = download.Report();
}

}  // namespace kx
