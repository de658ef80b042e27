// MConsoleStream: the process's standard handles as a stream. Bytes go out one by
// one to standard output (or standard error) and come in one by one from standard
// input. ReadLine reads a line with the C library's line reader and removes its
// carriage return and line feed: 0 for a line, 2 at the end of input. A line ends
// with a line feed alone on the console, whatever `unixStyle` says.
#pragma once

#include <cstdio>

#include "foundation/streams/stream.h"

namespace kx {

class MConsoleStream : public MStream {
 public:
  // Writes to standard error instead of standard output when `errorOutput`.
  explicit MConsoleStream(bool errorOutput = false);

  void Write(const void* data, int64_t size) override;
  int64_t Read(void* data, int64_t size) override;
  int ReadLine(char* buffer, int64_t size) override;
  void WriteString(const MString& text) override;
  void WriteLine(const MString& text, bool unixStyle) override;
  void Flush() override;
  bool IsEnd() override;

 private:
  std::FILE* output_;
};

}  // namespace kx
