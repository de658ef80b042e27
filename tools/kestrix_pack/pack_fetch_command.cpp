#include "kestrix_pack/pack_fetch_command.h"

#include <cstdio>
#include <memory>
#include <string>

#include "common/progress_line.h"
#include "common/tool_run.h"
#include "foundation/core/exception.h"
#include "foundation/files/file_ops.h"
#include "foundation/files/path_text.h"
#include "foundation/streams/file_stream.h"
#include "foundation/text/format.h"
#include "foundation/threads/lock.h"
#include "transfer/download_host.h"
#include "transfer/download_thread.h"
#include "transfer/file_item.h"
#include "foundation/streams/security_info.h"

namespace kx {
namespace {

constexpr int32_t kDefaultTries = 20;
constexpr int32_t kMaxTries = 1000000;

struct FetchRequest {
  MString server;
  MString remotePath;
  MString folder;
  int32_t tries = kDefaultTries;
  bool fresh = false;
  bool quiet = false;
};

bool ParseTries(const std::string& text, int32_t& tries) {
  if (text.empty() || text.size() > 7) return false;
  int32_t value = 0;
  for (char digit : text) {
    if (digit < '0' || digit > '9') return false;
    value = value * 10 + (digit - '0');
  }
  if (value < 1 || value > kMaxTries) return false;
  tries = value;
  return true;
}

bool Parse(int argc, char** argv, FetchRequest& request) {
  bool hasServer = false, hasFolder = false, hasPath = false, hasTries = false;
  for (int i = 2; i < argc; ++i) {
    std::string argument = argv[i];
    bool hasValue = i + 1 < argc;
    if (argument == "--server" && hasValue && !hasServer) {
      request.server = FromSystem(argv[++i]);
      hasServer = IsServerHostText(request.server);
      if (!hasServer) return false;
    } else if (argument == "--dest" && hasValue && !hasFolder) {
      request.folder = FromSystem(argv[++i]);
      hasFolder = !request.folder.IsEmpty();
      if (!hasFolder) return false;
    } else if (argument == "--tries" && hasValue && !hasTries) {
      if (!ParseTries(argv[++i], request.tries)) return false;
      hasTries = true;
    } else if (argument == "--fresh" && !request.fresh) {
      request.fresh = true;
    } else if (!hasPath && argument.size() > 1 && argument[0] == '/') {
      request.remotePath = FromSystem(argument);
      hasPath = true;
    } else {
      return false;
    }
  }
  return hasServer && hasFolder && hasPath;
}

// The program's host reduced to one package: the item to fetch, kept in the
// destination folder.
class FetchHost : public DownloadHost {
 public:
  FetchHost(const FetchRequest& request, InstallableItem& item) : folder_(request.folder) {
    endpoints_.MainServer = request.server;
    endpoints_.AddonServer = request.server;
    packages_.Add(&item);
  }
  MLockable& MainLock() override { return lock_; }
  const MArray<InstallableItem*>& Packages() override { return packages_; }
  const MArray<InstallableItem*>& Addons() override { return addons_; }
  const TransferEndpoints& Endpoints() override { return endpoints_; }
  MString PackageFolder() override { return folder_; }
  MString AddonFolder() override { return folder_; }

 private:
  MCriticalSection lock_;
  MArray<InstallableItem*> packages_;
  MArray<InstallableItem*> addons_;
  TransferEndpoints endpoints_;
  MString folder_;
};

// Blocks before `end` were on disk before the last step; they are proved here, so
// that success always means every block was proved.
void ProveOnDisk(const MString& path, const MString& md5Path, int64_t end) {
  MSecurityInfo info;
  info.Load(md5Path);
  if (MFile::GetFileSize(path) != info.totalSize || !info.CoversAllBlocks())
    throw MException(MFormat("\"{0}\" does not match its security info.").Add(path));
  MFileStream file(path, MFileStream::kModeRead);
  std::unique_ptr<uint8_t[]> block(new uint8_t[MSecurityInfo::kBlockSize]);
  for (int64_t at = 0; at < end; at += MSecurityInfo::kBlockSize) {
    int64_t size = std::min(MSecurityInfo::kBlockSize, info.totalSize - at);
    file.ReadExact(block.get(), size);
    if (!info.MatchesBlock(at / MSecurityInfo::kBlockSize, block.get(), size))
      throw MException(MFormat("Block {0} of \"{1}\" does not match its digest.")
                           .Add(at / MSecurityInfo::kBlockSize)
                           .Add(path));
  }
}

int Fetch(const FetchRequest& request) {
  FileItem item(request.remotePath, true);
  item.Selected = request.fresh;
  FetchHost host(request, item);
  DownloadThread thread(host);
  MString printed;
  // On a terminal the status redraws one progress line, whose text already tells
  // the speed and the time remaining; elsewhere each new status is a line of its own.
  ProgressLine progress(request.quiet);
  thread.Status.onChange = [&](const MString& text, double) {
    if (text == printed) return;
    printed = text;
    if (progress.Enabled()) {
      progress.Update(ToStd(text), 0, 0, ProgressLine::Measure::kStatus);
      return;
    }
    std::printf("%s\n", ToStd(text).c_str());
    std::fflush(stdout);
  };

  bool done = false;
  for (int32_t step = 1; step <= request.tries && !done; ++step) {
    if (step > 1) thread.Pause(DownloadThread::kPackagePollInterval);
    thread.Step();
    MLock hold(host.MainLock());
    done = item.Downloaded && !item.Download;
    if (!done && !item.Download) break;  // the item was stopped: no try can help
  }
  progress.Finish();
  if (done) {
    const TransferReport& report = thread.LastTransfer();
    int64_t unproved = report.startOffset < 0 ? report.total : report.startOffset;
    try {
      if (unproved > 0) ProveOnDisk(report.localPath, report.localPath + MString(".md5"), unproved);
      return 0;
    } catch (const MException& failure) {
      printed = failure.message;
    }
  }
  std::fprintf(stderr, "%s\n", ToStd(printed.IsEmpty() ? thread.Status.Text() : printed).c_str());
  return 1;
}

}  // namespace

bool IsPackFetchCommand(const char* command) {
  return command && std::string(command) == "fetch";
}

int RunPackFetchCommand(int argc, char** argv, bool quiet) {
  FetchRequest request;
  if (!Parse(argc, argv, request)) return kExitWrongUsage;
  request.quiet = quiet;
  try {
    return Fetch(request);
  } catch (const MException& failure) {
    std::fprintf(stderr, "%s\n", ToStd(failure.message).c_str());
  }
  return 1;
}

}  // namespace kx
