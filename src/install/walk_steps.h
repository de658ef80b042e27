// The steps of the install walk shared by its files: the per-child record, the
// log and progress helpers, the retries and the rewrite question. Internal to
// the walk.
#pragma once

#include <cstdint>
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
// Up to ten attempts with 100 ms pauses; the last failure is dropped.
void CreatePathWithRetry(const MString& path);
void DeleteFileWithRetry(const MString& path);
// The rewrite question: 1 try again, 2 ignore, 3 cancel.
int AskRewrite(const MString& path, const MString& error);
[[noreturn]] void ThrowCancelled();
// `op` words are read without regard to case, everywhere.
bool OpIs(const MString& op, const char* word);

void ProcessFileChild(InstallContext& context, WalkChild& child, WalkOptions& options);
void DeleteFileChild(InstallContext& context, WalkChild& child, WalkOptions& options);

}  // namespace kx
