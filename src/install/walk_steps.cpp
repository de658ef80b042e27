// Helpers of the install walk: attributes, the log, retries and the rewrite
// question.
#include "install/walk_steps.h"

#include <chrono>
#include <thread>

#include "foundation/core/boxes.h"
#include "foundation/core/exception.h"
#include "foundation/core/log.h"
#include "foundation/files/file_ops.h"
#include "foundation/files/path_text.h"
#include "foundation/text/format.h"
#include "foundation/xml/xml_item.h"
#include "install/install_walk.h"

namespace kx {

bool IsNamed(const MXMLItem& item, const char* name) {
  return item.name.EqualsNoCase(MString(name));
}

bool OpIs(const MString& op, const char* word) {
  return op.EqualsNoCase(MString(word));
}

bool IsBundleFolder(const MString& path) {
  MString trimmed = path;
  while (trimmed.Length() > 1 && trimmed[trimmed.Length() - 1] == '/')
    trimmed = trimmed.Left(trimmed.Length() - 1);
  return GetFileName(trimmed).FindChar('.') >= 0;
}

bool WalkLogging() {
  return MLog::IsOpen();
}

void WalkLog(const MString& text) {
  if (MLog::IsOpen()) MLog::Line(text);
}

void ShowWalkProgress(InstallContext& context, const char* verb, const MString& path) {
  if (context.progress) context.progress->Show(MString(verb) + path, context.progressValue);
}

void RetryQuietly(const std::function<void()>& attempt) {
  for (int count = 1; count <= 10; ++count) {
    try {
      attempt();
      return;
    } catch (MException&) {
      std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
  }
}

void CreatePathWithRetry(const MString& path) {
  RetryQuietly([&] { MFile::CreatePath(path); });
}

void DeleteFileWithRetry(const MString& path) {
  RetryQuietly([&] { MFile::Delete(path); });
}

MString RewriteQuestionText(const MString& path, const MString& error) {
  return MFormat(
             "<b>Could not rewrite file</b><p><p singleline=1>{0}<p><p>Make sure all applications "
             "have been "
             "closed. Try switching off your DAW or restarting your computer and trying "
             "again.<p><p>Click "
             "<cred>Try again</cred> to retry installing the file.<p>Click <cred>Ignore</cred> to "
             "continue "
             "without installing the file.<p>Click <cred>Cancel</cred> to abort the "
             "installation.<p><p>"
             "Consider cancelling the installation and running the installer and installation "
             "again. You can "
             "also try to use the repair installaton function. If it won't help, please contact "
             "our "
             "support.<p><p><i>Error: {1}")
      .Add(path)
      .Add(error);
}

RewriteAnswer AskRewrite(const MString& path, const MString& error) {
  int answer = ShowThreeButtons(nullptr, MString(), RewriteQuestionText(path, error),
                                MString("Try again"), MString("Ignore"), MString("Cancel"));
  if (answer == static_cast<int>(RewriteAnswer::kTryAgain)) return RewriteAnswer::kTryAgain;
  if (answer == static_cast<int>(RewriteAnswer::kCancel)) {
    WalkLog("    File could NOT been created. Terminating.");
    throw MException(MString(), MString("Installation has been cancelled"), kErrorGeneral);
  }
  WalkLog("    File could NOT been created. Ignoring.");
  return RewriteAnswer::kIgnore;
}

}  // namespace kx
