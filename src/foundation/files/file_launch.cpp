// MFile::Execute and ExecuteWWW: other programs and the desktop's opener.
#include <string>
#include <vector>

#include "foundation/core/exception.h"
#include "foundation/files/file_ops.h"
#include "foundation/text/format.h"
#include "foundation/files/path_text.h"
#include "foundation/platform/file_system.h"
#include "foundation/platform/process.h"

namespace kx {

int MFile::Execute(const MString& path, const MArray<MString>* parameters,
                   const MString& workingDirectory, bool wait, bool /*hidden*/) {
  std::string program = ToSystem(path);
  std::vector<std::string> arguments;
  // "Open" the desktop's way: a program runs, a document or an address goes to
  // the opener that the desktop has chosen for its kind.
  bool throughOpener = !parameters && !platform::IsExecutableFile(program);
  if (throughOpener) {
    arguments = {"xdg-open", program};
  } else {
    arguments.push_back(program);
    if (parameters)
      for (const MString& parameter : *parameters) arguments.push_back(ToSystem(parameter));
  }
  int exitCode = 0;
  int error = platform::SpawnProcess(arguments, ToSystem(workingDirectory), wait, exitCode);
  // The opener's own exit code is the only word on whether it found a handler;
  // it can be heard only when it is waited for.
  if (error != 0 || (throughOpener && exitCode != 0))
    throw MException(MFormat("Could not execute file \"{0}\".").Add(path));
  return exitCode;
}

void MFile::ExecuteWWW(const MString& url) {
  Guarded("MFile::ExecuteWWW", [&] { Execute(url, nullptr, MString(), false); });
}

}  // namespace kx
