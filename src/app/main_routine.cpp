#include "app/main_routine.h"

#include "app/command_line.h"
#include "app/run_flags.h"
#include "foundation/core/boxes.h"
#include "foundation/text/codecs.h"
#include "foundation/files/data_paths.h"
#include "foundation/core/exception.h"
#include "foundation/text/format.h"
#include "foundation/core/log.h"
#include "foundation/files/path_text.h"
#include "foundation/platform/single_instance.h"

namespace kx {

const char* const kSingleInstanceName = "Global\\VorlundKestrixMutexForSingleInstancePC";

namespace {

MString g_moduleName;

void LogArguments(const std::vector<MString>& arguments) {
  MLog::Line(MFormat("Argument count {0}").Add(arguments.size()));
  for (size_t i = 0; i < arguments.size(); ++i) {
    MLog::Line(MFormat("Argument {0}: {1}").Add(i).Add(arguments[i]));
    // Known this early so that the single-instance answer can already be silent.
    if (IsSilentOption(arguments[i])) SilentMode = true;
  }
}

int RunEntry(const std::vector<MString>& arguments) {
  g_moduleName = "Kestrix";
  // Created when missing; there is no fallback to the shared data folder: the
  // program must be able to write here.
  DataFolder = GetDataPath_User("Downloader", true);
  // The module's platform start (its argument list, the owner window of the
  // boxes) has nothing more to do here: the arguments came in decoded, and boxes
  // have no owner window until the GUI exists.

  // A log that cannot be created ends the start: the run could leave no record.
  MLog::Open(JoinPath(DataFolder, "log.txt"));
  LogArguments(arguments);

  // A second instance has rewritten the log already before it learns that it is
  // the second; it leaves only the argument lines there.
  MSingleInstance instance(kSingleInstanceName);
  if (!instance.IsHeld()) {
    if (!SilentMode) ShowInformation(nullptr, "Another instance of Kestrix is already running!");
    return kExitAnotherInstance;
  }

  if (!arguments.empty()) {
    CommandLineOptions options = RunOptionLoop(arguments);
    ApplyToRunFlags(options);
    if (options.helpRequested) {
      ShowInformation(nullptr, kUsageText);
      return kExitHelp;
    }
  }

  MLog::Line("\nCreating Kestrix instance ...");

  // The application object comes here: KestrixApp is constructed on this stack
  // frame (its constructor is the whole start-up), then the run branches by mode
  // - the silent wait on the download thread, the launch of a new setup, or the
  // window loop - and the lock is released before KestrixApp is destroyed, except
  // after the window loop (released last) and after the silent wait (kept until
  // the process is gone). Until then a run ends here.
  instance.Release();
  return kExitNormal;
}

}  // namespace

const MString& ModuleName() {
  return g_moduleName;
}

int MainRoutine(const std::vector<MString>& arguments) {
  try {
    return RunEntry(arguments);
  } catch (MException& failure) {
    // A failure at start: always logged (when the log is open at all), shown
    // unless the run is silent, where only the log and the exit code tell. The
    // data folder can fail before the argument pass has noted /silent.
    MLog::Line(failure.message);
    bool silent = SilentMode;
    for (const MString& argument : arguments) silent = silent || IsSilentOption(argument);
    if (!silent) ShowError(nullptr, failure.message);
    return kExitStartFailed;
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
  return MainRoutine(arguments);
}

}  // namespace kx
