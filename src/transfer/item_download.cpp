// The item download. The order of its steps, its texts and the flags it leaves
// are what the GUI, the package run and the next step rely on; the comments say
// why where the reason is not the order itself.
#include "transfer/item_download.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <exception>

#include "catalogue/installable_item.h"
#include "foundation/core/exception.h"
#include "foundation/core/log.h"
#include "foundation/core/run_state.h"
#include "foundation/files/file_ops.h"
#include "foundation/files/path_text.h"
#include "foundation/streams/file_stream.h"
#include "foundation/text/format.h"
#include "foundation/threads/lock.h"
#include "transfer/block_file.h"
#include "transfer/block_writer.h"
#include "transfer/download_file.h"
#include "transfer/download_host.h"
#include "transfer/download_thread.h"
#include "transfer/http_stream.h"

namespace kx {
namespace {

constexpr int64_t kBlock = MSecurityInfo::kBlockSize;
constexpr int32_t kRedirects = 5;
constexpr int32_t kTickRing = 32;
constexpr int32_t kCorruptInfoPause = 500;

int64_t NowMilliseconds() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

// The security info goes to its file through this: a body longer than any security
// info can be is cut off with a failure instead of filling the disk.
class CappedTarget : public MStream {
 public:
  explicit CappedTarget(MStream& target) : target_(target) {}
  void Write(const void* data, int64_t size) override {
    written_ += size;
    if (written_ > MSecurityInfo::kMaxTextSize)
      throw MException(MString("Security info is too large."));
    target_.Write(data, size);
  }

 private:
  MStream& target_;
  int64_t written_ = 0;
};

// A name that could leave the folder it is joined to.
bool IsUnsafeComponent(const MString& name) {
  return name.IsEmpty() || name == MString(".") || name == MString("..") ||
         name.FindChar('\\') >= 0;
}

bool HasParentComponent(const MString& folder) {
  MArray<MString> parts;
  folder.Split('/', parts);
  for (const MString& part : parts)
    if (part == MString("..")) return true;
  return false;
}

}  // namespace

ItemDownload::ItemDownload(DownloadThread& thread, InstallableItem& item)
    : thread_(thread), host_(thread.Host()), item_(item) {}

ItemDownload::~ItemDownload() = default;

void ItemDownload::Run() {
  try {
    if (Begin() && FetchSecurityInfo() && ReadSecurityInfo()) {
      UseLocalSource();
      if (DecideResume()) {
        if (have_ == info_.totalSize) {
          Complete(false);
        } else if (Transfer()) {
          Complete(true);
        }
      }
    }
  } catch (const MException& failure) {
    Fail(failure.message);
  } catch (const std::exception& failure) {
    Fail(MString::FromUTF8(failure.what()));
  }
  // Whatever happened, the item is no longer in transfer.
  thread_.CurrentItem.store(nullptr);
  {
    MLock hold(host_.MainLock());
    if (item_.Downloading) {
      item_.Downloading = false;
      item_.Save();
    }
  }
  file_.reset();
  if (!localPath_.IsEmpty()) report_.fileEnd = MFile::GetFileSize(localPath_);
}

// ---------------------------------------------------------------- beginning

bool ItemDownload::Begin() {
  thread_.PollInterval.store(item_.IsPackage() ? DownloadThread::kPackagePollInterval
                                               : DownloadThread::kIdlePollInterval);
  {
    MLock hold(host_.MainLock());
    item_.MarkDownloading();
    selected_ = item_.Selected;
  }
  thread_.CurrentItem.store(&item_);
  host_.SetBusyIndicator(true);

  label_ = host_.ItemLabel(item_);
  MLog::Line(MString("\nSTARTING DOWNLOAD FOR ITEM ") + label_);
  const TransferEndpoints& endpoints = host_.Endpoints();
  const MString remoteFile = item_.GetRemoteFile();
  url_ = ServerUrl(item_.IsPackage() ? endpoints.MainServer : endpoints.AddonServer, remoteFile);

  const MString fileName = GetFileName(remoteFile);
  const MString localFolder = item_.GetLocalFolder(false);
  if (IsUnsafeComponent(fileName) || HasParentComponent(localFolder)) {
    // No later step can repair the name: the item stops instead of being retried.
    {
      MLock hold(host_.MainLock());
      item_.Download = false;
      item_.Downloading = false;
      item_.Save();
    }
    thread_.Status.Set(MFormat("Invalid file name \"{0}\" for {1}.").Add(remoteFile).Add(label_));
    return false;
  }
  const MString base = item_.IsPackage() ? host_.PackageFolder() : host_.AddonFolder();
  const MString folder = localFolder.IsEmpty() ? base : JoinPath(base, localFolder);
  MFile::CreatePath(folder);
  localPath_ = JoinPath(folder, fileName);
  md5Path_ = localPath_ + MString(".md5");
  report_.localPath = localPath_;
  MLog::Line(MString("  url ") + url_);
  MLog::Line(MString("  md5 path ") + md5Path_);
  return true;
}

// ---------------------------------------------------------------- security info

bool ItemDownload::FetchSecurityInfo() {
  const bool present = MFile::IsFile(md5Path_);
  if (!selected_ && present) return true;
  if (OfflineMode && !item_.IsPackage() && !present) {
    EndInOfflineMode(MString("Cannot download ") + item_.GetName() +
                     MString(" addon in offline mode. Addon is not present in offline installation "
                             "data. You have to i.e. install this addon manually by clicking "
                             "button 'Install manually/3rd party addons', or include it in "
                             "offline installation data."));
    return false;
  }

  thread_.Status.Set(MFormat("Downloading security info for {0}...").Add(label_));
  MString error;
  try {
    MFileStream md5(md5Path_, MFileStream::kModeCreate);
    CappedTarget capped(md5);
    DownloadFile(host_.Endpoints(), error, item_.GetRemoteMD5File(), capped, true);
    if (error.IsEmpty() && md5.GetSize() < 1) error = "Security info is empty.";
    md5.Close();
  } catch (const MException& failure) {
    if (error.IsEmpty()) error = failure.message;
  }
  if (error.IsEmpty()) return true;

  if (MFile::IsFile(md5Path_)) MFile::Delete(md5Path_);
  SetFlags(false, false);
  MString text = MFormat("Cannot download security info for {0} ({1})").Add(label_).Add(error);
  thread_.Status.Set(text);
  MLog::Line(MString("   ") + text);
  // Download stays set: the next step tries again.
  return false;
}

bool ItemDownload::ReadSecurityInfo() {
  bool readable = true;
  try {
    info_.Load(md5Path_);
    // A list that cannot prove every block would fail at that block on every
    // try; it is as corrupt as an unreadable one and is fetched anew.
    if (!info_.CoversAllBlocks()) throw MException(MString("Security info is damaged."));
  } catch (const MException&) {
    readable = false;
  }
  if (readable && info_.totalSize > 0) {
    report_.total = info_.totalSize;
    return true;
  }
  if (MFile::IsFile(md5Path_)) MFile::Delete(md5Path_);
  if (!readable) {
    MString text = MFormat("Corrupt security info for {0}, trying to re-download!").Add(label_);
    thread_.Status.Set(text);
    MLog::Line(MString("   ") + text);
    thread_.Pause(kCorruptInfoPause);
  } else {
    thread_.Status.Set(MFormat("Corrupt security info for {0}.").Add(label_));
    MLog::Line(MFormat("   Corrupt security info for {0}.").Add(label_));
  }
  return false;
}

// Add-ons may come from the override folder in place: the file there is the local
// file.
void ItemDownload::UseLocalSource() {
  const MString& folder = host_.Endpoints().DownloadOverrideFolder;
  if (folder.IsEmpty() || item_.IsPackage()) return;
  int32_t at = url_.FindNoCase(MString("/download/"));
  if (at < 0) throw MException(MFormat("Weird non-local url {0}!").Add(url_));
  MString path = JoinPath(folder, url_.Mid(at + 10));
  if (!MFile::IsFile(path)) throw MException(MFormat("Local file {0} does not exist!").Add(path));
  localPath_ = path;
  report_.localPath = path;
}

// ---------------------------------------------------------------- resume

bool ItemDownload::DecideResume() {
  const int64_t total = info_.totalSize;
  const MString offlineText =
      MString("Cannot download ") + item_.GetName() +
      MString(
          " addon in offline mode. You have to install this addon manually by clicking button "
          "'Install manually/3rd party addons'.");
  if (selected_ || !MFile::IsFile(localPath_)) {
    if (OfflineMode && !item_.IsPackage()) {
      EndInOfflineMode(offlineText);
      return false;
    }
    MFileStream(localPath_, MFileStream::kModeCreate).Close();
    have_ = 0;
    return true;
  }

  MFileStream file(localPath_, MFileStream::kModeUpdate);
  have_ = file.GetSize();
  MLog::Line(MFormat("  already exists, {0} bytes").Add(have_));
  if (OfflineMode && !item_.IsPackage() && have_ != total) {
    EndInOfflineMode(offlineText);
    return false;
  }
  if (have_ == total) {
    thread_.Status.Set(MFormat("Download of {0} finished succesfully").Add(label_), true,
                       item_.IsPackage() ? item_.MapProgress(1.0, 1.0) : 1.0);
    MLog::Line(MString("  finished!"));
    return true;
  }
  if (have_ > total || have_ % kBlock != 0) {
    // Only whole blocks were ever proved: anything past the last one is cut.
    MLog::Line(MFormat("  too big or incorrect size, {0} bytes").Add(have_));
    have_ = std::min(have_, total) / kBlock * kBlock;
    MLog::Line(MFormat("  fixing to {0} bytes").Add(have_));
    file.Seek(have_, kSeekBegin);
    file.Truncate();
  }
  file.Close();
  return true;
}

// ---------------------------------------------------------------- transfer

double ItemDownload::ProgressValue() const {
  const double total = static_cast<double>(info_.totalSize);
  return item_.IsPackage() ? item_.MapProgress(static_cast<double>(have_), total)
                           : static_cast<double>(have_) / total;
}

bool ItemDownload::Transfer() {
  report_.startOffset = have_;
  MHTTPStream stream;
  MLog::Line(MString("\nDownloading file ") + url_);
  stream.Open(url_);
  // Registered for the time of the transfer, so that a close request can cut it.
  struct Registration {
    DownloadThread& thread;
    ~Registration() { thread.SetActiveStream(nullptr); }
  } registration{thread_};
  thread_.SetActiveStream(&stream);
  stream.AddHeader("Range", MFormat("bytes={0}-").Add(have_));
  if (!stream.Send(kRedirects)) throw MException(HTTPErrorText(stream));

  if (item_.IsPackage())
    thread_.Status.Set(MFormat("Downloading package {0}...").Add(label_), true, ProgressValue());
  else
    thread_.Status.Set(MFormat("Downloading {0}...").Add(label_), true, 0.0);
  int64_t ticks[kTickRing];
  std::fill(std::begin(ticks), std::end(ticks), NowMilliseconds());

  const int64_t total = info_.totalSize;
  file_ = std::make_unique<MBlockFile>(localPath_, have_);
  MBlockWriter writer(*file_, info_, have_, thread_.TransferBuffer.get());
  int64_t blocks = 0;
  int32_t slot = 0;
  while (have_ < total) {
    if (thread_.IsClosing()) throw MException(MString("Download manager is being closed."));
    {
      MLock hold(host_.MainLock());
      if (!item_.Download && !host_.HasPendingUpdate(item_))
        throw MException(MString("Download has been stopped."));
    }
    // Never more than the block holds: bytes past the total are not read at all.
    const int64_t want = std::min(kBlock, total - have_);
    uint8_t* buffer = writer.NextBuffer();
    const int64_t got = stream.Read(buffer, want);
    if (got < want) {
      if (thread_.IsClosing()) throw MException(MString("Download manager is being closed."));
      throw MException(MString("Server has disconnected."));
    }
    // While the helper still hashes, this thread proves the block itself: the
    // hashing, the dearest part, runs on two processors.
    const bool proveHere = writer.ShouldProveHere();
    if (proveHere && !info_.MatchesBlock(have_ / kBlock, buffer, got))
      throw MException(MString(MBlockWriter::kInvalidData));
    writer.Submit(got, proveHere);
    have_ += got;

    const int64_t now = NowMilliseconds();
    thread_.Status.Set(
        BlockStatusText(item_.IsPackage(), label_, blocks, have_, total, now - ticks[slot]), true,
        ProgressValue());
    ticks[slot] = now;
    slot = (slot + 1) % kTickRing;
    ++blocks;
    if (ShouldYield()) {
      writer.Finish();
      file_->Close();
      SetFlags(false, false);
      report_.yielded = true;
      return false;
    }
  }
  writer.Finish();
  return true;
}

MString BlockStatusText(bool isPackage, const MString& label, int64_t blocks, int64_t have,
                        int64_t total, int64_t sinceTick) {
  const MString kind = isPackage ? MString("package ") : MString();
  const int64_t megabytes = have / kBlock;
  if (blocks < kTickRing - 1)
    return MFormat("Downloading {0}{1} ... downloaded {2} MB").Add(kind).Add(label).Add(megabytes);
  // 32 blocks of a mebibyte in `sinceTick` milliseconds.
  const double speed = 32000.0 / static_cast<double>(std::max<int64_t>(sinceTick, 1));
  const double remaining = static_cast<double>(total - have) / kBlock;
  return MFormat("Downloading {0}{1} ... {2.2} MB/s, downloaded {3} MB, remaining {4}")
      .Add(kind)
      .Add(label)
      .Add(speed)
      .Add(megabytes)
      .Add(FormatDuration(std::llround(remaining / speed)));
}

// An add-on gives way to package work, offline work and add-on removal; a package
// only to a cancelled offline creation. The file stays for a later resume.
bool ItemDownload::ShouldYield() {
  bool yield = thread_.OfflineCancel.load();
  if (!item_.IsPackage() && !yield) {
    MLock hold(host_.MainLock());
    yield = host_.IsPackageWorkPending() || thread_.OfflinePhase.load() == 2 ||
            thread_.AddonUninstallPending.load();
  }
  if (yield && thread_.OfflineCancel.load()) thread_.OfflinePhase.store(2);
  return yield;
}

// ---------------------------------------------------------------- endings

void ItemDownload::Complete(bool saveSettings) {
  if (file_) file_->Close();
  const MString kind = item_.IsPackage() ? MString("package ") : MString();
  thread_.Status.Set(
      MFormat("Downloading {0}{1} ... downloading finished sucessfully.").Add(kind).Add(label_));
  bool install = false;
  {
    MLock hold(host_.MainLock());
    item_.Download = false;
    item_.Downloading = false;
    item_.Downloaded = true;
    item_.Selected = false;
    item_.Save();
    install = item_.Install;
  }
  report_.complete = true;
  if (install) {
    if (item_.IsPackage())
      host_.RunPackageInstall(item_);
    else
      host_.InstallAddon(item_, localPath_);
  } else if (!item_.IsPackage()) {
    host_.AdvanceAddonUpdate(item_);
    thread_.Status.Set(MFormat("Download of {0} finished succesfully").Add(label_), true, 0.0);
  }
  thread_.CurrentItem.store(nullptr);
  {
    MLock hold(host_.MainLock());
    item_.Save();
  }
  if (saveSettings) host_.SavePackageSettings();
}

void ItemDownload::Fail(const MString& message) {
  // The file is closed first: it holds whole proved blocks, and nothing may be
  // added to it after the failure.
  try {
    if (file_) file_->Close();
  } catch (const MException&) {
  }
  MLog::Line(MFormat("  Exception {0} ").Add(message));
  thread_.Status.Set(message);
  SetFlags(false, false);
}

void ItemDownload::EndInOfflineMode(const MString& text) {
  thread_.CurrentItem.store(nullptr);
  {
    MLock hold(host_.MainLock());
    item_.Download = false;
    item_.Downloading = false;
    item_.Install = true;
    item_.Save();
  }
  thread_.Status.Set(text);
}

void ItemDownload::SetFlags(bool downloading, bool downloaded) {
  MLock hold(host_.MainLock());
  item_.Downloading = downloading;
  item_.Downloaded = downloaded;
  item_.Save();
}

}  // namespace kx
