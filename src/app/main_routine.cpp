#include "app/main_routine.h"

#include <cstdio>
#include <memory>

#include "app/command_line.h"
#include "app/kestrix_app.h"
#include "app/run_flags.h"
#include "foundation/core/boxes.h"
#include "foundation/core/module.h"
#include "foundation/text/codecs.h"
#include "foundation/files/data_paths.h"
#include "foundation/core/exception.h"
#include "foundation/text/format.h"
#include "foundation/core/log.h"
#include "foundation/files/path_text.h"
#include "foundation/platform/single_instance.h"
#include "transfer/download_thread.h"
#include "transfer/server_host.h"
#include "foundation/files/file_ops.h"
#include "kestrix_version.h"

namespace kx {

const char* const kSingleInstanceName = "Global\\VorlundKestrixMutexForSingleInstancePC";
const char* const kModuleName = "Kestrix";

namespace {

void LogArguments(const MArray<MString>& arguments) {
  MLog::Line(MFormat("Argument count {0}").Add(arguments.Count()));
  for (int32_t i = 0; i < arguments.Count(); ++i) {
    MLog::Line(MFormat("Argument {0}: {1}").Add(i).Add(arguments[i]));
    // Known this early so that the single-instance answer can already be silent.
    if (IsSilentOption(arguments[i])) SilentMode = true;
  }
}

// The silent work is done when the download thread has ended; a thread that
// never started counts as ended. Up to 1800 rounds of a second, 30 minutes.
int WaitForSilentWork(DownloadThread& thread) {
  constexpr int kRounds = 1800;
  constexpr int64_t kRoundMilliseconds = 1000;
  for (int round = 0; round < kRounds; ++round) {
    if (thread.status.load() != kThreadRunning) return kExitNormal;
    // Answers as soon as the thread has ended, not at the end of the second.
    if (thread.Wait(kRoundMilliseconds)) return kExitNormal;
  }
  return kExitAnotherInstance;
}

// A run for an offline folder ends with 1 when its folder was not written or
// not loaded.
int OfflineActionExitCode(const KestrixApp& app, int waitCode) {
  if (!OfflineCreateFolder.IsEmpty() && !app.OfflineFolderReady()) return kExitAnotherInstance;
  if (!OfflineLoadFolder.IsEmpty() && !app.OfflineDataLoaded) return kExitAnotherInstance;
  return waitCode;
}

void LaunchNewSetup(const MString& setupPath) {
  try {
    MLog::Line("Launching new Kestrix setup for update.");
  } catch (MException&) {
  }
  MArray<MString> parameters;
  parameters.Add("/silent");
  parameters.Add("/run");
  MFile::Execute(setupPath, &parameters, MString(), false);
  try {
    MLog::Line("Launched new Kestrix setup for update.");
  } catch (MException&) {
  }
}

int RunEntry(MModule& module, const std::vector<MString>& arguments) {
  module.moduleName = kModuleName;
  // Created when missing; there is no fallback to the shared data folder: the
  // program must be able to write here.
  DataFolder = GetDataPath_User("Downloader", true);
  // The module's platform start: the process's command line becomes its
  // argument list, and it finds the program and the library beside it. Boxes
  // have no owner window until the GUI exists.
  module.SetCommandLine(arguments);
  module.Initialize();

  // A log that cannot be created ends the start: the run could leave no record.
  MLog::Open(JoinPath(DataFolder, "log.txt"));
  LogArguments(module.commandLine);

  // A second instance has rewritten the log already before it learns that it is
  // the second; it leaves only the argument lines there.
  MSingleInstance instance(kSingleInstanceName);
  if (!instance.IsHeld()) {
    if (!SilentMode) ShowInformation(nullptr, "Another instance of Kestrix is already running!");
    return kExitAnotherInstance;
  }

  if (module.argumentCount > 0) {
    CommandLineOptions options =
        RunOptionLoop(std::vector<MString>(module.commandLine.begin(), module.commandLine.end()));
    ApplyToRunFlags(options);
    if (options.helpRequested) {
      ShowInformation(nullptr, kUsageText);
      return kExitHelp;
    }
  }

  // The server (built in, or KESTRIX_SERVER) is fixed now, before the application
  // or any thread reads it.
  StartupServerHost();
  MLog::Line("\nCreating Kestrix instance ...");

  // The whole start-up runs in this construction; the lock is released before
  // the application goes, except after the window loop (released last) and after
  // the silent wait (kept until the process is gone).
  auto app = std::make_unique<KestrixApp>();
  // A silent run skips the self-update check; only a newer setup found in an
  // offline folder hands over from one.
  if (SilentMode && app->UpToDate) {
    if (SilentFailureCode > 0) {
      instance.Release();
      return SilentFailureCode;
    }
    int exitCode = WaitForSilentWork(app->Thread());
    exitCode = OfflineActionExitCode(*app, exitCode);
    app.reset();
    return exitCode;
  }
  if (!app->UpToDate) {
    instance.Release();
    LaunchNewSetup(app->SetupPath);
    return kExitNormal;
  }
  if (!OfflineCreateFolder.IsEmpty() || !OfflineLoadFolder.IsEmpty()) {
    const int exitCode = OfflineActionExitCode(*app, WaitForSilentWork(app->Thread()));
    app.reset();
    instance.Release();
    return exitCode;
  }
  // The window loop comes with the GUI; without it the run ends here.
  app.reset();
  instance.Release();
  return kExitNormal;
}

// A failure at start: always logged (when the log is open at all), shown unless
// the run is silent, where only the log and the exit code tell. It can come
// before the argument pass has noted /silent.
int StartFailed(const MException& failure, const std::vector<MString>& arguments) {
  MLog::Line(failure.message);
  bool silent = SilentMode;
  for (const MString& argument : arguments) silent = silent || IsSilentOption(argument);
  if (!silent) ShowError(nullptr, failure.message);
  return kExitStartFailed;
}

}  // namespace

int MainRoutine(MModule& module, const std::vector<MString>& arguments) {
  try {
    return RunEntry(module, arguments);
  } catch (MException& failure) {
    return StartFailed(failure, arguments);
  }
}

int MainRoutine(int argc, char** argv) {
  std::vector<MString> arguments;
  // Through the codec rather than a strict decoder: bytes that are not UTF-8
  // (a name from an old archive) survive into the log and the options as they came.
  for (int i = 1; i < argc; ++i) {
    MString argument;
    GetUTF8Codec().Decode(argv[i], argument);
    arguments.push_back(argument);
  }
  // --version answers before anything starts: no log, no instance lock.
  for (const MString& argument : arguments) {
    if (argument == MString("--version")) {
      std::printf("kestrix %s\n", kKestrixVersion);
      return std::fflush(stdout) == 0 ? 0 : 1;
    }
  }
  try {
    MModule module;
    return MainRoutine(module, arguments);
  } catch (MException& failure) {
    // Only the module's own start ends here: the routine answers for the rest.
    return StartFailed(failure, arguments);
  }
}

}  // namespace kx
