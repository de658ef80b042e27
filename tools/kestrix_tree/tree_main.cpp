// kestrix-tree: converts data trees between their stored forms and shows them.
//
//   kestrix-tree convert IN OUT --to xml|mbx [--compress]
//   kestrix-tree dump IN
//
// IN may be in any form the program loads (MBX, compressed MBX, text XML, a
// base64 "$" line). convert writes pretty XML or MBX, compressed with
// --compress, and replaces OUT only once the whole new content exists; dump
// writes pretty XML to standard output. Exit codes: 0 done, 1 failure (its
// message on standard error), 2 wrong usage (a usage line on standard error).
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "common/tool_run.h"
#include "kestrix_tree/tree_usage.h"
#include "foundation/core/exception.h"
#include "foundation/files/file_ops.h"
#include "foundation/xml/mbx.h"
#include "foundation/streams/memory_stream.h"
#include "foundation/files/path_text.h"

namespace kx {
namespace {

struct Request {
  std::string command;
  std::vector<std::string> files;
  std::string to;
  bool compress = false;
};

// False on anything the usage line does not allow.
bool ParseArguments(int argc, char** argv, Request& request) {
  if (argc < 2) return false;
  request.command = argv[1];
  for (int i = 2; i < argc; ++i) {
    std::string argument = argv[i];
    if (argument == "--to" && i + 1 < argc && request.to.empty()) {
      request.to = argv[++i];
    } else if (argument == "--compress" && !request.compress) {
      request.compress = true;
    } else if (argument.rfind("--", 0) == 0 || argument.empty()) {
      return false;
    } else {
      request.files.push_back(argument);
    }
  }
  if (request.command == "dump")
    return request.files.size() == 1 && request.to.empty() && !request.compress;
  if (request.command == "convert")
    return request.files.size() == 2 && (request.to == "xml" || request.to == "mbx");
  return false;
}

void LoadInput(MXMLItem& tree, const std::string& path) {
  MMemoryStream bytes;
  MFile::ReadAll(FromSystem(path), bytes);
  bytes.Seek(0, kSeekBegin);
  MString failure;
  if (!TryLoadAny(tree, bytes, &failure)) throw MException(failure);
}

void Run(const Request& request) {
  MXMLItem tree;
  LoadInput(tree, request.files[0]);
  MMemoryStream output;
  if (request.command == "dump" || request.to == "xml") {
    tree.SaveXML(output, request.compress, false);
  } else {
    tree.SaveMBX(output, request.compress);  // DisableMBX is never set here
  }
  if (request.command == "dump") {
    std::fwrite(output.Data(), 1, static_cast<size_t>(output.Size()), stdout);
    if (std::fflush(stdout) != 0 || std::ferror(stdout))
      throw MException("Could not write to standard output.");
    return;
  }
  ReplaceFileContent(FromSystem(request.files[1]), output.Data(), output.Size());
}

}  // namespace
}  // namespace kx

int main(int argc, char** argv) {
  if (int answered = kx::AnswerHelpAndVersion(kx::kTreeTool, argc, argv); answered >= 0)
    return answered;
  kx::Request request;
  if (!kx::ParseArguments(argc, argv, request)) {
    std::fputs(kx::ToolSynopsis(kx::kTreeTool).c_str(), stderr);
    return kx::kExitWrongUsage;
  }
  return kx::RunToolCommand([&] { kx::Run(request); });
}
