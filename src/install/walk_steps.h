// The steps of the install walk shared by its files: the per-child record, the
// attribute readers, the log and progress helpers, the retries and the rewrite
// question. Internal to the walk.
#pragma once

#include <cstdint>
#include <functional>
#include <type_traits>

#include "foundation/text/text_string.h"
#include "install/install_context.h"

namespace kx {

class MXMLItem;

// One child of a container as ProcessItems sees it.
struct WalkChild {
  MXMLItem* item = nullptr;
  MString name;          // after the extension swap
  MString originalName;  // as the package gives it
  MString target;        // basePath joined with name
  MString op;
  bool enabled = true;
  bool rewritable = true;
};

// Element names, attribute names and `op` words are read without regard to case.
bool IsNamed(const MXMLItem& item, const char* name);
bool OpIs(const MString& op, const char* word);

// A folder whose own name holds a "." is a bundle ("Foo.vst3"): it is a real
// folder even under `ignoresubdirs`. Only the last component counts (a trailing
// "/" aside), since on this system dots stand in ordinary folder names above it
// ("~/.vst", "john.doe").
bool IsBundleFolder(const MString& path);

// Writes a line when the log is open. The pieces form is for hot paths: the
// line is only put together when the log is open.
void WalkLog(const MString& text);
bool WalkLogging();
inline void AppendLogPiece(MString& line, const MString& piece) {
  line += piece;
}
inline void AppendLogPiece(MString& line, const char* piece) {
  line += piece;
}
inline void AppendLogPiece(MString& line, int64_t piece) {
  line += MString::FromNumber(piece);
}
template <typename... Pieces>
requires(sizeof...(Pieces) > 1 ||
         !(std::is_convertible_v<Pieces, MString> && ...)) void WalkLog(const Pieces&... pieces) {
  if (!WalkLogging()) return;
  MString line;
  (AppendLogPiece(line, pieces), ...);
  WalkLog(line);
}
// "Installing "/"Uninstalling " and the path at the context's bar position.
void ShowWalkProgress(InstallContext& context, const char* verb, const MString& path);

// Runs `attempt` up to ten times with 100 ms pauses after failures; the last
// failure is dropped, so a locked file is often still there afterwards.
void RetryQuietly(const std::function<void()>& attempt);
void CreatePathWithRetry(const MString& path);
void DeleteFileWithRetry(const MString& path);

// The buttons of the rewrite question, in their order.
enum class RewriteAnswer { kTryAgain = 1, kIgnore = 2, kCancel = 3 };
// Asks the rewrite question and logs what the answer means. Cancel ends the
// package: "    File could NOT been created. Terminating." and the exception
// "Installation has been cancelled". Ignore (and any answer that is no button)
// logs "    File could NOT been created. Ignoring.". So the caller sees
// kTryAgain or kIgnore.
RewriteAnswer AskRewrite(const MString& path, const MString& error);

// Puts a value back as it was when the scope ends, however it ends.
template <typename T>
class RestoreOnExit {
 public:
  explicit RestoreOnExit(T& value) : value_(value), saved_(value) {}
  ~RestoreOnExit() { value_ = saved_; }
  RestoreOnExit(const RestoreOnExit&) = delete;
  RestoreOnExit& operator=(const RestoreOnExit&) = delete;

 private:
  T& value_;
  T saved_;
};

void ProcessDirChild(InstallContext& context, const MString& basePath, WalkChild& child,
                     WalkOptions& options);
void ProcessFileChild(InstallContext& context, WalkChild& child, WalkOptions& options);
void DeleteFileChild(InstallContext& context, WalkChild& child, WalkOptions& options);

}  // namespace kx
