// MStream: the abstract byte stream that every byte of the system travels through.
//
// Files, memory, sockets, compressors and hashes derive from it and share these 15
// virtual operations (declared in slot order). A service a subclass does not offer
// throws from the base class MException code 1, "Service \"...\" is not implemented.".
// Sizes, positions and counts are signed 64-bit. Binary numbers are written raw, in
// the machine's little-endian order, by Write(&value, sizeof(value)).
//
// Seek origins: kSeekBegin from the start, kSeekCurrent from the current position,
// kSeekEnd from the end; any other value is "Invalid seek origin." (code 2). The base Seek serves forward-only streams:
// it reads and discards forward and refuses to go back.
//
// ReadLine(buffer, size) fills an 8-bit, always terminated buffer, skipping carriage
// returns and stopping at a line feed or a zero byte. It returns kLineRead (0), also
// for a last line without terminator; kLineFull (1) when the buffer filled first (or
// size < 2); kLineEnd (2) when the stream had ended before any byte.
//
// A stream object belongs to one thread at a time.
#pragma once

#include <cstdint>

#include "foundation/text/text_string.h"

namespace kx {

enum class MSeekOrigin : int32_t { kSeekBegin = 0, kSeekCurrent = 1, kSeekEnd = 2 };
using enum MSeekOrigin;
enum MReadLineResult : int { kLineRead = 0, kLineFull = 1, kLineEnd = 2 };

// Size argument meaning "everything there is" (CopyStream and friends).
inline constexpr int64_t kStreamAll = 0x7fffffffffffffffLL;

class MStream {
 public:
  MStream() = default;
  MStream(const MStream&) = delete;
  MStream& operator=(const MStream&) = delete;

  // --- the virtual interface, in slot order
  // 1: closes nothing by itself. Potentially throwing so that a compressor destroyed
  // without its Terminate can report that misuse (see compressed_stream.h); no
  // other member of the family throws from its destructor.
  virtual ~MStream() noexcept(false);
  virtual MStream* GetSubstream();                             // 2
  virtual void Write(const void* data, int64_t size);          // 3
  virtual void WriteFill(int64_t count);                       // 4: blocks of <= 1024 via Write
  virtual int64_t Read(void* data, int64_t size);              // 5: bytes read, short at end
  virtual int ReadLine(char* buffer, int64_t size);            // 6: MReadLineResult
  virtual void WriteString(const MString& text);               // 7: UTF-8, no terminator
  virtual void WriteLine(const MString& text, bool unixStyle); // 8: + LF, or CR LF
  virtual int64_t Seek(int64_t offset, MSeekOrigin origin);            // 9: returns the new position
  virtual int64_t GetPosition();                               // 10
  virtual void Flush();                                        // 11
  virtual bool IsEnd();                                        // 12
  virtual void Truncate();                                     // 13: length := position
  virtual int64_t GetSize();                                   // 14
  virtual bool IsOpen();                                       // 15: true in the base

  // --- non-virtual helpers built on the above
  // Throws "Could not read the required data from stream." (256) on a short read.
  void ReadExact(void* data, int64_t size);
  // One line (UTF-8 decoded) of any length; at end of input throws
  // "Could not load a line from stream.".
  void ReadLineString(MString& line);
  // Up to `count` lines joined with line feed; stops quietly at end of input.
  // Returns the number of lines read.
  int64_t ReadLines(MString& text, int64_t count);
  // Upper-case hexadecimal text of the bytes, written in blocks of 128 bytes.
  void WriteHex(const void* data, int64_t size);
  // Decodes up to `size` bytes from pairs of hexadecimal digits; returns the bytes
  // decoded (fewer when the text ends). A bad digit throws
  // "Invalid character to be converted to a number.".
  int64_t ReadHex(void* data, int64_t size);

 protected:
  // Throws "Invalid seek origin." (code 2) for a value outside the three origins.
  static void CheckSeekOrigin(MSeekOrigin origin);
  // Throws "Service \"{name}\" is not implemented." with code 1.
  [[noreturn]] static void NotImplemented(const char* service);
};

}  // namespace kx
