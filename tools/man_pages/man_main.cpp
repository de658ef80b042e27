// kestrix-man OUTDIR: writes the manual pages of the program and of every tool,
// made from the same usage definitions that their --help prints.
#include <cstdio>
#include <string>

#include "app/command_line.h"
#include "common/tool_usage.h"
#include "foundation/core/exception.h"
#include "foundation/files/path_text.h"
#include "foundation/streams/file_stream.h"
#include "kestrix_image/image_usage.h"
#include "kestrix_pack/pack_usage.h"
#include "kestrix_tree/tree_usage.h"
#include "kestrix_version.h"

namespace kx {
namespace {

// The program's usage is rich text for its box; the page keeps its words.
std::string PlainUsage() {
  std::string text;
  bool inTag = false;
  for (const char* c = kUsageText; *c; ++c) {
    if (*c == '<') inTag = true;
    if (!inTag) text += *c;
    if (*c == '>') {
      inTag = false;
      text += "\n\n";
    }
  }
  size_t at;
  while ((at = text.find("{kestrix}")) != std::string::npos) text.replace(at, 9, "kestrix");
  return text;
}

// The program's page: its usage box as the synopsis, and the rest of what a
// user of the command line needs.
std::string ProgramPage() {
  std::string usage = PlainUsage();
  std::string synopsis = usage.substr(0, usage.find('\n'));
  std::string rest = usage.substr(synopsis.size());
  if (synopsis.rfind("Usage: ", 0) == 0) synopsis = synopsis.substr(7);
  static const ToolVerb none[] = {{"", "", ""}};
  ToolDefinition program = {"kestrix", "installs, updates and removes the plug-ins", none, ""};
  std::string page = ToolManPage(program, kKestrixVersion);
  page = page.substr(0, page.find(".SH SYNOPSIS"));
  page += ".SH SYNOPSIS\n.B " + synopsis + "\n.SH DESCRIPTION\n" + rest +
          "\n.PP\n/silent runs without questions: all plug-ins, or those of the list (names\n"
          "joined by ';'). /uninstall removes instead. /help, \\-\\-help and \\-h show the usage;\n"
          "\\-\\-version prints the version.\n"
          ".PP\n/offlinecreate FOLDER writes the offline installation data of every package and\n"
          "add-on into FOLDER; /offlineload FOLDER loads such a folder, after which runs install\n"
          "from it without a server. Both end with 0, or 1 when the folder was not written or\n"
          "not loaded.\n"
          ".SH ENVIRONMENT\n.TP\n.B KESTRIX_SERVER=host[:port]\nPoints the program at another server.\n"
          ".SH EXIT STATUS\n0 normal end; 1 another instance is running, or a silent run's wait timed\n"
          "out; 2 a silent run without a server; 3 the usage was shown; 4 the start failed.\n"
          ".SH FILES\nThe log is log.txt in the program's data folder.\n";
  return page;
}

void Write(const std::string& folder, const std::string& name, const std::string& page) {
  MFileStream file(JoinPath(FromSystem(folder), FromSystem(name + ".1")), MFileStream::kModeCreate);
  file.Write(page.data(), static_cast<int64_t>(page.size()));
  file.Close();
}

}  // namespace
}  // namespace kx

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fputs("Usage: kestrix-man OUTDIR\n", stderr);
    return 2;
  }
  try {
    kx::Write(argv[1], "kestrix", kx::ProgramPage());
    for (const kx::ToolDefinition* tool : {&kx::kPackTool, &kx::kTreeTool, &kx::kImageTool})
      kx::Write(argv[1], tool->name, kx::ToolManPage(*tool, kx::kKestrixVersion));
  } catch (const kx::MException& failure) {
    std::fprintf(stderr, "%s\n", kx::ToStd(failure.message).c_str());
    return 1;
  }
  return 0;
}
