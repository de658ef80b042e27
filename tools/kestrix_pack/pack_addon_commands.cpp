// addon-install FILE...: each file through the program's add-on installation,
// with no add-on list (so no list record changes). addon-uninstall NAME...: the
// records of those names removed as the program removes them. addon-list: the
// records that can be removed. The folders are the program's own unless
// --samples, --factory or --records name others.
#include "kestrix_pack/pack_addon_commands.h"

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "catalogue/addon.h"
#include "catalogue/addon_paths.h"
#include "common/progress_line.h"
#include "common/tool_run.h"
#include "foundation/core/exception.h"
#include "foundation/core/log.h"
#include "foundation/files/data_paths.h"
#include "foundation/files/file_ops.h"
#include "foundation/files/path_text.h"
#include "foundation/text/format.h"
#include "foundation/threads/lock.h"
#include "install/addon_install.h"
#include "install/addon_record.h"

namespace kx {
namespace {

enum class AddonVerb { kInstall, kUninstall, kList };

struct AddonRequest {
  AddonVerb verb = AddonVerb::kInstall;
  std::vector<MString> operands;
  MString samples;
  MString factory;
  MString records;
  MString log;
};

class ToolAddonHost : public AddonHost {
 public:
  ToolAddonHost(const AddonRequest& request, bool quiet) : request_(request), line_(quiet) {}
  MLockable& AddonLock() override { return lock_; }
  const MArray<Addon*>& AddonRecords() override { return none_; }
  MString SamplePath() override { return request_.samples; }
  MString FactoryPath() override { return request_.factory; }
  MString RecordFolder() override { return request_.records; }
  void AddonStatus(const MString& text, bool setValue, double value) override {
    MLog::Line(MString("  info : ") + text);
    if (line_.Enabled())
      line_.Update(ToStd(text), static_cast<int64_t>(value * 1000.0), 1000,
                   ProgressLine::Measure::kStatus);
  }
  void ShowAddonErrors(const MString& text) override {
    line_.Finish();
    std::fprintf(stderr, "Some errors occured\n%s", ToStd(text).c_str());
  }
  ProgressLine& Line() { return line_; }

 private:
  const AddonRequest& request_;
  MCriticalSection lock_;
  MArray<Addon*> none_;
  ProgressLine line_;
};

bool Parse(int argc, char** argv, AddonRequest& request) {
  const std::string verb = argv[1];
  request.verb = verb == "addon-install"     ? AddonVerb::kInstall
                 : verb == "addon-uninstall" ? AddonVerb::kUninstall
                                             : AddonVerb::kList;
  for (int i = 2; i < argc; ++i) {
    const std::string argument = argv[i];
    MString* option = argument == "--samples"   ? &request.samples
                      : argument == "--factory" ? &request.factory
                      : argument == "--records" ? &request.records
                      : argument == "--log"     ? &request.log
                                                : nullptr;
    if (option) {
      if (i + 1 >= argc || !option->IsEmpty()) return false;
      *option = FromSystem(argv[++i]);
      if (option->IsEmpty()) return false;
    } else if (argument == "--quiet") {
      continue;
    } else if (argument.rfind("--", 0) == 0) {
      return false;
    } else {
      request.operands.push_back(FromSystem(argument));
    }
  }
  return request.verb == AddonVerb::kList ? request.operands.empty() : !request.operands.empty();
}

void FillFolders(AddonRequest& request) {
  const AddonContentPaths paths = ResolveAddonContentPaths(nullptr);
  if (request.samples.IsEmpty()) request.samples = paths.samples;
  if (request.factory.IsEmpty()) request.factory = paths.factory;
  if (request.records.IsEmpty())
    request.records = AddonRecordFolder(GetDataPath_User(MString("Downloader"), true));
}

void Run(AddonRequest& request, bool quiet) {
  FillFolders(request);
  if (!request.log.IsEmpty()) MLog::Open(request.log);
  ToolAddonHost host(request, quiet);
  if (request.verb == AddonVerb::kList) {
    for (const AddonRecordEntry& entry : ListUninstallableAddons(request.records))
      std::printf("%s\t%s\n", ToStd(entry.name).c_str(), ToStd(entry.path).c_str());
    return;
  }
  if (request.verb == AddonVerb::kInstall) {
    for (const MString& file : request.operands) {
      if (!MFile::IsFile(file)) throw MException(MFormat("No add-on file \"{0}\".").Add(file));
      InstallAddonFile(host, nullptr, file);
    }
    host.Line().Finish();
    std::printf("Installed %zu add-on file(s); records in %s\n", request.operands.size(),
                ToStd(request.records).c_str());
    return;
  }
  MArray<MString> records;
  for (const MString& name : request.operands) {
    const MString path = AddonRecord::FilePath(request.records, name);
    if (!MFile::IsFile(path))
      throw MException(MFormat("No installation record for the add-on \"{0}\" in \"{1}\".")
                           .Add(name)
                           .Add(request.records));
    records.Add(path);
  }
  const int32_t failed = UninstallAddons(host, records);
  host.Line().Finish();
  if (failed > 0)
    throw MException(MFormat("{0} of {1} add-on(s) removed with errors.").Add(failed).Add(
        static_cast<int32_t>(records.Count())));
}

}  // namespace

bool IsPackAddonCommand(const char* command) {
  return std::strcmp(command, "addon-install") == 0 ||
         std::strcmp(command, "addon-uninstall") == 0 || std::strcmp(command, "addon-list") == 0;
}

int RunPackAddonCommand(int argc, char** argv, bool quiet) {
  AddonRequest request;
  if (!Parse(argc, argv, request)) return kExitWrongUsage;
  return RunToolCommand([&] { Run(request, quiet); });
}

}  // namespace kx
