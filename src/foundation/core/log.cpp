#include "foundation/core/log.h"

#include "foundation/streams/file_stream.h"
#include "foundation/core/never_destroyed.h"

namespace kx {
namespace {
// Made closed on first use and never destroyed, so that lines written from static
// initialisers and destructors find a valid log; every line is flushed anyway.
MFileStream& LogStream() {
  static MNeverDestroyed<MFileStream> stream;
  return stream.Get();
}
}  // namespace

void MLog::Open(const MString& path) { LogStream().Open(path, MFileStream::kModeCreate); }

void MLog::Close() {
  try {
    LogStream().Close();
  } catch (...) {
    // The log's own failures never stop the program.
  }
}

bool MLog::IsOpen() { return LogStream().IsOpen(); }

void MLog::Line(const MString& text) noexcept {
  MFileStream& stream = LogStream();
  if (!stream.IsOpen()) return;
  try {
    stream.WriteLine(text, false);
    stream.Flush();
  } catch (...) {
  }
}

}  // namespace kx
