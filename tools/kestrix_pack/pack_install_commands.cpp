// install: the root gets `enabled` 1 and `currentpath` DIR; a `copy` whose
// `name` equals a --copy NAME gets `enabled` 1 and that DIR, every other copy
// `enabled` 0; --enable fills EnabledItems. The tree is saved to the state file
// before the walk, which runs with all possible items allowed. Without
// --on-error the rewrite question goes to the console (Cancel when nobody can
// answer it); with it, the question is answered as told.
// uninstall: the walk over the state tree with the uninstall flag; --enable
// fills EnabledItems as for install, which a tree with `detectitems` needs to
// remove anything (the program passes the plug-ins being removed).
#include "kestrix_pack/pack_install_commands.h"

#include <cstdio>
#include <exception>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "common/progress_line.h"
#include "common/tool_run.h"
#include "foundation/core/boxes.h"
#include "foundation/core/exception.h"
#include "foundation/text/format.h"
#include "foundation/core/log.h"
#include "foundation/files/path_text.h"
#include "foundation/xml/xml_item.h"
#include "install/install_walk.h"
#include "install/package_file.h"
#include "install/state_file.h"
#include "presets/preset_merge.h"

namespace kx {
namespace {

// Answers every question with one fixed choice; tells the rest on standard error.
class FixedAnswerBoxHost : public MBoxHost {
 public:
  explicit FixedAnswerBoxHost(int answer) : answer_(answer) {}
  void ShowError(MControl*, const MString& text) override { Print(text); }
  void ShowInformation(MControl*, const MString& text) override { Print(text); }
  int ShowQuestion(MControl*, const MString& text) override { return Print(text), 0; }
  int ShowQuestionIgnore(MControl*, const MString& text) override {
    return Print(text), answer_ == 2 ? 2 : 0;
  }
  int ShowQuestionCancel(MControl*, const MString& text) override { return Print(text), 2; }
  int ShowThreeButtons(MControl*, const MString&, const MString& text, const MString&,
                       const MString&, const MString&) override {
    Print(text);
    return answer_;
  }

 private:
  static void Print(const MString& text) {
    std::fprintf(stderr, "%s\n", ToStd(StripMarkup(text)).c_str());
  }
  int answer_;
};

// What --on-error tells: ask the console, or answer the rewrite question at once.
enum class OnError { kAsk, kIgnore, kCancel };

// The box answers that stand for ignore and cancel.
int BoxAnswer(OnError onError) {
  return onError == OnError::kIgnore ? 2 : 3;
}

struct InstallRequest {
  bool uninstall = false;
  std::string file;  // PKG or STATE
  std::string dest;
  std::vector<std::pair<std::string, std::string>> copies;
  std::vector<std::string> enabled;
  std::string state;
  std::string log;
  OnError onError = OnError::kAsk;
};

MString Text(const std::string& bytes) {
  return FromSystem(bytes);
}

MString Absolute(const std::string& path) {
  return Text(std::filesystem::absolute(path).lexically_normal().string());
}

bool Parse(int argc, char** argv, InstallRequest& request) {
  request.uninstall = std::string(argv[1]) == "uninstall";
  for (int i = 2; i < argc; ++i) {
    std::string argument = argv[i];
    bool hasValue = i + 1 < argc;
    if (argument == "--log" && hasValue) {
      request.log = argv[++i];
    } else if (argument == "--enable" && hasValue) {
      request.enabled.emplace_back(argv[++i]);
    } else if (request.uninstall) {
      if (!request.file.empty() || argument.rfind("--", 0) == 0) return false;
      request.file = argument;
    } else if (argument == "--dest" && hasValue) {
      request.dest = argv[++i];
    } else if (argument == "--copy" && hasValue) {
      std::string pair = argv[++i];
      size_t equals = pair.find('=');
      if (equals == std::string::npos || equals == 0 || equals + 1 == pair.size()) return false;
      request.copies.emplace_back(pair.substr(0, equals), pair.substr(equals + 1));
    } else if (argument == "--state" && hasValue) {
      request.state = argv[++i];
    } else if (argument == "--on-error" && hasValue) {
      std::string answer = argv[++i];
      if (answer == "ignore")
        request.onError = OnError::kIgnore;
      else if (answer == "cancel")
        request.onError = OnError::kCancel;
      else
        return false;
    } else if (argument.rfind("--", 0) == 0 || !request.file.empty()) {
      return false;
    } else {
      request.file = argument;
    }
  }
  return !request.file.empty() && (request.uninstall || !request.dest.empty());
}

void PrintSummary(const InstallContext& context, bool uninstall) {
  std::printf("%s: files done %d of %d, bytes done %lld of %lld, undeleted %d\n",
              uninstall ? "Uninstalled" : "Installed", context.doneFiles, context.totalFiles,
              static_cast<long long>(context.doneBytes), static_cast<long long>(context.totalBytes),
              context.undeletedFiles);
}

void PrepareTree(MXMLItem& root, const InstallRequest& request) {
  root.SetAttribute("enabled", int32_t{1});
  root.SetAttribute("currentpath", Absolute(request.dest));
  for (MXMLItem* copy = root.firstSubItem; copy; copy = copy->next) {
    if (!copy->name.EqualsNoCase(MString("copy"))) continue;
    MString copyName = copy->GetAttributeText("name");
    copy->SetAttribute("enabled", int32_t{0});
    for (const auto& [wanted, folder] : request.copies) {
      if (copyName == Text(wanted)) {
        copy->SetAttribute("enabled", int32_t{1});
        copy->SetAttribute("currentpath", Absolute(folder));
      }
    }
  }
}

// The walk's status on the progress line, with the bytes (or, where a walk
// counts no bytes, the files) done of its total.
class WalkProgressLine : public ProgressTarget {
 public:
  WalkProgressLine(const InstallContext& context, ProgressLine& line)
      : context_(context), line_(line) {}
  void Show(const MString& text, float) override {
    if (context_.totalBytes > 0)
      line_.Update(ToStd(text), context_.doneBytes, context_.totalBytes, ProgressLine::Measure::kBytes);
    else
      line_.Update(ToStd(text), context_.doneFiles, context_.totalFiles, ProgressLine::Measure::kFiles);
  }

 private:
  const InstallContext& context_;
  ProgressLine& line_;
};

void Run(const InstallRequest& request, bool quiet) {
  if (!request.log.empty()) MLog::Open(Text(request.log));
  InstallContext context;
  ProgressLine line(quiet);
  WalkProgressLine shown(context, line);
  ProgressTarget* progress = line.Enabled() ? &shown : nullptr;
  MPresetContext presets;
  for (const std::string& name : request.enabled) context.EnabledItems.Add(Text(name));
  if (request.uninstall) {
    MXMLItem state;
    LoadStateFile(state, Text(request.file));
    InstallPackageTree(context, state,
                       {.mode = WalkMode::kUninstall,
                        .presetContext = &presets,
                        .progress = progress,
                        .allowAllPossible = true});
  } else {
    MPackageFile package;
    MXMLItem& root = package.Open(Text(request.file));
    PrepareTree(root, request);
    if (!request.state.empty()) SaveStateFile(root, Text(request.state));
    InstallPackageTree(context, root,
                       {.library = &package,
                        .presetContext = &presets,
                        .progress = progress,
                        .allowAllPossible = true});
  }
  line.Finish();
  PrintSummary(context, request.uninstall);
}

}  // namespace

bool IsPackInstallCommand(const char* command) {
  std::string text = command ? command : "";
  return text == "install" || text == "uninstall";
}

int RunPackInstallCommand(int argc, char** argv, bool quiet) {
  InstallRequest request;
  if (!Parse(argc, argv, request)) return kExitWrongUsage;
  bool answered = request.onError != OnError::kAsk;
  FixedAnswerBoxHost fixed(answered ? BoxAnswer(request.onError) : 0);
  MBoxHost* previous = answered ? SetBoxHost(&fixed) : nullptr;
  int code = RunToolCommand([&] { Run(request, quiet); });
  if (answered) SetBoxHost(previous);
  std::fflush(stdout);
  MLog::Close();
  return code;
}

}  // namespace kx
