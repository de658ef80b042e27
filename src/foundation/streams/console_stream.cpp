#include "foundation/streams/console_stream.h"

#include <climits>
#include <cstring>
#include <string>

namespace kx {

MConsoleStream::MConsoleStream(bool errorOutput) : output_(errorOutput ? stderr : stdout) {}

void MConsoleStream::Write(const void* data, int64_t size) {
  const auto* bytes = static_cast<const unsigned char*>(data);
  for (int64_t i = 0; i < size; ++i) std::fputc(bytes[i], output_);
}

int64_t MConsoleStream::Read(void* data, int64_t size) {
  auto* bytes = static_cast<unsigned char*>(data);
  int64_t got = 0;
  while (got < size) {
    int c = std::getchar();
    if (c == EOF) break;
    bytes[got++] = static_cast<unsigned char>(c);
  }
  return got;
}

int MConsoleStream::ReadLine(char* buffer, int64_t size) {
  if (size < 2) {
    if (size == 1) buffer[0] = 0;
    return kLineFull;
  }
  int limit = size > INT_MAX ? INT_MAX : static_cast<int>(size);
  if (!std::fgets(buffer, limit, stdin)) {
    buffer[0] = 0;
    return kLineEnd;
  }
  size_t length = std::strlen(buffer);
  while (length > 0 && (buffer[length - 1] == '\n' || buffer[length - 1] == '\r')) buffer[--length] = 0;
  return kLineRead;
}

void MConsoleStream::WriteString(const MString& text) {
  std::string bytes = text.ToUTF8String();
  std::fwrite(bytes.data(), 1, bytes.size(), output_);
}

void MConsoleStream::WriteLine(const MString& text, bool) {
  WriteString(text);
  std::fputc('\n', output_);
}

void MConsoleStream::Flush() { std::fflush(output_); }

bool MConsoleStream::IsEnd() { return std::feof(stdin) != 0; }

}  // namespace kx
