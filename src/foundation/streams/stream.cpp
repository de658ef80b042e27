#include "foundation/streams/stream.h"

#include <algorithm>
#include <string>

#include "foundation/core/exception.h"
#include "foundation/text/format.h"
#include "foundation/text/number_text.h"

namespace kx {

MStream::~MStream() noexcept(false) = default;

void MStream::NotImplemented(const char* service) {
  throw MException(MFormat("Service \"{0}\" is not implemented.").Add(service), kErrorNotImplemented);
}

void MStream::CheckSeekOrigin(MSeekOrigin origin) {
  if (origin < kSeekBegin || origin > kSeekEnd) {
    throw MException(MString("Invalid seek origin."), kErrorInvalidArgument);
  }
}

MStream* MStream::GetSubstream() { NotImplemented("return substream"); }

void MStream::Write(const void*, int64_t) { NotImplemented("write to stream"); }

void MStream::WriteFill(int64_t count) {
  // Only the count matters to callers (padding, reserved space); zero bytes keep
  // the output reproducible.
  char block[1024] = {};
  while (count > 0) {
    int64_t piece = std::min<int64_t>(count, sizeof(block));
    Write(block, piece);
    count -= piece;
  }
}

int64_t MStream::Read(void*, int64_t) { NotImplemented("read from stream"); }

int MStream::ReadLine(char* buffer, int64_t size) {
  if (size < 2) {
    if (size == 1) buffer[0] = 0;
    return kLineFull;
  }
  int64_t stored = 0;
  bool anyByte = false;
  while (stored < size - 1) {
    char byte;
    if (Read(&byte, 1) != 1) {
      buffer[stored] = 0;
      return anyByte ? kLineRead : kLineEnd;
    }
    anyByte = true;
    if (byte == '\r') continue;
    if (byte == '\n' || byte == 0) {
      buffer[stored] = 0;
      return kLineRead;
    }
    buffer[stored++] = byte;
  }
  buffer[stored] = 0;
  return kLineFull;
}

namespace {
// The bytes a stream puts out for text: an external 8-bit string as it is
// (referred, not copied), else UTF-8.
void StreamBytes(const MString& text, MByteBuffer& bytes) {
  if (const char* external = text.ExternalBytes())
    bytes.Refer(external, text.Length());
  else
    text.ToUTF8(bytes);
}
}  // namespace

void MStream::WriteString(const MString& text) {
  MByteBuffer bytes;
  StreamBytes(text, bytes);
  Write(bytes.Data(), bytes.Size());
}

void MStream::WriteLine(const MString& text, bool unixStyle) {
  // One Write per line, so that lines of two threads on one file (the log)
  // interleave only as whole lines.
  MByteBuffer bytes;
  StreamBytes(text, bytes);
  std::string line(bytes.View());
  line += unixStyle ? "\n" : "\r\n";
  Write(line.data(), static_cast<int64_t>(line.size()));
}

int64_t MStream::Seek(int64_t offset, MSeekOrigin origin) {
  CheckSeekOrigin(origin);
  int64_t position = GetPosition();
  int64_t target = offset;
  if (origin == kSeekCurrent) target = position + offset;
  if (origin == kSeekEnd) target = GetSize() + offset;
  if (target < position) NotImplemented("backward seek in a stream");
  char discard[4096];
  int64_t remaining = target - position;
  while (remaining > 0) {
    int64_t got = Read(discard, std::min<int64_t>(remaining, sizeof(discard)));
    if (got <= 0) break;
    remaining -= got;
    position += got;
  }
  return position;
}

int64_t MStream::GetPosition() { NotImplemented("get stream position"); }
void MStream::Flush() { NotImplemented("flush stream"); }
bool MStream::IsEnd() { NotImplemented("end of stream test"); }
void MStream::Truncate() { NotImplemented("truncate stream"); }
int64_t MStream::GetSize() { NotImplemented("stream size detection"); }
bool MStream::IsOpen() { return true; }

// --- helpers

void MStream::ReadExact(void* data, int64_t size) {
  if (Read(data, size) < size) {
    throw MException(MString("Could not read the required data from stream."), kErrorIO);
  }
}

void MStream::ReadLineString(MString& line) {
  // Collect the bytes first: a UTF-8 sequence may straddle two buffer fills.
  std::string bytes;
  char buffer[1024];
  for (;;) {
    int result = ReadLine(buffer, sizeof(buffer));
    if (result == kLineEnd && bytes.empty()) {
      throw MException(MString("Could not load a line from stream."));
    }
    bytes += buffer;
    if (result != kLineFull) break;
  }
  line = MString::FromUTF8(bytes);
}

int64_t MStream::ReadLines(MString& text, int64_t count) {
  text.Clear();
  int64_t lines = 0;
  std::string bytes;
  char buffer[1024];
  while (lines < count) {
    bytes.clear();
    int result;
    do {
      result = ReadLine(buffer, sizeof(buffer));
      bytes += buffer;
    } while (result == kLineFull);
    if (result == kLineEnd && bytes.empty()) break;
    if (lines > 0) text.Append('\n');
    text.Append(MString::FromUTF8(bytes));
    ++lines;
  }
  return lines;
}

void MStream::WriteHex(const void* data, int64_t size) {
  const auto* bytes = static_cast<const unsigned char*>(data);
  char text[256];
  while (size > 0) {
    int64_t block = std::min<int64_t>(size, 128);
    for (int64_t i = 0; i < block; ++i) {
      text[2 * i] = HexDigit(bytes[i] >> 4);
      text[2 * i + 1] = HexDigit(bytes[i]);
    }
    Write(text, 2 * block);
    bytes += block;
    size -= block;
  }
}

int64_t MStream::ReadHex(void* data, int64_t size) {
  auto* bytes = static_cast<unsigned char*>(data);
  char text[256];
  int64_t decoded = 0;
  while (decoded < size) {
    int64_t want = std::min<int64_t>(size - decoded, 128);
    // A read may end between the two digits of a byte (a socket, a pipe): read
    // on until the pairs are whole or the text ends.
    int64_t digits = 0;
    while (digits < 2 * want) {
      int64_t piece = Read(text + digits, 2 * want - digits);
      if (piece <= 0) break;
      digits += piece;
    }
    int64_t got = digits / 2;
    for (int64_t i = 0; i < got; ++i) {
      bytes[decoded + i] = static_cast<unsigned char>(
          HexDigitValue(static_cast<unsigned char>(text[2 * i])) * 16 +
          HexDigitValue(static_cast<unsigned char>(text[2 * i + 1])));
    }
    decoded += got;
    if (got < want) break;
  }
  return decoded;
}

}  // namespace kx
