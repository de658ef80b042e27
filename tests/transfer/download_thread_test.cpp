// The download thread's choice of work, step by step and on its own thread, and
// the block file it appends to.
#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "download_fixture.h"
#include "support/nginx_server.h"
#include "transfer/block_file.h"

namespace kx {
namespace {

using testing::kBlock;
using testing::SecurityInfoOf;

using DownloadThreadTest = testing::DownloadTest;

// A step does one thing, the first that applies.
TEST_F(DownloadThreadTest, StepsTakeWorkInOrder) {
  PointAt(FreeLoopbackPort());  // no server: downloads fail at once
  FileItem& package = AddPackage("/download/p.pkgm");
  FileItem& addon = AddAddon("/download/a.mproduct");
  thread.AddonInstallQueue.Add(MString("manual.mproduct"));
  thread.AddonUninstallPending = true;
  host.addonsToUninstall = true;
  thread.OfflinePhase = 2;

  // Each step: what it did, and the wish taken away afterwards.
  const struct {
    const char *work, *status;  // status empty: not looked at
  } steps[] = {
      {"install file manual.mproduct", ""},
      {"uninstall addons", ""},
      {"", "Cannot download security info for p.pkgm (Could not connect"},
      {"offline copy", ""},
      {"", "Cannot download security info for a.mproduct (Could not connect"},
      {"", ""},
  };
  std::vector<std::string> done;
  for (const auto& step : steps) {
    SCOPED_TRACE(step.work);
    thread.Step();
    std::vector<std::string> trace = host.Trace();
    std::string work = trace.size() > done.size() ? trace.back() : "";
    done = trace;
    EXPECT_EQ(work, step.work);
    EXPECT_EQ(ToStd(thread.Status.Text()).rfind(step.status, 0), 0u) << ToStd(thread.Status.Text());
    if (std::string(step.status).find("p.pkgm") != std::string::npos) SetDownload(package, false);
    if (std::string(step.status).find("a.mproduct") != std::string::npos) SetDownload(addon, false);
  }
  EXPECT_FALSE(thread.AddonUninstallPending);
  EXPECT_EQ(thread.OfflinePhase, 0);
  EXPECT_TRUE(thread.OfflineFolderReady);
  EXPECT_EQ(thread.PollInterval, DownloadThread::kIdlePollInterval);
}

TEST_F(DownloadThreadTest, AddonGivesWayToPackageWorkAndResumes) {
  const std::string big = RandomBytes(3 * kBlock + 1000, 11), small = RandomBytes(70000, 12);
  MNginxServer server;
  server.AddFile("download/a.mproduct", big);
  server.AddFile("download/a.mproduct.md5", SecurityInfoOf(big));
  server.AddFile("download/p.pkgm", small);
  server.AddFile("download/p.pkgm.md5", SecurityInfoOf(small));
  PointAt(server.Port());
  FileItem& addon = AddAddon("/download/a.mproduct");
  FileItem& package = AddPackage("/download/p.pkgm");
  SetDownload(package, false);
  host.packageWorkPending = [&] { return package.Download; };
  // The GUI starts a package run while the second block of the add-on comes in.
  thread.Status.onChange = [&](const MString& text, double) {
    if (ToStd(text).find("a.mproduct ... downloaded 2 MB") != std::string::npos)
      SetDownload(package, true);
  };

  thread.Step();
  EXPECT_TRUE(thread.LastTransfer().yielded);
  EXPECT_EQ(thread.LastTransfer().fileEnd, 2 * kBlock);
  EXPECT_TRUE(addon.Download && !addon.Downloading);
  thread.Step();
  EXPECT_TRUE(package.Downloaded && !package.Download);
  thread.Step();
  EXPECT_EQ(thread.LastTransfer().startOffset, 2 * kBlock);
  EXPECT_TRUE(thread.LastTransfer().complete);
  EXPECT_TRUE(ReadLocal("a.mproduct") == big);
  EXPECT_EQ(host.Trace(), std::vector<std::string>{"advance a.mproduct"});
}

// Wishes set under the locks from this thread are found by polling.
TEST_F(DownloadThreadTest, RunsOnItsOwnThreadUntilEnded) {
  const std::string content = RandomBytes(2 * kBlock + 10, 13);
  MNginxServer server;
  server.AddFile("download/p.pkgm", content);
  server.AddFile("download/p.pkgm.md5", SecurityInfoOf(content));
  PointAt(server.Port());
  FileItem& package = AddPackage("/download/p.pkgm");
  SetDownload(package, false);
  thread.Start();
  {
    MLock queue(thread.AddonQueueLock);
    thread.AddonInstallQueue.Add(MString("manual.mproduct"));
    MLock hold(host.lock);
    package.Download = true;
    package.Install = true;
  }
  thread.Wake();
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  for (;;) {
    {
      MLock hold(host.lock);
      if (package.Downloaded) break;
    }
    ASSERT_LT(std::chrono::steady_clock::now(), deadline) << ToStd(thread.Status.Text());
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  thread.End();
  EXPECT_TRUE(thread.Wait(10000));
  EXPECT_EQ(host.Trace(),
            (std::vector<std::string>{"install file manual.mproduct", "install package p.pkgm"}));
  EXPECT_TRUE(ReadLocal("p.pkgm") == content);
}

// Unbuffered appends, also on tmpfs, which has no unbuffered I/O.
TEST(MBlockFileTest, AppendsWholeAndShortBlocksAnywhere) {
  MTestSandbox sandbox;
  std::vector<std::filesystem::path> folders{sandbox.Root()};
  if (std::filesystem::is_directory("/dev/shm")) folders.push_back("/dev/shm");
  const std::string content = RandomBytes(2 * testing::kBlock + 1000, 21);
  MBlockBuffer buffer = NewBlockBuffer(testing::kBlock + 1);
  for (const std::filesystem::path& folder : folders) {
    SCOPED_TRACE(folder.string());
    const std::filesystem::path path = folder / ("kestrix-block-" + std::to_string(::getpid()));
    std::ofstream(path, std::ios::binary | std::ios::trunc) << "old content, cut below";
    {
      MBlockFile file(MString::FromUTF8(path.string()), 0);
      file.Truncate(0);
      // Aligned (unbuffered where possible), then unaligned, then short.
      for (int64_t at = 0, shift = 0; at < static_cast<int64_t>(content.size()); ++shift) {
        int64_t size = std::min<int64_t>(testing::kBlock, content.size() - at);
        std::memcpy(buffer.get() + shift, content.data() + at, size);
        file.Append(buffer.get() + shift, size);
        at += size;
      }
      file.Close();
    }
    EXPECT_TRUE(ReadFileBytes(path) == content);
    std::filesystem::remove(path);
  }
}

}  // namespace
}  // namespace kx
