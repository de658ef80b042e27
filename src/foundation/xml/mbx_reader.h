// MMBXReader: the command loop of the MBX form over a block of memory (the part
// of a stream after its magic; see mbx_writer.h for the commands and values).
//
// The loop is iterative: items are linked as they open and '/' returns to the
// parent, so a tree of any depth loads. Failures (MException):
//   "Incorrect MBX ending."          '/' while the root is current
//   "Unexpected MBX end."            '~' while an item below the root is current,
//                                    or the block ends before the root's '~'
//   "Incorrect MBX command identifier."  an unknown command byte, or 'A', 'V',
//                                    '/' before the root's 'X'
//   "Invalid buffer GetStringLength call."  a name or 's' string starts outside
//                                    the block
//   "Not a terminated string for GetStringLength."  no zero byte before the end
//   "Data range not available."      a payload (or a fixed-size number, type byte
//                                    or length) runs past the end of the block
//   "Unknown variant type."          a type byte outside the table, '!' included
// Whatever was built before a failure stays in the tree.
//
// MXMLItem::ReadMBX (defined beside the reader) clears the tree, name included,
// checks the magic ("Not an MBX file.") and runs the loop over the rest of the
// stream: a memory stream where it lies, any other copied into memory first.
// Either way the stream is left at its end. ReadMBXAuto tries the stream as a
// zlib stream first and, on any failure, reads it plain from the same place.
//
// Catalogues come over plain HTTP, and a few hundred kilobytes of zlib can
// inflate to gigabytes: ReadMBX takes at most kMaxMBXSize bytes after the magic,
// and refuses more (and any allocation that fails while it reads, tree nodes
// included) with kMBXTooLarge. Every size inside the stream is checked against
// what the stream holds, so nothing the data claim can ask for more.
#pragma once

#include <cstdint>
#include <cstring>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "foundation/containers/variant.h"
#include "foundation/xml/xml_name.h"

namespace kx {

// The largest command stream ReadMBX takes (64 MiB): settings and catalogues are
// a few megabytes, and a tree takes several times its MBX size in memory.
inline constexpr int64_t kMaxMBXSize = int64_t{64} << 20;
inline constexpr const char* kMBXTooLarge = "MBX data is too large to load.";

class MXMLItem;

class MMBXReader {
 public:
  // Refers to the block, which must outlive the reader.
  MMBXReader(const void* data, int64_t size);

  // Runs the commands from the start of the block into `root`, which the first
  // 'X' names; reading ends at the root's '~', whatever follows it.
  void ReadTree(MXMLItem& root);
  // One value (type byte and payload) at the current place.
  void ReadValue(MVariant& value);

 private:
  // Length of the zero-terminated string at the current place (checked).
  int64_t StringLength() const {
    // Most strings are short: their end lies in the next eight bytes.
    if (position_ >= 0 && size_ - position_ >= 8) {
      uint64_t word;
      std::memcpy(&word, data_ + position_, sizeof word);
      uint64_t zeros = (word - 0x0101010101010101ULL) & ~word & 0x8080808080808080ULL;
      if (zeros) return __builtin_ctzll(zeros) / 8;
    }
    return LongStringLength();
  }
  int64_t LongStringLength() const;
  // The length of a string that ends in the 24 bytes at the current place; else
  // -1. The 32 bytes there must lie in the block.
  int32_t ShortStringLength() const {
#if defined(__SSE2__)
    const __m128i zero = _mm_setzero_si128();
    const auto* at = reinterpret_cast<const __m128i*>(data_ + position_);
    uint32_t low = static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(_mm_loadu_si128(at), zero)));
    uint32_t high =
        static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(_mm_loadu_si128(at + 1), zero)));
    uint32_t zeros = (low | high << 16) & 0xFFFFFFu;
    return zeros ? __builtin_ctz(zeros) : -1;
#else
    uint64_t words[3];
    std::memcpy(words, data_ + position_, sizeof words);
    for (int i = 0; i < 3; ++i) {
      uint64_t zeros = (words[i] - 0x0101010101010101ULL) & ~words[i] & 0x8080808080808080ULL;
      if (zeros) return 8 * i + __builtin_ctzll(zeros) / 8;
    }
    return -1;
#endif
  }
  // Throws "Data range not available." unless `size` bytes lie ahead.
  void Need(int64_t size) const;
  template <typename Number>
  Number ReadNumber() {
    Need(sizeof(Number));
    Number number;
    std::memcpy(&number, data_ + position_, sizeof(Number));
    position_ += sizeof(Number);
    return number;
  }
  // A known name of up to 15 bytes as masks and words to compare with the 16
  // bytes at the current place: its bytes and the zero after it. Longer names
  // (and unused slots) never match here.
  struct ShortKey {
    uint64_t mask0 = 0;
    uint64_t head = 1;
    uint64_t mask1 = 0;
    uint64_t tail = 0;
    void Set(const unsigned char* bytes, int64_t length);
    bool Matches(const uint64_t words[2]) const {
      return (((words[0] & mask0) ^ head) | ((words[1] & mask1) ^ tail)) == 0;
    }
  };

  // The attribute name at the current place; files repeat a few names over and
  // over, so recent ones are kept with their hash and reused. Names come back in
  // the same order item after item: they are tried from the slot after the last
  // one found, short ones here, the rest out of line.
  const MXMLName& ReadAttributeName() {
    if (size_ - position_ >= 16) {
      uint64_t words[2];
      std::memcpy(words, data_ + position_, sizeof words);
      int slot = lastKnown_;
      for (int i = 0; i < knownCount_; ++i) {
        if (++slot == knownCount_) slot = 0;
        const KnownName& known = known_[slot];
        if (known.key.Matches(words)) {
          position_ += known.length + 1;
          lastKnown_ = slot;
          return known.name;
        }
      }
    }
    return SearchAttributeName();
  }
  const MXMLName& SearchAttributeName();
  // A value, short strings in line (see ReadValue).
  void ReadValueQuick(MVariant& value) {
    if (size_ - position_ >= 33 && data_[position_] == 's') {
      ++position_;
      int32_t length = ShortStringLength();
      if (length >= 0 && value.SetShortStringBytes(data_ + position_, length)) {
        position_ += length + 1;
        return;
      }
      --position_;
    }
    ReadValue(value);
  }

  // The item name at the current place: a name seen lately, recognised by its
  // bytes, or else `fresh` filled with it.
  const MString& ReadItemName(MString& fresh) {
    // Items of a file have few names: the last one found first, then the
    // others, each short one by one word.
    if (size_ - position_ >= 16) {
      uint64_t words[2];
      std::memcpy(words, data_ + position_, sizeof words);
      for (int i = 0, slot = lastKnownItem_; i < knownItemCount_; ++i) {
        const KnownItemName& known = knownItems_[slot];
        if (known.key.Matches(words)) {
          position_ += known.length + 1;
          lastKnownItem_ = slot;
          return known.name;
        }
        if (++slot == knownItemCount_) slot = 0;
      }
    }
    return SearchItemName(fresh);
  }
  const MString& SearchItemName(MString& fresh);
  // True when the zero-terminated bytes at the current place are the `length`
  // bytes at `offset`; then the place moves past them.
  bool TakeKnown(int64_t offset, int64_t length, uint64_t head) {
    // Up to seven bytes and the zero after them: one word against `head`, the
    // bytes zero-padded.
    if (length < 8 && size_ - position_ >= 8) {
      uint64_t word;
      std::memcpy(&word, data_ + position_, sizeof word);
      uint64_t mask = ~uint64_t{0} >> (8 * (7 - length));
      if ((word & mask) != head) return false;
      position_ += length + 1;
      return true;
    }
    return TakeKnown(offset, length);
  }
  bool TakeKnown(int64_t offset, int64_t length) {
    int64_t end = position_ + length;
    if (end >= size_ || data_[end] != 0 ||
        std::memcmp(data_ + position_, data_ + offset, static_cast<size_t>(length)) != 0)
      return false;
    position_ = end + 1;
    return true;
  }

  // Where a name's bytes stand in the block, with what finds them again fast.
  struct KnownBytes {
    int64_t offset = 0;
    int64_t length = -1;
    uint64_t head = 0;  // its first eight bytes (fewer: zero-padded)
    ShortKey key;
    void Remember(const unsigned char* data, int64_t at, int64_t size);
  };
  struct KnownItemName : KnownBytes {
    MString name;
  };
  static constexpr int kKnownItemNames = 4;
  KnownItemName knownItems_[kKnownItemNames];
  int knownItemCount_ = 0;
  int nextKnownItem_ = 0;
  int lastKnownItem_ = 0;
  MString itemName_;

  struct KnownName : KnownBytes {
    MXMLName name;
  };
  static constexpr int kKnownNames = 16;

  const unsigned char* data_;
  int64_t size_;
  int64_t position_ = 0;
  KnownName known_[kKnownNames];
  int knownCount_ = 0;  // slots in use
  int nextKnown_ = 0;   // the slot a new name takes
  int lastKnown_ = -1;  // the slot found last
};

}  // namespace kx
