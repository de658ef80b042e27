// kestrix-pack: makes, checks, unpacks, installs and fetches package files. The
// usage of every verb, which --help, wrong usage and the man page show, is in
// pack_usage.cpp. Exit codes: 0 done, 1 failure (its message on standard error),
// 2 wrong usage.
#include <cstdio>
#include <exception>
#include <memory>
#include <string>
#include <vector>

#include "common/progress_line.h"
#include "common/tool_run.h"
#include "foundation/core/exception.h"
#include "foundation/files/file_ops.h"
#include "foundation/streams/file_stream.h"
#include "foundation/text/format.h"
#include "foundation/streams/hash_stream.h"
#include "foundation/streams/memory_stream.h"
#include "foundation/files/path_text.h"
#include "foundation/xml/xml_item.h"
#include "install/package_extract.h"
#include "install/package_file.h"
#include "install/package_source.h"
#include "kestrix_pack/pack_fetch_command.h"
#include "kestrix_pack/pack_addon_commands.h"
#include "kestrix_pack/pack_install_commands.h"
#include "kestrix_pack/pack_usage.h"
#include "foundation/streams/security_info.h"

namespace kx {
namespace {

constexpr uint32_t kAllFlags = 31;

struct Request {
  std::string command;
  std::vector<std::string> files;
  uint32_t flags = MPackageFile::kDefaultFlags;
  bool hasName = false;
  std::string name;
  std::vector<std::pair<std::string, std::string>> attributes;
  bool quiet = false;
};

bool ParseFlags(const std::string& text, uint32_t& flags) {
  if (text.empty() || text.size() > 2) return false;
  uint32_t value = 0;
  for (char digit : text) {
    if (digit < '0' || digit > '9') return false;
    value = value * 10 + static_cast<uint32_t>(digit - '0');
  }
  if (value > kAllFlags) return false;
  flags = value;
  return true;
}

// False on anything the usage text does not allow.
bool ParseArguments(int argc, char** argv, Request& request) {
  if (argc < 2) return false;
  request.command = argv[1];
  bool build = request.command == "build";
  bool hasFlags = false;
  for (int i = 2; i < argc; ++i) {
    std::string argument = argv[i];
    bool hasValue = i + 1 < argc;
    if (build && argument == "--flags" && hasValue && !hasFlags) {
      if (!ParseFlags(argv[++i], request.flags)) return false;
      hasFlags = true;
    } else if (build && argument == "--name" && hasValue && !request.hasName) {
      request.name = argv[++i];
      request.hasName = true;
    } else if (build && argument == "--attr" && hasValue) {
      std::string pair = argv[++i];
      size_t equals = pair.find('=');
      if (equals == std::string::npos || equals == 0) return false;
      request.attributes.emplace_back(pair.substr(0, equals), pair.substr(equals + 1));
    } else if (argument.rfind("--", 0) == 0 || argument.empty()) {
      return false;
    } else {
      request.files.push_back(argument);
    }
  }
  size_t wanted = 0;
  if (build || request.command == "extract") {
    wanted = 2;
  } else if (request.command == "md5" || request.command == "list" || request.command == "verify") {
    wanted = 1;
  }
  return wanted != 0 && request.files.size() == wanted;
}

MString Text(const std::string& argument) { return FromSystem(argument); }

void PrintLine(const MString& line) {
  std::printf("%s\n", ToStd(line).c_str());
}

void FlushOutput() {
  if (std::fflush(stdout) != 0 || std::ferror(stdout))
    throw MException(MString("Could not write to standard output."));
}

// The `file` items anywhere in a source tree: the total of the progress line.
int64_t CountFileItems(const MXMLItem& item) {
  int64_t count = item.name.EqualsNoCase(MString("file")) ? 1 : 0;
  for (const MXMLItem* child = item.firstSubItem; child; child = child->next)
    count += CountFileItems(*child);
  return count;
}

void Build(const Request& request) {
  MString source = Text(request.files[0]);
  MString output = Text(request.files[1]);
  MXMLItem tree(MString("package"));
  if (MFile::IsDirectory(source)) {
    AddFolderToSourceTree(tree, source);
  } else {
    LoadSourceTree(tree, source);
  }
  if (request.hasName) tree.SetAttribute("name", MVariant(Text(request.name)));
  for (const auto& [key, value] : request.attributes)
    tree.SetAttribute(MXMLName(Text(key)), MVariant(Text(value)));

  int64_t files = 0;
  int64_t bytes = 0;
  MSourceOpener sources = PackageSourceOpener();
  ProgressLine progress(request.quiet);
  int64_t totalFiles = progress.Enabled() ? CountFileItems(tree) : 0;
  MSourceOpener counted = [&](MXMLItem& item) {
    std::unique_ptr<MStream> stream = sources(item);
    if (stream) {
      // Drawn as each source opens: the one before it is packed by then.
      progress.Update("Packing", files, totalFiles, ProgressLine::Measure::kFiles);
      ++files;
      bytes += stream->GetSize();
    }
    return stream;
  };
  try {
    MFileStream target(output, MFileStream::kModeCreate);
    MPackageFile::Write(tree, target, request.flags, counted);
    target.Close();
    progress.Update("Packing", files, totalFiles, ProgressLine::Measure::kFiles);
    progress.Finish();
  } catch (...) {
    // A package cut short must not be mistaken for one.
    if (MFile::IsFile(output)) MFile::Delete(output);
    throw;
  }
  PrintLine(MFormat("Packed {0} files of {1} bytes into \"{2}\" ({3} bytes, flags {4}).")
                .Add(files)
                .Add(bytes)
                .Add(output)
                .Add(MFile::GetFileSize(output))
                .Add(request.flags));
}

void WriteSecurityInfo(const Request& request) {
  MString file = Text(request.files[0]);
  MSecurityInfo info = MSecurityInfo::ComputeFile(file);
  MString target = file;
  target.Append(".md5");
  info.Save(target);
  PrintLine(MFormat("Wrote \"{0}\" ({1} blocks).").Add(target).Add(info.blockDigests.Count()));
}

void List(const Request& request) {
  MPackageFile package;
  MXMLItem& root = package.Open(Text(request.files[0]));
  MMemoryStream text;
  root.SaveXML(text, false, false);
  std::fwrite(text.Data(), 1, static_cast<size_t>(text.Size()), stdout);
  FlushOutput();
}

// The file against its security info: size, each block, then the whole digest.
void VerifyAgainst(const MString& path, const MSecurityInfo& info) {
  int64_t size = MFile::GetFileSize(path);
  if (size != info.totalSize) {
    throw MException(MFormat("\"{0}\" has {1} bytes, its security info says {2}.")
                         .Add(path)
                         .Add(size)
                         .Add(info.totalSize));
  }
  if (info.blockDigests.Count() != info.ExpectedBlockCount()) {
    throw MException(MFormat("The security info of \"{0}\" lists {1} block digests for {2} blocks.")
                         .Add(path)
                         .Add(info.blockDigests.Count())
                         .Add(info.ExpectedBlockCount()));
  }
  MFileStream file(path, MFileStream::kModeRead);
  MHashStream whole;
  whole.Reset();
  std::unique_ptr<char[]> block(new char[MSecurityInfo::kBlockSize]);
  for (int64_t index = 0; index < info.ExpectedBlockCount(); ++index) {
    int64_t want = std::min(MSecurityInfo::kBlockSize, size - index * MSecurityInfo::kBlockSize);
    file.ReadExact(block.get(), want);
    if (!info.MatchesBlock(index, block.get(), want)) {
      throw MException(MFormat("Block {0} of \"{1}\" (bytes {2} to {3}) does not match its digest.")
                           .Add(index)
                           .Add(path)
                           .Add(index * MSecurityInfo::kBlockSize)
                           .Add(index * MSecurityInfo::kBlockSize + want - 1));
    }
    whole.Write(block.get(), want);
  }
  whole.Finish();
  if (!info.MatchesFile(DigestBytesToHex(whole.Digest())))
    throw MException(MFormat("The MD5 of \"{0}\" does not match its security info.").Add(path));
}

void Verify(const Request& request) {
  MString path = Text(request.files[0]);
  {
    MPackageFile package;
    package.Open(path);
  }
  PrintLine(MString("Definition digest: correct."));
  MString infoPath = path;
  infoPath.Append(".md5");
  if (!MFile::IsFile(infoPath)) {
    PrintLine(MFormat("No security info \"{0}\": contents not checked.").Add(infoPath));
    return;
  }
  MSecurityInfo info;
  info.Load(infoPath);
  VerifyAgainst(path, info);
  PrintLine(MFormat("Size, {0} blocks and the file's MD5 match \"{1}\".")
                .Add(info.blockDigests.Count())
                .Add(infoPath));
}

void Extract(const Request& request) {
  MPackageFile package;
  package.Open(Text(request.files[0]));
  MString folder = Text(request.files[1]);
  MFile::CreatePath(folder);
  ProgressLine progress(request.quiet);
  ExtractProgress shown;
  if (progress.Enabled()) {
    shown = [&](int64_t done, int64_t total) {
      progress.Update("Extracting", done, total, ProgressLine::Measure::kFiles);
    };
  }
  int64_t count = ExtractPackage(package, folder, shown);
  progress.Finish();
  PrintLine(MFormat("Extracted {0} files into \"{1}\".").Add(count).Add(folder));
}

void Run(const Request& request) {
  if (request.command == "build") {
    Build(request);
  } else if (request.command == "md5") {
    WriteSecurityInfo(request);
  } else if (request.command == "list") {
    List(request);
  } else if (request.command == "verify") {
    Verify(request);
  } else {
    Extract(request);
  }
  FlushOutput();
}

}  // namespace
}  // namespace kx

namespace kx {
namespace {

// --quiet may stand anywhere after the verb; it is taken out before the verb's
// own arguments are read.
bool TakeQuiet(int& argc, char** argv) {
  bool quiet = false;
  int kept = 1;
  for (int i = 1; i < argc; ++i) {
    if (i >= 2 && std::string(argv[i]) == "--quiet")
      quiet = true;
    else
      argv[kept++] = argv[i];
  }
  argc = kept;
  argv[argc] = nullptr;
  return quiet;
}

}  // namespace
}  // namespace kx

int main(int argc, char** argv) {
  if (int answered = kx::AnswerHelpAndVersion(kx::kPackTool, argc, argv); answered >= 0)
    return answered;
  bool quiet = kx::TakeQuiet(argc, argv);
  int code = kx::kExitWrongUsage;
  kx::Request request;
  request.quiet = quiet;
  if (argc >= 2 && kx::IsPackFetchCommand(argv[1]))
    code = kx::RunPackFetchCommand(argc, argv, quiet);
  else if (argc >= 2 && kx::IsPackInstallCommand(argv[1]))
    code = kx::RunPackInstallCommand(argc, argv, quiet);
  else if (argc >= 2 && kx::IsPackAddonCommand(argv[1]))
    code = kx::RunPackAddonCommand(argc, argv, quiet);
  else if (kx::ParseArguments(argc, argv, request))
    code = kx::RunToolCommand([&] { kx::Run(request); });
  if (code == kx::kExitWrongUsage) std::fputs(kx::ToolSynopsis(kx::kPackTool).c_str(), stderr);
  return code;
}
