// The download thread in a test: a host whose seams record what they were asked.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "foundation/streams/memory_stream.h"
#include "foundation/streams/security_info.h"
#include "foundation/threads/lock.h"
#include "support/failure_capture.h"
#include "support/sandbox.h"
#include "transfer/download_host.h"
#include "transfer/download_thread.h"
#include "transfer/file_item.h"

namespace kx::testing {

constexpr int64_t kBlock = MSecurityInfo::kBlockSize;

inline std::string SecurityInfoOf(const std::string& content) {
  MConstMemoryStream source(content.data(), static_cast<int64_t>(content.size()));
  MMemoryStream text;
  MSecurityInfo::Compute(source).Write(text);
  return std::string(text.Data(), static_cast<size_t>(text.Size()));
}

class RecordingHost : public DownloadHost {
 public:
  explicit RecordingHost(const std::filesystem::path& folder)
      : folder_(MString::FromUTF8(folder.string())) {}

  MLockable& MainLock() override { return lock; }
  const MArray<InstallableItem*>& Packages() override { return packages; }
  const MArray<InstallableItem*>& Addons() override { return addons; }
  const TransferEndpoints& Endpoints() override { return endpoints; }
  MString PackageFolder() override { return folder_; }
  MString AddonFolder() override { return folder_; }
  bool IsPackageWorkPending() override { return packageWorkPending && packageWorkPending(); }
  bool HasAddonsToUninstall() override { return addonsToUninstall; }

  void InstallAddonFile(const MString& path) override { Record("install file ", path); }
  void UninstallAddons() override { Record("uninstall addons", MString()); }
  bool CopyOfflineData() override { return Record("offline copy", MString()), true; }
  void RunPackageInstall(InstallableItem& item) override {
    Record("install package ", item.GetName());
  }
  void AdvanceAddonUpdate(InstallableItem& item) override { Record("advance ", item.GetName()); }

  std::vector<std::string> Trace() {
    std::lock_guard<std::mutex> hold(traceMutex_);
    return trace_;
  }

  MCriticalSection lock;
  MArray<InstallableItem*> packages;
  MArray<InstallableItem*> addons;
  TransferEndpoints endpoints;
  std::function<bool()> packageWorkPending;  // asked under the main lock
  bool addonsToUninstall = false;

 private:
  void Record(const char* call, const MString& name) {
    std::lock_guard<std::mutex> hold(traceMutex_);
    trace_.push_back(call + ToStd(name));
  }

  MString folder_;
  std::mutex traceMutex_;
  std::vector<std::string> trace_;
};

// A thread not started: tests run its steps one by one unless they start it.
class DownloadTest : public ::testing::Test {
 protected:
  DownloadTest() : host(sandbox.Root() / "downloads"), thread(host) {}

  void PointAt(uint16_t port) {
    MString server = MString::FromUTF8("127.0.0.1:" + std::to_string(port));
    host.endpoints.MainServer = server;
    host.endpoints.AddonServer = server;
  }
  std::filesystem::path Local(const std::string& name) const {
    return sandbox.Root() / "downloads" / name;
  }
  void WriteLocal(const std::string& name, const std::string& bytes) const {
    std::filesystem::create_directories(Local(name).parent_path());
    std::ofstream(Local(name), std::ios::binary | std::ios::trunc) << bytes;
  }
  std::string ReadLocal(const std::string& name) const { return ReadFileBytes(Local(name)); }
  FileItem& AddPackage(const std::string& remote) { return Add(remote, true, host.packages); }
  FileItem& AddAddon(const std::string& remote) { return Add(remote, false, host.addons); }
  void SetDownload(FileItem& item, bool download) {
    MLock hold(host.lock);
    item.Download = download;
  }

  MTestSandbox sandbox;
  RecordingHost host;
  std::vector<std::unique_ptr<FileItem>> items;
  DownloadThread thread;

 private:
  FileItem& Add(const std::string& remote, bool isPackage, MArray<InstallableItem*>& list) {
    items.push_back(std::make_unique<FileItem>(MString::FromUTF8(remote), isPackage));
    list.Add(items.back().get());
    return *items.back();
  }
};

}  // namespace kx::testing
