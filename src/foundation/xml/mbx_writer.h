// MMBXWriter: writes an MXMLItem tree in the binary MBX form.
//
// A stream is the magic (00 'M' 'B' 'X') and one command stream: 'X' name opens
// an item, 'A' name value adds an attribute, 'V' value sets the item's value, '/'
// closes an item and '~' closes the root and ends the stream. Numbers are
// little-endian. Item names are written as UTF-8, attribute names one byte a
// unit (narrowed); both zero-terminated (cut at a zero unit, should one occur),
// and both read back one byte a unit, so names must keep to ASCII.
//
// Values: integers take the narrowest of '1' '2' '4' '8' that holds them; reals
// 'f' and 'd' at their own width; strings 's' (zero-terminated bytes) when every
// unit lies in 1..255, else 'u' (length and UTF-8); buffers 'b'/'z' (32-bit size)
// or 'B'/'Z' above 0x7fffffff bytes, the letter by the compressed flag, the
// bytes as they stand. An empty value is not written as 'V'.
//
// Output goes through a 1024-byte block that starts with the magic; a piece that
// does not fit flushes it, and a piece larger than the block bypasses it. The
// tree is walked without recursion, so a tree of any depth can be written.
#pragma once

#include <cstdint>
#include <cstring>

#include "foundation/streams/stream.h"
#include "foundation/text/text_string.h"
#include "foundation/containers/variant.h"

namespace kx {

class MXMLItem;

inline constexpr unsigned char kMBXMagic[4] = {0x00, 'M', 'B', 'X'};

class MMBXWriter {
 public:
  static constexpr int kBlockSize = 1024;

  // The block starts with the magic; nothing reaches `target` before a flush.
  explicit MMBXWriter(MStream& target);
  MMBXWriter(const MMBXWriter&) = delete;
  MMBXWriter& operator=(const MMBXWriter&) = delete;

  // The commands of `root` and its subtree, ending with '~'.
  void WriteTree(const MXMLItem& root);
  // One value: its type byte and payload.
  void WriteValue(const MVariant& value);
  // Hands what the block holds to the target.
  void Flush();

 private:
  void WriteOpening(const MXMLItem& item);
  void Put(const void* data, int64_t size);
  void PutByte(unsigned char byte) {
    if (filled_ == kBlockSize) Flush();
    block_[filled_++] = byte;
  }
  template <typename Number>
  void PutNumber(unsigned char letter, Number number) {
    unsigned char bytes[1 + sizeof(Number)];
    bytes[0] = letter;
    std::memcpy(bytes + 1, &number, sizeof(Number));
    Put(bytes, sizeof bytes);
  }
  void PutInteger(int64_t value);
  // The first `count` units of `text`, one byte each (narrowed).
  template <int N>
  void PutBytesOf(const MStringT<N>& text, int64_t count);

  MStream& target_;
  int32_t filled_ = 0;
  unsigned char block_[kBlockSize];
};

// The whole MBX stream of `root`: magic, commands, flushed.
void WriteMBX(const MXMLItem& root, MStream& target);

}  // namespace kx
