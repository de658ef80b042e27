// The item download, one thread step at a time, against nginx and scripted servers;
// the thread's choice of work, step by step and on its own thread; its block file.
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
#include "support/scripted_server.h"
#include "transfer/block_file.h"

namespace kx {
namespace {

using testing::kBlock;
using testing::SecurityInfoOf;

const char* const kPartial = "HTTP/1.0 206 Partial Content\r\n\r\n";

class ItemDownloadTest : public testing::DownloadTest {
 protected:
  const TransferReport& StepOnce() {
    thread.Step();
    return thread.LastTransfer();
  }
  std::string Status() { return ToStd(thread.Status.Text()); }
};

TEST_F(ItemDownloadTest, ResumeDecisionCutsToWholeBlocksAndFinishesFromThere) {
  struct Case {
    const char* name;
    std::string local;      // content file on disk before the step
    int info;               // .md5 on disk: 0 none, 1 the right one, 2 one of `local`
    bool selected, server;  // server false: no server answers at all
    int64_t startOffset;    // where the block transfer begins; -1 none
  };
  const std::string content = RandomBytes(5000000, 3), info = SecurityInfoOf(content);
  const std::string other = RandomBytes(3000000, 4);
  const Case cases[] = {
      {"3,000,000 of 5,000,000 bytes", content.substr(0, 3000000), 0, false, true, 2097152},
      {"longer than the total", content + RandomBytes(1000000, 5), 1, false, true, 4194304},
      {"complete, no server", content, 1, false, false, -1},
      {"selected and complete", other, 2, true, true, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    MNginxServer server;
    server.AddFile("download/a.bin", content);
    server.AddFile("download/a.bin.md5", info);
    PointAt(c.server ? server.Port() : FreeLoopbackPort());
    if (!c.server) server.Stop();
    std::filesystem::remove_all(Local(""));
    WriteLocal("a.bin", c.local);
    // A stale .md5 says the old file is complete: only a selected item fetches anew.
    if (c.info > 0) WriteLocal("a.bin.md5", c.info == 1 ? info : SecurityInfoOf(c.local));
    host.packages.Clear();
    FileItem& item = AddPackage("/download/a.bin");
    item.Selected = c.selected;

    const TransferReport& report = StepOnce();
    EXPECT_TRUE(report.complete) << Status();
    EXPECT_EQ(report.startOffset, c.startOffset);
    EXPECT_TRUE(ReadLocal("a.bin") == content);
    EXPECT_EQ(ReadLocal("a.bin.md5"), info);
    EXPECT_TRUE(item.Downloaded && !item.Download && !item.Selected);
  }
}

TEST_F(ItemDownloadTest, SecurityInfoMustProveEveryBlock) {
  const std::string content = RandomBytes(3 * kBlock - 100, 1);
  std::string info = SecurityInfoOf(content);
  std::string shouting;  // digests upper case, blanks around them
  for (size_t at = 0, line = 0; at < info.size(); ++line) {
    size_t end = info.find('\n', at);
    std::string text = info.substr(at, end - at);
    for (char& unit : text)
      unit = static_cast<char>(std::toupper(static_cast<unsigned char>(unit)));
    shouting += line >= 3 ? " \t" + text + "  \r\n" : text + "\n";
    at = end + 1;
  }
  const std::string reDownload = "Corrupt security info for a.bin, trying to re-download!";
  const struct {
    std::string body, status;  // status empty: the file comes down
  } cases[] = {
      {"", "Cannot download security info for a.bin (Security info is empty.)"},
      {"0123\n0\n1048576\n", "Corrupt security info for a.bin."},
      {"\x01\xff garbage", reDownload},
      {info.substr(0, info.rfind('\n', info.size() - 2) + 1), reDownload},  // a digest short
      {"d41d8cd98f00b204e9800998ecf8427e\n5000000000000\n1048576\n" +
           info.substr(info.find("\n1048576\n") + 9),
       reDownload},  // terabytes claimed
      {shouting, ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.status.empty() ? "upper case and blanks" : c.status);
    std::vector<std::string> script{"HTTP/1.0 200 OK\r\n\r\n" + c.body};
    if (c.status.empty()) script.push_back(kPartial + content);
    MScriptedServer server(script);
    PointAt(server.Port());
    host.packages.Clear();
    FileItem& item = AddPackage("/download/a.bin");
    item.Selected = true;
    const TransferReport& report = StepOnce();
    if (c.status.empty()) {
      EXPECT_TRUE(report.complete) << Status();
      EXPECT_TRUE(ReadLocal("a.bin") == content);
      continue;
    }
    EXPECT_EQ(server.Requests().size(), 1u);  // the content is never asked for
    EXPECT_EQ(Status(), c.status);
    EXPECT_EQ(report.startOffset, -1);
    EXPECT_FALSE(std::filesystem::exists(Local("a.bin.md5")));
    EXPECT_TRUE(item.Download && !item.Downloading && !item.Downloaded);
  }
}

TEST_F(ItemDownloadTest, FailedStepsLeaveWholeProvedBlocksAndResumeThere) {
  const std::string content = RandomBytes(3 * kBlock + 500000, 7), info = SecurityInfoOf(content);
  auto flipped = [&](int64_t at) {
    std::string bytes = content;
    bytes[at] = static_cast<char>(bytes[at] ^ 0x20);
    return bytes;
  };
  struct Case {
    const char* name;
    std::string local;                 // content file before the first step
    std::vector<std::string> replies;  // one a step, content from the resume point
    std::string hookAt;                // status text at which `hook` runs
    std::function<void(FileItem&)> hook;
    const char* status;  // after the first step
    int64_t kept;        // bytes on disk after the first step
  };
  const std::string cut = kPartial + content.substr(0, kBlock + kBlock / 2);
  const std::string whole = "HTTP/1.0 200 OK\r\n\r\n" + content;
  const char* const bad = "Invalid data has been intercepted, download will resume.";
  auto stop = [&](FileItem& item) { SetDownload(item, false); };
  auto close = [&](FileItem&) { thread.RequestClose(); };
  const int64_t size = static_cast<int64_t>(content.size());
  // clang-format off
  const Case cases[] = {
      {"cut inside a block", "", {cut}, "", nullptr, "Server has disconnected.", kBlock},
      {"flipped byte in block 2", "", {kPartial + flipped(2 * kBlock + 5)}, "", nullptr, bad,
       2 * kBlock},
      {"flipped byte in block 1", "", {kPartial + flipped(kBlock + 9)}, "", nullptr, bad, kBlock},
      {"range ignored", content.substr(0, 2 * kBlock), {whole, whole}, "", nullptr, bad,
       2 * kBlock},
      {"stopped", "", {kPartial + content}, "downloaded 2 MB", stop, "Download has been stopped.",
       2 * kBlock},
      {"close request", "", {kPartial + content}, "downloaded 1 MB", close,
       "Download manager is being closed.", kBlock},
      {"more bytes than the total", "", {kPartial + content + RandomBytes(2 * kBlock, 8)}, "", nullptr,
       "Downloading package a.bin ... downloading finished sucessfully.", size},
  };
  // clang-format on
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    std::vector<std::string> script = c.replies;
    const bool stays = std::string(c.name) == "range ignored";
    if (c.kept < size && !stays)
      script.push_back(kPartial + content.substr(static_cast<size_t>(c.kept)));
    MScriptedServer server(script);
    PointAt(server.Port());
    thread.CloseRequests = 0;
    host.packages.Clear();
    FileItem& item = AddPackage("/download/a.bin");
    std::filesystem::remove_all(Local(""));
    WriteLocal("a.bin.md5", info);
    if (!c.local.empty()) WriteLocal("a.bin", c.local);
    thread.Status.onChange = [&](const MString& text, double) {
      if (c.hook && ToStd(text).find(c.hookAt) != std::string::npos) c.hook(item);
    };

    StepOnce();
    EXPECT_EQ(Status(), c.status);
    EXPECT_TRUE(ReadLocal("a.bin") == content.substr(0, static_cast<size_t>(c.kept)));
    thread.Status.onChange = nullptr;
    thread.CloseRequests = 0;
    if (!item.Download) SetDownload(item, true);
    if (c.kept == size) continue;

    const TransferReport& report = StepOnce();
    EXPECT_EQ(report.startOffset, c.kept);
    EXPECT_EQ(report.complete, !stays) << Status();
    EXPECT_TRUE(ReadLocal("a.bin") == (stays ? content.substr(0, 2 * kBlock) : content));
    std::vector<std::string> requests = server.Requests();
    ASSERT_EQ(requests.size(), script.size());
    EXPECT_NE(requests.back().find("Range: bytes=" + std::to_string(c.kept) + "-\n"),
              std::string::npos);
  }
}

TEST_F(ItemDownloadTest, NamesThatLeaveTheFolderStopTheItem) {
  for (const char* remote : {"/download/..", "/download/", "/download/sub/."}) {
    SCOPED_TRACE(remote);
    host.packages.Clear();
    FileItem& item = AddPackage(remote);
    StepOnce();
    EXPECT_EQ(Status(), "Invalid file name \"" + std::string(remote) + "\" for " +
                            ToStd(item.GetName()) + ".");
    EXPECT_FALSE(item.Download || item.Downloading);
    EXPECT_FALSE(std::filesystem::exists(Local("")));
  }
}

// No server is asked; one missing there stops the step.
TEST_F(ItemDownloadTest, AddonInTheOverrideFolderIsTakenInPlace) {
  const std::string content = RandomBytes(kBlock + 10, 9);
  const std::filesystem::path folder = sandbox.Root() / "override" / "Addons";
  std::filesystem::create_directories(folder);
  std::ofstream(folder / "a.mproduct", std::ios::binary) << content;
  for (const char* name : {"a.mproduct.md5", "gone.mproduct.md5"})
    std::ofstream(folder / name, std::ios::binary) << SecurityInfoOf(content);
  host.endpoints.DownloadOverrideFolder = MString::FromUTF8(folder.parent_path().string());
  PointAt(FreeLoopbackPort());
  AddAddon("/download/Addons/a.mproduct");
  const TransferReport& report = StepOnce();
  EXPECT_TRUE(report.complete) << Status();
  EXPECT_EQ(ToStd(report.localPath), (folder / "a.mproduct").string());
  EXPECT_FALSE(std::filesystem::exists(Local("a.mproduct")));
  host.addons.Clear();
  AddAddon("/download/Addons/gone.mproduct");
  StepOnce();
  EXPECT_EQ(Status(), "Local file " + (folder / "gone.mproduct").string() + " does not exist!");
}

TEST(BlockStatusTextTest, SpeedAndRemainingTimeFromThe32ndBlockOn) {
  const struct {
    bool package;
    int64_t blocks, have, total, milliseconds;
    const char* text;
  } cases[] = {
      {true, 30, 31 * kBlock, 99 * kBlock, 5, "Downloading package p ... downloaded 31 MB"},
      {false, 31, 32 * kBlock + 7, 4032 * kBlock + 7, 1000,
       "Downloading p ... 32.00 MB/s, downloaded 32 MB, remaining 2 min, 5 sec"},
      {true, 500, 100 * kBlock, 28900 * kBlock, 4000,
       "Downloading package p ... 8.00 MB/s, downloaded 100 MB, remaining 1 hours, 0 min"},
  };
  for (const auto& c : cases)
    EXPECT_EQ(ToStd(BlockStatusText(c.package, "p", c.blocks, c.have, c.total, c.milliseconds)),
              c.text);
}

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
