// A package built in code and installed into a real temporary folder: the
// fixture of the install walk's tests. Contents are given per `file` item; the
// package is written through the package writer and opened again, so the walk
// reads its contents as it would from a downloaded package.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <memory>
#include <string>

#include "foundation/files/data_paths.h"
#include "foundation/files/file_ops.h"
#include "foundation/streams/file_stream.h"
#include "support/file_test_support.h"
#include "foundation/core/log.h"
#include "foundation/streams/memory_stream.h"
#include "foundation/xml/xml_item.h"
#include "install/install_walk.h"
#include "install/package_file.h"
#include "presets/preset_merge.h"

namespace kx {

// Writes `tree` as a package file at `path`, each `file` item's content taken
// from `contents` (an item not there has none).
inline void WritePackage(MXMLItem& tree, const MString& path,
                         const std::map<MXMLItem*, std::string>& contents,
                         uint32_t flags = MPackageFile::kDefaultFlags) {
  MFileStream output(path, MFileStream::kModeCreate);
  MPackageFile::Write(tree, output, flags, [&contents](MXMLItem& item) -> std::unique_ptr<MStream> {
    auto found = contents.find(&item);
    if (found == contents.end()) return nullptr;
    auto stream = std::make_unique<MMemoryStream>();
    stream->Write(found->second.data(), static_cast<int64_t>(found->second.size()));
    stream->Seek(0, kSeekBegin);
    return stream;
  });
  output.Close();
}

class WalkTest : public FileTestBase {
 protected:
  void SetUp() override {
    ForgetFolderTable();
    tree.SetAttribute("name", "demo");
    tree.SetAttribute("enabled", int32_t{1});
    tree.SetAttribute("currentpath", Dest());
    MLog::Open(Path(LogName()));
  }
  void TearDown() override {
    MLog::Close();
    ForgetFolderTable();
  }

  MString Dest() const { return Path("dest"); }
  std::filesystem::path DestNative(const std::string& relative) const {
    return Native("dest/" + relative);
  }

  MXMLItem& AddDir(MXMLItem& parent, const char* name, const char* op = "create") {
    MXMLItem& dir = parent.AddSubItem("dir");
    dir.SetAttribute("name", name);
    dir.SetAttribute("op", op);
    return dir;
  }
  MXMLItem& AddFile(MXMLItem& parent, const char* name, const std::string& content,
                    const char* time = "2021-03-04 05:06:07", const char* op = "update") {
    MXMLItem& file = parent.AddSubItem("file");
    file.SetAttribute("name", name);
    file.SetAttribute("op", op);
    if (time) file.SetAttribute("time", time);
    contents[&file] = content;
    return file;
  }

  // Writes the package and opens it; the returned root is what the walk runs over.
  MXMLItem& Build(uint32_t flags = MPackageFile::kDefaultFlags) {
    WritePackage(tree, Path("demo.pkgm"), contents, flags);
    package = std::make_unique<MPackageFile>();
    return package->Open(Path("demo.pkgm"));
  }

  void Install(MXMLItem& root, bool allowAll = true) {
    InstallPackageTree(context, root,
                       {.library = package.get(), .presetContext = &presets, .allowAllPossible = allowAll});
  }
  void Uninstall(MXMLItem& stateTree) {
    InstallPackageTree(context, stateTree,
                       {.mode = WalkMode::kUninstall, .presetContext = &presets, .allowAllPossible = true});
  }

  // The log since the last call; the log goes on in a fresh file.
  std::string Log() {
    MLog::Close();
    std::string text = ReadFileBytes(Native(LogName()));
    ++logNumber;
    MLog::Open(Path(LogName()));
    return text;
  }
  // The text with the destination folder written as "{dest}".
  std::string WithDest(std::string text) const {
    const std::string dest = ToStd(Dest());
    for (size_t at = text.find(dest); at != std::string::npos; at = text.find(dest, at))
      text.replace(at, dest.size(), "{dest}");
    return text;
  }
  std::string LogName() const { return "log" + std::to_string(logNumber) + ".txt"; }

  // Rewrites a file on disk as the user (or a crash) would, then stamps a time.
  void Tamper(const std::string& relative, const std::string& content, const char* time) {
    WriteFile("dest/" + relative, content);
    MDateTime stamp = MDateTime::FromString(MString(time));
    MFile::SetFileTime(Path("dest/" + relative), nullptr, nullptr, &stamp);
  }

  MXMLItem tree{MString("package")};
  std::map<MXMLItem*, std::string> contents;
  std::unique_ptr<MPackageFile> package;
  int logNumber = 0;
  InstallContext context;
  MPresetContext presets;
};

}  // namespace kx
